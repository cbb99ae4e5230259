// Cells of a partition whose knots are close to evenly spaced: the cell of an even grid, then a short walk.

#include "df/count_knots.hpp"
#include "df/search.hpp"

namespace ozk::df {
namespace {

// The cell of a site that lies within a few knots of knot p, without a branch; by a walk where it does not.
template <class T>
int64_t cell_near(int64_t nx, const T* x, int64_t p, T t) {
    constexpr int64_t kWindow = 8;
    if (nx < kWindow) return walk(nx, x, p, t);
    const int64_t first = std::min(std::max<int64_t>(p - kWindow / 2, 0), nx - kWindow);
    const int64_t count = count_window<kWindow>(x + first, t);
    if (count == 0) return walk_backward(x, first, t);
    if (count == kWindow) return walk_forward(nx, x, first + kWindow, t);
    return first + count;
}

}  // namespace

template <class T>
template <class Cell>
void QuasiUniformSearch<T>::operator()(int64_t nsite, const T* site, Cell* cell) const {
    constexpr int64_t kBlock = 32;  // starting cells are computed together, then corrected one by one
    int64_t start[kBlock];
    const T left = x[0], right = x[nx - 1];
    for (int64_t first = 0; first < nsite; first += kBlock) {
        const int64_t count = std::min(kBlock, nsite - first);
        for (int64_t i = 0; i < count; ++i)
            start[i] = truncate_to_index((site[first + i] - left) * scale, nx) + 1;
        for (int64_t i = 0; i < count; ++i) {
            const T t = site[first + i];
            const int64_t found = t < left ? 0 : t == right ? nx - 1 : cell_near(nx, x, start[i], t);
            cell[first + i] = static_cast<Cell>(found);
        }
    }
}

OZK_DF_SEARCH_INSTANTIATE(QuasiUniformSearch)

}  // namespace ozk::df

#define OZK_DF_QUASI_UNIFORM_SEARCH(p, T, Form, Cell)                                          \
    int ozk_df_kernel_##p##DFQuasiUniformSearch1D##Form(int64_t nx, const T* x, int64_t nsite, \
                                                        const T* site, Cell* cell, T scale) {  \
        if (nsite >= 1) ozk::df::QuasiUniformSearch<T>{nx, x, scale}(nsite, site, cell);       \
        return kDfOk;                                                                          \
    }
OZK_DF_SEARCH_FORMS(OZK_DF_QUASI_UNIFORM_SEARCH)

#define OZK_DF_QUASI_UNIFORM_SEARCH_OF_TASK(p, T)                                                         \
    int ozk_df_kernel_##p##DFQuasiUniformSearch1D(const DfTask* task, int64_t nsite, const T* site,       \
                                                  void* cell) {                                           \
        if (nsite < 1) return kDfOk;                                                                      \
        ozk::df::with_cell_width(                                                                         \
            *task, cell, [&](auto* out) { ozk::df::quasi_uniform_search<T> (*task)(nsite, site, out); }); \
        return kDfOk;                                                                                     \
    }
OZK_DF_QUASI_UNIFORM_SEARCH_OF_TASK(s, float)
OZK_DF_QUASI_UNIFORM_SEARCH_OF_TASK(d, double)
