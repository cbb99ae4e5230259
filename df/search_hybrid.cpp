// Cells of a non-uniform partition: the accelerator's bin, then bisection, then a count of knots.

#include "df/search.hpp"
#include "simd/vector.hpp"

namespace ozk::df {
namespace {

constexpr int64_t kCountedKnots = 20;  // above, bisection costs less than counting

int64_t count_lanes(simd::i64x2 count) {
    return low(count) + high(count);
}
int64_t count_lanes(simd::i32x4 count) {
    return lane<0>(count) + lane<1>(count) + lane<2>(count) + lane<3>(count);
}

// How many of `n` knots are not greater than t.
template <class T>
int64_t count_not_greater(const T* x, int64_t n, T t) {
    const auto site = simd::broadcast(t);
    constexpr int kLanes = decltype(site)::kLanes;
    auto count = bits(site) ^ bits(site);
    int64_t j = 0;
    for (; j + kLanes <= n; j += kLanes) count = count - bits(not_less(site, simd::load(x + j)));
    int64_t total = count_lanes(count);
    for (; j < n; ++j) total += !(x[j] > t);
    return total;
}

}  // namespace

template <class T>
template <class Cell>
void HybridSearch<T>::operator()(int64_t nsite, const T* site, Cell* cell) const {
    const T left = x[0], right = x[nx - 1];
    const int64_t bins = accelerator_bins(nx);
    for (int64_t i = 0; i < nsite; ++i) {
        const T t = site[i];
        int64_t found;
        if (t < left) {
            found = 0;
        } else if (t >= right) {
            found = t > right ? nx : nx - 1;
        } else {
            const int64_t* range = table + 2 * bin_of(t, left, scale, bins);
            int64_t lo = range[0], hi = range[1];
            while (lo < hi - kCountedKnots) {
                const int64_t middle = (lo + hi) / 2;
                (x[middle] > t ? hi : lo) = middle;
            }
            found = lo + count_not_greater(x + lo, hi - lo + 1, t);
        }
        cell[i] = static_cast<Cell>(found);
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
