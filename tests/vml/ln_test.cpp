#include "vml/kernels/ln.hpp"
#include "tests/vml/logarithms.hpp"

namespace ozk::vml::test {
namespace {

constexpr Unary kLevels[] = {_vmldLn_50, _vmldLn, _vmldLn_26};

class LnTest : public FreshState {};

TEST_F(LnTest, MeetsTheAccuracyOfEachLevel) {
    const std::vector<double> x = arguments(40000);
    expect_within(0.52, _vmldLn, mpfr_log, x, "HA");
    expect_within(2.5, _vmldLn_50, mpfr_log, x, "LA");
    expect_within(0x1p25, _vmldLn_26, mpfr_log, x, "EP");

    std::mt19937_64 random(3);
    std::vector<double> subnormal(10000);
    for (double& v : subnormal) v = std::bit_cast<double>(random() >> (12 + random() % 50) | 1);
    for (const Unary f : kLevels) expect_within(0.55, f, mpfr_log, subnormal, "subnormal arguments");
}

TEST_F(LnTest, IsExactlyZeroAtOneAndCloseBesideIt) {
    for (const Unary f : kLevels) {
        EXPECT_EQ(bits_of(call(f, 1.0)), bits_of(0.0));
        double up = 1, down = 1;
        for (int i = 0; i < 2000; ++i) {
            up = std::nextafter(up, 2);
            down = std::nextafter(down, 0);
            ASSERT_LE(ulp_error(mpfr_log, up, call(f, up)), 0.55) << up;
            ASSERT_LE(ulp_error(mpfr_log, down, call(f, down)), 0.55) << down;
        }
    }
}

TEST_F(LnTest, ReportsPolesAndArgumentsOutsideTheDomain) {
    for (const Unary f : kLevels) {
        EXPECT_EQ(with_status(f, 0.0), std::pair(-kInfinity, int{kVmlSingularity}));
        EXPECT_EQ(with_status(f, -0.0), std::pair(-kInfinity, int{kVmlSingularity}));
        for (const double x : {-1.0, -kInfinity, -5e-324, -1e308}) {
            const auto [r, code] = with_status(f, x);
            EXPECT_TRUE(std::isnan(r)) << x;
            EXPECT_EQ(code, kVmlDomain) << x;
        }
        EXPECT_EQ(with_status(f, kInfinity), std::pair(kInfinity, 0));
        EXPECT_TRUE(std::isnan(with_status(f, kNaN).first));
        EXPECT_TRUE(std::isnan(with_status(f, -kNaN).first));
        EXPECT_EQ(with_status(f, -kNaN).second, 0);
        EXPECT_NEAR(with_status(f, 5e-324).first, -744.44007192138122, 1e-12);
        EXPECT_EQ(with_status(f, 5e-324).second, 0);
    }
}

TEST_F(LnTest, ReadsSubnormalArgumentsAsZeroWhereTheModeAsksForIt) {
    _vmlSetMode(kVmlDenormalFlush);
    for (const Unary f : kLevels) {
        EXPECT_EQ(with_status(f, 1e-310), std::pair(-kInfinity, int{kVmlSingularity}));
        EXPECT_EQ(with_status(f, 0x1p-1022).second, 0);
    }
}

TEST_F(LnTest, HoldsForEveryEstimateWithinTheDocumentedError) {
    const std::vector<double> x = with_table_edges(arguments(10000));
    expect_for_every_estimate<LnHigh>(0.52, mpfr_log, x);
    expect_for_every_estimate<LnFast>(0x1p26, mpfr_log, x);
}

}  // namespace
}  // namespace ozk::vml::test
