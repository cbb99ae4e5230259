// sin(x), cos(x) and both, double precision.
//
// Method: N = round(x T / 2 pi), r = x - N 2 pi / T in parts, |r| <= pi / T, and with a = 2 pi N / T
// sin(x) = sin a cos r + cos a sin r, cos(x) = sin(x + quarter turn); sin a and cos a of the whole turn from
// a table, sin r and cos r by polynomials. Arguments beyond the block path's bound: payne_hanek.cpp. Gal and
// Bachelis, "An accurate elementary mathematical library for the IEEE floating point standard", ACM TOMS 17
// (1991), has the split of cos a.
//
// Error bounds, in ulp of the result, round to nearest:
//   HA  T = 128: 0.513. cos a is a power of two, whose product with r is exact, and a rest; sin a + power r is
//       carried without error (Fast2Sum: sin a is 0 or larger than r), what is added to it is below 2^-7 of
//       the result and wrong by 2^-60 of it. r in three parts, each product with N but the last exact up to
//       the bound, wrong by 2^-134 N at most.
//   LA  T = 256: 2.5. r in three parts, wrong by 2^-127 N but for its last rounding; the sum in doubles.
//   EP  T = 128: 2^-28 relative, the polynomials'. r in two parts, wrong by 2^-96 N but for its last rounding.
// No double from 2^e to 2^(e+1) comes closer to a multiple of pi/2 than 2^(e-65.5) for e = 5 to 13, the closest
// being 2^(e-5) 0x1.6c6cbc45dc8dep+5, or than 2^-53.9 below 2^5: the remainder's relative error is below 2^-63 at
// the HA level and 2^-56 at LA; at EP it is 2^-29 at most at the doubles nearest to the multiples below the bound.
//
// Symmetric bit for bit, since rounding to nearest and the table are: sin(-x) = -sin(x), cos(-x) = cos(x).
// Zeros keep their sign through the table's sin 0 = -0, from which the last operation subtracts: the
// subtrahend is +0 for -0 and is not for +0.
//
// Special lanes: |x| at least the level's bound, infinite, NaN.

#include <array>
#include <cmath>
#include <limits>
#include <type_traits>

#include "vml/frame.hpp"
#include "vml/kernels/magnitude_bound.hpp"
#include "vml/kernels/payne_hanek.hpp"

