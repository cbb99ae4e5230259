/* Vector primitives: copy, fill with zero, fill with a value, and stable radix sorts.
 *
 * Lengths count elements. Arrays need only the alignment of their element type. Nothing is allocated and
 * nothing is kept between calls: any thread may call any function, as long as no two of them write the same
 * array.
 *
 * Every function returns a status and tests its pointers first, then its length; on failure nothing is
 * written.
 */
#ifndef OZK_PRIMITIVES_H
#define OZK_PRIMITIVES_H

#include "ozk_core.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
    kOzkPrimitivesOk = 0,          /* Success. */
    kOzkPrimitivesBadLength = -6,  /* The length is below 1. */
    kOzkPrimitivesNullPointer = -8 /* A required pointer is null. */
};

/* Complex values: the real part, then the imaginary part. */
typedef struct Ozk16sc {
    int16_t re, im;
} Ozk16sc;
typedef struct Ozk32sc {
    int32_t re, im;
} Ozk32sc;
typedef struct Ozk64sc {
    int64_t re, im;
} Ozk64sc;
typedef struct Ozk32fc {
    float re, im;
} Ozk32fc;
typedef struct Ozk64fc {
    double re, im;
} Ozk64fc;

/* The element types, X(suffix, type): of copy, zero and set; of the index sorts; of the sorts in place. */
/* clang-format off */
#define OZK_PRIMITIVES_FILL_TYPES(X)                                             \
    X(8u, uint8_t)                                                               \
    X(16s, int16_t) X(16sc, Ozk16sc)                                             \
    X(32s, int32_t) X(32sc, Ozk32sc) X(32f, float) X(32fc, Ozk32fc)              \
    X(64s, int64_t) X(64sc, Ozk64sc) X(64f, double) X(64fc, Ozk64fc)
/* clang-format on */
#define OZK_PRIMITIVES_INDEX_SORT_TYPES(X) \
    X(8u, uint8_t) X(16s, int16_t) X(16u, uint16_t) X(32s, int32_t) X(32u, uint32_t) X(32f, float)
#define OZK_PRIMITIVES_SORT_TYPES(X) OZK_PRIMITIVES_INDEX_SORT_TYPES(X) X(64f, double)

/* Copies `length` elements. Source and destination may overlap in any way: the destination receives what the
 * source held before the call. */
#define OZK_PRIMITIVES_COPY(suffix, T) \
    OZK_EXPORT int32_t ozk_dft_mc3_qrvsCopy_##suffix(const T* source, T* destination, int32_t length);

/* Sets `length` elements to zero, every bit of them. */
#define OZK_PRIMITIVES_ZERO(suffix, T) \
    OZK_EXPORT int32_t ozk_dft_mc3_qrvsZero_##suffix(T* destination, int32_t length);

/* Sets `length` elements to `value`, bit by bit: a NaN keeps its payload. */
#define OZK_PRIMITIVES_SET(suffix, T) \
    OZK_EXPORT int32_t ozk_dft_mc3_qrvsSet_##suffix(T* destination, int32_t length, T value);

/* Sorts data[0 .. length-1] in place. `work` holds `length` elements, must not overlap `data`, and is left
 * with unspecified content.
 *
 * Floating-point order is that of the IEEE 754 totalOrder predicate, ascending: NaNs with the sign bit,
 * -infinity, negative values, -0, +0, positive values, +infinity, NaNs without the sign bit; NaNs among
 * themselves by payload. Every bit of every key is kept, signalling NaNs included, and no floating-point flag
 * is raised. Descending is the opposite order.
 *
 * Method: least significant digit radix sort (Knuth, The Art of Computer Programming 3, section 5.2.5),
 * linear in `length`; merging for short arrays. At most 48 KiB of stack. */
#define OZK_PRIMITIVES_SORT(suffix, T)                                                                 \
    OZK_EXPORT int32_t ozk_dft_mc3_qrvsSortRadixAscend_##suffix##_I(T* data, T* work, int32_t length); \
    OZK_EXPORT int32_t ozk_dft_mc3_qrvsSortRadixDescend_##suffix##_I(T* data, T* work, int32_t length);

/* Writes to index[0 .. length-1] the permutation of 0 .. length-1 that orders the keys: index[0] is the
 * position of the first key in the wanted order. The keys stay as they are.
 *
 * Key i lies key_step * i bytes after `keys`. The step is in bytes, so that keys may be members of records;
 * it may be negative, and zero makes all keys equal; keys need no alignment. `work` holds `length` elements.
 * index, work and the keys must not overlap.
 *
 * Equal keys are listed by ascending position, in ascending and in descending order. Key order and method as
 * for the sorts in place; -0 and +0 are different keys. */
#define OZK_PRIMITIVES_INDEX_SORT(suffix, T)                                             \
    OZK_EXPORT int32_t ozk_dft_mc3_qrvsSortRadixIndexAscend_##suffix(                    \
        const T* keys, int32_t key_step, int32_t* index, int32_t* work, int32_t length); \
    OZK_EXPORT int32_t ozk_dft_mc3_qrvsSortRadixIndexDescend_##suffix(                   \
        const T* keys, int32_t key_step, int32_t* index, int32_t* work, int32_t length);

OZK_PRIMITIVES_FILL_TYPES(OZK_PRIMITIVES_COPY)
OZK_PRIMITIVES_FILL_TYPES(OZK_PRIMITIVES_ZERO)
OZK_PRIMITIVES_FILL_TYPES(OZK_PRIMITIVES_SET)
OZK_PRIMITIVES_SORT_TYPES(OZK_PRIMITIVES_SORT)
OZK_PRIMITIVES_INDEX_SORT_TYPES(OZK_PRIMITIVES_INDEX_SORT)

#ifdef __cplusplus
}
#endif

#endif
