// Copy, fill with zero and fill with a value.
//
// Copy and zero are block operations of the C library, which chooses their instructions by the processor; so is
// set for values of up to four bytes. Longer values are stored 16 bytes at a time; in long arrays with the
// processor's block store, which writes whole cache lines, where it has the value's width, else as copies of the
// first part, which stays in the first-level cache.

#include <algorithm>
#include <bit>
#include <cstring>
#include <cwchar>

#include "primitives/primitives.hpp"
#include "simd/vector.hpp"

namespace ozk::primitives {
namespace {

void owns_copy(const void* from, void* to, size_t bytes) { std::memmove(to, from, bytes); }

void owns_zero(void* to, size_t bytes) { std::memset(to, 0, bytes); }

// Where the processor's block store beats stores of 16 bytes, where it beats the C library's wide stores, and where
// copying beats stores of 16 bytes.
constexpr size_t kBlockStoreFrom = size_t(2) << 10;
constexpr size_t kWideBlockStoreFrom = size_t(4) << 20;
constexpr size_t kCopyFrom = size_t(4) << 10;

void owns_set(char* to, size_t bytes, uint8_t value) { std::memset(to, value, bytes); }

void owns_set(char* to, size_t bytes, uint32_t value) {
    size_t count = bytes / sizeof value;
    if (bytes >= kWideBlockStoreFrom || reinterpret_cast<uintptr_t>(to) % sizeof(wchar_t) != 0)
        asm volatile("rep stosl" : "+D"(to), "+c"(count) : "a"(value) : "memory");
    else
        std::wmemset(reinterpret_cast<wchar_t*>(to), static_cast<wchar_t>(value), count);
}

void owns_set(char* to, size_t bytes, uint16_t value) {
    if (reinterpret_cast<uintptr_t>(to) % sizeof(uint32_t) == sizeof value) {
        std::memcpy(to, &value, sizeof value);
        to += sizeof value;
        bytes -= sizeof value;
    }
    owns_set(to, bytes, value * uint32_t(0x10001));
    if (bytes % sizeof(uint32_t) != 0) std::memcpy(to + bytes - sizeof value, &value, sizeof value);
}

void store_blocks(char* to, size_t bytes, simd::i64x2 block) {
#pragma GCC unroll 4
    for (size_t i = 0; i + sizeof block <= bytes; i += sizeof block) {
        simd::store(reinterpret_cast<int64_t*>(to + i), block);
    }
}

void owns_set(char* to, size_t bytes, uint64_t value) {
    if (bytes >= kBlockStoreFrom) {
        size_t words = bytes / sizeof value;
        asm volatile("rep stosq" : "+D"(to), "+c"(words) : "a"(value) : "memory");
        return;
    }
    store_blocks(to, bytes, simd::pair(int64_t(value), int64_t(value)));
    std::memcpy(to + bytes - sizeof value, &value, sizeof value);
}

void owns_set(char* to, size_t bytes, unsigned __int128 value) {
    const size_t first = std::min(bytes, kCopyFrom);
    store_blocks(to, first, simd::pair(int64_t(value), int64_t(value >> 64)));
    for (size_t done = first; done < bytes; done += first)
        std::memcpy(to + done, to, std::min(first, bytes - done));
}

template <class T>
int32_t copy(const T* source, T* destination, int32_t length) {
    if (const int32_t status = check(length, source, destination)) return status;
    owns_copy(source, destination, size_t(length) * sizeof(T));
    return kOzkPrimitivesOk;
}

template <class T>
int32_t zero(T* destination, int32_t length) {
    if (const int32_t status = check(length, destination)) return status;
    owns_zero(destination, size_t(length) * sizeof(T));
    return kOzkPrimitivesOk;
}

template <class T>
int32_t set(T* destination, int32_t length, T value) {
    if (const int32_t status = check(length, destination)) return status;
    owns_set(reinterpret_cast<char*>(destination), size_t(length) * sizeof(T),
             std::bit_cast<UnsignedOf<sizeof(T)>>(value));
    return kOzkPrimitivesOk;
}

}  // namespace
}  // namespace ozk::primitives

#define OZK_DEFINE_FILLS(suffix, T)                                                                     \
    extern "C" int32_t ozk_dft_mc3_qrvsCopy_##suffix(const T* source, T* destination, int32_t length) { \
        return ozk::primitives::copy(source, destination, length);                                      \
    }                                                                                                   \
    extern "C" int32_t ozk_dft_mc3_qrvsZero_##suffix(T* destination, int32_t length) {                  \
        return ozk::primitives::zero(destination, length);                                              \
    }                                                                                                   \
    extern "C" int32_t ozk_dft_mc3_qrvsSet_##suffix(T* destination, int32_t length, T value) {          \
        return ozk::primitives::set(destination, length, value);                                        \
    }
OZK_PRIMITIVES_FILL_TYPES(OZK_DEFINE_FILLS)
