// Exponential, Laplace, Weibull, Rayleigh, Gumbel and Cauchy distributions, by inverting the distribution
// function of one uniform a result (Devroye, "Non-Uniform Random Variate Generation", 1986, chapter II.2).
//
// A result that depends on how small -ln u becomes, as Weibull and Gumbel do, starts from double uniforms in
// either precision: a single uniform can round up to 1, and next to it lies 1 - 2^-24.

#include <cmath>

#include "vsl/distributions/blocks.hpp"
#include "vsl/distributions/kernels.hpp"
#include "vsl/distributions/parameters.hpp"

namespace ozk::vsl {
namespace {

// transform(count, uniforms on [low, 1), results), block after block. `holds`: the parameters are in range.
template <class Uniform, class Real, class Transform>
int32_t by_inversion(int32_t method, OzkVslStream* stream, int32_t n, Real* r, bool holds, Uniform low,
                     Transform transform) {
    if (method_index(method) != kOzkVslInverse || !holds) return kOzkVslErrorBadArguments;
    if (n < 1) return kOzkVslSuccess;
    return in_own_environment(replace_special_value<BelowEveryUniform>, [=] {
        return in_blocks(n, r, [=](int32_t count, Real* block) {
            Uniform u[kBlock];
            const int32_t status = draw(stream, count, u, low);
            if (status >= 0) transform(count, u, block);
            return status;
        });
    });
}

template <class Real>
int32_t exponential(int32_t method, OzkVslStream* stream, int32_t n, Real* r, Real a, Real beta) {
    return by_inversion(method, stream, n, r, is_location_scale(a, beta), Real{0},
                        [=](int32_t count, Real* u, Real* x) {
                            take_ln(count, u);
                            for (int32_t i = 0; i < count; ++i) x[i] = a - beta * u[i];
                        });
}

// The sign and the magnitude of a uniform on [-1, 1) are independent.
template <class Real>
int32_t laplace(int32_t method, OzkVslStream* stream, int32_t n, Real* r, Real a, Real beta) {
    return by_inversion(method, stream, n, r, is_location_scale(a, beta), Real{-1},
                        [=](int32_t count, Real* u, Real* x) {
                            for (int32_t i = 0; i < count; ++i) x[i] = std::abs(u[i]);
                            take_ln(count, x);
                            for (int32_t i = 0; i < count; ++i) x[i] = a - std::copysign(beta, u[i]) * x[i];
                        });
}

template <class Real>
int32_t rayleigh(int32_t method, OzkVslStream* stream, int32_t n, Real* r, Real a, Real beta) {
    return by_inversion(method, stream, n, r, is_location_scale(a, beta), Real{0},
                        [=](int32_t count, Real* u, Real* x) {
                            take_ln(count, u);
                            for (int32_t i = 0; i < count; ++i) x[i] = a + beta * std::sqrt(-u[i]);
                        });
}

// x = ln(-ln u), -ln u being a standard exponential number.
template <class Real>
void ln_of_exponential(int32_t count, double* u, Real* x) {
    For<Real>::take_ln(count, u);
    for (int32_t i = 0; i < count; ++i) x[i] = static_cast<Real>(-u[i]);
    take_ln(count, x);
}

template <class Real>
int32_t weibull(int32_t method, OzkVslStream* stream, int32_t n, Real* r, Real alpha, Real a, Real beta) {
    const bool holds = is_positive(alpha) && is_location_scale(a, beta);
    return by_inversion(method, stream, n, r, holds, 0.0, [=](int32_t count, double* u, Real* x) {
        ln_of_exponential(count, u, x);
        for (int32_t i = 0; i < count; ++i) x[i] /= alpha;
        take_exp(count, x);
        for (int32_t i = 0; i < count; ++i) x[i] = a + beta * x[i];
    });
}

template <class Real>
int32_t gumbel(int32_t method, OzkVslStream* stream, int32_t n, Real* r, Real a, Real beta) {
    return by_inversion(method, stream, n, r, is_location_scale(a, beta), 0.0,
                        [=](int32_t count, double* u, Real* x) {
                            ln_of_exponential(count, u, x);
                            for (int32_t i = 0; i < count; ++i) x[i] = a + beta * x[i];
                        });
}

// tan(pi u / 2), u on [-1, 1); its largest magnitude is that of the double nearest to pi / 2.
template <class Real>
int32_t cauchy(int32_t method, OzkVslStream* stream, int32_t n, Real* r, Real a, Real beta) {
    constexpr double kHalfPi = 0x1.921fb54442d18p+0;
    return by_inversion(method, stream, n, r, is_location_scale(a, beta), -1.0,
                        [=](int32_t count, double* u, Real* x) {
                            double cosine[kBlock];
                            for (int32_t i = 0; i < count; ++i) u[i] *= kHalfPi;
                            For<Real>::take_sin_cos(count, u, cosine);
                            for (int32_t i = 0; i < count; ++i) {
                                x[i] = static_cast<Real>(a + beta * (u[i] / cosine[i]));
                            }
                        });
}

}  // namespace
}  // namespace ozk::vsl

// Both precisions of a distribution with displacement a and scale beta.
#define OZK_VSL_LOCATION_SCALE(Name, name)                                                                   \
    int32_t _vslsRng##Name(int32_t method, OzkVslStream* stream, int32_t n, float* r, float a, float beta) { \
        return ozk::vsl::name(method, stream, n, r, a, beta);                                                \
    }                                                                                                        \
    int32_t _vsldRng##Name(int32_t method, OzkVslStream* stream, int32_t n, double* r, double a,             \
                           double beta) {                                                                    \
        return ozk::vsl::name(method, stream, n, r, a, beta);                                                \
    }

extern "C" {

OZK_VSL_LOCATION_SCALE(Exponential, exponential)
OZK_VSL_LOCATION_SCALE(Laplace, laplace)
OZK_VSL_LOCATION_SCALE(Rayleigh, rayleigh)
OZK_VSL_LOCATION_SCALE(Gumbel, gumbel)
OZK_VSL_LOCATION_SCALE(Cauchy, cauchy)

int32_t _vslsRngWeibull(int32_t method, OzkVslStream* stream, int32_t n, float* r, float alpha, float a,
                        float beta) {
    return ozk::vsl::weibull(method, stream, n, r, alpha, a, beta);
}
int32_t _vsldRngWeibull(int32_t method, OzkVslStream* stream, int32_t n, double* r, double alpha, double a,
                        double beta) {
    return ozk::vsl::weibull(method, stream, n, r, alpha, a, beta);
}

}  // extern "C"
