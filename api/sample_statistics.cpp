// Statistics of one sample in one call, and quantiles of a stream.

#include <algorithm>
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
OZK_KERNEL(minmax, _vsldSSMinmax);
OZK_KERNEL(absolute_deviations, _vsldSSMAD);
OZK_KERNEL(quantiles_of, _vsldSSQuantiles);
OZK_KERNEL(weighted_median_of, _vsldSSWeightedMedian);
OZK_KERNEL(sort_components, _vsldSSSort);
OZK_KERNEL(stream_quantiles, _vsldSSStreamQuantiles);
OZK_KERNEL(pooled_covariance, _vsldSSPooledCovariance);
OZK_KERNEL(partial_covariance, _vsldSSPartialCovariance);
OZK_KERNEL(parametrize, _vsldSSCorrelationParametrization);
OZK_KERNEL(robust_covariance, _vsldSSRobustCovariance);
OZK_KERNEL(detect_outliers, _vsldSSOutliersDetection);
OZK_KERNEL(invert_covariance, __vsldInvCov);
OZK_KERNEL(square_distances, _vsldSSMahDistance);
OZK_KERNEL(missing_values, _vsldSSMissingValues);

constexpr int32_t kWideIntegers = 1;
constexpr int64_t kMostComponents = int64_t{1} << 30;

void check_components(int64_t p) {
    require(p >= 1, kOzkCodeSize, "There are no components: pass at least 1.");
    require(p < kMostComponents, kOzkCodeSize, "There are too many components: pass fewer than 2^30.");
}

void check_sample(int64_t p, int64_t n, const double* x, int32_t layout) {
    check_components(p);
    int64_t values;
    require(n >= 1 && !__builtin_mul_overflow(n, p, &values), kOzkCodeSize,
            "There is no observation, or more than memory holds: pass at least 1.");
    require(x != nullptr, kOzkCodeNull, "The observations are null: pass them.");
    require(layout == kOzkByComponent || layout == kOzkByObservation, kOzkCodeArgument,
            "There is no such layout: pass kOzkByComponent or kOzkByObservation.");
}

void check_result(const void* result) {
    require(result != nullptr, kOzkCodeNull, "The place for the result is null: pass one.");
}

void check_weights(int64_t n, const double* weights) {
    for (int64_t j = 0; weights != nullptr && j < n; ++j)
        require(weights[j] >= 0 && std::isfinite(weights[j]), kOzkCodeArgument,
                "A weight is negative or not finite: pass weights of at least 0.");
}

void check_orders(int64_t m, const double* orders) {
    require(m >= 1, kOzkCodeSize, "There is no order: pass at least 1.");
    require(orders != nullptr, kOzkCodeNull, "The orders are null: pass them.");
    for (int64_t q = 0; q < m; ++q)
        require(orders[q] >= 0 && orders[q] <= 1, kOzkCodeArgument,
                "An order is not in [0, 1]: pass 0.5 for the median.");
}

// A task over one sample. What it is given must live as long as it.
struct Task {
    int64_t p, n = 1, layout = kOzkStatsByObservation;
    int64_t full = kOzkStatsMatrixFull;
    OzkStatsTask* task = nullptr;

    explicit Task(int64_t components) : p(components) {
        require_done(kOzkStatistics,
                     new_task(&task, &p, &n, &layout, nullptr, nullptr, nullptr, kWideIntegers));
    }
    Task(int64_t components, int64_t observations, const double* x, int32_t storage) : Task(components) {
        n = observations;
        layout = storage;
        set(kOzkStatsIdObservations, x);
    }
    ~Task() {
        if (task != nullptr) delete_task(&task);
    }
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;

    Task& set(int parameter, const double* reals) {
        require_done(kOzkStatistics, edit_reals(task, parameter, reals));
        return *this;
    }
    Task& set(int parameter, const int64_t* integers) {
        require_done(kOzkStatistics, edit_integers(task, parameter, integers));
        return *this;
    }
};

}  // namespace
}  // namespace ozk::api

using namespace ozk::api;

