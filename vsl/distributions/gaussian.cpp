// The Gaussian distribution by three methods:
//   Box and Muller, "A note on the generation of random normal deviates", Ann. Math. Statist. 29 (1958), with
//   one or both results of a pair of uniforms; and the inverse distribution function, sqrt(2) erfinv(u).
//
// Single precision: Box and Muller's radius comes from single uniforms, whose steps near 0 are as fine as those
// of doubles. The inverse method takes double uniforms: on [-1, 1) singles end 2^-24 before 1, at 5.4 standard
// deviations.

#include <algorithm>
#include <cmath>
#include <iterator>

#include "vsl/distributions/blocks.hpp"
#include "vsl/distributions/kernels.hpp"
#include "vsl/distributions/parameters.hpp"
#include "vsl/streams/chunks.hpp"

namespace ozk::vsl {
namespace {

constexpr double kTwoPi = 0x1.921fb54442d18p+2;
constexpr double kSqrt2 = 1.4142135623730951;

// radius[i] = sqrt(-2 ln u1) sigma and angle[i] = 2 pi u2 of pairs (u1, u2).
template <class Real>
void polar(int32_t pairs, const Real* u, Real sigma, Real* radius, double* angle) {
    for (int32_t i = 0; i < pairs; ++i) {
        radius[i] = u[2 * i];
        angle[i] = kTwoPi * u[2 * i + 1];
    }
    take_ln(pairs, radius);
    for (int32_t i = 0; i < pairs; ++i) radius[i] = std::sqrt(-2 * radius[i]) * sigma;
}

template <class Real>
int32_t box_muller(OzkVslStream* stream, int32_t n, Real* r, Real a, Real sigma) {
    return in_blocks(n, r, [=](int32_t count, Real* block) {
        Real u[2 * kBlock], radius[kBlock];
        double sine[kBlock];
        const int32_t status = draw(stream, 2 * count, u, Real{0});
        if (status < 0) return status;
        polar(count, u, sigma, radius, sine);
        For<Real>::take_sin(count, sine);
        for (int32_t i = 0; i < count; ++i) block[i] = radius[i] * static_cast<Real>(sine[i]) + a;
        return status;
    });
}

// A pair of uniforms whose second result has not been given yet; both precisions share it.
struct PendingPair {
    double u1, u2;
};
constexpr double kNone = -1;

// Both results of each of up to kBlock / 2 pairs, the sine's first.
template <class Real>
void both_results(int32_t pairs, const Real* u, Real* results, Real a, Real sigma) {
    Real radius[kBlock / 2];
    double sine[kBlock / 2], cosine[kBlock / 2];
    polar(pairs, u, sigma, radius, sine);
    For<Real>::take_sin_cos(pairs, sine, cosine);
    for (int32_t i = 0; i < pairs; ++i) {
        results[2 * i] = radius[i] * static_cast<Real>(sine[i]) + a;
        results[2 * i + 1] = radius[i] * static_cast<Real>(cosine[i]) + a;
    }
}

template <class Real>
int32_t box_muller_pairs(OzkVslStream* stream, int32_t n, Real* r, Real a, Real sigma) {
    PendingPair* const pending = stream_data<PendingPair>(stream, kOzkVslGaussianChunk, {kNone, kNone});
    if (!pending) return kOzkVslErrorNoMemory;
    if (pending->u1 != kNone) {
        const Real u[2] = {static_cast<Real>(pending->u1), static_cast<Real>(pending->u2)};
        Real results[2];
        both_results(1, u, results, a, sigma);
        *r++ = results[1];
        --n;
        *pending = {kNone, kNone};
    }
    return in_blocks(n, r, [=](int32_t count, Real* block) {
        Real u[kBlock];
        const int32_t pairs = (count + 1) / 2;
        const int32_t status = draw(stream, 2 * pairs, u, Real{0});
        if (status < 0) return status;
        if (count % 2 == 0) {
            both_results(pairs, u, block, a, sigma);
        } else {
            Real results[kBlock];
            both_results(pairs, u, results, a, sigma);
            std::copy_n(results, count, block);
            *pending = {u[count - 1], u[count]};
        }
        return status;
    });
}

int32_t inverse(OzkVslStream* stream, int32_t n, double* r, double a, double sigma) {
    const double scale = sigma * kSqrt2;
    return in_blocks(n, r, [=](int32_t count, double* block) {
        const int32_t status = draw(stream, count, block, -1);
        if (status < 0) return status;
        For<double>::take_erf_inv(count, block);
        for (int32_t i = 0; i < count; ++i) block[i] = block[i] * scale + a;
        return status;
    });
}

int32_t inverse_single(OzkVslStream* stream, int32_t n, float* r, float a, float sigma) {
    const double scale = sigma * kSqrt2;
    return in_blocks(n, r, [=](int32_t count, float* block) {
        double u[kBlock];
        const int32_t status = draw(stream, count, u, -1);
        if (status < 0) return status;
        For<float>::take_erf_inv(count, u);
        for (int32_t i = 0; i < count; ++i) block[i] = static_cast<float>(u[i] * scale + a);
        return status;
    });
}

// By method code.
constexpr decltype(&inverse) kDouble[] = {box_muller<double>, box_muller_pairs<double>, inverse};
constexpr decltype(&inverse_single) kSingle[] = {box_muller<float>, box_muller_pairs<float>, inverse_single};
static_assert(kOzkVslGaussianBoxMuller == 0 && kOzkVslGaussianBoxMullerPairs == 1 &&
              kOzkVslGaussianInverse == 2);

template <class Methods, class Real>
int32_t gaussian(const Methods& methods, int32_t method, OzkVslStream* stream, int32_t n, Real* r, Real a,
                 Real sigma) {
    const uint32_t index = method_index(method);
    if (index >= std::size(methods)) return kOzkVslErrorBadArguments;
    if (n < 1) return kOzkVslSuccess;
    return in_own_environment(replace_special_value<SmallestDouble>,
                              [=, &methods] { return methods[index](stream, n, r, a, sigma); });
}

}  // namespace
}  // namespace ozk::vsl

extern "C" {

int32_t _vslsRngGaussian(int32_t method, OzkVslStream* stream, int32_t n, float* r, float a, float sigma) {
    return ozk::vsl::gaussian(ozk::vsl::kSingle, method, stream, n, r, a, sigma);
}

int32_t _vsldRngGaussian(int32_t method, OzkVslStream* stream, int32_t n, double* r, double a, double sigma) {
    return ozk::vsl::gaussian(ozk::vsl::kDouble, method, stream, n, r, a, sigma);
}

}  // extern "C"
