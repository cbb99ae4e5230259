// Gamma numbers of shapes alpha >= 1 by rejection: Marsaglia and Tsang, "A simple method for generating gamma
// variables", ACM TOMS 26 (2000). With d = alpha - 1/3 and c = 1 / sqrt(9 d), d (1 + e)^3, e = c x of a normal x, is
// accepted when a uniform w has
//   ln w < 3 d (ln(1 + e) - e + e^2 / 2 - e^3 / 3),
// their condition with the terms up to e^3 cancelled, so that it holds for large alpha; w < 1 - 0.0331 x^4
// implies it. At least 95 of 100 are accepted.
#pragma once

#include <cmath>

#include "vsl/distributions/rejection.hpp"

namespace ozk::vsl {

struct MarsagliaTsang {
    double d, c;
};

inline MarsagliaTsang marsaglia_tsang(double alpha) {
    const double d = alpha - 1.0 / 3;
    return {d, 1 / (3 * std::sqrt(d))};
}

// ln(1 + e) - e + e^2 / 2 - e^3 / 3, given ln(1 + e). Below 0.01 the series: what it leaves off is 2^-50 of it.
inline double logarithm_beyond_cube(double e, double ln) {
    if (std::abs(e) >= 0.01) return ln - e * (1 - e * (1.0 / 2 - e * (1.0 / 3)));
    const double e2 = e * e;
    return -e2 * e2 *
           (1.0 / 4 -
            e * (1.0 / 5 - e * (1.0 / 6 - e * (1.0 / 7 - e * (1.0 / 8 - e * (1.0 / 9 - e * 0.1))))));
}

// For `count` candidates of kUniforms uniforms each: cube[i] = (1 + e)^3, and whether it is accepted. With x =
// sqrt(2) z, z from the inverse error function. Where 1 + e <= 0, x < -2.44 and the squeeze is below 0.
template <class Real, int kUniforms>
void propose(const MarsagliaTsang& gamma, int32_t count, const double* u, double* cube, bool* accepted) {
    constexpr double kSqueeze = 4 * 0.0331, kSqrt2 = 1.4142135623730951, kNearlyZero = 0x1p-60;
    const double c = kSqrt2 * gamma.c;
    double z[kCandidates], margin[kCandidates];
    for (int32_t i = 0; i < count; ++i) {
        z[i] = 2 * u[kUniforms * i] - 1;
        margin[i] = 1 - u[kUniforms * i + 1];
    }
    For<Real>::take_erf_inv(count, z);
    for (int32_t i = 0; i < count; ++i) {
        const double t = 1 + c * z[i], z2 = z[i] * z[i];
        cube[i] = t * t * t;
        margin[i] -= kSqueeze * (z2 * z2);
    }

    int32_t undecided = 0, place[kCandidates];
    for (int32_t i = 0; i < count; ++i) {
        accepted[i] = margin[i] > 0;
        place[undecided] = i;
        undecided += !accepted[i];
    }
    double logarithms[2 * kCandidates];
    for (int32_t k = 0; k < undecided; ++k) {
        logarithms[2 * k] = u[kUniforms * place[k] + 1];
        logarithms[2 * k + 1] = std::max(1 + c * z[place[k]], kNearlyZero);
    }
    take_ln(2 * undecided, logarithms);
    for (int32_t k = 0; k < undecided; ++k) {
        const double e = c * z[place[k]];
        accepted[place[k]] =
            e > -1 && logarithms[2 * k] < 3 * gamma.d * logarithm_beyond_cube(e, logarithms[2 * k + 1]);
    }
}

}  // namespace ozk::vsl
