// Sums of two extended numbers, 128 bits of significand: what the functions of extended precision carry until they
// round once. Each operation's relative error is below 2^-124, as long as nothing overflows and no part of a product
// falls below the normal range. Joldes, Muller and Popescu, "Tight and rigorous error bounds for basic building
// blocks of double-word arithmetic", ACM TOMS 44 (2017); products split as by Dekker, Numerische Mathematik 18 (1971).
//
// The x87 unit must round to 64 bits and to nearest.
#pragma once

#include "ozk_vml_scalars.h"

namespace ozk::vml::extended {

using Pair = OzkExtendedPair;

// a + b without error; |a| >= |b| or a = 0.
inline Pair fast_two_sum(long double a, long double b) {
    const long double sum = a + b;
    return {sum, b - (sum - a)};
}

// a + b without error.
inline Pair two_sum(long double a, long double b) {
    const long double sum = a + b;
    const long double b_part = sum - a;
    return {sum, (a - (sum - b_part)) + (b - b_part)};
}

// a b without error.
inline Pair two_product(long double a, long double b) {
    constexpr long double kSplitter = 0x1p32L + 1;
    const long double a_shifted = a * kSplitter, b_shifted = b * kSplitter;
    const long double a_high = a_shifted - (a_shifted - a), a_low = a - a_high;
    const long double b_high = b_shifted - (b_shifted - b), b_low = b - b_high;
    const long double product = a * b;
    return {product, a_low * b_low - (((product - a_high * b_high) - a_high * b_low) - a_low * b_high)};
}

inline Pair operator-(Pair a) { return {-a.high, -a.low}; }

inline Pair operator+(Pair a, Pair b) {
    const Pair high = two_sum(a.high, b.high), low = two_sum(a.low, b.low);
    const Pair sum = fast_two_sum(high.high, high.low + low.high);
    return fast_two_sum(sum.high, low.low + sum.low);
}
inline Pair operator-(Pair a, Pair b) { return a + -b; }
inline Pair operator+(Pair a, long double b) {
    const Pair high = two_sum(a.high, b);
    return fast_two_sum(high.high, a.low + high.low);
}
inline Pair operator-(Pair a, long double b) { return a + -b; }

inline Pair operator*(Pair a, Pair b) {
    const Pair product = two_product(a.high, b.high);
    return fast_two_sum(product.high, product.low + (a.high * b.low + a.low * b.high));
}
inline Pair operator*(Pair a, long double b) {
    const Pair product = two_product(a.high, b);
    return fast_two_sum(product.high, product.low + a.low * b);
}

inline Pair operator/(Pair a, Pair b) {
    const long double quotient = a.high / b.high;
    const Pair rest = a - b * quotient;
    return fast_two_sum(quotient, rest.high / b.high);
}

// Square root by one step of Newton's method; a >= 0.
inline Pair square_root(Pair a) {
    if (a.high == 0) return {0, 0};
    const long double root = __builtin_sqrtl(a.high);  // one instruction, correctly rounded
    const Pair rest = a - two_product(root, root);
    return fast_two_sum(root, rest.high / (2 * root));
}

#include "vml/extended/coefficients.inc"

}  // namespace ozk::vml::extended
