#include "tests/vml/logarithms.hpp"

namespace ozk::vml::test {
namespace {

struct Base {
    const char* name;
    Unary f;
    Exact exact;
    double limit, base;
};
constexpr Base kBases[] = {{"log2", _vmldLog2, mpfr_log2, 0.52, 2},
                           {"log10", _vmldLog10, mpfr_log10, 0.52, 10},
                           {"log10, low", _vmldLog10_50, mpfr_log10, 0.52, 10}};

class Logarithms : public FreshState {};

TEST_F(Logarithms, MeetTheAccuracyOfTheirLevel) {
    const std::vector<double> x = arguments(40000);
    std::mt19937_64 random(3);
    std::vector<double> subnormal(10000);
    for (double& v : subnormal) v = std::bit_cast<double>(random() >> (12 + random() % 50) | 1);
    for (const Base& log : kBases) {
        expect_within(log.limit, log.f, log.exact, x, log.name);
        expect_within(log.limit, log.f, log.exact, subnormal, log.name);
    }
}

TEST_F(Logarithms, OfPowersOfTheirBaseAreExact) {
    for (int k = -1074; k <= 1023; ++k) EXPECT_EQ(call(_vmldLog2, std::ldexp(1.0, k)), k);
    for (const Unary f : {_vmldLog10, _vmldLog10_50}) {
        double power = 1;  // exact to 10^22
        for (int k = 0; k <= 22; ++k, power *= 10) EXPECT_EQ(call(f, power), k);
    }
}

TEST_F(Logarithms, ReportPolesAndArgumentsOutsideTheDomain) {
    for (const Base& log : kBases) {
        for (const double zero : {0.0, -0.0}) {
            EXPECT_EQ(with_status(log.f, zero), std::pair(-kInfinity, int{kVmlSingularity}));
        }
        for (const double x : {-1.0, -kInfinity, -5e-324, -1e308}) {
            EXPECT_TRUE(std::isnan(with_status(log.f, x).first)) << log.name << x;
            EXPECT_EQ(with_status(log.f, x).second, kVmlDomain) << log.name << x;
        }
        EXPECT_EQ(with_status(log.f, kInfinity), std::pair(kInfinity, 0));
        EXPECT_TRUE(std::isnan(with_status(log.f, kNaN).first));
        EXPECT_EQ(with_status(log.f, -kNaN).second, 0);
        EXPECT_EQ(bits_of(call(log.f, 1.0)), bits_of(0.0));
        _vmlSetMode(kVmlDenormalFlush);
        EXPECT_EQ(with_status(log.f, 1e-310), std::pair(-kInfinity, int{kVmlSingularity}));
        EXPECT_EQ(with_status(log.f, 0x1p-1022).second, 0);
        reset();
    }
}

// Both sides of every edge between two steps of the tables, where the difference from the step's middle is largest.
TEST_F(Logarithms, HoldTheirBoundsAtTheEdgesOfTheTablesSteps) {
    std::vector<double> x, less_one;
    for (uint64_t bits = 0x3FE6A08000000000; bits < 0x3FF7000000000000; bits += 0x0000100000000000) {
        for (int64_t i = -3; i <= 3; ++i) {
            const double z = std::bit_cast<double>(bits + static_cast<uint64_t>(i));
            for (const int k : {-1022, -53, -2, -1, 0, 1, 2, 52, 53, 54, 1000}) {
                x.push_back(std::ldexp(z, k < -1021 ? k + 1 : k));
                less_one.push_back(std::ldexp(z, k) - 1);
            }
        }
    }
    std::erase(less_one, -1.0);
    for (const Base& log : kBases) expect_within(log.limit, log.f, log.exact, x, log.name);
    expect_within(0.52, _vmldLog1p, mpfr_log1p, less_one, "log1p");
}

TEST_F(Logarithms, Log1pMeetsItsAccuracyFromMinusOneToTheLargestNumber) {
    std::mt19937_64 random(4);
    std::uniform_real_distribution<double> unit(0, 1);
    std::vector<double> x;
    for (int i = 0; i < 60000; ++i) {
        const double m = 1 + unit(random);
        x.push_back(std::ldexp(m, static_cast<int>(random() % 2046) - 1022));
        x.push_back(std::ldexp(m, static_cast<int>(random() % 80) - 60));
        x.push_back(-std::ldexp(m, -1 - static_cast<int>(random() % 70)));
        x.push_back(std::ldexp(m, -1) - 1);
        x.push_back(std::ldexp(m, -static_cast<int>(random() % 50)) - 1);
    }
    expect_within(0.52, _vmldLog1p, mpfr_log1p, x, "log1p");
    // Around the bound of the block path and at the ends of the domain.
    expect_within(0.52, _vmldLog1p, mpfr_log1p,
                  {std::nextafter(0x1p1013, 0), 0x1p1013, 0x1.fffffffffffffp1023, std::nextafter(-1.0, 0),
                   0x1p-53, std::nextafter(0x1p-53, 1), 0x1.8p-53, -0x1p-53, -0x1p-54},
                  "log1p, edges");
}

TEST_F(Logarithms, Log1pKeepsTinyArgumentsAndTheSignOfZero) {
    for (const double x : {0.0, 5e-324, 0x1.8p-1050, 0x1p-1022, 0x1p-60}) {
        EXPECT_EQ(bits_of(call(_vmldLog1p, x)), bits_of(x)) << x;
        EXPECT_EQ(bits_of(call(_vmldLog1p, -x)), bits_of(-x)) << x;
    }
    EXPECT_EQ(with_status(_vmldLog1p, -1.0), std::pair(-kInfinity, int{kVmlSingularity}));
    for (const double x : {std::nextafter(-1.0, -2.0), -2.0, -1e300, -kInfinity}) {
        EXPECT_TRUE(std::isnan(with_status(_vmldLog1p, x).first)) << x;
        EXPECT_EQ(with_status(_vmldLog1p, x).second, kVmlDomain) << x;
    }
    EXPECT_EQ(with_status(_vmldLog1p, kInfinity), std::pair(kInfinity, 0));
    EXPECT_TRUE(std::isnan(with_status(_vmldLog1p, kNaN).first));
    EXPECT_EQ(with_status(_vmldLog1p, -kNaN).second, 0);
}

TEST_F(Logarithms, Log1pReadsSubnormalArgumentsAsZeroWhereTheModeAsksForIt) {
    _vmlSetMode(kVmlDenormalFlush);
    for (const double x : {5e-324, -1e-310}) {
        EXPECT_EQ(with_status(_vmldLog1p, x), std::pair(0.0, 0));
        EXPECT_EQ(std::signbit(call(_vmldLog1p, x)), std::signbit(x));
    }
    EXPECT_EQ(with_status(_vmldLog1p, 0x1p-1022), std::pair(0x1p-1022, 0));
}

template <class T, class F>
void expect_exponents(F f) {
    using limits = std::numeric_limits<T>;
    std::vector<T> x;
    for (int k = limits::min_exponent - limits::digits; k < limits::max_exponent; ++k) {
        for (const T sign : {T(1), T(-1)}) {
            const T power = std::ldexp(sign, k);
            x.insert(x.end(),
                     {power, std::nextafter(power, T(0)), std::nextafter(power, sign * limits::max())});
        }
    }
    std::vector<T> y(x.size());
    f(static_cast<int32_t>(x.size()), x.data(), y.data());
    for (size_t i = 0; i < x.size(); ++i) EXPECT_EQ(y[i], std::logb(x[i])) << x[i];
}

TEST_F(Logarithms, LogbIsTheExponentOfEveryFiniteNumber) {
    expect_exponents<double>(_vmldLogb);
    expect_exponents<float>(_vmlsLogb);
    for (const double x : {0.0, -0.0}) {
        EXPECT_EQ(with_status(_vmldLogb, x), std::pair(-kInfinity, int{kVmlSingularity}));
    }
    for (const double x : {kInfinity, -kInfinity})
        EXPECT_EQ(with_status(_vmldLogb, x), std::pair(kInfinity, 0));
    EXPECT_TRUE(std::isnan(with_status(_vmldLogb, kNaN).first));
    EXPECT_EQ(with_status(_vmldLogb, -3.0), std::pair(1.0, 0));
}

}  // namespace
}  // namespace ozk::vml::test
