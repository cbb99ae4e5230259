// hypot(x, y) = sqrt(x^2 + y^2).
//
// Method of HA: the root of x^2 + y^2 rounded once. Both sides are cut to multiples of one unit, 2^-25 (single 2^-10)
// of the larger side's power of two: as the sum with a number whose last bit that is. The squares of the cut sides,
// and even their sum, are exact, and what they lack, a_low (a + a_high), is rounded far below the sum's last place.
// Dekker, "A floating-point technique for extending the available precision", Numer. Math. 18 (1971), cuts alike.
//
// Error bounds, in ulp of the result: the sum's half an ulp comes to at most 0.354, the root adds half an ulp: HA 0.86.
// LA and EP are the root of the rounded squares' sum, 1.25 ulp. A result that is subnormal is rounded once more.
//
// Special lanes: the larger magnitude is outside the range in which no square overflows and none of the parts
// that matter underflows. There the scalar path computes on both arguments times a power of two. A smaller
// magnitude below 2^-460 (single 2^-54) is raised to that, which does not show in the result.
//
// Long calls watch the flags instead: a square that overflows or loses bits to underflow raises one, and so does a
// comparison with NaN, which infinity must hide. Where none is raised every step has scaled exactly, so that the bits
// are those of the other ways.
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
    // What brings magnitudes out of range into it, and what doesn't show beside large ones.
    static constexpr double kRaise = 0x1p700, kLower = 0x1p-600, kUnseen = 0x1p150;
};
template <>
struct HypotConstants<float> {
    static constexpr float kLeast = 0x1p-36F, kBeyond = 0x1p63F, kNegligible = 0x1p-54F;
    static constexpr float kToCut = 0x1p13F;
    static constexpr float kRaise = 0x1p96F, kLower = 0x1p-66F, kUnseen = 0x1p15F;
};

template <class Level, class T>
int hypot_scalar(T x, T y, T& result);

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

    // The smaller magnitude, raised to what is negligible.
    OZK_SIMD static auto raised(auto a) { return max(a, Hypot::splat(Constants::kNegligible)); }
    static constexpr uint32_t kWatchedFlags = kInvalid | kOverflow | kUnderflow;
};

// a^2 = square + rest
template <class V>
struct Cut {
    V square, rest;
};
template <class V>
OZK_SIMD Cut<V> cut(const V& a, const V& by) {
    const V high = (a + by) - by;
    return {high * high, (a - high) * (a + high)};
}

template <class T>
struct HypotHigh : Hypot<T> {
    static constexpr int kWide = 2;
    struct Watched : RealOperation<T, 2> {
        static constexpr int kWide = 2;
        OZK_SIMD static auto compute(auto x, auto y) { return root(x, y, max(abs(x), abs(y))); }
    };
    OZK_SIMD static auto compute(auto x, auto y) {
        const auto a = abs(x), b = abs(y), larger = max(a, b);
        return root(larger, Hypot<T>::raised(min(a, b)), larger);
    }
    OZK_SIMD static auto root(auto x, auto y, auto larger) {
        const auto by = larger * Hypot<T>::splat(HypotConstants<T>::kToCut);
        const auto xx = cut(x, by), yy = cut(y, by);
        return sqrt((xx.square + yy.square) + (xx.rest + yy.rest));
    }
    static int scalar(T x, T y, T& result) { return hypot_scalar<HypotHigh>(x, y, result); }
};

template <class T>
struct HypotLow : Hypot<T> {
    struct Watched : RealOperation<T, 2> {
        OZK_SIMD static auto compute(auto x, auto y) {
            return sqrt(max(x * x + y * y, HypotLow::splat(0)));  // compared for the flag that NaN raises
        }
    };
    OZK_SIMD static auto compute(auto x, auto y) {
        const auto a = abs(x), b = abs(y), larger = max(a, b), smaller = Hypot<T>::raised(min(a, b));
        return sqrt(larger * larger + smaller * smaller);
    }
    static int scalar(T x, T y, T& result) { return hypot_scalar<HypotLow>(x, y, result); }
};

template <class Level, class T>
[[gnu::cold]] int hypot_scalar(T x, T y, T& result) {
    using Constants = HypotConstants<T>;
    if (std::isinf(x) || std::isinf(y)) {
        result = std::numeric_limits<T>::infinity();
        return kVmlOk;
    }
    if (std::isnan(x) || std::isnan(y)) {
        result = propagated(x, y);
        return kVmlOk;
    }
    const bool large = std::max(std::abs(x), std::abs(y)) >= Constants::kBeyond;
    const T scale = large ? Constants::kLower : Constants::kRaise;
    const auto scaled = [large, scale](T side) {
        return simd::broadcast(large && std::abs(side) < Constants::kUnseen ? T(0) : side * scale);
    };
    result = simd::low(Level::Watched::compute(scaled(x), scaled(y))) * (1 / scale);
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
