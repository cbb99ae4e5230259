// Tridiagonal systems: LU factorisation without pivoting, and the solve with its factors.
//
// Factors, in the three diagonals: the multipliers of L (unit lower bidiagonal) below, the pivots of U on the
// diagonal, the untouched super-diagonal above. Without pivoting the factorisation is backward stable for
// diagonally dominant, positive definite and totally non-negative matrices; see Higham, "Accuracy and
// Stability of Numerical Algorithms", 2nd ed., section 9.6.
//
// A substitution is one chain of dependent operations along a column of right-hand sides, so its speed is
// latency. Strips of columns therefore walk down (and up) the rows together: their chains are independent and
// overlap, and lanes of one vector are columns. Every column gets the same bits in a strip of any width.

#include <algorithm>
#include <cstdint>

#include "ozk_core.h"

namespace {

// The columns that one 128-bit vector holds, or a single column.
template <class T, int Lanes>
struct Columns {
    typedef T Vector __attribute__((vector_size(Lanes * sizeof(T))));

    static Vector load(const T* b, int64_t ldb) {
        Vector value;
        for (int lane = 0; lane < Lanes; ++lane) value[lane] = b[lane * ldb];
        return value;
    }
    static void store(Vector value, T* b, int64_t ldb) {
        for (int lane = 0; lane < Lanes; ++lane) b[lane * ldb] = value[lane];
    }
};

template <class T>
struct Columns<T, 1> {
    using Vector = T;

