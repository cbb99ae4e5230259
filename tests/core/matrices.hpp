// Matrices for the tests of dense linear algebra: oracles in long double, and the routines of either
// precision.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "ozk_core.h"

namespace ozk::test {

template <class T>
struct Core;

#define OZK_TEST_CORE(p, T)                                       \
    template <>                                                   \
    struct Core<T> {                                              \
        static constexpr auto gemm = ozk_blas_##p##gemm;          \
        static constexpr auto gemv = ozk_blas_##p##gemv;          \
        static constexpr auto syrk = ozk_blas_##p##syrk;          \
        static constexpr auto syr = ozk_blas_##p##syr;            \
        static constexpr auto trmm = ozk_blas_##p##trmm;          \
        static constexpr auto xgemm = ozk_blas_x##p##gemm;        \
        static constexpr auto xgemv = ozk_blas_x##p##gemv;        \
        static constexpr auto xsyrk = ozk_blas_x##p##syrk;        \
        static constexpr auto xsyr = ozk_blas_x##p##syr;          \
        static constexpr auto xtrmm = ozk_blas_x##p##trmm;        \
        static constexpr auto xsymm = ozk_blas_x##p##symm;        \
        static constexpr auto ptrmm = ozk_blas_##p##ptrmm;        \
        static constexpr auto potrf = ozk_lapack_##p##potrf;      \
        static constexpr auto potri = ozk_lapack_##p##potri;      \
        static constexpr auto trtri = ozk_lapack_##p##trtri;      \
        static constexpr auto syev = ozk_lapack_##p##syev;        \
        static constexpr auto spevd = ozk_lapack_##p##spevd;      \
        static constexpr auto dttrfb = ozk_lapack_ps_##p##dttrfb; \
        static constexpr auto dtsvb = ozk_lapack_ps_##p##dtsvb;   \
        static constexpr auto dttrsb = ozk_lapack_##p##dttrsb;    \
    };

OZK_TEST_CORE(s, float)
OZK_TEST_CORE(d, double)

using Precisions = testing::Types<float, double>;

// A matrix by columns. Elements outside rows by columns, up to the leading dimension, hold a guard value.
template <class T>
struct Matrix {
    int64_t rows, columns, ld;
    std::vector<T> elements;

    static constexpr T kGuard = T(-77777);

    Matrix(int64_t m, int64_t n, int64_t gap = 0)
        : rows(m),
          columns(n),
          ld(std::max<int64_t>(1, m) + gap),
          elements(static_cast<size_t>(ld * n) + 1, kGuard) {
        for (int64_t j = 0; j < n; ++j) {
            for (int64_t i = 0; i < m; ++i) at(i, j) = 0;
        }
    }

    template <class U>
    explicit Matrix(const Matrix<U>& other) : Matrix(other.rows, other.columns) {
        for (int64_t j = 0; j < columns; ++j) {
            for (int64_t i = 0; i < rows; ++i) at(i, j) = T(other.at(i, j));
        }
    }

    T& at(int64_t i, int64_t j) { return elements[static_cast<size_t>(i + j * ld)]; }
    const T& at(int64_t i, int64_t j) const { return elements[static_cast<size_t>(i + j * ld)]; }
    T* data() { return elements.data(); }
    const T* data() const { return elements.data(); }

    bool guards_stand() const {
        if (elements.back() != kGuard) return false;
        for (int64_t j = 0; j < columns; ++j) {
            for (int64_t i = rows; i < ld; ++i) {
                if (at(i, j) != kGuard) return false;
            }
        }
        return true;
    }
};

using Exact = Matrix<long double>;

template <class T>
Matrix<T> random_matrix(int64_t m, int64_t n, unsigned seed, int64_t gap = 0) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<T> uniform(-1, 1);
    Matrix<T> matrix(m, n, gap);
    for (int64_t j = 0; j < n; ++j) {
        for (int64_t i = 0; i < m; ++i) matrix.at(i, j) = uniform(generator);
    }
    return matrix;
}

