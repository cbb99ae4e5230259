// Step functions: the value of one knot for each site.
#pragma once

#include <algorithm>
#include <cstdint>

#include "df/evaluate.hpp"
#include "df/search.hpp"
#include "df/uniform_pieces.hpp"

namespace ozk::df {

// Writes values alone: derivatives of a step function are left as they are.
template <class Rule>
struct StepKind : TakesAnySites {
    template <class T, class Cell>
    static void write(const Evaluation<T, Cell>& e) {
        const int64_t nx = e.task.nx;
        with_wanted_values(e, [&](auto y) -> int {
            e.with_knots([&](auto knot) {
                const T right = e.right();
                for (int64_t i = 0; i < e.nsite; ++i) {
                    const int64_t cell = std::min(std::max<int64_t>(e.cell[i], 0), nx);
                    e.result[i * e.site_stride] =
                        y[std::min(Rule::knot(e.site[i], cell, right, knot), nx - 1)];
                }
            });
            return kDfOk;
        });
    }

    template <class T, class Cell>
    static bool write_without_cells(const Evaluation<T, Cell>& e, int64_t site_hint) {
        if (is_uniform(e.task)) {
            if (!UniformPieces<T>::serves(e.task)) return false;
            const UniformPieces<T> pieces(e.task, e.h, e.task.nx - 1);
            with_wanted_values(e, [&](auto y) -> int {
                write_each_vector(e, e.result, [&](const T* site, const Cell*) OZK_SIMD_LAMBDA {
                    return values_at(y, pieces, Rule::uniform(simd::load(site), pieces));
                });
                return kDfOk;
            });
            return true;
        }
        bool done = false;
        if (site_hint != kDfSitesSorted) return done;
        with_wanted_values(e, [&](auto y) -> int {
            done = for_each_piece_run(e.task, e.nsite, e.site, [&](int64_t j, int64_t first, int64_t count) {
                const int64_t ahead = Rule::sites_of_left_knot(e.x(), e.task.nx, j, e.site + first, count);
                const auto fill = [&](int64_t from, int64_t to, T value) {
                    for (int64_t i = from; i < to; ++i) e.result[i * e.site_stride] = value;
                };
                fill(first, first + ahead, y[j]);
                fill(first + ahead, first + count, y[j + 1]);
            });
            return kDfOk;
        });
        return done;
    }

  private:
    template <class T, class Cell, class Body>
    static void with_wanted_values(const Evaluation<T, Cell>& e, Body body) {
        if (e.norder >= 1 && e.order[0]) with_values<T>(e.task, e.function, body);
    }
};

// The rules say which knot's value a site has: from its cell; as a vector on a uniform partition; and of
// ascending sites in piece j, how many have the value of knot j, the others having that of knot j + 1.

// [x[i], x[i+1]) has y[i]; from the last knot on its own value.
struct RightContinuous {
    template <class T, class Knots>
    static int64_t knot(T t, int64_t cell, T right, Knots) {
        return std::max<int64_t>(cell, 1) - (t == right ? 0 : 1);
    }
    template <class V, class T>
    OZK_SIMD static V uniform(V t, const UniformPieces<T>& pieces) {
        return select(t == pieces.right, pieces.last, pieces.number(t));
    }
    template <class T>
    static int64_t sites_of_left_knot(const T* x, int64_t nx, int64_t j, const T* site, int64_t count) {
        return j + 2 < nx ? count : count_below(site, count, x[nx - 1]);
    }
};

// (x[i-1], x[i]] has y[i].
struct LeftContinuous {
    template <class T, class Knots>
    static int64_t knot(T t, int64_t cell, T, Knots knot) {
        return cell >= 1 && t == knot(cell - 1) ? cell - 1 : cell;
    }
    template <class V, class T>
    OZK_SIMD static V uniform(V t, const UniformPieces<T>& pieces) {
        const V number = pieces.number(t);
        const V behind = min(number + simd::broadcast(T(1)), pieces.last);
        // A site left of the partition has cell 0 and knot 0, and so has a NaN.
        return select(t == pieces.knot(number), number, behind & (pieces.left <= t));
    }
    template <class T>
    static int64_t sites_of_left_knot(const T* x, int64_t, int64_t j, const T* site, int64_t count) {
        int64_t ahead = 0;
        while (ahead < count && site[ahead] <= x[j]) ++ahead;
        return ahead;
    }
};

using StepRight = StepKind<RightContinuous>;
using StepLeft = StepKind<LeftContinuous>;

}  // namespace ozk::df
