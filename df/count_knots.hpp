// Counting knots that are not greater than a site, in a short window without a branch, so that there is nothing to
// mispredict; and sites that are left of a knot.
#pragma once

#include <cstdint>

#include "simd/vector.hpp"

namespace ozk::df {

inline int64_t sum_of_lanes(simd::i64x2 count) { return low(count) + high(count); }
inline int64_t sum_of_lanes(simd::i32x4 count) {
    return lane<0>(count) + lane<1>(count) + lane<2>(count) + lane<3>(count);
}

// Among x[0] .. x[kWindow - 1]. A knot compares as x > t, so that a NaN counts every knot.
template <int kWindow, class T>
int64_t count_window(const T* x, T t) {
    const auto site = simd::broadcast(t);
    constexpr int kLanes = decltype(site)::kLanes;
    static_assert(kWindow % kLanes == 0);
    auto count = bits(site) ^ bits(site);
    for (int j = 0; j < kWindow; j += kLanes) count = count - bits(not_less(site, simd::load(x + j)));
    return sum_of_lanes(count);
}

// How many sites, from the first on, are left of a knot.
template <class T>
int64_t count_below(const T* site, int64_t n, T knot) {
    const auto limit = simd::broadcast(knot);
    constexpr int kLanes = decltype(limit)::kLanes;
    int64_t i = 0;
    while (i + kLanes <= n && lanes(simd::load(site + i) < limit) == (1 << kLanes) - 1) i += kLanes;
    while (i < n && site[i] < knot) ++i;
    return i;
}

}  // namespace ozk::df
