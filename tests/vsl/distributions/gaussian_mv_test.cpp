#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "tests/vsl/distributions/support.hpp"
#include "tests/vsl/scripted_generator.hpp"

namespace {

using namespace distribution_test;

int32_t gaussian(int32_t method, OzkVslStream* s, int32_t n, float* r) {
    return _vslsRngGaussian(method, s, n, r, 0, 1);
}
int32_t gaussian(int32_t method, OzkVslStream* s, int32_t n, double* r) {
    return _vsldRngGaussian(method, s, n, r, 0, 1);
}
int32_t gaussian_mv(int32_t method, OzkVslStream* s, int32_t n, float* r, int32_t dimension, int32_t storage,
                    const float* a, const float* t) {
    return _vslsRngGaussianMV(method, s, n, r, dimension, storage, a, t);
}
int32_t gaussian_mv(int32_t method, OzkVslStream* s, int32_t n, double* r, int32_t dimension, int32_t storage,
                    const double* a, const double* t) {
    return _vsldRngGaussianMV(method, s, n, r, dimension, storage, a, t);
}

// A lower triangular factor in each storage; what must not be read is NaN.
template <class Real>
struct Factor {
    size_t d;
    std::vector<Real> full, packed, diagonal;

    explicit Factor(size_t dimension)
        : d(dimension), full(d * d, std::numeric_limits<Real>::quiet_NaN()), diagonal(d) {
        for (size_t i = 0; i < d; ++i) {
            for (size_t j = 0; j <= i; ++j) {
                full[i * d + j] = static_cast<Real>(i == j ? 1 + 0.5 * static_cast<double>(i % 3)
                                                           : std::sin(static_cast<double>(3 * i + j)));
                packed.push_back(full[i * d + j]);
            }
            diagonal[i] = full[i * d + i];
        }
    }
    const Real* in(int32_t storage) const {
        return storage == kOzkVslFactorFull     ? full.data()
               : storage == kOzkVslFactorPacked ? packed.data()
                                                : diagonal.data();
    }
    Real at(int32_t storage, size_t i, size_t j) const {
        return storage == kOzkVslFactorDiagonal && i != j ? 0 : full[i * d + j];
    }
};

template <class Real>
void is_the_product() {
    const double tolerance = 16 * std::numeric_limits<Real>::epsilon();
    for (size_t d : {1u, 2u, 3u, 7u, 40u}) {
        const Factor<Real> factor(d);
        std::vector<Real> mean(d);
        for (size_t i = 0; i < d; ++i) mean[i] = static_cast<Real>(i) - 2;
        const int n = d == 40 ? 1000 : 33;  // several blocks, and one
        const size_t size = static_cast<size_t>(n) * d;
        for (int32_t storage : {kOzkVslFactorFull, kOzkVslFactorPacked, kOzkVslFactorDiagonal}) {
            for (int32_t method :
                 {kOzkVslGaussianBoxMuller, kOzkVslGaussianBoxMullerPairs, kOzkVslGaussianInverse}) {
                OzkVslStream* stream = make_stream();
                OzkVslStream* source = make_stream();
                std::vector<Real> x(size + 1, -77), z(size);
                EXPECT_EQ(gaussian_mv(method, stream, n, x.data(), static_cast<int32_t>(d), storage,
                                      mean.data(), factor.in(storage)),
                          kOzkVslSuccess);
                EXPECT_EQ(gaussian(method, source, static_cast<int32_t>(size), z.data()), kOzkVslSuccess);
                EXPECT_EQ(x.back(), -77);
                for (size_t k = 0; k < size; k += d) {
                    for (size_t i = 0; i < d; ++i) {
                        double sum = mean[i], magnitude = std::abs(sum);
                        for (size_t j = 0; j <= i; ++j) {
                            const double term = double{factor.at(storage, i, j)} * z[k + j];
                            sum += term;
                            magnitude += std::abs(term);
                        }
                        ASSERT_NEAR(x[k + i], sum, tolerance * magnitude) << d << " " << storage << " " << k;
                    }
                }
                __vslDeleteStream(&stream);
                __vslDeleteStream(&source);
            }
        }
    }
}

TEST(GaussianMV, IsTheFactorTimesGaussianNumbersPlusTheMean) {
    is_the_product<double>();
    is_the_product<float>();
}

TEST(GaussianMV, HasTheCovarianceOfItsFactor) {
    constexpr size_t d = 3;
    const int n = sample_size(200000) / 3;
    const Factor<double> factor(d);
    const double mean[d] = {1, -2, 3};
    OzkVslStream* stream = make_stream(kOzkVslMt19937);
    std::vector<double> x(static_cast<size_t>(n) * d);
    EXPECT_EQ(_vsldRngGaussianMV(kOzkVslGaussianInverse, stream, n, x.data(), d, kOzkVslFactorPacked, mean,
                                 factor.packed.data()),
              kOzkVslSuccess);
    double covariance[d][d] = {};
    for (size_t k = 0; k < x.size(); k += d) {
        for (size_t i = 0; i < d; ++i) {
            for (size_t j = 0; j < d; ++j)
                covariance[i][j] += (x[k + i] - mean[i]) * (x[k + j] - mean[j]) / n;
        }
    }
    const auto expected = [&](size_t i, size_t j) {
        double sum = 0;
        for (size_t m = 0; m <= std::min(i, j); ++m) sum += factor.full[i * d + m] * factor.full[j * d + m];
        return sum;
    };
    for (size_t i = 0; i < d; ++i) {
        for (size_t j = 0; j < d; ++j) {
            const double c = expected(i, j), variance = expected(i, i) * expected(j, j) + c * c;
            EXPECT_NEAR(covariance[i][j], c, 5 * std::sqrt(variance / n)) << i << " " << j;
        }
    }
    __vslDeleteStream(&stream);
}

TEST(GaussianMV, RefusesBadArgumentsBeforeItDrawsOrWritesAndPassesStatusesOn) {
    scripted_generator::Script script{{0.5}};
    OzkVslStream* stream = scripted_generator::make_stream(script);
    const double mean[2] = {0, 0}, t[4] = {1, 0, 0, 1};
    double r[2] = {5, 5};
    EXPECT_EQ(_vsldRngGaussianMV(3, stream, 1, r, 2, 0, mean, t), kOzkVslErrorBadArguments);
    EXPECT_EQ(_vsldRngGaussianMV(0, stream, 1, r, 0, 0, mean, t), kOzkVslErrorBadArguments);
    EXPECT_EQ(_vsldRngGaussianMV(0, stream, 1, r, 2, 3, mean, t), kOzkVslErrorBadArguments);
    EXPECT_EQ(_vsldRngGaussianMV(0, stream, 1, r, 2, -1, mean, t), kOzkVslErrorBadArguments);
    EXPECT_EQ(_vsldRngGaussianMV(0, stream, 0, nullptr, 2, 0, mean, t), kOzkVslSuccess);
    EXPECT_TRUE(script.calls.empty() && r[0] == 5 && r[1] == 5);
    script.failing_call = 0;
    EXPECT_EQ(_vsldRngGaussianMV(0, stream, 1, r, 2, 0, mean, t), scripted_generator::kFailure);
    __vslDeleteStream(&stream);
}

}  // namespace
