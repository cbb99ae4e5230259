// Sobol's sequence against SciPy, Niederreiter's against GSL, both against their definition; and the tables.

#include <gsl/gsl_qrng.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <set>

#include "tests/vsl/streams/drawing.hpp"

namespace {

using namespace drawing;

struct SobolPoint {
    uint32_t index;
    std::vector<uint32_t> words;
};
#include "tests/vsl/streams/sobol_oracle.inc"

// ---- Polynomials over GF(2) -----------------------------------------------------------------------------

int degree(uint64_t p) { return std::bit_width(p) - 1; }

uint64_t multiply(uint64_t a, uint64_t b, uint64_t p) {
    uint64_t product = 0;
    for (; b != 0; b >>= 1) {
        if (b & 1) product ^= a;
        a <<= 1;
        if (degree(a) == degree(p)) a ^= p;
    }
    return product;
}

// By sieving: no product of two polynomials of lower degree.
std::set<uint64_t> reducible_below(uint64_t bound) {
    std::set<uint64_t> products;
    for (uint64_t a = 2; a * 2 < bound; ++a) {
        for (uint64_t b = a; b < bound; ++b) {
            uint64_t product = 0;
            for (uint64_t x = a, y = b; y != 0; x <<= 1, y >>= 1) product ^= (y & 1) * x;
            if (product < bound) products.insert(product);
            if (degree(a) + degree(b) > degree(bound)) break;
        }
    }
    return products;
}

// The order of x modulo p.
uint64_t order(uint64_t p) {
    uint64_t power = 2 % p, n = 1;
    if (degree(p) == 1) power = 1;
    while (power != 1) power = multiply(power, 2, p), ++n;
    return n;
}

TEST(Sobol, PolynomialsAreThePrimitiveOnesInOrder) {
    EXPECT_EQ(uSobolIrredPoly[0], 1u);
    uint64_t candidate = 3;
    const std::set<uint64_t> reducible = reducible_below(512);
    for (int i = 1; i < kOzkVslSobolDimensions; ++i, candidate += 2) {
        while (reducible.count(candidate) || order(candidate) != (1ull << degree(candidate)) - 1)
            candidate += 2;
        ASSERT_EQ(uSobolIrredPoly[i], candidate);
    }
    for (int i = 0; i < kOzkVslSobolDimensions; ++i) {
        ASSERT_EQ(iSobolIrredPolyDeg[i], degree(uSobolIrredPoly[i]));
        for (int j = 0; j < kOzkVslSobolInitialNumbers; ++j) {
            const uint32_t m = uSobolMInit[i][j];
            ASSERT_TRUE(j < iSobolIrredPolyDeg[i] ? m % 2 == 1 && m < 2u << j : m == 0) << i << " " << j;
        }
    }
}

TEST(Niederreiter, PolynomialsAreTheIrreducibleOnesInOrder) {
    const std::set<uint64_t> reducible = reducible_below(4096);
    uint64_t candidate = 2;
    for (int i = 0; i < kOzkVslNiederreiterDimensions; ++i, ++candidate) {
        while (reducible.count(candidate)) ++candidate;
        ASSERT_EQ(uNiederrIrredPoly[i], candidate);
        ASSERT_EQ(iNiederrIrredPolyDeg[i], degree(candidate));
    }
}

// ---- Sequences ------------------------------------------------------------------------------------------

TEST(Sobol, EqualsSciPyFromItsSecondPointOn) {
    for (const uint32_t d : {1u, 2u, 5u, 13u, 16u, 39u, 40u}) {
        for (const SobolPoint& point : kSobolOracle) {
            const Stream stream = make(kOzkVslSobol, {d});
            ASSERT_EQ(__vslSkipAheadStream(stream.get(), uint64_t{d} * (point.index - 1)), kOzkVslSuccess);
            ASSERT_EQ(words(stream, d), std::vector(point.words.begin(), point.words.begin() + d))
                << point.index;
        }
    }
}

TEST(Niederreiter, EqualsGslInAllItsDimensions) {
    for (const uint32_t d : {1u, 3u, 12u}) {
        gsl_qrng* const reference = gsl_qrng_alloc(gsl_qrng_niederreiter_2, d);
        const Stream stream = make(kOzkVslNiederreiter, {d});
        std::vector<double> x(d);
        gsl_qrng_get(reference, x.data());
        EXPECT_EQ(x, std::vector<double>(d, 0)) << "the origin, which the stream leaves out";
        for (int i = 0; i < 5000; ++i) {
            gsl_qrng_get(reference, x.data());
            const std::vector<uint32_t> point = words(stream, d);
            for (size_t k = 0; k < d; ++k) ASSERT_EQ(point[k] >> 1, x[k] * 0x1p31) << i << " " << k;
        }
        gsl_qrng_free(reference);
    }
}

struct Sobol {
    static constexpr uint32_t kIdentifier = kOzkVslSobol, kBuiltIn = kOzkVslSobolDimensions, kMost = 84;
};
struct Niederreiter {
    static constexpr uint32_t kIdentifier = kOzkVslNiederreiter, kBuiltIn = kOzkVslNiederreiterDimensions,
                              kMost = 636;
};

template <class Family>
class QuasiRandom : public testing::Test {
  protected:
    // Direction numbers, told from single points: point 2^c lies one step beyond point 2^c - 1, which has the
    // Gray code of one bit, c - 1.
    static std::vector<std::vector<uint32_t>> directions(uint32_t d) {
        std::vector<std::vector<uint32_t>> v(32);
        for (uint32_t c = 0; c < 32; ++c) {
            const Stream stream = make(Family::kIdentifier, {d});
            __vslSkipAheadStream(stream.get(), d * ((uint64_t{2} << c) - 2));
            v[c] = words(stream, d);
        }
        return v;
    }
    static uint32_t coordinate(const std::vector<std::vector<uint32_t>>& v, uint64_t index, size_t k) {
        uint32_t word = 0;
        for (uint64_t gray = index ^ index >> 1; gray != 0; gray &= gray - 1) {
            word ^= v[static_cast<size_t>(std::countr_zero(gray))][k];
        }
        return word;
    }
};
using Families = testing::Types<Sobol, Niederreiter>;
TYPED_TEST_SUITE(QuasiRandom, Families);

TYPED_TEST(QuasiRandom, FollowsItsDefinitionHoweverItIsCutIntoCalls) {
    for (const uint32_t d : {1u, 2u, 3u, 4u, 5u, 7u, 9u, 12u, 15u, 16u, 17u, 31u, 40u}) {
        const auto v = this->directions(d);
        const auto word = [&](size_t i) { return this->coordinate(v, 1 + i / d, i % d); };
        expect_outputs(make(TypeParam::kIdentifier, {d}), 6000, word, unsigned_double, unsigned_single);
        // Long calls, from every phase of the blocks.
        for (const size_t first : {0u, 1u, 5u, 100u, 999u}) {
            const Stream stream = make(TypeParam::kIdentifier, {d});
            words(stream, first);
            const std::vector<uint32_t> r = words(stream, 20000);
            for (size_t i = 0; i < r.size(); ++i)
                ASSERT_EQ(r[i], word(first + i)) << d << " " << first << " " << i;
        }
    }
}

TYPED_TEST(QuasiRandom, FillsEveryIntervalOfEachCoordinateEvenly) {
    // With the origin, the first 2^(e k) points put one number into each interval of length 2^-(e k), where e
    // is the degree of the dimension's polynomial (1 for Sobol's).
    const uint32_t d = TypeParam::kBuiltIn;
    const auto v = this->directions(d);
    for (size_t k = 0; k < d; ++k) {
        const bool sobol = TypeParam::kIdentifier == kOzkVslSobol;
        const int bits = sobol ? 10 : std::max(10 / iNiederrIrredPolyDeg[k], 1) * iNiederrIrredPolyDeg[k];
        std::vector<bool> filled(size_t{1} << bits);
        for (uint64_t i = 0; i < filled.size(); ++i) filled[this->coordinate(v, i, k) >> (32 - bits)] = true;
        ASSERT_EQ(std::count(filled.begin(), filled.end(), true), 1 << bits) << k;
    }
}

TYPED_TEST(QuasiRandom, SkippingCountsCoordinatesAndAddsUp) {
    for (const uint32_t d : {1u, 3u, 40u}) {
        const auto v = this->directions(d);
        constexpr uint64_t kPeriod = 0xFFFFFFFF;  // points
        for (const uint64_t count :
             {uint64_t{0}, uint64_t{1}, uint64_t{d}, uint64_t{d + 1}, uint64_t{1000003}, kPeriod * d - 3,
              kPeriod * d, uint64_t{0xFEDCBA9876543210}, ~uint64_t{0}}) {
            const Stream once = make(TypeParam::kIdentifier, {d}), twice = make(TypeParam::kIdentifier, {d});
            for (const Stream* stream : {&once, &twice}) words(*stream, 2);
            __vslSkipAheadStream(once.get(), count);
            __vslSkipAheadStream(twice.get(), count / 3);
            __vslSkipAheadStream(twice.get(), count - count / 3);
            const unsigned __int128 position = (unsigned __int128){count} + 2;
            const auto r = words(once, 500);
            EXPECT_EQ(words(twice, 500), r) << d << " " << count;
            for (size_t i = 0; i < r.size(); ++i) {
                const auto index = static_cast<uint64_t>((position + i) / d % kPeriod) + 1;
                const auto k = static_cast<size_t>((position + i) % d);
                ASSERT_EQ(r[i], this->coordinate(v, index, k)) << d << " " << count << " " << i;
            }
        }
    }
}

TYPED_TEST(QuasiRandom, StartsAgainAfterTheLastPointInLongCallsToo) {
    for (const uint32_t d : {1u, 16u}) {
        const Stream stream = make(TypeParam::kIdentifier, {d}), start = make(TypeParam::kIdentifier, {d});
        const uint64_t before = 3000;
        __vslSkipAheadStream(stream.get(), (0xFFFFFFFF - before) * d);
        const auto r = words(stream, (before + 4000) * d), again = words(start, 4000 * d);
        EXPECT_TRUE(std::equal(again.begin(), again.end(), r.end() - 4000 * d));
    }
}

TYPED_TEST(QuasiRandom, LeapfrogByTheDimensionsPicksACoordinate) {
    constexpr uint32_t d = 7;
    for (const uint32_t drawn : {0u, 1u, 6u, 7u, 700u}) {
        const Stream whole = make(TypeParam::kIdentifier, {d});
        words(whole, drawn);
        const auto r = words(whole, d * 3000);
        for (uint32_t k = 0; k < d; ++k) {
            const Stream part = make(TypeParam::kIdentifier, {d});
            words(part, drawn);
            EXPECT_EQ(__vslLeapfrogStream(part.get(), 0, d - 1), kOzkVslErrorNoLeapfrog);
            EXPECT_EQ(__vslLeapfrogStream(part.get(), d, d), kOzkVslErrorNoLeapfrog);
            EXPECT_EQ(__vslLeapfrogStream(part.get(), 0, 0), kOzkVslErrorNoLeapfrog);
            ASSERT_EQ(__vslLeapfrogStream(part.get(), static_cast<int32_t>(k), d), kOzkVslSuccess);
            const auto coordinate = words(part, 2000);
            __vslSkipAheadStream(part.get(), 100);  // of its own
            const auto later = words(part, 100);
            for (size_t i = 0; i < 2000; ++i) ASSERT_EQ(coordinate[i], r[k + d * i]) << drawn << " " << k;
            for (size_t i = 0; i < 100; ++i) ASSERT_EQ(later[i], r[k + d * (2100 + i)]) << drawn << " " << k;
        }
    }
}

TYPED_TEST(QuasiRandom, TakesPolynomialsAndDirectionNumbersOfTheCallers) {
    constexpr uint32_t d = 9, kept = 4;
    const bool sobol = TypeParam::kIdentifier == kOzkVslSobol;
    const auto expected = words(make(TypeParam::kIdentifier, {d}), 2000);
    std::vector<uint32_t> by_polynomials = {d, kOzkVslQuasiPolynomials, kept};
    std::vector<uint32_t> by_directions = {d, kOzkVslQuasiDirections, kept};
    const auto v = this->directions(d);
    for (uint32_t k = kept; k < d; ++k) {
        by_polynomials.push_back(sobol ? uSobolIrredPoly[k] : uNiederrIrredPoly[k]);
        for (int j = 0; sobol && j < iSobolIrredPolyDeg[k]; ++j) by_polynomials.push_back(uSobolMInit[k][j]);
        for (uint32_t c = 0; c < 32; ++c) by_directions.push_back(v[c][k]);
    }
    EXPECT_EQ(words(make(TypeParam::kIdentifier, by_polynomials), 2000), expected);
    EXPECT_EQ(words(make(TypeParam::kIdentifier, by_directions), 2000), expected);

    // As many dimensions as there can be; the last is one of the caller's.
    std::vector<uint32_t> most = {TypeParam::kMost, kOzkVslQuasiDirections, TypeParam::kBuiltIn};
    for (uint32_t k = TypeParam::kBuiltIn; k < TypeParam::kMost; ++k) {
        for (uint32_t c = 0; c < 32; ++c) most.push_back(0x80000000u >> c);
    }
    const auto point = words(make(TypeParam::kIdentifier, most), 2 * TypeParam::kMost);
    EXPECT_EQ(point[TypeParam::kMost - 1], 0x80000000u);
    EXPECT_EQ(point.back(), 0xC0000000u);
}

TYPED_TEST(QuasiRandom, RefusesSeedsThatDescribeNothing) {
    const bool sobol = TypeParam::kIdentifier == kOzkVslSobol;
    std::vector<std::vector<uint32_t>> bad = {{0},
                                              {TypeParam::kBuiltIn + 1},
                                              {TypeParam::kMost + 1, kOzkVslQuasiPolynomials, 0},
                                              {2, kOzkVslQuasiPolynomials},
                                              {2, kOzkVslQuasiPolynomials, 3},
                                              {2, kOzkVslQuasiPolynomials, 1},       // nothing described
                                              {2, 3, 1, 7, 1, 1},                    // no such form
                                              {1, kOzkVslQuasiPolynomials, 0, 0},    // no polynomial
                                              {2, kOzkVslQuasiPolynomials, 2, 7},    // more than asked for
                                              {1, kOzkVslQuasiDirections, 0, 1, 2},  // too few
                                              {UINT32_MAX, kOzkVslQuasiPolynomials, 0}};
    if (sobol) {
        bad.push_back({1, kOzkVslQuasiPolynomials, 0, 7, 1});        // an initial number is missing
        bad.push_back({1, kOzkVslQuasiPolynomials, 0, 7, 1, 2});     // even
        bad.push_back({1, kOzkVslQuasiPolynomials, 0, 7, 1, 5});     // too large
        bad.push_back({1, kOzkVslQuasiPolynomials, 0, 6, 1, 1});     // even polynomial
        bad.push_back({1, kOzkVslQuasiPolynomials, 0, 7, 1, 1, 1});  // a word too many
    } else {
        bad.push_back({1, kOzkVslQuasiPolynomials, 0, 1});
    }
    for (const std::vector<uint32_t>& seed : bad) {
        OzkVslStream* stream = nullptr;
        EXPECT_EQ(
            __vslNewStreamEx(&stream, TypeParam::kIdentifier, static_cast<int32_t>(seed.size()), seed.data()),
            kOzkVslErrorBadArguments)
            << testing::PrintToString(seed);
        __vslDeleteStream(&stream);
    }
    const Stream stream = make(TypeParam::kIdentifier, {});
    EXPECT_EQ(words(stream, 3), (std::vector<uint32_t>{0x80000000, 0xC0000000, 0x40000000}));
    const uint64_t count = 1;
    EXPECT_EQ(__vslSkipAheadStreamEx(stream.get(), 1, &count), kOzkVslErrorNoSkipAheadEx);
}

TYPED_TEST(QuasiRandom, CopiedStateGoesOnWithTheSamePoints) {
    const Stream source = make(TypeParam::kIdentifier, {30}), destination = make(TypeParam::kIdentifier, {3});
    words(source, 100);
    ASSERT_EQ(__vslCopyStreamState(destination.get(), source.get()), kOzkVslSuccess);
    EXPECT_EQ(words(destination, 3000), words(source, 3000));
}

}  // namespace
