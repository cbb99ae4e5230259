// Radix sorts of keys in place and of an index permutation.
//
// Method: each key is mapped to an unsigned integer whose order is the wanted order; one sweep counts every
// digit of every key; stable scatter passes follow, least significant digit first, between the array and the
// work buffer. The items that move are the keys themselves or their indices, and they move as they are: each
// pass maps the key again, which costs less than the store beside it, so that no pass differs from another
// and any pass may be left out. Knuth, "The Art of Computer Programming" 3, section 5.2.5.
//
// Short arrays, where clearing and summing the counters would cost more than the sort, are merged instead.
// Both ways give the same result, since every order here is total up to items that are the same.

#include <algorithm>
#include <bit>
#include <cstring>
#include <numeric>
#include <utility>

#include "primitives/primitives.hpp"

namespace ozk::primitives {
namespace {

// The bijection between values and the unsigned keys that sort in their order; the descending order flips
// every bit of the key once more.
template <class T>
struct RadixKey {
    using Key = UnsignedOf<sizeof(T)>;

    Key flip;

    explicit constexpr RadixKey(bool descend) : flip(descend ? Key(~Key(0)) : Key(0)) {}

    // Negative floating-point values grow downwards, so all their bits flip.
    constexpr Key operator()(T value) const {
        Key key = std::bit_cast<Key>(value);
        if constexpr (std::is_floating_point_v<T>) key ^= Key(all_if_negative(key) | kSign);
        if constexpr (std::is_integral_v<T> && std::is_signed_v<T>) key ^= kSign;
        return key ^ flip;
    }

    constexpr T value(Key key) const {
        key ^= flip;
        if constexpr (std::is_floating_point_v<T>) key ^= Key(Key(~all_if_negative(key)) | kSign);
        if constexpr (std::is_integral_v<T> && std::is_signed_v<T>) key ^= kSign;
        return std::bit_cast<T>(key);
    }

