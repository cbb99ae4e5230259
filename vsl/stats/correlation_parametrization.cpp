// A valid correlation matrix near one that is not positive definite.
//
// Method: spectral decomposition R = B L B', eigenvalues below a small positive bound raised to it, rows of
// B sqrt(L) scaled to length 1, times the transpose. R. Rebonato and P. Jaeckel, "The most general methodology
// to create a valid correlation matrix for risk management and option pricing purposes", Journal of Risk 2
// (1999). All in double precision.

#include <cmath>
#include <limits>

#include "ozk_stats.h"
#include "vsl/stats/basic.hpp"
#include "vsl/stats/sample.hpp"

namespace ozk::stats {
namespace {

int estimate(OzkStatsTask* task, uint32_t method, bool single) {
    if (task == nullptr) return kOzkStatsErrorTask;
    if (task->dimension == nullptr) return kOzkStatsErrorDimension;
    const int64_t p = read_integer(*task, task->dimension);
    if (p < 1) return kOzkStatsErrorDimension;
    if (task->correlation == nullptr) return kOzkStatsErrorCorrelation;
    Matrix input = {task->correlation, single, 0, p}, output = {task->parametrized_correlation, single, 0, p};
    if (const int status = check_matrix_storage(*task, task->correlation_storage, input.storage))
        return status;
    if (task->parametrized_correlation == nullptr) return kOzkStatsErrorParametrizedCorrelation;
    if (const int status =
            check_matrix_storage(*task, task->parametrized_correlation_storage, output.storage))
        return status;
    if ((method & kOzkStatsFast) == 0) return kOzkStatsErrorMethod;

    const int64_t work_size = 34 * p;
    const Allocation memory((2 * p * p + p + work_size) * static_cast<int64_t>(sizeof(double)));
    if (!memory) return kOzkStatsErrorMemory;
    double* const vectors = memory.at<double>();
    double* const result = vectors + p * p;
    double* const eigenvalues = result + p * p;
    double* const work = eigenvalues + p;
    for (int64_t k = 0; k < p; ++k)
        for (int64_t i = k; i < p; ++i) {
            const double value = input.get(i, k);
            if (!std::isfinite(value)) return kOzkStatsErrorEigenvalues;
            vectors[k * p + i] = value;
        }
    int64_t info = 0;
    ozk_lapack_dsyev("V", "L", &p, vectors, &p, eigenvalues, work, &work_size, &info, 1, 1);
    if (info != 0) return kOzkStatsErrorEigenvalues;

    // What the result's own rounding can take from an eigenvalue.
    const double unit =
        single ? std::numeric_limits<float>::epsilon() : std::numeric_limits<double>::epsilon();
    const double bound = static_cast<double>(p) * unit * std::fmax(eigenvalues[p - 1], 1);
    for (int64_t k = 0; k < p; ++k) {
        const double root = std::sqrt(std::fmax(eigenvalues[k], bound));
        for (int64_t i = 0; i < p; ++i) vectors[k * p + i] *= root;
    }
    for (int64_t i = 0; i < p; ++i) {
        double length = 0;
        for (int64_t k = 0; k < p; ++k) length += vectors[k * p + i] * vectors[k * p + i];
        length = std::sqrt(length);
        for (int64_t k = 0; k < p; ++k) vectors[k * p + i] /= length;
    }
    const double one = 1, zero = 0;
    ozk_blas_xdsyrk("L", "N", &p, &p, &one, vectors, &p, &zero, result, &p, 1, 1);
    for (int64_t k = 0; k < p; ++k)
        for (int64_t i = k; i < p; ++i) output.set(i, k, i == k ? 1 : result[k * p + i]);
    return kOzkStatsOk;
}

}  // namespace
}  // namespace ozk::stats

extern "C" {

int _vsldSSCorrelationParametrization(OzkStatsTask* task, uint64_t, uint32_t method, const OzkThreading*) {
    return ozk::stats::estimate(task, method, false);
}

int _vslsSSCorrelationParametrization(OzkStatsTask* task, uint64_t, uint32_t method, const OzkThreading*) {
    return ozk::stats::estimate(task, method, true);
}

}  // extern "C"
