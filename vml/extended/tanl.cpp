// tan(x).
//
// Method: |x| = octant pi/4 + r, |r| <= pi/8 a pair; r = j/64 + d, |d| <= 2^-7, tan(j/64) = t from a table and
// tan(d) = s by a polynomial, tan(r) = (t + s) / (1 - t s) = n / m; the octants by the addition theorem for pi/4 in
// n and m. All in pairs: r is wrong by 2^-100 of it, the polynomial's terms beyond d by a rounding of d^3/3, 2^-79.

#include "vml/extended/format.hpp"
#include "vml/extended/pair.hpp"

using namespace ozk::vml::extended;

long double ozk_vml_kernel_tanl_scalar(long double x) {
    constexpr long double kLinear = 0x1p-40L;  // tan(x) = x (1 + x^2/3 ...)
    constexpr long double kShifter = 0x1.8p63L;
    constexpr int kZeroEntry = 26;  // of kTangents
    if (!is_finite(x)) return x - x;
    const long double magnitude = x < 0 ? -x : x;
    if (magnitude < kLinear) return x;
    Pair r;
    const int32_t octant = ozk_vml_kernel_reduce_pi04l(magnitude, &r);

    const long double j = (r.high * 64 + kShifter) - kShifter;
    const Pair d = r - j * 0x1p-6L;
    const long double z = d.high, z2 = z * z;
    const long double tail = z * z2 * (kTan3 + z2 * (kTan5 + z2 * (kTan7 + z2 * kTan9)));
    const Pair s = fast_two_sum(z, d.low + tail);
    const Pair t = kTangents[static_cast<int>(j) + kZeroEntry];
    const Pair n = t + s, m = -(t * s) + 1;

    Pair result;
    switch (octant & 3) {
        case 0:
            result = n / m;
            break;
        case 1:
            result = (m + n) / (m - n);
            break;
        case 2:
            result = -m / n;
            break;
        default:
            result = (n - m) / (n + m);
            break;
    }
    return with_sign_of(x, 1) * (result.high + result.low);
}
