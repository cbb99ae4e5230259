// What the tests of vector math share: the levels of a function, oracles and ulps.
#pragma once

#include <gtest/gtest.h>
#include <mpfr.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "ozk_vml.h"

namespace ozk::vml::test {

inline constexpr double kInfinity = std::numeric_limits<double>::infinity();
inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

inline uint64_t bits_of(double x) { return std::bit_cast<uint64_t>(x); }
inline uint32_t bits_of(float x) { return std::bit_cast<uint32_t>(x); }

template <class T>
using UnaryOf = void (*)(int32_t, const T*, T*);
template <class T>
using UnaryStridedOf = void (*)(int32_t, const T*, int32_t, T*, int32_t);
using Unary = UnaryOf<double>;
using UnaryStrided = UnaryStridedOf<double>;
using Exact = int (*)(mpfr_t, const mpfr_t, mpfr_rnd_t);

template <class T>
T call(UnaryOf<T> f, std::type_identity_t<T> x) {
    T r;
    f(1, &x, &r);
    return r;
}

// |computed - value| in units of the last place of the value rounded to a format of `digits` bits whose smallest
// subnormal is 2^least; the value is overwritten.
inline double ulp_distance(mpfr_ptr value, double computed, int digits = 53, int least = -1074) {
    int exponent;
    std::frexp(mpfr_get_d(value, MPFR_RNDN), &exponent);
    mpfr_sub_d(value, value, computed, MPFR_RNDN);
    mpfr_mul_2si(value, value, std::min(digits - exponent, -least), MPFR_RNDN);
    return std::abs(mpfr_get_d(value, MPFR_RNDN));
}

// |computed - f(x)| in units of the last place of f(x) rounded to double, subnormals included.
inline double ulp_error(Exact exact, double x, double computed) {
    mpfr_t argument, value;
    mpfr_init2(argument, 53);
    mpfr_init2(value, 160);
    mpfr_set_d(argument, x, MPFR_RNDN);
    exact(value, argument, MPFR_RNDN);
    const double error = ulp_distance(value, computed);
    mpfr_clears(argument, value, static_cast<mpfr_ptr>(nullptr));
    return error;
}

// Fails, with the worst argument, where any |f(x) - exact| is above `limit` ulp.
inline void expect_within(double limit, Unary f, Exact exact, const std::vector<double>& x,
                          const char* what) {
    std::vector<double> y(x.size());
    f(static_cast<int32_t>(x.size()), x.data(), y.data());
    double worst = 0;
    size_t at = 0;
    for (size_t i = 0; i < x.size(); ++i) {
        const double error = ulp_error(exact, x[i], y[i]);
        if (!(error <= worst)) {
            worst = error;
            at = i;
        }
    }
    char text[160];
    std::snprintf(text, sizeof text, "%s: %.4f ulp at %a, got %a", what, worst, x[at], y[at]);
    EXPECT_LE(worst, limit) << text;
}

// Puts the thread's vector math state back to the default for the duration of a test.
class FreshState : public testing::Test {
  protected:
    void SetUp() override { reset(); }
    void TearDown() override { reset(); }

    static void reset() {
        _vmlClearErrorCallBack();
        _vmlSetMode(kVmlHa | kVmlErrorDefault | kVmlDenormalKeep);
        _vmlSetInterfInputVectorPointer(nullptr);
        _vmlClearErrStatus();
    }

    // The status that f(x) leaves, with the result.
    template <class T>
    static std::pair<T, int> with_status(UnaryOf<T> f, std::type_identity_t<T> x) {
        _vmlClearErrStatus();
        const T r = call(f, x);
        return {r, _vmlGetErrStatus()};
    }
};

}  // namespace ozk::vml::test
