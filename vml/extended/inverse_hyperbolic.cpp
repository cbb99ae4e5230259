// asinh(x), acosh(x) and atanh(x).
//
// Method: each is ln(1 + t), or half of it, with t a pair computed without cancellation:
//   asinh(x): t = x + x^2 / (1 + sqrt(1 + x^2));   acosh(x): t = (x - 1) + sqrt((x - 1)(x + 1));
//   atanh(x): t = 2x / (1 - x).
// From 2^40 on asinh and acosh are ln(2x) but for 1 / 4x^2, below 2^-86 of it.

#include "vml/extended/format.hpp"
#include "vml/extended/logl.hpp"
#include "vml/extended/pair.hpp"

namespace ozk::vml::extended {
namespace {

constexpr long double kLinear = 0x1p-40L;  // odd functions x (1 + x^2/c ...), |c| >= 3
constexpr long double kLarge = 0x1p40L;

long double rounded(Pair value) { return value.high + value.low; }

long double ln_of_twice(long double x) {
    const Normalized argument = normalized(x);
    return rounded(ln(argument.significand, 0, argument.exponent + 1));
}

}  // namespace
}  // namespace ozk::vml::extended

using namespace ozk::vml::extended;

long double ozk_vml_kernel_asinhl_scalar(long double x) {
    const long double magnitude = x < 0 ? -x : x;
    if (!is_finite(x)) return x + x;
    if (magnitude < kLinear) return x;
    if (magnitude >= kLarge) return with_sign_of(x, ln_of_twice(magnitude));
    const Pair square = two_product(magnitude, magnitude);
    const Pair t = square / (square_root(square + 1) + 1) + magnitude;
    return with_sign_of(x, rounded(ln_1_plus(t)));
}

long double ozk_vml_kernel_acoshl_scalar(long double x) {
    if (x < 1) return (x - x) / (x - x);
    if (!is_finite(x)) return x + x;
    if (x == 1) return 0;
    if (x >= kLarge) return ln_of_twice(x);
    const Pair minus_1 = two_sum(x, -1);
    return rounded(ln_1_plus(minus_1 + square_root(minus_1 * two_sum(x, 1))));
}

long double ozk_vml_kernel_atanhl_scalar(long double x) {
    const long double magnitude = x < 0 ? -x : x;
    if (magnitude >= 1) return magnitude == 1 ? x / (1 - magnitude) : (x - x) / (x - x);
    if (x != x) return x + x;
    if (magnitude < kLinear) return x;
    const Pair t = Pair{2 * magnitude, 0} / two_sum(1, -magnitude);
    return with_sign_of(x, rounded(ln_1_plus(t)) / 2);
}
