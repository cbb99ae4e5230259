// log2(x) and log10(x), double precision: the operation.
//
// Method: as ln (ln.hpp), with the table and the constants of the base. log1p(r) is multiplied by the logarithm of e,
// e' + e'': the product of r's leading 27 bits and e', 26 bits, is exact, the rest is below 2^-25 of it.
//
// Error bounds, in ulp of the result, round to nearest:
//   HA  0.52. As ln: everything that is rounded before the last sum is below 2^-9 of the result.
//   LA  2.2 (log10). The same with a polynomial of degree 5.
//
// Powers of the base are exact: what is rounded before the last sum is far below half an ulp of an integer.
#pragma once

#include "vml/kernels/ln.hpp"

namespace ozk::vml {

struct LogHigh {};
struct LogLow {};

template <class Base, class Level, class Estimate = HardwareEstimate>
struct Log : PositiveNormal {
    template <class V>
    struct Reduced {
        V k, r;
        simd::i32x4 offset;
    };

    template <class V>
    OZK_SIMD static Reduced<V> prepare(V x) {
        const auto [k, m] = split_exponent(x);
        const auto [c, offset] = reciprocal_of_significand<Estimate>(x);
        return {k, reduced(m, c), offset};
    }

    template <class V>
    OZK_SIMD static V finish(const Reduced<V>& x) {
        const V r = x.r, k = x.k;
        const auto [table_high, table_low] = simd::gather_pairs_for(r, &Base::kPairs[0].high, x.offset);
        const V r2 = r * r;
        V base, low;
        if constexpr (Base::kTwoHigh == 1) {
            base = k + table_high;
            low = table_low;
        } else {
            base = k * simd::broadcast(Base::kTwoHigh) + table_high;
            low = k * simd::broadcast(Base::kTwoLow) + table_low;
        }
        const V r_high = leading_part(r);
        const V product = r_high * simd::broadcast(Base::kEHigh);
        const V rest = (r - r_high) * simd::broadcast(Base::kE) + r_high * simd::broadcast(Base::kELow);
        const V sum = base + product;
        const V lost = (base - sum) + product;
        return sum + (((low + rest) + lost) + r2 * factor(r, r2));
    }

    // (log1p(r) / r - 1) / r, times the logarithm of e
    template <class V>
    OZK_SIMD static V factor(V r, V r2) {
        if constexpr (std::is_same_v<Level, LogHigh>) {
            return (simd::broadcast(Base::kHighC2) + r * simd::broadcast(Base::kHighC3)) +
                   r2 * ((simd::broadcast(Base::kHighC4) + r * simd::broadcast(Base::kHighC5)) +
                         r2 * simd::broadcast(Base::kHighC6));
        } else {
            return (simd::broadcast(Base::kLowC2) + r * simd::broadcast(Base::kLowC3)) +
                   r2 * (simd::broadcast(Base::kLowC4) + r * simd::broadcast(Base::kLowC5));
        }
    }
    template <class V>
    OZK_SIMD static V compute(V x) {
        return finish(prepare(x));
    }

    // Subnormal numbers are lifted into the normal range, and the exponent taken back.
    [[gnu::cold]] static int scalar(double x, double& result) {
        constexpr double kLift = 0x1p60, kLiftExponent = 60;
        int code;
        if (ln_limit(x, result, code)) return code;
        auto lifted = prepare(simd::broadcast(x * kLift));
        lifted.k = lifted.k - simd::broadcast(kLiftExponent);
        result = low(finish(lifted));
        return kVmlOk;
    }
};

}  // namespace ozk::vml
