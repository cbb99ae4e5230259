#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "matrices.hpp"

namespace {

using namespace ozk::test;

template <class T>
class Lapack : public testing::Test {
  protected:
    // A diagonally heavy symmetric matrix: positive definite, and well conditioned.
    static Matrix<T> positive_definite(int64_t n) {
        auto a = random_matrix<T>(n, n, static_cast<unsigned>(n), 2);
        for (int64_t j = 0; j < n; ++j) {
            for (int64_t i = 0; i < j; ++i) a.at(j, i) = a.at(i, j);
            a.at(j, j) = T(n + 1);
        }
        return a;
    }

    static Exact identity(int64_t n) {
        Exact result(n, n);
        for (int64_t i = 0; i < n; ++i) result.at(i, i) = 1;
        return result;
    }
};
TYPED_TEST_SUITE(Lapack, Precisions);

TYPED_TEST(Lapack, CholeskyFactorsMultiplyBackAndInvert) {
    using T = TypeParam;
    for (const int64_t n : {1, 2, 33, 150}) {
        for (const char uplo : {'U', 'L'}) {
            const Matrix<T> a = this->positive_definite(n);
            auto work = a;
            int64_t info = -99;
            Core<T>::potrf(&uplo, &n, work.data(), &work.ld, &info, 1);
            ASSERT_EQ(info, 0);
            const Exact factor = triangle(uplo, 'N', work);
            const Exact back =
                uplo == 'U' ? product(transpose(factor), factor) : product(factor, transpose(factor));
            EXPECT_TRUE(close(Matrix<T>(back), Exact(a), n * (n + 1)));

            Core<T>::potri(&uplo, &n, work.data(), &work.ld, &info, 1);
            ASSERT_EQ(info, 0);
            EXPECT_TRUE(
                close(Matrix<T>(product(symmetric(uplo, work), Exact(a))), this->identity(n), 20 * n));
        }
    }
}

TYPED_TEST(Lapack, CholeskySaysWhichMinorIsNotPositive) {
    using T = TypeParam;
    const int64_t n = 5;
    Matrix<T> a = this->positive_definite(n);
    a.at(3, 3) = -1;
    int64_t info = 0;
    Core<T>::potrf("U", &n, a.data(), &a.ld, &info, 1);
    EXPECT_EQ(info, 4);
}

TYPED_TEST(Lapack, TriangularInverseTimesTheTriangleIsTheIdentity) {
    using T = TypeParam;
    for (const int64_t n : {1, 34, 150}) {
        for (const char uplo : {'U', 'L'}) {
            for (const char diag : {'N', 'U'}) {
                Matrix<T> a = random_matrix<T>(n, n, 5, 1);
                for (int64_t j = 0; j < n; ++j) {
                    for (int64_t i = 0; i < n; ++i) a.at(i, j) = i == j ? T(2) : a.at(i, j) / T(n);
                }
                const Exact original = triangle(uplo, diag, a);
                int64_t info = -99;
                Core<T>::trtri(&uplo, &diag, &n, a.data(), &a.ld, &info, 1, 1);
                ASSERT_EQ(info, 0);
                const Exact inverse = triangle(uplo, diag, a);
                EXPECT_TRUE(close(Matrix<T>(product(original, inverse)), this->identity(n), n + 8));
            }
        }
    }
    Matrix<T> singular(3, 3);
    const int64_t n = 3;
    int64_t info = 0;
    Core<T>::trtri("U", "N", &n, singular.data(), &singular.ld, &info, 1, 1);
    EXPECT_EQ(info, 1);
}

template <class T>
void expect_eigenpairs(const Exact& a, const Matrix<T>& vectors, const std::vector<T>& values) {
    const int64_t n = a.rows;
    EXPECT_TRUE(std::is_sorted(values.begin(), values.end()));
    const Exact v(vectors);
    Exact scaled = v;
    for (int64_t j = 0; j < n; ++j) {
        for (int64_t i = 0; i < n; ++i) scaled.at(i, j) *= values[static_cast<size_t>(j)];
    }
    EXPECT_TRUE(close(Matrix<T>(product(a, v)), scaled, 40 * (n + 1)));
    Exact identity(n, n);
    for (int64_t i = 0; i < n; ++i) identity.at(i, i) = 1;
    EXPECT_TRUE(close(Matrix<T>(product(transpose(v), v)), identity, 20 * (n + 1)));
}

TYPED_TEST(Lapack, EigenvectorsDiagonalizeFullAndPackedMatrices) {
    using T = TypeParam;
    for (const int64_t n : {1, 2, 40, 90}) {
        for (const char uplo : {'U', 'L'}) {
            const auto a = random_matrix<T>(n, n, 9);
            const Exact full = symmetric(uplo, a);
            std::vector<T> values(static_cast<size_t>(n));
            int64_t info = -99;

            auto vectors = a;
            int64_t lwork = -1;
            T best = 0;
            Core<T>::syev("V", &uplo, &n, vectors.data(), &vectors.ld, values.data(), &best, &lwork, &info, 1,
                          1);
            ASSERT_EQ(info, 0);
            lwork = static_cast<int64_t>(best);
            ASSERT_GE(lwork, std::max<int64_t>(1, 3 * n - 1));
            std::vector<T> work(static_cast<size_t>(lwork));
            Core<T>::syev("V", &uplo, &n, vectors.data(), &vectors.ld, values.data(), work.data(), &lwork,
                          &info, 1, 1);
            ASSERT_EQ(info, 0);
            expect_eigenpairs(full, vectors, values);

            auto ap = packed(uplo, a);
            lwork = 1 + 6 * n + n * n;
            const int64_t liwork = 3 + 5 * n;
            work.resize(static_cast<size_t>(lwork));
            std::vector<int64_t> iwork(static_cast<size_t>(liwork));
            Core<T>::spevd("V", &uplo, &n, ap.data(), values.data(), vectors.data(), &vectors.ld, work.data(),
                           &lwork, iwork.data(), &liwork, &info, 1, 1);
            ASSERT_EQ(info, 0);
            expect_eigenpairs(full, vectors, values);
        }
    }
}

TYPED_TEST(Lapack, BadArgumentsComeBackInInfo) {
    using T = TypeParam;
    const int64_t n = 3, negative = -1, shorter = 2;
    const Matrix<T> before = this->positive_definite(n);
    Matrix<T> a = before;
    std::vector<T> w(3), work(100);
    const int64_t enough = 100;
    int64_t info = 0;
    testing::internal::CaptureStderr();
    Core<T>::potrf("Q", &n, a.data(), &a.ld, &info, 1);
    EXPECT_EQ(info, -1);
    Core<T>::potri("U", &negative, a.data(), &a.ld, &info, 1);
    EXPECT_EQ(info, -2);
    Core<T>::trtri("U", "N", &n, a.data(), &shorter, &info, 1, 1);
    EXPECT_EQ(info, -5);
    Core<T>::syev("V", "U", &n, a.data(), &a.ld, w.data(), work.data(), &shorter, &info, 1, 1);
    EXPECT_EQ(info, -8);
    Core<T>::spevd("V", "U", &n, a.data(), w.data(), a.data(), &shorter, work.data(), &enough, nullptr,
                   &enough, &info, 1, 1);
    EXPECT_EQ(info, -7);
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(a.elements, before.elements);
}

TYPED_TEST(Lapack, SeveralThreadsMayCallAtOnce) {
    using T = TypeParam;
    const int64_t n = 60;
    const auto a = random_matrix<T>(n, n, 3);
    const Exact full = symmetric('L', a);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int repeat = 0; repeat < 5; ++repeat) {
                auto ap = packed('L', a);
                Matrix<T> vectors(n, n);
                const int64_t lwork = 1 + 6 * n + n * n, liwork = 3 + 5 * n;
                std::vector<T> values(static_cast<size_t>(n)), work(static_cast<size_t>(lwork));
                std::vector<int64_t> iwork(static_cast<size_t>(liwork));
                int64_t info = -99;
                Core<T>::spevd("V", "L", &n, ap.data(), values.data(), vectors.data(), &vectors.ld,
                               work.data(), &lwork, iwork.data(), &liwork, &info, 1, 1);
                EXPECT_EQ(info, 0);
                expect_eigenpairs(full, vectors, values);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

}  // namespace
