// Look-up: every site must be a knot, and its value is copied.
#pragma once

#include <cmath>
#include <cstdint>

#include "df/evaluate.hpp"

namespace ozk::df {

struct LookUp : NeedsCells {
    template <class T, class Cell>
    static int check(const Evaluation<T, Cell>& e) {
        for (int64_t i = 0; i < e.nsite; ++i)
            if (knot_at(e, i) < 0) return kDfErrorSiteNotKnot;
        if (e.norder != 1) return kDfErrorLookUpOrderCount;
        return e.order[0] ? kDfOk : kDfErrorLookUpNoValue;
    }

    template <class T, class Cell>
    static void write(const Evaluation<T, Cell>& e) {
        with_values<T>(e.task, e.function, [&](auto y) -> int {
            for (int64_t i = 0; i < e.nsite; ++i) e.result[i * e.site_stride] = y[knot_at(e, i)];
            return kDfOk;
        });
    }

  private:
    static constexpr double kUniformTolerance = 0x1p-40;

    // The knot that site i is, or -1.
    template <class T, class Cell>
    static int64_t knot_at(const Evaluation<T, Cell>& e, int64_t i) {
        const T t = e.site[i];
        const T* x = e.x();
        const int64_t c = e.cell[i], nx = e.task.nx;
        if (c < 1 || c > nx) return -1;
        if (t == e.right()) return nx - 1;
        if (is_uniform(e.task)) {
            const auto distance = [&](int64_t k) { return std::fabs(t - (x[0] + static_cast<T>(k) * e.h)); };
            if (distance(c - 1) <= static_cast<T>(kUniformTolerance)) return c - 1;
            return c < nx && distance(c) < static_cast<T>(kUniformTolerance) ? c : -1;
        }
        if (t == x[c - 1]) return c - 1;
        return c < nx && t == x[c] ? c : -1;
    }
};

}  // namespace ozk::df
