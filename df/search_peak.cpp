// Cells of sites near one knot, by walks outward from it.

#include "df/search.hpp"

namespace ozk::df {

template <class T>
template <class Cell>
void PeakSearch<T>::operator()(int64_t nsite, const T* site, Cell* cell) const {
    for (int64_t i = 0; i < nsite; ++i) {
        const T t = site[i];
        cell[i] = static_cast<Cell>(t == x[nx - 1] ? nx - 1 : walk(nx, x, start, t));
    }
}

OZK_DF_SEARCH_INSTANTIATE(PeakSearch)

}  // namespace ozk::df

#define OZK_DF_PEAK_SEARCH(p, T, Form, Cell)                                                          \
    int ozk_df_kernel_##p##DFPeakSearch1D##Form(int64_t nx, const T* x, int64_t nsite, const T* site, \
                                                Cell* cell, T start) {                                \
        if (nsite < 1) return kDfOk;                                                                  \
        ozk::df::PeakSearch<T>{nx, x, ozk::df::truncate_to_index(start, nx)}(nsite, site, cell);      \
        return kDfOk;                                                                                 \
    }
OZK_DF_SEARCH_FORMS(OZK_DF_PEAK_SEARCH)

#define OZK_DF_PEAK_SEARCH_OF_TASK(p, T)                                                                \
    int ozk_df_kernel_##p##DFPeakSearch1D(const DfTask* task, int64_t nsite, const T* site, void* cell, \
                                          T start) {                                                    \
        if (nsite < 1) return kDfOk;                                                                    \
        const ozk::df::PeakSearch<T> search{task->nx, static_cast<const T*>(task->x),                   \
                                            ozk::df::truncate_to_index(start, task->nx)};               \
        ozk::df::with_cell_width(*task, cell, [&](auto* out) { search(nsite, site, out); });            \
        return kDfOk;                                                                                   \
    }
OZK_DF_PEAK_SEARCH_OF_TASK(s, float)
OZK_DF_PEAK_SEARCH_OF_TASK(d, double)
