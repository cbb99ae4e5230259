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

/* ---- Services --------------------------------------------------------------------------------------- */

/* A block of `size` bytes at a multiple of `alignment` (a power of two), or null when there is no memory or
 * `alignment` is no power of two. Size 0 gives a block that may be deallocated. Any thread; the block may be
 * given back by another one. */
OZK_EXPORT void* ozk_serv_allocate(size_t size, size_t alignment);

/* Gives a block of ozk_serv_allocate back; null is allowed. */
OZK_EXPORT void ozk_serv_deallocate(void* block);

/* The library-wide lock, recursive: a thread may take it again while it holds it, and gives it back as often. Only
 * the holder may unlock. Both return 0. */
OZK_EXPORT int ozk_serv_lock(void);
OZK_EXPORT int ozk_serv_unlock(void);

/* Copies the environment variable `name` into buffer, cut to size - 1 characters and NUL-terminated; returns the
 * length copied, 0 when it is unset (buffer is then the empty text). Writes nothing when buffer is null or size is
 * not positive. Any thread, as long as none changes the environment meanwhile. */
OZK_EXPORT int ozk_serv_getenv(const char* name, char* buffer, int size);

/* Prints message `message` of the catalogue with its `argc` arguments, one line in one piece, to channel 1, which
 * is standard error. Arguments and their types follow from the message:
 *   748           const char* function name, int index
 *   749 to 754    const char* function name
 *   755 to 766    int index, double value
 * Another channel, a number that is not in the catalogue or another count of arguments prints nothing. Names are
 * cut to 64 characters. Keeps errno. Any thread. */
OZK_EXPORT void ozk_serv_print(int channel, int message, int argc, ...);

/* Copies `count` bytes; 0, or an errno value (EINVAL: a null pointer; ERANGE: more than dst_size) with dst
 * untouched. The blocks may overlap. */
OZK_EXPORT int ozk_serv_memcpy_s(void* dst, size_t dst_size, const void* src, size_t count);

/* The address of a routine of the core by its name, or null when it is none of these:
 * ozk_vsl_serv_threader_for, ozk_vsl_serv_threader_get_num_threads_limit, ozk_lapack_ps_sdttrfb,
 * ozk_lapack_ps_ddttrfb, ozk_lapack_ps_sdtsvb, ozk_lapack_ps_ddtsvb, ozk_lapack_sdttrsb, ozk_lapack_ddttrsb,
 * ozk_blas_strmm, ozk_blas_dtrmm, ozk_blas_sptrmm, ozk_blas_dptrmm. The same address at every call, any thread. */
OZK_EXPORT void* ozk_serv_load_thread_fun(const char* name);

/* Nonzero on a newer server-class processor, which is taken to be one that reports the vector forms of the AES
 * instructions, under an operating system that lets programs use them. */
OZK_EXPORT int ozk_serv_cpu_is_newer_server(void);

/* ---- Threading -------------------------------------------------------------------------------------- */

typedef int (*OzkLoopBody)(int64_t item, int64_t thread, void* context);

/* Runs body(item, thread, context) exactly once for each item below `items`, on at most `threads` threads; one
 * value of `thread` (below `threads`) never runs two items at once. Items are handed out in any order; every item
 * runs, whatever the others return. Returns the nonzero status of the lowest-numbered item that had one, else 0;
 * EINVAL when body is null. items <= 0 runs nothing, threads <= 1 runs the items in order on the calling thread,
 * and so does a call from inside a loop that runs on several threads. The body must not throw. Any thread may
 * call; threads that call at the same time each have a team. */
OZK_EXPORT int ozk_vsl_serv_threader_for(int64_t items, int64_t threads, void* context, OzkLoopBody body);

/* The number of threads that a loop started here may use, at least 1: what OpenMP allows the calling thread
 * (OMP_NUM_THREADS, omp_set_num_threads), and 1 inside a loop that runs on several threads. */
OZK_EXPORT int64_t ozk_vsl_serv_threader_get_num_threads_limit(void);

