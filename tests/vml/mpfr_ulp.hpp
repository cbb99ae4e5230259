// What the accuracy tests of the double-precision functions share: errors in ulp against MPFR, special
// values, and one element's bits in every place.
#pragma once

#include <gtest/gtest.h>
#include <mpfr.h>

#include <bit>
#include <cfenv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "ozk_vml.h"

namespace ozk::vml::test {

inline constexpr double kInfinity = std::numeric_limits<double>::infinity();
inline constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

using Kernel = void (*)(int32_t, const double*, double*);
using StridedKernel = void (*)(int32_t, const double*, int32_t, double*, int32_t);
using Oracle = void (*)(mpfr_t result, double x);  // to the precision of `result`

struct Real {
    mpfr_t value;
    explicit Real(mpfr_prec_t precision = 160) { mpfr_init2(value, precision); }
    ~Real() { mpfr_clear(value); }
    Real(const Real&) = delete;
    Real& operator=(const Real&) = delete;
};

inline bool same_bits(double a, double b) { return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b); }

// |got - exact| in units of the last place of exact.
inline double ulp_error(double got, const mpfr_t exact) {
    constexpr mpfr_exp_t kLeastUlp = -1074;
    if (!std::isfinite(got)) return kInfinity;
    Real difference;
    mpfr_sub_d(difference.value, exact, got, MPFR_RNDN);
    const mpfr_exp_t ulp =
        mpfr_zero_p(exact) ? kLeastUlp : std::max<mpfr_exp_t>(mpfr_get_exp(exact) - 53, kLeastUlp);
    mpfr_mul_2si(difference.value, difference.value, -ulp, MPFR_RNDN);
    return std::abs(mpfr_get_d(difference.value, MPFR_RNDN));
}

// Expects that no result of `kernel` is more than `bound` ulp off.
inline void expect_accuracy(Kernel kernel, Oracle oracle, const std::vector<double>& x, double bound,
                            const char* what) {
    std::vector<double> y(x.size());
    kernel(static_cast<int32_t>(x.size()), x.data(), y.data());
    Real exact;
    double worst = 0;
    size_t at = 0;
    for (size_t i = 0; i < x.size(); ++i) {
        oracle(exact.value, x[i]);
        const double error = ulp_error(y[i], exact.value);
        if (!(error <= worst)) worst = error, at = i;
    }
    oracle(exact.value, x[at]);
    char hex[128];
    std::snprintf(hex, sizeof hex, "f(%a) = %a, got %a, %.4f ulp off", x[at],
                  mpfr_get_d(exact.value, MPFR_RNDN), y[at], worst);
    EXPECT_LE(worst, bound) << what << ": " << hex;
}

// `count` arguments with magnitudes spread evenly over the exponents of `least` to `most`, of either sign.
inline std::vector<double> random_magnitudes(double least, double most, int count, uint64_t seed) {
    std::mt19937_64 random(seed);
    std::uniform_int_distribution<uint64_t> magnitude(std::bit_cast<uint64_t>(least),
                                                      std::bit_cast<uint64_t>(most));
    std::vector<double> x(static_cast<size_t>(count));
    for (double& v : x) v = std::bit_cast<double>(magnitude(random) | (random() & 0x8000000000000000));
    return x;
}
inline std::vector<double> random_uniform(double low, double high, int count, uint64_t seed) {
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> uniform(low, high);
    std::vector<double> x(static_cast<size_t>(count));
    for (double& v : x) v = uniform(random);
    return x;
}

struct SpecialCase {
    double argument, result;
    int32_t code;
};

// Each case alone and among ordinary elements: its result (bit for bit, but for NaN) and the thread's status.
inline void expect_special_values(Kernel kernel, const std::vector<SpecialCase>& cases, double ordinary) {
    const uint64_t mode = _vmlSetMode(kVmlErrorIgnore);
    for (const SpecialCase& special : cases) {
        for (const int32_t n : {1, 21}) {
            std::vector<double> x(static_cast<size_t>(n), ordinary), y(x.size());
            x.back() = special.argument;
            if (n > 1) x[5] = special.argument;
            _vmlClearErrStatus();
            std::feclearexcept(FE_ALL_EXCEPT);
            kernel(n, x.data(), y.data());
            const std::string what = "f(" + std::to_string(special.argument) + "), n = " + std::to_string(n);
            for (const double result : {y.back(), n > 1 ? y[5] : y.back()}) {
                if (std::isnan(special.result)) {
                    EXPECT_TRUE(std::isnan(result)) << what;
                } else {
                    EXPECT_TRUE(same_bits(result, special.result)) << what << " = " << result;
                }
            }
            EXPECT_EQ(_vmlGetErrStatus(), special.code) << what;
            EXPECT_FALSE(std::isnan(special.argument) && std::fetestexcept(FE_INVALID)) << what;
        }
    }
    _vmlClearErrStatus();
    _vmlSetMode(static_cast<uint32_t>(mode));
}

// An element's bits are those of its own call with n = 1, at every length, place and stride and in place.
inline void expect_same_bits_everywhere(Kernel kernel, StridedKernel strided, const std::vector<double>& x) {
    const int32_t n = static_cast<int32_t>(x.size());
    std::vector<double> alone(x.size());
    for (size_t i = 0; i < x.size(); ++i) kernel(1, &x[i], &alone[i]);
    const auto expect_equal = [&](const double* y, int32_t step, size_t first, size_t count,
                                  const char* what) {
        for (size_t i = 0; i < count; ++i) {
            ASSERT_TRUE(same_bits(y[static_cast<int32_t>(i) * step], alone[first + i]))
                << what << ", element " << i << " of " << count << ", argument " << x[first + i];
        }
    };
    for (size_t length = 0; length <= 35 && length <= x.size(); ++length) {
        std::vector<double> y(length + 1, 7.0);
        kernel(static_cast<int32_t>(length), x.data() + (x.size() - length), y.data());
        expect_equal(y.data(), 1, x.size() - length, length, "every length");
        EXPECT_EQ(y[length], 7.0) << "written beyond the end";
    }
    std::vector<double> y(x);
    kernel(n, y.data(), y.data());
    expect_equal(y.data(), 1, 0, x.size(), "in place");
    std::vector<double> spread(x.size() * 3), results(x.size() * 2, 7.0);
    for (size_t i = 0; i < x.size(); ++i) spread[3 * i] = x[i];
    strided(n, spread.data(), 3, results.data(), 2);
    expect_equal(results.data(), 2, 0, x.size(), "strided");
    for (size_t i = 0; i < x.size(); ++i) ASSERT_EQ(results[2 * i + 1], 7.0) << "written between the results";
    strided(n, x.data(), 1, y.data(), 1);
    expect_equal(y.data(), 1, 0, x.size(), "unit strides");
}

}  // namespace ozk::vml::test
