// What the exponentials share across sources.
#pragma once

namespace ozk::vml {

struct ExpPair {
    double high, low;
};

// exp(x), one element, any argument; returns the error code.
int exp_scalar(double x, double& result);

}  // namespace ozk::vml
