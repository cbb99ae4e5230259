// Loops over functions or blocks of sites through the threading services that the caller hands in.
#pragma once

#include <algorithm>
#include <cstdint>

#include "ozk_core.h"

namespace ozk::df {

// Runs body(item) for each item; the first nonzero status, else 0. On the calling thread alone without
// threading services or when the work is not worth more.
template <class Body>
int parallel_for(const OzkThreading* threading, int64_t items, bool worthwhile, Body body) {
    const int64_t threads =
        threading && worthwhile && items > 1 ? std::min(threading->thread_limit(), items) : 1;
    if (threads > 1) {
        return threading->parallel_for(
            items, threads, &body,
            [](int64_t item, int64_t, void* context) -> int { return (*static_cast<Body*>(context))(item); });
    }
    for (int64_t item = 0; item < items; ++item) {
        if (int status = body(item)) return status;
    }
    return 0;
}

}  // namespace ozk::df
