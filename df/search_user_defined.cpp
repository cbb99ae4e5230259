// Cells that the caller's function finds, or begins to find.

#include "df/search.hpp"

namespace ozk::df {
namespace {

// Hands the sites to the callback block by block; correct(t, cell) finishes each site that the callback left
// open.
template <class T, class Callback, class Cell, class Correct>
int search_with(Callback callback, void* parameters, int64_t nsite, const T* site, Cell* cell,
                Correct correct) {
    constexpr int64_t kBlock = 1024;
    int64_t found[kBlock];
    int32_t flag[kBlock];
    int result = kDfOk;
    for (int64_t first = 0; first < nsite; first += kBlock) {
        const int64_t count = std::min(kBlock, nsite - first);
        std::fill_n(found, count, 0);
        std::fill_n(flag, count, 0);
        const int status = callback(&count, site + first, found, flag, parameters);
        if (status < 0) return status;
        if (status != kDfCellsFinal) {
            for (int64_t i = 0; i < count; ++i)
                if (flag[i] == 0) found[i] = correct(site[first + i], std::max<int64_t>(found[i], 0));
            if (status != kDfOk) result = status;
        }
        for (int64_t i = 0; i < count; ++i) cell[first + i] = static_cast<Cell>(found[i]);
    }
    return result;
}

}  // namespace

template <class T, class Cell>
int user_defined_search(int64_t nx, const T* x, int64_t nsite, const T* site, CellCallback<T> callback,
                        void* parameters, Cell* cell) {
    return search_with(callback, parameters, nsite, site, cell, [nx, x](T t, int64_t start) {
        return t == x[nx - 1] ? nx - 1 : walk(nx, x, start, t);
    });
}

template <class T, class Cell>
int user_defined_search(const UniformSearch<T>& uniform, int64_t nsite, const T* site,
                        CellCallback<T> callback, void* parameters, Cell* cell) {
    return search_with(callback, parameters, nsite, site, cell,
                       [&uniform](T t, int64_t) { return uniform.cell_of(t); });
}

template <class T, class Cell>
int user_defined_search(const DfTask& task, int64_t nsite, const T* site, CellCallback<T> callback,
                        void* parameters, Cell* cell) {
    if (is_uniform(task))
        return user_defined_search(uniform_search<T>(task), nsite, site, callback, parameters, cell);
    return user_defined_search(task.nx, static_cast<const T*>(task.x), nsite, site, callback, parameters,
                               cell);
}

template int user_defined_search(const DfTask&, int64_t, const float*, CellCallback<float>, void*, int32_t*);
template int user_defined_search(const DfTask&, int64_t, const float*, CellCallback<float>, void*, int64_t*);
template int user_defined_search(const DfTask&, int64_t, const double*, CellCallback<double>, void*,
                                 int32_t*);
template int user_defined_search(const DfTask&, int64_t, const double*, CellCallback<double>, void*,
                                 int64_t*);

}  // namespace ozk::df

#define OZK_DF_USER_DEFINED_SEARCH(p, T, Form, Cell)                                                        \
    int ozk_df_kernel_##p##DFUserDefSearch1D##Form(int64_t nx, const T* x, int64_t nsite, const T* site,    \
                                                   Df##p##CellCallback callback, void* parameters,          \
                                                   Cell* cell) {                                            \
        return ozk::df::user_defined_search(nx, x, nsite, site, callback, parameters, cell);                \
    }                                                                                                       \
    int ozk_df_kernel_##p##DFUniUserDefSearch1D##Form(int64_t nx, const T* x, int64_t nsite, const T* site, \
                                                      Df##p##CellCallback callback, void* parameters,       \
                                                      Cell* cell, T scale) {                                \
        return ozk::df::user_defined_search(ozk::df::UniformSearch<T>{nx, x, scale}, nsite, site, callback, \
                                            parameters, cell);                                              \
    }
OZK_DF_SEARCH_FORMS(OZK_DF_USER_DEFINED_SEARCH)

#define OZK_DF_USER_DEFINED_SEARCH_OF_TASK(p, T, Method)                                          \
    int ozk_df_kernel_##p##DF##Method##Search1D(const DfTask* task, int64_t nsite, const T* site, \
                                                Df##p##CellCallback callback, void* parameters,   \
                                                void* cell) {                                     \
        if (nsite < 1) return kDfOk;                                                              \
        int status = kDfOk;                                                                       \
        ozk::df::with_cell_width(*task, cell, [&](auto* out) {                                    \
            status = ozk::df::user_defined_search(*task, nsite, site, callback, parameters, out); \
        });                                                                                       \
        return status;                                                                            \
    }
OZK_DF_USER_DEFINED_SEARCH_OF_TASK(s, float, UserDef)
OZK_DF_USER_DEFINED_SEARCH_OF_TASK(d, double, UserDef)
OZK_DF_USER_DEFINED_SEARCH_OF_TASK(s, float, UniUserDef)
OZK_DF_USER_DEFINED_SEARCH_OF_TASK(d, double, UniUserDef)
