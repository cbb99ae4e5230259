// The Gaussian distribution, double precision, by three methods:
//   Box and Muller, "A note on the generation of random normal deviates", Ann. Math. Statist. 29 (1958), with
//   one or both results of a pair of uniforms; and the inverse distribution function, sqrt(2) erfinv(u).
// The high-accuracy kernels of the library, all below 1 ulp.

#include <algorithm>
#include <cmath>
#include <iterator>

#include "vsl/distributions/blocks.hpp"
#include "vsl/distributions/environment.hpp"
#include "vsl/streams/chunks.hpp"

namespace ozk::vsl {
namespace {

constexpr double kTwoPi = 0x1.921fb54442d18p+2;
constexpr double kSqrt2 = 1.4142135623730951;

// What stands for the infinite results at the ends of a uniform's interval.
constexpr double kLargestErfInv = 5.8635847487551676;  // erfinv of the largest double below 1
constexpr double kSmallestLn = -744.4400719213812;     // ln of the smallest double above 0

int replace_special_value(VmlErrorRecord* record) {
    if (record->code == kVmlSingularity && record->a1 == 0) {
        record->r1 = record->r2 = kSmallestLn;
    } else if (record->code == kVmlDomain || record->code == kVmlSingularity) {
        record->r1 = record->r2 = std::copysign(kLargestErfInv, record->a1);
    }
    return 0;  // store the record's results
}

int32_t draw(OzkVslStream* stream, int32_t n, double* u, double a) {
    return _vsldRngUniform(kOzkVslUniformStandard, stream, n, u, a, 1);
}

// radius[i] = sqrt(-2 ln u1) sigma of pairs (u1, u2), and whatever `circle` makes of the angles 2 pi u2.
template <class Circle>
void polar(int32_t pairs, const double* u, double sigma, double* radius, double* angle, Circle circle) {
    for (int32_t i = 0; i < pairs; ++i) {
        radius[i] = u[2 * i];
        angle[i] = kTwoPi * u[2 * i + 1];
    }
    call_kernels([&] {
        _vmldLn(pairs, radius, radius);
        circle();
    });
    for (int32_t i = 0; i < pairs; ++i) radius[i] = std::sqrt(-2 * radius[i]) * sigma;
}

int32_t box_muller(OzkVslStream* stream, int32_t n, double* r, double a, double sigma) {
    return in_blocks(n, r, [=](int32_t count, double* block) {
        double u[2 * kBlock], radius[kBlock], sine[kBlock];
        const int32_t status = draw(stream, 2 * count, u, 0);
        if (status < 0) return status;
        polar(count, u, sigma, radius, sine, [&] { _vmldSin(count, sine, sine); });
        for (int32_t i = 0; i < count; ++i) block[i] = radius[i] * sine[i] + a;
        return status;
    });
}

// A pair of uniforms whose second result has not been given yet.
struct PendingPair {
    double u1, u2;
};
constexpr double kNone = -1;

// Both results of each of up to kBlock / 2 pairs, the sine's first.
void both_results(int32_t pairs, const double* u, double* results, double a, double sigma) {
    double radius[kBlock / 2], angle[kBlock / 2], sine[kBlock / 2], cosine[kBlock / 2];
    polar(pairs, u, sigma, radius, angle, [&] { _vmldSinCos(pairs, angle, sine, cosine); });
    for (int32_t i = 0; i < pairs; ++i) {
        results[2 * i] = radius[i] * sine[i] + a;
        results[2 * i + 1] = radius[i] * cosine[i] + a;
    }
}

int32_t box_muller_pairs(OzkVslStream* stream, int32_t n, double* r, double a, double sigma) {
    PendingPair* const pending = stream_data<PendingPair>(stream, kOzkVslGaussianChunk, {kNone, kNone});
    if (!pending) return kOzkVslErrorNoMemory;
    if (pending->u1 != kNone) {
        const double u[2] = {pending->u1, pending->u2};
        double results[2];
        both_results(1, u, results, a, sigma);
        *r++ = results[1];
        --n;
        *pending = {kNone, kNone};
    }
    return in_blocks(n, r, [=](int32_t count, double* block) {
        double u[kBlock];
        const int32_t pairs = (count + 1) / 2;
        const int32_t status = draw(stream, 2 * pairs, u, 0);
        if (status < 0) return status;
        double results[kBlock];
        both_results(pairs, u, results, a, sigma);
        std::copy_n(results, count, block);
        if (count % 2 != 0) *pending = {u[count - 1], u[count]};
        return status;
    });
}

int32_t inverse(OzkVslStream* stream, int32_t n, double* r, double a, double sigma) {
    const double scale = sigma * kSqrt2;
    return in_blocks(n, r, [=](int32_t count, double* block) {
        const int32_t status = draw(stream, count, block, -1);
        if (status < 0) return status;
        call_kernels([=] { _vmldErfInv(count, block, block); });
        for (int32_t i = 0; i < count; ++i) block[i] = block[i] * scale + a;
        return status;
    });
}

// By method code.
constexpr decltype(&inverse) kMethods[] = {box_muller, box_muller_pairs, inverse};
static_assert(kOzkVslGaussianBoxMuller == 0 && kOzkVslGaussianBoxMullerPairs == 1 &&
              kOzkVslGaussianInverse == 2);

}  // namespace
}  // namespace ozk::vsl

extern "C" int32_t _vsldRngGaussian(int32_t method, OzkVslStream* stream, int32_t n, double* r, double a,
                                    double sigma) {
    using namespace ozk::vsl;
    const uint32_t index = static_cast<uint32_t>(method) & ~uint32_t{kOzkVslMethodAccurate};
    if (index >= std::size(kMethods)) return kOzkVslErrorBadArguments;
    if (n < 1) return kOzkVslSuccess;
    return in_own_environment(replace_special_value, [=] { return kMethods[index](stream, n, r, a, sigma); });
}
