// Cell search: every method against a plain count of knots.

#include <algorithm>
#include <limits>

#include "tests/df/support.hpp"

namespace ozk::df::test {
namespace {

template <class T>
int64_t counted_cell(const std::vector<T>& x, T t) {
    const auto n = static_cast<int64_t>(x.size());
    return t == x.back() ? n - 1 : std::count_if(x.begin(), x.end(), [t](T knot) { return knot <= t; });
}

// Knots, their neighbours, ends, far outside and infinities, and random sites, in random order.
template <class T>
std::vector<T> awkward_sites(const std::vector<T>& x, size_t random_count) {
    const T inf = std::numeric_limits<T>::infinity();
    std::vector<T> t{
        -inf, inf, x[0] - 1, x.back() + 1, std::numeric_limits<T>::max(), std::numeric_limits<T>::lowest()};
    for (T knot : x) t.insert(t.end(), {knot, std::nextafter(knot, inf), std::nextafter(knot, -inf)});
    std::mt19937 engine(7);
    std::uniform_real_distribution<double> inside(x[0] - 0.01, x.back() + 0.01);
    for (size_t i = 0; i < random_count; ++i) t.push_back(static_cast<T>(inside(engine)));
    std::shuffle(t.begin(), t.end(), engine);
    return t;
}

template <class T>
std::vector<T> clustered_knots(int64_t nx) {
    std::vector<T> x = random_knots<T>(nx, 11);
    const int64_t middle = nx / 2;
    for (int64_t i = middle; i + 1 < nx; ++i)
        x[i] = x[middle] + static_cast<T>(i - middle) * (x[nx - 1] - x[middle]) * T(1e-6);
    return x;
}

// Distances that grow by one factor over all magnitudes that T holds.
template <class T>
std::vector<T> geometric_knots(int64_t nx) {
    std::vector<T> x(static_cast<size_t>(nx));
    const double span = 0.9 * std::numeric_limits<T>::max_exponent;
    for (int64_t i = 0; i < nx; ++i)
        x[i] = static_cast<T>(std::exp2(span * static_cast<double>(i) / static_cast<double>(nx) - span / 2));
    return x;
}

template <class T, class Cell>
void expect_cells(const std::vector<T>& x, const std::vector<T>& t, const std::vector<Cell>& cell,
                  const char* method) {
    for (size_t i = 0; i < t.size(); ++i)
        ASSERT_EQ(counted_cell(x, t[i]), static_cast<int64_t>(cell[i]))
            << method << ", " << x.size() << " knots, site " << std::hexfloat << t[i];
}

template <class T>
class CellSearch : public ::testing::Test {};
TYPED_TEST_SUITE(CellSearch, Precisions);

TYPED_TEST(CellSearch, OfAnyKnotsCountsTheKnotsNotGreater) {
    using T = TypeParam;
    for (int64_t nx : {2, 3, 4, 5, 20, 21, 22, 23, 41, 43, 64, 100, 1000, 17000}) {
        for (const std::vector<T>& x :
             {random_knots<T>(nx, 5), clustered_knots<T>(nx), geometric_knots<T>(nx)}) {
            if (std::adjacent_find(x.begin(), x.end(), std::greater_equal<T>()) != x.end()) continue;
            std::vector<T> t = awkward_sites(x, 200);
            if (t.size() > 5000) t.resize(5000);
            t.push_back(std::numeric_limits<T>::infinity());
            const auto n = static_cast<int64_t>(t.size());
            Task<T> task(nx, x, kDfPartitionNonUniform, 0, {});
            std::vector<int32_t> narrow(t.size());
            std::vector<int64_t> wide(t.size());
            const T scale =
                sizeof(T) == 4 ? static_cast<T>(task.handle->scale.s) : static_cast<T>(task.handle->scale.d);
            Df<T>::hybrid32(nx, x.data(), n, t.data(), task.handle->table, narrow.data(), scale);
            expect_cells(x, t, narrow, "hybrid");
            Df<T>::hybrid64(nx, x.data(), n, t.data(), task.handle->table, wide.data(), scale);
            expect_cells(x, t, wide, "hybrid, 64-bit");
            const T even = static_cast<T>(nx - 1) / (x.back() - x[0]);
            Df<T>::quasi32(nx, x.data(), n, t.data(), narrow.data(), even);
            expect_cells(x, t, narrow, "quasi-uniform");
            for (int64_t start : {int64_t{0}, nx / 3, nx - 1, nx, nx + 5, int64_t{-3}}) {
                Df<T>::peak64(nx, x.data(), n, t.data(), wide.data(), static_cast<T>(start) + T(0.5));
                expect_cells(x, t, wide, "peak");
            }
            for (int64_t hint : {kDfSitesNoHint, kDfSitesCluster}) {
                EXPECT_EQ(kDfOk, Df<T>::search(task.handle, nullptr, n, t.data(), hint, nullptr, nullptr,
                                               wide.data()));
                expect_cells(x, t, wide, "general");
            }
            std::sort(t.begin(), t.end());
            int64_t index = 0, other = 0;
            Df<T>::sorted32(nx, x.data(), n / 2, t.data(), &index, narrow.data());
            Df<T>::sorted32(nx, x.data(), n - n / 2, t.data() + n / 2, &index, narrow.data() + n / 2);
            expect_cells(x, t, narrow, "sorted, in two calls");
            Df<T>::sorted64(nx, x.data(), n, t.data(), &other, wide.data());
            expect_cells(x, t, wide, "sorted");
            EXPECT_EQ(nx, index);
            Df<T>::sorted64(nx, x.data(), 1, x.data(), &index, wide.data());
            EXPECT_EQ(nx, wide[0]) << "a walk that ended does not go back";
            EXPECT_EQ(kDfOk, Df<T>::search(task.handle, nullptr, n, t.data(), kDfSitesSorted, nullptr,
                                           nullptr, wide.data()));
            expect_cells(x, t, wide, "general, sorted");
        }
    }
}

// The formula is the definition: rounding may place a site beside a knot in the neighbouring cell.
TYPED_TEST(CellSearch, OfAUniformPartitionFollowsTheFormula) {
    using T = TypeParam;
    for (int64_t nx : {int64_t{2}, int64_t{3}, int64_t{8}, int64_t{1001}, (int64_t{1} << 24) + 3}) {
        const std::vector<T> ends{T(-0.75), T(3.25)};
        const T scale = static_cast<T>(nx - 1) / (ends[1] - ends[0]);
        std::vector<T> t = awkward_sites(ends, 301);
        t.push_back(std::numeric_limits<T>::quiet_NaN());
        const auto formula = [&](T site) -> int64_t {
            if (site == ends[1]) return nx - 1;
            if (!(site >= ends[0])) return 0;
            const long double cell = std::trunc((site - ends[0]) * scale);
            return cell + 1 < static_cast<long double>(nx) ? static_cast<int64_t>(cell) + 1 : nx;
        };
        const auto n = static_cast<int64_t>(t.size());
        std::vector<int32_t> narrow(t.size());
        std::vector<int64_t> wide(t.size());
        Df<T>::uniform32(nx, ends.data(), n, t.data(), narrow.data(), scale);
        Df<T>::uniform64(nx, ends.data(), n, t.data(), wide.data(), scale);
        for (size_t i = 0; i < t.size(); ++i) {
            ASSERT_EQ(formula(t[i]), narrow[i]) << nx << " knots, site " << std::hexfloat << t[i];
            ASSERT_EQ(formula(t[i]), wide[i]) << nx << " knots, site " << std::hexfloat << t[i];
        }
    }
}

TYPED_TEST(CellSearch, OfNaNStaysBetweenZeroAndTheNumberOfKnots) {
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    for (int64_t nx : {2, 5, 500}) {
        const std::vector<T> x = random_knots<T>(nx, 1), t{nan, x[1], nan};
        for (int64_t hint : {kDfPartitionNonUniform, kDfPartitionQuasiUniform, kDfPartitionUniform}) {
            Task<T> task(nx, x, hint, 0, {});
            for (int64_t sites : {kDfSitesNoHint, kDfSitesSorted, kDfSitesCluster}) {
                std::vector<int64_t> cell(3, -9);
                Df<T>::search(task.handle, nullptr, 3, t.data(), sites, nullptr, nullptr, cell.data());
                for (int64_t c : cell) EXPECT_TRUE(c >= 0 && c <= nx) << c << " of " << nx;
            }
        }
    }
}

TYPED_TEST(CellSearch, IsTheSameForEverySplitAndAfterEditsOfThePartition) {
    using T = TypeParam;
    const std::vector<T> x = random_knots<T>(300, 1), other = random_knots<T>(40, 2);
    Task<T> task(300, x, kDfPartitionNonUniform, 0, {}, kDfStorageRows, 0);
    std::vector<T> t = awkward_sites(x, 40000);
    const auto n = static_cast<int64_t>(t.size());
    std::vector<int32_t> cell(t.size());
    ASSERT_EQ(kDfOk, Df<T>::search(task.handle, ozk_serv_threading(), n, t.data(), 0, nullptr, nullptr,
                                   cell.data()));
    expect_cells(x, t, cell, "threads");
    ASSERT_EQ(kDfOk, Df<T>::edit_pointer(task.handle, kDfPartition, other.data()));
    task.set(kDfKnotCount, 40);
    ASSERT_EQ(kDfOk, Df<T>::search(task.handle, nullptr, n, t.data(), 0, nullptr, nullptr, cell.data()));
    expect_cells(other, t, cell, "without accelerator");
}

TYPED_TEST(CellSearch, WithoutSitesWritesNothingAndChecksItsArguments) {
    using T = TypeParam;
    const std::vector<T> x{0, 1, 2};
    Task<T> task(3, x, kDfPartitionNonUniform, 0, {});
    const T* none = nullptr;
    T t = 1;
    int64_t cell = -9;
    EXPECT_EQ(kDfOk, Df<T>::uniform64(3, none, 0, none, &cell, T(1)));
    EXPECT_EQ(kDfOk, Df<T>::hybrid64(3, none, -1, none, nullptr, &cell, T(1)));
    EXPECT_EQ(kDfOk, Df<T>::sorted64(3, none, 0, none, nullptr, &cell));
    EXPECT_EQ(kDfOk, Df<T>::search(task.handle, nullptr, 0, none, 99, nullptr, nullptr, nullptr));
    EXPECT_EQ(kDfErrorNullTask, Df<T>::search(nullptr, nullptr, 1, &t, 0, nullptr, nullptr, &cell));
    EXPECT_EQ(kDfErrorNullSites, Df<T>::search(task.handle, nullptr, 1, none, 99, nullptr, nullptr, nullptr));
    EXPECT_EQ(kDfErrorSiteHint, Df<T>::search(task.handle, nullptr, 1, &t, 99, nullptr, nullptr, nullptr));
    EXPECT_EQ(kDfErrorNullResult, Df<T>::search(task.handle, nullptr, 1, &t, 0, nullptr, nullptr, nullptr));
    EXPECT_EQ(-9, cell);
}

// What the callback of the next test does, and what it saw.
struct CallbackScript {
    int status = 0;
    int64_t cell = 0;
    int64_t flag_from = 0;  // sites of a call from here on are flagged
    std::vector<int64_t> counts = {};
};

template <class T>
int scripted(const int64_t* nsite, const T*, int64_t* cell, int32_t* flag, void* parameters) {
    auto& script = *static_cast<CallbackScript*>(parameters);
    script.counts.push_back(*nsite);
    for (int64_t i = 0; i < *nsite; ++i) {
        cell[i] = script.cell;
        if (i >= script.flag_from) flag[i] = 1;
    }
    return script.status;
}

TYPED_TEST(CellSearch, ByTheUserIsFinalFlaggedCorrectedOrRefused) {
    using T = TypeParam;
    const std::vector<T> x = random_knots<T>(30, 4);
    const std::vector<T> t = awkward_sites(x, 1500);
    const auto n = static_cast<int64_t>(t.size());
    std::vector<int64_t> cell(t.size());

    CallbackScript refused{.status = -5};
    EXPECT_EQ(-5, Df<T>::user64(30, x.data(), n, t.data(), scripted<T>, &refused, cell.data()));
    EXPECT_EQ(std::vector<int64_t>{1024}, refused.counts);

    CallbackScript final{.status = kDfCellsFinal, .cell = 77};
    EXPECT_EQ(kDfOk, Df<T>::user64(30, x.data(), n, t.data(), scripted<T>, &final, cell.data()));
    EXPECT_EQ(std::vector<int64_t>(t.size(), 77), cell);
    EXPECT_EQ((std::vector<int64_t>{1024, n - 1024}), final.counts);

    for (int64_t start : {-4, 0, 13, 30, 1000}) {
        CallbackScript begun{.status = 3, .cell = start, .flag_from = 1 << 20};
        std::vector<int32_t> narrow(t.size());
        EXPECT_EQ(3, Df<T>::user32(30, x.data(), n, t.data(), scripted<T>, &begun, narrow.data()));
        expect_cells(x, t, narrow, "user-defined");
    }

    CallbackScript flagged{.cell = -8, .flag_from = 2};
    EXPECT_EQ(kDfOk, Df<T>::user64(30, x.data(), 4, t.data(), scripted<T>, &flagged, cell.data()));
    EXPECT_EQ((std::vector<int64_t>{counted_cell(x, t[0]), counted_cell(x, t[1]), -8, -8}),
              std::vector<int64_t>(cell.begin(), cell.begin() + 4));

    const std::vector<T> ends{0, 4}, sites{-1, 0, T(1.5), 4, 9};
    CallbackScript open{.cell = 3, .flag_from = 4};
    EXPECT_EQ(kDfOk,
              Df<T>::uniform_user64(5, ends.data(), 5, sites.data(), scripted<T>, &open, cell.data(), T(1)));
    EXPECT_EQ((std::vector<int64_t>{0, 1, 2, 4, 3}), std::vector<int64_t>(cell.begin(), cell.begin() + 5));
}

}  // namespace
}  // namespace ozk::df::test
