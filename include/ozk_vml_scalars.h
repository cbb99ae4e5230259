/* Vector mathematics: what its kernels share, one number at a time. Scalar functions of extended precision (the
 * x87 format: 64-bit significand, exponents -16382 to 16383), reducers of arguments, constants and tables.
 *
 * Every function is pure: no error is reported, errno stays; which floating-point flags are raised is not specified.
 * Any thread may call any of them.
 *
 * The functions of `long double`, and what is said of their errors, need the x87 unit at 64-bit precision and
 * rounding to nearest, as the system starts each thread; at another setting they return, but with a larger error.
 * A kernel that calls them under its caller's control words first sets its own (kExtendedPrecision,
 * vml/frame.hpp).
 */
#ifndef OZK_VML_SCALARS_H
#define OZK_VML_SCALARS_H

#include <stdint.h>

#include "ozk_core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Elements --------------------------------------------------------------------------------------- */

/* The sum of the two, the low part at most half an ulp of the high one. */
typedef struct OzkDoublePair {
    double high, low;
} OzkDoublePair;
typedef struct OzkExtendedPair {
    long double high, low;
} OzkExtendedPair;

/* ---- Magnitudes ------------------------------------------------------------------------------------- */

/* |x|, NaN without its sign. Exact. */
OZK_EXPORT float ozk_vml_kernel__sabs_scalar(float x);
OZK_EXPORT double ozk_vml_kernel__dabs_scalar(double x);
OZK_EXPORT long double ozk_vml_kernel_fabsl_scalar(long double x);

/* ---- Functions of extended precision ---------------------------------------------------------------- *
 * For any x, infinities, zeros and subnormal numbers included. Special values as C Annex F has them; NaN gives NaN;
 * odd functions are odd bit for bit and keep the sign of zero. The error is below 0.51 ulp of the result, subnormal
 * results included: sums are carried as pairs of extended numbers and rounded once.
 * Joldes, Muller and Popescu, "Tight and rigorous error bounds for basic building blocks of double-word
 * arithmetic", ACM TOMS 44 (2017); the tables in the manner of Tang, ACM TOMS 15 (1989) and 16 (1990). */

/* exp(x). Multiples of ln2/256 from a table, polynomial. */
OZK_EXPORT long double ozk_vml_kernel_expl_scalar(long double x);

/* ln(x); ln(+-0) = -infinity, NaN for x < 0. Table of 256 reciprocals and their logarithms, polynomial. */
OZK_EXPORT long double ozk_vml_kernel_logl_scalar(long double x);

/* ln(1 + x); -infinity at -1, NaN below. As ln, of the exact 1 + x. */
OZK_EXPORT long double ozk_vml_kernel_log1pl_scalar(long double x);

/* tan(x), x in radians, however large; NaN for infinite x. Octants of ozk_vml_kernel_reduce_pi04l, multiples of 1/64
 * from a table, polynomial. */
OZK_EXPORT long double ozk_vml_kernel_tanl_scalar(long double x);

/* tanh(x), from exp(2x) - 1. */
OZK_EXPORT long double ozk_vml_kernel_tanhl_scalar(long double x);

/* atan(x), in radians from -pi/2 to pi/2. Table at multiples of 1/128, polynomial. */
OZK_EXPORT long double ozk_vml_kernel_atanl_scalar(long double x);

/* The angle of the point (x, y), in radians from -pi to pi, the signs of zeros telling sides. As atan. */
OZK_EXPORT long double ozk_vml_kernel_atan2l_scalar(long double y, long double x);

/* asin(x) in -pi/2 to pi/2 and acos(x) in 0 to pi; NaN for |x| > 1. Angles of the point of the unit circle. */
OZK_EXPORT long double ozk_vml_kernel_asinl_scalar(long double x);
OZK_EXPORT long double ozk_vml_kernel_acosl_scalar(long double x);

/* Inverse hyperbolic functions, each as ln(1 + t). acosh: NaN for x < 1. atanh: +-infinity at +-1, NaN beyond. */
OZK_EXPORT long double ozk_vml_kernel_asinhl_scalar(long double x);
OZK_EXPORT long double ozk_vml_kernel_acoshl_scalar(long double x);
OZK_EXPORT long double ozk_vml_kernel_atanhl_scalar(long double x);

/* ---- Argument reducers ------------------------------------------------------------------------------ */

/* x = 2 pi turns + quadrant pi/2 + remainder with whole turns, 0 <= quadrant < 4 and |remainder| at most pi/4 but
 * for rounding. Returns the quadrant. The error is below 2^-70 of the remainder; |x| <= pi/4 is its own remainder.
 * For x infinite or NaN: 0, the remainder NaN. Payne and Hanek, ACM SIGNUM Newsletter 18 (1983). */
OZK_EXPORT int32_t ozk_vml_kernel_reduce_pio2d(double x, OzkDoublePair* remainder);

/* The same by octants in extended precision: x = 2 pi turns + octant pi/4 + remainder, 0 <= octant < 8,
 * |remainder| at most pi/8 but for rounding. Returns the octant. The error is below 2^-100 of the remainder. */
OZK_EXPORT int32_t ozk_vml_kernel_reduce_pi04l(long double x, OzkExtendedPair* remainder);

/* ---- Constants -------------------------------------------------------------------------------------- *
 * infinity and pos_infinity are the same number. */

#define OZK_VML_CONSTANTS(type)                                          \
    OZK_EXPORT extern const type ozk_vml_constant_##type##_zero;         \
    OZK_EXPORT extern const type ozk_vml_constant_##type##_one;          \
    OZK_EXPORT extern const type ozk_vml_constant_##type##_minus_one;    \
    OZK_EXPORT extern const type ozk_vml_constant_##type##_infinity;     \
    OZK_EXPORT extern const type ozk_vml_constant_##type##_pos_infinity; \
    OZK_EXPORT extern const type ozk_vml_constant_##type##_neg_infinity;
OZK_VML_CONSTANTS(float)
OZK_VML_CONSTANTS(double)

/* ---- Core tables ------------------------------------------------------------------------------------ */

/* Entry i belongs to significands m with 1 + i/256 <= m < 1 + (i+1)/256, i being the top 8 bits of the fraction:
 * c[i], near 1/m, a multiple of 2^-11, so that |m c[i] - 1| < 2^-8; c[0] = 1 and c[255] = 1/2. The product with a
 * significand of up to 53 bits is exact in extended precision. The same numbers as floats and as doubles. */
OZK_EXPORT extern const float ozk_vml_core_rcp_table_256[256];
OZK_EXPORT extern const double ozk_vml_core_double_rcp_table_256[256];

/* -ln c[i] in two parts: the high one a multiple of 2^-42 (doubles) or 2^-48 (extended), so that its sum with
 * k times the like part of ln 2 is exact for every exponent k of the format; the low one rounded to nearest. Entry
 * 255 is ln 2 in the parts that k multiplies, so that ln is exact on both sides of 1. */
OZK_EXPORT extern const OzkDoublePair ozk_vml_core_log_table_256[256];
OZK_EXPORT extern const OzkExtendedPair ozk_vml_core_logl_table_256[256];

/* 2^(j/256), rounded to nearest, and what the rounding lost. */
OZK_EXPORT extern const OzkExtendedPair ozk_vml_core_expl_table_256[256];

/* atan(j/128), rounded to nearest, and what the rounding lost. */
OZK_EXPORT extern const OzkExtendedPair ozk_vml_core_atanl_table_128[128];

#ifdef __cplusplus
}
#endif

#endif
