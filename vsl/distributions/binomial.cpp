// The binomial distribution.
//
// Methods: with p at most 1/2, else of the failures, inversion for means n p up to 64; above, Hormann, "The generation
// of binomial random variates", J. Statist. Comput. Simul. 46 (1993), algorithm BTRS: transformed rejection, valid
// from a mean of 10 on. With u on [-1/2, 1/2), v on [0, 1) and s = 1/2 - |u|,
//   k = floor((2 a / s + b) u + n p + 1/2) is accepted when v alpha / (a / s^2 + b) <= f(k) / f(mode),
// for which s >= 0.07 and v <= v_r suffice: so do 62 of 100 candidates at a mean of 65 and 79 at large ones.

#include <cmath>

#include "vsl/distributions/discrete_inversion.hpp"
#include "vsl/distributions/factorials.hpp"
#include "vsl/distributions/parameters.hpp"

namespace ozk::vsl {
namespace {

// result(k) is what is given out for k.
template <class Result>
int32_t by_btrs(OzkVslStream* stream, int32_t n, int32_t* r, double trials, double p, Result result) {
    constexpr double kLeastSure = 0.07;
    const double mode = std::floor((trials + 1) * p), deviation = std::sqrt(trials * p * (1 - p));
    const double b = 1.15 + 2.53 * deviation, a = -0.0873 + 0.0248 * b + 0.01 * p, c = trials * p + 0.5;
    const double alpha = (2.83 + 5.1 / b) * deviation, v_r = 0.92 - 4.2 / b;
    const FactorialMasses<2> masses(mode, p / (1 - p), {mode, trials - mode}, {1, -1});
    const Acceptance acceptance(masses, deviation, trials, n);
    return by_rejection<2>(stream, n, r, [=, &acceptance](int32_t count, const double* u, int32_t* out) {
        double k[kCandidates];
        bool accepted[kCandidates];
        int32_t unsure = 0, place[kCandidates];
        for (int32_t i = 0; i < count; ++i) {
            const double x = u[2 * i] - 0.5, s = 0.5 - std::abs(x);
            k[i] = std::floor((2 * a / s + b) * x + c);
            accepted[i] = s >= kLeastSure && u[2 * i + 1] <= v_r;
            place[unsure] = i;
            unsure += !accepted[i] && k[i] >= 0 && k[i] <= trials;
        }
        double those[kCandidates], ln_h[kCandidates];
        bool are_accepted[kCandidates];
        for (int32_t j = 0; j < unsure; ++j) {
            const double s = 0.5 - std::abs(u[2 * place[j]] - 0.5);
            those[j] = k[place[j]];
            ln_h[j] = u[2 * place[j] + 1] * alpha / (a / (s * s) + b);
        }
        take_ln(unsure, ln_h);
        acceptance.decide(unsure, those, ln_h, are_accepted);
        for (int32_t j = 0; j < unsure; ++j) accepted[place[j]] = are_accepted[j];
        const int32_t kept = keep(count, accepted, [&](int32_t to, int32_t from) { k[to] = k[from]; });
        take_floors(kept, k, out);
        for (int32_t i = 0; i < kept; ++i) out[i] = result(out[i]);
        return kept;
    });
}

// p <= 1/2.
template <class Result>
int32_t binomial(OzkVslStream* stream, int32_t n, int32_t* r, int32_t trials, double p, Result result) {
    if (trials * p > kLargestInvertedMean) return by_btrs(stream, n, r, trials, p, result);
    const double odds = p / (1 - p);
    const Masses masses{std::exp(trials * std::log1p(-p)), static_cast<int32_t>((trials + 1.0) * p),
                        [=](int32_t k) { return odds * (trials - k) / (k + 1); }};
    return by_discrete_inversion(stream, n, r, masses, result);
}

}  // namespace
}  // namespace ozk::vsl

extern "C" int32_t _vsliRngBinomial(int32_t method, OzkVslStream* stream, int32_t n, int32_t* r,
                                    int32_t trials, double p) {
    using namespace ozk::vsl;
    if (method_index(method) != kOzkVslRejection || trials < 0 || !(p >= 0 && p <= 1)) {
        return kOzkVslErrorBadArguments;
    }
    if (n < 1) return kOzkVslSuccess;
    return in_own_environment(replace_special_value<BelowEveryUniform>, [=] {
        if (p <= 0.5) return binomial(stream, n, r, trials, p, [](int32_t k) { return k; });
        return binomial(stream, n, r, trials, 1 - p, [=](int32_t k) { return trials - k; });
    });
}
