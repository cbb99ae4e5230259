// Cells of a non-uniform partition: the accelerator's bin, then bisection, then a count of knots.

#include "df/count_knots.hpp"
#include "df/search.hpp"

namespace ozk::df {
namespace {

constexpr int64_t kCountedKnots = 20;  // above, bisection costs less than counting
// What is counted: all knots of such a range and a few more, so that every site takes the same steps.
constexpr int64_t kWindow = 24;

template <class T>
int64_t count_knots(const T* x, int64_t n, T t) {
    int64_t count = 0;
    for (int64_t j = 0; j < n; ++j) count += !(x[j] > t);
    return count;
}

}  // namespace

// Knots before the range of a site are not greater than it and knots behind the range are, so the count may
// begin earlier and go on further than the range without a change of the sum.
template <class T>
template <class Cell>
void HybridSearch<T>::operator()(int64_t nsite, const T* site, Cell* cell) const {
    const T left = x[0], right = x[nx - 1];
    const int64_t bins = accelerator_bins(nx);
    for (int64_t i = 0; i < nsite; ++i) {
        const T t = site[i];
        const int64_t* range = table + 2 * bin_of(t, left, scale, bins);
        int64_t lo = range[0], hi = range[1];
        while (lo < hi - kCountedKnots) {
            const int64_t middle = (lo + hi) / 2;
            const bool greater = x[middle] > t;
            hi = greater ? middle : hi;
            lo = greater ? lo : middle;
        }
        int64_t found;
        if (nx >= kWindow) {
            lo = std::min(lo, nx - kWindow);
            found = lo + count_window<kWindow>(x + lo, t);
        } else {
            found = count_knots(x, nx, t);
        }
        cell[i] = static_cast<Cell>(t == right ? nx - 1 : found);
    }
}

OZK_DF_SEARCH_INSTANTIATE(HybridSearch)

}  // namespace ozk::df

#define OZK_DF_HYBRID_SEARCH(p, T, Form, Cell)                                                          \
    int ozk_df_kernel_##p##DFHybridSearch1D##Form(int64_t nx, const T* x, int64_t nsite, const T* site, \
                                                  const int64_t* table, Cell* cell, T scale) {          \
        if (nsite >= 1) ozk::df::HybridSearch<T>{nx, x, table, scale}(nsite, site, cell);               \
        return kDfOk;                                                                                   \
    }
OZK_DF_SEARCH_FORMS(OZK_DF_HYBRID_SEARCH)

#define OZK_DF_HYBRID_SEARCH_OF_TASK(p, T)                                                                  \
    int ozk_df_kernel_##p##DFHybridSearch1D(const DfTask* task, int64_t nsite, const T* site, void* cell) { \
        if (nsite < 1) return kDfOk;                                                                        \
        ozk::df::with_cell_width(*task, cell, [&](auto* out) {                                              \
            if (ozk::df::has_accelerator(*task))                                                            \
                ozk::df::hybrid_search<T> (*task)(nsite, site, out);                                        \
            else                                                                                            \
                ozk::df::BisectionSearch<T>{task->nx, static_cast<const T*>(task->x)}(nsite, site, out);    \
        });                                                                                                 \
        return kDfOk;                                                                                       \
    }
OZK_DF_HYBRID_SEARCH_OF_TASK(s, float)
OZK_DF_HYBRID_SEARCH_OF_TASK(d, double)
