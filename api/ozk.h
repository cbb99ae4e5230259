/* The C interface: vector mathematics, random streams, summary statistics and splines.
 *
 * Lengths and indices are 64-bit. Arguments are checked before anything is written; a function that fails
 * leaves results, handles and streams as they were, unless its comment says otherwise. Functions return an
 * ozk_status:
 *
 *   0          done
 *   positive   done, and an element was special (vector mathematics alone): the ozk_special of the first one
 *   negative   not done: -(family * 100000 + number), see ozk_status_family and ozk_status_code;
 *              ozk_error_text gives the sentence, ozk_last_error that of the last failure on this thread with
 * names
 *
 * Threads: any thread may call any function. A handle is used by one thread at a time; different handles may
 * be used freely. Long calls run on several threads where that pays; the bits of a result never depend on how
 * many.
 */
#ifndef OZK_H
#define OZK_H

#include <stdint.h>

#include "ozk/names.h"

#define OZK_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Status ----------------------------------------------------------------------------------------- */

typedef int32_t ozk_status;

enum { kOzkOk = 0 };

/* What is special about an element of a vector. */
enum ozk_special {
    kOzkDomain = 1,   /* The argument lies outside the function's domain. */
    kOzkPole = 2,     /* The argument is a pole of the function. */
    kOzkOverflow = 3, /* The result is too large. */
    kOzkUnderflow = 4 /* The result is subnormal or zero where the exact one is not. */
};

enum ozk_family {
    kOzkVectorMath = 1,
    kOzkRandom = 2,
    kOzkStatistics = 3,
    kOzkSpline = 4,
    kOzkLinearAlgebra = 5
};

/* Codes that every family may answer; all others are the family's own. */
enum ozk_common_code {
    kOzkCodeNull = -90001,   /* An array, a handle or a place for a result is null. */
    kOzkCodeSize = -90002,   /* A length is negative, too large, or does not fit the others. */
    kOzkCodeStride = -90003, /* A stride is outside 32 bits, or a result's stride is zero. */
    kOzkCodeOverlap =
        -90004, /* A result overlaps another array: pass exactly the argument array, or one apart. */
    kOzkCodeKernels = -90005,  /* The kernels cannot be loaded; ozk_last_error says why. */
    kOzkCodeArgument = -90006, /* An argument is outside its range. */
    kOzkCodeMemory = -90007    /* There is not enough memory. */
};

/* The family (ozk_family) and the family's own code, below zero, of a negative status; 0 otherwise. */
OZK_API int32_t ozk_status_family(ozk_status status);
OZK_API int32_t ozk_status_code(ozk_status status);

/* The name of a family, such as "statistics", and the sentence of a status; constant texts, never null. */
OZK_API const char* ozk_family_name(int32_t family);
OZK_API const char* ozk_error_text(ozk_status status);

/* What failed last on this thread and what to do about it, in one sentence: with the function, and the
 * argument or file at fault where there is one. Valid until the next failure on this thread; empty before the
 * first. */
OZK_API const char* ozk_last_error(void);

/* ---- Threads ---------------------------------------------------------------------------------------- */

/* At most `threads` threads work for a call; 1 switches threads off; 0, the state at the start, leaves it to
 * OpenMP (OMP_NUM_THREADS, else the number of processors). Process-wide. kOzkCodeArgument when negative. */
OZK_API ozk_status ozk_set_threads(int64_t threads);
OZK_API int64_t ozk_get_threads(void);

/* ---- Vector mathematics: how it is computed --------------------------------------------------------- *
 * All of it belongs to the calling
 * thread, starts from the environment variable OZK_VML_MODE, and holds for the whole of a call, on whatever
 * threads it runs. Setters answer kOzkCodeArgument for an unknown value and kOzkCodeKernels; getters answer
 * the value at the start when there are no kernels. */

enum ozk_accuracy {
    kOzkLow = 1,  /* below 4 ulp */
    kOzkHigh = 2, /* below 1 ulp; at the start */
    kOzkFast = 3  /* about half the bits */
};
OZK_API ozk_status ozk_set_accuracy(int32_t accuracy);
OZK_API int32_t ozk_get_accuracy(void);

/* Nonzero: subnormal arguments and results count as zero. */
OZK_API ozk_status ozk_set_flush_denormals(int32_t flush);
OZK_API int32_t ozk_get_flush_denormals(void);

/* What happens at a special element, beside the status and the handler: a sum of these. */
enum ozk_special_action {
    kOzkActErrno = 1,   /* errno = EDOM or ERANGE */
    kOzkActMessage = 2, /* a line on standard error */
    kOzkActFlag = 4,    /* the floating-point exception flag is raised */
    kOzkActDefault = 5  /* errno and flag; at the start */
};
OZK_API ozk_status ozk_set_special_actions(int32_t actions);
OZK_API int32_t ozk_get_special_actions(void);

typedef struct ozk_complex_float {
    float re, im;
} ozk_complex_float;
typedef struct ozk_complex_double {
    double re, im;
} ozk_complex_double;

/* A special element. Functions of one argument or one result have argument[1] = argument[0], result[1] =
 * result[0]; imaginary parts are zero where elements are real. */
