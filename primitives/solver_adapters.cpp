// Adapters with 32-bit integers to the core's tridiagonal solvers and triangular multiplies.

#include <atomic>

#include "ozk_solvers.h"

namespace ozk::primitives {
namespace {

// The address of one routine of the core, looked up by name until it is found. A relaxed atomic: every thread
// that races here stores the same address.
template <class Routine>
struct CoreRoutine {
    const char* name;
    std::atomic<Routine*> cached = nullptr;

    Routine* resolve() {
        Routine* routine = cached.load(std::memory_order_relaxed);
        if (!routine) {
            routine = reinterpret_cast<Routine*>(ozk_serv_load_thread_fun(name));
            cached.store(routine, std::memory_order_relaxed);
        }
        return routine;
    }
};

}  // namespace
}  // namespace ozk::primitives

using ozk::primitives::CoreRoutine;

#define OZK_SOLVERS_DEFINE(p, T)                                                                            \
    void p##dttrfb_4dfl(const int32_t* n, T* sub, T* diagonal, T* super, int32_t* info) {                   \
        static constinit CoreRoutine<decltype(ozk_lapack_ps_##p##dttrfb)> core{"ozk_lapack_ps_" #p          \
                                                                               "dttrfb"};                   \
        auto* routine = core.resolve();                                                                     \
        if (!routine) return;                                                                               \
        const int64_t wide_n = *n;                                                                          \
        int64_t wide_info = 0;                                                                              \
        routine(&wide_n, sub, diagonal, super, &wide_info);                                                 \
        *info = static_cast<int32_t>(wide_info);                                                            \
    }                                                                                                       \
    void p##dtsvb_4dfl(const int32_t* n, const int32_t* nrhs, T* sub, T* diagonal, T* super, T* b,          \
                       const int32_t* ldb, int32_t* info) {                                                 \
        static constinit CoreRoutine<decltype(ozk_lapack_ps_##p##dtsvb)> core{"ozk_lapack_ps_" #p "dtsvb"}; \
        auto* routine = core.resolve();                                                                     \
        if (!routine) return;                                                                               \
        const int64_t wide_n = *n, wide_nrhs = *nrhs, wide_ldb = *ldb;                                      \
        int64_t wide_info = 0;                                                                              \
        routine(&wide_n, &wide_nrhs, sub, diagonal, super, b, &wide_ldb, &wide_info);                       \
        *info = static_cast<int32_t>(wide_info);                                                            \
    }                                                                                                       \
    void p##dttrsb_4dfl(const char* trans, const int32_t* n, const int32_t* nrhs, const T* sub,             \
                        const T* diagonal, const T* super, T* b, const int32_t* ldb, int32_t* info) {       \
        static constinit CoreRoutine<decltype(ozk_lapack_##p##dttrsb)> core{"ozk_lapack_" #p "dttrsb"};     \
        auto* routine = core.resolve();                                                                     \
        if (!routine) return;                                                                               \
        const int64_t wide_n = *n, wide_nrhs = *nrhs, wide_ldb = *ldb;                                      \
        int64_t wide_info = 0;                                                                              \
        routine(trans, &wide_n, &wide_nrhs, sub, diagonal, super, b, &wide_ldb, &wide_info, 1);             \
        *info = static_cast<int32_t>(wide_info);                                                            \
    }

#define OZK_TRIANGULAR_DEFINE(p, T)                                                                         \
    void ozk_blas4vml_##p##trmm(const char* side, const char* uplo, const char* transa, const char* diag,   \
                                const int32_t* m, const int32_t* n, const T* alpha, const T* a,             \
                                const int32_t* lda, T* b, const int32_t* ldb) {                             \
        static constinit CoreRoutine<decltype(ozk_blas_##p##trmm)> core{"ozk_blas_" #p "trmm"};             \
        auto* routine = core.resolve();                                                                     \
        if (!routine) return;                                                                               \
        const int64_t wide_m = *m, wide_n = *n, wide_lda = *lda, wide_ldb = *ldb;                           \
        routine(side, uplo, transa, diag, &wide_m, &wide_n, alpha, a, &wide_lda, b, &wide_ldb, 1, 1, 1, 1); \
    }                                                                                                       \
    void ozk_blas4vml_##p##ptrmm(const char* side, const char* uplo, const char* transa, const char* diag,  \
                                 const int32_t* m, const int32_t* n, const T* alpha, const T* a, T* b,      \
                                 const int32_t* ldb) {                                                      \
        static constinit CoreRoutine<decltype(ozk_blas_##p##ptrmm)> core{"ozk_blas_" #p "ptrmm"};           \
        auto* routine = core.resolve();                                                                     \
        if (!routine) return;                                                                               \
        const int64_t wide_m = *m, wide_n = *n, wide_ldb = *ldb;                                            \
        routine(side, uplo, transa, diag, &wide_m, &wide_n, alpha, a, b, &wide_ldb, 1, 1, 1, 1);            \
    }

OZK_SOLVERS_DEFINE(s, float)
OZK_SOLVERS_DEFINE(d, double)
OZK_TRIANGULAR_DEFINE(s, float)
OZK_TRIANGULAR_DEFINE(d, double)
