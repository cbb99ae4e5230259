// Cell search: what the methods share, and the choice among them for the sites of a task.
//
// A method is an object made for one partition, called with a run of sites and the cells to fill.
#pragma once

#include <algorithm>
#include <cstdint>

#include "df/accelerator.hpp"
#include "df/count_knots.hpp"
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

// Knots that a walk looks at one by one. From there on its strides double, so that a bad start costs a logarithm.
inline constexpr int64_t kWalkedKnots = 8;

// The first j in first .. nx - 1 with x[j] > t, else nx.
template <class T>
int64_t walk_forward(int64_t nx, const T* x, int64_t first, T t) {
    int64_t j = first;
    for (const int64_t end = std::min(nx, first + kWalkedKnots); j < end; ++j)
        if (x[j] > t) return j;
    for (int64_t stride = kWalkedKnots; j < nx; stride *= 2) {
        const int64_t end = std::min(nx, j + stride);
        if (x[end - 1] > t) return bisect(x, j, end - 1, t);
        j = end;
    }
    return j;
}

// The first j in first .. 1, downwards, with x[j-1] not greater than t, else 0.
template <class T>
int64_t walk_backward(const T* x, int64_t first, T t) {
    int64_t j = first;
    for (const int64_t end = std::max<int64_t>(0, first - kWalkedKnots); j > end; --j)
        if (!(x[j - 1] > t)) return j;
    for (int64_t stride = kWalkedKnots; j > 0; stride *= 2) {
        const int64_t end = std::max<int64_t>(0, j - stride);
        if (!(x[end] > t)) return bisect(x, end + 1, j, t);
        j = end;
    }
    return j;
}

// The cell of a site other than the last knot, found by walking from knot p >= 0.
template <class T>
int64_t walk(int64_t nx, const T* x, int64_t p, T t) {
    if (p >= nx) return t > x[nx - 1] ? nx : walk_backward(x, nx - 1, t);
    return x[p] > t ? walk_backward(x, p, t) : walk_forward(nx, x, p, t);
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

// Calls body(piece, first, count) for the runs of ascending sites in one piece, that is in one cell or outside
// next to it. False, and nothing is done, where sites are so sparse that runs are short.
template <class T, class Body>
bool for_each_piece_run(const DfTask& task, int64_t nsite, const T* site, Body body) {
    constexpr int64_t kSitesPerPiece = 4;
    const T* x = static_cast<const T*>(task.x);
    const int64_t last = task.nx - 2;
    int64_t piece = left_knot(bisect(x, 0, task.nx, site[0]), task.nx);
    const int64_t end_piece = left_knot(bisect(x, 0, task.nx, site[nsite - 1]), task.nx);
    if ((end_piece - piece) * kSitesPerPiece > nsite) return false;
    for (int64_t first = 0; first < nsite;) {
        piece = std::min(walk_forward(task.nx, x, piece + 1, site[first]) - 1, last);
        int64_t end = nsite;
        if (piece < last) end = first + 1 + count_below(site + first + 1, nsite - first - 1, x[piece + 1]);
        body(piece, first, end - first);
        first = end;
    }
    return true;
}

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
