// Integrals of one function between pairs of limits.
//
// The integral over a part [u, v] of a piece is (v - u) sum c[k] (v^k + v^(k-1) u + ... + u^k) / (k + 1): the
// width is a factor, so that a short part has a small error too. Whole pieces between the limits are summed
// with compensation, or, for more than a few pairs, taken from a table of such sums. Sums are kept in double
// precision.

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "df/memory.hpp"
#include "df/parallel.hpp"
#include "df/partition.hpp"
#include "df/precision.hpp"
#include "df/search.hpp"
#include "df/subbotin.hpp"
#include "ozk_df.h"

namespace ozk::df {
namespace {

// The pieces of which a spline is made: piece p is a polynomial with `order` coefficients in the distance
// from base(p), and reaches from edge(p) to edge(p + 1); the first and the last go on outside the partition.
// of_site(t, j) is the piece of site t, which lies in the cell behind knot j or outside next to it.

// One polynomial for each cell.
template <class T, class Partition>
struct PolynomialPieces {
    Partition partition;
    const T* c;
    int64_t order;

    PolynomialPieces(const DfTask& task, const Partition& owner, int64_t function)
        : partition(owner), c(static_cast<const T*>(task.coefficients[function])), order(task.order) {}

    int64_t count() const { return partition.nx - 1; }
    T edge(int64_t p) const { return partition.knot(p); }
    T base(int64_t p) const { return partition.knot(p); }
    const T* coefficients(int64_t p) const { return c + p * order; }
    int64_t of_site(T, int64_t cell) const { return cell; }
};

// One quadratic for each knot, between the breaks around it.
template <class T, class Partition>
struct SubbotinPieces {
    Partition partition;
    SubbotinBreaks<T> breaks;
    const T* c;
    static constexpr int64_t order = kDfOrderQuadratic;

    SubbotinPieces(const DfTask& task, const Partition& owner, int64_t function)
        : partition(owner), breaks(task), c(static_cast<const T*>(task.coefficients[function])) {}

    T break_of(int64_t cell) const {
        return breaks.at(cell, [this](int64_t j) { return partition.knot(j); });
    }
    int64_t count() const { return partition.nx; }
    T edge(int64_t p) const {
        if (p == 0) return partition.knot(0);
        return p < partition.nx ? break_of(p - 1) : partition.right();
    }
    T base(int64_t p) const { return partition.knot(p); }
    const T* coefficients(int64_t p) const { return c + p * order; }
    int64_t of_site(T t, int64_t cell) const { return cell + (t >= break_of(cell)); }
};

// One constant for each knot, over the cell behind it (kAhead 1) or before it (kAhead 0). The cell beyond the
// end of the partition has no width.
template <class T, class Partition, int kAhead>
struct StepPieces {
    Partition partition;
    const T* y;
    int64_t stride;
    static constexpr int64_t order = kDfOrderConstant;

    StepPieces(const DfTask& task, const Partition& owner, int64_t function)
        : partition(owner),
          y(static_cast<const T*>(task.y_hint == kDfStorageColumns ? task.y[0] : task.y[function])),
          stride(1) {
        if (task.y_hint == kDfStorageColumns) {
            y += function;
            stride = task.ny;
        }
    }

    int64_t count() const { return partition.nx; }
    T edge(int64_t p) const {
        const int64_t knot = p - 1 + kAhead;
        return partition.knot(std::min(std::max<int64_t>(knot, 0), partition.nx - 1));
    }
    T base(int64_t p) const { return edge(p); }
    const T* coefficients(int64_t p) const { return y + p * stride; }
    int64_t of_site(T t, int64_t cell) const {
        if (kAhead) return cell + (t >= partition.right());
        return t <= partition.knot(0) ? 0 : cell + 1;
    }
};

// The sum of many terms with an error of about one rounding. Neumaier, ZAMM 54 (1974).
class CompensatedSum {
  public:
    void add(double term) {
        const double sum = sum_ + term;
        error_ += std::fabs(sum_) >= std::fabs(term) ? (sum_ - sum) + term : (term - sum) + sum_;
        sum_ = sum;
    }
    double value() const { return sum_ + error_; }

