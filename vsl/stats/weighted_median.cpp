// The median of each component under the weights of the observations.

#include <limits>

#include "ozk_stats.h"
#include "vsl/stats/sample.hpp"
#include "vsl/stats/selection.hpp"

namespace ozk::stats {
namespace {

template <class Real>
struct Weighted {
    KeyOf<Real> key;
    Real weight;

    bool operator<(const Weighted& other) const { return key < other.key; }
};

// Of values with weights above 0, which it sorts.
template <class Real>
Real weighted_median(Weighted<Real>* values, int64_t n) {
    std::sort(values, values + n);
    double total = 0, below = 0;
    for (int64_t j = 0; j < n; ++j) total += static_cast<double>(values[j].weight);
    for (int64_t j = 0; j < n; ++j) {
        below += static_cast<double>(values[j].weight);
        if (below < total / 2) continue;
        const Real low = from_key<Real>(values[j].key);
        if (below > total / 2 || j + 1 == n) return low;
        const Real high = from_key<Real>(values[j + 1].key);
        return low == high ? low : static_cast<Real>(low + (static_cast<double>(high) - low) / 2);
    }
    return std::numeric_limits<Real>::quiet_NaN();  // no value, or a weight that is NaN
}

template <class Real>
int estimate(OzkStatsTask* task, uint32_t method, const OzkThreading* threading) {
    Sample<Real> sample;
    if (const int status = check_sizes(task, sample)) return status;
    Real* const results = static_cast<Real*>(task->quantiles);
    if (results == nullptr) return kOzkStatsErrorQuantiles;
    if ((method & kOzkStatsFast) == 0) return kOzkStatsErrorMethod;
    if (const int status = check_observations(sample)) return status;

    const Real* const weights = static_cast<const Real*>(task->weights);
    const int64_t bytes = whole_lines(static_cast<int64_t>(sizeof(Weighted<Real>)) * sample.n);
    const int64_t threads = threads_for(threading, sample);
    const Allocation scratch(threads * bytes);
    if (!scratch) return kOzkStatsErrorMemory;
    auto body = [&](int64_t i, int64_t thread) -> int {
        if (!sample.selected(i)) return kOzkStatsOk;
        Weighted<Real>* const values = scratch.at<Weighted<Real>>(thread * bytes);
        const Real* const x = sample.component(i);
        int64_t count = 0;
        for (int64_t j = 0; j < sample.n; ++j) {
            const Real weight = weights != nullptr ? weights[j] : Real(1);
            if (weight != 0) values[count++] = {to_key(x[j * sample.observation_stride()]), weight};
        }
        results[i] = weighted_median(values, count);
        return kOzkStatsOk;
    };
    return for_each_item(threading, sample.p, threads, body);
}

}  // namespace
}  // namespace ozk::stats

extern "C" {

int _vsldSSWeightedMedian(OzkStatsTask* task, uint64_t, uint32_t method, const OzkThreading* threading) {
    return ozk::stats::estimate<double>(task, method, threading);
}

int _vslsSSWeightedMedian(OzkStatsTask* task, uint64_t, uint32_t method, const OzkThreading* threading) {
    return ozk::stats::estimate<float>(task, method, threading);
}

}  // extern "C"
