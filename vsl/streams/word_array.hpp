// Generators that renew an array of words as a whole and give its words out one after another.
//
// A generator is a struct with
//   kWords, State                 State has uint32_t words[kWords], and position, the next word to give out:
//                                 kWords means that the array is renewed first;
//   Parameters parameters(stream)
//   renew(words, parameters, each)  each(i, w): word or vector of words i on was renewed to w;
//   output(w, parameters)         what is given out for a word, or a vector of words, of the array;
//   seed(state, n, words) and skip_ahead(state, parameters, count), which returns a status;
//   single_scale(width)           the factor of a word in singles on an interval of this width.
// OZK_VSL_EXPORT_WORD_ARRAY makes the four exported functions of a registry row from it.
#pragma once

#include <algorithm>

#include "vsl/streams/generator.hpp"
#include "vsl/streams/word_sink.hpp"

namespace ozk::vsl {

// A stream image may hold any position.
template <class State>
int32_t position_in(const State& state, int32_t words) {
    return static_cast<int32_t>(std::min(state.position, static_cast<uint32_t>(words)));
}

template <class Generator, class Output>
int32_t generate_from_array(OzkVslStream* stream, int32_t n, Output output) {
    using simd::i32x4;
    constexpr int32_t kWords = Generator::kWords;
    auto& state = state_of<typename Generator::State>(stream);
    const auto parameters = Generator::parameters(stream);
    int32_t position = position_in(state, kWords);

    const auto give = [&](int32_t count) {
        const uint32_t* const words = state.words + position;
        int32_t i = 0;
        for (; i + i32x4::kLanes <= count; i += i32x4::kLanes) {
            const i32x4 four = simd::load(reinterpret_cast<const int32_t*>(words + i));
            output.put(i, Generator::output(four, parameters));
        }
        for (; i < count; ++i) output.put(i, Generator::output(words[i], parameters));
        output.advance(count);
        position += count;
        n -= count;
    };
    if (n > 0) give(std::min(n, kWords - position));
    for (; n >= kWords; n -= kWords) {
        Generator::renew(state.words, parameters, [&](int32_t i, auto renewed) OZK_SIMD_LAMBDA {
            output.put(i, Generator::output(renewed, parameters));
        });
        output.advance(kWords);
    }
    if (n > 0) {
        Generator::renew(state.words, parameters, [](int32_t, auto) OZK_SIMD_LAMBDA {});
        position = 0;
        give(n);
    }
    state.position = static_cast<uint32_t>(position);
    return kOzkVslSuccess;
}

// Skips words by renewing the array as often as needed.
template <class Generator>
void step_over(typename Generator::State& state, const typename Generator::Parameters& parameters,
               uint64_t count) {
    constexpr uint64_t kWords = Generator::kWords;
    uint64_t position = static_cast<uint64_t>(position_in(state, Generator::kWords)) + count;
    for (; position > kWords; position -= kWords) {
        Generator::renew(state.words, parameters, [](int32_t, auto) OZK_SIMD_LAMBDA {});
    }
    state.position = static_cast<uint32_t>(position);
}

template <class Generator>
int32_t initialise_array(uint32_t method, OzkVslStream* stream, int32_t n, const void* params) {
    auto& state = state_of<typename Generator::State>(stream);
    switch (method) {
        case kOzkVslInitSeed:
            Generator::seed(state, n, static_cast<const uint32_t*>(params));
            return kOzkVslSuccess;
        case kOzkVslInitLeapfrog:
            return kOzkVslErrorNoLeapfrog;
        case kOzkVslInitSkipAhead:
            return Generator::skip_ahead(state, Generator::parameters(stream), skip_count(params));
        case kOzkVslInitSkipAheadEx:
            return kOzkVslErrorNoSkipAheadEx;
        default:
            return kOzkVslErrorUnknownMethod;
    }
}

}  // namespace ozk::vsl

#define OZK_VSL_EXPORT_WORD_ARRAY(Name, Generator)                                                        \
    extern "C" int32_t __vslBRng##Name##InitStream(uint32_t method, OzkVslStream* stream, int32_t n,      \
                                                   const void* params) {                                  \
        return ozk::vsl::initialise_array<Generator>(method, stream, n, params);                          \
    }                                                                                                     \
    extern "C" int32_t __vslsBRng##Name(OzkVslStream* stream, int32_t n, float* r, float a, float b) {    \
        const ozk::vsl::UniformSink<float> output{r, Generator::single_scale(a, b), a};                   \
        return ozk::vsl::generate_from_array<Generator>(stream, n, output);                               \
    }                                                                                                     \
    extern "C" int32_t __vsldBRng##Name(OzkVslStream* stream, int32_t n, double* r, double a, double b) { \
        const ozk::vsl::UniformSink<double> output{r, (b - a) * ozk::vsl::kWordUnit, a};                  \
        return ozk::vsl::generate_from_array<Generator>(stream, n, output);                               \
    }                                                                                                     \
    extern "C" int32_t __vsliBRng##Name(OzkVslStream* stream, int32_t n, void* r) {                       \
        return ozk::vsl::generate_from_array<Generator>(stream, n,                                        \
                                                        ozk::vsl::WordSink{static_cast<uint32_t*>(r)});   \
    }
