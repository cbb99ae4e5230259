#include "tests/vml/elementwise.hpp"
#include "tests/vml/every_single.hpp"

namespace ozk::vml::test {
namespace {

using Function = UnaryOf<float>;
using Strided = UnaryStridedOf<float>;

struct Named {
    const char* name;
    Function levels[3];
    Strided strided[3];
    double (*exact)(double);
    double low;   // largest error of LA, ulp
    float first;  // the lower end of the domain, a pole
};
const Named kFunctions[] = {
    {"Ln", {_vmlsLn_21, _vmlsLn, _vmlsLn_11}, {_vmlsLnI_21, _vmlsLnI, _vmlsLnI_11}, std::log, 2.5, 0},
    {"Log2", {_vmlsLog2, _vmlsLog2, _vmlsLog2}, {_vmlsLog2I, _vmlsLog2I, _vmlsLog2I}, std::log2, 0, 0},
    {"Log10",
     {_vmlsLog10_21, _vmlsLog10, _vmlsLog10_11},
     {_vmlsLog10I_21, _vmlsLog10I, _vmlsLog10I_11},
     std::log10,
     3,
     0},
    {"Log1p",
     {_vmlsLog1p_21, _vmlsLog1p, _vmlsLog1p_11},
     {_vmlsLog1pI_21, _vmlsLog1pI, _vmlsLog1pI_11},
     std::log1p,
     2.5,
     -1}};

class LnSingle : public FreshState {
  protected:
    void SetUp() override {
        FreshState::SetUp();
        _vmlSetMode(kVmlErrorIgnore);
    }
};

TEST_F(LnSingle, KeepsTheBoundsOfItsLevelsAtEveryArgument) {
    for (const Named& function : kFunctions) {
        SCOPED_TRACE(function.name);
        expect_levels_everywhere(function.levels, {function.low, 0.52, 0x1p11}, function.exact);
    }
}

// Where the logarithm is close to 0 and its relative error would show first: all arguments within 2^-8 of there.
TEST_F(LnSingle, KeepsTheBoundsNextToItsZero) {
    for (const Named& function : kFunctions) {
        const double zero = function.first == 0 ? 1 : 0;
        std::vector<float> x, y(3 << 16);
        for (int i = -1 << 16; i < 2 << 16; ++i) x.push_back(static_cast<float>(zero + i * 0x1p-24));
        for (size_t level = 0; level < 3; ++level) {
            function.levels[level](static_cast<int32_t>(x.size()), x.data(), y.data());
            for (size_t i = 0; i < x.size(); ++i) {
                const double exact = function.exact(x[i]);
                const double bound = level == 0 ? std::max(function.low, 0.52) : level == 1 ? 0.52 : 0x1p11;
                const double ulp =
                    exact == 0 ? 1e-45 : std::ldexp(1.0, std::ilogb(static_cast<float>(exact)) - 23);
                ASSERT_LE(std::abs(y[i] - exact), bound * ulp)
                    << function.name << " " << level << " " << x[i];
            }
        }
    }
}

TEST_F(LnSingle, IsExactWhereTheResultIs) {
    for (int n = -149; n < 128; ++n)
        EXPECT_EQ(call(_vmlsLog2, std::ldexp(1.0f, n)), static_cast<float>(n)) << n;
    float power = 1;
    for (int n = 0; n <= 10; ++n, power *= 10) EXPECT_EQ(call(_vmlsLog10, power), static_cast<float>(n)) << n;
    for (const Named& function : kFunctions)
        for (const Function f : function.levels)
            EXPECT_TRUE(same_bits(call(f, function.first + 1), 0.0f)) << function.name;
    for (const Function f : kFunctions[3].levels) EXPECT_TRUE(same_bits(call(f, -0.0f), -0.0f));
    for (const Function f : {_vmlsLog1p, _vmlsLog1p_21})
        for (const float x : {1e-45f, -1e-45f, 0x1p-126f, 1e-30f}) EXPECT_EQ(call(f, x), x);
}

TEST_F(LnSingle, ReportsPolesAndArgumentsOutsideTheDomain) {
    for (const Named& function : kFunctions) {
        SCOPED_TRACE(function.name);
        const double below = std::nextafter(function.first, -1e9f);
        std::vector<SpecialCase> cases = {{function.first, -kInfinity, kVmlSingularity},
                                          {below, kNaN, kVmlDomain},
                                          {-kInfinity, kNaN, kVmlDomain},
                                          {-3e38, kNaN, kVmlDomain},
                                          {kInfinity, kInfinity, kVmlOk},
                                          {kNaN, kNaN, kVmlOk},
                                          {-kNaN, kNaN, kVmlOk}};
        if (function.first == 0) cases.push_back({-0.0, -kInfinity, kVmlSingularity});
        for (const Function f : function.levels) expect_special_values(f, cases, 2);
    }
}

TEST_F(LnSingle, ReadsSubnormalArgumentsAsZeroWhereTheModeAsksForIt) {
    _vmlSetMode(kVmlDenormalFlush);
    for (const Named& function : kFunctions) {
        for (const Function f : function.levels) {
            const bool pole = function.first == 0;
            EXPECT_EQ(with_status(f, 1e-40f),
                      pole ? std::pair(-std::numeric_limits<float>::infinity(), int{kVmlSingularity})
                           : std::pair(0.0f, 0));
            EXPECT_EQ(with_status(f, 0x1p-126f).second, 0);
        }
    }
}

TEST_F(LnSingle, BitsDoNotDependOnPlaceStrideOrLength) {
    std::vector<float> x;
    for (const double v : random_magnitudes(1e-44, 1e38, 83, 3)) x.push_back(static_cast<float>(std::abs(v)));
    x[7] = std::numeric_limits<float>::quiet_NaN();
    x[40] = 0;
    for (const Named& function : kFunctions)
        for (size_t level = 0; level < 3; ++level)
            expect_same_bits_everywhere(function.levels[level], function.strided[level], x);
}

}  // namespace
}  // namespace ozk::vml::test