typedef struct ozk_special_value {
    int64_t index; /* of the element in the caller's whole vector */
    int32_t code;  /* ozk_special */
    int32_t reserved;
    const char* function; /* such as "ozk_d_exp"; constant */
    ozk_complex_double argument[2];
    ozk_complex_double result[2];
} ozk_special_value;

/* Is told of each special element of a call, on the calling thread, in the order of the indices. It may
 * replace value->result. Returns 0 to store the results and go on with the actions above, nonzero to leave
 * the results as they were computed and do nothing else about this element. It may call this library; it must
 * not end by longjmp or an exception. When the call has several batches of work, elements of later ones are
 * not yet computed. */
typedef int (*ozk_special_handler)(ozk_special_value* value, void* context);

/* The calling thread's handler; null for none, the state at the start. */
OZK_API void ozk_set_special_handler(ozk_special_handler handler, void* context);
OZK_API void ozk_get_special_handler(ozk_special_handler* handler, void** context);

/* ---- Vector mathematics: the functions -------------------------------------------------------------- *
 * ozk_<p>_<name>(n, arguments ...,
 * results ...) for each function of the catalogue that is built, p being the element type: s float, d double,
 * c complex float, z complex double; for example
 *
 *   ozk_status ozk_d_exp(int64_t n, const double* x, double* y);
 *   ozk_status ozk_d_exp_strided(int64_t n, const double* x, int64_t incx, double* y, int64_t incy);
 *
 * y[i] = f(x[i]) for i = 0 .. n - 1, in the strided form y[i * incy] = f(x[i * incx]); strides count elements
 * and may be negative, those of arguments zero. Any alignment. A result may be exactly an argument: the same
 * start, element size and stride; otherwise arrays are apart, or lie between each other's elements with equal
 * strides.
 *
 * Status: positive for special elements; kOzkCodeSize (n < 0), kOzkCodeNull (n > 0), kOzkCodeStride,
 * kOzkCodeOverlap, kOzkCodeKernels, kOzkCodeMemory (to remember special elements for the handler and the
 * messages).
 *
 * The work is cut into pieces of 16384 elements, given to as many threads as have at least 131072 cycles of
 * work each by the function's cost table: some forty microseconds. Special elements have the effect of one serial call: errno is that of the last one, the flags are
 * those of all. */

#define OZK_API_TYPE_s float
#define OZK_API_TYPE_d double
#define OZK_API_TYPE_c ozk_complex_float
#define OZK_API_TYPE_z ozk_complex_double
#define OZK_API_REAL_s float
#define OZK_API_REAL_d double
#define OZK_API_REAL_c float
#define OZK_API_REAL_z double

/* Argument lists by shape, for elements T and their real type R. */
#define OZK_API_ARGUMENTS_unary(T, R)              (int64_t n, const T* x, T* y)
#define OZK_API_ARGUMENTS_unary_strided(T, R)      (int64_t n, const T* x, int64_t incx, T* y, int64_t incy)
#define OZK_API_ARGUMENTS_to_real(T, R)            (int64_t n, const T* x, R* y)
#define OZK_API_ARGUMENTS_to_real_strided(T, R)    (int64_t n, const T* x, int64_t incx, R* y, int64_t incy)
#define OZK_API_ARGUMENTS_to_complex(T, R)         (int64_t n, const R* x, T* y)
#define OZK_API_ARGUMENTS_to_complex_strided(T, R) (int64_t n, const R* x, int64_t incx, T* y, int64_t incy)
#define OZK_API_ARGUMENTS_binary(T, R)             (int64_t n, const T* a, const T* b, T* y)
#define OZK_API_ARGUMENTS_binary_strided(T, R) \
    (int64_t n, const T* a, int64_t inca, const T* b, int64_t incb, T* y, int64_t incy)
#define OZK_API_ARGUMENTS_scalar(T, R)         (int64_t n, const T* x, T b, T* y)
#define OZK_API_ARGUMENTS_scalar_strided(T, R) (int64_t n, const T* x, int64_t incx, T b, T* y, int64_t incy)
#define OZK_API_ARGUMENTS_two_results(T, R)    (int64_t n, const T* x, T* y1, T* y2)
#define OZK_API_ARGUMENTS_two_results_strided(T, R) \
    (int64_t n, const T* x, int64_t incx, T* y1, int64_t incy1, T* y2, int64_t incy2)
/* y = (scalea a + shifta) / (scaleb b + shiftb) */
#define OZK_API_ARGUMENTS_linear_fraction(T, R) \
    (int64_t n, const T* a, const T* b, T scalea, T shifta, T scaleb, T shiftb, T* y)
#define OZK_API_ARGUMENTS_linear_fraction_strided(T, R)                                                     \
    (int64_t n, const T* a, int64_t inca, const T* b, int64_t incb, T scalea, T shifta, T scaleb, T shiftb, \
     T* y, int64_t incy)
/* Pack: y[i] = x[i * incx], x[index[i]], or the x[i] with a nonzero mask[i] one behind the other; n counts y,
 * for masks x. Unpack writes the other way round; n counts x, for masks y. No overlap. */
