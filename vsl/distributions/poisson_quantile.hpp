// Quantiles of Poisson distributions, a mean for each.
#pragma once

#include <cstdint>

namespace ozk::vsl {

// The largest mean whose numbers fit into 32 bits, 19 standard deviations above it included.
inline constexpr double kLargestPoissonMean = 2.1e9;

// r[i] is the least k with P(X <= k) > u[i] for the Poisson distribution of mean lambda[i] >= 0, 2^31 - 1 where that
// is too large; count up to kBlock. For a caller that is in a generator's environment.
void poisson_quantiles(int32_t count, const double* u, const double* lambda, int32_t* r);

}  // namespace ozk::vsl
