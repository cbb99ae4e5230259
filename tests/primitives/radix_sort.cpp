// Sorts in place and by index against std::stable_sort under the standard library's total order (which for
// floating-point values is the IEEE 754 totalOrder predicate), over data that reach every digit and every
// way.

#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <compare>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include "ozk_primitives.h"

namespace {

enum class Data {
    kBits,
    kUniform,
    kSorted,
    kReversed,
    kConstant,
    kFew,
    kSpecial,
    kOneByte,
    kAlmostSorted,
    kCount
};

template <class T>
T from_bits(uint64_t bits) {
    T value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

template <class T>
bool before(T a, T b) {
    return std::strong_order(a, b) < 0;
}

template <class T>
T special(uint64_t pick) {
    using Limits = std::numeric_limits<T>;
    if constexpr (std::is_floating_point_v<T>) {
        const T values[] = {T(0),
                            -T(0),
                            Limits::denorm_min(),
                            -Limits::denorm_min(),
                            Limits::min(),
                            -Limits::min(),
                            Limits::infinity(),
                            -Limits::infinity(),
                            Limits::max(),
                            -Limits::max(),
                            Limits::quiet_NaN(),
                            -Limits::quiet_NaN(),
                            T(1),
                            T(-1),
                            Limits::signaling_NaN(),
                            std::nextafter(T(1), T(2)),
                            Limits::min() / 2};
        return values[pick % std::size(values)];
    } else {
        const T values[] = {T(0),   T(1), T(-1), T(2), Limits::max(), Limits::min(), T(Limits::max() - 1),
                            T(0x55)};
        return values[pick % std::size(values)];
    }
}

template <class T>
std::vector<T> make(Data data, int32_t n, uint64_t seed) {
    std::mt19937_64 random(seed);
    std::vector<T> keys(static_cast<size_t>(n));
    const uint64_t base = random(), shift = 8 * (seed % sizeof(T));
    for (T& key : keys) {
        const uint64_t bits = random();
        switch (data) {
            case Data::kConstant:
                key = from_bits<T>(base);
                break;
            case Data::kFew:
                key = from_bits<T>(base * (1 + bits % 3));
                break;
            case Data::kSpecial:
                key = special<T>(bits);
                break;
            case Data::kOneByte:
                key = from_bits<T>(base ^ (bits & 0xff) << shift);
                break;  // one digit varies
            case Data::kUniform:
                if constexpr (std::is_floating_point_v<T>) {
                    key = std::uniform_real_distribution<T>(-1, 1)(random);
                    break;
                }
                [[fallthrough]];
            default:
                key = from_bits<T>(bits);
        }
    }
    if (data == Data::kSorted || data == Data::kReversed || data == Data::kAlmostSorted)
        std::sort(keys.begin(), keys.end(), before<T>);
    if (data == Data::kReversed) std::reverse(keys.begin(), keys.end());
    if (data == Data::kAlmostSorted) std::swap(keys.back(), keys[keys.size() / 2]);
    return keys;
}

template <class T>
bool same_bits(const std::vector<T>& a, const std::vector<T>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
}

constexpr size_t kMargin = 8;  // elements beyond each array, which must not change

template <class T, class Sort>
void check_sort(Sort sort, bool descend, Data data, int32_t n) {
    const std::vector<T> keys = make<T>(data, n, uint64_t(n) * 16 + uint64_t(data));
    std::vector<T> expected = keys;
    std::stable_sort(expected.begin(), expected.end(),
                     [=](T a, T b) { return descend ? before(b, a) : before(a, b); });

    std::vector<T> got = keys, work(size_t(n) + kMargin, T(42));
    got.resize(size_t(n) + kMargin, T(17));
    expected.resize(size_t(n) + kMargin, T(17));
    ASSERT_EQ(sort(got.data(), work.data(), n), kOzkPrimitivesOk);
    ASSERT_TRUE(same_bits(got, expected))
        << "data kind " << int(data) << " length " << n << " descend " << descend;
    ASSERT_EQ(std::count(work.end() - kMargin, work.end(), T(42)), ptrdiff_t(kMargin));
}

template <class T, class Sort>
void check_index(Sort sort, bool descend, Data data, int32_t n) {
    const std::vector<T> keys = make<T>(data, n, uint64_t(n) * 16 + uint64_t(data));
    std::vector<int32_t> expected(static_cast<size_t>(n));
    std::iota(expected.begin(), expected.end(), 0);
    std::stable_sort(expected.begin(), expected.end(), [&](int32_t i, int32_t j) {
        const T a = keys[size_t(i)], b = keys[size_t(j)];
        return descend ? before(b, a) : before(a, b);
    });
    expected.resize(size_t(n) + kMargin, -7);

    const auto check = [&](const void* first_key, int32_t key_step, const std::vector<int32_t>& wanted) {
        std::vector<int32_t> got(size_t(n) + kMargin, -7), work(size_t(n) + kMargin, -9);
        ASSERT_EQ(sort(static_cast<const T*>(first_key), key_step, got.data(), work.data(), n),
                  kOzkPrimitivesOk);
        ASSERT_EQ(got, wanted) << "data kind " << int(data) << " length " << n << " step " << key_step
                               << " descend " << descend;
        ASSERT_EQ(std::count(work.end() - kMargin, work.end(), -9), ptrdiff_t(kMargin));
    };
    check(keys.data(), sizeof(T), expected);
    if (n > 5000) return;

    // The same keys as members of packed records of 11 bytes, forwards and backwards.
    constexpr size_t kRecord = 11;
    std::vector<char> records(size_t(n) * kRecord);
    for (size_t i = 0; i < size_t(n); ++i) std::memcpy(&records[i * kRecord + 3], &keys[i], sizeof(T));
    const std::vector<char> untouched = records;
    check(&records[3], kRecord, expected);
    for (size_t i = 0; i < size_t(n); ++i)
        std::memcpy(&records[(size_t(n) - 1 - i) * kRecord + 3], &keys[i], sizeof(T));
    check(&records[(size_t(n) - 1) * kRecord + 3], -int32_t(kRecord), expected);

    std::vector<int32_t> identity = expected;
    std::iota(identity.begin(), identity.end() - kMargin, 0);
    check(keys.data(), 0, identity);
}

// Every length to 3,000 with the kinds of data in turn; every kind at lengths where the method changes.
template <class Check>
void for_each_length(int32_t longest, Check check) {
    constexpr int kKinds = int(Data::kCount);
    for (int32_t n = 1; n <= 3000; ++n) check(Data(n % kKinds), n);
    for (int kind = 0; kind < kKinds; ++kind) {
        for (int32_t n = 1; n <= 20; ++n) check(Data(kind), n);
        for (const int32_t n : {31, 32, 33, 63, 64, 65, 66, 127, 128, 129, 130, 255, 2999, 3000, 3001, 40000})
            check(Data(kind), n);
    }
    check(Data::kBits, longest);
    check(Data::kUniform, longest);
}

#define OZK_TEST_SORT(suffix, T)                                                         \
    TEST(RadixSort, InPlaceEqualsStableSort_##suffix) {                                  \
        for_each_length(2'300'001, [](Data data, int32_t n) {                            \
            check_sort<T>(ozk_dft_mc3_qrvsSortRadixAscend_##suffix##_I, false, data, n); \
            check_sort<T>(ozk_dft_mc3_qrvsSortRadixDescend_##suffix##_I, true, data, n); \
        });                                                                              \
    }
OZK_PRIMITIVES_SORT_TYPES(OZK_TEST_SORT)

#define OZK_TEST_INDEX_SORT(suffix, T)                                                     \
    TEST(RadixSort, IndexEqualsStableSort_##suffix) {                                      \
        for_each_length(1'100'000, [](Data data, int32_t n) {                              \
            check_index<T>(ozk_dft_mc3_qrvsSortRadixIndexAscend_##suffix, false, data, n); \
            check_index<T>(ozk_dft_mc3_qrvsSortRadixIndexDescend_##suffix, true, data, n); \
        });                                                                                \
    }
OZK_PRIMITIVES_INDEX_SORT_TYPES(OZK_TEST_INDEX_SORT)

// A digit that no pass looks at would leave pairs unordered that differ in it alone.
TEST(RadixSort, EveryBitOfA64BitKeyDecides) {
    constexpr int32_t kLengths[] = {200, 3000, 600'000};  // 8-bit digits, wide digits, 8-bit digits
    for (const int32_t n : kLengths)
        for (int bit = 0; bit < 64; ++bit) {
            std::vector<double> data(size_t(n), 1.0), work = data;
            data[size_t(n) / 2] = from_bits<double>(0x3ff0000000000000 ^ uint64_t(1) << bit);
            std::vector<double> expected = data;
            std::stable_sort(expected.begin(), expected.end(), before<double>);
            ASSERT_EQ(ozk_dft_mc3_qrvsSortRadixAscend_64f_I(data.data(), work.data(), n), kOzkPrimitivesOk);
            ASSERT_TRUE(same_bits(data, expected)) << "bit " << bit << " length " << n;
        }
}

TEST(RadixSort, OrdersSignedZerosAndNaNsAsDocumentedAndRaisesNothing) {
    using Limits = std::numeric_limits<float>;
    const float nan = Limits::quiet_NaN(), inf = Limits::infinity();
    const std::vector<float> ascending{-nan, -inf, -1.0f, -Limits::denorm_min(),   -0.0f,
                                       0.0f, 1.0f, inf,   Limits::signaling_NaN(), nan};
    std::vector<float> data(ascending.rbegin(), ascending.rend()), work(data.size());
    std::swap(data[2], data[5]);
    std::vector<int32_t> index(data.size()), index_work(data.size());
    const std::vector<float> keys = data;
    const auto n = int32_t(data.size());
    std::feclearexcept(FE_ALL_EXCEPT);
    ozk_dft_mc3_qrvsSortRadixAscend_32f_I(data.data(), work.data(), n);
    ozk_dft_mc3_qrvsSortRadixIndexAscend_32f(keys.data(), sizeof(float), index.data(), index_work.data(), n);
    EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), 0);
    EXPECT_TRUE(same_bits(data, ascending));
    EXPECT_EQ(index, (std::vector<int32_t>{9, 8, 7, 6, 2, 4, 3, 5, 1, 0}));
}

TEST(RadixSort, RefusesNullPointersFirstAndThenBadLengths) {
    const std::vector<float> before_call{3, 1, 2};
    const std::vector<int32_t> index_before{5, 5, 5};
    for (const auto sort : {ozk_dft_mc3_qrvsSortRadixAscend_32f_I, ozk_dft_mc3_qrvsSortRadixDescend_32f_I})
        for (const int32_t n : {3, 0, -1, INT32_MIN}) {
            std::vector<float> data = before_call, work(3);
            EXPECT_EQ(sort(nullptr, work.data(), n), kOzkPrimitivesNullPointer);
            EXPECT_EQ(sort(data.data(), nullptr, n), kOzkPrimitivesNullPointer);
            if (n < 1) {
                EXPECT_EQ(sort(data.data(), work.data(), n), kOzkPrimitivesBadLength);
            }
            EXPECT_EQ(data, before_call);
        }
    for (const auto sort :
         {ozk_dft_mc3_qrvsSortRadixIndexAscend_32f, ozk_dft_mc3_qrvsSortRadixIndexDescend_32f})
        for (const int32_t n : {3, 0, -1, INT32_MIN}) {
            std::vector<int32_t> index = index_before, work(3);
            const float* keys = before_call.data();
            EXPECT_EQ(sort(nullptr, 4, index.data(), work.data(), n), kOzkPrimitivesNullPointer);
            EXPECT_EQ(sort(keys, 4, nullptr, work.data(), n), kOzkPrimitivesNullPointer);
            EXPECT_EQ(sort(keys, 4, index.data(), nullptr, n), kOzkPrimitivesNullPointer);
            if (n < 1) {
                EXPECT_EQ(sort(keys, 4, index.data(), work.data(), n), kOzkPrimitivesBadLength);
            }
            EXPECT_EQ(index, index_before);
        }
}

}  // namespace
