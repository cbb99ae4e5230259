// The Mersenne twister family against its recurrences, written plainly.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <vector>

#include "ozk_vsl.h"

namespace {

using Words = std::vector<uint32_t>;

struct PlainTwister {
    size_t n, m;
    uint32_t lower, a, b, c;
    int first_shift;
    Words x;

    void seed(const Words& key) {
        x.assign(n, 19650218);
        for (size_t i = 1; i < n; ++i)
            x[i] = static_cast<uint32_t>(1812433253u * (x[i - 1] ^ (x[i - 1] >> 30)) + i);
        size_t i = 1, j = 0;
        for (size_t k = std::max(n, key.size()); k > 0; --k) {
            x[i] = static_cast<uint32_t>((x[i] ^ ((x[i - 1] ^ (x[i - 1] >> 30)) * 1664525u)) + key[j] + j);
            if (++i >= n) x[0] = x[n - 1], i = 1;
            if (++j >= key.size()) j = 0;
        }
        for (size_t k = n - 1; k > 0; --k) {
            x[i] = static_cast<uint32_t>((x[i] ^ ((x[i - 1] ^ (x[i - 1] >> 30)) * 1566083941u)) - i);
            if (++i >= n) x[0] = x[n - 1], i = 1;
        }
        x[0] = 0x80000000;
    }

    Words outputs(size_t count) {
        Words r;
        for (size_t k = 0; k < count; ++k) {
            const uint32_t y = (x[k] & ~lower) | (x[k + 1] & lower);
            x.push_back(x[k + m] ^ (y >> 1) ^ (y % 2 * a));
            uint32_t t = x.back();
            t ^= t >> first_shift;
            t ^= (t << 7) & b;
            t ^= (t << 15) & c;
            r.push_back(t ^ (t >> 18));
        }
        return r;
    }
};

struct Mt19937 {
    static constexpr uint32_t kIdentifier = kOzkVslMt19937;
    static constexpr size_t kArray = 624;
    static constexpr bool kScaleInSingle = true;
    static Words reference(const Words& key, size_t count) {
        PlainTwister twister{624, 397, 0x7fffffff, 0x9908b0df, 0x9d2c5680, 0xefc60000, 11, {}};
        twister.seed(key);
        return twister.outputs(count);
    }
};

template <uint32_t kSet>
struct Mt2203 {
    static constexpr uint32_t kIdentifier = kOzkVslMt2203 + kSet;
    static constexpr size_t kArray = 69;
    static constexpr bool kScaleInSingle = false;
    static Words reference(const Words& key, size_t count) {
        const auto& row = _vsl_mt2203_table[kSet];
        PlainTwister twister{69, 34, 0x1f, row[0], row[1], row[2], 12, {}};
        twister.seed(key);
        return twister.outputs(count);
    }
};

struct Sfmt19937 {
    static constexpr uint32_t kIdentifier = kOzkVslSfmt19937;
    static constexpr size_t kArray = 624;
    static constexpr bool kScaleInSingle = false;

    static Words seeded(const Words& key) {
        constexpr size_t n = 624, mid = 306, lag = 11;
        Words x(n, 0x8b8b8b8b);
        const auto up = [](uint32_t y) { return (y ^ (y >> 27)) * 1664525u; };
        const auto down = [](uint32_t y) { return (y ^ (y >> 27)) * 1566083941u; };
        const size_t count = std::max(key.size() + 1, n);
        for (size_t j = 0; j < count; ++j) {
            const size_t i = j % n;
            uint32_t r = up(x[i] ^ x[(i + mid) % n] ^ x[(i + n - 1) % n]);
            x[(i + mid) % n] += r;
            r += static_cast<uint32_t>(j == 0 ? key.size() : i + (j <= key.size() ? key[j - 1] : 0));
            x[(i + mid + lag) % n] += r;
            x[i] = r;
        }
        for (size_t j = 0; j < n; ++j) {
            const size_t i = (count + j) % n;
            uint32_t r = down(x[i] + x[(i + mid) % n] + x[(i + n - 1) % n]);
            x[(i + mid) % n] ^= r;
            r -= static_cast<uint32_t>(i);
            x[(i + mid + lag) % n] ^= r;
            x[i] = r;
        }
        if (__builtin_parity((x[0] & 1) ^ (x[3] & 0x13c9e684)) == 0) x[0] ^= 1;
        return x;
    }

