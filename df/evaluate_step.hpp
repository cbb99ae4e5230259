// Step functions: the value of one knot for each site.
#pragma once

#include <cstdint>

#include "df/evaluate.hpp"

namespace ozk::df {

// Writes values alone: derivatives of a step function are left as they are.
template <class Knot>
struct StepKind : TakesAnySites {
    template <class T, class Cell>
    static void write(const Evaluation<T, Cell>& e) {
        if (e.norder < 1 || !e.order[0]) return;
        const int64_t nx = e.task.nx;
        with_values<T>(e.task, e.function, [&](auto y) -> int {
            e.with_knots([&](auto knot) {
                const T right = e.right();
                for (int64_t i = 0; i < e.nsite; ++i) {
                    const int64_t cell = std::min(std::max<int64_t>(e.cell[i], 0), nx);
                    e.result[i * e.site_stride] = y[std::min(Knot::of(e.site[i], cell, right, knot), nx - 1)];
                }
            });
            return kDfOk;
        });
    }
};

// [x[i], x[i+1]) has y[i]; from the last knot on its own value.
struct RightContinuousKnot {
    template <class T, class Knots>
    static int64_t of(T t, int64_t cell, T right, Knots) {
        return std::max<int64_t>(cell, 1) - (t == right ? 0 : 1);
    }
};

// (x[i-1], x[i]] has y[i].
struct LeftContinuousKnot {
    template <class T, class Knots>
    static int64_t of(T t, int64_t cell, T, Knots knot) {
        return cell >= 1 && t == knot(cell - 1) ? cell - 1 : cell;
    }
};

using StepRight = StepKind<RightContinuousKnot>;
using StepLeft = StepKind<LeftContinuousKnot>;

}  // namespace ozk::df