  private:
    double sum_ = 0, error_ = 0;
};

template <class T, class Pieces>
class Integrator {
  public:
    explicit Integrator(const Pieces& pieces) : pieces_(pieces) {}

    // Sums for every piece, with memory for count() + 1 elements.
    void use_table(double* table) {
        CompensatedSum sum;
        for (int64_t p = 0; p < pieces_.count(); ++p) {
            table[p] = sum.value();
            sum.add(whole(p));
        }
        table[pieces_.count()] = sum.value();
        table_ = table;
    }

    // left <= right; j are the left knots of their cells.
    double integral(T left, int64_t left_j, T right, int64_t right_j) const {
        const int64_t first = pieces_.of_site(left, left_j), last = pieces_.of_site(right, right_j);
        if (first >= last) return part(first, left, right);
        CompensatedSum sum;
        sum.add(part(first, left, pieces_.edge(first + 1)));
        if (table_) {
            sum.add(table_[last] - table_[first + 1]);
        } else {
            for (int64_t p = first + 1; p < last; ++p) sum.add(whole(p));
        }
        sum.add(part(last, pieces_.edge(last), right));
        return sum.value();
    }

  private:
    double whole(int64_t p) const { return part(p, pieces_.edge(p), pieces_.edge(p + 1)); }

    double part(int64_t p, T left, T right) const {
        const double base = pieces_.base(p), u = left - base, v = right - base;
        const T* c = pieces_.coefficients(p);
        double sum = c[0], mixed = 1, power = 1;
        for (int64_t k = 1; k < pieces_.order; ++k) {
            power *= v;
            mixed = mixed * u + power;
            sum += static_cast<double>(c[k]) * mixed / static_cast<double>(k + 1);
        }
        return (static_cast<double>(right) - static_cast<double>(left)) * sum;
    }

