// What a call of the basic estimators asks for, checked in the documented order.

#include "vsl/stats/basic.hpp"

#include <bit>
#include <cstddef>

namespace ozk::stats {
namespace {

constexpr uint64_t kUnavailable = uint64_t{1} << 63;  // no array makes the estimate possible with this method
constexpr uint64_t kRaw2 = kOzkStatsRawMoment2, kRaw3 = kRaw2 | kOzkStatsRawMoment3,
                   kRaw4 = kRaw3 | kOzkStatsRawMoment4;
constexpr uint64_t kCentral2 = kOzkStatsCentralMoment2, kCentral3 = kOzkStatsCentralMoment3,
                   kCentral4 = kOzkStatsCentralMoment4;

// The arrays that each estimate needs besides its own, by method. A raw-moment array that is needed and not
// asked for is working storage: it keeps what merging the next portion takes.
struct Requirement {
    uint64_t estimate;
    uint64_t one_pass;  // and fast with the caller's mean
    uint64_t fast;
    uint64_t conversion;
};

constexpr Requirement kRequirements[] = {
    {kOzkStatsMean, 0, 0, kOzkStatsSum},
    {kOzkStatsRawMoment2, 0, 0, kOzkStatsRawSum2},
    {kOzkStatsRawMoment3, 0, 0, kOzkStatsRawSum3},
    {kOzkStatsRawMoment4, 0, 0, kOzkStatsRawSum4},
    {kCentral2, kOzkStatsMean | kRaw2, kOzkStatsMean | kRaw2, kOzkStatsCentralSum2},
    {kCentral3, kOzkStatsMean | kRaw3, kOzkStatsMean | kRaw3, kOzkStatsCentralSum3},
    {kCentral4, kOzkStatsMean | kRaw4, kOzkStatsMean | kRaw4, kOzkStatsCentralSum4},
    {kOzkStatsCovariance, kOzkStatsMean, kOzkStatsMean, kOzkStatsCrossProduct},
    {kOzkStatsCorrelation, kOzkStatsMean, kOzkStatsMean, kOzkStatsCrossProduct},
    {kOzkStatsKurtosis, kOzkStatsMean | kRaw4 | kCentral2 | kCentral4,
     kOzkStatsMean | kRaw4 | kCentral2 | kCentral4, kOzkStatsMean | kCentral2 | kCentral4},
    {kOzkStatsSkewness, kOzkStatsMean | kRaw3 | kCentral2 | kCentral3,
     kOzkStatsMean | kRaw3 | kCentral2 | kCentral3, kOzkStatsMean | kCentral2 | kCentral3},
    {kOzkStatsVariation, kOzkStatsMean | kRaw2 | kCentral2, kOzkStatsMean | kRaw2 | kCentral2,
     kOzkStatsMean | kCentral2},
    {kOzkStatsSum, 0, 0, kUnavailable},
    {kOzkStatsRawSum2, 0, 0, kUnavailable},
    {kOzkStatsRawSum3, 0, 0, kUnavailable},
    {kOzkStatsRawSum4, 0, 0, kUnavailable},
    {kOzkStatsCentralSum2, kOzkStatsMean, kOzkStatsMean | kRaw2, kUnavailable},
    {kOzkStatsCentralSum3, kOzkStatsMean, kOzkStatsMean | kRaw3, kUnavailable},
    {kOzkStatsCentralSum4, kOzkStatsMean, kOzkStatsMean | kRaw4, kUnavailable},
    {kOzkStatsCrossProduct, kOzkStatsMean, kOzkStatsMean, kUnavailable},
};

// The result arrays in the order in which they are missed.
struct Result {
    uint64_t estimate;
    int status;
    size_t offset;
};

#define OZK_RESULT(name, field) \
    { kOzkStats##name, kOzkStatsError##name, offsetof(OzkStatsTask, field) }
constexpr Result kResults[] = {
    OZK_RESULT(Mean, mean),
    OZK_RESULT(RawMoment2, raw_moment[0]),
    OZK_RESULT(RawMoment3, raw_moment[1]),
    OZK_RESULT(RawMoment4, raw_moment[2]),
    OZK_RESULT(CentralMoment2, central_moment[0]),
    OZK_RESULT(CentralMoment3, central_moment[1]),
    OZK_RESULT(CentralMoment4, central_moment[2]),
    OZK_RESULT(Covariance, covariance),
    OZK_RESULT(Correlation, correlation),
    OZK_RESULT(Kurtosis, kurtosis),
    OZK_RESULT(Skewness, skewness),
    OZK_RESULT(Variation, variation),
    OZK_RESULT(Sum, sum),
    OZK_RESULT(RawSum2, raw_sum[0]),
    OZK_RESULT(RawSum3, raw_sum[1]),
    OZK_RESULT(RawSum4, raw_sum[2]),
    OZK_RESULT(CentralSum2, central_sum[0]),
    OZK_RESULT(CentralSum3, central_sum[1]),
    OZK_RESULT(CentralSum4, central_sum[2]),
    OZK_RESULT(CrossProduct, cross_product),
};
#undef OZK_RESULT

// The same by the number of the estimate's bit, for the estimators' inner use.
struct Offsets {
    size_t of_bit[64] = {};
    constexpr Offsets() {
        for (const Result& result : kResults) of_bit[std::countr_zero(result.estimate)] = result.offset;
    }
};
constexpr Offsets kOffsets;

void* field_at(const OzkStatsTask& task, size_t offset) {
    return *reinterpret_cast<void* const*>(reinterpret_cast<const char*>(&task) + offset);
}

int check_method(uint32_t method, Request& request) {
    switch (method & (kOzkStatsFast | kOzkStatsOnePass | kOzkStatsFastCallerMean)) {
        case kOzkStatsFast:
            request.centre = Centre::kBlockMean;
            return kOzkStatsOk;
        case kOzkStatsOnePass:
            request.centre = Centre::kRunningMean;
            return kOzkStatsOk;
        case kOzkStatsFastCallerMean:
            request.centre = Centre::kGivenMean;
            return kOzkStatsOk;
        case 0:
            request.convert = (method & (kOzkStatsCrossProductToCovariance | kOzkStatsSumsToMoments)) != 0;
            return request.convert ? kOzkStatsOk : kOzkStatsErrorMethod;
        default:
            return kOzkStatsErrorMethod;
    }
}

int check_arrays(const OzkStatsTask& task, uint64_t mask, Request& request) {
    for (const Requirement& row : kRequirements) {
        if ((mask & row.estimate) == 0) continue;
        request.estimates |= row.estimate;
        const uint64_t others = request.convert                        ? row.conversion
                                : request.centre == Centre::kBlockMean ? row.fast
                                                                       : row.one_pass;
        request.arrays |= others == kUnavailable ? kUnavailable : row.estimate | others;
    }
    for (const Result& result : kResults)
        if (request.has(result.estimate) && field_at(task, result.offset) == nullptr) return result.status;
    return request.has(kUnavailable) ? kOzkStatsErrorMethod : kOzkStatsOk;
}

int check_data(const OzkStatsTask& task, Request& request) {
    if (task.observation_count == nullptr) return kOzkStatsErrorObservationCount;
    if (task.dimension == nullptr) return kOzkStatsErrorDimension;
    request.dimension = read_integer(task, task.dimension);
    if (request.dimension < 1) return kOzkStatsErrorDimension;
    request.observation_count = read_integer(task, task.observation_count);
    if (request.observation_count < 1) return kOzkStatsErrorObservationCount;
    if (task.observation_storage == nullptr) return kOzkStatsErrorInteger;
    if (!is_observation_storage(read_integer(task, task.observation_storage))) return kOzkStatsErrorStorage;
    if (task.observations == nullptr && !request.convert) return kOzkStatsErrorObservations;

    const struct {
        uint64_t estimate;
        const void* storage;
        void* values;
        Matrix& matrix;
    } matrices[] = {
        {kOzkStatsCovariance, task.covariance_storage, task.covariance, request.covariance},
        {kOzkStatsCorrelation, task.correlation_storage, task.correlation, request.correlation},
        {kOzkStatsCrossProduct, task.cross_product_storage, task.cross_product, request.cross_product}};
    for (const auto& row : matrices) {
        if (!request.has(row.estimate)) continue;
        if (row.storage == nullptr) return kOzkStatsErrorInteger;
        const int64_t storage = read_integer(task, row.storage);
        if (!is_matrix_storage(storage)) return kOzkStatsErrorStorage;
        row.matrix = {row.values, request.single, storage, request.dimension};
    }
    return kOzkStatsOk;
}

}  // namespace

void* result_array(const OzkStatsTask& task, uint64_t estimate) {
    return field_at(task, kOffsets.of_bit[std::countr_zero(estimate)]);
}

int check_basic(OzkStatsTask* task, uint64_t mask, uint32_t method, bool single, Request& request) {
    if (task == nullptr) return kOzkStatsErrorTask;
    request = {};
    request.task = task;
    request.single = single;
    int status = check_method(method, request);
    if (status == kOzkStatsOk) status = check_arrays(*task, mask, request);
    if (status == kOzkStatsOk) status = check_data(*task, request);
    if (status != kOzkStatsOk) return status;
    // A total of 0 starts a fresh data set, whatever the total of squares tells.
    if (task->accumulated_weights != nullptr && read_real(task->accumulated_weights, single, 0) != 0) {
        request.previous.total = read_real(task->accumulated_weights, single, 0);
        request.previous.squares = read_real(task->accumulated_weights, single, 1);
    }
    return can_continue(request) ? kOzkStatsOk : kOzkStatsErrorMethod;
}

int raw_order(const Request& request) {
    if (request.asks(kOzkStatsRawMoment4 | kOzkStatsRawSum4)) return 4;
    if (request.asks(kOzkStatsRawMoment3 | kOzkStatsRawSum3)) return 3;
    if (request.asks(kOzkStatsRawMoment2 | kOzkStatsRawSum2)) return 2;
    // The mean comes with the central sums, where there are any.
    const bool mean_alone = request.centre == Centre::kBlockMean && central_order(request) < 2;
    return request.asks(kOzkStatsSum) || mean_alone ? 1 : 0;
}

int central_order(const Request& request) {
    if (request.has(kOzkStatsCentralMoment4 | kOzkStatsCentralSum4)) return 4;
    if (request.has(kOzkStatsCentralMoment3 | kOzkStatsCentralSum3)) return 3;
    return request.has(kOzkStatsCentralMoment2 | kOzkStatsCentralSum2 | kMatrices) ? 2 : 1;
}

}  // namespace ozk::stats
