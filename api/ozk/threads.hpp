// How many threads long calls may use.
#pragma once

#include "ozk/error.hpp"

namespace ozk {

// At most `threads` threads work for a call; 1 switches threads off, 0 leaves it to OpenMP (OMP_NUM_THREADS,
// else the number of processors). Process-wide. The bits of results never depend on it.
inline void set_threads(int64_t threads) { detail::check(ozk_set_threads(threads)); }
inline int64_t threads() { return ozk_get_threads(); }

}  // namespace ozk