    static Words reference(const Words& key, size_t count) {
        constexpr std::array<uint32_t, 4> kMask = {0xdfffffef, 0xddfecb7f, 0xbffaffff, 0xbffffff6};
        Words x = seeded(key);
        for (size_t k = 0; x.size() < 624 + count; k += 4) {
            for (size_t i = 0; i < 4; ++i) {
                const auto at = [&](size_t block, size_t word) { return x[k + 4 * block + word]; };
                uint32_t r = at(0, i) ^ (at(0, i) << 8) ^ (i > 0 ? at(0, i - 1) >> 24 : 0);
                r ^= (at(122, i) >> 11) & kMask[i];
                r ^= (at(154, i) >> 8) ^ (i < 3 ? at(154, i + 1) << 24 : 0);
                x.push_back(r ^ (at(155, i) << 18));
            }
        }
        return Words(x.begin() + 624, x.begin() + 624 + static_cast<std::ptrdiff_t>(count));
    }
};

class Stream {
  public:
    Stream(uint32_t identifier, const Words& seed) {
        EXPECT_EQ(__vslNewStreamEx(&stream_, identifier, static_cast<int32_t>(seed.size()), seed.data()),
                  kOzkVslSuccess);
    }
    ~Stream() { __vslDeleteStream(&stream_); }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    Words words(size_t n) {
        Words r(n + 1, 0xABABABAB);
        EXPECT_EQ(_vsliRngUniformBits(0, stream_, static_cast<int32_t>(n), r.data()), kOzkVslSuccess);
        EXPECT_EQ(r.back(), 0xABABABAB);  // nothing beyond the results
        r.pop_back();
        return r;
    }
    void skip(uint64_t count) { EXPECT_EQ(__vslSkipAheadStream(stream_, count), kOzkVslSuccess); }
    OzkVslStream* get() { return stream_; }

