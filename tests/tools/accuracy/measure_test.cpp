// The measure of accuracy itself: the error in ulp, the arguments, the exact values and the hard cases.

#include "tools/accuracy/measure.hpp"

#include <gtest/gtest.h>

#include <boost/math/special_functions.hpp>
#include <cmath>
#include <filesystem>
#include <numbers>
#include <set>

#include "tools/accuracy/ulp.hpp"

namespace ozk::accuracy {
namespace {

constexpr double kMax = std::numeric_limits<double>::max(), kTiny = std::numeric_limits<double>::denorm_min();

// The error of r where the exact value is y + part * 2^exponent.
template <class T>
double ulps(T r, double y, double part = 0, int exponent = 0) {
    Real exact(256), rest(256), scratch(320);
    mpfr_set_d(exact, y, MPFR_RNDN);
    mpfr_set_d(rest, part, MPFR_RNDN);
    mpfr_mul_2si(rest, rest, exponent, MPFR_RNDN);
    mpfr_add(exact, exact, rest, MPFR_RNDN);
    return judge(r, exact, scratch).ulp;
}

TEST(Ulp, IsTheSpacingOfTheRoundedExactValue) {
    EXPECT_EQ(ulps(1.5, 1.5), 0);
    EXPECT_EQ(ulps(1.5 + 0x1p-52, 1.5, 0.25, -52), 0.75);
    EXPECT_EQ(ulps(-3.0, -3.0, 0.5, -51), 0.5);
    EXPECT_EQ(ulps(1.5f, 1.5, 0.25, -23), 0.25);
    // just below a power of two: rounded up to it, so in the wider spacing above
    EXPECT_EQ(ulps(1 - 0x1p-53, 1, -1, -55), 0.375);
}

TEST(Ulp, OfSubnormalResultsIsTheSmallestSubnormal) {
    EXPECT_EQ(ulps(kTiny, 0, 1.5, -1074), 0.5);
    EXPECT_EQ(ulps(0.0, 0, 1, -1076), 0.25);
    EXPECT_EQ(ulps(3 * kTiny, 0), 3);
    EXPECT_EQ(ulps(std::numeric_limits<float>::denorm_min(), 0x1p-148), 1);
}

TEST(Ulp, AtOverflowCountsInfinityAsTheNextPowerOfTwo) {
    EXPECT_EQ(ulps(std::numeric_limits<double>::infinity(), kMax), 1);
    EXPECT_EQ(ulps(std::numeric_limits<double>::infinity(), kMax, 0.75, 971), 0.25);
    EXPECT_EQ(ulps(kMax, kMax, 0.75, 971), 0.75);
    EXPECT_EQ(ulps(std::numeric_limits<double>::infinity(), 0, 1, 2000), 0);
    EXPECT_GT(ulps(kMax, 0, 1, 1100), 0x1p52);
    EXPECT_EQ(ulps(-std::numeric_limits<double>::infinity(), kMax), kInfinity);
}

// By exact values: every double is one.
TEST(Ulp, ComesOutTheSameFromDoublesWhereTheyDecide) {
    Real exact(256), scratch(320);
    constexpr float kLargest = std::numeric_limits<float>::max(),
                    kInf = std::numeric_limits<float>::infinity();
    int decided = 0;
    for (uint64_t i = 1; i <= 20000; ++i) {
        const double y =
            std::ldexp(1 + static_cast<double>(mix(i) >> 12) * 0x1p-52, static_cast<int>(i % 290) - 155);
        mpfr_set_d(exact, y, MPFR_RNDN);
        const float near = static_cast<float>(y);
        for (const float r :
             {near, std::nextafter(near, 0.0f), std::nextafter(near, kInf), 0.0f, kLargest, kInf}) {
            Judgement<float> nearly;
            if (!judge_nearly(r, y, nearly)) continue;
            ++decided;
            const auto right = judge(r, exact, scratch);
            ASSERT_NEAR(nearly.ulp, right.ulp, 1e-6 * (1 + right.ulp)) << std::hexfloat << r << " " << y;
            ASSERT_TRUE(nearly.rounded == right.rounded || nearly.ulp == 0) << std::hexfloat << r << " " << y;
        }
    }
    EXPECT_GT(decided, 80000);
    // halfway cases, wrong infinities and NaN are left to the exact value
    Judgement<float> nearly;
    EXPECT_FALSE(judge_nearly(1.0f, 1 + 0x1p-24, nearly));
    EXPECT_FALSE(judge_nearly(1.0f, 1 + 0x1p-24 + 0x1p-50, nearly));
    EXPECT_FALSE(judge_nearly(kInf, 1, nearly));
    EXPECT_FALSE(judge_nearly(-kInf, 1e300, nearly));
    EXPECT_FALSE(judge_nearly(1.0f, kInfinity, nearly));
    EXPECT_FALSE(judge_nearly(std::nanf(""), 1, nearly));
    EXPECT_FALSE(judge_nearly(1.0f, std::nan(""), nearly));
    EXPECT_TRUE(judge_nearly(std::nanf(""), std::nan(""), nearly));
}

TEST(Ulp, WantsNanAndInfinityWhereTheExactValueIsOne) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(ulps(nan, nan), 0);
    EXPECT_EQ(ulps(1.0, nan), kInfinity);
    EXPECT_EQ(ulps(nan, 1), kInfinity);
    EXPECT_EQ(ulps(kInfinity, kInfinity), 0);
    EXPECT_EQ(ulps(kMax, kInfinity), kInfinity);
}

TEST(Arguments, VisitEveryBinadeOfTheDomain) {
    const Arguments<double> arguments(*find_oracle("Ln"), 100000, 1, "");
    std::set<int> binades;
    std::vector<double> a(kBlock), b(kBlock);
    for (int64_t block = 0; block < arguments.blocks(); ++block) {
        const int n = arguments.fill(block, a.data(), b.data());
        for (int i = 0; i < n; ++i)
            if (a[static_cast<size_t>(i)] > 0 && std::isfinite(a[static_cast<size_t>(i)]))
                binades.insert(std::max(-1023, std::ilogb(a[static_cast<size_t>(i)])));
    }
    EXPECT_EQ(*binades.begin(), -1023);
    EXPECT_EQ(*binades.rbegin(), 1023);
    EXPECT_EQ(binades.size(), 2047u);
}

TEST(Arguments, OfAnExhaustiveRunAreAllSinglePrecisionNumbers) {
    const auto arguments = Arguments<float>::exhaustive(*find_oracle("Exp"));
    ASSERT_EQ(arguments.blocks() * kBlock, int64_t{1} << 32);
    std::vector<float> a(kBlock), b(kBlock);
    ASSERT_EQ(arguments.fill(arguments.blocks() / 2, a.data(), b.data()), kBlock);
    EXPECT_TRUE(a[0] == 0 && std::signbit(a[0]));
    EXPECT_EQ(a[kBlock - 1], -1023 * std::numeric_limits<float>::denorm_min());
    EXPECT_THROW(Arguments<double>::exhaustive(*find_oracle("Exp")), std::invalid_argument);
}

TEST(Measure, FindsTheOneWrongResultWithAnyNumberOfThreads) {
    const Oracle& sqrt = *find_oracle("Sqrt");
    const Arguments<double> arguments(sqrt, 50000, 7, "");
    std::vector<double> a(kBlock), b(kBlock);
    arguments.fill(arguments.blocks() / 2, a.data(), b.data());
    const double bad = a[100];
    const std::vector<Subject<double>> subjects = {
        {"right",
         [](int n, const double* x, const double*, double* r, double*) {
             for (int i = 0; i < n; ++i) r[i] = std::sqrt(x[i]);
         }},
        {"wrong once", [bad](int n, const double* x, const double*, double* r, double*) {
             for (int i = 0; i < n; ++i) {
                 r[i] = std::sqrt(x[i]);
                 if (x[i] == bad) r[i] = std::nextafter(std::nextafter(r[i], kInfinity), kInfinity);
             }
         }}};
    for (int threads : {1, 3}) {
        const auto found = measure(sqrt, arguments, subjects, threads, {});
        EXPECT_LE(found[0].worst.ulp, 0.5);
        EXPECT_EQ(found[0].correctly_rounded, found[0].count);
        EXPECT_GT(found[1].worst.ulp, 1.5);
        EXPECT_LT(found[1].worst.ulp, 2.5);
        EXPECT_EQ(found[1].worst.a, bad);
        EXPECT_EQ(found[1].correctly_rounded, found[1].count - 1);
    }
}

// The compositions against an independent library in long double.
TEST(Oracles, AgreeWithAnotherLibrary) {
    using Long = long double;
    namespace bm = boost::math;
    const auto erfcx = [](Long x) { return std::exp(x * x) * std::erfc(x); };
    const struct {
        const char* function;
        std::function<Long(Long)> other;
        std::vector<double> arguments;
    } kCases[] = {
        {"ErfInv",
         [](Long x) { return bm::erf_inv(x); },
         {1e-300, 1e-5, -0.3, 0.5, 0.7, 0.8, -0.999, 1 - 0x1p-53}},
        {"ErfcInv",
         [](Long x) { return bm::erfc_inv(x); },
         {1e-300, 1e-10, 0.2, 0.3, 0.9, 1.1, 1.7, 1.8, 2 - 0x1p-52}},
        {"CdfNormInv",
         [](Long x) { return -std::sqrt(Long(2)) * bm::erfc_inv(2 * x); },
         {1e-300, 1e-10, 0.1, 0.2, 0.4, 0.6, 0.9, 1 - 0x1p-53}},
        {"CdfNorm",
         [](Long x) { return std::erfc(-x / std::sqrt(Long(2))) / 2; },
         {-37, -20, -15.6, -15.5, -3, -1, 0, 1, 8}},
        {"Erfc", [](Long x) { return std::erfc(x); }, {-3, 0.3, 0.999, 1, 5, 10.99, 11, 26}},
        {"Erfcx", erfcx, {-5, 0.3, 0.5, 3, 10.99, 11, 20}},
        {"ExpInt1", [](Long x) { return bm::expint(1, x); }, {1e-300, 0.1, 1, 3.99, 4, 30, 600}},
        {"I0", [](Long x) { return bm::cyl_bessel_i(0, x); }, {1e-5, 1, -20, 600}},
        {"I1", [](Long x) { return bm::cyl_bessel_i(1, x); }, {1e-5, 1, 20, 600}},
        {"Sind", [](Long x) { return bm::sin_pi(x / 180); }, {1e-5, 30, 91, -200.5}},
        {"Pow2o3", [](Long x) { return std::cbrt(x * x); }, {1e-200, 2, -7}},
        {"Pow3o2", [](Long x) { return x * std::sqrt(x); }, {1e-200, 2, 7}},
        {"InvCbrt", [](Long x) { return 1 / std::cbrt(x); }, {1e-300, 2, -7}},
    };
    Real a(53), unused(53), y(128);
    const mpfr_ptr ys[2] = {y, unused};
    const mpfr_srcptr xs[2] = {a, unused};
    for (const auto& [function, other, arguments] : kCases)
        for (double x : arguments) {
            mpfr_set_d(a, x, MPFR_RNDN);
            find_oracle(function)->exact(ys, xs);
            const Long exact = mpfr_get_ld(y, MPFR_RNDN), expected = other(x);
            EXPECT_LE(std::fabs(exact - expected), std::fabs(expected) * 0x1p-52L)
                << function << "(" << x << ")";
        }
}

// Within 2^-25 ulp of a double or of the middle of two; but the arguments that are hard to reduce are not of
// this kind.
TEST(HardCases, AreHard) {
    int files = 0;
    for (const Oracle& oracle : oracles()) {
        const auto cases = hard_cases(OZK_HARD_CASES, oracle.function);
        files += !cases.empty();
        for (double x : cases) {
            if (std::fabs(x) > 1e100) continue;
            Real a(53), unused(53), y(300), nearest(300);
            mpfr_set_d(a, x, MPFR_RNDN);
            const mpfr_ptr ys[2] = {y, unused};
            const mpfr_srcptr xs[2] = {a, unused};
            oracle.exact(ys, xs);
            mpfr_mul_2si(y, y, 54 - mpfr_get_exp(y), MPFR_RNDN);
            mpfr_rint(nearest, y, MPFR_RNDN);
            mpfr_sub(y, y, nearest, MPFR_RNDN);
            EXPECT_LT(std::fabs(mpfr_get_d(y, MPFR_RNDN)), 0x1p-24) << oracle.function << "(" << x << ")";
        }
    }
    EXPECT_GE(files, 5);
}

}  // namespace
}  // namespace ozk::accuracy
