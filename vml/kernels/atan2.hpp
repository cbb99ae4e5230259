// The angle of (x, y), atan2(y, x), for finite arguments.
//
// Method: a and b are the smaller and the larger magnitude, t = a/b in [0, 1]. The octants follow from the signs and
// from which one is larger: angle = base +- atan(t), base 0, pi/2 or pi.
//
// Double, HA: k = round(64 a/b), c = k/64, atan(a/b) = atan(c) + atan(r), r = (a - c b) / (b + c a), |r| <= 1/128; base
// +- atan(c) from a table as a sum of two doubles, r as one too, a polynomial for atan(r) - r. Error bound 0.51 ulp:
// last sum 1/2, all else below 2^-60 of the result; the polynomial's error is 2^-66 of r. The numerator and the
// denominator of r are exact sums of two: c has 7 bits, b and a are cut after 46.
//
// Single: t, or where it is above 2/5 the tangent (t - 1)/(t + 1) of atan(t) - pi/4, and a polynomial. HA in double precision:
// 0.51 ulp. LA: in single precision, 3 ulp. EP: without the second case, 2^-14 relative.
//
// The arguments' ratio must not underflow at the double level; (0, 0) has the angle that the signs give.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vml/kernels/error_free.hpp"

namespace ozk::vml {

struct AnglePair {
    double high, low;
};

#include "vml/kernels/atan2_tables.inc"

// y / x in the first octant: a <= b, and masks of what was done to get there.
template <class V>
struct Octant {
    V a, b;
    V swapped, left;  // |y| > |x|; the sign bit of x
};
template <class V, class S>
OZK_SIMD auto first_octant(const V& y, const V& x, S sign) {
    const V magnitude_x = abs(x), magnitude_y = abs(y);
    const auto swapped = magnitude_x < magnitude_y;
    return Octant<V>{min(magnitude_x, magnitude_y), max(magnitude_x, magnitude_y), swapped, x & sign};
}

template <class V>
OZK_SIMD V atan2_high(const V& y, const V& x) {
    using simd::broadcast;
    constexpr double kTiny = 0x1p-600;     // below every ordinary magnitude but 0
    constexpr double kShifter = 0x1.8p46;  // x + kShifter holds round(64 x) in its low bits
    constexpr int64_t kLowBits = 0x7F;
    const auto sign = broadcast(-0.0);
    const auto octant = first_octant(y, x, sign);
    const V a = octant.a, b = max(octant.b, broadcast(kTiny));

    const V shifted = a / b + broadcast(kShifter);
    const V c = shifted - broadcast(kShifter);
    const V b_high = as_f64(bits(b) & broadcast(~kLowBits)), a_high = as_f64(bits(a) & broadcast(~kLowBits));
    const V near = a - c * b_high, step = c * (b - b_high);
    const V n = near - step, n_low = (near - n) - step;
    const V product_high = c * a_high;
    const V d = b + product_high, d_low = ((b - d) + product_high) + c * (a - a_high);

    const V inverse = broadcast(1.0) / d;
    const V r = n * inverse;
    const Sum<V> back = product(Factor<V>(r), Factor<V>(d));
    const V r_low = (((n - back.value) - back.rest) + (n_low - r * d_low)) * inverse;
    const V r2 = r * r;
    const V odd = (broadcast(kAtanHigh[0]) + r2 * broadcast(kAtanHigh[1])) +
                  (r2 * r2) * (broadcast(kAtanHigh[2]) + r2 * broadcast(kAtanHigh[3]));

    // Entry k + 65 (swapped + 2 left), in doubles twice that.
    const auto left = simd::shift_right<63>(bits(octant.left));
    const auto turns = (bits(octant.swapped) & broadcast(int64_t{130})) +
                       (simd::shift_left<8>(left) + simd::shift_left<2>(left));
    const auto k = bits(shifted) & broadcast(int64_t{0x7F});
    const auto [high, low] = gather_pairs_at(&kAngles[0][0].high, k + k + turns);
    const V minus = (octant.swapped & sign) ^ octant.left;
    const V main = r ^ minus;
    const V sum = high + main;
    const V lost = (high - sum) + main;
    const V small = lost + (low + ((r_low + (r * r2) * odd) ^ minus));
    return (sum + small) | (y & sign);
}

// c3 + c5 r^2 + ... for the polynomial's terms from r^3 on.
template <class V, class T, size_t kTerms>
OZK_SIMD V odd_terms(const V& r2, const T (&c)[kTerms]) {
    V sum = r2 * simd::broadcast(c[kTerms - 1]) + simd::broadcast(c[kTerms - 2]);
    for (size_t i = kTerms - 2; i-- > 0;) sum = sum * r2 + simd::broadcast(c[i]);
    return sum;
}

// base +- theta.
template <class T, class V, class S>
OZK_SIMD V in_octant(const Octant<V>& octant, const V& theta, S sign) {
    const auto half_turn = simd::broadcast(static_cast<T>(0x1.921fb54442d18p+1));
    const auto quarter_turn = simd::broadcast(static_cast<T>(0x1.921fb54442d18p+0));
    const V base =
        select(octant.swapped, quarter_turn, select(octant.left, half_turn, simd::zeros_like(sign)));
    return base + (theta ^ ((octant.swapped & sign) ^ octant.left));
}

template <class V, class S>
OZK_SIMD V one_for_zero(const V& x, S one) {
    return (x == simd::zeros_like(one)) & one;
}

template <class T, class V, size_t kTerms>
OZK_SIMD V atan2_reduced(const V& y, const V& x, const T (&c)[kTerms]) {
    using simd::broadcast;
    constexpr T kEighthTurn = static_cast<T>(0x1.921fb54442d18p-1);
    const auto sign = broadcast(T(-0.0));
    const Octant<V> octant = first_octant(y, x, sign);
    const V a = octant.a, b = octant.b | one_for_zero(octant.b, broadcast(T(1)));
    const V steep = b + b < a * broadcast(T(5));  // exact where it decides, among subnormals too
    const V r = (a - (steep & b)) / (b + (steep & a));
    const V theta = (r + (r * (r * r)) * odd_terms(r * r, c)) + (steep & broadcast(kEighthTurn));
    return in_octant<T>(octant, theta, sign) | (y & sign);
}

OZK_SIMD simd::f32x4 atan2_fast(simd::f32x4 y, simd::f32x4 x) {
    using simd::broadcast;
    const auto sign = broadcast(-0.0f);
    const auto octant = first_octant(y, x, sign);
    const auto r = octant.a / (octant.b | one_for_zero(octant.b, broadcast(1.0f)));
    return in_octant<float>(octant, r * odd_terms(r * r, kAtanSingleFast), sign) | (y & sign);
}

}  // namespace ozk::vml
