// Rounds of the AES cipher, by the processor's instructions. Only for functions with the target "aes", behind
// a processor check.
#pragma once

#include <wmmintrin.h>

#include "simd/vector.hpp"

namespace ozk::simd {

#define OZK_SIMD_AES [[gnu::target("aes"), gnu::always_inline]] inline

// Shifts rows, substitutes bytes, mixes columns and adds the key; the last round does not mix.
OZK_SIMD_AES i64x2 aes_round(i64x2 x, i64x2 key) { return {_mm_aesenc_si128(x.v, key.v)}; }
OZK_SIMD_AES i64x2 aes_last_round(i64x2 x, i64x2 key) { return {_mm_aesenclast_si128(x.v, key.v)}; }

#undef OZK_SIMD_AES

}  // namespace ozk::simd