ozk_status ozk_d_describe(int64_t p, int64_t n, const double* x, int32_t layout,
                          ozk_description* descriptions) {
    return guarded(kOzkStatistics, "ozk_d_describe", [&] {
        check_sample(p, n, x, layout);
        check_result(descriptions);
        enum {
            kMean,
            kRaw2,
            kRaw3,
            kRaw4,
            kCentral2,
            kCentral3,
            kCentral4,
            kSkew,
            kKurt,
            kLow,
            kHigh,
            kMedianDeviation,
            kMeanDeviation,
            kCount
        };
        constexpr int kIds[kCount] = {
            kOzkStatsIdMean,           kOzkStatsIdRawMoment2,     kOzkStatsIdRawMoment3,
            kOzkStatsIdRawMoment4,     kOzkStatsIdCentralMoment2, kOzkStatsIdCentralMoment3,
            kOzkStatsIdCentralMoment4, kOzkStatsIdSkewness,       kOzkStatsIdKurtosis,
            kOzkStatsIdMinimum,        kOzkStatsIdMaximum,        kOzkStatsIdMedianDeviation,
            kOzkStatsIdMeanDeviation};
        const size_t size = static_cast<size_t>(p);
        const double orders[] = {0.25, 0.5, 0.75};
        const int64_t order_count = std::size(orders);
        std::vector<double> values(size * (kCount + std::size(orders)));
        double* const quartiles = values.data() + size * kCount;
        Task task(p, n, x, layout);
        for (int k = 0; k < kCount; ++k) task.set(kIds[k], values.data() + size * static_cast<size_t>(k));
        task.set(kOzkStatsIdQuantileOrders, orders)
            .set(kOzkStatsIdQuantileOrderCount, &order_count)
            .set(kOzkStatsIdQuantiles, quartiles);
        const TeamScope team;
        const OzkThreading* const threading = ozk_serv_threading();
        const uint32_t fast = kOzkStatsFast;
        require_done(
            kOzkStatistics,
            basic(task.task, kOzkMean | kOzkCentralMoment2 | kOzkSkewness | kOzkKurtosis, fast, threading));
        require_done(kOzkStatistics, minmax(task.task, kOzkStatsMinimum | kOzkStatsMaximum, fast));
        require_done(kOzkStatistics, quantiles_of(task.task, kOzkStatsQuantiles, fast, threading));
        require_done(kOzkStatistics,
                     absolute_deviations(task.task, kOzkStatsMedianDeviation | kOzkStatsMeanDeviation, fast,
                                         threading));
        for (size_t i = 0; i < size; ++i) {
            const auto of = [&](int k) { return values[size * static_cast<size_t>(k) + i]; };
            const double* const q = quartiles + 3 * i;
            const double total = static_cast<double>(n);
            ozk_description d = {n,
                                 of(kMean),
                                 std::sqrt(of(kCentral2) * total / (total - 1)),
                                 of(kSkew),
                                 of(kKurt),
                                 of(kLow),
                                 q[0],
                                 q[1],
                                 q[2],
                                 of(kHigh),
                                 of(kMedianDeviation),
                                 of(kMeanDeviation)};
            if (std::isnan(d.minimum)) {
                constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
                d = {n, kNaN, kNaN, kNaN, kNaN, kNaN, kNaN, kNaN, kNaN, kNaN, kNaN, kNaN};
            }
            descriptions[i] = d;
        }
    });
}

ozk_status ozk_d_quantiles(int64_t p, int64_t n, const double* x, int32_t layout, int64_t m,
                           const double* orders, double* quantiles) {
    return guarded(kOzkStatistics, "ozk_d_quantiles", [&] {
        check_sample(p, n, x, layout);
        check_orders(m, orders);
        check_result(quantiles);
        Task task(p, n, x, layout);
        task.set(kOzkStatsIdQuantileOrders, orders)
            .set(kOzkStatsIdQuantileOrderCount, &m)
            .set(kOzkStatsIdQuantiles, quantiles);
        const TeamScope team;
        require_done(kOzkStatistics, quantiles_of(task.task, kOzkStatsQuantiles, uint32_t{kOzkStatsFast},
                                                  ozk_serv_threading()));
    });
}

