// A task over random or given data with any parameters, in every layout, width and choice of components; and
// the plain formulas that estimators of one component are held against.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <list>
#include <numeric>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "ozk_stats.h"

namespace ozk::stats::test {

template <class Real>
struct Kernels;

#define OZK_KERNELS(letter, real)                                                       \
    template <>                                                                         \
    struct Kernels<real> {                                                              \
        static constexpr auto create = __vsl##letter##SSNewTask;                        \
        static constexpr auto edit = __vsl##letter##SSEditTask;                         \
        static constexpr auto minmax = _vsl##letter##SSMinmax;                          \
        static constexpr auto deviations = _vsl##letter##SSMAD;                         \
        static constexpr auto quantiles = _vsl##letter##SSQuantiles;                    \
        static constexpr auto weighted_median = _vsl##letter##SSWeightedMedian;         \
        static constexpr auto sort = _vsl##letter##SSSort;                              \
        static constexpr auto stream = _vsl##letter##SSStreamQuantiles;                 \
        static constexpr auto partial = _vsl##letter##SSPartialCovariance;              \
        static constexpr auto pooled = _vsl##letter##SSPooledCovariance;                \
        static constexpr auto parametrize = _vsl##letter##SSCorrelationParametrization; \
        static constexpr auto robust = _vsl##letter##SSRobustCovariance;                \
        static constexpr auto outliers = _vsl##letter##SSOutliersDetection;             \
        static constexpr auto distances = _vsl##letter##SSMahDistance;                  \
        static constexpr auto test_rank = __vsl##letter##TestCovRank;                   \
        static constexpr auto invert = __vsl##letter##InvCov;                           \
        static constexpr auto missing_values = _vsl##letter##SSMissingValues;           \
        static constexpr auto quicksort = __vsl##letter##QSort;                         \
        static constexpr auto quicksort_step = __vsl##letter##QSortStep;                \
        static constexpr auto quickselect = __vsl##letter##QSortSelect;                 \
    };
OZK_KERNELS(s, float)
OZK_KERNELS(d, double)
#undef OZK_KERNELS

// A task with integers of either width.
template <class Real>
struct TaskOf {
    OzkStatsTask* task = nullptr;
    bool wide;
    std::list<std::vector<int64_t>> wide_values;
    std::list<std::vector<int32_t>> narrow_values;

    explicit TaskOf(int64_t p, bool wide_integers = true) : wide(wide_integers) {
        EXPECT_EQ(
            Kernels<Real>::create(&task, stored({p}), nullptr, nullptr, nullptr, nullptr, nullptr, wide),
            kOzkStatsOk);
    }
    ~TaskOf() { __vslSSDeleteTask(&task); }
    TaskOf(const TaskOf&) = delete;

    const void* stored(const std::vector<int64_t>& values) {
        if (wide) return wide_values.emplace_back(values).data();
        return narrow_values.emplace_back(values.begin(), values.end()).data();
    }
    TaskOf& integers(int id, const std::vector<int64_t>& values) {
        EXPECT_EQ(__vsliSSEditTask(task, id, stored(values)), kOzkStatsOk);
        return *this;
    }
    TaskOf& set(int id, const Real* values) {
        EXPECT_EQ(Kernels<Real>::edit(task, id, values), kOzkStatsOk);
        return *this;
    }
    TaskOf& set(int id, const std::vector<Real>& values) { return set(id, values.data()); }
};

inline int parallel_for(int64_t items, int64_t threads, void* context, OzkLoopBody body) {
    std::vector<std::thread> pool;
    std::vector<int> statuses(items);
    for (int64_t t = 0; t < threads; ++t)
        pool.emplace_back([=, &statuses] {
            for (int64_t i = items - 1 - t; i >= 0; i -= threads)  // backwards, for the order
                statuses[i] = body(i, t, context);
        });
    for (std::thread& thread : pool) thread.join();
    for (const int status : statuses)
        if (status != 0) return status;
    return 0;
}

inline constexpr OzkThreading kThreeThreads = {
    parallel_for, nullptr, nullptr, nullptr,
    [](int64_t, int64_t, int64_t, const void*) { return int64_t{3}; }};

inline constexpr double kUntouchedValue = -12345.5;

// Random data of p components, kept by component and laid out for the task.
template <class Real>
struct SampleProblem {
    int64_t p, n, storage;
    bool wide;
    std::vector<Real> x;       // component i, observation j at i * n + j
    std::vector<Real> layout;  // the same in the storage of the task
    std::vector<Real> weights;
    std::vector<int64_t> indices;
    const OzkThreading* threading;
    std::string text;

