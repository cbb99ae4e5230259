// log1p(x) = ln(1 + x), double precision: the operation.
//
// Method: 1 + x = u + v exactly (Knuth's sum), u = fl(1 + x) = 2^k m, and then as ln (ln.hpp) with
// r = (m c - 1) + 2^-k v c. The first part is exact, the second at most 2^-52; what their sum loses is carried. Where u
// is within the table's step of 1, c = 1 and the sum is x itself.
//
// Error bound HA 0.52 ulp, round to nearest, as ln.
//
// Special lanes: x <= -1; x >= 2^1013, where 2^-k 2^-10 would not be normal; infinite, NaN.
#pragma once

#include "vml/kernels/ln.hpp"

namespace ozk::vml {

template <class Estimate = HardwareEstimate>
struct Log1p {
    using Argument = double;
    using Result = double;
    using Vector = simd::f64x2;
    static constexpr double kOrdinary = 0.0;
    static constexpr int kWide = 2;

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
    struct Reduced {
        V k, r_high, r_low, sign;
        simd::i32x4 offset;
    };

    template <class V>
    OZK_SIMD static Reduced<V> prepare(V x) {
        constexpr int64_t kExponent = 0x7FF0000000000000;
        constexpr int64_t kTwiceBias = 0x7F40000000000000;  // 2^-k 2^-10 from 2^k
        const auto one = simd::broadcast(1.0);
        const V u = x + one;
        const V x_part = u - one;
        const V v = (one - (u - x_part)) + (x - x_part);
        const auto [k, m] = split_exponent(u);
        const auto [c, offset] = reciprocal_of_significand<Estimate>(u);
        const V scale = as_f64(simd::broadcast(kTwiceBias) - (bits(u) & simd::broadcast(kExponent)));
        return {k, reduced(m, c), v * (c * scale),
                x & as_f64(simd::broadcast(std::numeric_limits<int64_t>::min())), offset};
    }

    template <class V>
    OZK_SIMD static V finish(const Reduced<V>& x) {
        using Logarithm = Ln<LnHigh>;
        const V k = x.k;
        const auto [table_high, table_low] = simd::gather_pairs_for(k, &kLnPairs[0].high, x.offset);
        const V base = k * simd::broadcast(Logarithm::kLn2High) + table_high;
        const V low = k * simd::broadcast(Logarithm::kLn2Low) + table_low;
        const V r = x.r_high + x.r_low;
        const V r2 = r * r;
        const V lost_of_r = x.r_low - (r - x.r_high);
        const V sum = base + r;
        const V lost = (base - sum) + r;
        return (sum + (((low + lost_of_r) + lost) + r2 * Logarithm::ln_high_factor(r, r2))) | x.sign;
    }
    template <class V>
    OZK_SIMD static V compute(V x) {
        return finish(prepare(x));
    }

    // Special lanes are so far from 0 that 1 + x may be rounded.
    static int scalar(double x, double& result) { return ln_scalar(1.0 + x, result); }
};

}  // namespace ozk::vml
