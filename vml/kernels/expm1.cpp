// expm1(x) = exp(x) - 1, double precision.
//
// Method: exp's reduction (exp.cpp), x = N ln2/64 + r, N = 64 k + j, and expm1(x) = (s - 1) + s (exp(r) - 1) with
// s = 2^k 2^(j/64) = s' (1 + d), s' of 26 bits. s' - 1 is carried without error (Knuth's sum), and so is its sum with the
// product of s' and the leading 26 bits of r, which is exact; what is left is below 2^-8 of the result.
// After Tang, "Table-driven implementation of the expm1 function in IEEE floating-point arithmetic", ACM TOMS 18 (1992).
//
// |s' - 1| is 0 or larger than |s' r|, so that Fast2Sum holds: N = 0 leaves r = x and no table error.
//
// Error bound HA 0.52 ulp, round to nearest.
//
// Special lanes: the high word of |x| is at least that of 708.3956, which takes in infinities and NaN.

#include <bit>
#include <cmath>
#include <limits>

#include "vml/frame.hpp"
#include "vml/kernels/exp.hpp"
#include "vml/kernels/magnitude_bound.hpp"

namespace ozk::vml {
namespace {

using simd::broadcast;

#include "vml/kernels/expm1_table.inc"

constexpr int32_t kFastBoundHighWord = 0x4086232A;

struct Expm1 : MagnitudeBound<kFastBoundHighWord> {
    static constexpr int kWide = 2;

    static constexpr double kShifter = 0x1.8p52;              // x + kShifter holds round(x) in its low bits
    static constexpr double kInvStep = 0x1.71547652b82fep+6;  // 64 / ln 2
    static constexpr double kStepHigh = 0x1.62e42fefap-7;     // ln 2 / 64, 37 bits: N kStepHigh is exact
    static constexpr double kStepLow = 0x1.cf79abc9e3b3ap-46;

    template <class V>
    struct Reduced {
        V shifted, r_high, r_low, sign;
    };

    template <class V>
    OZK_SIMD static Reduced<V> prepare(V x) {
        const V shifted = x * broadcast(kInvStep) + broadcast(kShifter);
        const V n = shifted - broadcast(kShifter);
        const V high = x - n * broadcast(kStepHigh);
        const V low = n * broadcast(kStepLow);
        const V r_high = as_f64(bits(high - low) & broadcast(~int64_t{0x7FFFFFF}));
        return {shifted, r_high, (high - r_high) - low,
                x & as_f64(broadcast(std::numeric_limits<int64_t>::min()))};
    }

    template <class V>
    OZK_SIMD static V finish(const Reduced<V>& x) {
        constexpr int kTableBits = 6;
        const auto one = broadcast(1.0);
        const auto n = bits(x.shifted);
        const auto [entry, d] =
            gather_pairs(&kExpm1Pairs64[0].high, n & broadcast((int64_t{1} << kTableBits) - 1));
        const V s = as_f64(bits(entry) + simd::shift_left<52>(simd::shift_right<kTableBits>(n)));

        const V less_one = s - one;
        const V s_part = less_one + one;
        const V lost = (s - s_part) - (one - (s_part - less_one));

        const V r = x.r_high + x.r_low;
        const V r2 = r * r;
        const V low = broadcast(0.5) + r * broadcast(kC3);
        const V high = (broadcast(kC4) + r * broadcast(kC5)) + r2 * broadcast(kC6);
        const V q = r2 * (low + r2 * high);

        const V product = s * x.r_high;
        const V sum = less_one + product;
        const V lost_again = (less_one - sum) + product;
        const V rest = s * ((x.r_low + q) + (d + d * (r + q)));
        return (sum + ((lost + lost_again) + rest)) | x.sign;
    }

    // Special lanes are so far from 0 that exp(x) is the result, or -1.
    [[gnu::cold]] static int scalar(double x, double& result) {
        if (!(std::signbit(x))) return exp_scalar(x, result);
        result = std::isnan(x) ? x * x : -1.0;
        return kVmlOk;
    }
};

}  // namespace
}  // namespace ozk::vml

OZK_VML_KERNEL(d, Expm1, EXHAynn, unary, ozk::vml::Expm1)
