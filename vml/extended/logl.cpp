// ln(x) and ln(1 + x).
//
// Method: x = 2^k m, 1 <= m < 2; the top 8 bits of m's fraction select c near 1/m with |r| < 2^-8 for r = m c - 1,
// and ln(x) = k ln2 - ln(c) + ln(1 + r), a polynomial for the last. m in two halves of 32 bits times c's 11 bits is
// exact, as is the high part of k ln2 - ln(c). Where that is not 0 the result is at least 2^-9.1 and the polynomial
// wrong by 2^-81, a rounding of r^2/2; where it is 0 the result is r - r^2/2 + ..., r without error, the polynomial wrong by 2^-73.
// Tang, "Table-driven implementation of the logarithm function", ACM TOMS 16 (1990).

#include "vml/extended/logl.hpp"

#include "vml/extended/format.hpp"

namespace ozk::vml::extended {

Pair ln(long double m, long double low, int exponent) {
    constexpr uint64_t kUpperHalf = 0xFFFFFFFF00000000;
    const Fields fields = fields_of(m);
    const size_t index = fields.significand >> 55 & 0xFF;
    const long double c = ozk_vml_core_double_rcp_table_256[index];
    const Pair minus_ln_c = ozk_vml_core_logl_table_256[index];
    const long double m_high = number_of({fields.significand & kUpperHalf, fields.sign_exponent});
    const Pair r_of_m = two_sum(m_high * c - 1, (m - m_high) * c);
    const Pair r = fast_two_sum(r_of_m.high, r_of_m.low + low * c);

    const long double z = r.high;
    const long double q = kLog3 + z * (kLog4 + z * (kLog5 + z * (kLog6 + z * (kLog7 + z * kLog8))));
    const long double tail = z * z * (-0.5L + z * q);
    const long double k = exponent;
    const Pair sum = two_sum(k * kLn2High + minus_ln_c.high, z);
    return fast_two_sum(sum.high, sum.low + (((k * kLn2Low + minus_ln_c.low) + r.low) + tail));
}

Pair ln_1_plus(Pair t) {
    const Pair sum = two_sum(1, t.high);
    const Normalized high = normalized(sum.high);
    return ln(high.significand, (sum.low + t.low) * power_of_two(-high.exponent), high.exponent);
}

}  // namespace ozk::vml::extended

using namespace ozk::vml::extended;

long double ozk_vml_kernel_logl_scalar(long double x) {
    if (x == 0) return -1 / (x * x);
    if (!(x > 0)) return (x - x) / (x - x);
    if (!is_finite(x)) return x;
    const Normalized argument = normalized(x);
    const Pair result = ln(argument.significand, 0, argument.exponent);
    return result.high + result.low;
}

long double ozk_vml_kernel_log1pl_scalar(long double x) {
    constexpr long double kLinear = 0x1p-70L;  // ln(1 + x) = x (1 - x/2 ...)
    constexpr long double kLarge = 0x1p140L;   // the 1 is nothing
    if (x > kLarge) return ozk_vml_kernel_logl_scalar(x);
    if (x <= -1) return x == -1 ? -1 / (x + 1) : (x - x) / (x - x);
    if (x != x) return x + x;
    if (x < kLinear && x > -kLinear) return x;
    const Pair result = ln_1_plus({x, 0});
    return result.high + result.low;
}