#define OZK_API_ARGUMENTS_pack_increment(T, R)   (int64_t n, const T* x, int64_t incx, T* y)
#define OZK_API_ARGUMENTS_pack_vector(T, R)      (int64_t n, const T* x, const int64_t* index, T* y)
#define OZK_API_ARGUMENTS_pack_mask(T, R)        (int64_t n, const T* x, const int64_t* mask, T* y)
#define OZK_API_ARGUMENTS_unpack_increment(T, R) (int64_t n, const T* x, T* y, int64_t incy)
#define OZK_API_ARGUMENTS_unpack_vector(T, R)    (int64_t n, const T* x, T* y, const int64_t* index)
#define OZK_API_ARGUMENTS_unpack_mask(T, R)      (int64_t n, const T* x, T* y, const int64_t* mask)

/* OZK_API_IF_STRIDED_<shape>(text): text where the shape has a strided form. */
#define OZK_API_IF_STRIDED_unary(...)           __VA_ARGS__
#define OZK_API_IF_STRIDED_to_real(...)         __VA_ARGS__
#define OZK_API_IF_STRIDED_to_complex(...)      __VA_ARGS__
#define OZK_API_IF_STRIDED_binary(...)          __VA_ARGS__
#define OZK_API_IF_STRIDED_scalar(...)          __VA_ARGS__
#define OZK_API_IF_STRIDED_two_results(...)     __VA_ARGS__
#define OZK_API_IF_STRIDED_linear_fraction(...) __VA_ARGS__
#define OZK_API_IF_STRIDED_pack_increment(...)
#define OZK_API_IF_STRIDED_pack_vector(...)
#define OZK_API_IF_STRIDED_pack_mask(...)
#define OZK_API_IF_STRIDED_unpack_increment(...)
#define OZK_API_IF_STRIDED_unpack_vector(...)
#define OZK_API_IF_STRIDED_unpack_mask(...)

/* OZK_API_IF_<state>(text): text where the row is built. A build check sets OZK_API_WHOLE_CATALOGUE to see
 * that every row would compile. */
#define OZK_API_IF_built(...) __VA_ARGS__
#ifdef OZK_API_WHOLE_CATALOGUE
#define OZK_API_IF_planned(...) __VA_ARGS__
#else
#define OZK_API_IF_planned(...)
#endif

#define OZK_API_NAME(p, name)           OZK_API_NAME_(p, name)
#define OZK_API_NAME_(p, name)          ozk_##p##_##name
#define OZK_API_STRIDED_NAME(p, name)   OZK_API_STRIDED_NAME_(p, name)
#define OZK_API_STRIDED_NAME_(p, name)  ozk_##p##_##name##_strided
#define OZK_API_ARGUMENTS(p, ARGUMENTS) ARGUMENTS(OZK_API_TYPE_##p, OZK_API_REAL_##p)

