// Polynomials over GF(2) for jumping ahead in linear recurrences: coefficient k is bit k % 32 of word k / 32.
#pragma once

#include <cstdint>

namespace ozk::vsl {

constexpr int32_t words_of_bits(int32_t bits) { return (bits + 31) / 32; }

// r ^= p t^shift, for a p of `words` words; r has one word more than the shift moves the last word of p to.
void add_shifted(uint32_t* r, const uint32_t* p, int32_t words, int32_t shift);

// r = p^2, of 2 * words words: the bits spread apart.
void square(uint32_t* r, const uint32_t* p, int32_t words);

// p = t p, of `words` words.
void multiply_by_t(uint32_t* p, int32_t words);

// r = t^count modulo a polynomial of this degree, of words_of_bits(degree) words. `reduce` reduces `wide`, of
// 2 * words_of_bits(degree) words, whose bits from the degree on it clears.
template <class Reduce>
void power_of_t(uint32_t* r, uint64_t count, int32_t degree, uint32_t* wide, Reduce reduce) {
    const int32_t words = words_of_bits(degree);
    int32_t bit = 64;
    uint64_t exponent = 0;  // of the power in hand
    while (bit > 0 && 2 * exponent + 1 < static_cast<uint64_t>(degree)) {
        exponent = 2 * exponent + (count >> --bit & 1);
    }
    for (int32_t i = 0; i < words; ++i) r[i] = 0;
    r[exponent / 32] = 1u << exponent % 32;
    while (bit > 0) {
        square(wide, r, words);
        if ((count >> --bit & 1) != 0) multiply_by_t(wide, 2 * words);
        reduce(wide);
        for (int32_t i = 0; i < words; ++i) r[i] = wide[i];
    }
}

}  // namespace ozk::vsl
