// exp(x), double precision.
//
// Method: N = round(x T / ln 2), N = k T + j, r = x - N ln2 / T in two parts, so that
// exp(x) = 2^k 2^(j/T) exp(r) with |r| <= ln2 / (2 T); 2^(j/T) from a table, exp(r) - 1 by a polynomial.
// Tang, "Table-driven implementation of the exponential function in IEEE floating-point arithmetic", ACM TOMS 15
// (1989).
//
// Error bounds, in ulp of the result, round to nearest:
//   HA  T = 64, pairs, degree 5: 0.53. Polynomial 2^-59.3 absolute, table 2^-106, r 2^-61, products 2^-60.
//   LA  T = 1024, degree 3: 2.2. Table 1/2, sum 1/2, polynomial 2^-52.7, which is up to 1.2.
//   EP  T = 128, degree 2: 2^-28.1 relative, the polynomial's.
//
// Special lanes: the high word of |x| is at least that of 708.3956, which takes in infinities and NaN. Below
// it the result is normal, so that k can be added to the exponent field of the sum.

#include <bit>
#include <cmath>
#include <limits>

#include "vml/frame.hpp"
#include "vml/kernels/magnitude_bound.hpp"

namespace ozk::vml {
namespace {

using simd::broadcast;
using simd::f64x2;

struct ExpPair {
    double high, low;
};

#include "vml/kernels/exp_tables.inc"

constexpr int32_t kFastBoundHighWord = 0x4086232A;
constexpr double kShifter = 0x1.8p52;  // x + kShifter holds round(x) in its low bits

struct ExpHigh {
    static constexpr int kTableBits = 6, kWide = 4;
    static constexpr double kInvStep = 0x1.71547652b82fep+6;  // 64 / ln 2
    static constexpr double kStepHigh = 0x1.62e42fefap-7;     // ln 2 / 64, 37 bits: N kStepHigh is exact
    static constexpr double kStepLow = 0x1.cf79abc9e3b3ap-46;
    static constexpr double kC2 = 0x1.fffffffffdb3bp-2;  // 0.4999999999994775
    static constexpr double kC3 = 0x1.555555555653ep-3;  // 0.1666666666667797
    static constexpr double kC4 = 0x1.555573f218b93p-5;  // 0.04166672368662385
    static constexpr double kC5 = 0x1.111112d9f549bp-7;  // 0.00833333416441411
};
struct ExpLow {
    static constexpr int kTableBits = 10, kWide = 2;
    static constexpr double kInvStep = 0x1.71547652b82fep+10;  // 1024 / ln 2
    static constexpr double kStepHigh = 0x1.62e42fecp-11;      // ln 2 / 1024, 31 bits
    static constexpr double kStepLow = 0x1.d1cf79abc9e3bp-42;
    static constexpr double kC2 = 0x1.0000001ebfbep-1;   // 0.5000000035796539
    static constexpr double kC3 = 0x1.5555555555556p-3;  // 0.16666666666666669
};
struct ExpFast {
    static constexpr int kTableBits = 7, kWide = 2;
    static constexpr double kInvStep = 0x1.71547652b82fep+7;  // 128 / ln 2
    static constexpr double kStep = 0x1.62e42fefa39efp-8;     // ln 2 / 128
    static constexpr double kC2 = 0x1.ffffc2808f7e8p-2;       // 0.49999908361121337
};

// What is left of x after n steps of ln2 / T.
template <class Level, class V>
OZK_SIMD V reduce(V x, V n) {
    if constexpr (std::is_same_v<Level, ExpFast>) {
        return x - n * broadcast(Level::kStep);
    } else {
        return (x - n * broadcast(Level::kStepHigh)) - n * broadcast(Level::kStepLow);
    }
}

// exp(r) - 1.
template <class V>
OZK_SIMD V expm1_reduced(ExpHigh, V r) {
    const V r2 = r * r;
    const V low = broadcast(ExpHigh::kC2) + r * broadcast(ExpHigh::kC3);
    const V high = broadcast(ExpHigh::kC4) + r * broadcast(ExpHigh::kC5);
    return r + r2 * (low + r2 * high);
}
template <class V>
OZK_SIMD V expm1_reduced(ExpLow, V r) {
    return r + (r * r) * (broadcast(ExpLow::kC2) + r * broadcast(ExpLow::kC3));
}
template <class V>
OZK_SIMD V expm1_reduced(ExpFast, V r) {
    return r + (r * r) * broadcast(ExpFast::kC2);
}

template <class Level>
struct Exp : MagnitudeBound<kFastBoundHighWord> {
    static constexpr int kWide = Level::kWide;

    template <class V>
    struct Reduced {
        V shifted, r;
    };

    template <class V>
    OZK_SIMD static Reduced<V> prepare(V x) {
        const V shifted = x * broadcast(Level::kInvStep) + broadcast(kShifter);
        return {shifted, reduce<Level>(x, shifted - broadcast(kShifter))};
    }

