// Linear and quadratic splines.

#include <limits>

#include "tests/df/support.hpp"

namespace ozk::df::test {
namespace {

template <class T>
class LowOrderSpline : public ::testing::Test {};
TYPED_TEST_SUITE(LowOrderSpline, Precisions);

TYPED_TEST(LowOrderSpline, OfOrderTwoIsThePolygonThroughTheData) {
    using T = TypeParam;
    for (bool uniform : {false, true}) {
        const std::vector<T> knots{0, 1, 2, 3}, ends{0, 3}, y{1, 3, 2, 2, 8, 4, 0, 8};
        for (int64_t y_hint : {kDfStorageRows, kDfStorageColumns}) {
            const std::vector<T> values = y_hint == kDfStorageRows ? y : by_columns(y, 4, 2);
            Task<T> task(4, uniform ? ends : knots, uniform ? kDfPartitionUniform : kDfPartitionNonUniform, 2,
                         values, y_hint);
            task.describe(kDfOrderLinear, kDfTypeDefault, 20);
            ASSERT_EQ(kDfOk, Df<T>::linear(task.handle, ozk_serv_threading(), nullptr))
                << "any boundary code";
            EXPECT_EQ((std::vector<T>{1, 2, 3, -1, 2, 0, 8, -4, 4, -4, 0, 8}), task.coefficients);
            EXPECT_EQ((std::vector<T>{-1, 2, 2, 2, T(2.5), -1, 2, 0}),
                      task.evaluate(0, {-1, T(0.5), T(1.5), 9}, {1, 1}));
        }
    }
}

TYPED_TEST(LowOrderSpline, OfOrderTwoThatIsPeriodicNeedsEqualEnds) {
    using T = TypeParam;
    const std::vector<T> x{0, 1, 2};
    std::vector<T> y{1, 5, 1, 2, 5, 3};
    Task<T> task(3, x, kDfPartitionNonUniform, 2, y);
    task.describe(kDfOrderLinear, kDfTypeNatural, kDfBoundaryPeriodic);
    EXPECT_EQ(kDfErrorNotPeriodic, Df<T>::linear(task.handle, nullptr, nullptr));
    y[5] = y[3] = std::numeric_limits<T>::quiet_NaN();
    EXPECT_EQ(kDfErrorNotPeriodic, Df<T>::linear(task.handle, nullptr, nullptr));
    y[5] = y[3] = 2;
    EXPECT_EQ(kDfErrorArgument, Df<T>::linear(task.handle, nullptr, &x));
    task.handle->y_hint = 5;
    EXPECT_EQ(kDfErrorValueHint, Df<T>::linear(task.handle, nullptr, nullptr));
    task.handle->nx = 1;
    EXPECT_EQ(kDfErrorTooFewKnots, Df<T>::linear(task.handle, nullptr, nullptr));
    EXPECT_EQ(kDfErrorNullTask, Df<T>::linear(nullptr, nullptr, nullptr));
    EXPECT_TRUE(task.untouched());
    task.handle->nx = 3;
    task.handle->y_hint = 0;
    EXPECT_EQ(kDfOk, Df<T>::linear(task.handle, nullptr, nullptr));
}

TYPED_TEST(LowOrderSpline, OfOrderThreeCarriesTheFirstSlopeAlong) {
    using T = TypeParam;
    for (bool uniform : {false, true}) {
        const int64_t nx = 9;
        std::vector<T> x = random_knots<T>(nx, 2);
        if (uniform)
            for (int64_t i = 0; i < nx; ++i) x[i] = T(0.5) * static_cast<T>(i);
        const std::vector<T> y = random_values<T>(2 * nx, 3);
        const T slope = T(-0.5);
        const std::vector<T> knots = uniform ? std::vector<T>{x[0], x.back()} : x;
        Task<T> task(nx, knots, uniform ? kDfPartitionUniform : kDfPartitionNonUniform, 2, y);
        task.describe(kDfOrderQuadratic, kDfTypeDefault, kDfBoundaryQuadraticFirst, &slope);
        ASSERT_EQ(kDfOk, Df<T>::quadratic(task.handle, nullptr, nullptr));
        for (int64_t f = 0; f < 2; ++f) {
            const T* c = task.coefficients.data() + f * 3 * (nx - 1);
            EXPECT_EQ(slope, c[1]);
            for (int64_t i = 0; i + 1 < nx; ++i) {
                const Derivatives end = at(c + 3 * i, 3, x[i + 1] - static_cast<long double>(x[i]));
                EXPECT_EQ(y[f * nx + i], c[3 * i]);
                EXPECT_NEAR(y[f * nx + i + 1], end.value, 50 * kEpsilon<T>);
                if (i + 2 < nx) {
                    EXPECT_NEAR(c[3 * i + 4], end.first, 500 * kEpsilon<T>);
                }
            }
        }
    }
}

// The pieces meet in value and slope at the breaks, pass through the data and hold their end conditions: the
// spline is the only one that does.
TYPED_TEST(LowOrderSpline, OfSubbotinHasItsDefiningProperties) {
    using T = TypeParam;
    constexpr int64_t ny = 2;
    const T ends[2] = {T(1.5), T(-0.75)};
    for (int64_t code : kCubicCodes) {
        for (int64_t nx : {2, 3, 4, 5, 12, 301}) {
            const std::vector<T> rows = functions<T>(nx, ny, code == kDfBoundaryPeriodic);
            for (bool uniform : {false, true}) {
                std::vector<T> x = random_knots<T>(nx, 3);
                if (uniform)
                    for (int64_t i = 0; i < nx; ++i) x[i] = T(-2) + static_cast<T>(i) * T(0.25);
                for (bool given : {false, true}) {
                    std::vector<T> breaks(nx - 1);
                    for (int64_t i = 0; i + 1 < nx; ++i)
                        breaks[i] = x[i] + (x[i + 1] - x[i]) * (given ? T(i % 5 + 1) / 6 : T(0.5));
                    for (int64_t y_hint : {kDfStorageRows, kDfStorageColumns}) {
                        const std::vector<T> values =
                            y_hint == kDfStorageRows ? rows : by_columns(rows, nx, ny);
                        const std::vector<T> knots = uniform ? std::vector<T>{x[0], x.back()} : x;
                        Task<T> task(nx, knots, uniform ? kDfPartitionUniform : kDfPartitionNonUniform, ny,
                                     values, y_hint);
                        task.describe(kDfOrderQuadratic, kDfTypeSubbotin, code, ends,
                                      given ? kDfInternalBreaks | kDfInternalBreaksGiven : kDfInternalBreaks,
                                      given ? breaks.data() : nullptr);
                        ASSERT_EQ(kDfOk, Df<T>::quadratic(task.handle, nullptr, nullptr));
                        for (int64_t f = 0; f < ny; ++f) {
                            const T* c = task.coefficients.data() + f * 3 * nx;
                            const T* last = c + 3 * (nx - 1);
                            const T tolerance = 4000 * kEpsilon<T>;
                            for (int64_t i = 0; i + 1 < nx; ++i) {
                                const long double b = breaks[i];
                                const Derivatives left = at(c + 3 * i, 3, b - x[i]),
                                                  right = at(c + 3 * i + 3, 3, b - x[i + 1]);
                                EXPECT_EQ(rows[f * nx + i], c[3 * i]);
                                EXPECT_NEAR(left.value, right.value, tolerance)
                                    << "break " << i << ", code " << code;
                                EXPECT_NEAR(left.first, right.first, 10 * tolerance)
                                    << "break " << i << ", code " << code;
                            }
                            EXPECT_EQ(rows[f * nx + nx - 1], last[0]);
                            if (code & kDfBoundaryFirstLeft) {
                                EXPECT_NEAR(ends[0], c[1], tolerance);
                            }
                            if (code & kDfBoundaryFirstRight) {
                                EXPECT_NEAR(ends[1], last[1], tolerance);
                            }
                            if (code & kDfBoundarySecondLeft) {
                                EXPECT_NEAR(ends[0], 2 * c[2], tolerance);
                            }
                            if (code & kDfBoundarySecondRight) {
                                EXPECT_NEAR(ends[1], 2 * last[2], tolerance);
                            }
                            if (code == kDfBoundaryFree) {
                                EXPECT_EQ(0, std::fabs(c[2]) + std::fabs(last[2]));
                            }
                            if (code == kDfBoundaryNotAKnot) {
                                EXPECT_NEAR(c[2], c[5], 10 * tolerance);
                                EXPECT_NEAR(last[2], last[-1], 10 * tolerance);
                                if (nx == 2) {
                                    EXPECT_EQ(0, c[2]) << "the line";
                                }
                            }
                            if (code == kDfBoundaryPeriodic) {
                                EXPECT_NEAR(c[1], last[1], tolerance);
                                EXPECT_EQ(c[2], last[2]);
                            }
                        }
                        // Each site is served by the piece around it.
                        std::vector<T> sites, expected;
                        for (int64_t i = 0; i + 1 < nx; ++i) {
                            for (T t : {x[i], std::nextafter(breaks[i], x[i]), breaks[i], x[i + 1]}) {
                                const int64_t p = t < breaks[i] ? i : i + 1;
                                const T* c = task.coefficients.data() + 3 * p;
                                sites.push_back(t);
                                expected.push_back(
                                    static_cast<T>(at(c, 3, static_cast<long double>(t) - x[p]).value));
                                expected.push_back(2 * c[2]);
                            }
                        }
                        const std::vector<T> s = task.evaluate(0, sites, {1, 0, 1});
                        for (size_t i = 0; i < sites.size(); ++i) {
                            ASSERT_NEAR(expected[2 * i], s[2 * i], 4000 * kEpsilon<T>) << sites[i];
                            ASSERT_EQ(expected[2 * i + 1], s[2 * i + 1])
                                << sites[i] << " " << uniform << given;
                        }
                    }
                }
            }
        }
    }
}

TYPED_TEST(LowOrderSpline, OfOrderThreeChecksInOrderAndWritesNothing) {
    using T = TypeParam;
    const std::vector<T> x = random_knots<T>(5, 5), y = random_values<T>(5, 1);
    const T ends[2] = {};
    std::vector<T> breaks{x[0], x[1], x[2], x[3]};
    Task<T> task(5, x, kDfPartitionNonUniform, 1, y);
    task.describe(kDfOrderQuadratic, kDfTypeSubbotin, 20);
    DfTask& t = *task.handle;
    const auto construct = [&] { return Df<T>::quadratic(&t, nullptr, nullptr); };
    EXPECT_EQ(kDfErrorNullTask, Df<T>::quadratic(nullptr, nullptr, nullptr));
    t.y_hint = 3;
    t.type = 2;
    EXPECT_EQ(kDfErrorValueHint, construct());
    t.y_hint = 0;
    EXPECT_EQ(kDfErrorArgument, construct());
    t.type = kDfTypeSubbotin;
    EXPECT_EQ(kDfErrorInternalType, construct());
    t.internal_type = kDfInternalBreaks | kDfInternalBreaksGiven;
    for (int64_t code : {0, 20, 40, 128}) {
        t.boundary_type = code;
        EXPECT_EQ(kDfErrorBoundaryType, construct());
    }
    t.boundary_type = kDfBoundaryFirstFirst;
    EXPECT_EQ(kDfErrorNullBoundary, construct());
    t.boundary = ends;
    EXPECT_EQ(kDfErrorNullInternal, construct());
    t.internal = breaks.data();
    EXPECT_EQ(kDfErrorArgument, construct()) << "breaks on the knots";
    breaks[2] = std::numeric_limits<T>::quiet_NaN();
    EXPECT_EQ(kDfErrorArgument, construct());
    t.type = kDfTypeDefault;
    EXPECT_EQ(kDfErrorBoundaryType, construct());
    t.boundary_type = kDfBoundaryQuadraticFirst;
    t.boundary = nullptr;
    EXPECT_EQ(kDfErrorNullBoundary, construct());
    EXPECT_TRUE(task.untouched());
}

}  // namespace
}  // namespace ozk::df::test
