/* Adapters from 32-bit integer arguments to the core's tridiagonal solvers and triangular multiplies.
 *
 * Each adapter resolves its routine in the core by name on first use and keeps the address. When the core has
 * no such routine the call does nothing and info keeps what the caller put there: set it to a nonzero value
 * first. The caches may be filled by several threads at once; all of them find the same address.
 */
#ifndef OZK_SOLVERS_H
#define OZK_SOLVERS_H

#include "ozk_core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* p: s single or d double precision, T: its element type.
 *
 * ?dttrfb_4dfl  factors the tridiagonal matrix of order n in place, without pivoting: sub-diagonal (n - 1),
 *               diagonal (n), super-diagonal (n - 1).
 * ?dttrsb_4dfl  solves with these factors (trans "N": A X = B, "T": its transpose) for nrhs right-hand sides,
 *               b is n by nrhs by columns with leading dimension ldb and is overwritten by X.
 * ?dtsvb_4dfl   factors and solves in one call; the diagonals are overwritten by the factors.
 * info: 0 done; -i argument i is bad; i pivot i is zero. */
#define OZK_SOLVERS_DECLARE(p, T)                                                                          \
    OZK_EXPORT void p##dttrfb_4dfl(const int32_t* n, T* sub, T* diagonal, T* super, int32_t* info);        \
    OZK_EXPORT void p##dtsvb_4dfl(const int32_t* n, const int32_t* nrhs, T* sub, T* diagonal, T* super,    \
                                  T* b, const int32_t* ldb, int32_t* info);                                \
    OZK_EXPORT void p##dttrsb_4dfl(const char* trans, const int32_t* n, const int32_t* nrhs, const T* sub, \
                                   const T* diagonal, const T* super, T* b, const int32_t* ldb,            \
                                   int32_t* info);

/* B := alpha op(A) B (side "L") or B := alpha B op(A) (side "R"), A triangular: full storage with leading
 * dimension lda, or packed by columns; B is m by n by columns. The letters and their meaning are those of the
 * BLAS routine TRMM. There is no status. */
#define OZK_TRIANGULAR_DECLARE(p, T)                                                                 \
    OZK_EXPORT void ozk_blas4vml_##p##trmm(                                                          \
        const char* side, const char* uplo, const char* transa, const char* diag, const int32_t* m,  \
        const int32_t* n, const T* alpha, const T* a, const int32_t* lda, T* b, const int32_t* ldb); \
    OZK_EXPORT void ozk_blas4vml_##p##ptrmm(const char* side, const char* uplo, const char* transa,  \
                                            const char* diag, const int32_t* m, const int32_t* n,    \
                                            const T* alpha, const T* a, T* b, const int32_t* ldb);

OZK_SOLVERS_DECLARE(s, float)
OZK_SOLVERS_DECLARE(d, double)
OZK_TRIANGULAR_DECLARE(s, float)
OZK_TRIANGULAR_DECLARE(d, double)

#ifdef __cplusplus
}
#endif

#endif
