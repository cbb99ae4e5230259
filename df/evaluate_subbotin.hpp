// Subbotin quadratics: the pieces belong to knots, and a site's piece is that of its cell's left knot left of
// the cell's break, else that of the right knot.
#pragma once

#include "df/evaluate_polynomial.hpp"
#include "df/subbotin.hpp"

namespace ozk::df {

struct SubbotinPieces {
    const DfTask& task;

    explicit SubbotinPieces(const DfTask& owner) : task(owner) {}

    template <class T, class Cell, class Knots>
    int64_t at(const Evaluation<T, Cell>& e, int64_t i, const Knots& knot) const {
        const int64_t j = e.polynomial_of(i);
        return j + (e.site[i] >= SubbotinBreaks<T>(task).at(j, knot));
    }
};

using Subbotin = PolynomialKind<3, SubbotinPieces>;

}  // namespace ozk::df