ozk_status ozk_d_weighted_median(int64_t p, int64_t n, const double* x, int32_t layout, const double* weights,
                                 double* medians) {
    return guarded(kOzkStatistics, "ozk_d_weighted_median", [&] {
        check_sample(p, n, x, layout);
        require(weights != nullptr, kOzkCodeNull, "The weights are null: pass one for each observation.");
        check_weights(n, weights);
        check_result(medians);
        Task task(p, n, x, layout);
        task.set(kOzkStatsIdWeights, weights).set(kOzkStatsIdQuantiles, medians);
        const TeamScope team;
        require_done(kOzkStatistics, weighted_median_of(task.task, uint64_t{0}, uint32_t{kOzkStatsFast},
                                                        ozk_serv_threading()));
    });
}

ozk_status ozk_d_sort(int64_t p, int64_t n, const double* x, int32_t layout, double* sorted) {
    return guarded(kOzkStatistics, "ozk_d_sort", [&] {
        check_sample(p, n, x, layout);
        check_result(sorted);
        Task task(p, n, x, layout);
        task.set(kOzkStatsIdSortedObservations, sorted).set(kOzkStatsIdSortedStorage, &task.layout);
        const TeamScope team;
        require_done(kOzkStatistics, sort_components(task.task, kOzkStatsSortedObservations,
                                                     uint32_t{kOzkStatsRadixSort}, ozk_serv_threading()));
    });
}

ozk_status ozk_d_pooled_covariance(int64_t p, int64_t n, const double* x, int32_t layout,
                                   const double* weights, const int64_t* groups, double* mean,
                                   double* covariance) {
    return guarded(kOzkStatistics, "ozk_d_pooled_covariance", [&] {
        check_sample(p, n, x, layout);
        check_weights(n, weights);
        require(groups != nullptr, kOzkCodeNull, "The groups are null: pass one for each observation.");
        check_result(mean);
        check_result(covariance);
        Task task(p, n, x, layout);
        if (weights != nullptr) task.set(kOzkStatsIdWeights, weights);
        task.set(kOzkStatsIdGroupIndices, groups)
            .set(kOzkStatsIdPooledMean, mean)
            .set(kOzkStatsIdPooledCovariance, covariance)
            .set(kOzkStatsIdPooledCovarianceStorage, &task.full);
        require_done(kOzkStatistics, pooled_covariance(task.task, kOzkStatsPooledCovariance,
                                                       uint32_t{kOzkStatsFast}, ozk_serv_threading()));
    });
}

ozk_status ozk_d_partial_covariance(int64_t p, const double* covariance, const int64_t* roles,
                                    double* partial) {
    return guarded(kOzkStatistics, "ozk_d_partial_covariance", [&] {
        check_components(p);
        require(covariance != nullptr && roles != nullptr, kOzkCodeNull,
                "The covariance or the roles are null: pass both.");
        bool wanted = false;
        for (int64_t i = 0; i < p; ++i) {
            require(roles[i] >= -1 && roles[i] <= 1, kOzkCodeArgument,
                    "A role is none of -1, 0 and 1: pass these.");
            wanted |= roles[i] == 1;
        }
        require(wanted, kOzkCodeArgument,
                "No component has role 1: pass it for those whose covariance you want.");
        check_result(partial);
        Task task(p);
        task.set(kOzkStatsIdCovariance, covariance)
            .set(kOzkStatsIdCovarianceStorage, &task.full)
            .set(kOzkStatsIdPartialIndices, roles)
            .set(kOzkStatsIdPartialCovariance, partial)
            .set(kOzkStatsIdPartialCovarianceStorage, &task.full);
        const TeamScope team;
        require_done(kOzkStatistics, partial_covariance(task.task, kOzkStatsPartialCovariance,
                                                        uint32_t{kOzkStatsFast}, ozk_serv_threading()));
    });
}

ozk_status ozk_d_valid_correlation(int64_t p, const double* correlation, double* valid) {
    return guarded(kOzkStatistics, "ozk_d_valid_correlation", [&] {
        check_components(p);
        require(correlation != nullptr, kOzkCodeNull, "The correlation is null: pass it.");
        check_result(valid);
        Task task(p);
        task.set(kOzkStatsIdCorrelation, correlation)
            .set(kOzkStatsIdCorrelationStorage, &task.full)
            .set(kOzkStatsIdParametrizedCorrelation, valid)
            .set(kOzkStatsIdParametrizedCorrelationStorage, &task.full);
        const TeamScope team;
        require_done(kOzkStatistics, parametrize(task.task, kOzkStatsParametrizedCorrelation,
                                                 uint32_t{kOzkStatsFast}, ozk_serv_threading()));
    });
}

