/* What the kernel library needs of the core, exported by libozk_core.so.2.
 *
 * Everything here has C linkage and may be called from any thread. The kernel library uses nothing else of the
 * core; any other core that offers these names can host the kernels.
 */
#ifndef OZK_CORE_H
#define OZK_CORE_H

#include <stddef.h>
#include <stdint.h>

#define OZK_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Services ---------------------------------------------------------------------------------------------- */

/* A block of `size` bytes at a multiple of `alignment` (a power of two), or null when there is no memory.
 * Size 0 gives a block that may be deallocated. */
OZK_EXPORT void* ozk_serv_allocate(size_t size, size_t alignment);

/* Gives a block of ozk_serv_allocate back; null is allowed. */
OZK_EXPORT void ozk_serv_deallocate(void* block);

/* The library-wide lock, recursive. Both return 0. */
OZK_EXPORT int ozk_serv_lock(void);
OZK_EXPORT int ozk_serv_unlock(void);

/* Copies the environment variable `name` into buffer, cut to size - 1 characters and NUL-terminated; returns the
 * length copied, 0 when it is unset. */
OZK_EXPORT int ozk_serv_getenv(const char* name, char* buffer, int size);

/* Prints message `message` of the catalogue with its `argc` arguments. Channel 1 is standard error. */
OZK_EXPORT void ozk_serv_print(int channel, int message, int argc, ...);

/* Copies `count` bytes; 0, or an errno value (EINVAL: a null pointer; ERANGE: more than dst_size) with dst untouched. */
OZK_EXPORT int ozk_serv_memcpy_s(void* dst, size_t dst_size, const void* src, size_t count);

/* A routine of the core by name, or null. */
OZK_EXPORT void* ozk_serv_load_thread_fun(const char* name);

/* Nonzero on a server processor new enough to have the vector forms of the AES instructions. */
OZK_EXPORT int ozk_serv_cpu_is_newer_server(void);

/* ---- Threading ---------------------------------------------------------------------------------------------- */

typedef int (*OzkLoopBody)(int64_t item, int64_t thread, void* context);

/* Runs body(item, thread, context) exactly once for each item below `items`, on at most `threads` threads; one
 * value of `thread` (below `threads`) never runs two items at once. Returns the first nonzero status of any body,
 * else 0. */
OZK_EXPORT int ozk_vsl_serv_threader_for(int64_t items, int64_t threads, void* context, OzkLoopBody body);

/* The number of threads that a loop started here may use; 1 inside a parallel loop. */
OZK_EXPORT int64_t ozk_vsl_serv_threader_get_num_threads_limit(void);

/* The threading services that the core hands to statistics and data fitting kernels; null there means one thread. */
typedef struct OzkThreading {
    int (*parallel_for)(int64_t items, int64_t threads, void* context, OzkLoopBody body);
    int64_t (*thread_limit)(void);
    int64_t (*thread_index)(void);
    void* reserved;
    int64_t (*advise_threads)(int64_t dimension, int64_t observations, int64_t storage, const void* data);
} OzkThreading;

/* The core's record of these services; constant, never null. */
OZK_EXPORT const OzkThreading* ozk_serv_threading(void);

/* ---- Dense linear algebra ----------------------------------------------------------------------------------- *
 * Standard argument order of the Fortran routines, every argument by address, 64-bit integers, matrices by
 * columns, the length of each character argument appended. The x-prefixed forms are the same routines, promised
 * to run on the calling thread alone, for use inside a parallel loop. */

#define OZK_BLAS_DECLARE(x, p, T)                                                                               \
    OZK_EXPORT void ozk_blas_##x##p##gemm(const char* transa, const char* transb, const int64_t* m,             \
                                          const int64_t* n, const int64_t* k, const T* alpha, const T* a,       \
                                          const int64_t* lda, const T* b, const int64_t* ldb, const T* beta,    \
                                          T* c, const int64_t* ldc, size_t, size_t);                            \
    OZK_EXPORT void ozk_blas_##x##p##gemv(const char* trans, const int64_t* m, const int64_t* n,                \
                                          const T* alpha, const T* a, const int64_t* lda, const T* x_vector,    \
                                          const int64_t* incx, const T* beta, T* y, const int64_t* incy,        \
                                          size_t);                                                              \
    OZK_EXPORT void ozk_blas_##x##p##syrk(const char* uplo, const char* trans, const int64_t* n,                \
                                          const int64_t* k, const T* alpha, const T* a, const int64_t* lda,     \
                                          const T* beta, T* c, const int64_t* ldc, size_t, size_t);             \
    OZK_EXPORT void ozk_blas_##x##p##syr(const char* uplo, const int64_t* n, const T* alpha, const T* x_vector, \
                                         const int64_t* incx, T* a, const int64_t* lda, size_t);                \
    OZK_EXPORT void ozk_blas_##x##p##trmm(const char* side, const char* uplo, const char* transa,               \
                                          const char* diag, const int64_t* m, const int64_t* n, const T* alpha, \
                                          const T* a, const int64_t* lda, T* b, const int64_t* ldb, size_t,     \
                                          size_t, size_t, size_t);

