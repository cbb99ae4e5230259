// Cubics whose slope at a knot follows from nearby data: one pass over the knots, no system.
//
// A scheme gives the slope at an inner knot from the secants around it. The end slopes follow from the end
// conditions and the slopes next to them.
#pragma once

#include <cstdint>

#include "df/construction.hpp"
#include "ozk_df.h"

namespace ozk::df {

// What a scheme may look at from knot `index`: the secant slopes of the two cells before it and the two
// behind it (beyond the ends extrapolated: s[-1] = 2 s[0] - s[1], Akima 1970), and the widths of the adjacent
// cells.
template <class T>
struct KnotView {
    int64_t index;
    T secant[4];
    T step_before, step_after;
};

template <class Partition, class Values>
class LocalData {
  public:
    using T = decltype(Values()[0]);

    LocalData(const Partition& partition, const Values& y)
        : partition_(partition), y_(y), cells_(partition.nx - 1) {}

    int64_t cells() const { return cells_; }
    T value(int64_t i) const { return y_[i]; }
    T step(int64_t i) const { return partition_.step(i); }

    T secant(int64_t i) const {
        if (i < 0) return secant(0) + static_cast<T>(-i) * (secant(0) - secant(1));
        if (i >= cells_)
            return secant(cells_ - 1) +
                   static_cast<T>(i - cells_ + 1) * (secant(cells_ - 1) - secant(cells_ - 2));
        return (y_[i + 1] - y_[i]) / step(i);
    }

    KnotView<T> view(int64_t i) const {
        return {i,
                {secant(i - 2), secant(i - 1), secant(i), secant(i + 1)},
                step(i > 0 ? i - 1 : 0),
                step(i < cells_ ? i : cells_ - 1)};
    }

    // The view of the next knot, which has one secant more.
    void advance(KnotView<T>& view) const {
        ++view.index;
        for (int k = 0; k < 3; ++k) view.secant[k] = view.secant[k + 1];
        view.secant[3] = secant(view.index + 1);
        view.step_before = view.step_after;
        if (view.index < cells_) view.step_after = step(view.index);
    }

  private:
    Partition partition_;
    Values y_;
    int64_t cells_;
};

// The slope at an end of which h, s are width and secant of the end cell, m the slope at its other knot, and
// h_inner, s_inner, m_inner those of the cell beside it. Both ends read the same: mirrored, slopes and
// secants change their sign together and second derivatives keep theirs, so `outward` is -1 at the left end,
// 1 at the right.
template <class T>
T end_slope(EndCondition condition, T value, T outward, T h, T s, T m, T h_inner, T s_inner, T m_inner,
            bool three_knots) {
    switch (condition) {
        case EndCondition::kFirst:
            return value;
        case EndCondition::kSecond:
            return T(1.5) * s - T(0.5) * m + T(0.25) * outward * h * value;
        case EndCondition::kNotAKnot: {
            if (three_knots) return s - h * (s_inner - s) / (h + h_inner);  // of the parabola
            const T ratio = h / h_inner;
            return T(2) * s - m + ratio * ratio * (m + m_inner - T(2) * s_inner);
        }
        default:
            return m;
    }
}

template <class Data, class Scheme, class T>
void construct_local_cubic(const Data& data, const Scheme& scheme, const EndConditions<T>& ends,
                           T* coefficients) {
    const int64_t n = data.cells();
    const auto slope_at = [&](int64_t i) { return scheme.slope(data.view(i)); };
    const bool three_knots = n == 2;
    const T second = slope_at(1), next_to_last = slope_at(n - 1);
    T left, right;
    if (ends.left == EndCondition::kNone) {
        left = slope_at(0);
        right = slope_at(n);
    } else if (ends.left == EndCondition::kPeriodic) {  // equal slopes and second derivatives
        const T h0 = data.step(0), h1 = data.step(n - 1);
        left = (h1 * (T(3) * data.secant(0) - second) + h0 * (T(3) * data.secant(n - 1) - next_to_last)) /
               (T(2) * (h0 + h1));
        right = left;
    } else {
        const T third = three_knots ? T(0) : slope_at(2), before = three_knots ? T(0) : slope_at(n - 2);
        left = end_slope(ends.left, ends.left_value, T(-1), data.step(0), data.secant(0), second,
                         data.step(1), data.secant(1), third, three_knots);
        right = end_slope(ends.right, ends.right_value, T(1), data.step(n - 1), data.secant(n - 1),
                          next_to_last, data.step(n - 2), data.secant(n - 2), before, three_knots);
    }
    KnotView<T> view = data.view(1);
    T slope = left;
    for (int64_t i = 0; i < n; ++i) {
        const T next = i + 1 < n ? scheme.slope(view) : right;
        write_cubic_cell(coefficients + 4 * i, data.value(i), view.secant[1], T(1) / view.step_before, slope,
                         next);
        slope = next;
        if (i + 1 < n) data.advance(view);
    }
}

// The checks that all kinds of cubics but the natural one share.
template <class T>
int check_local_cubic(const DfTask* task, int64_t least_knots, bool accepts_none) {
    if (!task) return kDfErrorNullTask;
    if (task->nx < least_knots) return kDfErrorTooFewKnots;
    if (!is_storage_hint(task->y_hint)) return kDfErrorValueHint;
    if (accepts_none && task->boundary_type == kDfBoundaryNone) return kDfOk;
    return check_cubic_boundary(*task);
}

// Given derivatives at the inner knots.
inline int check_internal(const DfTask& task, int64_t type) {
    if (task.internal_type != type) return kDfErrorInternalType;
    return task.internal ? kDfOk : kDfErrorNullInternal;
}

template <class T>
const T* internal_of(const DfTask& task, int64_t function) {
    return static_cast<const T*>(task.internal) + function * (task.nx - 2);
}

// Constructs every function with the scheme that make_scheme(f) gives for it.
template <class T, class MakeScheme>
int construct_local_cubics(const DfTask& task, const OzkThreading* threading, MakeScheme make_scheme) {
    if (int status = check_arrays<T>(task)) return status;
    const EndConditions<T> ends = end_conditions<T>(task);
    return with_partition<T>(task, [&](auto partition) -> int {
        return for_each_function<T>(task, threading, [&](auto y, T* coefficients, int64_t f) {
            construct_local_cubic(LocalData(partition, y), make_scheme(f), ends, coefficients);
        });
    });
}

}  // namespace ozk::df
