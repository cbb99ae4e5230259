// Evaluation: what the spline kinds share.
//
// A kind is a struct with static functions over an Evaluation: check() looks at the sites and the request and
// writes nothing, write() fills the result; write_without_cells() may fill it faster where the cells are not
// given. Cells may come from the caller: every index made from a cell is kept inside the partition.
#pragma once

#include <algorithm>
#include <cstdint>

#include "df/partition.hpp"
#include "df/precision.hpp"
#include "ozk_df.h"
#include "simd/vector.hpp"

namespace ozk::df {

template <class T>
using VectorOf = decltype(simd::broadcast(T()));

// What the caller gives for the sites on one side of the partition.
template <class T>
struct OutsideCallback {
    typename Precision<T>::SiteCallback function = nullptr;
    void* parameters = nullptr;
};

template <class T, class Cell>
struct Evaluation {
    const DfTask& task;
    T h;  // distance of the knots of a uniform partition
    int64_t function;
    int64_t nsite;
    const T* site;
    const Cell* cell;
    int64_t norder;
    const int64_t* order;  // flags: derivative k is wanted
    T* result;
    int64_t site_stride;
    int64_t order_stride;

    T left() const { return x()[0]; }
    T right() const { return is_uniform(task) ? x()[1] : x()[task.nx - 1]; }
    const T* x() const { return static_cast<const T*>(task.x); }
    const T* coefficients() const { return static_cast<const T*>(task.coefficients[function]); }

    // The same request for `count` sites from `first` on.
    Evaluation part(int64_t first, int64_t count) const {
        Evaluation e = *this;
        e.nsite = count;
        e.site += first;
        if (cell) e.cell += first;
        e.result += first * site_stride;
        return e;
    }

    // Calls body(k, first result) for each derivative k that is wanted.
    template <class Body>
    int for_each_order(Body body) const {
        T* out = result;
        for (int64_t k = 0; k < norder; ++k) {
            if (!order[k]) continue;
            if (int status = body(k, out)) return status;
            out += order_stride;
        }
        return kDfOk;
    }

    // Calls body with a function that gives knot j.
    template <class Body>
    void with_knots(Body body) const {
        const T* knots = x();
        if (is_uniform(task))
            body([start = knots[0], step = h](int64_t j) { return start + static_cast<T>(j) * step; });
        else
            body([knots](int64_t j) { return knots[j]; });
    }
};

// Calls body(sites, cells, first, count) for each vector of sites; behind the last site of all stand copies of it.
// Cells are null where the evaluation has none.
template <class T, class Cell, class Body>
OZK_SIMD void for_each_vector(const Evaluation<T, Cell>& e, Body body) {
    constexpr int kLanes = VectorOf<T>::kLanes;
    int64_t i = 0;
    for (; i + kLanes <= e.nsite; i += kLanes) body(e.site + i, e.cell ? e.cell + i : nullptr, i, kLanes);
    if (i == e.nsite) return;
    T site[kLanes];
    Cell cell[kLanes] = {};
    for (int64_t k = 0; k < kLanes; ++k) {
        const int64_t from = std::min(i + k, e.nsite - 1);
        site[k] = e.site[from];
        if (e.cell) cell[k] = e.cell[from];
    }
    body(site, e.cell ? cell : nullptr, i, static_cast<int>(e.nsite - i));
}

// Writes value(sites, cells), a vector, for each vector of sites.
template <class T, class Cell, class Value>
OZK_SIMD void write_each_vector(const Evaluation<T, Cell>& e, T* out, Value value) {
    const int64_t stride = e.site_stride;
    const auto write = [&](auto store) OZK_SIMD_LAMBDA {
        for_each_vector(e, [&](const T* site, const Cell* cell, int64_t first, int count) OZK_SIMD_LAMBDA {
            const auto v = value(site, cell);
            if (count == VectorOf<T>::kLanes)
                store(out + first * stride, v);
            else
                simd::store_first(out + first * stride, stride, count, v);
        });
    };
    if (stride == 1)
        write([](T* at, VectorOf<T> v) OZK_SIMD_LAMBDA { simd::store(at, v); });
    else
        write([stride](T* at, VectorOf<T> v) OZK_SIMD_LAMBDA { simd::store_strided(at, stride, v); });
}

template <class T>
struct OutsideCallbacks {
    OutsideCallback<T> left, right;

