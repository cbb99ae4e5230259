// Special lanes of complex operations whose block path is good for components of a range of magnitudes.
#pragma once

#include "simd/complex.hpp"

namespace ozk::vml {

template <class T>
struct ComplexTypes;
template <>
struct ComplexTypes<double> {
    using Element = OzkComplex16;
    using Vector = simd::c64x2;
    using Interleaved = simd::interleaved<simd::f64x2>;
    using Checked = simd::interleaved<simd::f64x4>;
};
template <>
struct ComplexTypes<float> {
    using Element = OzkComplex8;
    using Vector = simd::c32x4;
    using Interleaved = simd::interleaved<simd::f32x4>;
    using Checked = simd::interleaved<simd::f32x4>;
};

inline constexpr int kAnyLow = -10000;
inline constexpr int kFinite = 10000;

// An operation on elements of T parts derives from this. Ordinary components are zeros and magnitudes from 2^kLow up to
// below 2^kHigh; kAnyLow: all small ones; kFinite: all large ones. Magnitudes are compared as words, a double's being
// its high word with a last bit that tells whether the low one is 0: a subnormal is no zero.
template <class T, int kLow, int kHigh>
struct ComponentRange {
    using Argument = typename ComplexTypes<T>::Element;
    using Vector = typename ComplexTypes<T>::Vector;
    using Checked = typename ComplexTypes<T>::Checked;
    static constexpr Argument kOrdinary{1, 0};

    static constexpr int32_t word_of_power(int exponent) {
        if (sizeof(T) == 4) return exponent == kFinite ? 0x7F800000 : (127 + exponent) << 23;
        return exponent == kFinite ? 0x7FF00000 : (1023 + exponent) << 20;
    }
    static constexpr int32_t kHighWord = word_of_power(kHigh);

    OZK_SIMD static simd::i32x4 words(const simd::f64x4& x) {
        const auto high = simd::high_words(x) & simd::broadcast(int32_t{0x7FFFFFFF});
        if constexpr (kLow == kAnyLow) return high;
        return high | min_unsigned(simd::low_words(x), simd::broadcast(int32_t{1}));
    }
    OZK_SIMD static simd::i32x4 words(simd::f32x4 x) {
        return bits(x) & simd::broadcast(int32_t{0x7FFFFFFF});
    }
    OZK_SIMD static simd::i32x4 outside(simd::i32x4 word) {
        const auto large = word > simd::broadcast(kHighWord - 1);
        if constexpr (kLow == kAnyLow) {
            return large;
        } else {
            const auto small = simd::broadcast(word_of_power(kLow)) > word;
            return large | (small & (word > simd::broadcast(int32_t{0})));
        }
    }

    OZK_SIMD static simd::i32x4 special(const Checked& x) { return outside(words(x.v)); }
    OZK_SIMD static simd::f64x2 special(const simd::c64x2& x) {
        return of_lanes(outside(words(simd::f64x4{{x.re, x.im}})));
    }
    OZK_SIMD static simd::f32x4 special(const simd::c32x4& x) {
        return as_f32(outside(words(x.re)) | outside(words(x.im)));
    }
    OZK_SIMD static simd::i32x4 special(const Checked& x, const Checked& y) {
        if constexpr (kLow == kAnyLow) return outside(max(words(x.v), words(y.v)));
        return special(x) | special(y);
    }
    OZK_SIMD static auto special(const Vector& x, const Vector& y) { return special(x) | special(y); }

  protected:
    // Words re0 re1 im0 im1 of a mask as one over two elements.
    OZK_SIMD static simd::f64x2 of_lanes(simd::i32x4 mask) {
        return as_f64(low_to_i64(mask | swap_halves(mask)));
    }
};

// The same with a divisor y, whose larger component is not below 2^kLeast either.
template <class T, int kLow, int kHigh, int kLeast>
struct DivisorRange : ComponentRange<T, kLow, kHigh> {
    using Base = ComponentRange<T, kLow, kHigh>;
    using Base::special;
    using typename Base::Checked;

    OZK_SIMD static simd::i32x4 too_small(simd::i32x4 a, simd::i32x4 b) {
        return simd::broadcast(Base::word_of_power(kLeast)) > max(a, b);
    }
    OZK_SIMD static simd::i32x4 special(const Checked& x, const Checked& y) {
        const auto word = Base::words(y.v);
        return Base::special(x, y) | too_small(word, swap_neighbours(word));
    }
    OZK_SIMD static simd::f64x2 special(const simd::c64x2& x, const simd::c64x2& y) {
        const auto word = Base::words(simd::f64x4{{y.re, y.im}});
        return Base::special(x, y) | Base::of_lanes(too_small(word, swap_halves(word)));
    }
    OZK_SIMD static simd::f32x4 special(const simd::c32x4& x, const simd::c32x4& y) {
        return Base::special(x, y) | as_f32(too_small(Base::words(y.re), Base::words(y.im)));
    }
};

OZK_SIMD simd::complex<simd::f64x4> widen(const simd::c32x4& z) {
    return {simd::widen(z.re), simd::widen(z.im)};
}
OZK_SIMD simd::c32x4 narrow(const simd::complex<simd::f64x4>& z) {
    return {simd::narrow(z.re), simd::narrow(z.im)};
}

// The scalar path of a single-precision operation by that of the double one, whose range and precision make the second
// rounding the only one that shows.
inline OzkComplex16 widen(OzkComplex8 z) { return {z.re, z.im}; }
inline OzkComplex8 narrow(OzkComplex16 z) { return {static_cast<float>(z.re), static_cast<float>(z.im)}; }

}  // namespace ozk::vml
