// Quadratic splines.
//
// Default: one continuous derivative, breaks at the knots; the slope at the left end determines all others,
// which are carried from cell to cell.
//
// Subbotin: one continuous derivative, breaks between the knots. With a = distance from knot i to the break
// of cell i, b = from there to knot i + 1, h = a + b, s the secant, and q the leading coefficients, the two
// pieces of a cell meet with equal value and slope when the slopes at its knots are
//     m[i] = s - (q[i] (a a + 2 a b) + q[i+1] b b) / h,    m[i+1] = s + (q[i] a a + q[i+1] (b b + 2 a b)) /
//     h.
// Equating both at each inner knot gives a tridiagonal system for q, diagonally dominant by columns.

#include "df/construction.hpp"
#include "df/subbotin.hpp"
#include "df/tridiagonal_spline.hpp"

namespace ozk::df {
namespace {

template <class T>
int default_quadratic(const DfTask& task, const OzkThreading* threading) {
    if (task.boundary_type != kDfBoundaryQuadraticFirst) return kDfErrorBoundaryType;
    if (!task.boundary) return kDfErrorNullBoundary;
    if (int status = check_arrays<T>(task)) return status;
    const T first_slope = *static_cast<const T*>(task.boundary);
    return with_partition<T>(task, [&](auto partition) -> int {
        return for_each_function<T>(task, threading, [&](auto y, T* coefficients, int64_t) {
            T slope = first_slope;
            for (int64_t i = 0; i + 1 < partition.nx; ++i) {
                const T h = partition.step(i), s = (y[i + 1] - y[i]) / h;
                coefficients[3 * i] = y[i];
                coefficients[3 * i + 1] = slope;
                coefficients[3 * i + 2] = (s - slope) / h;
                slope = T(2) * s - slope;
            }
        });
    });
}

template <class T, class Partition>
class SubbotinQuadratic {
  public:
    SubbotinQuadratic(const DfTask& task, const Partition& partition, const EndConditions<T>& ends)
        : partition_(partition),
          breaks_(task),
          ends_(ends),
          cells_(partition.nx - 1),
          periodic_(ends.left == EndCondition::kPeriodic),
          line_(ends.left == EndCondition::kNotAKnot && cells_ == 1),
          system_(periodic_ ? cells_ : partition.nx, periodic_) {}

    int prepare() {
        for (int64_t i = 0; i < cells_; ++i) {
            const Cell c = cell(i);
            if (!(c.a > 0 && c.b > 0)) return kDfErrorArgument;  // the break is not inside
        }
        if (!system_.allocated()) return kDfErrorMemory;
        set_rows();
        return system_.factor_rows();
    }

    const TridiagonalSystem<T>& system() const { return system_; }

    T* unknowns(T* coefficients) const { return coefficients + 2 * partition_.nx; }

    template <class Values>
    void set_right_side(Values y, T* b) const {
        const T first = secant(y, 0);
        T before = first;
        for (int64_t i = 1; i < cells_; ++i) {
            const T s = secant(y, i);
            b[i] = s - before;
            before = s;
        }
        b[0] = periodic_                            ? first - before
               : ends_.left == EndCondition::kFirst ? first - ends_.left_value
                                                    : T(0.5) * ends_.left_value;
        b[cells_] =
            ends_.right == EndCondition::kFirst ? ends_.right_value - before : T(0.5) * ends_.right_value;
    }

    // Piece i is written over the elements 3 i .. 3 i + 2, and q[i + 1] stands behind those of the piece
    // before.
    template <class Values>
    void expand(Values y, T* coefficients) const {
        T* q = unknowns(coefficients);
        if (periodic_) q[cells_] = q[0];
        T here = q[0], slope_behind = 0;
        for (int64_t i = 0; i <= cells_; ++i) {
            T* piece = coefficients + 3 * i;
            T slope = slope_behind, next = 0;
            if (i < cells_) {
                const Cell c = cell(i);
                const T s = secant(y, i);
                next = q[i + 1];
                slope = s - (here * c.near_left() + next * c.far_right()) / c.h();
                slope_behind = s + (here * c.far_left() + next * c.near_right()) / c.h();
            }
            piece[0] = y[i];
            piece[1] = slope;
            piece[2] = here;
            here = next;
        }
    }

