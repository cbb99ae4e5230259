// Fmax, Fmin, MaxMag, MinMag, Fdim, CopySign.
//
// The first four are IEEE 754-2019's maximumNumber, minimumNumber and their magnitude forms (clause 9.6): NaN is
// a missing operand, and -0 is below +0. Each is chosen twice, with ties going once to either operand; the two
// choices are the same number but for ties, where their common bits are the operand without the sign (the larger)
// and their united bits the one with it (the smaller). Ordered comparisons would raise the invalid flag for quiet
// NaN, so these lanes get a stand-in first.

#include "vml/kernels/real.hpp"

namespace ozk::vml {
namespace {

// The second operand is hidden so that it is loaded once.
struct Larger {
    OZK_SIMD static auto of(auto x, auto y) {
        y = hidden(y);
        return max(x, y) & max(y, x);
    }
};
struct Smaller {
    OZK_SIMD static auto of(auto x, auto y) {
        y = hidden(y);
        return min(x, y) | min(y, x);
    }
};
struct LargerMagnitude {
    OZK_SIMD static auto of(auto x, auto y) {
        return select(abs(x) < abs(y), y, x) & select(abs(y) < abs(x), x, y);
    }
};
struct SmallerMagnitude {
    OZK_SIMD static auto of(auto x, auto y) {
        return select(abs(y) < abs(x), y, x) | select(abs(x) < abs(y), x, y);
    }
};

template <class T, class Choice>
struct Chosen : RealOperation<T, 2> {
    using typename RealOperation<T, 2>::Vector;
    static constexpr T kOrdinary = 1;
    // Where an argument is NaN: the other one; NaN made quiet where both are.
    struct Careful : RealOperation<T, 2> {
        OZK_SIMD static Vector compute(Vector x, Vector y) {
            const Vector no_x = unordered(x, x), no_y = unordered(y, y);
            const Vector number_x = and_not(x, no_x), number_y = and_not(y, no_y);
            const Vector either = select(no_x, y, x);
            return canonical(select(no_x | no_y, either, Choice::of(number_x, number_y)));
        }
    };
    // The comparison with NaN raises the invalid flag.
    using Watched = Everywhere<T, Choice, 2>;
    static constexpr uint32_t kWatchedFlags = kInvalid;
    static constexpr bool kWatchedKeepsDenormals = true;

    OZK_SIMD static Vector special(Vector x, Vector y) { return unordered(x, y); }
    OZK_SIMD static Vector compute(Vector x, Vector y) { return canonical(Choice::of(x, y)); }
};

// x - y where that is positive, else +0: both are taken as 0 there, so that infinities raise no flag.
struct PositiveDifference {
    OZK_SIMD static auto of(auto x, auto y) {
        const auto positive = y < x;
        return (x & positive) - (y & positive);
    }
};
template <class T>
struct Fdim : Everywhere<T, PositiveDifference, 2> {
    using typename RealOperation<T, 2>::Vector;
    using Watched = Everywhere<T, PositiveDifference, 2>;
    static constexpr uint32_t kWatchedFlags = kInvalid | kOverflow;
    static constexpr T kOrdinary = 1;
    static constexpr bool kChecksResult = true;
    OZK_SIMD static Vector special(Vector x, Vector y) { return unordered(x, y); }
    static int scalar(T x, T y, T& result) {
        if (std::isnan(x) || std::isnan(y)) {
            result = propagated(x, y);
            return kVmlOk;
        }
        result = x - y;  // infinite
        return std::isinf(x) || std::isinf(y) ? kVmlOk : kVmlOverflow;
    }
};

// The sign bit, to and from NaN too, and nothing else: IEEE 754 clause 5.5.1.
struct WithSignOf {
    OZK_SIMD static auto of(auto x, auto y) { return abs(x) | sign_bit(y); }
};

}  // namespace
}  // namespace ozk::vml

using namespace ozk::vml;

OZK_VML_KERNEL(s, Fmax, H8HAynn, binary, Chosen<float, Larger>)
OZK_VML_KERNEL(d, Fmax, H8HAynn, binary, Chosen<double, Larger>)
OZK_VML_KERNEL(s, Fmin, H8HAynn, binary, Chosen<float, Smaller>)
OZK_VML_KERNEL(d, Fmin, H8HAynn, binary, Chosen<double, Smaller>)
OZK_VML_KERNEL(s, MaxMag, EXHAynn, binary, Chosen<float, LargerMagnitude>)
OZK_VML_KERNEL(d, MaxMag, EXHAynn, binary, Chosen<double, LargerMagnitude>)
OZK_VML_KERNEL(s, MinMag, EXHAynn, binary, Chosen<float, SmallerMagnitude>)
OZK_VML_KERNEL(d, MinMag, EXHAynn, binary, Chosen<double, SmallerMagnitude>)
OZK_VML_KERNEL(s, Fdim, H8HAynn, binary, Fdim<float>)
OZK_VML_KERNEL(d, Fdim, H8HAynn, binary, Fdim<double>)
OZK_VML_KERNEL(s, CopySign, EXHAynn, binary, Everywhere<float, WithSignOf, 2>)
OZK_VML_KERNEL(d, CopySign, EXHAynn, binary, Everywhere<double, WithSignOf, 2>)
