// Natural cubic splines of many knots, built tile by tile.
//
// The matrix of the slopes has diagonals at least twice the sum of their neighbours, so what one knot does to the
// slope of another fades by half or more from knot to knot, by 3.7 where the knots are evenly spaced. Elimination
// that starts kOverlap knots before a segment, from any sensible guess, has therefore reached the true values to
// below rounding when it enters the segment, and likewise substitution from behind it. So segments are independent:
// a tile takes kChains of them in step, whose dependent divisions then overlap, and stays in the cache from the
// knots to the coefficients; tiles go to any thread. The segments depend on nx alone, and so do the bits.
//
// Overlapped elimination of diagonally dominant systems: Sun, Zhang, Ni, "Efficient tridiagonal solvers on
// multicomputers", IEEE Trans. Comput. 41 (1992).
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "df/construction.hpp"
#include "df/memory.hpp"
#include "df/natural_cubic_rows.hpp"
#include "simd/wide.hpp"

namespace ozk::df {

// Splines of fewer knots are solved as one system.
inline constexpr int64_t kTiledFrom = 300;

template <class T, class Partition>
class NaturalCubicTiles {
  public:
    NaturalCubicTiles(const DfTask& task, const Partition& partition)
        : task_(task),
          partition_(partition),
          ends_(end_conditions<T>(task)),
          cells_(partition.nx - 1),
          tiles_((cells_ + kTileCells - 1) / kTileCells),
          periodic_(ends_.left == EndCondition::kPeriodic) {}

    int construct(const OzkThreading* threading) const {
        const int64_t groups = (task_.ny + kGroup - 1) / kGroup, items = tiles_ * groups;
        const int64_t threads = useful_threads(threading, items, task_.nx * task_.ny);
        const ScopedArray<Work> work(threads);
        if (!work.data) return kDfErrorMemory;
        if (!solvable()) return kDfErrorArgument;
        return parallel_for(threading, items, threads, [&](int64_t item, int64_t thread) -> int {
            construct_tile(work.data[thread], item / groups * kTileCells, item % groups * kGroup);
            return kDfOk;
        });
    }

  private:
    static constexpr int64_t kChains = 8, kSegment = 512, kOverlap = 64;
    static constexpr int64_t kTileCells = kChains * kSegment - 1;  // whose knots are kChains segments
    static constexpr int64_t kChainRows = kSegment + 2 * kOverlap;
    static constexpr int64_t kRows = kChains * kSegment + 2 * kOverlap;
    static constexpr int64_t kGroup = 16;  // functions that share the factors of a tile

    using Vector = decltype(simd::broadcast(T()));
    using Chains = simd::wide<Vector, kChains / Vector::kLanes>;  // a row of each chain

    // Of row r of a tile, which belongs to knot first - kOverlap + r: its row reads
    // step[r + 1] slope[r - 1] + diagonal[r] slope[r] + step[r] slope[r + 1] = side[r]. `step` and `secant` are of
    // the cell behind the knot, those of the cell before the first row stand in front.
    //
    // Rows outside the partition have an infinite diagonal, which makes their slope 0, and so rows beside them don't
    // feel them; the cell outside next to an end has the width by which the end row multiplies the slope inside.
    struct Work {
        T step[kRows + 1], inverse_step[kRows + 1], secant[kRows + 1], diagonal[kRows], side[kRows],
            slope[kRows];
        // Of row k of every chain: what the slope before, the right side and the slope behind are multiplied by.
        Chains before[kChainRows], inverse_pivot[kChainRows], behind[kChainRows], eliminated[kChainRows];
    };

    struct Tile {
        int64_t first, cells;  // the cells that it builds
        int64_t segment;       // knots of a chain
        int64_t rows, begin;   // of the rows, and the knot of row 0
        int64_t chain_rows;    // with both overlaps
    };

    Tile tile_at(int64_t first) const {
        const int64_t cells = std::min(kTileCells, cells_ - first), segment = cells / kChains + 1;
        return {first,
                cells,
                segment,
                kChains * segment + 2 * kOverlap,
                first - kOverlap,
                segment + 2 * kOverlap};
    }

