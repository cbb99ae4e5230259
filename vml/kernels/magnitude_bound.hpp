// Special lanes of operations on doubles whose block path is good for all magnitudes below a bound.
#pragma once

#include "simd/wide.hpp"

namespace ozk::vml {

// An operation derives from this. The bound is a double's high word, the low word being 0; a lane at or above
// it is special, which takes in infinities and NaN.
template <int32_t kBoundHighWord>
struct MagnitudeBound {
    using Argument = double;
    using Result = double;
    using Vector = simd::f64x2;
    static constexpr double kOrdinary = 0.0;

    OZK_SIMD static simd::i32x4 outside(simd::i32x4 high_words) {
        return (high_words & simd::broadcast(int32_t{0x7FFFFFFF})) > simd::broadcast(kBoundHighWord - 1);
    }
    OZK_SIMD static simd::f64x2 special(simd::f64x2 x) {
        return simd::mask_of_high_words(outside(as_i32(bits(x))));
    }
    OZK_SIMD static simd::i32x4 special(const simd::f64x4& x) { return outside(simd::high_words(x)); }
};

}  // namespace ozk::vml
