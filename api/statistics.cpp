// Summary statistics: a handle that owns the task, the results and what the task points to.

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "api/kernel.hpp"
#include "api/team.hpp"
#include "ozk_stats.h"

namespace ozk::api {
namespace {

OZK_KERNEL(new_task, __vsldSSNewTask);
OZK_KERNEL(edit_reals, __vsldSSEditTask);
OZK_KERNEL(edit_integers, __vsliSSEditTask);
OZK_KERNEL(delete_task, __vslSSDeleteTask);
OZK_KERNEL(basic, _vsldSSBasic);

// An estimate, the parameter that receives it, and the estimates that its computation keeps beside it.
struct EstimateRow {
    uint64_t estimate;
    int parameter;
    uint64_t needs;
    int storage_parameter;  // of a matrix, else 0
};
constexpr uint64_t kRaw3 = kOzkRawMoment2 | kOzkRawMoment3, kRaw4 = kRaw3 | kOzkRawMoment4;
constexpr EstimateRow kEstimates[] = {
    {kOzkMean, kOzkStatsIdMean, 0, 0},
    {kOzkRawMoment2, kOzkStatsIdRawMoment2, 0, 0},
    {kOzkRawMoment3, kOzkStatsIdRawMoment3, 0, 0},
    {kOzkRawMoment4, kOzkStatsIdRawMoment4, 0, 0},
    {kOzkCentralMoment2, kOzkStatsIdCentralMoment2, kOzkMean | kOzkRawMoment2, 0},
    {kOzkCentralMoment3, kOzkStatsIdCentralMoment3, kOzkMean | kRaw3 | kOzkCentralMoment2, 0},
    {kOzkCentralMoment4, kOzkStatsIdCentralMoment4,
     kOzkMean | kRaw4 | kOzkCentralMoment2 | kOzkCentralMoment3, 0},
    {kOzkKurtosis, kOzkStatsIdKurtosis,
     kOzkMean | kRaw4 | kOzkCentralMoment2 | kOzkCentralMoment3 | kOzkCentralMoment4, 0},
    {kOzkSkewness, kOzkStatsIdSkewness, kOzkMean | kRaw3 | kOzkCentralMoment2 | kOzkCentralMoment3, 0},
    {kOzkVariation, kOzkStatsIdVariation, kOzkMean | kOzkRawMoment2 | kOzkCentralMoment2, 0},
    {kOzkSum, kOzkStatsIdSum, 0, 0},
    {kOzkRawSum2, kOzkStatsIdRawSum2, 0, 0},
    {kOzkRawSum3, kOzkStatsIdRawSum3, 0, 0},
    {kOzkRawSum4, kOzkStatsIdRawSum4, 0, 0},
    {kOzkCentralSum2, kOzkStatsIdCentralSum2, kOzkMean | kOzkRawMoment2, 0},
    {kOzkCentralSum3, kOzkStatsIdCentralSum3, kOzkMean | kRaw3 | kOzkCentralSum2, 0},
    {kOzkCentralSum4, kOzkStatsIdCentralSum4, kOzkMean | kRaw4 | kOzkCentralSum2 | kOzkCentralSum3, 0},
    {kOzkCovariance, kOzkStatsIdCovariance, kOzkMean, kOzkStatsIdCovarianceStorage},
    {kOzkCorrelation, kOzkStatsIdCorrelation, kOzkMean | kOzkCovariance, kOzkStatsIdCorrelationStorage},
    {kOzkCrossProduct, kOzkStatsIdCrossProduct, kOzkMean, kOzkStatsIdCrossProductStorage},
};

const EstimateRow* find(uint64_t estimate) {
    for (const EstimateRow& row : kEstimates) {
        if (row.estimate == estimate) return &row;
    }
    return nullptr;
}

// The estimates with those that they need; throws for a bit that is none.
uint64_t with_needs(uint64_t estimates) {
    uint64_t all = estimates;
    for (uint64_t rest = estimates; rest != 0; rest &= rest - 1) {
        const EstimateRow* const row = find(rest & -rest);
        require(row != nullptr, kOzkCodeArgument,
                "There is no such estimate: pass a set of the estimates of ozk.h.");
        all |= row->needs;
    }
    return all == estimates ? all : with_needs(all);
}

// Integer parameters of the task are 64-bit.
constexpr int32_t kWideIntegers = 1;

}  // namespace
}  // namespace ozk::api

using namespace ozk::api;

struct ozk_statistics {
    int64_t p;
    uint64_t asked;     // by the caller
    uint64_t computed;  // and what that needs
    int64_t n = 1;      // of the portion that is being added; so are the two below
    int64_t layout = kOzkStatsByObservation;
    int64_t matrix_storage = kOzkStatsMatrixFull;
    double weights[2] = {0, 0};  // W and V
    std::vector<double> results[std::size(kEstimates)];
    OzkStatsTask* task = nullptr;