    explicit SampleProblem(int seed, int64_t max_n = 500) {
        std::mt19937_64 random(seed);
        const auto below = [&](int64_t limit) { return static_cast<int64_t>(random() % limit); };
        p = 1 + below(seed % 3 == 0 ? 40 : 9);
        n = 1 + below(seed % 5 == 0 ? 4 : max_n);
        storage = below(2) ? kOzkStatsByComponent : kOzkStatsByObservation;
        wide = below(2) != 0;
        threading = below(2) ? &kThreeThreads : nullptr;
        std::normal_distribution<double> normal;
        const int kind = seed % 4;
        for (int64_t k = 0; k < p * n; ++k) {
            const double z = normal(random);
            x.push_back(static_cast<Real>(kind == 0   ? z
                                          : kind == 1 ? std::round(2 * z)  // with ties
                                          : kind == 2 ? 1e6 + z
                                                      : std::exp(12 * z)));
        }
        if (below(2))
            for (int64_t j = 0; j < n; ++j) weights.push_back(Real(0.25) * Real(below(16)) + (j == 0));
        if (below(2))
            for (int64_t i = 0; i < p; ++i) indices.push_back(below(4) ? 1 + below(3) : 0);
        lay_out();
        text = "seed " + std::to_string(seed) + ", p " + std::to_string(p) + ", n " + std::to_string(n) +
               (storage == kOzkStatsByComponent ? ", by component" : ", by observation") +
               (weights.empty() ? "" : ", weighted") + (indices.empty() ? "" : ", subset");
    }
    void lay_out() {
        layout.resize(p * n);
        for (int64_t i = 0; i < p; ++i)
            for (int64_t j = 0; j < n; ++j)
                layout[storage == kOzkStatsByComponent ? i * n + j : j * p + i] = x[i * n + j];
    }
    bool selected(int64_t i) const { return indices.empty() || indices[i] != 0; }
    std::vector<Real> component(int64_t i) const { return {x.begin() + i * n, x.begin() + (i + 1) * n}; }
    std::vector<Real> sorted(int64_t i) const {
        auto values = component(i);
        std::sort(values.begin(), values.end());
        return values;
    }
    long double weight(int64_t j) const { return weights.empty() ? 1 : weights[j]; }

    // Sets sizes, data and choice of components.
    void give(TaskOf<Real>& task) const {
        task.integers(kOzkStatsIdObservationCount, {n}).integers(kOzkStatsIdObservationStorage, {storage});
        task.set(kOzkStatsIdObservations, layout);
        if (!weights.empty()) task.set(kOzkStatsIdWeights, weights);
        if (!indices.empty()) task.integers(kOzkStatsIdIndices, indices);
    }
    std::vector<Real> results(int64_t each) const {
        return std::vector<Real>(p * each, static_cast<Real>(kUntouchedValue));
    }
};

// A value, and what its error is relative to.
struct Scaled {
    long double value;
    long double scale;
};

// By the formula, of sorted values; the error is relative to the neighbours between which it lies.
template <class Real>
Scaled quantile_of(const std::vector<Real>& sorted, double order) {
    const double h = order * static_cast<double>(sorted.size() - 1);
    const size_t k = static_cast<size_t>(h);
    const long double low = sorted[k], high = sorted[std::min(k + 1, sorted.size() - 1)];
    return {low + (high - low) * (static_cast<long double>(h) - k),
            std::max(std::fabs(low), std::fabs(high))};
}

// |got - expected| within so many epsilons of the type, relative to the scale or the value.
template <class Real>
testing::AssertionResult near(Real got, long double expected, double ulps, long double scale = 0) {
    scale = std::max(scale, std::fabs(expected));
    const long double error = std::fabs(got - expected);
    if (error <= ulps * std::numeric_limits<Real>::epsilon() * scale) return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << std::hexfloat << "got " << double(got) << ", expected " << double(expected) << std::defaultfloat
           << ", error " << double(error / scale / std::numeric_limits<Real>::epsilon()) << " epsilon";
}

template <class Real>
testing::AssertionResult near(Real got, Scaled expected, double ulps) {
    return near(got, expected.value, ulps, expected.scale);
}

}  // namespace ozk::stats::test
