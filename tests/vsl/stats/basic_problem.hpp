// A basic-estimators problem with every result array registered, and its estimates by the defining formulas
// in long double.
#pragma once

#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "ozk_stats.h"

namespace ozk::stats::test {

template <class Real>
struct Functions;

#define OZK_FUNCTIONS(letter, real)                              \
    template <>                                                  \
    struct Functions<real> {                                     \
        static constexpr auto create = __vsl##letter##SSNewTask; \
        static constexpr auto edit = __vsl##letter##SSEditTask;  \
        static constexpr auto basic = _vsl##letter##SSBasic;     \
    };
OZK_FUNCTIONS(s, float)
OZK_FUNCTIONS(d, double)
#undef OZK_FUNCTIONS

struct Estimate {
    uint64_t bit;
    int id;
    const char* name;
    bool matrix = false;
};

inline const std::vector<Estimate> kEstimates = {
    {kOzkStatsMean, kOzkStatsIdMean, "mean"},
    {kOzkStatsRawMoment2, kOzkStatsIdRawMoment2, "raw moment 2"},
    {kOzkStatsRawMoment3, kOzkStatsIdRawMoment3, "raw moment 3"},
    {kOzkStatsRawMoment4, kOzkStatsIdRawMoment4, "raw moment 4"},
    {kOzkStatsCentralMoment2, kOzkStatsIdCentralMoment2, "central moment 2"},
    {kOzkStatsCentralMoment3, kOzkStatsIdCentralMoment3, "central moment 3"},
    {kOzkStatsCentralMoment4, kOzkStatsIdCentralMoment4, "central moment 4"},
    {kOzkStatsKurtosis, kOzkStatsIdKurtosis, "kurtosis"},
    {kOzkStatsSkewness, kOzkStatsIdSkewness, "skewness"},
    {kOzkStatsVariation, kOzkStatsIdVariation, "variation"},
    {kOzkStatsSum, kOzkStatsIdSum, "sum"},
    {kOzkStatsRawSum2, kOzkStatsIdRawSum2, "raw sum 2"},
    {kOzkStatsRawSum3, kOzkStatsIdRawSum3, "raw sum 3"},
    {kOzkStatsRawSum4, kOzkStatsIdRawSum4, "raw sum 4"},
    {kOzkStatsCentralSum2, kOzkStatsIdCentralSum2, "central sum 2"},
    {kOzkStatsCentralSum3, kOzkStatsIdCentralSum3, "central sum 3"},
    {kOzkStatsCentralSum4, kOzkStatsIdCentralSum4, "central sum 4"},
    {kOzkStatsCovariance, kOzkStatsIdCovariance, "covariance", true},
    {kOzkStatsCorrelation, kOzkStatsIdCorrelation, "correlation", true},
    {kOzkStatsCrossProduct, kOzkStatsIdCrossProduct, "cross-product", true},
};

inline constexpr uint64_t kSums = kOzkStatsSum | kOzkStatsRawSum2 | kOzkStatsRawSum3 | kOzkStatsRawSum4 |
                                  kOzkStatsCentralSum2 | kOzkStatsCentralSum3 | kOzkStatsCentralSum4;
inline constexpr uint64_t kMatrices = kOzkStatsCovariance | kOzkStatsCorrelation | kOzkStatsCrossProduct;
inline constexpr uint64_t kAll = 0x3FF | kSums | kMatrices;
inline constexpr double kUntouched = -12345.5;

// Values are kept by components; a run lays a portion of them out in the storage of the problem.
template <class Real>
struct Problem {
    int64_t p, n;
    int64_t storage = kOzkStatsByComponent;
    int64_t matrix_storage = kOzkStatsMatrixFull;
    std::vector<Real> x;        // component i, observation j at i * n + j
    std::vector<Real> weights;  // empty: all 1
    std::vector<int64_t> indices;
    bool wide = true;
    std::map<uint64_t, std::vector<Real>> results;
    Real accumulated[2] = {0, 0};

    Problem(int64_t dimension, int64_t observations)
        : p(dimension), n(observations), x(dimension * observations) {
        for (const Estimate& e : kEstimates) results[e.bit].assign(e.matrix ? p * p : p, Real(kUntouched));
    }

