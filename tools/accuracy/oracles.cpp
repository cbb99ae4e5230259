// The exact values: MPFR's functions, and short compositions where it has none.

#include "tools/accuracy/oracles.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ozk::accuracy {
namespace {

// Rounding to odd: a value chopped to y's precision gets its last bit set unless it was exact, so that
// rounding it again to a shorter format is as good as rounding once.
void stick(mpfr_ptr y, int inexact) {
    if (inexact == 0 || !mpfr_regular_p(y) || mpfr_min_prec(y) == static_cast<mpfr_prec_t>(mpfr_get_prec(y)))
        return;
    if (mpfr_signbit(y))
        mpfr_nextbelow(y);
    else
        mpfr_nextabove(y);
}

template <auto kFunction>
void unary(mpfr_ptr const* y, mpfr_srcptr const* x) {
    stick(y[0], kFunction(y[0], x[0], MPFR_RNDZ));
}

template <auto kFunction>
void binary(mpfr_ptr const* y, mpfr_srcptr const* x) {
    stick(y[0], kFunction(y[0], x[0], x[1], MPFR_RNDZ));
}

template <auto kFirst, auto kSecond>
void two_results(mpfr_ptr const* y, mpfr_srcptr const* x) {
    stick(y[0], kFirst(y[0], x[0], MPFR_RNDZ));
    stick(y[1], kSecond(y[1], x[0], MPFR_RNDZ));
}

// ---- Compositions. Their intermediate precision of 320 bits leaves at least 128 after every cancellation
// that
// ---- arguments of double precision allow.

template <int (*kOfUnits)(mpfr_ptr, mpfr_srcptr, unsigned long, mpfr_rnd_t)>
int of_degrees(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t round) {
    return kOfUnits(y, x, 360, round);
}

int reciprocal(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t round) { return mpfr_ui_div(y, 1, x, round); }

int reciprocal_sqrt(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t round) {
    if (!mpfr_zero_p(x)) return mpfr_rec_sqrt(y, x, round);
    mpfr_set_inf(y, mpfr_signbit(x) ? -1 : 1);  // 1 / sqrt(-0) = 1 / -0
    return 0;
}

int reciprocal_cbrt(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t round) {
    Real root;
    mpfr_cbrt(root, x, MPFR_RNDN);
    return mpfr_ui_div(y, 1, root, round);
}

int power_two_thirds(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t round) {
    Real square;
    mpfr_sqr(square, x, MPFR_RNDN);
    return mpfr_cbrt(y, square, round);
}

int power_three_halves(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t round) {
    Real cube;
    mpfr_pow_ui(cube, x, 3, MPFR_RNDN);
    return mpfr_sqrt(y, cube, round);
}

// exp(x^2) erfc(x), to more than 150 bits; MPFR's erfc takes milliseconds in the tail.
// 1/2 <= x < 11: the trapezoidal rule with step h = 1/4 for (x/pi) int exp(-t^2) / (t^2 + x^2) dt, with the
// residue at
//   t = i x; relative error about 3 exp(-pi^2/h^2) < 2^-220, sum cut below 2^-230. Hunter and Regan, "A note
//   on the evaluation of the complementary error function", Math. Comp. 26 (1972).
// x >= 11: the asymptotic series up to its smallest term, about exp(-x^2) < 2^-174.
int scaled_erfc(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t round) {
    Real square, sum, term;
    mpfr_sqr(square, x, MPFR_RNDN);
    if (mpfr_nan_p(x) || mpfr_cmp_d(x, 0.5) < 0) {
        mpfr_erfc(sum, x, MPFR_RNDN);
        mpfr_exp(square, square, MPFR_RNDN);
        return mpfr_mul(y, sum, square, round);
    }
    if (mpfr_cmp_ui(x, 11) < 0) {
        constexpr unsigned long kTerms = 52;
        static const std::vector<Real> weights = [] {  // exp(-k^2 h^2)
            std::vector<Real> w(kTerms + 1);
            for (unsigned long k = 0; k <= kTerms; ++k) {
                mpfr_set_d(w[k], -static_cast<double>(k * k) / 16, MPFR_RNDN);
                mpfr_exp(w[k], w[k], MPFR_RNDN);
            }
            return w;
        }();
        mpfr_ui_div(sum, 1, square, MPFR_RNDN);
        for (unsigned long k = 1; k <= kTerms; ++k) {
            mpfr_add_d(term, square, static_cast<double>(k * k) / 16, MPFR_RNDN);
            mpfr_div(term, weights[k], term, MPFR_RNDN);
            mpfr_mul_2ui(term, term, 1, MPFR_RNDN);
            mpfr_add(sum, sum, term, MPFR_RNDN);
        }
        Real pi_x;
        mpfr_const_pi(pi_x, MPFR_RNDN);
        mpfr_div(sum, sum, pi_x, MPFR_RNDN);
        mpfr_mul(sum, sum, x, MPFR_RNDN);
        mpfr_div_2ui(sum, sum, 2, MPFR_RNDN);
        mpfr_mul(pi_x, pi_x, x, MPFR_RNDN);  // the residue: 2 exp(x^2) / (exp(2 pi x / h) - 1)
        mpfr_mul_2ui(pi_x, pi_x, 3, MPFR_RNDN);
        mpfr_expm1(pi_x, pi_x, MPFR_RNDN);
        mpfr_exp(term, square, MPFR_RNDN);
        mpfr_div(term, term, pi_x, MPFR_RNDN);
        mpfr_mul_2ui(term, term, 1, MPFR_RNDN);
        return mpfr_sub(y, sum, term, round);
    }
    // sum (-1)^k (2k - 1)!! / (2 x^2)^k / (x sqrt(pi)); the terms grow again from k = x^2 on.
    mpfr_mul_2ui(square, square, 1, MPFR_RNDN);
    mpfr_set_ui(sum, 1, MPFR_RNDN);
    mpfr_set_ui(term, 1, MPFR_RNDN);
    for (unsigned long k = 1; k <= 121 && mpfr_regular_p(term) && mpfr_get_exp(term) > -240; ++k) {
        mpfr_mul_si(term, term, -static_cast<long>(2 * k - 1), MPFR_RNDN);
        mpfr_div(term, term, square, MPFR_RNDN);
        mpfr_add(sum, sum, term, MPFR_RNDN);
    }
    mpfr_div(sum, sum, x, MPFR_RNDN);
    mpfr_const_pi(term, MPFR_RNDN);
    mpfr_sqrt(term, term, MPFR_RNDN);
    return mpfr_div(y, sum, term, round);
}

// erfc(x) by the scaled function, whose factor exp(-x^2) has an exact argument.
int fast_erfc(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t round) {
    if (mpfr_nan_p(x) || mpfr_cmp_ui(x, 1) < 0 || mpfr_inf_p(x)) return mpfr_erfc(y, x, round);
    Real scaled, factor;
    scaled_erfc(scaled, x, MPFR_RNDN);
    mpfr_sqr(factor, x, MPFR_RNDN);
    mpfr_neg(factor, factor, MPFR_RNDN);
    mpfr_exp(factor, factor, MPFR_RNDN);
    return mpfr_mul(y, scaled, factor, round);
}

int cdf_normal(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t round) {
    Real t;
    mpfr_sqrt_ui(t, 2, MPFR_RNDN);
    mpfr_div(t, x, t, MPFR_RNDN);
    mpfr_neg(t, t, MPFR_RNDN);
    fast_erfc(t, t, MPFR_RNDN);
    return mpfr_div_2ui(y, t, 1, round);
}

// Newton's method from a double approximation. The last correction c is below 2^-80 v, and the error left is
// of the order of c^2.
template <class Correction>
void newton(mpfr_ptr v, double start, Correction correction) {
    Real c;
    mpfr_set_d(v, start, MPFR_RNDN);
    do {
        correction(c);
        mpfr_add(v, v, c, MPFR_RNDN);
    } while (!mpfr_zero_p(c) && mpfr_get_exp(c) > mpfr_get_exp(v) - 80);
}

// The inverse of erfc for q in (0, 2); `minus_one` is q - 1, exact.
void erfc_inverse(mpfr_ptr v, mpfr_srcptr q, mpfr_srcptr minus_one) {
    const double centre = mpfr_get_d(minus_one, MPFR_RNDN);
    if (mpfr_zero_p(minus_one)) {
        mpfr_set_zero(v, 1);
        return;
    }
    Real half_root_pi;
    mpfr_const_pi(half_root_pi, MPFR_RNDN);
    mpfr_sqrt(half_root_pi, half_root_pi, MPFR_RNDN);
    mpfr_div_2ui(half_root_pi, half_root_pi, 1, MPFR_RNDN);
    if (std::fabs(centre) < 0.75) {
        // erfc(v) = q <=> erf(-v) = q - 1. Start: the first terms of the Maclaurin series of the inverse.
        const double s = centre * std::sqrt(std::numbers::pi) / 2, z = s * s;
        newton(v, s * (1 + z * (1. / 3 + z * (7. / 30 + z * 127. / 630))), [&](mpfr_ptr c) {
            Real t;  // (q - 1 - erf(v)) exp(v^2) sqrt(pi) / 2
            mpfr_erf(t, v, MPFR_RNDN);
            mpfr_sub(t, minus_one, t, MPFR_RNDN);
            mpfr_sqr(c, v, MPFR_RNDN);
            mpfr_exp(c, c, MPFR_RNDN);
            mpfr_mul(c, c, t, MPFR_RNDN);
            mpfr_mul(c, c, half_root_pi, MPFR_RNDN);
        });
        mpfr_neg(v, v, MPFR_RNDN);
        return;
    }
    // The smaller tail p: log erfc(v) = log p, where the logarithm keeps the convergence quadratic. Start:
    // v^2 = -log(p v sqrt(pi)), iterated.
    Real log_p;
    const bool upper = centre > 0;
    if (upper)
        mpfr_ui_sub(log_p, 2, q, MPFR_RNDN);
    else
        mpfr_set(log_p, q, MPFR_RNDN);
    mpfr_log(log_p, log_p, MPFR_RNDN);
    const double near = -mpfr_get_d(log_p, MPFR_RNDN);
    double start = std::sqrt(std::max(0.5, near - 1));
    for (int i = 0; i < 4; ++i)
        start = std::sqrt(std::max(0.5, near - std::log(start * std::sqrt(std::numbers::pi))));
    newton(v, start, [&](mpfr_ptr c) {
        Real scaled, t;  // (log scaled - v^2 - log p) scaled sqrt(pi) / 2
        scaled_erfc(scaled, v, MPFR_RNDN);
        mpfr_log(c, scaled, MPFR_RNDN);
        mpfr_sqr(t, v, MPFR_RNDN);
        mpfr_sub(c, c, t, MPFR_RNDN);
        mpfr_sub(c, c, log_p, MPFR_RNDN);
        mpfr_mul(c, c, scaled, MPFR_RNDN);
        mpfr_mul(c, c, half_root_pi, MPFR_RNDN);
    });
    if (upper) mpfr_neg(v, v, MPFR_RNDN);
}

int inverse_erf(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t round) {
    if (mpfr_nan_p(x) || mpfr_cmp_ui(x, 1) > 0 || mpfr_cmp_si(x, -1) < 0) return mpfr_set_nan(y), 0;
    if (mpfr_cmp_ui(x, 1) == 0 || mpfr_cmp_si(x, -1) == 0) return mpfr_set_inf(y, mpfr_sgn(x)), 0;
    Real q(1200), minus_one(64), v;
    mpfr_neg(minus_one, x, MPFR_RNDN);
    mpfr_ui_sub(q, 1, x, MPFR_RNDN);
    erfc_inverse(v, q, minus_one);
    return mpfr_set(y, v, round);
}

int inverse_erfc(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t round) {
    if (mpfr_nan_p(x) || mpfr_sgn(x) < 0 || mpfr_cmp_ui(x, 2) > 0) return mpfr_set_nan(y), 0;
    if (mpfr_zero_p(x)) return mpfr_set_inf(y, 1), 0;
    if (mpfr_cmp_ui(x, 2) == 0) return mpfr_set_inf(y, -1), 0;
    Real minus_one(1200), v;
    mpfr_sub_ui(minus_one, x, 1, MPFR_RNDN);
    erfc_inverse(v, x, minus_one);
    return mpfr_set(y, v, round);
}

int inverse_cdf_normal(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t round) {
    Real v, root;
    mpfr_mul_2ui(root, x, 1, MPFR_RNDN);
    inverse_erfc(v, root, MPFR_RNDN);
    mpfr_sqrt_ui(root, 2, MPFR_RNDN);
    mpfr_mul(v, v, root, MPFR_RNDN);
    return mpfr_neg(y, v, round);
}

// E1(x). From 4 on by its continued fraction exp(-x) / (x + 1 - 1/(x + 3 - 4/(x + 5 - 9/(x + 7 - ...)))),
// whose n-th approximant is off by about exp(-4 sqrt(n x)): below 2^-200 for the n taken.
int exponential_integral_1(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t round) {
    if (mpfr_nan_p(x) || mpfr_sgn(x) < 0) return mpfr_set_nan(y), 0;
    if (mpfr_zero_p(x)) return mpfr_set_inf(y, 1), 0;
    Real minus(64), t;
    mpfr_neg(minus, x, MPFR_RNDN);
    if (mpfr_cmp_ui(x, 4) < 0) {
        mpfr_eint(t, minus, MPFR_RNDN);  // Ei(-x) = -E1(x)
        return mpfr_neg(y, t, round);
    }
    Real factor;
    mpfr_exp(factor, minus, MPFR_RNDN);
    const auto terms = static_cast<unsigned long>(10 + 1300 / mpfr_get_d(x, MPFR_RNDN));
    mpfr_add_ui(t, x, 2 * terms + 1, MPFR_RNDN);
    for (unsigned long k = terms; k >= 1; --k) {
        mpfr_ui_div(t, k * k, t, MPFR_RNDN);
        mpfr_sub(t, x, t, MPFR_RNDN);
        mpfr_add_ui(t, t, 2 * k - 1, MPFR_RNDN);
    }
    return mpfr_div(y, factor, t, round);
}

int log_gamma(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t round) {
    int sign;
    return mpfr_lgamma(y, &sign, x, round);
}

// Modified Bessel function of order 0 or 1 by its series in (x/2)^2, all of whose terms have one sign.
template <int kOrder>
int bessel_i(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t round) {
    if (mpfr_nan_p(x)) return mpfr_set_nan(y), 0;
    constexpr int kBeyondEveryFormat = 800;
    if (mpfr_cmpabs_ui(x, kBeyondEveryFormat) > 0)
        return mpfr_set_inf(y, kOrder == 1 && mpfr_signbit(x) ? -1 : 1), 0;
    Real z, term, sum;
    mpfr_sqr(z, x, MPFR_RNDN);
    mpfr_div_2ui(z, z, 2, MPFR_RNDN);
    if (kOrder == 0)
        mpfr_set_ui(term, 1, MPFR_RNDN);
    else
        mpfr_div_2ui(term, x, 1, MPFR_RNDN);
    mpfr_set(sum, term, MPFR_RNDN);
    for (unsigned long k = 1; !mpfr_zero_p(term) && mpfr_get_exp(term) > mpfr_get_exp(sum) - 320; ++k) {
        mpfr_mul(term, term, z, MPFR_RNDN);
        mpfr_div_ui(term, term, k * (k + kOrder), MPFR_RNDN);
        mpfr_add(sum, sum, term, MPFR_RNDN);
    }
    return mpfr_set(y, sum, round);
}

template <int (*kBessel)(mpfr_ptr, long, mpfr_srcptr, mpfr_rnd_t)>
int of_order(mpfr_ptr y, mpfr_srcptr x, mpfr_srcptr order, mpfr_rnd_t round) {
    return kBessel(y, mpfr_get_si(order, MPFR_RNDN), x, round);
}

int binary_exponent(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t round) {
    if (mpfr_nan_p(x)) return mpfr_set_nan(y), 0;
    if (mpfr_inf_p(x)) return mpfr_set_inf(y, 1), 0;
    if (mpfr_zero_p(x)) return mpfr_set_inf(y, -1), 0;
    return mpfr_set_si(y, mpfr_get_exp(x) - 1, round);
}

template <int kSign>  // 1: the argument of larger magnitude, -1: of smaller
int by_magnitude(mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t round) {
    if (mpfr_nan_p(a) || mpfr_nan_p(b) || mpfr_cmpabs(a, b) == 0)
        return kSign > 0 ? mpfr_max(y, a, b, round) : mpfr_min(y, a, b, round);
    return mpfr_set(y, kSign * mpfr_cmpabs(a, b) > 0 ? a : b, round);
}

int next_after(mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t round) {
    const double from = mpfr_get_d(a, MPFR_RNDN), to = mpfr_get_d(b, MPFR_RNDN);
    const bool single = mpfr_get_prec(a) == std::numeric_limits<float>::digits;
    return mpfr_set_d(
        y,
        single ? std::nextafter(static_cast<float>(from), static_cast<float>(to)) : std::nextafter(from, to),
        round);
}

// Of numerator and denominator as the format rounds them, overflow included.
template <class T>
int quotient_of_forms(mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t round) {
    const T above = T(kScaleA) * static_cast<T>(mpfr_get_d(a, MPFR_RNDN)) + T(kShiftA);
    const T below = T(kScaleB) * static_cast<T>(mpfr_get_d(b, MPFR_RNDN)) + T(kShiftB);
    Real divisor;
    mpfr_set_d(divisor, static_cast<double>(below), MPFR_RNDN);
    return mpfr_d_div(y, static_cast<double>(above), divisor, round);
}
int linear_fraction(mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t round) {
    const bool single = mpfr_get_prec(a) == std::numeric_limits<float>::digits;
    return single ? quotient_of_forms<float>(y, a, b, round) : quotient_of_forms<double>(y, a, b, round);
}

using enum Shape;
using std::numbers::ln2, std::numbers::pi;
constexpr double kLog10Of2 = 0.30102999566398120;

const std::vector<Oracle> kOracles = {
    // clang-format off
    // Exponential family: breakpoints of tables with up to 2^11 entries are multiples of ln 2 / 2^12.
    {.function = "Exp", .shape = kUnary, .exact = unary<mpfr_exp>, .dense_low = -60, .dense_high = 10,
     .points = {709.782712893384, -708.3964185322641, -745.1332191019411, 88.72283935546875,
     -87.3365478515625, -103.97207641601562}, .step = ln2 / 128, .in_double = std::exp},
    {.function = "Exp2", .shape = kUnary, .exact = unary<mpfr_exp2>, .dense_low = -60, .dense_high = 11,
     .points = {1024, -1022, -1075, 128, -126, -149, -150}, .step = 1. / 128, .in_double = std::exp2},
    {.function = "Exp10", .shape = kUnary, .exact = unary<mpfr_exp10>, .dense_low = -60, .dense_high = 9,
     .points = {308.25471555991669, -307.65265556858878, -323.60724533877976, 38.531840419103, -37.929780,
     -45.154499}, .step = kLog10Of2 / 128, .in_double = ::exp10},
    {.function = "Expm1", .shape = kUnary, .exact = unary<mpfr_expm1>, .dense_low = -60, .dense_high = 10,
     .points = {709.782712893384, 88.72283935546875, -37.4299, -17.3287}, .step = ln2 / 128, .in_double = std::expm1},

    // Logarithms: near one, and at the breakpoints of tables indexed by the leading bits of the significand.
    {.function = "Ln", .shape = kUnary, .exact = unary<mpfr_log>, .domain = kPositive, .usual = {0.01, 20},
     .dense_low = -8, .dense_high = 8, .step = 1. / 256, .in_double = std::log},
    {.function = "Log2", .shape = kUnary, .exact = unary<mpfr_log2>, .domain = kPositive,
     .usual = {0.01, 20}, .dense_low = -8, .dense_high = 8, .step = 1. / 256, .in_double = std::log2},
    {.function = "Log10", .shape = kUnary, .exact = unary<mpfr_log10>, .domain = kPositive,
     .usual = {0.01, 20}, .dense_low = -8, .dense_high = 8, .step = 1. / 256, .in_double = std::log10},
    {.function = "Log1p", .shape = kUnary, .exact = unary<mpfr_log1p>, .domain = {-1, kInfinity},
     .usual = {-0.999, 20}, .dense_low = -60, .dense_high = 8, .points = {-1}, .step = 1. / 256, .in_double = std::log1p},
    {.function = "Logb", .shape = kUnary, .exact = unary<binary_exponent>},

    // Powers and roots.
    {.function = "Sqr", .shape = kUnary, .exact = unary<mpfr_sqr>},
    {.function = "Sqrt", .shape = kUnary, .exact = unary<mpfr_sqrt>, .domain = kPositive, .usual = {0, 100},
     .step = 1},
    {.function = "InvSqrt", .shape = kUnary, .exact = unary<reciprocal_sqrt>, .domain = kPositive,
     .usual = {0.01, 100}, .step = 1. / 16},
    {.function = "Inv", .shape = kUnary, .exact = unary<reciprocal>, .usual = {0.01, 100}, .step = 1. / 16},
    {.function = "Cbrt", .shape = kUnary, .exact = unary<mpfr_cbrt>, .usual = {-100, 100}, .step = 1. / 8},
    {.function = "InvCbrt", .shape = kUnary, .exact = unary<reciprocal_cbrt>, .usual = {-100, 100},
     .step = 1. / 8},
    {.function = "Pow2o3", .shape = kUnary, .exact = unary<power_two_thirds>, .usual = {-100, 100},
     .step = 1. / 8},
    {.function = "Pow3o2", .shape = kUnary, .exact = unary<power_three_halves>, .domain = kPositive,
     .usual = {0, 100}, .step = 1. / 8},
    {.function = "Pow", .shape = kBinary, .exact = binary<mpfr_pow>, .usual = {0.01, 20}, .cost = 2,
     .pairing = Pairing::kPower},
    {.function = "Powr", .shape = kBinary, .exact = binary<mpfr_powr>, .domain = kPositive,
     .usual = {0.01, 20}, .cost = 2, .pairing = Pairing::kPower},
    {.function = "Powx", .shape = kScalar, .exact = binary<mpfr_pow>, .usual = {0.01, 20}, .cost = 2,
     .pairing = Pairing::kPower},
    {.function = "Hypot", .shape = kBinary, .exact = binary<mpfr_hypot>, .pairing = Pairing::kNear},

    // Trigonometric functions: multiples of pi/4, of 1/4 turn by each measure of angles.
    {.function = "Sin", .shape = kUnary, .exact = unary<mpfr_sin>, .usual = {-100, 100}, .dense_high = 20,
     .step = pi / 4},
    {.function = "Cos", .shape = kUnary, .exact = unary<mpfr_cos>, .usual = {-100, 100}, .dense_high = 20,
     .step = pi / 4},
    {.function = "Tan", .shape = kUnary, .exact = unary<mpfr_tan>, .usual = {-100, 100}, .dense_high = 20,
     .step = pi / 4},
    {.function = "SinCos", .shape = kTwoResults, .exact = two_results<mpfr_sin, mpfr_cos>,
     .usual = {-100, 100}, .dense_high = 20, .step = pi / 4, .cost = 2},
    {.function = "Sinpi", .shape = kUnary, .exact = unary<mpfr_sinpi>, .usual = {-100, 100}, .step = 1. / 4},
    {.function = "Cospi", .shape = kUnary, .exact = unary<mpfr_cospi>, .usual = {-100, 100}, .step = 1. / 4},
    {.function = "Tanpi", .shape = kUnary, .exact = unary<mpfr_tanpi>, .usual = {-100, 100}, .step = 1. / 4},
    {.function = "SinCospi", .shape = kTwoResults, .exact = two_results<mpfr_sinpi, mpfr_cospi>,
     .usual = {-100, 100}, .step = 1. / 4, .cost = 2},
    {.function = "Sind", .shape = kUnary, .exact = unary<of_degrees<mpfr_sinu>>, .usual = {-1000, 1000},
     .step = 15},
    {.function = "Cosd", .shape = kUnary, .exact = unary<of_degrees<mpfr_cosu>>, .usual = {-1000, 1000},
     .step = 15},
    {.function = "Tand", .shape = kUnary, .exact = unary<of_degrees<mpfr_tanu>>, .usual = {-1000, 1000},
     .step = 15},
    {.function = "Asin", .shape = kUnary, .exact = unary<mpfr_asin>, .domain = {-1, 1}, .usual = {-1, 1},
     .step = 1. / 128},
    {.function = "Acos", .shape = kUnary, .exact = unary<mpfr_acos>, .domain = {-1, 1}, .usual = {-1, 1},
     .step = 1. / 128},
    {.function = "Atan", .shape = kUnary, .exact = unary<mpfr_atan>, .dense_high = 60, .step = 1. / 128},
    {.function = "Asinpi", .shape = kUnary, .exact = unary<mpfr_asinpi>, .domain = {-1, 1},
     .usual = {-1, 1}, .step = 1. / 128},
    {.function = "Acospi", .shape = kUnary, .exact = unary<mpfr_acospi>, .domain = {-1, 1},
     .usual = {-1, 1}, .step = 1. / 128},
    {.function = "Atanpi", .shape = kUnary, .exact = unary<mpfr_atanpi>, .dense_high = 60, .step = 1. / 128},
    {.function = "Atan2", .shape = kBinary, .exact = binary<mpfr_atan2>, .cost = 2,
     .pairing = Pairing::kNear},
    {.function = "Atan2pi", .shape = kBinary, .exact = binary<mpfr_atan2pi>, .cost = 2,
     .pairing = Pairing::kNear},

    // Hyperbolic functions.
    {.function = "Sinh", .shape = kUnary, .exact = unary<mpfr_sinh>,
     .points = {710.4758600739439, 89.41598510742188}, .step = ln2 / 64},
    {.function = "Cosh", .shape = kUnary, .exact = unary<mpfr_cosh>,
     .points = {710.4758600739439, 89.41598510742188}, .step = ln2 / 64},
    {.function = "Tanh", .shape = kUnary, .exact = unary<mpfr_tanh>, .points = {19.061547, 9.010913},
     .step = 1. / 64},
    {.function = "Asinh", .shape = kUnary, .exact = unary<mpfr_asinh>, .dense_high = 30, .step = 1. / 64},
    {.function = "Acosh", .shape = kUnary, .exact = unary<mpfr_acosh>, .domain = {1, kInfinity},
     .usual = {1, 100}, .dense_low = 0, .dense_high = 30, .step = 1. / 16},
    {.function = "Atanh", .shape = kUnary, .exact = unary<mpfr_atanh>, .domain = {-1, 1}, .usual = {-1, 1},
     .step = 1. / 128},

    // Error, gamma and Bessel functions.
    {.function = "Erf", .shape = kUnary, .exact = unary<mpfr_erf>, .usual = {-6, 6}, .step = 1. / 64,
     .cost = 2},
    {.function = "Erfc", .shape = kUnary, .exact = unary<fast_erfc>, .usual = {-6, 27},
     .points = {26.5432585, 27.2262930, 10.05454}, .step = 1. / 64, .cost = 4},
    {.function = "Erfcx", .shape = kUnary, .exact = unary<scaled_erfc>, .usual = {-6, 27},
     .points = {-26.6287357, 2e7, 1e8}, .step = 1. / 64, .cost = 4},
    {.function = "ErfInv", .shape = kUnary, .exact = unary<inverse_erf>, .domain = {-1, 1},
     .usual = {-1, 1}, .step = 1. / 128, .cost = 8},
    {.function = "ErfcInv", .shape = kUnary, .exact = unary<inverse_erfc>, .domain = {0, 2},
     .usual = {0, 2}, .points = {2}, .step = 1. / 128, .cost = 8},
    {.function = "CdfNorm", .shape = kUnary, .exact = unary<cdf_normal>, .usual = {-38, 9},
     .points = {-37.5193793, -38.4674055, -14.1709}, .step = 1. / 64, .cost = 4},
    {.function = "CdfNormInv", .shape = kUnary, .exact = unary<inverse_cdf_normal>, .domain = {0, 1},
     .usual = {0, 1}, .points = {0.5}, .step = 1. / 128, .cost = 8},
    {.function = "TGamma", .shape = kUnary, .exact = unary<mpfr_gamma>, .usual = {-10, 30},
     .points = {171.62437695630271, 35.04010009765625, -170.5, -177.9, -184.5}, .step = 1. / 4, .cost = 8},
    {.function = "LGamma", .shape = kUnary, .exact = unary<log_gamma>, .usual = {0, 30},
     .points = {2, -2.4570247382208006, -2.7476826467274126, -3.1435808883499799, 2.5563481638716906e305,
     4.0850034e36}, .step = 1. / 4, .cost = 12},
    {.function = "I0", .shape = kUnary, .exact = unary<bessel_i<0>>, .usual = {-20, 20},
     .points = {713.98, 91.9}, .cost = 4},
    {.function = "I1", .shape = kUnary, .exact = unary<bessel_i<1>>, .usual = {-20, 20},
     .points = {713.98, 91.9}, .cost = 4},
    {.function = "J0", .shape = kUnary, .exact = unary<mpfr_j0>, .usual = {-30, 30}, .dense_high = 16,
     .points = {2.404825557695773, 5.520078110286311, 8.653727912911013}, .cost = 4},
    {.function = "J1", .shape = kUnary, .exact = unary<mpfr_j1>, .usual = {-30, 30}, .dense_high = 16,
     .points = {3.8317059702075125, 7.015586669815619}, .cost = 4},
    {.function = "Jn", .shape = kScalar, .exact = binary<of_order<mpfr_jn>>, .usual = {-30, 30},
     .dense_high = 16, .cost = 4, .usual_second = {0, 20}, .pairing = Pairing::kOrder},
    {.function = "Y0", .shape = kUnary, .exact = unary<mpfr_y0>, .domain = kPositive, .usual = {0, 30},
     .dense_high = 16, .points = {0.8935769662791675, 3.957678419314858, 7.086051060301773}, .cost = 8},
    {.function = "Y1", .shape = kUnary, .exact = unary<mpfr_y1>, .domain = kPositive, .usual = {0, 30},
     .dense_high = 16, .points = {2.197141326031017, 5.429681040794135}, .cost = 8},
    {.function = "Yn", .shape = kScalar, .exact = binary<of_order<mpfr_yn>>, .domain = kPositive,
     .usual = {0, 30}, .dense_high = 16, .cost = 4, .usual_second = {0, 20}, .pairing = Pairing::kOrder},
    {.function = "ExpInt1", .shape = kUnary, .exact = unary<exponential_integral_1>, .domain = kPositive,
     .usual = {0, 100}, .points = {701.8334, 738.5, 82.6, 97.8}, .step = 1. / 16, .cost = 4},

    // Arithmetic, rounding, comparison.
    {.function = "Add", .shape = kBinary, .exact = binary<mpfr_add>, .pairing = Pairing::kNear},
    {.function = "Sub", .shape = kBinary, .exact = binary<mpfr_sub>, .pairing = Pairing::kNear},
    {.function = "Mul", .shape = kBinary, .exact = binary<mpfr_mul>, .pairing = Pairing::kNear},
    {.function = "Div", .shape = kBinary, .exact = binary<mpfr_div>, .pairing = Pairing::kNear},
    {.function = "Fmod", .shape = kBinary, .exact = binary<mpfr_fmod>, .pairing = Pairing::kNear},
    {.function = "Remainder", .shape = kBinary, .exact = binary<mpfr_remainder>, .pairing = Pairing::kNear},
    {.function = "Fdim", .shape = kBinary, .exact = binary<mpfr_dim>, .pairing = Pairing::kNear},
    {.function = "Fmax", .shape = kBinary, .exact = binary<mpfr_max>, .pairing = Pairing::kNear},
    {.function = "Fmin", .shape = kBinary, .exact = binary<mpfr_min>, .pairing = Pairing::kNear},
    {.function = "MaxMag", .shape = kBinary, .exact = binary<by_magnitude<1>>, .pairing = Pairing::kNear},
    {.function = "MinMag", .shape = kBinary, .exact = binary<by_magnitude<-1>>, .pairing = Pairing::kNear},
    {.function = "CopySign", .shape = kBinary,
     .exact = binary<[](mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t r) { return mpfr_setsign(y, a,
     !mpfr_nan_p(b) && mpfr_signbit(b), r); }>},  // NaN has no sign in MPFR
    {.function = "NextAfter", .shape = kBinary, .exact = binary<next_after>, .pairing = Pairing::kNear},
    {.function = "LinearFrac", .shape = kLinearFraction, .exact = binary<linear_fraction>},
    {.function = "Abs", .shape = kUnary,
     .exact = unary<[](mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t r) { return mpfr_abs(y, x, r); }>},
    {.function = "Ceil", .shape = kUnary, .exact = unary<mpfr_rint_ceil>, .dense_high = 54, .step = 0.5},
    {.function = "Floor", .shape = kUnary, .exact = unary<mpfr_rint_floor>, .dense_high = 54, .step = 0.5},
    {.function = "Trunc", .shape = kUnary, .exact = unary<mpfr_rint_trunc>, .dense_high = 54, .step = 0.5},
    {.function = "Round", .shape = kUnary, .exact = unary<mpfr_rint_round>, .dense_high = 54, .step = 0.5},
    {.function = "Rint", .shape = kUnary, .exact = unary<mpfr_rint_roundeven>, .dense_high = 54, .step = 0.5},
    {.function = "NearbyInt", .shape = kUnary, .exact = unary<mpfr_rint_roundeven>, .dense_high = 54,
     .step = 0.5},
    {.function = "Frac", .shape = kUnary, .exact = unary<mpfr_frac>, .dense_high = 54, .step = 0.5},
    {.function = "Modf", .shape = kTwoResults, .exact = two_results<mpfr_rint_trunc, mpfr_frac>,
     .dense_high = 54, .step = 0.5},
    // clang-format on
};

}  // namespace

const std::vector<Oracle>& oracles() { return kOracles; }

const Oracle* find_oracle(std::string_view function) {
    const auto row = std::find_if(kOracles.begin(), kOracles.end(),
                                  [&](const Oracle& o) { return o.function == function; });
    return row == kOracles.end() ? nullptr : &*row;
}

}  // namespace ozk::accuracy
