// The shape that the functions of every basic generator share.
//
// A generator is a struct with static functions:
//   int32_t initialise(method, stream, n, params)   the method protocol of OzkVslInitMethod;
//   int32_t generate(stream, n, r, output)          r[i] = output(word i), output being one of those below;
// and with the types and constants that `output` needs:
//   Word                      one integer output;
//   double number(Word)       its exact or correctly rounded value;
//   kUnit                     the reciprocal of the range of that value.
// OZK_VSL_EXPORT_GENERATOR makes the four exported functions of a registry row from it.
#pragma once

#include "simd/vector.hpp"
#include "vsl/streams/stream.hpp"

namespace ozk::vsl {

// What a leapfrog or skip-ahead call passes, by method.
inline uint64_t skip_count(const void* params) { return *static_cast<const uint64_t*>(params); }
inline uint32_t leapfrog_index(const void* params) { return *static_cast<const uint32_t*>(params); }

// Output that gives the words as they are. `put` writes the outputs of four 32-bit words.
template <class Generator>
struct Words {
    using Word = typename Generator::Word;
    Word operator()(Word word) const { return word; }
    void put(Word* r, simd::i32x4 words) const { simd::store(reinterpret_cast<int32_t*>(r), words); }
};

// Output that gives numbers on [a, b), computed in double for both precisions.
template <class Generator, class Real>
struct Uniform {
    double scale, a;

    Real operator()(typename Generator::Word word) const { return place(Generator::number(word)); }
    Real place(double number) const { return static_cast<Real>(number * scale + a); }

    // Four 32-bit words, whose values are those of unsigned integers.
    void put(Real* r, simd::i32x4 words) const {
        put(r, simd::low_unsigned_to_f64(words), simd::high_unsigned_to_f64(words));
    }
    void put(Real* r, simd::f64x2 low, simd::f64x2 high) const { store(r, place(low), place(high)); }

  private:
    simd::f64x2 place(simd::f64x2 numbers) const {
        return numbers * simd::broadcast(scale) + simd::broadcast(a);
    }
    static void store(double* r, simd::f64x2 low, simd::f64x2 high) {
        simd::store(r, low);
        simd::store(r + 2, high);
    }
    static void store(float* r, simd::f64x2 low, simd::f64x2 high) {
        simd::store(r, simd::to_f32(low, high));
    }
};
// What a generator that can be neither split nor moved answers to any method but seeding.
inline int32_t refuse_to_move(uint32_t method) {
    switch (method) {
        case kOzkVslInitLeapfrog:
            return kOzkVslErrorNoLeapfrog;
        case kOzkVslInitSkipAhead:
            return kOzkVslErrorNoSkipAhead;
        case kOzkVslInitSkipAheadEx:
            return kOzkVslErrorNoSkipAheadEx;
        default:
            return kOzkVslErrorUnknownMethod;
    }
}

template <class Generator>
int32_t generate_words(OzkVslStream* stream, int32_t n, void* r) {
    return Generator::generate(stream, n, static_cast<typename Generator::Word*>(r), Words<Generator>());
}

template <class Generator, class Real>
int32_t generate_uniform(OzkVslStream* stream, int32_t n, Real* r, double a, double b) {
    return Generator::generate(stream, n, r, Uniform<Generator, Real>{(b - a) * Generator::kUnit, a});
}

}  // namespace ozk::vsl

#define OZK_VSL_EXPORT_GENERATOR(Name, Generator)                                                         \
    extern "C" int32_t __vslBRng##Name##InitStream(uint32_t method, OzkVslStream* stream, int32_t n,      \
                                                   const void* params) {                                  \
        return Generator::initialise(method, stream, n, params);                                          \
    }                                                                                                     \
    extern "C" int32_t __vslsBRng##Name(OzkVslStream* stream, int32_t n, float* r, float a, float b) {    \
        return ozk::vsl::generate_uniform<Generator>(stream, n, r, a, b);                                 \
    }                                                                                                     \
    extern "C" int32_t __vsldBRng##Name(OzkVslStream* stream, int32_t n, double* r, double a, double b) { \
        return ozk::vsl::generate_uniform<Generator>(stream, n, r, a, b);                                 \
    }                                                                                                     \
    extern "C" int32_t __vsliBRng##Name(OzkVslStream* stream, int32_t n, void* r) {                       \
        return ozk::vsl::generate_words<Generator>(stream, n, r);                                         \
    }
