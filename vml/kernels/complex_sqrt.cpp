// sqrt(z), complex, the root with the nonnegative real part.
//
// Method: w = sqrt((|z| + |re|) / 2) and |im| / (2 w) are the root's components, in this order for re >= 0 and in the
// other one for re < 0. Nothing cancels.
//
// Error bounds of each component, in ulp of it, round to nearest:
//   z HA  0.51: |z|, w and the quotient as sums of two doubles.
//   c HA  0.501: in double precision.
//   c LA  4: in single precision; measured 2.5.
//
// Special lanes: infinities and NaN; and at the z HA and c LA levels components that are neither 0 nor in a range in
// which no square or rest overflows or underflows: the scalar path computes these after scaling by a power of four.
// C Annex G.6.4.2 for infinities.

#include <cmath>

#include "vml/frame.hpp"
#include "vml/kernels/complex_range.hpp"
#include "vml/kernels/error_free.hpp"
#include "vml/kernels/real.hpp"

namespace ozk::vml {
namespace {

using simd::broadcast;
using simd::complex;
using simd::f64x2;

// The root of (re, im) from w and im / (2 w); sign is the vector of sign bits.
template <class V, class S>
OZK_SIMD complex<V> in_place(const V& re, const V& im, const V& w, const V& other, S sign) {
    const auto left = re < simd::zeros_like(sign);
    return {select(left, abs(other), w), select(left, w | (im & sign), other)};
}

template <class V>
OZK_SIMD complex<V> root_of_pairs(const complex<V>& z) {
    const Factor<V> re(abs(z.re)), im(z.im);
    const Root<V> magnitude = root(sum_of_squares(re, im));
    const f64x2 half = broadcast(0.5);
    const V sum = magnitude.value + re.value;
    const V rest = (re.value - (sum - magnitude.value)) + magnitude.rest;
    const Root<V> w = root(Sum<V>{sum * half, rest * half});
    const V q = z.im * w.half_inverse;  // and the rest of im - 2 q w
    const Sum<V> back = product(Factor<V>(q + q), Factor<V>(w.value));
    const V excess = ((back.value - z.im) + back.rest) + (q + q) * w.rest;
    return in_place(z.re, z.im, w.value + w.rest, q - excess * w.half_inverse, broadcast(-0.0));
}

template <class V>
OZK_SIMD complex<V> plain_root(const complex<V>& z) {
    const V w = sqrt((sqrt(z.re * z.re + z.im * z.im) + abs(z.re)) * broadcast(0.5));
    const V other = z.im / max(w + w, broadcast(0x1p-600));
    return in_place(z.re, z.im, w, other, broadcast(-0.0));
}

OzkComplex16 root_of_limits(OzkComplex16 z) {
    if (std::isinf(z.im)) return {HUGE_VAL, z.im};
    if (std::isinf(z.re)) {
        const double other = std::isnan(z.im) ? z.im : 0.0;
        if (z.re > 0) return {z.re, std::isnan(z.im) ? z.im : std::copysign(0.0, z.im)};
        return {other, std::copysign(HUGE_VAL, z.im)};
    }
    return {z.re + z.im, z.re + z.im};
}

OzkComplex16 root_scalar(OzkComplex16 z) {
    if (!std::isfinite(z.re) || !std::isfinite(z.im)) return root_of_limits(z);
    z = {canonical(z.re), canonical(z.im)};
    const double larger = std::max(std::abs(z.re), std::abs(z.im));
    if (larger == 0) return {0.0, z.im};
    const int scale = std::ilogb(larger) / 2;
    // im / (2 w) is linear in an im that w doesn't feel: there im is taken with an exponent of its own, so that neither
    // it nor a rest underflows.
    constexpr int kNotFelt = -300;
    const int lift = z.im == 0 ? 0 : std::max(0, kNotFelt - (std::ilogb(z.im) - 2 * scale));
    const auto root = root_of_pairs(complex<f64x2>{broadcast(std::ldexp(z.re, -2 * scale)),
                                                   broadcast(std::ldexp(z.im, lift - 2 * scale))});
    const bool left = z.re < 0;
    return {std::ldexp(low(root.re), scale - (left ? lift : 0)),
            std::ldexp(low(root.im), scale - (left ? 0 : lift))};
}

struct SqrtHigh : ComponentRange<double, -484, 511> {
    using Result = OzkComplex16;
    template <class V>
    OZK_SIMD static complex<V> compute(const complex<V>& z) {
        return root_of_pairs(z);
    }
    static int scalar(OzkComplex16 z, OzkComplex16& result) {
        result = root_scalar(z);
        return kVmlOk;
    }
};

template <int kLow, int kHigh>
struct SingleRange : ComponentRange<float, kLow, kHigh> {
    using Result = OzkComplex8;
    static int scalar(OzkComplex8 z, OzkComplex8& result) {
        result = narrow(root_scalar(widen(z)));
        return kVmlOk;
    }
};
struct SqrtSingleHigh : SingleRange<kAnyLow, kFinite> {
    OZK_SIMD static simd::c32x4 compute(const simd::c32x4& z) { return narrow(plain_root(widen(z))); }
};
struct SqrtSingleLow : SingleRange<-60, 62> {
    OZK_SIMD static simd::c32x4 compute(const simd::c32x4& z) {
        const simd::f32x4 magnitude = sqrt(z.re * z.re + z.im * z.im);
        const simd::f32x4 w = sqrt((magnitude + abs(z.re)) * broadcast(0.5f));
        const simd::f32x4 other = z.im / max(w + w, broadcast(0x1p-100f));
        return in_place(z.re, z.im, w, other, broadcast(-0.0f));
    }
};

}  // namespace
}  // namespace ozk::vml

OZK_VML_KERNEL(c, Sqrt, EXLAynn, unary, ozk::vml::SqrtSingleLow)
OZK_VML_KERNEL(c, Sqrt, EXHAynn, unary, ozk::vml::SqrtSingleHigh)
OZK_VML_KERNEL(z, Sqrt, EXHAynn, unary, ozk::vml::SqrtHigh)
