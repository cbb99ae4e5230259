#include <gtest/gtest.h>

#include <algorithm>

#include "matrices.hpp"

namespace {

using namespace ozk::test;

template <class T>
struct System {
    int64_t n;
    std::vector<T> dl, d, du;

    // Diagonally dominant, so that elimination without pivoting is stable.
    explicit System(int64_t order, unsigned seed = 1) : n(order) {
        std::mt19937 generator(seed);
        std::uniform_real_distribution<T> uniform(-1, 1);
        for (int64_t i = 0; i < n; ++i) {
            d.push_back((uniform(generator) < 0 ? T(-1) : T(1)) * (T(2.25) + uniform(generator) / 8));
            if (i + 1 < n) {
                dl.push_back(uniform(generator));
                du.push_back(uniform(generator));
            }
        }
    }

    Exact matrix() const {
        Exact a(n, n);
        for (int64_t i = 0; i < n; ++i) {
            const auto at = static_cast<size_t>(i);
            a.at(i, i) = d[at];
            if (i + 1 < n) {
                a.at(i + 1, i) = dl[at];
                a.at(i, i + 1) = du[at];
            }
        }
        return a;
    }
};

template <class T>
class Tridiagonal : public testing::Test {};
TYPED_TEST_SUITE(Tridiagonal, Precisions);

TYPED_TEST(Tridiagonal, SolutionsMultiplyBackToTheRightHandSides) {
    using T = TypeParam;
    for (const int64_t n : {1, 2, 3, 50, 257}) {
        for (const int64_t nrhs : {0, 1, 2, 3, 4, 7, 16, 31}) {
            const Exact a = System<T>(n).matrix();
            const auto b = random_matrix<T>(n, nrhs, 4, 3);
            int64_t info = -99;
            System<T> factors(n);
            Core<T>::dttrfb(&n, factors.dl.data(), factors.d.data(), factors.du.data(), &info);
            ASSERT_EQ(info, 0);
            const auto kept = factors;
            for (const char trans : {'N', 'n', 'T', 't', 'C', 'c'}) {
                auto x = b;
                Core<T>::dttrsb(&trans, &n, &nrhs, factors.dl.data(), factors.d.data(), factors.du.data(),
                                x.data(), &x.ld, &info, 1);
                ASSERT_EQ(info, 0);
                EXPECT_TRUE(x.guards_stand());
                EXPECT_TRUE(close(Matrix<T>(product(op(trans, a), Exact(x))), Exact(b), 16)) << trans << n;
            }
            EXPECT_EQ(factors.d, kept.d) << "solving leaves the factors alone";

            System<T> in_one(n);
            auto x = b, y = b;
            Core<T>::dtsvb(&n, &nrhs, in_one.dl.data(), in_one.d.data(), in_one.du.data(), x.data(), &x.ld,
                           &info);
            ASSERT_EQ(info, 0);
            Core<T>::dttrsb("N", &n, &nrhs, kept.dl.data(), kept.d.data(), kept.du.data(), y.data(), &y.ld,
                            &info, 1);
            EXPECT_EQ(x.elements, y.elements) << "in one call or in two";
            EXPECT_EQ(in_one.d, kept.d);
            EXPECT_EQ(in_one.dl, kept.dl);
        }
    }
}

TYPED_TEST(Tridiagonal, FactorsMultiplyBackToTheMatrix) {
    using T = TypeParam;
    const int64_t n = 40;
    System<T> system(n);
    const Exact a = system.matrix();
    int64_t info = -99;
    Core<T>::dttrfb(&n, system.dl.data(), system.d.data(), system.du.data(), &info);
    Exact lower(n, n), upper(n, n);
    for (int64_t i = 0; i < n; ++i) {
        const auto at = static_cast<size_t>(i);
        lower.at(i, i) = 1;
        upper.at(i, i) = system.d[at];
        if (i + 1 < n) {
            lower.at(i + 1, i) = system.dl[at];
            upper.at(i, i + 1) = system.du[at];
        }
    }
    EXPECT_TRUE(close(Matrix<T>(product(lower, upper)), a, 4));
}

TYPED_TEST(Tridiagonal, ASolutionHasTheSameBitsWhereverItsColumnStands) {
    using T = TypeParam;
    const int64_t n = 33, nrhs = 45, one = 1;
    System<T> factors(n);
    int64_t info = -99;
    Core<T>::dttrfb(&n, factors.dl.data(), factors.d.data(), factors.du.data(), &info);
    const auto b = random_matrix<T>(n, nrhs, 4);
    for (const char trans : {'N', 'T'}) {
        auto together = b, alone = b;
        Core<T>::dttrsb(&trans, &n, &nrhs, factors.dl.data(), factors.d.data(), factors.du.data(),
                        together.data(), &n, &info, 1);
        for (int64_t j = 0; j < nrhs; ++j) {
            Core<T>::dttrsb(&trans, &n, &one, factors.dl.data(), factors.d.data(), factors.du.data(),
                            &alone.at(0, j), &n, &info, 1);
        }
        EXPECT_EQ(together.elements, alone.elements);
    }
}

TYPED_TEST(Tridiagonal, AZeroPivotIsNamedAndTheRightHandSidesStand) {
    using T = TypeParam;
    const int64_t n = 5, nrhs = 2;
    for (int64_t zero = 1; zero <= n; ++zero) {
        // Row `zero` is built so that its pivot cancels: with ones beside the diagonal, pivot i is d[i] -
        // 1/pivot[i-1].
        std::vector<T> dl(4, 1), d(5, 2), du(4, 1);
        if (zero == 1) {
            d[0] = 0;
        } else {
            dl[static_cast<size_t>(zero) - 2] = 0;
            d[static_cast<size_t>(zero) - 1] = 0;
        }
        const auto before = random_matrix<T>(n, nrhs, 1);
        auto b = before;
        int64_t info = -99;
        auto dl2 = dl, d2 = d, du2 = du;
        Core<T>::dtsvb(&n, &nrhs, dl.data(), d.data(), du.data(), b.data(), &b.ld, &info);
        EXPECT_EQ(info, zero);
        EXPECT_EQ(b.elements, before.elements);
        Core<T>::dttrfb(&n, dl2.data(), d2.data(), du2.data(), &info);
        EXPECT_EQ(info, zero);
    }
}

TYPED_TEST(Tridiagonal, BadArgumentsAreNumberedAndNothingIsWritten) {
    using T = TypeParam;
    const int64_t n = 4, nrhs = 2, negative = -1, shorter = 3, none = 0;
    System<T> system(n);
    const System<T> before = system;
    T *const dl = system.dl.data(), *const d = system.d.data(), *const du = system.du.data();
    const auto b_before = random_matrix<T>(n, nrhs, 1);
    auto b = b_before;
    int64_t info = 0;
    const auto factor = [&](const int64_t* order, T* below, T* diagonal, T* above) {
        Core<T>::dttrfb(order, below, diagonal, above, &info);
        return info;
    };
    EXPECT_EQ(factor(&negative, dl, d, du), -1);
    EXPECT_EQ(factor(&n, nullptr, d, du), -2);
    EXPECT_EQ(factor(&n, dl, nullptr, du), -3);
    EXPECT_EQ(factor(&n, dl, d, nullptr), -4);
    EXPECT_EQ(factor(&none, nullptr, nullptr, nullptr), 0);

    // The arguments of dtsvb, and after `trans` those of dttrsb.
    const auto expect_bad = [&](int64_t position, const int64_t* order, const int64_t* columns, T* below,
                                T* diagonal, T* above, T* sides, const int64_t* ldb) {
        Core<T>::dtsvb(order, columns, below, diagonal, above, sides, ldb, &info);
        EXPECT_EQ(info, -position);
        Core<T>::dttrsb("N", order, columns, below, diagonal, above, sides, ldb, &info, 1);
        EXPECT_EQ(info, -position - 1);
    };
    expect_bad(1, &negative, &nrhs, dl, d, du, b.data(), &n);
    expect_bad(2, &n, &negative, dl, d, du, b.data(), &n);
    expect_bad(3, &n, &nrhs, nullptr, d, du, b.data(), &n);
    expect_bad(4, &n, &nrhs, dl, nullptr, du, b.data(), &n);
    expect_bad(5, &n, &nrhs, dl, d, nullptr, b.data(), &n);
    expect_bad(6, &n, &nrhs, dl, d, du, nullptr, &n);
    expect_bad(7, &n, &nrhs, dl, d, du, b.data(), &shorter);
    expect_bad(7, &none, &none, nullptr, nullptr, nullptr, nullptr, &none);
    for (const char* trans : {"X", "", "1"}) {
        Core<T>::dttrsb(trans, &n, &nrhs, dl, d, du, b.data(), &n, &info, 1);
        EXPECT_EQ(info, -1);
    }
    EXPECT_EQ(system.d, before.d);
    EXPECT_EQ(system.dl, before.dl);
    EXPECT_EQ(system.du, before.du);
    EXPECT_EQ(b.elements, b_before.elements);
}

}  // namespace
