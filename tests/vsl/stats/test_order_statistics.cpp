// Extremes, deviations, quantiles and sorting against plain formulas over std::sort and in long double.
#include "sample_problem.hpp"
#include "tests/vsl/allocator.hpp"

namespace {

using namespace ozk::stats::test;

template <class Real>
class StatsOrder : public testing::Test {};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(StatsOrder, Reals);

constexpr int kProblems = 120;
constexpr uint64_t kDeviations = kOzkStatsMedianDeviation | kOzkStatsMeanDeviation;

TYPED_TEST(StatsOrder, ExtremesAreThoseOfTheSortedValues) {
    for (int seed = 0; seed < kProblems; ++seed) {
        const SampleProblem<TypeParam> problem(seed);
        TaskOf<TypeParam> task(problem.p, problem.wide);
        problem.give(task);
        auto low = problem.results(1), high = low;
        task.set(kOzkStatsIdMinimum, low).set(kOzkStatsIdMaximum, high);
        ASSERT_EQ(Kernels<TypeParam>::minmax(task.task, kOzkStatsMinimum | kOzkStatsMaximum,
                                             seed % 2 ? kOzkStatsFast : kOzkStatsOnePass),
                  0);
        for (int64_t i = 0; i < problem.p; ++i) {
            const auto sorted = problem.sorted(i);
            EXPECT_EQ(low[i], problem.selected(i) ? sorted.front() : TypeParam(kUntouchedValue))
                << problem.text;
            EXPECT_EQ(high[i], problem.selected(i) ? sorted.back() : TypeParam(kUntouchedValue));
        }
    }
}

TYPED_TEST(StatsOrder, ExtremesAreNaNWhereverANaNStands) {
    for (const int64_t storage : {kOzkStatsByComponent, kOzkStatsByObservation})
        for (int64_t at = 0; at < 41; ++at) {
            SampleProblem<TypeParam> problem(7);
            problem.p = 11;
            problem.n = 41;
            problem.storage = storage;
            problem.indices.clear();
            problem.x.assign(11 * 41, TypeParam(3));
            problem.x[(at % 11) * 41 + at] = std::numeric_limits<TypeParam>::quiet_NaN();
            problem.lay_out();
            TaskOf<TypeParam> task(problem.p);
            problem.weights.clear();
            problem.give(task);
            auto low = problem.results(1), high = low;
            task.set(kOzkStatsIdMinimum, low).set(kOzkStatsIdMaximum, high);
            ASSERT_EQ(Kernels<TypeParam>::minmax(task.task, kOzkStatsMinimum | kOzkStatsMaximum, 1), 0);
            for (int64_t i = 0; i < 11; ++i) {
                EXPECT_EQ(std::isnan(low[i]), i == at % 11) << at;
                EXPECT_EQ(std::isnan(high[i]), i == at % 11) << at;
            }
        }
}

TYPED_TEST(StatsOrder, DeviationsFollowTheirFormulas) {
    for (int seed = 0; seed < kProblems; ++seed) {
        const SampleProblem<TypeParam> problem(seed);
        TaskOf<TypeParam> task(problem.p, problem.wide);
        problem.give(task);
        auto medians = problem.results(1), means = medians, about = medians, given = medians;
        for (int64_t i = 0; i < problem.p; ++i) given[i] = problem.x[i * problem.n] + TypeParam(0.5);
        const auto given_before = given;
        task.set(kOzkStatsIdMedianDeviation, medians).set(kOzkStatsIdMeanDeviation, means);
        ASSERT_EQ(Kernels<TypeParam>::deviations(task.task, kDeviations, kOzkStatsFast, problem.threading),
                  0);
        task.set(kOzkStatsIdMeanDeviation, about).set(kOzkStatsIdMean, given);
        ASSERT_EQ(Kernels<TypeParam>::deviations(task.task, kOzkStatsMeanDeviation, kOzkStatsFastCallerMean,
                                                 nullptr),
                  0);
        EXPECT_EQ(given, given_before);
        for (int64_t i = 0; i < problem.p; ++i) {
            if (!problem.selected(i)) {
                for (const auto* results : {&medians, &means, &about})
                    EXPECT_EQ((*results)[i], TypeParam(kUntouchedValue));
                continue;
            }
            const auto x = problem.component(i);
            const Scaled median = quantile_of(problem.sorted(i), 0.5);
            std::vector<long double> distances;
            long double total = 0, sum = 0, mean = 0, from_given = 0;
            for (int64_t j = 0; j < problem.n; ++j) {
                distances.push_back(std::fabs(x[j] - median.value));
                total += problem.weight(j);
                mean += problem.weight(j) * (static_cast<long double>(x[j]) - x[0]);
            }
            mean /= total;  // from the first value, where it keeps its digits
            for (int64_t j = 0; j < problem.n; ++j) {
                sum += problem.weight(j) * std::fabs(static_cast<long double>(x[j]) - x[0] - mean);
                from_given += problem.weight(j) * std::fabs(x[j] - static_cast<long double>(given[i]));
            }
            std::sort(distances.begin(), distances.end());
            // The median is a double, which rounds where it lies between two values.
            const Scaled expected = quantile_of(distances, 0.5);
            EXPECT_TRUE(near(medians[i], expected.value, 2,
                             expected.scale + (sizeof(TypeParam) == 8 ? median.scale : 0)))
                << problem.text;
            EXPECT_TRUE(near(means[i], sum / total, 24)) << problem.text;
            EXPECT_TRUE(near(about[i], from_given / total, 24)) << problem.text;
        }
    }
}

TYPED_TEST(StatsOrder, QuantilesAndOrderStatisticsAreThoseOfTheSortedValues) {
    for (int seed = 0; seed < kProblems; ++seed) {
        const SampleProblem<TypeParam> problem(seed, seed % 7 == 0 ? 6000 : 500);
        std::mt19937_64 random(seed);
        std::vector<TypeParam> orders = {1, 0, TypeParam(0.5), TypeParam(0.25), 0};
        for (int k = static_cast<int>(random() % 4 == 0 ? 200 : random() % 10); k > 0; --k)
            orders.push_back(static_cast<TypeParam>(random() % 1001) / 1000);
        const int64_t m = static_cast<int64_t>(orders.size());
        const int64_t sorted_storage = random() % 2 ? kOzkStatsByComponent : kOzkStatsByObservation;
        TaskOf<TypeParam> task(problem.p, problem.wide);
        problem.give(task);
        auto alone = problem.results(m), beside = alone, sorted = problem.results(problem.n);
        task.integers(kOzkStatsIdQuantileOrderCount, {m}).set(kOzkStatsIdQuantileOrders, orders);
        task.set(kOzkStatsIdQuantiles, alone);
        ASSERT_EQ(
            Kernels<TypeParam>::quantiles(task.task, kOzkStatsQuantiles, kOzkStatsFast, problem.threading),
            0);
        task.set(kOzkStatsIdQuantiles, beside).set(kOzkStatsIdOrderStatistics, sorted);
        task.integers(kOzkStatsIdOrderStatisticsStorage, {sorted_storage});
        ASSERT_EQ(Kernels<TypeParam>::quantiles(task.task, kOzkStatsQuantiles | kOzkStatsOrderStatistics,
                                                kOzkStatsFast, problem.threading),
                  0);
        EXPECT_EQ(std::memcmp(alone.data(), beside.data(), alone.size() * sizeof(TypeParam)), 0)
            << problem.text;
        for (int64_t i = 0; i < problem.p; ++i) {
            const auto expected = problem.sorted(i);
            for (int64_t j = 0; j < problem.n; ++j)
                ASSERT_EQ(
                    sorted[sorted_storage == kOzkStatsByComponent ? i * problem.n + j : j * problem.p + i],
                    problem.selected(i) ? expected[j] : TypeParam(kUntouchedValue))
                    << problem.text;
            for (int64_t q = 0; q < m; ++q)
                EXPECT_TRUE(near(
                    alone[i * m + q],
                    problem.selected(i) ? quantile_of(expected, orders[q]) : Scaled{kUntouchedValue, 0}, 2))
                    << problem.text << " order " << orders[q];
        }
    }
}

// Data that drive selection into its bad cases; every rank is asked for, then single ones.
TYPED_TEST(StatsOrder, SelectionHoldsForDataOfEveryOrderAndSpecialValues) {
    constexpr int64_t n = 5000;
    constexpr auto kInfinity = std::numeric_limits<TypeParam>::infinity();
    constexpr auto kNaN = std::numeric_limits<TypeParam>::quiet_NaN();
    std::mt19937 random(5);
    for (int kind = 0; kind < 8; ++kind) {
        std::vector<TypeParam> x(n);
        for (int64_t j = 0; j < n; ++j) {
            const TypeParam values[] = {TypeParam(j),
                                        TypeParam(-j),
                                        7,
                                        TypeParam(j % 2),
                                        TypeParam(j < n / 2 ? j : n - j),
                                        TypeParam(j % 70 == 3 ? 1e30 : 1 + 1e-5 * double(random() % 1000)),
                                        j % 3 ? kInfinity : -kInfinity,
                                        j % 5 ? TypeParam(random() % 100) : kNaN};
            x[j] = values[kind];
        }
        auto sorted = x;
        std::sort(sorted.begin(), sorted.end(), [](TypeParam a, TypeParam b) {
            return std::isnan(b) ? !std::isnan(a) : a < b;  // NaNs last
        });
        for (const int64_t count : {n, int64_t{1}, int64_t{2}})
            for (int64_t shift = 0; shift < (count == n ? 1 : 40); ++shift) {
                std::vector<TypeParam> orders(count), quantiles(count);
                for (int64_t q = 0; q < count; ++q)
                    orders[q] = count == n ? TypeParam(q) / (n - 1)
                                           : TypeParam((q * 2000 + shift * 125) % n) / (n - 1);
                TaskOf<TypeParam> task(1);
                task.integers(kOzkStatsIdObservationCount, {n}).set(kOzkStatsIdObservations, x);
                task.integers(kOzkStatsIdObservationStorage, {kOzkStatsByComponent});
                task.integers(kOzkStatsIdQuantileOrderCount, {count}).set(kOzkStatsIdQuantileOrders, orders);
                task.set(kOzkStatsIdQuantiles, quantiles);
                ASSERT_EQ(
                    Kernels<TypeParam>::quantiles(task.task, kOzkStatsQuantiles, kOzkStatsFast, nullptr), 0);
                for (int64_t q = 0; q < count; ++q) {
                    const long double h = static_cast<long double>(orders[q]) * (n - 1);
                    const TypeParam low = sorted[static_cast<size_t>(h)],
                                    high = sorted[std::min<size_t>(n - 1, static_cast<size_t>(h) + 1)];
                    if (std::isnan(quantiles[q])) {
                        EXPECT_TRUE(std::isnan(high) || (std::isinf(high) && low != high)) << kind;
                    } else {
                        EXPECT_TRUE(quantiles[q] >= low && (quantiles[q] <= high || std::isnan(high)))
                            << kind << ' ' << q << ' ' << quantiles[q] << " of " << low << ' ' << high;
                    }
                }
            }
    }
}

TYPED_TEST(StatsOrder, SortingGivesEachComponentInOrderAndInPlace) {
    for (int seed = 0; seed < kProblems; ++seed) {
        SampleProblem<TypeParam> problem(seed, seed % 7 == 0 ? 6000 : 500);
        for (const int64_t storage : {kOzkStatsByComponent, kOzkStatsByObservation})
            for (const bool in_place : {false, true}) {
                if (in_place && (storage != problem.storage || !problem.indices.empty())) continue;
                TaskOf<TypeParam> task(problem.p, problem.wide);
                auto sorted = in_place ? problem.layout : problem.results(problem.n);
                problem.give(task);
                if (in_place) task.set(kOzkStatsIdObservations, sorted);
                task.set(kOzkStatsIdSortedObservations, sorted).integers(kOzkStatsIdSortedStorage, {storage});
                ASSERT_EQ(Kernels<TypeParam>::sort(task.task, 0, kOzkStatsRadixSort, problem.threading), 0);
                for (int64_t i = 0; i < problem.p; ++i) {
                    const auto expected = problem.sorted(i);
                    for (int64_t j = 0; j < problem.n; ++j)
                        ASSERT_EQ(
                            sorted[storage == kOzkStatsByComponent ? i * problem.n + j : j * problem.p + i],
                            problem.selected(i) ? expected[j] : TypeParam(kUntouchedValue))
                            << problem.text;
                }
            }
    }
}

TYPED_TEST(StatsOrder, SortHelpersOrderAndSelectWithAnyStrideAndLoseNoNaN) {
    std::mt19937_64 random(11);
    for (int64_t n = 0; n < 300; ++n)
        for (const int64_t stride : {1, 3}) {
            std::vector<TypeParam> x(n * stride + 1, TypeParam(kUntouchedValue)), values;
            for (int64_t j = 0; j < n; ++j) {
                values.push_back(n % 3 == 0   ? TypeParam(j % 7)
                                 : n % 3 == 1 ? TypeParam(random() % 1000)
                                              : -j);
                x[j * stride] = values.back();
            }
            auto contiguous = values, selected = values;
            Kernels<TypeParam>::quicksort_step(n, x.data(), stride);
            Kernels<TypeParam>::quicksort(n, contiguous.data());
            std::sort(values.begin(), values.end());
            EXPECT_EQ(contiguous, values);
            for (int64_t j = 0; j < n * stride; ++j)
                ASSERT_EQ(x[j], j % stride == 0 ? values[j / stride] : TypeParam(kUntouchedValue));
            for (const int64_t k : {int64_t{0}, n / 3, n / 2, n - 1}) {
                if (n == 0) break;
                EXPECT_EQ(Kernels<TypeParam>::quickselect(n, selected.data(), k), values[k]) << n << ' ' << k;
                EXPECT_EQ(selected[k], values[k]);
            }
            EXPECT_TRUE(std::is_permutation(selected.begin(), selected.end(), values.begin()));

            std::vector<TypeParam> holes = values;  // NaNs anywhere: nothing outside is touched or lost
            for (int64_t j = 0; j < n; j += 1 + static_cast<int64_t>(random() % 4))
                holes[j] = std::numeric_limits<TypeParam>::quiet_NaN();
            std::shuffle(holes.begin(), holes.end(), random);
            auto after = holes;
            Kernels<TypeParam>::quicksort(n, after.data());
            if (n > 0) Kernels<TypeParam>::quickselect(n, after.data(), n / 2);
            const auto is_nan = [](TypeParam v) { return std::isnan(v); };
            EXPECT_EQ(std::count_if(after.begin(), after.end(), is_nan),
                      std::count_if(holes.begin(), holes.end(), is_nan));
        }
    std::vector<TypeParam> large(300000);
    for (auto& value : large) value = TypeParam(random() % 100000);
    auto sorted = large;
    std::sort(sorted.begin(), sorted.end());
    Kernels<TypeParam>::quicksort(static_cast<int64_t>(large.size()), large.data());
    EXPECT_EQ(large, sorted);
}

TYPED_TEST(StatsOrder, WeightedMediansReachHalfTheWeight) {
    for (int seed = 0; seed < kProblems; ++seed) {
        const SampleProblem<TypeParam> problem(seed);
        TaskOf<TypeParam> task(problem.p, problem.wide);
        problem.give(task);
        auto medians = problem.results(1);
        task.set(kOzkStatsIdQuantiles, medians);
        ASSERT_EQ(Kernels<TypeParam>::weighted_median(task.task, 0, kOzkStatsFast, problem.threading), 0);
        for (int64_t i = 0; i < problem.p; ++i) {
            if (!problem.selected(i)) {
                EXPECT_EQ(medians[i], TypeParam(kUntouchedValue));
                continue;
            }
            // Weights are multiples of 1/4: each value as often as its weight has quarters.
            std::vector<TypeParam> repeated;
            for (int64_t j = 0; j < problem.n; ++j)
                repeated.insert(repeated.end(), static_cast<size_t>(4 * problem.weight(j)),
                                problem.x[i * problem.n + j]);
            std::sort(repeated.begin(), repeated.end());
            EXPECT_TRUE(near(medians[i], quantile_of(repeated, 0.5), 1)) << problem.text;
        }
    }
}

TYPED_TEST(StatsOrder, SmallAndEdgeCasesAreAsTheFormulasSay) {
    using Values = std::vector<TypeParam>;
    const auto quantiles_of = [](Values x, const Values& orders) {
        TaskOf<TypeParam> task(1);
        Values quantiles(orders.size() + 1, TypeParam(kUntouchedValue));
        task.integers(kOzkStatsIdObservationCount, {static_cast<int64_t>(x.size())});
        task.set(kOzkStatsIdObservations, x)
            .integers(kOzkStatsIdObservationStorage, {kOzkStatsByObservation});
        task.integers(kOzkStatsIdQuantileOrderCount, {static_cast<int64_t>(orders.size())});
        task.set(kOzkStatsIdQuantileOrders, orders.empty() ? x.data() : orders.data());
        task.set(kOzkStatsIdQuantiles, quantiles);
        EXPECT_EQ(Kernels<TypeParam>::quantiles(task.task, kOzkStatsQuantiles, kOzkStatsFast, nullptr), 0);
        EXPECT_EQ(quantiles.back(), TypeParam(kUntouchedValue));
        quantiles.pop_back();
        return quantiles;
    };
    EXPECT_EQ(quantiles_of({5}, {0, TypeParam(0.3), 1}), (Values{5, 5, 5}));
    EXPECT_EQ(quantiles_of({4, 1}, {TypeParam(0.5), 0, 1}), (Values{2.5, 1, 4}));
    EXPECT_EQ(quantiles_of({4, 1, 3}, {}), Values{});
    const auto with_nan = quantiles_of({4, 1, 3}, {std::numeric_limits<TypeParam>::quiet_NaN(), 1});
    EXPECT_TRUE(std::isnan(with_nan[0]));
    EXPECT_EQ(with_nan[1], 4);
}

// ---- Statuses

// A task with everything that a kernel needs, of which one thing after another is spoilt.
template <class Real>
struct Complete : TaskOf<Real> {
    std::vector<Real> x = {1, 2, 4, 3, 5, 8}, orders = {Real(0.5)}, results = std::vector<Real>(60, -1);

