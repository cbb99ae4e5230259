// The constants of the translated biweight: roots of one equation in one variable.

#include "vsl/stats/translated_biweight.hpp"

#include "vsl/stats/chi_square.hpp"
#include "vsl/stats/gauss_legendre.hpp"

namespace ozk::stats {
namespace {

// E rho(d) / rho(infinity), where d^2 is chi-square with p degrees of freedom: the integral of psi(t) P(d > t). Up
// to M it is M^2 P(d > M) / 2 + E (d^2; d < M) / 2, and beyond by Gauss-Legendre rules; moments of d up to the sixth
// would cancel where c is small against M.
double mean_share(const TranslatedBiweight& function, double p) {
    const double m = function.full;
    double mean = m * m / 2 * chi_square_tails(m * m, p).upper + p / 2 * chi_square_tails(m * m, p + 2).lower;
    const GaussLegendre<double> rule;
    const int parts = static_cast<int>(std::ceil(function.width));  // as smooth as the normal density
    for (int part = 0; part < parts; ++part)
        for (int k = 0; k < rule.kNodes; ++k) {
            const double t = m + function.width * (part + rule.node[k]) / parts;
            mean += function.width / parts * rule.weight[k] * t * function.weight(t) *
                    chi_square_tails(t * t, p).upper;
        }
    return mean / function.ceiling();
}

// Where a falling function crosses zero between low and high: Ridders's method.
template <class Function>
double root(double low, double high, Function value) {
    double at_low = value(low), at_high = value(high), x = low;
    for (int step = 0; step < 60; ++step) {
        const double middle = low + (high - low) / 2, at_middle = value(middle);
        const double bow = std::sqrt(at_middle * at_middle - at_low * at_high);
        if (bow == 0) return middle;
        const double next = middle + (middle - low) * at_middle / bow, at_next = value(next);
        const double moved = std::fabs(next - x);
        x = next;
        if (at_next == 0 || moved <= 1e-13 * x) break;
        if (at_middle > 0 && at_next < 0) {
            low = middle, at_low = at_middle, high = next, at_high = at_next;
        } else if (at_middle < 0 && at_next > 0) {
            low = next, at_low = at_next, high = middle, at_high = at_middle;
        } else if (at_next > 0) {
            low = next, at_low = at_next;
        } else {
            high = next, at_high = at_next;
        }
    }
    return x;
}

}  // namespace

TranslatedBiweight translated_biweight(int64_t dimension, double breakdown, double rejection) {
    const double p = static_cast<double>(dimension);
    const double limit = std::sqrt(chi_square_quantile({1 - rejection, rejection}, p));
    // The share falls with M at M + c held, and with the scale of the whole function.
    const auto excess = [=](double full, double width) {
        return mean_share({full, width, breakdown}, p) - breakdown;
    };
    double full = 0, width = limit;
    if (excess(0, limit) < 0) {
        width = root(limit / 1024, limit, [=](double c) { return excess(0, c); });
    } else if (excess(limit, 0) > 0) {
        double high = 2 * limit;
        while (excess(high, 0) > 0) high *= 2;
        full = root(limit, high, [=](double m) { return excess(m, 0); });
        width = 0;
    } else {
        full = root(0, limit, [=](double m) { return excess(m, limit - m); });
        width = limit - full;
    }
    return {full, width, breakdown};
}

}  // namespace ozk::stats
