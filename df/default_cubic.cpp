// Cubic spline with given second derivatives at the inner knots: each cell takes both values and both second
// derivatives. The first derivative is continuous only where the given ones make it so.

#include "df/local_cubic.hpp"

namespace ozk::df {
namespace {

// The second derivative v at an end of which h, s are width and secant of the end cell, v_next the second
// derivative at its other knot, h_inner, s_inner, v_inner those of the cell beside it. `outward` is -1 at the
// left end, 1 at the right.
template <class T>
T end_curvature(EndCondition condition, T value, T outward, T h, T s, T v_next, T h_inner, T s_inner,
                T v_inner, bool three_knots) {
    switch (condition) {
        case EndCondition::kSecond:
            return value;
        case EndCondition::kFirst:
            return T(3) * outward * (value - s) / h - T(0.5) * v_next;
        default:                                                                     // not-a-knot
            if (three_knots) return T(2) * outward * (s - s_inner) / (h + h_inner);  // of the parabola
            return v_next + h * (v_next - v_inner) / h_inner;
    }
}

template <class T, class Data>
void construct_default_cubic(const Data& data, const T* inner, const EndConditions<T>& ends,
                             T* coefficients) {
    const int64_t n = data.cells();
    const bool three_knots = n == 2;
    const T second = inner[0], next_to_last = inner[n - 2];
    const T h0 = data.step(0), s0 = data.secant(0), h1 = data.step(n - 1), s1 = data.secant(n - 1);
    T left, right;
    if (ends.left == EndCondition::kPeriodic) {  // equal slopes and second derivatives
        left = (T(6) * (s0 - s1) - h0 * second - h1 * next_to_last) / (T(2) * (h0 + h1));
        right = left;
    } else {
        left = end_curvature(ends.left, ends.left_value, T(-1), h0, s0, second, data.step(1), data.secant(1),
                             three_knots ? T(0) : inner[1], three_knots);
        right = end_curvature(ends.right, ends.right_value, T(1), h1, s1, next_to_last, data.step(n - 2),
                              data.secant(n - 2), three_knots ? T(0) : inner[n - 3], three_knots);
    }
    T v = left;
    for (int64_t i = 0; i < n; ++i) {
        const T next = i + 1 < n ? inner[i] : right;
        const T h = data.step(i), s = data.secant(i);
        T* c = coefficients + 4 * i;
        c[0] = data.value(i);
        c[1] = s - h * (T(2) * v + next) / T(6);
        c[2] = T(0.5) * v;
        c[3] = (next - v) / (T(6) * h);
        v = next;
    }
}

template <class T>
int default_cubic(const DfTask* task, const OzkThreading* threading) {
    if (int status = check_local_cubic<T>(task, 3, false)) return status;
    if (int status = check_internal(*task, kDfInternalSecond)) return status;
    if (int status = check_arrays<T>(*task)) return status;
    const EndConditions<T> ends = end_conditions<T>(*task);
    return with_partition<T>(*task, [&](auto partition) -> int {
        return for_each_function<T>(*task, threading, [&](auto y, T* coefficients, int64_t f) {
            construct_default_cubic(LocalData(partition, y), internal_of<T>(*task, f), ends, coefficients);
        });
    });
}

}  // namespace
}  // namespace ozk::df

OZK_DF_CONSTRUCTION(DefaultCubic, default_cubic)
