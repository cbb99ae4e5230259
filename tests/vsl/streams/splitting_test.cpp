// Leapfrog and skipping ahead of R250, MRG32K3A and WH; of the multiplicative generators see congruential_test.cpp.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

#include "stream_handle.hpp"

namespace {

using Word = std::array<uint32_t, 4>;
using Triple = std::array<uint32_t, 3>;
using Counts = std::vector<uint64_t>;

constexpr uint32_t kModulus1 = 4294967087, kModulus2 = 4294944443;

// The state words of MRG32K3A.
std::array<uint32_t, 6> state(const Stream& stream) {
    return *static_cast<const std::array<uint32_t, 6>*>(stream.state());
}

Stream mrg() { return Stream(kOzkVslMrg32k3a, {12345, 1, 77777, 4294944442, 5, 6}); }

Stream skipped(const Counts& count) {
    Stream stream = mrg();
    EXPECT_EQ(__vslSkipAheadStreamEx(stream, static_cast<int32_t>(count.size()), count.data()),
              kOzkVslSuccess);
    return stream;
}

TEST(Mrg32k3aSkipping, EqualsGenerating) {
    std::vector<uint32_t> words(3000);
    const Stream stepped = mrg();
    for (uint64_t count = 0; count < 3000; ++count) {
        Stream by_word = mrg();
        ASSERT_EQ(__vslSkipAheadStream(by_word, count), kOzkVslSuccess);
        ASSERT_EQ(state(by_word), state(stepped)) << count;
        ASSERT_EQ(state(skipped({count})), state(stepped)) << count;
        _vsliRngUniformBits(0, stepped, 1, words.data());
    }
}

TEST(Mrg32k3aSkipping, AddsUpForLargeCountsOnEveryPath) {
    constexpr uint64_t c = 0xC000000000000001, d = 0x3FFFFFFFFFFFFFFE;
    Stream once = mrg(), twice = mrg();
    __vslSkipAheadStream(once, c + d);
    __vslSkipAheadStream(twice, c);
    __vslSkipAheadStream(twice, d);
    EXPECT_EQ(state(once), state(twice));
    EXPECT_EQ(state(skipped({c + d})), state(once));
    EXPECT_EQ(state(skipped({c + d, 0, 0, 0, 0})), state(once));

    // 2^192 as 2^191 twice: by the table, and by the general power.
    Stream doubled = skipped({0, 0, uint64_t{1} << 63});
    const uint64_t half[] = {0, 0, uint64_t{1} << 63};
    __vslSkipAheadStreamEx(doubled, 3, half);
    EXPECT_EQ(state(skipped({0, 0, 0, 1})), state(doubled));
    EXPECT_NE(state(doubled), state(mrg()));

    // 3 2^200 + 5 2^70 + 9 as its parts.
    Stream parts = skipped({9, 5 << 6, 0, 0});
    const uint64_t upper[] = {0, 0, 0, 3 << 8, 0};
    __vslSkipAheadStreamEx(parts, 5, upper);
    EXPECT_EQ(state(skipped({9, 5 << 6, 0, 3 << 8})), state(parts));

    EXPECT_EQ(state(skipped({})), state(mrg()));
    EXPECT_EQ(state(skipped({0, 0, 0, 0})), state(mrg()));
}

TEST(Mrg32k3aSkipping, TableHoldsTheSquaresFromTheCompanionMatricesOn) {
    const std::array<uint32_t, 9> first = {0, 1, 0, 0, 0, 1, 4294156359, 1403580, 0},
                                  second = {0, 1, 0, 0, 0, 1, 4293573854, 0, 527612},
                                  square = {0, 0, 1, 4294156359, 1403580, 0, 0, 4294156359, 1403580};
    EXPECT_TRUE(std::equal(first.begin(), first.end(), _vsl_mrg32k3a_skipahead_table.first[0]));
    EXPECT_TRUE(std::equal(second.begin(), second.end(), _vsl_mrg32k3a_skipahead_table.second[0]));
    EXPECT_TRUE(std::equal(square.begin(), square.end(), _vsl_mrg32k3a_skipahead_table.first[1]));
    static_assert(sizeof _vsl_mrg32k3a_skipahead_table == 3474 * 4);
    const auto check = [](const uint32_t(&powers)[193][9], uint32_t m) {
        for (int k = 1; k < 193; ++k) {
            for (int row = 0; row < 3; ++row) {
                for (int column = 0; column < 3; ++column) {
                    unsigned __int128 sum = 0;
                    for (int i = 0; i < 3; ++i) {
                        sum += static_cast<unsigned __int128>(powers[k - 1][3 * row + i]) *
                               powers[k - 1][3 * i + column];
                    }
                    ASSERT_EQ(powers[k][3 * row + column], static_cast<uint32_t>(sum % m)) << k;
                }
            }
        }
    };
    check(_vsl_mrg32k3a_skipahead_table.first, kModulus1);
    check(_vsl_mrg32k3a_skipahead_table.second, kModulus2);
}

// (m^3 - 1) is a multiple of the period of a component, for L'Ecuyer's components exactly the period.
TEST(Mrg32k3aSkipping, PowersComeBackAfterThePeriodAndNotAfterItsParts) {
    const auto period = [](uint32_t m) {  // m^3 - 1, by schoolbook multiplication
        const unsigned __int128 square = static_cast<unsigned __int128>(m) * m;
        const unsigned __int128 low = static_cast<unsigned __int128>(static_cast<uint64_t>(square)) * m;
        return Counts{static_cast<uint64_t>(low) - 1, static_cast<uint64_t>(low >> 64)};
    };
    const Triple x = {3, 141, 592};
    const auto powered = [&](const Counts& e, bool second, bool table) {
        Triple y = x;
        const int32_t n = static_cast<int32_t>(e.size());
        const auto& powers = _vsl_mrg32k3a_skipahead_table;
        if (!table) {
            __vsliVect3PowArrayMod(second ? powers.second[0] : powers.first[0], n, e.data(),
                                   second ? kModulus2 : kModulus1, y.data());
        } else {
            (second ? __vsliVect3PowArrayMod_M2 : __vsliVect3PowArrayMod_M1)(n, e.data(), y.data());
        }
        return y;
    };
    for (const bool second : {false, true}) {
        const Counts e = period(second ? kModulus2 : kModulus1);
        Counts half = {e[0] >> 1 | e[1] << 63, e[1] >> 1};
        for (const bool table : {false, true}) {
            EXPECT_EQ(powered(e, second, table), x);
            EXPECT_NE(powered(half, second, table), x);
        }
        EXPECT_EQ(powered(half, second, false), powered(half, second, true));
        Triple once = x;
        __vsliVect3PowMod(
            second ? _vsl_mrg32k3a_skipahead_table.second[0] : _vsl_mrg32k3a_skipahead_table.first[0],
            half[0], second ? kModulus2 : kModulus1, once.data());
        EXPECT_EQ(once, powered({half[0]}, second, true));
    }
}

// ---- WH -----------------------------------------------------------------------------------------------

std::vector<Word> draw(const Stream& stream, size_t n) {
    std::vector<Word> words(n);
    _vsliRngUniformBits(0, stream, static_cast<int32_t>(n), words.data());
    return words;
}

TEST(WichmannHillSplitting, LeapfrogInterleavesAndSkippingCountsItsOwnOutputs) {
    for (const uint32_t identifier : {kOzkVslWh + 0u, kOzkVslWh + 100u}) {
        const auto make = [&] { return Stream(identifier, {1, 22, 333, 4444}); };
        const std::vector<Word> whole = draw(make(), 2000);
        for (int32_t count : {1, 2, 7, 16}) {
            for (int32_t k = 0; k < count; ++k) {
                Stream stream = make();
                ASSERT_EQ(__vslLeapfrogStream(stream, k, count), kOzkVslSuccess);
                ASSERT_EQ(__vslSkipAheadStream(stream, 3), kOzkVslSuccess);
                const std::vector<Word> part = draw(stream, 50);
                for (size_t i = 0; i < part.size(); ++i)
                    ASSERT_EQ(part[i], whole[static_cast<size_t>(k) + (i + 3) * static_cast<size_t>(count)]);
            }
        }
        Stream once = make(), twice = make();
        __vslSkipAheadStream(once, 0xFFFFFFFFFFFFFFFF);
        __vslSkipAheadStream(twice, 0xFFFFFFFF00000000);
        __vslSkipAheadStream(twice, 0x00000000FFFFFFFF);
        EXPECT_EQ(draw(once, 9), draw(twice, 9));
    }
}

// ---- What is refused ----------------------------------------------------------------------------------

TEST(Splitting, IsRefusedWhereTheFamilyDoesNotHaveIt) {
    struct Case {
        uint32_t identifier;
        int32_t leapfrog, skip, extended;
    };
    const uint64_t count[] = {1, 1};
    for (const Case& c :
         {Case{kOzkVslR250, kOzkVslErrorNoLeapfrog, kOzkVslErrorNoSkipAhead, kOzkVslErrorNoSkipAheadEx},
          Case{kOzkVslMrg32k3a, kOzkVslErrorNoLeapfrog, kOzkVslSuccess, kOzkVslSuccess},
          Case{kOzkVslWh, kOzkVslSuccess, kOzkVslSuccess, kOzkVslErrorNoSkipAheadEx}}) {
        const Stream stream(c.identifier, {1});
        EXPECT_EQ(__vslLeapfrogStream(stream, 0, 1), c.leapfrog);
        EXPECT_EQ(__vslSkipAheadStream(stream, 1), c.skip);
        EXPECT_EQ(__vslSkipAheadStreamEx(stream, 2, count), c.extended);
        OzkVslBrngProperties row;
        __vslGetBrngProperties(c.identifier, &row);
        EXPECT_EQ(row.init(4, stream, 0, nullptr), kOzkVslErrorUnknownMethod);
    }
}

}  // namespace
