// Loops over functions or runs of sites through the threading services that the caller hands in.
#pragma once

#include <algorithm>
#include <cstdint>

#include "ozk_core.h"

namespace ozk::df {

// How many threads to put on `items` items that are `work` elements together: 1 without threading services,
// else no more than the caller allows and no more than the work pays for.
inline int64_t useful_threads(const OzkThreading* threading, int64_t items, int64_t work) {
    constexpr int64_t kElementsPerThread = 16384;  // 0.1 ms and more; waking a team takes up to 0.02 ms
    const int64_t most = std::min(items, work / kElementsPerThread);
    return threading && most > 1 ? std::max<int64_t>(std::min(threading->thread_limit(), most), 1) : 1;
}

// Runs body(item) or body(item, thread) for each item; the first nonzero status, else 0. One thread is the
// calling one.
template <class Body>
int parallel_for(const OzkThreading* threading, int64_t items, int64_t threads, Body body) {
    const auto run = [](Body& of, int64_t item, [[maybe_unused]] int64_t thread) -> int {
        if constexpr (requires { of(item, thread); })
            return of(item, thread);
        else
            return of(item);
    };
    if (threads > 1) {
        return threading->parallel_for(items, threads, &body,
                                       [](int64_t item, int64_t thread, void* context) -> int {
                                           return decltype(run)()(*static_cast<Body*>(context), item, thread);
                                       });
    }
    for (int64_t item = 0; item < items; ++item) {
        if (int status = run(body, item, 0)) return status;
    }
    return 0;
}

}  // namespace ozk::df
