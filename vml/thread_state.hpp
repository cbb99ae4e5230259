// What vector math keeps for each thread: 32 bytes, zero at thread start, on the initial-exec model, so that
// reading the mode is one load from the thread's own block.
#pragma once

#include <cstddef>

#include "ozk_vml.h"

namespace ozk::vml {

struct VmlThreadState {
    const void* base_input;     // start of the caller's whole input vector, or null
    int32_t error_status;       // code of the last reported special value
    VmlErrorCallBack callback;  // or null
    uint64_t mode;              // 0: not yet initialised on this thread
};
static_assert(sizeof(VmlThreadState) == 32);
static_assert(offsetof(VmlThreadState, error_status) == 8 && offsetof(VmlThreadState, callback) == 16 &&
              offsetof(VmlThreadState, mode) == 24);

extern constinit thread_local VmlThreadState thread_state;

// Takes the mode from the environment or the default; returns it.
[[gnu::cold]] uint64_t initialise_mode();

inline uint64_t current_mode() {
    const uint64_t mode = thread_state.mode;
    return mode != 0 ? mode : initialise_mode();
}

}  // namespace ozk::vml
