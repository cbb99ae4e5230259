// ln(x), log2(x), log10(x) and ln(1 + x), single precision.
//
// High accuracy of ln(x), in single precision: x = 2^k z, z from 0.7 to 1.4; f of 9 bits next to z, 1 next to z = 1, so
// that d = z - f is exact; r = d / f from -11/16 2^-8 to 5/16 2^-8. ln(x) = k ln2 + ln(f) + d - r (f - 1) + r^2 p(r),
// since d - r (f - 1) = r. k ln2 and ln(f) are each a multiple of 2^-16 and a rest: the multiples are added exactly,
// the error of adding d is carried along. Next to z = 1, where d counts whole, f - 1 is small. Polynomial 2^-30.4
// relative. Error bound: 0.52 ulp; the largest error found is 0.512.
//
// High accuracy of the others, in double precision: x = 2^k z as above; c from a table by the leading bits of z, close
// to 1/z, so that r = z c - 1 is at most 2^-9, and log_b(x) = k log_b(2) - log_b(c) + log_b(1 + r), and one rounding to
// single. A polynomial of degree 3 without a constant takes two products and two sums where its coefficient of the third
// degree is 1, as s r ((s r + a)^2 + b): tables hold s c. c is 1 next to z = 1, and s has 29 bits, so that s r is exact
// there. Error bound: 0.52 ulp; the largest error found is 0.508. Polynomial 2^-30.9 relative at the ends of its
// interval, which counts where the result is as small as r; 2^-44 of a result beyond 1/2. Exact results, those of powers
// of the base, are rounded to themselves. ln(1 + x): k and c by 1 + x in single precision, whose rounding only moves the
// choice by an ulp; with a = 2^-k c, r = x a - (1 - a), which is x where x is near 0.
// Tang, "Table-driven implementation of the logarithm function in IEEE floating-point arithmetic", ACM TOMS 16
// (1990).
//
// Lower levels, in single precision, with z from sqrt(1/2) to sqrt(2) and r = z - 1:
//   LA  degree 9, 2^-24.9 relative; k log_b(2) rounded, which next to k = -1 adds up to 1 ulp.
//   EP  degree 5, 2^-14.2 relative.
//
// Special lanes: zero, negative, subnormal, infinite, NaN; for ln(1 + x), x <= -1, x >= 2^126, NaN.

#include <bit>
#include <cmath>
#include <limits>

#include "ozk_vml_scalars.h"
#include "vml/frame.hpp"

namespace ozk::vml {
namespace {

using simd::broadcast;
using simd::constant;

struct LnSinglePair {
    float ln, rest;
};

#include "vml/kernels/ln_single_tables.inc"

struct BaseE {
    using Table = LnTable;
    static constexpr double kScale = 1;  // 1 / ln(b)
};
struct Base2 {
    using Table = Log2Table;
    static constexpr double kScale = 0x1.71547652b82fep+0;
};
struct Base10 {
    using Table = Log10Table;
    static constexpr double kScale = 0x1.bcb7b1526e50ep-2;
};

constexpr int32_t kExponent = -1 << 23;  // sign and exponent of a single

// Ordinary are the singles from the least normal one to the last below the bound: their bits less those of the
// former, as an offset binary number, are below the span.
constexpr int32_t kOffset = 0x7F800000;  // -0x00800000 - 0x80000000
template <int32_t kBoundBits>
constexpr int32_t kLast = static_cast<int32_t>(static_cast<uint32_t>(kBoundBits - 1) + uint32_t{kOffset});
template <int32_t kBoundBits>
OZK_SIMD simd::f32x4 outside_normal(simd::f32x4 x) {
    return as_f32(bits(x) + broadcast(kOffset) > broadcast(kLast<kBoundBits>));
}
// Whether there are others in a block: by the largest number of each lane.
using Singles = simd::wide<simd::f32x4, kBlock / simd::f32x4::kLanes>;
template <int32_t kBoundBits>
OZK_SIMD simd::f32x4 outside_normal(const Singles& x) {
    return as_f32(simd::largest(bits(x) + broadcast(kOffset)) > broadcast(kLast<kBoundBits>));
}

// What the functions have in common: arguments, special lanes and the scalar path, where x is ln's argument ...
template <class Base>
struct OfPositive {
    using Argument = float;
    using Result = float;
    using Vector = simd::f32x4;
    using Checked = Singles;
    static constexpr float kOrdinary = 1.0f;

