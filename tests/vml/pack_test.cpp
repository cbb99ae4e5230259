#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "ozk_vml.h"

namespace ozk::vml {
namespace {

// The six functions of one element type, on elements compared as bytes.
template <class Element, auto kPackI, auto kPackV, auto kPackM, auto kUnpackI, auto kUnpackV, auto kUnpackM>
struct Functions {
    using T = Element;
    static constexpr auto pack_i = kPackI, unpack_i = kUnpackI;
    static constexpr auto pack_v = kPackV, pack_m = kPackM;
    static constexpr auto unpack_v = kUnpackV, unpack_m = kUnpackM;
};
#define FUNCTIONS(p)                                                                              \
    Functions<OZK_VML_TYPE_##p, _vml##p##PackI, _vml##p##PackV, _vml##p##PackM, _vml##p##UnpackI, \
              _vml##p##UnpackV, _vml##p##UnpackM>

template <class F>
class Pack : public testing::Test {
  protected:
    using T = typename F::T;

    // Different bytes everywhere, signalling NaN among them.
    std::vector<T> elements(size_t n) {
        std::vector<T> v(n);
        auto* const bytes = reinterpret_cast<unsigned char*>(v.data());
        std::generate_n(bytes, n * sizeof(T), [&] { return static_cast<unsigned char>(random_()); });
        return v;
    }
    static bool same(const std::vector<T>& a, const std::vector<T>& b) {
        return a.size() == b.size() &&
               (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
    }

    // A permutation, and random masks of any nonzero values that begin or end with what the call must not touch.
    template <class Index>
    std::vector<Index> permutation(size_t n) {
        std::vector<Index> v(n);
        for (size_t i = 0; i < n; ++i) v[i] = static_cast<Index>(i);
        std::shuffle(v.begin(), v.end(), random_);
        return v;
    }
    template <class Index>
    std::vector<Index> mask(size_t n, int density) {
        std::vector<Index> v(n);
        for (Index& m : v)
            m = static_cast<int>(random_() % 8) < density ? static_cast<Index>(Index{1} << random_() % 31)
                                                          : 0;
        if (n > 2 && density == 4) v[n - 1] = v[n - 2] = 0;
        return v;
    }

    // For a 32-bit count the high half of the argument is whatever a register held.
    template <class Index>
    static int64_t count(size_t n) {
        return sizeof(Index) == 4 ? static_cast<int64_t>(n | 0x5A5A5A5A00000000) : static_cast<int64_t>(n);
    }

    template <class Index>
    void expect_model(size_t n, int32_t width) {
        for (const int64_t step : {1, 2, 5}) {
            const auto a = elements(n * static_cast<size_t>(step));
            std::vector<T> y = elements(n), expected = y;
            for (size_t i = 0; i < n; ++i) expected[i] = a[i * static_cast<size_t>(step)];
            F::pack_i(count<Index>(n), a.data(), count<Index>(static_cast<size_t>(step)), y.data(), width);
            ASSERT_TRUE(this->same(y, expected)) << "PackI " << n;
            std::vector<T> z = elements(a.size()), spread = z;
            for (size_t i = 0; i < n; ++i) spread[i * static_cast<size_t>(step)] = y[i];
            F::unpack_i(count<Index>(n), y.data(), z.data(), count<Index>(static_cast<size_t>(step)), width);
            ASSERT_TRUE(this->same(z, spread)) << "UnpackI " << n;
        }
        const auto a = elements(n);
        const auto index = permutation<Index>(n);
        std::vector<T> y = elements(n), expected(n), back = elements(n);
        for (size_t i = 0; i < n; ++i) expected[i] = a[static_cast<size_t>(index[i])];
        F::pack_v(count<Index>(n), a.data(), index.data(), y.data(), width);
        ASSERT_TRUE(this->same(y, expected)) << "PackV " << n;
        F::unpack_v(count<Index>(n), y.data(), back.data(), index.data(), width);
        ASSERT_TRUE(this->same(back, a)) << "UnpackV " << n;
        for (const int density : {0, 1, 4, 8}) {
            const auto m = mask<Index>(n, density);
            std::vector<T> chosen;
            for (size_t i = 0; i < n; ++i)
                if (m[i] != 0) chosen.push_back(a[i]);
            std::vector<T> packed = elements(chosen.size()), unpacked = elements(n), model = unpacked;
            F::pack_m(count<Index>(n), a.data(), m.data(), packed.data(), width);
            ASSERT_TRUE(this->same(packed, chosen)) << "PackM " << n << " density " << density;
            for (size_t i = 0, j = 0; i < n; ++i)
                if (m[i] != 0) model[i] = packed[j++];
            F::unpack_m(count<Index>(n), packed.data(), unpacked.data(), m.data(), width);
            ASSERT_TRUE(this->same(unpacked, model)) << "UnpackM " << n << " density " << density;
        }
    }

  private:
    std::mt19937_64 random_{1};
};
using AllTypes = testing::Types<FUNCTIONS(s), FUNCTIONS(d), FUNCTIONS(c), FUNCTIONS(z)>;
TYPED_TEST_SUITE(Pack, AllTypes);

// Arrays are as long as the call names and no longer: a sanitized run sees what is read beside them.
TYPED_TEST(Pack, MovesEveryElementToItsPlaceAndTouchesNothingElse) {
    for (size_t n = 1; n <= 40; ++n) {
        this->template expect_model<int32_t>(n, 1);
        for (const int32_t width : {0, 2, 8}) this->template expect_model<int64_t>(n, width);
    }
    this->template expect_model<int32_t>(1000, 1);
}

TYPED_TEST(Pack, WritesNothingForCountsBelowOne) {
    using F = TypeParam;
    for (const int32_t width : {1, 8}) {
        for (const int64_t n : {int64_t{0}, int64_t{-1}, int64_t{-7}, int64_t{INT32_MIN}, INT64_MIN}) {
            const typename F::T a{};
            typename F::T y{};
            F::pack_i(n, &a, 1, nullptr, width);
            F::pack_i(n, &a, 3, nullptr, width);
            F::pack_v(n, &a, nullptr, nullptr, width);
            F::pack_m(n, &a, nullptr, nullptr, width);
            F::unpack_i(n, &a, nullptr, 1, width);
            F::unpack_i(n, &a, nullptr, 3, width);
            F::unpack_v(n, &a, &y, nullptr, width);
            F::unpack_m(n, &a, &y, nullptr, width);
        }
    }
}

}  // namespace
}  // namespace ozk::vml
