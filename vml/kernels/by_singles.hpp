// Estimates of doubles by instructions that have singles.
#pragma once

#include "simd/wide.hpp"

namespace ozk::vml {

// f of singles for doubles in their range: two vectors of doubles go into one of singles.
template <class F>
OZK_SIMD simd::f64x2 by_singles(F f, simd::f64x2 x) {
    return simd::low_to_f64(f(to_f32(x)));
}
template <class F, int K>
OZK_SIMD simd::wide<simd::f64x2, K> by_singles(F f, const simd::wide<simd::f64x2, K>& x) {
    static_assert(K % 2 == 0);
    simd::wide<simd::f64x2, K> y;
#pragma GCC unroll 8
    for (int k = 0; k < K; k += 2) {
        const simd::f64x4 two = widen(f(narrow(simd::f64x4{{x.v[k], x.v[k + 1]}})));
        y.v[k] = two.v[0];
        y.v[k + 1] = two.v[1];
    }
    return y;
}

}  // namespace ozk::vml