/* The threading services that the core hands to statistics and data fitting kernels; null there means one thread. */
typedef struct OzkThreading {
    /* ozk_vsl_serv_threader_for. */
    int (*parallel_for)(int64_t items, int64_t threads, void* context, OzkLoopBody body);
    /* ozk_vsl_serv_threader_get_num_threads_limit. */
    int64_t (*thread_limit)(void);
    /* The calling thread's number in the loop on several threads that it works for, which is the `thread` that its
     * bodies get; 0 outside. */
    int64_t (*thread_index)(void);
    /* Null. */
    void* reserved;
    /* How many threads pay for a pass over `dimension` by `observations` elements: one for each 16384 elements,
     * at least 1 and at most the limit above. Storage and data do not count. */
    int64_t (*advise_threads)(int64_t dimension, int64_t observations, int64_t storage, const void* data);
} OzkThreading;

/* The core's record of these services; constant, never null. */
OZK_EXPORT const OzkThreading* ozk_serv_threading(void);

/* ---- Dense linear algebra --------------------------------------------------------------------------- *
 * Standard argument order of the Fortran routines, every argument by address, 64-bit integers, matrices by
 * columns, the length of each character argument appended. The x-prefixed forms are the same routines, promised
 * to run on the calling thread alone, for use inside a parallel loop; the others may use a team of as many
 * threads as OpenMP allows the caller, where the work pays for it and the call is not inside a loop on several
 * threads. Any thread may call any of them; teams follow one another. Results on one thread are the same bits at
 * every call; those of a team may differ from them in the last bits.
 *
 * Bad arguments: LAPACK routines set info to -i for argument i; BLAS and LAPACK routines print one line to standard
 * error that names the routine and the argument, and return with nothing computed. The process goes on. Arrays
 * must not overlap unless a routine says so. Method and exact arguments: Dongarra et al., "A Set of Level 3 Basic
 * Linear Algebra Subprograms", ACM TOMS 16 (1990); Anderson et al., "LAPACK Users' Guide", 3rd ed. (1999). */

#define OZK_BLAS_DECLARE(x, p, T)                                                                            \
    OZK_EXPORT void ozk_blas_##x##p##gemm(const char* transa, const char* transb, const int64_t* m,          \
                                          const int64_t* n, const int64_t* k, const T* alpha, const T* a,    \
                                          const int64_t* lda, const T* b, const int64_t* ldb, const T* beta, \
                                          T* c, const int64_t* ldc, size_t, size_t);                         \
    OZK_EXPORT void ozk_blas_##x##p##gemv(const char* trans, const int64_t* m, const int64_t* n,             \
                                          const T* alpha, const T* a, const int64_t* lda, const T* x_vector, \
                                          const int64_t* incx, const T* beta, T* y, const int64_t* incy,     \
                                          size_t);                                                           \
    OZK_EXPORT void ozk_blas_##x##p##syrk(const char* uplo, const char* trans, const int64_t* n,             \
                                          const int64_t* k, const T* alpha, const T* a, const int64_t* lda,  \
                                          const T* beta, T* c, const int64_t* ldc, size_t, size_t);          \
    OZK_EXPORT void ozk_blas_##x##p##syr(const char* uplo, const int64_t* n, const T* alpha,                 \
                                         const T* x_vector, const int64_t* incx, T* a, const int64_t* lda,   \
                                         size_t);                                                            \
    OZK_EXPORT void ozk_blas_##x##p##trmm(const char* side, const char* uplo, const char* transa,            \
                                          const char* diag, const int64_t* m, const int64_t* n,              \
                                          const T* alpha, const T* a, const int64_t* lda, T* b,              \
                                          const int64_t* ldb, size_t, size_t, size_t, size_t);

#define OZK_BLAS_DECLARE_SYMM(p, T)                                                                       \
    OZK_EXPORT void ozk_blas_x##p##symm(const char* side, const char* uplo, const int64_t* m,             \
                                        const int64_t* n, const T* alpha, const T* a, const int64_t* lda, \
                                        const T* b, const int64_t* ldb, const T* beta, T* c,              \
                                        const int64_t* ldc, size_t, size_t);