    Pieces pieces_;
    const double* table_ = nullptr;
};

template <class T>
struct Integration {
    const DfTask& task;
    const OzkThreading* threading;
    int64_t function;
    int64_t npair;
    const T* left;
    const T* right;
    T* result;
    typename Precision<T>::IntegralCallbacks callbacks;
};

// The integral over left <= right, of which the callbacks give the parts outside the ends.
template <class T, class Pieces>
int integrate_pair(const Integration<T>& call, const Integrator<T, Pieces>& integrator, T first_knot,
                   T last_knot, T left, int64_t left_j, T right, int64_t right_j, double& result) {
    const auto& callbacks = call.callbacks;
    double outside = 0;
    const auto ask = [&outside](auto callback, void* parameters, T from, T to) -> int {
        T value = 0;
        const int status = callback(1, &from, &to, &value, parameters);
        outside += value;
        return status < 0 ? status : kDfOk;
    };
    if (callbacks.left && left < first_knot) {
        const T end = std::min(right, first_knot);
        if (int status = ask(callbacks.left, callbacks.left_parameters, left, end)) return status;
        left = end;
    }
    if (callbacks.right && right > last_knot) {
        const T begin = std::max(left, last_knot);
        if (int status = ask(callbacks.right, callbacks.right_parameters, begin, right)) return status;
        right = begin;
    }
    result = outside + (left < right ? integrator.integral(left, left_j, right, right_j) : 0);
    return kDfOk;
}

template <class T, class Partition, class Pieces>
int integrate_pieces(const Integration<T>& call, const Partition& partition, const Pieces& pieces) {
    constexpr int64_t kFewPairs = 4, kBlock = 256, kPairsPerRun = 4096;
    static_assert(kPairsPerRun % kBlock == 0);
    Integrator<T, Pieces> integrator(pieces);
    const bool tabulate = call.npair > kFewPairs;
    ScopedArray<double> table(tabulate ? pieces.count() + 1 : 0);
    if (!table.data) return kDfErrorMemory;
    if (tabulate) integrator.use_table(table.data);

    const auto do_block = [&](int64_t first, int64_t count) -> int {
        int64_t left_cell[kBlock], right_cell[kBlock];
        find_cells(call.task, kDfSitesNoHint, count, call.left + first, left_cell);
        find_cells(call.task, kDfSitesNoHint, count, call.right + first, right_cell);
        for (int64_t i = 0; i < count; ++i) {
            T left = call.left[first + i], right = call.right[first + i];
            int64_t left_j = left_knot(left_cell[i], partition.nx),
                    right_j = left_knot(right_cell[i], partition.nx);
            const bool swapped = right < left;
            if (swapped) {
                std::swap(left, right);
                std::swap(left_j, right_j);
            }
            double value = left + right;  // a NaN where a limit is one
            if (left <= right) {
                const int status = integrate_pair(call, integrator, partition.knot(0), partition.right(),
                                                  left, left_j, right, right_j, value);
                if (status) return status;
            }
            call.result[first + i] = static_cast<T>(swapped ? -value : value);
        }
        return kDfOk;
    };
    const bool own_work = !call.callbacks.left && !call.callbacks.right;
    const int64_t runs = (call.npair + kPairsPerRun - 1) / kPairsPerRun;
    const int64_t threads = own_work ? useful_threads(call.threading, runs, call.npair) : 1;
    return parallel_for(call.threading, runs, threads, [&](int64_t run) -> int {
        const int64_t end = std::min(call.npair, (run + 1) * kPairsPerRun);
        for (int64_t first = run * kPairsPerRun; first < end; first += kBlock) {
            if (int status = do_block(first, std::min(kBlock, end - first))) return status;
        }
        return kDfOk;
    });
}

template <class T>
int integrate_kind(const Integration<T>& call) {
    const DfTask& task = call.task;
    return with_partition<T>(task, [&](auto partition) -> int {
        using Partition = decltype(partition);
        const auto integrate_as = [&]<class Pieces>(int missing) -> int {
            return missing ? missing
                           : integrate_pieces(call, partition, Pieces(task, partition, call.function));
        };
        const int no_values = check_function_values(task, call.function);
        const int no_coefficients = check_function_coefficients(task, call.function);
        if (task.order < kDfOrderConstant) return kDfErrorOrder;
        if (task.order == kDfOrderConstant) {
            if (task.type == kDfTypeStepRight)
                return integrate_as.template operator()<StepPieces<T, Partition, 1>>(no_values);
            if (task.type == kDfTypeStepLeft)
                return integrate_as.template operator()<StepPieces<T, Partition, 0>>(no_values);
            return kDfErrorType;
        }
        if (task.order == kDfOrderQuadratic && task.type == kDfTypeSubbotin) {
            if (int status = check_breaks(task)) return status;
            return integrate_as.template operator()<SubbotinPieces<T, Partition>>(no_coefficients);
        }
        return integrate_as.template operator()<PolynomialPieces<T, Partition>>(no_coefficients);
    });
}

template <class T>
int integrate(const DfTask* task, const OzkThreading* threading, int64_t function, int64_t npair,
              const T* left, const T* right, T* result,
              const typename Precision<T>::IntegralCallbacks* callbacks) {
    if (!task) return kDfErrorNullTask;
    if (npair < 1) return kDfOk;
    if (function < 0 || function >= task->ny) return kDfErrorFunctionIndex;
    if (!left || !right) return kDfErrorNullSites;
    if (!result) return kDfErrorNullResult;
    return integrate_kind(
        Integration<T>{*task, threading, function, npair, left, right, result,
                       callbacks ? *callbacks : typename Precision<T>::IntegralCallbacks{}});
}

}  // namespace
}  // namespace ozk::df

#define OZK_DF_INTEGRATE(p, T)                                                                           \
    int ozk_df_kernel_##p##DFIntegrate1D(const DfTask* task, const OzkThreading* threading,              \
                                         int64_t function, int64_t npair, const T* left, const T* right, \
                                         T* result, const Df##p##IntegralCallbacks* callbacks) {         \
        return ozk::df::integrate(task, threading, function, npair, left, right, result, callbacks);     \
    }
OZK_DF_INTEGRATE(s, float)
OZK_DF_INTEGRATE(d, double)