  private:
    static constexpr int kTopBit = 8 * sizeof(T) - 1;
    static constexpr Key kSign = Key(Key(1) << kTopBit);
    static constexpr Key all_if_negative(Key key) { return Key(std::make_signed_t<Key>(key) >> kTopBit); }
};

// The widths of a key's digits, least significant first.
template <int... widths>
struct Digits {
    static constexpr int kBits = (widths + ...);
    static constexpr int kCounters = ((1 << widths) + ...);
};

// How keys of so many bytes are sorted. Arrays of up to kMergeTo keys are merged, which there beats every
// radix sort. Wide digits need the fewest passes. The counters of 64-bit keys fill five tables of 2,048: four
// digits of 11 bits have one each, and two of 10 bits share the fifth.
template <int bytes>
struct Plan;
template <>
struct Plan<1> {
    static constexpr int32_t kMergeTo = 128;
    using Wide = Digits<8>;
    using Narrow = Wide;
};
template <>
struct Plan<2> {
    static constexpr int32_t kMergeTo = 32;
    using Wide = Digits<8, 8>;
    using Narrow = Wide;
};
template <>
struct Plan<4> {
    static constexpr int32_t kMergeTo = 64;
    using Wide = Digits<11, 11, 10>;
    using Narrow = Digits<8, 8, 8, 8>;
};
template <>
struct Plan<8> {
    static constexpr int32_t kMergeTo = 256;
    using Wide = Digits<11, 11, 11, 11, 10, 10>;
    using Narrow = Digits<8, 8, 8, 8, 8, 8, 8, 8>;
};
constexpr int32_t kMergeMax = 256;
constexpr int32_t kIndexMergeTo = 128;
static_assert(Plan<4>::Wide::kBits == 32 && Plan<8>::Wide::kBits == 64 &&
              Plan<8>::Wide::kCounters == 5 * 2048);

// Where wide digits pay. A shorter array does not earn the sums over thousands of counters. In a larger one
// the 2,048 places that a pass writes to, each on a page of its own, miss the second-level TLB: it has some
// 1,500 to 2,000 entries for pages of 4 KiB, and the array and the work buffer together need 1,024 here.
constexpr int32_t kWideLengthFrom = 3000;
constexpr size_t kWideBytesTo = size_t(2) << 20;

template <int first_bit, int width>
struct Digit {
    static constexpr int kValues = 1 << width;
    static constexpr unsigned of(auto key) { return unsigned(key >> first_bit) & (kValues - 1); }
};

// Calls apply(Digit) for each digit in turn.
template <int first_bit = 0, int width, int... rest>
void for_each_digit(Digits<width, rest...>, auto&& apply) {
    apply(Digit<first_bit, width>());
    if constexpr (sizeof...(rest) > 0) for_each_digit<first_bit + width>(Digits<rest...>(), apply);
}

// Moves the items to the places that `next` holds for their digits. Eight digits are read before the first
// store, as the loads would otherwise wait for stores that might alias them.
template <class Digit, class Item, class KeyOf>
void scatter(const Item* __restrict from, Item* __restrict to, int32_t n, uint32_t* __restrict next,
             KeyOf key_of) {
    constexpr int kStep = 8;
    int32_t i = 0;
    for (; i <= n - kStep; i += kStep) {
        Item item[kStep];
        unsigned digit[kStep];
#pragma GCC unroll 8
        for (int j = 0; j < kStep; ++j) {
            item[j] = from[i + j];
            digit[j] = Digit::of(key_of(item[j]));
        }
#pragma GCC unroll 8
        for (int j = 0; j < kStep; ++j) to[next[digit[j]]++] = item[j];
    }
    for (; i < n; ++i) to[next[Digit::of(key_of(from[i]))]++] = from[i];
}

// Sorts items[0 .. n-1] by key_of(item), stably.
template <class Digits, class Item, class KeyOf>
void radix_sort(Item* items, Item* work, int32_t n, KeyOf key_of) {
    uint32_t counters[Digits::kCounters] = {};
    for (int32_t i = 0; i < n; ++i) {
        const auto key = key_of(items[i]);
        uint32_t* counter = counters;
        for_each_digit(Digits(), [&]<class Digit>(Digit) {
            ++counter[Digit::of(key)];
            counter += Digit::kValues;
        });
    }

    const auto first_key = key_of(items[0]);
    Item* from = items;
    Item* to = work;
    uint32_t* next = counters;
    for_each_digit(Digits(), [&]<class Digit>(Digit) {
        if (next[Digit::of(first_key)] != uint32_t(n)) {  // else all keys have the same digit
            uint32_t place = 0;
            for (int digit = 0; digit < Digit::kValues; ++digit) place += std::exchange(next[digit], place);
            scatter<Digit>(from, to, n, next, key_of);
            std::swap(from, to);
        }
        next += Digit::kValues;
    });
    if (from != items) std::memcpy(items, from, size_t(n) * sizeof(Item));
}

// Bytes are told apart by their counts alone.
template <class T>
void counting_sort(T* data, int32_t n, RadixKey<T> key_of) {
    uint32_t counters[256] = {};
    for (int32_t i = 0; i < n; ++i) ++counters[key_of(data[i])];
    for (unsigned key = 0; key < 256; ++key) {
        std::memset(data, key_of.value(uint8_t(key)), counters[key]);
        data += counters[key];
    }
}

// Merges two sorted runs, the first as long as the second or shorter by one, from both ends at once and
// without branches on keys. Neither end can run off a run: each takes no more items than the shorter run has.
template <class Key>
void merge(const Key* first, int32_t n1, const Key* second, int32_t n2, Key* to) {
    const Key* head1 = first;
    const Key* head2 = second;
    const Key* tail1 = first + n1;
    const Key* tail2 = second + n2;
    Key* front = to;
    Key* back = to + n1 + n2;
    for (int32_t i = 0; i < n1; ++i) {
        const bool second_head = *head2 < *head1;
        *front++ = second_head ? *head2 : *head1;
        head2 += second_head;
        head1 += !second_head;
        const bool first_tail = tail2[-1] < tail1[-1];
        *--back = first_tail ? tail1[-1] : tail2[-1];
        tail1 -= first_tail;
        tail2 -= !first_tail;
    }
    if (n1 != n2) *front = head1 != tail1 ? *head1 : *head2;
}

template <class Key>
void sort_pair(Key& a, Key& b) {
    const Key low = b < a ? b : a;
    b = b < a ? a : b;
    a = low;
}

// Sorts from[0 .. n-1] into `to`, which holds a copy of `from` at the start; both are overwritten.
template <class Key>
void merge_sort(Key* from, Key* to, int32_t n) {
    if (n <= 4) {
        if (n == 4) {
            sort_pair(to[0], to[1]);
            sort_pair(to[2], to[3]);
            sort_pair(to[0], to[2]);
            sort_pair(to[1], to[3]);
            sort_pair(to[1], to[2]);
        } else if (n == 3) {
            sort_pair(to[0], to[1]);
            sort_pair(to[1], to[2]);
            sort_pair(to[0], to[1]);
        } else if (n == 2) {
            sort_pair(to[0], to[1]);
        }
        return;
    }
    const int32_t half = n / 2;
    merge_sort(to, from, half);
    merge_sort(to + half, from + half, n - half);
    merge(from, half, from + half, n - half, to);
}

// Sorts the n keys that key(i) gives and hands them to put(i, key) in order.
template <class Key, class Get, class Put>
void sort_short(int32_t n, Get key, Put put) {
    Key sorted[kMergeMax], work[kMergeMax];
    for (int32_t i = 0; i < n; ++i) work[i] = sorted[i] = key(i);
    merge_sort(work, sorted, n);
    for (int32_t i = 0; i < n; ++i) put(i, sorted[i]);
}

template <int bytes, class Item, class KeyOf>
void sort_long(Item* items, Item* work, int32_t n, KeyOf key_of) {
    if (n >= kWideLengthFrom && size_t(n) * sizeof(Item) <= kWideBytesTo)
        radix_sort<typename Plan<bytes>::Wide>(items, work, n, key_of);
    else
        radix_sort<typename Plan<bytes>::Narrow>(items, work, n, key_of);
}

// Sorts items that are in order already or in the opposite order, and tells whether they were. Reversing
// brings items with equal keys out of order, which only matters where they are told apart by more than their
// keys.
template <bool items_are_keys, class Item, class KeyOf>
bool sort_monotone(Item* items, int32_t n, KeyOf key_of) {
    const auto less = [&](int32_t i, int32_t j) { return key_of(items[i]) < key_of(items[j]); };
    int32_t i = 1;
    while (i < n && !less(i, i - 1)) ++i;
    if (i == n) return true;
    i = 1;
    while (i < n && (items_are_keys ? !less(i - 1, i) : less(i, i - 1))) ++i;
    if (i < n) return false;
    std::reverse(items, items + n);
    return true;
}

template <class T>
int32_t owns_sort(T* data, T* work, int32_t n, bool descend) {
    using Key = typename RadixKey<T>::Key;
    if (const int32_t status = check(n, data, work)) return status;
    const RadixKey<T> key_of(descend);
    if (n == 2) {
        Key first = key_of(data[0]), second = key_of(data[1]);
        sort_pair(first, second);
        data[0] = key_of.value(first);
        data[1] = key_of.value(second);
        return kOzkPrimitivesOk;
    }
    const bool few = n == 3 || n == 4;  // sorted in less time than one mispredicted branch takes
    if (!few && sort_monotone<true>(data, n, key_of)) return kOzkPrimitivesOk;
    if (n <= Plan<sizeof(T)>::kMergeTo)
        sort_short<Key>(
            n, [=](int32_t i) { return key_of(data[i]); },
            [=](int32_t i, Key key) { data[i] = key_of.value(key); });
    else if constexpr (sizeof(T) == 1)
        counting_sort(data, n, key_of);
    else
        sort_long<sizeof(T)>(data, work, n, key_of);
    return kOzkPrimitivesOk;
}

template <class T>
int32_t owns_sort_index(const T* keys, int32_t key_step, int32_t* index, int32_t* work, int32_t n,
                        bool descend) {
    if (const int32_t status = check(n, keys, index, work)) return status;
    const auto key_of = [=, bytes = reinterpret_cast<const char*>(keys),
                         map = RadixKey<T>(descend)](int32_t i) {
        T value;
        std::memcpy(&value, bytes + ptrdiff_t(key_step) * i, sizeof value);
        return map(value);
    };
    std::iota(index, index + n, 0);
    if (sort_monotone<false>(index, n, key_of)) return kOzkPrimitivesOk;
    if (n <= kIndexMergeTo)  // the position below the key keeps equal keys in index order
        sort_short<uint64_t>(
            n, [=](int32_t i) { return uint64_t(key_of(i)) << 32 | uint32_t(i); },
            [=](int32_t i, uint64_t key) { index[i] = int32_t(uint32_t(key)); });
    else
        sort_long<sizeof(T)>(index, work, n, key_of);
    return kOzkPrimitivesOk;
}

}  // namespace
}  // namespace ozk::primitives

