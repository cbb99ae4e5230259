#include "tests/vml/elementwise.hpp"

namespace ozk::vml::test {
namespace {

const Level kLevels[] = {{_vmldErfInv_HA, _vmldErfInvI_HA, 0.8}, {_vmldErfInv_26, _vmldErfInvI_26, 0x1p26}};

// Winitzki's formula, right to 2^-8.
double rough(double magnitude) {
    constexpr double kA = 0.147, kPi = 0x1.921fb54442d18p+1;
    if (magnitude < 0.01) return magnitude * std::sqrt(kPi) / 2;
    const double logarithm = std::log((1 - magnitude) * (1 + magnitude));
    const double half = 2 / (kPi * kA) + logarithm / 2;
    return std::sqrt(std::sqrt(half * half - logarithm / kA) - half);
}

// Newton's method on erf below 1/2, on erfc of the exact 1 - |x| above.
int erf_inv_oracle(mpfr_t result, const mpfr_t x, mpfr_rnd_t round) {
    const double magnitude = std::abs(mpfr_get_d(x, round));
    const bool tail = magnitude >= 0.5;
    mpfr_t y, difference, inverse_slope, scale;
    mpfr_inits2(160, y, difference, inverse_slope, scale, static_cast<mpfr_ptr>(nullptr));
    mpfr_set_d(y, rough(magnitude), round);
    mpfr_const_pi(scale, round);
    mpfr_sqrt(scale, scale, round);
    mpfr_div_2ui(scale, scale, 1, round);
    for (int step = 0; step < 5; ++step) {
        (tail ? mpfr_erfc : mpfr_erf)(difference, y, round);
        mpfr_sub_d(difference, difference, tail ? 1 - magnitude : magnitude, round);
        mpfr_sqr(inverse_slope, y, round);
        mpfr_exp(inverse_slope, inverse_slope, round);
        mpfr_mul(inverse_slope, inverse_slope, scale, round);
        mpfr_mul(difference, difference, inverse_slope, round);
        (tail ? mpfr_add : mpfr_sub)(y, y, difference, round);
    }
    mpfr_setsign(result, y, mpfr_signbit(x), round);
    mpfr_clears(y, difference, inverse_slope, scale, static_cast<mpfr_ptr>(nullptr));
    return 0;
}

// Arguments with 1 - |x| spread over all exponents.
std::vector<double> tails(int count, uint64_t seed) {
    std::vector<double> x = random_magnitudes(0x1p-53, 0.5, count, seed);
    for (double& v : x) v = std::copysign(1 - std::abs(v), v);
    return x;
}

// Where one polynomial ends and the next begins: eighths of powers of two of |x| and of 1 - |x|.
std::vector<double> between_polynomials() {
    std::vector<double> x = {0x1.fffffffffffffp-1, -0x1.fffffffffffffp-1, 0x1.ffffffffffffep-1};
    for (int exponent = -53; exponent < -1; ++exponent) {
        for (int eighth = 8; eighth < 16; ++eighth) {
            const double edge = std::ldexp(eighth, exponent - 3);
            for (const double v : {std::nextafter(edge, 0.0), edge}) {
                if (exponent > -7) x.push_back(v);
                if (1 - v < 1) x.push_back(-(1 - v));
            }
        }
    }
    return x;
}

class ErfInv : public FreshState {};

TEST_F(ErfInv, EveryLevelKeepsItsBoundOverTheWholeDomain) {
    const struct {
        const char* name;
        std::vector<double> x;
    } sets[] = {{"whole domain", random_uniform(-1.0, 1.0, 1000, 1)},
                {"about 1/32", random_uniform(0.02, 0.05, 500, 2)},
                {"tails", tails(1000, 3)},
                {"all magnitudes", random_magnitudes(5e-324, 0.5, 500, 4)},
                {"between polynomials", between_polynomials()}};
    for (const Level& level : kLevels) {
        for (const auto& set : sets)
            expect_within(level.bound, level.kernel, erf_inv_oracle, set.x, set.name);
    }
}

TEST_F(ErfInv, IsOddAndGrowsWithItsArgument) {
    std::vector<double> x = random_uniform(0.0, 1.0, 20000, 5);
    const std::vector<double> more = tails(20000, 6);
    for (const double v : more) x.push_back(std::abs(v));
    std::sort(x.begin(), x.end());
    std::vector<double> negated(x), y(x.size()), other(x.size());
    for (double& v : negated) v = -v;
    const int32_t n = static_cast<int32_t>(x.size());
    for (const Level& level : kLevels) {
        level.kernel(n, x.data(), y.data());
        level.kernel(n, negated.data(), other.data());
        for (size_t i = 0; i < x.size(); ++i) ASSERT_TRUE(same_bits(other[i], -y[i])) << x[i];
    }
    _vmldErfInv_HA(n, x.data(), y.data());
    for (size_t i = 1; i < x.size(); ++i) ASSERT_LE(y[i - 1], y[i]) << x[i];
}

TEST_F(ErfInv, OneIsAPoleAndBeyondItIsNoDomain) {
    const std::vector<SpecialCase> cases = {{1.0, kInfinity, kVmlSingularity},
                                            {-1.0, -kInfinity, kVmlSingularity},
                                            {0x1.0000000000001p+0, kNaN, kVmlDomain},
                                            {-2.0, kNaN, kVmlDomain},
                                            {kInfinity, kNaN, kVmlDomain},
                                            {-kInfinity, kNaN, kVmlDomain},
                                            {kNaN, kNaN, kVmlOk},
                                            {0.0, 0.0, kVmlOk},
                                            {-0.0, -0.0, kVmlOk}};
    for (const Level& level : kLevels) expect_special_values(level.kernel, cases, 0.25);
}

TEST_F(ErfInv, BitsDoNotDependOnPlaceStrideOrLength) {
    std::vector<double> x = random_uniform(-1.0, 1.0, 83, 7);
    x[7] = kNaN;
    x[40] = -1.0;
    x[41] = -0.0;
    for (const Level& level : kLevels) expect_same_bits_everywhere(level.kernel, level.strided, x);
}

}  // namespace
}  // namespace ozk::vml::test
