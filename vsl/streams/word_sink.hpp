// Where the 32-bit words of a generator go, four at a time or singly: as they are, or as numbers on [a, b).
// Both ways give an element the same bits.
#pragma once

#include "simd/vector.hpp"

namespace ozk::vsl {

inline constexpr double kWordUnit = 0x1p-32;

struct WordSink {
    uint32_t* r;

    OZK_SIMD void put(int32_t i, uint32_t word) const { r[i] = word; }
    OZK_SIMD void put(int32_t i, simd::i32x4 words) const {
        simd::store(reinterpret_cast<int32_t*>(r + i), words);
    }
    OZK_SIMD void advance(int32_t count) { r += count; }
};

// word * scale + a in double, rounded to Real. A word becomes a double exactly as the low half of 2^52 + word.
template <class Real>
struct UniformSink {
    Real* r;
    double scale, a;

    OZK_SIMD void put(int32_t i, uint32_t word) const {
        r[i] = static_cast<Real>(static_cast<double>(word) * scale + a);
    }
    OZK_SIMD void put(int32_t i, simd::i32x4 words) const {
        constexpr double kTwo52 = 0x1p52;
        const simd::i32x4 upper_half = simd::as_i32(simd::bits(simd::broadcast(kTwo52)));
        const simd::i32x4 high = simd::odd_lanes(upper_half, upper_half);
        const auto number = [&](simd::i32x4 halves) OZK_SIMD_LAMBDA {
            const simd::f64x2 exact = simd::as_f64(simd::as_i64(halves)) - simd::broadcast(kTwo52);
            return exact * simd::broadcast(scale) + simd::broadcast(a);
        };
        const simd::f64x2 first = number(simd::interleave_low(words, high));
        const simd::f64x2 second = number(simd::interleave_high(words, high));
        if constexpr (sizeof(Real) == sizeof(double)) {
            simd::store(r + i, first);
            simd::store(r + i + 2, second);
        } else {
            simd::store(r + i, simd::to_f32(first, second));
        }
    }
    OZK_SIMD void advance(int32_t count) { r += count; }
};

}  // namespace ozk::vsl