#define OZK_FN(p, function, shape, la, ha, ep, state, ...)                                         \
    OZK_API_IF_##state(                                                                            \
        OZK_API ozk_status OZK_API_NAME(p, OZK_NAME_##function)                                    \
            OZK_API_ARGUMENTS(p, OZK_API_ARGUMENTS_##shape);                                       \
        OZK_API_IF_STRIDED_##shape(OZK_API ozk_status OZK_API_STRIDED_NAME(p, OZK_NAME_##function) \
                                       OZK_API_ARGUMENTS(p, OZK_API_ARGUMENTS_##shape##_strided);))
#include "ozk/catalogue.def"
#undef OZK_FN

/* ---- Random streams --------------------------------------------------------------------------------- */

typedef struct ozk_stream ozk_stream;

/* The identifier of the generator called `name`: MCG31M1, R250, MRG32K3A, MCG59, WH, SOBOL, NIEDERREITER,
 * MT19937, MT2203, SFMT19937, NONDETERMINISTIC, ARS5 or PHILOX4X32X10. "WH:17" and "MT2203:17" name parameter
 * set 17 of a family. */
OZK_API ozk_status ozk_generator_find(const char* name, uint32_t* generator);

/* Creates a stream and seeds it with n 32-bit words (none: the generator's default). The first seed word of
 * SOBOL and NIEDERREITER is the number of dimensions, up to 40 and 318: the numbers of such a stream are the
 * coordinates of one point after the other, from the point after the origin on. Further words describe further
 * dimensions: the number 1 (polynomials) or 2 (direction numbers), how many of the generator's own dimensions
 * come first, and the description of each other one; see ozk/random.hpp. */
OZK_API ozk_status ozk_stream_new(uint32_t generator, int64_t n, const uint32_t* seed, ozk_stream** stream);
/* Creates `count` streams from one seed for workers that draw at the same time, the best way that the generator
 * offers: MCG31M1 and MCG59 give stream k numbers k, k + count, ...; of WH and MT2203 each has a parameter set of its
 * own, from that of the identifier on; those of the others start so many numbers apart that no worker comes to the
 * next one's: 2^127 of MRG32K3A, 2^63 of MT19937 and SFMT19937, 2^96 of ARS5 and PHILOX4X32X10; those of
 * NONDETERMINISTIC are independent as they are. Refused for R250, SOBOL, NIEDERREITER, and for more streams than there
 * are sets. */
OZK_API ozk_status ozk_streams_new(uint32_t generator, int64_t n, const uint32_t* seed, int64_t count,
                                   ozk_stream** streams);
OZK_API ozk_status ozk_stream_copy(const ozk_stream* stream, ozk_stream** copy);
/* Null is allowed. */
OZK_API void ozk_stream_delete(ozk_stream* stream);

/* Turns the stream into sub-stream k of `count`, 0 <= k < count: numbers k, k + count, k + 2 count, ... */
OZK_API ozk_status ozk_stream_leapfrog(ozk_stream* stream, int64_t k, int64_t count);
/* Skips `count` numbers. */
OZK_API ozk_status ozk_stream_skip_ahead(ozk_stream* stream, uint64_t count);
/* Skips count[0] + count[1] 2^64 + ... numbers. */
OZK_API ozk_status ozk_stream_skip_ahead_words(ozk_stream* stream, int64_t n, const uint64_t* count);

/* Save a stream with all that waits in it, and create one from what was saved, on any machine of this kind. A
 * file is replaced when it exists. `size` is the size of the block in bytes: saving needs at least
 * ozk_stream_size of it (kOzkCodeSize), loading reads no more. Files and blocks are checked, so that it is safe
 * to load one of unknown origin. */
OZK_API ozk_status ozk_stream_save(const ozk_stream* stream, const char* path);
OZK_API ozk_status ozk_stream_load(const char* path, ozk_stream** stream);
OZK_API ozk_status ozk_stream_size(const ozk_stream* stream, int64_t* size);
OZK_API ozk_status ozk_stream_save_block(const ozk_stream* stream, int64_t size, void* block);
OZK_API ozk_status ozk_stream_load_block(int64_t size, const void* block, ozk_stream** stream);

/* n numbers, uniform on [a, b), a < b finite (clamped into the interval; rounding can give b for float), or
 * integers a <= r < b. The sequence does not depend on how it is cut into calls. */
OZK_API ozk_status ozk_s_uniform(ozk_stream* stream, int64_t n, float* r, float a, float b);
OZK_API ozk_status ozk_d_uniform(ozk_stream* stream, int64_t n, double* r, double a, double b);
OZK_API ozk_status ozk_i_uniform(ozk_stream* stream, int64_t n, int32_t* r, int32_t a, int32_t b);
/* n words of independent uniform bits. */
OZK_API ozk_status ozk_bits32(ozk_stream* stream, int64_t n, uint32_t* r);
OZK_API ozk_status ozk_bits64(ozk_stream* stream, int64_t n, uint64_t* r);

enum ozk_gaussian_method {
    kOzkBoxMuller = 0,      /* two uniforms for one number */
    kOzkBoxMullerPairs = 1, /* two uniforms for two numbers; half a pair waits in the stream */
    kOzkInverse = 2         /* the inverse distribution function of one uniform */
};
/* n numbers of a distribution each, in single and double precision; every parameter is finite. The sequence does
 * not depend on how it is cut into calls.
 * Normal, with mean `mean` and standard deviation sigma > 0. */
OZK_API ozk_status ozk_s_gaussian(ozk_stream* stream, int64_t n, float* r, float mean, float sigma,
                                  int32_t method);
OZK_API ozk_status ozk_d_gaussian(ozk_stream* stream, int64_t n, double* r, double mean, double sigma,
                                  int32_t method);

/* With y = (x - displacement) / scale, scale > 0:
 * exponential  P(X <= x) = 1 - exp(-y), y >= 0
 * laplace      exp(y) / 2 for y < 0, else 1 - exp(-y) / 2
 * rayleigh     1 - exp(-y^2), y >= 0
 * gumbel       1 - exp(-exp(y)): of a smallest value
 * cauchy       1/2 + atan(y) / pi */
#define OZK_API_LOCATION_SCALE(name)                                                               \
    OZK_API ozk_status ozk_s_##name(ozk_stream* stream, int64_t n, float* r, float displacement,   \
                                    float scale);                                                  \
    OZK_API ozk_status ozk_d_##name(ozk_stream* stream, int64_t n, double* r, double displacement, \
                                    double scale);
OZK_API_LOCATION_SCALE(exponential)
OZK_API_LOCATION_SCALE(laplace)
OZK_API_LOCATION_SCALE(rayleigh)
OZK_API_LOCATION_SCALE(gumbel)
OZK_API_LOCATION_SCALE(cauchy)

/* weibull  P(X <= x) = 1 - exp(-y^shape), y >= 0, shape > 0
 * gamma    density proportional to y^(shape - 1) exp(-y), y > 0, shape > 0 */
#define OZK_API_SHAPE(name)                                                                 \
    OZK_API ozk_status ozk_s_##name(ozk_stream* stream, int64_t n, float* r, float shape,   \
                                    float displacement, float scale);                       \
    OZK_API ozk_status ozk_d_##name(ozk_stream* stream, int64_t n, double* r, double shape, \
                                    double displacement, double scale);
OZK_API_SHAPE(weibull)
OZK_API_SHAPE(gamma)

/* displacement + scale exp(G), G normal with mean `mean` and standard deviation sigma > 0; scale > 0. */
OZK_API ozk_status ozk_s_lognormal(ozk_stream* stream, int64_t n, float* r, float mean, float sigma,
                                   float displacement, float scale);
