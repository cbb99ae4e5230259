// R250: x(n) = x(n - 250) xor x(n - 147), period 2^250 - 1 in each bit.
// Kirkpatrick and Stoll, "A very fast shift-register sequence random number generator", J. Comput. Phys. 40
// (1981).

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "vsl/streams/generator.hpp"

namespace ozk::vsl {
namespace {

struct R250 {
    using Word = uint32_t;
    static constexpr double kUnit = 0x1p-32;
    static constexpr int32_t kWords = 250, kNear = 147;

    struct State {
        Word words[kWords];
        uint32_t i;  // the oldest word
        uint32_t j;  // the one kNear before the next
    };

    static int32_t initialise(uint32_t method, OzkVslStream* stream, int32_t n, const void* params) {
        if (method != kOzkVslInitSeed) return refuse_method(method);
        seed(state_of<State>(stream), n, static_cast<const uint32_t*>(params));
        return kOzkVslSuccess;
    }

    // Long sequences of words are made in the results themselves.
    template <class Result, class Output>
    static int32_t generate(OzkVslStream* stream, int32_t n, Result* r, Output output) {
        State& state = state_of<State>(stream);
        state.i %= kWords;  // a state that was read from elsewhere may hold anything
        state.j %= kWords;
        if constexpr (std::is_same_v<Output, Words>) {
            if (n >= 2 * kWords) {
                advance(state, kWords, r, output);
                follow(r, n);
                keep_last(state, r, n);
                return kOzkVslSuccess;
            }
        }
        advance(state, n, r, output);
        return kOzkVslSuccess;
    }

  private:
    static void seed(State& state, int32_t n, const uint32_t* words) {
        if (n >= kWords) {
            std::memcpy(state.words, words, sizeof state.words);
        } else {
            Word v = n < 1 || words[0] == 0 ? 1 : words[0];
            for (Word& word : state.words) word = v *= 69069;
            // 32 words that differ in their leading bit are linearly independent.
            for (int k = 0; k < 32; ++k) {
                Word& word = state.words[3 + 7 * k];
                const Word bit = Word{1} << (31 - k);
                word = (word & (bit - 1)) | bit;
            }
        }
        state.i = 0;
        state.j = kWords - kNear;
    }

    // n steps in the state. A run ends where i or j comes to the end of the array; i and j are at least 103
    // apart, so that the words of a vector do not depend on each other.
    template <class Result, class Output>
    static void advance(State& state, int32_t n, Result* r, Output output) {
        while (n > 0) {
            const int32_t run = std::min(n, kWords - static_cast<int32_t>(std::max(state.i, state.j)));
            int32_t* const old = reinterpret_cast<int32_t*>(state.words + state.i);
            const int32_t* const other = reinterpret_cast<const int32_t*>(state.words + state.j);
            int32_t k = 0;
            for (; k + 4 <= run; k += 4) {
                const simd::i32x4 words = simd::load(old + k) ^ simd::load(other + k);
                simd::store(old + k, words);
                output.put(r + k, words);
            }
            for (; k < run; ++k) {
                old[k] ^= other[k];
                r[k] = output(static_cast<Word>(old[k]));
            }
            state.i = (state.i + static_cast<uint32_t>(run)) % kWords;
            state.j = (state.j + static_cast<uint32_t>(run)) % kWords;
            n -= run;
            r += run;
        }
    }

    // The recurrence in the results, which hold the first kWords of n. Its fourth power, x(n) = x(n - 1000) xor
    // x(n - 588), is as true as itself, and has all words of a vector in aligned places.
    static void follow(Word* words, int32_t n) {
        int32_t* const r = reinterpret_cast<int32_t*>(words);
        const auto step = [&](int32_t k) { r[k] = r[k - kWords] ^ r[k - kNear]; };
        const int32_t first = std::min(n, 4 * kWords);
        int32_t k = kWords;
        for (; k + 4 <= first; k += 4) {
            simd::store(r + k, simd::load(r + k - kWords) ^ simd::load(r + k - kNear));
        }
        for (; k < n && (k < first || reinterpret_cast<uintptr_t>(r + k) % 16 != 0); ++k) step(k);
        for (; k + 16 <= n; k += 16) {
#pragma GCC unroll 4
            for (int32_t i = k; i < k + 16; i += 4) {
                simd::store(r + i,
                            simd::load_aligned(r + i - 4 * kWords) ^ simd::load_aligned(r + i - 4 * kNear));
            }
        }
        for (; k < n; ++k) step(k);
    }

    // The state after n results of which it has seen the first kWords: result k stands at (i + k) mod kWords.
    static void keep_last(State& state, const Word* r, int32_t n) {
        const uint32_t moved = static_cast<uint32_t>(n) % kWords;
        state.i = (state.i + moved) % kWords;
        state.j = (state.j + moved) % kWords;
        const Word* const last = r + n - kWords;
        const uint32_t up_to_end = kWords - state.i;
        std::memcpy(state.words + state.i, last, up_to_end * sizeof(Word));
        std::memcpy(state.words, last + up_to_end, state.i * sizeof(Word));
    }
};

}  // namespace
}  // namespace ozk::vsl

OZK_VSL_EXPORT_GENERATOR(R250, ozk::vsl::R250)
