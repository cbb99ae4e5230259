#include <gtest/gtest.h>

#include <algorithm>
#include <boost/math/distributions.hpp>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

#include "tests/vsl/distributions/support.hpp"

namespace {

using namespace distribution_test;

// Quiet where a function value under- or overflows, and no promotion to long double.
using Quiet =
    boost::math::policies::policy<boost::math::policies::underflow_error<boost::math::policies::ignore_error>,
                                  boost::math::policies::overflow_error<boost::math::policies::ignore_error>,
                                  boost::math::policies::promote_double<false>>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// One distribution with one set of parameters, and what is known of it.
struct Case {
    std::string name;
    Draw<float> single;
    Draw<double> twice;  // double precision
    std::function<double(double)> cdf, survival;
    double low, high;  // the support
    std::optional<double> mean, variance;
};

std::ostream& operator<<(std::ostream& out, const Case& c) { return out << c.name; }

// a + beta times a number of a distribution of Boost's.
template <class Distribution>
Case known(std::string name, const Distribution& y, double a, double beta, double low, double high,
           bool has_moments, Draw<float> single, Draw<double> twice) {
    Case c{std::move(name),
           std::move(single),
           std::move(twice),
           [=](double x) { return cdf(y, (x - a) / beta); },
           [=](double x) { return cdf(complement(y, (x - a) / beta)); },
           a + beta * low,
           a + beta * high,
           {},
           {}};
    if constexpr (!std::is_same_v<Distribution, boost::math::cauchy_distribution<double, Quiet>>) {
        if (!has_moments) return c;
        c.mean = a + beta * boost::math::mean(y);
        c.variance = beta * beta * boost::math::variance(y);
    }
    return c;
}

#define OZK_DRAW(Name, method, ...)                                                                          \
    Draw<float>(                                                                                             \
        [=](OzkVslStream* s, int32_t n, float* r) { return _vslsRng##Name(method, s, n, r, __VA_ARGS__); }), \
        Draw<double>([=](OzkVslStream* s, int32_t n, double* r) {                                            \
            return _vsldRng##Name(method, s, n, r, __VA_ARGS__);                                             \
        })

std::vector<Case> cases() {
    using namespace boost::math;
    std::vector<Case> all;
    for (int method : {kOzkVslGaussianBoxMuller, kOzkVslGaussianBoxMullerPairs, kOzkVslGaussianInverse}) {
        all.push_back(known("Gaussian " + std::to_string(method), normal_distribution<double, Quiet>(), 3,
                            0.5, -kInfinity, kInfinity, true, OZK_DRAW(Gaussian, method, 3, 0.5)));
    }
    for (const auto& [a, beta] : {std::pair(0.0, 1.0), {-2.5, 0.125}}) {
        const std::string place = "(" + std::to_string(a) + ", " + std::to_string(beta) + ")";
        all.push_back(known("Exponential" + place, exponential_distribution<double, Quiet>(1), a, beta, 0,
                            kInfinity, true, OZK_DRAW(Exponential, kOzkVslInverse, a, beta)));
        all.push_back(known("Laplace" + place, laplace_distribution<double, Quiet>(), a, beta, -kInfinity,
                            kInfinity, true, OZK_DRAW(Laplace, kOzkVslInverse, a, beta)));
        all.push_back(known("Rayleigh" + place, rayleigh_distribution<double, Quiet>(std::sqrt(0.5)), a, beta,
                            0, kInfinity, true, OZK_DRAW(Rayleigh, kOzkVslInverse, a, beta)));
        all.push_back(known("Cauchy" + place, cauchy_distribution<double, Quiet>(), a, beta, -kInfinity,
                            kInfinity, false, OZK_DRAW(Cauchy, kOzkVslInverse, a, beta)));
        // The smallest value's is the largest value's turned round.
        Case gumbel = known("Gumbel" + place, extreme_value_distribution<double, Quiet>(-a, beta), 0, 1,
                            -kInfinity, kInfinity, true, OZK_DRAW(Gumbel, kOzkVslInverse, a, beta));
        const auto largest_cdf = gumbel.cdf, largest_survival = gumbel.survival;
        gumbel.cdf = [=](double x) { return largest_survival(-x); };
        gumbel.survival = [=](double x) { return largest_cdf(-x); };
        gumbel.mean = -*gumbel.mean;
        all.push_back(gumbel);
    }
    for (double alpha : {1e-3, 0.1, 0.7, 1.0, 3.0, 100.0, 1e6}) {
        all.push_back(known("Weibull " + std::to_string(alpha), weibull_distribution<double, Quiet>(alpha), 0,
                            2, 0, kInfinity, alpha > 0.5, OZK_DRAW(Weibull, kOzkVslInverse, alpha, 0, 2)));
    }
    for (int method : {kOzkVslLognormalBoxMullerPairs, kOzkVslLognormalInverse}) {
        for (double sigma : {1e-3, 0.5, 3.0, 100.0}) {
            // Of the widest one a third would be rounded to the displacement, and no double tells where that ends.
            const double displacement = sigma < 100 ? 1 : 0;
            all.push_back(known("Lognormal " + std::to_string(method) + " " + std::to_string(sigma),
                                lognormal_distribution<double, Quiet>(0.25, sigma), displacement, 2, 0,
                                kInfinity, sigma < 1,
                                OZK_DRAW(Lognormal, method, 0.25, sigma, displacement, 2)));
        }
    }
    for (double alpha : {1e-3, 0.05, 0.4, 0.999, 1.0, 1.5, 2.5, 30.0, 1e3, 1e6}) {
        all.push_back(known("Gamma " + std::to_string(alpha), gamma_distribution<double, Quiet>(alpha), 0, 3,
                            0, kInfinity, true, OZK_DRAW(Gamma, kOzkVslRejection, alpha, 0, 3)));
    }
    for (int v : {1, 2, 3, 10, 1000000}) {
        all.push_back(known("ChiSquare " + std::to_string(v), chi_squared_distribution<double, Quiet>(v), 0,
                            1, 0, kInfinity, true, OZK_DRAW(ChiSquare, kOzkVslRejection, v)));
    }
    for (const auto& [p, q] : {std::pair(2.5, 1.5),
                               {1.0, 1.0},
                               {0.5, 0.5},
                               {1e-3, 1e-3},
                               {1e-3, 1e6},
                               {1e6, 1e-3},
                               {0.3, 4.0},
                               {4.0, 0.3},
                               {1.0, 7.0},
                               {1.001, 1.001},
                               {1e6, 1e6},
                               {2.0, 1e6},
                               {30.0, 5.0}}) {
        all.push_back(known("Beta " + std::to_string(p) + " " + std::to_string(q),
                            beta_distribution<double, Quiet>(p, q), 0, 2, 0, 1, true,
                            OZK_DRAW(Beta, kOzkVslRejection, p, q, 0, 2)));
    }
    return all;
}

class Continuous : public testing::TestWithParam<Case> {
  protected:
    template <class Real>
    static const Draw<Real>& draw() {
        if constexpr (std::is_same_v<Real, float>)
            return GetParam().single;
        else
            return GetParam().twice;
    }
    template <class Real>
    static std::vector<Real> numbers(OzkVslStream* stream, int n) {
        std::vector<Real> r(static_cast<size_t>(n));
        EXPECT_EQ(draw<Real>()(stream, n, r.data()), kOzkVslSuccess);
        return r;
    }
};
INSTANTIATE_TEST_SUITE_P(, Continuous, testing::ValuesIn(cases()), [](const auto& instance) {
    std::string name = instance.param.name;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return !std::isalnum(c); }, '_');
    return name;
});

// The interval that rounds to x. What rounds to an end of the support may be much; subnormal numbers count as 0.
template <class Real>
struct Rounded {
    static constexpr double kNormal = std::numeric_limits<Real>::min();
    const Case& c;

