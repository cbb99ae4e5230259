// Monotone cubic spline: Bessel slopes, limited so that the spline rises and falls with the data.
// Hyman, "Accurate Monotonicity Preserving Cubic Interpolation", SIAM J. Sci. Stat. Comput. 4 (1983);
// Dougherty, Edelman and Hyman, Math. Comp. 52 (1989).

#include <algorithm>
#include <cmath>

#include "df/bessel_cubic.hpp"

namespace ozk::df {
namespace {

// A cell is monotone when both slopes have the sign of its secant and at most three times its size.
template <class T>
struct Hyman {
    T slope(const KnotView<T>& k) const {
        const T before = k.secant[1], after = k.secant[2];
        if (!((before > 0 && after > 0) || (before < 0 && after < 0))) return 0;
        const T limit = T(3) * std::min(std::fabs(before), std::fabs(after));
        return std::copysign(std::min(std::fabs(bessel_slope(k)), limit), after);
    }
};

template <class T>
int hyman_cubic(const DfTask* task, const OzkThreading* threading) {
    if (int status = check_local_cubic<T>(task, 4, false)) return status;
    return construct_local_cubics<T>(*task, threading, [](int64_t) { return Hyman<T>(); });
}

}  // namespace
}  // namespace ozk::df

OZK_DF_CONSTRUCTION(HymanCubic, hyman_cubic)
