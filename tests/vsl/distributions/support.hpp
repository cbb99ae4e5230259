// What the tests of the distribution generators share: streams, the caller's state, goodness of fit.
#pragma once

#include <fenv.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <vector>

#include "ozk_vml.h"
#include "ozk_vsl.h"
#include "simd/control.hpp"
#include "tests/vsl/scripted_generator.hpp"

namespace distribution_test {

using scripted_generator::Script;

inline OzkVslStream* make_stream(uint32_t identifier = kOzkVslMcg59, uint32_t seed = 77) {
    OzkVslStream* stream = nullptr;
    EXPECT_EQ(__vslNewStreamEx(&stream, identifier, 1, &seed), kOzkVslSuccess);
    return stream;
}

// A call of a distribution with its method and parameters.
template <class Number>
using Draw = std::function<int32_t(OzkVslStream*, int32_t, Number*)>;

// 10^7 numbers where OZK_TEST_LONG=1 is in the environment.
inline int sample_size(int usual) {
    const char* const text = std::getenv("OZK_TEST_LONG");
    return text && *text == '1' ? 10'000'000 : usual;
}

// What a generator has to leave as it was.
struct CallerState {
    uint64_t mode = _vmlGetMode();
    VmlErrorCallBack callback = _vmlGetErrorCallBack();
    uint32_t mxcsr_control = ozk::simd::read_mxcsr() & ~0x3Fu;
    uint16_t x87 = ozk::simd::read_x87_control();
    bool operator==(const CallerState&) const = default;
};

// Whether the same numbers come whatever the lengths of the calls.
template <class Number>
void cut_into_calls(const Draw<Number>& draw) {
    constexpr int n = 3000;
    const auto numbers = [&](OzkVslStream* stream, int count) {
        std::vector<Number> r(static_cast<size_t>(count) + 1, Number{-77});
        EXPECT_EQ(draw(stream, count, r.data()), kOzkVslSuccess);
        EXPECT_EQ(r.back(), Number{-77});  // nothing is written beyond
        r.pop_back();
        return r;
    };
    OzkVslStream* whole_stream = make_stream();
    const std::vector<Number> whole = numbers(whole_stream, n);
    for (const std::vector<int>& cut : {std::vector{1}, {1, 1023, 1, 1024}, {511, 3}, {5, 0, 16, 15}}) {
        OzkVslStream* stream = make_stream();
        std::vector<Number> r;
        for (size_t i = 0; static_cast<int>(r.size()) < n; ++i) {
            const std::vector<Number> part =
                numbers(stream, std::min(cut[i % cut.size()], n - static_cast<int>(r.size())));
            r.insert(r.end(), part.begin(), part.end());
        }
        EXPECT_EQ(r, whole) << cut[0];
        __vslDeleteStream(&stream);
    }
    __vslDeleteStream(&whole_stream);
}

// 40 numbers of a generator that gives uniforms of 0, of 1 and of both ends of [-1, 1] as often as others, under
// traps, a mode and a callback that must have no influence. The caller's state has to be left as it was, there and
// where the generator fails.
template <class Number>
std::vector<Number> draw_under_traps(const Draw<Number>& draw) {
    // Their number is no multiple of 3, so that every candidate of a rejection meets others.
    Script script{{0, 0.3, 0, 0.25, 0.5, 1, 0.125, 0.75, 1, 1, 0, 0.625, 0.375, -1, 0.5, 0.9}};
    OzkVslStream* stream = scripted_generator::make_stream(script);
    const uint64_t default_mode = _vmlGetMode();
    _vmlSetErrorCallBack([](VmlErrorRecord*) { return 1; });
    _vmlSetMode(kVmlEp | kVmlErrorErrno | kVmlDenormalFlush);
    feclearexcept(FE_ALL_EXCEPT);
    feenableexcept(FE_ALL_EXCEPT & ~FE_INEXACT);  // which converting the parameters raises
    const CallerState before;
    std::vector<Number> r(40);
    EXPECT_EQ(draw(stream, 40, r.data()), kOzkVslSuccess);
    asm volatile("fwait");  // would deliver an exception left pending
    EXPECT_EQ(before, CallerState{});
    script.failing_call = static_cast<int32_t>(script.calls.size());
    std::vector<Number> none(40);
    EXPECT_EQ(draw(stream, 40, none.data()), scripted_generator::kFailure);
    EXPECT_EQ(before, CallerState{});
    fedisableexcept(FE_ALL_EXCEPT);
    feclearexcept(FE_ALL_EXCEPT);
    _vmlClearErrorCallBack();
    _vmlSetMode(static_cast<uint32_t>(default_mode) | kVmlDenormalKeep);
    __vslDeleteStream(&stream);
    return r;
}

// Critical values at the level 0.001.
inline constexpr double kKolmogorovSmirnovLimit = 1.95, kAndersonDarlingLimit = 6.0;

// sqrt(n) times the largest distance between the distribution function of a sample, which is sorted, and that of
// rounded numbers: below(x) is the probability of smaller ones, up_to(x) that of x or a smaller one.
template <class Real, class Below, class UpTo>
double kolmogorov_smirnov(const std::vector<Real>& x, Below below, UpTo up_to) {
    const double n = static_cast<double>(x.size());
    double distance = 0;
    for (size_t first = 0, last = 0; first < x.size(); first = last) {
        while (last < x.size() && x[last] == x[first]) ++last;
        distance = std::max({distance, std::abs(up_to(x[first]) - static_cast<double>(last) / n),
                             std::abs(below(x[first]) - static_cast<double>(first) / n)});
    }
    return std::sqrt(n) * distance;
}

// The statistic A^2 of a sorted sample.
template <class Real, class Cdf, class Survival>
double anderson_darling(const std::vector<Real>& x, Cdf cdf, Survival survival) {
    const double n = static_cast<double>(x.size());
    double sum = 0;
    for (size_t i = 0; i < x.size(); ++i) {
        sum += (2 * static_cast<double>(i) + 1) *
               (std::log(cdf(x[i])) + std::log(survival(x[x.size() - 1 - i])));
    }
    return -n - sum / n;
}

}  // namespace distribution_test
