// Negative binomial numbers: the failures before success a, each trial succeeding with probability p; for real a the
// distribution with P(X = 0) = p^a and P(X = k + 1) / P(X = k) = (1 - p) (a + k) / (k + 1).
//
// Methods: inversion by the table of the distribution function, where Chernoff's bound says that all but 2^-54 of it
// lies below kMostMasses; else a Poisson number whose mean is (1 - p) / p times a gamma number of shape a (Devroye,
// "Non-Uniform Random Variate Generation", 1986, chapter X.4.7), the quantile of one uniform, so that a candidate
// takes a fixed number of uniforms.

#include <cmath>

#include "vsl/distributions/discrete_inversion.hpp"
#include "vsl/distributions/marsaglia_tsang.hpp"
#include "vsl/distributions/parameters.hpp"
#include "vsl/distributions/poisson_quantile.hpp"

namespace ozk::vsl {
namespace {

// P(X >= k) <= exp((a + k) ln((a + k) / (a + mean)) - k ln(k / mean)) for k above the mean.
bool fits_table(double a, double mean, double ln_p0) {
    constexpr double kLeastLogarithm = -700, kTail = -38;  // ln 2^-54 is -37.4
    if (!(mean < kMostMasses && ln_p0 > kLeastLogarithm)) return false;
    const double k = kMostMasses;
    return (a + k) * std::log1p((k - mean) / (a + mean)) - k * std::log(k / mean) < kTail;
}

// kUniforms: 2 for a gamma candidate, 1 for its power where the shape is below 1, 1 for the Poisson number.
template <int kUniforms>
int32_t by_mixture(OzkVslStream* stream, int32_t n, int32_t* r, double a, double odds) {
    constexpr bool kBelowOne = kUniforms == 4;
    const MarsagliaTsang gamma = marsaglia_tsang(kBelowOne ? a + 1 : a);
    const double scale = gamma.d * odds;
    return draw_candidates<kUniforms>(stream, n, r, [=](int32_t count, const double* u, int32_t* out) {
        double mean[kCandidates], power[kCandidates], last[kCandidates];
        bool accepted[kCandidates];
        propose<double, kUniforms>(gamma, count, u, mean, accepted);
        const int32_t kept = keep(count, accepted, [&](int32_t to, int32_t from) {
            mean[to] = mean[from];
            power[to] = u[kUniforms * from + 2];
            last[to] = u[kUniforms * from + kUniforms - 1];
        });
        if constexpr (kBelowOne) {
            take_ln(kept, power);
            for (int32_t i = 0; i < kept; ++i) power[i] /= a;
            take_exp(kept, power);
            for (int32_t i = 0; i < kept; ++i) mean[i] *= power[i];
        }
        for (int32_t i = 0; i < kept; ++i) mean[i] *= scale;
        poisson_quantiles(kept, last, mean, out);
        return kept;
    });
}

int32_t negative_binomial(OzkVslStream* stream, int32_t n, int32_t* r, double a, double p) {
    const double failure = 1 - p, odds = failure / p, ln_p0 = a * std::log(p);
    const double mode = std::max(0.0, (a - 1) * odds);
    if (fits_table(a, a * odds, ln_p0)) {
        const Masses masses{std::exp(ln_p0), static_cast<int32_t>(mode),
                            [=](int32_t k) { return failure * ((a + k) / (k + 1)); }};
        return by_discrete_inversion(stream, n, r, masses, [](int32_t k) { return k; });
    }
    return a < 1 ? by_mixture<4>(stream, n, r, a, odds) : by_mixture<3>(stream, n, r, a, odds);
}

}  // namespace
}  // namespace ozk::vsl

extern "C" int32_t _vsliRngNegbinomial(int32_t method, OzkVslStream* stream, int32_t n, int32_t* r, double a,
                                       double p) {
    using namespace ozk::vsl;
    if (method_index(method) != kOzkVslInverse || !is_positive(a) || !(p > 0 && p < 1)) {
        return kOzkVslErrorBadArguments;
    }
    if (n < 1) return kOzkVslSuccess;
    return in_own_environment(replace_special_value<BelowEveryUniform>,
                              [=] { return negative_binomial(stream, n, r, a, p); });
}
