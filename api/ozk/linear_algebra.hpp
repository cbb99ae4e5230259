// Dense linear algebra that goes with statistics.
#pragma once

#include "ozk/error.hpp"
#include "ozk/matrix.hpp"

namespace ozk {

// The lower triangular L with a = L L', zeros above the diagonal, of a symmetric positive definite matrix, of
// which the lower triangle is read. Throws error: not square, empty, or not positive definite (code() == -i
// for the leading matrix of order i).
inline matrix cholesky(const matrix& a) {
    detail::same_size(Family::linear_algebra, "ozk::cholesky", a.rows(), a.columns());
    matrix l(a.rows(), a.columns());
    detail::check(ozk_d_cholesky(static_cast<int64_t>(a.rows()), a.values().data(), l.values().data()));
    return l;
}

}  // namespace ozk
