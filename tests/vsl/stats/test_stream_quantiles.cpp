// Streaming quantiles: the rank error in every order of the data, memory, and portions.
#include <cstdlib>

#include "sample_problem.hpp"
#include "tests/vsl/allocator.hpp"
#include "vsl/stats/quantile_summary.hpp"

namespace {

using namespace ozk::stats;
using namespace ozk::stats::test;

constexpr uint32_t kVariants[] = {kOzkStatsStreamExactStart, kOzkStatsStreamSummary};

template <class Real>
struct StreamTask : TaskOf<Real> {
    std::vector<Real> orders, quantiles;
    Real epsilon;

    StreamTask(int64_t p, std::vector<Real> of, Real accuracy, bool wide_integers = true)
        : TaskOf<Real>(p, wide_integers),
          orders(std::move(of)),
          quantiles(p * orders.size(), Real(kUntouchedValue)),
          epsilon(accuracy) {
        this->integers(kOzkStatsIdStreamOrderCount, {static_cast<int64_t>(orders.size())})
            .integers(kOzkStatsIdStreamParameterCount, {1})
            .set(kOzkStatsIdStreamOrders, orders)
            .set(kOzkStatsIdStreamQuantiles, quantiles)
            .set(kOzkStatsIdStreamParameters, &epsilon);
    }
    int add(const Real* x, int64_t n, int64_t storage, uint32_t method,
            const OzkThreading* threading = nullptr) {
        this->integers(kOzkStatsIdObservationCount, {n}).integers(kOzkStatsIdObservationStorage, {storage});
        if (x != nullptr) this->set(kOzkStatsIdObservations, x);
        return Kernels<Real>::stream(this->task, kOzkStatsStreamQuantiles, method, threading);
    }
};

enum class Order { kSorted, kReversed, kZigzag, kConstant, kRandom, kOutsideIn, kInterleaved, kCount };

// A permutation of 0 .. n-1, but for kConstant, so that a value is its rank.
double value_at(Order order, int64_t j, int64_t n) {
    switch (order) {
        case Order::kSorted:
            return static_cast<double>(j);
        case Order::kReversed:
            return static_cast<double>(n - 1 - j);
        case Order::kZigzag:  // from the middle outwards
            return static_cast<double>(j % 2 ? n / 2 - (j + 1) / 2 : n / 2 + j / 2);
        case Order::kOutsideIn:
            return static_cast<double>(j % 2 ? n - 1 - j / 2 : j / 2);
        case Order::kInterleaved:  // ascending sweeps of a thousand
            return static_cast<double>((j % 1000) * (n / 1000) + j / 1000);
        case Order::kRandom:  // n is a power of ten: a multiplier prime to it
            return static_cast<double>(static_cast<int64_t>(static_cast<unsigned __int128>(j) *
                                                            6180339887498949ull % static_cast<uint64_t>(n)));
        default:
            return 42;
    }
}

TEST(StatsStream, RankErrorsStayWithinEpsilonForDataOfEveryOrder) {
    const bool whole = std::getenv("OZK_TEST_LONG") != nullptr;
    const int64_t n = whole ? 10'000'000 : 1'000'000;
    constexpr int64_t kPortion = 70'001;
    std::vector<double> orders;
    for (int q = 0; q <= 200; ++q) orders.push_back(q / 200.0);
    for (const double epsilon : {0.05, 0.001})
        for (int order = 0; order < static_cast<int>(Order::kCount); ++order)
            for (const uint32_t method : kVariants) {
                StreamTask<double> task(1, orders, epsilon);
                std::vector<double> x(kPortion);
                for (int64_t first = 0; first < n; first += kPortion) {
                    const int64_t count = std::min(kPortion, n - first);
                    for (int64_t j = 0; j < count; ++j) x[j] = value_at(Order(order), first + j, n);
                    ASSERT_EQ(task.add(x.data(), count, kOzkStatsByComponent, method), 0);
                }
                for (size_t q = 0; q < orders.size(); ++q) {
                    if (Order(order) == Order::kConstant) {
                        EXPECT_EQ(task.quantiles[q], 42);
                        continue;
                    }
                    const double rank = task.quantiles[q] + 1, wanted = orders[q] * double(n);
                    EXPECT_LE(std::fabs(rank - wanted), epsilon * double(n))
                        << "order of data " << order << ", method " << method << ", q " << orders[q];
                }
                EXPECT_EQ(task.quantiles.front(), Order(order) == Order::kConstant ? 42 : 0);
                EXPECT_EQ(task.quantiles.back(), Order(order) == Order::kConstant ? 42 : double(n - 1));
            }
}

// The tuples that a component keeps: seen by a summary of its own, fed as the estimator feeds it.
TEST(StatsStream, SummariesStaySmallAndTheirTuplesKeepTheBound) {
    for (const double epsilon : {0.05, 0.01, 0.001})
        for (const int64_t n : {10'000, 1'000'000})
            for (int order = 0; order < static_cast<int>(Order::kCount); ++order) {
                const int64_t batch = 1000;
                std::vector<int64_t> keys(batch);
                std::vector<SummaryTuple<int64_t>> tuples, merged;
                size_t largest = 0;
                for (int64_t first = 0; first < n; first += batch) {
                    for (int64_t j = 0; j < batch; ++j)
                        keys[j] = static_cast<int64_t>(value_at(Order(order), first + j, n));
                    std::sort(keys.begin(), keys.end());
                    merged.resize(tuples.size() + batch);
                    const int64_t bound = summary_bound(epsilon, first + batch);
                    merged.resize(merge_batch(tuples.data(), static_cast<int64_t>(tuples.size()), keys.data(),
                                              batch, bound, merged.data()));
                    std::swap(tuples, merged);
                    int64_t total = 0;
                    for (const auto& tuple : tuples) {
                        total += tuple.weight;
                        ASSERT_LE(tuple.weight + tuple.slack, std::max<int64_t>(bound, 1));
                    }
                    ASSERT_EQ(total, first + batch);
                    largest = std::max(largest, tuples.size());
                }
                const double logarithm = std::log2(std::max(2.0, 2 * epsilon * double(n)));
                EXPECT_LE(double(largest), 2 / epsilon * logarithm + double(batch))
                    << epsilon << ' ' << order;
                if (std::getenv("OZK_TEST_LONG") != nullptr)
                    std::printf("epsilon %g, n %lld, order %d: %.2f / epsilon tuples\n", epsilon,
                                static_cast<long long>(n), order, double(largest) * epsilon);
            }
}

TEST(StatsStream, AnswersAreExactWhileTheDataFitInTheBuffer) {
    for (int seed = 0; seed < 60; ++seed) {
        const SampleProblem<double> problem(seed, 250);
        StreamTask<double> task(problem.p, {0.5, 0, 1, 0.3}, 0.5, problem.wide);
        if (!problem.indices.empty()) task.integers(kOzkStatsIdIndices, problem.indices);
        std::mt19937 random(seed);
        for (int64_t first = 0; first < problem.n;) {  // portions of a few values and of many
            const int64_t count = std::min<int64_t>(problem.n - first, 1 + random() % (seed % 2 ? 5 : 100));
            std::vector<double> portion;
            for (int64_t i = 0; i < problem.p; ++i)
                portion.insert(portion.end(), problem.x.begin() + i * problem.n + first,
                               problem.x.begin() + i * problem.n + first + count);
            ASSERT_EQ(task.add(portion.data(), count, kOzkStatsByComponent, kOzkStatsStreamExactStart,
                               problem.threading),
                      0);
            first += count;
        }
        for (int64_t i = 0; i < problem.p; ++i)
            for (int q = 0; q < 4; ++q)
                EXPECT_TRUE(near(task.quantiles[4 * i + q],
                                 problem.selected(i) ? quantile_of(problem.sorted(i), task.orders[q])
                                                     : Scaled{kUntouchedValue, 0},
                                 2))
                    << problem.text;
    }
}

// Portions of any size, both variants by turns, both storages, threads: single precision here.
TEST(StatsStream, MixedPortionsKeepTheBoundInEveryComponent) {
    for (int seed = 0; seed < 12; ++seed) {
        std::mt19937 random(seed);
        const int64_t p = 1 + seed % 4, n = 30'000;
        const float epsilon = seed % 3 ? 0.02f : 0.2f;
        std::vector<float> orders = {0, 0.1f, 0.5f, 0.77f, 1};
        StreamTask<float> task(p, orders, epsilon, seed % 2);
        std::vector<std::vector<float>> all(p);
        while (static_cast<int64_t>(all[0].size()) < n) {
            const int64_t count = random() % 3 ? 1 + random() % 20 : 1 + random() % 3000;
            const int64_t storage = random() % 2 ? kOzkStatsByComponent : kOzkStatsByObservation;
            std::vector<float> x(p * count);
            for (int64_t i = 0; i < p; ++i)
                for (int64_t j = 0; j < count; ++j) {
                    const float value = static_cast<float>(random() % 5000) * (i % 2 ? -1.5f : 0.5f);
                    x[storage == kOzkStatsByComponent ? i * count + j : j * p + i] = value;
                    all[i].push_back(value);
                }
            ASSERT_EQ(task.add(x.data(), count, storage, kVariants[random() % 2],
                               random() % 2 ? &kThreeThreads : nullptr),
                      0);
        }
        ASSERT_EQ(task.add(nullptr, 0, kOzkStatsByComponent, kOzkStatsStreamSummary), 0);  // asks again
        for (int64_t i = 0; i < p; ++i) {
            std::sort(all[i].begin(), all[i].end());
            const double size = static_cast<double>(all[i].size());
            for (size_t q = 0; q < orders.size(); ++q) {
                const auto range =
                    std::equal_range(all[i].begin(), all[i].end(), task.quantiles[i * orders.size() + q]);
                ASSERT_NE(range.first, range.second) << "no value of the data";
                const double first = double(range.first - all[i].begin()) + 1,
                             last = double(range.second - all[i].begin());
                EXPECT_GE(last, (double(orders[q]) - epsilon) * size);
                EXPECT_LE(first, (double(orders[q]) + epsilon) * size + 1);
            }
        }
    }
}

TEST(StatsStream, NothingIsKeptAfterTheTaskAndNothingChangedWithoutMemory) {
    const int before = test_allocator::live_blocks;
    {
        std::vector<double> x(3 * 2000);
        for (size_t k = 0; k < x.size(); ++k) x[k] = double(k * 7919 % 6007);
        for (const uint32_t method : kVariants) {
            StreamTask<double> task(3, {0.25, 0.5}, 0.02);
            int blocks = 0;
            for (int portion = 0; portion < 4; ++portion) {
                const auto answers = task.quantiles;
                const int live = test_allocator::live_blocks;
                int status = kOzkStatsErrorMemory;
                for (int count = 0; status != kOzkStatsOk; ++count) {
                    const test_allocator::Limit limit(count);
                    status = task.add(x.data(), portion == 1 ? 20 : 2000, kOzkStatsByComponent, method,
                                      count % 2 ? &kThreeThreads : nullptr);
                    if (status == kOzkStatsOk) break;
                    ASSERT_EQ(status, kOzkStatsErrorMemory);
                    EXPECT_EQ(task.quantiles, answers);
                    EXPECT_EQ(test_allocator::live_blocks, live);
                    ++blocks;
                }
            }
            EXPECT_GT(blocks, 10);
            // Failed portions have left no trace: the same as without failures.
            StreamTask<double> plain(3, {0.25, 0.5}, 0.02);
            for (int portion = 0; portion < 4; ++portion)
                ASSERT_EQ(plain.add(x.data(), portion == 1 ? 20 : 2000, kOzkStatsByComponent, method), 0);
            EXPECT_EQ(task.quantiles, plain.quantiles);

            __vslSQuantilesFreeBuffers(plain.task);  // starts afresh
            ASSERT_EQ(plain.add(nullptr, 0, kOzkStatsByComponent, method), 0);
            for (const double value : plain.quantiles) EXPECT_TRUE(std::isnan(value));
        }
    }
    EXPECT_EQ(test_allocator::live_blocks, before);
    __vslSQuantilesFreeBuffers(nullptr);
}

TEST(StatsStream, FaultsAreReportedInOrderAndNothingIsAdded) {
    StreamTask<double> task(1, {0.5}, 0.1);
    const std::vector<double> x = {3, 1, 2};
    ASSERT_EQ(task.add(x.data(), 3, kOzkStatsByComponent, kOzkStatsStreamSummary), 0);
    EXPECT_EQ(task.quantiles[0], 2);
    task.quantiles[0] = kUntouchedValue;
    OzkStatsTask& t = *task.task;
    const int64_t minus = -1, zero = 0, two = 2;
    const auto integer = [](const int64_t& value) { return const_cast<int64_t*>(&value); };
    uint32_t method = kOzkStatsStreamSummary;
    // Each fault is found before those that are there already.
    const std::pair<int, std::function<void()>> faults[] = {
        {kOzkStatsErrorStreamAccuracy, [&] { task.epsilon = 1.5; }},
        {kOzkStatsErrorStreamAccuracy, [&] { task.epsilon = 0; }},
        {kOzkStatsErrorStreamAccuracy, [&] { task.epsilon = std::nan(""); }},
        {kOzkStatsErrorMethod, [&] { method = kOzkStatsFast; }},
        {kOzkStatsErrorStreamParameters, [&] { t.stream_parameters = nullptr; }},
        {kOzkStatsErrorStreamOrderCount, [&] { task.orders[0] = 1.1; }},
        {kOzkStatsErrorStreamOrderCount, [&] { task.orders[0] = std::nan(""); }},
        {kOzkStatsErrorStreamParameterCount, [&] { t.stream_parameter_count = integer(two); }},
        {kOzkStatsErrorStreamParameterCountMissing, [&] { t.stream_parameter_count = nullptr; }},
        {kOzkStatsErrorStreamOrderCount, [&] { t.stream_order_count = integer(minus); }},
        {kOzkStatsErrorStreamOrderCount, [&] { t.stream_order_count = nullptr; }},
        {kOzkStatsErrorStreamOrders, [&] { t.stream_orders = nullptr; }},
        {kOzkStatsErrorStreamQuantiles, [&] { t.stream_quantiles = nullptr; }},
        {kOzkStatsErrorStorage, [&] { t.observation_storage = integer(two); }},
        {kOzkStatsErrorInteger, [&] { t.observation_storage = nullptr; }},
        {kOzkStatsErrorObservations, [&] { t.observations = nullptr; }},
        {kOzkStatsErrorObservationCount, [&] { t.observation_count = integer(minus); }},
        {kOzkStatsErrorObservationCount, [&] { t.observation_count = nullptr; }},
        {kOzkStatsErrorDimension, [&] { t.dimension = integer(zero); }},
        {kOzkStatsErrorDimension, [&] { t.dimension = nullptr; }}};
    for (const auto& [status, spoil] : faults) {
        spoil();
        EXPECT_EQ(_vsldSSStreamQuantiles(&t, 0, method, nullptr), status);
        EXPECT_EQ(task.quantiles[0], kUntouchedValue);
    }
    EXPECT_EQ(_vsldSSStreamQuantiles(nullptr, 0, method, nullptr), kOzkStatsErrorTask);

    StreamTask<double> other(2, {0.5}, 0.1);
    const std::vector<double> y = {1, 2, 3, 4};
    ASSERT_EQ(other.add(y.data(), 2, kOzkStatsByComponent, kOzkStatsStreamSummary), 0);
    other.integers(kOzkStatsIdDimension, {1});  // not what the portions before had
    EXPECT_EQ(other.add(y.data(), 2, kOzkStatsByComponent, kOzkStatsStreamSummary), kOzkStatsErrorDimension);
}

}  // namespace
