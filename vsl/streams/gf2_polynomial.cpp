#include "vsl/streams/gf2_polynomial.hpp"

#include <algorithm>
#include <bit>
#include <cstring>

#include "ozk_vsl.h"
#include "simd/vector.hpp"

namespace ozk::vsl {
namespace {

uint64_t spread(uint32_t x) {
    uint64_t r = x;
    r = (r | r << 16) & 0x0000FFFF0000FFFF;
    r = (r | r << 8) & 0x00FF00FF00FF00FF;
    r = (r | r << 4) & 0x0F0F0F0F0F0F0F0F;
    r = (r | r << 2) & 0x3333333333333333;
    return (r | r << 1) & 0x5555555555555555;
}

uint64_t load64(const uint32_t* p) {
    uint64_t x;
    std::memcpy(&x, p, sizeof x);
    return x;
}

void add64(uint32_t* p, uint64_t x) {
    x ^= load64(p);
    std::memcpy(p, &x, sizeof x);
}

}  // namespace

void add_shifted(uint32_t* r, const uint32_t* p, int32_t words, int32_t shift) {
    for (int32_t i = 0; i < words; ++i) add64(r + shift / 32 + i, uint64_t{p[i]} << shift % 32);
}

void square(uint32_t* r, const uint32_t* p, int32_t words) {
    for (int32_t i = 0; i < words; ++i) {
        const uint64_t wide = spread(p[i]);
        std::memcpy(r + 2 * i, &wide, sizeof wide);
    }
}

void multiply_by_t(uint32_t* p, int32_t words) {
    for (int32_t i = words - 1; i > 0; --i) p[i] = p[i] << 1 | p[i - 1] >> 31;
    p[0] <<= 1;
}

}  // namespace ozk::vsl

extern "C" {

void __vslPolyRem(uint32_t* polynomial, int32_t words, int32_t degree, int32_t terms,
                  const int32_t* exponents) {
    // A word at t^(degree + k) goes to t^(exponent + k) for every term: below what is left to reduce, as no
    // exponent is within 32 of the degree.
    const auto reduce_piece = [&](uint32_t piece, int32_t k) {
        if (piece == 0) return;
        for (int32_t i = 0; i < terms; ++i) {
            const int32_t bit = k + exponents[i];
            ozk::vsl::add64(polynomial + bit / 32, uint64_t{piece} << bit % 32);
        }
    };
    // Where the gap below the leading term is wide, words of 64 bits go in groups: stores and the loads that soon
    // follow them at the same place then have the same width.
    constexpr int32_t kGroup = 8;
    int32_t end = words & ~1;  // of what is left
    const int32_t highest = *std::max_element(exponents, exponents + terms);
    if (degree - highest >= 64 * kGroup) {
        for (; end - 2 * kGroup >= (degree + 63) / 64 * 2; end -= 2 * kGroup) {
            uint32_t* const group = polynomial + end - 2 * kGroup;
            uint64_t piece[kGroup];
            std::memcpy(piece, group, sizeof piece);
            std::memset(group, 0, sizeof piece);
            for (int32_t i = 0; i < terms; ++i) {
                const int32_t bit = 32 * (end - 2 * kGroup) - degree + exponents[i];
                uint32_t* const to = polynomial + bit / 64 * 2;
                const int shift = bit % 64;
                uint64_t carry = 0;
                for (int32_t k = 0; k < kGroup; ++k) {
                    ozk::vsl::add64(to + 2 * k, piece[k] << shift | carry);
                    carry = piece[k] >> 1 >> (63 - shift);
                }
                ozk::vsl::add64(to + 2 * kGroup, carry);
            }
        }
    }
    const int32_t last = degree / 32;
    for (int32_t word = words - 1; word > last; --word) {
        const uint32_t piece = polynomial[word];
        polynomial[word] = 0;
        reduce_piece(piece, 32 * word - degree);
    }
    const uint32_t kept = (1u << degree % 32) - 1;
    const uint32_t piece = polynomial[last] >> degree % 32;
    polynomial[last] &= kept;
    reduce_piece(piece, 0);
}

void __vsl_SkipAheadSWin(uint32_t* state, int32_t words, const uint32_t* sequence, int32_t step,
                         const uint32_t* polynomial, int32_t degree) {
    using ozk::simd::i32x4;
    const auto load = [](const uint32_t* p) { return ozk::simd::load(reinterpret_cast<const int32_t*>(p)); };
    // A block of the state stays in registers while the window slides over the sequence.
    constexpr int32_t kVectors = 12, kBlock = kVectors * i32x4::kLanes;
    const auto for_terms = [&](auto add) {
        for (int32_t i = 0; i < ozk::vsl::words_of_bits(degree); ++i) {
            for (uint32_t left = polynomial[i]; left != 0; left &= left - 1) {
                add(sequence + int64_t{step} * (32 * i + std::countr_zero(left)));
            }
        }
    };
    int32_t first = 0;
    for (; first + kBlock <= words; first += kBlock) {
        i32x4 sum[kVectors] = {};
        for_terms([&](const uint32_t* window) {
#pragma GCC unroll 12
            for (int32_t v = 0; v < kVectors; ++v) sum[v] = sum[v] ^ load(window + first + 4 * v);
        });
        for (int32_t v = 0; v < kVectors; ++v) {
            ozk::simd::store(reinterpret_cast<int32_t*>(state + first + 4 * v), sum[v]);
        }
    }
    for (; first < words; ++first) {
        uint32_t sum = 0;
        for_terms([&](const uint32_t* window) { sum ^= window[first]; });
        state[first] = sum;
    }
}

}  // extern "C"