/* B := alpha * op(A) * B (side L) or B := alpha * B * op(A) (side R), B m by n in place, A triangular of order m or
 * n and packed by columns: column after column of the upper (uplo U) or lower (L) triangle, order*(order + 1)/2
 * elements. transa N: op(A) = A; T, C: its transpose. diag U: the diagonal is taken as ones and not read. alpha 0
 * sets B to zero and reads nothing. Allocates a fixed 128 by 128 elements, and does without, slower, when there is
 * no memory. Bad arguments as above. */
#define OZK_BLAS_DECLARE_PTRMM(p, T)                                                                  \
    OZK_EXPORT void ozk_blas_##p##ptrmm(const char* side, const char* uplo, const char* transa,       \
                                        const char* diag, const int64_t* m, const int64_t* n,         \
                                        const T* alpha, const T* a, T* b, const int64_t* ldb, size_t, \
                                        size_t, size_t, size_t);

/* Tridiagonal systems without pivoting. dttrfb factors A = L U in place: sub-diagonal (n - 1), diagonal (n),
 * super-diagonal (n - 1). dttrsb solves A x = b (trans N) or A' x = b (T, C) with those factors for nrhs right-hand
 * sides (n by nrhs, leading dimension ldb >= max(1, n)), in place; dtsvb factors and solves A x = b. The bits of a
 * solution do not depend on how many right-hand sides there are.
 *
 * info: 0; -i when argument i is bad (a letter, a negative size, a short ldb, a null array), and then nothing has
 * been written; i when pivot i is zero, and then the rows before i hold factors, the rest of the diagonals is
 * as it was but for row i, and b is untouched. These routines print nothing and run on the calling thread. Without
 * pivoting the result is backward stable for diagonally dominant, positive definite and totally non-negative
 * matrices, and can be arbitrarily wrong for others: Higham, "Accuracy and Stability of Numerical Algorithms", 2nd ed.
 * (2002), 9.6. */
#define OZK_LAPACK_DECLARE(p, T)                                                                             \
    OZK_EXPORT void ozk_lapack_##p##potrf(const char* uplo, const int64_t* n, T* a, const int64_t* lda,      \
                                          int64_t* info, size_t);                                            \
    OZK_EXPORT void ozk_lapack_##p##potri(const char* uplo, const int64_t* n, T* a, const int64_t* lda,      \
                                          int64_t* info, size_t);                                            \
    OZK_EXPORT void ozk_lapack_##p##trtri(const char* uplo, const char* diag, const int64_t* n, T* a,        \
                                          const int64_t* lda, int64_t* info, size_t, size_t);                \
    OZK_EXPORT void ozk_lapack_##p##syev(const char* jobz, const char* uplo, const int64_t* n, T* a,         \
                                         const int64_t* lda, T* w, T* work, const int64_t* lwork,            \
                                         int64_t* info, size_t, size_t);                                     \
    OZK_EXPORT void ozk_lapack_##p##spevd(const char* jobz, const char* uplo, const int64_t* n, T* ap, T* w, \
                                          T* z, const int64_t* ldz, T* work, const int64_t* lwork,           \
                                          int64_t* iwork, const int64_t* liwork, int64_t* info, size_t,      \
                                          size_t);                                                           \
    OZK_EXPORT void ozk_lapack_ps_##p##dttrfb(const int64_t* n, T* dl, T* d, T* du, int64_t* info);          \
    OZK_EXPORT void ozk_lapack_ps_##p##dtsvb(const int64_t* n, const int64_t* nrhs, T* dl, T* d, T* du,      \
                                             T* b, const int64_t* ldb, int64_t* info);                       \
    OZK_EXPORT void ozk_lapack_##p##dttrsb(const char* trans, const int64_t* n, const int64_t* nrhs,         \
                                           const T* dl, const T* d, const T* du, T* b, const int64_t* ldb,   \
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
