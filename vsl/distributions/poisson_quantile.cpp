// Method: Temme's uniform expansion of the incomplete gamma function (SIAM J. Math. Anal. 10 (1979)), inverted, as in
// Giles, "Algorithm 955: approximation of the inverse Poisson cumulative distribution function", ACM TOMS 42 (2016).
// With w the normal quantile of u, s = w / sqrt(lambda) and r(s) as in poisson_quantile.inc,
//   Q(u) = lambda r(s) + c(s)
// comes to k + error, 0 < error < 0.0225 / k, where u = P(X < k), for lambda >= 8 and u from 2^-54 to 1 - 2^-54
// (measured in 40 digits). So floor(Q) is the result, but where Q is that near above an integer; there the
// probability is summed up. Small means and the far left tail are summed up from 0.
//
// r and c are the power series where |s| <= 1/2, which leaves off 2e-9; else r comes from Newton's iteration.

#include "vsl/distributions/poisson_quantile.hpp"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "vsl/distributions/blocks.hpp"
#include "vsl/distributions/kernels.hpp"
#include "vsl/distributions/poisson_density.hpp"

namespace ozk::vsl {
namespace {

#include "vsl/distributions/poisson_quantile.inc"

constexpr double kLeastMean = 8;
constexpr double kSeriesEnd = 0.5;
constexpr double kFarLeft = -1.3;  // r(-sqrt(2)) is 0
constexpr double kSqrt2 = 1.4142135623730951;
constexpr double kTwoPi = 0x1.921fb54442d18p+2;
constexpr double kLargestResult = 2147483647;

template <size_t kTerms>
double polynomial(const double (&c)[kTerms], double s) {
    double sum = c[kTerms - 1];
    for (size_t i = kTerms - 1; i-- > 0;) sum = sum * s + c[i];
    return sum;
}

// By the probabilities of 0, 1, 2, ... in turn.
double summed_up(double u, double lambda) {
    double k = 0, probability = std::exp(-lambda), sum = probability;
    while (sum <= u) {
        probability *= lambda / ++k;
        const double next = sum + probability;
        if (next == sum) break;
        sum = next;
    }
    return k;
}

// Q where |s| > 1/2.
double by_newton(double s, double lambda) {
    double r = std::max(1 + s * (1 + s * (kRoot[2] + s * (kRoot[3] + s * kRoot[4]))), 0.01);
    for (int i = 0; i < 4; ++i) {
        const double ln = std::log(r);
        r = std::max(r - (1 - r + r * ln - s * s / 2) / ln, 1e-3);
    }
    return lambda * r + std::log(s * std::sqrt(r) / (r - 1)) / std::log(r);
}

// P(X = k), k >= 1; the logarithm by the difference from the mean, for the sake of large ones.
double probability(double k, double lambda) {
    return std::exp(ln_density(lambda, k, std::log1p((lambda - k - 1) / (k + 1)))) /
           std::sqrt(kTwoPi * lambda);
}

// Whether u < P(X < k), k >= 1: by the sum of the smaller probabilities downwards or of the others upwards.
bool is_below(double u, double k, double lambda) {
    constexpr double kEnough = 0x1p-56;
    double term = 1, sum = 0;
    if (k <= lambda) {
        for (double j = k; term > kEnough * sum && j > 0; --j) {
            term *= j / lambda;
            sum += term;
        }
        return u < probability(k, lambda) * sum;
    }
    for (double j = k + 1; term > kEnough * sum; ++j) {
        sum += term;
        term *= lambda / j;
    }
    return 1 - u > probability(k, lambda) * sum;
}

// The integer that Q stands for; `rounding` is what it may be wrong by beyond the method's error.
double integer_of(double q, double u, double lambda) {
    const double rounding = 0x1p-26 + lambda * 0x1p-48, k = std::floor(q + rounding);
    if (k < 1 || q - k > 0.0225 / k + rounding) return std::max(k, 0.0);
    return is_below(u, k, lambda) ? k - 1 : k;
}

}  // namespace

void poisson_quantiles(int32_t count, const double* u, const double* lambda, int32_t* r) {
    double s[kBlock], q[kBlock];
    for (int32_t i = 0; i < count; ++i) s[i] = 2 * u[i] - 1;
    For<double>::take_erf_inv(count, s);
    for (int32_t i = 0; i < count; ++i) {
        s[i] *= kSqrt2 / std::sqrt(lambda[i]);
        q[i] = lambda[i] * polynomial(kRoot, s[i]) + polynomial(kCorrection, s[i]);
    }
    for (int32_t i = 0; i < count; ++i) {
        double k;
        if (lambda[i] > kLargestResult + 0x1p22) {
            k = kLargestResult;
        } else if (lambda[i] < kLeastMean || s[i] < kFarLeft) {
            k = summed_up(u[i], lambda[i]);
        } else {
            k = integer_of(std::abs(s[i]) > kSeriesEnd ? by_newton(s[i], lambda[i]) : q[i], u[i], lambda[i]);
        }
        r[i] = static_cast<int32_t>(std::min(k, kLargestResult));
    }
}

}  // namespace ozk::vsl