#define OZK_BLAS_DECLARE_SYMM(p, T)                                                                             \
    OZK_EXPORT void ozk_blas_x##p##symm(const char* side, const char* uplo, const int64_t* m, const int64_t* n, \
                                        const T* alpha, const T* a, const int64_t* lda, const T* b,             \
                                        const int64_t* ldb, const T* beta, T* c, const int64_t* ldc, size_t,    \
                                        size_t);

/* B := alpha * op(A) * B or B := alpha * B * op(A), A triangular and packed by columns. */
#define OZK_BLAS_DECLARE_PTRMM(p, T)                                                                          \
    OZK_EXPORT void ozk_blas_##p##ptrmm(const char* side, const char* uplo, const char* transa,               \
                                        const char* diag, const int64_t* m, const int64_t* n, const T* alpha, \
                                        const T* a, T* b, const int64_t* ldb, size_t, size_t, size_t, size_t);

/* Tridiagonal systems without pivoting. dttrfb factors in place: sub-diagonal (n - 1), diagonal (n),
 * super-diagonal (n - 1). dttrsb solves with those factors for nrhs right-hand sides (n by nrhs, leading
 * dimension ldb); dtsvb factors and solves. info: 0; -i when argument i is bad; i when pivot i is zero. */
#define OZK_LAPACK_DECLARE(p, T)                                                                                 \
    OZK_EXPORT void ozk_lapack_##p##potrf(const char* uplo, const int64_t* n, T* a, const int64_t* lda,          \
                                          int64_t* info, size_t);                                                \
    OZK_EXPORT void ozk_lapack_##p##potri(const char* uplo, const int64_t* n, T* a, const int64_t* lda,          \
                                          int64_t* info, size_t);                                                \
    OZK_EXPORT void ozk_lapack_##p##trtri(const char* uplo, const char* diag, const int64_t* n, T* a,            \
                                          const int64_t* lda, int64_t* info, size_t, size_t);                    \
    OZK_EXPORT void ozk_lapack_##p##syev(const char* jobz, const char* uplo, const int64_t* n, T* a,             \
                                         const int64_t* lda, T* w, T* work, const int64_t* lwork, int64_t* info, \
                                         size_t, size_t);                                                        \
    OZK_EXPORT void ozk_lapack_##p##spevd(const char* jobz, const char* uplo, const int64_t* n, T* ap, T* w,     \
                                          T* z, const int64_t* ldz, T* work, const int64_t* lwork,               \
                                          int64_t* iwork, const int64_t* liwork, int64_t* info, size_t, size_t); \
    OZK_EXPORT void ozk_lapack_ps_##p##dttrfb(const int64_t* n, T* dl, T* d, T* du, int64_t* info);              \
    OZK_EXPORT void ozk_lapack_ps_##p##dtsvb(const int64_t* n, const int64_t* nrhs, T* dl, T* d, T* du, T* b,    \
                                             const int64_t* ldb, int64_t* info);                                 \
    OZK_EXPORT void ozk_lapack_##p##dttrsb(const char* trans, const int64_t* n, const int64_t* nrhs,             \
                                           const T* dl, const T* d, const T* du, T* b, const int64_t* ldb,       \
                                           int64_t* info, size_t);

OZK_BLAS_DECLARE(, s, float)
OZK_BLAS_DECLARE(, d, double)
OZK_BLAS_DECLARE(x, s, float)
OZK_BLAS_DECLARE(x, d, double)
OZK_BLAS_DECLARE_SYMM(s, float)
OZK_BLAS_DECLARE_SYMM(d, double)
OZK_BLAS_DECLARE_PTRMM(s, float)
OZK_BLAS_DECLARE_PTRMM(d, double)
OZK_LAPACK_DECLARE(s, float)
OZK_LAPACK_DECLARE(d, double)

#ifdef __cplusplus
}
#endif

#endif
