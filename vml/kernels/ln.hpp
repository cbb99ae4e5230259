// ln(x), double precision: the operations.
//
// Method, HA and EP: x = 2^k m, 1 <= m < 2; c is the estimate of 1/m rounded to a multiple of 2^-10, so that r = m c - 1
// is small and exactly representable, and ln(x) = k ln 2 - ln(c) + log1p(r); -ln(c) from a table, log1p(r) by
// a polynomial. Tang, "Table-driven implementation of the logarithm function in IEEE floating-point
// arithmetic", ACM TOMS 16 (1990).
//
// |r| <= 2^-9.52 for every estimate within the documented error of 1.5 2^-12: half a step of c, at most 2^-10, plus the
// estimate's error, plus 2^-24 for the rounding of m to single precision. r needs at most the 53 bits from 2^-10 to 2^-62:
// exact.
//
// Error bounds, in ulp of the result, round to nearest:
//   HA  0.52. k ln2_high + T_high is exact, its sum with r is carried without error (Fast2Sum: the table part is 0 or
//       larger than r), the rest is below 2^-9 of the result. Polynomial 2^-64.6 relative. Degree 5 would
//       save a multiply-add but leaves 2^-52.5 of r, which next to 1 is the result: up to another 1.4 ulp.
//   LA  2.5: LnLow, below.
//   EP  2^-31 relative: only the table's high parts, r rounded, degree 3.
//
// Special lanes: zero, negative, subnormal, infinite, NaN.
#pragma once

#include <bit>
#include <limits>

#include "vml/frame.hpp"

namespace ozk::vml {

using simd::constant;

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
    using Checked = simd::wide<simd::f64x2, kBlock / simd::f64x2::kLanes>;

    // The high word less that of the smallest normal number, as an offset binary number, is below the span of
    // the normal numbers exactly for ordinary lanes.
    template <class I>
    OZK_SIMD static I offset(const I& high_words) {
        return high_words + simd::broadcast(int32_t{0x7FF00000});  // -0x00100000 - 0x80000000
    }
    OZK_SIMD static simd::i32x4 outside(simd::i32x4 offsets) {
        constexpr int32_t kLastNormal = -0x200000 - 1;  // of 0x7FEFFFFF
        return offsets > simd::broadcast(kLastNormal);
    }
    OZK_SIMD static simd::f64x2 special(simd::f64x2 x) {
        return simd::mask_of_high_words(outside(offset(as_i32(bits(x)))));
    }
    OZK_SIMD static simd::i32x4 special(const Checked& x) {
        return outside(simd::largest(offset(simd::all_high_words(x))));
    }
};

// The reduction of the HA and the EP level.
inline constexpr double kLnTwoHigh = 0x1.62e42fefap-1;  // 36 bits: k kLnTwoHigh is exact
inline constexpr double kLnTwoLow = 0x1.cf79abc9ep-40;  // 36 bits too
inline constexpr int kEstimateStepBits = 14;            // bits of the estimate below a step of c

template <class V>
struct LnReduced {
    V k, m, c;  // k with the exponent's bias; 2^-10 m; 2^10 c
};
// Of the table's entry, in bytes. Entry 0 is c = 2^9, 512 is 2^10, whose exponents differ in the lowest bit.
OZK_SIMD size_t ln_offset(const simd::Words& estimate, int lane) {
    return estimate.word(lane) >> (kEstimateStepBits - 4) & 0x3FF0;
}

template <class Estimate>
struct LnByEstimate : PositiveNormal {
    template <class V>
    using Kept = simd::Words;  // the estimate of 2^10 / m in single precision, half a step more

    template <class V>
    OZK_SIMD static LnReduced<V> prepare(V x, simd::Words& estimate) {
        constexpr int64_t kSignificand = 0x000FFFFFFFFFFFFF, kScale = 0x3F50000000000000;  // 2^-10
        const V m = as_f64((bits(x) & constant<kSignificand>) | constant<kScale>);
        const simd::i32x4 rounded =
            bits(Estimate::reciprocal(to_f32(m))) + simd::broadcast(int32_t{1} << (kEstimateStepBits - 1));
        estimate.keep(rounded);
        const simd::f32x4 c = as_f32(rounded & simd::broadcast(int32_t{-1} << kEstimateStepBits));
        return {low_to_f64(simd::shift_right<20>(odd_lanes(as_i32(bits(x))))), m, low_to_f64(c)};
    }

    static int scalar(double x, double& result) { return ln_scalar(x, result); }
};

template <class Estimate = HardwareEstimate>
struct LnHigh : LnByEstimate<Estimate> {
    template <class V>
    struct Terms {  // high + r + (low + polynomial of r)
        V r, high, low;
    };
    template <class V>
    struct Polynomial {  // high + (low + r^2 (c2 + r c3 + r^2 top))
        V r, high, low, top;
    };