OZK_API ozk_status ozk_d_lognormal(ozk_stream* stream, int64_t n, double* r, double mean, double sigma,
                                   double displacement, double scale);
/* Density proportional to y^(p - 1) (1 - y)^(q - 1), 0 <= y <= 1; p and q 1e-30 to 1e30. */
OZK_API ozk_status ozk_s_beta(ozk_stream* stream, int64_t n, float* r, float p, float q, float displacement,
                              float scale);
OZK_API ozk_status ozk_d_beta(ozk_stream* stream, int64_t n, double* r, double p, double q,
                              double displacement, double scale);
/* The sum of the squares of `degrees` > 0 standard normal numbers. */
OZK_API ozk_status ozk_s_chi_square(ozk_stream* stream, int64_t n, float* r, int32_t degrees);
OZK_API ozk_status ozk_d_chi_square(ozk_stream* stream, int64_t n, double* r, int32_t degrees);

enum ozk_poisson_method {
    kOzkPtpe = 0,                 /* rejection with the least hat: Schmeiser and Kachitvichyanukul */
    kOzkTransformedRejection = 1, /* Hoermann */
    kOzkRatioOfUniforms = 2,      /* Stadlober */
    kOzkPoissonInverse = 3        /* the inverse distribution function of one uniform */
};
/* n integers of a distribution each; the sequences do not depend on how they are cut into calls.
 * poisson            P(X = k) = exp(-mean) mean^k / k!, 0 < mean <= 2.1e9
 * poisson_each       r[i] with the mean means[i], by the inverse distribution function
 * negative_binomial  the failures before that success, of real number > 0, of trials that succeed with
 *                    0 < probability < 1; what is more than 2^31 - 1 is given as that
 * multinomial        n vectors, row after row: how often each outcome comes in `trials` >= 0 trials; probabilities
 *                    >= 0 of sum 1, from which rounding may take them by 1e-4 */
OZK_API ozk_status ozk_i_poisson(ozk_stream* stream, int64_t n, int32_t* r, double mean, int32_t method);
OZK_API ozk_status ozk_i_poisson_each(ozk_stream* stream, int64_t n, int32_t* r, const double* means);
OZK_API ozk_status ozk_i_negative_binomial(ozk_stream* stream, int64_t n, int32_t* r, double successes,
                                           double probability);
OZK_API ozk_status ozk_i_multinomial(ozk_stream* stream, int64_t n, int32_t* r, int32_t trials,
                                     int64_t outcomes, const double* probabilities);

enum ozk_factor_storage {
    kOzkFactorFull = 0,    /* dimension rows of dimension; what is above the diagonal is not read */
    kOzkFactorPacked = 1,  /* the rows of the lower triangle, one after the other */
    kOzkFactorDiagonal = 2 /* the diagonal alone */
};
/* n normal vectors of `dimension` numbers, row after row in r, with these means and the covariance T T', T the
 * lower triangular factor. Cut into calls otherwise, results can differ in their last digits. */
OZK_API ozk_status ozk_s_gaussian_vectors(ozk_stream* stream, int64_t n, float* r, int64_t dimension,
                                          const float* mean, int32_t storage, const float* factor,
                                          int32_t method);
OZK_API ozk_status ozk_d_gaussian_vectors(ozk_stream* stream, int64_t n, double* r, int64_t dimension,
                                          const double* mean, int32_t storage, const double* factor,
                                          int32_t method);

/* n integers of a distribution each. The sequence does not depend on how it is cut into calls.
 * bernoulli       1 with probability p, else 0; 0 <= p <= 1
 * geometric       the failures before the first success, of probability p; 0 < p <= 1. Above 2^31 - 1: that
 * binomial        the successes of `trials` >= 0 trials, of probability p each; 0 <= p <= 1
 * hypergeometric  the marked ones among `drawn` ones of `size`, of which `marked` are marked, drawn without putting
 *                 back; 0 <= drawn <= size, 0 <= marked <= size */
OZK_API ozk_status ozk_i_bernoulli(ozk_stream* stream, int64_t n, int32_t* r, double p);
OZK_API ozk_status ozk_i_geometric(ozk_stream* stream, int64_t n, int32_t* r, double p);
OZK_API ozk_status ozk_i_binomial(ozk_stream* stream, int64_t n, int32_t* r, int32_t trials, double p);
OZK_API ozk_status ozk_i_hypergeometric(ozk_stream* stream, int64_t n, int32_t* r, int32_t size,
                                        int32_t drawn, int32_t marked);

/* ---- Summary statistics ----------------------------------------------------------------------------- *
 * Estimates of p
 * components over all observations that were added, in as many portions as the caller likes. W is the total
 * weight (the number of observations when there are no weights), V the sum of the squared weights, m_i the
 * mean of component i. Vectors have p values, matrices p rows of p. */

typedef struct ozk_statistics ozk_statistics;

