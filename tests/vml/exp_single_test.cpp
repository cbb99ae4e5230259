#include "tests/vml/elementwise.hpp"
#include "tests/vml/every_single.hpp"

namespace ozk::vml::test {
namespace {

using Function = UnaryOf<float>;
using Strided = UnaryStridedOf<float>;

constexpr Function kExp[] = {_vmlsExp_21, _vmlsExp, _vmlsExp_11};
constexpr Strided kExpStrided[] = {_vmlsExpI_21, _vmlsExpI, _vmlsExpI_11};

struct Named {
    const char* name;
    Function f;
    Strided strided;
    double (*exact)(double);
};
const Named kHigh[] = {{"Exp", _vmlsExp, _vmlsExpI, std::exp},
                       {"Exp2", _vmlsExp2, _vmlsExp2I, std::exp2},
                       {"Exp10", _vmlsExp10, _vmlsExp10I, ::exp10},
                       {"Expm1", _vmlsExpm1, _vmlsExpm1I, std::expm1}};

class ExpSingle : public FreshState {
  protected:
    void SetUp() override {
        FreshState::SetUp();
        _vmlSetMode(kVmlErrorIgnore);
    }
};

TEST_F(ExpSingle, KeepsTheBoundsOfItsLevelsAtEveryArgument) {
    expect_levels_everywhere(kExp, {2.4, 0.5003, 0x1p11}, [](double x) { return std::exp(x); });
    for (const Named& high : kHigh) {
        SCOPED_TRACE(high.name);
        expect_levels_everywhere({high.f, high.f, high.f}, {0, 0.5003, 0}, high.exact);
    }
}

TEST_F(ExpSingle, IsExactWhereTheResultIs) {
    for (int n = -126; n < 128; ++n)
        EXPECT_EQ(call(_vmlsExp2, static_cast<float>(n)), std::ldexp(1.0f, n)) << n;
    for (int n = -149; n < -126; ++n)
        EXPECT_EQ(with_status(_vmlsExp2, static_cast<float>(n)),
                  std::pair(std::ldexp(1.0f, n), int{kVmlUnderflow}));
    float power = 1;
    for (int n = 0; n <= 10; ++n, power *= 10) EXPECT_EQ(call(_vmlsExp10, static_cast<float>(n)), power) << n;
    for (const Function f : kExp) EXPECT_EQ(call(f, 0), 1.0f);
    EXPECT_TRUE(same_bits(call(_vmlsExpm1, -0.0f), -0.0f));
    EXPECT_TRUE(same_bits(call(_vmlsExpm1, 0.0f), 0.0f));
}

TEST_F(ExpSingle, ReportsOverflowAndSubnormalResultsAndNoLimits) {
    const std::vector<SpecialCase> limits = {
        {kInfinity, kInfinity, kVmlOk}, {-kInfinity, 0, kVmlOk},  {kNaN, kNaN, kVmlOk},
        {89, kInfinity, kVmlOverflow},  {-104, 0, kVmlUnderflow}, {3e38, kInfinity, kVmlOverflow},
        {-3e38, 0, kVmlUnderflow},      {1e-30, 1, kVmlOk},       {-1e-45, 1, kVmlOk}};
    for (const Function f : kExp) expect_special_values(f, limits, 1);
    expect_special_values(_vmlsExp2,
                          {{kInfinity, kInfinity, kVmlOk},
                           {-kInfinity, 0, kVmlOk},
                           {kNaN, kNaN, kVmlOk},
                           {128, kInfinity, kVmlOverflow},
                           {-150, 0, kVmlUnderflow},
                           {-126, 0x1p-126, kVmlOk}},
                          1);
    expect_special_values(_vmlsExp10,
                          {{kInfinity, kInfinity, kVmlOk},
                           {-kInfinity, 0, kVmlOk},
                           {kNaN, kNaN, kVmlOk},
                           {39, kInfinity, kVmlOverflow},
                           {-46, 0, kVmlUnderflow},
                           {38, 1e38f, kVmlOk}},
                          1);
    expect_special_values(_vmlsExpm1,
                          {{kInfinity, kInfinity, kVmlOk},
                           {-kInfinity, -1, kVmlOk},
                           {kNaN, kNaN, kVmlOk},
                           {89, kInfinity, kVmlOverflow},
                           {-3e38, -1, kVmlOk},
                           {1e-45, 1e-45, kVmlOk},
                           {-0.0, -0.0, kVmlOk}},
                          1);
}

// Both sides of where results stop being 0, subnormal and finite: what double precision, rounded, says decides.
TEST_F(ExpSingle, TurnsAtItsThresholdsToTheLastBit) {
    const double log2_base[] = {std::log2(std::exp(1.0)), 1, std::log2(10.0)};
    for (size_t i = 0; i < 3; ++i) {
        for (const double exponent : {-150.0, -149.0, -126.0, 128.0}) {
            float x = static_cast<float>(exponent / log2_base[i]);
            for (int k = 0; k < 20; ++k) x = std::nextafter(x, -1e9f);
            for (int k = 0; k < 40; ++k, x = std::nextafter(x, 1e9f)) {
                const float right = static_cast<float>(kHigh[i].exact(x));
                const int code = std::isinf(right)                           ? kVmlOverflow
                                 : right < std::numeric_limits<float>::min() ? kVmlUnderflow
                                                                             : kVmlOk;
                ASSERT_EQ(with_status(kHigh[i].f, x), std::pair(right, code)) << kHigh[i].name << " " << x;
            }
        }
    }
}

TEST_F(ExpSingle, FlushesSubnormalNumbersWhereTheModeAsksForIt) {
    _vmlSetMode(kVmlDenormalFlush);
    for (const Function f : kExp) EXPECT_EQ(with_status(f, -88), std::pair(0.0f, int{kVmlUnderflow}));
    EXPECT_EQ(with_status(_vmlsExp2, -130), std::pair(0.0f, int{kVmlUnderflow}));
    EXPECT_EQ(with_status(_vmlsExp10, -38), std::pair(0.0f, int{kVmlUnderflow}));
    EXPECT_TRUE(same_bits(call(_vmlsExpm1, -1e-40f), -0.0f));
}

TEST_F(ExpSingle, BitsDoNotDependOnPlaceStrideOrLength) {
    std::vector<float> x;
    for (const double v : random_uniform(-95, 95, 83, 3)) x.push_back(static_cast<float>(v));
    x[7] = std::numeric_limits<float>::quiet_NaN();
    for (size_t level = 0; level < 3; ++level)
        expect_same_bits_everywhere(kExp[level], kExpStrided[level], x);
    for (const Named& high : kHigh) expect_same_bits_everywhere(high.f, high.strided, x);
}

}  // namespace
}  // namespace ozk::vml::test
