// The number of threads that the calls of the application interface may use.
#pragma once

#include <omp.h>

#include <cstdint>

namespace ozk::api {

// What ozk_set_threads was given; 0: what OpenMP says.
int64_t thread_setting();

// While it lives, OpenMP loops that the calling thread starts, the core's and OpenBLAS's, have at most the
// set number of threads; the caller's own setting comes back at the end.
class TeamScope {
  public:
    TeamScope() : saved_(thread_setting() == 0 ? 0 : omp_get_max_threads()) {
        if (saved_ != 0) omp_set_num_threads(static_cast<int>(thread_setting()));
    }
    ~TeamScope() {
        if (saved_ != 0) omp_set_num_threads(saved_);
    }
    TeamScope(const TeamScope&) = delete;
    TeamScope& operator=(const TeamScope&) = delete;

  private:
    int saved_;
};

}  // namespace ozk::api
