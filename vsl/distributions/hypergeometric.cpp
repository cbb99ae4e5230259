// The hypergeometric distribution.
//
// The smaller of marked and not marked, and of drawn and left, say everything; the number common to them has the least
// value 0. Methods: inversion where its mean is up to 64; above, Stadlober, "The ratio of uniforms approach for
// generating discrete random variates", J. Comput. Appl. Math. 31 (1990): with x and y on [0, 1),
//   k = floor(mean + 1/2 + h (y - 1/2) / x) is accepted when x^2 <= f(k) / f(mode),
// h = 2 sqrt(2 / e) sqrt(variance + 1/2) + 3 - 2 sqrt(3 / e).

#include <cmath>
#include <numbers>

#include "vsl/distributions/discrete_inversion.hpp"
#include "vsl/distributions/factorials.hpp"
#include "vsl/distributions/parameters.hpp"

namespace ozk::vsl {
namespace {

// How many of a marked ones are among b drawn ones, of a + b + c: k has the probability P(k) proportional to
// 1 / (k! (a - k)! (b - k)! (c + k)!).
struct Lot {
    double a, b, c;

    double size() const { return a + b + c; }
    double mean() const { return size() > 0 ? a * (b / size()) : 0; }
    double variance() const { return mean() * ((b + c) / size()) * ((a + c) / (size() - 1)); }
    double mode() const { return std::floor((a + 1) * (b + 1) / (size() + 2)); }
    // P(0) = (a + c)! (b + c)! / (c! (a + b + c)!). Of Stirling's formula b ln(1 - a / m) + a ln(1 - b / m) and, from
    // 1 - (a + b) / m = (1 - a / m) (1 - b / m) (1 - d), (c + 1/2) ln(1 - d) remain: terms as large as the mean.
    double none() const {
        const double m = size() + 1, d = a / (m - a) * (b / (m - b));
        return std::exp(b * std::log1p(-a / m) + a * std::log1p(-b / m) - (c + 0.5) * std::log1p(-d) +
                        stirling_correction(a + c) + stirling_correction(b + c) - stirling_correction(c) -
                        stirling_correction(size()));
    }
};

template <class Result>
int32_t by_ratio_of_uniforms(OzkVslStream* stream, int32_t n, int32_t* r, const Lot& lot, Result result) {
    using std::numbers::e;
    const double center = lot.mean() + 0.5, largest = std::min(lot.a, lot.b), mode = lot.mode();
    const double h = 2 * std::sqrt(2 / e * (lot.variance() + 0.5)) + 3 - 2 * std::sqrt(3 / e);
    const FactorialMasses<4> masses(mode, 1, {mode, lot.a - mode, lot.b - mode, lot.c + mode},
                                    {1, -1, -1, 1});
    const Acceptance acceptance(masses, std::sqrt(lot.variance()), largest, n);
    return by_rejection<2>(stream, n, r, [=, &acceptance](int32_t count, const double* u, int32_t* out) {
        double k[kCandidates], ln_h[kCandidates];
        bool accepted[kCandidates];
        int32_t within = 0;
        for (int32_t i = 0; i < count; ++i) {
            const double x = u[2 * i], y = u[2 * i + 1];
            k[within] = std::floor(center + h * (y - 0.5) / x);
            ln_h[within] = x;
            within += k[within] >= 0 && k[within] <= largest;
        }
        take_ln(within, ln_h);
        for (int32_t i = 0; i < within; ++i) ln_h[i] *= 2;
        acceptance.decide(within, k, ln_h, accepted);
        const int32_t kept = keep(within, accepted, [&](int32_t to, int32_t from) { k[to] = k[from]; });
        take_floors(kept, k, out);
        for (int32_t i = 0; i < kept; ++i) out[i] = result(out[i]);
        return kept;
    });
}

template <class Result>
int32_t common_to_both(OzkVslStream* stream, int32_t n, int32_t* r, const Lot& lot, Result result) {
    if (lot.mean() > kLargestInvertedMean) return by_ratio_of_uniforms(stream, n, r, lot, result);
    const Masses masses{lot.none(), static_cast<int32_t>(lot.mode()),
                        [=](int32_t k) { return (lot.a - k) * (lot.b - k) / ((k + 1.0) * (lot.c + k + 1)); }};
    return by_discrete_inversion(stream, n, r, masses, result);
}

}  // namespace
}  // namespace ozk::vsl

extern "C" int32_t _vsliRngHypergeometric(int32_t method, OzkVslStream* stream, int32_t n, int32_t* r,
                                          int32_t size, int32_t drawn, int32_t marked) {
    using namespace ozk::vsl;
    const auto is_part = [=](int32_t part) { return part >= 0 && part <= size; };
    if (method_index(method) != kOzkVslRejection || !is_part(drawn) || !is_part(marked)) {
        return kOzkVslErrorBadArguments;
    }
    if (n < 1) return kOzkVslSuccess;
    const bool few_drawn = drawn <= size - drawn, few_marked = marked <= size - marked;
    const int32_t a = few_marked ? marked : size - marked, b = few_drawn ? drawn : size - drawn;
    const Lot lot{double(a), double(b), double(size - a - b)};
    // Of the marked ones, those drawn; of the others or of those left, by difference.
    const int32_t start = few_drawn == few_marked ? (few_drawn ? 0 : drawn - (size - marked))
                          : few_drawn             ? drawn
                                                  : marked;
    const int32_t step = few_drawn == few_marked ? 1 : -1;
    return in_own_environment(replace_special_value<BelowEveryUniform>, [=] {
        return common_to_both(stream, n, r, lot, [=](int32_t k) { return start + step * k; });
    });
}
