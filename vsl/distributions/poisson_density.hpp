// The probabilities of a Poisson distribution by Stirling's formula.
#pragma once

#include "vsl/distributions/factorials.hpp"

namespace ozk::vsl {

// ln P(X = k) + ln(2 pi lambda) / 2, given ln(lambda / (k + 1)).
inline double ln_density(double lambda, double k, double ln) {
    return (k + 0.5) * ln + (k + 1 - lambda) - stirling_correction(k);
}

}  // namespace ozk::vsl
