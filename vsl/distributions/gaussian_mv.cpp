// The multivariate Gaussian distribution: x = T z + a, z standard Gaussian numbers of the chosen method and T the
// lower triangular factor of the covariance T T'.
//
// T stored by rows is its transpose stored by columns, an upper triangle, and the results are the columns of a
// matrix: so the product is that of the transposed upper triangle with that matrix, in place.

#include <algorithm>

#include "ozk_solvers.h"
#include "vsl/distributions/parameters.hpp"

namespace ozk::vsl {
namespace {

// Numbers of a block, so large that the product of matrices pays and small enough for the caches.
constexpr int32_t kNumbers = 16384;

struct Single {
    using Real = float;
    static constexpr auto gaussian = _vslsRngGaussian;
    static constexpr auto multiply_full = ozk_blas4vml_strmm;
    static constexpr auto multiply_packed = ozk_blas4vml_sptrmm;
};
struct Double {
    using Real = double;
    static constexpr auto gaussian = _vsldRngGaussian;
    static constexpr auto multiply_full = ozk_blas4vml_dtrmm;
    static constexpr auto multiply_packed = ozk_blas4vml_dptrmm;
};

template <class Precision, class Real = typename Precision::Real>
void multiply(int32_t storage, const Real* t, int32_t dimension, int32_t vectors, Real* z) {
    const Real one = 1;
    if (storage == kOzkVslFactorFull) {
        Precision::multiply_full("L", "U", "T", "N", &dimension, &vectors, &one, t, &dimension, z,
                                 &dimension);
    } else if (storage == kOzkVslFactorPacked) {
        Precision::multiply_packed("L", "U", "T", "N", &dimension, &vectors, &one, t, z, &dimension);
    } else {
        for (int32_t k = 0; k < vectors; ++k, z += dimension) {
            for (int32_t i = 0; i < dimension; ++i) z[i] *= t[i];
        }
    }
}

template <class Precision, class Real = typename Precision::Real>
int32_t gaussian_mv(int32_t method, OzkVslStream* stream, int32_t n, Real* r, int32_t dimension,
                    int32_t storage, const Real* a, const Real* t) {
    if (method_index(method) > kOzkVslGaussianInverse || dimension < 1 || storage < kOzkVslFactorFull ||
        storage > kOzkVslFactorDiagonal) {
        return kOzkVslErrorBadArguments;
    }
    const int32_t block = std::max(1, kNumbers / dimension);
    int32_t status = kOzkVslSuccess;
    while (n > 0) {
        const int32_t vectors = std::min(n, block), numbers = vectors * dimension;
        status = Precision::gaussian(method, stream, numbers, r, 0, 1);
        if (status < 0) break;
        multiply<Precision>(storage, t, dimension, vectors, r);
        for (int32_t k = 0; k < vectors; ++k, r += dimension) {
            for (int32_t i = 0; i < dimension; ++i) r[i] += a[i];
        }
        n -= vectors;
    }
    return status;
}

}  // namespace
}  // namespace ozk::vsl

extern "C" {

int32_t _vslsRngGaussianMV(int32_t method, OzkVslStream* stream, int32_t n, float* r, int32_t dimension,
                           int32_t storage, const float* a, const float* t) {
    return ozk::vsl::gaussian_mv<ozk::vsl::Single>(method, stream, n, r, dimension, storage, a, t);
}
int32_t _vsldRngGaussianMV(int32_t method, OzkVslStream* stream, int32_t n, double* r, int32_t dimension,
                           int32_t storage, const double* a, const double* t) {
    return ozk::vsl::gaussian_mv<ozk::vsl::Double>(method, stream, n, r, dimension, storage, a, t);
}

}  // extern "C"
