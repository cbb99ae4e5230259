// What a cubic spline must hold: its data, its smoothness, its end conditions.
#pragma once

#include <algorithm>

#include "tests/df/support.hpp"

namespace ozk::df::test {

struct Continuity {
    bool slope, curvature;
};

// c: four coefficients for each cell of x. The tolerance is a few rounding errors of the largest term of a
// cell.
template <class T>
void expect_cubic(const std::vector<T>& x, const T* y, const T* c, int64_t code, const T* ends,
                  Continuity continuous) {
    const auto n = static_cast<int64_t>(x.size()) - 1;
    long double scale = 1, steepest = 1;
    for (int64_t i = 0; i < n; ++i) {
        const long double h = x[i + 1] - x[i];
        steepest = std::max(steepest, 1 / h);
        scale = std::max({scale, std::fabs(c[4 * i + 1] * h), std::fabs(c[4 * i + 2] * h * h),
                          std::fabs(c[4 * i + 3] * h * h * h)});
    }
    const long double tolerance = 40 * scale * static_cast<long double>(kEpsilon<T>);
    const auto near = [&](long double a, long double b, int derivative, const char* what, int64_t i) {
        const long double bound = tolerance * std::pow(steepest, derivative);
        EXPECT_LE(std::fabs(a - b), bound) << what << " at knot " << i << " of " << n << ", code " << code;
    };
    Derivatives before{};
    for (int64_t i = 0; i < n; ++i) {
        const Derivatives left = at(c + 4 * i, 4, 0),
                          right = at(c + 4 * i, 4, x[i + 1] - static_cast<long double>(x[i]));
        EXPECT_EQ(y[i], c[4 * i]);
        near(y[i + 1], right.value, 0, "value", i + 1);
        if (i > 0 && continuous.slope) near(before.first, left.first, 1, "first derivative", i);
        if (i > 0 && continuous.curvature) near(before.second, left.second, 2, "second derivative", i);
        before = right;
    }
    const Derivatives first = at(c, 4, 0);
    if (code & kDfBoundaryFirstLeft) near(ends[0], first.first, 1, "left condition", 0);
    if (code & kDfBoundarySecondLeft) near(ends[0], first.second, 2, "left condition", 0);
    if (code & kDfBoundaryFirstRight) near(ends[1], before.first, 1, "right condition", n);
    if (code & kDfBoundarySecondRight) near(ends[1], before.second, 2, "right condition", n);
    if (code == kDfBoundaryFree) {
        near(0, first.second, 2, "free end", 0);
        near(0, before.second, 2, "free end", n);
    }
    if (code == kDfBoundaryNotAKnot && n == 2) {
        if (continuous.slope && continuous.curvature) near(0, first.third, 3, "parabola", 0);
    } else if (code == kDfBoundaryNotAKnot) {
        near(first.third, at(c + 4, 4, 0).third, 3, "third derivative", 1);
        near(before.third, at(c + 4 * (n - 2), 4, 0).third, 3, "third derivative", n - 1);
    }
    if (code == kDfBoundaryPeriodic) {
        near(before.first, first.first, 1, "periodic slope", n);
        near(before.second, first.second, 2, "periodic curvature", n);
    }
}

}  // namespace ozk::df::test
