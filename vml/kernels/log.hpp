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

// The states between the steps.
template <class V>
struct LogTerms {  // high + leading + (low + rest + polynomial of s = leading + rest)
    V high, low, leading, rest;
};
template <class V>
struct CarriedSum {  // high + (low + polynomial of s)
    V s, high, low;
};
template <class V>
struct LogPolynomial {  // high + (low + s^2 (first + s^2 second))
    V high, low, s2, first, second;
};

// k log(2) + log(c) and s, each in two parts.
template <class Base, class V>
OZK_SIMD LogTerms<V> log_terms(V k, V table_high, V table_low, V leading, V rest) {
    if constexpr (Base::kTwoHigh == 1)
        return {k + table_high, table_low, leading, rest};
    else
        return {k * constant<Base::kTwoHigh> + table_high, k * constant<Base::kTwoLow> + table_low, leading,
                rest};
}
// The steps from there on.
template <class Base>
struct LogSteps {
    template <class V>
    OZK_SIMD static CarriedSum<V> advance(const LogTerms<V>& t, const simd::Words&) {
        const V sum = t.high + t.leading;
        const V lost = (t.high - sum) + t.leading;
        return {t.leading + t.rest, sum, (t.low + t.rest) + lost};
    }
    template <class V>
    OZK_SIMD static LogPolynomial<V> advance(const CarriedSum<V>& x, const simd::Words&) {
        const V s = x.s;
        const V inner = s * constant<Base::kC6> + constant<Base::kC5>;
        return {x.high, x.low, s * s, s * constant<Base::kC3> + constant<Base::kC2>,
                s * inner + constant<Base::kC4>};
    }
    template <class V>
    OZK_SIMD static V finish(const LogPolynomial<V>& x, const simd::Words&) {
        return x.high + (x.low + x.s2 * (x.first + x.s2 * x.second));
    }
};

template <class Base>
struct Log : PositiveNormal, LogSteps<Base> {
    using LogSteps<Base>::advance;
    template <class V>
    using Kept = simd::Words;

    template <class V>
    OZK_SIMD static Nearest<V> prepare(V x, Kept<V>& place) {
        return nearest<LogSignificand>(x, place);
    }
    template <class V>
    OZK_SIMD static LogTerms<V> advance(const Nearest<V>& s, const Kept<V>& place) {
        const auto [slope_high, slope_low] = LogSignificand::pairs(&Base::kEntries[0].slope_high, place);
        const auto [table_high, table_low] = LogSignificand::pairs(&Base::kEntries[0].high, place);
        return log_terms<Base>(s.k, table_high, table_low, slope_high * s.difference,
                               slope_low * s.difference);
    }

    // Subnormal numbers are lifted into the normal range, and the exponent taken back.
    [[gnu::cold]] static int scalar(double x, double& result) {
        constexpr double kLift = 0x1p60, kLiftExponent = 60;
        int code;
        if (ln_limit(x, result, code)) return code;
        simd::Words place;
        auto lifted = prepare(simd::broadcast(x * kLift), place);
        lifted.k = lifted.k - simd::broadcast(kLiftExponent);
        result = low(steps_after<Log>(place, lifted));
        return kVmlOk;
    }
};

}  // namespace ozk::vml