// ---- Robust estimates ---------------------------------------------------------------------------------

ozk_status ozk_d_robust_covariance(int64_t p, int64_t n, const double* x, int32_t layout,
                                   const ozk_robust_options* options, double* mean, double* covariance) {
    return guarded(kOzkStatistics, "ozk_d_robust_covariance", [&] {
        check_sample(p, n, x, layout);
        require((n - 1) / 2 >= p, kOzkCodeSize,
                "There are too few observations: pass more than two for each component.");
        const ozk_robust_options given =
            options != nullptr ? *options : ozk_robust_options{0.5, 0.001, 0.001, 100};
        require(given.breakdown > 0 && given.breakdown <= 0.5, kOzkCodeArgument,
                "The breakdown point is not in (0, 0.5]: pass 0.5 to withstand the most.");
        require(given.rejection > 0 && given.rejection < 1, kOzkCodeArgument,
                "The rejection probability is not in (0, 1): pass 0.001.");
        require(given.accuracy > 0, kOzkCodeArgument, "The accuracy is not above 0: pass 0.001.");
        require(given.iterations >= 0, kOzkCodeArgument, "The number of iterations is negative: pass 100.");
        check_result(mean);
        check_result(covariance);
        const double parameters[] = {given.breakdown, given.rejection, given.accuracy,
                                     static_cast<double>(given.iterations)};
        const int64_t count = std::size(parameters);
        Task task(p, n, x, layout);
        task.set(kOzkStatsIdRobustParameters, parameters)
            .set(kOzkStatsIdRobustParameterCount, &count)
            .set(kOzkStatsIdRobustMean, mean)
            .set(kOzkStatsIdRobustCovariance, covariance)
            .set(kOzkStatsIdRobustCovarianceStorage, &task.full);
        const TeamScope team;
        require_done(kOzkStatistics,
                     robust_covariance(task.task, kOzkStatsRobustCovariance,
                                       uint32_t{kOzkStatsTranslatedBiweight}, ozk_serv_threading()));
    });
}

ozk_status ozk_d_outlier_weights(int64_t p, int64_t n, const double* x, int32_t layout, double significance,
                                 double* weights) {
    return guarded(kOzkStatistics, "ozk_d_outlier_weights", [&] {
        check_sample(p, n, x, layout);
        require(n / 5 >= p, kOzkCodeSize,
                "There are too few observations: pass at least five for each component.");
        require(significance >= 0 && significance <= 1, kOzkCodeArgument,
                "The significance level is not in [0, 1]: pass 0.05.");
        check_result(weights);
        const double parameters[] = {2, significance, 0.005};
        const int64_t count = std::size(parameters);
        Task task(p, n, x, layout);
        task.set(kOzkStatsIdOutlierParameters, parameters)
            .set(kOzkStatsIdOutlierParameterCount, &count)
            .set(kOzkStatsIdOutlierWeights, weights);
        const TeamScope team;
        require_done(kOzkStatistics,
                     detect_outliers(task.task, kOzkStatsOutliers, uint32_t{kOzkStatsOutlierDetection},
                                     ozk_serv_threading()));
    });
}

