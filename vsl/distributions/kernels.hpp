// What the distribution generators are made of: uniforms, vector math in place for either precision, integers.
//
// The kernels are those of the low accuracy, wrong by at most 4 ulp: no sample tells that from the exact result,
// and they are the faster ones. Log1p has only a high one, the inverse error function that and a fast one.
#pragma once

#include <cmath>

#include "ozk_vml.h"
#include "simd/vector.hpp"
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

// Into [low, high], what is no number becoming low. Of an odd count, the place after it is written, too.
inline void clamp(int32_t count, double* x, double low, double high) {
    for (int32_t i = 0; i < count; i += simd::f64x2::kLanes) {
        simd::store(x + i,
                    simd::min(simd::max(simd::load(x + i), simd::broadcast(low)), simd::broadcast(high)));
    }
}

// The floors of numbers whose floors are in the range of int32_t.
inline void take_floors(int32_t count, const double* x, int32_t* r) {
    using namespace simd;
    int32_t i = 0;
    for (; i + i32x4::kLanes <= count; i += i32x4::kLanes) {
        const auto two = [=](int at) OZK_SIMD_LAMBDA { return truncate_to_i32(floor(load(x + i + at))); };
        store(r + i, join_low(two(0), two(2)));
    }
    for (; i < count; ++i) r[i] = static_cast<int32_t>(std::floor(x[i]));
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
