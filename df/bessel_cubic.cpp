// Cubic spline with Bessel slopes.

#include "df/bessel_cubic.hpp"

namespace ozk::df {
namespace {

template <class T>
struct Bessel {
    T slope(const KnotView<T>& k) const { return bessel_slope(k); }
};

template <class T>
int bessel_cubic(const DfTask* task, const OzkThreading* threading) {
    if (int status = check_local_cubic<T>(task, 4, false)) return status;
    return construct_local_cubics<T>(*task, threading, [](int64_t) { return Bessel<T>(); });
}

}  // namespace
}  // namespace ozk::df

OZK_DF_CONSTRUCTION(BesselCubic, bessel_cubic)
