// Covariance and correlation of some components when the influence of others is taken out.
//
// S_yy - S_yx S_xx^-1 S_xy through the Cholesky factor L of S_xx: with Z = L^-1 S_xy the result is S_yy - Z'Z,
// which keeps it symmetric. All in double precision. T. W. Anderson, "An Introduction to Multivariate
// Statistical Analysis", 3rd ed. (2003), 2.5.

#include <cmath>

#include "ozk_stats.h"
#include "vsl/stats/basic.hpp"
#include "vsl/stats/sample.hpp"

namespace ozk::stats {
namespace {

struct Partial {
    int64_t p = 0;
    int64_t given = 0, wanted = 0;  // how many components have index -1, how many 1
    Matrix input = {};
    Matrix covariance = {}, correlation = {};  // values null: not asked for

    int check(const OzkStatsTask* task, uint64_t estimates, uint32_t method, bool single) {
        if (task == nullptr) return kOzkStatsErrorTask;
        if (task->dimension == nullptr) return kOzkStatsErrorDimension;
        p = read_integer(*task, task->dimension);
        if (p < 1) return kOzkStatsErrorDimension;
        if (task->partial_indices == nullptr) return kOzkStatsErrorPartialIndices;
        for (int64_t i = 0; i < p; ++i) {
            const int64_t role = read_integer(*task, task->partial_indices, i);
            if (role < -1 || role > 1) return kOzkStatsErrorPartialIndices;
            given += role == -1;
            wanted += role == 1;
        }
        if (wanted == 0) return kOzkStatsErrorPartialIndices;
        const bool from_covariance = task->covariance != nullptr;
        if (!from_covariance && task->correlation == nullptr) return kOzkStatsErrorCovariance;
        input = {from_covariance ? task->covariance : task->correlation, single, 0, p};
        if (const int status = check_matrix_storage(
                *task, from_covariance ? task->covariance_storage : task->correlation_storage, input.storage))
            return status;
        if ((estimates & kOzkStatsPartialCovariance) != 0) {
            if (task->partial_covariance == nullptr) return kOzkStatsErrorPartialCovariance;
            covariance = {task->partial_covariance, single, 0, wanted};
            if (const int status =
                    check_matrix_storage(*task, task->partial_covariance_storage, covariance.storage))
                return status;
        }
        if ((estimates & kOzkStatsPartialCorrelation) != 0) {
            if (task->partial_correlation == nullptr) return kOzkStatsErrorPartialCorrelation;
            correlation = {task->partial_correlation, single, 0, wanted};
            if (const int status =
                    check_matrix_storage(*task, task->partial_correlation_storage, correlation.storage))
                return status;
        }
        return (method & kOzkStatsFast) != 0 ? kOzkStatsOk : kOzkStatsErrorMethod;
    }

    // Element i, k of the input in any order.
    double element(int64_t i, int64_t k) const { return i >= k ? input.get(i, k) : input.get(k, i); }
};

int estimate(OzkStatsTask* task, uint64_t estimates, uint32_t method, bool single) {
    Partial partial;
    if (const int status = partial.check(task, estimates, method, single)) return status;
    const int64_t x = partial.given, y = partial.wanted;
    const Allocation memory((x * x + x * y + y * y) * static_cast<int64_t>(sizeof(double)) +
                            (x + y) * static_cast<int64_t>(sizeof(int64_t)));
    if (!memory) return kOzkStatsErrorMemory;
    // By columns: the factor of S_xx, S_xy that becomes Z, and the result.
    double* const factor = memory.at<double>();
    double* const z = factor + x * x;
    double* const result = z + x * y;
    int64_t* const givens = reinterpret_cast<int64_t*>(result + y * y);
    int64_t* const wanteds = givens + x;
    for (int64_t i = 0, g = 0, w = 0; i < partial.p; ++i) {
        const int64_t role = read_integer(*task, task->partial_indices, i);
        if (role == -1) givens[g++] = i;
        if (role == 1) wanteds[w++] = i;
    }
    for (int64_t k = 0; k < y; ++k)
        for (int64_t i = 0; i < y; ++i) result[k * y + i] = partial.element(wanteds[i], wanteds[k]);
    if (x > 0) {
        for (int64_t k = 0; k < x; ++k)
            for (int64_t i = 0; i < x; ++i) factor[k * x + i] = partial.element(givens[i], givens[k]);
        for (int64_t k = 0; k < y; ++k)
            for (int64_t i = 0; i < x; ++i) z[k * x + i] = partial.element(givens[i], wanteds[k]);
        const double one = 1, minus_one = -1;
        int64_t info = 0;
        ozk_lapack_dpotrf("L", &x, factor, &x, &info, 1);
        if (info != 0) return kOzkStatsErrorSingularCovariance;
        ozk_lapack_dtrtri("L", "N", &x, factor, &x, &info, 1, 1);
        if (info != 0) return kOzkStatsErrorSingularCovariance;
        ozk_blas_xdtrmm("L", "L", "N", "N", &x, &y, &one, factor, &x, z, &x, 1, 1, 1, 1);
        ozk_blas_xdsyrk("L", "T", &y, &x, &minus_one, z, &x, &one, result, &y, 1, 1);
    }
    for (int64_t k = 0; k < y; ++k)
        for (int64_t i = k; i < y; ++i) {
            const double value = result[k * y + i];
            if (partial.covariance.values != nullptr) partial.covariance.set(i, k, value);
            if (partial.correlation.values == nullptr) continue;
            const double a = std::sqrt(result[i * y + i]), b = std::sqrt(result[k * y + k]);
            const double ratio = i == k ? a / b : value / a / b;
            partial.correlation.set(i, k, ratio > 1 ? 1 : ratio < -1 ? -1 : ratio);
        }
    return kOzkStatsOk;
}

}  // namespace
}  // namespace ozk::stats

extern "C" {

int _vsldSSPartialCovariance(OzkStatsTask* task, uint64_t estimates, uint32_t method, const OzkThreading*) {
    return ozk::stats::estimate(task, estimates, method, false);
}

int _vslsSSPartialCovariance(OzkStatsTask* task, uint64_t estimates, uint32_t method, const OzkThreading*) {
    return ozk::stats::estimate(task, estimates, method, true);
}

}  // extern "C"
