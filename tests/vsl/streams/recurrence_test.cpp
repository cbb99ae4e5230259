// The sequences of generators that follow a recurrence, against plain references written from it.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cfenv>
#include <cmath>
#include <deque>
#include <numeric>
#include <vector>

#include "stream_handle.hpp"

namespace {

using Seed = std::vector<uint32_t>;

struct Mcg31m1 {
    using Word = uint32_t;
    static constexpr uint32_t kIdentifier = kOzkVslMcg31m1;
    static constexpr double kUnit = 1.0 / 2147483647;
    uint64_t x;
    explicit Mcg31m1(const Seed& seed) : x(seed[0]) {}
    Word next() { return static_cast<Word>(std::exchange(x, x * 1132489760 % 2147483647)); }
    static double number(Word word) { return word; }
};

struct Mcg59 {
    using Word = uint64_t;
    static constexpr uint32_t kIdentifier = kOzkVslMcg59;
    static constexpr double kUnit = 0x1p-59;
    uint64_t x;
    explicit Mcg59(const Seed& seed) : x(seed[0] | uint64_t{seed[1]} << 32) {}
    Word next() { return std::exchange(x, x * 302875106592253 % (uint64_t{1} << 59)); }
    static double number(Word word) { return static_cast<double>(word); }
};

struct R250 {
    using Word = uint32_t;
    static constexpr uint32_t kIdentifier = kOzkVslR250;
    static constexpr double kUnit = 0x1p-32;
    std::deque<Word> past;  // oldest first
    explicit R250(const Seed& seed) {
        Word v = seed[0];
        for (int k = 0; k < 250; ++k) past.push_back(v *= 69069);
        for (unsigned k = 0; k < 32; ++k) {
            Word& word = past[3 + 7 * k];
            word = word << k >> k;
            word |= Word{0x80000000} >> k;
        }
    }
    Word next() {
        past.push_back(past[0] ^ past[250 - 147]);
        past.pop_front();
        return past.back();
    }
    static double number(Word word) { return word; }
};

struct Mrg32k3a {
    using Word = uint32_t;
    static constexpr uint32_t kIdentifier = kOzkVslMrg32k3a;
    static constexpr double kUnit = 1.0 / 4294967087;
    static constexpr int64_t m1 = 4294967087, m2 = 4294944443;
    std::deque<int64_t> x, y;
    explicit Mrg32k3a(const Seed& seed)
        : x(seed.begin(), seed.begin() + 3), y(seed.begin() + 3, seed.end()) {}
    Word next() {
        const auto modulo = [](int64_t a, int64_t m) { return (a % m + m) % m; };
        x.push_back(modulo(1403580 * x[1] - 810728 * x[0], m1));
        y.push_back(modulo(527612 * y[2] - 1370589 * y[0], m2));
        x.pop_front();
        y.pop_front();
        return static_cast<Word>(modulo(x[2] - y[2], m1));
    }
    static double number(Word word) { return word; }
};

template <int kSet>
struct WichmannHill {
    using Word = std::array<uint32_t, 4>;
    static constexpr uint32_t kIdentifier = kOzkVslWh + kSet;
    static constexpr double kUnit = 1;
    Word x;
    explicit WichmannHill(const Seed& seed) {
        for (size_t q = 0; q < 4; ++q) x[q] = std::max(seed[q] % _vsl_WH_M.sets[kSet][q], 1u);
    }
    Word next() {
        const Word word = x;
        for (size_t q = 0; q < 4; ++q) {
            const uint64_t a = _vsl_WH_A.sets[kSet] >> 8 * q & 0xFF;
            x[q] = static_cast<uint32_t>(a * x[q] % _vsl_WH_M.sets[kSet][q]);
        }
        return word;
    }
    static double number(Word word) {
        const double* const c = _vsldWH_IM_Tab.sets[kSet];
        const double sum = (word[0] * c[0] + word[2] * c[2]) + (word[1] * c[1] + word[3] * c[3]);
        return sum - std::floor(sum);
    }
};

template <class Generator>
class Sequence : public testing::Test {
  protected:
    using Word = typename Generator::Word;
    const std::vector<Seed> seeds = {{12345, 12345, 12345, 12345, 12345, 12345},
                                     {1, 0, 0, 1, 0, 0},
                                     {0x7FFFFFFE, 0x7FFFFFF, 0xFFFFFF2E, 0xFFFFA6BA, 0xFFFFA6BA, 0xFFFFA6BA}};