    void fill(std::mt19937_64& random, double mean, double deviation) {
        std::normal_distribution<double> normal;
        std::vector<double> common(n);
        for (double& c : common) c = normal(random);
        for (int64_t i = 0; i < p; ++i)
            for (int64_t j = 0; j < n; ++j) {
                const double z = 0.5 * common[j] * static_cast<double>(i % 3) + normal(random);
                x[i * n + j] =
                    static_cast<Real>(mean * static_cast<double>(i + 1) + deviation * (z + 0.3 * z * z));
            }
    }

    // Runs over observations [first, last); the results and accumulated weights carry over.
    int run(uint64_t mask, uint32_t method, const OzkThreading* threading = nullptr, int64_t first = 0,
            int64_t last = -1) {
        if (last < 0) last = n;
        const int64_t count = last - first;
        std::vector<Real> data(p * count);
        for (int64_t i = 0; i < p; ++i)
            for (int64_t j = 0; j < count; ++j)
                data[storage == kOzkStatsByComponent ? i * count + j : j * p + i] = x[i * n + first + j];
        const int64_t wide_values[] = {p, count, storage, matrix_storage};
        const std::vector<int32_t> narrow_values(wide_values, wide_values + 4),
            narrow(indices.begin(), indices.end());
        const auto integer = [&](int k) -> const void* {
            return wide ? static_cast<const void*>(wide_values + k) : &narrow_values[k];
        };
        const void* selection = indices.empty() ? nullptr
                                : wide          ? static_cast<const void*>(indices.data())
                                                : narrow.data();
        OzkStatsTask* task = nullptr;
        Functions<Real>::create(&task, integer(0), integer(1), integer(2), data.data(),
                                weights.empty() ? nullptr : weights.data() + first, selection, wide);
        for (const Estimate& e : kEstimates) Functions<Real>::edit(task, e.id, results[e.bit].data());
        Functions<Real>::edit(task, kOzkStatsIdAccumulatedWeights, accumulated);
        for (int id :
             {kOzkStatsIdCovarianceStorage, kOzkStatsIdCorrelationStorage, kOzkStatsIdCrossProductStorage})
            __vsliSSEditTask(task, id, integer(3));
        const int status = Functions<Real>::basic(task, mask, method, threading);
        __vslSSDeleteTask(&task);
        return status;
    }

    bool selected(int64_t i) const { return indices.empty() || indices[i] != 0; }
    long double weight(int64_t j) const { return weights.empty() ? 1 : weights[j]; }

    // Element i >= k of a matrix, and how many values its storage takes.
    Real element(uint64_t bit, int64_t i, int64_t k) const {
        const auto& m = results.at(bit);
        if (matrix_storage == kOzkStatsMatrixLower) return m[i * (i + 1) / 2 + k];
        if (matrix_storage == kOzkStatsMatrixUpper) return m[k * p - k * (k - 1) / 2 + i - k];
        return m[i * p + k];
    }
};

struct Expected {
    long double value;
    long double scale;  // to which its error is relative: the same formula over absolute values
};

// The estimates of component i, and of the pair i, k, over all observations; about `given` when it is not
// null.
template <class Real>
struct Reference {
    const Problem<Real>& problem;
    const std::vector<Real>* given = nullptr;

