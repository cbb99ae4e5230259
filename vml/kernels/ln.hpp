// ln(x), double precision: the operations.
//
// Method, HA and EP: x = 2^k m, 1 <= m < 2; c is the estimate of 1/m rounded to a multiple of 2^-10, so that r = m c - 1
// is small and exactly representable, and ln(x) = k ln 2 - ln(c) + log1p(r); -ln(c) from a table, log1p(r) by
// a polynomial. Tang, "Table-driven implementation of the logarithm function in IEEE floating-point
// arithmetic", ACM TOMS 16 (1990).
//
// |r| <= 2^-9.52 for every estimate within the documented error of 1.5 2^-12: half a step of c, at most
// 2^-10, plus the estimate's error, plus 2^-20 for the bits of m that it doesn't see. r needs at most the 53 bits from
// 2^-10 to 2^-62: exact.
//
// Error bounds, in ulp of the result, round to nearest:
//   HA  0.52. k ln2_high + T_high is exact, its sum with r is carried without error (Fast2Sum: the table part
//   is 0 or
//       larger than r), the rest is below 2^-9 of the result. Polynomial 2^-64.6 relative. Degree 5 would
//       save a multiply-add but leaves 2^-52.5 of r, which next to 1 is the result: up to another 1.4 ulp.
//   LA  2.5: LnLow, below.
//   EP  2^-31 relative: only the table's high parts, r rounded, degree 3.
//
// Special lanes: zero, negative, subnormal, infinite, NaN.
#pragma once

#include <bit>
#include <limits>
#include <type_traits>

#include "vml/frame.hpp"

namespace ozk::vml {

struct LnPair {
    double high, low;
};
struct LnNearest {
    double reciprocal, logarithm;
};
struct LnScalarEntry {
    double reciprocal, high, low;
};
struct LogEntry {
    double slope_high, slope_low, high, low;
};

#include "vml/kernels/ln_tables.inc"

struct LnHigh {};
struct LnFast {};

struct HardwareEstimate {
    template <class V>
    OZK_SIMD static V reciprocal(V x) {
        return simd::reciprocal_estimate(x);
    }
};

// The limits of the logarithms: true, with result and code, where x is not a positive finite number.
bool ln_limit(double x, double& result, int& code);
// One element, any argument; the same for all levels.
int ln_scalar(double x, double& result);

// Special lanes are all but the positive normal numbers.
struct PositiveNormal {
    using Argument = double;
    using Result = double;
    using Vector = simd::f64x2;
    static constexpr double kOrdinary = 1.0;
    static constexpr int kWide = 2;

