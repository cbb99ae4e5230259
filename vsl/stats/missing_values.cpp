// Missing values: maximum likelihood estimates of a multivariate normal distribution from incomplete observations
// by EM, and multiple imputation by data augmentation.
//
// Each copy is a chain of its own, with a stream of its own that only its number decides, so that copies run on any
// thread; what they bring is kept in scratch until all have come to their end.

#include <cmath>

#include "ozk_stats.h"
#include "ozk_vsl.h"
#include "vsl/stats/normal_model.hpp"

namespace ozk::stats {
namespace {

constexpr uint32_t kSeed = 0x6D697373;  // the first word of every copy's key; its number is the second
constexpr int64_t kParameterCount = 5;

// A parameter that is a number of something.
bool read_count(double value, int64_t& count) {
    if (!(value >= 0 && value < 0x1p31)) return false;
    count = static_cast<int64_t>(value);
    return true;
}

template <class Real>
struct Imputation {
    Sample<Real> sample;
    const OzkThreading* threading = nullptr;
    int64_t em_iterations = 0, iterations = 0, copies = 0;
    double accuracy = 0;
    IncompleteData data;

    const Real* starts = nullptr;  // null: from the observed values
    int64_t start_count = 1;       // 1 or one for each copy
    const Real* given_prior = nullptr;
    Real *sets = nullptr, *estimates = nullptr;  // null where not asked for

    // Values of a mean with the triangle of a covariance.
    int64_t estimate_size() const { return sample.p + sample.p * (sample.p + 1) / 2; }
    // Estimates of a copy: without iterations the one that it starts from.
    int64_t estimates_of_copy() const { return std::max<int64_t>(iterations, 1); }

    int64_t integer(const void* pointer) const { return read_integer(*sample.task, pointer); }
    // Whether a count, null for 0, covers `needed` times `each` values.
    bool covers(const void* count, int64_t needed, int64_t each) const {
        int64_t values;
        return !__builtin_mul_overflow(needed, each, &values) && integer(count) >= values;
    }

    int check_results() {
        const OzkStatsTask& task = *sample.task;
        if (task.simulated_sets != nullptr && task.simulated_set_count == nullptr)
            return kOzkStatsErrorSimulatedSetCount;
        if (task.simulated_sets == nullptr && task.simulated_set_count != nullptr)
            return kOzkStatsErrorSimulatedSets;
        if (task.simulated_sets != nullptr && integer(task.simulated_set_count) != 0)
            sets = static_cast<Real*>(task.simulated_sets);
        if (task.estimates != nullptr && task.estimate_count != nullptr)
            estimates = static_cast<Real*>(task.estimates);
        return sets == nullptr && estimates == nullptr ? kOzkStatsErrorNothingToSimulate : kOzkStatsOk;
    }

    int check_parameters() {
        const OzkStatsTask& task = *sample.task;
        const Real* const parameters = static_cast<const Real*>(task.missing_parameters);
        accuracy = parameters[2];
        if (!read_count(parameters[0], em_iterations) || !read_count(parameters[1], iterations) ||
            !(accuracy >= 0) || !read_count(parameters[3], copies) || copies < 1)
            return kOzkStatsErrorMissingParameters;

        // One set of initial estimates, or one for each copy.
        const int64_t size = estimate_size();
        starts = static_cast<const Real*>(task.initial_estimates);
        if (starts != nullptr) {
            if (task.initial_estimate_count == nullptr) return kOzkStatsErrorInitialEstimateCount;
            const int64_t count = integer(task.initial_estimate_count);
            start_count = count / size;
            if (count % size != 0 || (start_count != 1 && start_count != copies))
                return kOzkStatsErrorInitialEstimateCount;
            if (!all_finite(starts, count)) return kOzkStatsErrorInitialEstimates;
        } else if (task.initial_estimate_count != nullptr && integer(task.initial_estimate_count) != 0) {
            return kOzkStatsErrorInitialEstimates;
        }

        const int64_t prior_count = task.prior_count != nullptr ? integer(task.prior_count) : 0;
        if (prior_count != 0) {
            if (prior_count != 2 + size) return kOzkStatsErrorPriorCount;
            given_prior = static_cast<const Real*>(task.prior);
            if (given_prior == nullptr || !all_finite(given_prior, prior_count) || given_prior[0] < 0)
                return kOzkStatsErrorPrior;
        }
        return kOzkStatsOk;
    }

    static bool all_finite(const Real* values, int64_t count) {
        return std::all_of(values, values + count, [](Real value) { return std::isfinite(value); });
    }

    int check(const OzkStatsTask* task) {
        if (const int status = check_sizes(task, sample)) return without_storage(status);
        if (task->missing_parameters == nullptr) return kOzkStatsErrorMissingParameters;
        if (task->missing_parameter_count == nullptr) return kOzkStatsErrorMissingParameterCount;
        if (integer(task->missing_parameter_count) != kParameterCount)
            return kOzkStatsErrorMissingParameterCountValue;
        if (const int status = check_results()) return status;
        if (const int status = check_parameters()) return status;
        if (estimates != nullptr) {
            int64_t count;
            if (__builtin_mul_overflow(copies, estimates_of_copy(), &count) ||
                !covers(task->estimate_count, count, estimate_size()))
                return kOzkStatsErrorEstimateCount;
        }
        if (const int status = check_observations(sample)) return status;
        if (const int status = count_missing(sample, data)) return status;
        if (static_cast<const Real*>(task->missing_parameters)[4] != static_cast<Real>(data.missing))
            return kOzkStatsErrorMissingParameters;
        if (sets != nullptr && !covers(task->simulated_set_count, copies, data.missing))
            return kOzkStatsErrorSimulatedSetCount;
        const double degrees = given_prior != nullptr ? given_prior[1] : Prior().degrees;
        if (!(static_cast<double>(data.informative()) + degrees > static_cast<double>(sample.p - 1)))
            return kOzkStatsErrorObservationCount;
        return kOzkStatsOk;
    }

