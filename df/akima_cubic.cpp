// Akima's cubic spline: each slope is a mean of two secants, weighted by how straight the data run on the far
// side. Akima, "A New Method of Interpolation and Smooth Curve Fitting Based on Local Procedures", J. ACM 17
// (1970).

#include <cmath>

#include "df/local_cubic.hpp"

namespace ozk::df {
namespace {

template <class T>
struct Akima {
    T slope(const KnotView<T>& k) const {
        const T* s = k.secant;
        const T before = std::fabs(s[3] - s[2]), after = std::fabs(s[1] - s[0]);
        const T sum = before + after;
        return sum == 0 ? T(0.5) * (s[1] + s[2]) : (before * s[1] + after * s[2]) / sum;
    }
};

template <class T>
int akima_cubic(const DfTask* task, const OzkThreading* threading) {
    // Without end conditions the extrapolated secants serve the ends too, and four knots are enough.
    const int64_t least_knots = task && task->boundary_type == kDfBoundaryNone ? 4 : 5;
    if (int status = check_local_cubic<T>(task, least_knots, true)) return status;
    return construct_local_cubics<T>(*task, threading, [](int64_t) { return Akima<T>(); });
}

}  // namespace
}  // namespace ozk::df

OZK_DF_CONSTRUCTION(AkimaCubic, akima_cubic)
