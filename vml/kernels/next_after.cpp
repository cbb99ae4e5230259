// nextafter(x, y): the neighbour of x on the way to y; y itself where they are equal.
//
// The bits of a number, taken as an integer, grow with its magnitude: one more leads away from zero, one less
// towards it. Special lanes: NaN, zeros, and results that are subnormal or beyond the largest number.

#include "vml/kernels/real.hpp"

namespace ozk::vml {
namespace {

template <class T>
struct NextAfter : RealOperation<T, 2> {
    using Base = RealOperation<T, 2>;
    using typename Base::Bits;
    using typename Base::Vector;
    static constexpr T kOrdinary = 1;
    static constexpr Bits kLeastNormal = Bits{1} << Format<T>::kMantissaBits;
    static constexpr Bits kMagnitude = std::numeric_limits<Bits>::max();

    // Magnitudes from the least normal number up to the largest but one, so that the neighbours are normal; any y
    // but NaN.
    OZK_SIMD static Vector special(Vector x, Vector y) {
        const auto magnitude = bits(abs(x));
        const auto out = (bits(Base::splat_bits(kLeastNormal + 1)) > magnitude) |
                         (magnitude > bits(Base::splat_bits(Format<T>::kInfinity - 2)));
        return Format<T>::as_vector(out) | unordered(y, y);
    }
    OZK_SIMD static Vector compute(Vector x, Vector y) {
        // All ones (-1) where the step is towards zero, else +1.
        const Vector up = x < y, negative = x < Base::splat(0);
        const auto step = bits(up ^ negative ^ Base::splat_bits(-1)) | bits(Base::splat_bits(1));
        return select(x == y, y, Format<T>::as_vector(bits(x) + step));
    }
    static int scalar(T x, T y, T& result) {
        if (std::isnan(x) || std::isnan(y)) {
            result = propagated(x, y);
            return kVmlOk;
        }
        // As numbers, so that the mode's flushing of denormals is seen.
        if (x == y) {
            result = canonical(y);
            return kVmlOk;
        }
        const T from = canonical(x);
        const Bits bits = std::bit_cast<Bits>(from);
        const bool up = from < y;
        if (from == 0) {
            result = std::copysign(std::numeric_limits<T>::denorm_min(), up ? T(1) : T(-1));
        } else {
            result = std::bit_cast<T>(bits + (up == (from > 0) ? 1 : -1));
        }
        const Bits magnitude = std::bit_cast<Bits>(result) & kMagnitude;
        if (magnitude == Format<T>::kInfinity) return kVmlOverflow;
        if (magnitude >= kLeastNormal) return kVmlOk;
        result = canonical(result);
        return kVmlUnderflow;
    }
};

}  // namespace
}  // namespace ozk::vml

using namespace ozk::vml;

OZK_VML_KERNEL(s, NextAfter, EXHAynn, binary, NextAfter<float>)
OZK_VML_KERNEL(d, NextAfter, EXHAynn, binary, NextAfter<double>)
