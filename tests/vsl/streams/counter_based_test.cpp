// Philox4x32-10 and ARS-5 against plain references, written from their definitions.

#include <array>
#include <bit>

#include "tests/vsl/streams/drawing.hpp"
#include "vsl/streams/ars5.hpp"

namespace {

using namespace drawing;
using Wide = unsigned __int128;
using Block = std::array<uint32_t, 4>;

Block words_of(Wide counter) {
    Block block;
    for (int i = 0; i < 4; ++i) block[static_cast<size_t>(i)] = static_cast<uint32_t>(counter >> (32 * i));
    return block;
}

struct Philox {
    static constexpr uint32_t kIdentifier = kOzkVslPhilox4x32x10;
    static constexpr size_t kKeyWords = 2;
    static Block block(const std::vector<uint32_t>& key, Wide counter) {
        Block x = words_of(counter);
        uint32_t k0 = key[0], k1 = key[1];
        for (int round = 0; round < 10; ++round) {
            const uint64_t p0 = uint64_t{0xD2511F53} * x[0], p1 = uint64_t{0xCD9E8D57} * x[2];
            x = {static_cast<uint32_t>(p1 >> 32) ^ x[1] ^ k0, static_cast<uint32_t>(p1),
                 static_cast<uint32_t>(p0 >> 32) ^ x[3] ^ k1, static_cast<uint32_t>(p0)};
            k0 += 0x9E3779B9;
            k1 += 0xBB67AE85;
        }
        return x;
    }
    static double to_double(uint32_t w, double a, double b) { return unsigned_double(w, a, b); }
    static float to_single(uint32_t w, float a, float b) { return unsigned_single(w, a, b); }
};

// AES over a 4 x 4 matrix of bytes, as the standard describes it.
struct Aes {
    static uint8_t twice(uint8_t x) { return static_cast<uint8_t>(x << 1 ^ (x >> 7) * 0x1B); }
    static uint8_t times(uint8_t x, uint8_t y) {
        uint8_t sum = 0;
        for (; y != 0; y >>= 1, x = twice(x)) sum ^= static_cast<uint8_t>((y & 1) * x);
        return sum;
    }
    static uint8_t substitute(uint8_t x) {
        int inverse = 0;
        while (x != 0 && times(x, static_cast<uint8_t>(inverse)) != 1) ++inverse;
        uint8_t y = 0;
        for (int bit = 0; bit < 8; ++bit) {
            int sum = 0x63 >> bit;
            for (int k : {0, 4, 5, 6, 7}) sum ^= inverse >> (bit + k) % 8;
            y |= static_cast<uint8_t>((sum & 1) << bit);
        }
        return y;
    }
    using State = std::array<uint8_t, 16>;  // column by column
    static void round(State& s, const State& key, bool mix) {
        static const auto box = [] {
            std::array<uint8_t, 256> b;
            for (int x = 0; x < 256; ++x) b[static_cast<size_t>(x)] = substitute(static_cast<uint8_t>(x));
            return b;
        }();
        State t;
        for (size_t i = 0; i < 16; ++i) t[i] = box[s[(i + 4 * (i % 4)) % 16]];
        for (size_t i = 0; i < 16; ++i) {
            const auto row = [&](size_t k) { return t[i / 4 * 4 + (i + k) % 4]; };
            s[i] = static_cast<uint8_t>((mix ? times(row(0), 2) ^ times(row(1), 3) ^ row(2) ^ row(3) : t[i]) ^
                                        key[i]);
        }
    }
};

struct Ars5 {
    static constexpr uint32_t kIdentifier = kOzkVslArs5;
    static constexpr size_t kKeyWords = 4;
    static Block block(const std::vector<uint32_t>& key, Wide counter) {
        uint64_t low = key[0] | uint64_t{key[1]} << 32, high = key[2] | uint64_t{key[3]} << 32;
        Aes::State s = std::bit_cast<Aes::State>(counter ^ (Wide{high} << 64 | low));
        for (int round = 1; round <= 5; ++round) {
            low += 0x9E3779B97F4A7C15;
            high += 0xBB67AE8584CAA73B;
            Aes::round(s, std::bit_cast<Aes::State>(Wide{high} << 64 | low), round < 5);
        }
        return std::bit_cast<Block>(s);
    }
    static double to_double(uint32_t w, double a, double b) {
        return static_cast<int32_t>(w) * ((b - a) * 0x1p-32) + (a + b) / 2;
    }
    static float to_single(uint32_t w, float a, float b) {
        const float scale = (b - a) * 0x1p-32f, middle = (a + b) / 2;
        const float product = static_cast<float>(static_cast<int32_t>(w)) * scale;
        return product + middle;
    }
};

template <class Family>
class CounterBased : public testing::Test {
  protected:
    static std::vector<uint32_t> key() {
        return {0xA4093822, 0x299F31D0, 0x082EFA98, 0xEC4E6C89 /* as many as the family has */};
    }
    static std::vector<uint32_t> seed(Wide counter) {
        std::vector<uint32_t> seed = key();
        seed.resize(Family::kKeyWords);
        for (uint32_t word : words_of(counter)) seed.push_back(word);
        return seed;
    }
    static Stream at(Wide counter) { return make(Family::kIdentifier, seed(counter)); }
    static auto reference(Wide counter) {
        return [counter](size_t i) { return Family::block(key(), counter + i / 4)[i % 4]; };
    }
    static void expect(const Stream& stream, size_t n, Wide counter, size_t first) {
        const auto word = reference(counter);
        expect_outputs(
            stream, n, [&](size_t i) { return word(first + i); }, Family::to_double, Family::to_single);
    }
};

using Families = testing::Types<Philox, Ars5>;
TYPED_TEST_SUITE(CounterBased, Families);

TYPED_TEST(CounterBased, EqualsThePlainCipherHoweverItIsCutIntoCallsAndAcrossEveryCarry) {
    const Wide one = 1;
    for (const Wide counter : {Wide{0}, Wide{3}, (one << 32) - 70, (one << 64) - 1, (one << 64) - 77,
                               (one << 96) - 50, Wide{0} - 33}) {
        this->expect(this->at(counter), 6000, counter, 0);
    }
}

TYPED_TEST(CounterBased, EveryLengthFromEveryPendingNumberOfWordsIsRight) {
    const auto word = this->reference(5);
    for (size_t pending = 0; pending < 4; ++pending) {
        for (size_t n = 0; n < 100; ++n) {
            const Stream stream = this->at(5);
            words(stream, pending);
            const std::vector<uint32_t> r = words(stream, n);
            for (size_t i = 0; i < n; ++i) ASSERT_EQ(r[i], word(pending + i)) << pending << " " << n;
        }
    }
}

TYPED_TEST(CounterBased, SkippingEqualsGeneratingFromEveryPendingNumberOfWords) {
    for (size_t drawn = 0; drawn < 5; ++drawn) {
        for (uint64_t count = 0; count < 14; ++count) {
            const Stream plain = this->at(9), extended = this->at(9), twice = this->at(9);
            for (const Stream* stream : {&plain, &extended, &twice}) words(*stream, drawn);
            ASSERT_EQ(__vslSkipAheadStream(plain.get(), count), kOzkVslSuccess);
            ASSERT_EQ(__vslSkipAheadStreamEx(extended.get(), 1, &count), kOzkVslSuccess);
            __vslSkipAheadStream(twice.get(), count / 2);
            __vslSkipAheadStream(twice.get(), count - count / 2);
            const auto word = this->reference(9);
            for (size_t i = 0; i < 9; ++i) {
                const uint32_t expected = word(drawn + count + i);
                ASSERT_EQ(words(plain, 1)[0], expected) << drawn << " " << count;
                ASSERT_EQ(words(extended, 1)[0], expected) << drawn << " " << count;
                ASSERT_EQ(words(twice, 1)[0], expected) << drawn << " " << count;
            }
        }
    }
}

// Skips of q blocks and a rest, the whole count of up to 192 bits.
TYPED_TEST(CounterBased, LongSkipsLandOnTheCounterThatArithmeticGives) {
    const Wide start = (Wide{0x123456789} << 64) - 5;
    for (size_t drawn = 0; drawn < 4; ++drawn) {
        const uint64_t counts[][3] = {{0, 1, 0}, {1, 0, 1},         {2, 1, 0},     {0, 0, 3},
                                      {3, 0, 1}, {~0ull, ~0ull, 1}, {~0ull, 0, 0}, {0, 0, 4}};
        for (const auto& count : counts) {
            // (drawn + count) / 4 blocks beyond the start, modulo 2^128: 2^192 is a multiple of the period.
            const Wide low = (Wide{count[1]} << 64 | count[0]) + drawn;
            const uint64_t top = count[2] + (low < drawn);
            const Wide counter = start + (low >> 2) + (Wide{top} << 126);
            const Stream stream = this->at(start);
            words(stream, drawn);
            ASSERT_EQ(__vslSkipAheadStreamEx(stream.get(), 3, count), kOzkVslSuccess);
            this->expect(stream, 40, counter, static_cast<size_t>(low & 3));
        }
    }
}

TYPED_TEST(CounterBased, MissingSeedWordsAreZeroAndFurtherOnesIgnored) {
    std::vector<uint32_t> seed(TypeParam::kKeyWords + 4, 0);
    for (size_t given = 0; given <= seed.size() + 2; ++given) {
        std::vector<uint32_t> longer(given, 7);
        for (size_t i = 0; i < std::min(given, seed.size()); ++i) seed[i] = 7;
        EXPECT_EQ(words(make(TypeParam::kIdentifier, longer), 9),
                  words(make(TypeParam::kIdentifier, seed), 9));
    }
}

TYPED_TEST(CounterBased, RefusesLeapfrogAndUnknownMethodsAndStaysWhereItIs) {
    const Stream stream = this->at(1);
    OzkVslBrngProperties row;
    __vslGetBrngProperties(TypeParam::kIdentifier, &row);
    EXPECT_EQ(__vslLeapfrogStream(stream.get(), 0, 1), kOzkVslErrorNoLeapfrog);
    EXPECT_EQ(row.init(4, stream.get(), 0, nullptr), kOzkVslErrorUnknownMethod);
    this->expect(stream, 20, 1, 0);
}

// Random123's published vectors: counter and key zero, all ones, and the digits of pi.
TEST(Philox, GivesThePublishedAnswers) {
    const std::pair<std::vector<uint32_t>, std::vector<uint32_t>> answers[] = {
        {{0, 0, 0, 0, 0, 0}, {0x6627e8d5, 0xe169c58d, 0xbc57ac4c, 0x9b00dbd8}},
        {std::vector<uint32_t>(6, 0xffffffff), {0x408f276d, 0x41c83b0e, 0xa20bc7c6, 0x6d5451fd}},
        {{0xa4093822, 0x299f31d0, 0x243f6a88, 0x85a308d3, 0x13198a2e, 0x03707344},
         {0xd16cfe09, 0x94fdcceb, 0x5001e420, 0x24126ea1}}};
    for (const auto& [seed, block] : answers) EXPECT_EQ(words(make(kOzkVslPhilox4x32x10, seed), 4), block);
}

// FIPS 197, appendix B: the first round of the worked example.
TEST(Ars5, ReferenceRoundIsThatOfTheStandard) {
    Aes::State s = {0x19, 0x3d, 0xe3, 0xbe, 0xa0, 0xf4, 0xe2, 0x2b,
                    0x9a, 0xc6, 0x8d, 0x2a, 0xe9, 0xf8, 0x48, 0x08};
    const Aes::State key = {0xa0, 0xfa, 0xfe, 0x17, 0x88, 0x54, 0x2c, 0xb1,
                            0x23, 0xa3, 0x39, 0x39, 0x2a, 0x6c, 0x76, 0x05};
    Aes::round(s, key, true);
    EXPECT_EQ(s, (Aes::State{0xa4, 0x9c, 0x7f, 0xf2, 0x68, 0x9f, 0x35, 0x2b, 0x6b, 0x5b, 0xea, 0x43, 0x02,
                             0x6a, 0x50, 0x49}));
}

TEST(Ars5, TablesGiveWhatTheInstructionsGive) {
    const uint32_t key[4] = {1, 0x80000000, 77, 0xFFFFFFFF};
    std::vector<uint32_t> by_tables(4 * 20);
    ozk::vsl::ars5_by_tables(ozk::vsl::Ars5Keys(key), ~uint64_t{0} - 21, 5, 20, by_tables.data(),
                             ozk::vsl::Words());
    for (size_t i = 0; i < by_tables.size(); ++i) {
        const Wide counter = (Wide{5} << 64) + (~uint64_t{0} - 21) + i / 4;
        ASSERT_EQ(by_tables[i], Ars5::block({key[0], key[1], key[2], key[3]}, counter)[i % 4]) << i;
    }
}

TEST(Ars5, SkipOfWholeBlocksLeavesThemPending) {
    const Stream stream = make(kOzkVslArs5, {1, 2, 3, 4});
    __vslSkipAheadStream(stream.get(), 4);
    const uint32_t* const state = reinterpret_cast<const uint32_t*>(stream.get() + 1);
    EXPECT_EQ(state[8], 4u);  // pending words
    EXPECT_EQ(state[4], 2u);  // next counter
    __vslSkipAheadStream(stream.get(), 3);
    EXPECT_EQ(state[8], 1u);
    EXPECT_EQ(state[4], 2u);
}

}  // namespace
