// Twisted generalised feedback shift registers of 32-bit words.
//
//   y = upper bits of x[k], lower bits of x[k+1];  x[k+n] = x[k+m] ^ (y >> 1) ^ (a where y is odd)
//
// and the words given out are tempered. The period is 2^(32 n - r) - 1, r being the number of lower bits.
// Matsumoto and Nishimura, "Mersenne Twister: a 623-dimensionally equidistributed uniform pseudo-random number
// generator", ACM TOMACS 8 (1998).
//
// A Shape has kWords (n), kMiddle (m), kLowerBits (r) and the temper shifts kFirstShift and kLastShift.
#pragma once

#include <bit>

#include "vsl/streams/gf2_polynomial.hpp"
#include "vsl/streams/memory.hpp"
#include "vsl/streams/word_array.hpp"

namespace ozk::vsl {

template <class Shape>
struct Twister : Shape {
    static constexpr int32_t kWords = Shape::kWords;
    static constexpr int32_t kMiddle = Shape::kMiddle;
    static constexpr int32_t kDegree = 32 * kWords - Shape::kLowerBits;

    struct State {
        uint32_t words[kWords];
        uint32_t position;
    };
    struct Parameters {
        uint32_t a, b, c;  // twist, masks of the tempering
    };

    // ---- Words ------------------------------------------------------------------------------------------

    static uint32_t twist(uint32_t here, uint32_t next, uint32_t middle, uint32_t a) {
        const uint32_t y = (here & ~kLowerMask) | (next & kLowerMask);
        return middle ^ y >> 1 ^ ((y & 1) != 0 ? a : 0);
    }

    // In place, in order: the words from kWords - kMiddle on take renewed ones as their middle words. Four words
    // are loaded with their successors before they are stored. Where the array is whole vectors, all of them stay
    // aligned: the two that reach beyond the array's end take the same vector, its last words and its first.
    template <class Each>
    OZK_SIMD static void renew(uint32_t* x, const Parameters& parameters, Each each) {
        constexpr int32_t kAhead = kWords - kMiddle;
        constexpr bool kWholeVectors = kWords % 4 == 0 && kAhead % 4 == 3;
        const simd::i32x4 lower = simd::broadcast(static_cast<int32_t>(kLowerMask));
        const simd::i32x4 one = simd::broadcast(1), a = simd::broadcast(static_cast<int32_t>(parameters.a));
        const auto renew_four = [&](int32_t i, simd::i32x4 next, simd::i32x4 middle) OZK_SIMD_LAMBDA {
            const simd::i32x4 here = load(x + i);
            const simd::i32x4 y = here ^ ((here ^ next) & lower);
            const simd::i32x4 renewed = middle ^ simd::shift_right<1>(y) ^ simd::times_sign(a, next & one);
            simd::store(reinterpret_cast<int32_t*>(x + i), renewed);
            each(i, renewed);
        };
        const auto renew_one = [&](int32_t i, int32_t middle) OZK_SIMD_LAMBDA {
            x[i] = twist(x[i], x[i + 1 < kWords ? i + 1 : 0], x[middle], parameters.a);
            each(i, x[i]);
        };
        const auto around_end = [&]()
                                    OZK_SIMD_LAMBDA { return simd::join<1>(load(x + kWords - 4), load(x)); };

        int32_t i = 0;
#pragma GCC unroll 2
        for (; i + 4 <= kAhead; i += 4) renew_four(i, load(x + i + 1), load(x + i + kMiddle));
        if constexpr (kWholeVectors) {
            renew_four(i, load(x + i + 1), around_end());
            i += 4;
        } else {
            for (; i < kAhead; ++i) renew_one(i, i + kMiddle);
        }
#pragma GCC unroll 2
        for (; i + 4 < kWords; i += 4) renew_four(i, load(x + i + 1), load(x + i - kAhead));
        if constexpr (kWholeVectors) {
            renew_four(i, around_end(), load(x + i - kAhead));
        } else {
            for (; i < kWords; ++i) renew_one(i, i - kAhead);
        }
    }

    OZK_SIMD static uint32_t output(uint32_t y, const Parameters& parameters) {
        y ^= y >> Shape::kFirstShift;
        y ^= y << 7 & parameters.b;
        y ^= y << 15 & parameters.c;
        return y ^ y >> Shape::kLastShift;
    }
    OZK_SIMD static simd::i32x4 output(simd::i32x4 y, const Parameters& parameters) {
        y = y ^ simd::shift_right<Shape::kFirstShift>(y);
        y = y ^ (simd::shift_left<7>(y) & simd::broadcast(static_cast<int32_t>(parameters.b)));
        y = y ^ (simd::shift_left<15>(y) & simd::broadcast(static_cast<int32_t>(parameters.c)));
        return y ^ simd::shift_right<Shape::kLastShift>(y);
    }

