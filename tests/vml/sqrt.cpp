#include "tests/vml/mpfr_ulp.hpp"

namespace {

using namespace ozk::vml::test;

struct Level {
    Kernel kernel;
    StridedKernel strided;
    double bound;  // ulp
};
const Level kLevels[] = {{_vmldSqrt_50, _vmldSqrtI_50, 4.0},
                         {_vmldSqrt_HA, _vmldSqrtI_HA, 0.5},
                         {_vmldSqrt_26, _vmldSqrtI_26, 0x1p26}};

void sqrt_oracle(mpfr_t result, double x) {
    mpfr_set_d(result, x, MPFR_RNDN);
    mpfr_sqrt(result, result, MPFR_RNDN);
}

std::vector<double> positive(std::vector<double> x) {
    for (double& v : x) v = std::abs(v);
    return x;
}

TEST(Sqrt, EveryLevelKeepsItsBoundFromTheSmallestSubnormalToTheLargestNumber) {
    for (const Level& level : kLevels) {
        expect_accuracy(level.kernel, sqrt_oracle, positive(random_magnitudes(5e-324, 1.7e308, 20000, 1)),
                        level.bound, "random");
        expect_accuracy(level.kernel, sqrt_oracle, random_uniform(0.9, 4.1, 20000, 2), level.bound,
                        "around one");
        std::vector<double> edges;
        for (int exponent = -1074; exponent < 1024; ++exponent) {
            const double power = std::ldexp(1.0, exponent);
            for (const double x : {std::nextafter(power, 0.0), power, std::nextafter(power, kInfinity)}) {
                edges.push_back(x);
            }
        }
        expect_accuracy(level.kernel, sqrt_oracle, edges, level.bound, "around powers of two");
    }
}

TEST(Sqrt, NegativeArgumentsAreDomainErrorsAndZerosKeepTheirSign) {
    const std::vector<SpecialCase> cases = {{-1.0, kNan, kVmlDomain},
                                            {-5e-324, kNan, kVmlDomain},
                                            {-kInfinity, kNan, kVmlDomain},
                                            {-0.0, -0.0, kVmlOk},
                                            {0.0, 0.0, kVmlOk},
                                            {kNan, kNan, kVmlOk},
                                            {-kNan, kNan, kVmlOk},
                                            {kInfinity, kInfinity, kVmlOk},
                                            {4.0, 2.0, kVmlOk},
                                            {0x1p-1074, 0x1p-537, kVmlOk}};
    for (const Level& level : kLevels) expect_special_values(level.kernel, cases, 2.0);
}

TEST(Sqrt, BitsDoNotDependOnPlaceStrideOrLength) {
    std::vector<double> x = random_magnitudes(1e-300, 1e300, 83, 3);
    x[7] = kNan;
    x[40] = 0.0;
    const uint64_t mode = _vmlSetMode(kVmlErrorIgnore);
    for (const Level& level : kLevels) expect_same_bits_everywhere(level.kernel, level.strided, positive(x));
    _vmlSetMode(static_cast<uint32_t>(mode));
}

}  // namespace
