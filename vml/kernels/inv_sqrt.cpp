// 1/sqrt(x).
//
// Method: the estimate of 1/sqrt(m), relative error 1.5 2^-12 whatever its bits, and the binomial series of
// (1 - e)^(-1/2) for e = 1 - m y^2. In double precision:
//   y + y (e/2 + 3 e^2 / 8) is right to 5 e^3 / 16 = 2^-33. Single HA rounds that: 0.502 ulp; m is x.
//   Double HA takes its leading 26 bits, whose residual 1 - m y^2 comes without error that counts, as m and y^2
//   are split so that the leading products are exact, and does the same again: 0.501 ulp. m is x times an even power of
//   two in [1/2, 2).
// Single EP: one step of Newton's method, 2^-21.
//
// Special lanes: everything but positive normal numbers.

#include "vml/kernels/by_singles.hpp"
#include "vml/kernels/real.hpp"

namespace ozk::vml {
namespace {

using simd::broadcast;
using simd::f32x4;
using simd::f64x2;
using simd::f64x4;

// y (1 - e)^(-1/2)
template <class V>
OZK_SIMD V corrected(const V& y, const V& e) {
    return y + y * (e * (broadcast(0.5) + e * broadcast(0.375)));
}

template <class T>
int inv_sqrt_scalar(T x, T& result);

struct InvSqrtSingle : RealOperation<float> {
    static constexpr float kOrdinary = 1;
    OZK_SIMD static Vector special(Vector x) { return as_f32(outside<0x00800000, 0x7F800000>(bits(x))); }
    static int scalar(float x, float& result) { return inv_sqrt_scalar(x, result); }
};
struct InvSqrtHighSingle : InvSqrtSingle {
    OZK_SIMD static Vector compute(Vector x) {
        const Vector y = reciprocal_sqrt_estimate(x);
        return to_f32(once(low_to_f64(x), low_to_f64(y)), once(high_to_f64(x), high_to_f64(y)));
    }
    OZK_SIMD static f64x2 once(f64x2 x, f64x2 y) { return corrected(y, broadcast(1.0) - x * (y * y)); }
};
struct InvSqrtFast : InvSqrtSingle {
    // The step is invalid with the estimates of zero and infinity; of negative numbers the estimate is NaN, which is
    // compared for the flag.
    struct Watched : RealOperation<float> {
        OZK_SIMD static Vector compute(Vector x) { return max(InvSqrtFast::compute(x), splat(0)); }
    };
    static constexpr uint32_t kWatchedFlags = kInvalid | kDenormal;
    OZK_SIMD static Vector compute(Vector x) {
        const Vector y = reciprocal_sqrt_estimate(x);
        return (splat(0.5F) * y) * (splat(3) - x * (y * y));
    }
};

struct InvSqrtHighDouble : RealOperation<double> {
    static constexpr double kOrdinary = 1;
    static constexpr int64_t kHighPart = int64_t{-1} << 27;

    // By the high words, signed.
    OZK_SIMD static Vector special(Vector x) {
        return simd::mask_of_high_words(outside<0x00100000, 0x7FF00000>(as_i32(bits(x))));
    }
    OZK_SIMD static simd::i32x4 special(const f64x4& x) {
        return outside<0x00100000, 0x7FF00000>(high_words(x));
    }
    static constexpr int kWide = 4;
    template <class V>
    OZK_SIMD static V compute(const V& x) {
        // The exponent's last bit stays in m; half of what is taken away goes into the scale.
        constexpr int64_t kHalfField = int64_t{0x3FE} << 52, kScale = int64_t{0x3FF + 0x1FF} << 52;
        const auto m = as_f64((bits(x) & broadcast((int64_t{1} << 53) - 1)) | broadcast(kHalfField));
        const auto scale =
            as_f64(broadcast(kScale) - (simd::shift_right<1>(bits(x)) & broadcast(int64_t{0x3FF} << 52)));

        const V estimate = by_singles([](f32x4 z) OZK_SIMD_LAMBDA { return reciprocal_sqrt_estimate(z); }, m);
        const V y = high_part(corrected(estimate, broadcast(1.0) - m * (estimate * estimate)));
        const V square = y * y, square_high = high_part(square), m_high = high_part(m);
        const V e = ((broadcast(1.0) - m_high * square_high) - m_high * (square - square_high)) -
                    (m - m_high) * square;
        return corrected(y, e) * scale;
    }
    static int scalar(double x, double& result) { return inv_sqrt_scalar(x, result); }

  private:
    template <class V>
    OZK_SIMD static V high_part(const V& x) {
        return x & splat_bits(kHighPart);
    }
};

// Subnormal numbers.
float inv_sqrt_subnormal(float x) { return static_cast<float>(1 / std::sqrt(static_cast<double>(x))); }
double inv_sqrt_subnormal(double x) {
    return simd::low(InvSqrtHighDouble::compute(broadcast(x * 0x1p100))) * 0x1p50;
}

template <class T>
[[gnu::cold]] int inv_sqrt_scalar(T x, T& result) {
    if (std::isnan(x)) {
        result = quiet(x);
        return kVmlOk;
    }
    if (x == 0) {
        result = std::copysign(std::numeric_limits<T>::infinity(), x);
        return kVmlSingularity;
    }
    if (x < 0) {
        result = std::numeric_limits<T>::quiet_NaN();
        return kVmlDomain;
    }
    result = std::isinf(x) ? 0 : inv_sqrt_subnormal(x);
    return kVmlOk;
}

}  // namespace
}  // namespace ozk::vml

using namespace ozk::vml;

OZK_VML_KERNEL(s, InvSqrt, EXHAynn, unary, InvSqrtHighSingle)
OZK_VML_KERNEL(s, InvSqrt, H8EPnnn, unary, InvSqrtFast)
OZK_VML_KERNEL(d, InvSqrt, EXHAynn, unary, InvSqrtHighDouble)
