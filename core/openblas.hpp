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

enum class Team { kNever, kWhereItPays };

// While it lives, OpenBLAS called from this thread uses this thread alone, or a team when the caller may have
// one and `work`, in multiply-adds of a matrix product, pays for it: a team that waits for a busy processor
// at each of its barriers costs milliseconds, which a fraction of a millisecond of work cannot win back.
// Restores the calling thread's setting, which OpenBLAS may lower to the largest team that it knows.
class CallerThreads {
  public:
    CallerThreads(Team team, double work) {
        if (omp_in_parallel() || saved_ == 1) return;
        if (team == Team::kWhereItPays && work >= kLeastTeamWork) {
            one_team_ = std::unique_lock(team_lock);
        } else {
            omp_set_num_threads(1);
        }
    }
    ~CallerThreads() { omp_set_num_threads(saved_); }
    CallerThreads(const CallerThreads&) = delete;
    CallerThreads& operator=(const CallerThreads&) = delete;

  private:
    static constexpr double kLeastTeamWork = 1 << 22;  // about 0.2 ms on one thread
    inline static constinit std::mutex team_lock;

    int saved_ = omp_get_max_threads();
    std::unique_lock<std::mutex> one_team_;
};

}  // namespace ozk::core

// What BLAS and LAPACK routines call on a bad argument, before they return with nothing computed.
extern "C" void xerbla_(const char* routine, const int64_t* argument, size_t length);

using OzkText = const char*;
using OzkInteger = const int64_t*;

namespace ozk::core {

inline double product(int64_t a, int64_t b, int64_t c) {
    return static_cast<double>(a) * static_cast<double>(b) * static_cast<double>(c);
}

}  // namespace ozk::core

// The OpenBLAS routine that an exported routine forwards to has the same type.
#define OZK_FORTRAN(fortran, exported) extern "C" decltype(exported) fortran;

// Defines the exported routine as a call of the Fortran one with these parameters.
#define OZK_FORWARD(team, work, exported, fortran, parameters, ...)          \
    void exported parameters {                                               \
        const ozk::core::CallerThreads threads(ozk::core::Team::team, work); \
        fortran(__VA_ARGS__);                                                \
    }
