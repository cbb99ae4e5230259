// Sorting the components of the observations, and the exported sort helpers.

#include "vsl/stats/sort.hpp"

#include "vsl/stats/quicksort.hpp"
#include "vsl/stats/sample.hpp"

namespace ozk::stats {
namespace {

template <class Real>
int sort(OzkStatsTask* task, uint32_t method, const OzkThreading* threading) {
    Sample<Real> sample;
    if (const int status = check_sizes(task, sample)) return status;
    Real* const sorted = static_cast<Real*>(task->sorted_observations);
    if (sorted == nullptr) return kOzkStatsErrorSortedObservations;
    if (task->sorted_storage == nullptr) return kOzkStatsErrorInteger;
    const int64_t storage = read_integer(*task, task->sorted_storage);
    const bool by_component = storage == kOzkStatsByComponent || sample.p == 1;
    if (sorted == sample.values) {
        if (((storage ^ sample.storage) & kOzkStatsByComponent) != 0) return kOzkStatsErrorInteger;
        if (task->indices != nullptr) return kOzkStatsErrorSortInPlace;
    }
    if (!is_observation_storage(storage)) return kOzkStatsErrorStorage;
    if ((method & kOzkStatsRadixSort) == 0) return kOzkStatsErrorMethod;
    if (const int status = check_observations(sample)) return status;

    // Interleaved components are sorted in a copy.
    const int64_t component = static_cast<int64_t>(sizeof(Real)) * sample.n;
    const int64_t bytes = whole_lines(by_component ? component : 2 * component);
    const int64_t threads = sorting_threads(threading, sample);
    const Allocation scratch(threads * bytes + sample.p * static_cast<int64_t>(sizeof(int64_t)));
    if (!scratch) return kOzkStatsErrorMemory;
    int64_t* const list = scratch.at<int64_t>(threads * bytes);

    auto body = [&](int64_t item, int64_t thread) -> int {
        Real* const work = scratch.at<Real>(thread * bytes);
        const int64_t i = list[item];
        if (by_component) {
            copy_component(sample, i, sorted + i * sample.n);
            sort_values(sorted + i * sample.n, work, sample.n);
        } else {
            copy_component(sample, i, work);
            sort_values(work, work + sample.n, sample.n);
            for (int64_t j = 0; j < sample.n; ++j) sorted[j * sample.p + i] = work[j];
        }
        return kOzkStatsOk;
    };
    return for_each_item(threading, sample.select(list), threads, body);
}

}  // namespace
}  // namespace ozk::stats

extern "C" {

int _vsldSSSort(OzkStatsTask* task, uint64_t, uint32_t method, const OzkThreading* threading) {
    return ozk::stats::sort<double>(task, method, threading);
}

int _vslsSSSort(OzkStatsTask* task, uint64_t, uint32_t method, const OzkThreading* threading) {
    return ozk::stats::sort<float>(task, method, threading);
}

void __vsldQSort(int64_t count, double* array) { ozk::stats::quicksort(array, count); }
void __vslsQSort(int64_t count, float* array) { ozk::stats::quicksort(array, count); }

void __vsldQSortStep(int64_t count, double* array, int64_t stride) {
    ozk::stats::quicksort(ozk::stats::Strided<double>{array, stride}, count);
}
void __vslsQSortStep(int64_t count, float* array, int64_t stride) {
    ozk::stats::quicksort(ozk::stats::Strided<float>{array, stride}, count);
}

double __vsldQSortSelect(int64_t count, double* array, int64_t k) {
    return ozk::stats::quickselect(array, count, k);
}
float __vslsQSortSelect(int64_t count, float* array, int64_t k) {
    return ozk::stats::quickselect(array, count, k);
}

}  // extern "C"
