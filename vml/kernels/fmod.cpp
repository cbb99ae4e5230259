// Fmod and Remainder: x - n y, exact, n being x/y truncated or rounded to the nearest integer, ties to even.
//
// Block path, quotients below 2^26 (single: 2^28): n is the rounded quotient of the doubles |x| and |y|, wrong by
// one at most next to a tie. n y is exact in two parts, y's leading 26 bits and the rest (single: in one), and so
// is each subtraction: the first by Sterbenz's lemma, as n >= 1 means |x|/2 <= n y_high <= 2 |x|; the second
// because the result is a multiple of the smaller operand's last place and at most as large as y. The remainder,
// between about -y/2 and y/2, gets y added where it is negative, or is brought to the right side of a tie.
//
// Scalar path, any quotient: the significand of x is shifted left and reduced modulo that of y, 64 bits a step,
// each a division of two words by one by the reciprocal of y. Moeller and Granlund, "Improved division by
// invariant integers", IEEE Trans. Comput. 60 (2011), algorithm 4 without the quotient.
//
// An infinite x or a zero y is a domain error.

#include "vml/kernels/real.hpp"

namespace ozk::vml {
namespace {

using simd::broadcast;
using simd::f32x4;
using simd::f64x2;
using simd::i32x4;

// |x| mod |y|, or what n rounded to nearest leaves of |x|; y is positive and x / y below the bound above.
template <bool kNearest, bool kSplit>
OZK_SIMD f64x2 reduced(f64x2 x, f64x2 y) {
    // A quotient that could underflow is taken as 2^-60.
    const f64x2 n = round_to_even(max(x, y * broadcast(0x1p-60)) / y);
    f64x2 r;
    if constexpr (kSplit) {
        const f64x2 high = y & as_f64(broadcast(int64_t{-1} << 27));
        r = (x - n * high) - n * (y - high);
    } else {
        r = x - n * y;
    }
    if constexpr (kNearest) {
        // Next to a tie n may be the other neighbour of the quotient; a tie itself is exact, and n then even.
        const f64x2 beyond = y < abs(r) + abs(r);
        return r - ((y | sign_bit(r)) & beyond);
    } else {
        return r + (y & (r < broadcast(0.0)));
    }
}

// Two words modulo one, by its reciprocal; the divisor's top bit is set.
class Modulus {
  public:
    explicit Modulus(uint64_t divisor)
        : divisor_(divisor),
          reciprocal_(
              static_cast<uint64_t>(((static_cast<Words>(~divisor) << 64) | ~uint64_t{0}) / divisor)) {}

    // (high 2^64 + low) mod divisor, high < divisor.
    uint64_t of(uint64_t high, uint64_t low) const {
        const Words quotient =
            static_cast<Words>(reciprocal_) * high + ((static_cast<Words>(high) << 64) | low);
        uint64_t r = low - (static_cast<uint64_t>(quotient >> 64) + 1) * divisor_;
        if (r > static_cast<uint64_t>(quotient)) r += divisor_;
        return r >= divisor_ ? r - divisor_ : r;
    }

