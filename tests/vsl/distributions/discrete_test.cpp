#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "tests/vsl/distributions/discrete_support.hpp"

namespace {

using namespace distribution_test;

constexpr int32_t kLargest = std::numeric_limits<int32_t>::max();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

DiscreteCase uniform(int32_t a, int32_t b) {
    const double width = double(b) - a;
    return {named("Uniform", {double(a), double(b)}),
            [=](OzkVslStream* s, int32_t n, int32_t* r) {
                return _vsliRngUniform(kOzkVslUniformStandard, s, n, r, a, b);
            },
            a,
            int64_t{b} - 1,
            a + (width - 1) / 2,
            (width * width - 1) / 12,
            [=](int64_t k) { return static_cast<double>(k + 1 - a) / width; }};
}

DiscreteCase bernoulli(double p) {
    return {named("Bernoulli", {p}),
            [=](OzkVslStream* s, int32_t n, int32_t* r) { return _vsliRngBernoulli(0, s, n, r, p); },
            0,
            1,
            p,
            p * (1 - p),
            [=](int64_t) { return 1 - p; }};
}

// Results beyond the largest int32_t are that.
DiscreteCase geometric(double p) {
    const double ln_q = std::log1p(-p);
    const bool is_cut = p < 1e-7;
    return {
        named("Geometric", {p}),
        [=](OzkVslStream* s, int32_t n, int32_t* r) { return _vsliRngGeometric(kOzkVslInverse, s, n, r, p); },
        0,
        p == 1 ? 0 : kLargest,
        is_cut ? kNan : (1 - p) / p,
        (1 - p) / p / p,
        [=](int64_t k) { return -std::expm1(static_cast<double>(k + 1) * ln_q); },
        [=](int64_t k) { return std::exp(static_cast<double>(k + 1) * ln_q); }};
}

DiscreteCase binomial(int32_t trials, double p) {
    const long double odds = static_cast<long double>(p) / (1 - static_cast<long double>(p));
    const auto draw = [=](OzkVslStream* s, int32_t n, int32_t* r) {
        return _vsliRngBinomial(kOzkVslRejection, s, n, r, trials, p);
    };
    const int64_t low = p == 1 ? trials : 0, high = p == 0 ? 0 : trials;
    return of_ratios(named("Binomial", {double(trials), p}), draw, low, high, trials * p,
                     trials * p * (1 - p), [=](int64_t k) {
                         return odds * static_cast<long double>(trials - k) / static_cast<long double>(k + 1);
                     });
}

DiscreteCase hypergeometric(int32_t size, int32_t drawn, int32_t marked) {
    const auto draw = [=](OzkVslStream* s, int32_t n, int32_t* r) {
        return _vsliRngHypergeometric(kOzkVslRejection, s, n, r, size, drawn, marked);
    };
    const int64_t rest = int64_t{size} - drawn - marked;
    const double share = size > 0 ? double(marked) / size : 0;
    const double variance =
        size > 1 ? drawn * share * (1 - share) * (double(size) - drawn) / (size - 1.0) : 0;
    return of_ratios(named("Hypergeometric", {double(size), double(drawn), double(marked)}), draw,
                     std::max<int64_t>(0, -rest), std::min(drawn, marked), drawn * share, variance,
                     [=](int64_t k) {
                         return static_cast<long double>(marked - k) / static_cast<long double>(k + 1) *
                                static_cast<long double>(drawn - k) / static_cast<long double>(rest + k + 1);
                     });
}

std::vector<DiscreteCase> cases() {
    std::vector<DiscreteCase> all;
    for (const auto& [a, b] : {std::pair(-3, 7), {-2147483647, 2147483647}, {5, 6}}) {
        all.push_back(uniform(a, b));
    }
    for (double p : {0.0, 1e-9, 0.25, 0.5, 0.9}) all.push_back(bernoulli(p));
    for (double p :
         {1e-300, 1e-12, 1e-9, 1e-6, 1.5e-5, 1.6e-5, 1e-3, 0.0999, 0.1, 0.3, 0.5, 0.9, 1 - 1e-9, 1.0}) {
        all.push_back(geometric(p));
    }
    for (double p : {0.0, 1e-9, 0.1, 0.3, 0.5, 0.9, 1 - 1e-9, 1.0}) {
        for (int32_t trials : {0, 1, 2, 10, 100, 1000, 1000000, kLargest}) all.push_back(binomial(trials, p));
    }
    // Means about 1, and about 64, from where on numbers are rejected; the least and the largest of an n of that.
    for (double mean : {1.0, 5.0, 63.99, 64.01, 100.0, 1e4}) {
        all.push_back(binomial(kLargest, mean / kLargest));
        all.push_back(binomial(100000, 1 - mean / 100000));
    }
    for (int32_t trials : {127, 128, 129, 130}) all.push_back(binomial(trials, 0.5));
    for (const auto& [size, drawn, marked] : {std::tuple(0, 0, 0),
                                              {1, 1, 0},
                                              {1, 1, 1},
                                              {10, 10, 4},
                                              {10, 3, 4},
                                              {10, 8, 4},
                                              {10, 3, 7},
                                              {10, 8, 7},
                                              {100, 50, 30},
                                              {256, 128, 128},
                                              {258, 129, 130},
                                              {1000, 500, 300},
                                              {1000, 800, 300},
                                              {1000, 500, 700},
                                              {1000, 800, 700},
                                              {100000, 70, 99000},
                                              {kLargest, 100, kLargest / 2},
                                              {kLargest, 150, kLargest / 2},
                                              {kLargest, 1 << 18, 1 << 18},
                                              {kLargest, 1 << 19, 1 << 18},
                                              {kLargest, kLargest - (1 << 20), 1 << 20},
                                              {kLargest, 3, kLargest - 1},
                                              {kLargest, 1 << 30, 1 << 30},
                                              {kLargest, 2000000000, 100000000}}) {
        all.push_back(hypergeometric(size, drawn, marked));
    }
    return all;
}

class Discrete : public testing::TestWithParam<DiscreteCase> {};
INSTANTIATE_TEST_SUITE_P(, Discrete, testing::ValuesIn(cases()),
                         [](const auto& instance) { return test_name(instance.param.name); });

TEST_P(Discrete, FitsItsDistributionAndMoments) { fits(GetParam()); }

TEST_P(Discrete, SequenceDoesNotDependOnHowItIsCutIntoCalls) { cut_into_calls(GetParam().draw); }

TEST_P(Discrete, StaysWithinTheSupportUnderEveryUniformAndLeavesTheCallersState) {
    // Integer uniforms are not kept off the end of their interval.
    if (!GetParam().name.starts_with("Uniform")) stays_within_the_support(GetParam());
}

// Where one uniform is inverted, the distribution function itself can be seen, in long calls and in short ones.
TEST(DiscreteInversion, StepsWhereTheDistributionFunctionDoes) {
    constexpr double kTolerance = 0x1p-40;
    for (const DiscreteCase& c :
         {geometric(0.1), geometric(0.7), binomial(1, 0.5), binomial(100, 0.3), binomial(129, 0.49),
          binomial(kLargest, 1e-9), binomial(kLargest, 63.999 / kLargest), hypergeometric(10, 3, 4),
          hypergeometric(100, 20, 40), hypergeometric(256, 128, 128),
          hypergeometric(kLargest, 100, kLargest / 2), hypergeometric(kLargest, 1 << 18, 1 << 18),
          hypergeometric(kLargest, 3, (1 << 30) - 1)}) {
        Script script{{}};
        std::vector<int32_t> expected;
        for (int64_t k = c.low; k < c.high && c.survival(k) > 0; ++k) {
            // What the oracle has exactly; and neighbouring steps have to lie farther apart.
            if (c.cdf(k) < 1e-25 || c.cdf(k + 1) - c.cdf(k) < 4 * kTolerance * c.cdf(k)) continue;
            script.numbers.push_back(c.cdf(k) * (1 - kTolerance));
            script.numbers.push_back(c.cdf(k) * (1 + kTolerance));
            expected.push_back(static_cast<int32_t>(k));
            expected.push_back(static_cast<int32_t>(k + 1));
        }
        const int32_t repeats = 300;  // of all, so that the call is a long one
        const int32_t n = static_cast<int32_t>(expected.size());
        OzkVslStream* stream = scripted_generator::make_stream(script);
        std::vector<int32_t> r(static_cast<size_t>(n * repeats));
        ASSERT_EQ(c.draw(stream, n * repeats, r.data()), kOzkVslSuccess);
        for (int32_t i = 0; i < n; i += 2) ASSERT_EQ(c.draw(stream, 2, r.data() + i), kOzkVslSuccess);
        for (size_t i = 0; i < r.size(); ++i) {
            ASSERT_EQ(r[i], expected[i % expected.size()])
                << c << " u = " << script.numbers[i % expected.size()];
        }
        __vslDeleteStream(&stream);
    }
}

TEST(Bernoulli, ComparesTheStreamsSinglesWithP) {
    constexpr int n = 2000;
    OzkVslStream* stream = make_stream();
    OzkVslStream* source = make_stream();
    std::vector<int32_t> r(n);
    std::vector<float> u(n);
    // Beyond [0, 1], and the least and the largest p that single precision tells from its ends.
    for (double p : {-1.0, -0.0, 0.0, 1e-45, 0.3, 0.99999997, 1.0, 2.0}) {
        ASSERT_EQ(_vsliRngBernoulli(0, stream, n, r.data(), p), kOzkVslSuccess);
        ASSERT_EQ(_vslsRngUniform(kOzkVslUniformStandard, source, n, u.data(), 0, 1), kOzkVslSuccess);
        for (size_t i = 0; i < n; ++i) ASSERT_EQ(r[i], u[i] < static_cast<float>(p)) << p;
    }
    __vslDeleteStream(&stream);
    __vslDeleteStream(&source);
}

TEST(Bernoulli, OfOneIsZeroWhereTheUniformRoundsUpToOne) {
    Script script{{1, 0.5, 0}};
    OzkVslStream* stream = scripted_generator::make_stream(script);
    std::vector<int32_t> r(3);
    EXPECT_EQ(_vsliRngBernoulli(0, stream, 3, r.data(), 1), kOzkVslSuccess);
    EXPECT_EQ(r, (std::vector{0, 1, 1}));
    script.failing_call = 1;
    EXPECT_EQ(_vsliRngBernoulli(0, stream, 3, r.data(), 1), scripted_generator::kFailure);
    __vslDeleteStream(&stream);
}

TEST(DiscreteParameters, OutOfRangeAreRefusedBeforeAnythingIsDrawnOrWritten) {
    const auto geometric_of = [](int32_t method, double p) {
        is_refused([=](auto* s, int32_t n, int32_t* r) { return _vsliRngGeometric(method, s, n, r, p); },
                   named("Geometric", {double(method), p}));
    };
    for (double p : {0.0, -0.5, 1.0000001, kNan}) geometric_of(0, p);
    geometric_of(1, 0.5);
    const auto binomial_of = [](int32_t method, int32_t trials, double p) {
        is_refused(
            [=](auto* s, int32_t n, int32_t* r) { return _vsliRngBinomial(method, s, n, r, trials, p); },
            named("Binomial", {double(method), double(trials), p}));
    };
    for (double p : {-1e-300, 1.0000001, kNan}) binomial_of(0, 10, p);
    binomial_of(0, -1, 0.5);
    binomial_of(1, 10, 0.5);
    const auto hypergeometric_of = [](int32_t method, int32_t size, int32_t drawn, int32_t marked) {
        is_refused([=](auto* s, int32_t n,
                       int32_t* r) { return _vsliRngHypergeometric(method, s, n, r, size, drawn, marked); },
                   named("Hypergeometric", {double(method), double(size), double(drawn), double(marked)}));
    };
    hypergeometric_of(0, -1, 0, 0);
    hypergeometric_of(0, 10, 11, 5);
    hypergeometric_of(0, 10, -1, 5);
    hypergeometric_of(0, 10, 5, 11);
    hypergeometric_of(0, 10, 5, -1);
    hypergeometric_of(1, 10, 5, 5);
}

TEST(ChiSquare, TellsADistributionFromItsNeighbours) {
    constexpr int n = 1 << 17;
    OzkVslStream* stream = make_stream(kOzkVslMt19937);
    std::vector<int32_t> x(n);
    ASSERT_EQ(uniform(0, 100).draw(stream, n, x.data()), kOzkVslSuccess);
    __vslDeleteStream(&stream);
    std::sort(x.begin(), x.end());
    EXPECT_GT(chi_square_p_value(x, uniform(0, 100)), 1e-3);
    EXPECT_LT(chi_square_p_value(x, uniform(0, 101)), 1e-9);
    std::replace(x.begin(), x.begin() + n / 400, 0, 1);  // a quarter of the zeros
    std::sort(x.begin(), x.end());
    EXPECT_LT(chi_square_p_value(x, uniform(0, 100)), 1e-9);
}

}  // namespace
