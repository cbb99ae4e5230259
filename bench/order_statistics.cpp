// Extremes, quantiles, deviations and streaming quantiles on one thread.

#include "bench/order_statistics.hpp"

#include <gsl/gsl_statistics_double.h>

#include <Eigen/Core>
#include <algorithm>
#include <memory>
#include <random>

#include "ozk_core.h"
#include "ozk_stats.h"

namespace ozk::bench {
namespace {

// The values, what is computed of them, and what a contender may spoil.
struct Values {
    int64_t p, n, storage = kOzkStatsByComponent, order_count, one = 1;
    std::vector<double> x, work, orders, results;
    double epsilon = 0.001;

    Values(int64_t components, int64_t count, int64_t quantiles)
        : p(components), n(count), order_count(quantiles) {
        std::mt19937_64 engine(1);
        std::normal_distribution<double> normal(3, 2);
        for (int64_t j = 0; j < p * n; ++j) x.push_back(normal(engine));
        work.resize(static_cast<size_t>(n));
        for (int64_t q = 1; q <= quantiles; ++q)
            orders.push_back(static_cast<double>(q) / static_cast<double>(quantiles + 1));
        results.resize(static_cast<size_t>(std::max<int64_t>(2, p * quantiles)));
    }
};
using Shared = std::shared_ptr<Values>;

// A task over the values, with every result of this file.
std::shared_ptr<OzkStatsTask> task_over(const Shared& values) {
    const auto create = kernel<decltype(__vsldSSNewTask)>("__vsldSSNewTask");
    const auto edit = kernel<decltype(__vsldSSEditTask)>("__vsldSSEditTask");
    const auto edit_integers = kernel<decltype(__vsliSSEditTask)>("__vsliSSEditTask");
    const auto remove = kernel<decltype(__vslSSDeleteTask)>("__vslSSDeleteTask");
    OzkStatsTask* made = nullptr;
    Values& v = *values;
    if (!create || !edit || !edit_integers || !remove) return nullptr;
    if (create(&made, &v.p, &v.n, &v.storage, v.x.data(), nullptr, nullptr, 1) != kOzkStatsOk) return nullptr;
    for (const int id :
         {kOzkStatsIdMinimum, kOzkStatsIdQuantiles, kOzkStatsIdMedianDeviation, kOzkStatsIdStreamQuantiles})
        edit(made, id, v.results.data());
    edit(made, kOzkStatsIdMaximum, v.results.data() + 1);
    for (const int id : {kOzkStatsIdQuantileOrders, kOzkStatsIdStreamOrders}) edit(made, id, v.orders.data());
    edit(made, kOzkStatsIdStreamParameters, &v.epsilon);
    for (const int id : {kOzkStatsIdQuantileOrderCount, kOzkStatsIdStreamOrderCount})
        edit_integers(made, id, &v.order_count);
    edit_integers(made, kOzkStatsIdStreamParameterCount, &v.one);
    return {made, [values, remove](OzkStatsTask* t) { remove(&t); }};
}

// run(task) through the kernel of that name; none when the library lacks it.
template <class Function, class Run>
std::vector<Contender> ours(const Shared& values, const char* name, Run run) {
    const auto compute = kernel<Function>(name);
    const auto task = task_over(values);
    if (!compute || !task) return {};
    return {{"ours", [=] { run(compute, task.get()); }}};
}

Contender contender(const char* name, const Shared& values, void (*run)(Values&)) {
    return {name, [values, run] {
                run(*values);
                keep(values->results.data());
            }};
}

void standard_extremes(Values& v) {
    const auto [low, high] = std::minmax_element(v.x.begin(), v.x.end());
    v.results = {*low, *high};
}

void gsl_extremes(Values& v) { gsl_stats_minmax(&v.results[0], &v.results[1], v.x.data(), 1, v.x.size()); }

void eigen_extremes(Values& v) {
    const Eigen::Map<const Eigen::ArrayXd> x(v.x.data(), v.n);
    v.results = {x.minCoeff(), x.maxCoeff()};
}

// One plain pass over the data: what the memory gives.
void eigen_sum(Values& v) { v.results[0] = Eigen::Map<const Eigen::ArrayXd>(v.x.data(), v.n).sum(); }

// Order after order, each in what the one before left behind.
double selected(Values& v, double order, std::vector<double>::iterator from) {
    const double h = order * static_cast<double>(v.n - 1);
    const auto k = v.work.begin() + static_cast<int64_t>(h);
    std::nth_element(from, k, v.work.end());
    const double high = k + 1 == v.work.end() ? *k : *std::min_element(k + 1, v.work.end());
    return *k + (high - *k) * (h - static_cast<double>(k - v.work.begin()));
}

void standard_quantiles(Values& v) {
    double* result = v.results.data();
    for (int64_t i = 0; i < v.p; ++i) {
        std::copy_n(v.x.begin() + i * v.n, v.n, v.work.begin());
        auto from = v.work.begin();
        for (const double order : v.orders) {
            *result++ = selected(v, order, from);
            from = v.work.begin() + static_cast<int64_t>(order * static_cast<double>(v.n - 1));
        }
    }
}

void sorted_quantiles(Values& v) {
    std::copy(v.x.begin(), v.x.end(), v.work.begin());
    std::sort(v.work.begin(), v.work.end());
    for (size_t q = 0; q < v.orders.size(); ++q)
        v.results[q] = gsl_stats_quantile_from_sorted_data(v.work.data(), 1, v.work.size(), v.orders[q]);
}

void gsl_median(Values& v) {
    for (int64_t i = 0; i < v.p; ++i) {
        std::copy_n(v.x.begin() + i * v.n, v.n, v.work.begin());
        v.results[static_cast<size_t>(i)] = gsl_stats_median(v.work.data(), 1, v.work.size());
    }
}

void standard_deviation_of_median(Values& v) {
    std::copy(v.x.begin(), v.x.end(), v.work.begin());
    const double median = selected(v, 0.5, v.work.begin());
    std::transform(v.x.begin(), v.x.end(), v.work.begin(), [=](double x) { return std::fabs(x - median); });
    v.results[0] = selected(v, 0.5, v.work.begin());
}

void gsl_deviation(Values& v) {
    static std::vector<double> scratch;
    scratch.resize(v.x.size());
    v.results[0] = gsl_stats_mad0(v.x.data(), 1, v.x.size(), scratch.data());
}

}  // namespace

std::vector<Case> order_statistics_cases() {
    constexpr int64_t kMany = 1'000'000;
    const auto one = std::make_shared<Values>(1, kMany, 1);
    // Many short components, all different, so that learnt branches do not decide.
    const auto few = std::make_shared<Values>(200, 1000, 1);
    const auto nine = std::make_shared<Values>(1, kMany, 9);
    const auto quantiles = [](const Shared& v) {
        return ours<decltype(_vsldSSQuantiles)>(v, "_vsldSSQuantiles", [](auto* compute, OzkStatsTask* task) {
            compute(task, kOzkStatsQuantiles, kOzkStatsFast, nullptr);
        });
    };
    const double n = static_cast<double>(kMany);
    return {
        {"stats/extremes/n=1000000",
         n,
         ours<decltype(_vsldSSMinmax)>(one, "_vsldSSMinmax",
                                       [](auto* compute, OzkStatsTask* task) {
                                           compute(task, kOzkStatsMinimum | kOzkStatsMaximum, kOzkStatsFast);
                                       }),
         {contender("std::minmax_element", one, standard_extremes), contender("GSL", one, gsl_extremes),
          contender("Eigen, two passes", one, eigen_extremes),
          contender("Eigen, plain sum", one, eigen_sum)}},
        {"stats/median/p=200 n=1000",
         2e5,
         quantiles(few),
         {contender("std::nth_element", few, standard_quantiles), contender("GSL", few, gsl_median)}},
        {"stats/median/n=1000000",
         n,
         quantiles(one),
         {contender("std::nth_element", one, standard_quantiles), contender("GSL", one, gsl_median)}},
        {"stats/nine deciles/n=1000000",
         n,
         quantiles(nine),
         {contender("std::nth_element", nine, standard_quantiles),
          contender("std::sort and GSL", nine, sorted_quantiles)}},
        {"stats/median absolute deviation/n=1000000",
         n,
         ours<decltype(_vsldSSMAD)>(one, "_vsldSSMAD",
                                    [](auto* compute, OzkStatsTask* task) {
                                        compute(task, kOzkStatsMedianDeviation, kOzkStatsFast, nullptr);
                                    }),
         {contender("std::nth_element", one, standard_deviation_of_median),
          contender("GSL", one, gsl_deviation)}},
        // From an empty summary each time; the peer keeps and sorts everything.
        {"stats/streaming deciles, epsilon=0.001/n=1000000",
         n,
         ours<decltype(_vsldSSStreamQuantiles)>(
             nine, "_vsldSSStreamQuantiles",
             [release = kernel<decltype(__vslSQuantilesFreeBuffers)>("__vslSQuantilesFreeBuffers")](
                 auto* compute, OzkStatsTask* task) {
                 compute(task, kOzkStatsStreamQuantiles, kOzkStatsStreamSummary, nullptr);
                 release(task);
             }),
         {contender("std::sort and GSL", nine, sorted_quantiles)}},
    };
}

}  // namespace ozk::bench
