// Quantiles and order statistics.
//
// Quantiles alone are selected: all ranks that the orders name are put in place at once. With order
// statistics they are read off the sorted values. Both follow one order of values, so that they agree to the
// bit.

#include <cmath>

#include "ozk_stats.h"
#include "vsl/stats/selection.hpp"
#include "vsl/stats/sort.hpp"

namespace ozk::stats {
namespace {

// Where an order stands among n sorted values, from 0. An order that is NaN passes the check of the orders,
// and its quantile is NaN.
double position_of(double order, int64_t n) { return order * static_cast<double>(n - 1); }

// The ranks that the quantiles of these orders need, ascending and each once; returns how many, at most two
// for each order.
template <class Real>
int64_t list_ranks(const Real* orders, int64_t count, int64_t n, int64_t* ranks) {
    int64_t found = 0;
    for (int64_t q = 0; q < count; ++q) {
        const double position = position_of(static_cast<double>(orders[q]), n);
        if (std::isnan(position)) continue;
        const int64_t k = static_cast<int64_t>(position);
        ranks[found++] = k;
        if (k + 1 < n) ranks[found++] = k + 1;
    }
    std::sort(ranks, ranks + found);
    return std::unique(ranks, ranks + found) - ranks;
}

template <class Real>
struct Orders {
    const Real* values = nullptr;
    int64_t count = 0;

    // Writes the quantiles of n sorted values, or of values whose needed ranks are in place.
    template <class At>
    void write(int64_t n, At at, Real* quantiles) const {
        for (int64_t q = 0; q < count; ++q) {
            const double position = position_of(static_cast<double>(values[q]), n);
            quantiles[q] = static_cast<Real>(std::isnan(position) ? position : interpolate(n, position, at));
        }
    }
};

template <class Real>
int check_orders(const OzkStatsTask& task, Orders<Real>& orders) {
    if (task.quantiles == nullptr) return kOzkStatsErrorQuantiles;
    if (task.quantile_orders == nullptr) return kOzkStatsErrorQuantileOrders;
    if (task.quantile_order_count == nullptr) return kOzkStatsErrorQuantileOrderCount;
    orders.values = static_cast<const Real*>(task.quantile_orders);
    orders.count = read_integer(task, task.quantile_order_count);
    if (orders.count < 0) return kOzkStatsErrorQuantileOrderCount;
    for (int64_t q = 0; q < orders.count; ++q)
        if (orders.values[q] > 1 || 0 > orders.values[q]) return kOzkStatsErrorQuantileOrderCount;
    return kOzkStatsOk;
}

template <class Real>
int estimate(OzkStatsTask* task, uint64_t estimates, uint32_t method, const OzkThreading* threading) {
    using Key = KeyOf<Real>;
    Sample<Real> sample;
    if (const int status = check_sizes(task, sample)) return status;
    const bool quantiles = (estimates & kOzkStatsQuantiles) != 0;
    const bool order_statistics = (estimates & kOzkStatsOrderStatistics) != 0;
    Orders<Real> orders;
    if (quantiles) {
        if (const int status = check_orders(*task, orders)) return status;
    }
    bool by_component = false;
    if (order_statistics) {
        if (task->order_statistics == nullptr) return kOzkStatsErrorOrderStatistics;
        if (task->order_statistics_storage == nullptr) return kOzkStatsErrorInteger;
        const int64_t storage = read_integer(*task, task->order_statistics_storage);
        if (!is_observation_storage(storage)) return kOzkStatsErrorStorage;
        by_component = storage == kOzkStatsByComponent || sample.p == 1;
    }
    if ((method & kOzkStatsFast) == 0) return kOzkStatsErrorMethod;
    if (const int status = check_observations(sample)) return status;
    if (!order_statistics && orders.count == 0) return kOzkStatsOk;

    const int64_t bytes = whole_lines(static_cast<int64_t>(sizeof(Real)) * sample.n);
    const int64_t threads = sorting_threads(threading, sample);
    const int64_t integers = sample.p + 2 * orders.count;
    const Allocation scratch(threads * bytes + integers * static_cast<int64_t>(sizeof(int64_t)));
    if (!scratch) return kOzkStatsErrorMemory;
    int64_t* const list = scratch.at<int64_t>(threads * bytes);
    int64_t* const ranks = list + sample.p;
    const int64_t rank_count =
        order_statistics ? 0 : list_ranks(orders.values, orders.count, sample.n, ranks);
    Real* const results = static_cast<Real*>(task->quantiles);
    Real* const sorted = static_cast<Real*>(task->order_statistics);

    const auto keys_of = [&](int64_t i, int64_t thread) {
        Key* const keys = scratch.at<Key>(thread * bytes);
        const Real* const from = sample.component(i);
        const int64_t stride = sample.observation_stride();
        for (int64_t j = 0; j < sample.n; ++j) keys[j] = to_key(from[j * stride]);
        return keys;
    };
    auto body = [&](int64_t item, int64_t thread) -> int {
        const int64_t i = list[item];
        if (order_statistics && by_component) {
            Real* const values = sorted + i * sample.n;
            copy_component(sample, i, values);
            sort_values(values, scratch.at<Real>(thread * bytes), sample.n);
            orders.write(
                sample.n, [=](int64_t k) { return static_cast<double>(values[k]); },
                results + i * orders.count);
            return kOzkStatsOk;
        }
        Key* const keys = keys_of(i, thread);
        if (order_statistics) {  // interleaved: sorted in the copy
            std::sort(keys, keys + sample.n);
            for (int64_t j = 0; j < sample.n; ++j) sorted[j * sample.p + i] = from_key<Real>(keys[j]);
        } else {
            place_ranks(keys, sample.n, ranks, rank_count);
        }
        orders.write(
            sample.n, [=](int64_t k) { return static_cast<double>(from_key<Real>(keys[k])); },
            results + i * orders.count);
        return kOzkStatsOk;
    };
    return for_each_item(threading, sample.select(list), threads, body);
}

}  // namespace
}  // namespace ozk::stats

extern "C" {

int _vsldSSQuantiles(OzkStatsTask* task, uint64_t estimates, uint32_t method, const OzkThreading* threading) {
    return ozk::stats::estimate<double>(task, estimates, method, threading);
}

int _vslsSSQuantiles(OzkStatsTask* task, uint64_t estimates, uint32_t method, const OzkThreading* threading) {
    return ozk::stats::estimate<float>(task, estimates, method, threading);
}

}  // extern "C"
