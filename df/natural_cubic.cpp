// Natural cubic spline: two continuous derivatives.
//
// Unknown are the slopes at the knots. The row of an inner knot says that the second derivative is continuous
// there, the end rows state the end conditions (de Boor, "A Practical Guide to Splines", chapter IV). The
// matrix depends on the partition alone: it is factored once, in splines of many knots tile by tile.

#include <algorithm>

#include "df/construction.hpp"
#include "df/natural_cubic_rows.hpp"
#include "df/natural_cubic_tiles.hpp"
#include "df/tridiagonal_spline.hpp"
#include "ozk_df.h"

namespace ozk::df {
namespace {

template <class T, class Partition>
class NaturalCubic {
  public:
    NaturalCubic(const Partition& partition, const EndConditions<T>& ends)
        : partition_(partition),
          ends_(ends),
          cells_(partition.nx - 1),
          periodic_(ends.left == EndCondition::kPeriodic),
          parabola_(ends.left == EndCondition::kNotAKnot && partition.nx == 3),
          system_(periodic_ ? cells_ : partition.nx, periodic_) {}

    int prepare() {
        if (!system_.allocated()) return kDfErrorMemory;
        set_rows();
        return system_.factor_rows();
    }

    const TridiagonalSystem<T>& system() const { return system_; }

    T* unknowns(T* coefficients) const { return coefficients + 4 * cells_ - partition_.nx; }

    template <class Values>
    void set_right_side(Values y, T* b) const {
        if (parabola_) return set_parabola_slopes(y, b);
        const int64_t n = cells_;
        const auto secant = [&](int64_t i) { return (y[i + 1] - y[i]) / step(i); };
        T step_before = step(0), secant_before = secant(0);
        b[0] = left_row(secant_before, n > 1 ? secant(1) : T(0)).side;
        for (int64_t i = 1; i < n; ++i) {
            const T h = step(i), s = secant(i);
            b[i] = T(3) * (h * secant_before + step_before * s);
            if (i == n - 1) b[n] = right_row(s, secant_before).side;
            step_before = h;
            secant_before = s;
        }
        if (n == 1) b[1] = right_row(secant_before, T(0)).side;
        if (periodic_) {
            const T h = step(0), s = secant(0);
            b[0] = T(3) * (h * secant_before + step_before * s);
        }
    }

    // Cell i is written over the elements 4 i .. 4 i + 3, and the slope at knot i + 2 stands behind them.
    template <class Values>
    void expand(Values y, T* coefficients) const {
        T* slope = unknowns(coefficients);
        if (periodic_) slope[cells_] = slope[0];
        T left = slope[0], right = slope[1];
        T value = y[0];
        for (int64_t i = 0; i < cells_; ++i) {
            const T next_slope = i + 1 < cells_ ? slope[i + 2] : right;
            const T next_value = y[i + 1];
            const T inverse_step = T(1) / partition_.step(i);
            write_cubic_cell(coefficients + 4 * i, value, (next_value - value) * inverse_step, inverse_step,
                             left, right);
            left = right;
            right = next_slope;
            value = next_value;
        }
    }

  private:
    T step(int64_t i) const { return partition_.step(i); }

    void set_rows() {
        if (periodic_) {
            for (int64_t i = 0; i < cells_; ++i) set_inner_row(i, i == 0 ? cells_ - 1 : i - 1);
            return;
        }
        if (parabola_) {  // the right-hand side holds the slopes themselves
            for (int64_t i = 0; i < 3; ++i) system_.set_row(i, 0, 1, 0);
            return;
        }
        for (int64_t i = 1; i < cells_; ++i) set_inner_row(i, i - 1);
        const EndRow<T> left = left_row(0, 0), right = right_row(0, 0);
        system_.set_row(0, 0, left.diagonal, left.neighbour);
        system_.set_row(cells_, right.neighbour, right.diagonal, 0);
    }

    // The row of knot i, which cell `before` and cell i meet at.
    void set_inner_row(int64_t i, int64_t before) {
        system_.set_row(i, step(i), T(2) * (step(before) + step(i)), step(before));
    }

    EndRow<T> left_row(T s0, T s1) const {
        return end_row(ends_.left, ends_.left_value, T(-1), step(0), step(std::min<int64_t>(1, cells_ - 1)),
                       s0, s1);
    }
    EndRow<T> right_row(T s_last, T s_before) const {
        return end_row(ends_.right, ends_.right_value, T(1), step(cells_ - 1),
                       step(std::max<int64_t>(cells_ - 2, 0)), s_last, s_before);
    }

    template <class Values>
    void set_parabola_slopes(Values y, T* slope) const {
        const T h0 = step(0), h1 = step(1);
        const T s0 = (y[1] - y[0]) / h0, s1 = (y[2] - y[1]) / h1;
        const T curvature = (s1 - s0) / (h0 + h1);
        slope[0] = s0 - h0 * curvature;
        slope[1] = s0 + h0 * curvature;
        slope[2] = s1 + h1 * curvature;
    }

    Partition partition_;
    EndConditions<T> ends_;
    int64_t cells_;
    bool periodic_, parabola_;
    TridiagonalSystem<T> system_;
};

template <class T>
int natural_cubic(const DfTask* task, const OzkThreading* threading, const void* reserved) {
    if (!task) return kDfErrorNullTask;
    if (reserved) return kDfErrorArgument;
    if (task->nx < (task->boundary_type == kDfBoundaryNotAKnot ? 3 : 2)) return kDfErrorTooFewKnots;
    if (!is_storage_hint(task->y_hint)) return kDfErrorValueHint;
    if (int status = check_cubic_boundary(*task)) return status;
    if (int status = check_arrays<T>(*task)) return status;
    return with_partition<T>(*task, [&](auto partition) -> int {
        if (task->nx >= kTiledFrom)
            return NaturalCubicTiles<T, decltype(partition)>(*task, partition).construct(threading);
        NaturalCubic<T, decltype(partition)> spline(partition, end_conditions<T>(*task));
        return construct_tridiagonal_spline<T>(*task, threading, spline);
    });
}

}  // namespace
}  // namespace ozk::df

OZK_DF_CONSTRUCTION(NaturalCubic, natural_cubic, reserved)