    template <class V>
    OZK_SIMD static Terms<V> advance(const LnReduced<V>& s, const simd::Words& estimate) {
        const auto [table_high, table_low] =
            simd::gather_pairs_by_offsets(&kLnPairs[0].high, ln_offset(estimate, 0), ln_offset(estimate, 1));
        const V m_high = as_f64(bits(s.m) & constant<~int64_t{0x7FFFFFF}>);  // 26 bits
        const V r_high = m_high * s.c - constant<1.0>;
        return {r_high + (s.m - m_high) * s.c,  // m c - 1, exactly
                s.k * constant<kLnTwoHigh> + table_high, s.k * constant<kLnTwoLow> + table_low};
    }
    template <class V>
    OZK_SIMD static Polynomial<V> advance(const Terms<V>& s, const simd::Words&) {
        const V sum = s.high + s.r;
        const V lost = (s.high - sum) + s.r;
        const V inner = s.r * constant<kHighC6> + constant<kHighC5>;
        return {s.r, sum, s.low + lost, s.r * inner + constant<kHighC4>};
    }
    template <class V>
    OZK_SIMD static V finish(const Polynomial<V>& s, const simd::Words&) {
        const V r2 = s.r * s.r;
        const V factor = s.r * constant<kHighC3> - constant<0.5>;
        return s.high + (s.low + r2 * (factor + r2 * s.top));
    }
};

template <class Estimate = HardwareEstimate>
struct LnFast : LnByEstimate<Estimate> {
    template <class V>
    struct Terms {
        V r, high;  // k ln 2
    };
    template <class V>
    struct Polynomial {  // high + (r + r^2 factor)
        V r, high, factor;
    };

    template <class V>
    OZK_SIMD static Terms<V> advance(const LnReduced<V>& s, const simd::Words&) {
        return {s.m * s.c - constant<1.0>, s.k * constant<kLnTwoHigh>};
    }
    template <class V>
    OZK_SIMD static Polynomial<V> advance(const Terms<V>& s, const simd::Words& estimate) {
        const V table =
            simd::gather_by_offsets(&kLnPairs[0].high, ln_offset(estimate, 0), ln_offset(estimate, 1));
        return {s.r, s.high + table, s.r * constant<kFastC3> + constant<kFastC2>};
    }
    template <class V>
    OZK_SIMD static V finish(const Polynomial<V>& s, const simd::Words&) {
        return s.high + (s.r + (s.r * s.r) * s.factor);
    }
};

// x = 2^k z, z between 0.7 and 1.42; c is the number whose bits, rounded to steps of 2^kStepBits, are nearest to those of
// z.
template <int kStepBits, class Entry>
struct NearestSignificand {
    static constexpr int64_t kSignificand = 0x000FFFFFFFFFFFFF;
    static constexpr int64_t kLeast = 0x3FE6A00000000000, kHalfStep = int64_t{1} << (kStepBits - 1);
    static_assert(kLeast % (2 * kHalfStep) == 0);

    // k in the exponent's place, below it z's bits less those of the table's first significand, and half a step more.
    template <class V>
    OZK_SIMD static auto shifted(V x) {
        return bits(x) + constant<kHalfStep - kLeast>;
    }
    template <class I>
    OZK_SIMD static auto k(I shifted) {
        return low_to_f64(simd::shift_right_signed<20>(odd_lanes(as_i32(shifted))));
    }
    template <class I>
    OZK_SIMD static auto z(I shifted) {
        const auto significand = shifted & constant<kSignificand>;
        return as_f64(significand + constant<kLeast - kHalfStep>);
    }
    template <class I>
    OZK_SIMD static auto c(I shifted) {
        const auto steps = shifted & constant<(kSignificand & -2 * kHalfStep)>;
        return as_f64(steps + constant<kLeast>);
    }
    // That of c's entry in the table, in bytes.
    OZK_SIMD static size_t offset(const simd::Words& shifted, int lane) {
        constexpr int kShift = kStepBits - 32 - std::countr_zero(sizeof(Entry));
        constexpr uint32_t kMask = (uint32_t{1} << (20 - kShift)) - sizeof(Entry);
        return shifted.word(2 * lane + 1) >> kShift & kMask;
    }
    OZK_SIMD static simd::f64x2_pair pairs(const double* table, const simd::Words& shifted) {
        return simd::gather_pairs_by_offsets(table, offset(shifted, 0), offset(shifted, 1));
    }
};

template <class V>
struct Nearest {
    V k, difference;  // z - c, exact
};
template <class Significand, class V>
OZK_SIMD Nearest<V> nearest(V x, simd::Words& place) {
    const auto shifted = Significand::shifted(x);
    place.keep(shifted);
    return {Significand::k(shifted), Significand::z(shifted) - Significand::c(shifted)};
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

    using Significand = NearestSignificand<43, LnNearest>;
    template <class V>
    using Kept = simd::Words;
    template <class V>
    struct Terms {
        V high, r;
    };
    template <class V>
    struct Polynomial {  // high + (r + r^2 (first + r^2 second))
        V high, r, first, second;
    };

    template <class V>
    OZK_SIMD static Nearest<V> prepare(V x, Kept<V>& place) {
        return nearest<Significand>(x, place);
    }
    template <class V>
    OZK_SIMD static Terms<V> advance(const Nearest<V>& s, const Kept<V>& place) {
        const auto [reciprocal, logarithm] = Significand::pairs(&kLnNearest[0].reciprocal, place);
        return {s.k * constant<kLn2> + logarithm, s.difference * reciprocal};
    }
    template <class V>
    OZK_SIMD static Polynomial<V> advance(const Terms<V>& s, const Kept<V>&) {
        return {s.high, s.r, s.r * constant<kC3> + constant<kC2>, s.r * constant<kC5> + constant<kC4>};
    }
    template <class V>
    OZK_SIMD static V finish(const Polynomial<V>& s, const Kept<V>&) {
        const V r2 = s.r * s.r;
        return s.high + (s.r + r2 * (s.first + r2 * s.second));
    }

    static int scalar(double x, double& result) { return ln_scalar(x, result); }
};

}  // namespace ozk::vml