/* Bits of a set of estimates. */
#define kOzkMean           UINT64_C(0x1) /* sum w x / W */
#define kOzkRawMoment2     UINT64_C(0x2) /* sum w x^2 / W; so 3 and 4 */
#define kOzkRawMoment3     UINT64_C(0x4)
#define kOzkRawMoment4     UINT64_C(0x8)
#define kOzkCentralMoment2 UINT64_C(0x10) /* sum w (x - m)^2 / W; so 3 and 4 */
#define kOzkCentralMoment3 UINT64_C(0x20)
#define kOzkCentralMoment4 UINT64_C(0x40)
#define kOzkKurtosis       UINT64_C(0x80)      /* excess: central moment 4 / (central moment 2)^2 - 3 */
#define kOzkSkewness       UINT64_C(0x100)     /* central moment 3 / (central moment 2)^(3/2) */
#define kOzkVariation      UINT64_C(0x200)     /* sqrt(central moment 2) / mean */
#define kOzkCovariance     UINT64_C(0x1000)    /* sum w (x_i - m_i)(x_k - m_k) / (W - V / W), a matrix */
#define kOzkCorrelation    UINT64_C(0x2000)    /* a matrix */
#define kOzkSum            UINT64_C(0x2000000) /* sum w x; the sums below are the moments above without / W */
#define kOzkRawSum2        UINT64_C(0x4000000)
#define kOzkRawSum3        UINT64_C(0x8000000)
#define kOzkRawSum4        UINT64_C(0x10000000)
#define kOzkCentralSum2    UINT64_C(0x20000000)
#define kOzkCentralSum3    UINT64_C(0x40000000)
#define kOzkCentralSum4    UINT64_C(0x80000000)
#define kOzkCrossProduct   UINT64_C(0x100000000) /* sum w (x_i - m_i)(x_k - m_k), a matrix */

enum ozk_layout {
    kOzkByComponent = 0x10000,  /* x[i * n + j]: component i of observation j */
    kOzkByObservation = 0x20000 /* x[j * p + i] */
};

/* For p >= 1 components and the estimates of the set, at least one. */
OZK_API ozk_status ozk_statistics_new(int64_t p, uint64_t estimates, ozk_statistics** statistics);
/* Null is allowed. */
OZK_API void ozk_statistics_delete(ozk_statistics* statistics);

/* Adds n >= 1 observations, with weights[n] >= 0 (null: all 1). */
OZK_API ozk_status ozk_statistics_add(ozk_statistics* statistics, int64_t n, const double* x, int32_t layout,
                                      const double* weights);

/* Copies one estimate, which must be of the set, into result; NaN everywhere before the first observation. */
OZK_API ozk_status ozk_statistics_get(const ozk_statistics* statistics, uint64_t estimate, double* result);
/* W and V. */
OZK_API ozk_status ozk_statistics_weights(const ozk_statistics* statistics, double* total, double* squares);

/* Estimates of one sample: p components of n >= 1 observations in x, in one of the layouts above. Quantiles are
 * those of the sorted values s_0 <= ... <= s_(n-1), linear between them: with h = q (n - 1) and k = floor(h),
 * s_k + (s_(k+1) - s_k)(h - k). */

/* Of one component. Where a value is NaN, everything but the count is. */
typedef struct ozk_description {
    int64_t count;
    double mean;
    double deviation; /* sqrt(sum (x - m)^2 / (n - 1)), NaN for one observation */
    double skewness;  /* of central moments, as above; NaN without deviation */
    double kurtosis;  /* excess */
    double minimum, lower_quartile, median, upper_quartile, maximum;
    double median_deviation; /* the median of |x - median|, unscaled */
    double mean_deviation;   /* sum |x - m| / n */
} ozk_description;

/* All of it, to descriptions[p]. */
OZK_API ozk_status ozk_d_describe(int64_t p, int64_t n, const double* x, int32_t layout,
                                  ozk_description* descriptions);
/* The quantiles of m >= 1 orders in [0, 1]: that of component i and orders[q] to quantiles[i * m + q]. NaNs count
 * as larger than everything. */
OZK_API ozk_status ozk_d_quantiles(int64_t p, int64_t n, const double* x, int32_t layout, int64_t m,
                                   const double* orders, double* quantiles);
/* The median of each component under weights[n] >= 0, to medians[p]: the smallest value whose cumulated weight
 * reaches W / 2, or the mean of it and the next where it is exactly that; NaN where all weights are 0. */
OZK_API ozk_status ozk_d_weighted_median(int64_t p, int64_t n, const double* x, int32_t layout,
                                         const double* weights, double* medians);
/* Each component sorted ascending, in the layout of x; `sorted` may be x. NaNs come last. */
OZK_API ozk_status ozk_d_sort(int64_t p, int64_t n, const double* x, int32_t layout, double* sorted);
/* Mean of all observations and covariance within groups: observation j belongs to group groups[j] >= 0; with
 * C_g the cross-products about the mean of group g, covariance[p * p] = sum of C_g / (n - number of groups).
 * weights[n] >= 0, null: all 1; with weights sum of C_g / sum of (W_g - V_g / W_g). */
OZK_API ozk_status ozk_d_pooled_covariance(int64_t p, int64_t n, const double* x, int32_t layout,
                                           const double* weights, const int64_t* groups, double* mean,
                                           double* covariance);
