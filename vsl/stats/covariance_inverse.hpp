// Rank test and inversion of a covariance matrix, p by p by columns. The lower triangle is what counts.
#pragma once

#include <cstdint>
#include <limits>

#include "ozk_stats.h"

namespace ozk::stats {

// What the rank test takes for zero.
struct RankBounds {
    double full;   // smallest eigenvalues above it need no repair
    double least;  // the diagonal grows by a hundredth of the first eigenvalue that is at least this
};

// Whether an eigenvalue vanishes in the rounding of a matrix whose trace is `trace`.
inline RankBounds rank_bounds(int64_t p, double trace) {
    const double vanishing = 0x1p-51 * static_cast<double>(p) * trace;
    return {vanishing, std::numeric_limits<double>::min() + vanishing};
}

// kOzkStatsOk, kOzkStatsErrorSingularCovariance or kOzkStatsErrorEigenvalues. `repaired` tells whether the diagonal
// was lifted. work: kRankWork p reals, for p = 1 none.
inline constexpr int64_t kRankWork = 5;
template <class Real>
int test_rank(int64_t p, Real* matrix, const RankBounds& bounds, Real* work, bool& repaired);

// Replaces the lower triangle by that of the inverse: kOzkStatsOk, kOzkStatsErrorFactorization or
// kOzkStatsErrorInversion. log_determinant is that of the matrix, NaN where it has no positive determinant.
template <class Real>
int invert_covariance(int64_t p, Real* matrix, Real& log_determinant);

extern template int test_rank(int64_t, float*, const RankBounds&, float*, bool&);
extern template int test_rank(int64_t, double*, const RankBounds&, double*, bool&);
extern template int invert_covariance(int64_t, float*, float&);
extern template int invert_covariance(int64_t, double*, double&);

}  // namespace ozk::stats
