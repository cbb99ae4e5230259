// sqrt(x), double precision: the square root instruction, correctly rounded, at every level.
//
// Special lanes: those with the sign bit set, -0 among them; everything else, +infinity and NaN included, is
// what the instruction makes of it.

#include <cmath>
#include <limits>

#include "vml/frame.hpp"

namespace ozk::vml {
namespace {

struct Sqrt {
    using Argument = double;
    using Result = double;
    using Vector = simd::f64x2;
    static constexpr double kOrdinary = 1.0;

    // The sign bit of each special lane.
    OZK_SIMD static Vector special(Vector x) { return x; }
    OZK_SIMD static Vector compute(Vector x) { return sqrt(x); }

    static int scalar(double x, double& result) {
        if (std::isless(x, 0.0)) {
            result = std::numeric_limits<double>::quiet_NaN();
            return kVmlDomain;
        }
        result = x + x;  // -0, or NaN made quiet
        return kVmlOk;
    }
};

}  // namespace
}  // namespace ozk::vml

OZK_VML_KERNEL(d, Sqrt, H8LAynn, unary, ozk::vml::Sqrt)
OZK_VML_KERNEL(d, Sqrt, H8HAynn, unary, ozk::vml::Sqrt)
OZK_VML_KERNEL(d, Sqrt, H8EPnnn, unary, ozk::vml::Sqrt)
