#include "vml/kernels/ln.hpp"
#include "tests/vml/support.hpp"

namespace ozk::vml::test {
namespace {

constexpr Unary kLevels[] = {_vmldLn_50, _vmldLn, _vmldLn_26};

class LnTest : public FreshState {};

std::vector<double> arguments(int n) {
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

// Any estimate of the reciprocal within its documented error of 1.5 2^-12 must do; processors differ.
template <int kSign>
struct WorstEstimate {
    template <class V>
    OZK_SIMD static V reciprocal(V x) {
        constexpr float kFactor = 1 + kSign * 1.4999f * 0x1p-12f;
        return simd::broadcast(1.0f) / x * simd::broadcast(kFactor);
    }
};

template <class Estimate>
double worst_error(const std::vector<double>& arguments) {
    double worst = 0;
    for (const double x : arguments) {
        const double y = simd::low(Ln<LnHigh, Estimate>::compute(simd::broadcast(x)));
        worst = std::max(worst, ulp_error(mpfr_log, x, y));
    }
    return worst;
}

TEST_F(LnTest, HoldsForEveryEstimateWithinTheDocumentedError) {
    std::vector<double> x = arguments(10000);
    // The edges of the table's steps, where an estimate decides for one of two entries.
    for (int i = 0; i <= 1024; ++i) {
        const double edge = 2 / (1 + i / 1024.0);
        for (const double v :
             {edge * (1 - 0x1p-11), edge * (1 - 0x1p-12), edge, edge * (1 + 0x1p-12), edge * (1 + 0x1p-11)}) {
            x.push_back(v);
            x.push_back(v / 2);
        }
    }
    EXPECT_LE(worst_error<WorstEstimate<1>>(x), 0.52);
    EXPECT_LE(worst_error<WorstEstimate<-1>>(x), 0.52);
    EXPECT_LE(worst_error<WorstEstimate<0>>(x), 0.52);
}

}  // namespace
}  // namespace ozk::vml::test
