// sqrt(x): the square root instruction, correctly rounded, at every level.
//
// Special lanes: those with the sign bit set, -0 among them; everything else, +infinity and NaN included, is
// what the instruction makes of it.

#include "vml/kernels/real.hpp"

namespace ozk::vml {
namespace {

template <class T>
struct Sqrt : RealOperation<T> {
    using typename RealOperation<T>::Vector;
    static constexpr T kOrdinary = 1;

    // The sign bit of each special lane.
    OZK_SIMD static Vector special(Vector x) { return x; }
    OZK_SIMD static Vector compute(Vector x) { return sqrt(x); }

    static int scalar(T x, T& result) {
        if (std::isless(x, T(0))) {
            result = Sqrt::kNaN;
            return kVmlDomain;
        }
        result = x + x;  // -0, or NaN made quiet
        return kVmlOk;
    }
};

}  // namespace
}  // namespace ozk::vml

OZK_VML_KERNEL(s, Sqrt, H8LAynn, unary, ozk::vml::Sqrt<float>)
OZK_VML_KERNEL(s, Sqrt, H8HAynn, unary, ozk::vml::Sqrt<float>)
OZK_VML_KERNEL(s, Sqrt, H8EPnnn, unary, ozk::vml::Sqrt<float>)
OZK_VML_KERNEL(d, Sqrt, H8LAynn, unary, ozk::vml::Sqrt<double>)
OZK_VML_KERNEL(d, Sqrt, H8HAynn, unary, ozk::vml::Sqrt<double>)
OZK_VML_KERNEL(d, Sqrt, H8EPnnn, unary, ozk::vml::Sqrt<double>)
