// The cells of a uniform partition straight from a vector of sites: the numbers that UniformSearch gives, for
// evaluations that then need no cells.
#pragma once

#include <cstdint>

#include "df/evaluate.hpp"
#include "df/search.hpp"

namespace ozk::df {

template <class T>
struct UniformPieces {
    using Vector = VectorOf<T>;
    Vector left, right, scale, h, last;

    // Numbers go from 0 to `last`, those of sites outside being the nearest.
    UniformPieces(const DfTask& task, T step, int64_t last_number)
        : left(simd::broadcast(static_cast<const T*>(task.x)[0])),
          right(simd::broadcast(static_cast<const T*>(task.x)[1])),
          scale(simd::broadcast(uniform_search<T>(task).scale)),
          h(simd::broadcast(step)),
          last(simd::broadcast(static_cast<T>(last_number))) {}

    // Whether numbers are exact, and the right end, which rounding moves by less than a cell, is not found left of
    // the last cell.
    static bool serves(const DfTask& task) {
        return is_uniform(task) && task.nx <= (sizeof(T) == 4 ? int64_t{1} << 22 : INT32_MAX);
    }

    // The number of the knot left of a site; of a NaN 0, as the maximum is its second argument then.
    OZK_SIMD Vector number(Vector t) const {
        return truncate(min(max((t - left) * scale, simd::broadcast(T(0))), last));
    }
    OZK_SIMD Vector knot(Vector number_of_it) const { return left + number_of_it * h; }

    // Sets index[i] to lane i.
    OZK_SIMD static void to_indices(Vector numbers, int64_t (&index)[Vector::kLanes]) {
        const simd::i32x4 lanes = truncate_to_i32(numbers);
        index[0] = static_cast<uint32_t>(lane<0>(lanes));
        index[1] = static_cast<uint32_t>(lane<1>(lanes));
        if constexpr (Vector::kLanes == 4) {
            index[2] = static_cast<uint32_t>(lane<2>(lanes));
            index[3] = static_cast<uint32_t>(lane<3>(lanes));
        }
    }
};

// The values at the knots of whole numbers.
template <class T, class Values>
OZK_SIMD VectorOf<T> values_at(Values y, const UniformPieces<T>& pieces, VectorOf<T> numbers) {
    constexpr int kLanes = VectorOf<T>::kLanes;
    int64_t index[kLanes];
    pieces.to_indices(numbers, index);
    T value[kLanes];
    for (int i = 0; i < kLanes; ++i) value[i] = y[index[i]];
    return simd::from_lanes(value);
}

}  // namespace ozk::df