ozk_status ozk_d_mahalanobis(int64_t p, int64_t n, const double* x, int32_t layout, const double* mean,
                             const double* covariance, double* distances) {
    return guarded(kOzkStatistics, "ozk_d_mahalanobis", [&] {
        check_sample(p, n, x, layout);
        require(mean != nullptr && covariance != nullptr, kOzkCodeNull,
                "The mean or the covariance is null: pass both.");
        check_result(distances);
        const size_t size = static_cast<size_t>(p);
        std::vector<double> factor(size * size);
        const auto copy_lower = [&](double* columns) {
            for (size_t k = 0; k < size; ++k)
                for (size_t i = k; i < size; ++i) columns[k * size + i] = covariance[i * size + k];
        };
        copy_lower(factor.data());
        const TeamScope team;
        // The closed forms of small inverses do not notice what is not positive definite.
        int64_t info = 0;
        ozk_lapack_dpotrf("L", &p, factor.data(), &p, &info, 1);
        require_done(kOzkStatistics, info == 0 ? kOzkStatsOk : kOzkStatsErrorSingularCovariance);
        // A failed inversion gives the matrix back by itself; this one has a factor already.
        const std::unique_ptr<double, void (*)(void*)> inverse(
            static_cast<double*>(ozk_serv_allocate(factor.size() * sizeof(double), 128)),
            ozk_serv_deallocate);
        require(inverse != nullptr, kOzkCodeMemory, "There is not enough memory.");
        copy_lower(inverse.get());
        require_done(kOzkStatistics, invert_covariance(p, inverse.get()));

        Task task(p, n, x, layout);
        int64_t sizes[] = {n, layout == kOzkByComponent ? n : p};
        for (int which = 0; which < 2; ++which) task.task->distance_sizes[which] = sizes + which;
        task.task->distance_centre = const_cast<double*>(mean);
        task.task->distance_inverse_covariance = inverse.get();
        task.task->distances = distances;
        require_done(kOzkStatistics,
                     square_distances(task.task, uint64_t{0}, uint32_t{0}, ozk_serv_threading()));
        for (int64_t j = 0; j < n; ++j) distances[j] = std::sqrt(distances[j] < 0 ? 0 : distances[j]);
    });
}

// ---- Missing values -----------------------------------------------------------------------------------

namespace ozk::api {
namespace {

void check_steps(int64_t em_iterations, double accuracy) {
    require(em_iterations >= 0 && em_iterations <= INT32_MAX, kOzkCodeArgument,
            "The number of EM iterations is negative or too large: pass 1000.");
    require(accuracy >= 0, kOzkCodeArgument, "The accuracy is negative or no number: pass 1e-8.");
}

// The parameters of the estimator, and the values that it counts as missing.
struct MissingValueParameters {
    const int64_t count = 5;
    double values[5];

    MissingValueParameters(int64_t p, int64_t n, const double* x, int64_t em_iterations, double accuracy,
                           int64_t iterations, int64_t copies)
        : values{static_cast<double>(em_iterations), static_cast<double>(iterations), accuracy,
                 static_cast<double>(copies),
                 static_cast<double>(std::count_if(x, x + p * n, [](double v) { return std::isnan(v); }))} {}
    int64_t missing() const { return static_cast<int64_t>(values[4]); }
    void give(Task& task) const {
        task.set(kOzkStatsIdMissingParameters, values).set(kOzkStatsIdMissingParameterCount, &count);
    }
};

void run_missing_values(const Task& task) {
    const TeamScope team;
    require_done(kOzkStatistics,
                 missing_values(task.task, kOzkStatsMissingValues, uint32_t{0}, ozk_serv_threading()));
}

}  // namespace
}  // namespace ozk::api

ozk_status ozk_d_incomplete_covariance(int64_t p, int64_t n, const double* x, int32_t layout,
                                       int64_t em_iterations, double accuracy, double* mean,
                                       double* covariance) {
    return guarded(kOzkStatistics, "ozk_d_incomplete_covariance", [&] {
        check_sample(p, n, x, layout);
        check_steps(em_iterations, accuracy);
        check_result(mean);
        check_result(covariance);
        const MissingValueParameters parameters(p, n, x, em_iterations, accuracy, 0, 1);
        const int64_t size = p + p * (p + 1) / 2;
        std::vector<double> estimate(static_cast<size_t>(size));
        Task task(p, n, x, layout);
        parameters.give(task);
        task.set(kOzkStatsIdEstimates, estimate.data()).set(kOzkStatsIdEstimateCount, &size);
        run_missing_values(task);
        std::copy_n(estimate.data(), p, mean);
        const double* from = estimate.data() + p;
        for (int64_t i = 0; i < p; ++i)
            for (int64_t k = i; k < p; ++k) covariance[i * p + k] = covariance[k * p + i] = *from++;
    });
}

