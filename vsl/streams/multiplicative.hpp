// Multiplicative congruential generators x <- a x mod m, for any modulus.
//
// Sixteen lanes run side by side, lane i at output i of a pass, each advancing by a^16: the products of a
// pass don't wait for each other, and the sequence is that of one step at a time.
//
// A Modulus has Word, multiply(x, y), kMultiplier, kUnit, number(x) and seed(n, words).
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
            case kOzkVslInitSkipAheadEx:
                return kOzkVslErrorNoSkipAheadEx;
            default:
                return kOzkVslErrorUnknownMethod;
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
            for (; n >= kPass; n -= kPass, r += kPass) {
                for (int i = 0; i < kPass; ++i) r[i] = output(lanes[i]);
                for (int i = 0; i < kPass; ++i) lanes[i] = Modulus::multiply(lanes[i], step);
            }
            x = lanes[0];
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
