// Both precisions of the interface under one name, a task that deletes itself, and data to fit.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "ozk_df.h"

namespace ozk::df::test {

template <class T>
struct Df;

#define OZK_DF_TEST_INTERFACE(p, T)                                                       \
    template <>                                                                           \
    struct Df<T> {                                                                        \
        using CellCallback = Df##p##CellCallback;                                         \
        using Callbacks = Df##p##Callbacks;                                               \
        static constexpr auto new_task = ozk_df_kernel_##p##NewTask1D;                    \
        static constexpr auto edit_pointer = ozk_df_kernel_##p##EditPtr;                  \
        static constexpr auto edit_index = ozk_df_kernel_##p##EditIdxPtr;                 \
        static constexpr auto query_pointer = ozk_df_kernel_##p##QueryPtr;                \
        static constexpr auto query_index = ozk_df_kernel_##p##QueryIdxPtr;               \
        static constexpr auto edit_spline = ozk_df_kernel_##p##EditPPSpline1D;            \
        static constexpr auto natural_cubic = ozk_df_kernel_##p##DFNaturalCubicSpline1D;  \
        using IntegralCallbacks = Df##p##IntegralCallbacks;                               \
        static constexpr auto integrate = ozk_df_kernel_##p##DFIntegrate1D;               \
        static constexpr auto linear = ozk_df_kernel_##p##DFLinearSpline1D;               \
        static constexpr auto quadratic = ozk_df_kernel_##p##DFQuadraticSpline1D;         \
        static constexpr auto default_cubic = ozk_df_kernel_##p##DFDefaultCubicSpline1D;  \
        static constexpr auto hermite_cubic = ozk_df_kernel_##p##DFHermiteCubicSpline1D;  \
        static constexpr auto bessel_cubic = ozk_df_kernel_##p##DFBesselCubicSpline1D;    \
        static constexpr auto hyman_cubic = ozk_df_kernel_##p##DFHymanCubicSpline1D;      \
        static constexpr auto akima_cubic = ozk_df_kernel_##p##DFAkimaCubicSpline1D;      \
        static constexpr auto search = ozk_df_kernel_##p##DFSearch1D;                     \
        static constexpr auto uniform32 = ozk_df_kernel_##p##DFUniformSearch1D32;         \
        static constexpr auto uniform64 = ozk_df_kernel_##p##DFUniformSearch1D64;         \
        static constexpr auto quasi32 = ozk_df_kernel_##p##DFQuasiUniformSearch1D32;      \
        static constexpr auto quasi64 = ozk_df_kernel_##p##DFQuasiUniformSearch1D64;      \
        static constexpr auto sorted32 = ozk_df_kernel_##p##DFSortedSearch1D32;           \
        static constexpr auto sorted64 = ozk_df_kernel_##p##DFSortedSearch1D64;           \
        static constexpr auto hybrid32 = ozk_df_kernel_##p##DFHybridSearch1D32;           \
        static constexpr auto hybrid64 = ozk_df_kernel_##p##DFHybridSearch1D64Pack;       \
        static constexpr auto peak32 = ozk_df_kernel_##p##DFPeakSearch1D32;               \
        static constexpr auto peak64 = ozk_df_kernel_##p##DFPeakSearch1D64;               \
        static constexpr auto user32 = ozk_df_kernel_##p##DFUserDefSearch1D32;            \
        static constexpr auto user64 = ozk_df_kernel_##p##DFUserDefSearch1D64;            \
        static constexpr auto uniform_user64 = ozk_df_kernel_##p##DFUniUserDefSearch1D64; \
        static constexpr auto cubic32 = ozk_df_kernel_##p##_CubicSplineEval32;            \
        static constexpr auto step_right32 = ozk_df_kernel_##p##_StepRightSplineEval32;   \
        static constexpr auto look_up64 = ozk_df_kernel_##p##_LookUpSplineEval64;         \
        static constexpr auto interpolate = ozk_df_kernel_##p##DFInterpolate1D;           \
    };
OZK_DF_TEST_INTERFACE(s, float)
OZK_DF_TEST_INTERFACE(d, double)

using Precisions = ::testing::Types<float, double>;

template <class T>
constexpr T kEpsilon = std::is_same_v<T, float> ? T(0x1p-23) : T(0x1p-52);

// A task over vectors that outlive it.
template <class T>
struct Task {
    DfTask* handle = nullptr;
    std::vector<T> coefficients;

