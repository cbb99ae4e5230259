// Bessel slopes: that of the parabola through a knot and its neighbours.
#pragma once

#include "df/local_cubic.hpp"

namespace ozk::df {

template <class T>
T bessel_slope(const KnotView<T>& k) {
    return (k.step_after * k.secant[1] + k.step_before * k.secant[2]) / (k.step_before + k.step_after);
}

}  // namespace ozk::df
