// Generators that renew an array of words as a whole and give its words out one after another.
//
// WordArray makes a generator from a Recurrence, a struct with
//   kWords, State                 State has uint32_t words[kWords], and position, the next word to give out:
//                                 kWords means that the array is renewed first;
//   Parameters parameters(stream)
//   renew(words, parameters, each)  each(i, w): word or vector of words i on was renewed to w;
//   output(w, parameters)         what is given out for a word, or a vector of words, of the array;
//   seed(state, n, words) and skip_ahead(state, parameters, count), which returns a status.
#pragma once

#include <algorithm>

#include "vsl/streams/generator.hpp"

namespace ozk::vsl {

// A stream image may hold any position.
template <class State>
int32_t position_in(const State& state, int32_t words) {
    return static_cast<int32_t>(std::min(state.position, static_cast<uint32_t>(words)));
}

// Skips words by renewing the array as often as needed.
template <class Recurrence>
void step_over(typename Recurrence::State& state, const typename Recurrence::Parameters& parameters,
               uint64_t count) {
    constexpr uint64_t kWords = Recurrence::kWords;
    uint64_t position = static_cast<uint64_t>(position_in(state, Recurrence::kWords)) + count;
    for (; position > kWords; position -= kWords) {
        Recurrence::renew(state.words, parameters, [](int32_t, auto) OZK_SIMD_LAMBDA {});
    }
    state.position = static_cast<uint32_t>(position);
}

template <class Recurrence>
struct WordArray : Recurrence {
    using Word = uint32_t;
    using State = typename Recurrence::State;
    static constexpr double kUnit = kWordUnit;
    static constexpr int32_t kWords = Recurrence::kWords;

    static int32_t initialise(uint32_t method, OzkVslStream* stream, int32_t n, const void* params) {
        State& state = state_of<State>(stream);
        switch (method) {
            case kOzkVslInitSeed:
                Recurrence::seed(state, n, static_cast<const uint32_t*>(params));
                return kOzkVslSuccess;
            case kOzkVslInitSkipAhead:
                return Recurrence::skip_ahead(state, Recurrence::parameters(stream), skip_count(params));
            default:
                return refuse_method(method);
        }
    }

    template <class Result, class Output>
    static int32_t generate(OzkVslStream* stream, int32_t n, Result* r, Output output) {
        State& state = state_of<State>(stream);
        const auto parameters = Recurrence::parameters(stream);
        const auto tempered = [&](auto word) OZK_SIMD_LAMBDA { return Recurrence::output(word, parameters); };
        int32_t position = position_in(state, kWords);
        if (n > 0) {
            const int32_t begun = std::min(n, kWords - position);
            convert(state.words + position, begun, r, output, tempered);
            position += begun;
            r += begun;
            n -= begun;
        }
        for (; n >= kWords; n -= kWords, r += kWords) {
            Recurrence::renew(state.words, parameters, [&](int32_t i, auto renewed) OZK_SIMD_LAMBDA {
                give(r + i, tempered(renewed), output);
            });
        }
        if (n > 0) {
            Recurrence::renew(state.words, parameters, [](int32_t, auto) OZK_SIMD_LAMBDA {});
            convert(state.words, n, r, output, tempered);
            position = n;
        }
        state.position = static_cast<uint32_t>(position);
        return kOzkVslSuccess;
    }
};

}  // namespace ozk::vsl
