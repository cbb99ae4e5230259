// What the tests of the distribution generators share: streams, the caller's state, goodness of fit.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "ozk_vml.h"
#include "ozk_vsl.h"
#include "simd/control.hpp"

namespace distribution_test {

inline OzkVslStream* make_stream(uint32_t identifier = kOzkVslMcg59, uint32_t seed = 77) {
    OzkVslStream* stream = nullptr;
    EXPECT_EQ(__vslNewStreamEx(&stream, identifier, 1, &seed), kOzkVslSuccess);
    return stream;
}

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
