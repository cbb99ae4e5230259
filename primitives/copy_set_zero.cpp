// Copy, fill with zero and fill with a value.
//
// Copy and zero are block operations of the C library, and so is set where all bytes of the value are equal.
// Else set stores 16 bytes at a time, in long arrays with the processor's block store, which writes whole
// cache lines.

#include <cstring>

#include "primitives/primitives.hpp"
#include "simd/vector.hpp"

namespace ozk::primitives {
namespace {

void owns_copy(const void* from, void* to, size_t bytes) { std::memmove(to, from, bytes); }

void owns_zero(void* to, size_t bytes) { std::memset(to, 0, bytes); }

// Where the block store has made up for its start.
constexpr size_t kBlockStoreFrom = size_t(2) << 10;

// A value repeated over 16 bytes.
using Pattern = unsigned __int128;
constexpr size_t kBlock = sizeof(Pattern);

template <class T>
Pattern repeat(T value) {
    UnsignedOf<sizeof(T)> bits;
    std::memcpy(&bits, &value, sizeof value);
    return ~Pattern(0) / UnsignedOf<sizeof(T)>(~UnsignedOf<sizeof(T)>(0)) * bits;
}

// The pattern that continues `pattern` after so many bytes of it.
Pattern advance(Pattern pattern, size_t bytes) {
    const size_t bits = 8 * (bytes % kBlock);
    return pattern >> bits | pattern << (-bits % 128);
}

void block_store(void* to, size_t words, uint64_t word) {
    asm volatile("rep stosq" : "+D"(to), "+c"(words) : "a"(word) : "memory");
}

// `bytes` is a multiple of the size of the value in `pattern`.
void owns_set(char* to, size_t bytes, Pattern pattern) {
    if (pattern == advance(pattern, 1)) {
        std::memset(to, static_cast<unsigned char>(pattern), bytes);
        return;
    }
    if (bytes < kBlock) {
        std::memcpy(to, &pattern, bytes);
        return;
    }
    // The first and the last block stand anywhere, those between them on multiples of 16. The array ends with
    // a whole value, so that the last block is the first one again.
    std::memcpy(to, &pattern, kBlock);
    std::memcpy(to + bytes - kBlock, &pattern, kBlock);
    const size_t before = -reinterpret_cast<uintptr_t>(to) % kBlock;
    const Pattern inner = advance(pattern, before);
    const auto low = uint64_t(inner), high = uint64_t(inner >> 64);
    const size_t blocks = (bytes - before) / kBlock;
    to += before;
    if (bytes >= kBlockStoreFrom && low == high) {
        block_store(to, 2 * blocks, low);
        return;
    }
    const simd::i64x2 block = simd::pair(int64_t(low), int64_t(high));
#pragma GCC unroll 4
    for (size_t i = 0; i < blocks; ++i) simd::store(reinterpret_cast<int64_t*>(to + i * kBlock), block);
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
    owns_set(reinterpret_cast<char*>(destination), size_t(length) * sizeof(T), repeat(value));
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
