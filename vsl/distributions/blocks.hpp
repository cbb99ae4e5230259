// What the distribution generators share: they draw and transform a block at a time, in buffers on the stack.
#pragma once

#include <algorithm>
#include <cstdint>

#include "ozk_vsl.h"

namespace ozk::vsl {

inline constexpr int32_t kBlock = 1024;

// Calls fill(count, results) for one block of results after the other. The first negative status ends it;
// otherwise the last status is returned.
template <class Result, class Fill>
int32_t in_blocks(int32_t n, Result* r, Fill fill) {
    int32_t status = kOzkVslSuccess;
    for (; n > 0 && status >= 0; n -= kBlock, r += kBlock) status = fill(std::min(n, kBlock), r);
    return status;
}

}  // namespace ozk::vsl
