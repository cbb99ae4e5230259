// Squared Mahalanobis distances of a task's observations, by the operands in its distance fields.

#include "vsl/stats/mahalanobis.hpp"

#include "ozk_stats.h"
#include "vsl/stats/sample.hpp"

namespace ozk::stats {
namespace {

constexpr int64_t kStackComponents = 1024;
constexpr int64_t kItem = 1024;  // observations that a thread takes at a time

template <class Real>
struct Distances {
    const Real *observations, *centre, *inverse;
    Real* distances;
    int64_t p, n, leading;
    Real* block;  // room for `size` differences of p components
    int64_t size;

    // One of the two layouts: steps between components and between observations.
    void run(int64_t component_step, int64_t observation_step, int64_t first, int64_t last, Real* differences,
             int64_t room) const {
        for (int64_t start = first; start < last; start += room) {
            const int64_t count = std::min(room, last - start);
            const Real* const x = observations + start * observation_step;
            for (int64_t i = 0; i < p; ++i)
                for (int64_t j = 0; j < count; ++j)
                    differences[i * room + j] = x[i * component_step + j * observation_step] - centre[i];
            quadratic_forms(p, inverse, differences, room, count, distances + start);
        }
    }
    void by_component(int64_t first, int64_t last, Real* differences, int64_t room) const {
        run(leading, 1, first, last, differences, room);
    }
    void by_observation(int64_t first, int64_t last, Real* differences, int64_t room) const {
        run(1, leading, first, last, differences, room);
    }
};

template <class Real>
int estimate(OzkStatsTask* task, const OzkThreading* threading) {
    const auto size_of = [task](int which) { return read_integer(*task, task->distance_sizes[which]); };
    Distances<Real> work = {static_cast<const Real*>(task->observations),
                            static_cast<const Real*>(task->distance_centre),
                            static_cast<const Real*>(task->distance_inverse_covariance),
                            static_cast<Real*>(task->distances),
                            read_integer(*task, task->dimension),
                            size_of(0),
                            size_of(1),
                            static_cast<Real*>(task->distance_work),
                            0};
    if (work.block != nullptr && task->distance_work_size != nullptr)
        work.size = read_integer(*task, task->distance_work_size) / work.p;
    const auto worker = read_integer(*task, task->observation_storage) == kOzkStatsByComponent
                            ? &Distances<Real>::by_component
                            : &Distances<Real>::by_observation;
    if (work.size >= 1) {
        (work.*worker)(0, work.n, work.block, work.size);
        return kOzkStatsOk;
    }

    const int64_t items = (work.n + kItem - 1) / kItem;
    const int64_t threads = std::min<int64_t>(
        items, advised_threads(threading, work.p, work.n, read_integer(*task, task->observation_storage),
                               work.observations));
    if (work.p <= kStackComponents) {
        auto body = [&](int64_t item, int64_t) -> int {
            Real differences[kStackComponents];
            (work.*worker)(item * kItem, std::min(work.n, (item + 1) * kItem), differences, 1);
            return kOzkStatsOk;
        };
        return for_each_item(threading, items, threads, body);
    }
    const int64_t bytes = whole_lines(work.p * static_cast<int64_t>(sizeof(Real)));
    const Allocation scratch(std::max<int64_t>(threads, 1) * bytes);
    if (!scratch) return kOzkStatsErrorMemory;
    auto body = [&](int64_t item, int64_t thread) -> int {
        (work.*worker)(item * kItem, std::min(work.n, (item + 1) * kItem), scratch.at<Real>(thread * bytes),
                       1);
        return kOzkStatsOk;
    };
    return for_each_item(threading, items, threads, body);
}

}  // namespace
}  // namespace ozk::stats

extern "C" {

int _vsldSSMahDistance(OzkStatsTask* task, uint64_t, uint32_t, const OzkThreading* threading) {
    return ozk::stats::estimate<double>(task, threading);
}

int _vslsSSMahDistance(OzkStatsTask* task, uint64_t, uint32_t, const OzkThreading* threading) {
    return ozk::stats::estimate<float>(task, threading);
}

}  // extern "C"
