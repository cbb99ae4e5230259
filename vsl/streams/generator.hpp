// The shape that the functions of every basic generator share.
//
// A generator is a struct with static functions:
//   int32_t initialise(method, stream, n, params)   the method protocol of OzkVslInitMethod;
//   int32_t generate(stream, n, r, output)          r[i] = output(word i), output being one of output.hpp;
// and with
//   Word                      one integer output;
//   kUnit                     the reciprocal of the range of its value;
//   double scale(a, b)        (b - a) kUnit as the generator rounds it, where that is not in double.
// OZK_VSL_EXPORT_GENERATOR makes the four exported functions of a registry row from it.
#pragma once

#include "vsl/streams/output.hpp"
#include "vsl/streams/stream.hpp"

namespace ozk::vsl {

// What a leapfrog or skip-ahead call passes, by method.
inline uint64_t skip_count(const void* params) { return *static_cast<const uint64_t*>(params); }
inline uint32_t leapfrog_index(const void* params) { return *static_cast<const uint32_t*>(params); }

// What a generator answers to a method that it lacks.
inline int32_t refuse_method(uint32_t method) {
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

// The factor from a generator's numbers to an interval, in double unless the generator says otherwise.
template <class Generator, class Real>
double uniform_scale(Real a, Real b) {
    if constexpr (requires { Generator::scale(a, b); }) {
        return Generator::scale(a, b);
    } else {
        return (double{b} - double{a}) * Generator::kUnit;
    }
}

template <class Generator>
int32_t generate_words(OzkVslStream* stream, int32_t n, void* r) {
    return Generator::generate(stream, n, static_cast<typename Generator::Word*>(r), Words());
}

template <class Generator, class Real>
int32_t generate_uniform(OzkVslStream* stream, int32_t n, Real* r, Real a, Real b) {
    if constexpr (Generator::kUnit == kWordUnit) {
        if (a == 0 && b == 1) return Generator::generate(stream, n, r, UnitUniform<Real>());
    }
    return Generator::generate(stream, n, r, Uniform<Real>{uniform_scale<Generator>(a, b), a});
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
