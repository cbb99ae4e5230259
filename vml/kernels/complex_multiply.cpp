// a b and a conj(b), complex.
//
// Error bounds of each component, in ulp of it, round to nearest:
//   z HA  1 with any cancellation, 0.501 without: the four products without error, their differences with one rounding.
//   c HA  0.501: in double precision the products are exact.
//   EP    of the products and differences alone: 2^-51 (z), 2^-22 (c) of |a| |b|, whatever the component.
//
// Special lanes: components outside the range in which no product or sum overflows and, at the z HA level, the rests
// of products don't underflow. The scalar path computes with exponents of its own, and follows C Annex G.5.1 for
// infinities: a product with an infinite factor is infinite unless the other one is zero or NaN.

#include <cmath>

#include "vml/frame.hpp"
#include "vml/kernels/complex_range.hpp"
#include "vml/kernels/scaled_products.hpp"

namespace ozk::vml {
namespace {

using simd::complex;

double bounded(double x) { return std::copysign(std::isinf(x) ? 1.0 : 0.0, x); }
double without_nan(double x) { return std::isnan(x) ? std::copysign(0.0, x) : x; }

OzkComplex16 plain_product(OzkComplex16 a, OzkComplex16 b) {
    return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}

// An infinity or a NaN among the components.
OzkComplex16 product_of_limits(OzkComplex16 a, OzkComplex16 b) {
    const bool infinite_a = std::isinf(a.re) || std::isinf(a.im);
    const bool infinite_b = std::isinf(b.re) || std::isinf(b.im);
    if (infinite_a) {
        a = {bounded(a.re), bounded(a.im)};
        b = {without_nan(b.re), without_nan(b.im)};
    }
    if (infinite_b) {
        b = {bounded(b.re), bounded(b.im)};
        a = {without_nan(a.re), without_nan(a.im)};
    }
    if (!infinite_a && !infinite_b) return plain_product(a, b);
    const OzkComplex16 direction = plain_product(a, b);
    return {HUGE_VAL * direction.re, HUGE_VAL * direction.im};
}

int multiply_scalar(OzkComplex16 a, OzkComplex16 b, OzkComplex16& result) {
    if (!is_finite(a) || !is_finite(b)) {
        const OzkComplex16 plain = plain_product(a, b);
        result = std::isnan(plain.re) && std::isnan(plain.im) ? product_of_limits(a, b) : plain;
        return kVmlOk;
    }
    result = {unscaled(difference_of_products(a.re, b.re, a.im, b.im)),
              unscaled(difference_of_products(a.re, b.im, -a.im, b.re))};
    return is_finite(result) ? kVmlOk : kVmlOverflow;
}

template <bool kConjugate, class V>
OZK_SIMD complex<V> second_factor(const complex<V>& b) {
    if constexpr (kConjugate) return {b.re, b.im ^ simd::broadcast(-0.0)};
    return b;
}

template <class V>
OZK_SIMD complex<V> plain_product(const complex<V>& a, const complex<V>& b) {
    return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}

template <bool kConjugate, class T, int kLow, int kHigh>
struct MultiplyRange : ComponentRange<T, kLow, kHigh> {
    using typename ComponentRange<T, kLow, kHigh>::Argument;
    using Result = Argument;
    static constexpr int kArguments = 2;

    static int scalar(Argument a, Argument b, Result& result) {
        if constexpr (kConjugate) b.im = -b.im;
        if constexpr (sizeof(T) == 8) {
            return multiply_scalar(a, b, result);
        } else {
            OzkComplex16 wide;
            multiply_scalar(widen(a), widen(b), wide);
            result = narrow(wide);
            return is_finite(widen(result)) || !is_finite(widen(a)) || !is_finite(widen(b)) ? kVmlOk
                                                                                            : kVmlOverflow;
        }
    }
};

// Products from 2^-968 on have exact rests.
template <bool kConjugate>
struct MultiplyHigh : MultiplyRange<kConjugate, double, -484, 511> {
    template <class V>
    OZK_SIMD static complex<V> compute(const complex<V>& a, const complex<V>& b) {
        const Factor<V> a_re(a.re), a_im(a.im), b_re(b.re), b_im(b.im);
        const Sum<V> re_re = product(a_re, b_re), im_im = product(a_im, b_im);
        const Sum<V> re_im = product(a_re, b_im), im_re = product(a_im, b_re);
        if constexpr (kConjugate)
            return {sum(re_re, im_im).rounded(), difference(im_re, re_im).rounded()};
        else
            return {difference(re_re, im_im).rounded(), sum(re_im, im_re).rounded()};
    }
};
template <bool kConjugate>
struct MultiplyFast : MultiplyRange<kConjugate, double, kAnyLow, 511> {
    using Block = simd::interleaved<simd::f64x4>;  // one shuffle an element instead of three
    OZK_SIMD static Block compute(const Block& a, const Block& b) {
        simd::f64x4 second = b.v;
        if constexpr (kConjugate) second = second ^ simd::pair(0.0, -0.0);
        return {subtract_add(repeat_low(a.v) * second, repeat_high(a.v) * swap_lanes(second))};
    }
    OZK_SIMD static simd::c64x2 compute(const simd::c64x2& a, const simd::c64x2& b) {
        return plain_product(a, second_factor<kConjugate>(b));
    }
};
template <bool kConjugate>
struct MultiplySingleHigh : MultiplyRange<kConjugate, float, kAnyLow, 63> {
    OZK_SIMD static simd::c32x4 compute(const simd::c32x4& a, const simd::c32x4& b) {
        return narrow(plain_product(widen(a), second_factor<kConjugate>(widen(b))));
    }
};
template <bool kConjugate>
struct MultiplySingleFast : MultiplyRange<kConjugate, float, kAnyLow, 63> {
    OZK_SIMD static simd::c32x4 compute(const simd::c32x4& a, simd::c32x4 b) {
        if constexpr (kConjugate) b.im = b.im ^ simd::broadcast(-0.0f);
        return plain_product(a, b);
    }
};

}  // namespace
}  // namespace ozk::vml

OZK_VML_KERNEL(c, Mul, H8HAynn, binary, ozk::vml::MultiplySingleHigh<false>)
OZK_VML_KERNEL(c, Mul, H8EPnnn, binary, ozk::vml::MultiplySingleFast<false>)
OZK_VML_KERNEL(z, Mul, H8HAynn, binary, ozk::vml::MultiplyHigh<false>)
OZK_VML_KERNEL(z, Mul, H8EPnnn, binary, ozk::vml::MultiplyFast<false>)
OZK_VML_KERNEL(c, MulByConj, H8HAynn, binary, ozk::vml::MultiplySingleHigh<true>)
OZK_VML_KERNEL(c, MulByConj, H8EPnnn, binary, ozk::vml::MultiplySingleFast<true>)
OZK_VML_KERNEL(z, MulByConj, H8HAynn, binary, ozk::vml::MultiplyHigh<true>)
OZK_VML_KERNEL(z, MulByConj, H8EPnnn, binary, ozk::vml::MultiplyFast<true>)
