// Cells of a uniform partition, by a closed formula.

#include "df/search.hpp"
#include "simd/vector.hpp"

namespace ozk::df {
namespace {

void store_cells(int32_t* cell, simd::i32x4 value) { simd::store(cell, value); }
void store_cells(int64_t* cell, simd::i32x4 value) {
    simd::store(cell, low_to_i64(value));
    simd::store(cell + 2, high_to_i64(value));
}

// The formula on whole vectors. Cells are whole numbers that T holds exactly. The minimum is nx where the
// product is a NaN: t is a NaN and gets cell 0, or infinity times scale 0 and right of the partition.
template <class T>
struct VectorFormula {
    using Vector = decltype(simd::broadcast(T()));
    Vector left, right, scale, count, one, last;

    explicit VectorFormula(const UniformSearch<T>& search)
        : left(simd::broadcast(search.x[0])),
          right(simd::broadcast(search.x[1])),
          scale(simd::broadcast(search.scale)),
          count(simd::broadcast(static_cast<T>(search.nx))),
          one(simd::broadcast(T(1))),
          last(count - one) {}

    Vector cells(const T* site) const {
        const Vector t = simd::load(site);
        const Vector cell = min(truncate(min((t - left) * scale, count)) + one, count);
        return select(t == right, last, cell & (left <= t));
    }
    simd::i32x4 four_cells(const T* site) const {
        if constexpr (Vector::kLanes == 4)
            return truncate_to_i32(cells(site));
        else
            return join_low(truncate_to_i32(cells(site)), truncate_to_i32(cells(site + 2)));
    }
};

}  // namespace

template <class T>
template <class Cell>
void UniformSearch<T>::operator()(int64_t nsite, const T* site, Cell* cell) const {
    constexpr int64_t kExactCells = sizeof(T) == 4 ? int64_t{1} << 24 : INT32_MAX;
    int64_t i = 0;
    if (nx < kExactCells) {
        const VectorFormula<T> formula(*this);
        for (; i + 4 <= nsite; i += 4) store_cells(cell + i, formula.four_cells(site + i));
    }
    for (; i < nsite; ++i) cell[i] = static_cast<Cell>(cell_of(site[i]));
}

OZK_DF_SEARCH_INSTANTIATE(UniformSearch)

}  // namespace ozk::df

#define OZK_DF_UNIFORM_SEARCH(p, T, Form, Cell)                                                          \
    int ozk_df_kernel_##p##DFUniformSearch1D##Form(int64_t nx, const T* x, int64_t nsite, const T* site, \
                                                   Cell* cell, T scale) {                                \
        if (nsite >= 1) ozk::df::UniformSearch<T>{nx, x, scale}(nsite, site, cell);                      \
        return kDfOk;                                                                                    \
    }
OZK_DF_SEARCH_FORMS(OZK_DF_UNIFORM_SEARCH)

#define OZK_DF_UNIFORM_SEARCH_OF_TASK(p, T)                                                                  \
    int ozk_df_kernel_##p##DFUniformSearch1D(const DfTask* task, int64_t nsite, const T* site, void* cell) { \
        if (nsite < 1) return kDfOk;                                                                         \
        ozk::df::with_cell_width(*task, cell,                                                                \
                                 [&](auto* out) { ozk::df::uniform_search<T> (*task)(nsite, site, out); });  \
        return kDfOk;                                                                                        \
    }
OZK_DF_UNIFORM_SEARCH_OF_TASK(s, float)
OZK_DF_UNIFORM_SEARCH_OF_TASK(d, double)
