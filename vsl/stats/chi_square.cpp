// The chi-square distribution through the regularised incomplete gamma functions P(a, y), Q(a, y), a = degrees / 2,
// y = x / 2.
//
// Everything is computed in the extended format, whose 11 more bits cover what the far tails lose: the exponent of
// a density of 1e-308 is 708 and takes 10 bits from the fraction. Below a = kIntegralFrom P is its power series
// (y < a + 1) or Q its continued fraction; both take some sqrt(a) terms near y = a. From there on the smaller tail
// is the density at y times the integral of the density's ratio to it, by Gauss-Legendre rules over parts of one
// deviation, at a cost that does not depend on a. The density is that of Loader, "Fast and accurate computation of
// binomial probabilities" (2000): Stirling's error and the deviance, neither of which cancels.
//
// Measured against 50-digit arithmetic: see the tests. DiDonato and Morris, ACM TOMS 12 (1986), for the series, the
// fraction, and the quantile's start at small probabilities.

#include "vsl/stats/chi_square.hpp"

#include <cmath>
#include <limits>

#include "ozk_stats.h"
#include "vsl/stats/gauss_legendre.hpp"

namespace ozk::stats {
namespace {

using Extended = long double;

constexpr Extended kEpsilon = std::numeric_limits<Extended>::epsilon();
constexpr Extended kIntegralFrom = 2000;
constexpr Extended kSmallStep = 0.5L;  // of relative steps, up to which logarithms are taken by their series
constexpr Extended kTwoPi = 6.283185307179586476925286766559L;

Extended log_gamma(Extended x) {
    int sign;  // the plain function keeps it in a global variable
    return lgammal_r(x, &sign);
}

// u - log(1 + u), u > -1: with r = u / (2 + u) it is r u - 2 (r^3 / 3 + r^5 / 5 + ...).
Extended deviance(Extended u) {
    if (std::fabs(u) > kSmallStep) return u - std::log1p(u);
    const Extended r = u / (2 + u), square = r * r;
    Extended power = r * square, sum = 0;
    for (int k = 3; std::fabs(power) > kEpsilon * std::fabs(sum); k += 2, power *= square)
        sum += power / static_cast<Extended>(k);
    return r * u - 2 * sum;
}

// log(gamma(a + 1)) - log(sqrt(2 pi a) (a / e)^a), a >= 16: the first term left out is below 2^-66.
Extended stirling_error(Extended a) {
    const Extended s = 1 / (a * a);
    return (1 / 12.0L - s * (1 / 360.0L -
                             s * (1 / 1260.0L -
                                  s * (1 / 1680.0L -
                                       s * (1 / 1188.0L - s * (691 / 360360.0L -
                                                               s * (1 / 156.0L - s * 3617 / 122400.0L))))))) /
           a;
}

// y^a exp(-y) / gamma(a + 1), y > 0.
Extended density(Extended a, Extended y) {
    if (a < 16) return std::exp(a * std::log(y) - y - log_gamma(a + 1));
    const Extended u = (y - a) / a;
    const Extended exponent = std::fabs(u) > kSmallStep ? a * std::log(y / a) - (y - a) : -a * deviance(u);
    return std::exp(exponent - stirling_error(a)) / std::sqrt(kTwoPi * a);
}

// P / density: sum of y^k / ((a + 1) ... (a + k)).
Extended series(Extended a, Extended y) {
    Extended term = 1, sum = 1;
    for (Extended k = 1; term > kEpsilon * sum; ++k) sum += term *= y / (a + k);
    return sum;
}

// Q / (a density), by Lentz's method: 1 / (y + 1 - a - 1 (1 - a) / (y + 3 - a - ...)).
Extended fraction(Extended a, Extended y) {
    Extended b = y + 1 - a, c = std::numeric_limits<Extended>::max(), d = 1 / b, value = d;
    for (Extended k = 1;; ++k) {
        const Extended numerator = -k * (k - a);
        b += 2;
        d = 1 / (numerator * d + b);
        c = b + numerator / c;
        const Extended factor = c * d;
        value *= factor;
        if (std::fabs(factor - 1) <= 2 * kEpsilon) return value;
    }
}

// P (up false) or Q of y on their side of a, over the density at y: the integral of exp(-f(s)) / y * a over the
// steps s away from y, where f is the rise of the density's exponent, (a - 1) u - ... with u = s / y.
Extended integral(Extended a, Extended y, bool up) {
    const GaussLegendre<Extended> rule;
    const Extended side = up ? 1 : -1, deviation = std::sqrt(a);
    const Extended slope = std::fabs(y - (a - 1)) / y;  // of f at 0, per step
    const Extended part = std::fmin(deviation, 4 / slope);
    Extended sum = 0;
    for (Extended start = 0; up || start < y; start += part) {
        const Extended end = up ? start + part : std::fmin(start + part, y);
        Extended added = 0;
        for (int k = 0; k < rule.kNodes; ++k) {
            const Extended s = side * (start + (end - start) * rule.node[k]);
            const Extended u = s / y;
            // y^(a-1) e^-y to (y + s)^(a-1) e^-(y+s): (a - 1) log(1 + u) - s, where the linear parts cancel
            // but for (a - 1 - y) u.
            const Extended exponent = (a - 1 - y) * u - (a - 1) * deviance(u);
            added += rule.weight[k] * std::exp(exponent);
        }
        added *= end - start;
        sum += added;
        if (added <= kEpsilon * sum) break;
    }
    return sum * a / y;
}

struct Gamma {
    Extended lower, upper, density;
};

Gamma incomplete_gamma(Extended a, Extended y) {
    Gamma g;
    g.density = density(a, y);
    if (a >= kIntegralFrom) {
        const bool up = y > a;
        const Extended tail = g.density > 0 ? g.density * integral(a, y, up) : 0;
        g.lower = up ? 1 - tail : tail;
        g.upper = up ? tail : 1 - tail;
    } else if (y < a + 1) {
        g.lower = g.density * series(a, y);
        g.upper = 1 - g.lower;
        // Few degrees: Q is small while P is the nearer to its series, and 1 - P has lost its digits.
        if (g.upper < 0.1L && y > 0.5L) g.upper = g.density * a * fraction(a, y);
    } else {
        g.upper = g.density * a * fraction(a, y);
        g.lower = 1 - g.upper;
    }
    return g;
}

Tails tails_of(double x, double degrees) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    if (!(degrees > 0) || std::isinf(degrees) || std::isnan(x)) return {kNaN, kNaN};
    if (x <= 0) return {0, 1};
    if (std::isinf(x)) return {1, 0};
    const Gamma g = incomplete_gamma(Extended(degrees) / 2, Extended(x) / 2);
    return {static_cast<double>(g.lower), static_cast<double>(g.upper)};
}

// Where Newton's method begins: Wilson and Hilferty's cube, or the first term of the series where that is no number
// or far below it.
Extended quantile_start(Extended lower, Extended upper, Extended a) {
    const bool low = lower < upper;
    const Extended r = std::sqrt(-2 * std::log(low ? lower : upper));
    Extended z = r - (2.515517L + r * (0.802853L + r * 0.010328L)) /
                         (1 + r * (1.432788L + r * (0.189269L + r * 0.001308L)));  // a normal quantile, 4e-4
    if (low) z = -z;
    const Extended t = 1 - 1 / (9 * a) + z / (3 * std::sqrt(a));
    const Extended cube = a * t * t * t;
    const Extended term = std::exp((std::log(lower) + log_gamma(a + 1)) / a);
    return t <= 0 || term < 0.2L * (a + 1) ? std::fmax(term, std::numeric_limits<Extended>::min()) : cube;
}

}  // namespace

