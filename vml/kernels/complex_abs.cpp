// |z|, complex: sqrt(re^2 + im^2).
//
// Error bounds, in ulp of the result, round to nearest:
//   z HA  0.501: squares without error, their sum to 2^-104, a root with one correction step.
//   c HA  0.501: in double precision the squares are exact.
//   z EP  2^-52.
//
// Special lanes (z): components neither 0 nor in a range in which no square or rest overflows or underflows; (c): what
// is not finite or may overflow. The scalar path computes in extended precision, which holds the squares of all
// doubles: 0.501 ulp too. |z| is +infinity with an infinite component even where the other one is NaN.

#include <cmath>

#include "vml/frame.hpp"
#include "vml/kernels/complex_range.hpp"
#include "vml/kernels/error_free.hpp"
#include "vml/kernels/real.hpp"

namespace ozk::vml {
namespace {

template <class T>
int magnitude_scalar(T re, T im, T& result) {
    const long double x = canonical(re), y = canonical(im);  // the x87 unit knows no flush mode
    result = std::isinf(re) || std::isinf(im) ? static_cast<T>(HUGE_VAL)
                                              : static_cast<T>(std::sqrt(x * x + y * y));
    return std::isinf(result) && std::isfinite(re) && std::isfinite(im) ? kVmlOverflow : kVmlOk;
}

struct DoubleRange : ComponentRange<double, -484, 511> {
    using Result = double;
    static constexpr bool kExtendedPrecision = true;
    static int scalar(OzkComplex16 z, double& result) { return magnitude_scalar(z.re, z.im, result); }
};

struct AbsHigh : DoubleRange {
    template <class V>
    OZK_SIMD static V compute(const simd::complex<V>& z) {
        const Root<V> r = root(sum_of_squares(Factor<V>(z.re), Factor<V>(z.im)));
        return r.value + r.rest;
    }
};
struct AbsFast : DoubleRange {
    OZK_SIMD static simd::f64x2 compute(const simd::c64x2& z) { return sqrt(z.re * z.re + z.im * z.im); }
};
struct AbsSingle : ComponentRange<float, kAnyLow, 127> {
    using Result = float;
    static constexpr bool kExtendedPrecision = true;
    OZK_SIMD static simd::f32x4 compute(const simd::c32x4& z) {
        const auto [re, im] = widen(z);
        return simd::narrow(sqrt(re * re + im * im));
    }
    static int scalar(OzkComplex8 z, float& result) { return magnitude_scalar(z.re, z.im, result); }
};

}  // namespace
}  // namespace ozk::vml

OZK_VML_KERNEL(c, Abs, EXHAynn, to_real, ozk::vml::AbsSingle)
OZK_VML_KERNEL(z, Abs, EXHAynn, to_real, ozk::vml::AbsHigh)
OZK_VML_KERNEL(z, Abs, H8EPnnn, to_real, ozk::vml::AbsFast)
