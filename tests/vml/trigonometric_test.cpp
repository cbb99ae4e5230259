#include "tests/vml/elementwise.hpp"

namespace ozk::vml::test {
namespace {

using PairKernel = void (*)(int32_t, const double*, double*, double*);
using StridedPairKernel = void (*)(int32_t, const double*, int32_t, double*, int32_t, double*, int32_t);

struct TrigonometricLevel {
    const char* name;
    Unary sin, cos;
    UnaryStrided sin_strided, cos_strided;
    PairKernel both;
    StridedPairKernel both_strided;
    double bound;  // ulp
};
const TrigonometricLevel kLevels[] = {
    {"LA", _vmldSin_50, _vmldCos_50, _vmldSinI_50, _vmldCosI_50, _vmldSinCos_50, _vmldSinCosI_50, 4.0},
    {"HA", _vmldSin_HA, _vmldCos_HA, _vmldSinI_HA, _vmldCosI_HA, _vmldSinCos_HA, _vmldSinCosI_HA, 0.55},
    {"EP", _vmldSin_26, _vmldCos_26, _vmldSinI_26, _vmldCosI_26, _vmldSinCos_26, _vmldSinCosI_26, 0x1p26}};

// The doubles nearest to multiples of pi/2, and those that come closer to one than any other of their size.
std::vector<double> near_quarter_turns() {
    std::vector<double> x;
    mpfr_t quarter;
    mpfr_init2(quarter, 160);
    for (int k = 1; k < 8300; k = k < 1500 ? k + 1 : k + 7) {
        mpfr_const_pi(quarter, MPFR_RNDN);
        mpfr_mul_d(quarter, quarter, k / 2.0, MPFR_RNDN);
        const double nearest = mpfr_get_d(quarter, MPFR_RNDN);
        x.insert(x.end(), {nearest, -std::nextafter(nearest, 0.0), std::nextafter(nearest, kInfinity)});
    }
    mpfr_clear(quarter);
    for (int doublings = 0; doublings < 14; ++doublings) {
        x.push_back(std::ldexp(0x1.6c6cbc45dc8dep+5, doublings));
    }
    x.insert(x.end(), {0x1.65a1dd290660fp+16, 0x1.9eb7148f354d6p+20, 0x1.b951f1572eba5p+23,
                       std::ldexp(6381956970095103.0, 797)});
    return x;
}

// The middles between table entries, where the reduced argument is largest.
std::vector<double> between_table_entries() {
    std::vector<double> x;
    constexpr double kPi = 0x1.921fb54442d18p+1;
    for (int k = 0; k < 600; ++k) {
        for (const int step : {64, 128}) {
            const double middle = (k + 0.5) * kPi / step;
            for (const double shift : {-1e-6, -1e-12, 0.0, 1e-12, 1e-6}) x.push_back(middle + shift);
        }
    }
    return x;
}

class Trigonometric : public FreshState {};

TEST_F(Trigonometric, EveryLevelKeepsItsBoundOverAllFiniteArguments) {
    const struct {
        const char* name;
        std::vector<double> x;
    } sets[] = {{"one turn", random_uniform(-6.3, 6.3, 12000, 1)},
                {"about 0", random_uniform(-0.05, 0.05, 4000, 2)},
                {"block path", random_uniform(-12900.0, 12900.0, 12000, 3)},
                {"all magnitudes", random_magnitudes(5e-324, 1.797e308, 12000, 4)},
                {"near multiples of pi/2", near_quarter_turns()},
                {"between table entries", between_table_entries()}};
    for (const TrigonometricLevel& level : kLevels) {
        for (const auto& set : sets) {
            expect_within(level.bound, level.sin, mpfr_sin, set.x,
                          (std::string("sin ") + level.name + ", " + set.name).c_str());
            expect_within(level.bound, level.cos, mpfr_cos, set.x,
                          (std::string("cos ") + level.name + ", " + set.name).c_str());
        }
    }
}

TEST_F(Trigonometric, BothResultsAreSymmetricAndThoseOfTheSingleFunctionsBitForBit) {
    std::vector<double> x = random_uniform(-12900.0, 12900.0, 4000, 5);
    for (const auto& more : {random_magnitudes(5e-324, 1.797e308, 4000, 6), between_table_entries(),
                             near_quarter_turns(), std::vector<double>{0.0, -0.0}}) {
        x.insert(x.end(), more.begin(), more.end());
    }
    const int32_t n = static_cast<int32_t>(x.size());
    std::vector<double> negated(x), sine(x.size()), cosine(x.size()), other(x.size()), s(x.size()),
        c(x.size());
    for (double& v : negated) v = -v;
    for (const TrigonometricLevel& level : kLevels) {
        level.sin(n, x.data(), sine.data());
        level.cos(n, x.data(), cosine.data());
        level.both(n, x.data(), s.data(), c.data());
        for (size_t i = 0; i < x.size(); ++i) {
            ASSERT_TRUE(same_bits(s[i], sine[i]) && same_bits(c[i], cosine[i])) << level.name << " " << x[i];
        }
        level.sin(n, negated.data(), other.data());
        for (size_t i = 0; i < x.size(); ++i)
            ASSERT_TRUE(same_bits(other[i], -sine[i])) << level.name << " " << x[i];
        level.cos(n, negated.data(), other.data());
        for (size_t i = 0; i < x.size(); ++i)
            ASSERT_TRUE(same_bits(other[i], cosine[i])) << level.name << " " << x[i];
    }
}

TEST_F(Trigonometric, InfinitiesAreDomainErrorsAndZerosKeepTheirSign) {
    const std::vector<SpecialCase> sines = {{0.0, 0.0, kVmlOk},
                                            {-0.0, -0.0, kVmlOk},
                                            {5e-324, 5e-324, kVmlOk},
                                            {-1e-310, -1e-310, kVmlOk},
                                            {1e-160, 1e-160, kVmlOk},
                                            {kInfinity, kNaN, kVmlDomain},
                                            {-kInfinity, kNaN, kVmlDomain},
                                            {kNaN, kNaN, kVmlOk}};
    std::vector<SpecialCase> cosines = sines;
    for (SpecialCase& special : cosines) {
        if (std::isfinite(special.argument)) special.result = 1.0;
    }
    for (const TrigonometricLevel& level : kLevels) {
        expect_special_values(level.sin, sines, 1.5);
        expect_special_values(level.cos, cosines, 1.5);
    }
}

TEST_F(Trigonometric, BitsDoNotDependOnPlaceStrideOrLength) {
    std::vector<double> x = random_uniform(-100.0, 100.0, 83, 7);
    x[7] = kNaN;
    x[40] = 1e300;
    x[41] = -0.0;
    for (const TrigonometricLevel& level : kLevels) {
        expect_same_bits_everywhere(level.sin, level.sin_strided, x);
        expect_same_bits_everywhere(level.cos, level.cos_strided, x);
    }
}

TEST_F(Trigonometric, EitherResultOfSinCosMayReplaceTheArgumentAndHaveItsOwnStride) {
    const std::vector<double> x = random_uniform(-20000.0, 20000.0, 51, 8);
    const int32_t n = static_cast<int32_t>(x.size());
    std::vector<double> sine(x.size()), cosine(x.size()), other(x.size());
    for (const TrigonometricLevel& level : kLevels) {
        level.sin(n, x.data(), sine.data());
        level.cos(n, x.data(), cosine.data());
        std::vector<double> in_place(x);
        level.both(n, in_place.data(), in_place.data(), other.data());
        EXPECT_TRUE(in_place == sine && other == cosine) << level.name;
        in_place = x;
        level.both(n, in_place.data(), other.data(), in_place.data());
        EXPECT_TRUE(in_place == cosine && other == sine) << level.name;
        std::vector<double> spread(x.size() * 2), s(x.size() * 3, 7.0), c(x.size(), 7.0);
        for (size_t i = 0; i < x.size(); ++i) spread[2 * i] = x[i];
        level.both_strided(n, spread.data(), 2, s.data(), 3, c.data(), 1);
        for (size_t i = 0; i < x.size(); ++i) {
            ASSERT_TRUE(s[3 * i] == sine[i] && s[3 * i + 1] == 7.0 && c[i] == cosine[i]) << level.name;
        }
    }
}

}  // namespace
}  // namespace ozk::vml::test
