// exp(x) and tanh(x).
//
// Method: x = (256 k + j) ln2/256 + r with r as a pair, |r| <= ln2/512, exp(x) = 2^k T[j] exp(r), T from the core
// table and a polynomial for exp(r) - 1. r is wrong by 2^-130, the polynomial by 2^-80 of r, and its terms beyond
// r by a rounding of r^2/2, 2^-84: exp as a pair is wrong by 2^-81, which is rounded once.
// tanh(x) = e / (e + 2), e = exp(2x) - 1; where j is not 0 the difference is at least 2^-9.6, so that it keeps 71
// bits or more, and where it is 0 nothing cancels.

#include "vml/extended/format.hpp"
#include "vml/extended/pair.hpp"

namespace ozk::vml::extended {
namespace {

// exp(x) = 2^exponent (significand.high + significand.low), significand between 0.99 and 2.
struct Exponential {
    Pair significand;
    int exponent;
};

// |x| < 2^14.
Exponential exponential(long double x) {
    constexpr long double kShifter = 0x1.8p63L;  // x + kShifter is rounded to an integer
    const long double n = (x * kExpInvStep + kShifter) - kShifter;
    // n is below 2^23 and the steps have 40 bits: both products and the first difference are exact.
    const Pair r = two_sum(x - n * kExpStep1, -(n * kExpStep2));
    const long double z = r.high;
    const long double tail = z * z * (0.5L + z * (kExp3 + z * (kExp4 + z * (kExp5 + z * kExp6))));
    const Pair exp_minus_1 = fast_two_sum(z, tail + (r.low - n * kExpStep3));
    const int64_t index = static_cast<int64_t>(n);
    const Pair power = ozk_vml_core_expl_table_256[index & 255];
    return {power + power * exp_minus_1, static_cast<int>(index >> 8)};
}

// 2^exponent (high + low), rounded once, subnormal results too; 0.5 < high < 2, -16448 < exponent < 16386.
long double scaled(Pair value, int exponent) {
    const long double sum = value.high + value.low;
    if (exponent > 0) return sum * power_of_two(exponent / 2) * power_of_two(exponent - exponent / 2);
    // The smallest normal result. Its sum with a smaller number is a multiple of what becomes the last place.
    const long double smallest = exponent > -1000 ? 0 : power_of_two(kMinExponent - exponent);
    if (sum >= smallest) return sum * power_of_two(exponent);
    const long double shifted = smallest + value.high;
    const long double rest = (value.high - (shifted - smallest)) + value.low;
    constexpr int kLift = 128;  // keeps the first product normal: both are exact
    return ((shifted + rest) - smallest) * power_of_two(exponent + kLift) * power_of_two(-kLift);
}

}  // namespace
}  // namespace ozk::vml::extended

using namespace ozk::vml::extended;

long double ozk_vml_kernel_expl_scalar(long double x) {
    constexpr long double kOverflow = 11357,
                          kUnderflow = -11400;  // ln of 2^16384 is 11356.5, of 2^-16446 -11399.5
    if (x != x) return x + x;
    if (x > kOverflow) return power_of_two(16383) * 2 * x;
    if (x < kUnderflow) return 0;
    const Exponential e = exponential(x);
    return scaled(e.significand, e.exponent);
}

long double ozk_vml_kernel_tanhl_scalar(long double x) {
    constexpr long double kLinear = 0x1p-40L;  // tanh(x) = x (1 - x^2/3 ...)
    constexpr long double kOne = 24;           // 1 - tanh is below 2^-68
    if (x != x) return x + x;
    const long double magnitude = x < 0 ? -x : x;
    if (magnitude < kLinear) return x;
    if (magnitude > kOne) return with_sign_of(x, 1);
    const Exponential e = exponential(2 * magnitude);
    const Pair expm1 = e.significand * power_of_two(e.exponent) - 1;
    const Pair result = expm1 / (expm1 + 2);
    return with_sign_of(x, result.high + result.low);
}
