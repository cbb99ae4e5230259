// BLAS: forwarders to OpenBLAS, on a team or (x) on the calling thread alone, and its report of bad
// arguments.

#include <cstdio>

#include "core/messages.hpp"
#include "core/openblas.hpp"

using ozk::core::product;

namespace {

// A multiply-add on an element that is used once costs about four of a matrix product.
double streamed(int64_t m, int64_t n) { return product(m, n, 4); }

int64_t triangle_order(char side, int64_t m, int64_t n) { return side == 'L' || side == 'l' ? m : n; }

}  // namespace

#define OZK_BLAS_FORTRAN(p)                   \
    OZK_FORTRAN(p##gemm_, ozk_blas_##p##gemm) \
    OZK_FORTRAN(p##gemv_, ozk_blas_##p##gemv) \
    OZK_FORTRAN(p##syrk_, ozk_blas_##p##syrk) \
    OZK_FORTRAN(p##syr_, ozk_blas_##p##syr)   \
    OZK_FORTRAN(p##trmm_, ozk_blas_##p##trmm) \
    OZK_FORTRAN(p##symm_, ozk_blas_x##p##symm)

#define OZK_BLAS_FORWARD(team, x, p, T)                                                                     \
    OZK_FORWARD(team, product(*m, *n, *k), ozk_blas_##x##p##gemm, p##gemm_,                                 \
                (OzkText transa, OzkText transb, OzkInteger m, OzkInteger n, OzkInteger k, const T* alpha,  \
                 const T* a, OzkInteger lda, const T* b, OzkInteger ldb, const T* beta, T* c,               \
                 OzkInteger ldc, size_t transa_length, size_t transb_length),                               \
                transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, transa_length, transb_length) \
    OZK_FORWARD(                                                                                            \
        team, streamed(*m, *n), ozk_blas_##x##p##gemv, p##gemv_,                                            \
        (OzkText trans, OzkInteger m, OzkInteger n, const T* alpha, const T* a, OzkInteger lda,             \
         const T* x_vector, OzkInteger incx, const T* beta, T* y, OzkInteger incy, size_t trans_length),    \
        trans, m, n, alpha, a, lda, x_vector, incx, beta, y, incy, trans_length)                            \
    OZK_FORWARD(                                                                                            \
        team, product(*n, *n, *k) / 2, ozk_blas_##x##p##syrk, p##syrk_,                                     \
        (OzkText uplo, OzkText trans, OzkInteger n, OzkInteger k, const T* alpha, const T* a,               \
         OzkInteger lda, const T* beta, T* c, OzkInteger ldc, size_t uplo_length, size_t trans_length),     \
        uplo, trans, n, k, alpha, a, lda, beta, c, ldc, uplo_length, trans_length)                          \
    OZK_FORWARD(team, streamed(*n, *n) / 2, ozk_blas_##x##p##syr, p##syr_,                                  \
                (OzkText uplo, OzkInteger n, const T* alpha, const T* x_vector, OzkInteger incx, T* a,      \
                 OzkInteger lda, size_t uplo_length),                                                       \
                uplo, n, alpha, x_vector, incx, a, lda, uplo_length)                                        \
    OZK_FORWARD(team, product(*m, *n, triangle_order(*side, *m, *n)) / 2, ozk_blas_##x##p##trmm, p##trmm_,  \
                (OzkText side, OzkText uplo, OzkText transa, OzkText diag, OzkInteger m, OzkInteger n,      \
                 const T* alpha, const T* a, OzkInteger lda, T* b, OzkInteger ldb, size_t side_length,      \
                 size_t uplo_length, size_t transa_length, size_t diag_length),                             \
                side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb, side_length, uplo_length,            \
                transa_length, diag_length)

#define OZK_BLAS_FORWARD_SYMM(p, T)                                                                  \
    OZK_FORWARD(kNever, 0, ozk_blas_x##p##symm, p##symm_,                                            \
                (OzkText side, OzkText uplo, OzkInteger m, OzkInteger n, const T* alpha, const T* a, \
                 OzkInteger lda, const T* b, OzkInteger ldb, const T* beta, T* c, OzkInteger ldc,    \
                 size_t side_length, size_t uplo_length),                                            \
                side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc, side_length, uplo_length)

OZK_BLAS_FORTRAN(s)
OZK_BLAS_FORTRAN(d)
OZK_BLAS_FORWARD(kWhereItPays, , s, float)
OZK_BLAS_FORWARD(kWhereItPays, , d, double)
OZK_BLAS_FORWARD(kNever, x, s, float)
OZK_BLAS_FORWARD(kNever, x, d, double)
OZK_BLAS_FORWARD_SYMM(s, float)
OZK_BLAS_FORWARD_SYMM(d, double)

// What BLAS and LAPACK call on a bad argument, in place of OpenBLAS's own, which prints to standard output.
// The routine that calls it returns without having computed anything.
extern "C" void xerbla_(const char* routine, const int64_t* argument, size_t length) {
    int shown = 0;  // the name is padded with blanks, and may count a terminating null
    while (shown < 16 && static_cast<size_t>(shown) < length && routine[shown] > ' ') ++shown;
    char line[96];
    const int written =
        std::snprintf(line, sizeof line, "ozk: %.*s: argument %lld is bad, nothing was computed\n", shown,
                      routine, static_cast<long long>(*argument));
    if (written > 0) ozk::core::write_line({line, static_cast<size_t>(written)});
}
