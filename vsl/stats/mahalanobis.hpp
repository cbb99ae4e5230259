// Squared Mahalanobis distances of many observations at once.
#pragma once

#include <algorithm>
#include <cstdint>

#include "simd/vector.hpp"

namespace ozk::stats {

// How many distances are computed side by side: four vectors of doubles.
inline constexpr int64_t kDistanceGroup = 8;

// The quadratic forms d' A d of `count` difference vectors d of p components, A given by its lower triangle by
// columns: the sum over k from 0 of d_k (A_kk d_k + 2 (sum over i > k of A_ik d_i)), in this order for every one of
// them, so that a distance has the same bits wherever its observation stands. Component i of difference j is
// differences[i * stride + j].
template <class Real>
void quadratic_forms(int64_t p, const Real* a, const Real* differences, int64_t stride, int64_t count,
                     Real* results) {
    using Vector = simd::vec<Real>;
    constexpr int kWidth = static_cast<int>(kDistanceGroup / Vector::kLanes);
    int64_t j = 0;
    for (; j + kDistanceGroup <= count; j += kDistanceGroup) {
        const Real* const d = differences + j;
        Vector forms[kWidth] = {};
        for (int64_t k = 0; k < p; ++k) {
            Vector sums[kWidth] = {};
            const Real* const column = a + k * p;
            for (int64_t i = k + 1; i < p; ++i) {
                const Vector factor = simd::broadcast(column[i]);
                for (int v = 0; v < kWidth; ++v)
                    sums[v] = sums[v] + factor * simd::load(d + i * stride + v * Vector::kLanes);
            }
            const Vector diagonal = simd::broadcast(column[k]);
            for (int v = 0; v < kWidth; ++v) {
                const Vector own = simd::load(d + k * stride + v * Vector::kLanes);
                forms[v] = forms[v] + own * (diagonal * own + (sums[v] + sums[v]));
            }
        }
        for (int v = 0; v < kWidth; ++v) simd::store(results + j + v * Vector::kLanes, forms[v]);
    }
    for (; j < count; ++j) {
        const Real* const d = differences + j;
        Real form = 0;
        for (int64_t k = 0; k < p; ++k) {
            Real sum = 0;
            for (int64_t i = k + 1; i < p; ++i) sum = sum + a[k * p + i] * d[i * stride];
            const Real own = d[k * stride];
            form = form + own * (a[k * p + k] * own + (sum + sum));
        }
        results[j] = form;
    }
}

}  // namespace ozk::stats
