// The Gauss-Legendre rule of 16 nodes on [0, 1]: exact for polynomials up to degree 31.
#pragma once

#include <cmath>
#include <limits>

namespace ozk::stats {

template <class Real>
struct GaussLegendre {
    static constexpr int kNodes = 16;
    Real node[kNodes], weight[kNodes];

    // By Newton's method on the Legendre polynomial; Abramowitz and Stegun, 25.4.29.
    GaussLegendre() {
        for (int k = 0; k < kNodes; ++k) {
            Real z =
                std::cos(Real(3.14159265358979324L) * (Real(k) + Real(0.75)) / (Real(kNodes) + Real(0.5)));
            Real slope = 0;
            for (int step = 0; step < 6; ++step) {  // 3 bits at the start
                Real value = 1, before = 0;
                for (int n = 1; n <= kNodes; ++n) {
                    const Real next = (Real(2 * n - 1) * z * value - Real(n - 1) * before) / Real(n);
                    before = value;
                    value = next;
                }
                slope = Real(kNodes) * (z * value - before) / (z * z - 1);
                z -= value / slope;
            }
            node[k] = (1 - z) / 2;
            weight[k] = 1 / ((1 - z * z) * slope * slope);
        }
    }
};

}  // namespace ozk::stats