    static T load(const T* b, int64_t) { return *b; }
    static void store(T value, T* b, int64_t) { *b = value; }
};

// One substitution over `n` rows of Vectors * Lanes columns: x[i] = b[i] - neighbour[i] * x[previous i], all
// divided by pivot[i] when `Divide` (term by term, so that no division stands in the chain), from the first row
// down or from the last row up. Going down, row i meets neighbour[i - 1]; going up, neighbour[i].
template <int Vectors, int Lanes, bool Down, bool Divide, class T>
void substitute(int64_t n, const T* neighbour, const T* pivot, T* b, int64_t ldb) {
    using Strip = Columns<T, Lanes>;
    typename Strip::Vector previous[Vectors];
    for (int64_t step = 0; step < n; ++step) {
        const int64_t row = Down ? step : n - 1 - step;
        T factor = step != 0 ? neighbour[Down ? row - 1 : row] : T{0};
        if constexpr (Divide) factor /= pivot[row];
        for (int v = 0; v < Vectors; ++v) {
            T* const place = b + row + v * Lanes * ldb;
            auto value = Strip::load(place, ldb);
            if constexpr (Divide) value /= pivot[row];
            if (step != 0) value -= factor * previous[v];
            Strip::store(value, place, ldb);
            previous[v] = value;
        }
    }
}

// A = L U, so A x = b is L y = b, U x = y; and A' x = b is U' y = b, L' x = y.
template <int Vectors, int Lanes, class T>
void solve_strip(bool transposed, int64_t n, const T* dl, const T* d, const T* du, T* b, int64_t ldb) {
    if (transposed) {
        substitute<Vectors, Lanes, true, true>(n, du, d, b, ldb);
        substitute<Vectors, Lanes, false, false>(n, dl, d, b, ldb);
    } else {
        substitute<Vectors, Lanes, true, false>(n, dl, d, b, ldb);
        substitute<Vectors, Lanes, false, true>(n, du, d, b, ldb);
    }
}

template <class T>
void solve(bool transposed, int64_t n, int64_t nrhs, const T* dl, const T* d, const T* du, T* b,
           int64_t ldb) {
    constexpr int kLanes = 16 / sizeof(T);
    constexpr int kVectors = 4;
    int64_t column = 0;
    for (; column + kVectors * kLanes <= nrhs; column += kVectors * kLanes) {
        solve_strip<kVectors, kLanes>(transposed, n, dl, d, du, b + column * ldb, ldb);
    }
    for (; column + 2 * kLanes <= nrhs; column += 2 * kLanes) {
        solve_strip<2, kLanes>(transposed, n, dl, d, du, b + column * ldb, ldb);
    }
    for (; column + kLanes <= nrhs; column += kLanes) {
        solve_strip<1, kLanes>(transposed, n, dl, d, du, b + column * ldb, ldb);
    }
    for (; column < nrhs; ++column) solve_strip<1, 1>(transposed, n, dl, d, du, b + column * ldb, ldb);
}

// Returns 0, or i when pivot i (from 1) is zero.
template <class T>
int64_t factor(int64_t n, T* dl, T* d, const T* du) {
    for (int64_t row = 0; row < n; ++row) {
        if (row > 0) {
            d[row] -= dl[row - 1] * du[row - 1] / d[row - 1];
            dl[row - 1] /= d[row - 1];
        }
        if (d[row] == T{0}) return row + 1;
    }
    return 0;
}

// The position, from 1, of the first null among the three diagonals, whose first is argument `first`; else 0.
template <class T>
int64_t missing_diagonal(int64_t n, const T* dl, const T* d, const T* du, int64_t first) {
    if (n > 1 && dl == nullptr) return first;
    if (n > 0 && d == nullptr) return first + 1;
    if (n > 1 && du == nullptr) return first + 2;
    return 0;
}

template <class T>
int64_t factor_checked(int64_t n, T* dl, T* d, T* du) {
    if (n < 0) return -1;
    if (const int64_t missing = missing_diagonal(n, dl, d, du, 2)) return -missing;
    return factor(n, dl, d, du);
}

// Checks the arguments from n on, which is argument `first`; 0, or minus the position of the first bad one.
template <class T>
int64_t check_system(int64_t first, int64_t n, int64_t nrhs, const T* dl, const T* d, const T* du, const T* b,
                     int64_t ldb) {
    if (n < 0) return -first;
    if (nrhs < 0) return -(first + 1);
    if (const int64_t missing = missing_diagonal(n, dl, d, du, first + 2)) return -missing;
    if (n > 0 && nrhs > 0 && b == nullptr) return -(first + 5);
    if (ldb < std::max<int64_t>(1, n)) return -(first + 6);
    return 0;
}

template <class T>
int64_t factor_and_solve(int64_t n, int64_t nrhs, T* dl, T* d, T* du, T* b, int64_t ldb) {
    if (const int64_t bad = check_system(1, n, nrhs, dl, d, du, b, ldb)) return bad;
    if (const int64_t zero_pivot = factor(n, dl, d, du)) return zero_pivot;
    solve(false, n, nrhs, dl, d, du, b, ldb);
    return 0;
}

template <class T>
int64_t solve_checked(char trans, int64_t n, int64_t nrhs, const T* dl, const T* d, const T* du, T* b,
                      int64_t ldb) {
    const bool plain = trans == 'N' || trans == 'n';
    const bool transposed = trans == 'T' || trans == 't' || trans == 'C' || trans == 'c';
    if (!plain && !transposed) return -1;
    if (const int64_t bad = check_system(2, n, nrhs, dl, d, du, b, ldb)) return bad;
    solve(transposed, n, nrhs, dl, d, du, b, ldb);
    return 0;
}

}  // namespace

#define OZK_TRIDIAGONAL(p, T)                                                                               \
    void ozk_lapack_ps_##p##dttrfb(const int64_t* n, T* dl, T* d, T* du, int64_t* info) {                   \
        *info = factor_checked(*n, dl, d, du);                                                              \
    }                                                                                                       \
    void ozk_lapack_ps_##p##dtsvb(const int64_t* n, const int64_t* nrhs, T* dl, T* d, T* du, T* b,          \
                                  const int64_t* ldb, int64_t* info) {                                      \
        *info = factor_and_solve(*n, *nrhs, dl, d, du, b, *ldb);                                            \
    }                                                                                                       \
    void ozk_lapack_##p##dttrsb(const char* trans, const int64_t* n, const int64_t* nrhs, const T* dl,      \
                                const T* d, const T* du, T* b, const int64_t* ldb, int64_t* info, size_t) { \
        *info = solve_checked(*trans, *n, *nrhs, dl, d, du, b, *ldb);                                       \
    }

OZK_TRIDIAGONAL(s, float)
OZK_TRIDIAGONAL(d, double)
