#include <gtest/gtest.h>
#include <omp.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <thread>

#include "matrices.hpp"

namespace {

using namespace ozk::test;

template <class T>
class Blas : public testing::Test {};
TYPED_TEST_SUITE(Blas, Precisions);

constexpr int64_t kSizes[] = {1, 4, 37, 150};

TYPED_TEST(Blas, GemmMatchesTheNaiveProduct) {
    using T = TypeParam;
    const T alpha = T(0.75), beta = T(-0.5);
    for (const auto gemm : {Core<T>::gemm, Core<T>::xgemm}) {
        for (const char ta : {'N', 'T', 'C'}) {
            for (const char tb : {'N', 't'}) {
                for (const int64_t m : kSizes) {
                    for (const int64_t k : kSizes) {
                        const int64_t n = 33;
                        const auto a =
                            transposes(ta) ? random_matrix<T>(k, m, 1, 3) : random_matrix<T>(m, k, 1, 3);
                        const auto b =
                            transposes(tb) ? random_matrix<T>(n, k, 2, 1) : random_matrix<T>(k, n, 2, 1);
                        auto c = random_matrix<T>(m, n, 3, 5);
                        const Exact expected =
                            combine(alpha, product(op(ta, Exact(a)), op(tb, Exact(b))), beta, Exact(c));
                        gemm(&ta, &tb, &m, &n, &k, &alpha, a.data(), &a.ld, b.data(), &b.ld, &beta, c.data(),
                             &c.ld, 1, 1);
                        EXPECT_TRUE(close(c, expected, k + 4)) << ta << tb << ' ' << m << ' ' << k;
                    }
                }
            }
        }
    }
}

TYPED_TEST(Blas, GemvMatchesTheNaiveProductAtAnyStride) {
    using T = TypeParam;
    const T alpha = T(0.75), beta = T(-0.5);
    for (const auto gemv : {Core<T>::gemv, Core<T>::xgemv}) {
        for (const char trans : {'N', 'T'}) {
            for (const int64_t incx : {1, 3, -2}) {
                const int64_t m = 41, n = 67, incy = 2;
                const auto a = random_matrix<T>(m, n, 1, 2);
                const Exact op_a = op(trans, Exact(a));
                const auto x = random_matrix<T>(op_a.columns, 1, 2);
                auto y = random_matrix<T>(op_a.rows, 1, 3);
                const Exact expected = combine(alpha, product(op_a, Exact(x)), beta, Exact(y));
                std::vector<T> xs(static_cast<size_t>(op_a.columns * std::abs(incx)));
                std::vector<T> ys(static_cast<size_t>(op_a.rows * incy));
                for (int64_t i = 0; i < op_a.columns; ++i) {
                    const int64_t place = incx > 0 ? i : op_a.columns - 1 - i;
                    xs[static_cast<size_t>(place * std::abs(incx))] = x.at(i, 0);
                }
                for (int64_t i = 0; i < op_a.rows; ++i) ys[static_cast<size_t>(i * incy)] = y.at(i, 0);
                gemv(&trans, &m, &n, &alpha, a.data(), &a.ld, xs.data(), &incx, &beta, ys.data(), &incy, 1);
                for (int64_t i = 0; i < op_a.rows; ++i) y.at(i, 0) = ys[static_cast<size_t>(i * incy)];
                EXPECT_TRUE(close(y, expected, n + 4)) << trans << incx;
            }
        }
    }
}

TYPED_TEST(Blas, RankUpdatesWriteOneTriangle) {
    using T = TypeParam;
    const T alpha = T(0.75), beta = T(-0.5);
    for (const bool x : {false, true}) {
        for (const char uplo : {'U', 'L'}) {
            for (const int64_t n : kSizes) {
                for (const char trans : {'N', 'T'}) {
                    const int64_t k = 29;
                    const auto a =
                        transposes(trans) ? random_matrix<T>(k, n, 1, 2) : random_matrix<T>(n, k, 1, 2);
                    auto c = random_matrix<T>(n, n, 2, 2);
                    const Exact op_a = op(trans, Exact(a));
                    Exact expected = combine(alpha, product(op_a, transpose(op_a)), beta, Exact(c));
                    for (int64_t j = 0; j < n; ++j) {
                        for (int64_t i = 0; i < n; ++i) {
                            if (!in_triangle(uplo, i, j)) expected.at(i, j) = c.at(i, j);
                        }
                    }
                    (x ? Core<T>::xsyrk : Core<T>::syrk)(&uplo, &trans, &n, &k, &alpha, a.data(), &a.ld,
                                                         &beta, c.data(), &c.ld, 1, 1);
                    EXPECT_TRUE(close(c, expected, k + 4)) << uplo << trans << n;
                }
                const int64_t one = 1;
                const auto v = random_matrix<T>(n, 1, 3);
                auto c = random_matrix<T>(n, n, 4, 2);
                Exact expected = combine(alpha, product(Exact(v), transpose(Exact(v))), 1, Exact(c));
                for (int64_t j = 0; j < n; ++j) {
                    for (int64_t i = 0; i < n; ++i) {
                        if (!in_triangle(uplo, i, j)) expected.at(i, j) = c.at(i, j);
                    }
                }
                (x ? Core<T>::xsyr : Core<T>::syr)(&uplo, &n, &alpha, v.data(), &one, c.data(), &c.ld, 1);
                EXPECT_TRUE(close(c, expected, 4)) << uplo << n;
            }
        }
    }
}

TYPED_TEST(Blas, SymmReadsOneTriangle) {
    using T = TypeParam;
    const T alpha = T(0.75), beta = T(-0.5);
    for (const char side : {'L', 'R'}) {
        for (const char uplo : {'U', 'L'}) {
            const int64_t m = 45, n = 61;
            auto a = random_matrix<T>(side == 'L' ? m : n, side == 'L' ? m : n, 1, 2);
            poison_unread(uplo, 'N', a);
            const auto b = random_matrix<T>(m, n, 2, 3);
            auto c = random_matrix<T>(m, n, 3, 1);
            const Exact full = symmetric(uplo, a);
            const Exact expected = combine(
                alpha, side == 'L' ? product(full, Exact(b)) : product(Exact(b), full), beta, Exact(c));
            Core<T>::xsymm(&side, &uplo, &m, &n, &alpha, a.data(), &a.ld, b.data(), &b.ld, &beta, c.data(),
                           &c.ld, 1, 1);
            EXPECT_TRUE(close(c, expected, n + 4)) << side << uplo;
        }
    }
}

// All forms of a triangular multiply, in full and in packed storage; orders around and across the tiles.
TYPED_TEST(Blas, TriangularMultipliesMatchTheNaiveProduct) {
    using T = TypeParam;
    const T alpha = T(0.75);
    for (const auto& [order, vectors] : std::vector<std::pair<int64_t, int64_t>>{
             {1, 1}, {2, 9}, {37, 3}, {40, 40}, {128, 20}, {129, 7}, {129, 8}, {300, 21}}) {
        for (const char side : {'L', 'R'}) {
            const int64_t m = side == 'L' ? order : vectors, n = side == 'L' ? vectors : order;
            for (const char uplo : {'U', 'L'}) {
                for (const char trans : {'N', 'T', 'C'}) {
                    for (const char diag : {'N', 'U'}) {
                        auto a = random_matrix<T>(order, order, 1, 2);
                        poison_unread(uplo, diag, a);
                        const std::vector<T> ap = packed(uplo, a);
                        const auto b = random_matrix<T>(m, n, 2, 3);
                        const Exact op_a = op(trans, triangle(uplo, diag, a));
                        const Exact whole = side == 'L' ? product(op_a, Exact(b)) : product(Exact(b), op_a);
                        const Exact expected = combine(alpha, whole, 0, whole);
                        const auto trace = std::string{side, uplo, trans, diag} + ' ' + std::to_string(order);
                        for (const auto trmm : {Core<T>::trmm, Core<T>::xtrmm}) {
                            auto result = b;
                            trmm(&side, &uplo, &trans, &diag, &m, &n, &alpha, a.data(), &a.ld, result.data(),
                                 &result.ld, 1, 1, 1, 1);
                            EXPECT_TRUE(close(result, expected, order + 4)) << "full " << trace;
                        }
                        auto result = b;
                        Core<T>::ptrmm(&side, &uplo, &trans, &diag, &m, &n, &alpha, ap.data(), result.data(),
                                       &result.ld, 1, 1, 1, 1);
                        EXPECT_TRUE(close(result, expected, order + 4)) << "packed " << trace;
                    }
                }
            }
        }
    }
}

TYPED_TEST(Blas, PackedMultiplyByZeroReadsNothing) {
    using T = TypeParam;
    const T zero = 0;
    const int64_t m = 5, n = 6;
    auto b = random_matrix<T>(m, n, 1, 2);
    b.at(2, 2) = std::nan("");
    Core<T>::ptrmm("l", "u", "n", "n", &m, &n, &zero, nullptr, b.data(), &b.ld, 1, 1, 1, 1);
    EXPECT_TRUE(close(b, Exact(m, n), 0));
}

TYPED_TEST(Blas, BadArgumentsAreNamedOnStandardErrorAndNothingIsComputed) {
    using T = TypeParam;
    const T one = 1;
    const int64_t n = 4, negative = -1, shorter = 3;
    const auto a = random_matrix<T>(n, n, 1);
    const auto before = random_matrix<T>(n, n, 2);
    auto b = before;
    const auto complaint = [&](auto&& call) {
        testing::internal::CaptureStderr();
        testing::internal::CaptureStdout();
        call();
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        EXPECT_EQ(b.elements, before.elements);
        return testing::internal::GetCapturedStderr();
    };
    const auto ptrmm = [&](const char* form, const int64_t* m, const int64_t* columns, const int64_t* ldb) {
        return complaint([&] {
            Core<T>::ptrmm(form, form + 1, form + 2, form + 3, m, columns, &one, a.data(), b.data(), ldb, 1,
                           1, 1, 1);
        });
    };
    const auto expect_named = [](const std::string& text, const std::string& routine, int argument) {
        EXPECT_NE(text.find(routine + ": argument " + std::to_string(argument) + " is bad"),
                  std::string::npos)
            << text;
    };
    expect_named(ptrmm("XUNN", &n, &n, &n), "PTRMM", 1);
    expect_named(ptrmm("LXNN", &n, &n, &n), "PTRMM", 2);
    expect_named(ptrmm("LUXN", &n, &n, &n), "PTRMM", 3);
    expect_named(ptrmm("LUNX", &n, &n, &n), "PTRMM", 4);
    expect_named(ptrmm("LUNN", &negative, &n, &n), "PTRMM", 5);
    expect_named(ptrmm("LUNN", &n, &negative, &n), "PTRMM", 6);
    expect_named(ptrmm("LUNN", &n, &n, &shorter), "PTRMM", 10);
    expect_named(complaint([&] {
                     Core<T>::xgemm("N", "N", &n, &negative, &n, &one, a.data(), &n, a.data(), &n, &one,
                                    b.data(), &n, 1, 1);
                 }),
                 "GEMM", 4);
    expect_named(complaint([&] {
                     Core<T>::trmm("L", "U", "N", "N", &n, &n, &one, a.data(), &n, b.data(), &shorter, 1, 1,
                                   1, 1);
                 }),
                 "TRMM", 11);
}

int64_t process_threads() {
    int64_t count = 0;
    for ([[maybe_unused]] const auto& task : std::filesystem::directory_iterator("/proc/self/task")) ++count;
    return count;
}

// Runs on a thread without a team of its own yet, so that a team shows as threads that stay.
template <class Routine>
int64_t threads_left_by(Routine routine) {
    int64_t before = 0, after = 0;
    std::thread([&] {
        omp_set_num_threads(4);
        before = process_threads();
        routine();
        after = process_threads();
        EXPECT_EQ(omp_get_max_threads(), 4) << "the caller's setting is kept";
    }).join();
    return after - before;
}

TYPED_TEST(Blas, XFormsRunOnTheCallingThreadAlone) {
    using T = TypeParam;
    const int64_t n = 400, one = 1;
    const T alpha = 1, beta = 0;
    const auto a = random_matrix<T>(n, n, 1), b = random_matrix<T>(n, n, 2);
    auto c = a, d = b;
    const auto gemm = [&](auto routine) {
        routine("N", "N", &n, &n, &n, &alpha, a.data(), &n, b.data(), &n, &beta, c.data(), &n, 1, 1);
    };
    EXPECT_EQ(threads_left_by([&] {
                  gemm(Core<T>::xgemm);
                  Core<T>::xgemv("N", &n, &n, &alpha, a.data(), &n, b.data(), &one, &beta, c.data(), &one, 1);
                  Core<T>::xsyrk("U", "N", &n, &n, &alpha, a.data(), &n, &beta, c.data(), &n, 1, 1);
                  Core<T>::xsyr("U", &n, &alpha, b.data(), &one, c.data(), &n, 1);
                  Core<T>::xtrmm("L", "U", "N", "N", &n, &n, &alpha, a.data(), &n, d.data(), &n, 1, 1, 1, 1);
                  Core<T>::xsymm("L", "U", &n, &n, &alpha, a.data(), &n, b.data(), &n, &beta, c.data(), &n, 1,
                                 1);
              }),
              0);
    if (omp_get_num_procs() > 1) {
        EXPECT_GT(threads_left_by([&] { gemm(Core<T>::gemm); }), 0) << "the count would not show a team";
    }
}

TYPED_TEST(Blas, XFormsGiveTheSameBitsInsideAndOutsideALoop) {
    using T = TypeParam;
    const int64_t n = 200;
    const T one = 1;
    const auto a = random_matrix<T>(n, n, 1), b = random_matrix<T>(n, n, 2);
    const auto multiply = [&](Matrix<T>& c) {
        Core<T>::xgemm("N", "T", &n, &n, &n, &one, a.data(), &n, b.data(), &n, &one, c.data(), &n, 1, 1);
    };
    Matrix<T> outside(n, n);
    multiply(outside);
#pragma omp parallel for num_threads(4)
    for (int item = 0; item < 12; ++item) {
        Matrix<T> inside(n, n);
        multiply(inside);
        EXPECT_EQ(inside.elements, outside.elements);
    }
}

// Teams of different sizes share buffers inside the linear algebra; callers must not see it.
TYPED_TEST(Blas, ThreadsWithDifferentSettingsMayCallAtOnce) {
    using T = TypeParam;
    const int64_t n = 220;
    const T one = 1, zero = 0;
    const auto a = random_matrix<T>(n, n, 1), b = random_matrix<T>(n, n, 2);
    const Exact expected = product(Exact(a), Exact(b));
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t) {
        threads.emplace_back([&, t] {
            omp_set_num_threads(1 + t % 4);
            for (int repeat = 0; repeat < 5; ++repeat) {
                Matrix<T> c(n, n);
                (t == 5 ? Core<T>::xgemm : Core<T>::gemm)("N", "N", &n, &n, &n, &one, a.data(), &n, b.data(),
                                                          &n, &zero, c.data(), &n, 1, 1);
                EXPECT_TRUE(close(c, expected, n));
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

}  // namespace
