// erfinv(x), double precision.
//
// Method: with v = |x| below 1/2 and v = 1 - |x|, which is exact, from 1/2 on, |erfinv(x)| is a smooth
// function of v on each eighth of a power of two: y(v0) + t (c1 + t (c2 + ...)), t = v - v0 exact, degree 10,
// everything from a table. v0 lies where y(v0) is a double but for 2^-62 of it. Below |x| = 1/32 the constant
// term is |x| itself and the polynomial what erfinv(x) is less than that. The accurate points: Gal and
// Bachelis, "An accurate elementary mathematical library for the IEEE floating point standard", ACM TOMS 17
// (1991).
//
// Error bounds, in ulp of the result, round to nearest:
//   HA  0.75. The last sum 1/2; what is added is at most 1/16 of the constant term, 0.12 below 1/32, and wrong
//       by one and a half of its own last places; polynomial 2^-57.8 of the result. 0.8 where a normal result
//       has a subnormal part added.
//   EP  2^-27.8 relative: degree 5, the same coefficients.
//
// Special lanes: |x| >= 1, NaN.

#include <cmath>
#include <limits>
#include <type_traits>

#include "vml/frame.hpp"
#include "vml/kernels/magnitude_bound.hpp"

namespace ozk::vml {
namespace {

using simd::broadcast;
using simd::f64x2;

struct ErfInvPiece {
    double middle, value, c[10];
};
static_assert(sizeof(ErfInvPiece) == 12 * sizeof(double));

#include "vml/kernels/erf_inv_table.inc"

constexpr int kPieceBits = 49;  // the bits of v below an eighth of a power of two
constexpr int64_t kPiecesOf32nd = (int64_t{1023 - 5} << 3) - 1;    // v = 1/32 is in piece 1
constexpr int64_t kPiecesOfTail = (int64_t{1023 - 53} << 3) - 33;  // 1 - |x| = 2^-53 is in piece 33
constexpr int32_t kOneHighWord = 0x3FF00000;

struct High {};
struct Fast {};

template <class Level>
struct ErfInv : MagnitudeBound<kOneHighWord> {
    template <class V, class Index>
    struct Prepared {
        V x, v;
        Index element;
    };

    template <class V>
    OZK_SIMD static auto prepare(V x) {
        const V magnitude = abs(x);
        const V complement = broadcast(1.0) - magnitude;
        const V v = min(magnitude, complement);
        // Below 1/32 the piece number is negative in places, and piece 0 is meant.
        const auto tail = bits(broadcast(0.5) <= magnitude);
        const auto base = broadcast(kPiecesOf32nd) - (tail & broadcast(kPiecesOf32nd - kPiecesOfTail));
        const auto piece = max(as_i32(simd::shift_right<kPieceBits>(bits(v)) - base), broadcast(int32_t{0}));
        const auto four = simd::shift_left<2>(as_i64(piece));
        const auto element = four + four + four;  // its place in the table, in doubles
        return Prepared<V, std::remove_const_t<decltype(element)>>{x, v, element};
    }

    template <class V, class Index>
    OZK_SIMD static V finish(const Prepared<V, Index>& a) {
        const auto [middle, value] = gather_pairs_at(&kErfInv[0].middle, a.element);
        const auto [c1, c2] = gather_pairs_at(&kErfInv[0].c[0], a.element);
        const auto [c3, c4] = gather_pairs_at(&kErfInv[0].c[2], a.element);
        const auto [c5, c6] = gather_pairs_at(&kErfInv[0].c[4], a.element);
        const V t = a.v - middle, t2 = t * t, t4 = t2 * t2;
        V p = c5;
        if constexpr (std::is_same_v<Level, High>) {
            const auto [c7, c8] = gather_pairs_at(&kErfInv[0].c[6], a.element);
            const auto [c9, c10] = gather_pairs_at(&kErfInv[0].c[8], a.element);
            p = ((c5 + t * c6) + t2 * (c7 + t * c8)) + t4 * (c9 + t * c10);
        }
        p = t * (((c1 + t * c2) + t2 * (c3 + t * c4)) + t4 * p);
        const V constant = select(value == broadcast(0.0), a.v, value);
        return (constant + p) | (a.x & broadcast(-0.0));
    }

    static int scalar(double x, double& result) {
        if (std::abs(x) == 1.0) {
            result = std::copysign(std::numeric_limits<double>::infinity(), x);
            return kVmlSingularity;
        }
        if (std::isnan(x)) {
            result = x + x;
            return kVmlOk;
        }
        result = std::numeric_limits<double>::quiet_NaN();
        return kVmlDomain;
    }
};

}  // namespace
}  // namespace ozk::vml

OZK_VML_KERNEL(d, ErfInv, EXHAynn, unary, ozk::vml::ErfInv<ozk::vml::High>)
OZK_VML_KERNEL(d, ErfInv, H8EPnnn, unary, ozk::vml::ErfInv<ozk::vml::Fast>)
