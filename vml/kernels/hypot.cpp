// hypot(x, y) = sqrt(x^2 + y^2).
//
// Method: h = sqrt(x^2 + y^2) as it comes, then one correction by (x^2 + y^2 - h^2) / (2 h). Each square is split:
// with a = a_high + a_low, a_high of half the bits, a_high^2 is exact and a_low (a + a_high) rounded far below
// the result's last place. x^2 - h^2 cancels first: both lie within a factor of two. Borges, "An improved algorithm
// for hypot(a,b)", arXiv:1904.09481 (2019), corrects the same residual.
//
// Error bounds, in ulp of the result: h before the correction 1.25; the correction is known to 5.1 %, the
// error of 1/(2h) from the bits of h, so that HA is at most 0.5 + 0.064. LA and EP are h as it comes, 1.25 ulp.
//
// Special lanes: the larger magnitude is outside the range in which no square overflows and none of the parts
// that matter underflows. There the scalar path computes on both arguments times a power of two. A smaller
// magnitude far below the larger one is raised to 2^-60 of it (single 2^-18), which does not show in the result.
//
// An infinite result of finite arguments is an overflow. hypot(infinity, NaN) is infinite.

#include "vml/kernels/real.hpp"

namespace ozk::vml {
namespace {

template <class T>
struct HypotConstants;
template <>
struct HypotConstants<double> {
    static constexpr double kLeast = 0x1p-400, kBeyond = 0x1p511, kNegligible = 0x1p-60;
    static constexpr int64_t kHighPart = int64_t{-1} << 27;
    static constexpr int64_t kInverseOfTwice = 0x7fce621900000000;  // less the bits of h: 1 / (2 h), to 5.1 %
};
template <>
struct HypotConstants<float> {
    static constexpr float kLeast = 0x1p-36F, kBeyond = 0x1p63F, kNegligible = 0x1p-18F;
    static constexpr int32_t kHighPart = -1 << 12;
    static constexpr int32_t kInverseOfTwice = 0x7e7310cb;
};

template <class T>
struct Hypot : RealOperation<T, 2> {
    using typename RealOperation<T, 2>::Vector;
    using Constants = HypotConstants<T>;
    static constexpr T kOrdinary = 1;

    // By the bits of the larger magnitude: its high word in double precision.
    OZK_SIMD static Vector special(Vector x, Vector y) {
        constexpr int kShift = sizeof(T) == 8 ? 32 : 0;
        constexpr auto kLeast =
            static_cast<int32_t>(std::bit_cast<typename Hypot::Bits>(Constants::kLeast) >> kShift);
        constexpr auto kBeyond =
            static_cast<int32_t>(std::bit_cast<typename Hypot::Bits>(Constants::kBeyond) >> kShift);
        const auto out = outside<kLeast, kBeyond>(simd::max(words(abs(x)), words(abs(y))));
        return vector(out);
    }

    template <class V>
    struct Sides {
        V larger, smaller;
    };
    template <class V>
    OZK_SIMD static Sides<V> sides(V x, V y) {
        const V a = abs(x), b = abs(y), larger = max(a, b);
        return {larger, max(min(a, b), larger * Hypot::splat(Constants::kNegligible))};
    }

  private:
    OZK_SIMD static simd::i32x4 words(simd::f64x2 x) { return as_i32(bits(x)); }
    OZK_SIMD static simd::i32x4 words(simd::f32x4 x) { return bits(x); }
    OZK_SIMD static Vector vector(simd::i32x4 mask) {
        if constexpr (sizeof(T) == 8)
            return simd::mask_of_high_words(mask);
        else
            return as_f32(mask);
    }
};

template <class T>
int hypot_scalar(T x, T y, T& result);

template <class T>
struct HypotHigh : Hypot<T> {
    using typename Hypot<T>::Vector;

    static constexpr int kWide = 2;

    // a^2 = high + rest
    template <class V>
    struct Square {
        V high, rest;
    };
    template <class V>
    OZK_SIMD static Square<V> square(V a) {
        const V high = a & Hypot<T>::splat_bits(Hypot<T>::Constants::kHighPart);
        return {high * high, (a - high) * (a + high)};
    }
    template <class V>
    struct Uncorrected {
        V h, larger_square, smaller_square, rest;
    };
    template <class V>
    OZK_SIMD static Uncorrected<V> prepare(V x, V y) {
        const auto [a, b] = Hypot<T>::sides(x, y);
        const auto aa = square(a), bb = square(b);
        return {sqrt(a * a + b * b), aa.high, bb.high, aa.rest + bb.rest};
    }
    template <class V>
    OZK_SIMD static V finish(const Uncorrected<V>& u) {
        const auto hh = square(u.h);
        const V residual = ((u.larger_square - hh.high) + u.smaller_square) + (u.rest - hh.rest);
        const auto inverse_of_twice = simd::broadcast(Hypot<T>::Constants::kInverseOfTwice) - bits(u.h);
        if constexpr (sizeof(T) == 8)
            return u.h + residual * as_f64(inverse_of_twice);
        else
            return u.h + residual * as_f32(inverse_of_twice);
    }
    template <class V>
    OZK_SIMD static V compute(V x, V y) {
        return finish(prepare(x, y));
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
