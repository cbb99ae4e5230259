// What the distribution generators are made of: uniforms, and vector math in place, for either precision.
//
// The kernels are those of the low accuracy, wrong by at most 4 ulp: no sample tells that from the exact result,
// and they are the faster ones. Log1p has only a high one, the inverse error function that and a fast one.
#pragma once

#include "ozk_vml.h"
#include "vsl/distributions/environment.hpp"

namespace ozk::vsl {

// On [low, 1).
inline int32_t draw(OzkVslStream* stream, int32_t n, double* u, double low) {
    return _vsldRngUniform(kOzkVslUniformStandard, stream, n, u, low, 1);
}
inline int32_t draw(OzkVslStream* stream, int32_t n, float* u, float low) {
    return _vslsRngUniform(kOzkVslUniformStandard, stream, n, u, low, 1);
}

inline void take_ln(int32_t n, double* x) {
    call_kernels([=] { _vmldLn_50(n, x, x); });
}
inline void take_ln(int32_t n, float* x) {
    call_kernels([=] { _vmlsLn_21(n, x, x); });
}
inline void take_log1p(int32_t n, double* x) {
    call_kernels([=] { _vmldLog1p(n, x, x); });
}
inline void take_exp(int32_t n, double* x) {
    call_kernels([=] { _vmldExp_50(n, x, x); });
}
inline void take_exp(int32_t n, float* x) {
    call_kernels([=] { _vmlsExp_21(n, x, x); });
}

// Double-precision vector math for results of type Real: that of 26 bits is more than singles can show.
template <class Real>
struct For;
template <>
struct For<double> {
    static void take_ln(int32_t n, double* x) { vsl::take_ln(n, x); }
    static void take_erf_inv(int32_t n, double* x) {
        call_kernels([=] { _vmldErfInv(n, x, x); });
    }
    static void take_sin(int32_t n, double* x) {
        call_kernels([=] { _vmldSin_50(n, x, x); });
    }
    static void take_sin_cos(int32_t n, double* angle, double* cosine) {
        call_kernels([=] { _vmldSinCos_50(n, angle, angle, cosine); });
    }
};
template <>
struct For<float> {
    static void take_ln(int32_t n, double* x) {
        call_kernels([=] { _vmldLn_26(n, x, x); });
    }
    static void take_erf_inv(int32_t n, double* x) {
        call_kernels([=] { _vmldErfInv_26(n, x, x); });
    }
    static void take_sin(int32_t n, double* x) {
        call_kernels([=] { _vmldSin_26(n, x, x); });
    }
    static void take_sin_cos(int32_t n, double* angle, double* cosine) {
        call_kernels([=] { _vmldSinCos_26(n, angle, angle, cosine); });
    }
};

}  // namespace ozk::vsl
