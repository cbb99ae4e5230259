// Pack and unpack: elements moved between a vector and places of another one that an increment, a vector of indices
// or a mask names. Elements are copied bit by bit; no floating-point state is involved.
//
// Mask elements are integers as wide as indices. Masked loops have no branch on an element, whose masks may be as
// random as data: an element that the mask leaves out is copied too, to a place that the next one overwrites (pack) or
// to one aside (unpack), so that nothing is read or written that the call doesn't name.

#include <algorithm>
#include <cstdint>

#include "ozk_vml.h"

namespace ozk::vml {
namespace {

constexpr int kUnroll = 8;

// f(i) for i = 0 .. n - 1, by eights.
template <class F>
[[gnu::always_inline]] inline void for_each(int64_t n, F f) {
    int64_t i = 0;
    for (; i + kUnroll <= n; i += kUnroll) {
#pragma GCC unroll 8
        for (int k = 0; k < kUnroll; ++k) f(i + k);
    }
    for (; i < n; ++i) f(i);
}

// Calls f(count, increment or pointer to the first index) with the types that `width` names. A 32-bit count is in the
// low half of n, and so is a 32-bit increment; the halves above hold whatever the caller's registers did.
template <class F>
[[gnu::always_inline]] inline void with_width(int64_t n, const void* indices, int32_t width, F f) {
    if (width == 1) {
        f(int64_t{static_cast<int32_t>(n)}, static_cast<const int32_t*>(indices));
    } else {
        f(n, static_cast<const int64_t*>(indices));
    }
}
struct Steps {
    int64_t n, increment;
};
Steps steps(int64_t n, int64_t increment, int32_t width) {
    if (width == 1) return {static_cast<int32_t>(n), static_cast<int32_t>(increment)};
    return {n, increment};
}

// Up to the last nonzero entry.
template <class Mask>
int64_t used_length(int64_t n, const Mask* mask) {
    while (n > 0 && mask[n - 1] == 0) --n;
    return n;
}

template <class T>
void pack_increment(int64_t n, const T* a, int64_t inca, T* y, int32_t width) {
    const auto [count, step] = steps(n, inca, width);
    if (step == 1) {
        if (count > 0) std::copy_n(a, count, y);
        return;
    }
    for_each(count, [y, a, by = step](int64_t i) { y[i] = a[i * by]; });
}
template <class T>
void unpack_increment(int64_t n, const T* a, T* y, int64_t incy, int32_t width) {
    const auto [count, step] = steps(n, incy, width);
    if (step == 1) {
        if (count > 0) std::copy_n(a, count, y);
        return;
    }
    for_each(count, [y, a, by = step](int64_t i) { y[i * by] = a[i]; });
}
template <class T>
void pack_vector(int64_t n, const T* a, const void* ia, T* y, int32_t width) {
    with_width(n, ia, width, [=](int64_t count, const auto* index) {
        for_each(count, [=](int64_t i) { y[i] = a[index[i]]; });
    });
}
template <class T>
void unpack_vector(int64_t n, const T* a, T* y, const void* iy, int32_t width) {
    with_width(n, iy, width, [=](int64_t count, const auto* index) {
        for_each(count, [=](int64_t i) { y[index[i]] = a[i]; });
    });
}
template <class T>
void pack_mask(int64_t n, const T* a, const void* ma, T* y, int32_t width) {
    with_width(n, ma, width, [=](int64_t count, const auto* mask) {
        T* next = y;
        for_each(used_length(count, mask), [=, &next](int64_t i) {
            *next = a[i];
            next += mask[i] != 0;
        });
    });
}
template <class T>
void unpack_mask(int64_t n, const T* a, T* y, const void* my, int32_t width) {
    with_width(n, my, width, [=](int64_t count, const auto* mask) {
        const T* next = a;
        T aside;
        for_each(used_length(count, mask), [=, &next, &aside](int64_t i) {
            T* const place = mask[i] != 0 ? y + i : &aside;
            *place = *next;
            next += mask[i] != 0;
        });
    });
}

}  // namespace
}  // namespace ozk::vml

#define OZK_PACK(p)                                                                  \
    void ozk_vml_kernel_##p##PackI_H8HAynn OZK_VML_ARGUMENTS_pack_increment(p) {     \
        ozk::vml::pack_increment(n, a, inca, y, width);                              \
    }                                                                                \
    void ozk_vml_kernel_##p##PackV_H8HAynn OZK_VML_ARGUMENTS_pack_vector(p) {        \
        ozk::vml::pack_vector(n, a, ia, y, width);                                   \
    }                                                                                \
    void ozk_vml_kernel_##p##PackM_H8HAynn OZK_VML_ARGUMENTS_pack_mask(p) {          \
        ozk::vml::pack_mask(n, a, ma, y, width);                                     \
    }                                                                                \
    void ozk_vml_kernel_##p##UnpackI_H8HAynn OZK_VML_ARGUMENTS_unpack_increment(p) { \
        ozk::vml::unpack_increment(n, a, y, incy, width);                            \
    }                                                                                \
    void ozk_vml_kernel_##p##UnpackV_H8HAynn OZK_VML_ARGUMENTS_unpack_vector(p) {    \
        ozk::vml::unpack_vector(n, a, y, iy, width);                                 \
    }                                                                                \
    void ozk_vml_kernel_##p##UnpackM_H8HAynn OZK_VML_ARGUMENTS_unpack_mask(p) {      \
        ozk::vml::unpack_mask(n, a, y, my, width);                                   \
    }
OZK_PACK(s)
OZK_PACK(d)
OZK_PACK(c)
OZK_PACK(z)
