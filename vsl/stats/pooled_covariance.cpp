// Covariance within groups: of each group, and of all groups together about their own means.
//
// The observations are listed by group. A group is passed twice: for its mean, and for the cross-products of
// the deviations, which blocks of observations bring as panels to the core's symmetric product. What is left
// of the deviations' sum corrects mean and cross-products: Chan, Golub and LeVeque, The American Statistician
// 37 (1983). All in double precision, on the calling thread.

#include <cmath>

#include "ozk_stats.h"
#include "vsl/stats/basic.hpp"
#include "vsl/stats/sample.hpp"

namespace ozk::stats {
namespace {

constexpr int64_t kMostGroups = int64_t{1} << 40;

template <class Real>
struct Pooled {
    Sample<Real> sample;
    bool pooled = false, separate = false;  // what is asked for
    Matrix covariance = {};                 // pooled
    int64_t group_storage = 0;
    int64_t groups = 0;

    int64_t group(int64_t j) const { return read_integer(*sample.task, sample.task->group_indices, j); }
    bool requested(int64_t g) const {
        return separate && read_integer(*sample.task, sample.task->requested_groups, g) != 0;
    }
    double weight(int64_t j) const {
        const Real* const weights = static_cast<const Real*>(sample.task->weights);
        return weights != nullptr ? static_cast<double>(weights[j]) : 1;
    }

    int check(OzkStatsTask* task, uint64_t estimates, uint32_t method) {
        if (const int status = check_sizes(task, sample)) return status;
        constexpr bool kSingle = sizeof(Real) == sizeof(float);
        pooled = (estimates & kOzkStatsPooledCovariance) != 0;
        separate = (estimates & kOzkStatsGroupCovariances) != 0;
        if (task->group_indices == nullptr) return kOzkStatsErrorGroupIndices;
        if (pooled) {
            if (task->pooled_mean == nullptr) return kOzkStatsErrorPooledMean;
            if (task->pooled_covariance == nullptr) return kOzkStatsErrorPooledCovariance;
            covariance = {task->pooled_covariance, kSingle, 0, sample.p};
            if (const int status =
                    check_matrix_storage(*task, task->pooled_covariance_storage, covariance.storage))
                return status;
        }
        if (separate) {
            if (task->requested_groups == nullptr) return kOzkStatsErrorGroupIndices;
            if (task->group_means == nullptr) return kOzkStatsErrorGroupMeans;
            if (task->group_covariances == nullptr) return kOzkStatsErrorGroupCovariances;
            if (const int status = check_matrix_storage(*task, task->group_covariance_storage, group_storage))
                return status;
        }
        if ((method & kOzkStatsFast) == 0) return kOzkStatsErrorMethod;
        if (const int status = check_observations(sample)) return status;
        for (int64_t j = 0; j < sample.n; ++j) {
            const int64_t g = group(j);
            if (g < 0 || g >= kMostGroups) return kOzkStatsErrorGroupIndices;
            groups = std::max(groups, g + 1);
        }
        return kOzkStatsOk;
    }

    // Where the covariance of the group that is the `place`-th of the requested ones goes.
    Matrix group_matrix(int64_t place) const {
        const int64_t size =
            group_storage == kOzkStatsMatrixFull ? sample.p * sample.p : sample.p * (sample.p + 1) / 2;
        return {static_cast<Real*>(sample.task->group_covariances) + place * size,
                sizeof(Real) == sizeof(float), group_storage, sample.p};
    }
};

// The weighted mean and cross-products of the observations `list`, in `count` selected components.
template <class Real>
struct GroupSums {
    const Pooled<Real>& request;
    const int64_t* components;
    int64_t count;
    double* panel;  // kPanelBlock observations
    double* means;  // results
    double* cross;  // lower triangle by columns
    double* rests;  // sums of the deviations

    double value(int64_t c, int64_t j) const {
        return static_cast<double>(
            request.sample.component(components[c])[j * request.sample.observation_stride()]);
    }