    static std::vector<Word> words(OzkVslStream* stream, size_t n) {
        std::vector<Word> r(n);
        EXPECT_EQ(_vsliRngUniformBits(0, stream, static_cast<int32_t>(n), r.data()), kOzkVslSuccess);
        return r;
    }
    static Stream make(const Seed& seed) { return Stream(Generator::kIdentifier, seed); }
    static std::vector<Word> reference(const Seed& seed, size_t n) {
        std::vector<Word> r;
        for (Generator generator(seed); r.size() < n;) r.push_back(generator.next());
        return r;
    }
};

using Generators = testing::Types<Mcg31m1, Mcg59, R250, Mrg32k3a, WichmannHill<0>, WichmannHill<272>>;
TYPED_TEST_SUITE(Sequence, Generators);

TYPED_TEST(Sequence, FollowsTheRecurrenceAtEveryLengthAndGoesOnFromThere) {
    constexpr size_t kLongest = 700, kMore = 40;
    std::vector<size_t> lengths(kLongest);
    std::iota(lengths.begin(), lengths.end(), 0);
    lengths.insert(lengths.end(), {2047, 2048, 4099, 10000});
    for (const Seed& seed : this->seeds) {
        const auto expected = this->reference(seed, lengths.back() + kMore);
        for (const size_t n : lengths) {
            const Stream stream = this->make(seed);
            auto r = this->words(stream, n);
            const auto more = this->words(stream, kMore);
            r.insert(r.end(), more.begin(), more.end());
            ASSERT_TRUE(std::equal(r.begin(), r.end(), expected.begin())) << n;
        }
    }
}

TYPED_TEST(Sequence, DoesNotDependOnHowItIsCutOrOnTheKindOfNumbersDrawn) {
    const Seed seed = this->seeds[0];
    const auto expected = this->reference(seed, 20000);
    const Stream stream = this->make(seed);
    std::vector<double> doubles(1200);
    std::vector<float> floats(1200);
    size_t at = 0;
    for (int32_t n = 1; at + 3 * static_cast<size_t>(n) < expected.size(); n = n * 9 / 8 + 1) {
        const size_t count = static_cast<size_t>(n);
        const auto r = this->words(stream, count);
        ASSERT_TRUE(std::equal(r.begin(), r.end(), expected.begin() + static_cast<std::ptrdiff_t>(at))) << at;
        at += count;
        doubles.resize(count);
        _vsldRngUniform(0, stream, n, doubles.data(), -3, 10.5);
        for (size_t i = 0; i < count; ++i, ++at) {
            const double x = TypeParam::number(expected[at]) * ((10.5 - -3) * TypeParam::kUnit) + -3;
            ASSERT_EQ(doubles[i], x) << at;
        }
        floats.resize(count);
        _vslsRngUniform(0, stream, n, floats.data(), -0.3f, 0.7f);
        for (size_t i = 0; i < count; ++i, ++at) {
            const double a = -0.3f, scale = (0.7f - a) * TypeParam::kUnit;
            ASSERT_EQ(floats[i], static_cast<float>(TypeParam::number(expected[at]) * scale + a)) << at;
        }
    }
}

TYPED_TEST(Sequence, WordsDoNotDependOnTheRoundingMode) {
    const Seed seed = this->seeds[2];
    const auto expected = this->reference(seed, 3000);
    for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        const Stream stream = this->make(seed);
        std::fesetround(mode);
        const auto r = this->words(stream, expected.size());
        std::fesetround(FE_TONEAREST);
        EXPECT_EQ(r, expected) << mode;
    }
}

