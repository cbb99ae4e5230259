// Evaluation: polynomials and derivatives, step functions, look-up, callbacks outside the partition, layouts.

#include <algorithm>
#include <limits>

#include "tests/df/support.hpp"

namespace ozk::df::test {
namespace {

template <class T>
class Interpolation : public ::testing::Test {};
TYPED_TEST_SUITE(Interpolation, Precisions);

// A task with random coefficients, and its derivatives in extended precision.
template <class T>
struct RandomSpline {
    std::vector<T> x, given;
    std::vector<T> y;
    Task<T> task;
    int64_t order;

    RandomSpline(int64_t nx, int64_t spline_order, bool uniform)
        : x(random_knots<T>(nx, 3)),
          given(x),
          y(random_values<T>(static_cast<size_t>(2 * nx), 1)),
          task(nx, uniform ? make_uniform() : given, uniform ? kDfPartitionUniform : kDfPartitionNonUniform,
               2, y),
          order(spline_order) {
        task.describe(order, kDfTypeDefault);
        task.coefficients = random_values<T>(task.coefficients.size(), 2);
        EXPECT_EQ(kDfOk, Df<T>::edit_pointer(task.handle, kDfCoefficients, task.coefficients.data()));
    }

    const std::vector<T>& make_uniform() {
        for (size_t i = 0; i < x.size(); ++i) x[i] = T(-3) + T(0.5) * static_cast<T>(i);
        return given = {x[0], x.back()};
    }

