// Logarithms of extended precision before they are rounded: for the functions that are logarithms of something.
#pragma once

#include "vml/extended/pair.hpp"

namespace ozk::vml::extended {

// ln(2^exponent (m + low)), 1 <= m < 2, |low| at most an ulp of m. The error is below 2^-72 of the result.
Pair ln(long double m, long double low, int exponent);

// ln(1 + t), -1 < t < 2^1000, |t| at least 2^-70. The error is below 2^-70 of the result where |t| >= 2^-58.
Pair ln_1_plus(Pair t);

}  // namespace ozk::vml::extended
