#include <gtest/gtest.h>

#include <boost/math/distributions/poisson.hpp>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "tests/vsl/allocator.hpp"
#include "tests/vsl/distributions/discrete_support.hpp"

namespace {

using namespace distribution_test;

constexpr int32_t kMethods[] = {kOzkVslPoissonPtpe, kOzkVslPoissonTransformedRejection,
                                kOzkVslPoissonRatioOfUniforms, kOzkVslPoissonInverse};
constexpr double kLargestMean = 2.1e9, kNan = std::numeric_limits<double>::quiet_NaN();
constexpr int32_t kSetupSize = 696;

DiscreteCase poisson(int32_t method, double lambda) {
    return of_ratios(
        named("Poisson", {double(method), lambda}),
        [=](OzkVslStream* s, int32_t n, int32_t* r) { return _vsliRngPoisson(method, s, n, r, lambda); }, 0,
        std::numeric_limits<int32_t>::max(), lambda, lambda,
        [=](int64_t k) { return static_cast<long double>(lambda) / static_cast<long double>(k + 1); });
}

// All numbers of one mean.
DiscreteCase poisson_v(double lambda) {
    DiscreteCase c = poisson(kOzkVslPoissonInverse, lambda);
    c.name = named("PoissonV", {lambda});
    c.draw = [=](OzkVslStream* s, int32_t n, int32_t* r) {
        const std::vector<double> means(static_cast<size_t>(n), lambda);
        return _vsliRngPoissonV(kOzkVslInverse, s, n, r, means.data());
    };
    return c;
}

std::vector<DiscreteCase> cases() {
    std::vector<DiscreteCase> all;
    for (double lambda : {1e-6, 0.01, 0.7, 1.0, 5.0, 26.999}) {
        all.push_back(poisson(kOzkVslPoissonPtpe, lambda));
    }
    for (int32_t method : kMethods) {
        for (double lambda :
             {27.0, 27.55, 28.0, 36.95, 50.5, 257.9999, 1000.0, 123456.7, 1e8, kLargestMean}) {
            all.push_back(poisson(method, lambda));
        }
    }
    for (double lambda : {1e-6, 0.7, 7.999, 8.0, 12.5, 20.0, 40.0, 275.0, 1e8}) {
        all.push_back(poisson_v(lambda));
    }
    return all;
}

class Poisson : public testing::TestWithParam<DiscreteCase> {};
INSTANTIATE_TEST_SUITE_P(, Poisson, testing::ValuesIn(cases()),
                         [](const auto& instance) { return test_name(instance.param.name); });

TEST_P(Poisson, FitsItsDistributionAndMoments) { fits(GetParam()); }

TEST_P(Poisson, SequenceDoesNotDependOnHowItIsCutIntoCalls) { cut_into_calls(GetParam().draw); }

TEST_P(Poisson, StaysWithinTheSupportUnderEveryUniformAndLeavesTheCallersState) {
    stays_within_the_support(GetParam());
}

// ---- Quantiles -------------------------------------------------------------------------------------------

TEST(PoissonInverse, IsTheQuantileOfEachUniform) {
    using Exact = boost::math::poisson_distribution<long double>;
    constexpr double kStep = 0x1p-53;  // of doubles next to 1
    for (double lambda : {0.3, 5.0, 7.99, 8.0, 11.0, 26.5, 27.0, 33.3, 150.0, 270.0, 280.0, 1e4, 3e6}) {
        // Just beside the ends of steps near the mean and in the tails, and somewhere.
        Script script{{}};
        const Exact exact(lambda);
        for (int t = -32; t <= 32; ++t) {
            const long double k = std::floor(lambda + t / 4.0 * std::sqrt(lambda));
            if (k < 0) continue;
            const long double end = cdf(exact, k);
            if (end < 0x1p-50L || end > 1 - 0x1p-50L) continue;
            const long double near = std::min(end, 1 - end) * 1e-6L;
            for (long double u : {end - near, end + near, end * 0.37L}) {
                script.numbers.push_back(static_cast<double>(u));
            }
        }
        const int32_t n = static_cast<int32_t>(script.numbers.size());
        OzkVslStream* stream = scripted_generator::make_stream(script);
        std::vector<int32_t> r(script.numbers.size());
        std::vector<double> means(r.size(), lambda);
        ASSERT_EQ(_vsliRngPoissonV(kOzkVslInverse, stream, n, r.data(), means.data()), kOzkVslSuccess);
        for (size_t i = 0; i < r.size(); ++i) {
            const double u = script.numbers[i];
            EXPECT_LT(u - kStep, cdf(exact, static_cast<long double>(r[i]))) << lambda << ' ' << u;
            EXPECT_TRUE(r[i] == 0 || u + kStep >= cdf(exact, r[i] - 1.0L)) << lambda << ' ' << u;
        }
        __vslDeleteStream(&stream);
    }
}

TEST(PoissonV, EachNumberIsThatOfItsMean) {
    constexpr int n = 2500;
    const double some[] = {1e-6, 3, 9, 26, 27, 1e3, 2e9, 0.5};
    std::vector<double> means;
    for (size_t i = 0; i < n; ++i) means.push_back(some[i * i % std::size(some)]);
    OzkVslStream* stream = make_stream();
    OzkVslStream* one = make_stream();
    std::vector<int32_t> r(n);
    ASSERT_EQ(_vsliRngPoissonV(kOzkVslInverse, stream, n, r.data(), means.data()), kOzkVslSuccess);
    for (size_t i = 0; i < n; ++i) {
        int32_t expected;
        ASSERT_EQ(_vsliRngPoisson(kOzkVslPoissonInverse, one, 1, &expected, means[i]), kOzkVslSuccess);
        EXPECT_EQ(r[i], expected) << means[i];
    }
    __vslDeleteStream(&stream);
    __vslDeleteStream(&one);
}

// ---- The setup that stays with the stream ----------------------------------------------------------------

std::vector<int32_t> numbers(OzkVslStream* stream, double lambda, int n = 700) {
    std::vector<int32_t> r(static_cast<size_t>(n));
    EXPECT_EQ(_vsliRngPoisson(kOzkVslPoissonPtpe, stream, n, r.data(), lambda), kOzkVslSuccess);
    return r;
}

std::vector<unsigned char> setup_of(const OzkVslStream* stream) {
    const auto* const data = static_cast<const unsigned char*>(__vslSearchChunk(stream, kOzkVslPoissonChunk));
    return data ? std::vector<unsigned char>(data, data + kSetupSize) : std::vector<unsigned char>();
}

TEST(PoissonSetup, IsOneChunkThatBeginsWithTheMeanAsASingle) {
    OzkVslStream* stream = make_stream();
    for (double lambda : {5.0, 1000.1, 26.999, 27.0}) {
        numbers(stream, lambda);
        ASSERT_EQ(__vslGetNumChunks(stream), 1);
        EXPECT_EQ(stream->chunks->identifier, kOzkVslPoissonChunk);
        EXPECT_EQ(stream->chunks->size, kSetupSize);
        float mean;
        std::memcpy(&mean, stream->chunks->data, sizeof mean);
        EXPECT_EQ(mean, static_cast<float>(lambda));
    }
    __vslDeleteStream(&stream);
}

// What two means that are equal as singles have in common is nothing but the first word.
TEST(PoissonSetup, IsReusedForItsMeanAloneAndNeverChangesTheNumbers) {
    for (const auto& [first, second] : {std::pair(5.0, 6.0), {5.0, 1000.0}, {1e8, 1e8 + 1}, {300.0, 5.0}}) {
        OzkVslStream* stream = make_stream();
        numbers(stream, first);
        const auto setup = setup_of(stream);
        numbers(stream, first);
        EXPECT_EQ(setup_of(stream), setup);
        OzkVslStream* fresh = nullptr;
        ASSERT_EQ(__vslCopyStream(&fresh, stream), kOzkVslSuccess);
        __vslDeleteChunks(fresh);
        EXPECT_EQ(numbers(stream, second), numbers(fresh, second));
        EXPECT_NE(setup_of(stream), setup);
        EXPECT_EQ(numbers(stream, first), numbers(fresh, first));
        __vslDeleteStream(&stream);
        __vslDeleteStream(&fresh);
    }
}

TEST(PoissonSetup, GoesWithCopiesSubStreamsAndImages) {
    for (double lambda : {5.0, 1000.0}) {
        OzkVslStream* stream = make_stream();
        numbers(stream, lambda);
        std::vector<unsigned char> image(static_cast<size_t>(__vslGetStreamSize(stream)));
        ASSERT_EQ(__vslSaveStreamM(stream, image.data()), kOzkVslSuccess);
        OzkVslStream *copy = nullptr, *loaded = nullptr;
        ASSERT_EQ(__vslCopyStream(&copy, stream), kOzkVslSuccess);
        ASSERT_EQ(ozk_vsl_load_stream(&loaded, image.data(), image.size()), kOzkVslSuccess);
        EXPECT_EQ(setup_of(copy), setup_of(stream));
        EXPECT_EQ(setup_of(loaded), setup_of(stream));
        const auto expected = numbers(stream, lambda);
        EXPECT_EQ(numbers(copy, lambda), expected);
        EXPECT_EQ(numbers(loaded, lambda), expected);
        numbers(copy, 2 * lambda);
        EXPECT_NE(setup_of(copy), setup_of(stream));
        ASSERT_EQ(__vslLeapfrogStream(stream, 1, 3), kOzkVslSuccess);
        EXPECT_EQ(setup_of(stream), setup_of(loaded));
        for (OzkVslStream* s : {stream, copy, loaded}) __vslDeleteStream(&s);
    }
}

// Whatever the bytes are, calls end, and the results are numbers of some distribution within the range of int32_t.
TEST(PoissonSetup, MadeUpBytesDoNoHarm) {
    OzkVslStream* stream = make_stream();
    uint32_t seed = 1;
    for (double lambda : {5.0, 27.0, kLargestMean}) {
        numbers(stream, lambda);
        const auto setup = setup_of(stream);
        auto* const bytes = static_cast<unsigned char*>(__vslSearchChunk(stream, kOzkVslPoissonChunk));
        for (int trial = 0; trial < 2000; ++trial) {
            std::copy(setup.begin(), setup.end(), bytes);
            // All words but the means, or some; those that make numbers large, small or none are frequent.
            for (size_t at = 4; at + 8 <= setup.size(); at += 4) {
                if (at >= 8 && at < 16) continue;
                seed = seed * 1664525 + 1013904223;
                const uint32_t words[] = {seed, 0x7FF00000, 0xFFFFFFFF, 0x7FEFFFFF, 0, 0x80000000};
                if (trial % 3 == 0 || seed >> 29 == 0) std::memcpy(bytes + at, &words[(seed >> 20) % 6], 4);
            }
            for (int n : {1, 70}) {
                for (int32_t k : numbers(stream, lambda, n)) EXPECT_GE(k, 0) << lambda;
            }
        }
    }
    __vslDeleteStream(&stream);
}

TEST(PoissonSetup, IsNotMadeWithoutMemoryAndTheCallersStateIsLeft) {
    OzkVslStream* stream = make_stream();
    int32_t r = -77;
    const CallerState before;
    for (int allowed : {0, 1}) {
        const int live = test_allocator::live_blocks;
        test_allocator::Limit few(allowed);
        for (double lambda : {5.0, 1000.0}) {
            EXPECT_EQ(_vsliRngPoisson(kOzkVslPoissonPtpe, stream, 1, &r, lambda), kOzkVslErrorNoMemory);
        }
        EXPECT_EQ(before, CallerState{});
        EXPECT_EQ(test_allocator::live_blocks, live);
    }
    EXPECT_EQ(r, -77);
    EXPECT_EQ(stream->chunks, nullptr);
    __vslDeleteStream(&stream);
}

TEST(PoissonParameters, OutOfRangeAreRefusedBeforeAnythingIsDrawnOrWritten) {
    const auto poisson_of = [](int32_t method, double lambda) {
        is_refused([=](auto* s, int32_t n, int32_t* r) { return _vsliRngPoisson(method, s, n, r, lambda); },
                   named("Poisson", {double(method), lambda}));
    };
    for (int32_t method : {4, -1}) poisson_of(method, 5);
    for (double lambda : {0.0, -1.0, kNan, 2.2e9}) {
        for (int32_t method : kMethods) poisson_of(method, lambda);
    }
    Script script{{0.5}};
    OzkVslStream* stream = scripted_generator::make_stream(script);
    std::vector<int32_t> r(1500, -77);
    std::vector<double> means(1500, 5);
    EXPECT_EQ(_vsliRngPoissonV(1, stream, 1500, r.data(), means.data()), kOzkVslErrorBadArguments);
    means.back() = 0;  // far behind the first block
    EXPECT_EQ(_vsliRngPoissonV(0, stream, 1500, r.data(), means.data()), kOzkVslErrorBadArguments);
    EXPECT_EQ(r, std::vector<int32_t>(1500, -77));
    EXPECT_TRUE(script.calls.empty());
    EXPECT_EQ(_vsliRngPoissonV(0, stream, 0, nullptr, nullptr), kOzkVslSuccess);
    __vslDeleteStream(&stream);
}

}  // namespace