  private:
    OzkVslStream* stream_ = nullptr;
};

const Words kSeed = {31, 41, 59};

template <class Generator>
class Twisters : public testing::Test {};
using Generators = testing::Types<Mt19937, Mt2203<0>, Mt2203<3000>, Mt2203<6023>, Sfmt19937>;
TYPED_TEST_SUITE(Twisters, Generators);

TYPED_TEST(Twisters, FollowTheirRecurrenceFromAnySeedAtEveryLength) {
    for (const Words& seed : {Words{1}, Words{0}, kSeed, Words(625, 7), Words(2000, 0xFFFFFFFF)}) {
        EXPECT_EQ(Stream(TypeParam::kIdentifier, seed).words(2000), TypeParam::reference(seed, 2000));
    }
    EXPECT_EQ(Stream(TypeParam::kIdentifier, {}).words(700), TypeParam::reference({1}, 700));
    const Words whole = TypeParam::reference(kSeed, 2 * TypeParam::kArray + 20);
    for (size_t n = 0; n <= whole.size(); ++n) {
        Stream stream(TypeParam::kIdentifier, kSeed);
        const Words r = stream.words(n);
        ASSERT_TRUE(std::equal(r.begin(), r.end(), whole.begin())) << n;
    }
}

TYPED_TEST(Twisters, SequenceDoesNotDependOnHowItIsCutIntoCalls) {
    const Words whole = TypeParam::reference(kSeed, 6000);
    std::mt19937 random(1);
    for (size_t longest : {1u, 5u, 70u, 700u, 3000u}) {
        Stream stream(TypeParam::kIdentifier, kSeed);
        Words r;
        while (r.size() < whole.size()) {
            const Words part =
                stream.words(std::min(whole.size() - r.size(), size_t{random()} % (longest + 1)));
            r.insert(r.end(), part.begin(), part.end());
        }
        EXPECT_EQ(r, whole) << longest;
    }
}

TYPED_TEST(Twisters, FloatingOutputIsTheFormulaBitForBit) {
    constexpr size_t n = 1500;
    const Words words = TypeParam::reference(kSeed, n);
    for (size_t first : {0u, 3u, 622u}) {  // length of the first call
        for (const auto& [a, b] : {std::pair{0.0, 1.0}, std::pair{-1.0, 1.0}, std::pair{3.0, 10.7}}) {
            std::vector<double> r(n);
            std::vector<float> s(n);
            Stream doubles(TypeParam::kIdentifier, kSeed), singles(TypeParam::kIdentifier, kSeed);
            const auto single_a = static_cast<float>(a), single_b = static_cast<float>(b);
            for (const auto& [from, count] : {std::pair{size_t{0}, first}, std::pair{first, n - first}}) {
                const auto length = static_cast<int32_t>(count);
                ASSERT_EQ(_vsldRngUniform(0, doubles.get(), length, r.data() + from, a, b), kOzkVslSuccess);
                ASSERT_EQ(_vslsRngUniform(0, singles.get(), length, s.data() + from, single_a, single_b),
                          kOzkVslSuccess);
            }
            const double scale = (b - a) * 0x1p-32;
            const double single_scale = TypeParam::kScaleInSingle
                                            ? double{(single_b - single_a) * 0x1p-32f}
                                            : (double{single_b} - double{single_a}) * 0x1p-32;
            for (size_t i = 0; i < n; ++i) {
                const double word = words[i];
                ASSERT_EQ(r[i], word * scale + a) << i;
                ASSERT_EQ(s[i], static_cast<float>(word * single_scale + double{single_a})) << i;
            }
        }
    }
}

TYPED_TEST(Twisters, SkippingAheadEqualsSteppingOnBothPathsFromEveryKindOfPosition) {
    constexpr size_t kBorder = 0x1FFFFF;
    const size_t counts[] = {0,   1,    2,       3,           68,          623,        624,
                             625, 4097, kBorder, kBorder + 1, kBorder + 2, kBorder + 4};
    const Words whole = TypeParam::reference(kSeed, kBorder + 2000);
    for (size_t drawn : {size_t{0}, size_t{1}, size_t{50}, size_t{623}, size_t{624}}) {
        for (size_t count : counts) {
            Stream stream(TypeParam::kIdentifier, kSeed);
            stream.words(drawn);
            stream.skip(count);
            const Words next = stream.words(700);
            ASSERT_TRUE(std::equal(next.begin(), next.end(),
                                   whole.begin() + static_cast<std::ptrdiff_t>(drawn + count)))
                << drawn << " " << count;
        }
    }
}

TYPED_TEST(Twisters, LongSkipsAddUp) {
    const std::array<uint64_t, 3> pairs[] = {{1000000007, 998244353, 17},
                                             {0xC000000000000001, 0x3FFFFFFFFFFFFFFE, 100},
                                             {uint64_t{1} << 63, 0x200000, 623}};
    for (const auto& [c, d, drawn] : pairs) {
        Stream once(TypeParam::kIdentifier, kSeed), twice(TypeParam::kIdentifier, kSeed);
        once.words(drawn);
        once.skip(c + d);
        twice.skip(d);
        twice.words(drawn);
        twice.skip(c);
        EXPECT_EQ(once.words(1300), twice.words(1300)) << c;
    }
}

TYPED_TEST(Twisters, RefuseWhatTheyCannotDo) {
    Stream stream(TypeParam::kIdentifier, kSeed);
    const uint64_t count[] = {1, 0};
    EXPECT_EQ(__vslLeapfrogStream(stream.get(), 0, 2), kOzkVslErrorNoLeapfrog);
    EXPECT_EQ(__vslSkipAheadStreamEx(stream.get(), 2, count), kOzkVslErrorNoSkipAheadEx);
    OzkVslBrngProperties row;
    ASSERT_EQ(__vslGetBrngProperties(TypeParam::kIdentifier, &row), kOzkVslSuccess);
    EXPECT_EQ(row.init(4, stream.get(), 0, nullptr), kOzkVslErrorUnknownMethod);
    EXPECT_EQ(stream.words(50), TypeParam::reference(kSeed, 50));  // nothing moved
}

// First outputs published by the authors.
TEST(Mt19937, GivesThePublishedOutputs) {
    EXPECT_EQ(Stream(kOzkVslMt19937, {0x123, 0x234, 0x345, 0x456}).words(5),
              (Words{1067595299, 955945823, 477289528, 4107218783, 4228976476}));
}
TEST(Sfmt19937, GivesThePublishedOutputs) {
    EXPECT_EQ(Stream(kOzkVslSfmt19937, {0x1234, 0x5678, 0x9abc, 0xdef0}).words(5),
              (Words{2920711183, 3885745737, 3501893680, 856470934, 1421864068}));
}

TEST(Mt2203, TwistsOfTheSetsDifferInTheirLowHalvesAndHaveTheirTopBit) {
    for (uint32_t set = 1; set < 6023; ++set) {
        const uint32_t a = _vsl_mt2203_table[set][0];
        ASSERT_EQ(a & 0xFFFF, 1375 + set);
        ASSERT_NE(a >> 31, 0u) << set;
    }
    const uint32_t first[] = {0xaf81055f, 0xdd7eef80, 0xefd78000},
                   last[] = {0xe8761d4b, 0x72967680, 0xefeb0000};
    EXPECT_TRUE(std::equal(first, first + 3, _vsl_mt2203_table[0]));
    EXPECT_TRUE(std::equal(last, last + 3, _vsl_mt2203_table[6023]));
}

TEST(PolynomialRemainder, IsWhatDividingBitByBitLeaves) {
    constexpr int32_t kDegree = 250, kWords = 17;
    const int32_t exponents[] = {0, 1, 31, 64, 100, 218};
    std::mt19937 random(5);
    for (int trial = 0; trial < 50; ++trial) {
        Words p(kWords);
        for (uint32_t& word : p) word = static_cast<uint32_t>(random());
        Words plain = p;
        const auto flip = [&](int32_t k) { plain[static_cast<size_t>(k) / 32] ^= 1u << k % 32; };
        for (int32_t k = 32 * kWords - 1; k >= kDegree; --k) {
            if ((plain[static_cast<size_t>(k) / 32] >> k % 32 & 1) == 0) continue;
            flip(k);
            for (int32_t e : exponents) flip(k - kDegree + e);
        }
        __vslPolyRem(p.data(), kWords, kDegree, 6, exponents);
        ASSERT_EQ(p, plain);
    }
}

}  // namespace