    int run();
};

// The caller's prior in standardised components.
template <class Real>
Prior standardise(const Real* given, const IncompleteData& data, double* mean, double* scale) {
    const int64_t p = data.p;
    const Prior prior = {given[0], given[1], mean, scale};
    given += 2;
    for (int64_t i = 0; i < p; ++i) mean[i] = (*given++ - data.centre[i]) / data.scale[i];
    for (int64_t k = 0; k < p; ++k)
        for (int64_t i = k; i < p; ++i) scale[k * p + i] = *given++ / data.scale[i] / data.scale[k];
    return prior;
}

template <class Real>
int Imputation<Real>::run() {
    const int64_t p = sample.p, square = data.width() * data.width(), size = estimate_size();
    const int64_t set_values = sets != nullptr ? copies * data.missing : 0;
    const int64_t estimate_values = estimates != nullptr ? copies * estimates_of_copy() * size : 0;
    int64_t threads = 1;
    if (threading != nullptr && threading->parallel_for != nullptr) {
        // A copy passes over the observations once for every iteration.
        const int64_t passes = 1 + std::max(iterations, start_count > 1 ? em_iterations : 0);
        int64_t work;
        if (__builtin_mul_overflow(sample.n, passes, &work)) work = INT64_MAX;
        if (threading->advise_threads != nullptr) {
            threads = threading->advise_threads(p, work, sample.storage, sample.values);
        } else if (threading->thread_limit != nullptr) {
            threads = threading->thread_limit();
        }
        threads = std::clamp<int64_t>(threads, 1, copies);
    }

    const int64_t data_bytes = incomplete_bytes(data), scratch_bytes = model_bytes(data);
    const Allocation memory(data_bytes + threads * scratch_bytes + 8 * (start_count * square + p + p * p));
    if (!memory) return kOzkStatsErrorMemory;
    const Allocation results((set_values + estimate_values) * static_cast<int64_t>(sizeof(Real)));
    if (!results) return kOzkStatsErrorMemory;
    Real* const new_sets = results.at<Real>();
    Real* const new_estimates = new_sets + set_values;
    double* const starting_points = memory.at<double>(data_bytes + threads * scratch_bytes);
    double* const prior_mean = starting_points + start_count * square;
    if (const int status = fill_incomplete(sample, memory.at<char>(), data)) return status;
    const Prior prior =
        given_prior != nullptr ? standardise(given_prior, data, prior_mean, prior_mean + p) : Prior();
    const auto model_of = [&](int64_t thread) {
        return make_model(data, prior, memory.at<char>(data_bytes + thread * scratch_bytes));
    };

    auto maximise_from = [&](int64_t start, int64_t thread) -> int {
        NormalModel model = model_of(thread);
        if (starts != nullptr) {
            read_parameters(starts + start * size, model);
        } else {
            start_standard(model);
        }
        if (!maximise(model, em_iterations, accuracy)) return kOzkStatsErrorSingularCovariance;
        std::copy_n(model.parameters, square, starting_points + start * square);
        return kOzkStatsOk;
    };
    auto run_copy = [&](int64_t copy, int64_t thread) -> int {
        NormalModel model = model_of(thread);
        std::copy_n(starting_points + (start_count == 1 ? 0 : copy) * square, square, model.parameters);
        const uint32_t seed[] = {kSeed, static_cast<uint32_t>(copy)};
        OzkVslStream* stream = nullptr;
        if (__vslNewStreamEx(&stream, kOzkVslPhilox4x32x10, 2, seed) != kOzkVslSuccess)
            return kOzkStatsErrorMemory;
        Real* estimate = new_estimates + copy * estimates_of_copy() * size;
        if (estimates != nullptr && iterations == 0) write_parameters(model, estimate);
        bool regular = true;
        for (int64_t iteration = 0; iteration < iterations && regular; ++iteration) {
            regular = augment(model, stream);
            if (estimates != nullptr && regular) write_parameters(model, estimate + iteration * size);
        }
        if (regular && sets != nullptr) regular = impute(model, stream, new_sets + copy * data.missing);
        __vslDeleteStream(&stream);
        return regular ? kOzkStatsOk : kOzkStatsErrorSingularCovariance;
    };
    if (const int status = for_each_item(threading, start_count, threads, maximise_from)) return status;
    if (const int status = for_each_item(threading, copies, threads, run_copy)) return status;
    std::copy_n(new_sets, set_values, sets);
    std::copy_n(new_estimates, estimate_values, estimates);
    return kOzkStatsOk;
}

template <class Real>
int estimate(const OzkStatsTask* task, const OzkThreading* threading) {
    Imputation<Real> imputation;
    imputation.threading = threading;
    if (const int status = imputation.check(task)) return status;
    return imputation.run();
}

}  // namespace
}  // namespace ozk::stats

extern "C" {

int _vsldSSMissingValues(OzkStatsTask* task, uint64_t, uint32_t, const OzkThreading* threading) {
    return ozk::stats::estimate<double>(task, threading);
}

int _vslsSSMissingValues(OzkStatsTask* task, uint64_t, uint32_t, const OzkThreading* threading) {
    return ozk::stats::estimate<float>(task, threading);
}

}  // extern "C"
