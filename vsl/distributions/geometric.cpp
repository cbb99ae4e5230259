// The geometric distribution, the number of failures before the first success, by inversion: P(X >= k) = (1 - p)^k.
//
// From p = 0.1 on the probabilities are added up. Below, the result is floor(ln u / ln(1 - p)) (Devroye, "Non-Uniform
// Random Variate Generation", 1986, chapter X.2). Where the steps of a 32-bit uniform next to 1 would be as coarse as
// the probabilities are, u is 1 - v, v of 64 bits, so that every result up to the largest int32_t is met.

#include <cmath>

#include "vsl/distributions/discrete_inversion.hpp"
#include "vsl/distributions/parameters.hpp"

namespace ozk::vsl {
namespace {

constexpr double kLeastTabled = 0.1;  // its masses end before kMostMasses
constexpr double kLeastOf32Bits = 0x1p-16;

// floor(ln_u / ln_q), or the largest int32_t where that is more. Changes ln_u.
void take_quotients(int32_t count, double* ln_u, double ln_q, int32_t* r) {
    const double factor = 1 / ln_q;
    for (int32_t i = 0; i < count; ++i) ln_u[i] *= factor;
    clamp(count, ln_u, 0, std::numeric_limits<int32_t>::max());
    take_floors(count, ln_u, r);
}

int32_t by_logarithm(OzkVslStream* stream, int32_t n, int32_t* r, double ln_q) {
    return in_blocks(n, r, [=](int32_t count, int32_t* block) {
        double u[kBlock];
        const int32_t status = draw(stream, count, u, 0);
        if (status < 0) return status;
        take_ln(count, u);
        take_quotients(count, u, ln_q, block);
        return status;
    });
}

int32_t by_logarithm_of_64_bits(OzkVslStream* stream, int32_t n, int32_t* r, double ln_q) {
    constexpr double kBelowOne = 0x1.fffffffffffffp-1;
    return in_blocks(n, r, [=](int32_t count, int32_t* block) {
        uint64_t words[kBlock];
        double minus_v[kBlock];
        const int32_t status = _vsliRngUniformBits64(kOzkVslUniformStandard, stream, count, words);
        if (status < 0) return status;
        for (int32_t i = 0; i < count; ++i) {
            minus_v[i] = static_cast<double>(static_cast<int64_t>(words[i] >> 1)) * -0x1p-63;
        }
        // Rounding may have given -1.
        clamp(count, minus_v, -kBelowOne, 0);
        take_log1p(count, minus_v);
        take_quotients(count, minus_v, ln_q, block);
        return status;
    });
}

int32_t geometric(int32_t method, OzkVslStream* stream, int32_t n, int32_t* r, double p) {
    if (method_index(method) != kOzkVslInverse || !(p > 0 && p <= 1)) return kOzkVslErrorBadArguments;
    if (n < 1) return kOzkVslSuccess;
    return in_own_environment(replace_special_value<BelowEveryUniform>, [=] {
        if (p >= kLeastTabled) {
            const double q = 1 - p;
            return by_discrete_inversion(stream, n, r, Masses{p, 0, [=](int32_t) { return q; }},
                                         [](int32_t k) { return k; });
        }
        const double ln_q = std::log1p(-p);
        return p >= kLeastOf32Bits ? by_logarithm(stream, n, r, ln_q)
                                   : by_logarithm_of_64_bits(stream, n, r, ln_q);
    });
}

}  // namespace
}  // namespace ozk::vsl

extern "C" int32_t _vsliRngGeometric(int32_t method, OzkVslStream* stream, int32_t n, int32_t* r, double p) {
    return ozk::vsl::geometric(method, stream, n, r, p);
}
