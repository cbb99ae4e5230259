// Quicksort and quickselect about the median of three: R. Sedgewick, "Implementing quicksort programs", CACM
// 21 (1978). NaNs are equal to everything; they disturb the order of their neighbours and nothing else.
#pragma once

#include <bit>
#include <cstdint>
#include <utility>

namespace ozk::stats {

// Values that lie `stride` elements apart.
template <class Real>
struct Strided {
    Real* values;
    int64_t stride;

    Real& operator[](int64_t j) const { return values[j * stride]; }
};

// Partitions a[l .. r], r - l >= 2, about the median of its ends and its middle; returns the pivot's place:
// nothing before it is greater, nothing after it less. The scans need no bounds: a[l] and a[r] hold them.
template <class Array>
int64_t partition_about_median(Array a, int64_t l, int64_t r) {
    const auto order = [a](int64_t i, int64_t j) {
        if (a[i] > a[j]) std::swap(a[i], a[j]);
    };
    std::swap(a[l + 1], a[l + (r - l) / 2]);
    order(l, r);
    order(l + 1, r);
    order(l, l + 1);
    const auto pivot = a[l + 1];
    int64_t i = l + 1, j = r;
    for (;;) {
        do ++i;
        while (a[i] < pivot);
        do --j;
        while (a[j] > pivot);
        if (j < i) break;
        std::swap(a[i], a[j]);
    }
    a[l + 1] = a[j];
    a[j] = pivot;
    return j;
}

template <class Array>
void quicksort(Array a, int64_t n) {
    constexpr int64_t kInsertionBelow = 7;
    // The larger part waits, so that 64 ranges are enough for any array.
    double waiting[64][2];
    int ranges = 0;
    int64_t l = 0, r = n - 1;
    for (;;) {
        if (r - l < kInsertionBelow) {
            for (int64_t j = l + 1; j <= r; ++j) {
                const auto value = a[j];
                int64_t i = j;
                for (; i > l && a[i - 1] > value; --i) a[i] = a[i - 1];
                a[i] = value;
            }
            if (ranges == 0) return;
            --ranges;
            l = static_cast<int64_t>(waiting[ranges][0]);
            r = static_cast<int64_t>(waiting[ranges][1]);
            continue;
        }
        const int64_t pivot = partition_about_median(a, l, r);
        const bool right_waits = r - pivot > pivot - l;
        waiting[ranges][0] = static_cast<double>(right_waits ? pivot + 1 : l);
        waiting[ranges][1] = static_cast<double>(right_waits ? r : pivot - 1);
        ++ranges;
        (right_waits ? r : l) = right_waits ? pivot - 1 : pivot + 1;
    }
}

template <class Real>
Real quickselect(Real* a, int64_t n, int64_t k) {
    int64_t l = 0, r = n - 1;
    while (r - l > 1) {
        const int64_t pivot = partition_about_median(a, l, r);
        if (pivot >= k) r = pivot - 1;
        if (pivot <= k) l = pivot + 1;
    }
    if (r - l == 1 && a[r] < a[l]) std::swap(a[l], a[r]);
    return a[k];
}

}  // namespace ozk::stats
