// Tridiagonal systems of spline slopes, also closed to a ring: factored once, solved for any number of
// right-hand sides. The matrices are diagonally dominant by rows or columns, so no pivoting is needed.
#pragma once

#include <cstdint>

#include "df/memory.hpp"
#include "ozk_df.h"
#include "ozk_solvers.h"

namespace ozk::df {

inline void factor(int32_t n, float* sub, float* diagonal, float* super, int32_t* info) {
    sdttrfb_4dfl(&n, sub, diagonal, super, info);
}
inline void factor(int32_t n, double* sub, double* diagonal, double* super, int32_t* info) {
    ddttrfb_4dfl(&n, sub, diagonal, super, info);
}
inline void solve(int32_t n, int32_t columns, const float* sub, const float* diagonal, const float* super,
                  float* b, int32_t stride, int32_t* info) {
    sdttrsb_4dfl("N", &n, &columns, sub, diagonal, super, b, &stride, info);
}
inline void solve(int32_t n, int32_t columns, const double* sub, const double* diagonal, const double* super,
                  double* b, int32_t stride, int32_t* info) {
    ddttrsb_4dfl("N", &n, &columns, sub, diagonal, super, b, &stride, info);
}

// Row i reads sub * x[i-1] + diagonal * x[i] + super * x[i+1] = b[i]. In a ring the sub-diagonal of row 0
// stands for x[n-1] and the super-diagonal of row n-1 for x[0].
template <class T>
class TridiagonalSystem {
  public:
    // Work memory: 3 n elements, 4 n for a ring.
    TridiagonalSystem(int64_t n, bool ring)
        : n_(n), ring_(ring && n > 2), memory_(memory_size(n, ring && n > 2)) {
        if (!memory_.data) return;
        sub_ = memory_.data;
        diagonal_ = sub_ + n;
        super_ = diagonal_ + n;
        correction_ = super_ + n;
    }

    bool allocated() const { return memory_.data != nullptr; }

    void set_row(int64_t i, T sub, T diagonal, T super) {
        if (i == 0)
            first_sub_ = sub;
        else
            sub_[i - 1] = sub;
        diagonal_[i] = diagonal;
        super_[i] = super;
    }

    // Once all rows are set. kDfErrorArgument when the system has no solution, or no solver is there.
    int factor_rows() {
        close_ring();
        if (n_ > INT32_MAX) return kDfErrorArgument;
        int32_t info = kNotCalled;
        factor(static_cast<int32_t>(n_), sub_, diagonal_, super_, &info);
        if (info != 0) return kDfErrorArgument;
        if (ring_) {
            info = kNotCalled;
            solve(static_cast<int32_t>(n_), 1, sub_, diagonal_, super_, correction_, static_cast<int32_t>(n_),
                  &info);
            if (info != 0) return kDfErrorArgument;
            inverse_ = T(1) / (T(1) + correction_[0] + corner_ * correction_[n_ - 1]);
        }
        return kDfOk;
    }

    // Overwrites the right-hand side b by the solution. Any number of threads may solve at once.
    void solve_for(T* b) const { solve_for(b, 1, static_cast<int32_t>(n_)); }

    // The same for `columns` right-hand sides, one each `stride` elements, with the same bits.
    void solve_for(T* b, int32_t columns, int32_t stride) const {
        int32_t info = 0;
        solve(static_cast<int32_t>(n_), columns, sub_, diagonal_, super_, b, stride, &info);
        if (!ring_) return;
        for (int32_t column = 0; column < columns; ++column, b += stride) {
            const T share = (b[0] + corner_ * b[n_ - 1]) * inverse_;
            for (int64_t i = 0; i < n_; ++i) b[i] -= share * correction_[i];
        }
    }

  private:
    // Of a ring of two knots both neighbours of a knot are the other one.
    void close_ring() {
        if (n_ == 2) {
            super_[0] += first_sub_;
            sub_[0] += super_[1];
        }
        if (!ring_) return;
        // Sherman and Morrison: the ring is the tridiagonal matrix with changed ends plus u v', where
        // u = (-d, 0, ..., 0, last super), v = (1, 0, ..., 0, -first sub / d), d the first diagonal.
        const T d = diagonal_[0], last_super = super_[n_ - 1];
        corner_ = -first_sub_ / d;
        diagonal_[0] += d;
        diagonal_[n_ - 1] -= last_super * corner_;
        for (int64_t i = 0; i < n_; ++i) correction_[i] = 0;
        correction_[0] = -d;
        correction_[n_ - 1] = last_super;
    }

    static constexpr int32_t kNotCalled = INT32_MIN;

    static int64_t memory_size(int64_t n, bool ring) { return n > INT64_MAX / 4 ? -1 : (ring ? 4 : 3) * n; }

    int64_t n_;
    bool ring_;
    ScopedArray<T> memory_;
    T *sub_ = nullptr, *diagonal_ = nullptr, *super_ = nullptr, *correction_ = nullptr;
    T first_sub_ = 0, corner_ = 0, inverse_ = 0;
};

}  // namespace ozk::df