    template <class V>
    OZK_SIMD static V finish(const Reduced<V>& reduced) {
        constexpr int kBits = Level::kTableBits;
        const auto n = bits(reduced.shifted);
        const auto index = n & broadcast((int64_t{1} << kBits) - 1);
        V p = expm1_reduced(Level{}, reduced.r);
        V entry;
        if constexpr (std::is_same_v<Level, ExpHigh>) {
            const auto [power, correction] = simd::gather_pairs(&kExpPairs64[0].high, index);
            entry = power;
            p = p + correction;
        } else {
            entry = simd::gather(std::is_same_v<Level, ExpLow> ? kExp1024 : kExp128, index);
        }
        // Scaled last: a product with a scaled entry could fall below the normal range and lose bits.
        const V sum = entry + entry * p;
        return as_f64(bits(sum) + simd::shift_left<52>(simd::shift_right<kBits>(n)));
    }
    template <class V>
    OZK_SIMD static V compute(V x) {
        return finish(prepare(x));
    }

    // The same for all levels. Every subnormal result is reported as underflow and rounded once.
    static int scalar(double x, double& result);
};

double power_of_two(int64_t exponent) { return std::bit_cast<double>((exponent + 1023) << 52); }
int64_t biased_exponent(double x) { return std::bit_cast<int64_t>(x) >> 52 & 0x7FF; }

[[gnu::cold]] int exp_scalar(double x, double& result) {
    constexpr double kOverflow = 0x1.62e42fefa39efp+9;  // 709.782712893384: largest with a finite result
    constexpr double kUnderflow =
        -0x1.74910d52d3051p+9;  // -745.1332191019411: below it the result rounds to 0
    constexpr double kSubnormal =
        -0x1.6232bdd7abcd2p+9;  // -708.3964185322641: below it the result is subnormal
    constexpr double kC2 = 0.5;
    constexpr double kC3 = 0x1.55555555548f8p-3;   // 0.1666666666665788
    constexpr double kC4 = 0x1.5555555558fccp-5;   // 0.04166666666677052
    constexpr double kC5 = 0x1.111123aaf20d3p-7;   // 0.008333341995140497
    constexpr double kC6 = 0x1.6c16a1c2a3ffdp-10;  // 0.0013888870459233254
    constexpr double kSplitter = 0x1.8p32;
    constexpr int64_t kTinyExponent = 0x3CB;  // |x| < 2^-52: 1 + x is exact to half an ulp
    constexpr int kLift = 60;                 // subnormal results are formed 2^60 times too large
    constexpr int64_t kLeastSplitExponent = 51;

    if (biased_exponent(x) == 0x7FF) {
        result = std::signbit(x) && x == x ? 0.0 : x * x;
        return kVmlOk;
    }
    if (biased_exponent(x) < kTinyExponent) {
        result = 1.0 + x;
        return kVmlOk;
    }
    if (x > kOverflow) {
        result = std::numeric_limits<double>::infinity();
        return kVmlOverflow;
    }
    if (x < kUnderflow) {
        result = 0.0;
        return kVmlUnderflow;
    }

    const double shifted = x * ExpHigh::kInvStep + kShifter;
    const double n = shifted - kShifter;
    const int64_t steps = static_cast<int64_t>(n);
    const ExpPair& entry = kExpScalarPairs64[steps & 63];
    const int64_t k = steps >> ExpHigh::kTableBits;
    const double r = (x - n * ExpHigh::kStepHigh) - n * ExpHigh::kStepLow;
    const double p = r + (r * r) * (kC2 + r * (kC3 + r * (kC4 + r * (kC5 + r * kC6))));
    const double tail = entry.high * p + entry.low;
    const double sum = entry.high + tail;
    if (x >= kSubnormal) {
        result = k == 1024 ? sum * 0x1p1023 * 2.0 : sum * power_of_two(k);
        return kVmlOk;
    }

    const double lift = power_of_two(k + kLift);
    const double lifted = sum * lift;
    if (biased_exponent(lifted) < kLeastSplitExponent) {
        // At most 42 bits are left: rounding the sum before has cost no more than 2^-11 ulp.
        result = lifted * 0x1p-60;
    } else {
        // The head has few enough bits to become subnormal exactly, so that only the rest's last bit is
        // rounded.
        const double spread = lifted * kSplitter;
        const double head = spread - (spread - lifted);
        const double rest = (entry.high * lift - head) + tail * lift;
        result = head * 0x1p-60 + rest * 0x1p-60;
    }
    return kVmlUnderflow;
}

template <class Level>
int Exp<Level>::scalar(double x, double& result) {
    return exp_scalar(x, result);
}

}  // namespace
}  // namespace ozk::vml

OZK_VML_KERNEL(d, Exp, H8LAynn, unary, ozk::vml::Exp<ozk::vml::ExpLow>)
OZK_VML_KERNEL(d, Exp, EXHAynn, unary, ozk::vml::Exp<ozk::vml::ExpHigh>)
OZK_VML_KERNEL(d, Exp, H8EPnnn, unary, ozk::vml::Exp<ozk::vml::ExpFast>)
