// The breaks of a Subbotin quadratic: one in each cell, in its middle or given. Piece i belongs to knot i and
// reaches from the break before it to the break behind it.
#pragma once

#include <cstdint>

#include "ozk_df.h"

namespace ozk::df {

template <class T>
struct SubbotinBreaks {
    const T* given;  // nx - 1 breaks, or null

    explicit SubbotinBreaks(const DfTask& task)
        : given((task.internal_type & kDfInternalBreaksGiven) != 0 ? static_cast<const T*>(task.internal)
                                                                   : nullptr) {}

    // The break of cell i; knot(j) gives knot j.
    template <class Knots>
    T at(int64_t i, const Knots& knot) const {
        if (given) return given[i];
        const T left = knot(i);
        return left + T(0.5) * (knot(i + 1) - left);
    }
};

// The status of the breaks that sites are compared with.
inline int check_breaks(const DfTask& task) {
    return (task.internal_type & kDfInternalBreaksGiven) && !task.internal ? kDfErrorNullInternal : kDfOk;
}

}  // namespace ozk::df