    OZK_SIMD static simd::f32x4 special(simd::f32x4 x) { return outside_normal<0x7F800000>(x); }
    OZK_SIMD static simd::f32x4 special(const Singles& x) { return outside_normal<0x7F800000>(x); }
    static int scalar(float x, float& result);
};
// ... and where 1 + x is.
struct OfOnePlus {
    using Argument = float;
    using Result = float;
    using Vector = simd::f32x4;
    using Checked = Singles;
    static constexpr float kOrdinary = 0.0f;

    OZK_SIMD static simd::f32x4 special(simd::f32x4 x) {
        return outside_normal<0x7E800000>(broadcast(1.0f) + x);
    }
    OZK_SIMD static simd::f32x4 special(const Singles& x) {
        return outside_normal<0x7E800000>(broadcast(1.0f) + x);
    }
    static int scalar(float x, float& result);
};

// ---- High accuracy ------------------------------------------------------------------------------------

constexpr int32_t kLeast = 0x3F332800;  // 0.6998: bits of the least significand z

// The table's index of a number whose bits are so many above those of the least significand.
OZK_SIMD simd::PackedIndices table_index(simd::i32x4 steps) {
    return simd::pack_bytes<2>(simd::shift_left<1>(steps));
}

// What the logarithms in double precision have in common: four arguments with the exponents and the places in the tables
// of them or of 1 + x, and the last steps.
template <class Base>
struct InDoubles {
    using Table = typename Base::Table;

    struct Placed {
        simd::f32x4 x;
        simd::i32x4 exponent;
        simd::PackedIndices index;
    };
    struct Reduced {
        simd::f64x4 r, log;  // s r, and what is to be taken from its logarithm
    };
    // log_b(c) - k log_b(2). A difference from it keeps the sign of a result of 0.
    OZK_SIMD static simd::f64x4 minus_log(simd::i32x4 exponent, const simd::Indices& index) {
        constexpr double kMinusLog2 = -0x1.62e42fefa39efp-24 * Base::kScale;  // for an exponent field
        return widen(exponent) * constant<kMinusLog2> + gather(Table::kLog, index);
    }
    OZK_SIMD static simd::f64x4 advance(const Reduced& s) {
        const auto u = s.r + constant<Table::kA>;
        const auto y = s.r * (u * u + constant<Table::kB>);
        return y - s.log;
    }
    OZK_SIMD static simd::f32x4 finish(const simd::f64x4& y) { return narrow(y); }
};

template <class Base>
struct LnHigh : OfPositive<Base>, InDoubles<Base> {
    using typename InDoubles<Base>::Placed, typename InDoubles<Base>::Reduced,
        typename InDoubles<Base>::Table;
    using InDoubles<Base>::advance;

    OZK_SIMD static Placed prepare(simd::f32x4 x) {
        const auto steps = bits(x) - broadcast(kLeast);
        const auto index = table_index(steps);
        const auto exponent = steps & broadcast(kExponent);
        return {as_f32(bits(x) - exponent), exponent, index};
    }
    OZK_SIMD static Reduced advance(const Placed& s) {
        const auto index = unpack(s.index);
        return {widen(s.x) * gather(Table::kC, index) - constant<Table::kS>,
                InDoubles<Base>::minus_log(s.exponent, index)};
    }
};

struct Log1pHigh : OfOnePlus, InDoubles<BaseE> {
    using InDoubles<BaseE>::advance;

