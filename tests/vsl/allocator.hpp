// Takes the place of the core's allocator in a test program: counts the blocks that are alive and refuses on
// request.
#pragma once

#include <atomic>
#include <climits>
#include <cstdlib>

#include "ozk_core.h"

namespace test_allocator {

inline std::atomic<int> live_blocks = 0;
inline std::atomic<int> allocations_left = INT_MAX;
inline std::atomic<size_t> largest_request = 0;  // in bytes, since it was set to 0

// While it lives, only `count` further allocations succeed.
struct Limit {
    explicit Limit(int count) { allocations_left = count; }
    ~Limit() { allocations_left = INT_MAX; }
};

}  // namespace test_allocator

// The executable's definitions come first for every library of the process.
extern "C" [[gnu::used]] inline void* ozk_serv_allocate(size_t size, size_t alignment) {
    using namespace test_allocator;
    if (size > largest_request) largest_request = size;
    if (allocations_left != INT_MAX && allocations_left-- <= 0) return nullptr;
    void* const block = std::aligned_alloc(alignment, (size / alignment + 1) * alignment);
    if (block) ++live_blocks;
    return block;
}

extern "C" [[gnu::used]] inline void ozk_serv_deallocate(void* block) {
    if (block) --test_allocator::live_blocks;
    std::free(block);
}
