// Cells of ascending sites, by one walk along the knots.

#include "df/search.hpp"

namespace ozk::df {

template <class T>
template <class Cell>
void SortedSearch<T>::operator()(int64_t nsite, const T* site, int64_t& index, Cell* cell) const {
    int64_t r = std::max<int64_t>(index, 0);
    for (int64_t i = 0; i < nsite; ++i) {
        const T t = site[i];
        if (t == x[nx - 1]) {
            cell[i] = static_cast<Cell>(nx - 1);
            continue;
        }
        if (i == 0) {  // one bisection saves a long walk to a first site in the right half
            int64_t hi = nx;
            while (r < hi - nx / 2) {
                const int64_t middle = r + (hi - r) / 2;
                (x[middle] > t ? hi : r) = middle;
            }
        }
        if (r < nx) r = walk_forward(nx, x, r, t);
        cell[i] = static_cast<Cell>(r);
    }
    index = r;
}

template void SortedSearch<float>::operator()(int64_t, const float*, int64_t&, int32_t*) const;
template void SortedSearch<float>::operator()(int64_t, const float*, int64_t&, int64_t*) const;
template void SortedSearch<double>::operator()(int64_t, const double*, int64_t&, int32_t*) const;
template void SortedSearch<double>::operator()(int64_t, const double*, int64_t&, int64_t*) const;

}  // namespace ozk::df

#define OZK_DF_SORTED_SEARCH(p, T, Form, Cell)                                                          \
    int ozk_df_kernel_##p##DFSortedSearch1D##Form(int64_t nx, const T* x, int64_t nsite, const T* site, \
                                                  int64_t* index, Cell* cell) {                         \
        if (nsite >= 1) ozk::df::SortedSearch<T>{nx, x}(nsite, site, *index, cell);                     \
        return kDfOk;                                                                                   \
    }
OZK_DF_SEARCH_FORMS(OZK_DF_SORTED_SEARCH)

#define OZK_DF_SORTED_SEARCH_OF_TASK(p, T)                                                                \
    int ozk_df_kernel_##p##DFSortedSearch1D(const DfTask* task, int64_t nsite, const T* site,             \
                                            int64_t* index, void* cell) {                                 \
        if (nsite < 1) return kDfOk;                                                                      \
        ozk::df::with_cell_width(*task, cell, [&](auto* out) {                                            \
            ozk::df::SortedSearch<T>{task->nx, static_cast<const T*>(task->x)}(nsite, site, *index, out); \
        });                                                                                               \
        return kDfOk;                                                                                     \
    }
OZK_DF_SORTED_SEARCH_OF_TASK(s, float)
OZK_DF_SORTED_SEARCH_OF_TASK(d, double)
