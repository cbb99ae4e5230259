#include <fenv.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "tests/vsl/allocator.hpp"
#include "tests/vsl/distributions/support.hpp"
#include "tests/vsl/scripted_generator.hpp"

namespace {

using namespace distribution_test;
using scripted_generator::Script;

constexpr int32_t kMethods[] = {kOzkVslGaussianBoxMuller, kOzkVslGaussianBoxMullerPairs,
                                kOzkVslGaussianInverse};
constexpr double kLargestErfInv = 5.8635847487551676, kSmallestLn = -744.4400719213812;
constexpr double kSqrt2 = 1.4142135623730951;

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

TEST(GaussianPairs, WaitingHalfServesTheOtherPrecision) {
    OzkVslStream* stream = make_stream();
    OzkVslStream* both = make_stream();
    const std::vector<double> pair = gaussian(kOzkVslGaussianBoxMullerPairs, both, 2);
    EXPECT_EQ(gaussian(kOzkVslGaussianBoxMullerPairs, stream, 1)[0], pair[0]);
    float single;
    EXPECT_EQ(_vslsRngGaussian(kOzkVslGaussianBoxMullerPairs, stream, 1, &single, 0, 1), kOzkVslSuccess);
    EXPECT_NEAR(single, pair[1], 1e-6 * std::abs(pair[1]));
    __vslDeleteStream(&stream);
    __vslDeleteStream(&both);
}

TEST(GaussianSingle, InverseMethodIsTheDoubleOneRounded) {
    constexpr int n = 3000;
    OzkVslStream* stream = make_stream();
    OzkVslStream* twice = make_stream();
    std::vector<float> r(n);
    EXPECT_EQ(_vslsRngGaussian(kOzkVslGaussianInverse, stream, n, r.data(), 0, 1), kOzkVslSuccess);
    const std::vector<double> expected = gaussian(kOzkVslGaussianInverse, twice, n);
    for (size_t i = 0; i < n; ++i) EXPECT_NEAR(r[i], expected[i], 7e-8 * std::abs(expected[i])) << i;
    __vslDeleteStream(&stream);
    __vslDeleteStream(&twice);
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

int ignore(VmlErrorRecord*) { return 1; }

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
