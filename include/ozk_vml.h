/* Vector mathematics: mode, status, error callback, and every function of the catalogue. What its kernels share, one
 * number at a time: ozk_vml_scalars.h.
 *
 * A function _vml<p><Func> computes r[i] = f(a[i]) for i = 0 .. n - 1, <p> being the element type: s single,
 * d double, c single complex, z double complex. Counts and strides are 32-bit; strides count elements. n <= 0
 * does nothing. A result vector may be exactly an argument vector, but may not overlap it otherwise. Any
 * alignment is allowed. Every element has the same bits whatever n, its position, the alignment and the
 * strides are.
 *
 * Accuracy: the plain name and _HA stay below 1 ulp; _21 (s, c) and _50 (d, z), the LA level, below 4 ulp;
 * _11 and _26, the EP level, give about half the bits. The mode's accuracy field is for callers that choose a
 * slot of the kernel table (ozk_vml_kernel_GetTTableIndex); entry points don't read it.
 *
 * Special values are reported to the calling thread's error status, errno, standard error, the floating-point
 * flags and the thread's callback, as its mode says. All state is per thread; every function may be called
 * from any thread.
 */
#ifndef OZK_VML_H
#define OZK_VML_H

#include <stdint.h>

#include "ozk_core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Mode ------------------------------------------------------------------------------------------- */

enum {
    kVmlAccuracyMask = 0xF,
    kVmlLa = 0x1,
    kVmlHa = 0x2,
    kVmlEp = 0x3,

    kVmlConsistencyMask = 0xF0,
    kVmlFloatConsistent = 0x10,
    kVmlDoubleConsistent = 0x20,
    kVmlRestore = 0x30,

    kVmlErrorModeMask = 0xFF00,
    kVmlErrorIgnore = 0x100,    /* set the status, do nothing else */
    kVmlErrorErrno = 0x200,     /* set errno */
    kVmlErrorStderr = 0x400,    /* print a message */
    kVmlErrorException = 0x800, /* raise the floating-point flag, trap if the mode's trap bits say so */
    kVmlErrorCallback = 0x1000, /* call the thread's callback */
    kVmlErrorNone = 0x2000,     /* no error handling: not even the status is set */
    kVmlErrorDefault = 0x1A00,

    kVmlTwoBitMask = 0x30000, /* stored only */

    kVmlDenormalMask = 0x3C0000,
    kVmlDenormalKeep = 0x140000,
    kVmlDenormalFlush = 0x280000, /* kernels flush denormal results and read denormal arguments as zero */

    kVmlTrapMask = 0xF000000,
    kVmlTrapInvalid = 0x1000000,
    kVmlTrapDivideByZero = 0x2000000,
    kVmlTrapOverflow = 0x4000000,
    kVmlTrapUnderflow = 0x8000000,

    kVmlDefaultMode = 0x1A02
};

/* ---- Errors ----------------------------------------------------------------------------------------- */

enum {
    kVmlBadMemory = -2,  /* a memory argument is bad */
    kVmlBadSize = -1,    /* a size argument is bad */
    kVmlOk = 0,          /* no error */
    kVmlDomain = 1,      /* an argument lies outside the function's domain */
    kVmlSingularity = 2, /* an argument is a pole of the function */
    kVmlOverflow = 3,    /* a result is too large */
    kVmlUnderflow = 4    /* a result is subnormal or zero where the exact one is not */
};

/* What a callback is told of a special value, and where it may replace the results r1 and r2. */
typedef struct VmlErrorRecord {
    int32_t code;  /* kVmlDomain and so on */
    int32_t index; /* of the element, in the whole vector where a base pointer is set */
    double a1;     /* arguments and results, real parts; a2 is a1, r2 is r1 where there is only one */
    double a2;
    double r1;
    double r2;
    char name[64]; /* such as "vdExp", NUL-terminated, at most 47 characters */
    int32_t name_length;
    int32_t padding;
    double a1_imaginary; /* complex types only */
    double a2_imaginary;
    double r1_imaginary;
    double r2_imaginary;
} VmlErrorRecord;

