// LAPACK: forwarders to OpenBLAS.

#include "core/openblas.hpp"

namespace {

double factor_work(int64_t n) { return ozk::core::product(n, n, n) / 3; }

// Mostly products of a matrix and one vector, each a team's start and barrier: teams win from orders of about
// 1000.
double eigen_work(int64_t n) { return ozk::core::product(n, n, n) / 256; }

}  // namespace

#define OZK_LAPACK_FORWARD(p, T)                                                                           \
    OZK_FORTRAN(p##potrf_, ozk_lapack_##p##potrf)                                                          \
    OZK_FORTRAN(p##potri_, ozk_lapack_##p##potri)                                                          \
    OZK_FORTRAN(p##trtri_, ozk_lapack_##p##trtri)                                                          \
    OZK_FORTRAN(p##syev_, ozk_lapack_##p##syev)                                                            \
    OZK_FORTRAN(p##spevd_, ozk_lapack_##p##spevd)                                                          \
    OZK_FORWARD(kWhereItPays, factor_work(*n), ozk_lapack_##p##potrf, p##potrf_,                           \
                (OzkText uplo, OzkInteger n, T * a, OzkInteger lda, int64_t * info, size_t uplo_length),   \
                uplo, n, a, lda, info, uplo_length)                                                        \
    OZK_FORWARD(kWhereItPays, factor_work(*n), ozk_lapack_##p##potri, p##potri_,                           \
                (OzkText uplo, OzkInteger n, T * a, OzkInteger lda, int64_t * info, size_t uplo_length),   \
                uplo, n, a, lda, info, uplo_length)                                                        \
    OZK_FORWARD(kWhereItPays, factor_work(*n), ozk_lapack_##p##trtri, p##trtri_,                           \
                (OzkText uplo, OzkText diag, OzkInteger n, T * a, OzkInteger lda, int64_t * info,          \
                 size_t uplo_length, size_t diag_length),                                                  \
                uplo, diag, n, a, lda, info, uplo_length, diag_length)                                     \
    OZK_FORWARD(kWhereItPays, eigen_work(*n), ozk_lapack_##p##syev, p##syev_,                              \
                (OzkText jobz, OzkText uplo, OzkInteger n, T * a, OzkInteger lda, T * w, T * work,         \
                 OzkInteger lwork, int64_t * info, size_t jobz_length, size_t uplo_length),                \
                jobz, uplo, n, a, lda, w, work, lwork, info, jobz_length, uplo_length)                     \
    OZK_FORWARD(kWhereItPays, eigen_work(*n), ozk_lapack_##p##spevd, p##spevd_,                            \
                (OzkText jobz, OzkText uplo, OzkInteger n, T * ap, T * w, T * z, OzkInteger ldz, T * work, \
                 OzkInteger lwork, int64_t * iwork, OzkInteger liwork, int64_t * info, size_t jobz_length, \
                 size_t uplo_length),                                                                      \
                jobz, uplo, n, ap, w, z, ldz, work, lwork, iwork, liwork, info, jobz_length, uplo_length)

OZK_LAPACK_FORWARD(s, float)
OZK_LAPACK_FORWARD(d, double)