#define OZK_DEFINE_SORT(suffix, T)                                                                       \
    extern "C" int32_t ozk_dft_mc3_qrvsSortRadixAscend_##suffix##_I(T* data, T* work, int32_t length) {  \
        return ozk::primitives::owns_sort(data, work, length, false);                                    \
    }                                                                                                    \
    extern "C" int32_t ozk_dft_mc3_qrvsSortRadixDescend_##suffix##_I(T* data, T* work, int32_t length) { \
        return ozk::primitives::owns_sort(data, work, length, true);                                     \
    }
OZK_PRIMITIVES_SORT_TYPES(OZK_DEFINE_SORT)

#define OZK_DEFINE_INDEX_SORT(suffix, T)                                                     \
    extern "C" int32_t ozk_dft_mc3_qrvsSortRadixIndexAscend_##suffix(                        \
        const T* keys, int32_t key_step, int32_t* index, int32_t* work, int32_t length) {    \
        return ozk::primitives::owns_sort_index(keys, key_step, index, work, length, false); \
    }                                                                                        \
    extern "C" int32_t ozk_dft_mc3_qrvsSortRadixIndexDescend_##suffix(                       \
        const T* keys, int32_t key_step, int32_t* index, int32_t* work, int32_t length) {    \
        return ozk::primitives::owns_sort_index(keys, key_step, index, work, length, true);  \
    }
OZK_PRIMITIVES_INDEX_SORT_TYPES(OZK_DEFINE_INDEX_SORT)
