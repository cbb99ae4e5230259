// Add, Sub, Mul, Div, Sqr, Inv, Abs: the processor's operation, correctly rounded; the estimate instruction in
// the lower levels of single Div and Inv.
//
// Results that are infinite or NaN go to the scalar path, which reports what no argument explains: a pole where
// the divisor is zero, overflow, and NaN out of numbers and infinities as a domain error. Of two
// NaNs the first one goes on, there and, since the operands keep their order, in the processor's operation.

#include <concepts>

#include "vml/kernels/real.hpp"

namespace ozk::vml {
namespace {

struct Sum {
    static auto of(std::floating_point auto x, std::floating_point auto y) { return x + y; }
    OZK_SIMD static auto of(auto x, auto y) { return add_in_order(x, y); }
};
struct Difference {
    OZK_SIMD static auto of(auto x, auto y) { return x - y; }
};
struct Product {
    static auto of(std::floating_point auto x, std::floating_point auto y) { return x * y; }
    OZK_SIMD static auto of(auto x, auto y) { return multiply_in_order(x, y); }
};
struct Quotient {
    OZK_SIMD static auto of(auto x, auto y) { return x / y; }
};
struct Square {
    using Operator = Product;
    OZK_SIMD static auto operands(auto x, auto) { return std::array{x, x}; }
};
struct Inverse {
    using Operator = Quotient;
    OZK_SIMD static auto operands(auto x, auto one) { return std::array{one, x}; }
};

template <class T, class Operator>
int exact_scalar(T x, T y, T& result) {
    result = Operator::of(x, y);
    if (std::isnan(x) || std::isnan(y)) {
        result = propagated(x, y);
        return kVmlOk;
    }
    if (std::isnan(result)) return kVmlDomain;
    if (std::isfinite(result) || std::isinf(x) || std::isinf(y)) return kVmlOk;
    return std::is_same_v<Operator, Quotient> && y == 0 ? kVmlSingularity : kVmlOverflow;
}

// All that is reported raises one of these flags.
constexpr uint32_t kReportedFlags = kInvalid | kDivideByZero | kOverflow;

template <class T, class Operator>
struct Binary : Everywhere<T, Operator, 2> {
    using Watched = Everywhere<T, Operator, 2>;
    static constexpr uint32_t kWatchedFlags = kReportedFlags;
    static constexpr bool kChecksResult = true;
    static int scalar(T x, T y, T& result) { return exact_scalar<T, Operator>(x, y, result); }
};

// The operator on x with itself or with 1.
template <class T, class Operands>
struct Unary : RealOperation<T> {
    using typename RealOperation<T>::Vector;
    using Operator = typename Operands::Operator;
    struct Watched : RealOperation<T> {
        OZK_SIMD static Vector compute(Vector x) { return Unary::compute(x); }
    };
    static constexpr uint32_t kWatchedFlags = kReportedFlags;
    static constexpr bool kChecksResult = true;
    OZK_SIMD static Vector compute(Vector x) {
        const auto [left, right] = Operands::operands(x, Unary::splat(1));
        return Operator::of(left, right);
    }
    static int scalar(T x, T& result) {
        const auto [left, right] = Operands::operands(x, T(1));
        return exact_scalar<T, Operator>(left, right, result);
    }
};

// The sign bit, of NaN too, and nothing else: IEEE 754 clause 5.5.1.
struct Magnitude {
    OZK_SIMD static auto of(auto x) { return abs(x); }
};

// Special: subnormal divisors and those from 2^125 on, whose estimates may be infinite or flushed to zero.
struct EstimatedInverse : RealOperation<float> {
    static constexpr float kOrdinary = 1.0F;
    OZK_SIMD static Vector special(Vector x) { return as_f32(outside<0x00800000, 0x7E000000>(bits(abs(x)))); }
    static int scalar(float x, float& result) { return Unary<float, Inverse>::scalar(x, result); }
};
// One step of Newton's method: 2^-22.8 from the estimate's 1.5 2^-12, whatever its bits, 2^-24 from x y rounded,
// half an ulp from the sum: below 3.8 ulp.
struct InvLow : EstimatedInverse {
    // The step is invalid with the estimates of zero and infinity.
    struct Watched : RealOperation<float> {
        OZK_SIMD static Vector compute(Vector x) {
            raise_flags_of_product(x, splat(8));  // overflow from 2^125 on
            return InvLow::compute(x);
        }
    };
    static constexpr uint32_t kWatchedFlags = kInvalid | kDenormal | kOverflow;
    OZK_SIMD static Vector compute(Vector x) {
        const Vector y = reciprocal_estimate(x);
        return y + y * (splat(1) - x * y);
    }
};
}  // namespace
}  // namespace ozk::vml

using namespace ozk::vml;

OZK_VML_KERNEL(s, Add, H8HAynn, binary, Binary<float, Sum>)
OZK_VML_KERNEL(d, Add, H8HAynn, binary, Binary<double, Sum>)
OZK_VML_KERNEL(s, Sub, H8HAynn, binary, Binary<float, Difference>)
OZK_VML_KERNEL(d, Sub, H8HAynn, binary, Binary<double, Difference>)
OZK_VML_KERNEL(s, Mul, H8HAynn, binary, Binary<float, Product>)
OZK_VML_KERNEL(d, Mul, H8HAynn, binary, Binary<double, Product>)
OZK_VML_KERNEL(s, Div, H8LAynn, binary, Binary<float, Quotient>)
OZK_VML_KERNEL(s, Div, H8HAynn, binary, Binary<float, Quotient>)
OZK_VML_KERNEL(s, Div, H8EPnnn, binary, Binary<float, Quotient>)
OZK_VML_KERNEL(d, Div, H8HAynn, binary, Binary<double, Quotient>)
OZK_VML_KERNEL(s, Sqr, H8HAynn, unary, Unary<float, Square>)
OZK_VML_KERNEL(d, Sqr, H8HAynn, unary, Unary<double, Square>)
OZK_VML_KERNEL(s, Inv, H8LAynn, unary, InvLow)
OZK_VML_KERNEL(s, Inv, H8HAynn, unary, Unary<float, Inverse>)
OZK_VML_KERNEL(s, Inv, H8EPnnn, unary, InvLow)
OZK_VML_KERNEL(d, Inv, H8HAynn, unary, Unary<double, Inverse>)
OZK_VML_KERNEL(s, Abs, H8HAynn, unary, Everywhere<float, Magnitude>)
OZK_VML_KERNEL(d, Abs, H8HAynn, unary, Everywhere<double, Magnitude>)
