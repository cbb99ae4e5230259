// Cubic spline through given slopes at the inner knots.

#include "df/local_cubic.hpp"

namespace ozk::df {
namespace {

template <class T>
struct Hermite {
    const T* inner;
    T slope(const KnotView<T>& k) const { return inner[k.index - 1]; }
};

template <class T>
int hermite_cubic(const DfTask* task, const OzkThreading* threading) {
    if (int status = check_local_cubic<T>(task, 3, false)) return status;
    if (int status = check_internal(*task, kDfInternalFirst)) return status;
    return construct_local_cubics<T>(*task, threading,
                                     [task](int64_t f) { return Hermite<T>{internal_of<T>(*task, f)}; });
}

}  // namespace
}  // namespace ozk::df

OZK_DF_CONSTRUCTION(HermiteCubic, hermite_cubic)
