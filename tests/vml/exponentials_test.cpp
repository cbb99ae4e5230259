// exp2, exp10 and expm1; exp has its own file.
#include "tests/vml/support.hpp"

namespace ozk::vml::test {
namespace {

// Thresholds: overflow is the largest argument with a finite result, zero the least with one above 0, normal the least
// with a normal one.
struct Power {
    const char* name;
    Unary f;
    Exact exact;
    double overflow, zero, normal, bound;
};
const Power kPowers[] = {
    {"exp2", _vmldExp2, mpfr_exp2, std::nextafter(1024, 0), std::nextafter(-1075, 0), -1022, 1022},
    {"exp10", _vmldExp10, mpfr_exp10, 0x1.34413509f79fep+8, -0x1.439b746e36b52p+8, -0x1.33a7146f72a41p+8,
     std::bit_cast<double>(uint64_t{0x40733A7100000000})}};

class Exponentials : public FreshState {};

TEST_F(Exponentials, MeetTheirAccuracySubnormalResultsIncluded) {
    std::mt19937_64 random(1);
    for (const Power& power : kPowers) {
        std::uniform_real_distribution<double> whole(power.zero, power.overflow),
            subnormal(power.zero, power.normal), one(-1, 1);
        std::vector<double> x;
        for (int i = 0; i < 60000; ++i) {
            x.push_back(whole(random));
            x.push_back(subnormal(random));
            x.push_back(one(random));
            x.push_back(std::ldexp(one(random), -static_cast<int>(random() % 60)));
        }
        double edge = power.bound;
        for (int i = 0; i < 4; ++i) edge = std::nextafter(edge, 0);
        for (int i = 0; i < 8; ++i, edge = std::nextafter(edge, kInfinity)) x.insert(x.end(), {edge, -edge});
        expect_within(0.53, power.f, power.exact, x, power.name);
    }
}

TEST_F(Exponentials, TurnAtTheirThresholdsToTheLastBit) {
    for (const Power& power : kPowers) {
        EXPECT_TRUE(std::isfinite(with_status(power.f, power.overflow).first)) << power.name;
        EXPECT_EQ(with_status(power.f, power.overflow).second, 0) << power.name;
        EXPECT_EQ(with_status(power.f, std::nextafter(power.overflow, kInfinity)),
                  std::pair(kInfinity, int{kVmlOverflow}));
        EXPECT_EQ(with_status(power.f, power.zero), std::pair(0x1p-1074, int{kVmlUnderflow})) << power.name;
        EXPECT_EQ(with_status(power.f, std::nextafter(power.zero, -kInfinity)),
                  std::pair(0.0, int{kVmlUnderflow}));
        EXPECT_GE(with_status(power.f, power.normal).first, 0x1p-1022) << power.name;
        EXPECT_EQ(with_status(power.f, power.normal).second, 0) << power.name;
        EXPECT_EQ(with_status(power.f, std::nextafter(power.normal, -kInfinity)).second, kVmlUnderflow);
        for (const double x : {0.0, -0.0, 5e-324, 1e-17, -1e-17}) {
            EXPECT_EQ(with_status(power.f, x), std::pair(1.0, 0)) << power.name << x;
        }
        EXPECT_EQ(with_status(power.f, kInfinity), std::pair(kInfinity, 0));
        EXPECT_EQ(with_status(power.f, -kInfinity), std::pair(0.0, 0));
        EXPECT_TRUE(std::isnan(with_status(power.f, kNaN).first));
        EXPECT_EQ(with_status(power.f, kNaN).second, 0);
        _vmlSetMode(kVmlDenormalFlush);
        EXPECT_EQ(with_status(power.f, power.normal - 1), std::pair(0.0, int{kVmlUnderflow})) << power.name;
        reset();
    }
}

TEST_F(Exponentials, FlushSubnormalNumbersWhereTheModeAsksForIt) {
    _vmlSetMode(kVmlDenormalFlush);
    for (const Power& power : kPowers) {
        for (const double x : {power.normal - 0.5, power.zero + 0.5})
            EXPECT_EQ(with_status(power.f, x), std::pair(0.0, int{kVmlUnderflow})) << power.name;
        const auto [least, code] = with_status(power.f, power.normal);
        EXPECT_GE(least, std::numeric_limits<double>::min()) << power.name;
        EXPECT_EQ(code, 0) << power.name;
    }
    EXPECT_EQ(with_status(_vmldExpm1, 5e-324), std::pair(0.0, 0));
    EXPECT_TRUE(std::signbit(call(_vmldExpm1, -1e-310)));
}

TEST_F(Exponentials, AreExactWhereTheResultIsANumber) {
    for (int k = -1074; k <= 1023; ++k) {
        EXPECT_EQ(with_status(_vmldExp2, k),
                  std::pair(std::ldexp(1.0, k), k < -1022 ? int{kVmlUnderflow} : 0));
    }
    double power = 1;  // exact to 10^22
    for (int k = 0; k <= 22; ++k, power *= 10) EXPECT_EQ(call(_vmldExp10, k), power);
}

TEST_F(Exponentials, Expm1MeetsItsAccuracyFromTinyArgumentsToTheThresholds) {
    std::mt19937_64 random(2);
    std::uniform_real_distribution<double> whole(-40, 709.78), one(-1, 1), step(-0.04, 0.04);
    std::vector<double> x;
    for (int i = 0; i < 60000; ++i) {
        x.push_back(whole(random));
        x.push_back(one(random));
        x.push_back(step(random));
        x.push_back(40 * one(random));
        x.push_back(std::ldexp(one(random), -static_cast<int>(random() % 1070)));
    }
    // Where 1 is half an ulp of the exponential, and where the table's steps change next to 0.
    for (int i = 0; i < 2000; ++i) {
        x.push_back(std::log(2) * (53 + i * 0x1p-10));
        for (const double edge : {0.5, 1.5, -0.5, -1.5})
            x.push_back(edge * std::log(2) / 64 + (i - 1000) * 0x1p-60);
    }
    expect_within(0.52, _vmldExpm1, mpfr_expm1, x, "expm1");
}

TEST_F(Exponentials, Expm1KeepsTinyArgumentsAndReportsOverflowAlone) {
    for (const double x : {0.0, 5e-324, 0x1.8p-1050, 0x1p-1022, 0x1p-60}) {
        EXPECT_EQ(bits_of(call(_vmldExpm1, x)), bits_of(x)) << x;
        EXPECT_EQ(bits_of(call(_vmldExpm1, -x)), bits_of(-x)) << x;
    }
    for (const double x : {-38.0, -700.0, -708.5, -1e300, -kInfinity}) {
        EXPECT_EQ(with_status(_vmldExpm1, x), std::pair(-1.0, 0)) << x;
    }
    const double overflow = 0x1.62e42fefa39efp+9;
    EXPECT_EQ(with_status(_vmldExpm1, overflow), std::pair(0x1.fffffffffff2ap+1023, 0));
    EXPECT_EQ(with_status(_vmldExpm1, std::nextafter(overflow, 1e9)),
              std::pair(kInfinity, int{kVmlOverflow}));
    EXPECT_EQ(with_status(_vmldExpm1, kInfinity), std::pair(kInfinity, 0));
    EXPECT_TRUE(std::isnan(with_status(_vmldExpm1, -kNaN).first));
    EXPECT_EQ(with_status(_vmldExpm1, kNaN).second, 0);
}

}  // namespace
}  // namespace ozk::vml::test