inline bool transposes(char trans) { return trans != 'N' && trans != 'n'; }

inline Exact transpose(const Exact& a) {
    Exact result(a.columns, a.rows);
    for (int64_t j = 0; j < a.columns; ++j) {
        for (int64_t i = 0; i < a.rows; ++i) result.at(j, i) = a.at(i, j);
    }
    return result;
}

inline Exact op(char trans, const Exact& a) { return transposes(trans) ? transpose(a) : a; }

inline Exact product(const Exact& a, const Exact& b) {
    Exact result(a.rows, b.columns);
    for (int64_t j = 0; j < b.columns; ++j) {
        for (int64_t k = 0; k < a.columns; ++k) {
            for (int64_t i = 0; i < a.rows; ++i) result.at(i, j) += a.at(i, k) * b.at(k, j);
        }
    }
    return result;
}

inline Exact combine(long double alpha, const Exact& a, long double beta, const Exact& b) {
    Exact result(a.rows, a.columns);
    for (int64_t j = 0; j < a.columns; ++j) {
        for (int64_t i = 0; i < a.rows; ++i) result.at(i, j) = alpha * a.at(i, j) + beta * b.at(i, j);
    }
    return result;
}

inline bool in_triangle(char uplo, int64_t i, int64_t j) { return uplo == 'U' ? i <= j : i >= j; }

// The triangular (or, from one triangle, the symmetric) matrix that the routines take `a` for.
template <class T>
Exact triangle(char uplo, char diag, const Matrix<T>& a) {
    Exact result(a.rows, a.rows);
    for (int64_t j = 0; j < a.rows; ++j) {
        for (int64_t i = 0; i < a.rows; ++i) {
            if (i == j && diag == 'U') {
                result.at(i, j) = 1;
            } else if (in_triangle(uplo, i, j)) {
                result.at(i, j) = a.at(i, j);
            }
        }
    }
    return result;
}

template <class T>
Exact symmetric(char uplo, const Matrix<T>& a) {
    Exact result(a.rows, a.rows);
    for (int64_t j = 0; j < a.rows; ++j) {
        for (int64_t i = 0; i < a.rows; ++i)
            result.at(i, j) = in_triangle(uplo, i, j) ? a.at(i, j) : a.at(j, i);
    }
    return result;
}

// Puts NaN where a routine must not read: the other triangle, and the diagonal when it is taken as ones.
template <class T>
void poison_unread(char uplo, char diag, Matrix<T>& a) {
    for (int64_t j = 0; j < a.rows; ++j) {
        for (int64_t i = 0; i < a.rows; ++i) {
            if (!in_triangle(uplo, i, j) || (i == j && diag == 'U')) a.at(i, j) = std::nan("");
        }
    }
}

// The triangle packed by columns.
template <class T>
std::vector<T> packed(char uplo, const Matrix<T>& a) {
    std::vector<T> result;
    for (int64_t j = 0; j < a.rows; ++j) {
        for (int64_t i = 0; i < a.rows; ++i) {
            if (in_triangle(uplo, i, j)) result.push_back(a.at(i, j));
        }
    }
    return result;
}

// All elements agree within `factor` * epsilon of T; sums of `factor` terms of size one stay within that.
template <class T>
testing::AssertionResult close(const Matrix<T>& got, const Exact& expected, int64_t factor) {
    const long double bound = static_cast<long double>(factor) * std::numeric_limits<T>::epsilon();
    for (int64_t j = 0; j < got.columns; ++j) {
        for (int64_t i = 0; i < got.rows; ++i) {
            const long double error = std::abs(got.at(i, j) - expected.at(i, j));
            if (!(error <= bound)) {
                return testing::AssertionFailure()
                       << "element (" << i << ", " << j << ") is " << got.at(i, j) << ", expected "
                       << expected.at(i, j) << " within " << bound;
            }
        }
    }
    if (!got.guards_stand()) return testing::AssertionFailure() << "wrote outside the matrix";
    return testing::AssertionSuccess();
}

}  // namespace ozk::test
