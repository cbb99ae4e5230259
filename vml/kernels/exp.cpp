// exp(x), exp2(x) and exp10(x), double precision.
//
// Method, b being the base: N = round(x T log2(b)), N = k T + j, r = x - N / (T log2(b)), so that
// b^x = 2^k 2^(j/T) b^r with |r| <= 1 / (2 T log2(b)); 2^(j/T) from a table, b^r - 1 by a polynomial. N / (T log2(b)) is
// taken in two parts, of which the first is exact; for b = 2 it is exact as a whole.
// Tang, "Table-driven implementation of the exponential function in IEEE floating-point arithmetic", ACM TOMS 15
// (1989).
//
// Error bounds, in ulp of the result, round to nearest:
//   HA  T = 64, pairs, degree 5: 0.53. Polynomial 2^-59.3 absolute, table 2^-106, r 2^-61, products 2^-60.
//   LA  T = 1024, degree 3: 2.2. Table 1/2, sum 1/2, polynomial 2^-52.7, which is up to 1.2.
//   EP  T = 128, degree 2: 2^-28.1 relative, the polynomial's.
//
// exp2 and exp10 have the HA level alone, with T = 256, pairs, degree 4: 0.52. Polynomial 2^-58.5 absolute, the rest as for
// exp. Where their result is a double, it is exact: what is lost before the last sum is far below half an ulp.
//
// Special lanes: the high word of |x| is at least that of a bound (exp 708.3956, exp2 1022, exp10 307.6526), which takes
// in infinities and NaN. Below it the result is normal, so that k can be added to the exponent field of the sum.

#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <numbers>
#include <type_traits>

#include "vml/frame.hpp"
#include "vml/kernels/exp.hpp"
#include "vml/kernels/magnitude_bound.hpp"

namespace ozk::vml {
namespace {

using simd::constant;

#include "vml/kernels/exp_tables.inc"

constexpr double kShifter = 0x1.8p52;  // x + kShifter holds round(x) in its low bits

// ---- Bases: the scalar path's thresholds and reduction, shared by the levels --------------------------------------
// Results are infinite above kOverflow, subnormal below kSubnormal, 0 below kUnderflow; 1 + x is the result to half an
// ulp where x's biased exponent is below kTinyExponent.

struct Steps {
    int64_t n;
    double r;  // in units of the natural logarithm
};

struct BaseE {
    static constexpr double kOverflow = 0x1.62e42fefa39efp+9;    // 709.782712893384
    static constexpr double kUnderflow = -0x1.74910d52d3051p+9;  // -745.1332191019411
    static constexpr double kSubnormal = -0x1.6232bdd7abcd2p+9;  // -708.3964185322641
    static Steps reduce(double x) {
        const double n = (x * kInvStep + kShifter) - kShifter;
        return {static_cast<int64_t>(n), (x - n * kStepHigh) - n * kStepLow};
    }