/* Returns 0 to go on with the reporting and to store the record's results, nonzero to end it and keep the
 * kernel's result. */
typedef int (*VmlErrorCallBack)(VmlErrorRecord* record);

/* ---- Control ---------------------------------------------------------------------------------------- *
 * Each
 * operation exists as _vml<Name> and as ozk_vml_kernel_<Name>. All act on the calling thread alone. The first
 * use on a thread takes the mode from the environment variable OZK_VML_MODE (tokens such as VML_EP or
 * VML_ERRMODE_STDERR, separated by commas), or kVmlDefaultMode when it is unset or malformed. */

#define OZK_VML_CONTROL(prefix)                                                                                \
    /* Replaces each field of the mode that is nonzero in `mode`; returns the previous mode. The consistency \
     * field and bits outside the fields stay. */ \
    OZK_EXPORT uint64_t prefix##SetMode(uint32_t mode);                                                        \
    OZK_EXPORT uint64_t prefix##GetMode(void);                                                                 \
    /* The code of the last special value reported on this thread; successful calls leave it. Set and Clear  \
     * return the previous one. */ \
    OZK_EXPORT int32_t prefix##SetErrStatus(int32_t status);                                                   \
    OZK_EXPORT int32_t prefix##GetErrStatus(void);                                                             \
    OZK_EXPORT int32_t prefix##ClearErrStatus(void);                                                           \
    /* The callback; null for none. Set and Clear return the previous one and keep the mode's callback bit   \
     * in step, but for an error mode that would become empty. */ \
    OZK_EXPORT VmlErrorCallBack prefix##SetErrorCallBack(VmlErrorCallBack callback);                           \
    OZK_EXPORT VmlErrorCallBack prefix##GetErrorCallBack(void);                                                \
    OZK_EXPORT VmlErrorCallBack prefix##ClearErrorCallBack(void);                                              \
    /* The start of the caller's whole vector, from which reported indices count; null: from the vector of   \
     * the call. Returns its argument. */ \
    OZK_EXPORT const void* prefix##SetInterfInputVectorPointer(const void* base);

OZK_VML_CONTROL(_vml)
OZK_VML_CONTROL(ozk_vml_kernel_)

/* The mode that OZK_VML_MODE asks for, or all ones when it is unset or malformed. */
OZK_EXPORT int64_t ozk_vml_kernel_ReadEnvVarMode(void);

/* The kernel table slot of this thread's accuracy: LA 0, HA 1, EP 2. */
OZK_EXPORT int32_t ozk_vml_kernel_GetTTableIndex(void);
/* The slot of the accuracy in `mode`; the first argument is ignored. */
OZK_EXPORT int32_t ozk_vml_kernel_GetTTableIndexM(int64_t ignored, uint32_t mode);

/* The number of the processor code path of this library: 5. */
OZK_EXPORT int dll_cpu_version(void);

/* ---- Elements --------------------------------------------------------------------------------------- */

typedef struct OzkComplex8 {
    float re, im;
} OzkComplex8;
typedef struct OzkComplex16 {
    double re, im;
} OzkComplex16;

#define OZK_VML_TYPE_s float
#define OZK_VML_TYPE_d double
#define OZK_VML_TYPE_c OzkComplex8
#define OZK_VML_TYPE_z OzkComplex16
#define OZK_VML_REAL_s float
#define OZK_VML_REAL_d double
#define OZK_VML_REAL_c float
#define OZK_VML_REAL_z double

/* ---- Argument lists by shape ------------------------------------------------------------------------ *
 * 
 * OZK_VML_ARGUMENTS_<shape>(p) for the unit-stride form, OZK_VML_ARGUMENTS_<shape>_strided(p) for the strided
 * one. Pack and unpack: with width 1, n is a 32-bit count and indices are 32-bit integers; otherwise both are
 * 64-bit. */

