#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/vsl/distributions/discrete_support.hpp"

namespace {

using namespace distribution_test;

DiscreteCase uniform(int32_t a, int32_t b) {
    const double width = double(b) - a;
    return {"Uniform from " + std::to_string(a) + " to " + std::to_string(b),
            [=](OzkVslStream* s, int32_t n, int32_t* r) {
                return _vsliRngUniform(kOzkVslUniformStandard, s, n, r, a, b);
            },
            a,
            int64_t{b} - 1,
            a + (width - 1) / 2,
            (width * width - 1) / 12,
            [=](int64_t k) { return static_cast<double>(k + 1 - a) / width; }};
}

std::vector<DiscreteCase> cases() {
    std::vector<DiscreteCase> all;
    for (const auto& [a, b] : {std::pair(-3, 7), {-2147483647, 2147483647}, {5, 6}}) {
        all.push_back(uniform(a, b));
    }
    return all;
}

class Discrete : public testing::TestWithParam<DiscreteCase> {};
INSTANTIATE_TEST_SUITE_P(, Discrete, testing::ValuesIn(cases()),
                         [](const auto& instance) { return test_name(instance.param.name); });

TEST_P(Discrete, FitsItsDistributionAndMoments) { fits(GetParam()); }

TEST_P(Discrete, SequenceDoesNotDependOnHowItIsCutIntoCalls) { cut_into_calls(GetParam().draw); }

TEST(ChiSquare, TellsADistributionFromItsNeighbours) {
    constexpr int n = 1 << 17;
    OzkVslStream* stream = make_stream(kOzkVslMt19937);
    std::vector<int32_t> x(n);
    ASSERT_EQ(uniform(0, 100).draw(stream, n, x.data()), kOzkVslSuccess);
    __vslDeleteStream(&stream);
    std::sort(x.begin(), x.end());
    EXPECT_GT(chi_square_p_value(x, uniform(0, 100)), 1e-3);
    EXPECT_LT(chi_square_p_value(x, uniform(0, 101)), 1e-9);
    std::replace(x.begin(), x.begin() + n / 400, 0, 1);  // a quarter of the zeros
    std::sort(x.begin(), x.end());
    EXPECT_LT(chi_square_p_value(x, uniform(0, 100)), 1e-9);
}

}  // namespace
