// The exported reducers: Payne and Hanek's reduction of the magnitude, with the argument's sign put back.

#include "ozk_vml_scalars.h"
#include "vml/extended/pair.hpp"
#include "vml/kernels/payne_hanek.hpp"

namespace {

// Of x = n steps + r from that of |x|; kSteps make a turn.
template <int kSteps, class T, class Pair>
int32_t with_sign(bool negative, const ozk::vml::TurnRemainder<T>& of_magnitude, Pair& remainder) {
    const T high = of_magnitude.r + of_magnitude.low;
    const T low = of_magnitude.low - (high - of_magnitude.r);
    remainder = negative ? Pair{-high, -low} : Pair{high, low};
    const int32_t n = static_cast<int32_t>(of_magnitude.n);
    return negative ? (kSteps - n) % kSteps : n;
}

}  // namespace

int32_t ozk_vml_kernel_reduce_pio2d(double x, OzkDoublePair* remainder) {
    constexpr double kQuarterPi = 0x1.921fb54442d18p-1;
    const double magnitude = x < 0 ? -x : x;
    if (magnitude <= kQuarterPi) {
        *remainder = {x, 0};
        return 0;
    }
    if (x - x != 0) {
        *remainder = {x - x, x - x};
        return 0;
    }
    return with_sign<4>(x < 0, ozk::vml::payne_hanek_quarters(magnitude), *remainder);
}

int32_t ozk_vml_kernel_reduce_pi04l(long double x, OzkExtendedPair* remainder) {
    constexpr long double kEighthPi = ozk::vml::extended::kPi.high / 8;
    const long double magnitude = x < 0 ? -x : x;
    if (magnitude <= kEighthPi) {
        *remainder = {x, 0};
        return 0;
    }
    if (x - x != 0) {
        *remainder = {x - x, x - x};
        return 0;
    }
    return with_sign<8>(x < 0, ozk::vml::payne_hanek_eighths(magnitude), *remainder);
}