    // A row is zero where both cells at its knot have no width.
    bool solvable() const {
        int64_t zero_rows = 0;
        for (int64_t i = 1; i < cells_; ++i)
            zero_rows += partition_.step(i - 1) + partition_.step(i) == T(0) ? 1 : 0;
        return zero_rows == 0;
    }

    // The cell `i` stands for: itself, in a ring the same cell modulo their number, else -1 outside the partition.
    int64_t cell(int64_t i) const {
        if (periodic_) return i < 0 ? i + cells_ : i >= cells_ ? i - cells_ : i;
        return i >= 0 && i < cells_ ? i : -1;
    }

    // Calls body(row of the cell behind it, cell, count) for runs of cells that lie behind each other.
    template <class Body>
    void for_each_run(const Tile& tile, Body body) const {
        int64_t row = -1;
        while (row < tile.rows) {
            const int64_t i = cell(tile.begin + row);
            const int64_t left = tile.rows - row;
            if (i < 0) {
                const bool ahead = tile.begin + row < 0;
                const int64_t count = ahead ? std::min(left, -(tile.begin + row)) : left;
                body(row, int64_t(-1), count);
                row += count;
            } else {
                const int64_t count = std::min(left, cells_ - i);
                body(row, i, count);
                row += count;
            }
        }
    }

    void set_steps(const Tile& tile, Work& w) const {
        for_each_run(tile, [&](int64_t row, int64_t i, int64_t count) {
            T* step = w.step + 1 + row;
            if (i < 0) {
                std::fill_n(step, count, T(1));
            } else {
                for (int64_t k = 0; k < count; ++k) step[k] = partition_.step(i + k);
            }
        });
        for (int64_t k = 0; k <= tile.rows; ++k)
            w.inverse_step[k] = T(1) / w.step[k];  // outside too, where it is 1
    }

    template <class Values>
    void set_secants(const Tile& tile, Values y, Work& w) const {
        for_each_run(tile, [&](int64_t row, int64_t i, int64_t count) {
            T* secant = w.secant + 1 + row;
            const T* inverse_step = w.inverse_step + 1 + row;
            if (i < 0) {
                std::fill_n(secant, count, T(0));
            } else {
                for (int64_t k = 0; k < count; ++k) secant[k] = (y[i + k + 1] - y[i + k]) * inverse_step[k];
            }
        });
    }

    void set_rows(const Tile& tile, Work& w) const {
        for (int64_t r = 0; r < tile.rows; ++r) w.diagonal[r] = T(2) * (w.step[r] + w.step[r + 1]);
        if (periodic_) return;
        for_each_outer_row(tile, [&](int64_t r) { w.diagonal[r] = std::numeric_limits<T>::infinity(); });
        for_each_end(tile, w, [&](int64_t r, int64_t outer, const EndRow<T>& row) {
            w.diagonal[r] = row.diagonal;
            w.step[outer] = row.neighbour;
        });
    }

    void set_sides(const Tile& tile, Work& w) const {
        for (int64_t r = 0; r < tile.rows; ++r)
            w.side[r] = T(3) * (w.step[r + 1] * w.secant[r] + w.step[r] * w.secant[r + 1]);
        if (periodic_) return;
        for_each_end(tile, w, [&](int64_t r, int64_t, const EndRow<T>& row) { w.side[r] = row.side; });
    }

    // Calls body(row, the cell outside beside it, what stands in the row) for the end rows among those of the tile.
    template <class Body>
    void for_each_end(const Tile& tile, const Work& w, Body body) const {
        const T* step = w.step + 1;
        const T* secant = w.secant + 1;
        if (const int64_t r = -tile.begin; r >= 0)
            body(
                r, r,
                end_row(ends_.left, ends_.left_value, T(-1), step[r], step[r + 1], secant[r], secant[r + 1]));
        if (const int64_t r = cells_ - tile.begin; r < tile.rows)
            body(r, r + 1,
                 end_row(ends_.right, ends_.right_value, T(1), step[r - 1], step[r - 2], secant[r - 1],
                         secant[r - 2]));
    }

