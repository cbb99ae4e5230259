// Copy, zero and set of every type against plain loops over bytes, at lengths and alignments around every way
// that the functions take; nothing outside the destination changes.

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "ozk_primitives.h"

namespace {

struct Member {
    const char* type;
    size_t width;
    size_t alignment;
    int32_t (*copy)(const void* source, void* destination, int32_t length);
    int32_t (*zero)(void* destination, int32_t length);
    int32_t (*set)(void* destination, int32_t length, const void* value);
};

#define OZK_MEMBER(suffix, T)                                                                 \
    Member{#suffix,                                                                           \
           sizeof(T),                                                                         \
           alignof(T),                                                                        \
           [](const void* source, void* destination, int32_t n) {                             \
               return ozk_dft_mc3_qrvsCopy_##suffix(static_cast<const T*>(source),            \
                                                    static_cast<T*>(destination), n);         \
           },                                                                                 \
           [](void* destination, int32_t n) {                                                 \
               return ozk_dft_mc3_qrvsZero_##suffix(static_cast<T*>(destination), n);         \
           },                                                                                 \
           [](void* destination, int32_t n, const void* value) {                              \
               T element;                                                                     \
               std::memcpy(&element, value, sizeof element);                                  \
               return ozk_dft_mc3_qrvsSet_##suffix(static_cast<T*>(destination), n, element); \
           }},

const Member kMembers[] = {OZK_PRIMITIVES_FILL_TYPES(OZK_MEMBER)};

using Bytes = std::vector<unsigned char>;

// Bytes that differ from their neighbours, so that a shifted copy shows.
Bytes pattern(size_t size, unsigned seed) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(seed + 37 * i + i / 251);
    return bytes;
}

constexpr size_t kMargin = 64;

// Calls act(member, length, offset) for every type, at offsets from a 16-byte boundary that its alignment
// allows.
template <class Act>
void for_each_case(Act act) {
    for (const Member& member : kMembers) {
        std::vector<int32_t> lengths{300, 1000, 4099};
        for (int32_t n = 1; n <= 140; ++n) lengths.push_back(n);
        for (const size_t bytes : {2048, 4096})
            for (int32_t near = -2; near <= 2; ++near)
                lengths.push_back(int32_t(bytes / member.width) + near);
        for (const int32_t n : lengths)
            for (size_t offset = 0; offset < 16; offset += member.alignment) {
                SCOPED_TRACE(testing::Message() << member.type << " length " << n << " offset " << offset);
                act(member, n, offset);
                if (testing::Test::HasFailure()) return;
            }
    }
}

TEST(CopySetZero, WriteTheirElementsAndNothingElse) {
    for_each_case([](const Member& member, int32_t n, size_t offset) {
        const size_t size = size_t(n) * member.width, begin = kMargin + offset;
        const Bytes before = pattern(size + 2 * kMargin + 16, 1), source = pattern(size, 99);
        alignas(16) unsigned char value[16];
        std::memcpy(value, pattern(16, 201).data(), 16);

        Bytes expected = before, got = before;
        std::memcpy(&expected[begin], source.data(), size);
        ASSERT_EQ(member.copy(source.data(), &got[begin], n), kOzkPrimitivesOk);
        ASSERT_EQ(got, expected);

        for (size_t i = 0; i < size; ++i) expected[begin + i] = value[i % member.width];
        ASSERT_EQ(member.set(&got[begin], n, value), kOzkPrimitivesOk);
        ASSERT_EQ(got, expected);

        for (size_t i = 0; i < size; ++i) expected[begin + i] = 0;
        ASSERT_EQ(member.zero(&got[begin], n), kOzkPrimitivesOk);
        ASSERT_EQ(got, expected);
    });
}

TEST(CopySetZero, SetKeepsValuesWhoseBytesPartlyAgree) {
    for (const Member& member : kMembers)
        for (size_t odd_byte = 0; odd_byte <= member.width; ++odd_byte) {  // the last round: all bytes equal
            unsigned char value[17];
            std::memset(value, 0xff, sizeof value);
            value[odd_byte] = 0x7f;
            Bytes got(member.width * 700);
            ASSERT_EQ(member.set(got.data(), 700, value), kOzkPrimitivesOk);
            for (size_t i = 0; i < got.size(); ++i)
                ASSERT_EQ(got[i], value[i % member.width]) << member.type << " odd byte " << odd_byte;
        }
}

TEST(CopySetZero, SetFillsArraysOfManyMegabytes) {
    for (const Member& member : kMembers) {
        const int32_t n = int32_t(5000000 / member.width) + 1;
        const size_t offset = member.alignment % 16;
        const Bytes value = pattern(16, 201);
        Bytes got(size_t(n) * member.width + offset + 1);
        ASSERT_EQ(member.set(&got[offset], n, value.data()), kOzkPrimitivesOk);
        size_t wrong = 0;
        for (size_t i = 0; i + 1 < got.size() - offset; ++i)
            wrong += got[offset + i] != value[i % member.width];
        EXPECT_EQ(wrong, 0U) << member.type;
        EXPECT_EQ(got.back(), 0) << member.type;
    }
}

TEST(CopySetZero, CopyOfOverlappingArraysCopiesWhatTheSourceHeld) {
    for (const Member& member : kMembers)
        for (const int32_t n : {1, 3, 17, 100, 5000})
            for (const int distance : {-33, -1, 0, 1, 2, 40}) {
                const size_t width = member.width, size = size_t(n) * width;
                Bytes got = pattern(size + 80 * width, 5), expected = got;
                const size_t from = 40 * width, to = size_t(40 + distance) * width;
                std::memmove(&expected[to], &expected[from], size);
                ASSERT_EQ(member.copy(&got[from], &got[to], n), kOzkPrimitivesOk);
                ASSERT_EQ(got, expected) << member.type << " length " << n << " distance " << distance;
            }
}

TEST(CopySetZero, RefuseNullPointersFirstAndThenBadLengths) {
    for (const Member& member : kMembers) {
        SCOPED_TRACE(member.type);
        const Bytes before = pattern(64, 3);
        Bytes got = before;
        const Bytes source = pattern(64, 7);
        for (const int32_t n : {1, 0, -1, INT32_MIN}) {
            EXPECT_EQ(member.copy(nullptr, got.data(), n), kOzkPrimitivesNullPointer);
            EXPECT_EQ(member.copy(source.data(), nullptr, n), kOzkPrimitivesNullPointer);
            EXPECT_EQ(member.zero(nullptr, n), kOzkPrimitivesNullPointer);
            EXPECT_EQ(member.set(nullptr, n, source.data()), kOzkPrimitivesNullPointer);
            if (n == 1) continue;
            EXPECT_EQ(member.copy(source.data(), got.data(), n), kOzkPrimitivesBadLength);
            EXPECT_EQ(member.zero(got.data(), n), kOzkPrimitivesBadLength);
            EXPECT_EQ(member.set(got.data(), n, source.data()), kOzkPrimitivesBadLength);
        }
        EXPECT_EQ(got, before);
    }
}

}  // namespace