    OZK_SIMD static Placed prepare(simd::f32x4 x) {
        const auto steps = bits(broadcast(1.0f) + x) - broadcast(kLeast);
        return {x, steps & broadcast(kExponent), table_index(steps)};
    }
    OZK_SIMD static Reduced advance(const Placed& s) {
        const auto index = unpack(s.index);
        const auto k = simd::shift_right_signed<3>(s.exponent);  // on a double's exponent, in its high word
        const simd::wide<simd::i64x2, 2> words = {low_to_high_words(k), high_to_high_words(k)};
        const auto a = as_f64(bits(gather(Table::kC, index)) - words);
        return {widen(s.x) * a - (broadcast(Table::kS) - a), minus_log(s.exponent, index)};
    }
};

// ln(x), in single precision, the leading sum in two parts.
struct LnRounded : OfPositive<BaseE> {
    struct Difference {
        simd::f32x4 d, f;
        simd::i32x4 exponent;
        simd::PackedIndices index;
    };
    struct Quotient {  // r = d / f, the logarithm of 2^k f in two parts
        simd::f32x4 d, f, r, ln, rest;
    };
    struct Sum {
        simd::f32x4 sum, rest;
    };
    OZK_SIMD static Difference prepare(simd::f32x4 x) {
        constexpr int32_t kOne = 0x5800;  // from the first single of an entry to its f
        const auto steps = bits(x) - broadcast(kLeast);
        const auto index = table_index(steps);
        const auto first = steps & broadcast(int32_t{0x7F8000});
        const auto exponent = steps & broadcast(kExponent);
        const auto f = as_f32(first + broadcast(kLeast + kOne));
        return {as_f32(bits(x) - exponent) - f, f, exponent, index};
    }
    OZK_SIMD static Quotient advance(const Difference& s) {
        constexpr float kLn2 = 0x1.62e4p-24f, kLn2Rest = 0x1.7f7d1cp-43f;  // for an exponent field
        const auto k = to_f32(s.exponent);
        const auto entry = gather_pairs(&kLnSinglePairs[0].ln, unpack(s.index));
        return {s.d, s.f, s.d / s.f, k * constant<kLn2> + entry.first, k * constant<kLn2Rest> + entry.second};
    }
    OZK_SIMD static Sum advance(const Quotient& s) {
        const auto sum = s.ln + s.d;
        const auto rest = s.rest + ((s.ln - sum) + s.d);
        const auto p = s.r * constant<kPairC3> + constant<kPairC2>;
        return {sum, rest + s.r * (s.r * p - (s.f - constant<1.0f>))};
    }
    OZK_SIMD static simd::f32x4 finish(const Sum& s) { return s.sum + s.rest; }
};

// The logarithm of a single that is subnormal or beyond 2^126, as a double normal: x = 2^k m, c by the first 8 bits of m
// behind its leading one, r = m c - 1 exact and at most 2^-8. Results lie beyond 37, so that what the sum leaves out,
// 2^-42, is below 2^-47 of them.
double ln_of_extreme(float x) {
    constexpr double kLn2 = 0x1.62e42fefa39efp-1;
    constexpr uint64_t kFraction = 0x000FFFFFFFFFFFFF, kOne = 0x3FF0000000000000;
    const uint64_t word = std::bit_cast<uint64_t>(double{x});
    const double k = static_cast<double>(word >> 52) - 1023;
    const double m = std::bit_cast<double>((word & kFraction) | kOne);
    const size_t index = word >> 44 & 0xFF;
    const double r = m * ozk_vml_core_rcp_table_256[index] - 1;
    const double p = r * r * (-0.5 + r * (1 / 3.0 - r * 0.25));
    return k * kLn2 + ozk_vml_core_log_table_256[index].high + (r + p);
}

template <class Base>
[[gnu::cold]] int OfPositive<Base>::scalar(float x, float& result) {
    if (x == 0) {
        result = -std::numeric_limits<float>::infinity();
        return kVmlSingularity;
    }
    if (std::isless(x, 0.0f)) {
        result = std::numeric_limits<float>::quiet_NaN();
        return kVmlDomain;
    }
    if (std::isnan(x) || std::isinf(x)) {
        result = x + x;
        return kVmlOk;
    }
    result = static_cast<float>(ln_of_extreme(x) * Base::kScale);
    return kVmlOk;
}

[[gnu::cold]] int OfOnePlus::scalar(float x, float& result) {
    if (x == -1) {
        result = -std::numeric_limits<float>::infinity();
        return kVmlSingularity;
    }
    if (std::isless(x, -1.0f)) {
        result = std::numeric_limits<float>::quiet_NaN();
        return kVmlDomain;
    }
    if (std::isnan(x) || std::isinf(x)) {
        result = x + x;
        return kVmlOk;
    }
    result = static_cast<float>(ln_of_extreme(x));  // at least 2^126: 1 changes nothing
    return kVmlOk;
}

// ---- Lower levels -------------------------------------------------------------------------------------

// -k 2^23, of normal positive singles 2^k (1 + r).
template <class V>
OZK_SIMD auto minus_exponent(V x) {
    constexpr int32_t kRootTwo = 0x3FB504F3;  // bits of sqrt(2)
    return (broadcast(kRootTwo) - bits(x)) & broadcast(kExponent);
}

// log_b(2) 2^-23: the factor of an exponent field.
template <class Base>
constexpr float kLog2 = static_cast<float>(Base::kScale * 0x1.62e42fefa39efp-24);

// log_b(2^k (1 + r)) from -k 2^23 and r. The difference keeps the sign of a result of 0.
struct Low {
    template <class Base, class V>
    OZK_SIMD static V logarithm(V minus_k, V r) {
        const V r2 = r * r;
        const V p34 = broadcast(kLowC3) + r * broadcast(kLowC4);
        const V p56 = broadcast(kLowC5) + r * broadcast(kLowC6);
        const V p79 = (broadcast(kLowC7) + r * broadcast(kLowC8)) + r2 * broadcast(kLowC9);
        const V p = (p34 + r2 * p56) + (r2 * r2) * p79;
        const V y = r + ((r * r2) * p - r2 * broadcast(0.5f));
        const V s = Base::kScale == 1 ? y : y * broadcast(static_cast<float>(Base::kScale));
        return s - minus_k * broadcast(kLog2<Base>);
    }
};
struct Fast {
    template <class Base, class V>
    OZK_SIMD static V logarithm(V minus_k, V r) {
        const V r2 = r * r;
        const V p = (broadcast(kFastC1) + r * broadcast(kFastC2)) +
                    r2 * ((broadcast(kFastC3) + r * broadcast(kFastC4)) + r2 * broadcast(kFastC5));
        const V s = Base::kScale == 1 ? r : r * broadcast(static_cast<float>(Base::kScale));
        return s * p - minus_k * broadcast(kLog2<Base>);
    }
};

template <class V>
struct Reduced {
    V minus_k, r;
};

template <class Level, class Base>
struct LnSingle : OfPositive<Base> {
    static constexpr int kWide = 2;

