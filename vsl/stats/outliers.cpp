// Outlier detection: a subset of points without outliers grows until nothing more belongs to it.
//
// Billor, Hadi and Velleman, "BACON: blocked adaptive computationally efficient outlier nominators", Computational
// Statistics & Data Analysis 34 (2000). The points are standardised, so that the start by Euclidean distances from
// the coordinate medians is the same in any units. An observation with a value that is not finite is an outlier.

#include <cmath>

#include "ozk_stats.h"
#include "vsl/stats/chi_square.hpp"
#include "vsl/stats/cloud.hpp"
#include "vsl/stats/covariance_inverse.hpp"

namespace ozk::stats {
namespace {

constexpr int64_t kFromAllObservations = 1, kFromMedians = 2;  // methods of the start
constexpr int64_t kParameters = 3;
constexpr int kMostSteps = 500;

struct OutlierParameters {
    int64_t start = kFromMedians;
    double significance = 0.05;
    double threshold = 0.005;
};

template <class Real>
struct Detection {
    Sample<Real> sample;
    OutlierParameters parameters;

    int check(OzkStatsTask* task, uint32_t method) {
        const auto enough = [](int64_t n, int64_t components) { return n / 5 >= components; };
        if (const int status = check_sizes(task, sample, enough)) return without_storage(status);
        const Real* const given = static_cast<const Real*>(task->outlier_parameters);
        if (given != nullptr && task->outlier_parameter_count != nullptr &&
            read_integer(*task, task->outlier_parameter_count) == kParameters) {
            parameters.start = given[0] >= 1 && given[0] < 2 ? kFromAllObservations : kFromMedians;
            if (given[1] >= 0 && given[1] <= 1) parameters.significance = static_cast<double>(given[1]);
            if (given[2] > 0) parameters.threshold = static_cast<double>(given[2]);
        }
        if (task->outlier_weights == nullptr) return kOzkStatsErrorOutlierWeights;
        if ((method & kOzkStatsOutlierDetection) == 0) return kOzkStatsErrorMethod;
        return check_observations(sample);
    }
};

// Observations of a block of distances.
int64_t block_size(int64_t threads, int64_t p) {
    const int64_t values = 5'000'000 / threads / 8 / p;
    return values >= 2 ? values / 2 : 2048;
}

// A growing subset of the points, as weights 0 and 1, and what it tells of them.
template <class Real>
struct Subset {
    const Cloud<Real>& cloud;
    const PassRoom& room;
    int64_t item;
    double *mean, *covariance;  // of the subset, then the inverse
    double* trial;              // a matrix for the rank test, and its work
    double* squares;            // of the distances of all points
    double* weights;
    int64_t* keys;
    int64_t size = 0;

    void take_nearest(int64_t count) { size = mark_nearest(squares, cloud.n(), count, keys, weights); }

