// The negative binomial and the multinomial distribution.
#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <string>
#include <vector>

#include "tests/vsl/distributions/discrete_support.hpp"

namespace {

using namespace distribution_test;

constexpr int32_t kLargest = std::numeric_limits<int32_t>::max();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

DiscreteCase negative_binomial(double a, double p) {
    const long double failure = 1 - static_cast<long double>(p), mean = a * failure / p;
    DiscreteCase c = of_ratios(
        named("Negbinomial", {a, p}),
        [=](OzkVslStream* s, int32_t n, int32_t* r) {
            return _vsliRngNegbinomial(kOzkVslInverse, s, n, r, a, p);
        },
        0, kLargest, static_cast<double>(mean), static_cast<double>(mean / p),
        [=](int64_t k) {
            return failure * ((a + static_cast<long double>(k)) / static_cast<long double>(k + 1));
        });
    return c;
}

// The number of outcome j, a binomial one.
DiscreteCase marginal(const std::string& name, int32_t trials, const std::vector<double>& p, size_t j) {
    const long double odds = p[j] / (1 - static_cast<long double>(p[j]));
    const int32_t k = static_cast<int32_t>(p.size());
    return of_ratios(
        name + " outcome " + std::to_string(j),
        [=](OzkVslStream* s, int32_t n, int32_t* r) {
            std::vector<int32_t> vectors(static_cast<size_t>(n) * p.size());
            const int32_t status =
                _vsliRngMultinomial(kOzkVslInverse, s, n, vectors.data(), trials, k, p.data());
            for (size_t i = 0; i < static_cast<size_t>(n); ++i) r[i] = vectors[i * p.size() + j];
            return status;
        },
        0, p[j] > 0 ? trials : 0, trials * p[j], trials * p[j] * (1 - p[j]),
        [=](int64_t i) {
            return odds * static_cast<long double>(trials - i) / static_cast<long double>(i + 1);
        });
}

std::vector<DiscreteCase> cases() {
    std::vector<DiscreteCase> all;
    for (const auto& [a, p] : {std::pair(5.0, 0.3),
                               {2.5, 0.3},
                               {1.0, 0.5},
                               {2.5, 0.999},
                               {1e-3, 0.5},
                               {1e-3, 1e-3},
                               {0.3, 0.01},
                               {0.999, 1e-4},
                               {1.0, 0.02},
                               {30.0, 0.1},
                               {30.0, 0.01},
                               {1e6, 0.5},
                               {1e6, 0.99999},
                               {1e9, 1 - 1e-8},
                               {2000.0, 0.9},
                               {5.0, 1e-5}}) {
        all.push_back(negative_binomial(a, p));
    }
    const std::vector<double> few = {0.2, 0, 0.5, 0.1, 0.2, 0};
    for (int32_t trials : {1, 10, 192, 193, 100000}) {
        for (size_t j : {0, 1, 2, 4, 5}) {
            all.push_back(marginal("Multinomial of " + std::to_string(trials), trials, few, j));
        }
    }
    const std::vector<double> small = {1 - 3e-7, 1e-7, 2e-7};
    for (size_t j : {1, 2}) all.push_back(marginal("Multinomial of rare", 20000000, small, j));
    return all;
}

class Counts : public testing::TestWithParam<DiscreteCase> {};
INSTANTIATE_TEST_SUITE_P(, Counts, testing::ValuesIn(cases()),
                         [](const auto& instance) { return test_name(instance.param.name); });

TEST_P(Counts, FitTheirDistributionAndMoments) { fits(GetParam(), 1 << 17); }

TEST_P(Counts, SequenceDoesNotDependOnHowItIsCutIntoCalls) { cut_into_calls(GetParam().draw); }

TEST_P(Counts, StayWithinTheSupportUnderEveryUniformAndLeaveTheCallersState) {
    stays_within_the_support(GetParam());
}

TEST(Negbinomial, MostNumbersOfAMeanBeyondTheTypeAreItsLargest) {
    OzkVslStream* stream = make_stream();
    std::vector<int32_t> r(2000);
    ASSERT_EQ(_vsliRngNegbinomial(kOzkVslInverse, stream, 2000, r.data(), 50, 1e-12), kOzkVslSuccess);
    EXPECT_EQ(r, std::vector<int32_t>(2000, kLargest));
    __vslDeleteStream(&stream);
}

TEST(Multinomial, CountsOfAVectorAddUpAndVaryTogether) {
    constexpr int n = 100000;
    const std::vector<double> p = {0.2, 0.05, 0.5, 0.25};
    for (int32_t trials : {20, 5000}) {
        OzkVslStream* stream = make_stream();
        std::vector<int32_t> r(4 * n);
        ASSERT_EQ(_vsliRngMultinomial(kOzkVslInverse, stream, n, r.data(), trials, 4, p.data()),
                  kOzkVslSuccess);
        double products[4][4] = {};
        for (size_t i = 0; i < r.size(); i += 4) {
            ASSERT_EQ(std::accumulate(&r[i], &r[i] + 4, 0), trials);
            for (size_t a = 0; a < 4; ++a) {
                for (size_t b = 0; b < 4; ++b) {
                    products[a][b] += (r[i + a] - trials * p[a]) * (r[i + b] - trials * p[b]) / n;
                }
            }
        }
        for (size_t a = 0; a < 4; ++a) {
            for (size_t b = 0; b < a; ++b) {
                const double covariance = -trials * p[a] * p[b];
                EXPECT_NEAR(products[a][b], covariance, 6 * trials * std::sqrt(p[a] * p[b] / n))
                    << trials << ' ' << a << ' ' << b;
            }
        }
        __vslDeleteStream(&stream);
    }
}

// More outcomes than a table has room for.
TEST(Multinomial, ManyOutcomesComeAlike) {
    constexpr int n = 20, k = 1000, trials = 50000;
    const std::vector<double> p(k, 1.0 / k);
    OzkVslStream* stream = make_stream();
    std::vector<int32_t> r(size_t{n} * k);
    ASSERT_EQ(_vsliRngMultinomial(kOzkVslInverse, stream, n, r.data(), trials, k, p.data()), kOzkVslSuccess);
    double statistic = 0;
    for (int32_t x : r) statistic += (x - 50.0) * (x - 50.0) / 50;
    const double freedom = n * (k - 1);
    EXPECT_NEAR(statistic, freedom, 4 * std::sqrt(2 * freedom));
    __vslDeleteStream(&stream);
}

TEST(CountParameters, OutOfRangeAreRefusedBeforeAnythingIsDrawnOrWritten) {
    const auto negative_binomial_of = [](int32_t method, double a, double p) {
        is_refused([=](auto* s, int32_t n, int32_t* r) { return _vsliRngNegbinomial(method, s, n, r, a, p); },
                   named("Negbinomial", {double(method), a, p}));
    };
    negative_binomial_of(1, 5, 0.5);
    for (double a : {0.0, -1.0, kNan, 1.0 / 0.0}) negative_binomial_of(0, a, 0.5);
    for (double p : {0.0, 1.0, -0.1, 1.1, kNan}) negative_binomial_of(0, 5, p);

    const auto multinomial_of = [](int32_t method, int32_t trials, std::vector<double> p) {
        is_refused(
            [=](auto* s, int32_t n, int32_t* r) {
                return _vsliRngMultinomial(method, s, n, r, trials, static_cast<int32_t>(p.size()), p.data());
            },
            named("Multinomial", {double(method), double(trials), p.empty() ? 0 : p[0]}));
    };
    multinomial_of(1, 5, {1});
    multinomial_of(0, -1, {1});
    for (const std::vector<double>& p :
         {std::vector<double>{}, {0.5}, {0.5, 0.499}, {1.5, -0.5}, {kNan, 1}, {0, 0}, {1.0 / 0.0, 0}}) {
        multinomial_of(0, 5, p);
    }
}

}  // namespace