    template <class V>
    OZK_SIMD static Reduced<V> prepare(V x) {
        const auto exponent = minus_exponent(x);
        return {to_f32(exponent), as_f32(bits(x) + exponent) - broadcast(1.0f)};
    }
    template <class V>
    OZK_SIMD static V finish(const Reduced<V>& x) {
        return Level::template logarithm<Base>(x.minus_k, x.r);
    }
    template <class V>
    OZK_SIMD static V compute(V x) {
        return finish(prepare(x));
    }
};

template <class Level>
struct Log1pSingle : OfOnePlus {
    static constexpr int kWide = 2;

    // r = 2^-k x + (2^-k - 1), exact but where k = 1 and r < -1/4, to 2^-26, and where k > 24 and 2^-k does not matter.
    template <class V>
    OZK_SIMD static Reduced<V> prepare(V x) {
        const auto exponent = minus_exponent(broadcast(1.0f) + x);
        const V scale = as_f32(bits(broadcast(1.0f)) + exponent);
        return {to_f32(exponent), x * scale - (broadcast(1.0f) - scale)};
    }
    template <class V>
    OZK_SIMD static V finish(const Reduced<V>& x) {
        return Level::template logarithm<BaseE>(x.minus_k, x.r);
    }
    template <class V>
    OZK_SIMD static V compute(V x) {
        return finish(prepare(x));
    }
};

}  // namespace
}  // namespace ozk::vml

OZK_VML_KERNEL(s, Ln, H8LAynn, unary, ozk::vml::LnSingle<ozk::vml::Low, ozk::vml::BaseE>)
OZK_VML_KERNEL(s, Ln, EXHAynn, unary, ozk::vml::LnRounded)
OZK_VML_KERNEL(s, Ln, H8EPnnn, unary, ozk::vml::LnSingle<ozk::vml::Fast, ozk::vml::BaseE>)
OZK_VML_KERNEL(s, Log2, EXHAynn, unary, ozk::vml::LnHigh<ozk::vml::Base2>)
OZK_VML_KERNEL(s, Log10, H8LAynn, unary, ozk::vml::LnSingle<ozk::vml::Low, ozk::vml::Base10>)
OZK_VML_KERNEL(s, Log10, EXHAynn, unary, ozk::vml::LnHigh<ozk::vml::Base10>)
OZK_VML_KERNEL(s, Log10, H8EPnnn, unary, ozk::vml::LnSingle<ozk::vml::Fast, ozk::vml::Base10>)
OZK_VML_KERNEL(s, Log1p, H8LAynn, unary, ozk::vml::Log1pSingle<ozk::vml::Low>)
OZK_VML_KERNEL(s, Log1p, EXHAynn, unary, ozk::vml::Log1pHigh)
OZK_VML_KERNEL(s, Log1p, H8EPnnn, unary, ozk::vml::Log1pSingle<ozk::vml::Fast>)
