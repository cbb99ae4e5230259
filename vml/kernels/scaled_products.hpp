// Differences of products of any finite doubles, with an exponent of their own: for scalar paths.
#pragma once

#include <algorithm>
#include <cmath>

#include "vml/kernels/error_free.hpp"

namespace ozk::vml {

// (value - rest) 2^exponent; value and rest in both lanes.
struct ScaledDifference {
    Difference<simd::f64x2> mantissa;
    int exponent;
};

// a b - c d, as difference() has it.
inline ScaledDifference difference_of_products(double a, double b, double c, double d) {
    constexpr int kNegligible = -600;  // what is smaller by 2^600 only has to be there
    const auto mantissa = [](double x, int& exponent) {
        return Factor<simd::f64x2>(simd::broadcast(std::frexp(x, &exponent)));
    };
    int exponent_a, exponent_b, exponent_c, exponent_d;
    const auto ma = mantissa(a, exponent_a), mb = mantissa(b, exponent_b);
    const auto mc = mantissa(c, exponent_c), md = mantissa(d, exponent_d);
    int first = exponent_a + exponent_b, second = exponent_c + exponent_d;
    if (a == 0 || b == 0) first = second;
    if (c == 0 || d == 0) second = first;
    const int exponent = std::max(first, second);
    const auto scaled = [&](Sum<simd::f64x2> x, int own) {
        const simd::f64x2 scale = simd::broadcast(std::ldexp(1.0, std::max(own - exponent, kNegligible)));
        return Sum<simd::f64x2>{x.value * scale, x.rest * scale};
    };
    return {difference(scaled(product(ma, mb), first), scaled(product(mc, md), second)), exponent};
}

inline double unscaled(const ScaledDifference& x) {
    return std::ldexp(low(x.mantissa.rounded()), x.exponent);
}

inline bool is_finite(OzkComplex16 z) { return std::isfinite(z.re) && std::isfinite(z.im); }

}  // namespace ozk::vml