  private:
    __extension__ using Words = unsigned __int128;
    uint64_t divisor_, reciprocal_;
};

struct Number {
    uint64_t significand;  // its top bit is set
    int exponent;          // of its bit 0
};
Number number(double positive) {
    constexpr int kLeastExponent = -1074;
    const uint64_t bits = std::bit_cast<uint64_t>(positive);
    const int field = static_cast<int>(bits >> 52);
    const uint64_t fraction = bits & ((uint64_t{1} << 52) - 1);
    const uint64_t significand = field == 0 ? fraction : fraction | uint64_t{1} << 52;
    const int zeros = std::countl_zero(significand);
    return {significand << zeros, kLeastExponent + std::max(field - 1, 0) - zeros};
}

// x mod y, or what the nearest integer quotient leaves, for 0 < y <= x. Both significands are multiples of 2^11 and
// so is the remainder's, which makes it a double. Compared as integers, so that no flushing of denormals interferes.
template <bool kNearest>
double divide(double x, double y) {
    const Number a = number(x), b = number(y);
    const int shift = a.exponent - b.exponent;
    uint64_t r = a.significand;
    bool quotient_is_odd = true;
    if (shift == 0) {
        r -= b.significand;
    } else {
        // Modulo 2 y, in units of twice y's last bit; then y's own part tells the quotient's last bit.
        if (r >= b.significand) r -= b.significand;
        const Modulus modulus(b.significand);
        int left = shift - 1;
        if (const int first = left % 64; first != 0) {
            r = modulus.of(r >> (64 - first), r << first);
            left -= first;
        }
        for (; left != 0; left -= 64) r = modulus.of(r, 0);
        quotient_is_odd = r >= b.significand - r;
        r += quotient_is_odd ? r - b.significand : r;
    }
    const uint64_t other = b.significand - r;
    if (kNearest && (r > other || (r == other && quotient_is_odd))) {
        return -std::ldexp(static_cast<double>(other), b.exponent);
    }
    return std::ldexp(static_cast<double>(r), b.exponent);
}

template <bool kNearest, class T>
[[gnu::cold]] int remainder_scalar(T x, T y, T& result) {
    x = canonical(x);
    y = canonical(y);
    if (std::isnan(x) || std::isnan(y)) {
        result = propagated(x, y);
        return kVmlOk;
    }
    if (std::isinf(x) || y == 0) {
        result = std::numeric_limits<T>::quiet_NaN();
        return kVmlDomain;
    }
    const double divisor = std::abs(static_cast<double>(y));
    double r = std::abs(static_cast<double>(x));
    if (std::isfinite(y) && r >= divisor) {
        r = divide<kNearest>(r, divisor);
    } else if (kNearest && r > divisor - r) {
        r = r - divisor;
    }
    result = static_cast<T>(std::signbit(x) ? -r : r);
    return kVmlOk;
}

template <class T, bool kNearest>
struct Remainder;

template <bool kNearest>
struct Remainder<double, kNearest> : RealOperation<double, 2> {
    static constexpr double kOrdinary = 1;
    // Quotients from about 2^25, divisors below 2^-900 or from 2^992, by the high words.
    OZK_SIMD static Vector special(Vector x, Vector y) {
        constexpr int32_t kQuotient = 25 << 20;
        const i32x4 high_x = as_i32(bits(abs(x))), high_y = as_i32(bits(abs(y)));
        return simd::mask_of_high_words((high_x > high_y + broadcast(kQuotient)) |
                                        outside<0x07B00000, 0x7DF00000>(high_y));
    }
    OZK_SIMD static Vector compute(Vector x, Vector y) {
        return reduced<kNearest, true>(abs(x), abs(y)) ^ sign_bit(x);
    }
    static int scalar(double x, double y, double& result) { return remainder_scalar<kNearest>(x, y, result); }
};

template <bool kNearest>
struct Remainder<float, kNearest> : RealOperation<float, 2> {
    static constexpr float kOrdinary = 1;
    // Quotients from about 2^27, subnormal divisors and those from 2^98.
    OZK_SIMD static Vector special(Vector x, Vector y) {
        constexpr int32_t kQuotient = 27 << 23;
        const i32x4 bits_x = bits(abs(x)), bits_y = bits(abs(y));
        return as_f32((bits_x > bits_y + broadcast(kQuotient)) | outside<0x00800000, 0x70800000>(bits_y));
    }
    OZK_SIMD static Vector compute(Vector x, Vector y) {
        const Vector positive_x = abs(x), positive_y = abs(y);
        return to_f32(reduced<kNearest, false>(low_to_f64(positive_x), low_to_f64(positive_y)),
                      reduced<kNearest, false>(high_to_f64(positive_x), high_to_f64(positive_y))) ^
               sign_bit(x);
    }
    static int scalar(float x, float y, float& result) { return remainder_scalar<kNearest>(x, y, result); }
};

}  // namespace
}  // namespace ozk::vml

using namespace ozk::vml;

OZK_VML_KERNEL(s, Fmod, EXHAynn, binary, Remainder<float, false>)
OZK_VML_KERNEL(d, Fmod, EXHAynn, binary, Remainder<double, false>)
OZK_VML_KERNEL(s, Remainder, EXHAynn, binary, Remainder<float, true>)
OZK_VML_KERNEL(d, Remainder, EXHAynn, binary, Remainder<double, true>)