TEST(R250Sequence, IndicesFromElsewhereDoNotLeadOutOfTheState) {
    const Stream stream(kOzkVslR250, {1});
    uint32_t* const state = const_cast<uint32_t*>(static_cast<const uint32_t*>(stream.state()));
    std::vector<uint32_t> words(2000);
    for (const uint32_t index : {250u, 0x80000000u, 0xFFFFFFFFu}) {
        for (const int32_t n : {1, 2000}) {
            state[250] = state[251] = index;
            EXPECT_EQ(_vsliRngUniformBits(0, stream, n, words.data()), kOzkVslSuccess);
            EXPECT_TRUE(state[250] < 250 && state[251] < 250);
        }
    }
}

// ---- Known answers ------------------------------------------------------------------------------------

// L'Ecuyer's check of an implementation: numbers z / (m1 + 1), or 1 for z = 0, from seeds of 12345.
TEST(Mrg32k3aSequence, GivesThePublishedNumbers) {
    const Stream stream(kOzkVslMrg32k3a, Seed(6, 12345));
    constexpr int kBlock = 100000;
    std::vector<uint32_t> words(kBlock);
    double sum = 0;
    for (int block = 0; block < 100; ++block) {
        _vsliRngUniformBits(0, stream, kBlock, words.data());
        if (block == 0) {
            const double first[] = {0.12701112204657714, 0.3185275653967945, 0.3091860155832701,
                                    0.8258468629271136};
            for (size_t i = 0; i < 4; ++i) EXPECT_DOUBLE_EQ(words[i] / 4294967088.0, first[i]);
        }
        for (const uint32_t z : words) sum += z / 4294967088.0;
    }
    EXPECT_NEAR(sum, 5001090.95, 0.005);
}

TEST(WichmannHillSequence, NumbersAreTheFractionalPartOfTheSum) {
    const Stream stream(kOzkVslWh + 5, {9, 99, 999, 9999}), same(kOzkVslWh + 5, {9, 99, 999, 9999});
    constexpr int n = 1000;
    std::vector<std::array<uint32_t, 4>> words(n);
    std::vector<double> u(n);
    _vsliRngUniformBits(0, stream, n, words.data());
    _vsldRngUniform(0, same, n, u.data(), 0, 1);
    for (size_t i = 0; i < n; ++i) {
        long double sum = 0;
        for (size_t q = 0; q < 4; ++q) sum += words[i][q] / static_cast<long double>(_vsl_WH_M.sets[5][q]);
        const double difference = std::fabs(static_cast<double>(sum - std::floor(sum)) - u[i]);
        EXPECT_LT(std::min(difference, 1 - difference), 1e-15);
        EXPECT_TRUE(0 <= u[i] && u[i] < 1);
    }
}

// ---- Seeding ------------------------------------------------------------------------------------------

std::array<uint32_t, 6> mrg_state(const Seed& seed) {
    const Stream stream(kOzkVslMrg32k3a, seed);
    return *reinterpret_cast<const std::array<uint32_t, 6>*>(stream.state());
}

TEST(Mrg32k3aSequence, SeedsAreReducedFilledUpAndNeverZero) {
    using State = std::array<uint32_t, 6>;
    constexpr uint32_t m1 = 4294967087, m2 = 4294944443;
    EXPECT_EQ(mrg_state({}), (State{1, 1, 1, 1, 1, 1}));
    EXPECT_EQ(mrg_state({5, 6}), (State{5, 6, 1, 1, 1, 1}));
    EXPECT_EQ(mrg_state(Seed(6, m1)), (State{1, 0, 0, 22644, 22644, 22644}));
    EXPECT_EQ(mrg_state({1, 2, 3, 0, 0, m2}), (State{1, 2, 3, 1, 0, 0}));
    EXPECT_EQ(mrg_state({0, 0, 7, 0xFFFFFFFF, m2 - 1, 9, 8, 7}), (State{0, 0, 7, 22852, m2 - 1, 9}));
}