    long double derivative(int64_t function, T t, int64_t k) const {
        const auto n = static_cast<int64_t>(x.size()) - 1;
        const int64_t right = std::count_if(x.begin(), x.end(), [t](T knot) { return knot <= t; });
        const int64_t j = std::clamp<int64_t>(right - 1, 0, n - 1);
        const T* c = task.coefficients.data() + (function * n + j) * order;
        long double sum = 0;
        for (int64_t i = order - 1; i >= k; --i) {
            long double factor = c[i];
            for (int64_t m = 0; m < k; ++m) factor *= static_cast<long double>(i - m);
            sum = sum * (static_cast<long double>(t) - x[j]) + factor;
        }
        return sum;
    }
};

template <class T>
std::vector<T> sites_around(const std::vector<T>& x, size_t count) {
    std::mt19937 engine(5);
    std::uniform_real_distribution<double> place(x[0] - 1, x.back() + 1);
    std::vector<T> t(x);
    while (t.size() < count) t.push_back(static_cast<T>(place(engine)));
    return t;
}

TYPED_TEST(Interpolation, GivesTheWantedDerivativesOfEveryOrder) {
    using T = TypeParam;
    const std::vector<std::vector<int64_t>> requests{
        {1}, {0, 1}, {1, 0, 1}, {1, 1, 1, 1, 1, 1}, {0, 0, 0, 0, 0, 0, 0, 9}, {0}};
    for (int64_t order : {2, 3, 4, 5, 7}) {
        for (bool uniform : {false, true}) {
            const RandomSpline<T> spline(9, order, uniform);
            const std::vector<T> t = sites_around(spline.x, 60);
            for (const auto& request : requests) {
                for (int64_t f : {0, 1}) {
                    const std::vector<T> s = spline.task.evaluate(f, t, request);
                    size_t at = 0;
                    for (T site : t) {
                        for (size_t k = 0; k < request.size(); ++k) {
                            if (!request[k]) continue;
                            const long double expected = spline.derivative(f, site, static_cast<int64_t>(k));
                            ASSERT_NEAR(expected, s[at], 3e4 * kEpsilon<T>)
                                << "order " << order << ", derivative " << k << ", site " << site;
                            ++at;
                        }
                    }
                    EXPECT_EQ(s.size(), at);
                }
            }
        }
    }
}

TYPED_TEST(Interpolation, LaysResultsOutBySiteOrByOrderAndLeavesGapsAlone) {
    using T = TypeParam;
    const RandomSpline<T> spline(9, 4, false);
    const std::vector<T> t = sites_around(spline.x, 700);
    const auto n = static_cast<int64_t>(t.size());
    const std::vector<int64_t> request{1, 0, 1};
    const std::vector<T> dense = spline.task.evaluate(1, t, request);
    std::vector<T> by_site(t.size() * 5, T(-7)), by_order(t.size() * 2 + 3, T(-7));
    ASSERT_EQ(kDfOk, Df<T>::interpolate(spline.task.handle, nullptr, 1, n, t.data(), 0, nullptr, 3,
                                        request.data(), by_site.data(), 5, kDfResultBySite, nullptr));
    ASSERT_EQ(kDfOk, Df<T>::interpolate(spline.task.handle, nullptr, 1, n, t.data(), 0, nullptr, 3,
                                        request.data(), by_order.data(), n + 3, kDfResultByOrder, nullptr));
    for (int64_t i = 0; i < n; ++i) {
        for (int64_t k = 0; k < 2; ++k) {
            ASSERT_EQ(dense[2 * i + k], by_site[5 * i + k]);
            ASSERT_EQ(dense[2 * i + k], by_order[k * (n + 3) + i]);
        }
        for (int64_t k = 2; k < 5; ++k) ASSERT_EQ(T(-7), by_site[5 * i + k]);
    }
    for (int64_t k = 0; k < 3; ++k) EXPECT_EQ(T(-7), by_order[n + k]);
}

TYPED_TEST(Interpolation, HasTheSameBitsForAnyThreadsSiteHintsAndCellsGiven) {
    using T = TypeParam;
    for (bool uniform : {false, true}) {
        const RandomSpline<T> spline(500, 4, uniform);
        std::vector<T> t = sites_around(spline.x, 50000);
        std::sort(t.begin(), t.end());
        const auto n = static_cast<int64_t>(t.size());
        const std::vector<T> one = spline.task.evaluate(0, t);
        std::vector<int64_t> cell(t.size());
        Df<T>::search(spline.task.handle, nullptr, n, t.data(), 0, nullptr, nullptr, cell.data());
        for (int64_t hint : {kDfSitesNoHint, kDfSitesSorted, kDfSitesCluster}) {
            for (const int64_t* cells :
                 {static_cast<const int64_t*>(nullptr), static_cast<const int64_t*>(cell.data())}) {
                std::vector<T> many(t.size());
                ASSERT_EQ(kDfOk,
                          Df<T>::interpolate(spline.task.handle, ozk_serv_threading(), 0, n, t.data(), hint,
                                             cells, 0, nullptr, many.data(), 1, kDfResultBySite, nullptr));
                EXPECT_EQ(one, many);
            }
        }
        std::vector<int32_t> narrow(cell.begin(), cell.end());
        std::vector<T> kernel(t.size());
        const int64_t value[] = {1};
        const T h = (spline.x.back() - spline.x[0]) / 499;
        ASSERT_EQ(kDfOk, Df<T>::cubic32(spline.task.handle, h, 0, n, t.data(), narrow.data(), 1, value,
                                        kernel.data(), 1));
        EXPECT_EQ(one, kernel);
        std::fill(narrow.begin(), narrow.end(), 123456);
        narrow[0] = -5;
        ASSERT_EQ(kDfOk, Df<T>::cubic32(spline.task.handle, h, 0, n, t.data(), narrow.data(), 1, value,
                                        kernel.data(), 1));
        EXPECT_EQ(one[0], kernel[0]) << "cells outside the partition count as its ends";
        EXPECT_EQ(one.back(), kernel.back());
    }
}

// The ways that need no cells against the cells: uniform partitions, dense and sparse ascending sites.
TYPED_TEST(Interpolation, WithoutCellsHasTheBitsOfTheCells) {
    using T = TypeParam;
    constexpr int64_t nx = 300, kSites = 3001;
    const T inf = std::numeric_limits<T>::infinity();
    const std::vector<T> x = random_knots<T>(nx, 8), y = functions<T>(nx, 2, false), ends{x[0], x.back()};
    std::vector<T> dense = sites_around(x, kSites), sparse(x);
    for (T knot : x) dense.insert(dense.end(), {std::nextafter(knot, inf), std::nextafter(knot, -inf)});
    for (std::vector<T>* t : {&dense, &sparse}) t->insert(t->end(), {inf, -inf, x[0] - 1});
    const std::vector<int64_t> request{1, 1, 0, 1};
    struct {
        int64_t order, type;
    } kinds[] = {
        {1, kDfTypeStepRight}, {1, kDfTypeStepLeft}, {2, 0}, {3, 0}, {3, kDfTypeSubbotin}, {4, 0}, {5, 0}};
    for (const auto& kind : kinds) {
        for (int64_t hint : {kDfPartitionUniform, kDfPartitionNonUniform}) {
            for (int64_t y_hint : {kDfStorageRows, kDfStorageColumns}) {
                Task<T> task(nx, hint == kDfPartitionUniform ? ends : x, hint, 2, y, y_hint);
                task.describe(kind.order, kind.type);
                std::ranges::copy(random_values<T>(task.coefficients.size(), 2), task.coefficients.begin());
                for (std::vector<T> t : {dense, sparse}) {
                    for (bool sorted : {false, true}) {
                        if (sorted)
                            std::sort(t.begin(), t.end());
                        else
                            t.push_back(std::numeric_limits<T>::quiet_NaN());
                        const auto n = static_cast<int64_t>(t.size());
                        std::vector<int64_t> cell(t.size());
                        std::vector<T> given(3 * t.size(), T(-7)), found(given);
                        Df<T>::search(task.handle, nullptr, n, t.data(), 0, nullptr, nullptr, cell.data());
                        for (const int64_t* cells : {cell.data(), static_cast<int64_t*>(nullptr)}) {
                            ASSERT_EQ(kDfOk,
                                      Df<T>::interpolate(task.handle, nullptr, 1, n, t.data(),
                                                         sorted ? kDfSitesSorted : 0, cells, 4,
                                                         request.data(), (cells ? given : found).data(), 3,
                                                         kDfResultBySite, nullptr));
                        }
                        for (size_t i = 0; i < given.size(); ++i)
                            ASSERT_TRUE(given[i] == found[i] ||
                                        (given[i] != given[i] && found[i] != found[i]))
                                << "order " << kind.order << ", type " << kind.type << ", site " << t[i / 3]
                                << ", sorted " << sorted << ": " << given[i] << ", " << found[i];
                        if (sorted) break;
                        t.pop_back();
                    }
                }
            }
        }
    }
}

// The definition of the step functions, and both layouts of the values.
TYPED_TEST(Interpolation, OfStepFunctionsIsContinuousFromTheSideItSays) {
    using T = TypeParam;
    for (bool uniform : {false, true}) {
        for (int64_t y_hint : {kDfStorageRows, kDfStorageColumns}) {
            const std::vector<T> x{0, 1, 2, 3, 4}, ends{0, 4}, y{10, 11, 12, 13, 14, 20, 21, 22, 23, 24};
            const std::vector<T> columns{10, 20, 11, 21, 12, 22, 13, 23, 14, 24};
            Task<T> task(5, uniform ? ends : x, uniform ? kDfPartitionUniform : kDfPartitionNoHint, 2,
                         y_hint == kDfStorageRows ? y : columns, y_hint);
            const std::vector<T> t{-1, 0, T(0.5), 1, T(1.5), 3, T(3.5), 4, 5};
            task.set(kDfSplineOrder, kDfOrderConstant);
            task.set(kDfSplineType, kDfTypeStepRight);
            EXPECT_EQ((std::vector<T>{20, 20, 20, 21, 21, 23, 23, 24, 24}), task.evaluate(1, t));
            task.set(kDfSplineType, kDfTypeStepLeft);
            EXPECT_EQ((std::vector<T>{20, 20, 21, 21, 22, 23, 24, 24, 24}), task.evaluate(1, t));
            const T mark = Task<T>::kMark;
            EXPECT_EQ((std::vector<T>{21, mark}), task.evaluate(1, {1}, {1, 1}));
            EXPECT_EQ((std::vector<T>{mark}), task.evaluate(1, {1}, {0, 1}));
            task.set(kDfSplineType, kDfTypeNatural + 2);
            T out;
            EXPECT_EQ(kDfErrorType, Df<T>::interpolate(task.handle, nullptr, 0, 1, t.data(), 0, nullptr, 0,
                                                       nullptr, &out, 1, 0, nullptr));
        }
    }
}

TYPED_TEST(Interpolation, OfALookUpTakesKnotsAlone) {
    using T = TypeParam;
    const std::vector<T> y{10, 11, 12, 13, 14};
    const auto look_up = [&y](int64_t nx, const std::vector<T>& x, int64_t hint, std::vector<T> t,
                              std::vector<int64_t> order = {1}) {
        Task<T> task(nx, x, hint, 1, y);
        task.set(kDfSplineOrder, kDfOrderConstant);
        task.set(kDfSplineType, kDfTypeLookUp);
        std::vector<T> result(t.size(), T(-7));
        const int status = Df<T>::interpolate(task.handle, nullptr, 0, static_cast<int64_t>(t.size()),
                                              t.data(), 0, nullptr, static_cast<int64_t>(order.size()),
                                              order.data(), result.data(), 1, 0, nullptr);
        if (status) {
            EXPECT_EQ(std::vector<T>(t.size(), T(-7)), result) << "a failed look-up wrote";
        }
        return std::pair{status, result};
    };
    const std::vector<T> x{0, 1, T(2.5), 3, 4}, ends{0, 4};
    EXPECT_EQ((std::pair{int{kDfOk}, std::vector<T>{14, 10, 12, 11}}), look_up(5, x, 0, {4, 0, T(2.5), 1}));
    EXPECT_EQ((std::pair{int{kDfOk}, std::vector<T>{14, 10, 12, 11}}), look_up(5, ends, 4, {4, 0, 2, 1}));
    for (T bad : {T(-1), T(0.5), T(4.5), std::nextafter(T(1), T(0)), std::numeric_limits<T>::quiet_NaN()}) {
        std::vector<T> t(3000, T(1));
        t.back() = bad;
        EXPECT_EQ(kDfErrorSiteNotKnot, look_up(5, x, 0, t).first) << bad;
    }
    EXPECT_EQ(kDfErrorLookUpOrderCount, look_up(5, x, 0, {1}, {1, 0}).first);
    EXPECT_EQ(kDfErrorLookUpNoValue, look_up(5, x, 0, {1}, {0}).first);
    if constexpr (std::is_same_v<T, double>) {
        for (double sign : {-1.0, 1.0}) {
            EXPECT_EQ(kDfOk, look_up(5, ends, 4, {1 + sign * 0x1p-41}).first);
            EXPECT_EQ(11, look_up(5, ends, 4, {1 + sign * 0x1p-41}).second[0]);
            EXPECT_EQ(kDfErrorSiteNotKnot, look_up(5, ends, 4, {1 + sign * 0x1p-39}).first);
        }
        EXPECT_EQ(kDfOk, look_up(5, ends, 4, {4 + 0x1p-41}).first);
        EXPECT_EQ(kDfErrorSiteNotKnot, look_up(5, ends, 4, {-0x1p-41}).first) << "left of the partition";
    }
}

template <class T>
int outside(int64_t nsite, const T* site, int64_t order, T* result, void* parameters) {
    for (int64_t i = 0; i < nsite; ++i) result[i] = 100 * static_cast<T>(order + 1) + site[i];
    return *static_cast<int*>(parameters);
}

TYPED_TEST(Interpolation, AsksTheCallbacksOutsideThePartition) {
    using T = TypeParam;
    for (bool uniform : {false, true}) {
        const RandomSpline<T> spline(9, 4, uniform);
        const std::vector<T> t = sites_around(spline.x, 3000);
        const std::vector<int64_t> request{1, 1};
        const auto n = static_cast<int64_t>(t.size());
        const std::vector<T> plain = spline.task.evaluate(0, t, request);
        int status = 0;
        typename Df<T>::Callbacks left{}, both{};
        left.left = both.left = both.right = outside<T>;
        left.left_parameters = both.left_parameters = both.right_parameters = &status;
        for (const auto* callbacks : {&left, &both}) {
            std::vector<T> s(plain.size());
            ASSERT_EQ(kDfOk, Df<T>::interpolate(spline.task.handle, nullptr, 0, n, t.data(), 0, nullptr, 2,
                                                request.data(), s.data(), 2, 0, callbacks));
            for (size_t i = 0; i < t.size(); ++i) {
                const bool called = t[i] < spline.x[0] || (t[i] > spline.x.back() && callbacks->right);
                ASSERT_EQ(called ? 100 + t[i] : plain[2 * i], s[2 * i]);
                ASSERT_EQ(called ? 200 + t[i] : plain[2 * i + 1], s[2 * i + 1]);
            }
        }
        status = -3;
        std::vector<T> s(plain.size());
        EXPECT_EQ(-3, Df<T>::interpolate(spline.task.handle, nullptr, 0, n, t.data(), 0, nullptr, 2,
                                         request.data(), s.data(), 2, 0, &both));
    }
}

TYPED_TEST(Interpolation, ChecksInOrderAndWritesNothing) {
    using T = TypeParam;
    const RandomSpline<T> spline(9, 4, false);
    DfTask& task = *spline.task.handle;
    const T t = 1, *none = nullptr;
    T result = -7;
    const auto run = [&](int64_t f, int64_t n, const T* site, int64_t site_hint, T* out,
                         int64_t result_hint) {
        return Df<T>::interpolate(&task, nullptr, f, n, site, site_hint, nullptr, 0, nullptr, out, 1,
                                  result_hint, nullptr);
    };
    EXPECT_EQ(kDfErrorNullTask,
              Df<T>::interpolate(nullptr, nullptr, 0, 1, &t, 0, nullptr, 0, nullptr, &result, 1, 0, nullptr));
    EXPECT_EQ(kDfOk, run(9, 0, none, 9, nullptr, 9));
    EXPECT_EQ(kDfErrorFunctionIndex, run(2, 1, none, 9, nullptr, 9));
    EXPECT_EQ(kDfErrorFunctionIndex, run(-1, 1, none, 9, nullptr, 9));
    EXPECT_EQ(kDfErrorNullSites, run(1, 1, none, 9, nullptr, 9));
    EXPECT_EQ(kDfErrorSiteHint, run(1, 1, &t, 9, nullptr, 9));
    EXPECT_EQ(kDfErrorNullResult, run(1, 1, &t, 0, nullptr, 9));
    EXPECT_EQ(kDfErrorResultHint, run(1, 1, &t, 0, &result, 9));
    task.order = 0;
    EXPECT_EQ(kDfErrorOrder, run(1, 1, &t, 0, &result, 0));
    task.order = 4;
    task.coefficients[1] = nullptr;
    EXPECT_EQ(kDfErrorNullCoefficients, run(1, 1, &t, 0, &result, 0));
    task.order = 1;
    task.y[1] = nullptr;
    EXPECT_EQ(kDfErrorNullValues, run(1, 1, &t, 0, &result, 0));
    EXPECT_EQ(T(-7), result);
}

}  // namespace
}  // namespace ozk::df::test
