// The general cell search: chooses the method.

#include "df/search.hpp"

#include "df/parallel.hpp"

namespace ozk::df {

template <class T, class Cell>
void find_cells(const DfTask& task, int64_t site_hint, int64_t nsite, const T* site, Cell* cell) {
    // A walk over all knots pays when it meets a site every few knots.
    constexpr int64_t kKnotsPerSite = 8;
    if (nsite < 1) return;
    if (is_uniform(task)) return uniform_search<T>(task)(nsite, site, cell);
    const BisectionSearch<T> bisection{task.nx, static_cast<const T*>(task.x)};
    if (site_hint == kDfSitesSorted) {
        int64_t index = bisection.cell_of(site[0]);
        const int64_t last = bisection.cell_of(site[nsite - 1]);
        if (last - index <= kKnotsPerSite * nsite)
            return SortedSearch<T>{task.nx, bisection.x}(nsite, site, index, cell);
    }
    if (site_hint == kDfSitesCluster)
        return PeakSearch<T>{task.nx, bisection.x, bisection.cell_of(site[0])}(nsite, site, cell);
    if (task.x_hint == kDfPartitionQuasiUniform) return quasi_uniform_search<T>(task)(nsite, site, cell);
    if (has_accelerator(task)) return hybrid_search<T>(task)(nsite, site, cell);
    bisection(nsite, site, cell);
}

template void find_cells(const DfTask&, int64_t, int64_t, const float*, int32_t*);
template void find_cells(const DfTask&, int64_t, int64_t, const float*, int64_t*);
template void find_cells(const DfTask&, int64_t, int64_t, const double*, int32_t*);
template void find_cells(const DfTask&, int64_t, int64_t, const double*, int64_t*);

namespace {

template <class T>
int search(const DfTask* task, const OzkThreading* threading, int64_t nsite, const T* site, int64_t site_hint,
           CellCallback<T> callback, void* parameters, void* cell) {
    if (!task) return kDfErrorNullTask;
    if (nsite < 1) return kDfOk;
    if (!site) return kDfErrorNullSites;
    if (!is_site_hint(site_hint)) return kDfErrorSiteHint;
    if (!cell) return kDfErrorNullResult;
    int status = kDfOk;
    if (callback) {  // the caller's function is not called from several threads
        with_cell_width(*task, cell, [&](auto* out) {
            status = user_defined_search(*task, nsite, site, callback, parameters, out);
        });
        return status;
    }
    const int64_t runs = (nsite + kSitesPerRun - 1) / kSitesPerRun;
    with_cell_width(*task, cell, [&](auto* out) {
        status =
            parallel_for(threading, runs, useful_threads(threading, runs, nsite), [&](int64_t run) -> int {
                const int64_t first = run * kSitesPerRun;
                find_cells(*task, site_hint, std::min(kSitesPerRun, nsite - first), site + first,
                           out + first);
                return kDfOk;
            });
    });
    return status;
}

}  // namespace
}  // namespace ozk::df

#define OZK_DF_SEARCH(p, T)                                                                             \
    int ozk_df_kernel_##p##DFSearch1D(const DfTask* task, const OzkThreading* threading, int64_t nsite, \
                                      const T* site, int64_t site_hint, Df##p##CellCallback callback,   \
                                      void* parameters, void* cell) {                                   \
        return ozk::df::search(task, threading, nsite, site, site_hint, callback, parameters, cell);    \
    }
OZK_DF_SEARCH(s, float)
OZK_DF_SEARCH(d, double)