    // ---- Seed -------------------------------------------------------------------------------------------

    // The published initialisation by array.
    static void seed(State& state, int32_t n, const uint32_t* key) {
        static constexpr uint32_t kNoKey = 1;
        if (n < 1) {
            n = 1;
            key = &kNoKey;
        }
        uint32_t* const x = state.words;
        x[0] = 19650218;
        for (uint32_t i = 1; i < kWords; ++i) x[i] = 1812433253 * (x[i - 1] ^ x[i - 1] >> 30) + i;

        uint32_t i = 1;
        const auto mix = [&](uint32_t multiplier, uint32_t added) {
            x[i] = (x[i] ^ (x[i - 1] ^ x[i - 1] >> 30) * multiplier) + added;
            if (++i == kWords) {
                x[0] = x[kWords - 1];
                i = 1;
            }
        };
        for (int32_t step = 0, j = 0; step < std::max(kWords, n); ++step) {
            mix(1664525, key[j] + static_cast<uint32_t>(j));
            if (++j == n) j = 0;
        }
        for (int32_t step = 1; step < kWords; ++step) mix(1566083941, 0 - i);
        x[0] = 0x80000000;  // not all bits of the state are zero
        state.position = kWords;
    }

    // ---- Skip ahead -------------------------------------------------------------------------------------

    // The terms below the leading one of the recurrence's characteristic polynomial; returns their number, at
    // most the degree. With A = t^n + t^m and B = t^(n-1) + t^(m-1) it is a polynomial in B for the lower bits of
    // a, and then in A for the others (the paper's appendix A): Horner's scheme.
    static int32_t characteristic_terms(uint32_t a, int32_t (&exponents)[kDegree]) {
        uint32_t p[kPolynomialWords] = {1}, product[kPolynomialWords];
        for (int32_t i = 0; i < 32; ++i) {
            const int32_t less = i < Shape::kLowerBits ? 1 : 0;
            std::fill(product, product + kPolynomialWords, 0);
            const int32_t words = words_of_bits(i * kWords + 1);
            add_shifted(product, p, words, kWords - less);
            add_shifted(product, p, words, kMiddle - less);
            std::copy(product, product + kPolynomialWords, p);
            p[0] ^= a >> i & 1;
        }
        int32_t terms = 0;
        for (int32_t k = 0; k < kDegree; ++k) {
            if ((p[k / 32] >> k % 32 & 1) != 0) exponents[terms++] = k;
        }
        return terms;
    }

    // The words `count` on are the sum of the windows of the sequence that t^count modulo the characteristic
    // polynomial names: Haramoto, Matsumoto, Nishimura, Panneton and L'Ecuyer, "Efficient jump ahead for
    // F2-linear random number generators", INFORMS J. Computing 20 (2008).
    static int32_t skip_ahead(State& state, const Parameters& parameters, uint64_t count) {
        if (count <= kLongestStepping) {
            step_over<Twister>(state, parameters, count);
            return kOzkVslSuccess;
        }
        auto* const work = allocate_record<Jump>();
        if (!work) return kOzkVslErrorNoMemory;
        const int32_t terms = characteristic_terms(parameters.a, work->exponents);
        // The array ends at its position afterwards: of its first word, only the upper bits are part of the
        // recurrence.
        const auto left = static_cast<uint64_t>(kWords - position_in(state, kWords));
        power_of_t(work->power, count - left, kDegree, work->wide, [&](uint32_t* polynomial) {
            __vslPolyRem(polynomial, 2 * kWords, kDegree, terms, work->exponents);
        });
        uint32_t* const x = work->sequence;
        std::copy(state.words, state.words + kWords, x);
        for (int32_t k = 0; k < kDegree; ++k) {
            x[k + kWords] = twist(x[k], x[k + 1], x[k + kMiddle], parameters.a);
        }
        __vsl_SkipAheadSWin(state.words, kWords, x, 1, work->power, kDegree);
        state.position = kWords;
        ozk_serv_deallocate(work);
        return kOzkVslSuccess;
    }

  private:
    static constexpr uint32_t kLowerMask = static_cast<uint32_t>((uint64_t{1} << Shape::kLowerBits) - 1);
    static constexpr uint64_t kLongestStepping = 0x1FFFFF;
    static constexpr int32_t kPolynomialWords = kWords + 2;

    struct Jump {
        uint32_t power[kWords], wide[2 * kWords];
        int32_t exponents[kDegree];
        uint32_t sequence[kDegree + kWords];
    };

    static simd::i32x4 load(const uint32_t* p) { return simd::load(reinterpret_cast<const int32_t*>(p)); }
};

}  // namespace ozk::vsl