namespace ozk::vml {
namespace {

using simd::broadcast;
using simd::f64x2;

struct SineEntry {
    double sine, sine_low, scale, rest;  // cosine = scale + rest
};
struct SinePair {
    double sine, cosine;
};

#include "vml/kernels/trigonometric_tables.inc"

constexpr double kShifter = 0x1.8p52;  // x + kShifter holds round(x) in its low bits

struct High {
    static constexpr int64_t kSteps = 128;
    static constexpr int32_t kBoundHighWord = 0x40C90000;  // 12800: N < 2^18
    static constexpr double kInvStep = kHighInvStep;
    static constexpr int kWide = 1, kWideBoth = 2;
};
struct Low {
    static constexpr int64_t kSteps = 256;
    static constexpr int32_t kBoundHighWord = 0x40C90000;  // 12800: N < 2^19
    static constexpr double kInvStep = kLowInvStep;
    static constexpr int kWide = 4, kWideBoth = 4;
};
struct Fast {
    static constexpr int64_t kSteps = 128;
    static constexpr int32_t kBoundHighWord = 0x40A90000;  // 3200: N < 2^16
    static constexpr double kInvStep = kFastInvStep;
    static constexpr int kWide = 4, kWideBoth = 4;
};

// The argument less its nearest multiple of the step: r, at the HA level r + low. `shifted` holds the number
// of steps, counted from `kOrigin` steps before 0, in its low bits.
template <class V>
struct ReducedHigh {
    V shifted, r, low;
};
template <class V>
struct Reduced {
    V shifted, r;
};

template <class Level, int64_t kOrigin, class V>
OZK_SIMD auto reduce(V x) {
    constexpr double kShift = kShifter + kOrigin;
    const V shifted = x * broadcast(Level::kInvStep) + broadcast(kShift);
    const V n = shifted - broadcast(kShift);
    if constexpr (std::is_same_v<Level, High>) {
        const V t = x - n * broadcast(kHighStep1);
        const V w = n * broadcast(kHighStep2);
        const V r = t - w;
        const V lost = (t - r) - w;
        return ReducedHigh<V>{shifted, r, lost - n * broadcast(kHighStep3)};
    } else if constexpr (std::is_same_v<Level, Low>) {
        const V t = (x - n * broadcast(kLowStep1)) - n * broadcast(kLowStep2);
        return Reduced<V>{shifted, t - n * broadcast(kLowStep3)};
    } else {
        return Reduced<V>{shifted, (x - n * broadcast(kFastStep1)) - n * broadcast(kFastStep2)};
    }
}

// The polynomials: cos r = 1 - even; sin r = r + odd at the HA level, odd at the others.
template <class V>
struct Series {
    V odd, even;
};

template <class Level, class V>
OZK_SIMD Series<V> series(const ReducedHigh<V>& x) {
    const V r = x.r, r2 = r * r;
    const V odd = broadcast(kHighS3) + r2 * (broadcast(kHighS5) + r2 * broadcast(kHighS7));
    const V even = broadcast(kHighC2) + r2 * (broadcast(kHighC4) + r2 * broadcast(kHighC6));
    return {x.low + (r * r2) * odd, r2 * even};
}
template <class Level, class V>
OZK_SIMD Series<V> series(const Reduced<V>& x) {
    const V r = x.r, r2 = r * r;
    if constexpr (std::is_same_v<Level, Low>) {
        const V odd = r2 * (broadcast(kLowS3) + r2 * broadcast(kLowS5));
        const V even = broadcast(kLowC2) + r2 * (broadcast(kLowC4) + r2 * broadcast(kLowC6));
        return {r * (broadcast(1.0) + odd), r2 * even};
    } else {
        return {r * (broadcast(1.0) + r2 * broadcast(kFastS3)), r2 * broadcast(kFastC2)};
    }
}

// The place of the table entry, in doubles.
template <class Level, class V>
OZK_SIMD auto table_element(V shifted) {
    constexpr int kShift = std::is_same_v<Level, Low> ? 1 : 2;  // EP takes every second pair of LA's table
    return simd::shift_left<kShift>(bits(shifted)) & broadcast((Level::kSteps - 1) << kShift);
}

// sin(x + kAhead steps), kAhead 0 or a quarter turn: the table goes on behind the whole turn.
template <int64_t kAhead, class V, class Element>
OZK_SIMD V combine(const ReducedHigh<V>& x, const Series<V>& s, const Element& element) {
    const auto [sine, sine_low] = gather_pairs_at(&kSine128[kAhead].sine, element);
    const auto [scale, rest] = gather_pairs_at(&kSine128[kAhead].scale, element);
    const V main = scale * x.r;
    const V sum = sine + main;
    const V lost = (sum - sine) - main;
    const V small = sine_low + (rest * x.r + ((scale + rest) * s.odd - sine * s.even));
    return sum - (lost - small);
}

template <class Level, class V>
OZK_SIMD V sine_of(const ReducedHigh<V>& x) {
    return combine<0>(x, series<Level>(x), table_element<Level>(x.shifted));
}
template <class Level, class V>
OZK_SIMD V sine_of(const Reduced<V>& x) {
    const Series<V> s = series<Level>(x);
    const auto [sine, cosine] = gather_pairs_at(&kSine256[0].sine, table_element<Level>(x.shifted));
    return sine - (sine * s.even - cosine * s.odd);
}

template <class Level, class V>
OZK_SIMD std::array<V, 2> sine_and_cosine_of(const ReducedHigh<V>& x) {
    const Series<V> s = series<Level>(x);
    const auto element = table_element<Level>(x.shifted);
    return {combine<0>(x, s, element), combine<Level::kSteps / 4>(x, s, element)};
}
template <class Level, class V>
OZK_SIMD std::array<V, 2> sine_and_cosine_of(const Reduced<V>& x) {
    const Series<V> s = series<Level>(x);
    const auto [sine, cosine] = gather_pairs_at(&kSine256[0].sine, table_element<Level>(x.shifted));
    return {sine - (sine * s.even - cosine * s.odd), cosine - (cosine * s.even + sine * s.odd)};
}

// The finite magnitude x, however large, less its nearest multiple of the step.
ReducedHigh<f64x2> reduce_large(double x, int64_t origin) {
    const TurnRemainder<double> remainder = payne_hanek(x);
    return {broadcast(kShifter + static_cast<double>(remainder.n + origin)), broadcast(remainder.r),
            broadcast(remainder.low)};
}

// x is infinite or NaN; returns the error code.
int not_finite(double x, double& result) {
    result = x - x;
    return std::isnan(x) ? kVmlOk : kVmlDomain;
}

// sin(x + kQuarters quarter turns), kQuarters 0 or 1.
template <class Level, int64_t kQuarters>
struct Sine : MagnitudeBound<Level::kBoundHighWord> {
    static constexpr int kWide = Level::kWide;
    static constexpr int64_t kOrigin = kQuarters * Level::kSteps / 4;