  private:
    struct Cell {
        T a, b;
        T h() const { return a + b; }
        T near_left() const { return a * (a + T(2) * b); }
        T far_left() const { return a * a; }
        T near_right() const { return b * (b + T(2) * a); }
        T far_right() const { return b * b; }
    };

    Cell cell(int64_t i) const {
        const auto knot = [this](int64_t j) { return partition_.knot(j); };
        const T middle = breaks_.at(i, knot);
        return {middle - knot(i), knot(i + 1) - middle};
    }

    template <class Values>
    T secant(Values y, int64_t i) const {
        return (y[i + 1] - y[i]) / (partition_.knot(i + 1) - partition_.knot(i));
    }

    void set_inner_row(int64_t i, int64_t before) {
        const Cell left = cell(before), right = cell(i);
        system_.set_row(i, left.far_left() / left.h(),
                        left.near_right() / left.h() + right.near_left() / right.h(),
                        right.far_right() / right.h());
    }

    void set_rows() {
        if (periodic_) {
            for (int64_t i = 0; i < cells_; ++i) set_inner_row(i, i == 0 ? cells_ - 1 : i - 1);
            return;
        }
        for (int64_t i = 1; i < cells_; ++i) set_inner_row(i, i - 1);
        const Cell first = cell(0), last = cell(cells_ - 1);
        switch (ends_.left) {
            case EndCondition::kFirst:
                system_.set_row(0, 0, first.near_left() / first.h(), first.far_right() / first.h());
                break;
            case EndCondition::kNotAKnot:
                system_.set_row(0, 0, 1, line_ ? T(0) : T(-1));
                break;
            default:
                system_.set_row(0, 0, 1, 0);
                break;
        }
        switch (ends_.right) {
            case EndCondition::kFirst:
                system_.set_row(cells_, last.far_left() / last.h(), last.near_right() / last.h(), 0);
                break;
            case EndCondition::kNotAKnot:
                system_.set_row(cells_, line_ ? T(0) : T(-1), 1, 0);
                break;
            default:
                system_.set_row(cells_, 0, 1, 0);
                break;
        }
    }

    Partition partition_;
    SubbotinBreaks<T> breaks_;
    EndConditions<T> ends_;
    int64_t cells_;
    bool periodic_;
    bool line_;  // two knots, not-a-knot: both conditions say the same, and the straight line is taken
    TridiagonalSystem<T> system_;
};

template <class T>
int subbotin_quadratic(const DfTask& task, const OzkThreading* threading) {
    if (!(task.internal_type & kDfInternalBreaks)) return kDfErrorInternalType;
    if (int status = check_cubic_boundary(task)) return status;
    if (int status = check_breaks(task)) return status;
    if (int status = check_arrays<T>(task)) return status;
    return with_partition<T>(task, [&](auto partition) -> int {
        SubbotinQuadratic<T, decltype(partition)> spline(task, partition, end_conditions<T>(task));
        return construct_tridiagonal_spline<T>(task, threading, spline);
    });
}

template <class T>
int quadratic(const DfTask* task, const OzkThreading* threading) {
    if (!task) return kDfErrorNullTask;
    if (!is_storage_hint(task->y_hint)) return kDfErrorValueHint;
    switch (task->type) {
        case kDfTypeDefault:
            return default_quadratic<T>(*task, threading);
        case kDfTypeSubbotin:
            return subbotin_quadratic<T>(*task, threading);
        default:
            return kDfErrorArgument;
    }
}

}  // namespace
}  // namespace ozk::df

OZK_DF_CONSTRUCTION(Quadratic, quadratic)
