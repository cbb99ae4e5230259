#include "tests/vml/support.hpp"

namespace ozk::vml::test {
namespace {

constexpr Unary kLevels[] = {_vmldExp_50, _vmldExp, _vmldExp_26};

class Exp : public FreshState {};

TEST_F(Exp, MeetsTheAccuracyOfEachLevel) {
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> whole(-708.39, 709.78), subnormal(-745.13, -708.39), one(-1, 1);
    std::vector<double> x;
    for (int i = 0; i < 60000; ++i) {
        x.push_back(whole(random));
        x.push_back(one(random));
        x.push_back(std::ldexp(one(random), -static_cast<int>(random() % 60)));
    }
    std::vector<double> tiny(20000);
    for (double& v : tiny) v = subnormal(random);

    expect_within(0.53, _vmldExp, mpfr_exp, x, "HA");
    expect_within(2.5, _vmldExp_50, mpfr_exp, x, "LA");
    expect_within(0x1p26, _vmldExp_26, mpfr_exp, x, "EP");
    expect_within(0.53, _vmldExp, mpfr_exp, tiny, "HA, subnormal results");
}

// Arguments whose exponentials lie closest to the middle of two doubles or to a double (Lefevre and Muller,
// "Worst cases for correct rounding of the elementary functions in double precision", 2001).
TEST_F(Exp, HoldsItsBoundOnHardCases) {
    expect_within(0.53, _vmldExp, mpfr_exp,
                  {-0x1.12d9b98bcf2dbp-31, 0x1.09f7d16dd5f2ap+1, -0x1.02393d5976769p+1, 0x1.83d4bcdebb3f4p+2,
                   -0x1.22e24fa3d5cf9p-1, 0x1.accfbe46b4efp-1, 0x1.d6336a88077aap-1, 0x1.6474c5e8b87p+6},
                  "HA");
}

TEST_F(Exp, ReportsWhatLeavesTheNormalRangeAndNothingElse) {
    for (const Unary f : kLevels) {
        using Outcome = std::pair<double, int>;
        EXPECT_EQ(with_status(f, kInfinity), Outcome(kInfinity, 0));
        EXPECT_EQ(with_status(f, -kInfinity), Outcome(0.0, 0));
        EXPECT_TRUE(std::isnan(with_status(f, kNaN).first));
        EXPECT_EQ(with_status(f, kNaN).second, 0);
        EXPECT_EQ(with_status(f, 0.0), Outcome(1.0, 0));
        EXPECT_EQ(with_status(f, -0.0), Outcome(1.0, 0));
        EXPECT_EQ(with_status(f, 1e-17), Outcome(1.0, 0));
        EXPECT_EQ(with_status(f, 5e-324), Outcome(1.0, 0));
        EXPECT_EQ(with_status(f, 709.7828), Outcome(kInfinity, kVmlOverflow));
        EXPECT_EQ(with_status(f, 1e300), Outcome(kInfinity, kVmlOverflow));
        EXPECT_EQ(with_status(f, -746), Outcome(0.0, kVmlUnderflow));
        EXPECT_EQ(with_status(f, -1e300), Outcome(0.0, kVmlUnderflow));
        EXPECT_EQ(with_status(f, 709.78).second, 0);
        EXPECT_EQ(with_status(f, -708.5).second, kVmlUnderflow);
    }
}

// Both sides of each threshold, to the last bit: the oracle's rounded values decide.
TEST_F(Exp, TurnsAtItsThresholdsToTheLastBit) {
    const double overflow = 0x1.62e42fefa39efp+9, underflow = -0x1.74910d52d3051p+9,
                 subnormal = -0x1.6232bdd7abcd2p+9;
    EXPECT_EQ(with_status(_vmldExp, overflow), std::pair(0x1.fffffffffff2ap+1023, 0));
    EXPECT_EQ(with_status(_vmldExp, std::nextafter(overflow, 1e9)), std::pair(kInfinity, int{kVmlOverflow}));
    EXPECT_EQ(with_status(_vmldExp, underflow), std::pair(0x1p-1074, int{kVmlUnderflow}));
    EXPECT_EQ(with_status(_vmldExp, std::nextafter(underflow, -1e9)), std::pair(0.0, int{kVmlUnderflow}));
    const auto [normal, code] = with_status(_vmldExp, subnormal);
    EXPECT_GE(normal, 0x1p-1022);
    EXPECT_EQ(code, 0);
    const auto [below, code_below] = with_status(_vmldExp, std::nextafter(subnormal, -1e9));
    EXPECT_LT(below, 0x1p-1022);
    EXPECT_EQ(code_below, kVmlUnderflow);

    const double fast_bound = std::bit_cast<double>(uint64_t{0x4086232A00000000});
    for (const double bound : {fast_bound, -fast_bound}) {
        double x = bound;
        for (int i = 0; i < 4; ++i) x = std::nextafter(x, 0);
        for (int i = 0; i < 8; ++i, x = std::nextafter(x, 2 * bound)) {
            EXPECT_LE(ulp_error(mpfr_exp, x, call(_vmldExp, x)), 0.53) << x;
        }
    }
}

TEST_F(Exp, FlushesSubnormalResultsWhereTheModeAsksForIt) {
    _vmlSetMode(kVmlDenormalFlush);
    for (const Unary f : kLevels) {
        EXPECT_EQ(with_status(f, -708.5), std::pair(0.0, int{kVmlUnderflow}));
        EXPECT_EQ(with_status(f, -740.0), std::pair(0.0, int{kVmlUnderflow}));
        EXPECT_EQ(with_status(f, -708.39).second, 0);
        EXPECT_GT(with_status(f, -708.39).first, 0.0);
    }
}

}  // namespace
}  // namespace ozk::vml::test
