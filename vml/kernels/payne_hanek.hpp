// Reduction of large arguments to the nearest multiple of pi/64, one element at a time.
#pragma once

#include <cstdint>

namespace ozk::vml {

// x = 2 pi turns + n pi/64 + r + low with whole turns, 0 <= n < 128, |r + low| <= pi/128 and low below an ulp
// of r.
struct TurnRemainder {
    int64_t n;
    double r, low;
};

// For finite x >= 1. The remainder's error is below 2^-70 of it.
TurnRemainder payne_hanek(double x);

}  // namespace ozk::vml
