// The search accelerator: an even grid of bins over a non-uniform partition, and for each bin the knots
// between which its sites lie.
//
// The bin of a knot and the bin of a site are computed by the same rounded operations, which never decrease
// with their argument; so a knot in a lower bin than a site is left of it, whatever the rounding.
#pragma once

#include <algorithm>
#include <cstdint>

#include "df/memory.hpp"
#include "df/precision.hpp"
#include "ozk_df.h"

namespace ozk::df {

inline int64_t accelerator_bins(int64_t nx) {
    return std::min<int64_t>(std::max<int64_t>(nx / 16, 16), 1024);
}

// The bin of t, kept in 0 .. bins for a NaN, an overflow or knots that do not ascend.
template <class T>
int64_t bin_of(T t, T left, T scale, int64_t bins) {
    const T bin = (t - left) * scale;
    if (!(bin > 0)) return 0;
    return bin < static_cast<T>(bins) ? static_cast<int64_t>(bin) : bins;
}

// Fills lo = table[2k], hi = table[2k + 1] for the bins k = 0 .. bins; the table has 2 bins + 4 entries.
template <class T>
void fill_accelerator_table(const T* x, int64_t nx, T scale, int64_t bins, int64_t* table) {
    const auto lo = [table](int64_t k) -> int64_t& { return table[2 * k]; };
    const auto hi = [table](int64_t k) -> int64_t& { return table[2 * k + 1]; };
    std::fill_n(table, 2 * bins + 4, -1);
    lo(0) = 0;
    constexpr int64_t kBlock = 64;
    int64_t bin[kBlock];
    for (int64_t first = 1; first < nx; first += kBlock) {
        const int64_t count = std::min(kBlock, nx - first);
        for (int64_t i = 0; i < count; ++i) bin[i] = bin_of(x[first + i], x[0], scale, bins);
        for (int64_t i = 0; i < count; ++i) {
            if (bin[i] == 0) continue;
            if (hi(bin[i] - 1) < 0) hi(bin[i] - 1) = first + i;
            lo(bin[i] + 1) = first + i;
        }
    }
    hi(bins - 1) = nx - 1;
    for (int64_t k = 1; k < bins; ++k)
        if (lo(k) < 0) lo(k) = lo(k - 1);
    for (int64_t k = bins - 2; k >= 0; --k)
        if (hi(k) < 0) hi(k) = hi(k + 1);
    lo(bins) = lo(bins - 1);  // bin `bins` holds the last knot alone
    hi(bins) = hi(bins - 1);
}

// Builds the task's accelerator from its nx and x in place of the one it has; on failure that one stays.
template <class T>
int build_accelerator(DfTask& task) {
    const int64_t bins = accelerator_bins(task.nx);
    auto* table = allocate_array<int64_t>(2 * bins + 4);
    if (!table) return kDfErrorMemory;
    const T* x = static_cast<const T*>(task.x);
    const T scale = static_cast<T>(bins) / (x[task.nx - 1] - x[0]);
    fill_accelerator_table(x, task.nx, scale, bins, table);
    ozk_serv_deallocate(task.table);
    task.table = table;
    task.bins = bins;
    Precision<T>::scale(task) = scale;
    task.table_x = x;
    task.table_nx = task.nx;
    return kDfOk;
}

// Whether the accelerator describes the partition that the task has.
inline bool has_accelerator(const DfTask& task) {
    return task.table && task.table_x == task.x && task.table_nx == task.nx;
}

}  // namespace ozk::df
