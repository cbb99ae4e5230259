// exp(x), 2^x, 10^x and exp(x) - 1, single precision.
//
// High accuracy, b^x for each base b, in double precision: z = x 512 log2(b), N = round(z), N = 512 k + j, so that
// b^x = 2^k 2^(j/512) 2^((z - N)/512); 2^(j/512) from a table, the rest by a polynomial of degree 2, and one
// rounding to single. Nothing overflows or underflows before that rounding, which makes the same arithmetic good for subnormal
// results and settles what overflows.
// Error bound: 0.5003 ulp. Polynomial 2^-36.1 relative, everything else below 2^-46. An exact result, of an integer
// x among others, is rounded to itself.
// exp(x) - 1 = s p - (1 - s) with s = 2^(N/512) and p = 2^((z - N)/512) - 1 of degree 3, 2^-38.1 relative: s is 1 where
// x is near 0, and 1 - s is at least 2^-10.6 elsewhere.
// Tang, "Table-driven implementation of the exponential function in IEEE floating-point arithmetic", ACM TOMS 15
// (1989).
//
// Lower levels of exp(x), in single precision: 2^k times a polynomial.
//   LA  x - k ln2 in two parts, degree 5: 2^-23.1 relative, 1/2 ulp for each of the last two sums.
//   EP  z = x log2(e), 2^(z - k) of degree 3: 2^-13.2 relative; the rounding of z adds 2^-18.
//
// Special lanes: |x| at or above the least one with a subnormal result; for exp(x) - 1, with an infinite one.

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <type_traits>

#include "vml/frame.hpp"
#include "vml/kernels/magnitude_bound.hpp"

namespace ozk::vml {
namespace {

using simd::broadcast;
using simd::constant;

#include "vml/kernels/exp_single_tables.inc"

constexpr double kShifter = 0x1.8p52;        // x + kShifter holds round(x) in its low bits
constexpr float kSingleShifter = 0x1.8p23f;  // the same in single precision

struct BaseE {
    static constexpr double kSteps = 0x1.71547652b82fep+9;  // 512 log2(e)
    static constexpr int32_t kBoundBits = 0x42AEAC50;       // 87.33655
};
struct Base2 {
    static constexpr double kSteps = 512;
    static constexpr int32_t kBoundBits = 0x42FC0000;  // 126
};
struct Base10 {
    static constexpr double kSteps = 0x1.a934f0979a371p+10;  // 512 log2(10)
    static constexpr int32_t kBoundBits = 0x4217B818;        // 37.92978
};
struct Minus1 {
    static constexpr double kSteps = BaseE::kSteps;
    static constexpr int32_t kBoundBits = 0x42B17218;  // 88.72284
};

// b^x, or b^x - 1, in double precision: the steps of two lanes.
template <class V>
struct Powers {  // b^x = s factor
    V s, factor;
};
template <class Base, class V>
OZK_SIMD V scaled(V x, simd::VectorAndWords& n) {  // z, and N in the low bits of what is kept
    const V z = x * constant<Base::kSteps>;
    n.keep(bits(z + constant<kShifter>));
    return z;
}
template <class V>
OZK_SIMD V remainder(V z, const simd::VectorAndWords& n) {  // z - N
    return z - (as_f64(n.all()) - constant<kShifter>);
}
template <class Base, class V>
OZK_SIMD Powers<V> powers(V r, const simd::VectorAndWords& n) {
    const V entry = simd::gather(kExpTable512, n.half(0) & 511, n.half(4) & 511);
    const V s = as_f64(simd::shift_left<43>(n.all()) + bits(entry));
    if constexpr (std::is_same_v<Base, Minus1>) {
        const V inner = r * constant<kPowerm1C3> + constant<kPowerm1C2>;
        const V factor = r * inner + constant<kPowerm1C1>;
        return {s, r * factor};
    } else {
        const V slope = r * constant<kPowerC2> + constant<kPowerC1>;
        return {s, r * slope + constant<1.0>};
    }
}
template <class Base, class V>
OZK_SIMD V product(const Powers<V>& x) {
    if constexpr (std::is_same_v<Base, Minus1>)
        return x.s * x.factor - (broadcast(1.0) - x.s);  // -0 where x is
    else
        return x.s * x.factor;
}

template <class Base>
struct Power : SingleMagnitudeBound<Base::kBoundBits> {
    template <class>
    struct Kept {
        simd::VectorAndWords low, high;
    };
    template <class V>
    struct Rounded {  // z
        V low, high;
    };
    template <class V>
    struct Remainders {
        V low, high;
    };
    template <class V>
    struct Products {
        Powers<V> low, high;
    };