    Complete() : TaskOf<Real>(2) {
        this->integers(kOzkStatsIdObservationCount, {3})
            .integers(kOzkStatsIdObservationStorage, {kOzkStatsByComponent})
            .set(kOzkStatsIdObservations, x)
            .integers(kOzkStatsIdQuantileOrderCount, {1})
            .set(kOzkStatsIdQuantileOrders, orders)
            .integers(kOzkStatsIdOrderStatisticsStorage, {kOzkStatsByComponent})
            .integers(kOzkStatsIdSortedStorage, {kOzkStatsByObservation});
        int place = 0;
        for (const int id : {kOzkStatsIdMinimum, kOzkStatsIdMaximum, kOzkStatsIdMedianDeviation,
                             kOzkStatsIdMeanDeviation, kOzkStatsIdQuantiles, kOzkStatsIdOrderStatistics,
                             kOzkStatsIdSortedObservations, kOzkStatsIdMean})
            this->set(id, results.data() + 6 * place++);
    }
    bool untouched() const { return results == std::vector<Real>(60, -1); }
};

TYPED_TEST(StatsOrder, FaultsAreReportedInOrderAndNothingIsWritten) {
    using K = Kernels<TypeParam>;
    const int64_t zero = 0, wrong = 0x30001, minus = -1;
    void* const bad = const_cast<int64_t*>(&wrong);
    const uint64_t extremes = kOzkStatsMinimum | kOzkStatsMaximum;
    const uint64_t both = kOzkStatsQuantiles | kOzkStatsOrderStatistics;
    // Each row spoils one thing more, from the last to be checked to the first.
    struct Row {
        int status;
        std::function<void(OzkStatsTask&)> spoil;
    };
    const Row common[] = {
        {kOzkStatsErrorStorage, [&](auto& t) { t.observation_storage = bad; }},
        {kOzkStatsErrorInteger, [](auto& t) { t.observation_storage = nullptr; }},
        {kOzkStatsErrorObservationCount, [&](auto& t) { t.observation_count = const_cast<int64_t*>(&zero); }},
        {kOzkStatsErrorObservationCount, [](auto& t) { t.observation_count = nullptr; }},
        {kOzkStatsErrorDimension, [&](auto& t) { t.dimension = const_cast<int64_t*>(&zero); }},
        {kOzkStatsErrorDimension, [](auto& t) { t.dimension = nullptr; }}};
    const auto check = [&](auto run, uint32_t method, uint32_t bad_method, const std::vector<Row>& rows) {
        Complete<TypeParam> complete;
        const auto refuse = [&](const Row& row, uint32_t with) {
            if (row.spoil) row.spoil(*complete.task);
            EXPECT_EQ(run(complete.task, with), row.status);
            EXPECT_TRUE(complete.untouched()) << row.status;
        };
        refuse({kOzkStatsErrorObservations, [](auto& t) { t.observations = nullptr; }}, method);
        refuse({kOzkStatsErrorMethod, nullptr}, bad_method);
        for (const Row& row : rows) refuse(row, bad_method);
        for (const Row& row : common) refuse(row, bad_method);
        EXPECT_EQ(run(nullptr, method), kOzkStatsErrorTask);
    };
    check([&](OzkStatsTask* t, uint32_t m) { return K::minmax(t, extremes, m); }, 1, 0x100,
          {{kOzkStatsErrorMaximum, [](auto& t) { t.maximum = nullptr; }},
           {kOzkStatsErrorMinimum, [](auto& t) { t.minimum = nullptr; }}});
    check([&](OzkStatsTask* t, uint32_t m) { return K::deviations(t, kOzkStatsMeanDeviation, m, nullptr); },
          0x101, 2, {{kOzkStatsErrorMeanDeviation, [](auto& t) { t.mean_deviation = nullptr; }}});
    check([&](OzkStatsTask* t, uint32_t m) { return K::deviations(t, kDeviations, m, nullptr); }, 1, 0x100,
          {{kOzkStatsErrorMedianDeviation, [](auto& t) { t.median_deviation = nullptr; }}});
    check([&](OzkStatsTask* t, uint32_t m) { return K::quantiles(t, both, m, nullptr); }, 1, 2,
          {{kOzkStatsErrorStorage, [&](auto& t) { t.order_statistics_storage = bad; }},
           {kOzkStatsErrorInteger, [](auto& t) { t.order_statistics_storage = nullptr; }},
           {kOzkStatsErrorOrderStatistics, [](auto& t) { t.order_statistics = nullptr; }},
           {kOzkStatsErrorQuantileOrderCount,
            [](auto& t) { *static_cast<TypeParam*>(t.quantile_orders) = TypeParam(1.0000001); }},
           {kOzkStatsErrorQuantileOrderCount,
            [](auto& t) { *static_cast<TypeParam*>(t.quantile_orders) = TypeParam(-1e-30); }},
           {kOzkStatsErrorQuantileOrderCount,
            [&](auto& t) { t.quantile_order_count = const_cast<int64_t*>(&minus); }},
           {kOzkStatsErrorQuantileOrderCount, [](auto& t) { t.quantile_order_count = nullptr; }},
           {kOzkStatsErrorQuantileOrders, [](auto& t) { t.quantile_orders = nullptr; }},
           {kOzkStatsErrorQuantiles, [](auto& t) { t.quantiles = nullptr; }}});
    check([&](OzkStatsTask* t, uint32_t m) { return K::sort(t, 0, m, nullptr); }, kOzkStatsRadixSort, 1,
          {{kOzkStatsErrorStorage, [&](auto& t) { t.sorted_storage = bad; }},
           {kOzkStatsErrorInteger, [](auto& t) { t.sorted_storage = nullptr; }},
           {kOzkStatsErrorSortedObservations, [](auto& t) { t.sorted_observations = nullptr; }}});
    check([&](OzkStatsTask* t, uint32_t m) { return K::weighted_median(t, 0, m, nullptr); }, 1, 2,
          {{kOzkStatsErrorQuantiles, [](auto& t) { t.quantiles = nullptr; }}});

    Complete<TypeParam> complete;
    OzkStatsTask& task = *complete.task;
    task.mean = nullptr;
    EXPECT_EQ(K::deviations(&task, kOzkStatsMeanDeviation, 0x100, nullptr), kOzkStatsErrorMean);
    task.sorted_observations = task.observations;  // in place, and its two rules
    const auto before = complete.x;
    EXPECT_EQ(K::sort(&task, 0, kOzkStatsRadixSort, nullptr), kOzkStatsErrorInteger);
    task.sorted_storage = task.observation_storage;
    complete.integers(kOzkStatsIdIndices, {1, 1});
    EXPECT_EQ(K::sort(&task, 0, kOzkStatsRadixSort, nullptr), kOzkStatsErrorSortInPlace);
    EXPECT_EQ(complete.x, before);
    EXPECT_TRUE(complete.untouched());
}

TYPED_TEST(StatsOrder, WithoutMemoryNothingIsWrittenAndNothingLeaks) {
    using K = Kernels<TypeParam>;
    const int live = test_allocator::live_blocks;
    {
        Complete<TypeParam> complete;
        OzkStatsTask* const task = complete.task;
        const std::function<int()> runs[] = {
            [=] { return K::deviations(task, kDeviations, kOzkStatsFast, &kThreeThreads); },
            [=] { return K::quantiles(task, kOzkStatsQuantiles, kOzkStatsFast, &kThreeThreads); },
            [=] { return K::quantiles(task, kOzkStatsOrderStatistics, kOzkStatsFast, nullptr); },
            [=] { return K::weighted_median(task, 0, kOzkStatsFast, nullptr); },
            [=] { return K::sort(task, 0, kOzkStatsRadixSort, nullptr); }};
        for (const auto& run : runs) {
            const int before = test_allocator::live_blocks;
            {
                const test_allocator::Limit none(0);
                EXPECT_EQ(run(), kOzkStatsErrorMemory);
            }
            EXPECT_TRUE(complete.untouched());
            EXPECT_EQ(test_allocator::live_blocks, before);
            EXPECT_EQ(run(), kOzkStatsOk);
            EXPECT_FALSE(complete.untouched());
            EXPECT_EQ(test_allocator::live_blocks, before);
            std::fill(complete.results.begin(), complete.results.end(), TypeParam(-1));
        }
    }
    EXPECT_EQ(test_allocator::live_blocks, live);
}

}  // namespace