    bool any() const { return left.function || right.function; }
    const OutsideCallback<T>* for_site(T t, T left_end, T right_end) const {
        if (t < left_end && left.function) return &left;
        if (t > right_end && right.function) return &right;
        return nullptr;
    }
};

// Calls body(first, count, callback or null) for the longest runs of sites that one callback, or none,
// serves.
template <class T, class Cell, class Body>
int for_each_run(const Evaluation<T, Cell>& e, const OutsideCallbacks<T>& callbacks, Body body) {
    if (!callbacks.any()) return body(int64_t{0}, e.nsite, static_cast<const OutsideCallback<T>*>(nullptr));
    const T left = e.left(), right = e.right();
    for (int64_t first = 0; first < e.nsite;) {
        const auto* callback = callbacks.for_site(e.site[first], left, right);
        int64_t end = first + 1;
        while (end < e.nsite && callbacks.for_site(e.site[end], left, right) == callback) ++end;
        if (int status = body(first, end - first, callback)) return status;
        first = end;
    }
    return kDfOk;
}

template <class T, class Cell>
int write_outside(const Evaluation<T, Cell>& e, const OutsideCallback<T>& callback) {
    constexpr int64_t kBlock = 256;
    T value[kBlock];
    return e.for_each_order([&](int64_t k, T* out) -> int {
        for (int64_t first = 0; first < e.nsite; first += kBlock) {
            const int64_t count = std::min(kBlock, e.nsite - first);
            const int status = callback.function(count, e.site + first, k, value, callback.parameters);
            if (status < 0) return status;
            for (int64_t i = 0; i < count; ++i) out[(first + i) * e.site_stride] = value[i];
        }
        return kDfOk;
    });
}

// A kind that has no faster way than over the cells.
struct NeedsCells {
    template <class T, class Cell>
    static bool write_without_cells(const Evaluation<T, Cell>&, int64_t) {
        return false;
    }
};

// A kind that takes any sites and requests.
struct TakesAnySites : NeedsCells {
    template <class T, class Cell>
    static int check(const Evaluation<T, Cell>&) {
        return kDfOk;
    }
};

// Sites outside the partition are not looked at where a callback serves them.
template <class Kind, class T, class Cell>
int check_evaluation(const Evaluation<T, Cell>& e, const OutsideCallbacks<T>& callbacks) {
    return for_each_run(e, callbacks,
                        [&](int64_t first, int64_t count, const OutsideCallback<T>* callback) -> int {
                            return callback ? kDfOk : Kind::check(e.part(first, count));
                        });
}

template <class Kind, class T, class Cell>
int write_evaluation(const Evaluation<T, Cell>& e, const OutsideCallbacks<T>& callbacks) {
    return for_each_run(e, callbacks,
                        [&](int64_t first, int64_t count, const OutsideCallback<T>* callback) -> int {
                            const auto part = e.part(first, count);
                            if (callback) return write_outside(part, *callback);
                            Kind::write(part);
                            return kDfOk;
                        });
}

// The exported kernels of a kind: both widths of cells, without and with callbacks.
#define OZK_DF_EVALUATION_FORM(p, T, Name, Kind, Width)                                                      \
    int ozk_df_kernel_##p##_##Name##Eval##Width(const DfTask* task, T h, int64_t function, int64_t nsite,    \
                                                const T* site, const int##Width##_t* cell, int64_t norder,   \
                                                const int64_t* order, T* result, int64_t stride) {           \
        const ozk::df::Evaluation<T, int##Width##_t> e{*task,  h,     function, nsite,  site, cell,          \
                                                       norder, order, result,   stride, 1};                  \
        if (int status = ozk::df::Kind::check(e)) return status;                                             \
        ozk::df::Kind::write(e);                                                                             \
        return kDfOk;                                                                                        \
    }                                                                                                        \
    int ozk_df_kernel_##p##_##Name##Eval##Width##CB(                                                         \
        const DfTask* task, T h, int64_t function, int64_t nsite, const T* site, const int##Width##_t* cell, \
        int64_t norder, const int64_t* order, T* result, int64_t stride, Df##p##SiteCallback left,           \
        void* left_parameters, Df##p##SiteCallback right, void* right_parameters) {                          \
        const ozk::df::Evaluation<T, int##Width##_t> e{*task,  h,     function, nsite,  site, cell,          \
                                                       norder, order, result,   stride, 1};                  \
        const ozk::df::OutsideCallbacks<T> callbacks{{left, left_parameters}, {right, right_parameters}};    \
        if (int status = ozk::df::check_evaluation<ozk::df::Kind>(e, callbacks)) return status;              \
        return ozk::df::write_evaluation<ozk::df::Kind>(e, callbacks);                                       \
    }
#define OZK_DF_EVALUATION(Name, Kind)                 \
    OZK_DF_EVALUATION_FORM(s, float, Name, Kind, 32)  \
    OZK_DF_EVALUATION_FORM(s, float, Name, Kind, 64)  \
    OZK_DF_EVALUATION_FORM(d, double, Name, Kind, 32) \
    OZK_DF_EVALUATION_FORM(d, double, Name, Kind, 64)

}  // namespace ozk::df
