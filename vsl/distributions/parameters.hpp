// The checks of methods and parameters, made before anything is drawn or written.
#pragma once

#include <cmath>

#include "ozk_vsl.h"

namespace ozk::vsl {

// The method without the accurate flag, as a row of a table.
inline uint32_t method_index(int32_t method) {
    return static_cast<uint32_t>(method) & ~uint32_t{kOzkVslMethodAccurate};
}

template <class Real>
bool is_positive(Real x) {
    return x > 0 && std::isfinite(x);
}

// A displacement a and a scale beta.
template <class Real>
bool is_location_scale(Real a, Real beta) {
    return std::isfinite(a) && is_positive(beta);
}

}  // namespace ozk::vsl
