// Seeding, leapfrog, skipping ahead and powers of the multiplicative congruential generators; their sequences see
// recurrence_test.cpp.

#include <gtest/gtest.h>

#include <vector>

#include "ozk_vsl.h"

namespace {

using Wide = unsigned __int128;

struct Mcg31m1 {
    using Word = uint32_t;
    static constexpr uint32_t kIdentifier = kOzkVslMcg31m1;
    static constexpr uint32_t kMultiplier = 1132489760;
    static Word power(uint64_t e) { return __vsliPowMod2P31M1(kMultiplier, e); }
    static constexpr uint64_t kOutput1000 = 1739502144, kOutput10000 = 378057968, kPowerOfHuge = 544240487;
};

struct Mcg59 {
    using Word = uint64_t;
    static constexpr uint32_t kIdentifier = kOzkVslMcg59;
    static constexpr uint64_t kMultiplier = 302875106592253;
    static Word power(uint64_t e) { return __vsliPowMod2P59(kMultiplier, e); }
    static constexpr uint64_t kOutput1000 = 560455464919060725, kOutput10000 = 113423907277009813,
                              kPowerOfHuge = 266047032398913501;
};

template <class Family>
class Congruential : public testing::Test {
  protected:
    using Word = typename Family::Word;
    std::vector<OzkVslStream*> streams;

    OzkVslStream* make(std::vector<uint32_t> seed) {
        OzkVslStream* stream = nullptr;
        EXPECT_EQ(
            __vslNewStreamEx(&stream, Family::kIdentifier, static_cast<int32_t>(seed.size()), seed.data()),
            kOzkVslSuccess);
        streams.push_back(stream);
        return stream;
    }

    static std::vector<Word> words(OzkVslStream* stream, int n) {
        std::vector<Word> r(static_cast<size_t>(n));
        EXPECT_EQ(_vsliRngUniformBits(0, stream, n, r.data()), kOzkVslSuccess);
        return r;
    }

