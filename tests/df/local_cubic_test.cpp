// Cubics from local data: Bessel, Hyman, Akima, Hermite and the default cubic.

#include <limits>

#include "tests/df/cubic_properties.hpp"

namespace ozk::df::test {
namespace {

template <class T>
struct LocalKind {
    const char* name;
    int (*construct)(DfTask*, const OzkThreading*, const void*);
    int64_t type;
    int64_t internal_type;
    int64_t least_knots;
    Continuity continuous;
};

template <class T>
const std::vector<LocalKind<T>>& local_kinds() {
    static const std::vector<LocalKind<T>> kinds{
        {"Bessel", Df<T>::bessel_cubic, kDfTypeBessel, kDfInternalNone, 4, {true, false}},
        {"Hyman", Df<T>::hyman_cubic, kDfTypeHyman, kDfInternalNone, 4, {true, false}},
        {"Akima", Df<T>::akima_cubic, kDfTypeAkima, kDfInternalNone, 5, {true, false}},
        {"Hermite", Df<T>::hermite_cubic, kDfTypeHermite, kDfInternalFirst, 3, {true, false}},
        {"default", Df<T>::default_cubic, kDfTypeDefault, kDfInternalSecond, 3, {false, true}},
    };
    return kinds;
}

template <class T>
class LocalCubicSpline : public ::testing::Test {};
TYPED_TEST_SUITE(LocalCubicSpline, Precisions);

TYPED_TEST(LocalCubicSpline, MeetsDataSmoothnessAndEndConditionsInEveryLayout) {
    using T = TypeParam;
    constexpr int64_t ny = 3;
    const T ends[2] = {T(1.5), T(-0.75)};
    for (const LocalKind<T>& kind : local_kinds<T>()) {
        for (int64_t code : kCubicCodes) {
            for (int64_t nx = kind.least_knots; nx < 20; nx += nx < 7 ? 1 : 6) {
                const std::vector<T> rows = functions<T>(nx, ny, code == kDfBoundaryPeriodic);
                const std::vector<T> inner = random_values<T>(static_cast<size_t>(ny * (nx - 2)), 4);
                for (bool uniform : {false, true}) {
                    std::vector<T> x = random_knots<T>(nx, 3);
                    if (uniform)
                        for (int64_t i = 0; i < nx; ++i) x[i] = T(-2) + static_cast<T>(i) * T(0.25);
                    for (int64_t y_hint : {kDfStorageRows, kDfStorageColumns}) {
                        SCOPED_TRACE(kind.name);
                        const std::vector<T> values =
                            y_hint == kDfStorageRows ? rows : by_columns(rows, nx, ny);
                        const std::vector<T> knots = uniform ? std::vector<T>{x[0], x.back()} : x;
                        Task<T> task(nx, knots, uniform ? kDfPartitionUniform : kDfPartitionNonUniform, ny,
                                     values, y_hint);
                        task.describe(kDfOrderCubic, kind.type, code, ends, kind.internal_type,
                                      kind.internal_type ? inner.data() : nullptr);
                        ASSERT_EQ(kDfOk, kind.construct(task.handle, ozk_serv_threading(), nullptr));
                        for (int64_t f = 0; f < ny; ++f) {
                            const T* c = task.coefficients.data() + f * 4 * (nx - 1);
                            expect_cubic(x, rows.data() + f * nx, c, code, ends, kind.continuous);
                            for (int64_t i = 1; i + 1 < nx; ++i) {
                                const T given = inner[f * (nx - 2) + i - 1];
                                if (kind.internal_type == kDfInternalFirst) {
                                    EXPECT_EQ(given, c[4 * i + 1]);
                                }
                                if (kind.internal_type == kDfInternalSecond) {
                                    EXPECT_EQ(given, 2 * c[4 * i + 2]);
                                }
                            }
                        }
                    }
                }
            }
        }
    }
}

// With three knots not-a-knot ends are those of the parabola through the data.
TYPED_TEST(LocalCubicSpline, ThroughThreeKnotsOfAParabolaIsTheParabola) {
    using T = TypeParam;
    const std::vector<T> x{0, 1, 3}, y{1, 2, 16};  // 1 - x + 2 x^2
    const T slope = 3, curvature = 4;
    Task<T> hermite(3, x, kDfPartitionNonUniform, 1, y), other(3, x, kDfPartitionNonUniform, 1, y);
    hermite.describe(kDfOrderCubic, kDfTypeHermite, kDfBoundaryNotAKnot, nullptr, kDfInternalFirst, &slope);
    other.describe(kDfOrderCubic, kDfTypeDefault, kDfBoundaryNotAKnot, nullptr, kDfInternalSecond,
                   &curvature);
    ASSERT_EQ(kDfOk, Df<T>::hermite_cubic(hermite.handle, nullptr, nullptr));
    ASSERT_EQ(kDfOk, Df<T>::default_cubic(other.handle, nullptr, nullptr));
    const std::vector<T> parabola{1, -1, 2, 0, 2, 3, 2, 0};
    for (size_t i = 0; i < parabola.size(); ++i) {
        EXPECT_NEAR(parabola[i], hermite.coefficients[i], 10 * kEpsilon<T>) << i;
        EXPECT_NEAR(parabola[i], other.coefficients[i], 10 * kEpsilon<T>) << i;
    }
}

TYPED_TEST(LocalCubicSpline, WithHymanSlopesNeverTurnsWhereTheDataDoNot) {
    using T = TypeParam;
    std::mt19937 engine(6);
    std::exponential_distribution<double> rise(1);
    const int64_t nx = 400;
    const std::vector<T> x = random_knots<T>(nx, 8);
    std::vector<T> y(nx), bessel_y(nx);
    for (int64_t i = 1; i < nx; ++i) {  // stretches of growth, decay and rest, with large changes of slope
        const double direction = i / 40 % 3 - 1;
        y[i] = y[i - 1] + static_cast<T>(direction * rise(engine) * rise(engine) * rise(engine));
    }
    Task<T> task(nx, x, kDfPartitionNonUniform, 1, y), bessel(nx, x, kDfPartitionNonUniform, 1, y);
    task.describe(kDfOrderCubic, kDfTypeHyman, kDfBoundaryFree);
    bessel.describe(kDfOrderCubic, kDfTypeBessel, kDfBoundaryFree);
    ASSERT_EQ(kDfOk, Df<T>::hyman_cubic(task.handle, nullptr, nullptr));
    ASSERT_EQ(kDfOk, Df<T>::bessel_cubic(bessel.handle, nullptr, nullptr));
    int64_t limited = 0;
    for (int64_t i = 0; i + 1 < nx; ++i) {
        const T* c = task.coefficients.data() + 4 * i;
        limited += c[1] != bessel.coefficients[4 * i + 1];
        const long double h = x[i + 1] - x[i], rising = y[i + 1] - y[i];
        const long double slack = 20 * static_cast<long double>(kEpsilon<T>) * std::fabs(rising) / h;
        for (int k = 0; k <= 64; ++k) {
            const long double slope = at(c, 4, h * k / 64).first;
            if (rising == 0) {
                ASSERT_EQ(0, slope) << "cell " << i;
            } else {
                ASSERT_GE(std::copysign(1.0L, rising) * slope, -slack) << "cell " << i << ", " << k << "/64";
            }
        }
    }
    EXPECT_GT(limited, 40);
    EXPECT_LT(limited, nx - 40) << "slopes that need no limit are Bessel's";
}

TYPED_TEST(LocalCubicSpline, OfStraightDataIsStraightWithAkimaSlopesAndRoundsNoCorners) {
    using T = TypeParam;
    const std::vector<T> x{0, 1, 2, 3, 4, 5, 6, 7}, y{0, 0, 0, 0, 1, 2, 3, 4};
    Task<T> task(8, x, kDfPartitionNonUniform, 1, y);
    task.describe(kDfOrderCubic, kDfTypeAkima, kDfBoundaryNone);
    ASSERT_EQ(kDfOk, Df<T>::akima_cubic(task.handle, nullptr, nullptr));
    for (int64_t i = 0; i < 7; ++i) {
        const T slope = i < 3 ? T(0) : i == 3 ? T(0.5) : T(1);  // both weights vanish at the corner: the mean
        EXPECT_EQ(slope, task.coefficients[4 * i + 1]) << "knot " << i;
    }
}

TYPED_TEST(LocalCubicSpline, ChecksInOrderAndWritesNothing) {
    using T = TypeParam;
    const std::vector<T> x = random_knots<T>(8, 5);
    std::vector<T> y = functions<T>(8, 1, true);
    const T ends[2] = {}, inner[6] = {};
    for (const LocalKind<T>& kind : local_kinds<T>()) {
        SCOPED_TRACE(kind.name);
        Task<T> task(8, x, kDfPartitionNonUniform, 1, y);
        task.describe(kDfOrderCubic, kind.type);
        DfTask& t = *task.handle;
        const auto construct = [&] { return kind.construct(&t, nullptr, nullptr); };
        EXPECT_EQ(kDfErrorNullTask, kind.construct(nullptr, nullptr, nullptr));
        t.y_hint = 17;
        t.boundary_type = 20;
        t.nx = kind.least_knots - 1;
        EXPECT_EQ(kDfErrorTooFewKnots, construct());
        t.nx = kind.least_knots;
        EXPECT_EQ(kDfErrorValueHint, construct());
        t.nx = 8;
        t.y_hint = 0;
        for (int64_t code : {3, 8, 20, 40, 63, 65, 128, -1}) {
            t.boundary_type = code;
            EXPECT_EQ(kDfErrorBoundaryType, construct()) << code;
        }
        t.boundary_type = 0;
        if (kind.type != kDfTypeAkima) {
            EXPECT_EQ(kDfErrorBoundaryType, construct());
        }
        for (int64_t code : {12, 24, 36, 48}) {
            t.boundary_type = code;
            EXPECT_EQ(kDfErrorNullBoundary, construct()) << code;
        }
        t.boundary = ends;
        if (kind.internal_type) {
            EXPECT_EQ(kDfErrorInternalType, construct());
            t.internal_type = kind.internal_type;
            EXPECT_EQ(kDfErrorNullInternal, construct());
            t.internal = inner;
        }
        t.boundary_type = kDfBoundaryPeriodic;
        y[7] = std::numeric_limits<T>::quiet_NaN();
        EXPECT_EQ(kDfErrorNotPeriodic, construct());
        y[7] = y[0];
        EXPECT_TRUE(task.untouched());
        EXPECT_EQ(kDfOk, construct());
    }
}

TYPED_TEST(LocalCubicSpline, WithAkimaSlopesNeedsFiveKnotsOrFourWithoutConditions) {
    using T = TypeParam;
    const std::vector<T> x = random_knots<T>(4, 5), y = random_values<T>(4, 1);
    Task<T> task(4, x, kDfPartitionNonUniform, 1, y);
    task.describe(kDfOrderCubic, kDfTypeAkima, kDfBoundaryFree);
    EXPECT_EQ(kDfErrorTooFewKnots, Df<T>::akima_cubic(task.handle, nullptr, nullptr));
    EXPECT_TRUE(task.untouched());
    task.set(kDfBoundaryType, kDfBoundaryNone);
    ASSERT_EQ(kDfOk, Df<T>::akima_cubic(task.handle, nullptr, nullptr));
    expect_cubic<T>(x, y.data(), task.coefficients.data(), kDfBoundaryNone, nullptr, {true, false});
}

}  // namespace
}  // namespace ozk::df::test
