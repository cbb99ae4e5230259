// Poisson numbers.
//
// Methods, for means from 27 on: Schmeiser and Kachitvichyanukul, "Poisson random variate generation", Purdue
// University Research Memorandum 81-4 (1981), algorithm PTPE, with its region of immediate acceptance alone; Hoermann,
// "The transformed rejection method for generating Poisson random variables", Insurance: Mathematics and Economics 12
// (1993), PTRS; Stadlober, "The ratio of uniforms approach for generating discrete random variates", J. Comput. Appl.
// Math. 31 (1990); and the quantile of one uniform. Below 27 all invert the table of the distribution function.
//
// The first three accept K = floor(x) where a height w under a hat is at most P(X = K), which they compare by
// logarithms: the difference is wrong by about 2^-53 lambda. tools/random/poisson_hats.py shows that the hats are nowhere
// too low for all K and means from 27 to 300 in steps of 0.01, some growing to 1e7. PTPE's and the ratio's hold as
// published; PTRS's is 0.6% too low at 30.86, so its constants 1.1239 and 0.9277 are 1.1312 and 0.9195 here.

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

#include "vsl/distributions/discrete_inversion.hpp"
#include "vsl/distributions/parameters.hpp"
#include "vsl/distributions/poisson_density.hpp"
#include "vsl/distributions/poisson_quantile.hpp"
#include "vsl/distributions/rejection.hpp"
#include "vsl/streams/chunks.hpp"

namespace ozk::vsl {
namespace {

constexpr double kLeastRejectionMean = 27;
constexpr double kNearlyZero = 0x1p-1000;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kTwoPi = 0x1.921fb54442d18p+2;

bool is_mean(double lambda) { return lambda > 0 && lambda <= kLargestPoissonMean; }

// ---- Rejection -------------------------------------------------------------------------------------------

// Candidates that have to be compared: floor(x) is accepted when its height w is at most
// sqrt(2 pi lambda) P(X = floor(x)) / exp(level).
struct Undecided {
    int32_t count = 0;
    int32_t place[kCandidates];
    double x[kCandidates];
    double logarithms[2 * kCandidates];  // of lambda / (floor(x) + 1) and w, by turns

    void add(int32_t i) { place[count++] = i; }
    double& height(int32_t k) { return logarithms[2 * k + 1]; }

    // Stores for each whether it is accepted. What lies left of 0 never is.
    void decide(double lambda, double level, bool* accepted) {
        for (int32_t k = 0; k < count; ++k) {
            x[k] = std::min(std::floor(std::max(-1.0, x[k])), 2147483647.0);
            logarithms[2 * k] = lambda / std::max(1.0, x[k] + 1);
            height(k) = std::max(kNearlyZero, height(k));
        }
        take_ln(2 * count, logarithms);
        for (int32_t k = 0; k < count; ++k) {
            accepted[place[k]] =
                x[k] >= 0 && height(k) <= ln_density(lambda, x[k], logarithms[2 * k]) - level;
        }
    }

