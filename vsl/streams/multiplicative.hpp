// Multiplicative congruential generators x <- a x mod m, for any modulus.
//
// Sixteen lanes run side by side, lane i at output i of a pass, each advancing by a^16: the products of a
// pass don't wait for each other, and the sequence is that of one step at a time.
//
// A Modulus has Word, multiply(x, y), kMultiplier, kUnit and seed(n, words). One whose products are
// better made of vectors has, too: Factor, a multiplier prepared for them, and multiply(four words, Factor).
#pragma once

#include "vsl/streams/generator.hpp"
#include "vsl/streams/modular_power.hpp"

namespace ozk::vsl {

template <class Modulus>
struct Multiplicative : Modulus {
    using Word = typename Modulus::Word;

    struct State {
        Word x;  // the next output
        Word a;  // multiplier from one output to the next
    };

    static int32_t initialise(uint32_t method, OzkVslStream* stream, int32_t n, const void* params) {
        State& state = state_of<State>(stream);
        switch (method) {
            case kOzkVslInitSeed:
                state = {Modulus::seed(n, static_cast<const uint32_t*>(params)), Modulus::kMultiplier};
                return kOzkVslSuccess;
            case kOzkVslInitLeapfrog:
                state.x = Modulus::multiply(state.x, power<Modulus>(state.a, leapfrog_index(params)));
                state.a = power<Modulus>(state.a, static_cast<uint32_t>(n));
                return kOzkVslSuccess;
            case kOzkVslInitSkipAhead:
                state.x = Modulus::multiply(state.x, power<Modulus>(state.a, skip_count(params)));
                return kOzkVslSuccess;
            default:
                return refuse_method(method);
        }
    }

    template <class Result, class Output>
    static int32_t generate(OzkVslStream* stream, int32_t n, Result* r, Output output) {
        State& state = state_of<State>(stream);
        const Word a = state.a;
        Word x = state.x;
        if (n >= kPass) {
            Word lanes[kPass];
            const Word step = spread(lanes, x, a);
            const int32_t passes = n / kPass;
            x = run(lanes, step, passes, r, output);
            r += passes * kPass;
            n -= passes * kPass;
        }
        for (; n > 0; --n, ++r) {
            *r = output(x);
            x = Modulus::multiply(x, a);
        }
        state.x = x;
        return kOzkVslSuccess;
    }

  private:
    static constexpr int kPass = 16;

    // The outputs of so many passes; returns the next word.
    template <class Result, class Output>
    OZK_SIMD static Word run(Word (&lanes)[kPass], Word step, int32_t passes, Result* r, Output output) {
        for (; passes > 0; --passes, r += kPass) {
            for (int i = 0; i < kPass; ++i) r[i] = output(lanes[i]);
            for (int i = 0; i < kPass; ++i) lanes[i] = Modulus::multiply(lanes[i], step);
        }
        return lanes[0];
    }

    template <class Result, class Output>
    static Word run(Word (&lanes)[kPass], Word step, int32_t passes, Result* r,
                    Output output) requires requires {
        typename Modulus::Factor;
    }
    {
        const typename Modulus::Factor factor(step);
        simd::i32x4 x[kPass / 4];
        for (int i = 0; i < kPass / 4; ++i) x[i] = simd::load(reinterpret_cast<int32_t*>(lanes + 4 * i));
        for (; passes > 0; --passes, r += kPass) {
#pragma GCC unroll 4
            for (int i = 0; i < kPass / 4; ++i) {
                output.put(r + 4 * i, x[i]);
                x[i] = Modulus::multiply(x[i], factor);
            }
        }
        return static_cast<Word>(simd::lane<0>(x[0]));
    }

    // lanes[i] = x a^i; returns a^16.
    static Word spread(Word (&lanes)[kPass], Word x, Word a) {
        lanes[0] = x;
        for (int filled = 1; filled < kPass; filled *= 2) {
            for (int i = 0; i < filled; ++i) lanes[filled + i] = Modulus::multiply(lanes[i], a);
            a = Modulus::multiply(a, a);
        }
        return a;
    }
};

}  // namespace ozk::vsl
