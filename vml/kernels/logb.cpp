// logb(x): the exponent k of |x| = 2^k m, 1 <= m < 2. Exact; every finite number has one, subnormal ones that of their
// leading bit.
//
// Special lanes: zero, subnormal, infinite, NaN.

#include <bit>
#include <cmath>
#include <limits>

#include "vml/frame.hpp"

namespace ozk::vml {
namespace {

// Zero is a pole; infinities and NaN are their own logarithm's limit.
template <class T>
[[gnu::cold]] int logb_scalar(T x, T& result) {
    if (x == 0) {
        result = -std::numeric_limits<T>::infinity();
        return kVmlSingularity;
    }
    result = std::isfinite(x) ? static_cast<T>(std::ilogb(x)) : x * x;
    return kVmlOk;
}

// A biased exponent less 1 is below kExponents - 1, unsigned, exactly for the normal numbers: the shift to the top
// and the offset make it a signed comparison.
struct LogbDouble {
    using Argument = double;
    using Result = double;
    using Vector = simd::f64x2;
    static constexpr double kOrdinary = 1.0;

    OZK_SIMD static simd::i32x4 outside(simd::i32x4 high_words) {
        constexpr int32_t kOffset = 0x7FE00000,
                          kLastNormal = 0x7FBFFFFF;  // less 2^21, plus 2^31; of doubled words
        return simd::shift_left<1>(high_words) + simd::broadcast(kOffset) > simd::broadcast(kLastNormal);
    }
    OZK_SIMD static simd::f64x2 special(simd::f64x2 x) {
        return simd::mask_of_high_words(outside(as_i32(bits(x))));
    }
    OZK_SIMD static simd::i32x4 special(const simd::f64x4& x) { return outside(simd::high_words(x)); }

    OZK_SIMD static simd::f64x2 compute(simd::f64x2 x) {
        constexpr int64_t kMagic = 0x4330000000000000;  // 2^52: its low bits are an integer
        constexpr double kMagicBias = 0x1p52 + 1023;
        const auto exponent = simd::shift_right<53>(simd::shift_left<1>(bits(x)));
        return as_f64(exponent | simd::broadcast(kMagic)) - simd::broadcast(kMagicBias);
    }
    static int scalar(double x, double& result) { return logb_scalar(x, result); }
};

struct LogbSingle {
    using Argument = float;
    using Result = float;
    using Vector = simd::f32x4;
    static constexpr float kOrdinary = 1.0f;

    OZK_SIMD static simd::f32x4 special(simd::f32x4 x) {
        constexpr int32_t kOffset = 0x7F000000,
                          kLastNormal = 0x7DFFFFFF;  // less 2^24, plus 2^31; of doubled words
        return as_f32(simd::shift_left<1>(bits(x)) + simd::broadcast(kOffset) > simd::broadcast(kLastNormal));
    }
    OZK_SIMD static simd::f32x4 compute(simd::f32x4 x) {
        constexpr int32_t kBias = 127;
        return to_f32(simd::shift_right<24>(simd::shift_left<1>(bits(x))) - simd::broadcast(kBias));
    }
    static int scalar(float x, float& result) { return logb_scalar(x, result); }
};

}  // namespace
}  // namespace ozk::vml

OZK_VML_KERNEL(d, Logb, EXHAynn, unary, ozk::vml::LogbDouble)
OZK_VML_KERNEL(s, Logb, EXHAynn, unary, ozk::vml::LogbSingle)