    // The results in the order of their candidates.
    int32_t give(int32_t candidates, const bool* accepted, int32_t* results, int32_t* r) const {
        for (int32_t k = 0; k < count; ++k) results[place[k]] = static_cast<int32_t>(x[k]);
        return keep(candidates, accepted, [=](int32_t to, int32_t from) { r[to] = results[from]; });
    }
};

// PTPE: a triangle of height 1 over the mode, parallelograms of height c beside it and exponential tails. Heights are
// those of P(X = K) / P(X = mode). Columns of p1 integers on either side of the mode's are the triangle's.
struct Ptpe {
    double centre, half_width;     // of the triangle: mode + 1/2, p1 + 1/2
    double left, right;            // its ends
    double c;                      // height of the parallelograms
    double left_rate, right_rate;  // of the tails
    double area2, area3, area4;    // of the regions up to the parallelograms, the left and the right tail
    double level;
};

Ptpe ptpe_setup(double lambda) {
    const double mode = std::floor(lambda);
    const float p1 = std::trunc(2.195F * std::sqrt(static_cast<float>(mode)) - 2.2F);
    Ptpe t;
    t.centre = mode + 0.5;
    t.half_width = p1 + 0.5;
    t.left = t.centre - t.half_width;
    t.right = t.centre + t.half_width;
    t.c = 0.133 + 8.56 / (6.83 + mode);
    const double left_step = (lambda - t.left) / lambda, right_step = (t.right - lambda) / t.right;
    t.left_rate = left_step * (1 + left_step / 2);
    t.right_rate = right_step * (1 + right_step / 2);
    t.area2 = t.half_width * (1 + 2 * t.c);
    t.area3 = t.area2 + (0.109 + 8.25 / (10.86 + mode)) / t.left_rate;
    t.area4 = t.area3 + t.c / t.right_rate;
    t.level = ln_density(lambda, mode, __vsldLn(lambda / (mode + 1)));
    return t;
}

// Sets the points and heights of undecided candidates, which lie beyond the triangle.
void leave_triangle(const Ptpe& t, const double* u, Undecided& undecided) {
    const double over_c = 1 / t.c, over_half_width = 1 / t.half_width;
    int32_t tails = 0, tail[kCandidates];
    double ln[kCandidates];
    for (int32_t k = 0; k < undecided.count; ++k) {
        const double* const pair = u + 2 * undecided.place[k];
        const double area = t.area4 * pair[0];
        undecided.x[k] = t.left + (area - t.half_width) * over_c;
        undecided.height(k) = pair[1] * t.c + 1 - std::abs(t.centre - undecided.x[k]) * over_half_width;
        tail[tails] = k;
        ln[tails] = pair[1];
        tails += area > t.area2;
    }
    take_ln(tails, ln);
    for (int32_t j = 0; j < tails; ++j) {
        const int32_t k = tail[j];
        const double* const pair = u + 2 * undecided.place[k];
        const double area = t.area4 * pair[0];
        if (area <= t.area3) {
            undecided.x[k] = t.left + ln[j] / t.left_rate;
            undecided.height(k) = pair[1] * (area - t.area2) * t.left_rate;
        } else {
            undecided.x[k] = t.right - ln[j] / t.right_rate;
            undecided.height(k) = pair[1] * (area - t.area3) * t.right_rate;
        }
    }
}

int32_t by_ptpe(OzkVslStream* stream, int32_t n, int32_t* r, double lambda, const Ptpe& t) {
    return draw_candidates<2>(stream, n, r, [&](int32_t count, const double* u, int32_t* out) {
        int32_t results[kCandidates];
        bool accepted[kCandidates];
        Undecided undecided;
        for (int32_t i = 0; i < count; ++i) {
            results[i] = static_cast<int32_t>(t.centre + t.area4 * u[2 * i] - t.half_width * u[2 * i + 1]);
        }
        for (int32_t i = 0; i < count; ++i) {
            accepted[i] = t.area4 * u[2 * i] <= t.half_width;
            undecided.place[undecided.count] = i;
            undecided.count += !accepted[i];
        }
        leave_triangle(t, u, undecided);
        undecided.decide(lambda, t.level, accepted);
        return undecided.give(count, accepted, results, out);
    });
}

int32_t by_transformed_rejection(OzkVslStream* stream, int32_t n, int32_t* r, double lambda) {
    const double b = 0.931 + 2.53 * std::sqrt(lambda), a = -0.059 + 0.02483 * b;
    const double sure = 0.9195 - 3.6224 / (b - 2);
    const double hat = (1.1312 + 1.1328 / (b - 3.4)) * std::sqrt(kTwoPi * lambda);
    return draw_candidates<2>(stream, n, r, [=](int32_t count, const double* u, int32_t* out) {
        int32_t results[kCandidates];
        bool accepted[kCandidates];
        Undecided undecided;
        for (int32_t i = 0; i < count; ++i) {
            const double centred = u[2 * i] - 0.5, end = 0.5 - std::abs(centred), v = u[2 * i + 1];
            const double x = (2 * a / end + b) * centred + lambda + 0.43;
            accepted[i] = end >= 0.07 && v <= sure;
            results[i] = static_cast<int32_t>(std::min(std::max(-1.0, x), 2147483647.0));
            const int32_t k = undecided.count;
            undecided.x[k] = x;
            undecided.height(k) = v * hat / (a / (end * end) + b);
            undecided.place[k] = i;
            undecided.count += !accepted[i];
        }
        undecided.decide(lambda, 0, accepted);
        return undecided.give(count, accepted, results, out);
    });
}

int32_t by_ratio_of_uniforms(OzkVslStream* stream, int32_t n, int32_t* r, double lambda) {
    // The hat's width is 2 sqrt(2 / e) standard deviations and 3 - 2 sqrt(3 / e).
    const double width = 1.7155277699214135 * std::sqrt(lambda + 0.5) + 0.8989161620588988;
    const double mode = std::floor(lambda);
    const double level = ln_density(lambda, mode, __vsldLn(lambda / (mode + 1)));
    return draw_candidates<2>(stream, n, r, [=](int32_t count, const double* u, int32_t* out) {
        int32_t results[kCandidates];
        bool accepted[kCandidates];
        Undecided undecided;
        for (int32_t i = 0; i < count; ++i) {
            undecided.x[i] = lambda + 0.5 + width * (u[2 * i + 1] - 0.5) / u[2 * i];
            undecided.height(i) = u[2 * i] * u[2 * i];
            undecided.add(i);
        }
        undecided.decide(lambda, level, accepted);
        return undecided.give(count, accepted, results, out);
    });
}

int32_t by_quantile(OzkVslStream* stream, int32_t n, int32_t* r, double lambda) {
    double means[kBlock];
    std::fill_n(means, std::min(n, kBlock), lambda);
    return in_blocks(n, r, [&](int32_t count, int32_t* block) {
        double u[kBlock];
        const int32_t status = draw(stream, count, u, 0);
        if (status >= 0) poisson_quantiles(count, u, means, block);
        return status;
    });
}

// ---- What stays with the stream --------------------------------------------------------------------------

// What was derived from a mean. It may come from a loaded stream with whatever values.
struct Setup {
    static constexpr int32_t kMostSums = 85;  // below a mean of 27, P(X = 85) < 2^-56

