// The statistics task: creation, the editors, deletion.
//
// One table tells what every parameter identifier sets; all editors store through it.

#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <new>

#include "ozk_stats.h"
#include "vsl/stats/task.hpp"

namespace ozk::stats {
namespace {

// The record's layout is shared with other callers of this library.
static_assert(sizeof(void*) == 8);
static_assert(offsetof(OzkStatsTask, dimension) == 16);
static_assert(offsetof(OzkStatsTask, accumulated_weights) == 56);
static_assert(offsetof(OzkStatsTask, mean) == 88);
static_assert(offsetof(OzkStatsTask, sum) == 144);
static_assert(offsetof(OzkStatsTask, kurtosis) == 200);
static_assert(offsetof(OzkStatsTask, covariance_storage) == 240);
static_assert(offsetof(OzkStatsTask, group_indices) == 288);
static_assert(offsetof(OzkStatsTask, quantile_order_count) == 352);
static_assert(offsetof(OzkStatsTask, stream_state) == 416);
static_assert(offsetof(OzkStatsTask, robust_parameter_count) == 456);
static_assert(offsetof(OzkStatsTask, partial_indices) == 520);
static_assert(offsetof(OzkStatsTask, estimates) == 632);
static_assert(offsetof(OzkStatsTask, distance_sizes) == 640);
static_assert(offsetof(OzkStatsTask, clean_up_count) == 696);
static_assert(offsetof(OzkStatsTask, clean_up) == 704);
static_assert(offsetof(OzkStatsTask, work_buffer) == 728);
static_assert(sizeof(OzkStatsTask) == 736);

enum class Kind : int8_t { kInteger, kReal };

struct Parameter {
    int16_t id;
    Kind kind;
    uint16_t offset;  // of the field in the record
    int16_t missing;  // status for a null pointer
};

#define OZK_PARAMETER(id, kind, field, missing)                                                \
    Parameter {                                                                                \
        kOzkStatsId##id, Kind::k##kind, offsetof(OzkStatsTask, field), kOzkStatsError##missing \
    }

constexpr Parameter kParameters[] = {
    OZK_PARAMETER(Dimension, Integer, dimension, Dimension),
    OZK_PARAMETER(ObservationCount, Integer, observation_count, ObservationCount),
    OZK_PARAMETER(Observations, Real, observations, Observations),
    OZK_PARAMETER(ObservationStorage, Integer, observation_storage, Integer),
    OZK_PARAMETER(Indices, Integer, indices, Indices),
    OZK_PARAMETER(Weights, Real, weights, Weights),
    OZK_PARAMETER(Mean, Real, mean, Mean),
    OZK_PARAMETER(RawMoment2, Real, raw_moment[0], RawMoment2),
    OZK_PARAMETER(RawMoment3, Real, raw_moment[1], RawMoment3),
    OZK_PARAMETER(RawMoment4, Real, raw_moment[2], RawMoment4),
    OZK_PARAMETER(CentralMoment2, Real, central_moment[0], CentralMoment2),
    OZK_PARAMETER(CentralMoment3, Real, central_moment[1], CentralMoment3),
    OZK_PARAMETER(CentralMoment4, Real, central_moment[2], CentralMoment4),
    OZK_PARAMETER(Kurtosis, Real, kurtosis, Kurtosis),
    OZK_PARAMETER(Skewness, Real, skewness, Skewness),
    OZK_PARAMETER(Minimum, Real, minimum, Minimum),
    OZK_PARAMETER(Maximum, Real, maximum, Maximum),
    OZK_PARAMETER(Variation, Real, variation, Variation),
    OZK_PARAMETER(Covariance, Real, covariance, Covariance),
    OZK_PARAMETER(CovarianceStorage, Integer, covariance_storage, Integer),
    OZK_PARAMETER(Correlation, Real, correlation, Correlation),
    OZK_PARAMETER(CorrelationStorage, Integer, correlation_storage, Integer),
    OZK_PARAMETER(AccumulatedWeights, Real, accumulated_weights, AccumulatedWeights),
    OZK_PARAMETER(QuantileOrderCount, Integer, quantile_order_count, QuantileOrderCount),
    OZK_PARAMETER(QuantileOrders, Real, quantile_orders, QuantileOrders),
    OZK_PARAMETER(Quantiles, Real, quantiles, Quantiles),
    OZK_PARAMETER(OrderStatistics, Real, order_statistics, OrderStatistics),
    OZK_PARAMETER(GroupIndices, Integer, group_indices, GroupIndices),
    OZK_PARAMETER(PooledCovarianceStorage, Integer, pooled_covariance_storage, Integer),
    OZK_PARAMETER(PooledMean, Real, pooled_mean, PooledMean),
    OZK_PARAMETER(PooledCovariance, Real, pooled_covariance, PooledCovariance),
    OZK_PARAMETER(RequestedGroups, Integer, requested_groups, GroupIndices),
    OZK_PARAMETER(GroupMeans, Real, group_means, GroupMeans),
    OZK_PARAMETER(GroupCovarianceStorage, Integer, group_covariance_storage, Integer),
    OZK_PARAMETER(GroupCovariances, Real, group_covariances, GroupCovariances),
    OZK_PARAMETER(RobustCovarianceStorage, Integer, robust_covariance_storage, Integer),
    OZK_PARAMETER(RobustParameterCount, Integer, robust_parameter_count, RobustParameterCount),
    OZK_PARAMETER(RobustParameters, Real, robust_parameters, RobustParameters),
    OZK_PARAMETER(RobustMean, Real, robust_mean, RobustMean),
    OZK_PARAMETER(RobustCovariance, Real, robust_covariance, RobustCovariance),
    OZK_PARAMETER(OutlierParameterCount, Integer, outlier_parameter_count, OutlierParameterCount),
    OZK_PARAMETER(OutlierParameters, Real, outlier_parameters, OutlierParameters),
    OZK_PARAMETER(OutlierWeights, Real, outlier_weights, OutlierWeights),
    OZK_PARAMETER(OrderStatisticsStorage, Integer, order_statistics_storage, Integer),
    OZK_PARAMETER(PartialIndices, Integer, partial_indices, PartialIndices),
    OZK_PARAMETER(PartialCovariance, Real, partial_covariance, PartialCovariance),
    OZK_PARAMETER(PartialCovarianceStorage, Integer, partial_covariance_storage, Integer),
    OZK_PARAMETER(PartialCorrelation, Real, partial_correlation, PartialCorrelation),
    OZK_PARAMETER(PartialCorrelationStorage, Integer, partial_correlation_storage, Integer),
    OZK_PARAMETER(MissingParameterCount, Integer, missing_parameter_count, MissingParameterCount),
    OZK_PARAMETER(MissingParameters, Real, missing_parameters, MissingParameters),
    OZK_PARAMETER(InitialEstimateCount, Integer, initial_estimate_count, InitialEstimateCount),
    OZK_PARAMETER(InitialEstimates, Real, initial_estimates, InitialEstimates),
    OZK_PARAMETER(SimulatedSetCount, Integer, simulated_set_count, SimulatedSetCount),
    OZK_PARAMETER(SimulatedSets, Real, simulated_sets, SimulatedSets),
    OZK_PARAMETER(EstimateCount, Integer, estimate_count, EstimateCount),
    OZK_PARAMETER(Estimates, Real, estimates, Estimates),
    OZK_PARAMETER(PriorCount, Integer, prior_count, PriorCount),
    OZK_PARAMETER(Prior, Real, prior, Prior),
    OZK_PARAMETER(ParametrizedCorrelation, Real, parametrized_correlation, ParametrizedCorrelation),
    OZK_PARAMETER(ParametrizedCorrelationStorage, Integer, parametrized_correlation_storage, Integer),
    OZK_PARAMETER(StreamParameterCount, Integer, stream_parameter_count, StreamParameterCount),
    OZK_PARAMETER(StreamParameters, Real, stream_parameters, StreamParameters),
    OZK_PARAMETER(StreamOrderCount, Integer, stream_order_count, StreamOrderCount),
    OZK_PARAMETER(StreamOrders, Real, stream_orders, StreamOrders),
    OZK_PARAMETER(StreamQuantiles, Real, stream_quantiles, StreamQuantiles),
    OZK_PARAMETER(Sum, Real, sum,
                  Mean),  // the mean's status, although the estimators report a missing sum as such
    OZK_PARAMETER(RawSum2, Real, raw_sum[0], RawSum2),
    OZK_PARAMETER(RawSum3, Real, raw_sum[1], RawSum3),
    OZK_PARAMETER(RawSum4, Real, raw_sum[2], RawSum4),
    OZK_PARAMETER(CentralSum2, Real, central_sum[0], CentralSum2),
    OZK_PARAMETER(CentralSum3, Real, central_sum[1], CentralSum3),
    OZK_PARAMETER(CentralSum4, Real, central_sum[2], CentralSum4),
    OZK_PARAMETER(CrossProduct, Real, cross_product, CrossProduct),
    OZK_PARAMETER(CrossProductStorage, Integer, cross_product_storage, Integer),
    OZK_PARAMETER(MedianDeviation, Real, median_deviation, MedianDeviation),
    OZK_PARAMETER(MeanDeviation, Real, mean_deviation, MeanDeviation),
    OZK_PARAMETER(SortedObservations, Real, sorted_observations, SortedObservations),
    OZK_PARAMETER(SortedStorage, Integer, sorted_storage, Integer),
};
#undef OZK_PARAMETER

constexpr int kParameterCount = sizeof kParameters / sizeof kParameters[0];

constexpr bool ids_are_the_row_numbers() {
    for (int row = 0; row < kParameterCount; ++row)
        if (kParameters[row].id != row + 1) return false;
    return kParameterCount == kOzkStatsIdSortedStorage;
}
static_assert(ids_are_the_row_numbers());

void store(OzkStatsTask* task, const Parameter& parameter, const void* pointer) {
    std::memcpy(reinterpret_cast<char*>(task) + parameter.offset, &pointer, sizeof pointer);
}

int edit(OzkStatsTask* task, int id, Kind kind, const void* pointer) {
    if (task == nullptr) return kOzkStatsErrorTask;
    if (id < 1 || id > kParameterCount || kParameters[id - 1].kind != kind) return kOzkStatsErrorParameterId;
    const Parameter& parameter = kParameters[id - 1];
    if (pointer == nullptr) return parameter.missing;
    store(task, parameter, pointer);
    return kOzkStatsOk;
}

struct Assignment {
    int id;
    const void* pointer;
};

int edit_given(OzkStatsTask* task, std::initializer_list<Assignment> assignments) {
    if (task == nullptr) return kOzkStatsErrorTask;
    for (const Assignment& assignment : assignments)
        if (assignment.pointer != nullptr) store(task, kParameters[assignment.id - 1], assignment.pointer);
    return kOzkStatsOk;
}

int new_task(OzkStatsTask** handle, const void* dimension, const void* observation_count, const void* storage,
             const void* observations, const void* weights, const void* indices, int32_t wide_integers) {
    if (dimension == nullptr || read_integer(dimension, wide_integers) < 1) return kOzkStatsErrorDimension;
    if (observations != nullptr) {
        if (storage == nullptr) return kOzkStatsErrorInteger;
        if (!is_observation_storage(read_integer(storage, wide_integers))) return kOzkStatsErrorStorage;
        if (observation_count == nullptr || read_integer(observation_count, wide_integers) < 1)
            return kOzkStatsErrorObservationCount;
    }
    if (handle == nullptr) return kOzkStatsErrorTask;
    constexpr size_t kAlignment = 128;
    void* block = ozk_serv_allocate(sizeof(OzkStatsTask), kAlignment);
    if (block == nullptr) {
        *handle = nullptr;
        return kOzkStatsErrorMemory;
    }
    OzkStatsTask* task = new (block) OzkStatsTask{};
    task->wide_integers = wide_integers;
    task->reserved_a = 2;
    task->reserved_b = 1;
    edit_given(task, {{kOzkStatsIdDimension, dimension},
                      {kOzkStatsIdObservationCount, observation_count},
                      {kOzkStatsIdObservationStorage, storage},
                      {kOzkStatsIdObservations, observations},
                      {kOzkStatsIdWeights, weights},
                      {kOzkStatsIdIndices, indices}});
    *handle = task;
    return kOzkStatsOk;
}

}  // namespace
}  // namespace ozk::stats

