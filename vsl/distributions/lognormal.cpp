// The lognormal distribution: the exponential function of Gaussian numbers.

#include <cmath>
#include <iterator>

#include "vsl/distributions/blocks.hpp"
#include "vsl/distributions/kernels.hpp"
#include "vsl/distributions/parameters.hpp"

namespace ozk::vsl {
namespace {

inline int32_t gaussian(int32_t method, OzkVslStream* stream, int32_t n, float* r, float a, float sigma) {
    return _vslsRngGaussian(method, stream, n, r, a, sigma);
}
inline int32_t gaussian(int32_t method, OzkVslStream* stream, int32_t n, double* r, double a, double sigma) {
    return _vsldRngGaussian(method, stream, n, r, a, sigma);
}

// The Gaussian method of each method code.
constexpr int32_t kGaussian[] = {kOzkVslGaussianBoxMullerPairs, kOzkVslGaussianInverse};
static_assert(kOzkVslLognormalBoxMullerPairs == 0 && kOzkVslLognormalInverse == 1);

template <class Real>
int32_t lognormal(int32_t method, OzkVslStream* stream, int32_t n, Real* r, Real a, Real sigma, Real b,
                  Real beta) {
    const uint32_t index = method_index(method);
    if (index >= std::size(kGaussian) || !is_location_scale(a, sigma) || !is_location_scale(b, beta)) {
        return kOzkVslErrorBadArguments;
    }
    if (n < 1) return kOzkVslSuccess;
    return in_own_environment(nullptr, [=] {
        return in_blocks(n, r, [=](int32_t count, Real* block) {
            const int32_t status = gaussian(kGaussian[index], stream, count, block, a, sigma);
            if (status < 0) return status;
            take_exp(count, block);
            for (int32_t i = 0; i < count; ++i) block[i] = b + beta * block[i];
            return status;
        });
    });
}

}  // namespace
}  // namespace ozk::vsl

extern "C" {

int32_t _vslsRngLognormal(int32_t method, OzkVslStream* stream, int32_t n, float* r, float a, float sigma,
                          float b, float beta) {
    return ozk::vsl::lognormal(method, stream, n, r, a, sigma, b, beta);
}
int32_t _vsldRngLognormal(int32_t method, OzkVslStream* stream, int32_t n, double* r, double a, double sigma,
                          double b, double beta) {
    return ozk::vsl::lognormal(method, stream, n, r, a, sigma, b, beta);
}

}  // extern "C"
