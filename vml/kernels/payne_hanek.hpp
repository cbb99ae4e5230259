// Reduction of large arguments to the nearest multiple of a fraction of a turn, one element at a time.
#pragma once

#include <cstdint>

namespace ozk::vml {

// x = 2 pi turns + n steps + r + low with whole turns, |r + low| at most half a step and low below an ulp of r.
template <class T>
struct TurnRemainder {
    int64_t n;
    T r, low;
};

// Finite x >= 1/2, steps of pi/64, 0 <= n < 128. The remainder's error is below 2^-70 of it.
TurnRemainder<double> payne_hanek(double x);

// Finite x >= 1/2, steps of pi/2, 0 <= n < 4. The remainder's error is below 2^-100 of it.
TurnRemainder<double> payne_hanek_quarters(double x);

// Finite x >= 1/4, steps of pi/4, 0 <= n < 8. The remainder's error is below 2^-100 of it.
TurnRemainder<long double> payne_hanek_eighths(long double x);

}  // namespace ozk::vml