    float lambda;  // 0: nothing yet
    int32_t count;
    double exact_lambda;
    union {
        double sums[kMostSums];  // P(X <= k), k < count, the last one infinite
        Ptpe ptpe;
    };

    bool is_of(double mean) const {
        if (lambda != static_cast<float>(mean) || exact_lambda != mean) return false;
        if (mean < kLeastRejectionMean) {
            return count > 0 && count <= kMostSums && sums[count - 1] == kInfinity;
        }
        // So that candidates are within range and a good part of them is accepted.
        return ptpe.centre == std::floor(mean) + 0.5 && ptpe.half_width > 1 &&
               ptpe.half_width < ptpe.centre && ptpe.half_width < 0x1p20 && ptpe.area4 > ptpe.half_width &&
               ptpe.area4 < 4 * ptpe.half_width;
    }
    void become(double mean) {
        lambda = static_cast<float>(mean);
        exact_lambda = mean;
        if (mean < kLeastRejectionMean) {
            CumulativeMasses masses(Masses{std::exp(-mean), static_cast<int32_t>(mean),
                                           [=](int32_t k) { return mean / (k + 1); }});
            masses.extend_above(std::numeric_limits<double>::max());
            count = masses.count();
            for (int32_t k = 0; k < count; ++k) sums[k] = masses[k];
        } else {
            ptpe = ptpe_setup(mean);
        }
    }
};
static_assert(sizeof(Setup) == 696);

Setup* setup_of(OzkVslStream* stream, double lambda) {
    Setup* const setup = stream_data<Setup>(stream, kOzkVslPoissonChunk, {});
    if (setup && !setup->is_of(lambda)) setup->become(lambda);
    return setup;
}

// ---- Methods ---------------------------------------------------------------------------------------------

int32_t with_setup(OzkVslStream* stream, int32_t n, int32_t* r, double lambda) {
    Setup* const setup = setup_of(stream, lambda);
    if (!setup) return kOzkVslErrorNoMemory;
    if (lambda >= kLeastRejectionMean) return by_ptpe(stream, n, r, lambda, setup->ptpe);
    return with_guides_for(n, TabulatedSums(setup->sums, setup->count), [=](auto& sums) {
        return invert_uniforms(stream, n, r, sums, [](int32_t k) { return k; });
    });
}

template <int32_t kMethod(OzkVslStream*, int32_t, int32_t*, double)>
int32_t from_27(OzkVslStream* stream, int32_t n, int32_t* r, double lambda) {
    return (lambda < kLeastRejectionMean ? with_setup : kMethod)(stream, n, r, lambda);
}

// By method code.
constexpr decltype(&with_setup) kMethods[] = {with_setup, from_27<by_transformed_rejection>,
                                              from_27<by_ratio_of_uniforms>, from_27<by_quantile>};
static_assert(kOzkVslPoissonPtpe == 0 && kOzkVslPoissonTransformedRejection == 1 &&
              kOzkVslPoissonRatioOfUniforms == 2 && kOzkVslPoissonInverse == 3);

template <class Body>
int32_t in_poisson_environment(Body body) {
    return in_own_environment(replace_special_value<BelowEveryUniform>, body);
}

}  // namespace
}  // namespace ozk::vsl

extern "C" {

using namespace ozk::vsl;

double __vsldLn(double x) { return std::log(x); }

int32_t _vsliRngPoisson(int32_t method, OzkVslStream* stream, int32_t n, int32_t* r, double lambda) {
    const uint32_t index = method_index(method);
    if (index >= std::size(kMethods) || !is_mean(lambda)) return kOzkVslErrorBadArguments;
    if (n < 1) return kOzkVslSuccess;
    return in_poisson_environment([=] { return kMethods[index](stream, n, r, lambda); });
}

int32_t _vsliRngPoissonV(int32_t method, OzkVslStream* stream, int32_t n, int32_t* r, const double* lambda) {
    if (method_index(method) != kOzkVslInverse || !std::all_of(lambda, lambda + std::max(n, 0), is_mean)) {
        return kOzkVslErrorBadArguments;
    }
    return in_poisson_environment([=]() mutable {
        return in_blocks(n, r, [&](int32_t count, int32_t* block) {
            double u[kBlock];
            const int32_t status = draw(stream, count, u, 0);
            if (status >= 0) poisson_quantiles(count, u, lambda, block);
            lambda += count;
            return status;
        });
    });
}

}  // extern "C"
