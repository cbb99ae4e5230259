// Integrals against antiderivatives in extended precision, piece by piece.

#include <algorithm>
#include <limits>

#include "tests/df/support.hpp"

namespace ozk::df::test {
namespace {

// The pieces of a spline as plain data: piece p with its coefficients from its base, between edges p and p
// + 1.
struct PlainPieces {
    std::vector<long double> edges, bases;
    std::vector<std::vector<long double>> coefficients;

    long double integral(long double left, long double right) const {
        if (right < left) return -integral(right, left);
        const size_t n = bases.size();
        long double sum = 0;
        for (size_t p = 0; p < n; ++p) {
            const long double from = p == 0 ? left : std::max(left, edges[p]);
            const long double to = p + 1 == n ? right : std::min(right, edges[p + 1]);
            if (from < to) sum += primitive(p, to) - primitive(p, from);
        }
        return sum;
    }

    long double primitive(size_t p, long double t) const {
        const std::vector<long double>& c = coefficients[p];
        long double sum = 0;
        for (size_t k = c.size(); k-- > 0;)
            sum = (sum + c[k] / static_cast<long double>(k + 1)) * (t - bases[p]);
        return sum;
    }
};

template <class T>
PlainPieces plain_pieces(const std::vector<T>& edges, const std::vector<T>& bases, const T* coefficients,
                         int64_t stride, int64_t order) {
    PlainPieces pieces{{edges.begin(), edges.end()}, {bases.begin(), bases.end()}, {}};
    for (size_t p = 0; p < bases.size(); ++p) {
        const T* c = coefficients + static_cast<int64_t>(p) * stride;
        pieces.coefficients.emplace_back(c, c + order);
    }
    return pieces;
}

// Pairs inside one cell, over many, across the ends, reversed, empty and tiny.
template <class T>
std::pair<std::vector<T>, std::vector<T>> pairs_around(const std::vector<T>& x, size_t count) {
    std::vector<T> left{x[0], x.back(), x[0] - 1, x[1], x[1], x.back() + T(0.25), x[0] - 1};
    std::vector<T> right{x.back(),          x[0],         x.back() + 1, x[1], std::nextafter(x[1], x[2]),
                         x.back() + T(0.5), x[0] - T(0.5)};
    std::mt19937 engine(3);
    std::uniform_real_distribution<double> place(x[0] - 0.5, x.back() + 0.5);
    while (left.size() < count) {
        left.push_back(static_cast<T>(place(engine)));
        right.push_back(left.size() % 3 ? static_cast<T>(place(engine)) : left.back() + T(0.01));
    }
    return {left, right};
}

template <class T>
void expect_integrals(const Task<T>& task, int64_t function, const PlainPieces& pieces,
                      const std::vector<T>& x, const std::string& what) {
    for (size_t count : {1, 4, 5, 7, 900}) {
        auto [left, right] = pairs_around(x, count);
        left.resize(count);
        right.resize(count);
        std::vector<T> result(count + 1, T(-7));
        ASSERT_EQ(kDfOk, Df<T>::integrate(task.handle, nullptr, function, static_cast<int64_t>(count),
                                          left.data(), right.data(), result.data(), nullptr));
        for (size_t i = 0; i < count; ++i) {
            const long double expected = pieces.integral(left[i], right[i]);
            const long double tolerance =
                4 * kEpsilon<T> * std::fabs(expected) + 400 * kEpsilon<double> +
                4 * kEpsilon<T> * std::fabs(right[i] - static_cast<long double>(left[i]));
            ASSERT_NEAR(expected, result[i], tolerance) << what << ": " << left[i] << " to " << right[i];
        }
        EXPECT_EQ(T(-7), result[count]);
    }
}

template <class T>
class Integration : public ::testing::Test {};
TYPED_TEST_SUITE(Integration, Precisions);

TYPED_TEST(Integration, OfPolynomialsOfEveryOrderIsTheDifferenceOfPrimitives) {
    using T = TypeParam;
    const int64_t nx = 40;
    for (int64_t order : {2, 3, 4, 6}) {
        for (bool uniform : {false, true}) {
            std::vector<T> x = random_knots<T>(nx, 3);
            if (uniform)
                for (int64_t i = 0; i < nx; ++i) x[i] = T(-2) + static_cast<T>(i) * T(0.25);
            const std::vector<T> knots = uniform ? std::vector<T>{x[0], x.back()} : x, y(2 * nx);
            Task<T> task(nx, knots, uniform ? kDfPartitionUniform : kDfPartitionNonUniform, 2, y);
            task.describe(order, kDfTypeDefault);
            const std::vector<T> random = random_values<T>(task.coefficients.size(), 2);
            std::copy(random.begin(), random.end(), task.coefficients.begin());
            const std::vector<T> bases(x.begin(), x.end() - 1);
            for (int64_t f : {0, 1}) {
                const T* c = task.coefficients.data() + f * order * (nx - 1);
                expect_integrals(task, f, plain_pieces(x, bases, c, order, order), x,
                                 "order " + std::to_string(order));
            }
        }
    }
}

TYPED_TEST(Integration, OfSubbotinQuadraticsGoesFromBreakToBreak) {
    using T = TypeParam;
    const int64_t nx = 20;
    const std::vector<T> x = random_knots<T>(nx, 3), y = random_values<T>(nx, 4);
    for (bool given : {false, true}) {
        std::vector<T> breaks, edges{x[0]};
        for (int64_t i = 0; i + 1 < nx; ++i)
            breaks.push_back(x[i] + (x[i + 1] - x[i]) * (given ? T(0.75) : T(0.5)));
        edges.insert(edges.end(), breaks.begin(), breaks.end());
        edges.push_back(x.back());
        Task<T> task(nx, x, kDfPartitionNonUniform, 1, y);
        task.describe(kDfOrderQuadratic, kDfTypeSubbotin, kDfBoundaryFree, nullptr,
                      given ? kDfInternalBreaks | kDfInternalBreaksGiven : kDfInternalBreaks,
                      given ? breaks.data() : nullptr);
        ASSERT_EQ(kDfOk, Df<T>::quadratic(task.handle, nullptr, nullptr));
        expect_integrals(task, 0, plain_pieces(edges, x, task.coefficients.data(), 3, 3), x, "Subbotin");
        task.handle->internal_type = kDfInternalBreaks | kDfInternalBreaksGiven;
        task.handle->internal = nullptr;
        T result = -7;
        EXPECT_EQ(kDfErrorNullInternal,
                  Df<T>::integrate(task.handle, nullptr, 0, 1, x.data(), x.data() + 1, &result, nullptr));
    }
}

TYPED_TEST(Integration, OfStepFunctionsCountsEachKnotsValueOverItsCell) {
    using T = TypeParam;
    const int64_t nx = 12;
    const std::vector<T> x = random_knots<T>(nx, 3), rows = random_values<T>(2 * nx, 4),
                         columns = by_columns(rows, nx, 2);
    for (int64_t y_hint : {kDfStorageRows, kDfStorageColumns}) {
        const std::vector<T>& y = y_hint == kDfStorageRows ? rows : columns;
        Task<T> task(nx, x, kDfPartitionNonUniform, 2, y, y_hint);
        task.set(kDfSplineOrder, kDfOrderConstant);
        std::vector<T> right_edges(x), left_edges{x[0]};
        right_edges.push_back(x.back());
        left_edges.insert(left_edges.end(), x.begin(), x.end());
        task.set(kDfSplineType, kDfTypeStepRight);
        expect_integrals(task, 1, plain_pieces(right_edges, x, rows.data() + nx, 1, 1), x,
                         "right-continuous");
        task.set(kDfSplineType, kDfTypeStepLeft);
        expect_integrals(task, 1, plain_pieces(left_edges, x, rows.data() + nx, 1, 1), x, "left-continuous");
        task.set(kDfSplineType, kDfTypeLookUp);
        T result = -7;
        EXPECT_EQ(kDfErrorType,
                  Df<T>::integrate(task.handle, nullptr, 0, 1, x.data(), x.data() + 1, &result, nullptr));
        EXPECT_EQ(T(-7), result);
    }
}

template <class T>
int area_outside(int64_t npair, const T* left, const T* right, T* result, void* parameters) {
    for (int64_t i = 0; i < npair; ++i) result[i] = 100 * (right[i] - left[i]);
    return *static_cast<int*>(parameters);
}

TYPED_TEST(Integration, AsksTheCallbacksForThePartsOutside) {
    using T = TypeParam;
    const std::vector<T> x{0, 1, 2}, y{3, 3, 3};
    Task<T> task(3, x, kDfPartitionNonUniform, 1, y);
    task.describe(kDfOrderLinear, kDfTypeDefault);
    ASSERT_EQ(kDfOk, Df<T>::linear(task.handle, nullptr, nullptr));
    int status = 0;
    typename Df<T>::IntegralCallbacks both{area_outside<T>, &status, area_outside<T>, &status},
        left{area_outside<T>, &status, nullptr, nullptr};
    const std::vector<T> from{-1, 2, T(0.5), -2, T(2.5), 4, 0}, to{1, -1, 3, -1, 3, -1, 2};
    std::vector<T> result(from.size());
    ASSERT_EQ(kDfOk,
              Df<T>::integrate(task.handle, nullptr, 0, 7, from.data(), to.data(), result.data(), &both));
    EXPECT_EQ((std::vector<T>{103, -106, T(104.5), 100, 50, -306, 6}), result);
    ASSERT_EQ(kDfOk,
              Df<T>::integrate(task.handle, nullptr, 0, 7, from.data(), to.data(), result.data(), &left));
    EXPECT_EQ((std::vector<T>{103, -106, T(7.5), 100, T(1.5), -112, 6}), result);
    status = -4;
    EXPECT_EQ(-4, Df<T>::integrate(task.handle, nullptr, 0, 7, from.data(), to.data(), result.data(), &both));
}

TYPED_TEST(Integration, IsTheSameForAnyThreadsAndNaNForNaN) {
    using T = TypeParam;
    const std::vector<T> x = random_knots<T>(100, 3), y = random_values<T>(100, 4);
    Task<T> task(100, x, kDfPartitionNonUniform, 1, y);
    task.describe(kDfOrderCubic, kDfTypeNatural, kDfBoundaryFree);
    ASSERT_EQ(kDfOk, Df<T>::natural_cubic(task.handle, nullptr, nullptr));
    auto [left, right] = pairs_around(x, 40000);
    std::vector<T> one(left.size()), many(left.size());
    const auto n = static_cast<int64_t>(left.size());
    ASSERT_EQ(kDfOk,
              Df<T>::integrate(task.handle, nullptr, 0, n, left.data(), right.data(), one.data(), nullptr));
    ASSERT_EQ(kDfOk, Df<T>::integrate(task.handle, ozk_serv_threading(), 0, n, left.data(), right.data(),
                                      many.data(), nullptr));
    EXPECT_EQ(one, many);
    const T nan = std::numeric_limits<T>::quiet_NaN();
    left = {nan, 0, nan};
    right = {1, nan, nan};
    ASSERT_EQ(kDfOk,
              Df<T>::integrate(task.handle, nullptr, 0, 3, left.data(), right.data(), one.data(), nullptr));
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(std::isnan(one[i]));
}

TYPED_TEST(Integration, ChecksInOrderAndWritesNothing) {
    using T = TypeParam;
    const std::vector<T> x{0, 1, 2}, y{1, 2, 3};
    Task<T> task(3, x, kDfPartitionNonUniform, 1, y);
    const T limit = 0, *none = nullptr;
    T result = -7;
    EXPECT_EQ(kDfErrorNullTask, Df<T>::integrate(nullptr, nullptr, 0, 1, &limit, &limit, &result, nullptr));
    EXPECT_EQ(kDfOk, Df<T>::integrate(task.handle, nullptr, 9, 0, none, none, nullptr, nullptr));
    EXPECT_EQ(kDfErrorFunctionIndex,
              Df<T>::integrate(task.handle, nullptr, 1, 1, none, none, nullptr, nullptr));
    EXPECT_EQ(kDfErrorNullSites,
              Df<T>::integrate(task.handle, nullptr, 0, 1, &limit, none, nullptr, nullptr));
    EXPECT_EQ(kDfErrorNullResult,
              Df<T>::integrate(task.handle, nullptr, 0, 1, &limit, &limit, nullptr, nullptr));
    EXPECT_EQ(kDfErrorOrder, Df<T>::integrate(task.handle, nullptr, 0, 1, &limit, &limit, &result, nullptr));
    task.set(kDfSplineOrder, 4);
    EXPECT_EQ(kDfErrorNullCoefficients,
              Df<T>::integrate(task.handle, nullptr, 0, 1, &limit, &limit, &result, nullptr));
    EXPECT_EQ(T(-7), result);
}

}  // namespace
}  // namespace ozk::df::test
