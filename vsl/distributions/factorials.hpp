// Probabilities that are products of powers and factorials, by Stirling's formula:
//   ln x! = (x + 1/2) ln(x + 1) - (x + 1) + ln(2 pi) / 2 + correction(x).
//
// Only quotients are taken, of near arguments: what is large in them is cancelled on paper, and the logarithms that
// stay are those of 1 + small. So the result is wrong by little more than 2^-52 times the distance from the mode,
// whatever the size of the arguments.
#pragma once

#include <array>
#include <cmath>

#include "vsl/distributions/kernels.hpp"
#include "vsl/distributions/rejection.hpp"

namespace ozk::vsl {

// The asymptotic series of the correction in 1 / (x + 1) (Abramowitz and Stegun, 6.1.41); what it leaves off from 16
// on is below 2^-54.
constexpr double stirling_series(double x) {
    const double y = 1 / (x + 1), y2 = y * y;
    return y * (1.0 / 12 - y2 * (1.0 / 360 - y2 * (1.0 / 1260 - y2 * (1.0 / 1680 - y2 * (1.0 / 1188)))));
}

// The corrections of 0, 1, ... downwards from the series: that of x exceeds that of x + 1 by
// (x + 3/2) ln((x + 2) / (x + 1)) - 1 = z^2 / 3 + z^4 / 5 + ..., z = 1 / (2 x + 3).
inline constexpr auto kStirlingCorrections = [] {
    constexpr int kTerms = 20;  // of which the next would be 3^-42
    std::array<double, 16> table{};
    double following = stirling_series(table.size());
    for (size_t x = table.size(); x-- > 0;) {
        const double z = 1 / (2.0 * static_cast<double>(x) + 3);
        double excess = 0;
        for (int i = kTerms; i > 0; --i) excess = z * z * (1.0 / (2 * i + 1) + excess);
        table[x] = following += excess;
    }
    return table;
}();

inline double stirling_correction(double x) {
    return x < kStirlingCorrections.size() ? kStirlingCorrections[static_cast<size_t>(x)]
                                           : stirling_series(x);
}

// f(k) proportional to t^k / (x_0! ... x_last!), x_j = base_j + sign_j k, the signs +1 and -1 as often as each other.
template <size_t kFactorials>
struct FactorialMasses {
    double mode;
    std::array<double, kFactorials> at_mode, sign;  // x_j at the mode
    double slope;                                   // ln of t / product (x_j + 1)^sign_j, at the mode
    double correction = 0;                          // the sum of those at the mode

    FactorialMasses(double m, double t, const std::array<double, kFactorials>& x,
                    const std::array<double, kFactorials>& signs)
        : mode(m), at_mode(x), sign(signs) {
        double ratio = t;
        for (size_t j = 0; j < kFactorials; ++j) {
            if (sign[j] < 0) ratio *= x[j] + 1;
            correction += stirling_correction(x[j]);
        }
        for (size_t j = 0; j < kFactorials; ++j) {
            if (sign[j] > 0) ratio /= x[j] + 1;
        }
        slope = std::log(ratio);
    }

    // ln_f[i] = ln(f(k[i]) / f(mode)) of up to kCandidates k within the support.
    void take_ln_of_ratio(int32_t count, const double* k, double* ln_f) const {
        double logarithms[kFactorials * kCandidates];
        double* l = logarithms;
        for (int32_t i = 0; i < count; ++i) {
            const double d = k[i] - mode;
            for (size_t j = 0; j < kFactorials; ++j) *l++ = sign[j] * d / (at_mode[j] + 1);
        }
        take_log1p(static_cast<int32_t>(kFactorials) * count, logarithms);
        l = logarithms;
        for (int32_t i = 0; i < count; ++i) {
            const double d = k[i] - mode;
            double sum = slope * d + correction;
            for (size_t j = 0; j < kFactorials; ++j) {
                const double x = at_mode[j] + sign[j] * d;
                sum -= (x + 0.5) * *l++ + stirling_correction(x);
            }
            ln_f[i] = sum;
        }
    }
};

}  // namespace ozk::vsl