TEST(R250Sequence, TakesAWholeStateAsItIsAndCompletesAShorterSeed) {
    Seed words(251);
    std::iota(words.begin(), words.end(), 1000);
    uint32_t first[2];
    for (int32_t n : {250, 251}) {
        const Stream stream(kOzkVslR250, Seed(words.begin(), words.begin() + n));
        _vsliRngUniformBits(0, stream, 2, first);
        EXPECT_EQ(first[0], words[0] ^ words[103]);
        EXPECT_EQ(first[1], words[1] ^ words[104]);
    }
    const auto state = [](const Seed& seed) {
        const Stream stream(kOzkVslR250, seed);
        const uint32_t* const begin = static_cast<const uint32_t*>(stream.state());
        return std::vector<uint32_t>(begin, begin + 252);
    };
    EXPECT_EQ(state({}), state({1}));
    EXPECT_EQ(state({0, 5}), state({1}));
    EXPECT_EQ(state(Seed(249, 7)), state({7}));
    const std::vector<uint32_t> of_seven = state({7});
    EXPECT_EQ(of_seven[0], 7u * 69069);
    EXPECT_EQ(of_seven[220], 1u);
    EXPECT_EQ(of_seven[213] >> 1, 1u);
    EXPECT_EQ(of_seven[250], 0u);
    EXPECT_EQ(of_seven[251], 103u);
}

TEST(WichmannHillSequence, SeedsAreReducedByTheirModuliAndNeverZero) {
    const uint32_t* const m = _vsl_WH_M.sets[0];
    std::array<uint32_t, 4> word;
    for (const uint32_t identifier : {uint32_t{kOzkVslWh}, 4u}) {
        const Stream stream(identifier, {m[0], 2 * m[1], m[2] + 5});
        _vsliRngUniformBits(0, stream, 1, word.data());
        EXPECT_EQ(word, (std::array<uint32_t, 4>{1, 1, 5, 1}));
        _vsliRngUniformBits(0, stream, 1, word.data());
        EXPECT_EQ(word, (std::array<uint32_t, 4>{125, 117, 635, 126}));
    }
}

// ---- The parameter sets of WH -------------------------------------------------------------------------

std::vector<uint32_t> prime_divisors(uint32_t n) {
    std::vector<uint32_t> divisors;
    for (uint32_t d = 2; d * d <= n; ++d) {
        if (n % d != 0) continue;
        divisors.push_back(d);
        while (n % d == 0) n /= d;
    }
    if (n > 1) divisors.push_back(n);
    return divisors;
}

TEST(WichmannHillSets, HaveDistinctPrimeModuliPrimitiveRootsAndTheLongestPeriod) {
    std::vector<uint32_t> all;
    for (int set = 0; set < kOzkVslWhSets; ++set) {
        for (int q = 0; q < 4; ++q) {
            const uint32_t m = _vsl_WH_M.sets[set][q], a = _vsl_WH_A.sets[set] >> 8 * q & 0xFF;
            EXPECT_TRUE(16718909 <= m && m <= 16776971 && 112 <= a && a <= 127) << set;
            EXPECT_EQ(prime_divisors(m), std::vector{m}) << set;
            for (const uint32_t p : prime_divisors(m - 1))
                EXPECT_NE(__vsliPowMod(a, (m - 1) / p, m), 1u) << set;
            for (int other = 0; other < q; ++other)
                EXPECT_EQ(std::gcd(m - 1, _vsl_WH_M.sets[set][other] - 1), 2u) << set;
            EXPECT_EQ(_vsldWH_IM_Tab.sets[set][q], 1.0 / m) << set;
            all.push_back(m);
        }
    }
    std::sort(all.begin(), all.end());
    EXPECT_EQ(std::adjacent_find(all.begin(), all.end()), all.end());
    const uint32_t first[] = {16770647, 16770643, 16770623, 16770617};
    EXPECT_TRUE(std::equal(first, first + 4, _vsl_WH_M.sets[0]));
    EXPECT_EQ(_vsl_WH_A.sets[0], 125u | 117u << 8 | 127u << 16 | 126u << 24);
}

}  // namespace
