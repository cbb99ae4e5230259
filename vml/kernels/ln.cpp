// ln(x), double precision: the scalar path and the kernels. Method and bounds: ln.hpp.

#include "vml/kernels/ln.hpp"

#include <cmath>

namespace ozk::vml {

[[gnu::cold]] bool ln_limit(double x, double& result, int& code) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    code = kVmlOk;
    if (!std::isfinite(x) && x != -kInfinity) {
        result = x * x;
    } else if (x == 0) {
        result = -kInfinity;
        code = kVmlSingularity;
    } else if (x < 0) {
        result = std::numeric_limits<double>::quiet_NaN();
        code = kVmlDomain;
    } else {
        return false;
    }
    return true;
}

[[gnu::cold]] int ln_scalar(double x, double& result) {
    constexpr double kNearOne = 0x1.4p-7;            // 0.009765625
    constexpr double kLn2High = 0x1.62e42fefa38p-1;  // 42 bits: k kLn2High is exact
    constexpr double kLn2Low = 0x1.ef35793c7673p-45;
    constexpr double kIndexShifter = 0x1.000000000004p+46;  // 2^46 + 1: m + it ends in 64 + round(64 m)
    constexpr double kSplitShifter = 0x1p21;                // m + it ends in m rounded to a multiple of 2^-31
    constexpr double kC2 = -0.5;
    constexpr double kC3 = 0x1.5555555555613p-2;   // 0.33333333333334386
    constexpr double kC4 = -0x1.0000000000262p-2;  // -0.25000000000003386
    constexpr double kC5 = 0x1.9999997b36c81p-3;   // 0.19999999911565072
    constexpr double kC6 = -0x1.555555228b38fp-3;  // -0.1666666651884978
    constexpr double kC7 = 0x1.249c02481059dp-3;   // 0.1428756883852146
    constexpr double kC8 = -0x1.000b405a2836dp-3;  // -0.1250214602960357
    constexpr double kLift = 0x1p60;               // brings subnormal arguments into the normal range
    constexpr int64_t kBias = 1023, kLiftedBias = kBias + 60;
    constexpr uint64_t kMantissa = 0x000FFFFFFFFFFFFF, kOne = 0x3FF0000000000000;

    const auto exponent = [](double v) { return std::bit_cast<int64_t>(v) >> 52 & 0x7FF; };
    const auto tail = [](double r) {
        return r * r * (kC2 + r * (kC3 + r * (kC4 + r * (kC5 + r * (kC6 + r * (kC7 + r * kC8))))));
    };

    int code;
    if (ln_limit(x, result, code)) return code;
    int64_t bias = kBias;
    if (exponent(x) == 0) {
        x *= kLift;
        bias = kLiftedBias;
    }
    const double t = x - 1.0;
    if (bias == kBias && std::abs(t) <= kNearOne) {
        result = t + tail(t);
        return kVmlOk;
    }

    const double k = static_cast<double>(exponent(x) - bias);
    const double m = std::bit_cast<double>((std::bit_cast<uint64_t>(x) & kMantissa) | kOne);
    const LnScalarEntry& entry = kLnScalar[std::bit_cast<uint64_t>(m + kIndexShifter) & 0x7F];
    const double m_high = (m + kSplitShifter) - kSplitShifter;
    const double r_high = m_high * entry.reciprocal - 1.0;
    const double r_low = (m - m_high) * entry.reciprocal;
    result =
        (k * kLn2High + entry.high + r_high) + ((k * kLn2Low + entry.low + r_low) + tail(r_high + r_low));
    return kVmlOk;
}

}  // namespace ozk::vml

OZK_VML_KERNEL(d, Ln, H8LAynn, unary, ozk::vml::LnLow)
OZK_VML_KERNEL(d, Ln, EXHAynn, unary, ozk::vml::LnHigh<>)
OZK_VML_KERNEL(d, Ln, H8EPnnn, unary, ozk::vml::LnFast<>)