#define OZK_VML_ARGUMENTS_unary(p) (int32_t n, const OZK_VML_TYPE_##p* a, OZK_VML_TYPE_##p* r)
#define OZK_VML_ARGUMENTS_unary_strided(p) \
    (int32_t n, const OZK_VML_TYPE_##p* a, int32_t inca, OZK_VML_TYPE_##p* r, int32_t incr)
#define OZK_VML_ARGUMENTS_to_real(p) (int32_t n, const OZK_VML_TYPE_##p* a, OZK_VML_REAL_##p* r)
#define OZK_VML_ARGUMENTS_to_real_strided(p) \
    (int32_t n, const OZK_VML_TYPE_##p* a, int32_t inca, OZK_VML_REAL_##p* r, int32_t incr)
#define OZK_VML_ARGUMENTS_to_complex(p) (int32_t n, const OZK_VML_REAL_##p* a, OZK_VML_TYPE_##p* r)
#define OZK_VML_ARGUMENTS_to_complex_strided(p) \
    (int32_t n, const OZK_VML_REAL_##p* a, int32_t inca, OZK_VML_TYPE_##p* r, int32_t incr)
#define OZK_VML_ARGUMENTS_binary(p) \
    (int32_t n, const OZK_VML_TYPE_##p* a, const OZK_VML_TYPE_##p* b, OZK_VML_TYPE_##p* r)
#define OZK_VML_ARGUMENTS_binary_strided(p)                                                       \
    (int32_t n, const OZK_VML_TYPE_##p* a, int32_t inca, const OZK_VML_TYPE_##p* b, int32_t incb, \
     OZK_VML_TYPE_##p* r, int32_t incr)
#define OZK_VML_ARGUMENTS_scalar(p) \
    (int32_t n, const OZK_VML_TYPE_##p* a, OZK_VML_TYPE_##p b, OZK_VML_TYPE_##p* r)
#define OZK_VML_ARGUMENTS_scalar_strided(p)                                                       \
    (int32_t n, const OZK_VML_TYPE_##p* a, int32_t inca, OZK_VML_TYPE_##p b, OZK_VML_TYPE_##p* r, \
     int32_t incr)
#define OZK_VML_ARGUMENTS_two_results(p) \
    (int32_t n, const OZK_VML_TYPE_##p* a, OZK_VML_TYPE_##p* r1, OZK_VML_TYPE_##p* r2)
#define OZK_VML_ARGUMENTS_two_results_strided(p)                                              \
    (int32_t n, const OZK_VML_TYPE_##p* a, int32_t inca, OZK_VML_TYPE_##p* r1, int32_t incr1, \
     OZK_VML_TYPE_##p* r2, int32_t incr2)
#define OZK_VML_ARGUMENTS_linear_fraction(p)                                                   \
    (int32_t n, const OZK_VML_TYPE_##p* a, const OZK_VML_TYPE_##p* b, OZK_VML_TYPE_##p scalea, \
     OZK_VML_TYPE_##p shifta, OZK_VML_TYPE_##p scaleb, OZK_VML_TYPE_##p shiftb, OZK_VML_TYPE_##p* r)
#define OZK_VML_ARGUMENTS_linear_fraction_strided(p)                                                     \
    (int32_t n, const OZK_VML_TYPE_##p* a, int32_t inca, const OZK_VML_TYPE_##p* b, int32_t incb,        \
     OZK_VML_TYPE_##p scalea, OZK_VML_TYPE_##p shifta, OZK_VML_TYPE_##p scaleb, OZK_VML_TYPE_##p shiftb, \
     OZK_VML_TYPE_##p* r, int32_t incr)
#define OZK_VML_ARGUMENTS_pack_increment(p) \
    (int64_t n, const OZK_VML_TYPE_##p* a, int64_t inca, OZK_VML_TYPE_##p* y, int32_t width)
#define OZK_VML_ARGUMENTS_pack_vector(p) \
    (int64_t n, const OZK_VML_TYPE_##p* a, const void* ia, OZK_VML_TYPE_##p* y, int32_t width)
#define OZK_VML_ARGUMENTS_pack_mask(p) \
    (int64_t n, const OZK_VML_TYPE_##p* a, const void* ma, OZK_VML_TYPE_##p* y, int32_t width)
#define OZK_VML_ARGUMENTS_unpack_increment(p) \
    (int64_t n, const OZK_VML_TYPE_##p* a, OZK_VML_TYPE_##p* y, int64_t incy, int32_t width)
#define OZK_VML_ARGUMENTS_unpack_vector(p) \
    (int64_t n, const OZK_VML_TYPE_##p* a, OZK_VML_TYPE_##p* y, const void* iy, int32_t width)
#define OZK_VML_ARGUMENTS_unpack_mask(p) \
    (int64_t n, const OZK_VML_TYPE_##p* a, OZK_VML_TYPE_##p* y, const void* my, int32_t width)

/* OZK_VML_IF_STRIDED_<shape>(text): text where the shape has a strided form. OZK_VML_IF_<state>(text): text
 * where the row is built. */
#define OZK_VML_IF_STRIDED_unary(...)           __VA_ARGS__
#define OZK_VML_IF_STRIDED_to_real(...)         __VA_ARGS__
#define OZK_VML_IF_STRIDED_to_complex(...)      __VA_ARGS__
#define OZK_VML_IF_STRIDED_binary(...)          __VA_ARGS__
#define OZK_VML_IF_STRIDED_scalar(...)          __VA_ARGS__
#define OZK_VML_IF_STRIDED_two_results(...)     __VA_ARGS__
#define OZK_VML_IF_STRIDED_linear_fraction(...) __VA_ARGS__
#define OZK_VML_IF_STRIDED_pack_increment(...)
#define OZK_VML_IF_STRIDED_pack_vector(...)
#define OZK_VML_IF_STRIDED_pack_mask(...)
#define OZK_VML_IF_STRIDED_unpack_increment(...)
#define OZK_VML_IF_STRIDED_unpack_vector(...)
#define OZK_VML_IF_STRIDED_unpack_mask(...)
#define OZK_VML_IF_built(...) __VA_ARGS__
#define OZK_VML_IF_planned(...)

/* The suffixes of the LA and EP entry points of each element type. */
#define OZK_VML_LA_SUFFIX_s  _21
#define OZK_VML_LA_SUFFIX_d  _50
#define OZK_VML_LA_SUFFIX_c  _21
#define OZK_VML_LA_SUFFIX_z  _50
#define OZK_VML_EP_SUFFIX_s  _11
#define OZK_VML_EP_SUFFIX_d  _26
#define OZK_VML_EP_SUFFIX_c  _11
#define OZK_VML_EP_SUFFIX_z  _26
#define OZK_VML_PASTE(a, b)  OZK_VML_PASTE_(a, b)
#define OZK_VML_PASTE_(a, b) a##b

/* Names of kernels: OZK_VML_KERNEL_<level>_<family>(p, function, family of the HA kernel). A level without a
 * kernel of its own names the HA kernel. */
#define OZK_VML_KERNEL_LA_EX(p, function, ha) ozk_vml_kernel_##p##function##_EXLAynn
#define OZK_VML_KERNEL_LA_H8(p, function, ha) ozk_vml_kernel_##p##function##_H8LAynn
#define OZK_VML_KERNEL_LA_no(p, function, ha) OZK_VML_KERNEL_HA_##ha(p, function, ha)
#define OZK_VML_KERNEL_HA_EX(p, function, ha) ozk_vml_kernel_##p##function##_EXHAynn
#define OZK_VML_KERNEL_HA_H8(p, function, ha) ozk_vml_kernel_##p##function##_H8HAynn
#define OZK_VML_KERNEL_EP_EX(p, function, ha) ozk_vml_kernel_##p##function##_EXEPnnn
#define OZK_VML_KERNEL_EP_H8(p, function, ha) ozk_vml_kernel_##p##function##_H8EPnnn
#define OZK_VML_KERNEL_EP_no(p, function, ha) OZK_VML_KERNEL_HA_##ha(p, function, ha)

/* ---- Kernels, kernel tables, cost tables and entry points of every function ------------------------- *
 * ozk_vml_kernel_<p><Func>[I]_<family><level><flags>: a
 * kernel, with the argument list of its entry points. ozk_vml_kernel_<p><Func>[I]_ttab: the kernels in slot
 * order LA, HA, EP. ozk_vml_kernel_<p><Func>[I]_ctab: their relative costs an element, in the same order.
 * _vml<p><Func>[I], _HA: slot 1; _21 or _50: slot 0; _11 or _26: slot 2. */

#define OZK_VML_DECLARE(p, function, ARGUMENTS, la, ha, ep)                                        \
    OZK_EXPORT void OZK_VML_KERNEL_LA_##la(p, function, ha) ARGUMENTS(p);                          \
    OZK_EXPORT void OZK_VML_KERNEL_HA_##ha(p, function, ha) ARGUMENTS(p);                          \
    OZK_EXPORT void OZK_VML_KERNEL_EP_##ep(p, function, ha) ARGUMENTS(p);                          \
    typedef void(*ozk_vml_##p##function##_kernel) ARGUMENTS(p);                                    \
    OZK_EXPORT extern const ozk_vml_##p##function##_kernel ozk_vml_kernel_##p##function##_ttab[3]; \
    OZK_EXPORT extern const float ozk_vml_kernel_##p##function##_ctab[3];                          \
    OZK_EXPORT void _vml##p##function ARGUMENTS(p);                                                \
    OZK_EXPORT void _vml##p##function##_HA ARGUMENTS(p);                                           \
    OZK_EXPORT void OZK_VML_PASTE(_vml##p##function, OZK_VML_LA_SUFFIX_##p) ARGUMENTS(p);          \
    OZK_EXPORT void OZK_VML_PASTE(_vml##p##function, OZK_VML_EP_SUFFIX_##p) ARGUMENTS(p);

#define OZK_FN(p, function, shape, la, ha, ep, state, ...)                                 \
    OZK_VML_IF_##state(OZK_VML_DECLARE(p, function, OZK_VML_ARGUMENTS_##shape, la, ha, ep) \
                           OZK_VML_IF_STRIDED_##shape(OZK_VML_DECLARE(                     \
                               p, function##I, OZK_VML_ARGUMENTS_##shape##_strided, la, ha, ep)))
#include "vml/catalogue.def"
#undef OZK_FN

/* ---- Functions -------------------------------------------------------------------------------------- *
 * What is special about each, beyond NaN for NaN, which is never reported: domain errors (code kVmlDomain,
 * result NaN), poles (kVmlSingularity, infinite), results too large or too small; then the largest errors found
 * against MPFR: HA and LA in ulp of the result, EP in correct bits; then the method.
 *
 * dExp     Results above the largest number: overflow; subnormal or zero results of finite arguments: underflow.
 *          HA 0.53, LA 2.2 ulp, EP 28.1 bits. Multiples of ln2/64 (LA 1024, EP 128) from a table, polynomial.
 * dExp2    As dExp; exact for integers. HA 0.53 ulp.
 * dExp10   As dExp; exact where the result is a double, as for the integers 0 to 22. HA 0.53 ulp.
 * dExpm1   Results above the largest number: overflow. expm1(+-0) = +-0, -1 below -38. HA 0.51 ulp. As dExp, the table
 *          less 1 carried to twice the precision.
 * dLn      +-0: pole, -infinity. x < 0: domain. HA 0.51, LA 2.5 ulp, EP 29 bits. Table by the reciprocal estimate, LA
 *          by the leading bits; polynomial.
 * dLog2    As dLn; exact for powers of two. HA 0.51 ulp. Table by the leading bits of the significand.
 * dLog10   As dLn; exact for powers of ten. HA and LA 0.51 ulp, the same. As dLog2.
 * dLog1p   -1: pole, -infinity. x < -1: domain. log1p(+-0) = +-0. HA 0.51 ulp. As dLog2, 1 + x taken exactly.
 * dLogb    +-0: pole, -infinity. The exponent of |x|, subnormal numbers that of their leading bit; +infinity for
 *          infinities. Exact. sLogb the same.
 * sExp     As dExp. HA 0.501, LA 2.3 ulp, EP 13.2 bits. HA in double precision, rounded once: multiples of ln2/512 from
 *          a table, polynomial; subnormal results and all thresholds to the last bit. LA, EP: 2^k times a polynomial.
 * sExp2    As sExp, one level: HA 0.501 ulp. Exact for integers.
 * sExp10   As sExp, one level: HA 0.501 ulp. Exact for the integers 0 to 10.
 * sExpm1   Results above the largest number: overflow. One level: HA 0.501 ulp, as sExp. expm1(-0) = -0.
 * sLn      +-0: pole, -infinity. x < 0: domain. HA 0.52, LA 1.2 ulp, EP 14.2 bits. HA: table by the leading bits of the
 *          significand, polynomial, the sum in two parts. LA, EP: a polynomial.
 * sLog2    As sLn, one level, in double precision and rounded once: HA 0.51 ulp. Exact for powers of two.
 * sLog10   As sLn, HA as sLog2. HA 0.51, LA 2.6 ulp, EP 14.1 bits. HA exact for the powers of ten 1 to 10^10.
 * sLog1p   x = -1: pole, -infinity. x < -1: domain. HA 0.52, LA 1.8 ulp, EP 14.2 bits. As sLog10. log1p(-0) = -0.
 * dSqrt    x < 0: domain. sqrt(-0) = -0. Every level 0.5 ulp: the square root instruction.
 * dSin     +-infinity: domain. sin(-x) = -sin(x) bit for bit. HA 0.513, LA 2.3, EP 28.0 bits. Any finite x:
 *          multiples of pi/64 from a table and polynomials; Payne and Hanek's reduction beyond 12800 (EP 3200).
 * dCos     +-infinity: domain. cos(-x) = cos(x) bit for bit. As dSin.
 * dSinCos  +-infinity: domain, both results NaN. The bits of dSin and dCos.
 * dErfInv  |x| > 1: domain; +-1: pole, +-infinity. Odd bit for bit. HA 0.72 (0.79 next to subnormal results), EP
 *          27.8 bits. Polynomials in |x| below 1/2 and in 1 - |x| above, eight for each power of two.
 *
 * The following are the same for d and s; levels that aren't named are HA.
 *
 * Add, Sub, Mul, Sqr, Div, Inv
 *          Overflow where the result is infinite and no argument is; x / 0: pole, infinite; 0 / 0, inf - inf, 0 inf and the
 *          like: domain. Of two NaN the first one goes on. 0.5 ulp; sInv LA and EP 2.4 ulp, by the reciprocal estimate and
 *          a step of Newton's method. sDiv has the same kernel at every level.
 * InvSqrt  +-0: pole, infinite with the sign of x. x < 0: domain. HA d 0.501, s 0.502 ulp, sInvSqrt EP 2^-21: the estimate
 *          of the root's reciprocal, refined.
 * LinearFrac
 *          (scalea a + shifta) / (scaleb b + shiftb). Denominator 0: pole, domain for 0 / 0; overflow. 0.51 ulp of the
 *          quotient of the two forms, whose products and sums are rounded: the reciprocal estimate, refined.
 * Ceil, Floor, Trunc, Round, NearbyInt, Rint
 *          Exact, nothing is reported. Round: halves away from zero; NearbyInt and Rint: to even. Only Rint raises the
 *          inexact flag.
 * Modf, Frac
 *          r1 = trunc(a), r2 = a - trunc(a), Frac r2 alone: exact, with the sign of a; 0 for infinities. Nothing is reported.
 * Abs, CopySign
 *          The sign bit alone changes, that of NaN too, which stays as it is. Nothing is reported.
 * Fmax, Fmin, MaxMag, MinMag
 *          IEEE 754-2019 maximumNumber and so on: NaN only where both are; -0 is below +0, of equal magnitudes the
 *          positive is the larger. Nothing is reported.
 * Fdim     a - b where a > b, else +0; NaN for NaN. Overflow. 0.5 ulp.
 * Fmod, Remainder
 *          a - n b, exact, n = a / b truncated or rounded to nearest, ties to even. a infinite or b = 0: domain.
 * NextAfter
 *          The neighbour of a on the way to b; b where they are equal. An infinite result of finite a: overflow; subnormal and
 *          zero results: underflow.
 * Hypot    Overflow; infinite with an infinite argument, NaN beside it too. HA 0.86, LA and EP 1.2 ulp. The root of the sum
 *          of squares, HA of Dekker's squares.
 *
 * Complex functions. Errors of each component in ulp of the component, HA; EP: of the whole, relative to its magnitude.
 * Nothing overflows or underflows on the way to a result that doesn't. Infinities and NaN as C Annex G has them. A
 * result is an overflow where a component is infinite and no argument's is.
 *
 * zAdd, zSub, zConj, cAdd, cSub, cConj
 *          Component by component, 0.5 ulp at every level; nothing is reported.
 * zMul, zMulByConj, cMul, cMulByConj
 *          a b, a conj(b). Overflow. z HA 0.76 (0.501 where nothing underflows), c HA 0.501, also where a component
 *          cancels; EP z 2^-51, c 2^-22. Dekker's products; c HA: double precision.
 * zDiv, cDiv
 *          a / b. b = 0: pole, infinite, domain for a = 0; overflow. z HA 0.76 (0.501 where nothing underflows), c HA
 *          0.501, also where a component cancels; EP z 2^-50. a conj(b) and |b|^2 by Dekker's products, one division.
 * zAbs, cAbs
 *          Overflow; infinite with an infinite component. HA 0.501, EP z 2^-51. Run the x87 unit in extended precision.
 * zArg, cArg
 *          atan2(im, re), from -pi to pi, also of zeros and infinities; nothing is reported. HA 0.501, LA c 2.4 ulp, EP c
 *          2^-14. A table of multiples of 1/64 and a polynomial of the rest; c: a polynomial.
 * zSqrt, cSqrt
 *          The root with nonnegative real part, cut along the negative real axis, where the sign of im chooses the side;
 *          nothing is reported. z HA 0.76 (0.501 where nothing underflows), c HA 0.501, LA c 2.4 ulp.
 *
 * sPackI, sPackV, sPackM, sUnpackI, sUnpackV, sUnpackM and the same for d, c, z
 *          y[i] = a[i inca], a[ia[i]], the a[i] with a nonzero ma[i] one after the other; y[i incy], y[iy[i]] = a[i], the
 *          y[i] with a nonzero my[i] = the elements of a, one after the other. Width 1: n and increments are 32-bit, the
 *          upper halves of their registers are ignored, and indices and mask elements are int32_t; any other width: 64-bit
 *          and int64_t. Counts below 1 do nothing. y must not overlap a or the indices. Bits are copied: no special values,
 *          no flags, the mode is not read. No element is read or written that the definition doesn't name.
 */

/* ---- Error entry points ----------------------------------------------------------------------------- *
 * Report code at
 * element `index` of vectors a1, a2 (a1 again for one-argument functions) and results r1, r2 (r1 again for
 * one-result functions), for the function called `name` in messages. The I forms take the stride of each
 * vector. Half-precision elements are their 16 bits. */

#define OZK_VML_ERROR(p, T)                                                                                 \
    OZK_EXPORT void ozk_vml_kernel_##p##Error(int32_t code, int32_t index, const T* a1, const T* a2, T* r1, \
                                              T* r2, const char* name);                                     \
    OZK_EXPORT void ozk_vml_kernel_##p##ErrorI(int32_t code, int32_t index, const T* a1, int32_t inca1,     \
                                               const T* a2, int32_t inca2, T* r1, int32_t incr1, T* r2,     \
                                               int32_t incr2, const char* name);
OZK_VML_ERROR(h, uint16_t)
OZK_VML_ERROR(s, float)
OZK_VML_ERROR(d, double)
OZK_VML_ERROR(c, OzkComplex8)
OZK_VML_ERROR(z, OzkComplex16)

#ifdef __cplusplus
}
#endif

#endif
