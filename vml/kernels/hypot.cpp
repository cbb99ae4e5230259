// hypot(x, y) = sqrt(x^2 + y^2).
//
// Method of HA: the root of x^2 + y^2 rounded once. Both sides are cut to multiples of one unit, 2^-25 (single 2^-10)
// of the larger side's power of two: as the sum with a number whose last bit that is. The squares of the cut sides,
// and even their sum, are exact, and what they lack, a_low (a + a_high), is rounded far below the sum's last place.
// Dekker, "A floating-point technique for extending the available precision", Numer. Math. 18 (1971), cuts alike.
//
// Error bounds, in ulp of the result: the sum's half an ulp comes to at most 0.354, the root adds half an ulp: HA 0.86.
// LA and EP are the root of the rounded squares' sum, 1.25 ulp.
//
// Special lanes: the larger magnitude is outside the range in which no square overflows and none of the parts
// that matter underflows. There the scalar path computes on both arguments times a power of two. A smaller
// magnitude below 2^-460 (single 2^-54) is raised to that, which does not show in the result.
//
// An infinite result of finite arguments is an overflow. hypot(infinity, NaN) is infinite.

#include "vml/kernels/real.hpp"

namespace ozk::vml {
namespace {

template <class T>
struct HypotConstants;
template <>
struct HypotConstants<double> {
    static constexpr double kLeast = 0x1p-400, kBeyond = 0x1p511, kNegligible = 0x1p-460;
    static constexpr double kToCut = 0x1p27;  // times the larger side: what both sides are cut by
};
template <>
struct HypotConstants<float> {
    static constexpr float kLeast = 0x1p-36F, kBeyond = 0x1p63F, kNegligible = 0x1p-54F;
    static constexpr float kToCut = 0x1p13F;
};

template <class T>
struct Hypot : RealOperation<T, 2> {
    using typename RealOperation<T, 2>::Vector;
    using Constants = HypotConstants<T>;
    using Checked = std::conditional_t<sizeof(T) == 8, simd::f64x4, Vector>;
    static constexpr T kOrdinary = 1;

    // By the bits of the larger magnitude: its high word in double precision.
    OZK_SIMD static simd::i32x4 outside(simd::i32x4 x, simd::i32x4 y) {
        constexpr int kShift = sizeof(T) == 8 ? 32 : 0;
        constexpr auto kLeast =
            static_cast<int32_t>(std::bit_cast<typename Hypot::Bits>(Constants::kLeast) >> kShift);
        constexpr auto kBeyond =
            static_cast<int32_t>(std::bit_cast<typename Hypot::Bits>(Constants::kBeyond) >> kShift);
        const auto magnitude = simd::broadcast(int32_t{0x7FFFFFFF});
        return vml::outside<kLeast, kBeyond>(simd::max(x & magnitude, y & magnitude));
    }
    OZK_SIMD static Vector special(Vector x, Vector y) {
        if constexpr (sizeof(T) == 8)
            return simd::mask_of_high_words(outside(as_i32(bits(x)), as_i32(bits(y))));
        else
            return as_f32(outside(bits(x), bits(y)));
    }
    OZK_SIMD static simd::i32x4 special(const simd::f64x4& x, const simd::f64x4& y) {
        return outside(simd::high_words(x), simd::high_words(y));
    }

    template <class V>
    struct Sides {
        V larger, smaller;
    };
    template <class V>
    OZK_SIMD static Sides<V> sides(V x, V y) {
        const V a = abs(x), b = abs(y), larger = max(a, b);
        return {larger, max(min(a, b), Hypot::splat(Constants::kNegligible))};
    }
};

template <class T>
int hypot_scalar(T x, T y, T& result);

template <class T>
struct HypotHigh : Hypot<T> {
    using typename Hypot<T>::Vector;

    static constexpr int kWide = 2;

    // a^2 = square + rest
    template <class V>
    struct Cut {
        V square, rest;
    };
    template <class V>
    OZK_SIMD static Cut<V> cut(const V& a, const V& by) {
        const V high = (a + by) - by;
        return {high * high, (a - high) * (a + high)};
    }
    template <class V>
    OZK_SIMD static V compute(V x, V y) {
        const auto [a, b] = Hypot<T>::sides(x, y);
        const V by = a * Hypot<T>::splat(Hypot<T>::Constants::kToCut);
        const auto aa = cut(a, by), bb = cut(b, by);
        return sqrt((aa.square + bb.square) + (aa.rest + bb.rest));
    }
    static int scalar(T x, T y, T& result) { return hypot_scalar(x, y, result); }
};

template <class T>
struct HypotLow : Hypot<T> {
    using typename Hypot<T>::Vector;
    OZK_SIMD static Vector compute(Vector x, Vector y) {
        const auto [a, b] = Hypot<T>::sides(x, y);
        return sqrt(a * a + b * b);
    }
    static int scalar(T x, T y, T& result) { return hypot_scalar(x, y, result); }
};

// Finite arguments. Squares of singles neither overflow nor underflow as doubles.
float hypot_out_of_range(float x, float y) {
    const double a = x, b = y;
    return static_cast<float>(std::sqrt(a * a + b * b));
}
double hypot_out_of_range(double x, double y) {
    const bool large = std::max(std::abs(x), std::abs(y)) >= HypotConstants<double>::kBeyond;
    const double scale = large ? 0x1p-600 : 0x1p700, back = large ? 0x1p600 : 0x1p-700;
    if (x == 0 && y == 0) return 0;
    return simd::low(HypotHigh<double>::compute(simd::broadcast(x * scale), simd::broadcast(y * scale))) *
           back;
}

template <class T>
[[gnu::cold]] int hypot_scalar(T x, T y, T& result) {
    if (std::isinf(x) || std::isinf(y)) {
        result = std::numeric_limits<T>::infinity();
        return kVmlOk;
    }
    if (std::isnan(x) || std::isnan(y)) {
        result = propagated(x, y);
        return kVmlOk;
    }
    result = hypot_out_of_range(x, y);
    return std::isinf(result) ? kVmlOverflow : kVmlOk;
}

}  // namespace
}  // namespace ozk::vml

using namespace ozk::vml;

OZK_VML_KERNEL(s, Hypot, EXLAynn, binary, HypotLow<float>)
OZK_VML_KERNEL(s, Hypot, EXHAynn, binary, HypotHigh<float>)
OZK_VML_KERNEL(s, Hypot, EXEPnnn, binary, HypotLow<float>)
OZK_VML_KERNEL(d, Hypot, H8LAynn, binary, HypotLow<double>)
OZK_VML_KERNEL(d, Hypot, EXHAynn, binary, HypotHigh<double>)
OZK_VML_KERNEL(d, Hypot, EXEPnnn, binary, HypotLow<double>)