/* The covariance of the components with roles[i] = 1 when the influence of those with -1 is taken out; 0: left
 * out. covariance holds p rows of p, partial as many rows and columns as there are roles 1. The status is
 * ozk_stats.h's -4033 when the covariance of the components with -1 is not positive definite. */
OZK_API ozk_status ozk_d_partial_covariance(int64_t p, const double* covariance, const int64_t* roles,
                                            double* partial);
/* The valid correlation matrix next to `correlation`, which may have negative eigenvalues, in the construction of
 * Rebonato and Jaeckel (1999); p rows of p. The result may be the input. */
OZK_API ozk_status ozk_d_valid_correlation(int64_t p, const double* correlation, double* valid);

/* Mean and covariance of the bulk of the data: an S-estimator (Rocke 1996), which stays near them whatever less than
 * the share `breakdown` of the observations is. n > 2 p; values that are not finite are as far as values can be. */
typedef struct ozk_robust_options {
    double breakdown; /* in (0, 0.5]; no more than (n - p) / (2 n) of it can be had. 0.5 */
    double rejection; /* in (0, 1): the share of clean normal observations to leave out. 0.001 */
    double
        accuracy; /* above 0: of the steps' changes, relative to the deviations, that end the iteration. 0.001 */
    int64_t iterations; /* at most; at least 0. 100 */
} ozk_robust_options;
/* options null: the values at the end of the lines above. mean[p], covariance[p * p]. The status is ozk_stats.h's
 * -4033 when there are no p dimensions in the bulk of the data. */
OZK_API ozk_status ozk_d_robust_covariance(int64_t p, int64_t n, const double* x, int32_t layout,
                                           const ozk_robust_options* options, double* mean,
                                           double* covariance);
/* To weights[n]: 0 for each outlier, 1 for the others (Billor, Hadi and Velleman 2000: BACON, from the medians).
 * n >= 5 p; clean normal data have any outlier at all with the chance `significance`, in [0, 1]. A value that is not
 * finite makes an outlier. The status is -4033 as above. */
OZK_API ozk_status ozk_d_outlier_weights(int64_t p, int64_t n, const double* x, int32_t layout,
                                         double significance, double* weights);
/* sqrt((x_j - mean)' covariance^-1 (x_j - mean)) to distances[n]; covariance: p rows of p, of which the lower triangle
 * is read. The status is -4033 when it is not positive definite. */
OZK_API ozk_status ozk_d_mahalanobis(int64_t p, int64_t n, const double* x, int32_t layout,
                                     const double* mean, const double* covariance, double* distances);

/* Observations of a multivariate normal distribution of which values are missing, at random: NaN marks them. Mean and
 * covariance (of divisor n) of greatest likelihood, by at most em_iterations steps of EM, fewer when none moves a
 * standardised parameter by more than `accuracy` >= 0 (Dempster, Laird and Rubin 1977). An observation without values
 * is left out; every component has a value, and more than p observations have one. The status is ozk_stats.h's -4033
 * when components depend on one another. covariance holds p rows of p. */
OZK_API ozk_status ozk_d_incomplete_covariance(int64_t p, int64_t n, const double* x, int32_t layout,
                                               int64_t em_iterations, double accuracy, double* mean,
                                               double* covariance);
/* `copies` >= 1 times x with its missing values drawn, one copy behind the other in the layout of x: multiple
 * imputation by data augmentation (Schafer 1997) under the noninformative prior. Each copy starts from the estimate
 * above and takes `iterations` >= 0 steps, which should outlast what a value tells of the next; with 0 the estimate
 * counts as known. Analyse each copy by itself: the mean of the copies' results is the result, and their differences
 * tell what the missing values leave open. Repeats, whatever the number of threads. */
OZK_API ozk_status ozk_d_impute(int64_t p, int64_t n, const double* x, int32_t layout, int64_t em_iterations,
                                double accuracy, int64_t iterations, int64_t copies, double* completed);

/* Quantiles of data that arrive in portions, with guaranteed rank error: the answer to order q is a value whose
 * rank among the N values so far is within epsilon N of q N, in whatever order they come; exact up to
 * min(4 / epsilon, 2^22) values, at least 256. It keeps a few numbers over epsilon for each component, not the
 * data. */
typedef struct ozk_quantile_stream ozk_quantile_stream;

/* For p >= 1 components and 0 < epsilon <= 1. */
OZK_API ozk_status ozk_quantile_stream_new(int64_t p, double epsilon, ozk_quantile_stream** stream);
/* Null is allowed. */
OZK_API void ozk_quantile_stream_delete(ozk_quantile_stream* stream);
/* Adds n >= 1 observations; when it fails, none of them. */
OZK_API ozk_status ozk_quantile_stream_add(ozk_quantile_stream* stream, int64_t n, const double* x,
                                           int32_t layout);
/* As ozk_d_quantiles; NaN before the first observation. */
OZK_API ozk_status ozk_quantile_stream_get(ozk_quantile_stream* stream, int64_t m, const double* orders,
                                           double* quantiles);

/* ---- Splines ---------------------------------------------------------------------------------------- */

/* A spline through given points, and everything that it was made from; several functions over the same knots share
 * one. Built once, it may be used by several threads at a time. */
typedef struct ozk_s_spline ozk_s_spline;
typedef struct ozk_d_spline ozk_d_spline;

