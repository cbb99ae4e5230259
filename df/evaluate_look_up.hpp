// Look-up: every site must be a knot, and its value is copied.
#pragma once

#include <cmath>
#include <cstdint>

#include "df/evaluate.hpp"
#include "df/uniform_pieces.hpp"

namespace ozk::df {

struct LookUp {
    template <class T, class Cell>
    static int check(const Evaluation<T, Cell>& e) {
        for (int64_t i = 0; i < e.nsite; ++i)
            if (knot_at(e, i) < 0) return kDfErrorSiteNotKnot;
        return check_request(e);
    }

    template <class T, class Cell>
    static void write(const Evaluation<T, Cell>& e) {
        with_values<T>(e.task, e.function, [&](auto y) -> int {
            for (int64_t i = 0; i < e.nsite; ++i) e.result[i * e.site_stride] = y[knot_at(e, i)];
            return kDfOk;
        });
    }

    // The same two without cells, where the partition is uniform.
    template <class T, class Cell>
    static bool check_without_cells(const Evaluation<T, Cell>& e, int& status) {
        if (!UniformPieces<T>::serves(e.task)) return false;
        const UniformPieces<T> pieces(e.task, e.h, e.task.nx - 1);
        int missed = 0;
        for_each_vector(e, [&](const T* site, const Cell*, int64_t, int) OZK_SIMD_LAMBDA {
            missed |= lanes(uniform_knots(pieces, simd::load(site)) < pieces.left - pieces.left);
        });
        status = missed ? kDfErrorSiteNotKnot : check_request(e);
        return true;
    }

    template <class T, class Cell>
    static bool write_without_cells(const Evaluation<T, Cell>& e, int64_t) {
        if (!UniformPieces<T>::serves(e.task)) return false;
        const UniformPieces<T> pieces(e.task, e.h, e.task.nx - 1);
        with_values<T>(e.task, e.function, [&](auto y) -> int {
            write_each_vector(e, e.result, [&](const T* site, const Cell*) OZK_SIMD_LAMBDA {
                return values_at(y, pieces, uniform_knots(pieces, simd::load(site)));
            });
            return kDfOk;
        });
        return true;
    }

  private:
    static constexpr double kUniformTolerance = 0x1p-40;

    template <class T, class Cell>
    static int check_request(const Evaluation<T, Cell>& e) {
        if (e.norder != 1) return kDfErrorLookUpOrderCount;
        return e.order[0] ? kDfOk : kDfErrorLookUpNoValue;
    }

    // The knots that the sites are, or -1.
    template <class T>
    OZK_SIMD static VectorOf<T> uniform_knots(const UniformPieces<T>& pieces, VectorOf<T> t) {
        const auto tolerance = simd::broadcast(static_cast<T>(kUniformTolerance)),
                   one = simd::broadcast(T(1));
        const auto before = pieces.number(t), behind = before + one;
        const auto is_before = abs(t - pieces.knot(before)) <= tolerance;
        const auto is_behind = (abs(t - pieces.knot(behind)) < tolerance) & (behind <= pieces.last);
        const auto near = select(is_before, before, select(is_behind, behind, one - (one + one)));
        return select(t == pieces.right, pieces.last, select(pieces.left <= t, near, one - (one + one)));
    }

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