    Weight run(const int64_t* list, int64_t size) const {
        Weight total;
        std::fill_n(means, count, 0.0);
        std::fill_n(rests, count, 0.0);
        std::fill_n(cross, count * count, 0.0);
        for (int64_t j = 0; j < size; ++j) {
            const double w = request.weight(list[j]);
            if (w == 0) continue;
            total.add({w, w * w});
            for (int64_t c = 0; c < count; ++c) means[c] += w / total.total * (value(c, list[j]) - means[c]);
        }
        const double one = 1;
        for (int64_t first = 0; first < size; first += kPanelBlock) {
            int64_t rows = 0;
            for (int64_t j = first; j < std::min(size, first + kPanelBlock); ++j) {
                const double w = request.weight(list[j]), root = std::sqrt(w);
                if (w == 0) continue;
                for (int64_t c = 0; c < count; ++c) {
                    const double deviation = value(c, list[j]) - means[c];
                    rests[c] += w * deviation;
                    panel[rows * count + c] = root * deviation;
                }
                ++rows;
            }
            if (rows > 0)
                ozk_blas_xdsyrk("L", "N", &count, &rows, &one, panel, &count, &one, cross, &count, 1, 1);
        }
        for (int64_t k = 0; k < count; ++k)
            for (int64_t i = k; i < count; ++i) cross[k * count + i] -= rests[i] * rests[k] / total.total;
        for (int64_t c = 0; c < count; ++c) means[c] += rests[c] / total.total;
        return total;
    }
};

template <class Real>
int estimate(OzkStatsTask* task, uint64_t estimates, uint32_t method) {
    Pooled<Real> request;
    if (const int status = request.check(task, estimates, method)) return status;
    const int64_t p = request.sample.p, n = request.sample.n, groups = request.groups;

    int64_t count = 0;
    for (int64_t i = 0; i < p; ++i) count += request.sample.selected(i);
    if (count == 0) return kOzkStatsOk;
    const Allocation memory((2 * count * count + (kPanelBlock + 3) * count + count + n + groups + 1) * 8);
    if (!memory) return kOzkStatsErrorMemory;
    double* const pooled_cross = memory.at<double>();
    double* const cross = pooled_cross + count * count;
    double* const panel = cross + count * count;
    double* const means = panel + kPanelBlock * count;
    double* const rests = means + count;
    double* const pooled_means = rests + count;
    int64_t* const components = reinterpret_cast<int64_t*>(pooled_means + count);
    int64_t* const starts = components + count;  // of the groups in the list
    int64_t* const list = starts + groups + 1;   // the observations, group after group
    request.sample.select(components);

    std::fill_n(starts, groups + 1, int64_t{0});
    for (int64_t j = 0; j < n; ++j) ++starts[request.group(j) + 1];
    for (int64_t g = 0; g < groups; ++g) starts[g + 1] += starts[g];
    for (int64_t j = 0; j < n; ++j) list[starts[request.group(j)]++] = j;
    for (int64_t g = groups; g > 0; --g) starts[g] = starts[g - 1];
    starts[0] = 0;

    const GroupSums<Real> sums = {request, components, count, panel, means, cross, rests};
    std::fill_n(pooled_cross, count * count, 0.0);
    std::fill_n(pooled_means, count, 0.0);
    double total = 0, pooled_divisor = 0;
    for (int64_t g = 0, place = 0; g < groups; ++g) {
        const bool requested = request.requested(g);
        if (!request.pooled && !requested) continue;
        const Weight weight = sums.run(list + starts[g], starts[g + 1] - starts[g]);
        const double divisor = covariance_divisor(weight);
        if (weight.total > 0) {
            total += weight.total;
            pooled_divisor += divisor;
            for (int64_t c = 0; c < count; ++c)
                pooled_means[c] += weight.total / total * (means[c] - pooled_means[c]);
            for (int64_t e = 0; e < count * count; ++e) pooled_cross[e] += cross[e];
        }
        if (!requested) continue;
        const Matrix matrix = request.group_matrix(place);
        for (int64_t k = 0; k < count; ++k) {
            static_cast<Real*>(task->group_means)[place * p + components[k]] = static_cast<Real>(means[k]);
            for (int64_t i = k; i < count; ++i)
                matrix.set(components[i], components[k], cross[k * count + i] / divisor);
        }
        ++place;
    }
    for (int64_t k = 0; k < count && request.pooled; ++k) {
        static_cast<Real*>(task->pooled_mean)[components[k]] = static_cast<Real>(pooled_means[k]);
        for (int64_t i = k; i < count; ++i)
            request.covariance.set(components[i], components[k],
                                   pooled_cross[k * count + i] / pooled_divisor);
    }
    return kOzkStatsOk;
}

}  // namespace
}  // namespace ozk::stats

extern "C" {

int _vsldSSPooledCovariance(OzkStatsTask* task, uint64_t estimates, uint32_t method, const OzkThreading*) {
    return ozk::stats::estimate<double>(task, estimates, method);
}

int _vslsSSPooledCovariance(OzkStatsTask* task, uint64_t estimates, uint32_t method, const OzkThreading*) {
    return ozk::stats::estimate<float>(task, estimates, method);
}

}  // extern "C"
