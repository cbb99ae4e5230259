// The machine and vector math state that a distribution generator computes under, whatever the caller's is.
#pragma once

#include <cmath>

#include "simd/control.hpp"
#include "vml/thread_state.hpp"

namespace ozk::vsl {

// What stands for ln(0), a uniform being 0. To Gaussian numbers it is the smallest double. The others take
// less than what doubles on [0, 1) have for a step: some generators give 0 once in 2^32 numbers.
struct SmallestDouble {
    static constexpr double kLn = -744.4400719213812;
};
struct BelowEveryUniform {
    static constexpr double kLn = -0x1.2b708872320e2p+5;  // ln 2^-54
};

// The error callback of a generator: finite numbers stand for the infinite results at the ends of a uniform's
// interval, ln(0) and erfinv(+-1).
template <class Zero>
int replace_special_value(VmlErrorRecord* record) {
    constexpr double kLargestErfInv = 5.8635847487551676;  // erfinv of the largest double below 1
    if (record->code == kVmlSingularity && record->a1 == 0) {
        record->r1 = record->r2 = Zero::kLn;
    } else if (record->code == kVmlDomain || record->code == kVmlSingularity) {
        record->r1 = record->r2 = std::copysign(kLargestErfInv, record->a1);
    }
    return 0;  // store the record's results
}

// Runs body() with every floating-point exception masked, and special values of the vector math kernels given
// to `callback` alone. The caller's masks, mode and callback are the same afterwards; SSE flags that were
// raised stay raised. The mode word is put back itself: setting it field by field could not make a field zero
// again.
template <class Body>
int32_t in_own_environment(VmlErrorCallBack callback, Body body) {
    constexpr uint16_t kX87Masks = 0x3F;
    constexpr uint32_t kSseMasks = 0x1F80;
    const uint16_t x87 = simd::read_x87_control();
    const uint32_t sse = simd::read_mxcsr();
    const bool x87_masked = (x87 & kX87Masks) == kX87Masks, sse_masked = (sse & kSseMasks) == kSseMasks;
    if (!x87_masked) {
        simd::clear_x87_exceptions();  // first: loading a control word delivers what is pending and unmasked
        simd::write_x87_control(x87 | kX87Masks);
    }
    if (!sse_masked) simd::write_mxcsr(sse | kSseMasks);
    const uint64_t mode = _vmlSetMode(kVmlErrorCallback);
    const VmlErrorCallBack caller_callback = _vmlSetErrorCallBack(callback);

    const int32_t status = body();

    vml::thread_state.callback = caller_callback;
    vml::thread_state.mode = mode;
    if (!sse_masked) simd::write_mxcsr((simd::read_mxcsr() & ~kSseMasks) | (sse & kSseMasks));
    if (!x87_masked) {
        simd::clear_x87_exceptions();  // what was raised under the masks
        simd::write_x87_control(x87);
    }
    return status;
}

// Runs vector math kernels under the mode that generators use: denormals are left alone, whatever the caller
// chose.
template <class Kernels>
void call_kernels(Kernels kernels) {
    const uint64_t mode = _vmlSetMode(kVmlDenormalKeep);
    kernels();
    vml::thread_state.mode = mode;
}

}  // namespace ozk::vsl
