// Special lanes of operations whose block path is good for all magnitudes below a bound.
#pragma once

#include "vml/frame.hpp"

namespace ozk::vml {

// An operation on doubles derives from this. The bound is a double's high word, the low word being 0; a lane at or above
// it is special, which takes in infinities and NaN.
template <int32_t kBoundHighWord>
struct MagnitudeBound {
    using Argument = double;
    using Result = double;
    using Vector = simd::f64x2;
    static constexpr double kOrdinary = 0.0;

    using Checked = simd::wide<simd::f64x2, kBlock / simd::f64x2::kLanes>;

    template <class I>
    OZK_SIMD static I magnitude(const I& high_words) {
        return high_words & simd::broadcast(int32_t{0x7FFFFFFF});
    }
    OZK_SIMD static simd::i32x4 outside(simd::i32x4 magnitudes) {
        return magnitudes > simd::broadcast(kBoundHighWord - 1);
    }
    OZK_SIMD static simd::f64x2 special(simd::f64x2 x) {
        return simd::mask_of_high_words(outside(magnitude(as_i32(bits(x)))));
    }
    OZK_SIMD static simd::i32x4 special(const Checked& x) {
        return outside(simd::largest(magnitude(simd::all_high_words(x))));
    }
};

// An operation on singles derives from this. The bound is a single's bits; a lane at or above it is special.
template <int32_t kBoundBits>
struct SingleMagnitudeBound {
    using Argument = float;
    using Result = float;
    using Vector = simd::f32x4;
    static constexpr float kOrdinary = 0.0f;

    using Checked = simd::wide<simd::f32x4, kBlock / simd::f32x4::kLanes>;

    OZK_SIMD static simd::f32x4 outside(simd::i32x4 magnitudes) {
        return as_f32(magnitudes > simd::broadcast(kBoundBits - 1));
    }
    OZK_SIMD static simd::f32x4 special(simd::f32x4 x) { return outside(bits(abs(x))); }
    OZK_SIMD static simd::f32x4 special(const Checked& x) { return outside(simd::largest(bits(abs(x)))); }
};

}  // namespace ozk::vml
