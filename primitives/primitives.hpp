// What the primitives share.
#pragma once

#include <type_traits>

#include "ozk_primitives.h"

namespace ozk::primitives {

inline int32_t check(int32_t length, auto... pointers) {
    if (((pointers == nullptr) || ...)) return kOzkPrimitivesNullPointer;
    return length < 1 ? kOzkPrimitivesBadLength : kOzkPrimitivesOk;
}

// The unsigned integer that holds the bits of a value of so many bytes.
template <size_t bytes>
using UnsignedOf = std::conditional_t<
    bytes == 1, uint8_t,
    std::conditional_t<bytes == 2, uint16_t,
                       std::conditional_t<bytes == 4, uint32_t,
                                          std::conditional_t<bytes == 8, uint64_t, unsigned __int128>>>>;

}  // namespace ozk::primitives