Tails chi_square_tails(double x, double degrees) { return tails_of(x, degrees); }

double chi_square_quantile(const Tails& tails, double degrees) {
    const Extended lower = tails.lower, upper = tails.upper;
    if (!(degrees > 0) || std::isinf(degrees) || !(lower >= 0 && upper >= 0 && lower <= 1 && upper <= 1))
        return std::numeric_limits<double>::quiet_NaN();
    if (lower == 0) return 0;
    if (upper == 0) return std::numeric_limits<double>::infinity();
    const Extended a = Extended(degrees) / 2;
    Extended y = quantile_start(lower, upper, a), least = 0, most = std::numeric_limits<Extended>::infinity();
    // Newton's method for the logarithm of the smaller tail as a function of log y, which is nearly straight; a
    // bracket catches what leaves it.
    for (int step = 0; step < 200; ++step) {
        const Gamma g = incomplete_gamma(a, y);
        const bool low = lower < upper;
        const Extended tail = low ? g.lower : g.upper, wanted = low ? lower : upper;
        ((low ? tail < wanted : tail > wanted) ? least : most) = y;
        const Extended slope = a * g.density / tail;  // of log tail, by log y
        Extended move = std::log(wanted / tail) / (low ? slope : -slope);
        if (std::fabs(move) < 0x1p-32L) {  // the next one would be below the rounding
            y += y * move;
            break;
        }
        y *= std::exp(std::fmin(move, 5.0L));
        if (!(y > least && y < most))
            y = std::isinf(most) ? 4 * least : least == 0 ? most / 1024 : least + (most - least) / 2;
        if (y < std::numeric_limits<double>::denorm_min() / 4) return 0;
    }
    return static_cast<double>(2 * y);
}

}  // namespace ozk::stats

extern "C" {

double __vsldChi2CDF(double x, double degrees) { return ozk::stats::tails_of(x, degrees).lower; }

double __vsldChi2PDF(double x, double degrees) {
    if (!(degrees > 0) || std::isinf(degrees) || std::isnan(x))
        return std::numeric_limits<double>::quiet_NaN();
    if (x < 0 || std::isinf(x)) return 0;
    if (x == 0) return degrees < 2 ? std::numeric_limits<double>::infinity() : degrees == 2 ? 0.5 : 0;
    const long double a = static_cast<long double>(degrees) / 2;
    return static_cast<double>(ozk::stats::density(a, static_cast<long double>(x) / 2) * a /
                               static_cast<long double>(x));
}

double __vsldChi2ICDF(double probability, double degrees) {
    return ozk::stats::chi_square_quantile({probability, 1 - probability}, degrees);
}

double __vsldLGamma(double x) { return static_cast<double>(ozk::stats::log_gamma(x)); }

double __vsldSqrt(double x) { return std::sqrt(x); }

}  // extern "C"
