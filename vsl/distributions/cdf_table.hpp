// Inversion of a distribution on 0, 1, 2, ... by a table of its distribution function: X is the number of k with
// P(X <= k) <= u for one uniform u. So X increases with u, and how it was searched for shows nowhere.
//
// Long calls look up where the search starts in a guide table (Chen and Asau, "On generating random variates from
// an empirical distribution", AIIE Trans. 6 (1974)); short ones make the table only as far as their uniforms reach
// and bisect it.
#pragma once

#include <algorithm>

#include "vsl/distributions/blocks.hpp"
#include "vsl/distributions/kernels.hpp"

namespace ozk::vsl {

inline constexpr int32_t kGuides = 1024;
inline constexpr int32_t kShortCall = 192;  // a guide table pays for longer ones
inline constexpr double kAboveEveryUniform = 2;

// Is to have room for one more value than its capacity, which is so large that P(X >= capacity) is below 2^-54.
template <class Ratio>
struct CdfTable {
    double* values;  // P(X <= k), increasing, below 1
    int32_t capacity;
    double probability;  // P(X = count)
    Ratio ratio;         // ratio(k) = P(X = k + 1) / P(X = k)
    int32_t count = 0;
    double sum = 0;  // the last of the values

    // Adds P(X <= count), unless double precision shows no difference from the last one or from 1.
    bool grow() {
        const double next = sum + probability;
        if (count == capacity || next == sum || next >= 1) return false;
        probability *= ratio(count);
        values[count++] = sum = next;
        return true;
    }
    void complete() {
        while (grow()) {
        }
    }
};

// Fewer than kShortCall results, by bisection.
template <class Ratio>
int32_t by_bisection(OzkVslStream* stream, int32_t n, int32_t* r, CdfTable<Ratio>& table) {
    double u[kShortCall];
    const int32_t status = draw(stream, n, u, 0);
    if (status < 0) return status;
    for (int32_t i = 0; i < n; ++i) {
        while (table.sum <= u[i] && table.grow()) {
        }
        const double* const end = table.values + table.count;
        r[i] = static_cast<int32_t>(std::upper_bound<const double*>(table.values, end, u[i]) - table.values);
    }
    return status;
}

// cdf has `count` values, and room for one more.
inline int32_t by_guides(OzkVslStream* stream, int32_t n, int32_t* r, double* cdf, int32_t count) {
    cdf[count] = kAboveEveryUniform;
    int16_t first[kGuides + 1];  // the number of values <= i / kGuides
    int16_t k = 0;
    for (int32_t i = 0; i <= kGuides; ++i) {
        while (cdf[k] * kGuides <= i) ++k;
        first[i] = k;
    }
    return in_blocks(n, r, [&](int32_t size, int32_t* block) {
        double u[kBlock];
        const int32_t status = draw(stream, size, u, 0);
        if (status < 0) return status;
        for (int32_t i = 0; i < size; ++i) {
            // What lies outside [0, 1), which a caller's own generator may give, counts as an end.
            const double place = std::min<double>(kGuides, std::max(0.0, u[i] * kGuides));
            int32_t x = first[static_cast<int32_t>(place)];
            while (cdf[x] <= u[i]) [[unlikely]]++ x;
            block[i] = x;
        }
        return status;
    });
}

template <class Ratio>
int32_t by_cdf(OzkVslStream* stream, int32_t n, int32_t* r, CdfTable<Ratio> table) {
    if (n < kShortCall) return by_bisection(stream, n, r, table);
    table.complete();
    return by_guides(stream, n, r, table.values, table.count);
}

}  // namespace ozk::vsl