    double upper(Real x) const {
        if (x >= static_cast<Real>(c.high)) return c.high;
        if (x == 0 && c.low == 0) return kNormal;
        const double next = std::nextafter(x, std::numeric_limits<Real>::infinity());
        const double middle = x / 2.0 + next / 2;
        return std::isinf(middle) ? x : middle == c.low ? next : middle;
    }
    double lower(Real x) const {
        if (x <= static_cast<Real>(c.low)) return c.low;
        const double before = std::nextafter(x, -std::numeric_limits<Real>::infinity());
        const double middle = x / 2.0 + before / 2;
        if (c.low == 0) return std::max(middle >= c.high ? before : middle, kNormal);
        return middle >= c.high ? before : middle == c.low ? x : middle;
    }
};

template <class Real>
void fits(const Case& c, std::vector<Real> x, bool is_whole) {
    const Rounded<Real> rounded{c};
    if (c.low == 0) {
        for (Real& y : x) y = y < rounded.kNormal ? 0 : y;
    }
    std::sort(x.begin(), x.end());
    ASSERT_FALSE(std::isnan(x.front()) || std::isnan(x.back()));
    EXPECT_GE(x.front(), static_cast<Real>(c.low));
    EXPECT_LE(x.back(), static_cast<Real>(c.high));
    EXPECT_LT(kolmogorov_smirnov(
                  x, [&](Real y) { return c.cdf(rounded.lower(y)); },
                  [&](Real y) { return y >= static_cast<Real>(c.high) ? 1 : c.cdf(rounded.upper(y)); }),
              kKolmogorovSmirnovLimit);
    const double n = static_cast<double>(x.size());
    for (double tail : {1e-2, 1e-3, 1e-4}) {
        // The sample being sorted, few probabilities say how many numbers lie in a tail.
        const auto check = [&](auto begin, auto end, const auto& probability, const char* side) {
            const auto beyond =
                std::partition_point(begin, end, [&](Real y) { return probability(y) < tail; }) - begin;
            // None or fewer where so much probability is in the numbers that rounding puts on the end.
            const double expected = n * tail, sigmas = 5 * std::sqrt(expected);
            EXPECT_LE(static_cast<double>(beyond), expected + sigmas) << side << tail;
            if (is_whole) {
                EXPECT_GE(static_cast<double>(beyond), expected - sigmas) << side << tail;
            }
        };
        check(
            x.begin(), x.end(), [&](Real y) { return y >= c.high ? 1 : c.cdf(rounded.upper(y)); }, "below ");
        check(
            x.rbegin(), x.rend(), [&](Real y) { return c.survival(rounded.lower(y)); }, "above ");
    }
}

// Whether every number of the sample is within the support, without falling on its ends.
template <class Real>
bool no_atoms(const Case& c, const std::vector<Real>& x) {
    const auto [least, largest] = std::minmax_element(x.begin(), x.end());
    return *least > static_cast<Real>(c.low) && *largest < static_cast<Real>(c.high);
}

TEST_P(Continuous, FitsItsDistributionFunctionTailsAndMoments) {
    const Case& c = GetParam();
    const int n = sample_size(1 << 17);
    OzkVslStream* stream = make_stream(kOzkVslMt19937);
    const std::vector<double> x = numbers<double>(stream, n);
    const bool is_whole = no_atoms(c, x);
    fits(c, x, is_whole);
    if (is_whole) {
        std::vector<double> sorted = x;
        std::sort(sorted.begin(), sorted.end());
        EXPECT_LT(anderson_darling(sorted, c.cdf, c.survival), kAndersonDarlingLimit);
    }
    if (c.mean) {
        const double mean = std::accumulate(x.begin(), x.end(), 0.0) / n;
        double second = 0, fourth = 0;
        for (double y : x) {
            const double square = (y - *c.mean) * (y - *c.mean);
            second += square / n;
            fourth += square * square / n;
        }
        EXPECT_NEAR(mean, *c.mean, 5 * std::sqrt(second / n));
        // Of shapes near 0 too few numbers make up the moments.
        if (*c.variance < 100 * *c.mean * *c.mean || *c.mean <= 0) {
            EXPECT_NEAR(second, *c.variance, 6 * std::sqrt(fourth / n));
        }
    }
    const std::vector<float> y = numbers<float>(stream, n);
    fits(c, y, false);
    __vslDeleteStream(&stream);
}

TEST_P(Continuous, SequenceDoesNotDependOnHowItIsCutIntoCalls) {
    cut_into_calls(GetParam().single);
    cut_into_calls(GetParam().twice);
}

TEST_P(Continuous, EndsOfTheUniformIntervalStayFiniteAndTheCallersStateIsLeft) {
    const Case& c = GetParam();
    // Lognormal and Weibull numbers may rightly be too large for their type.
    const bool may_overflow = c.name.starts_with("Lognormal") || c.name.starts_with("Weibull 0.00");
    for (double x : draw_under_traps(c.twice)) {
        EXPECT_TRUE(x >= c.low && x <= c.high) << x;
        EXPECT_TRUE(std::isfinite(x) || may_overflow) << x;
    }
    for (float x : draw_under_traps(c.single)) {
        EXPECT_TRUE(x >= static_cast<float>(c.low) && x <= static_cast<float>(c.high)) << x;
    }
}

// ---- Exact relations -----------------------------------------------------------------------------------------

TEST(Exponential, IsItsFormulaOfTheStreamsUniforms) {
    constexpr int n = 2000;
    OzkVslStream* stream = make_stream();
    OzkVslStream* source = make_stream();
    std::vector<double> x(n), u(n);
    _vsldRngExponential(kOzkVslInverse, stream, n, x.data(), 1, 2);
    _vsldRngUniform(kOzkVslUniformStandard, source, n, u.data(), 0, 1);
    for (size_t i = 0; i < n; ++i) EXPECT_NEAR(x[i], 1 - 2 * std::log(u[i]), 4e-16 * x[i]) << i;
    __vslDeleteStream(&stream);
    __vslDeleteStream(&source);
}

TEST(Exponential, UniformOfZeroCountsAs2ToTheMinus54) {
    Script zeros{{0}};
    OzkVslStream* stream = scripted_generator::make_stream(zeros);
    double x;
    float s;
    EXPECT_EQ(_vsldRngExponential(kOzkVslInverse, stream, 1, &x, 0, 1), kOzkVslSuccess);
    EXPECT_EQ(_vslsRngExponential(kOzkVslInverse, stream, 1, &s, 0, 1), kOzkVslSuccess);
    EXPECT_DOUBLE_EQ(x, 54 * std::log(2));
    EXPECT_EQ(s, static_cast<float>(x));
    __vslDeleteStream(&stream);
}

// ---- Parameters ------------------------------------------------------------------------------------------------

TEST(Parameters, OutOfRangeAreRefusedBeforeAnythingIsDrawnOrWritten) {
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    const auto check = [](const char* what, auto call, const std::vector<std::vector<double>>& bad) {
        for (const std::vector<double>& parameters : bad) {
            Script script{{0.5}};
            OzkVslStream* stream = scripted_generator::make_stream(script);
            double r = 5;
            float s = 5;
            EXPECT_EQ(call(stream, &r, parameters), kOzkVslErrorBadArguments)
                << what << " " << testing::PrintToString(parameters);
            EXPECT_EQ(call(stream, &s, parameters), kOzkVslErrorBadArguments)
                << what << " " << testing::PrintToString(parameters);
            EXPECT_TRUE(r == 5 && s == 5 && script.calls.empty());
            EXPECT_EQ(call(stream, static_cast<double*>(nullptr), {}), kOzkVslSuccess) << what;  // n = 0
            __vslDeleteStream(&stream);
        }
    };
    // Without parameters a valid call of no numbers.
#define OZK_CALL(Name, valid, ...)                                                          \
    [](OzkVslStream* stream, auto* r, std::vector<double> p) {                              \
        const int32_t n = p.empty() ? 0 : 1;                                                \
        if (p.empty()) p = std::vector<double> valid;                                       \
        using Real = std::remove_pointer_t<decltype(r)>;                                    \
        [[maybe_unused]] const auto at = [&](size_t i) { return static_cast<Real>(p[i]); }; \
        const int32_t method = static_cast<int32_t>(p[0]);                                  \
        if constexpr (std::is_same_v<Real, float>)                                          \
            return _vslsRng##Name(method, stream, n, r, __VA_ARGS__);                       \
        else                                                                                \
            return _vsldRng##Name(method, stream, n, r, __VA_ARGS__);                       \
    }
    const std::vector<std::vector<double>> location_scale = {
        {1, 0, 1},    {-1, 0, 1},   {0, 0, 0},         {0, 0, -1},
        {0, 0, kNan}, {0, kNan, 1}, {0, 0, kInfinity}, {0, -kInfinity, 1}};
    using P = std::vector<double>;
    check("Exponential", OZK_CALL(Exponential, ({0, 0, 1}), at(1), at(2)), location_scale);
    check("Laplace", OZK_CALL(Laplace, ({0, 0, 1}), at(1), at(2)), location_scale);
    check("Rayleigh", OZK_CALL(Rayleigh, ({0, 0, 1}), at(1), at(2)), location_scale);
    check("Gumbel", OZK_CALL(Gumbel, ({0, 0, 1}), at(1), at(2)), location_scale);
    check("Cauchy", OZK_CALL(Cauchy, ({0, 0, 1}), at(1), at(2)), location_scale);
    const std::vector<P> shape = {P{1, 1, 0, 1},         P{0, 0, 0, 1}, P{0, -2, 0, 1},  P{0, kNan, 0, 1},
                                  P{0, kInfinity, 0, 1}, P{0, 1, 0, 0}, P{0, 1, kNan, 1}};
    check("Weibull", OZK_CALL(Weibull, ({0, 1, 0, 1}), at(1), at(2), at(3)), shape);
    check("Gamma", OZK_CALL(Gamma, ({0, 1, 0, 1}), at(1), at(2), at(3)), shape);
    check("Lognormal", OZK_CALL(Lognormal, ({0, 0, 1, 0, 1}), at(1), at(2), at(3), at(4)),
          {P{2, 0, 1, 0, 1}, P{0, kNan, 1, 0, 1}, P{0, 0, 0, 0, 1}, P{1, 0, 1, kInfinity, 1},
           P{1, 0, 1, 0, 0}});
    check("Beta", OZK_CALL(Beta, ({0, 1, 1, 0, 1}), at(1), at(2), at(3), at(4)),
          {P{1, 1, 1, 0, 1}, P{0, 0, 1, 0, 1}, P{0, 1, -1, 0, 1}, P{0, 1, kNan, 0, 1}, P{0, 1e31, 1, 0, 1},
           P{0, 1, 1, 0, 0}, P{0, 1, 1, kNan, 1}});
    check("ChiSquare", OZK_CALL(ChiSquare, ({0, 1}), static_cast<int32_t>(p[1])),
          {P{1, 1}, P{0, 0}, P{0, -3}});
}

}  // namespace