    static constexpr int64_t kTinyExponent = 0x3CB;
    static constexpr int32_t kBoundHighWord = 0x4086232A;
    static constexpr double kInvStep = 0x1.71547652b82fep+6;  // 64 / ln 2
    static constexpr double kStepHigh = 0x1.62e42fefap-7;     // ln 2 / 64, 37 bits: N kStepHigh is exact
    static constexpr double kStepLow = 0x1.cf79abc9e3b3ap-46;
};
struct Base2 {
    static constexpr double kOverflow = 0x1.fffffffffffffp+9;     // next below 1024
    static constexpr double kUnderflow = -0x1.0cbffffffffffp+10;  // next above -1075
    static constexpr double kSubnormal = -1022;
    static constexpr int64_t kTinyExponent = 0x3CB;
    static constexpr int32_t kBoundHighWord = 0x408FF000;
    static constexpr double kShifter = 0x1.8p46;  // x + kShifter holds round(64 x) in its low bits
    static Steps reduce(double x) {
        const double n = (x + kShifter) - kShifter;
        return {static_cast<int64_t>(64 * n), (x - n) * std::numbers::ln2};
    }
};
struct Base10 : Exp10ScalarConstants {
    static constexpr double kOverflow = 0x1.34413509f79fep+8;    // 308.25471555991669
    static constexpr double kUnderflow = -0x1.439b746e36b52p+8;  // -323.60724533877976
    static constexpr double kSubnormal = -0x1.33a7146f72a41p+8;  // -307.65265556858878
    static constexpr int64_t kTinyExponent = 0x3C9;
    static constexpr int32_t kBoundHighWord = 0x40733A71;
    static Steps reduce(double x) {
        const double n = (x * kInvStep + kShifter) - kShifter;
        return {static_cast<int64_t>(n), ((x - n * kStepHigh) - n * kStepLow) * std::numbers::ln10};
    }
};

struct ExpHigh : BaseE {
    using Base = BaseE;
    static constexpr int kTableBits = 6;
    static constexpr double kC2 = 0x1.fffffffffdb3bp-2;  // 0.4999999999994775
    static constexpr double kC3 = 0x1.555555555653ep-3;  // 0.1666666666667797
    static constexpr double kC4 = 0x1.555573f218b93p-5;  // 0.04166672368662385
    static constexpr double kC5 = 0x1.111112d9f549bp-7;  // 0.00833333416441411
};
struct ExpLow {
    using Base = BaseE;
    static constexpr int kTableBits = 10;
    static constexpr double kInvStep = 0x1.71547652b82fep+10;  // 1024 / ln 2
    static constexpr double kStepHigh = 0x1.62e42fecp-11;      // ln 2 / 1024, 31 bits
    static constexpr double kStepLow = 0x1.d1cf79abc9e3bp-42;
    static constexpr double kC2 = 0x1.0000001ebfbep-1;   // 0.5000000035796539
    static constexpr double kC3 = 0x1.5555555555556p-3;  // 0.16666666666666669
};
struct ExpFast {
    using Base = BaseE;
    static constexpr int kTableBits = 7;
    static constexpr double kInvStep = 0x1.71547652b82fep+7;  // 128 / ln 2
    static constexpr double kStep = 0x1.62e42fefa39efp-8;     // ln 2 / 128
    static constexpr double kC2 = 0x1.ffffc2808f7e8p-2;       // 0.49999908361121337
};

struct Exp2High : Exp2Constants {
    using Base = Base2;
    static constexpr int kTableBits = 8;
    static constexpr double kShifter = 0x1.8p44;  // x + kShifter holds round(256 x) in its low bits
};
struct Exp10High : Exp10Constants {
    using Base = Base10;
    static constexpr int kTableBits = 8;
};

double power_of_two(int64_t exponent) { return std::bit_cast<double>((exponent + 1023) << 52); }
int64_t biased_exponent(double x) { return std::bit_cast<int64_t>(x) >> 52 & 0x7FF; }

template <class Base>
[[gnu::cold]] int power_scalar(double x, double& result) {
    constexpr double kC2 = 0.5;
    constexpr double kC3 = 0x1.55555555548f8p-3;   // 0.1666666666665788
    constexpr double kC4 = 0x1.5555555558fccp-5;   // 0.04166666666677052
    constexpr double kC5 = 0x1.111123aaf20d3p-7;   // 0.008333341995140497
    constexpr double kC6 = 0x1.6c16a1c2a3ffdp-10;  // 0.0013888870459233254
    constexpr int kScalarTableBits = 6;
    constexpr double kSplitter = 0x1.8p32;
    constexpr int kLift = 60;  // subnormal results are formed 2^60 times too large
    constexpr int64_t kLeastSplitExponent = 51;

    if (biased_exponent(x) == 0x7FF) {
        result = std::signbit(x) && x == x ? 0.0 : x * x;
        return kVmlOk;
    }
    if (biased_exponent(x) < Base::kTinyExponent) {
        result = 1.0 + x;
        return kVmlOk;
    }
    if (x > Base::kOverflow) {
        result = std::numeric_limits<double>::infinity();
        return kVmlOverflow;
    }
    if (x < Base::kUnderflow) {
        result = 0.0;
        return kVmlUnderflow;
    }

    const auto [n, r] = Base::reduce(x);
    const ExpPair& entry = kExpScalarPairs64[n & 63];
    const int64_t k = n >> kScalarTableBits;
    const double p = r + (r * r) * (kC2 + r * (kC3 + r * (kC4 + r * (kC5 + r * kC6))));
    const double tail = entry.high * p + entry.low;
    const double sum = entry.high + tail;
    if (x >= Base::kSubnormal) {
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

// A table whose entries are found by all bits of a byte: the table of T entries, 256 / T times.
template <class Entry, size_t kEntries>
consteval std::array<Entry, 256> by_byte(const Entry (&table)[kEntries]) {
    std::array<Entry, 256> repeated;
    for (size_t j = 0; j < repeated.size(); ++j) repeated[j] = table[j % kEntries];
    return repeated;
}
alignas(64) constexpr auto kPairsByByte = by_byte(kExpPairs64);
alignas(64) constexpr auto kEntriesByByte = by_byte(kExp128);

template <class Level>
constexpr bool kIsLow = std::is_same_v<Level, ExpLow>;
template <class Level>
constexpr bool kIsFast = std::is_same_v<Level, ExpFast>;
template <class Level>
constexpr bool kIsBase2 = std::is_same_v<Level, Exp2High>;

template <class Level>
struct Exp : MagnitudeBound<Level::Base::kBoundHighWord> {
    // N in the low bits.
    template <class V>
    using Kept = std::conditional_t<kIsLow<Level> || kIsFast<Level>, simd::VectorAndWords, simd::StoredWords>;

    // The states between the steps. What a level doesn't need is not read.
    template <class V>
    struct Rounded {
        V steps, x;
    };
    template <class V>
    struct Difference {  // r = high - low
        V high, low;
    };
    template <class V>
    struct Polynomial {  // b^r - 1 = first + r^2 (low + r^2 high)
        V first, r2, low, high;
    };
    template <class V>
    struct Product {  // b^x = 2^k (entry + entry (first + rest))
        V entry, first, rest;
    };

    template <class V>
    OZK_SIMD static Rounded<V> prepare(V x, Kept<V>& n) {
        if constexpr (kIsBase2<Level>) {
            const V shifted = x + constant<Level::kShifter>;
            n.keep(bits(shifted));
            return {shifted - constant<Level::kShifter>, x};
        } else {
            const V shifted = x * constant<Level::kInvStep> + constant<kShifter>;
            n.keep(bits(shifted));
            return {shifted - constant<kShifter>, x};
        }
    }
    template <class V>
    OZK_SIMD static Difference<V> advance(const Rounded<V>& s, const Kept<V>&) {
        if constexpr (kIsBase2<Level>)
            return {s.x - s.steps, s.x};
        else if constexpr (kIsFast<Level>)
            return {s.x - s.steps * constant<Level::kStep>, s.x};
        else
            return {s.x - s.steps * constant<Level::kStepHigh>, s.steps * constant<Level::kStepLow>};
    }
    template <class V>
    OZK_SIMD static Polynomial<V> advance(const Difference<V>& s, const Kept<V>&) {
        V r = s.high;
        if constexpr (!kIsBase2<Level> && !kIsFast<Level>) r = r - s.low;
        const V r2 = r * r;
        if constexpr (kIsFast<Level>) {
            return {r, r2, r, r};
        } else {
            const V low = r * constant<Level::kC3> + constant<Level::kC2>;
            if constexpr (kIsLow<Level>)
                return {r, r2, low, r};
            else if constexpr (requires { Level::kC1; })
                return {r * constant<Level::kC1>, r2, low, r};
            else
                return {r, r2, low, r * constant<Level::kC5> + constant<Level::kC4>};
        }
    }
    template <class V>
    OZK_SIMD static Product<V> advance(const Polynomial<V>& s, const Kept<V>& n) {
        if constexpr (kIsFast<Level>) {
            return {simd::gather(kEntriesByByte.data(), n.byte(0), n.byte(8)), s.first,
                    s.r2 * constant<Level::kC2>};
        } else if constexpr (kIsLow<Level>) {
            return {simd::gather(kExp1024, n.half(0) & 1023, n.half(4) & 1023), s.first, s.r2 * s.low};
        } else {
            V rest = s.r2;
            if constexpr (requires { Level::kC1; })
                rest = rest * (s.low + s.r2 * constant<Level::kC4>);
            else
                rest = rest * (s.low + s.r2 * s.high);
            const auto* pairs = Level::kTableBits == 8 ? &kExpPairs256[0].high : &kPairsByByte[0].high;
            const auto [power, correction] =
                simd::gather_pairs_by_offsets(pairs, 16 * n.byte(0), 16 * n.byte(8));
            return {power, s.first + correction, rest};
        }
    }
    template <class V>
    OZK_SIMD static V finish(const Product<V>& s, const Kept<V>& n) {
        // Scaled last: a product with a scaled entry could fall below the normal range and lose bits.
        const V sum = s.entry + s.entry * (s.first + s.rest);
        return as_f64(bits(sum) + simd::shift_left<52>(simd::shift_right<Level::kTableBits>(n.all())));
    }

    // The same for all levels. Every subnormal result is reported as underflow and rounded once.
    static int scalar(double x, double& result) { return power_scalar<typename Level::Base>(x, result); }
};

}  // namespace

int exp_scalar(double x, double& result) { return power_scalar<BaseE>(x, result); }

}  // namespace ozk::vml

OZK_VML_KERNEL(d, Exp, H8LAynn, unary, ozk::vml::Exp<ozk::vml::ExpLow>)
OZK_VML_KERNEL(d, Exp, EXHAynn, unary, ozk::vml::Exp<ozk::vml::ExpHigh>)
OZK_VML_KERNEL(d, Exp, H8EPnnn, unary, ozk::vml::Exp<ozk::vml::ExpFast>)

OZK_VML_KERNEL(d, Exp2, EXHAynn, unary, ozk::vml::Exp<ozk::vml::Exp2High>)
OZK_VML_KERNEL(d, Exp10, EXHAynn, unary, ozk::vml::Exp<ozk::vml::Exp10High>)
