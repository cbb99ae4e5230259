// What all constructions share: the checks, the end conditions, the loop over functions, the cubic cell.
#pragma once

#include <cstdint>

#include "df/parallel.hpp"
#include "df/partition.hpp"
#include "ozk_df.h"
#include "simd/vector.hpp"

namespace ozk::df {

enum class EndCondition { kNone, kNotAKnot, kFirst, kSecond, kPeriodic };

template <class T>
struct EndConditions {
    EndCondition left = EndCondition::kNone, right = EndCondition::kNone;
    T left_value = 0, right_value = 0;
};

// Whether a cubic accepts the boundary condition code: each two-value code has one condition of either end.
inline bool is_cubic_boundary(int64_t code) {
    switch (code) {
        case kDfBoundaryNotAKnot:
        case kDfBoundaryFree:
        case kDfBoundaryFirstFirst:
        case kDfBoundaryFirstSecond:
        case kDfBoundarySecondFirst:
        case kDfBoundarySecondSecond:
        case kDfBoundaryPeriodic:
            return true;
        default:
            return false;
    }
}

inline bool needs_boundary_values(const DfTask& task) {
    if (task.boundary_type == kDfBoundaryPeriodic)
        return task.type == kDfTypeDefault || task.type == kDfTypeHermite;
    return task.boundary_type >= kDfBoundaryFirstFirst;
}

// The status of the boundary conditions of a spline that takes the codes of cubics.
inline int check_cubic_boundary(const DfTask& task) {
    if (!is_cubic_boundary(task.boundary_type)) return kDfErrorBoundaryType;
    return needs_boundary_values(task) && !task.boundary ? kDfErrorNullBoundary : kDfOk;
}

// The conditions that an accepted code stands for; the free end is the second derivative 0.
template <class T>
EndConditions<T> end_conditions(const DfTask& task) {
    const int64_t code = task.boundary_type;
    if (code == kDfBoundaryNone) return {};
    if (code == kDfBoundaryNotAKnot) return {EndCondition::kNotAKnot, EndCondition::kNotAKnot};
    if (code == kDfBoundaryFree) return {EndCondition::kSecond, EndCondition::kSecond};
    if (code == kDfBoundaryPeriodic) return {EndCondition::kPeriodic, EndCondition::kPeriodic};
    const T* value = static_cast<const T*>(task.boundary);
    return {code & kDfBoundaryFirstLeft ? EndCondition::kFirst : EndCondition::kSecond,
            code & kDfBoundaryFirstRight ? EndCondition::kFirst : EndCondition::kSecond, value[0], value[1]};
}

// The status of the arrays, which come last among the checks, and of periodic functions: both ends must have
// the same value, and a NaN never has.
template <class T>
int check_arrays(const DfTask& task) {
    if (int status = check_values(task)) return status;
    if (int status = check_coefficients(task)) return status;
    if (task.boundary_type != kDfBoundaryPeriodic) return kDfOk;
    for (int64_t f = 0; f < task.ny; ++f) {
        const int status = with_values<T>(
            task, f, [&task](auto y) -> int { return y[0] == y[task.nx - 1] ? kDfOk : kDfErrorNotPeriodic; });
        if (status) return status;
    }
    return kDfOk;
}

inline int64_t construction_threads(const DfTask& task, const OzkThreading* threading) {
    return useful_threads(threading, task.ny, task.nx * task.ny);
}

// Runs body(y, coefficients, f) for each function, split over the threads.
template <class T, class Body>
int for_each_function(const DfTask& task, const OzkThreading* threading, Body body) {
    return parallel_for(threading, task.ny, construction_threads(task, threading), [&](int64_t f) -> int {
        T* coefficients = static_cast<T*>(task.coefficients[f]);
        return with_values<T>(task, f, [&](auto y) -> int {
            body(y, coefficients, f);
            return kDfOk;
        });
    });
}

// The four coefficients of a cubic cell from its value at the left knot, its secant slope, 1 / width, and the
// slopes at both knots.
template <class T>
void write_cubic_cell(T* c, T y, T secant, T inverse_step, T left_slope, T right_slope) {
    c[0] = y;
    c[1] = left_slope;
    c[2] = (T(3) * secant - T(2) * left_slope - right_slope) * inverse_step;
    c[3] = (left_slope + right_slope - T(2) * secant) * inverse_step * inverse_step;
}

// The same for a cell a lane: coefficient k of all cells, then cell after cell in memory.
template <class V>
struct CubicCells {
    V coefficient[4];
};
template <class T, class V>
OZK_SIMD CubicCells<V> cubic_cells(V y, V secant, V inverse_step, V left_slope, V right_slope) {
    const V two = simd::broadcast(T(2)), three = simd::broadcast(T(3));
    return {{y, left_slope, (three * secant - two * left_slope - right_slope) * inverse_step,
             (left_slope + right_slope - two * secant) * inverse_step * inverse_step}};
}
OZK_SIMD void store_cells(double* c, const CubicCells<simd::f64x2>& cells) {
    const auto& a = cells.coefficient;
    simd::store(c, interleave_low(a[0], a[1]));
    simd::store(c + 2, interleave_low(a[2], a[3]));
    simd::store(c + 4, interleave_high(a[0], a[1]));
    simd::store(c + 6, interleave_high(a[2], a[3]));
}
OZK_SIMD void store_cells(float* c, CubicCells<simd::f32x4> cells) {
    simd::transpose(cells.coefficient);
    for (int i = 0; i < 4; ++i) simd::store(c + 4 * i, cells.coefficient[i]);
}

// Both precisions of an entry point; what follows `function` is handed on behind task and threading.
#define OZK_DF_CONSTRUCTION_IN(p, T, Kind, function, ...)                                  \
    int ozk_df_kernel_##p##DF##Kind##Spline1D(DfTask* task, const OzkThreading* threading, \
                                              [[maybe_unused]] const void* reserved) {     \
        return ozk::df::function<T>(task, threading __VA_OPT__(, ) __VA_ARGS__);           \
    }
#define OZK_DF_CONSTRUCTION(Kind, function, ...)                                \
    OZK_DF_CONSTRUCTION_IN(s, float, Kind, function __VA_OPT__(, ) __VA_ARGS__) \
    OZK_DF_CONSTRUCTION_IN(d, double, Kind, function __VA_OPT__(, ) __VA_ARGS__)

}  // namespace ozk::df