    ozk_statistics(int64_t components, uint64_t estimates)
        : p(components), asked(estimates), computed(with_needs(estimates)) {
        for (size_t i = 0; i < std::size(kEstimates); ++i) {
            if ((computed & kEstimates[i].estimate) == 0) continue;
            results[i].resize(static_cast<size_t>(kEstimates[i].storage_parameter != 0 ? p * p : p));
        }
        require_done(kOzkStatistics,
                     new_task(&task, &p, &n, &layout, nullptr, nullptr, nullptr, kWideIntegers));
        edit(edit_reals, kOzkStatsIdAccumulatedWeights, weights);
        for (size_t i = 0; i < std::size(kEstimates); ++i) {
            if (results[i].empty()) continue;
            edit(edit_reals, kEstimates[i].parameter, results[i].data());
            if (kEstimates[i].storage_parameter != 0)
                edit(edit_integers, kEstimates[i].storage_parameter, &matrix_storage);
        }
    }
    ~ozk_statistics() {
        if (task != nullptr) delete_task(&task);
    }
    ozk_statistics(const ozk_statistics&) = delete;
    ozk_statistics& operator=(const ozk_statistics&) = delete;

    template <class Editor, class T>
    void edit(Editor& editor, int parameter, T* pointer) {
        require_done(kOzkStatistics, editor(task, parameter, pointer));
    }
};

ozk_status ozk_statistics_new(int64_t p, uint64_t estimates, ozk_statistics** statistics) {
    return guarded(kOzkStatistics, "ozk_statistics_new", [&] {
        require(statistics != nullptr, kOzkCodeNull, "The place for the handle is null: pass one.");
        require(p >= 1, kOzkCodeSize, "There are no components: pass at least 1.");
        require(p < (int64_t{1} << 30), kOzkCodeSize, "There are too many components: pass fewer than 2^30.");
        require(estimates != 0, kOzkCodeArgument,
                "No estimate is asked for: pass a set of the estimates of ozk.h.");
        *statistics = new ozk_statistics(p, estimates);
    });
}

void ozk_statistics_delete(ozk_statistics* statistics) { delete statistics; }

ozk_status ozk_statistics_add(ozk_statistics* statistics, int64_t n, const double* x, int32_t layout,
                              const double* weights) {
    return guarded(kOzkStatistics, "ozk_statistics_add", [&] {
        require(statistics != nullptr, kOzkCodeNull, "The handle is null: make one with ozk_statistics_new.");
        int64_t values;
        require(n >= 1 && !__builtin_mul_overflow(n, statistics->p, &values), kOzkCodeSize,
                "There is no observation, or more than memory holds: pass at least 1.");
        require(x != nullptr, kOzkCodeNull, "The observations are null: pass them.");
        require(layout == kOzkByComponent || layout == kOzkByObservation, kOzkCodeArgument,
                "There is no such layout: pass kOzkByComponent or kOzkByObservation.");
        for (int64_t j = 0; weights != nullptr && j < n; ++j) {
            require(weights[j] >= 0 && std::isfinite(weights[j]), kOzkCodeArgument,
                    "A weight is negative or not finite: pass weights of at least 0.");
        }
        statistics->n = n;
        statistics->layout = layout;
        statistics->edit(edit_reals, kOzkStatsIdObservations, x);
        // The editor does not take back weights that an earlier portion had.
        statistics->task->weights = const_cast<double*>(weights);
        const TeamScope team;
        require_done(kOzkStatistics, basic(statistics->task, statistics->computed, uint32_t{kOzkStatsFast},
                                           ozk_serv_threading()));
    });
}

ozk_status ozk_statistics_get(const ozk_statistics* statistics, uint64_t estimate, double* result) {
    return guarded(kOzkStatistics, "ozk_statistics_get", [&] {
        require(statistics != nullptr && result != nullptr, kOzkCodeNull,
                "The handle or the place for the result is null: pass both.");
        const EstimateRow* const row = find(estimate);
        require(row != nullptr && (statistics->asked & estimate) != 0, kOzkCodeArgument,
                "The estimate is not one that was asked for: ask for it when the handle is made.");
        const std::vector<double>& values = statistics->results[row - kEstimates];
        if (statistics->weights[0] == 0) {
            std::fill_n(result, values.size(), std::numeric_limits<double>::quiet_NaN());
        } else {
            std::copy(values.begin(), values.end(), result);
        }
    });
}

ozk_status ozk_statistics_weights(const ozk_statistics* statistics, double* total, double* squares) {
    return guarded(kOzkStatistics, "ozk_statistics_weights", [&] {
        require(statistics != nullptr && total != nullptr && squares != nullptr, kOzkCodeNull,
                "The handle or a place for a result is null: pass all.");
        *total = statistics->weights[0];
        *squares = statistics->weights[1];
    });
}
