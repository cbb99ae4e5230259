// The rows of the slopes at the ends of a natural cubic spline.
#pragma once

#include "df/construction.hpp"

namespace ozk::df {

// diagonal * (slope at the end) + neighbour * (slope at the knot beside it) = side.
template <class T>
struct EndRow {
    T diagonal, neighbour, side;
};

// Width h and secant s of the end cell and of the cell beside it. Both ends read the same: mirrored, slopes and
// secants change their sign together and second derivatives keep theirs, so `outward` is -1 at the left end, 1 at
// the right.
template <class T>
EndRow<T> end_row(EndCondition condition, T value, T outward, T h, T h_inner, T s, T s_inner) {
    switch (condition) {
        case EndCondition::kFirst:
            return {1, 0, value};
        case EndCondition::kNotAKnot: {
            const T sum = h + h_inner;
            return {h_inner, sum, ((h + T(2) * sum) * h_inner * s + h * h * s_inner) / sum};
        }
        default:
            return {2, 1, T(3) * s + outward * T(0.5) * h * value};
    }
}

}  // namespace ozk::df