    void TearDown() override {
        for (OzkVslStream*& stream : streams) __vslDeleteStream(&stream);
    }
};

using Families = testing::Types<Mcg31m1, Mcg59>;
TYPED_TEST_SUITE(Congruential, Families);

TYPED_TEST(Congruential, GivesItsThousandthAndTenThousandthNumber) {
    const auto r = this->words(this->make({1}), 10000);
    EXPECT_EQ(r[999], TypeParam::kOutput1000);
    EXPECT_EQ(r[9999], TypeParam::kOutput10000);
}

TYPED_TEST(Congruential, NumbersStayInExtremeIntervals) {
    constexpr int n = 1003;
    for (const auto& [a, b] : {std::pair(-1e300, 1e300), std::pair(5.0, 5 + 0x1p-50)}) {
        std::vector<double> r(n);
        ASSERT_EQ(_vsldRngUniform(0, this->make({4321}), n, r.data(), a, b), kOzkVslSuccess);
        for (const double x : r) ASSERT_TRUE(a <= x && x <= b);
    }
}

TYPED_TEST(Congruential, LeapfrogStreamsInterleaveToTheWhole) {
    constexpr int n = 240;
    const auto whole = this->words(this->make({31}), n);
    for (int count : {1, 2, 3, 7, 16}) {
        for (int k = 0; k < count; ++k) {
            OzkVslStream* stream = this->make({31});
            ASSERT_EQ(__vslLeapfrogStream(stream, k, count), kOzkVslSuccess);
            const auto part = this->words(stream, n / count);
            for (size_t i = 0; i < part.size(); ++i) {
                ASSERT_EQ(part[i], whole[static_cast<size_t>(k) + i * static_cast<size_t>(count)])
                    << count << " " << k;
            }
        }
    }
}

TYPED_TEST(Congruential, LeapfrogWithinLeapfrogAndSkippingInItCountItsOwnOutputs) {
    const auto whole = this->words(this->make({31}), 400);
    OzkVslStream* stream = this->make({31});
    __vslLeapfrogStream(stream, 1, 3);  // 1, 4, 7, ...
    __vslSkipAheadStream(stream, 10);   // 31, 34, ...
    __vslLeapfrogStream(stream, 2, 5);  // 37, 52, ...
    const auto part = this->words(stream, 20);
    for (size_t i = 0; i < part.size(); ++i) EXPECT_EQ(part[i], whole[37 + 15 * i]);
}

TYPED_TEST(Congruential, SkippingAheadEqualsGeneratingAndAddsUp) {
    const auto whole = this->words(this->make({31}), 3000);
    for (uint64_t count : {0ull, 1ull, 2ull, 16ull, 1000ull, 2047ull}) {
        OzkVslStream* stream = this->make({31});
        ASSERT_EQ(__vslSkipAheadStream(stream, count), kOzkVslSuccess);
        EXPECT_EQ(this->words(stream, 1)[0], whole[count]) << count;
    }
    constexpr uint64_t c = 0xC000000000000001, d = 0x3FFFFFFFFFFFFFF0;
    OzkVslStream* once = this->make({31});
    OzkVslStream* twice = this->make({31});
    __vslSkipAheadStream(once, c + d);
    __vslSkipAheadStream(twice, c);
    __vslSkipAheadStream(twice, d);
    EXPECT_EQ(this->words(once, 40), this->words(twice, 40));
    EXPECT_EQ(TypeParam::power((uint64_t{1} << 63) + 12345), TypeParam::kPowerOfHuge);
}

TEST(Mcg31m1, SeedsAreReducedAndNeverZero) {
    const auto first_words = [](std::vector<uint32_t> seed) {
        OzkVslStream* stream = nullptr;
        uint32_t r[2];
        __vslNewStreamEx(&stream, kOzkVslMcg31m1, static_cast<int32_t>(seed.size()), seed.data());
        _vsliRngUniformBits(0, stream, 2, r);
        __vslDeleteStream(&stream);
        return std::pair(r[0], r[1]);
    };
    EXPECT_EQ(first_words({0}), std::pair(1u, 1132489760u));
    EXPECT_EQ(first_words({0x7FFFFFFF}), std::pair(1u, 1132489760u));
    EXPECT_EQ(first_words({}), std::pair(1u, 1132489760u));
    EXPECT_EQ(first_words({0xFFFFFFFF}), std::pair(1u, 1132489760u));
    EXPECT_EQ(first_words({0x80000001}).first, 2u);
}

TEST(Mcg31m1, MultiplierIsAPrimitiveRoot) {
    constexpr uint64_t kOrder = 0x7FFFFFFE;
    EXPECT_EQ(__vsliPowMod2P31M1(1132489760, kOrder), 1u);
    for (uint64_t prime : {2, 3, 7, 11, 31, 151, 331})
        EXPECT_NE(__vsliPowMod2P31M1(1132489760, kOrder / prime), 1u);
}

TEST(Mcg59, SeedsAreMaskedAndNeverZero) {
    const auto first_word = [](std::vector<uint32_t> seed) {
        OzkVslStream* stream = nullptr;
        uint64_t r;
        __vslNewStreamEx(&stream, kOzkVslMcg59, static_cast<int32_t>(seed.size()), seed.data());
        _vsliRngUniformBits(0, stream, 1, &r);
        __vslDeleteStream(&stream);
        return r;
    };
    EXPECT_EQ(first_word({5}), 5u);
    EXPECT_EQ(first_word({5, 0}), 5u);
    EXPECT_EQ(first_word({0, 0x08000000}), 1u);
    EXPECT_EQ(first_word({}), 1u);
    EXPECT_EQ(first_word({3, 0xFFFFFFFF, 9}), 0x7FFFFFF00000003u);
}

TEST(Mcg59, LargestWordsBecomeTheUpperBound) {
    OzkVslStream* stream = nullptr;
    const uint32_t seed[] = {0xFFFFFFFF, 0x07FFFFFF};
    __vslNewStreamEx(&stream, kOzkVslMcg59, 2, seed);
    double u;
    _vsldRngUniform(0, stream, 1, &u, 0, 1);
    EXPECT_EQ(u, 1);
    __vslDeleteStream(&stream);
}

TEST(Mcg59, MultiplierHasTheLargestOrder) {
    EXPECT_EQ(__vsliPowMod2P59(302875106592253, uint64_t{1} << 57), 1u);
    EXPECT_NE(__vsliPowMod2P59(302875106592253, uint64_t{1} << 56), 1u);
}

TEST(ModularPower, AgreesWithRepeatedMultiplication) {
    for (uint32_t m : {1u, 2u, 16770647u, 4294967087u, 0xFFFFFFFFu}) {
        for (uint32_t a : {0u, 1u, 125u, 0xFFFFFFFEu}) {
            Wide expected = 1 % m;
            for (uint64_t e = 0; e < 70; ++e, expected = expected * a % m) {
                ASSERT_EQ(__vsliPowMod(a, e, m), static_cast<uint32_t>(expected))
                    << a << "^" << e << " mod " << m;
            }
        }
    }
    EXPECT_EQ(__vsliPowMod(125, 16770646, 16770647), 1u);  // Fermat
}

}  // namespace
