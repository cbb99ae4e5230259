// atan(x), atan2(y, x), asin(x) and acos(x): the angles of points in the first quadrant, put where they belong.
//
// Method: of a point (x, y), the coordinates exchanged where y > x, j = round(128 y / x) selects the angle of the
// table; turned back by it, the point has the slope r = (y - x j/128) / (x + y j/128), |r| <= 2^-8, a polynomial gives
// its angle. r is wrong by 2^-120 of it or, where j is not 0, of the result; the terms beyond r by a rounding of r^3/3,
// 2^-81 of r. asin and acos are the angles of (sqrt((1 - x)(1 + x)), x), as pairs.

#include <algorithm>
#include <utility>

#include "vml/extended/format.hpp"
#include "vml/extended/pair.hpp"

namespace ozk::vml::extended {
namespace {

constexpr long double kLinear = 0x1p-40L;  // odd functions x (1 + x^2/c ...), |c| >= 3

long double rounded(Pair value) { return value.high + value.low; }

// The angle of (x, y), from 0 to pi/2; x, y >= 0, not both 0, below 2^100, y at least 2^-100 x or 0, or x so of y.
Pair angle(Pair y, Pair x) {
    const bool steep = y.high > x.high;
    if (steep) std::swap(x, y);
    const int j = std::min(127, static_cast<int>(128 * (y.high / x.high) + 0.5L));
    const long double slope = j * 0x1p-7L;
    const Pair r = (y - x * slope) / (x + y * slope);
    const long double z = r.high, z2 = z * z;
    const long double tail = z * z2 * (kAtan3 + z2 * (kAtan5 + z2 * (kAtan7 + z2 * kAtan9)));
    const Pair result = ozk_vml_core_atanl_table_128[j] + fast_two_sum(z, r.low + tail);
    return steep ? kHalfPi - result : result;
}

// sqrt(1 - x^2), 0 <= x <= 1.
Pair cathetus(long double x) { return square_root(two_sum(1, -x) * two_sum(1, x)); }

}  // namespace
}  // namespace ozk::vml::extended

using namespace ozk::vml::extended;

long double ozk_vml_kernel_atanl_scalar(long double x) {
    constexpr long double kVertical = 0x1p70L;
    const long double magnitude = x < 0 ? -x : x;
    if (x != x) return x + x;
    if (magnitude < kLinear) return x;
    if (magnitude > kVertical) return with_sign_of(x, rounded(kHalfPi - 0x1p-70L));
    return with_sign_of(x, rounded(angle({magnitude, 0}, {1, 0})));
}

long double ozk_vml_kernel_atan2l_scalar(long double y, long double x) {
    constexpr int kFar = 70;  // beyond that the angle is as good as 0, or that of an axis
    if (x != x || y != y) return x + y;
    const bool left = is_negative(x);
    if (y == 0) return left ? with_sign_of(y, rounded(kPi)) : y;
    const bool x_finite = is_finite(x), y_finite = is_finite(y);
    if (x == 0 || (x_finite && !y_finite)) return with_sign_of(y, rounded(kHalfPi));
    if (!x_finite && y_finite) return with_sign_of(y, left ? rounded(kPi) : 0);
    if (!x_finite) return with_sign_of(y, left ? rounded(kHalfPi * 1.5L) : rounded(kHalfPi * 0.5L));

    const Normalized to_y = normalized(y < 0 ? -y : y), to_x = normalized(left ? -x : x);
    const int steepness = to_y.exponent - to_x.exponent;
    if (!left && steepness < -kFar) return y / x;
    const long double lift = power_of_two(std::clamp(steepness, -kFar - 1, kFar + 1));
    const Pair acute = angle({to_y.significand * lift, 0}, {to_x.significand, 0});
    return with_sign_of(y, rounded(left ? kPi - acute : acute));
}

long double ozk_vml_kernel_asinl_scalar(long double x) {
    const long double magnitude = x < 0 ? -x : x;
    if (magnitude > 1) return (x - x) / (x - x);
    if (x != x) return x + x;
    if (magnitude < kLinear) return x;
    return with_sign_of(x, rounded(angle({magnitude, 0}, cathetus(magnitude))));
}

long double ozk_vml_kernel_acosl_scalar(long double x) {
    const long double magnitude = x < 0 ? -x : x;
    if (magnitude > 1) return (x - x) / (x - x);
    if (x != x) return x + x;
    if (magnitude < 0x1p-100L) return rounded(kHalfPi);
    const Pair acute = angle(cathetus(magnitude), {magnitude, 0});
    return rounded(x < 0 ? kPi - acute : acute);
}