    // The high word less that of the smallest normal number, as an offset binary number, is below the span of
    // the normal numbers exactly for ordinary lanes.
    OZK_SIMD static simd::i32x4 outside(simd::i32x4 high_words) {
        constexpr int32_t kOffset = 0x7FF00000;         // -0x00100000 - 0x80000000
        constexpr int32_t kLastNormal = -0x200000 - 1;  // 0x7FEFFFFF + kOffset
        return high_words + simd::broadcast(kOffset) > simd::broadcast(kLastNormal);
    }
    OZK_SIMD static simd::f64x2 special(simd::f64x2 x) {
        return simd::mask_of_high_words(outside(as_i32(bits(x))));
    }
    OZK_SIMD static simd::i32x4 special(const simd::f64x4& x) { return outside(simd::high_words(x)); }
};

// The reciprocals of the significands of x, rounded to a multiple of 2^-10, as 2^10 c, and the offsets in bytes of
// their table entries. The estimate is that of the significand's leading 21 bits.
template <class V>
struct Reciprocal {
    V c;
    simd::i32x4 offset;
};
template <class Estimate, class V>
OZK_SIMD Reciprocal<V> reciprocal_of_significand(simd::i32x4 high_words) {
    constexpr int32_t kSignificand = 0x000FFFFF, kScale = 0x3A800000;  // 2^-10, single precision
    constexpr int kStepBits = 14;  // bits of the estimate below a step of c
    const simd::i32x4 leading = high_words & simd::broadcast(kSignificand);
    const auto m = as_f32(simd::shift_left<3>(leading) | simd::broadcast(kScale));
    const auto rounded = bits(Estimate::reciprocal(m)) + simd::broadcast(int32_t{1} << (kStepBits - 1));
    // Entry 0 is c = 2^9, 512 is 2^10, whose exponents differ in the lowest bit.
    return {simd::to_doubles<V>(as_f32(rounded & simd::broadcast(int32_t{-1} << kStepBits))),
            simd::shift_right<kStepBits - 4>(rounded) & simd::broadcast(int32_t{0x3FF0})};
}

// 2^-10 m.
template <class V>
OZK_SIMD V significand(V x) {
    constexpr int64_t kSignificand = 0x000FFFFFFFFFFFFF;
    constexpr int64_t kScale = 0x3F50000000000000;  // 2^-10
    return as_f64((bits(x) & simd::broadcast(kSignificand)) | simd::broadcast(kScale));
}

template <class V>
OZK_SIMD V leading_part(V x) {
    return as_f64(bits(x) & simd::broadcast(~int64_t{0x7FFFFFF}));  // 26 bits
}

// m c - 1, exactly.
template <class V>
OZK_SIMD V reduced(V m, V c) {
    const V m_high = leading_part(m);
    return (m_high * c - simd::broadcast(1.0)) + (m - m_high) * c;
}

template <class Level, class Estimate = HardwareEstimate>
struct Ln : PositiveNormal {
    static constexpr double kLn2High = 0x1.62e42fefap-1;  // 36 bits: k kLn2High is exact
    static constexpr double kLn2Low = 0x1.cf79abc9ep-40;  // 36 bits too

    template <class V>
    struct Reduced {
        V k, m, c;  // k with the exponent's bias
        simd::i32x4 offset;
    };
    template <class V>
    struct Sum {
        V r, high, low;  // the latter of all but what the polynomial gives
    };

    template <class V>
    OZK_SIMD static Reduced<V> prepare(V x) {
        const simd::i32x4 words = simd::high_words(x);
        const auto [c, offset] = reciprocal_of_significand<Estimate, V>(words);
        return {simd::to_doubles<V>(simd::shift_right<20>(words)), significand(x), c, offset};
    }
    template <class V>
    OZK_SIMD static Sum<V> advance(const Reduced<V>& x) {
        const auto [table_high, table_low] = simd::gather_pairs_for(x.k, &kLnPairs[0].high, x.offset);
        const V base = x.k * simd::broadcast(kLn2High) + table_high;
        if constexpr (std::is_same_v<Level, LnFast>) {
            return {x.m * x.c - simd::broadcast(1.0), base, base};
        } else {
            const V r = reduced(x.m, x.c);
            const V low = x.k * simd::broadcast(kLn2Low) + table_low;
            const V sum = base + r;
            const V lost = (base - sum) + r;
            return {r, sum, low + lost};
        }
    }
    template <class V>
    OZK_SIMD static V finish(const Sum<V>& x) {
        const V r = x.r, r2 = r * r;
        if constexpr (std::is_same_v<Level, LnFast>)
            return x.high + (r + r2 * (simd::broadcast(kFastC2) + r * simd::broadcast(kFastC3)));
        else
            return x.high + (x.low + r2 * ln_high_factor(r, r2));
    }
    template <class V>
    OZK_SIMD static V compute(V x) {
        return finish(advance(prepare(x)));
    }

    // (log1p(r) - r) / r^2
    template <class V>
    OZK_SIMD static V ln_high_factor(V r, V r2) {
        return (simd::broadcast(-0.5) + r * simd::broadcast(kHighC3)) +
               r2 * ((simd::broadcast(kHighC4) + r * simd::broadcast(kHighC5)) +
                     r2 * simd::broadcast(kHighC6));
    }

