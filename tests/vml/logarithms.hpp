// What the tests of the logarithms share: arguments, and estimates of the reciprocal other than this machine's.
#pragma once

#include "simd/wide.hpp"
#include "tests/vml/support.hpp"

namespace ozk::vml::test {

// Of every binade, near one and next to one.
inline std::vector<double> arguments(int n) {
    std::mt19937_64 random(2);
    std::uniform_real_distribution<double> unit(0, 1);
    std::vector<double> x;
    for (int i = 0; i < n; ++i) {
        x.push_back(std::ldexp(1 + unit(random), static_cast<int>(random() % 2046) - 1022));
        x.push_back(0.5 + 1.5 * unit(random));
        x.push_back(1 + std::ldexp(unit(random) - 0.5, -static_cast<int>(random() % 52)));
        x.push_back(1 + (unit(random) - 0.5) * 0x1p-8);
    }
    return x;
}

// And the edges of the tables' steps, where an estimate decides for one of two entries.
inline std::vector<double> with_table_edges(std::vector<double> x) {
    for (int i = 0; i <= 1024; ++i) {
        const double edge = 2 / (1 + i / 1024.0);
        for (const double v :
             {edge * (1 - 0x1p-11), edge * (1 - 0x1p-12), edge, edge * (1 + 0x1p-12), edge * (1 + 0x1p-11)}) {
            x.push_back(v);
            x.push_back(v / 2);
        }
    }
    return x;
}

// Any estimate of the reciprocal within its documented error of 1.5 2^-12 must do; processors differ.
template <int kSign>
struct WorstEstimate {
    template <class V>
    OZK_SIMD static V reciprocal(V x) {
        constexpr float kFactor = 1 + kSign * 1.4999f * 0x1p-12f;
        return simd::broadcast(1.0f) / x * simd::broadcast(kFactor);
    }
};

template <class Operation>
void compute_each(int32_t n, const double* x, double* y) {
    for (int32_t i = 0; i < n; ++i) y[i] = simd::low(evaluate<Operation>(simd::broadcast(x[i])));
}

template <template <class> class Operation>
void expect_for_every_estimate(double limit, Exact exact, const std::vector<double>& x) {
    expect_within(limit, compute_each<Operation<WorstEstimate<1>>>, exact, x, "largest estimate");
    expect_within(limit, compute_each<Operation<WorstEstimate<-1>>>, exact, x, "smallest estimate");
    expect_within(limit, compute_each<Operation<WorstEstimate<0>>>, exact, x, "exact estimate");
}

}  // namespace ozk::vml::test
