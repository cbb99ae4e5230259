// The chi-square helpers against 50-digit arithmetic of Boost.Math and Boost.Multiprecision.
#include <gtest/gtest.h>

#include <boost/math/special_functions/gamma.hpp>
#include <boost/multiprecision/cpp_bin_float.hpp>
#include <cmath>
#include <limits>
#include <random>

#include "ozk_stats.h"

namespace {

using Exact = boost::multiprecision::cpp_bin_float_50;

// |got - exact| in units of the last place of the exact value.
double ulps(double got, const Exact& exact) {
    const double near = static_cast<double>(exact);
    if (got == near) return 0;
    const double unit = std::nextafter(std::fabs(near), INFINITY) - std::fabs(near);
    return std::fabs(static_cast<double>((Exact(got) - exact) / unit));
}

Exact lower_tail(double x, double degrees) { return boost::math::gamma_p(Exact(degrees) / 2, Exact(x) / 2); }
Exact upper_tail(double x, double degrees) { return boost::math::gamma_q(Exact(degrees) / 2, Exact(x) / 2); }
Exact density(double x, double degrees) {
    return boost::math::gamma_p_derivative(Exact(degrees) / 2, Exact(x) / 2) / 2;
}

TEST(ChiSquare, DistributionAndDensityKeepTheLastDigitsFromFewDegreesToMillions) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> uniform;
    double worst[2] = {0, 0};
    for (const double degrees :
         {0.01, 0.3, 1.0, 2.0, 3.0, 7.0, 31.0, 32.0, 100.0, 999.0, 3999.0, 4001.0, 2e4, 1e6}) {
        for (int k = 0; k < (degrees > 5000 ? 12 : 60); ++k) {
            // From far below to far above, within the density's range.
            const double z = -25 + 50 * uniform(random),
                         cube = 1 - 2 / (9 * degrees) + z * std::sqrt(2 / (9 * degrees));
            const double x = cube > 0.1 && k % 4 ? degrees * cube * cube * cube
                                                 : degrees * std::exp2(-30 * uniform(random));
            const Exact p = lower_tail(x, degrees), f = density(x, degrees);
            if (p < 1e-300 || f < 1e-300) continue;
            const double errors[2] = {ulps(__vsldChi2CDF(x, degrees), p), ulps(__vsldChi2PDF(x, degrees), f)};
            for (int which = 0; which < 2; ++which) {
                EXPECT_LE(errors[which], 1) << which << ": " << std::hexfloat << x << " with " << degrees;
                worst[which] = std::fmax(worst[which], errors[which]);
            }
        }
    }
    RecordProperty("worst", std::to_string(worst[0]) + " " + std::to_string(worst[1]));
}

TEST(ChiSquare, QuantilesAreWhereTheDistributionIsTheProbability) {
    std::mt19937_64 random(8);
    std::uniform_real_distribution<double> uniform;
    for (const double degrees : {0.5, 1.0, 2.0, 3.0, 10.0, 75.0, 500.0, 5000.0, 1e6})
        for (int k = 0; k < (degrees > 2000 ? 8 : 40); ++k) {
            const double q = std::exp2(-52 * uniform(random)), p = k % 2 ? q : 1 - q;
            if (!(p > 0 && p < 1)) continue;
            const double x = __vsldChi2ICDF(p, degrees);
            // The exact distance to the root is that of the tails over the density.
            const Exact miss =
                p < 0.5 ? lower_tail(x, degrees) - Exact(p) : (1 - Exact(p)) - upper_tail(x, degrees);
            const Exact root = Exact(x) - miss / density(x, degrees);
            EXPECT_LE(ulps(x, root), 1) << std::hexfloat << p << " with " << degrees << ": " << x;
        }
}

TEST(ChiSquare, TailsOfNothingAndEverything) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(__vsldChi2CDF(0, 3), 0);
    EXPECT_EQ(__vsldChi2CDF(-1, 3), 0);
    EXPECT_EQ(__vsldChi2CDF(kInfinity, 3), 1);
    EXPECT_EQ(__vsldChi2CDF(1e300, 3), 1);
    EXPECT_EQ(__vsldChi2PDF(-1, 3), 0);
    EXPECT_EQ(__vsldChi2PDF(0, 1), kInfinity);
    EXPECT_EQ(__vsldChi2PDF(0, 2), 0.5);
    EXPECT_EQ(__vsldChi2PDF(0, 3), 0);
    EXPECT_EQ(__vsldChi2PDF(kInfinity, 3), 0);
    EXPECT_EQ(__vsldChi2ICDF(0, 3), 0);
    EXPECT_EQ(__vsldChi2ICDF(1, 3), kInfinity);
    for (const double wrong : {-0.1, 1.1, double(NAN)}) EXPECT_TRUE(std::isnan(__vsldChi2ICDF(wrong, 3)));
    for (const double wrong : {0.0, -1.0, kInfinity, double(NAN)}) {
        EXPECT_TRUE(std::isnan(__vsldChi2CDF(1, wrong)));
        EXPECT_TRUE(std::isnan(__vsldChi2PDF(1, wrong)));
        EXPECT_TRUE(std::isnan(__vsldChi2ICDF(0.5, wrong)));
    }
    EXPECT_TRUE(std::isnan(__vsldChi2CDF(NAN, 3)));
}

TEST(ChiSquare, LogGammaAndSquareRoot) {
    std::mt19937_64 random(9);
    std::uniform_real_distribution<double> uniform;
    for (int k = 0; k < 300; ++k) {
        const double x = k % 3 == 0 ? 0.5 + 2 * uniform(random) : std::exp2(-20 + 60 * uniform(random));
        EXPECT_LE(ulps(__vsldLGamma(x), boost::math::lgamma(Exact(x))), 1) << std::hexfloat << x;
        EXPECT_LE(ulps(__vsldSqrt(x), sqrt(Exact(x))), 0.5) << std::hexfloat << x;
    }
    EXPECT_LE(ulps(__vsldLGamma(-2.5), boost::math::lgamma(Exact(-2.5))), 1);
    EXPECT_EQ(__vsldLGamma(1), 0);
    EXPECT_TRUE(std::isinf(__vsldLGamma(0)));
    EXPECT_TRUE(std::isnan(__vsldSqrt(-1)));
}

}  // namespace
