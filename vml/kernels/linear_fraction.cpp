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

#include "vml/kernels/by_singles.hpp"
#include "vml/kernels/real.hpp"

namespace ozk::vml {
namespace {

using simd::broadcast;
using simd::f32x4;
using simd::f64x2;
using simd::f64x4;
using simd::i32x4;

// 1 + e + e^2 less 1
template <class V>
OZK_SIMD V refinement(const V& denominator, const V& y) {
    const V e = broadcast(1.0) - denominator * y;
    return e + e * e;
}

template <class T>
struct LinearFraction : RealOperation<T, 2> {
    using typename RealOperation<T, 2>::Vector;
    struct Scalars {
        T scalea, shifta, scaleb, shiftb;
    };
    static constexpr T kOrdinary = 1;

    template <class V>
    OZK_SIMD static V numerator(const V& a, const Scalars& s) {
        return broadcast(s.scalea) * a + broadcast(s.shifta);
    }
    template <class V>
    OZK_SIMD static V denominator(const V& b, const Scalars& s) {
        return broadcast(s.scaleb) * b + broadcast(s.shiftb);
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
};

// Quotients may overflow.
struct LinearFractionSingle : LinearFraction<float> {
    static constexpr bool kChecksResult = true;

    OZK_SIMD static f32x4 special(f32x4 a, f32x4 b, const Scalars& s) {
        const f32x4 above = numerator(a, s), below = denominator(b, s);
        return as_f32(outside<0x01000000, 0x7E000000>(bits(abs(below))) |
                      (bits(abs(above)) > broadcast(0x7F7FFFFF)));
    }
    OZK_SIMD static f32x4 compute(f32x4 a, f32x4 b, const Scalars& s) {
        const f32x4 above = numerator(a, s), below = denominator(b, s);
        const f32x4 y = reciprocal_estimate(below);
        return narrow(product(widen(above), widen(below), widen(y)));
    }

  private:
    OZK_SIMD static f64x4 product(const f64x4& above, const f64x4& below, const f64x4& estimate) {
        const f64x4 q = above * estimate;
        return q + q * refinement(below, estimate);
    }
};

struct LinearFractionDouble : LinearFraction<double> {
    static constexpr int kWide = 2;
    using Checked = f64x4;

    OZK_SIMD static f64x2 special(f64x2 a, f64x2 b, const Scalars& s) {
        return simd::mask_of_high_words(
            beyond(as_i32(bits(numerator(a, s))), as_i32(bits(denominator(b, s)))));
    }
    OZK_SIMD static i32x4 special(const f64x4& a, const f64x4& b, const Scalars& s) {
        return beyond(high_words(numerator(a, s)), high_words(denominator(b, s)));
    }
    template <class V>
    OZK_SIMD static V compute(const V& a, const V& b, const Scalars& s) {
        const V above = numerator(a, s), below = denominator(b, s);
        const f64x2 high_bits = as_f64(broadcast(int64_t{-1} << 27));
        const V estimate = by_singles([](f32x4 x) OZK_SIMD_LAMBDA { return reciprocal_estimate(x); }, below);
        const V y = estimate + estimate * refinement(below, estimate);
        const V q = (above * y) & high_bits, below_high = below & high_bits;
        return q + ((above - q * below_high) - q * (below - below_high)) * y;
    }

  private:
    // By high words.
    OZK_SIMD static i32x4 beyond(i32x4 above, i32x4 below) {
        constexpr int32_t kTwoTo = 0x3FF00000, kBinade = 1 << 20;
        const i32x4 magnitude = broadcast(int32_t{0x7FFFFFFF});
        return outside<kTwoTo - 125 * kBinade, kTwoTo + 125 * kBinade>(below & magnitude) |
               outside<kTwoTo - 800 * kBinade, kTwoTo + 800 * kBinade>(above & magnitude);
    }
};

}  // namespace
}  // namespace ozk::vml

using namespace ozk::vml;

OZK_VML_KERNEL(s, LinearFrac, H8HAynn, linear_fraction, LinearFractionSingle)
OZK_VML_KERNEL(d, LinearFrac, H8HAynn, linear_fraction, LinearFractionDouble)
