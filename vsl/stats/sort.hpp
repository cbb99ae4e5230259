// Copying and sorting one component: what the sort and the quantile estimators share.
#pragma once

#include <algorithm>
#include <cstring>

#include "ozk_primitives.h"
#include "vsl/stats/quicksort.hpp"
#include "vsl/stats/sample.hpp"

namespace ozk::stats {

// Writes component i to to[0 .. n-1], which may be where it stands.
template <class Real>
void copy_component(const Sample<Real>& sample, int64_t i, Real* to) {
    const Real* const from = sample.component(i);
    if (sample.by_component()) {
        if (from != to) std::memcpy(to, from, static_cast<size_t>(sample.n) * sizeof(Real));
        return;
    }
    for (int64_t j = 0; j < sample.n; ++j) to[j] = from[j * sample.p];
}

// Sorts n values ascending; `work` holds as many.
inline constexpr int64_t kRadixSortTo = 0x7fffffff;
inline void sort_values(double* values, double* work, int64_t n) {
    if (n > kRadixSortTo) return quicksort(values, n);
    ozk_dft_mc3_qrvsSortRadixAscend_64f_I(values, work, static_cast<int32_t>(n));
}
inline void sort_values(float* values, float* work, int64_t n) {
    if (n > kRadixSortTo) return quicksort(values, n);
    ozk_dft_mc3_qrvsSortRadixAscend_32f_I(values, work, static_cast<int32_t>(n));
}

// The threads among which components are sorted: their copies together take 1 GiB at most, but for one.
template <class Real>
int64_t sorting_threads(const OzkThreading* threading, const Sample<Real>& sample) {
    constexpr int64_t kCopies = int64_t{1} << 30;
    const int64_t component = static_cast<int64_t>(sizeof(Real)) * sample.n;
    return component > kCopies ? 1 : std::min(threads_for(threading, sample), kCopies / component);
}

}  // namespace ozk::stats
