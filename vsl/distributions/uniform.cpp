// Uniform distributions: reals, integers, raw words and uniform bits.

#include "vsl/distributions/blocks.hpp"

#include <algorithm>
#include <bit>
#include <cmath>

#include "vsl/distributions/kernels.hpp"
#include "vsl/streams/registry.hpp"

namespace ozk::vsl {
namespace {

template <class Real, class Generator>
int32_t uniform(Generator generator, int32_t method, OzkVslStream* stream, int32_t n, Real* r, Real a,
                Real b) {
    const int32_t status = generator(stream, n, r, a, b);
    if (status < 0 || !(method & kOzkVslMethodAccurate)) return status;
    for (int32_t i = 0; i < n; ++i) r[i] = std::min(b, std::max(a, r[i]));
    return status;
}

// ---- Words of independent uniform bits ----------------------------------------------------------------

constexpr int kWordBits = 32;

// The bits that one output yields: a power of two, so that pieces fill a word.
int piece_bits(const OzkVslBrngProperties& row) {
    const int components = row.word_size == 16 ? 4 : 1;  // `bits` counts those of one
    const int significant = std::min(components * std::min(row.bits, kWordBits), kWordBits);
    return static_cast<int>(std::bit_floor(static_cast<unsigned>(significant)));
}

// The piece of a double on [0, 1); one that rounds up to 1 belongs to the last piece.
uint32_t piece_of(double u, double range) {
    return static_cast<uint32_t>(static_cast<int64_t>(std::min(u * range, range - 1)));
}

// n words from pieces that are the leading bits of doubles: those of a congruential generator are its best.
int32_t assemble_words(OzkVslStream* stream, int64_t n, uint32_t* r, int bits) {
    const double range = std::ldexp(1.0, bits);
    const int pieces = kWordBits / bits;  // of a word
    while (n > 0) {
        double u[kBlock];
        const int32_t count = static_cast<int32_t>(std::min<int64_t>(n, kBlock / pieces));
        const int32_t status = _vsldRngUniform(kOzkVslUniformStandard, stream, count * pieces, u, 0, 1);
        if (status < 0) return status;
        const double* piece = u;
        for (int32_t i = 0; i < count; ++i) {
            uint32_t word = 0;
            for (int place = 0; place < kWordBits; place += bits) word |= piece_of(*piece++, range) << place;
            r[i] = word;
        }
        n -= count;
        r += count;
    }
    return kOzkVslSuccess;
}

int32_t uniform_words(OzkVslStream* stream, int64_t n, uint32_t* r) {
    const OzkVslBrngProperties& row = properties(stream);
    if (row.word_size != sizeof(uint32_t) || row.bits < kWordBits) {
        return assemble_words(stream, n, r, piece_bits(row));
    }
    while (n > 0) {
        const int32_t count = static_cast<int32_t>(std::min<int64_t>(n, INT32_MAX));
        const int32_t status = row.integer_generator(stream, count, r);
        if (status < 0) return status;
        n -= count;
        r += count;
    }
    return kOzkVslSuccess;
}

}  // namespace
}  // namespace ozk::vsl

extern "C" {

using namespace ozk::vsl;

int32_t _vslsRngUniform(int32_t method, OzkVslStream* stream, int32_t n, float* r, float a, float b) {
    return uniform(properties(stream).single_generator, method, stream, n, r, a, b);
}

int32_t _vsldRngUniform(int32_t method, OzkVslStream* stream, int32_t n, double* r, double a, double b) {
    return uniform(properties(stream).double_generator, method, stream, n, r, a, b);
}

int32_t _vsliRngUniform(int32_t, OzkVslStream* stream, int32_t n, int32_t* r, int32_t a, int32_t b) {
    return in_blocks(n, r, [=](int32_t count, int32_t* block) {
        double u[kBlock];
        const int32_t status = _vsldRngUniform(kOzkVslUniformStandard, stream, count, u, a, b);
        if (status < 0) return status;
        take_floors(count, u, block);
        return status;
    });
}

int32_t _vsliRngUniformBits(int32_t, OzkVslStream* stream, int32_t n, void* r) {
    return properties(stream).integer_generator(stream, n, r);
}

int32_t _vsliRngUniformBits32(int32_t, OzkVslStream* stream, int32_t n, uint32_t* r) {
    return uniform_words(stream, n, r);
}

int32_t _vsliRngUniformBits64(int32_t, OzkVslStream* stream, int32_t n, uint64_t* r) {
    return uniform_words(stream, int64_t{2} * n, reinterpret_cast<uint32_t*>(r));
}

}  // extern "C"
