// Cell search: what the methods share, and the choice among them for the sites of a task.
//
// A method is an object made for one partition, called with a run of sites and the cells to fill.
#pragma once

#include <algorithm>
#include <cstdint>

#include "df/accelerator.hpp"
#include "df/partition.hpp"
#include "df/precision.hpp"
#include "ozk_df.h"

namespace ozk::df {

// trunc(x), kept in 0 .. limit; 0 for a NaN.
template <class T>
int64_t truncate_to_index(T x, int64_t limit) {
    if (!(x > 0)) return 0;
    return x < static_cast<T>(limit) ? std::min(static_cast<int64_t>(x), limit) : limit;
}

// The first j in first .. nx - 1 with x[j] > t, else nx.
template <class T>
int64_t walk_forward(int64_t nx, const T* x, int64_t first, T t) {
    int64_t j = first;
    while (j < nx && !(x[j] > t)) ++j;
    return j;
}

// The first j in first .. 1, downwards, with x[j-1] not greater than t, else 0.
template <class T>
int64_t walk_backward(const T* x, int64_t first, T t) {
    int64_t j = first;
    while (j > 0 && x[j - 1] > t) --j;
    return j;
}

// The cell of a site other than the last knot, found by walking from knot p >= 0.
template <class T>
int64_t walk(int64_t nx, const T* x, int64_t p, T t) {
    if (p >= nx) return t > x[nx - 1] ? nx : walk_backward(x, nx - 1, t);
    return x[p] > t ? walk_backward(x, p, t) : walk_forward(nx, x, p, t);
}

// The number of knots not greater than t among x[lo] .. x[hi - 1], found by bisection, plus lo.
template <class T>
int64_t bisect(const T* x, int64_t lo, int64_t hi, T t) {
    while (lo < hi) {
        const int64_t middle = lo + (hi - lo) / 2;
        if (x[middle] > t)
            hi = middle;
        else
            lo = middle + 1;
    }
    return lo;
}

template <class T>
struct UniformSearch {
    int64_t nx;
    const T* x;  // the two ends
    T scale;     // (nx - 1) / (x[1] - x[0])

    int64_t cell_of(T t) const {
        if (t == x[1]) return nx - 1;
        if (!(t >= x[0])) return 0;
        return std::min(truncate_to_index((t - x[0]) * scale, nx) + 1, nx);
    }
    template <class Cell>
    void operator()(int64_t nsite, const T* site, Cell* cell) const;
};

template <class T>
struct QuasiUniformSearch {
    int64_t nx;
    const T* x;
    T scale;  // (nx - 1) / (x[nx-1] - x[0])

    template <class Cell>
    void operator()(int64_t nsite, const T* site, Cell* cell) const;
};

template <class T>
struct SortedSearch {
    int64_t nx;
    const T* x;

    // Walks from the running knot index, which is moved on.
    template <class Cell>
    void operator()(int64_t nsite, const T* site, int64_t& index, Cell* cell) const;
};

template <class T>
struct PeakSearch {
    int64_t nx;
    const T* x;
    int64_t start;  // the knot that every walk begins at

    template <class Cell>
    void operator()(int64_t nsite, const T* site, Cell* cell) const;
};

template <class T>
struct HybridSearch {
    int64_t nx;
    const T* x;
    const int64_t* table;
    T scale;

    template <class Cell>
    void operator()(int64_t nsite, const T* site, Cell* cell) const;
};

// Plain bisection, for a non-uniform partition without accelerator.
template <class T>
struct BisectionSearch {
    int64_t nx;
    const T* x;

    int64_t cell_of(T t) const { return t == x[nx - 1] ? nx - 1 : bisect(x, 0, nx, t); }
    template <class Cell>
    void operator()(int64_t nsite, const T* site, Cell* cell) const {
        for (int64_t i = 0; i < nsite; ++i) cell[i] = static_cast<Cell>(cell_of(site[i]));
    }
};

template <class T>
UniformSearch<T> uniform_search(const DfTask& task) {
    const T* x = static_cast<const T*>(task.x);
    return {task.nx, x, static_cast<T>(task.nx - 1) / (x[1] - x[0])};
}

template <class T>
QuasiUniformSearch<T> quasi_uniform_search(const DfTask& task) {
    const T* x = static_cast<const T*>(task.x);
    return {task.nx, x, static_cast<T>(task.nx - 1) / (x[task.nx - 1] - x[0])};
}

template <class T>
HybridSearch<T> hybrid_search(const DfTask& task) {
    return {task.nx, static_cast<const T*>(task.x), task.table, Precision<T>::scale(task)};
}

// The cells that the callback gives, corrected; its status.
template <class T, class Cell>
int user_defined_search(const DfTask& task, int64_t nsite, const T* site, CellCallback<T> callback,
                        void* parameters, Cell* cell);

// Calls body with the cells in the width that the task's integer results have.
template <class Body>
void with_cell_width(const DfTask& task, void* cell, Body body) {
    if (task.wide_integers)
        body(static_cast<int64_t*>(cell));
    else
        body(static_cast<int32_t*>(cell));
}

inline bool is_site_hint(int64_t hint) {
    return hint == kDfSitesNoHint || hint == kDfSitesSorted || hint == kDfSitesCluster;
}

// Sites that one thread takes at a time: enough work to pay for handing it out.
inline constexpr int64_t kSitesPerRun = 8192;

// Finds the cells of a run of sites by the method that suits the partition and the sites.
template <class T, class Cell>
void find_cells(const DfTask& task, int64_t site_hint, int64_t nsite, const T* site, Cell* cell);

// The function calls of a method in both precisions and widths.
#define OZK_DF_SEARCH_INSTANTIATE(Method)                                             \
    template void Method<float>::operator()(int64_t, const float*, int32_t*) const;   \
    template void Method<float>::operator()(int64_t, const float*, int64_t*) const;   \
    template void Method<double>::operator()(int64_t, const double*, int32_t*) const; \
    template void Method<double>::operator()(int64_t, const double*, int64_t*) const;

// The forms of a method that write cells of a given width.
#define OZK_DF_SEARCH_FORMS(DEFINE)   \
    DEFINE(s, float, 32, int32_t)     \
    DEFINE(s, float, 64, int64_t)     \
    DEFINE(s, float, 64Pack, int64_t) \
    DEFINE(d, double, 32, int32_t)    \
    DEFINE(d, double, 64, int64_t)    \
    DEFINE(d, double, 64Pack, int64_t)

}  // namespace ozk::df
