// Parallel loops on OpenMP.
//
// A loop's result does not depend on how many threads run it: every item runs, whatever the others return,
// and of several failing items the one with the lowest number gives the status.

#include <omp.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

#include "ozk_core.h"

namespace {

// Starting and joining a warm team takes a few microseconds, and the cheapest kernels take about half a
// nanosecond an element. A thread that gets this many elements has at least some eight microseconds of work.
constexpr int64_t kLeastElementsPerThread = int64_t{1} << 14;

// Items are handed out in this many portions a thread: few enough that handing out costs nothing, enough that
// items of unequal cost spread evenly.
constexpr int64_t kPortionsPerThread = 16;

struct FirstFailure {
    int64_t item = INT64_MAX;
    int status = 0;

    void note(int64_t failed_item, int failed_status) {
        if (failed_item < item) *this = {failed_item, failed_status};
    }
};

int64_t thread_index() { return omp_get_thread_num(); }

int64_t advise_threads(int64_t dimension, int64_t observations, int64_t /*storage*/, const void* /*data*/) {
    if (dimension <= 0 || observations <= 0) return 1;
    int64_t elements;
    if (__builtin_mul_overflow(dimension, observations, &elements)) elements = INT64_MAX;
    const int64_t limit = ozk_vsl_serv_threader_get_num_threads_limit();
    return std::clamp<int64_t>(elements / kLeastElementsPerThread, 1, limit);
}

constexpr OzkThreading kThreading = {ozk_vsl_serv_threader_for, ozk_vsl_serv_threader_get_num_threads_limit,
                                     thread_index, nullptr, advise_threads};

}  // namespace

int ozk_vsl_serv_threader_for(int64_t items, int64_t threads, void* context, OzkLoopBody body) {
    if (items <= 0) return 0;
    if (body == nullptr) return EINVAL;
    const int64_t team = std::min({items, threads, ozk_vsl_serv_threader_get_num_threads_limit()});
    FirstFailure failure;
    if (team <= 1) {
        for (int64_t item = 0; item < items; ++item) {
            if (const int status = body(item, 0, context)) failure.note(item, status);
        }
        return failure.status;
    }

    const int64_t portion = std::max<int64_t>(1, items / (team * kPortionsPerThread));
#pragma omp parallel for num_threads(static_cast <int>(team)) schedule(dynamic, portion)
    for (int64_t item = 0; item < items; ++item) {
        if (const int status = body(item, omp_get_thread_num(), context)) {
#pragma omp critical(ozk_first_failure)
            failure.note(item, status);
        }
    }
    return failure.status;
}

int64_t ozk_vsl_serv_threader_get_num_threads_limit(void) {
    if (omp_in_parallel()) return 1;
    return std::max(1, std::min(omp_get_max_threads(), omp_get_thread_limit()));
}

const OzkThreading* ozk_serv_threading(void) { return &kThreading; }
