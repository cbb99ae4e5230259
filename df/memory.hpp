// Arrays from the core's allocator.
#pragma once

#include <cstdint>

#include "ozk_core.h"

namespace ozk::df {

inline constexpr size_t kAlignment = 128;

// `count` elements, or null when there is no memory or no such size.
template <class T>
T* allocate_array(int64_t count) {
    size_t bytes;
    if (count < 0 || __builtin_mul_overflow(static_cast<size_t>(count), sizeof(T), &bytes)) return nullptr;
    return static_cast<T*>(ozk_serv_allocate(bytes, kAlignment));
}

// An array that is given back at the end of the scope.
template <class T>
struct ScopedArray {
    T* data;
    explicit ScopedArray(int64_t count) : data(allocate_array<T>(count)) {}
    ~ScopedArray() { ozk_serv_deallocate(data); }
    ScopedArray(const ScopedArray&) = delete;
    ScopedArray& operator=(const ScopedArray&) = delete;
};

}  // namespace ozk::df
