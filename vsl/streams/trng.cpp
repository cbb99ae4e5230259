// The nondeterministic source: every output is the processor's random-number instruction.

#include "simd/processor_random.hpp"
#include "vsl/streams/draw.hpp"
#include "vsl/streams/generator.hpp"

namespace ozk::vsl {
namespace {

struct State {
    uint32_t unused;
    uint32_t retry_limit;
};
constexpr uint32_t kDefaultRetryLimit = 10;

// A source of draw: a function object, as a lambda would not have the target.
struct Instruction {
    template <class Word>
    [[gnu::target("rdrnd")]] bool operator()(Word& word) const {
        return simd::processor_random(word);
    }
};

template <class Word>
bool draw_word(OzkVslStream* stream, Word& word) {
    return draw(state_of<State>(stream).retry_limit, word, Instruction());
}

// Results two at a time from draws of 64 bits, the low half first, an odd last one from a draw of 32 bits.
template <class Result, class Output>
int32_t generate_halves(OzkVslStream* stream, int32_t n, Result* r, Output output) {
    if (!__vslCPUisRDRAND()) return kOzkVslErrorNoRandomInstruction;
    for (; n >= 2; n -= 2, r += 2) {
        uint64_t word;
        if (!draw_word(stream, word)) return kOzkVslErrorNoRandomNumber;
        r[0] = output(static_cast<uint32_t>(word));
        r[1] = output(static_cast<uint32_t>(word >> 32));
    }
    if (n == 1) {
        uint32_t word;
        if (!draw_word(stream, word)) return kOzkVslErrorNoRandomNumber;
        r[0] = output(word);
    }
    return kOzkVslSuccess;
}

}  // namespace
}  // namespace ozk::vsl

extern "C" {

using namespace ozk::vsl;

int32_t __vslBRngTRNGInitStream(uint32_t method, OzkVslStream* stream, int32_t n, const void* params) {
    if (method != kOzkVslInitSeed) return refuse_method(method);
    const uint32_t* const seed = static_cast<const uint32_t*>(params);
    state_of<State>(stream) = {0, n >= 2 && seed[1] != 0 ? seed[1] : kDefaultRetryLimit};
    return kOzkVslSuccess;
}

int32_t __vsliBRngTRNG(OzkVslStream* stream, int32_t n, void* r) {
    return generate_halves(stream, n, static_cast<uint32_t*>(r), Words());
}

int32_t __vslsBRngTRNG(OzkVslStream* stream, int32_t n, float* r, float a, float b) {
    const float scale = (b - a) * static_cast<float>(kWordUnit);
    return generate_halves(stream, n, r, [=](uint32_t word) { return static_cast<float>(word) * scale + a; });
}

int32_t __vsldBRngTRNG(OzkVslStream* stream, int32_t n, double* r, double a, double b) {
    if (!__vslCPUisRDRAND()) return kOzkVslErrorNoRandomInstruction;
    const double scale = (b - a) * 0x1p-64;
    for (; n > 0; --n, ++r) {
        uint64_t word;
        if (!draw_word(stream, word)) return kOzkVslErrorNoRandomNumber;
        // Both halves are exact; their sum rounds once.
        const double number = static_cast<double>(static_cast<uint32_t>(word)) +
                              static_cast<double>(static_cast<uint32_t>(word >> 32)) * 0x1p32;
        *r = number * scale + a;
    }
    return kOzkVslSuccess;
}

}  // extern "C"
