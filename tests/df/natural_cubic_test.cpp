// Natural cubic construction: the properties that define the spline, in both layouts and partition forms.

#include <algorithm>
#include <limits>

#include "tests/df/cubic_properties.hpp"

namespace ozk::df::test {
namespace {

template <class T>
class NaturalCubicSpline : public ::testing::Test {};
TYPED_TEST_SUITE(NaturalCubicSpline, Precisions);

// The spline is the only cubic with these properties, so holding them is being right.
TYPED_TEST(NaturalCubicSpline, HasItsDefiningPropertiesInEveryLayout) {
    using T = TypeParam;
    constexpr int64_t ny = 3;
    const T ends[2] = {T(1.5), T(-0.75)};
    for (int64_t code : kCubicCodes) {
        for (int64_t nx : {2, 3, 4, 5, 6, 17, 299, 300, 301, 1000, 4096, 4097, 9000}) {
            if (nx == 2 && code == kDfBoundaryNotAKnot) continue;
            const std::vector<T> rows = functions<T>(nx, ny, code == kDfBoundaryPeriodic);
            const std::vector<T> columns = by_columns(rows, nx, ny);
            for (bool uniform : {false, true}) {
                std::vector<T> x = random_knots<T>(nx, 3);
                if (uniform)
                    for (int64_t i = 0; i < nx; ++i) x[i] = T(-2) + static_cast<T>(i) * T(0.25);
                const std::vector<T> given = uniform ? std::vector<T>{x[0], x.back()} : x;
                for (int64_t y_hint : {kDfStorageRows, kDfStorageColumns}) {
                    Task<T> task(nx, given, uniform ? kDfPartitionUniform : kDfPartitionNonUniform, ny,
                                 y_hint == kDfStorageRows ? rows : columns, y_hint);
                    task.describe(kDfOrderCubic, kDfTypeNatural, code, ends);
                    ASSERT_EQ(kDfOk, Df<T>::natural_cubic(task.handle, nullptr, nullptr));
                    for (int64_t f = 0; f < ny; ++f)
                        expect_cubic(x, rows.data() + f * nx, task.coefficients.data() + f * 4 * (nx - 1),
                                     code, ends, {.slope = true, .curvature = true});
                }
            }
        }
    }
}

TYPED_TEST(NaturalCubicSpline, ReproducesCubicsThroughEveryEndConditionThatTheyMeet) {
    using T = TypeParam;
    const std::vector<T> x = random_knots<T>(12, 5);
    const auto p = [](long double t) { return 0.5L + t * (-1.0L + t * (0.25L + t * 0.125L)); };
    const auto p1 = [](long double t) { return -1.0L + t * (0.5L + t * 0.375L); };
    const auto p2 = [](long double t) { return 0.5L + t * 0.75L; };
    std::vector<T> y;
    for (T knot : x) y.push_back(static_cast<T>(p(knot)));
    for (int64_t code : {1, 12, 36, 24, 48}) {
        const T ends[2] = {static_cast<T>(code & kDfBoundaryFirstLeft ? p1(x[0]) : p2(x[0])),
                           static_cast<T>(code & kDfBoundaryFirstRight ? p1(x.back()) : p2(x.back()))};
        Task<T> task(12, x, kDfPartitionNonUniform, 1, y);
        task.describe(kDfOrderCubic, kDfTypeNatural, code, ends);
        ASSERT_EQ(kDfOk, Df<T>::natural_cubic(task.handle, nullptr, nullptr));
        const std::vector<T> t{x[0] - T(0.5), x[0], T(0.3), x[5], T(2.75), x.back(), x.back() + T(0.5)};
        const std::vector<T> s = task.evaluate(0, t, {1, 1});
        for (size_t i = 0; i < t.size(); ++i) {
            EXPECT_NEAR(p(t[i]), s[2 * i], 100 * 40 * kEpsilon<T>) << "code " << code;
            EXPECT_NEAR(p1(t[i]), s[2 * i + 1], 300 * 40 * kEpsilon<T>) << "code " << code;
        }
    }
}

TYPED_TEST(NaturalCubicSpline, IsTheSameForAnyNumberOfThreads) {
    using T = TypeParam;
    for (const auto& [nx, ny] : {std::pair<int64_t, int64_t>{250, 200}, {400, 137}, {100000, 1}}) {
        const std::vector<T> x = random_knots<T>(nx, 5), y = functions<T>(nx, ny, true);
        for (int64_t code : {kDfBoundaryFree, kDfBoundaryPeriodic}) {
            Task<T> one(nx, x, kDfPartitionNonUniform, ny, y), many(nx, x, kDfPartitionNonUniform, ny, y);
            one.describe(kDfOrderCubic, kDfTypeNatural, code);
            many.describe(kDfOrderCubic, kDfTypeNatural, code);
            ASSERT_EQ(kDfOk, Df<T>::natural_cubic(one.handle, nullptr, nullptr));
            ASSERT_EQ(kDfOk, Df<T>::natural_cubic(many.handle, ozk_serv_threading(), nullptr));
            EXPECT_EQ(one.coefficients, many.coefficients);
        }
    }
}

// The slopes of partitions whose steps jump by orders of magnitude, against elimination over all rows in long double.
TYPED_TEST(NaturalCubicSpline, OfManyKnotsSolvesTheWholeSystem) {
    using T = TypeParam;
    constexpr int64_t nx = 20000;
    std::mt19937_64 engine(9);
    std::uniform_real_distribution<double> exponent(0, std::is_same_v<T, float> ? 2 : 6), value(-1, 1);
    std::vector<T> x{0}, y;
    for (int64_t i = 1; i < nx; ++i)
        x.push_back(x.back() + static_cast<T>(std::exp2(std::round(exponent(engine)))));
    for (int64_t i = 0; i < nx; ++i) y.push_back(static_cast<T>(value(engine)));
    Task<T> task(nx, x, kDfPartitionNonUniform, 1, y);
    task.describe(kDfOrderCubic, kDfTypeNatural, kDfBoundaryFree);
    ASSERT_EQ(kDfOk, Df<T>::natural_cubic(task.handle, nullptr, nullptr));

    using Exact = long double;
    const auto h = [&](int64_t i) { return Exact(x[i + 1]) - Exact(x[i]); };
    const auto s = [&](int64_t i) { return (Exact(y[i + 1]) - Exact(y[i])) / h(i); };
    std::vector<Exact> p(nx), q(nx);
    p[0] = 0.5L;
    q[0] = 1.5L * s(0);
    for (int64_t i = 1; i < nx; ++i) {
        const bool last = i == nx - 1;
        const Exact sub = last ? 1 : h(i), diagonal = last ? 2 : 2 * (h(i - 1) + h(i)),
                    super = last ? 0 : h(i - 1);
        const Exact side = last ? 3 * s(i - 1) : 3 * (h(i) * s(i - 1) + h(i - 1) * s(i));
        const Exact pivot = diagonal - sub * p[i - 1];
        p[i] = super / pivot;
        q[i] = (side - sub * q[i - 1]) / pivot;
    }
    for (int64_t i = nx - 2; i >= 0; --i) q[i] -= p[i] * q[i + 1];
    for (int64_t i = 0; i + 1 < nx; ++i)
        ASSERT_NEAR(q[i], task.coefficients[4 * i + 1], 8 * kEpsilon<T>)
            << "knot " << i;  // slopes are up to 4
}

TYPED_TEST(NaturalCubicSpline, ChecksInOrderAndWritesNothing) {
    using T = TypeParam;
    const std::vector<T> x = random_knots<T>(5, 5);
    std::vector<T> y = functions<T>(5, 2, true);
    const T ends[2] = {};
    Task<T> task(5, x, kDfPartitionNonUniform, 2, y);
    DfTask& t = *task.handle;
    const auto construct = [&](const void* reserved = nullptr) {
        return Df<T>::natural_cubic(&t, nullptr, reserved);
    };
    task.describe(kDfOrderCubic, kDfTypeNatural);
    EXPECT_EQ(kDfErrorNullTask, Df<T>::natural_cubic(nullptr, nullptr, &t));
    t.nx = 1;
    t.y_hint = 17;
    EXPECT_EQ(kDfErrorArgument, construct(&t));
    EXPECT_EQ(kDfErrorTooFewKnots, construct());
    t.nx = 2;
    t.boundary_type = kDfBoundaryNotAKnot;
    EXPECT_EQ(kDfErrorTooFewKnots, construct());
    t.boundary_type = 20;
    EXPECT_EQ(kDfErrorValueHint, construct());
    t.nx = 5;
    t.y_hint = kDfStorageRows;
    for (int64_t code : {0, 3, 4, 8, 16, 20, 32, 40, 60, 63, 65, 128, 1 << 20, -1}) {
        t.boundary_type = code;
        EXPECT_EQ(kDfErrorBoundaryType, construct()) << code;
    }
    for (int64_t code : {12, 24, 36, 48}) {
        t.boundary_type = code;
        EXPECT_EQ(kDfErrorNullBoundary, construct()) << code;
    }
    t.boundary_type = kDfBoundaryPeriodic;
    for (int64_t type : {0, 3}) {
        t.type = type;
        EXPECT_EQ(kDfErrorNullBoundary, construct()) << type;
    }
    t.boundary = ends;
    y[9] = std::numeric_limits<T>::quiet_NaN();
    EXPECT_EQ(kDfErrorNotPeriodic, construct());
    y[9] = y[5] + 1;
    EXPECT_EQ(kDfErrorNotPeriodic, construct()) << "the last of the functions counts too";
    y[9] = y[5];
    t.ny = 3;
    EXPECT_EQ(kDfErrorFunctionCount, construct());
    t.ny = 2;
    void* const second = std::exchange(t.coefficients[1], nullptr);
    EXPECT_EQ(kDfErrorNullCoefficients, construct());
    t.coefficients[1] = second;
    const void* const values = std::exchange(t.y[1], nullptr);
    EXPECT_EQ(kDfErrorNullValues, construct());
    t.y[1] = values;
    EXPECT_TRUE(task.untouched());
    EXPECT_EQ(kDfOk, construct());

    for (const int64_t nx : {5, 5000}) {
        const std::vector<T> coincident(nx), any(nx);
        Task<T> singular(nx, coincident, kDfPartitionNonUniform, 1, any);
        singular.describe(kDfOrderCubic, kDfTypeNatural, kDfBoundaryFirstFirst, ends);
        EXPECT_EQ(kDfErrorArgument, Df<T>::natural_cubic(singular.handle, nullptr, nullptr));
        EXPECT_TRUE(singular.untouched());
    }
}

}  // namespace
}  // namespace ozk::df::test