    // Mean and covariance of the subset; `full` tells whether the covariance was of full rank. One that was not
    // is repaired.
    int estimate(bool& full) {
        const int64_t p = cloud.p;
        const double total = weighted_scatter(cloud, room, mean, weights, mean, covariance);
        double trace = 0;
        for (int64_t e = 0; e < p * p; ++e) covariance[e] *= total / (total - 1);
        for (int64_t i = 0; i < p; ++i) trace += covariance[i * (p + 1)];
        if (!(trace > 0 && trace < kFar)) return kOzkStatsErrorSingularCovariance;
        std::copy_n(covariance, p * p, trial);
        bool repaired;
        if (const int status = test_rank(p, trial, rank_bounds(p, trace), trial + p * p, repaired))
            return status;
        for (int64_t i = 0; i < p; ++i) covariance[i * (p + 1)] = trial[i * (p + 1)];
        full = !repaired;
        return kOzkStatsOk;
    }
    int measure() {
        double unused;
        if (const int status = invert_covariance(cloud.p, covariance, unused)) return status;
        square_distances(cloud, room, mean, covariance, item, squares);
        return kOzkStatsOk;
    }
};

// The distance up to which points belong to the next subset, squared.
double cutoff(int64_t n, int64_t p, int64_t size, double quantile) {
    const int64_t majority = (n + p + 1) / 2;
    const double h = static_cast<double>(majority), r = static_cast<double>(size);
    const double c = std::fmax(0, (h - r) / (h + r)) + 1 +
                     static_cast<double>(p + 1) / static_cast<double>(n - p) +
                     2 / static_cast<double>(n - 1 - 3 * p);
    return c * c * quantile;
}

template <class Real>
int detect(OzkStatsTask* task, uint32_t method, const OzkThreading* threading) {
    Detection<Real> request;
    if (const int status = request.check(task, method)) return status;
    const Sample<Real>& sample = request.sample;
    const OutlierParameters& parameters = request.parameters;
    Real* const results = static_cast<Real*>(task->outlier_weights);
    const int64_t n = sample.n;
    int64_t p = 0;
    for (int64_t i = 0; i < sample.p; ++i) p += sample.selected(i);
    if (p == 0) {
        std::fill_n(results, n, Real(1));
        return kOzkStatsOk;
    }
    const int64_t advised = n * sample.p < kSerialValues
                                ? 1
                                : advised_threads(threading, sample.p, n, sample.storage, sample.values);
    PassRoom room(p, n, advised, advised * kPanelPoints * p * static_cast<int64_t>(sizeof(double)));
    const int64_t panels = room.threads * room.panel_points * p, chunks = room.chunks * room.chunk_values(p);
    // Panels, sums, two matrices, the work of the rank test, mean, centres and factors, squares, weights, keys, component numbers; medians.
    const int64_t doubles = panels + chunks + 2 * p * p + kRankWork * p + 3 * p + 3 * n + p;
    const Allocation memory(doubles * static_cast<int64_t>(sizeof(double)) +
                            2 * sample.p * static_cast<int64_t>(sizeof(Real)));
    if (!memory) return kOzkStatsErrorMemory;
    room.panels = memory.at<double>();
    room.chunk_sums = room.panels + panels;
    double* const covariance = room.chunk_sums + chunks;
    double* const trial = covariance + p * p;
    double* const mean = trial + p * p + kRankWork * p;
    double* const centres = mean + p;
    double* const squares = centres + 2 * p;
    double* const weights = squares + n;
    int64_t* const keys = reinterpret_cast<int64_t*>(weights + n);
    int64_t* const components = keys + n;
    sample.select(components);
    Cloud<Real> cloud = {sample, threading, p, components, centres, centres + p};
    if (const int status = standardize(cloud, reinterpret_cast<Real*>(components + p))) return status;
    Subset<Real> subset = {cloud,   room, block_size(advised, sample.p), mean, covariance, trial, squares,
                           weights, keys};

    // Euclidean distances from the medians, which are the origin.
    std::fill_n(mean, p, 0.0);
    std::fill_n(covariance, p * p, 0.0);
    for (int64_t i = 0; i < p; ++i) covariance[i * (p + 1)] = 1;
    square_distances(cloud, room, mean, covariance, subset.item, squares);
    bool full;
    if (parameters.start == kFromAllObservations) {
        subset.take_nearest(n);  // all that are finite
        if (const int status = subset.estimate(full)) return status;
        if (const int status = subset.measure()) return status;
    }
    // A singular start grows by a quarter at a time, at most to everything.
    for (int64_t wanted = std::min(4 * p, n);; wanted = std::min(n, wanted + (wanted + 3) / 4)) {
        subset.take_nearest(wanted);
        if (subset.size < 2) return kOzkStatsErrorSingularCovariance;
        const int status = subset.estimate(full);
        if (status == kOzkStatsOk && (full || wanted == n)) break;
        if (status != kOzkStatsOk && (status != kOzkStatsErrorSingularCovariance || wanted == n))
            return status;
    }
    const double quantile = chi_square_quantile({1 - parameters.significance / static_cast<double>(n),
                                                 parameters.significance / static_cast<double>(n)},
                                                static_cast<double>(p));
    for (int step = 0; step < kMostSteps; ++step) {
        if (const int status = subset.measure()) return status;
        const int64_t before = subset.size;
        const double bound = cutoff(n, p, before, quantile);
        int64_t size = 0;
        for (int64_t j = 0; j < n; ++j) size += squares[j] < bound;
        if (size < 2) return kOzkStatsErrorSingularCovariance;
        for (int64_t j = 0; j < n; ++j) weights[j] = squares[j] < bound;
        subset.size = size;
        if (std::fabs(static_cast<double>(size - before)) <
            parameters.threshold * static_cast<double>(before))
            break;
        if (const int status = subset.estimate(full)) return status;
    }
    for (int64_t j = 0; j < n; ++j) results[j] = static_cast<Real>(weights[j]);
    return kOzkStatsOk;
}

}  // namespace
}  // namespace ozk::stats

extern "C" {

int _vsldSSOutliersDetection(OzkStatsTask* task, uint64_t, uint32_t method, const OzkThreading* threading) {
    return ozk::stats::detect<double>(task, method, threading);
}

int _vslsSSOutliersDetection(OzkStatsTask* task, uint64_t, uint32_t method, const OzkThreading* threading) {
    return ozk::stats::detect<float>(task, method, threading);
}

}  // extern "C"
