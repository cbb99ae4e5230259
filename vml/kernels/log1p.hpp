// log1p(x) = ln(1 + x), double precision: the operation.
//
// Method: as log2 and log10 (log.hpp), with k and c by u = fl(1 + x), whose rounding only moves the choice by an ulp. With
// a = 2^-k, d = x a - (c - a) is exact (but where k > 52, and the result is so large that 2^-54 counts for nothing); its
// leading 43 bits take part in the exact product. Where u is within the table's step of 1, d is x itself.
//
// Error bound HA 0.52 ulp, round to nearest, as there.
//
// Special lanes: x <= -1; x >= 2^1013, where 2^-k would soon not be normal; infinite, NaN.
#pragma once

#include "vml/kernels/log.hpp"

namespace ozk::vml {

struct Log1p : LogSteps<LnConstants> {
    using LogSteps<LnConstants>::advance;
    using Argument = double;
    using Result = double;
    using Vector = simd::f64x2;
    static constexpr double kOrdinary = 0.0;

    // The sign bit of the mask counts.
    OZK_SIMD static simd::i32x4 outside(simd::i32x4 high_words) {
        constexpr int32_t kLastScaled = 0x7F3FFFFF;           // high word of the numbers next below 2^1013
        constexpr int32_t kBeforeMinusOne = -0x40100000 - 1;  // high word of the numbers next to -1, above it
        return (high_words > simd::broadcast(kLastScaled)) |
               ((high_words > simd::broadcast(kBeforeMinusOne)) & high_words);
    }
    OZK_SIMD static simd::f64x2 special(simd::f64x2 x) {
        return simd::mask_of_high_words(outside(as_i32(bits(x))));
    }
    OZK_SIMD static simd::i32x4 special(const simd::f64x4& x) { return outside(simd::high_words(x)); }

    template <class V>
    struct Kept : simd::Words {
        V x;
    };

    template <class V>
    OZK_SIMD static Nearest<V> prepare(V x, Kept<V>& kept) {
        constexpr int64_t kOne = 0x3FF0000000000000;
        const auto shifted = LogSignificand::shifted(x + constant<1.0>);
        kept.keep(shifted);
        kept.x = x;
        const V a = as_f64(simd::broadcast(kOne) - (shifted & constant<~LogSignificand::kSignificand>));
        return {LogSignificand::k(shifted), x * a - (LogSignificand::c(shifted) - a)};
    }
    template <class V>
    OZK_SIMD static LogTerms<V> advance(const Nearest<V>& s, const Kept<V>& kept) {
        const auto [slope_high, slope_low] =
            LogSignificand::pairs(&LnConstants::kEntries[0].slope_high, kept);
        const auto [table_high, table_low] = LogSignificand::pairs(&LnConstants::kEntries[0].high, kept);
        const V leading = as_f64(bits(s.difference) & constant<-(int64_t{1} << 10)>);
        return log_terms<LnConstants>(s.k, table_high, table_low, leading * slope_high,
                                      (s.difference - leading) * slope_high + slope_low * s.difference);
    }
    template <class V>
    OZK_SIMD static V finish(const LogPolynomial<V>& s, const Kept<V>& kept) {
        // The sum of zeros has lost the sign of -0.
        return LogSteps::finish(s, kept) | sign_bit(kept.x);
    }

    // Special lanes are so far from 0 that 1 + x may be rounded.
    static int scalar(double x, double& result) { return ln_scalar(1.0 + x, result); }
};

}  // namespace ozk::vml
