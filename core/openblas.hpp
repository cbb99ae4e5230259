// How the core calls OpenBLAS: Fortran symbols with 64-bit integers, linked in and hidden.
//
// The OpenMP build of OpenBLAS takes its team size from the calling thread's OpenMP setting, which every
// thread has for itself; with a setting of 1, or inside a parallel region, a routine runs on the calling
// thread alone and touches none of the state that teams share. When the team size differs from that of the
// last call, wherever that was made, OpenBLAS resizes the buffers of the team without a lock, so calls that
// may use a team follow one another here. Nothing is lost by it: OpenBLAS runs one team at a time anyway, and
// spins while it waits.
#pragma once

#include <omp.h>

#include <mutex>

#include "ozk_core.h"

namespace ozk::core {

// Restores the calling thread's OpenMP setting, which OpenBLAS may lower to the largest team that it knows.
class KeepThreadSetting {
  public:
    KeepThreadSetting() = default;
    ~KeepThreadSetting() { omp_set_num_threads(saved_); }
    KeepThreadSetting(const KeepThreadSetting&) = delete;
    KeepThreadSetting& operator=(const KeepThreadSetting&) = delete;

  private:
    int saved_ = omp_get_max_threads();
};

// While it lives, OpenBLAS called from this thread uses this thread alone.
class CallerAlone : KeepThreadSetting {
  public:
    CallerAlone() { omp_set_num_threads(1); }
};

// While it lives, OpenBLAS called from this thread may use a team.
class CallerWithTeam : KeepThreadSetting {
  public:
    CallerWithTeam() {
        if (!omp_in_parallel() && omp_get_max_threads() > 1) one_team_ = std::unique_lock(team_lock);
    }

  private:
    inline static constinit std::mutex team_lock;
    std::unique_lock<std::mutex> one_team_;
};

}  // namespace ozk::core

// What BLAS and LAPACK routines call on a bad argument, before they return with nothing computed.
extern "C" void xerbla_(const char* routine, const int64_t* argument, size_t length);

using OzkText = const char*;
using OzkInteger = const int64_t*;

// The OpenBLAS routine that an exported routine forwards to has the same type.
#define OZK_FORTRAN(fortran, exported) extern "C" decltype(exported) fortran;

// Defines the exported routine as a call of the Fortran one with these parameters, on the threads that
// `Threads` allows.
#define OZK_FORWARD(Threads, exported, fortran, parameters, ...) \
    void exported parameters {                                   \
        const ozk::core::Threads threads;                        \
        fortran(__VA_ARGS__);                                    \
    }
