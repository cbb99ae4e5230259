// How a task's knots and function values are read: the two partition forms and the two layouts.
#pragma once

#include <algorithm>
#include <cstdint>

#include "ozk_df.h"
#include "simd/vector.hpp"

namespace ozk::df {

template <class T>
struct NonUniformPartition {
    int64_t nx;
    const T* x;

    explicit NonUniformPartition(const DfTask& task) : nx(task.nx), x(static_cast<const T*>(task.x)) {}
    T knot(int64_t i) const { return x[i]; }
    T step(int64_t i) const { return x[i + 1] - x[i]; }
    T right() const { return x[nx - 1]; }
};

// x holds the two ends; knot i is x[0] + i h.
template <class T>
struct UniformPartition {
    int64_t nx;
    const T* x;
    T h;

    explicit UniformPartition(const DfTask& task)
        : nx(task.nx), x(static_cast<const T*>(task.x)), h((x[1] - x[0]) / static_cast<T>(nx - 1)) {}
    T knot(int64_t i) const { return x[0] + static_cast<T>(i) * h; }
    T step(int64_t) const { return h; }
    T right() const { return x[1]; }
};

inline bool is_uniform(const DfTask& task) { return (task.x_hint & kDfPartitionUniform) != 0; }

// Calls body with the partition in its own type.
template <class T, class Body>
int with_partition(const DfTask& task, Body body) {
    return is_uniform(task) ? body(UniformPartition<T>(task)) : body(NonUniformPartition<T>(task));
}

inline bool is_storage_hint(int64_t hint) {
    return hint == kDfStorageNoHint || hint == kDfStorageRows || hint == kDfStorageColumns ||
           hint == kDfStorageFirstOnly;
}

template <class T>
struct RowValues {
    const T* y;
    T operator[](int64_t knot) const { return y[knot]; }
};

template <class T>
struct ColumnValues {
    const T* y;
    int64_t ny;
    T operator[](int64_t knot) const { return y[knot * ny]; }
};

// The values at as many knots from `knot` on as a vector holds.
template <class T>
OZK_SIMD auto load_values(const RowValues<T>& values, int64_t knot) {
    return simd::load(values.y + knot);
}
template <class T>
OZK_SIMD auto load_values(const ColumnValues<T>& values, int64_t knot) {
    return simd::load_strided(values.y + knot * values.ny, values.ny);
}

// Calls body with the values of function f in the type of their layout.
template <class T, class Body>
int with_values(const DfTask& task, int64_t f, Body body) {
    if (task.y_hint == kDfStorageColumns)
        return body(ColumnValues<T>{static_cast<const T*>(task.y[0]) + f, task.ny});
    return body(RowValues<T>{static_cast<const T*>(task.y[f])});
}

// The status of the function values that functions 0 .. ny - 1 will be read from.
inline int check_values(const DfTask& task) {
    if (!task.y) return kDfErrorNullValues;
    const int64_t entries = task.y_hint == kDfStorageColumns ? 1 : task.ny;
    if (task.ny < 1 || entries > task.y_entries) return kDfErrorFunctionCount;
    for (int64_t f = 0; f < entries; ++f)
        if (!task.y[f]) return kDfErrorNullValues;
    return kDfOk;
}

// The status of what one function is evaluated from.
inline int check_function_values(const DfTask& task, int64_t function) {
    const int64_t entry = task.y_hint == kDfStorageColumns ? 0 : function;
    return task.y && entry < task.y_entries && task.y[entry] ? kDfOk : kDfErrorNullValues;
}

inline int check_function_coefficients(const DfTask& task, int64_t function) {
    return task.coefficients && function < task.coefficient_entries && task.coefficients[function]
               ? kDfOk
               : kDfErrorNullCoefficients;
}

// The left knot of a cell, of the nearest one for cells outside the partition or beyond.
inline int64_t left_knot(int64_t cell, int64_t nx) {
    return std::min(std::max<int64_t>(cell, 1), nx - 1) - 1;
}

// The status of the pointers to coefficients of functions 0 .. ny - 1.
inline int check_coefficients(const DfTask& task) {
    if (!task.coefficients) return kDfErrorNullCoefficients;
    if (task.ny < 1 || task.ny > task.coefficient_entries) return kDfErrorFunctionCount;
    for (int64_t f = 0; f < task.ny; ++f)
        if (!task.coefficients[f]) return kDfErrorNullCoefficients;
    return kDfOk;
}

}  // namespace ozk::df
