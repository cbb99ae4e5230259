// Ceil, Floor, Trunc, Round, Rint, NearbyInt, Modf, Frac: the rounding instruction, exact. Nothing is reported.
//
// Round: adding the largest number below 1/2, with the sign of x, carries exactly those x to the next integer or
// beyond that lie half way or farther; for x of 2^51 and more too, where the sum is rounded. Modf and Frac: x and
// the fraction have one sign, zeros included; x - trunc(x) is exact.

#include "vml/kernels/real.hpp"

namespace ozk::vml {
namespace {

struct Ceil {
    OZK_SIMD static auto of(auto x) { return ceil(x); }
};
struct Floor {
    OZK_SIMD static auto of(auto x) { return floor(x); }
};
struct Trunc {
    OZK_SIMD static auto of(auto x) { return truncate(x); }
};
struct Rint {  // raises the inexact flag
    OZK_SIMD static auto of(auto x) { return rint(x); }
};
struct NearbyInt {
    OZK_SIMD static auto of(auto x) { return round_to_even(x); }
};
template <class T>
struct Round : RealOperation<T> {
    using typename RealOperation<T>::Vector;
    static constexpr T kBelowHalf = T(0.5) - std::numeric_limits<T>::epsilon() / 4;
    OZK_SIMD static Vector compute(Vector x) {
        return truncate(x + (sign_bit(x) | Round::splat(kBelowHalf)));
    }
};

template <class V>
struct Parts {
    V whole, fraction;
};
template <class V>
OZK_SIMD Parts<V> parts(V x) {
    const V whole = truncate(x);
    const V integer = x == whole;  // infinity too, which must not be subtracted from itself
    return {whole, sign_bit(x) | (and_not(x, integer) - and_not(whole, integer))};
}
template <class T>
struct Modf : RealOperation<T> {
    using typename RealOperation<T>::Vector;
    static constexpr int kResults = 2;
    OZK_SIMD static std::array<Vector, 2> compute(Vector x) {
        const auto [whole, fraction] = parts(x);
        return {whole, fraction};
    }
};
struct Frac {
    OZK_SIMD static auto of(auto x) { return parts(x).fraction; }
};

}  // namespace
}  // namespace ozk::vml

using namespace ozk::vml;

OZK_VML_KERNEL(s, Ceil, H8HAynn, unary, Everywhere<float, Ceil>)
OZK_VML_KERNEL(d, Ceil, H8HAynn, unary, Everywhere<double, Ceil>)
OZK_VML_KERNEL(s, Floor, H8HAynn, unary, Everywhere<float, Floor>)
OZK_VML_KERNEL(d, Floor, H8HAynn, unary, Everywhere<double, Floor>)
OZK_VML_KERNEL(s, Trunc, H8HAynn, unary, Everywhere<float, Trunc>)
OZK_VML_KERNEL(d, Trunc, H8HAynn, unary, Everywhere<double, Trunc>)
OZK_VML_KERNEL(s, Round, H8HAynn, unary, Round<float>)
OZK_VML_KERNEL(d, Round, H8HAynn, unary, Round<double>)
OZK_VML_KERNEL(s, Rint, H8HAynn, unary, Everywhere<float, Rint>)
OZK_VML_KERNEL(d, Rint, H8HAynn, unary, Everywhere<double, Rint>)
OZK_VML_KERNEL(s, NearbyInt, H8HAynn, unary, Everywhere<float, NearbyInt>)
OZK_VML_KERNEL(d, NearbyInt, H8HAynn, unary, Everywhere<double, NearbyInt>)
OZK_VML_KERNEL(s, Modf, H8HAynn, two_results, Modf<float>)
OZK_VML_KERNEL(d, Modf, H8HAynn, two_results, Modf<double>)
OZK_VML_KERNEL(s, Frac, H8HAynn, unary, Everywhere<float, Frac>)
OZK_VML_KERNEL(d, Frac, H8HAynn, unary, Everywhere<double, Frac>)