    static int scalar(double x, double& result) { return ln_scalar(x, result); }
};

// x = 2^k z, z between 0.7 and 1.42; c is the number whose bits, rounded to steps of 2^kStepBits, are nearest to those of
// z. The offset is that of c's entry in a table, in bytes.
template <int kStepBits, class Entry>
struct NearestSignificand {
    static constexpr int64_t kSignificand = 0x000FFFFFFFFFFFFF;
    static constexpr int64_t kLeast = 0x3FE6A00000000000, kHalfStep = int64_t{1} << (kStepBits - 1);
    static_assert(kLeast % (2 * kHalfStep) == 0);

    // k in the exponent's place, below it z's bits less those of the table's first significand, and half a step more.
    template <class V>
    OZK_SIMD static auto shifted(V x) {
        return bits(x) + simd::broadcast(kHalfStep - kLeast);
    }
    template <class I>
    OZK_SIMD static auto k(I shifted) {
        return low_to_f64(simd::shift_right_signed<20>(odd_lanes(as_i32(shifted))));
    }
    template <class I>
    OZK_SIMD static auto z(I shifted) {
        return as_f64((shifted & simd::broadcast(kSignificand)) + simd::broadcast(kLeast - kHalfStep));
    }
    template <class I>
    OZK_SIMD static auto steps(I shifted) {
        return shifted & simd::broadcast(kSignificand & -2 * kHalfStep);
    }
    template <class I>
    OZK_SIMD static auto c(I steps) {
        return as_f64(steps + simd::broadcast(kLeast));
    }
    template <class I>
    OZK_SIMD static auto offset(I steps) {
        return simd::shift_right<kStepBits - std::countr_zero(sizeof(Entry))>(steps);
    }
};

template <class V>
struct Nearest {
    V k, difference;  // z - c, exact
    decltype(simd::bits(V{})) offset;
};
template <class Significand, class V>
OZK_SIMD Nearest<V> nearest(V x) {
    const auto shifted = Significand::shifted(x);
    const auto steps = Significand::steps(shifted);
    return {Significand::k(shifted), Significand::z(shifted) - Significand::c(steps),
            Significand::offset(steps)};
}

// The LA level.
//
// Method: x = 2^k z, z between 0.7 and 1.42; c is the number whose bits, rounded to steps of 2^43, are nearest to those
// of z. z - c is exact, r = (z - c) / c by the tabled reciprocal, |r| <= 2^-10, and ln(x) = k ln 2 + ln(c) + log1p(r).
//
// Error bound 2.5 ulp of the result. Next to 1, k = 0 and c = 1: r is exact, the polynomial's 2^-52.5 of it and two
// roundings are left. Beyond, ln(c) is at most twice the result; where k = -1, k ln 2 and ln(c) cancel by a bit.
struct LnLow : PositiveNormal {
    static constexpr double kLn2 = 0x1.62e42fefa39efp-1;
    static constexpr double kC2 = -0x1.ffffffffff81fp-2;  // -0.49999999999988803
    static constexpr double kC3 = 0x1.55555555543c5p-2;   // 0.33333333333308374
    static constexpr double kC4 = -0x1.0000148058ee1p-2;  // -0.2500003054940248
    static constexpr double kC5 = 0x1.9999cacdb4d0ap-3;   // 0.2000003665949424

    template <class V>
    OZK_SIMD static Nearest<V> prepare(V x) {
        return nearest<NearestSignificand<43, LnNearest>>(x);
    }

    template <class V>
    OZK_SIMD static V finish(const Nearest<V>& x) {
        const auto [reciprocal, logarithm] =
            simd::gather_pairs_by_offset(&kLnNearest[0].reciprocal, x.offset);
        const V r = x.difference * reciprocal;
        const V r2 = r * r;
        const V q = (simd::broadcast(kC2) + r * simd::broadcast(kC3)) +
                    r2 * (simd::broadcast(kC4) + r * simd::broadcast(kC5));
        return (x.k * simd::broadcast(kLn2) + logarithm) + (r + r2 * q);
    }
    template <class V>
    OZK_SIMD static V compute(V x) {
        return finish(prepare(x));
    }

    static int scalar(double x, double& result) { return ln_scalar(x, result); }
};

}  // namespace ozk::vml