/* The kinds, with the conditions at the ends and the inner data that they take (none where nothing is said). */
enum ozk_spline_kind {
    kOzkNaturalCubic = 0, /* cubic with two continuous derivatives; an ozk_boundary */
    kOzkLinear = 1,       /* the polygon through the points */
    kOzkQuadratic = 2,    /* one continuous derivative; kOzkLeftSlope */
    kOzkSubbotin =
        3, /* quadratic with breaks between the knots; an ozk_boundary. Inner: the nx - 1 breaks, one
                             inside each cell, or null for the middles */
    kOzkDefaultCubic =
        4, /* second derivatives given at the nx - 2 inner knots of every function; an ozk_boundary */
    kOzkHermite = 5,  /* slopes given at the nx - 2 inner knots of every function; an ozk_boundary */
    kOzkBessel = 6,   /* slopes of parabolas through three knots; an ozk_boundary; 4 knots at least */
    kOzkHyman = 7,    /* Bessel slopes limited so that it is monotone where the points are; an ozk_boundary; 4
                             knots at least */
    kOzkAkima = 8,    /* Akima's slopes; kOzkNoCondition or an ozk_boundary, then 5 knots at least */
    kOzkStepLeft = 9, /* y[i] on (x[i-1], x[i]] */
    kOzkStepRight = 10, /* y[i] on [x[i], x[i+1]) */
    kOzkLookUp = 11     /* the values at the knots; any other site is refused */
};

/* Conditions at the ends; `ends` holds their values at the left and at the right end, the same for all functions. */
enum ozk_boundary {
    kOzkNoCondition = 0,        /* kinds that take none; Akima: slopes from extrapolated secants */
    kOzkNotAKnot = 1,           /* the third derivative is continuous at the first and last inner knot */
    kOzkFreeEnds = 2,           /* second derivatives are 0 */
    kOzkFirstDerivatives = 12,  /* first derivatives given */
    kOzkSecondThenFirst = 24,   /* second derivative at the left, first at the right end */
    kOzkFirstThenSecond = 36,   /* first derivative at the left, second at the right end */
    kOzkSecondDerivatives = 48, /* second derivatives given */
    kOzkPeriodic = 64,          /* value, first and second derivative agree at both ends */
    kOzkLeftSlope = 128         /* quadratic alone: the first derivative at the left end, one value */
};

/* What a spline is beyond its knots. */
enum ozk_outside {
    kOzkContinue = 0, /* the polynomials of the end cells go on */
    kOzkClamp = 1,    /* the value of the nearest end; derivatives are 0 */
    kOzkNaN = 2,      /* not a number */
    kOzkRefuse = 3    /* kOzkCodeArgument, and nothing is written */
};

/* ozk_?_spline_new builds splines through ny functions at nx knots: y[function * nx + knot], all finite. x holds the
 * knots ascending or, where `uniform` is not 0, the two ends of nx equally spaced knots. `ends` is read for
 * conditions that have values and null otherwise; inner[function * (nx - 2) + knot - 1], or the breaks, for the kinds
 * that take inner data, else null. Keeps copies: nx (1 + ny) elements, and the coefficients, as many a cell as the
 * order.
 *
 * ozk_?_spline_evaluate: the derivatives first_order .. first_order + orders - 1 (0 is the value) of one function at
 * n sites: result[site * orders + k]; result lies apart from the sites. Sites in any order; ascending ones are found
 * faster. A NaN has NaN values.
 *
 * ozk_?_spline_integrate: n integrals of one function from left[i] to right[i], minus that from right[i] to left[i]
 * where left[i] > right[i]; result lies apart from the limits. There is none of a look-up.
 *
 * ozk_?_spline_delete: null is allowed. */
#define OZK_SPLINE_DECLARE(p, T)                                                                             \
    OZK_API ozk_status ozk_##p##_spline_new(int32_t kind, int32_t uniform, int64_t nx, const T* x,           \
                                            int64_t ny, const T* y, int32_t boundary, const T* ends,         \
                                            const T* inner, ozk_##p##_spline** spline);                      \
    OZK_API void ozk_##p##_spline_delete(ozk_##p##_spline* spline);                                          \
    OZK_API ozk_status ozk_##p##_spline_evaluate(const ozk_##p##_spline* spline, int64_t function,           \
                                                 int32_t outside, int64_t n, const T* sites,                 \
                                                 int64_t first_order, int64_t orders, T* result);            \
    OZK_API ozk_status ozk_##p##_spline_integrate(const ozk_##p##_spline* spline, int64_t function,          \
                                                  int32_t outside, int64_t n, const T* left, const T* right, \
                                                  T* result);

OZK_SPLINE_DECLARE(s, float)
OZK_SPLINE_DECLARE(d, double)

/* ---- Linear algebra --------------------------------------------------------------------------------- */

/* L with a = L L' for a symmetric positive definite matrix a of n rows of n, of which the lower triangle is
 * read; l has zeros above the diagonal and may be exactly a. Code -i: the leading matrix of order i is not
 * positive definite, and l is untouched. */
OZK_API ozk_status ozk_d_cholesky(int64_t n, const double* a, double* l);

#ifdef __cplusplus
}
#endif

#endif