    OZK_SIMD static Rounded<simd::f64x2> prepare(simd::f32x4 x, Kept<simd::f32x4>& n) {
        return {scaled<Base>(low_to_f64(x), n.low), scaled<Base>(high_to_f64(x), n.high)};
    }
    template <class V>
    OZK_SIMD static Remainders<V> advance(const Rounded<V>& z, const Kept<simd::f32x4>& n) {
        return {remainder(z.low, n.low), remainder(z.high, n.high)};
    }
    template <class V>
    OZK_SIMD static Products<V> advance(const Remainders<V>& r, const Kept<simd::f32x4>& n) {
        return {powers<Base>(r.low, n.low), powers<Base>(r.high, n.high)};
    }
    template <class V>
    OZK_SIMD static simd::f32x4 finish(const Products<V>& s, const Kept<simd::f32x4>&) {
        return to_f32(product<Base>(s.low), product<Base>(s.high));
    }

    // Every subnormal result of b^x, and every 0, is reported as underflow.
    [[gnu::cold]] static int scalar(float x, float& result) {
        constexpr bool kMinus1 = std::is_same_v<Base, Minus1>;
        constexpr float kBeyond = 2 * std::bit_cast<float>(Base::kBoundBits);  // its result is infinite
        if (std::isnan(x) || std::isinf(x)) {
            result = x > 0 || std::isnan(x) ? x + x : kMinus1 ? -1.0f : 0.0f;
            return kVmlOk;
        }
        float lane[4];
        simd::store(lane, evaluate<Power>(broadcast(std::clamp(x, -kBeyond, kBeyond))));
        result = lane[0];
        if (std::isinf(result)) return kVmlOverflow;
        return !kMinus1 && result < std::numeric_limits<float>::min() ? kVmlUnderflow : kVmlOk;
    }
};

// 2^n s for an s next to 1, n being in the low bits of `shifted`.
template <class V>
OZK_SIMD V scale(V s, V shifted) {
    return as_f32(bits(s) + simd::shift_left<23>(bits(shifted)));
}

// N, in the low bits of `shifted`, and z - N.
template <class V>
struct Reduced {
    V shifted, r;
};

struct ExpLow : SingleMagnitudeBound<BaseE::kBoundBits> {
    static constexpr int kWide = 2;
    static constexpr float kInvLn2 = 0x1.715476p+0f;
    static constexpr float kLn2High = 0x1.62e4p-1f;  // 17 bits: k kLn2High is exact
    static constexpr float kLn2Low = 0x1.7f7d1cp-20f;

    template <class V>
    OZK_SIMD static Reduced<V> prepare(V x) {
        const V shifted = x * broadcast(kInvLn2) + broadcast(kSingleShifter);
        const V k = shifted - broadcast(kSingleShifter);
        return {shifted, (x - k * broadcast(kLn2High)) - k * broadcast(kLn2Low)};
    }
    template <class V>
    OZK_SIMD static V finish(const Reduced<V>& x) {
        const V r = x.r, r2 = r * r;
        const V low = broadcast(kLowC2) + r * broadcast(kLowC3);
        const V high = broadcast(kLowC4) + r * broadcast(kLowC5);
        return scale(broadcast(1.0f) + (r + r2 * (low + r2 * high)), x.shifted);
    }
    static int scalar(float x, float& result) { return Power<BaseE>::scalar(x, result); }
};

struct ExpFast : SingleMagnitudeBound<BaseE::kBoundBits> {
    static constexpr int kWide = 2;

    template <class V>
    OZK_SIMD static Reduced<V> prepare(V x) {
        const V z = x * broadcast(ExpLow::kInvLn2);
        const V shifted = z + broadcast(kSingleShifter);
        return {shifted, z - (shifted - broadcast(kSingleShifter))};
    }
    template <class V>
    OZK_SIMD static V finish(const Reduced<V>& x) {
        const V high = broadcast(kFastC2) + x.r * broadcast(kFastC3);
        return scale((broadcast(1.0f) + x.r * broadcast(kFastC1)) + (x.r * x.r) * high, x.shifted);
    }
    static int scalar(float x, float& result) { return Power<BaseE>::scalar(x, result); }
};

}  // namespace
}  // namespace ozk::vml

OZK_VML_KERNEL(s, Exp, H8LAynn, unary, ozk::vml::ExpLow)
OZK_VML_KERNEL(s, Exp, EXHAynn, unary, ozk::vml::Power<ozk::vml::BaseE>)
OZK_VML_KERNEL(s, Exp, H8EPnnn, unary, ozk::vml::ExpFast)
OZK_VML_KERNEL(s, Exp2, EXHAynn, unary, ozk::vml::Power<ozk::vml::Base2>)
OZK_VML_KERNEL(s, Exp10, EXHAynn, unary, ozk::vml::Power<ozk::vml::Base10>)
OZK_VML_KERNEL(s, Expm1, EXHAynn, unary, ozk::vml::Power<ozk::vml::Minus1>)
