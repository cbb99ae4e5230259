// LinearFrac: (scalea a + shifta) / (scaleb b + shiftb), numerator and denominator each a product and a sum, both
// rounded.
//
// Method of the quotient: the estimate of the denominator's reciprocal, relative error 1.5 2^-12 whatever its bits,
// refined in double precision by y (1 + e + e^2), e = 1 - denominator y: 2^-34. Single: the numerator's product
// with that, rounded, 0.501 ulp. Double: its leading 26 bits, and the rest from the residual, which has no
// error that counts, as the denominator's leading 26 bits times it are exact: 0.51 ulp.
//
// Special lanes: denominators outside the range of estimates, double numerators beyond 2^800 or below 2^-800, and
// numerators that are no finite numbers; the scalar path divides.

#include "vml/kernels/real.hpp"

namespace ozk::vml {
namespace {

using simd::broadcast;
using simd::f32x4;
using simd::f64x2;
using simd::i32x4;

// 1 + e + e^2 less 1
OZK_SIMD f64x2 refinement(f64x2 denominator, f64x2 y) {
    const f64x2 e = broadcast(1.0) - denominator * y;
    return e + e * e;
}

template <class T>
struct LinearFraction : RealOperation<T, 2> {
    using typename RealOperation<T, 2>::Vector;
    struct Scalars {
        T scalea, shifta, scaleb, shiftb;
    };
    static constexpr T kOrdinary = 1;
    static constexpr bool kChecksResult = true;

    OZK_SIMD static Vector numerator(Vector a, const Scalars& s) {
        return broadcast(s.scalea) * a + broadcast(s.shifta);
    }
    OZK_SIMD static Vector denominator(Vector b, const Scalars& s) {
        return broadcast(s.scaleb) * b + broadcast(s.shiftb);
    }
    OZK_SIMD static Vector special(Vector a, Vector b, const Scalars& s) {
        return beyond(numerator(a, s), denominator(b, s));
    }
    OZK_SIMD static Vector compute(Vector a, Vector b, const Scalars& s) {
        return quotient(numerator(a, s), denominator(b, s));
    }

    static int scalar(T a, T b, const Scalars& s, T& result) {
        const T above = s.scalea * a + s.shifta, below = s.scaleb * b + s.shiftb;
        result = above / below;
        if (std::isfinite(result)) return kVmlOk;
        bool finite = true;
        for (const T x : {a, b, s.scalea, s.shifta, s.scaleb, s.shiftb}) {
            if (std::isnan(x)) {
                result = quiet(x);
                return kVmlOk;
            }
            finite = finite && std::isfinite(x);
        }
        if (std::isnan(result)) return kVmlDomain;
        if (below == 0 && std::isfinite(above)) return kVmlSingularity;
        return finite ? kVmlOverflow : kVmlOk;
    }

  private:
    OZK_SIMD static f32x4 beyond(f32x4 above, f32x4 below) {
        return as_f32(outside<0x01000000, 0x7E000000>(bits(abs(below))) |
                      (bits(abs(above)) > broadcast(0x7F7FFFFF)));
    }
    OZK_SIMD static f64x2 beyond(f64x2 above, f64x2 below) {
        constexpr int32_t kTwoTo = 0x3FF00000, kBinade = 1 << 20;
        return simd::mask_of_high_words(
            outside<kTwoTo - 125 * kBinade, kTwoTo + 125 * kBinade>(as_i32(bits(abs(below)))) |
            outside<kTwoTo - 800 * kBinade, kTwoTo + 800 * kBinade>(as_i32(bits(abs(above)))));
    }

    OZK_SIMD static f64x2 product(f64x2 above, f64x2 below, f64x2 estimate) {
        const f64x2 q = above * estimate;
        return q + q * refinement(below, estimate);
    }
    OZK_SIMD static f32x4 quotient(f32x4 above, f32x4 below) {
        const f32x4 y = reciprocal_estimate(below);
        return to_f32(product(low_to_f64(above), low_to_f64(below), low_to_f64(y)),
                      product(high_to_f64(above), high_to_f64(below), high_to_f64(y)));
    }
    OZK_SIMD static f64x2 quotient(f64x2 above, f64x2 below) {
        const f64x2 high_bits = as_f64(broadcast(int64_t{-1} << 27));
        const f64x2 estimate = low_to_f64(reciprocal_estimate(to_f32(below)));
        const f64x2 y = estimate + estimate * refinement(below, estimate);
        const f64x2 q = (above * y) & high_bits, below_high = below & high_bits;
        return q + ((above - q * below_high) - q * (below - below_high)) * y;
    }
};

}  // namespace
}  // namespace ozk::vml

using namespace ozk::vml;

OZK_VML_KERNEL(s, LinearFrac, H8HAynn, linear_fraction, LinearFraction<float>)
OZK_VML_KERNEL(d, LinearFrac, H8HAynn, linear_fraction, LinearFraction<double>)
