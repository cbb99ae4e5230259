// What generators that make 32-bit words four at a time do with them: an output is called as output(words, r)
// and writes four results, the words themselves or numbers on [a, b).
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "simd/vector.hpp"
#include "vsl/streams/stream.hpp"

namespace ozk::vsl {

inline constexpr double kWordUnit = 0x1p-32;

struct WordOutput {
    void operator()(simd::i32x4 words, uint32_t* r) const {
        simd::store(reinterpret_cast<int32_t*>(r), words);
    }
};

// w ((b - a) 2^-32) + a for unsigned w, in double arithmetic for both precisions.
class UnsignedOutput {
  public:
    UnsignedOutput(double a, double b)
        : scale_(simd::broadcast((b - a) * kWordUnit)), a_(simd::broadcast(a)) {}
    void operator()(simd::i32x4 words, double* r) const {
        simd::store(r, number(simd::interleave_low(words, exponent())));
        simd::store(r + 2, number(simd::interleave_high(words, exponent())));
    }
    void operator()(simd::i32x4 words, float* r) const {
        simd::store(r, simd::to_f32(number(simd::interleave_low(words, exponent())),
                                    number(simd::interleave_high(words, exponent()))));
    }

  private:
    // A word below the high half of 2^52 is the double 2^52 + w.
    static simd::i32x4 exponent() { return simd::broadcast(int32_t{0x43300000}); }
    simd::f64x2 number(simd::i32x4 word_below_exponent) const {
        const simd::f64x2 w = simd::as_f64(simd::as_i64(word_below_exponent)) - simd::broadcast(0x1p52);
        return w * scale_ + a_;
    }
    simd::f64x2 scale_, a_;
};

// w s + m for signed w, with s = (b - a) 2^-32 and m = (a + b) / 2, in the precision of the results.
class SignedOutput {
  public:
    SignedOutput(double a, double b)
        : scale_(simd::broadcast((b - a) * kWordUnit)), middle_(simd::broadcast((a + b) / 2)) {}
    void operator()(simd::i32x4 words, double* r) const {
        simd::store(r, simd::low_to_f64(words) * scale_ + middle_);
        simd::store(r + 2, simd::high_to_f64(words) * scale_ + middle_);
    }

  private:
    simd::f64x2 scale_, middle_;
};
class SignedSingleOutput {
  public:
    SignedSingleOutput(float a, float b)
        : scale_(simd::broadcast((b - a) * static_cast<float>(kWordUnit))),
          middle_(simd::broadcast((a + b) / 2)) {}
    void operator()(simd::i32x4 words, float* r) const {
        simd::store(r, simd::to_f32(words) * scale_ + middle_);
    }

  private:
    simd::f32x4 scale_, middle_;
};

// n results from as many words.
template <class Result, class Output>
void convert(const uint32_t* words, uint32_t n, Result* r, const Output output) {
    constexpr uint32_t kLanes = simd::i32x4::kLanes;
    const auto four = [](const uint32_t* p) { return simd::load(reinterpret_cast<const int32_t*>(p)); };
    for (; n >= kLanes; n -= kLanes, words += kLanes, r += kLanes) output(four(words), r);
    if (n == 0) return;
    uint32_t last_words[kLanes] = {};
    Result last[kLanes];
    std::memcpy(last_words, words, n * sizeof *words);
    output(four(last_words), last);
    std::memcpy(r, last, n * sizeof *r);
}

}  // namespace ozk::vsl
