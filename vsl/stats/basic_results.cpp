// Between the moments of a run and the caller's arrays: what earlier portions left there, and what is
// written.
//
// Central sums are recovered from the array that tells them without cancellation: the central sum itself, the
// central moment times W, the working copy in a raw-moment array that was not asked for, the cross-product's
// diagonal. Only where none of these is at hand does the raw moment serve, which loses the digits that mean^2
// and raw moment have in common.

#include <cmath>

#include "vsl/stats/basic.hpp"

namespace ozk::stats {
namespace {

enum class Source { kNone, kCentralSum, kCentralMoment, kWorkingMoment, kCrossProduct, kRawMoment, kRawSum };

constexpr uint64_t raw_moment(int order) { return kOzkStatsRawMoment2 << (order - 2); }
constexpr uint64_t raw_sum(int order) { return kOzkStatsRawSum2 << (order - 2); }
constexpr uint64_t central_moment(int order) { return kOzkStatsCentralMoment2 << (order - 2); }
constexpr uint64_t central_sum(int order) { return kOzkStatsCentralSum2 << (order - 2); }
static_assert(raw_moment(4) == kOzkStatsRawMoment4 && raw_sum(4) == kOzkStatsRawSum4);
static_assert(central_moment(4) == kOzkStatsCentralMoment4 && central_sum(4) == kOzkStatsCentralSum4);

Source central_source(const Request& request, int order) {
    if (request.asks(central_sum(order))) return Source::kCentralSum;
    if (request.has(central_moment(order))) return Source::kCentralMoment;
    if (request.has(raw_moment(order)) && !request.asks(raw_moment(order))) return Source::kWorkingMoment;
    if (order == 2 && request.asks(kOzkStatsCovariance | kOzkStatsCrossProduct)) return Source::kCrossProduct;
    if (request.asks(raw_moment(order))) return Source::kRawMoment;
    if (request.asks(raw_sum(order))) return Source::kRawSum;
    return Source::kNone;
}

double read(const Request& request, uint64_t estimate, int64_t position) {
    return read_real(result_array(*request.task, estimate), request.single, position);
}

void write(const Request& request, uint64_t estimate, int64_t position, double value) {
    write_real(result_array(*request.task, estimate), request.single, position, value);
}

double previous_central_sum(const Request& request, int order, int64_t component, double mean,
                            double second) {
    const double weight = request.previous.total;
    const auto from_raw_sum = [&](double sum) {
        return order == 2 ? sum - weight * mean * mean
                          : sum - 3 * mean * second - weight * mean * mean * mean;
    };
    switch (central_source(request, order)) {
        case Source::kCentralSum:
            return read(request, central_sum(order), component);
        case Source::kCentralMoment:
            return read(request, central_moment(order), component) * weight;
        case Source::kWorkingMoment:
            return read(request, raw_moment(order), component) * weight;
        case Source::kCrossProduct:
            return previous_cross_product(request, component, component, 0, 0);
        case Source::kRawMoment:
            return from_raw_sum(read(request, raw_moment(order), component) * weight);
        case Source::kRawSum:
            return from_raw_sum(read(request, raw_sum(order), component));
        case Source::kNone:
            break;
    }
    return 0;
}

void write_derived(const Request& request, int64_t component, double mean, double c2, double c3, double c4) {
    if (request.asks(kOzkStatsKurtosis)) write(request, kOzkStatsKurtosis, component, c4 / (c2 * c2) - 3);
    if (request.asks(kOzkStatsSkewness))
        write(request, kOzkStatsSkewness, component, c3 / (c2 * std::sqrt(c2)));
    if (request.asks(kOzkStatsVariation)) write(request, kOzkStatsVariation, component, std::sqrt(c2) / mean);
}

}  // namespace

// In the form that is exactly 0 for a single observation.
double covariance_divisor(const Weight& weight) {
    return (weight.total * weight.total - weight.squares) / weight.total;
}

bool can_continue(const Request& request) {
    if (request.convert || request.previous.total == 0) return true;
    if (request.centre != Centre::kGivenMean)
        for (int order = 2; order < central_order(request); ++order)
            if (central_source(request, order) == Source::kNone) return false;
    return !request.asks(kOzkStatsCorrelation) || central_source(request, 2) != Source::kNone;
}

Moments previous_moments(const Request& request, int64_t component) {
    Moments moments = {};
    const double weight = request.previous.total;
    if (weight == 0) return moments;
    if (request.has(kOzkStatsMean)) moments.origin = read(request, kOzkStatsMean, component);
    if (request.asks(kOzkStatsSum)) moments.raw[0] = read(request, kOzkStatsSum, component);
    for (int order = 2; order <= 4; ++order) {
        moments.central[order - 2] =
            previous_central_sum(request, order, component, moments.origin, moments.central[0]);
        if (request.asks(raw_sum(order))) {
            moments.raw[order - 1] = read(request, raw_sum(order), component);
        } else if (request.asks(raw_moment(order))) {
            moments.raw[order - 1] = read(request, raw_moment(order), component) * weight;
        }
    }
    return moments;
}

double previous_cross_product(const Request& request, int64_t i, int64_t k, double deviation_i,
                              double deviation_k) {
    if (request.previous.total == 0) return 0;
    if (request.asks(kOzkStatsCrossProduct)) return request.cross_product.get(i, k);
    if (request.asks(kOzkStatsCovariance)) {
        const double divisor = covariance_divisor(request.previous);
        return divisor == 0 ? 0 : request.covariance.get(i, k) * divisor;
    }
    if (deviation_i == 0 || deviation_k == 0) return 0;
    return request.correlation.get(i, k) * deviation_i * deviation_k;
}

void write_moments(const Request& request, int64_t component, const Moments& moments, const Weight& weight) {
    const auto& central = moments.central;
    if (request.has(kOzkStatsMean) && request.centre != Centre::kGivenMean)
        write(request, kOzkStatsMean, component, moments.mean());
    if (request.asks(kOzkStatsSum)) write(request, kOzkStatsSum, component, moments.raw[0]);
    for (int order = 2; order <= 4; ++order) {
        const double raw = moments.raw[order - 1], sum = central[order - 2];
        if (request.asks(raw_sum(order))) write(request, raw_sum(order), component, raw);
        if (request.asks(central_sum(order))) write(request, central_sum(order), component, sum);
        if (request.has(central_moment(order)))
            write(request, central_moment(order), component, sum / weight.total);
        if (request.has(raw_moment(order)))
            write(request, raw_moment(order), component,
                  (request.asks(raw_moment(order)) ? raw : sum) / weight.total);
    }
    write_derived(request, component, moments.mean(), central[0] / weight.total, central[1] / weight.total,
                  central[2] / weight.total);
}

void write_cross_product(const Request& request, int64_t i, int64_t k, double value, double deviation_i,
                         double deviation_k, double divisor) {
    if (request.asks(kOzkStatsCrossProduct)) request.cross_product.set(i, k, value);
    if (request.asks(kOzkStatsCovariance)) request.covariance.set(i, k, value / divisor);
    if (request.asks(kOzkStatsCorrelation)) {
        double correlation = value / deviation_i / deviation_k;
        if (i == k) correlation = deviation_i / deviation_i;  // 1, or NaN without deviation
        if (correlation > 1) correlation = 1;
        if (correlation < -1) correlation = -1;
        request.correlation.set(i, k, correlation);
    }
}

void convert(const Request& request) {
    const OzkStatsTask& task = *request.task;
    Weight weight = request.previous;
    if (weight.total == 0) {
        for (int64_t j = 0; j < request.observation_count; ++j) {
            const double w = task.weights != nullptr ? read_real(task.weights, request.single, j) : 1;
            weight.add({w, w * w});
        }
    }
    const Matrix& cross_product = request.cross_product;
    Request matrices = request;  // what is written of each pair; the cross-product is only read
    matrices.estimates &= ~kOzkStatsCrossProduct;
    const double divisor = covariance_divisor(weight);
    for (int64_t i = 0; i < request.dimension; ++i) {
        if (!request.selected(i)) continue;
        const auto from_sum = [&](uint64_t moment, uint64_t sum) {
            if (request.asks(moment)) write(request, moment, i, read(request, sum, i) / weight.total);
        };
        from_sum(kOzkStatsMean, kOzkStatsSum);
        double central[3] = {};
        for (int order = 2; order <= 4; ++order) {
            from_sum(raw_moment(order), raw_sum(order));
            from_sum(central_moment(order), central_sum(order));
            if (request.has(central_moment(order)))
                central[order - 2] = read(request, central_moment(order), i);
        }
        const double mean = request.has(kOzkStatsMean) ? read(request, kOzkStatsMean, i) : 0;
        write_derived(request, i, mean, central[0], central[1], central[2]);
        if (!request.asks(kMatrices)) continue;
        const double deviation_i = std::sqrt(cross_product.get(i, i));
        for (int64_t k = 0; k <= i; ++k) {
            if (!request.selected(k)) continue;
            write_cross_product(matrices, i, k, cross_product.get(i, k), deviation_i,
                                std::sqrt(cross_product.get(k, k)), divisor);
        }
    }
}

}  // namespace ozk::stats
