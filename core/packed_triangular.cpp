// Multiplication by a packed triangular matrix.
//
// Method: the triangle is cut into square tiles. Each is unpacked into scratch once and multiplies all
// vectors (the columns of B, or its rows when the triangle stands on the right) by the blocked multiply of
// full storage, so the triangle is read once. The rows (columns) of B are finished in the order in which none
// is needed any more: with op(A) lower and on the left, from the last tile to the first. Fewer than
// kFewVectors vectors do not repay the unpacking: each is multiplied by the packed triangle directly, which
// reads it once a vector at memory speed. So are more of them when there is no memory for a tile.

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/openblas.hpp"

#define OZK_PACKED_FORTRAN(p, T)                                                                         \
    OZK_FORTRAN(p##gemm_, ozk_blas_##p##gemm)                                                            \
    OZK_FORTRAN(p##trmm_, ozk_blas_##p##trmm)                                                            \
    extern "C" void p##tpmv_(OzkText uplo, OzkText trans, OzkText diag, OzkInteger n, const T* ap, T* x, \
                             OzkInteger incx, size_t, size_t, size_t);                                   \
                                                                                                         \
    template <>                                                                                          \
    struct Routines<T> {                                                                                 \
        static constexpr auto gemm = p##gemm_;                                                           \
        static constexpr auto trmm = p##trmm_;                                                           \
        static constexpr auto tpmv = p##tpmv_;                                                           \
    };

template <class T>
struct Routines;

OZK_PACKED_FORTRAN(s, float)
OZK_PACKED_FORTRAN(d, double)

namespace {

constexpr int64_t kFewVectors = 8;
constexpr int64_t kTile = 128;

constexpr char upper(char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 32) : letter;
}

// The four choices of a triangular multiply, in upper case.
struct Form {
    char side, uplo, trans, diag;

    bool left() const { return side == 'L'; }
    bool plain() const { return trans == 'N'; }
    bool op_is_upper() const { return (uplo == 'U') == plain(); }

    // The position, from 1, of the first letter that is none of its argument's; 0 when all are good.
    int64_t first_bad() const {
        if (side != 'L' && side != 'R') return 1;
        if (uplo != 'U' && uplo != 'L') return 2;
        if (trans != 'N' && trans != 'T' && trans != 'C') return 3;
        if (diag != 'U' && diag != 'N') return 4;
        return 0;
    }
};

template <class T>
struct PackedTriangle {
    const T* elements;
    int64_t order;
    bool upper;

    // Elements (row, column) of one column stand at column_base(column) + row.
    const T* column_base(int64_t column) const {
        const int64_t before = column * (column + 1) / 2;
        return elements + (upper ? before : column * order - before);
    }

    // Copies the part of the triangle in the tile at (row, column) into `tile`, by columns of kTile elements.
    void unpack(int64_t row, int64_t column, T* tile) const {
        const int64_t end_row = std::min(row + kTile, order);
        const int64_t end_column = std::min(column + kTile, order);
        for (int64_t c = column; c < end_column; ++c) {
            const int64_t first = upper ? row : std::max(row, c);
            const int64_t end = upper ? std::min(end_row, c + 1) : end_row;
            std::memcpy(tile + (c - column) * kTile + (first - row), column_base(c) + first,
                        static_cast<size_t>(end - first) * sizeof(T));
        }
    }
};

// B := alpha op(A) B, or B op(A), tile by tile. Scratch `tile` holds kTile by kTile elements.
template <class T>
void multiply_tiles(const Form& form, int64_t m, int64_t n, T alpha, const PackedTriangle<T>& a, T* b,
                    int64_t ldb, T* tile) {
    const T one = 1;
    const bool ascending = form.left() == form.op_is_upper();
    const int64_t tiles = (a.order + kTile - 1) / kTile;
    const auto part = [&](int64_t index) { return b + index * kTile * (form.left() ? 1 : ldb); };
    const auto extent = [&](int64_t index) { return std::min(kTile, a.order - index * kTile); };
    for (int64_t step = 0; step < tiles; ++step) {
        const int64_t target = ascending ? step : tiles - 1 - step;
        const int64_t rows = form.left() ? extent(target) : m;
        const int64_t columns = form.left() ? n : extent(target);
        a.unpack(target * kTile, target * kTile, tile);
        Routines<T>::trmm(&form.side, &form.uplo, &form.trans, &form.diag, &rows, &columns, &alpha, tile,
                          &kTile, part(target), &ldb, 1, 1, 1, 1);
        const int64_t first = ascending ? target + 1 : 0;
        const int64_t end = ascending ? tiles : target;
        for (int64_t source = first; source < end; ++source) {
            const bool target_is_row = form.left() == form.plain();
            a.unpack((target_is_row ? target : source) * kTile, (target_is_row ? source : target) * kTile,
                     tile);
            const int64_t inner = extent(source);
            if (form.left()) {
                Routines<T>::gemm(&form.trans, "N", &rows, &columns, &inner, &alpha, tile, &kTile,
                                  part(source), &ldb, &one, part(target), &ldb, 1, 1);
            } else {
                Routines<T>::gemm("N", &form.trans, &rows, &columns, &inner, &alpha, part(source), &ldb, tile,
                                  &kTile, &one, part(target), &ldb, 1, 1);
            }
        }
    }
}

// op(A) from the left multiplies each column x of B; from the right it multiplies each row, as op(A)' x.
template <class T>
void multiply_vectors(const Form& form, int64_t m, int64_t n, T alpha, const PackedTriangle<T>& a, T* b,
                      int64_t ldb) {
    const char* const trans = form.left() == form.plain() ? "N" : "T";
    const int64_t vectors = form.left() ? n : m;
    const int64_t stride = form.left() ? 1 : ldb;
    for (int64_t vector = 0; vector < vectors; ++vector) {
        T* const x = form.left() ? b + vector * ldb : b + vector;
        Routines<T>::tpmv(&form.uplo, trans, &form.diag, &a.order, a.elements, x, &stride, 1, 1, 1);
    }
    if (alpha == T{1}) return;
    for (int64_t column = 0; column < n; ++column) {
        for (int64_t row = 0; row < m; ++row) b[row + column * ldb] *= alpha;
    }
}

template <class T>
void multiply(const char* name, const Form& form, int64_t m, int64_t n, T alpha, const T* ap, T* b,
              int64_t ldb) {
    int64_t bad = form.first_bad();
    if (bad == 0 && m < 0) bad = 5;
    if (bad == 0 && n < 0) bad = 6;
    if (bad == 0 && ldb < std::max<int64_t>(1, m)) bad = 10;
    if (bad != 0) return xerbla_(name, &bad, 6);
    if (m == 0 || n == 0) return;
    if (alpha == T{0}) {
        for (int64_t column = 0; column < n; ++column) std::fill_n(b + column * ldb, m, T{0});
        return;
    }

    const PackedTriangle<T> a{ap, form.left() ? m : n, form.uplo == 'U'};
    const ozk::core::CallerThreads threads(ozk::core::Team::kWhereItPays,
                                           ozk::core::product(m, n, a.order) / 2);
    const int64_t vectors = form.left() ? n : m;
    T* const tile =
        vectors < kFewVectors ? nullptr : static_cast<T*>(ozk_serv_allocate(kTile * kTile * sizeof(T), 128));
    if (tile == nullptr) {
        multiply_vectors(form, m, n, alpha, a, b, ldb);
    } else {
        multiply_tiles(form, m, n, alpha, a, b, ldb, tile);
    }
    ozk_serv_deallocate(tile);
}

}  // namespace

#define OZK_PACKED_TRIANGULAR(p, T, name)                                                                    \
    void ozk_blas_##p##ptrmm(const char* side, const char* uplo, const char* transa, const char* diag,       \
                             const int64_t* m, const int64_t* n, const T* alpha, const T* a, T* b,           \
                             const int64_t* ldb, size_t, size_t, size_t, size_t) {                           \
        multiply(name, Form{upper(*side), upper(*uplo), upper(*transa), upper(*diag)}, *m, *n, *alpha, a, b, \
                 *ldb);                                                                                      \
    }

OZK_PACKED_TRIANGULAR(s, float, "SPTRMM")
OZK_PACKED_TRIANGULAR(d, double, "DPTRMM")
