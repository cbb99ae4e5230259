// What the estimators that look at one component after another share: the checked observation matrix, scratch
// from the core's allocator, and the loop over the selected components.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>

#include "vsl/stats/task.hpp"

namespace ozk::stats {

// The observation matrix of a task, checked.
template <class Real>
struct Sample {
    const OzkStatsTask* task = nullptr;
    int64_t p = 0, n = 0;
    int64_t storage = 0;
    const Real* values = nullptr;

    bool by_component() const { return storage == kOzkStatsByComponent || p == 1; }
    int64_t component_stride() const { return by_component() ? n : 1; }
    int64_t observation_stride() const { return by_component() ? 1 : p; }
    const Real* component(int64_t i) const { return values + i * component_stride(); }
    bool selected(int64_t i) const {
        return task->indices == nullptr || read_integer(*task, task->indices, i) != 0;
    }
    // Numbers the selected components in list[0 .. p-1]; returns how many there are.
    int64_t select(int64_t* list) const {
        int64_t count = 0;
        for (int64_t i = 0; i < p; ++i)
            if (selected(i)) list[count++] = i;
        return count;
    }
};

// Dimension, number and storage of the observations: what every estimator checks first. enough(n, p) says whether n
// observations will do. The observations themselves are missed last, by check_observations.
template <class Real, class Enough>
int check_sizes(const OzkStatsTask* task, Sample<Real>& sample, Enough enough) {
    if (task == nullptr) return kOzkStatsErrorTask;
    sample.task = task;
    sample.values = static_cast<const Real*>(task->observations);
    if (task->dimension == nullptr) return kOzkStatsErrorDimension;
    sample.p = read_integer(*task, task->dimension);
    if (sample.p < 1) return kOzkStatsErrorDimension;
    if (task->observation_count == nullptr) return kOzkStatsErrorObservationCount;
    sample.n = read_integer(*task, task->observation_count);
    if (sample.n < 1 || !enough(sample.n, sample.p)) return kOzkStatsErrorObservationCount;
    if (task->observation_storage == nullptr) return kOzkStatsErrorInteger;
    sample.storage = read_integer(*task, task->observation_storage);
    return is_observation_storage(sample.storage) ? kOzkStatsOk : kOzkStatsErrorStorage;
}
template <class Real>
int check_sizes(const OzkStatsTask* task, Sample<Real>& sample) {
    return check_sizes(task, sample, [](int64_t, int64_t) { return true; });
}
// For estimators that count a missing storage code as an unknown one.
inline int without_storage(int status) {
    return status == kOzkStatsErrorInteger ? int{kOzkStatsErrorStorage} : status;
}

template <class Real>
int check_observations(const Sample<Real>& sample) {
    return sample.values == nullptr ? kOzkStatsErrorObservations : kOzkStatsOk;
}

// The storage code of a matrix of the caller's.
inline int check_matrix_storage(const OzkStatsTask& task, const void* storage, int64_t& code) {
    if (storage == nullptr) return kOzkStatsErrorInteger;
    code = read_integer(task, storage);
    return is_matrix_storage(code) ? kOzkStatsOk : kOzkStatsErrorStorage;
}

// A block of the core's allocator, given back at the end of its scope.
class Allocation {
  public:
    explicit Allocation(int64_t bytes) : block_(ozk_serv_allocate(static_cast<size_t>(bytes), 128)) {}
    ~Allocation() { ozk_serv_deallocate(block_); }
    Allocation(const Allocation&) = delete;
    Allocation& operator=(const Allocation&) = delete;

    explicit operator bool() const { return block_ != nullptr; }
    template <class T>
    T* at(int64_t byte = 0) const {
        return reinterpret_cast<T*>(static_cast<char*>(block_) + byte);
    }

  private:
    void* block_;
};

// Bytes up to the next cache line, so that what follows does not share one.
inline int64_t whole_lines(int64_t bytes) { return (bytes + 127) / 128 * 128; }

// How many threads pay for one pass over p by n values.
inline int64_t advised_threads(const OzkThreading* threading, int64_t p, int64_t n, int64_t storage,
                               const void* values) {
    if (threading == nullptr || threading->parallel_for == nullptr) return 1;
    int64_t count = 1;
    if (threading->advise_threads != nullptr) {
        count = threading->advise_threads(p, n, storage, values);
    } else if (threading->thread_limit != nullptr) {
        count = threading->thread_limit();
    }
    return std::max<int64_t>(count, 1);
}

// The same for the sample, at most one for each component.
template <class Real>
int64_t threads_for(const OzkThreading* threading, const Sample<Real>& sample) {
    return std::min(advised_threads(threading, sample.p, sample.n, sample.storage, sample.values), sample.p);
}

// Calls body(item, thread) for each item, on at most `threads` threads; the status of the loop.
template <class Body>
int for_each_item(const OzkThreading* threading, int64_t items, int64_t threads, Body& body) {
    const OzkLoopBody call = [](int64_t item, int64_t thread, void* context) -> int {
        return (*static_cast<Body*>(context))(item, thread);
    };
    if (threads > 1 && items > 1) return threading->parallel_for(items, threads, &body, call);
    int status = kOzkStatsOk;
    for (int64_t item = 0; item < items; ++item) {
        const int each = body(item, 0);
        if (status == kOzkStatsOk) status = each;
    }
    return status;
}

}  // namespace ozk::stats