    Task(int64_t nx, const std::vector<T>& x, int64_t x_hint, int64_t ny, const std::vector<T>& y,
         int64_t y_hint = kDfStorageRows, int32_t wide_integers = 1) {
        EXPECT_EQ(kDfOk, Df<T>::new_task(&handle, nx, x.data(), x_hint, ny, y.empty() ? nullptr : y.data(),
                                         y_hint, wide_integers));
    }
    ~Task() { ozk_df_kernel_DeleteTask(&handle); }
    Task(const Task&) = delete;

    void set(int64_t attribute, int64_t value) {
        ASSERT_EQ(kDfOk, ozk_df_kernel_iEditVal(handle, attribute, value)) << "attribute " << attribute;
    }

    // Describes the spline and gives it coefficient memory filled with a mark.
    void describe(int64_t order, int64_t type, int64_t boundary_type = 0, const T* boundary = nullptr,
                  int64_t internal_type = 0, const T* internal = nullptr) {
        set(kDfSplineOrder, order);
        set(kDfSplineType, type);
        set(kDfBoundaryType, boundary_type);
        set(kDfInternalType, internal_type);
        if (boundary) handle->boundary = boundary;
        if (internal) handle->internal = internal;
        const int64_t pieces = handle->nx - (type == kDfTypeSubbotin ? 0 : 1);
        coefficients.assign(static_cast<size_t>(pieces * order * handle->ny), kMark);
        ASSERT_EQ(kDfOk, Df<T>::edit_pointer(handle, kDfCoefficients, coefficients.data()));
    }

    bool untouched() const {
        for (T c : coefficients)
            if (c != kMark) return false;
        return true;
    }

    std::vector<T> evaluate(int64_t function, const std::vector<T>& site,
                            const std::vector<int64_t>& order = {1}) const {
        int64_t wanted = 0;
        for (int64_t flag : order) wanted += flag != 0;
        std::vector<T> result(site.size() * static_cast<size_t>(wanted) + 1, kMark);
        EXPECT_EQ(kDfOk,
                  Df<T>::interpolate(handle, nullptr, function, static_cast<int64_t>(site.size()),
                                     site.data(), kDfSitesNoHint, nullptr, static_cast<int64_t>(order.size()),
                                     order.data(), result.data(), wanted, kDfResultBySite, nullptr));
        EXPECT_EQ(kMark, result.back());
        result.pop_back();
        return result;
    }

    static constexpr T kMark = T(-12345);
};

// Value and derivatives at distance d of the cubic, or lower, polynomial with `order` coefficients.
struct Derivatives {
    long double value, first, second, third;
};

template <class T>
Derivatives at(const T* c, int64_t order, long double d) {
    const auto coefficient = [&](int64_t k) { return k < order ? static_cast<long double>(c[k]) : 0; };
    const long double c1 = coefficient(1), c2 = coefficient(2), c3 = coefficient(3);
    return {c[0] + d * (c1 + d * (c2 + d * c3)), c1 + d * (2 * c2 + d * 3 * c3), 2 * c2 + d * 6 * c3, 6 * c3};
}

// Ascending knots with distances between 0.1 and 1.
template <class T>
std::vector<T> random_knots(int64_t nx, unsigned seed) {
    std::mt19937 engine(seed);
    std::uniform_real_distribution<double> distance(0.1, 1);
    std::vector<T> x(static_cast<size_t>(nx));
    double sum = -1.5;
    for (T& knot : x) knot = static_cast<T>(sum += distance(engine));
    return x;
}

template <class T>
std::vector<T> random_values(size_t count, unsigned seed) {
    std::mt19937 engine(seed);
    std::uniform_real_distribution<double> value(-1, 1);
    std::vector<T> y(count);
    for (T& v : y) v = static_cast<T>(value(engine));
    return y;
}

// ny functions at nx knots by rows; the last value of each repeats the first when they are periodic.
template <class T>
std::vector<T> functions(int64_t nx, int64_t ny, bool periodic) {
    std::vector<T> y = random_values<T>(static_cast<size_t>(nx * ny), 9);
    if (periodic)
        for (int64_t f = 0; f < ny; ++f) y[f * nx + nx - 1] = y[f * nx];
    return y;
}

template <class T>
std::vector<T> by_columns(const std::vector<T>& rows, int64_t nx, int64_t ny) {
    std::vector<T> columns(rows.size());
    for (int64_t f = 0; f < ny; ++f)
        for (int64_t i = 0; i < nx; ++i) columns[i * ny + f] = rows[f * nx + i];
    return columns;
}

inline constexpr int64_t kCubicCodes[] = {
    kDfBoundaryNotAKnot,    kDfBoundaryFree,         kDfBoundaryFirstFirst, kDfBoundaryFirstSecond,
    kDfBoundarySecondFirst, kDfBoundarySecondSecond, kDfBoundaryPeriodic};

}  // namespace ozk::df::test
