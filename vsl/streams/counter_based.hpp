// Counter-based generators: the four words of block c are a cipher of the 128-bit counter c (Salmon, Moraes,
// Dror and Shaw, "Parallel random numbers: as easy as 1, 2, 3", SC11).
//
// A Cipher has kKeyWords and encipher(key, low, high, blocks, r, output), which hands the blocks of the
// counters low + 2^64 high and following to the output; its caller sees to it that `low` does not wrap before
// the last of them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "vsl/streams/generator.hpp"

namespace ozk::vsl {

template <class Cipher>
class CounterBased {
  public:
    using Word = uint32_t;
    static constexpr double kUnit = kWordUnit;
    static constexpr uint32_t kBlockWords = 4;

    struct State {
        uint32_t key[Cipher::kKeyWords];
        uint32_t counter[kBlockWords];  // of the next block to encipher, lowest word first
        uint32_t remaining;             // the last so many words of `block` are still to be returned
        uint32_t block[kBlockWords];
    };

    static int32_t initialise(uint32_t method, OzkVslStream* stream, int32_t n, const void* params) {
        State& state = state_of<State>(stream);
        uint64_t count[3] = {};
        switch (method) {
            case kOzkVslInitSeed:
                seed(state, n, static_cast<const uint32_t*>(params));
                return kOzkVslSuccess;
            case kOzkVslInitSkipAhead:
                count[0] = skip_count(params);
                skip(state, count);
                return kOzkVslSuccess;
            case kOzkVslInitSkipAheadEx:
                // At most three words of the count: they say more than the period of 2^130 words.
                std::copy_n(static_cast<const uint64_t*>(params), std::clamp(n, 0, 3), count);
                skip(state, count);
                return kOzkVslSuccess;
            default:
                return refuse_method(method);
        }
    }

    template <class Result, class Output>
    static int32_t generate(OzkVslStream* stream, int32_t n, Result* r, Output output) {
        if (n < 1) return kOzkVslSuccess;
        State& state = state_of<State>(stream);
        uint32_t wanted = static_cast<uint32_t>(n);
        const uint32_t pending = remaining(state), taken = std::min(pending, wanted);
        convert(state.block + kBlockWords - pending, taken, r, output);
        state.remaining = pending - taken;
        r += taken;
        wanted -= taken;

        const uint32_t blocks = wanted / kBlockWords;
        encipher(state, blocks, r, output);
        r += blocks * kBlockWords;
        wanted %= kBlockWords;
        if (wanted == 0) return kOzkVslSuccess;
        encipher(state, 1, state.block, Words());
        convert(state.block, wanted, r, output);
        state.remaining = kBlockWords - wanted;
        return kOzkVslSuccess;
    }

  private:
    using Counter = unsigned __int128;

    static Counter counter(const State& state) {
        Counter c;
        std::memcpy(&c, state.counter, sizeof c);
        return c;
    }
    static void set_counter(State& state, Counter c) { std::memcpy(state.counter, &c, sizeof c); }

    // Key words, then counter words; those not given are 0.
    static void seed(State& state, int32_t n, const uint32_t* words) {
        state = {};
        const int32_t given = std::clamp(n, 0, int32_t{Cipher::kKeyWords + kBlockWords});
        if (given > 0) std::memcpy(&state, words, static_cast<size_t>(given) * sizeof *words);
    }

    // Skips as many words as a count of three 64-bit words says, least significant first.
    static void skip(State& state, const uint64_t (&count)[3]) {
        const uint64_t pending = remaining(state);
        if (count[1] == 0 && count[2] == 0 && count[0] <= pending) {
            state.remaining = static_cast<uint32_t>(pending - count[0]);
            return;
        }
        // Beyond the pending words lie m = 4 q + rest, q modulo 2^128.
        const uint64_t m0 = count[0] - pending;
        const uint64_t m1 = count[1] - (count[0] < pending);
        const uint64_t m2 = count[2] - (count[0] < pending && count[1] == 0);
        const Counter q = Counter{m1 >> 2 | m2 << 62} << 64 | (m0 >> 2 | m1 << 62);
        set_counter(state, counter(state) + q);
        encipher(state, 1, state.block, Words());
        state.remaining = kBlockWords - static_cast<uint32_t>(m0 % kBlockWords);
    }

    // A state that was loaded may hold any number.
    static uint32_t remaining(const State& state) { return std::min(state.remaining, kBlockWords); }

    // Writes whole blocks and advances the counter, a run at a time within which its low half does not wrap.
    template <class Result, class Output>
    static void encipher(State& state, uint64_t blocks, Result* r, Output output) {
        Counter c = counter(state);
        while (blocks > 0) {
            const uint64_t low = static_cast<uint64_t>(c);
            const uint64_t run = std::min(blocks - 1, ~low) + 1;
            Cipher::encipher(state.key, low, static_cast<uint64_t>(c >> 64), run, r, output);
            c += run;
            r += run * kBlockWords;
            blocks -= run;
        }
        set_counter(state, c);
    }
};

}  // namespace ozk::vsl
