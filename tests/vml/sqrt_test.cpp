#include "tests/vml/elementwise.hpp"

namespace ozk::vml::test {
namespace {

const Level kLevels[] = {{_vmldSqrt_50, _vmldSqrtI_50, 4.0},
                         {_vmldSqrt_HA, _vmldSqrtI_HA, 0.5},
                         {_vmldSqrt_26, _vmldSqrtI_26, 0x1p26}};

std::vector<double> positive(std::vector<double> x) {
    for (double& v : x) v = std::abs(v);
    return x;
}

class Sqrt : public FreshState {};

TEST_F(Sqrt, EveryLevelKeepsItsBoundFromTheSmallestSubnormalToTheLargestNumber) {
    for (const Level& level : kLevels) {
        expect_within(level.bound, level.kernel, mpfr_sqrt,
                      positive(random_magnitudes(5e-324, 1.7e308, 20000, 1)), "random");
        expect_within(level.bound, level.kernel, mpfr_sqrt, random_uniform(0.9, 4.1, 20000, 2), "around one");
        std::vector<double> edges;
        for (int exponent = -1074; exponent < 1024; ++exponent) {
            const double power = std::ldexp(1.0, exponent);
            for (const double x : {std::nextafter(power, 0.0), power, std::nextafter(power, kInfinity)}) {
                edges.push_back(x);
            }
        }
        expect_within(level.bound, level.kernel, mpfr_sqrt, edges, "around powers of two");
    }
}

TEST_F(Sqrt, NegativeArgumentsAreDomainErrorsAndZerosKeepTheirSign) {
    const std::vector<SpecialCase> cases = {{-1.0, kNaN, kVmlDomain},
                                            {-5e-324, kNaN, kVmlDomain},
                                            {-kInfinity, kNaN, kVmlDomain},
                                            {-0.0, -0.0, kVmlOk},
                                            {0.0, 0.0, kVmlOk},
                                            {kNaN, kNaN, kVmlOk},
                                            {-kNaN, kNaN, kVmlOk},
                                            {kInfinity, kInfinity, kVmlOk},
                                            {4.0, 2.0, kVmlOk},
                                            {0x1p-1074, 0x1p-537, kVmlOk}};
    for (const Level& level : kLevels) expect_special_values(level.kernel, cases, 2.0);
}

TEST_F(Sqrt, BitsDoNotDependOnPlaceStrideOrLength) {
    std::vector<double> x = random_magnitudes(1e-300, 1e300, 83, 3);
    x[7] = kNaN;
    x[40] = 0.0;
    for (const Level& level : kLevels) expect_same_bits_everywhere(level.kernel, level.strided, positive(x));
}

}  // namespace
}  // namespace ozk::vml::test
