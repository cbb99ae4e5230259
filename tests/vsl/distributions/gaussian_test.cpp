#include <fenv.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "ozk_vml.h"
#include "ozk_vsl.h"
#include "simd/control.hpp"
#include "tests/vsl/allocator.hpp"
#include "tests/vsl/scripted_generator.hpp"

namespace {

using scripted_generator::Script;

constexpr int32_t kMethods[] = {kOzkVslGaussianBoxMuller, kOzkVslGaussianBoxMullerPairs,
                                kOzkVslGaussianInverse};
constexpr double kLargestErfInv = 5.8635847487551676, kSmallestLn = -744.4400719213812;
constexpr double kSqrt2 = 1.4142135623730951;

OzkVslStream* make_stream(uint32_t identifier = kOzkVslMcg59, uint32_t seed = 77) {
    OzkVslStream* stream = nullptr;
    EXPECT_EQ(__vslNewStreamEx(&stream, identifier, 1, &seed), kOzkVslSuccess);
    return stream;
}

std::vector<double> gaussian(int32_t method, OzkVslStream* stream, int n, double a = 0, double sigma = 1) {
    std::vector<double> r(static_cast<size_t>(n));
    EXPECT_EQ(_vsldRngGaussian(method, stream, n, r.data(), a, sigma), kOzkVslSuccess);
    return r;
}

std::vector<double> uniform(OzkVslStream* stream, int n, double a) {
    std::vector<double> r(static_cast<size_t>(n));
    EXPECT_EQ(_vsldRngUniform(0, stream, n, r.data(), a, 1), kOzkVslSuccess);
    return r;
}

double normal_cdf(double x) {
    return 0.5 * std::erfc(-x / kSqrt2);
}

struct Fit {
    double kolmogorov_smirnov;  // sqrt(n) times the largest distance
    double anderson_darling;
};

Fit fit_to_normal(std::vector<double> x) {
    std::sort(x.begin(), x.end());
    const double n = static_cast<double>(x.size());
    double distance = 0, sum = 0;
    for (size_t i = 0; i < x.size(); ++i) {
        const double rank = static_cast<double>(i), below = normal_cdf(x[i]);
        distance = std::max({distance, below - rank / n, (rank + 1) / n - below});
        sum += (2 * rank + 1) * (std::log(below) + std::log(normal_cdf(-x[x.size() - 1 - i])));
    }
    return {std::sqrt(n) * distance, -n - sum / n};
}

// Critical values at the level 0.001.
constexpr double kKolmogorovSmirnovLimit = 1.95, kAndersonDarlingLimit = 6.0;

TEST(Gaussian, FitsTheNormalDistributionAndItsTails) {
    constexpr int n = 1 << 20;
    for (uint32_t generator : {kOzkVslMcg31m1, kOzkVslMcg59}) {
        for (int32_t method : kMethods) {
            OzkVslStream* stream = make_stream(generator);
            std::vector<double> r = gaussian(method, stream, n, 3, 0.5);
            for (double& x : r) x = (x - 3) / 0.5;
            const Fit fit = fit_to_normal(r);
            EXPECT_LT(fit.kolmogorov_smirnov, kKolmogorovSmirnovLimit) << generator << " " << method;
            EXPECT_LT(fit.anderson_darling, kAndersonDarlingLimit) << generator << " " << method;
            for (double threshold : {3.0, 4.0}) {
                for (double sign : {-1.0, 1.0}) {
                    const double expected = n * normal_cdf(-threshold);
                    const auto beyond =
                        std::count_if(r.begin(), r.end(), [=](double x) { return sign * x > threshold; });
                    EXPECT_NEAR(static_cast<double>(beyond), expected, 5 * std::sqrt(expected))
                        << sign * threshold;
                }
            }
            __vslDeleteStream(&stream);
        }
    }
}

TEST(Gaussian, IsItsFormulaOfTheStreamsUniforms) {
    constexpr int n = 3001;
    constexpr long double kTwoPi = 6.283185307179586476925286766559L;
    for (int32_t method : kMethods) {
        OzkVslStream* stream = make_stream();
        OzkVslStream* source = make_stream();
        const std::vector<double> r = gaussian(method, stream, n, -1, 2);
        const bool by_inverse = method == kOzkVslGaussianInverse;
        const std::vector<double> u = uniform(source, 2 * n, by_inverse ? -1 : 0);
        for (size_t i = 0; i < n; ++i) {
            if (by_inverse) {
                EXPECT_NEAR(std::erf((r[i] + 1) / (2 * kSqrt2)), u[i], 4e-16) << i;
                continue;
            }
            const bool pairs = method == kOzkVslGaussianBoxMullerPairs;
            const size_t pair = pairs ? i / 2 : i;
            const long double angle = kTwoPi * u[2 * pair + 1],
                              radius = std::sqrt(-2 * std::log(1.0L * u[2 * pair]));
            const long double z = radius * (pairs && i % 2 ? std::cos(angle) : std::sin(angle));
            EXPECT_NEAR(r[i], static_cast<double>(2 * z - 1), 2e-14) << i;
        }
        __vslDeleteStream(&stream);
        __vslDeleteStream(&source);
    }
}

TEST(Gaussian, SequenceDoesNotDependOnHowItIsCutIntoCalls) {
    constexpr int n = 4200;
    for (int32_t method : kMethods) {
        OzkVslStream* whole_stream = make_stream();
        const std::vector<double> whole = gaussian(method, whole_stream, n, 10, 3);
        for (const std::vector<int>& cut : {std::vector{1}, {1, 1023, 1, 1024}, {2047, 3}, {5, 0, 16, 15}}) {
            OzkVslStream* stream = make_stream();
            std::vector<double> r;
            for (size_t i = 0; static_cast<int>(r.size()) < n; ++i) {
                const int count = std::min(cut[i % cut.size()], n - static_cast<int>(r.size()));
                const std::vector<double> part = gaussian(method, stream, count, 10, 3);
                r.insert(r.end(), part.begin(), part.end());
            }
            EXPECT_EQ(r, whole) << method << " " << cut[0];
            __vslDeleteStream(&stream);
        }
        __vslDeleteStream(&whole_stream);
    }
}

TEST(GaussianPairs, WaitingHalfOfAPairGoesWithACopyOfTheStream) {
    OzkVslStream* stream = make_stream();
    gaussian(kOzkVslGaussianBoxMullerPairs, stream, 1);
    OzkVslStream* copy = nullptr;
    ASSERT_EQ(__vslCopyStream(&copy, stream), kOzkVslSuccess);
    EXPECT_EQ(gaussian(kOzkVslGaussianBoxMullerPairs, copy, 5),
              gaussian(kOzkVslGaussianBoxMullerPairs, stream, 5));
    __vslDeleteStream(&stream);
    __vslDeleteStream(&copy);
}

TEST(GaussianPairs, ChunkOfAnotherSizeIsNotTaken) {
    OzkVslStream* stream = make_stream();
    OzkVslStream* plain = make_stream();
    void* const small = ozk_serv_allocate(1, 128);
    ASSERT_EQ(__vslAddChunk(stream, kOzkVslGaussianChunk, nullptr, small, 1), kOzkVslSuccess);
    EXPECT_EQ(gaussian(kOzkVslGaussianBoxMullerPairs, stream, 3),
              gaussian(kOzkVslGaussianBoxMullerPairs, plain, 3));
    __vslDeleteStream(&stream);
    __vslDeleteStream(&plain);
}

TEST(Gaussian, EndsOfTheUniformIntervalGiveFiniteResults) {
    constexpr double a = 2, sigma = 3;
    Script ends{{-1, 1, -1, 1}};
    OzkVslStream* stream = scripted_generator::make_stream(ends);
    const double largest = kLargestErfInv * (sigma * kSqrt2);
    EXPECT_EQ(gaussian(kOzkVslGaussianInverse, stream, 4, a, sigma),
              (std::vector{a - largest, a + largest, a - largest, a + largest}));
    __vslDeleteStream(&stream);

    Script zeros{{0, 0.25}};
    stream = scripted_generator::make_stream(zeros);
    const double radius = std::sqrt(-2 * kSmallestLn) * sigma;
    EXPECT_EQ(gaussian(kOzkVslGaussianBoxMuller, stream, 2, a, sigma), (std::vector{radius + a, radius + a}));
    const std::vector<double> both = gaussian(kOzkVslGaussianBoxMullerPairs, stream, 2, a, sigma);
    EXPECT_EQ(both[0], radius + a);
    EXPECT_NEAR(both[1], a, 1e-14);
    __vslDeleteStream(&stream);
}

// ---- The caller's state -----------------------------------------------------------------------------------

struct CallerState {
    uint64_t mode = _vmlGetMode();
    VmlErrorCallBack callback = _vmlGetErrorCallBack();
    uint32_t mxcsr_control = ozk::simd::read_mxcsr() & ~0x3Fu;
    uint16_t x87 = ozk::simd::read_x87_control();
    bool operator==(const CallerState&) const = default;
};

int ignore(VmlErrorRecord*) {
    return 1;
}

TEST(Gaussian, LeavesTheCallersStateWhicheverWayItEnds) {
    const uint64_t default_mode = _vmlGetMode();
    Script script{{0, -1, 1, 0.5}};
    for (uint32_t mode :
         {kVmlEp | kVmlErrorErrno | kVmlDenormalFlush, kVmlLa | kVmlErrorCallback, kVmlHa | kVmlErrorNone}) {
        for (VmlErrorCallBack callback : {VmlErrorCallBack{nullptr}, VmlErrorCallBack{ignore}}) {
            OzkVslStream* stream = scripted_generator::make_stream(script);
            _vmlSetErrorCallBack(callback);
            _vmlSetMode(mode);
            feclearexcept(FE_ALL_EXCEPT);
            feenableexcept(FE_ALL_EXCEPT);
            const CallerState before;
            double r[8];
            for (int32_t method : kMethods) {
                script.failing_call = -1;
                EXPECT_EQ(_vsldRngGaussian(method, stream, 8, r, 0, 1), kOzkVslSuccess);
                asm volatile("fwait");  // would deliver an exception left pending
                EXPECT_EQ(before, CallerState{}) << method;
                script.failing_call = static_cast<int32_t>(script.calls.size());
                EXPECT_EQ(_vsldRngGaussian(method, stream, 8, r, 0, 1), scripted_generator::kFailure);
                EXPECT_EQ(before, CallerState{}) << method;
            }
            fedisableexcept(FE_ALL_EXCEPT);
            feclearexcept(FE_ALL_EXCEPT);
            _vmlClearErrorCallBack();
            __vslDeleteStream(&stream);
        }
    }
    _vmlSetMode(static_cast<uint32_t>(default_mode) | kVmlDenormalKeep);
}

TEST(Gaussian, DoesNotDependOnTheCallersModeOrCallback) {
    const uint64_t default_mode = _vmlGetMode();
    for (int32_t method : kMethods) {
        OzkVslStream* plain = make_stream();
        OzkVslStream* other = make_stream();
        const std::vector<double> expected = gaussian(method, plain, 500);
        _vmlSetErrorCallBack(ignore);
        _vmlSetMode(kVmlEp | kVmlErrorErrno | kVmlDenormalFlush);
        EXPECT_EQ(gaussian(method, other, 500), expected);
        _vmlClearErrorCallBack();
        _vmlSetMode(static_cast<uint32_t>(default_mode) | kVmlDenormalKeep);
        __vslDeleteStream(&plain);
        __vslDeleteStream(&other);
    }
}

TEST(Gaussian, ReportsBadMethodsMissingMemoryAndNothingToDo) {
    OzkVslStream* stream = make_stream();
    double r = 5;
    for (int32_t method : {3, -1})
        EXPECT_EQ(_vsldRngGaussian(method, stream, 1, &r, 0, 1), kOzkVslErrorBadArguments);
    for (int32_t method : kMethods)
        EXPECT_EQ(_vsldRngGaussian(method, stream, 0, nullptr, 0, 1), kOzkVslSuccess);
    EXPECT_EQ(stream->chunks, nullptr);
    const CallerState before;
    for (int allowed : {0, 1}) {
        test_allocator::Limit few(allowed);
        const int live = test_allocator::live_blocks;
        EXPECT_EQ(_vsldRngGaussian(kOzkVslGaussianBoxMullerPairs, stream, 1, &r, 0, 1), kOzkVslErrorNoMemory);
        EXPECT_EQ(before, CallerState{});
        EXPECT_EQ(test_allocator::live_blocks, live);
    }
    EXPECT_EQ(r, 5);
    __vslDeleteStream(&stream);
}

}  // namespace
