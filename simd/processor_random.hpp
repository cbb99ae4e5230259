// The processor's random-number instruction. Only for functions with the target "rdrnd", behind a processor
// check.
#pragma once

#include <cstdint>

namespace ozk::simd {

#define OZK_SIMD_RANDOM [[gnu::target("rdrnd"), gnu::always_inline]] inline

// One execution; false when the processor had no number ready.
OZK_SIMD_RANDOM bool processor_random(uint32_t& word) { return __builtin_ia32_rdrand32_step(&word) != 0; }
OZK_SIMD_RANDOM bool processor_random(uint64_t& word) {
    unsigned long long value;
    const bool ready = __builtin_ia32_rdrand64_step(&value) != 0;
    word = value;
    return ready;
}

#undef OZK_SIMD_RANDOM

}  // namespace ozk::simd
