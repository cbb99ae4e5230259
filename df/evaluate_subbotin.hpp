// Subbotin quadratics: the pieces belong to knots, and a site's piece is that of its cell's left knot left of
// the cell's break, else that of the right knot.
#pragma once

#include "df/evaluate_polynomial.hpp"
#include "df/subbotin.hpp"

namespace ozk::df {

template <class Knots>
struct SubbotinPieces {
    const DfTask& task;
    Knots knot;

    SubbotinPieces(const DfTask& owner, const Knots& knots) : task(owner), knot(knots) {}

    template <class T, class Cell>
    OZK_SIMD Pieces<T> at(const T* site, const Cell* cell) const {
        Pieces<T> pieces;
        T left[Pieces<T>::kLanes];
        for (int i = 0; i < Pieces<T>::kLanes; ++i) {
            const int64_t j = left_knot(cell[i], task.nx);
            pieces.number[i] = j + (site[i] >= SubbotinBreaks<T>(task).at(j, knot));
            left[i] = knot(pieces.number[i]);
        }
        pieces.knot = simd::from_lanes(left);
        return pieces;
    }
};

using Subbotin = PolynomialKind<3, SubbotinPieces>;

}  // namespace ozk::df
