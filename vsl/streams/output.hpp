// What becomes of a generator's words: they are given out as they are, or as numbers on [a, b). An output is a small
// value that generators are instantiated with:
//   output(word)          the result of one word;
//   output.put(r, words)  those of four 32-bit words, the same bits.
#pragma once

#include <cstdint>

#include "simd/vector.hpp"

namespace ozk::vsl {

inline constexpr double kWordUnit = 0x1p-32;

struct Words {
    template <class Word>
    OZK_SIMD Word operator()(const Word& word) const {
        return word;
    }
    OZK_SIMD void put(uint32_t* r, simd::i32x4 words) const {
        simd::store(reinterpret_cast<int32_t*>(r), words);
    }
};

OZK_SIMD void store_four(double* r, simd::f64x2 low, simd::f64x2 high) {
    simd::store(r, low);
    simd::store(r + 2, high);
}
OZK_SIMD void store_four(float* r, simd::f64x2 low, simd::f64x2 high) {
    simd::store(r, simd::to_f32(low, high));
}

// number * scale + a of unsigned words, computed in double for both precisions. Generators whose words are no integers
// hand over the numbers.
template <class Real>
struct Uniform {
    double scale, a;

    OZK_SIMD Real operator()(uint32_t word) const { return place(static_cast<double>(word)); }
    // Of words below 2^63, rounded to 53 bits.
    OZK_SIMD Real operator()(uint64_t word) const {
        return place(static_cast<double>(static_cast<int64_t>(word)));
    }
    OZK_SIMD Real place(double number) const { return static_cast<Real>(number * scale + a); }

    OZK_SIMD void put(Real* r, simd::i32x4 words) const {
        put(r, simd::low_unsigned_to_f64(words), simd::high_unsigned_to_f64(words));
    }
    OZK_SIMD void put(Real* r, simd::f64x2 low, simd::f64x2 high) const {
        store_four(r, place(low), place(high));
    }

  private:
    OZK_SIMD simd::f64x2 place(simd::f64x2 numbers) const {
        return numbers * simd::broadcast(scale) + simd::broadcast(a);
    }
};

// What Uniform gives on [0, 1) for 32-bit words, to the bit: a word becomes the low half of 2^20 + word 2^-32, and one
// exact subtraction is all the arithmetic.
template <class Real>
struct UnitUniform {
    OZK_SIMD Real operator()(uint32_t word) const { return static_cast<Real>(word * kWordUnit); }
    OZK_SIMD void put(Real* r, simd::i32x4 words) const {
        const simd::i32x4 high = simd::broadcast(int32_t{0x41300000});
        store_four(r, number(simd::interleave_low(words, high)), number(simd::interleave_high(words, high)));
    }

  private:
    OZK_SIMD static simd::f64x2 number(simd::i32x4 halves) {
        return simd::as_f64(simd::as_i64(halves)) - simd::broadcast(0x1p20);
    }
};

// word * scale + middle of signed 32-bit words, in the precision of the results.
template <class Real>
struct SignedUniform {
    Real scale, middle;

    SignedUniform(Real a, Real b) : scale((b - a) * static_cast<Real>(kWordUnit)), middle((a + b) / 2) {}

    OZK_SIMD Real operator()(uint32_t word) const {
        return static_cast<Real>(static_cast<int32_t>(word)) * scale + middle;
    }
    OZK_SIMD void put(double* r, simd::i32x4 words) const {
        simd::store(r, simd::low_to_f64(words) * simd::broadcast(scale) + simd::broadcast(middle));
        simd::store(r + 2, simd::high_to_f64(words) * simd::broadcast(scale) + simd::broadcast(middle));
    }
    OZK_SIMD void put(float* r, simd::i32x4 words) const {
        simd::store(r, simd::to_f32(words) * simd::broadcast(scale) + simd::broadcast(middle));
    }
};

// One result or four, for generators that meet both.
template <class Result, class Output>
OZK_SIMD void give(Result* r, uint32_t word, Output output) {
    *r = output(word);
}
template <class Result, class Output>
OZK_SIMD void give(Result* r, simd::i32x4 words, Output output) {
    output.put(r, words);
}

// n results from as many words; each(word or four words) is what is given out for them.
template <class Result, class Output, class Each>
OZK_SIMD void convert(const uint32_t* words, int32_t n, Result* r, Output output, Each each) {
    constexpr int32_t kLanes = simd::i32x4::kLanes;
    int32_t i = 0;
    for (; i + kLanes <= n; i += kLanes) {
        output.put(r + i, each(simd::load(reinterpret_cast<const int32_t*>(words + i))));
    }
    for (; i < n; ++i) r[i] = output(each(words[i]));
}
template <class Result, class Output>
void convert(const uint32_t* words, uint32_t n, Result* r, Output output) {
    convert(words, static_cast<int32_t>(n), r, output, [](auto same) OZK_SIMD_LAMBDA { return same; });
}

}  // namespace ozk::vsl