using namespace ozk::stats;

extern "C" {

int __vsliSSEditTask(OzkStatsTask* task, int id, const void* pointer) {
    return edit(task, id, Kind::kInteger, pointer);
}

int __vslSSDeleteTask(OzkStatsTask** handle) {
    if (handle == nullptr || *handle == nullptr) return kOzkStatsErrorTask;
    OzkStatsTask* task = *handle;
    ozk_serv_deallocate(task->work_buffer);
    if (task->clean_up_count > 0 && task->clean_up != nullptr) task->clean_up(task);
    ozk_serv_deallocate(task);
    *handle = nullptr;
    return kOzkStatsOk;
}

// The editors of one precision; each row of an argument list is a parameter and the pointer that it receives.
#define OZK_STATS_DEFINE_TASK(letter, real)                                                                 \
    int __vsl##letter##SSNewTask(OzkStatsTask** task, const void* dimension, const void* observation_count, \
                                 const void* storage, const real* observations, const real* weights,        \
                                 const void* indices, int32_t wide_integers) {                              \
        return new_task(task, dimension, observation_count, storage, observations, weights, indices,        \
                        wide_integers);                                                                     \
    }                                                                                                       \
    int __vsl##letter##SSEditTask(OzkStatsTask* task, int id, const real* pointer) {                        \
        return edit(task, id, Kind::kReal, pointer);                                                        \
    }                                                                                                       \
    int __vsl##letter##SSEditMoments(OzkStatsTask* task, real* mean, real* raw2, real* raw3, real* raw4,    \
                                     real* central2, real* central3, real* central4) {                      \
        return edit_given(task, {{kOzkStatsIdMean, mean},                                                   \
                                 {kOzkStatsIdRawMoment2, raw2},                                             \
                                 {kOzkStatsIdRawMoment3, raw3},                                             \
                                 {kOzkStatsIdRawMoment4, raw4},                                             \
                                 {kOzkStatsIdCentralMoment2, central2},                                     \
                                 {kOzkStatsIdCentralMoment3, central3},                                     \
                                 {kOzkStatsIdCentralMoment4, central4}});                                   \
    }                                                                                                       \
    int __vsl##letter##SSEditSums(OzkStatsTask* task, real* sum, real* raw2, real* raw3, real* raw4,        \
                                  real* central2, real* central3, real* central4) {                         \
        return edit_given(task, {{kOzkStatsIdSum, sum},                                                     \
                                 {kOzkStatsIdRawSum2, raw2},                                                \
                                 {kOzkStatsIdRawSum3, raw3},                                                \
                                 {kOzkStatsIdRawSum4, raw4},                                                \
                                 {kOzkStatsIdCentralSum2, central2},                                        \
                                 {kOzkStatsIdCentralSum3, central3},                                        \
                                 {kOzkStatsIdCentralSum4, central4}});                                      \
    }                                                                                                       \
    int __vsl##letter##SSEditCovCor(OzkStatsTask* task, real* mean, real* covariance,                       \
                                    const void* covariance_storage, real* correlation,                      \
                                    const void* correlation_storage) {                                      \
        return edit_given(task, {{kOzkStatsIdMean, mean},                                                   \
                                 {kOzkStatsIdCovariance, covariance},                                       \
                                 {kOzkStatsIdCovarianceStorage, covariance_storage},                        \
                                 {kOzkStatsIdCorrelation, correlation},                                     \
                                 {kOzkStatsIdCorrelationStorage, correlation_storage}});                    \
    }                                                                                                       \
    int __vsl##letter##SSEditCP(OzkStatsTask* task, real* mean, real* sum, real* cross_product,             \
                                const void* cross_product_storage) {                                        \
        return edit_given(task, {{kOzkStatsIdMean, mean},                                                   \
                                 {kOzkStatsIdSum, sum},                                                     \
                                 {kOzkStatsIdCrossProduct, cross_product},                                  \
                                 {kOzkStatsIdCrossProductStorage, cross_product_storage}});                 \
    }                                                                                                       \
    int __vsl##letter##SSEditPartialCovCor(                                                                 \
        OzkStatsTask* task, const void* partial_indices, const real* covariance,                            \
        const void* covariance_storage, const real* correlation, const void* correlation_storage,           \
        real* partial_covariance, const void* partial_covariance_storage, real* partial_correlation,        \
        const void* partial_correlation_storage) {                                                          \
        return edit_given(task, {{kOzkStatsIdPartialIndices, partial_indices},                              \
                                 {kOzkStatsIdCovariance, covariance},                                       \
                                 {kOzkStatsIdCovarianceStorage, covariance_storage},                        \
                                 {kOzkStatsIdCorrelation, correlation},                                     \
                                 {kOzkStatsIdCorrelationStorage, correlation_storage},                      \
                                 {kOzkStatsIdPartialCovariance, partial_covariance},                        \
                                 {kOzkStatsIdPartialCovarianceStorage, partial_covariance_storage},         \
                                 {kOzkStatsIdPartialCorrelation, partial_correlation},                      \
                                 {kOzkStatsIdPartialCorrelationStorage, partial_correlation_storage}});     \
    }                                                                                                       \
    int __vsl##letter##SSEditQuantiles(OzkStatsTask* task, const void* order_count, const real* orders,     \
                                       real* quantiles, real* order_statistics,                             \
                                       const void* order_statistics_storage) {                              \
        return edit_given(task, {{kOzkStatsIdQuantileOrderCount, order_count},                              \
                                 {kOzkStatsIdQuantileOrders, orders},                                       \
                                 {kOzkStatsIdQuantiles, quantiles},                                         \
                                 {kOzkStatsIdOrderStatistics, order_statistics},                            \
                                 {kOzkStatsIdOrderStatisticsStorage, order_statistics_storage}});           \
    }                                                                                                       \
    int __vsl##letter##SSEditStreamQuantiles(OzkStatsTask* task, const void* order_count,                   \
                                             const real* orders, real* quantiles,                           \
                                             const void* parameter_count, const real* parameters) {         \
        return edit_given(task, {{kOzkStatsIdStreamOrderCount, order_count},                                \
                                 {kOzkStatsIdStreamOrders, orders},                                         \
                                 {kOzkStatsIdStreamQuantiles, quantiles},                                   \
                                 {kOzkStatsIdStreamParameterCount, parameter_count},                        \
                                 {kOzkStatsIdStreamParameters, parameters}});                               \
    }                                                                                                       \
    int __vsl##letter##SSEditPooledCovariance(                                                              \
        OzkStatsTask* task, const void* group_indices, real* pooled_mean, real* pooled_covariance,          \
        const void* requested_groups, real* group_means, real* group_covariances) {                         \
        return edit_given(task, {{kOzkStatsIdGroupIndices, group_indices},                                  \
                                 {kOzkStatsIdPooledMean, pooled_mean},                                      \
                                 {kOzkStatsIdPooledCovariance, pooled_covariance},                          \
                                 {kOzkStatsIdRequestedGroups, requested_groups},                            \
                                 {kOzkStatsIdGroupMeans, group_means},                                      \
                                 {kOzkStatsIdGroupCovariances, group_covariances}});                        \
    }                                                                                                       \
    int __vsl##letter##SSEditRCov(OzkStatsTask* task, const void* storage, const void* parameter_count,     \
                                  const real* parameters, real* robust_mean, real* robust_covariance) {     \
        return edit_given(task, {{kOzkStatsIdRobustCovarianceStorage, storage},                             \
                                 {kOzkStatsIdRobustParameterCount, parameter_count},                        \
                                 {kOzkStatsIdRobustParameters, parameters},                                 \
                                 {kOzkStatsIdRobustMean, robust_mean},                                      \
                                 {kOzkStatsIdRobustCovariance, robust_covariance}});                        \
    }                                                                                                       \
    int __vsl##letter##SSEditOutDetect(OzkStatsTask* task, const void* parameter_count,                     \
                                       const real* parameters, real* outlier_weights) {                     \
        return edit_given(task, {{kOzkStatsIdOutlierParameterCount, parameter_count},                       \
                                 {kOzkStatsIdOutlierParameters, parameters},                                \
                                 {kOzkStatsIdOutlierWeights, outlier_weights}});                            \
    }                                                                                                       \
    int __vsl##letter##SSEditMissingVals(                                                                   \
        OzkStatsTask* task, const void* parameter_count, const real* parameters,                            \
        const void* initial_estimate_count, const real* initial_estimates, const void* prior_count,         \
        const real* prior, const void* simulated_set_count, real* simulated_sets,                           \
        const void* estimate_count, real* estimates) {                                                      \
        return edit_given(task, {{kOzkStatsIdMissingParameterCount, parameter_count},                       \
                                 {kOzkStatsIdMissingParameters, parameters},                                \
                                 {kOzkStatsIdInitialEstimateCount, initial_estimate_count},                 \
                                 {kOzkStatsIdInitialEstimates, initial_estimates},                          \
                                 {kOzkStatsIdPriorCount, prior_count},                                      \
                                 {kOzkStatsIdPrior, prior},                                                 \
                                 {kOzkStatsIdSimulatedSetCount, simulated_set_count},                       \
                                 {kOzkStatsIdSimulatedSets, simulated_sets},                                \
                                 {kOzkStatsIdEstimateCount, estimate_count},                                \
                                 {kOzkStatsIdEstimates, estimates}});                                       \
    }                                                                                                       \
    int __vsl##letter##SSEditMtxParametrz(OzkStatsTask* task, const real* correlation,                      \
                                          const void* correlation_storage, real* parametrized_correlation,  \
                                          const void* parametrized_correlation_storage) {                   \
        return edit_given(task,                                                                             \
                          {{kOzkStatsIdCorrelation, correlation},                                           \
                           {kOzkStatsIdCorrelationStorage, correlation_storage},                            \
                           {kOzkStatsIdParametrizedCorrelation, parametrized_correlation},                  \
                           {kOzkStatsIdParametrizedCorrelationStorage, parametrized_correlation_storage}}); \
    }

OZK_STATS_DEFINE_TASK(s, float)
OZK_STATS_DEFINE_TASK(d, double)

}  // extern "C"