    long double total(int power = 1) const {
        long double sum = 0;
        for (int64_t j = 0; j < problem.n; ++j) sum += std::pow(problem.weight(j), power);
        return sum;
    }
    long double x(int64_t i, int64_t j) const { return problem.x[i * problem.n + j]; }
    Expected mean(int64_t i) const {
        if (given != nullptr) return {(*given)[i], std::fabs((*given)[i])};
        long double sum = 0, size = 0;
        for (int64_t j = 0; j < problem.n; ++j) {
            sum += problem.weight(j) * x(i, j);
            size += problem.weight(j) * std::fabs(x(i, j));
        }
        return {sum / total(), size / total()};
    }
    Expected power_sum(int64_t i, int k, long double origin, long double rest = 0) const {
        Expected sum = {0, 0};
        for (int64_t j = 0; j < problem.n; ++j) {
            const long double term = problem.weight(j) * std::pow(x(i, j) - origin - rest, k);
            sum.value += term;
            sum.scale += std::fabs(term);
        }
        return sum;
    }
    // Deviation of the mean from the first value, which holds its digits however large the mean is.
    long double offset(int64_t i) const {
        if (given != nullptr) return (*given)[i] - x(i, 0);
        long double sum = 0;
        for (int64_t j = 0; j < problem.n; ++j) sum += problem.weight(j) * (x(i, j) - x(i, 0));
        return sum / total();
    }
    Expected central(int64_t i, int k) const { return power_sum(i, k, x(i, 0), offset(i)); }
    Expected vector(uint64_t bit, int64_t i) const {
        const auto over = [](Expected a, long double w) { return Expected{a.value / w, a.scale / w}; };
        const long double w = total(), c2 = central(i, 2).value / w;
        for (int k = 2; k <= 4; ++k) {
            if (bit == kOzkStatsRawMoment2 << (k - 2)) return over(power_sum(i, k, 0), w);
            if (bit == kOzkStatsRawSum2 << (k - 2)) return power_sum(i, k, 0);
            if (bit == kOzkStatsCentralMoment2 << (k - 2)) return over(central(i, k), w);
            if (bit == kOzkStatsCentralSum2 << (k - 2)) return central(i, k);
        }
        if (bit == kOzkStatsSum) return power_sum(i, 1, 0);
        if (bit == kOzkStatsKurtosis) {
            const long double ratio = central(i, 4).value / w / (c2 * c2);
            return {ratio - 3, ratio + 3};
        }
        if (bit == kOzkStatsSkewness) {
            const Expected c3 = over(central(i, 3), w);
            return {c3.value / std::pow(c2, 1.5L), c3.scale / std::pow(c2, 1.5L)};
        }
        if (bit == kOzkStatsVariation) {
            const long double variation = std::sqrt(c2) / mean(i).value;
            return {variation, std::fabs(variation) * mean(i).scale / std::fabs(mean(i).value)};
        }
        return mean(i);
    }
    Expected matrix(uint64_t bit, int64_t i, int64_t k) const {
        long double sum = 0;
        const long double oi = offset(i), ok = offset(k);
        for (int64_t j = 0; j < problem.n; ++j)
            sum += problem.weight(j) * (x(i, j) - x(i, 0) - oi) * (x(k, j) - x(k, 0) - ok);
        const long double scale = std::sqrt(central(i, 2).value * central(k, 2).value);
        if (bit == kOzkStatsCorrelation) return {sum / scale, 1};
        const long double divisor = bit == kOzkStatsCovariance ? total() - total(2) / total() : 1;
        return {sum / divisor, scale / divisor};
    }
};

// The first result of `mask` that is not within `bound` of its reference, relative to its scale, or that was
// written without being asked for; empty when all is well.
template <class Real>
std::string first_error(const Problem<Real>& problem, uint64_t mask, double bound,
                        const std::vector<Real>* given = nullptr) {
    const Reference<Real> reference{problem, given};
    const auto differs = [&](const Estimate& e, int64_t i, int64_t k, Real got, Expected expected) {
        if (std::fabs(got - expected.value) <= bound * expected.scale) return std::string();
        char text[200];
        std::snprintf(text, sizeof text, "%s (%lld, %lld): got %.17g, expected %.17Lg, error / scale %.3Lg",
                      e.name, static_cast<long long>(i), static_cast<long long>(k), static_cast<double>(got),
                      expected.value, std::fabs(got - expected.value) / expected.scale);
        return std::string(text);
    };
    for (const Estimate& e : kEstimates) {
        if ((mask & e.bit) == 0) continue;
        for (int64_t i = 0; i < problem.p; ++i)
            for (int64_t k = e.matrix ? 0 : i; k <= i; ++k) {
                const Real got = e.matrix ? problem.element(e.bit, i, k) : problem.results.at(e.bit)[i];
                std::string error;
                if (!problem.selected(i) || !problem.selected(k)) {
                    if (got != Real(kUntouched))
                        error = std::string(e.name) + " of a skipped component is written";
                } else {
                    error = differs(e, i, k, got,
                                    e.matrix ? reference.matrix(e.bit, i, k) : reference.vector(e.bit, i));
                    if (e.matrix && problem.matrix_storage == kOzkStatsMatrixFull &&
                        std::memcmp(&problem.results.at(e.bit)[k * problem.p + i], &got, sizeof got) != 0)
                        error += std::string(e.name) + " is not symmetric";
                }
                if (!error.empty()) return error;
            }
    }
    return {};
}

}  // namespace ozk::stats::test
