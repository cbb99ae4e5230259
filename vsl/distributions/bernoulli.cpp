// The Bernoulli distribution: 1 where a single-precision uniform is below p.

#include <bit>
#include <cstring>

#include "ozk_vsl.h"

extern "C" int32_t _vsliRngBernoulli(int32_t, OzkVslStream* stream, int32_t n, int32_t* r, double p) {
    // The results' memory holds the uniforms first.
    const int32_t status =
        _vslsRngUniform(kOzkVslUniformStandard, stream, n, reinterpret_cast<float*>(r), 0, 1);
    if (status < 0 || n < 1) return status;
    // Floats that are not negative are ordered as their bit patterns are.
    const int32_t bound = std::bit_cast<int32_t>(static_cast<float>(p));
    for (int32_t i = 0; i < n; ++i) {
        int32_t u;
        std::memcpy(&u, r + i, sizeof u);
        r[i] = u < bound;
    }
    return status;
}
