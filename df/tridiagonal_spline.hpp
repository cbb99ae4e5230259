// Splines whose unknowns at the knots solve one tridiagonal system for every function. The unknowns stand at
// the end of each function's own coefficient block, where they are solved, and are expanded from the front of
// the block; so work memory does not grow with the number of functions.
//
// A spline has: prepare(), which factors; unknowns(c), the place of the right-hand side in a coefficient
// block; set_right_side(y, b); system(); and expand(y, c), which writes the block from y and the solved
// unknowns in it.
#pragma once

#include <algorithm>
#include <cstdint>

#include "df/construction.hpp"
#include "df/tridiagonal.hpp"
#include "ozk_df.h"

namespace ozk::df {

// How many functions are solved at once, at most: the chains of a substitution overlap across right-hand
// sides.
inline constexpr int64_t kLargestGroup = 8;

// The distance in elements of evenly spaced blocks, or 0 when they are not, or too far or too near.
template <class T>
int32_t even_stride(void* const* blocks, int64_t count, int64_t least) {
    const auto address = [blocks](int64_t i) { return reinterpret_cast<uintptr_t>(blocks[i]); };
    const uintptr_t bytes = address(1) - address(0);
    for (int64_t i = 2; i < count; ++i)
        if (address(i) - address(i - 1) != bytes) return 0;
    const uintptr_t elements = bytes / sizeof(T);
    const bool fits =
        bytes % sizeof(T) == 0 && elements >= static_cast<uintptr_t>(least) && elements <= INT32_MAX;
    return fits ? static_cast<int32_t>(elements) : 0;
}

// Constructs functions first .. first + count - 1 with a prepared spline.
template <class T, class Spline>
void construct_group(const DfTask& task, const Spline& spline, int64_t first, int64_t count) {
    const auto block = [&task](int64_t f) { return static_cast<T*>(task.coefficients[f]); };
    for (int64_t f = first; f < first + count; ++f) {
        with_values<T>(task, f, [&](auto y) -> int {
            spline.set_right_side(y, spline.unknowns(block(f)));
            return kDfOk;
        });
    }
    const int32_t stride = count > 1 ? even_stride<T>(task.coefficients + first, count, task.nx) : 0;
    if (stride > 0) {
        spline.system().solve_for(spline.unknowns(block(first)), static_cast<int32_t>(count), stride);
    } else {
        for (int64_t f = first; f < first + count; ++f) spline.system().solve_for(spline.unknowns(block(f)));
    }
    for (int64_t f = first; f < first + count; ++f) {
        with_values<T>(task, f, [&](auto y) -> int {
            spline.expand(y, block(f));
            return kDfOk;
        });
    }
}

template <class T, class Spline>
int construct_tridiagonal_spline(const DfTask& task, const OzkThreading* threading, Spline& spline) {
    if (int status = spline.prepare()) return status;
    const int64_t threads = construction_threads(task, threading);
    const int64_t size = std::min(kLargestGroup, (task.ny + threads - 1) / threads);
    return parallel_for(threading, (task.ny + size - 1) / size, threads, [&](int64_t group) -> int {
        const int64_t first = group * size;
        construct_group<T>(task, spline, first, std::min(size, task.ny - first));
        return kDfOk;
    });
}

}  // namespace ozk::df
