// arg(z) = atan2(im, re), complex: see atan2.hpp for method and bounds.
//
// Special lanes (z): components neither 0 nor in a range in which no ratio underflows; (c): infinities and NaN,
// at the LA level also what is next to overflow. Nothing is an error: the angle of zero and of infinities is what C Annex F.10.1.4 gives atan2.

#include <algorithm>
#include <cmath>

#include "vml/frame.hpp"
#include "vml/kernels/atan2.hpp"
#include "vml/kernels/complex_range.hpp"

namespace ozk::vml {
namespace {

using simd::broadcast;

double angle(double im, double re) {
    if (std::isnan(re) || std::isnan(im)) return re + im;
    if (std::isinf(re) || std::isinf(im)) {
        re = std::copysign(std::isinf(re) ? 1.0 : 0.0, re);
        im = std::copysign(std::isinf(im) ? 1.0 : 0.0, im);
    } else if (re != 0 || im != 0) {
        constexpr int kFlat =
            120;  // beyond this ratio the angle is the quotient, or the octant's end, rounded
        const int exponent_re = re == 0 ? -kFinite : std::ilogb(re),
                  exponent_im = im == 0 ? -kFinite : std::ilogb(im);
        if (re > 0 && im != 0 && exponent_re - exponent_im > kFlat) return im / re;
        const int scale = std::max(exponent_re, exponent_im);
        const auto scaled = [scale](double x, int exponent) {
            return x == 0 ? x : std::ldexp(x, std::max(-scale, -2 * kFlat - exponent));
        };
        im = scaled(im, exponent_im);
        re = scaled(re, exponent_re);
    }
    return low(atan2_high(broadcast(im), broadcast(re)));
}

struct ArgHigh : ComponentRange<double, -484, 511> {
    using Result = double;
    static constexpr int kWide = 2;
    template <class V>
    OZK_SIMD static V compute(const simd::complex<V>& z) {
        return atan2_high(z.im, z.re);
    }
    static int scalar(OzkComplex16 z, double& result) {
        result = angle(z.im, z.re);
        return kVmlOk;
    }
};

template <int kHigh>
struct SingleRange : ComponentRange<float, kAnyLow, kHigh> {
    using Result = float;
    static int scalar(OzkComplex8 z, float& result) {
        result = static_cast<float>(angle(z.im, z.re));
        return kVmlOk;
    }
};
struct ArgSingleHigh : SingleRange<kFinite> {
    OZK_SIMD static simd::f32x4 compute(const simd::c32x4& z) {
        return simd::narrow(atan2_reduced(simd::widen(z.im), simd::widen(z.re), kAtanSingleHigh));
    }
};
struct ArgSingleLow : SingleRange<125> {  // sums and multiples of components are finite
    OZK_SIMD static simd::f32x4 compute(const simd::c32x4& z) {
        return atan2_reduced(z.im, z.re, kAtanSingleLow);
    }
};
struct ArgSingleFast : SingleRange<kFinite> {
    OZK_SIMD static simd::f32x4 compute(const simd::c32x4& z) { return atan2_fast(z.im, z.re); }
};

}  // namespace
}  // namespace ozk::vml

OZK_VML_KERNEL(c, Arg, EXLAynn, to_real, ozk::vml::ArgSingleLow)
OZK_VML_KERNEL(c, Arg, EXHAynn, to_real, ozk::vml::ArgSingleHigh)
OZK_VML_KERNEL(c, Arg, EXEPnnn, to_real, ozk::vml::ArgSingleFast)
OZK_VML_KERNEL(z, Arg, EXHAynn, to_real, ozk::vml::ArgHigh)