ozk_status ozk_d_impute(int64_t p, int64_t n, const double* x, int32_t layout, int64_t em_iterations,
                        double accuracy, int64_t iterations, int64_t copies, double* completed) {
    return guarded(kOzkStatistics, "ozk_d_impute", [&] {
        check_sample(p, n, x, layout);
        check_steps(em_iterations, accuracy);
        require(iterations >= 0 && iterations <= INT32_MAX, kOzkCodeArgument,
                "The number of iterations is negative or too large: pass 100.");
        require(copies >= 1 && copies <= INT32_MAX, kOzkCodeArgument,
                "There is no copy, or there are too many: pass 5.");
        check_result(completed);
        const MissingValueParameters parameters(p, n, x, em_iterations, accuracy, iterations, copies);
        const int64_t missing = parameters.missing();
        int64_t values;
        require(!__builtin_mul_overflow(copies, missing, &values), kOzkCodeSize,
                "There are more copies than memory holds: pass fewer.");
        if (missing > 0) {
            std::vector<double> sets(static_cast<size_t>(values));
            Task task(p, n, x, layout);
            parameters.give(task);
            task.set(kOzkStatsIdSimulatedSets, sets.data()).set(kOzkStatsIdSimulatedSetCount, &values);
            run_missing_values(task);
            // The sets go by observations.
            const bool by_component = layout == kOzkByComponent;
            const double* drawn = sets.data();
            for (int64_t copy = 0; copy < copies; ++copy)
                for (int64_t j = 0; j < n; ++j)
                    for (int64_t i = 0; i < p; ++i) {
                        const int64_t at = by_component ? i * n + j : j * p + i;
                        completed[copy * n * p + at] = std::isnan(x[at]) ? *drawn++ : x[at];
                    }
        } else {
            for (int64_t copy = 0; copy < copies; ++copy) std::copy_n(x, n * p, completed + copy * n * p);
        }
    });
}

// ---- Quantiles of a stream ----------------------------------------------------------------------------

struct ozk_quantile_stream {
    double epsilon;
    int64_t order_count = 0;
    const int64_t parameter_count = 1;
    const double median = 0.5;
    std::vector<double> unused;  // where answers go that nobody asked for
    Task task;

    ozk_quantile_stream(int64_t p, double accuracy) : epsilon(accuracy), unused(1), task(p) {
        task.set(kOzkStatsIdStreamOrderCount, &order_count)
            .set(kOzkStatsIdStreamParameterCount, &parameter_count)
            .set(kOzkStatsIdStreamParameters, &epsilon);
    }
    void run(int64_t n, int64_t m, const double* orders, double* quantiles) {
        task.n = n;
        order_count = m;
        task.set(kOzkStatsIdStreamOrders, orders).set(kOzkStatsIdStreamQuantiles, quantiles);
        const TeamScope team;
        require_done(kOzkStatistics,
                     stream_quantiles(task.task, kOzkStatsStreamQuantiles,
                                      uint32_t{kOzkStatsStreamExactStart}, ozk_serv_threading()));
    }
};

ozk_status ozk_quantile_stream_new(int64_t p, double epsilon, ozk_quantile_stream** stream) {
    return guarded(kOzkStatistics, "ozk_quantile_stream_new", [&] {
        require(stream != nullptr, kOzkCodeNull, "The place for the handle is null: pass one.");
        check_components(p);
        require(epsilon > 0 && epsilon <= 1, kOzkCodeArgument,
                "The accuracy is not in (0, 1]: pass 0.001 for ranks within a thousandth.");
        *stream = new ozk_quantile_stream(p, epsilon);
    });
}

void ozk_quantile_stream_delete(ozk_quantile_stream* stream) { delete stream; }

ozk_status ozk_quantile_stream_add(ozk_quantile_stream* stream, int64_t n, const double* x, int32_t layout) {
    return guarded(kOzkStatistics, "ozk_quantile_stream_add", [&] {
        require(stream != nullptr, kOzkCodeNull,
                "The handle is null: make one with ozk_quantile_stream_new.");
        check_sample(stream->task.p, n, x, layout);
        stream->task.layout = layout;
        stream->task.set(kOzkStatsIdObservations, x);
        stream->run(n, 0, &stream->median, stream->unused.data());
    });
}

ozk_status ozk_quantile_stream_get(ozk_quantile_stream* stream, int64_t m, const double* orders,
                                   double* quantiles) {
    return guarded(kOzkStatistics, "ozk_quantile_stream_get", [&] {
        require(stream != nullptr, kOzkCodeNull,
                "The handle is null: make one with ozk_quantile_stream_new.");
        check_orders(m, orders);
        check_result(quantiles);
        stream->run(0, m, orders, quantiles);
    });
}
