// The error of a computed result in units in the last place, the measure of this project.
//
// For the exact value y, let R be y rounded to nearest in a format of p bits with exponents emin..emax, and
//     ulp(y) = 2^(max(emin, min(emax, exponent of R)) - p + 1),
// so that subnormal results are measured in the smallest subnormal and results at the edge of overflow in the
// spacing of the largest finite numbers. The error of r is |r - y| / ulp(y), with these conventions:
//   - r infinite of y's sign stands for 2^(emax + 1), and is right where |y| is at least that;
//   - y infinite or NaN: 0 when r is the same, else infinity;
//   - r NaN or infinite of the other sign where y is a number: infinity.
// The sign of a zero is no part of the measure.
#pragma once

#include <mpfr.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace ozk::accuracy {

inline constexpr double kInfinity = std::numeric_limits<double>::infinity();

template <class T>
struct Judgement {
    double ulp;  // error in ulp
    T rounded;   // y rounded to nearest: the correctly rounded result
};

template <class T>
T round_to(mpfr_srcptr y) {
    if constexpr (sizeof(T) == 4)
        return mpfr_get_flt(y, MPFR_RNDN);
    else if constexpr (sizeof(T) == 8)
        return mpfr_get_d(y, MPFR_RNDN);
    else
        return mpfr_get_ld(y, MPFR_RNDN);
}

// `scratch` has at least the precision of y plus that of T.
template <class T>
Judgement<T> judge(T r, mpfr_srcptr y, mpfr_ptr scratch) {
    using limits = std::numeric_limits<T>;
    constexpr int kOverflow = limits::max_exponent;  // 2^kOverflow is the first power beyond the format
    const T rounded = round_to<T>(y);
    if (mpfr_nan_p(y)) return {std::isnan(r) ? 0 : kInfinity, rounded};
    if (mpfr_inf_p(y)) return {r == rounded ? 0 : kInfinity, rounded};
    if (std::isnan(r)) return {kInfinity, rounded};
    if (std::isinf(r)) {
        if (std::signbit(r) != (mpfr_signbit(y) != 0)) return {kInfinity, rounded};
        if (!mpfr_zero_p(y) && mpfr_get_exp(y) > kOverflow) return {0, rounded};
        mpfr_set_si_2exp(scratch, r > 0 ? 1 : -1, kOverflow, MPFR_RNDN);
        mpfr_sub(scratch, scratch, y, MPFR_RNDN);
    } else if constexpr (sizeof(T) <= 8) {
        mpfr_d_sub(scratch, static_cast<double>(r), y, MPFR_RNDN);
    } else {
        mpfr_set_ld(scratch, r, MPFR_RNDN);
        mpfr_sub(scratch, scratch, y, MPFR_RNDN);
    }
    const int exponent = rounded == 0          ? limits::min_exponent - 1
                         : std::isinf(rounded) ? limits::max_exponent - 1
                                               : std::max(std::ilogb(rounded), limits::min_exponent - 1);
    mpfr_mul_2si(scratch, scratch, limits::digits - 1 - exponent, MPFR_RNDN);
    return {std::fabs(mpfr_get_d(scratch, MPFR_RNDA)), rounded};
}

// The same from a double y whose relative error is below 2^-48; false where y leaves open what it is, as to the
// rounding or about an infinite result. The error in ulp is right to 2^-23.
inline bool judge_nearly(float r, double y, Judgement<float>& judgement) {
    constexpr double kSlack = 0x1p-48, kLargest = 0x1p128 - 0x1p104;
    if (!(std::fabs(y) <= kLargest)) {
        const bool agreed =
            std::isnan(y) ? std::isnan(r) : std::fabs(y) >= 0x1p129 && std::isinf(r) && r * y > 0;
        judgement = {0, r};
        return agreed;
    }
    const float rounded = static_cast<float>(y);
    if (!std::isfinite(r) || static_cast<float>(y * (1 - kSlack)) != static_cast<float>(y * (1 + kSlack)))
        return false;
    const auto field = std::max<uint32_t>(std::bit_cast<uint32_t>(rounded) >> 23 & 0xFF, 1);
    const double ulp = std::bit_cast<double>(uint64_t{field + 1023 - 127 - 23} << 52);
    judgement = {std::fabs(static_cast<double>(r) - y) / ulp, rounded};
    return true;
}

}  // namespace ozk::accuracy
