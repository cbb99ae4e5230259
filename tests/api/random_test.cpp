// Streams through the application interface, against the kernels' own calls.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <numeric>
#include <string>
#include <utility>

#include "ozk/ozk.hpp"
#include "ozk_vsl.h"
#include "refusal.hpp"

namespace {

constexpr size_t kNumbers = 999;

std::vector<double> draw(ozk::stream& stream, size_t n) {
    std::vector<double> numbers(n);
    stream.uniform(numbers, -2, 3);
    return numbers;
}

TEST(Stream, GivesTheNumbersOfItsGeneratorHoweverTheyAreCut) {
    const uint32_t seed[] = {77, 5};
    for (const auto& [name, identifier] :
         std::initializer_list<std::pair<const char*, uint32_t>>{{"MCG31M1", kOzkVslMcg31m1},
                                                                 {"R250", kOzkVslR250},
                                                                 {"MRG32K3A", kOzkVslMrg32k3a},
                                                                 {"MCG59", kOzkVslMcg59},
                                                                 {"WH:272", kOzkVslWh + 272},
                                                                 {"MT19937", kOzkVslMt19937},
                                                                 {"MT2203:6023", kOzkVslMt2203 + 6023},
                                                                 {"SFMT19937", kOzkVslSfmt19937},
                                                                 {"ARS5", kOzkVslArs5},
                                                                 {"PHILOX4X32X10", kOzkVslPhilox4x32x10}}) {
        OzkVslStream* kernel_stream = nullptr;
        ASSERT_EQ(__vslNewStreamEx(&kernel_stream, identifier, 2, seed), 0);
        std::vector<double> expected(kNumbers);
        _vsldRngUniform(0, kernel_stream, kNumbers, expected.data(), -2, 3);
        __vslDeleteStream(&kernel_stream);

        ozk::stream whole(name, seed), cut(name, seed);
        EXPECT_EQ(draw(whole, kNumbers), expected);
        std::vector<double> numbers;
        for (size_t count = 1; numbers.size() < kNumbers;
             count = std::min(2 * count, kNumbers - numbers.size())) {
            const std::vector<double> more = draw(cut, count);
            numbers.insert(numbers.end(), more.begin(), more.end());
        }
        EXPECT_EQ(numbers, expected);
    }
}

TEST(Stream, IsAValueThatCopiesMovesSkipsAndLeapfrogs) {
    ozk::stream original("MCG59", 11);
    draw(original, 10);
    ozk::stream copy = original, skipped = original;
    const std::vector<double> expected = draw(original, kNumbers);
    for (size_t k = 0; k < 3; ++k) {
        ozk::stream dealt = copy;
        dealt.leapfrog(static_cast<int64_t>(k), 3);
        const std::vector<double> numbers = draw(dealt, kNumbers / 3);
        for (size_t i = 0; i < numbers.size(); ++i) EXPECT_EQ(numbers[i], expected[3 * i + k]);
    }
    EXPECT_EQ(draw(copy, kNumbers), expected);
    skipped.skip_ahead(100);
    const ozk::stream moved = std::move(skipped);
    ozk::stream assigned("MCG31M1");
    assigned = moved;
    EXPECT_EQ(draw(assigned, 5), std::vector<double>(expected.begin() + 100, expected.begin() + 105));
}

TEST(Stream, ForWorkersDividesTheNumbersTheWayTheGeneratorOffers) {
    constexpr size_t kWorkers = 3;
    const uint32_t seed[] = {77, 5, 6};
    const auto expect_starts = [&](const std::string& name, auto start_of) {
        std::vector<ozk::stream> streams = ozk::stream::for_workers(name, kWorkers, seed);
        ASSERT_EQ(streams.size(), kWorkers) << name;
        for (size_t k = 0; k < kWorkers; ++k) {
            ozk::stream expected = start_of(k);
            EXPECT_EQ(draw(streams[k], 200), draw(expected, 200)) << name << " " << k;
        }
    };
    for (const char* name : {"MCG31M1", "MCG59"}) {
        expect_starts(name, [&](size_t k) {
            ozk::stream stream(name, seed);
            stream.leapfrog(static_cast<int64_t>(k), kWorkers);
            return stream;
        });
    }
    for (const std::string family : {"WH:", "MT2203:"}) {
        expect_starts(family + "20",
                      [&](size_t k) { return ozk::stream(family + std::to_string(20 + k), seed); });
    }
    expect_starts("MRG32K3A", [&](size_t k) {
        ozk::stream stream("MRG32K3A", seed);
        stream.skip_ahead(std::vector<uint64_t>{0, k << 63, k >> 1});
        return stream;
    });
    for (const char* name : {"MT19937", "SFMT19937"}) {
        expect_starts(name, [&](size_t k) {
            ozk::stream stream(name, seed);
            for (size_t i = 0; i < k; ++i) stream.skip_ahead(uint64_t{1} << 63);
            return stream;
        });
    }
    for (const char* name : {"ARS5", "PHILOX4X32X10"}) {
        expect_starts(name, [&](size_t k) {
            ozk::stream stream(name, seed);
            stream.skip_ahead(std::vector<uint64_t>{0, k << 32});
            return stream;
        });
    }
    EXPECT_EQ(ozk::stream::for_workers("NONDETERMINISTIC", kWorkers).size(), kWorkers);
    EXPECT_EQ(ozk::stream::for_workers("MT2203:6021", kWorkers).size(), kWorkers);
    EXPECT_TRUE(ozk::stream::for_workers("MRG32K3A", 0).empty());
    EXPECT_EQ(ozk::stream::for_workers("WH:272", 1).size(), 1u);
}

TEST(Stream, StaysInTheIntervalOfEachType) {
    ozk::stream stream("MCG59", 3);
    std::vector<float> floats(kNumbers);
    stream.uniform(floats, 5, 6);
    for (const float x : floats) EXPECT_TRUE(x >= 5 && x <= 6);
    std::vector<int32_t> integers(kNumbers);
    stream.uniform(integers, -3, 3);
    EXPECT_EQ(*std::min_element(integers.begin(), integers.end()), -3);
    EXPECT_EQ(*std::max_element(integers.begin(), integers.end()), 2);
    std::vector<uint64_t> words(kNumbers);
    stream.bits(words);
    uint64_t all_ones = ~uint64_t{0}, any = 0;
    for (const uint64_t word : words) all_ones &= word, any |= word;
    EXPECT_EQ(all_ones, 0u);
    EXPECT_EQ(any, ~uint64_t{0});
}

// Each distribution by its name, with parameters of its own, and its mean.
template <class T>
void distributions_have_their_means() {
    ozk::stream stream("MT19937", 5);
    std::vector<T> x(200000);
    const auto expect_mean = [&](const char* name, double mean, double sigma, auto draw) {
        draw();
        double sum = 0;
        for (const T y : x) sum += y;
        const double n = static_cast<double>(x.size());
        EXPECT_NEAR(sum / n, mean, 5 * sigma / std::sqrt(n)) << name;
    };
    constexpr double kPi = 3.14159265358979, kEuler = 0.5772156649015329;
    expect_mean("gaussian", 2, 3, [&] { stream.gaussian(x, 2, 3); });
    expect_mean("exponential", 1 + 2, 2, [&] { stream.exponential(x, 1, 2); });
    expect_mean("laplace", 1, 2 * std::sqrt(2), [&] { stream.laplace(x, 1, 2); });
    expect_mean("rayleigh", 1 + std::sqrt(kPi), 2 * 0.4633, [&] { stream.rayleigh(x, 1, 2); });
    expect_mean("gumbel", 1 - 2 * kEuler, 2 * kPi / std::sqrt(6), [&] { stream.gumbel(x, 1, 2); });
    expect_mean("weibull", 1 + 2 * std::tgamma(1 + 1 / 3.0), 2 * 0.3246, [&] { stream.weibull(x, 3, 1, 2); });
    expect_mean("gamma", 1 + 2 * 2.5, 2 * std::sqrt(2.5), [&] { stream.gamma(x, 2.5, 1, 2); });
    expect_mean("lognormal", 3 + 2 * std::exp(0.5 + 0.125), 2 * 0.996,
                [&] { stream.lognormal(x, 0.5, 0.5, 3, 2); });
    expect_mean("beta", 1 + 2 * 0.2, 2 * std::sqrt(0.16 / 6), [&] { stream.beta(x, 1, 4, 1, 2); });
    expect_mean("chi_square", 5, std::sqrt(10), [&] { stream.chi_square(x, 5); });
    const std::vector<T> mean = {1, 4}, factor = {1, 2, 2};
    expect_mean("gaussian_vectors", 2.5, 3, [&] { stream.gaussian_vectors(x, mean, factor); });
    stream.cauchy(x, 1, 2);
    std::nth_element(x.begin(), x.begin() + 100000, x.end());
    EXPECT_NEAR(x[100000], 1, 5 * kPi / std::sqrt(200000.0));
}

TEST(Stream, DistributionsTakeTheirParametersInBothPrecisions) {
    distributions_have_their_means<double>();
    distributions_have_their_means<float>();
}

TEST(Stream, DistributionsOfIntegersTakeTheirParametersAndRefuseOthers) {
    ozk::stream stream("MT19937", 4);
    std::vector<int32_t> r(200000);
    const auto expect_mean = [&](const char* name, double mean, double deviation, auto draw_numbers) {
        draw_numbers();
        const double sum = std::accumulate(r.begin(), r.end(), 0.0);
        EXPECT_NEAR(sum / 200000, mean, 5 * deviation / std::sqrt(200000.0)) << name;
    };
    expect_mean("bernoulli", 0.25, 0.433, [&] { stream.bernoulli(r, 0.25); });
    expect_mean("geometric", 3, std::sqrt(12), [&] { stream.geometric(r, 0.25); });
    expect_mean("binomial", 20, 4, [&] { stream.binomial(r, 100, 0.2); });
    expect_mean("hypergeometric", 6, 1.7, [&] { stream.hypergeometric(r, 100, 20, 30); });

    ozk::stream reference = stream;
    std::vector<int32_t> untouched(10, 7);
    const auto refused = [](auto&& call) { expect_refused(ozk::Family::random, kOzkCodeArgument, call); };
    for (double p : {-0.1, 1.1, double(NAN)}) {
        refused([&] { stream.bernoulli(untouched, p); });
        refused([&] { stream.geometric(untouched, p); });
        refused([&] { stream.binomial(untouched, 5, p); });
    }
    refused([&] { stream.geometric(untouched, 0); });
    refused([&] { stream.binomial(untouched, -1, 0.5); });
    refused([&] { stream.hypergeometric(untouched, 10, 11, 5); });
    EXPECT_EQ(untouched, std::vector<int32_t>(10, 7));
    EXPECT_EQ(draw(stream, 10), draw(reference, 10));
}

TEST(Stream, PoissonNegativeBinomialAndMultinomialNumbersTakeTheirParameters) {
    ozk::stream stream("MT19937", 5);
    std::vector<int32_t> x(200000);
    const auto expect_mean = [&](const char* name, double mean, double sigma, auto draw) {
        draw();
        const double n = static_cast<double>(x.size());
        EXPECT_NEAR(std::accumulate(x.begin(), x.end(), 0.0) / n, mean, 5 * sigma / std::sqrt(n)) << name;
    };
    expect_mean("poisson", 7, std::sqrt(7), [&] { stream.poisson(x, 7); });
    for (ozk::Poisson method : {ozk::Poisson::ptpe, ozk::Poisson::transformed_rejection,
                                ozk::Poisson::ratio_of_uniforms, ozk::Poisson::inverse}) {
        expect_mean("poisson", 70, std::sqrt(70), [&] { stream.poisson(x, 70, method); });
    }
    std::vector<double> means(x.size(), 3);
    std::fill_n(means.begin(), means.size() / 2, 50);
    expect_mean("poisson of means", 26.5, 30, [&] { stream.poisson(x, means); });
    EXPECT_GT(*std::min_element(x.begin(), x.begin() + 1000), 3 * 5);
    expect_mean("negative_binomial", 4 * 0.75 / 0.25, 7, [&] { stream.negative_binomial(x, 4, 0.25); });
    const std::vector<double> probabilities = {0.2, 0.7, 0.1, 0};
    stream.multinomial(x, 10, probabilities);
    for (size_t i = 0; i < x.size(); i += 4) {
        ASSERT_TRUE(x[i] + x[i + 1] + x[i + 2] == 10 && x[i + 3] == 0) << i;
    }

    std::vector<int32_t> untouched(8, -7);
    ozk::stream reference = stream;
    const auto refused = [](int32_t code, auto&& call) { expect_refused(ozk::Family::random, code, call); };
    means = {1, 2, 3, 4, 5, 6, 7, 0};
    refused(kOzkCodeArgument, [&] { stream.poisson(untouched, 0); });
    refused(kOzkCodeArgument, [&] { stream.poisson(untouched, 3e9); });
    refused(kOzkCodeArgument, [&] { stream.poisson(untouched, means); });
    refused(kOzkCodeSize, [&] { stream.poisson(untouched, std::span(means).first(7)); });
    refused(kOzkCodeArgument, [&] { stream.negative_binomial(untouched, 1, 1); });
    refused(kOzkCodeArgument, [&] { stream.multinomial(untouched, -1, probabilities); });
    refused(kOzkCodeArgument, [&] { stream.multinomial(untouched, 1, means); });
    refused(kOzkCodeSize, [&] { stream.multinomial(untouched, 1, std::span(probabilities).first(3)); });
    refused(kOzkCodeSize, [&] { stream.multinomial(untouched, 1, {}); });
    EXPECT_EQ(untouched, std::vector<int32_t>(8, -7));
    EXPECT_EQ(draw(stream, 10), draw(reference, 10));
}

TEST(Stream, SavedToAFileOrABlockGoesOnWhereItWas) {
    const std::string path = OZK_BINARY_DIR "/saved_stream";
    for (const char* name : {"MCG59", "ARS5", "PHILOX4X32X10", "SOBOL"}) {
        ozk::stream stream(name, 7);
        draw(stream, 101);
        std::vector<double> normal(3);
        stream.gaussian(normal, 0, 1, ozk::Gaussian::box_muller_pairs);  // one of a pair waits
        stream.save(path);
        const std::vector<std::byte> block = stream.save();
        ozk::stream from_file = ozk::stream::load(path), from_block = ozk::stream::load(block);
        stream.gaussian(normal, 0, 1, ozk::Gaussian::box_muller_pairs);
        for (ozk::stream* loaded : {&from_file, &from_block}) {
            std::vector<double> again(3);
            loaded->gaussian(again, 0, 1, ozk::Gaussian::box_muller_pairs);
            EXPECT_EQ(again, normal) << name;
        }
        const std::span<const std::byte> bytes = block;
        for (size_t size : {size_t{0}, size_t{3}, bytes.size() - 1}) {
            expect_refused(ozk::Family::random, kOzkVslErrorMemoryFormat,
                           [&] { ozk::stream::load(bytes.first(size)); });
        }
    }
    std::remove(path.c_str());
    expect_refused(ozk::Family::random, kOzkVslErrorOpenFile, [&] { ozk::stream::load(path); });
    EXPECT_NE(std::string(ozk_last_error()).find(path), std::string::npos) << ozk_last_error();
    expect_refused(ozk::Family::random, kOzkVslErrorOpenFile,
                   [&] { ozk::stream("MCG59").save("/no/such/directory/stream"); });
    char block[8];
    const ozk::stream stream("MCG59");
    int64_t size = 0;
    EXPECT_EQ(ozk_status_code(ozk_stream_load_block(-1, block, nullptr)), kOzkCodeSize);
    EXPECT_EQ(ozk_status_code(ozk_stream_size(nullptr, &size)), kOzkCodeNull);
}

TEST(Stream, QuasiRandomSequencesTakeDimensionsOfTheCallers) {
    constexpr size_t kPoints = 50;
    ozk::stream built_in = ozk::stream::sobol(4);
    const ozk::sobol_dimension further[] = {{7, {1, 3}}, {11, {1, 3, 1}}};  // as the third and fourth
    ozk::stream described = ozk::stream::sobol(2, further);
    EXPECT_EQ(draw(described, 4 * kPoints), draw(built_in, 4 * kPoints));
    const uint32_t polynomials[] = {7, 11};
    ozk::stream niederreiter = ozk::stream::niederreiter(4), same = ozk::stream::niederreiter(2, polynomials);
    EXPECT_EQ(draw(same, 4 * kPoints), draw(niederreiter, 4 * kPoints));
    expect_refused(ozk::Family::random, kOzkVslErrorBadArguments, [] { ozk::stream::sobol(41); });
    expect_refused(ozk::Family::random, kOzkVslErrorBadArguments, [] { ozk::stream::niederreiter(0); });
}

TEST(Stream, RefusesWithoutWritingOrMoving) {
    using ozk::Family;
    const auto refused = [](int32_t code, auto&& call) { expect_refused(Family::random, code, call); };
    refused(kOzkCodeArgument, [] { ozk::stream("MCG60"); });
    refused(kOzkCodeArgument, [] { ozk::stream("MCG59:1"); });
    refused(kOzkCodeArgument, [] { ozk::stream("WH:273"); });
    refused(kOzkCodeArgument, [] { ozk::stream("WH:"); });

    ozk::stream stream("MCG59", 9), reference = stream;
    std::vector<double> numbers(10, 7);
    for (const auto& [a, b] :
         {std::pair(1.0, 1.0), {2.0, 1.0}, {0.0, HUGE_VAL}, {-1e308, 1e308}, {0.0, NAN}}) {
        refused(kOzkCodeArgument, [&] { stream.uniform(numbers, a, b); });
    }
    refused(kOzkCodeArgument, [&] { stream.gaussian(numbers, 0, 0); });
    refused(kOzkCodeArgument, [&] { stream.exponential(numbers, 0, -1); });
    refused(kOzkCodeArgument, [&] { stream.gamma(numbers, 0); });
    refused(kOzkCodeArgument, [&] { stream.chi_square(numbers, 0); });
    const std::vector<double> mean(3), factor(5);
    std::vector<double> vectors(9), part(10);
    refused(kOzkCodeArgument, [&] { stream.gaussian_vectors(vectors, mean, factor); });
    refused(kOzkCodeSize, [&] { stream.gaussian_vectors(part, mean, std::span(factor).first(3)); });
    refused(kOzkCodeArgument, [&] { stream.gaussian(numbers, NAN, 1); });
    refused(kOzkCodeArgument, [&] { stream.leapfrog(3, 3); });
    refused(kOzkCodeArgument, [&] { stream.leapfrog(-1, 3); });
    for (const char* name : {"R250", "SOBOL", "NIEDERREITER", "MT2203:6023"}) {
        refused(kOzkCodeArgument, [=] { ozk::stream::for_workers(name, 2); });
    }
    refused(kOzkCodeArgument, [] { ozk::stream::for_workers("WH:271", 3); });
    refused(kOzkCodeSize, [] { ozk::stream::for_workers("MCG59", -1); });
    refused(kOzkVslErrorNoSkipAheadEx, [&] { stream.skip_ahead(std::vector<uint64_t>{1, 1}); });
    EXPECT_EQ(ozk_status_code(ozk_d_uniform(nullptr, 1, numbers.data(), 0, 1)), kOzkCodeNull);
    EXPECT_EQ(numbers, std::vector<double>(10, 7));
    EXPECT_EQ(draw(stream, 10), draw(reference, 10));

    uint32_t abstract = kOzkVslDoubleAbstract;
    ozk_stream* created = nullptr;
    EXPECT_EQ(ozk_status_code(ozk_stream_new(abstract, 0, nullptr, &created)), kOzkVslErrorInvalidGenerator);
    EXPECT_EQ(ozk_stream_new(kOzkVslMcg59, -1, &abstract, &created), -(kOzkRandom * 100000 - kOzkCodeSize));
    EXPECT_EQ(created, nullptr);
    ozk_stream_delete(nullptr);
}

}  // namespace