    template <class V>
    OZK_SIMD static auto prepare(V x) {
        return reduce<Level, kOrigin>(x);
    }
    template <class State>
    OZK_SIMD static auto finish(const State& x) {
        return sine_of<Level>(x);
    }
    static int scalar(double x, double& result) {
        if (!std::isfinite(x)) return not_finite(x, result);
        constexpr int64_t kHighOrigin = kQuarters * High::kSteps / 4;
        result = low(sine_of<High>(reduce_large(std::abs(x), kHighOrigin)));
        if (kQuarters == 0) result *= std::copysign(1.0, x);
        return kVmlOk;
    }
};

template <class Level>
struct SinCos : MagnitudeBound<Level::kBoundHighWord> {
    static constexpr int kResults = 2;
    static constexpr int kWide = Level::kWideBoth;

    template <class V>
    OZK_SIMD static std::array<V, 2> compute(V x) {
        return sine_and_cosine_of<Level>(reduce<Level, 0>(x));
    }
    static int scalar(double x, double& sine, double& cosine) {
        if (!std::isfinite(x)) {
            cosine = x - x;
            return not_finite(x, sine);
        }
        const auto [s, c] = sine_and_cosine_of<High>(reduce_large(std::abs(x), 0));
        sine = low(s) * std::copysign(1.0, x);
        cosine = low(c);
        return kVmlOk;
    }
};

template <class Level>
using Sin = Sine<Level, 0>;
template <class Level>
using Cos = Sine<Level, 1>;

}  // namespace
}  // namespace ozk::vml

OZK_VML_KERNEL(d, Sin, H8LAynn, unary, ozk::vml::Sin<ozk::vml::Low>)
OZK_VML_KERNEL(d, Sin, EXHAynn, unary, ozk::vml::Sin<ozk::vml::High>)
OZK_VML_KERNEL(d, Sin, H8EPnnn, unary, ozk::vml::Sin<ozk::vml::Fast>)
OZK_VML_KERNEL(d, Cos, H8LAynn, unary, ozk::vml::Cos<ozk::vml::Low>)
OZK_VML_KERNEL(d, Cos, EXHAynn, unary, ozk::vml::Cos<ozk::vml::High>)
OZK_VML_KERNEL(d, Cos, H8EPnnn, unary, ozk::vml::Cos<ozk::vml::Fast>)
OZK_VML_KERNEL(d, SinCos, H8LAynn, two_results, ozk::vml::SinCos<ozk::vml::Low>)
OZK_VML_KERNEL(d, SinCos, EXHAynn, two_results, ozk::vml::SinCos<ozk::vml::High>)
OZK_VML_KERNEL(d, SinCos, H8EPnnn, two_results, ozk::vml::SinCos<ozk::vml::Fast>)
