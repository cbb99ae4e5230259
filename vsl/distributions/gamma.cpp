// Gamma and chi-square distributions.
//
// Method: Marsaglia and Tsang. Shapes below 1: a result of shape alpha + 1 times v^(1/alpha), v uniform (their
// section 6).

#include <cmath>

#include "vsl/distributions/marsaglia_tsang.hpp"
#include "vsl/distributions/parameters.hpp"

namespace ozk::vsl {
namespace {

template <class Real>
int32_t gamma_from_one(OzkVslStream* stream, int32_t n, Real* r, double alpha, double a, double beta) {
    const MarsagliaTsang gamma = marsaglia_tsang(alpha);
    const double scale = beta * gamma.d;
    return by_rejection<2>(stream, n, r, [=](int32_t count, const double* u, Real* out) {
        double cube[kCandidates];
        bool accepted[kCandidates];
        propose<Real, 2>(gamma, count, u, cube, accepted);
        return keep(count, accepted,
                    [&](int32_t to, int32_t from) { out[to] = static_cast<Real>(a + scale * cube[from]); });
    });
}

template <class Real>
int32_t gamma_below_one(OzkVslStream* stream, int32_t n, Real* r, double alpha, double a, double beta) {
    const MarsagliaTsang gamma = marsaglia_tsang(alpha + 1);
    const double scale = beta * gamma.d;
    return by_rejection<3>(stream, n, r, [=](int32_t count, const double* u, Real* out) {
        double cube[kCandidates], power[kCandidates];
        bool accepted[kCandidates];
        propose<Real, 3>(gamma, count, u, cube, accepted);
        const int32_t kept = keep(count, accepted, [&](int32_t to, int32_t from) {
            cube[to] = cube[from];
            power[to] = u[3 * from + 2];
        });
        take_ln(kept, power);
        for (int32_t i = 0; i < kept; ++i) power[i] /= alpha;
        take_exp(kept, power);
        for (int32_t i = 0; i < kept; ++i) out[i] = static_cast<Real>(a + scale * (cube[i] * power[i]));
        return kept;
    });
}

template <class Real>
int32_t gamma(int32_t method, OzkVslStream* stream, int32_t n, Real* r, double alpha, Real a, Real beta) {
    if (method_index(method) != kOzkVslRejection || !is_positive(alpha) || !is_location_scale(a, beta)) {
        return kOzkVslErrorBadArguments;
    }
    if (n < 1) return kOzkVslSuccess;
    // From here on, since setting up raises flags, too.
    return in_own_environment(nullptr, [=] {
        return alpha < 1 ? gamma_below_one(stream, n, r, alpha, a, beta)
                         : gamma_from_one(stream, n, r, alpha, a, beta);
    });
}

}  // namespace
}  // namespace ozk::vsl

extern "C" {

int32_t _vslsRngGamma(int32_t method, OzkVslStream* stream, int32_t n, float* r, float alpha, float a,
                      float beta) {
    return ozk::vsl::gamma(method, stream, n, r, alpha, a, beta);
}
int32_t _vsldRngGamma(int32_t method, OzkVslStream* stream, int32_t n, double* r, double alpha, double a,
                      double beta) {
    return ozk::vsl::gamma(method, stream, n, r, alpha, a, beta);
}

int32_t _vslsRngChiSquare(int32_t method, OzkVslStream* stream, int32_t n, float* r, int32_t v) {
    return ozk::vsl::gamma(method, stream, n, r, 0.5 * v, 0.0f, 2.0f);
}
int32_t _vsldRngChiSquare(int32_t method, OzkVslStream* stream, int32_t n, double* r, int32_t v) {
    return ozk::vsl::gamma(method, stream, n, r, 0.5 * v, 0.0, 2.0);
}

}  // extern "C"
