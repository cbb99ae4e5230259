// The beta distribution.
//
// Methods: Johnk, "Erzeugung von betaverteilten und gammaverteilten Zufallszahlen", Metrika 8 (1964), where
// both shapes are at most 1; else Cheng, "Generating beta variates with nonintegral shape parameters", Comm.
// ACM 21 (1978), algorithm BA with the choices of a and b of its faster variants. Both by logarithms, so that
// nothing overflows or becomes 0 / 0: with s = ln(W / b) and t = exp(-|s|), W / (b + W) is 1 / (1 + t) or
// t / (1 + t), and ln(b + W) = ln b + max(s, 0) + ln(1 + t). What is compared to accept is wrong by about
// 2^-52 (p + q).

#include <cmath>

#include "vsl/distributions/parameters.hpp"
#include "vsl/distributions/rejection.hpp"

namespace ozk::vsl {
namespace {

constexpr double kLn4 = 0x1.62e42fefa39efp+0;

// x[i] = exp(-|s[i]|)
void take_exp_of_minus_magnitude(int32_t count, const double* s, double* x) {
    for (int32_t i = 0; i < count; ++i) x[i] = -std::abs(s[i]);
    take_exp(count, x);
}

// 1 / (1 + exp(-s)), t = exp(-|s|) <= 1. Without a branch on the sign of s, which nothing predicts.
double logistic(double s, double t) { return std::max(t, 0.5 + std::copysign(0.5, s)) / (1 + t); }

// Johnk: with x = u1^(1/p) and y = u2^(1/q), x / (x + y) is accepted when x + y <= 1.
template <class Real>
int32_t johnk(OzkVslStream* stream, int32_t n, Real* r, double p, double q, double a, double beta) {
    return by_rejection<2>(stream, n, r, [=](int32_t count, const double* u, Real* out) {
        double logarithms[2 * kCandidates], s[kCandidates], larger[kCandidates], t[kCandidates];
        std::copy_n(u, 2 * count, logarithms);
        take_ln(2 * count, logarithms);
        for (int32_t i = 0; i < count; ++i) {
            const double x = logarithms[2 * i] / p, y = logarithms[2 * i + 1] / q;
            s[i] = x - y;
            larger[i] = std::max(x, y);
        }
        take_exp(count, larger);
        take_exp_of_minus_magnitude(count, s, t);
        int32_t kept = 0;
        for (int32_t i = 0; i < count; ++i) {
            out[kept] = static_cast<Real>(a + beta * logistic(s[i], t[i]));
            kept += larger[i] * (1 + t[i]) <= 1;
        }
        return kept;
    });
}

// Cheng: V = lambda ln(u1 / (1 - u1)) and W = a exp(V) are accepted when
//   u1^2 u2 <= exp(alpha ln(alpha / (b + W)) + gamma V - ln 4).
struct Cheng {
    double alpha, lambda, gamma_minus_alpha, ln_a_over_b, ln_alpha_over_b;
    double sign;  // 1: the result is W / (b + W); -1: b / (b + W)
};

Cheng cheng(double p, double q) {
    const double least = std::min(p, q), largest = std::max(p, q), alpha = p + q;
    const bool both_above_one = least > 1;
    const double a = both_above_one ? least : largest, b = both_above_one ? largest : least;
    // Their (alpha - 2) / (2 a b - alpha), which overflows sooner.
    const double lambda = both_above_one ? std::sqrt((1 - 2 / alpha) / (2 / (1 / a + 1 / b) - 1)) : 1 / least;
    return {alpha,
            lambda,
            1 / lambda - b,  // gamma = a + 1 / lambda
            std::log(a / b),
            std::log1p(a / b),
            a == p ? 1.0 : -1.0};
}

template <class Real>
int32_t by_cheng(OzkVslStream* stream, int32_t n, Real* r, const Cheng& c, double shift, double beta) {
    return by_rejection<2>(stream, n, r, [=](int32_t count, const double* u, Real* out) {
        double v[kCandidates], s[kCandidates], t[kCandidates], bound[kCandidates], x[kCandidates];
        for (int32_t i = 0; i < count; ++i) v[i] = u[2 * i] / (1 - u[2 * i]);
        take_ln(count, v);
        for (int32_t i = 0; i < count; ++i) {
            v[i] *= c.lambda;
            s[i] = v[i] + c.ln_a_over_b;
        }
        take_exp_of_minus_magnitude(count, s, t);
        for (int32_t i = 0; i < count; ++i) bound[i] = 1 + t[i];
        take_ln(count, bound);
        for (int32_t i = 0; i < count; ++i) {
            bound[i] = c.alpha * (v[i] - std::max(s[i], 0.0) + c.ln_alpha_over_b - bound[i]) +
                       (c.gamma_minus_alpha * v[i] - kLn4);
            x[i] = shift + beta * logistic(c.sign * s[i], t[i]);
        }
        take_exp(count, bound);
        int32_t kept = 0;
        for (int32_t i = 0; i < count; ++i) {
            out[kept] = static_cast<Real>(x[i]);
            kept += u[2 * i] * u[2 * i] * u[2 * i + 1] < bound[i];
        }
        return kept;
    });
}

template <class Real>
int32_t beta_numbers(int32_t method, OzkVslStream* stream, int32_t n, Real* r, double p, double q, Real a,
                     Real beta) {
    constexpr double kSmallestShape = 1e-30, kLargestShape = 1e30;
    const auto is_shape = [](double x) { return x >= kSmallestShape && x <= kLargestShape; };
    if (method_index(method) != kOzkVslRejection || !is_shape(p) || !is_shape(q) ||
        !is_location_scale(a, beta)) {
        return kOzkVslErrorBadArguments;
    }
    if (n < 1) return kOzkVslSuccess;
    // From here on, since setting up raises flags, too.
    return in_own_environment(nullptr, [=] {
        return std::max(p, q) <= 1 ? johnk(stream, n, r, p, q, a, beta)
                                   : by_cheng(stream, n, r, cheng(p, q), a, beta);
    });
}

}  // namespace
}  // namespace ozk::vsl

extern "C" {

int32_t _vslsRngBeta(int32_t method, OzkVslStream* stream, int32_t n, float* r, float p, float q, float a,
                     float beta) {
    return ozk::vsl::beta_numbers(method, stream, n, r, p, q, a, beta);
}
int32_t _vsldRngBeta(int32_t method, OzkVslStream* stream, int32_t n, double* r, double p, double q, double a,
                     double beta) {
    return ozk::vsl::beta_numbers(method, stream, n, r, p, q, a, beta);
}

}  // extern "C"
