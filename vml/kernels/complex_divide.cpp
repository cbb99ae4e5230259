// a / b, complex: a conj(b) / |b|^2.
//
// Error bounds of each component, in ulp of it, round to nearest:
//   z HA  1 with any cancellation in a conj(b), 0.501 without: numerators and denominator as sums of two doubles, a
//         quotient with one correction step.
//   c HA  0.501: in double precision the products are exact.
//   z EP  2^-50 of |a / b|, whatever the component.
//
// Special lanes: components outside a range in which nothing overflows or underflows, divisors that are zero. The
// scalar path computes with exponents of its own, and follows C Annex G.5.1 for infinities and zeros.

#include <cmath>

#include "vml/frame.hpp"
#include "vml/kernels/complex_range.hpp"
#include "vml/kernels/scaled_products.hpp"

namespace ozk::vml {
namespace {

using simd::broadcast;
using simd::complex;
using simd::f64x2;

OzkComplex16 times(OzkComplex16 a, OzkComplex16 conjugated, double scale) {
    return {scale * (a.re * conjugated.re + a.im * conjugated.im),
            scale * (a.im * conjugated.re - a.re * conjugated.im)};
}

double bounded(double x) { return std::copysign(std::isinf(x) ? 1.0 : 0.0, x); }

// b is zero, or an infinity or a NaN is among the components.
OzkComplex16 quotient_of_limits(OzkComplex16 a, OzkComplex16 b) {
    const bool infinite_a = std::isinf(a.re) || std::isinf(a.im);
    const bool infinite_b = std::isinf(b.re) || std::isinf(b.im);
    if (b.re == 0 && b.im == 0 && !(std::isnan(a.re) && std::isnan(a.im))) {
        const double infinity = std::copysign(HUGE_VAL, b.re);
        return {infinity * a.re, infinity * a.im};
    }
    if (infinite_a && is_finite(b)) return times({bounded(a.re), bounded(a.im)}, b, HUGE_VAL);
    if (infinite_b && is_finite(a)) return times(a, {bounded(b.re), bounded(b.im)}, 0);
    return times(a, b, 1);
}

// a / b for finite a and b, b nonzero.
OzkComplex16 quotient_of_numbers(OzkComplex16 a, OzkComplex16 b) {
    const int scale = std::ilogb(std::max(std::abs(b.re), std::abs(b.im)));
    // A component that underflows here doesn't count beside the other one.
    const Factor<f64x2> re(broadcast(std::ldexp(b.re, -scale))), im(broadcast(std::ldexp(b.im, -scale)));
    const Sum<f64x2> norm = sum_of_squares(re, im);
    const Factor<f64x2> divisor(norm.value);
    const f64x2 inverse = broadcast(1.0) / norm.value;
    const auto component = [&](const ScaledDifference& numerator) {
        return std::ldexp(low(quotient(numerator.mantissa, norm, divisor, inverse)),
                          numerator.exponent - 2 * scale);
    };
    return {component(difference_of_products(a.re, b.re, -a.im, b.im)),
            component(difference_of_products(a.im, b.re, a.re, b.im))};
}

int divide_scalar(OzkComplex16 a, OzkComplex16 b, OzkComplex16& result) {
    const bool zero_divisor = b.re == 0 && b.im == 0;
    if (!zero_divisor && is_finite(a) && is_finite(b)) {
        result = quotient_of_numbers(a, b);
        return is_finite(result) ? kVmlOk : kVmlOverflow;
    }
    result = quotient_of_limits(a, b);
    if (!zero_divisor || !is_finite(a)) return kVmlOk;
    return a.re == 0 && a.im == 0 ? kVmlDomain : kVmlSingularity;
}

OZK_SIMD complex<simd::f64x4> plain_quotient(const complex<simd::f64x4>& a, const complex<simd::f64x4>& b) {
    const simd::f64x4 inverse = broadcast(1.0) / (b.re * b.re + b.im * b.im);
    return {(a.re * b.re + a.im * b.im) * inverse, (a.im * b.re - a.re * b.im) * inverse};
}

template <int kLow, int kHigh, int kLeast>
struct DoubleRange : DivisorRange<double, kLow, kHigh, kLeast> {
    using Result = OzkComplex16;
    static constexpr int kArguments = 2;
    static int scalar(OzkComplex16 a, OzkComplex16 b, OzkComplex16& result) {
        return divide_scalar(a, b, result);
    }
};

// Quotients of ordinary components stay within 2^896, and above 2^-1003 with every bit of a numerator cancelled.
struct DivideHigh : DoubleRange<-224, 224, -224> {
    template <class V>
    struct Fraction {
        Difference<V> re, im;
        Sum<V> norm;
        V inverse;  // 1 / norm.value, rounded
    };
    template <class V>
    OZK_SIMD static Fraction<V> prepare(const complex<V>& a, const complex<V>& b) {
        const Factor<V> a_re(a.re), a_im(a.im), b_re(b.re), b_im(b.im);
        const Sum<V> norm = sum_of_squares(b_re, b_im);
        return {sum(product(a_re, b_re), product(a_im, b_im)),
                difference(product(a_im, b_re), product(a_re, b_im)), norm, broadcast(1.0) / norm.value};
    }
    template <class V>
    OZK_SIMD static complex<V> finish(const Fraction<V>& x) {
        const Factor<V> divisor(x.norm.value);
        return {quotient(x.re, x.norm, divisor, x.inverse), quotient(x.im, x.norm, divisor, x.inverse)};
    }
};

// a (conj(b) / |b|^2), so that no product is smaller than the quotient's own terms. These stay within 2^1002.
struct DivideFast : DoubleRange<kAnyLow, 500, -500> {
    OZK_SIMD static simd::c64x2 compute(const simd::c64x2& a, const simd::c64x2& b) {
        const f64x2 inverse = broadcast(1.0) / (b.re * b.re + b.im * b.im);
        const f64x2 re = b.re * inverse, im = b.im * inverse;
        return {a.re * re + a.im * im, a.im * re - a.re * im};
    }
};

// Quotients stay within 2^127.
struct DivideSingle : DivisorRange<float, kAnyLow, 62, -64> {
    using Result = OzkComplex8;
    static constexpr int kArguments = 2;
    OZK_SIMD static simd::c32x4 compute(const simd::c32x4& a, const simd::c32x4& b) {
        return narrow(plain_quotient(widen(a), widen(b)));
    }
    static int scalar(OzkComplex8 a, OzkComplex8 b, OzkComplex8& result) {
        OzkComplex16 wide;
        const int code = divide_scalar(widen(a), widen(b), wide);
        result = narrow(wide);
        return is_finite(wide) && !is_finite(widen(result)) ? int{kVmlOverflow} : code;
    }
};

}  // namespace
}  // namespace ozk::vml

OZK_VML_KERNEL(c, Div, H8HAynn, binary, ozk::vml::DivideSingle)
OZK_VML_KERNEL(z, Div, EXHAynn, binary, ozk::vml::DivideHigh)
OZK_VML_KERNEL(z, Div, H8EPnnn, binary, ozk::vml::DivideFast)
