// Rank test, repair and inversion of covariance matrices: the core's eigenvalues and Cholesky factors, and closed
// forms up to order 3.

#include "vsl/stats/covariance_inverse.hpp"

#include <bit>
#include <cmath>

#include "vsl/stats/sample.hpp"

namespace ozk::stats {
namespace {

// The bounds of the exported test: absolute ones, the lower of which is subnormal.
constexpr double kLeastVariance = std::bit_cast<double>(uint64_t{1000});
constexpr RankBounds kAbsoluteBounds = {1e-15, kLeastVariance};

template <class Real>
struct Lapack;
template <>
struct Lapack<float> {
    static constexpr auto eigenvalues = ozk_lapack_ssyev;
    static constexpr auto factor = ozk_lapack_spotrf;
    static constexpr auto invert = ozk_lapack_spotri;
};
template <>
struct Lapack<double> {
    static constexpr auto eigenvalues = ozk_lapack_dsyev;
    static constexpr auto factor = ozk_lapack_dpotrf;
    static constexpr auto invert = ozk_lapack_dpotri;
};

template <class Real>
using Inverter = int (*)(int64_t p, Real* a, Real& log_determinant);

template <class Real>
int invert_1(int64_t, Real* a, Real& log_determinant) {
    log_determinant = std::log(a[0]);
    a[0] = 1 / a[0];
    return kOzkStatsOk;
}

template <class Real>
int invert_2(int64_t, Real* a, Real& log_determinant) {
    const Real determinant = a[0] * a[3] - a[1] * a[1];
    const Real d = 1 / determinant, first = a[0];
    log_determinant = std::log(determinant);
    a[0] = a[3] * d;
    a[1] = -a[1] * d;
    a[3] = first * d;
    return kOzkStatsOk;
}

template <class Real>
int invert_3(int64_t, Real* a, Real& log_determinant) {
    const Real a11 = a[0], a21 = a[1], a31 = a[2], a22 = a[4], a32 = a[5], a33 = a[8];
    const Real c11 = a22 * a33 - a32 * a32, c21 = a31 * a32 - a21 * a33, c31 = a21 * a32 - a22 * a31;
    const Real determinant = a11 * c11 + a21 * c21 + a31 * c31;
    const Real d = 1 / determinant;
    log_determinant = std::log(determinant);
    a[0] = c11 * d;
    a[1] = c21 * d;
    a[2] = c31 * d;
    a[4] = (a11 * a33 - a31 * a31) * d;
    a[5] = (a21 * a31 - a11 * a32) * d;
    a[8] = (a11 * a22 - a21 * a21) * d;
    return kOzkStatsOk;
}

template <class Real>
int invert_by_factor(int64_t p, Real* a, Real& log_determinant) {
    int64_t info = 0;
    Lapack<Real>::factor("L", &p, a, &p, &info, 1);
    if (info != 0) return kOzkStatsErrorFactorization;
    log_determinant = 0;
    for (int64_t i = 0; i < p; ++i) log_determinant += 2 * std::log(a[i * p + i]);
    Lapack<Real>::invert("L", &p, a, &p, &info, 1);
    return info != 0 ? kOzkStatsErrorInversion : kOzkStatsOk;
}

template <class Real>
int test_exported(int64_t p, Real* matrix) {
    bool repaired;
    if (p == 1) return test_rank(p, matrix, kAbsoluteBounds, static_cast<Real*>(nullptr), repaired);
    const Allocation work(kRankWork * p * static_cast<int64_t>(sizeof(Real)));
    return work ? test_rank(p, matrix, kAbsoluteBounds, work.at<Real>(), repaired) : kOzkStatsErrorMemory;
}

template <class Real>
int invert_exported(int64_t p, Real* matrix) {
    Real unused;
    const int status = invert_covariance(p, matrix, unused);
    if (status == kOzkStatsErrorFactorization) ozk_serv_deallocate(matrix);
    return status;
}

}  // namespace

template <class Real>
int test_rank(int64_t p, Real* matrix, const RankBounds& bounds, Real* memory, bool& repaired) {
    repaired = false;
    if (p == 1) {
        const double a = static_cast<double>(matrix[0]);
        if (a > 0) return kOzkStatsOk;
        if (!(a >= -kLeastVariance)) return kOzkStatsErrorSingularCovariance;
        matrix[0] = static_cast<Real>(kLeastVariance);
        repaired = true;
        return kOzkStatsOk;
    }
    Real* const eigenvalues = memory;
    Real* const diagonal = eigenvalues + p;
    Real* const work = diagonal + p;
    const int64_t work_size = 3 * p;
    int64_t info = 0;
    for (int64_t i = 0; i < p; ++i) diagonal[i] = matrix[i * (p + 1)];
    Lapack<Real>::eigenvalues("N", "U", &p, matrix, &p, eigenvalues, work, &work_size, &info, 1, 1);
    for (int64_t i = 0; i < p; ++i) matrix[i * (p + 1)] = diagonal[i];
    if (info != 0) return kOzkStatsErrorEigenvalues;
    if (static_cast<double>(eigenvalues[0]) > bounds.full) return kOzkStatsOk;
    for (int64_t k = 1; k < p; ++k) {
        if (!(static_cast<double>(eigenvalues[k]) >= bounds.least)) continue;
        for (int64_t i = 0; i < p; ++i) matrix[i * (p + 1)] += static_cast<Real>(0.01) * eigenvalues[k];
        repaired = true;
        return kOzkStatsOk;
    }
    return kOzkStatsErrorSingularCovariance;
}

template <class Real>
int invert_covariance(int64_t p, Real* matrix, Real& log_determinant) {
    static constexpr Inverter<Real> kClosedForms[] = {nullptr, invert_1<Real>, invert_2<Real>,
                                                      invert_3<Real>};
    return p < 4 ? kClosedForms[p](p, matrix, log_determinant) : invert_by_factor(p, matrix, log_determinant);
}

template int test_rank(int64_t, float*, const RankBounds&, float*, bool&);
template int test_rank(int64_t, double*, const RankBounds&, double*, bool&);
template int invert_covariance(int64_t, float*, float&);
template int invert_covariance(int64_t, double*, double&);

}  // namespace ozk::stats

extern "C" {

int __vsldTestCovRank(int64_t p, double* matrix) { return ozk::stats::test_exported(p, matrix); }
int __vslsTestCovRank(int64_t p, float* matrix) { return ozk::stats::test_exported(p, matrix); }
int __vsldInvCov(int64_t p, double* matrix) { return ozk::stats::invert_exported(p, matrix); }
int __vslsInvCov(int64_t p, float* matrix) { return ozk::stats::invert_exported(p, matrix); }

}  // extern "C"
