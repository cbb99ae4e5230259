// Short statistical tests of every pseudo-random generator: what a slip in a shift, a lane or a conversion breaks at
// once. Batteries of tests are for programs of their own. All are chi-square tests of 255 degrees of freedom at fixed
// seeds; the bounds leave out one sequence in a hundred million on either side.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "stream_handle.hpp"

namespace {

constexpr int32_t kCount = 1 << 20;

struct Generator {
    const char* name;
    uint32_t identifier;
    int seed_words;  // R250 shows its regularity when it is seeded with one
};
constexpr Generator kGenerators[] = {
    {"MCG31M1", kOzkVslMcg31m1, 1},
    {"R250", kOzkVslR250, 250},
    {"MRG32K3A", kOzkVslMrg32k3a, 6},
    {"MCG59", kOzkVslMcg59, 2},
    {"WH 0", kOzkVslWh, 4},
    {"WH 272", kOzkVslWh + 272, 4},
    {"MT19937", kOzkVslMt19937, 1},
    {"MT2203 0", kOzkVslMt2203, 1},
    {"MT2203 3000", kOzkVslMt2203 + 3000, 1},
    {"MT2203 6023", kOzkVslMt2203 + 6023, 1},
    {"SFMT19937", kOzkVslSfmt19937, 1},
    {"ARS5", kOzkVslArs5, 1},
    {"PHILOX4X32X10", kOzkVslPhilox4x32x10, 1},
};

Stream stream_of(const Generator& generator) {
    std::vector<uint32_t> seed(static_cast<size_t>(generator.seed_words), 20261121);
    if (generator.seed_words > 1) {
        const Stream source(kOzkVslMrg32k3a, {20261121});
        _vsliRngUniformBits(0, source, generator.seed_words, seed.data());
    }
    return Stream(generator.identifier, seed);
}

using Counts = std::array<int64_t, 256>;

double chi_square(const Counts& counts) {
    int64_t total = 0;
    for (const int64_t count : counts) total += count;
    const double expected = static_cast<double>(total) / 256;
    double sum = 0;
    for (const int64_t count : counts) sum += std::pow(static_cast<double>(count) - expected, 2) / expected;
    return sum;
}

void expect_uniform(const Counts& counts, const std::string& what) {
    EXPECT_GT(chi_square(counts), 145) << what;
    EXPECT_LT(chi_square(counts), 400) << what;
}

TEST(Statistics, WordsOfEveryGeneratorAreUniformInEachByteAndFromOneToTheNext) {
    std::vector<uint32_t> words(kCount);
    for (const Generator& generator : kGenerators) {
        SCOPED_TRACE(generator.name);
        const Stream stream = stream_of(generator);
        ASSERT_EQ(_vsliRngUniformBits32(0, stream, kCount, words.data()), kOzkVslSuccess);
        for (int byte = 0; byte < 4; ++byte) {
            Counts single = {}, pairs = {};
            for (size_t i = 0; i + 1 < words.size(); ++i) {
                const uint32_t value = words[i] >> (8 * byte) & 0xFF,
                               next = words[i + 1] >> (8 * byte) & 0xFF;
                ++single[value];
                if (i % 2 == 0) ++pairs[(value >> 4) << 4 | next >> 4];
            }
            expect_uniform(single, "byte " + std::to_string(byte));
            expect_uniform(pairs, "pairs of byte " + std::to_string(byte));
        }
    }
}

template <class Real, class Draw>
void expect_uniform_reals(Draw draw) {
    std::vector<Real> numbers(kCount);
    for (const Generator& generator : kGenerators) {
        SCOPED_TRACE(generator.name);
        const Stream stream = stream_of(generator);
        ASSERT_EQ(draw(kOzkVslUniformStandard, stream, kCount, numbers.data(), Real(2), Real(3)),
                  kOzkVslSuccess);
        Counts leading = {}, following = {}, pairs = {};
        for (size_t i = 0; i + 1 < numbers.size(); ++i) {
            const double scaled = (static_cast<double>(numbers[i]) - 2) * 256,
                         fraction = scaled - std::floor(scaled);
            const auto cell = static_cast<size_t>(std::min(scaled, 255.0));
            ++leading[cell];
            ++following[static_cast<size_t>(fraction * 256)];
            if (i % 2 == 0)
                ++pairs[cell / 16 * 16 +
                        static_cast<size_t>(std::min((static_cast<double>(numbers[i + 1]) - 2) * 16, 15.0))];
        }
        expect_uniform(leading, "leading bits");
        expect_uniform(following, "the bits that follow");
        expect_uniform(pairs, "pairs");
    }
}

TEST(Statistics, DoublesOfEveryGeneratorAreUniform) { expect_uniform_reals<double>(_vsldRngUniform); }

TEST(Statistics, SinglesOfEveryGeneratorAreUniform) { expect_uniform_reals<float>(_vslsRngUniform); }

}  // namespace
