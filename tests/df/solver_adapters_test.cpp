// The 32-bit adapters to the core's solvers and triangular multiplies, against plain loops.

#include "ozk_solvers.h"
#include "tests/df/support.hpp"

namespace ozk::df::test {
namespace {

template <class T>
struct Adapters;
template <>
struct Adapters<float> {
    static constexpr auto factor = sdttrfb_4dfl;
    static constexpr auto factor_and_solve = sdtsvb_4dfl;
    static constexpr auto solve = sdttrsb_4dfl;
    static constexpr auto multiply = ozk_blas4vml_strmm;
    static constexpr auto multiply_packed = ozk_blas4vml_sptrmm;
};
template <>
struct Adapters<double> {
    static constexpr auto factor = ddttrfb_4dfl;
    static constexpr auto factor_and_solve = ddtsvb_4dfl;
    static constexpr auto solve = ddttrsb_4dfl;
    static constexpr auto multiply = ozk_blas4vml_dtrmm;
    static constexpr auto multiply_packed = ozk_blas4vml_dptrmm;
};

template <class T>
class SolverAdapters : public ::testing::Test {};
TYPED_TEST_SUITE(SolverAdapters, Precisions);

TYPED_TEST(SolverAdapters, SolveTridiagonalSystemsForSeveralRightHandSides) {
    using T = TypeParam;
    for (int32_t n : {1, 2, 3, 4, 7, 8, 33, 100}) {
        const int32_t nrhs = 3, ldb = n + 2;
        std::vector<T> sub = random_values<T>(n, 1), super = random_values<T>(n, 2),
                       x = random_values<T>(nrhs * ldb, 3);
        std::vector<T> diagonal(n, T(3)), b(x), transposed(x);
        for (int32_t r = 0; r < nrhs; ++r) {
            for (int32_t i = 0; i < n; ++i) {
                const auto known = [&](int32_t j) { return j < 0 || j >= n ? T(0) : x[r * ldb + j]; };
                const T below = i > 0 ? sub[i - 1] : T(0), above = i + 1 < n ? super[i] : T(0);
                b[r * ldb + i] = below * known(i - 1) + diagonal[i] * known(i) + above * known(i + 1);
                transposed[r * ldb + i] = (i > 0 ? super[i - 1] : T(0)) * known(i - 1) +
                                          diagonal[i] * known(i) + (i + 1 < n ? sub[i] : T(0)) * known(i + 1);
            }
        }
        std::vector<T> sub2(sub), diagonal2(diagonal), super2(super), b2(b);
        int32_t info = 5;
        Adapters<T>::factor(&n, sub.data(), diagonal.data(), super.data(), &info);
        ASSERT_EQ(0, info);
        info = 5;
        Adapters<T>::solve("N", &n, &nrhs, sub.data(), diagonal.data(), super.data(), b.data(), &ldb, &info);
        ASSERT_EQ(0, info);
        info = 5;
        Adapters<T>::solve("T", &n, &nrhs, sub.data(), diagonal.data(), super.data(), transposed.data(), &ldb,
                           &info);
        ASSERT_EQ(0, info);
        info = 5;
        Adapters<T>::factor_and_solve(&n, &nrhs, sub2.data(), diagonal2.data(), super2.data(), b2.data(),
                                      &ldb, &info);
        ASSERT_EQ(0, info);
        for (size_t i = 0; i < x.size(); ++i) {
            ASSERT_NEAR(x[i], b[i], 20 * kEpsilon<T>) << n;
            ASSERT_NEAR(x[i], b2[i], 20 * kEpsilon<T>) << n;
            ASSERT_NEAR(x[i], transposed[i], 20 * kEpsilon<T>) << n;
        }
    }
    const int32_t n = 2;
    T sub = 1, diagonal[2] = {0, 1}, super = 1;
    int32_t info = 0;
    Adapters<T>::factor(&n, &sub, diagonal, &super, &info);
    EXPECT_EQ(1, info) << "the zero pivot is reported";
}

TYPED_TEST(SolverAdapters, MultiplyByTriangularMatrices) {
    using T = TypeParam;
    const int32_t m = 5, n = 3, lda = 6, ldb = 7;
    const T alpha = T(0.5);
    for (char uplo : {'U', 'L'}) {
        for (char trans : {'N', 'T'}) {
            for (char diag : {'N', 'U'}) {
                const std::vector<T> a = random_values<T>(lda * m, 1), b = random_values<T>(ldb * n, 2);
                std::vector<T> packed, full(b), from_packed(b);
                for (int32_t j = 0; j < m; ++j)
                    for (int32_t i = uplo == 'U' ? 0 : j; i < (uplo == 'U' ? j + 1 : m); ++i)
                        packed.push_back(a[j * lda + i]);
                Adapters<T>::multiply("L", &uplo, &trans, &diag, &m, &n, &alpha, a.data(), &lda, full.data(),
                                      &ldb);
                Adapters<T>::multiply_packed("L", &uplo, &trans, &diag, &m, &n, &alpha, packed.data(),
                                             from_packed.data(), &ldb);
                const auto element = [&](int32_t i, int32_t j) {
                    if (trans == 'T') std::swap(i, j);
                    if (i == j) return diag == 'U' ? T(1) : a[j * lda + i];
                    return (i < j) == (uplo == 'U') ? a[j * lda + i] : T(0);
                };
                for (int32_t j = 0; j < n; ++j) {
                    for (int32_t i = 0; i < ldb; ++i) {
                        T expected = b[j * ldb + i];
                        if (i < m) {
                            expected = 0;
                            for (int32_t k = 0; k < m; ++k)
                                expected += alpha * element(i, k) * b[j * ldb + k];
                        }
                        ASSERT_NEAR(expected, full[j * ldb + i], 10 * kEpsilon<T>) << uplo << trans << diag;
                        ASSERT_NEAR(expected, from_packed[j * ldb + i], 10 * kEpsilon<T>)
                            << uplo << trans << diag;
                    }
                }
            }
        }
    }
}

}  // namespace
}  // namespace ozk::df::test