    template <class Body>
    void for_each_outer_row(const Tile& tile, Body body) const {
        for (int64_t r = 0; r < -tile.begin; ++r) body(r);
        for (int64_t r = cells_ + 1 - tile.begin; r < tile.rows; ++r) body(r);
    }

    // The elements of all chains that are `segment` apart.
    OZK_SIMD static Chains load(const T* p, int64_t segment) {
        Chains chains;
        for (auto& vector : chains.v) {
            vector = simd::load_strided(p, segment);
            p += Vector::kLanes * segment;
        }
        return chains;
    }
    OZK_SIMD static void store(T* p, int64_t segment, const Chains& chains) {
        for (const auto& vector : chains.v) {
            simd::store_strided(p, segment, vector);
            p += Vector::kLanes * segment;
        }
    }

    // The slope before the first row of a chain is taken for known: the secant's, see solve().
    void factor(const Tile& tile, Work& w) const {
        const Vector one = simd::broadcast(T(1));
        Chains behind = {}, step_before = load(w.step, tile.segment);
        for (int64_t k = 0; k < tile.chain_rows; ++k) {
            const Chains step = load(w.step + k + 1, tile.segment);
            const Chains inverse = one / (load(w.diagonal + k, tile.segment) - step * behind);
            behind = step_before * inverse;
            w.before[k] = step * inverse;
            w.inverse_pivot[k] = inverse;
            w.behind[k] = behind;
            step_before = step;
        }
    }

    void solve(const Tile& tile, Work& w) const {
        const int64_t segment = tile.segment;
        Chains value = load(w.secant, segment);
        for (int64_t k = 0; k < tile.chain_rows; ++k) {
            value = load(w.side + k, segment) * w.inverse_pivot[k] - w.before[k] * value;
            w.eliminated[k] = value;
        }
        value = load(w.secant + tile.chain_rows, segment);
        for (int64_t k = tile.chain_rows - 1; k >= kOverlap + segment; --k) {
            value = w.eliminated[k] - w.behind[k] * value;
        }
        for (int64_t k = kOverlap + segment - 1; k >= kOverlap; --k) {
            value = w.eliminated[k] - w.behind[k] * value;
            store(w.slope + k, segment, value);
        }
    }

    template <class Values>
    void expand(const Tile& tile, const Work& w, Values y, T* coefficients) const {
        T* c = coefficients + 4 * tile.first;
        int64_t i = 0;
        for (; i + Vector::kLanes <= tile.cells; i += Vector::kLanes) {
            const int64_t r = i + kOverlap;
            store_cells(c + 4 * i,
                        cubic_cells<T>(load_values(y, tile.first + i), simd::load(w.secant + r + 1),
                                       simd::load(w.inverse_step + r + 1), simd::load(w.slope + r),
                                       simd::load(w.slope + r + 1)));
        }
        for (; i < tile.cells; ++i) {
            const int64_t r = i + kOverlap;
            write_cubic_cell(c + 4 * i, y[tile.first + i], w.secant[r + 1], w.inverse_step[r + 1], w.slope[r],
                             w.slope[r + 1]);
        }
    }

    void construct_tile(Work& w, int64_t first_cell, int64_t first_function) const {
        const Tile tile = tile_at(first_cell);
        set_steps(tile, w);
        set_rows(tile, w);
        factor(tile, w);
        for (int64_t f = first_function; f < std::min(first_function + kGroup, task_.ny); ++f) {
            with_values<T>(task_, f, [&](auto y) -> int {
                set_secants(tile, y, w);
                set_sides(tile, w);
                solve(tile, w);
                expand(tile, w, y, static_cast<T*>(task_.coefficients[f]));
                return kDfOk;
            });
        }
    }

    const DfTask& task_;
    Partition partition_;
    EndConditions<T> ends_;
    int64_t cells_, tiles_;
    bool periodic_;
};

}  // namespace ozk::df
