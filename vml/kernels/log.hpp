// log2(x) and log10(x), double precision: the operation.
//
// Method: x = 2^k z, z between 0.7 and 1.42; c is the number whose bits, rounded to steps of 2^44, are nearest to those
// of z. d = z - c is exact, |d / c| <= 2^-9, and log(x) = k log(2) + log(c) + log(1 + d / c); the last is a polynomial
// of s = d (L / c), L being the logarithm of e. The table holds L / c in 10 bits and the rest: d has 43 bits, so that
// its product with the former is exact and the latter's is below 2^-10 of it.
// Tang, "Table-driven implementation of the logarithm function in IEEE floating-point arithmetic", ACM TOMS 16
// (1990).
//
// Error bound 0.52 ulp, round to nearest, for all levels: k log(2) + log(c) is exact in its leading part, and its sum
// with the leading part of s is carried without error (Fast2Sum: the table part is 0 or larger than s); everything
// else is below 2^-8 of the result. Next to 1, k = 0 and c = 1. Powers of the base are exact: what is rounded before
// the last sum is far below half an ulp of an integer.
#pragma once

#include "vml/kernels/ln.hpp"

namespace ozk::vml {

using LogSignificand = NearestSignificand<44, LogEntry>;

// A logarithm but for what its polynomial gives: s, and the rest of the sum in two parts.
template <class V>
struct CarriedSum {
    V s, high, low;
};
// k log(2) + log(c) + s, where s is the sum of its leading part and the rest.
template <class Base, class V>
OZK_SIMD CarriedSum<V> carried_sum(V k, V table_high, V table_low, V leading, V rest) {
    V base, low;
    if constexpr (Base::kTwoHigh == 1) {
        base = k + table_high;
        low = table_low;
    } else {
        base = k * simd::broadcast(Base::kTwoHigh) + table_high;
        low = k * simd::broadcast(Base::kTwoLow) + table_low;
    }
    const V sum = base + leading;
    const V lost = (base - sum) + leading;
    return {leading + rest, sum, (low + rest) + lost};
}
template <class Base, class V>
OZK_SIMD V with_polynomial(const CarriedSum<V>& x) {
    const V s = x.s, s2 = s * s;
    const V q =
        (simd::broadcast(Base::kC2) + s * simd::broadcast(Base::kC3)) +
        s2 * (simd::broadcast(Base::kC4) + s * (simd::broadcast(Base::kC5) + s * simd::broadcast(Base::kC6)));
    return x.high + (x.low + s2 * q);
}

template <class Base>
struct Log : PositiveNormal {
    template <class V>
    OZK_SIMD static Nearest<V> prepare(V x) {
        return nearest<LogSignificand>(x);
    }
    template <class V>
    OZK_SIMD static CarriedSum<V> advance(const Nearest<V>& x) {
        const auto [slope_high, slope_low] =
            simd::gather_pairs_by_offset(&Base::kEntries[0].slope_high, x.offset);
        const auto [table_high, table_low] = simd::gather_pairs_by_offset(&Base::kEntries[0].high, x.offset);
        return carried_sum<Base>(x.k, table_high, table_low, x.difference * slope_high,
                                 x.difference * slope_low);
    }
    template <class V>
    OZK_SIMD static V finish(const CarriedSum<V>& x) {
        return with_polynomial<Base>(x);
    }
    template <class V>
    OZK_SIMD static V compute(V x) {
        return finish(advance(prepare(x)));
    }

    // Subnormal numbers are lifted into the normal range, and the exponent taken back.
    [[gnu::cold]] static int scalar(double x, double& result) {
        constexpr double kLift = 0x1p60, kLiftExponent = 60;
        int code;
        if (ln_limit(x, result, code)) return code;
        auto lifted = prepare(simd::broadcast(x * kLift));
        lifted.k = lifted.k - simd::broadcast(kLiftExponent);
        result = low(finish(advance(lifted)));
        return kVmlOk;
    }
};

}  // namespace ozk::vml
