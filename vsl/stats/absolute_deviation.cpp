// Median and mean absolute deviation.

#include <cmath>

#include "ozk_stats.h"
#include "vsl/stats/moments.hpp"
#include "vsl/stats/sample.hpp"
#include "vsl/stats/selection.hpp"

namespace ozk::stats {
namespace {

template <class Real>
int median_deviations(const Sample<Real>& sample, Real* results, const OzkThreading* threading) {
    using Key = KeyOf<Real>;
    const int64_t bytes = whole_lines(static_cast<int64_t>(sizeof(Real)) * sample.n);
    const int64_t threads = threads_for(threading, sample);
    const Allocation scratch(threads * bytes);
    if (!scratch) return kOzkStatsErrorMemory;
    auto body = [&](int64_t i, int64_t thread) -> int {
        if (!sample.selected(i)) return kOzkStatsOk;
        Key* const keys = scratch.at<Key>(thread * bytes);
        const Real* const x = sample.component(i);
        const int64_t stride = sample.observation_stride();
        for (int64_t j = 0; j < sample.n; ++j) keys[j] = to_key(x[j * stride]);
        const double centre = median<Real>(keys, sample.n);
        for (int64_t j = 0; j < sample.n; ++j)
            keys[j] = to_key(static_cast<Real>(std::fabs(static_cast<double>(x[j * stride]) - centre)));
        results[i] = static_cast<Real>(median<Real>(keys, sample.n));
        return kOzkStatsOk;
    };
    return for_each_item(threading, sample.p, threads, body);
}

// Sum of w |x - mean| / W, pairwise so that long sums keep their digits. The mean comes in two parts, the
// first of which is near the data: the difference to it is exact where digits are at stake.
template <class Real>
struct Deviations {
    const Real* x;
    int64_t stride;
    const Real* weights;  // null: all 1
    double origin, offset;

    Weight sum(int64_t first, int64_t last, double& deviation) const {
        constexpr int64_t kLeaf = 64;
        if (last - first > kLeaf) {
            const int64_t middle = first + (last - first) / 2;
            double right;
            Weight weight = sum(first, middle, deviation);
            weight.add(sum(middle, last, right));
            deviation += right;
            return weight;
        }
        double sums[2] = {0, 0}, totals[2] = {0, 0};
        for (int64_t j = first; j < last; ++j) {
            const double w = weights != nullptr ? static_cast<double>(weights[j]) : 1;
            const double distance = std::fabs((static_cast<double>(x[j * stride]) - origin) - offset);
            if (w != 0) sums[j % 2] += w * distance;  // an observation of weight 0 is absent, NaN or not
            totals[j % 2] += w;
        }
        deviation = sums[0] + sums[1];
        return {totals[0] + totals[1], 0};
    }
};

template <class Real>
void mean_deviations(const Sample<Real>& sample, const Real* given_mean, Real* results,
                     const OzkThreading* threading) {
    constexpr int64_t kTile = 8;
    const Observations observations = {sample.values, sample.task->weights, sizeof(Real) == sizeof(float),
                                       sample.component_stride(), sample.observation_stride()};
    auto body = [&](int64_t tile, int64_t) -> int {
        int64_t components[kTile];
        Moments moments[kTile] = {};
        Tile work = {components, 0, moments};
        for (int64_t i = tile * kTile; i < std::min(sample.p, (tile + 1) * kTile); ++i) {
            if (!sample.selected(i)) continue;
            if (given_mean != nullptr) moments[work.count].origin = static_cast<double>(given_mean[i]);
            components[work.count++] = i;
        }
        if (work.count == 0) return kOzkStatsOk;
        // With the central sums of order 2, for their second pass takes the rounding out of the mean.
        if (given_mean == nullptr)
            accumulate(observations, {Centre::kBlockMean, 1, 2, kPanelBlock}, 0, sample.n, &work, 1, nullptr,
                       nullptr);
        for (int64_t k = 0; k < work.count; ++k) {
            const Deviations<Real> deviations = {sample.component(components[k]), sample.observation_stride(),
                                                 static_cast<const Real*>(sample.task->weights),
                                                 moments[k].origin, moments[k].offset};
            double sum;
            const Weight weight = deviations.sum(0, sample.n, sum);
            results[components[k]] = static_cast<Real>(sum / weight.total);
        }
        return kOzkStatsOk;
    };
    for_each_item(threading, (sample.p + kTile - 1) / kTile, threads_for(threading, sample), body);
}

template <class Real>
int estimate(OzkStatsTask* task, uint64_t estimates, uint32_t method, const OzkThreading* threading) {
    Sample<Real> sample;
    if (const int status = check_sizes(task, sample)) return status;
    const bool medians = (estimates & kOzkStatsMedianDeviation) != 0;
    const bool means = (estimates & kOzkStatsMeanDeviation) != 0;
    if (medians) {
        if (task->median_deviation == nullptr) return kOzkStatsErrorMedianDeviation;
        if ((method & kOzkStatsFast) == 0) return kOzkStatsErrorMethod;
    }
    const bool given = (method & kOzkStatsFastCallerMean) != 0;
    if (means) {
        if (task->mean_deviation == nullptr) return kOzkStatsErrorMeanDeviation;
        if ((method & (kOzkStatsFast | kOzkStatsFastCallerMean)) == 0) return kOzkStatsErrorMethod;
        if (given && task->mean == nullptr) return kOzkStatsErrorMean;
    }
    if (const int status = check_observations(sample)) return status;
    // The medians come first: they can still fail, before anything is written.
    if (medians) {
        if (const int status =
                median_deviations(sample, static_cast<Real*>(task->median_deviation), threading))
            return status;
    }
    if (means)
        mean_deviations(sample, given ? static_cast<const Real*>(task->mean) : nullptr,
                        static_cast<Real*>(task->mean_deviation), threading);
    return kOzkStatsOk;
}

}  // namespace
}  // namespace ozk::stats

extern "C" {

int _vsldSSMAD(OzkStatsTask* task, uint64_t estimates, uint32_t method, const OzkThreading* threading) {
    return ozk::stats::estimate<double>(task, estimates, method, threading);
}

int _vslsSSMAD(OzkStatsTask* task, uint64_t estimates, uint32_t method, const OzkThreading* threading) {
    return ozk::stats::estimate<float>(task, estimates, method, threading);
}

}  // extern "C"
