// What operations on real elements share, single and double.
#pragma once

#include <bit>
#include <cmath>
#include <limits>
#include <type_traits>

#include "vml/frame.hpp"

namespace ozk::vml {

// The layout of a format, and its bits as signed integers, in scalars and in vectors.
template <class T>
struct Format;
template <>
struct Format<double> {
    using Bits = int64_t;
    static constexpr int kMantissaBits = 52;
    static constexpr Bits kInfinity = 0x7FF0000000000000, kQuiet = 0x0008000000000000;
    OZK_SIMD static simd::f64x2 as_vector(simd::i64x2 x) { return simd::as_f64(x); }
};
template <>
struct Format<float> {
    using Bits = int32_t;
    static constexpr int kMantissaBits = 23;
    static constexpr Bits kInfinity = 0x7F800000, kQuiet = 0x00400000;
    OZK_SIMD static simd::f32x4 as_vector(simd::i32x4 x) { return simd::as_f32(x); }
};

// An operation derives from this.
template <class T, int kCount = 1>
struct RealOperation {
    using Argument = T;
    using Result = T;
    using Vector = simd::vec<T>;
    using Bits = typename Format<T>::Bits;
    static constexpr int kArguments = kCount;
    static constexpr T kInfinity = std::numeric_limits<T>::infinity();
    static constexpr T kNaN = std::numeric_limits<T>::quiet_NaN();

    OZK_SIMD static Vector splat(T x) { return simd::broadcast(x); }
    OZK_SIMD static Vector splat_bits(Bits x) { return splat(std::bit_cast<T>(x)); }
};

// An operation that is a function of vectors, without special lanes.
template <class T, class Function, int kCount = 1>
struct Everywhere : RealOperation<T, kCount> {
    OZK_SIMD static auto compute(auto... x) { return Function::of(x...); }
};

// Where integers, such as the bits or the high words of magnitudes, are below kLeast or from kBeyond on: moved so
// that kLeast is the lowest integer, one signed comparison sees both ends.
template <int32_t kLeast, int32_t kBeyond>
OZK_SIMD simd::i32x4 outside(simd::i32x4 x) {
    constexpr auto kToLowest = static_cast<int32_t>(int64_t{INT32_MIN} - kLeast);
    return above(x + simd::broadcast(kToLowest), simd::broadcast(INT32_MIN + (kBeyond - kLeast) - 1));
}

// The value with denormals flushed where the mode says so, and NaN made quiet: a product with 1.
OZK_SIMD simd::f64x2 canonical(simd::f64x2 x) { return x * simd::hidden(simd::broadcast(1.0)); }
OZK_SIMD simd::f32x4 canonical(simd::f32x4 x) { return x * simd::hidden(simd::broadcast(1.0F)); }

inline float canonical(float x) { return simd::low(canonical(simd::broadcast(x))); }
inline double canonical(double x) { return simd::low(canonical(simd::broadcast(x))); }

template <class T>
T quiet(T nan) {
    using Bits = typename Format<T>::Bits;
    return std::bit_cast<T>(std::bit_cast<Bits>(nan) | Format<T>::kQuiet);
}
// The bits of the first NaN, made quiet.
template <class T>
T propagated(T x, T y) {
    return quiet(std::isnan(x) ? x : y);
}

}  // namespace ozk::vml
