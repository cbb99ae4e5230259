// Summary statistics of several components: in as many portions of observations as the caller likes, and of one
// sample in one call.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "ozk/error.hpp"
#include "ozk/matrix.hpp"

namespace ozk {

// W is the total weight (the number of observations without weights), V the sum of squared weights, m the
// mean.
enum class Estimate : uint64_t {
    mean = kOzkMean,                // sum w x / W
    raw_moment_2 = kOzkRawMoment2,  // sum w x^2 / W; so 3 and 4
    raw_moment_3 = kOzkRawMoment3,
    raw_moment_4 = kOzkRawMoment4,
    central_moment_2 = kOzkCentralMoment2,  // sum w (x - m)^2 / W; so 3 and 4
    central_moment_3 = kOzkCentralMoment3,
    central_moment_4 = kOzkCentralMoment4,
    kurtosis = kOzkKurtosis,  // excess: 0 for a normal distribution
    skewness = kOzkSkewness,
    variation = kOzkVariation,    // sqrt(central moment 2) / mean
    covariance = kOzkCovariance,  // sum w (x_i - m_i)(x_k - m_k) / (W - V / W)
    correlation = kOzkCorrelation,
    sum = kOzkSum,  // these are the moments above without / W
    raw_sum_2 = kOzkRawSum2,
    raw_sum_3 = kOzkRawSum3,
    raw_sum_4 = kOzkRawSum4,
    central_sum_2 = kOzkCentralSum2,
    central_sum_3 = kOzkCentralSum3,
    central_sum_4 = kOzkCentralSum4,
    cross_product = kOzkCrossProduct  // sum w (x_i - m_i)(x_k - m_k)
};
constexpr Estimate operator|(Estimate a, Estimate b) {
    return static_cast<Estimate>(static_cast<uint64_t>(a) | static_cast<uint64_t>(b));
}

enum class Layout {
    by_observation = kOzkByObservation,  // the p components of an observation stand together
    by_component = kOzkByComponent       // the n observations of a component stand together
};

// Estimates of p components. Movable; one thread at a time adds.
//
//   ozk::statistics s(p, ozk::Estimate::mean | ozk::Estimate::covariance);
//   s.add(january);  s.add(february);
//   ozk::matrix c = s.covariance();
class statistics {
  public:
    // For p >= 1 components; the estimates that are going to be asked for.
    explicit statistics(size_t p, Estimate estimates) : components_(p) {
        detail::check(
            ozk_statistics_new(static_cast<int64_t>(p), static_cast<uint64_t>(estimates), &statistics_));
    }
    // Of one portion alone.
    statistics(std::span<const double> x, size_t p, Estimate estimates,
               Layout layout = Layout::by_observation)
        : statistics(p, estimates) {
        add(x, layout);
    }
    statistics(statistics&& other) noexcept
        : components_(other.components_), statistics_(std::exchange(other.statistics_, nullptr)) {}
    statistics& operator=(statistics&& other) noexcept {
        std::swap(components_, other.components_);
        std::swap(statistics_, other.statistics_);
        return *this;
    }
    ~statistics() { ozk_statistics_delete(statistics_); }

    // Adds a portion: x.size() / p >= 1 observations.
    void add(std::span<const double> x, Layout layout = Layout::by_observation) { add(x, layout, nullptr); }
    // Adds a portion with weights >= 0, one for each observation.
    void add(std::span<const double> x, std::span<const double> weights,
             Layout layout = Layout::by_observation) {
        detail::same_size(Family::statistics, "ozk::statistics::add", x.size() / components_, weights.size());
        add(x, layout, weights.data());
    }

    size_t components() const { return components_; }
    // W.
    double weight() const { return weights().first; }

    // One estimate for each component, or a matrix; an error unless it was asked for at the start.
    std::vector<double> vector(Estimate estimate) const {
        if (estimate == Estimate::covariance || estimate == Estimate::correlation ||
            estimate == Estimate::cross_product) {
            throw error(Family::statistics, kOzkCodeArgument,
                        "ozk::statistics::vector: the estimate is a matrix: ask matrix() for it");
        }
        std::vector<double> values(components_);
        detail::check(ozk_statistics_get(statistics_, static_cast<uint64_t>(estimate), values.data()));
        return values;
    }
    ozk::matrix matrix(Estimate estimate) const {
        if (estimate != Estimate::covariance && estimate != Estimate::correlation &&
            estimate != Estimate::cross_product) {
            throw error(
                Family::statistics, kOzkCodeArgument,
                "ozk::statistics::matrix: the estimate is one value for each component: ask vector() for it");
        }
        ozk::matrix values(components_, components_);
        detail::check(
            ozk_statistics_get(statistics_, static_cast<uint64_t>(estimate), values.values().data()));
        return values;
    }

    std::vector<double> mean() const { return vector(Estimate::mean); }
    // The unbiased variance, sum w (x - m)^2 / (W - V / W): from central_moment_2, which must have been asked
    // for.
    std::vector<double> variance() const {
        std::vector<double> values = vector(Estimate::central_moment_2);
        const auto [total, squares] = weights();
        for (double& value : values) value = value * total * total / (total * total - squares);
        return values;
    }
    std::vector<double> skewness() const { return vector(Estimate::skewness); }
    std::vector<double> kurtosis() const { return vector(Estimate::kurtosis); }
    std::vector<double> variation() const { return vector(Estimate::variation); }
    std::vector<double> sum() const { return vector(Estimate::sum); }
    ozk::matrix covariance() const { return matrix(Estimate::covariance); }
    ozk::matrix correlation() const { return matrix(Estimate::correlation); }
    ozk::matrix cross_product() const { return matrix(Estimate::cross_product); }

  private:
    void add(std::span<const double> x, Layout layout, const double* weights) {
        if (x.size() % components_ != 0) {
            throw error(Family::statistics, kOzkCodeSize,
                        "ozk::statistics::add: " + std::to_string(x.size()) +
                            " values are no whole number of " + "observations of " +
                            std::to_string(components_) + " components");
        }
        detail::check(ozk_statistics_add(statistics_, static_cast<int64_t>(x.size() / components_), x.data(),
                                         static_cast<int32_t>(layout), weights));
    }
    std::pair<double, double> weights() const {
        std::pair<double, double> weights;
        detail::check(ozk_statistics_weights(statistics_, &weights.first, &weights.second));
        return weights;
    }

    size_t components_;
    ozk_statistics* statistics_ = nullptr;
};

// ---- One sample ---------------------------------------------------------------------------------------

// What ozk.h says of it: count, mean, deviation, skewness, kurtosis, minimum, lower_quartile, median,
// upper_quartile, maximum, median_deviation, mean_deviation.
using description = ozk_description;

namespace detail {

// Observations of p components in x; throws when they are no whole number.
inline int64_t observations(const char* function, std::span<const double> x, size_t p) {
    if (p == 0 || x.size() % p != 0) {
        throw error(Family::statistics, kOzkCodeSize,
                    std::string(function) + ": " + std::to_string(x.size()) +
                        " values are no whole number of observations of " + std::to_string(p) +
                        " components");
    }
    return static_cast<int64_t>(x.size() / p);
}

}  // namespace detail

// Everything that is usually asked about a sample, of each of its p components.
inline std::vector<description> describe(std::span<const double> x, size_t p = 1,
                                         Layout layout = Layout::by_observation) {
    const int64_t n = detail::observations("ozk::describe", x, p);
    std::vector<description> descriptions(p);
    detail::check(ozk_d_describe(static_cast<int64_t>(p), n, x.data(), static_cast<int32_t>(layout),
                                 descriptions.data()));
    return descriptions;
}
// The columns of a matrix, whose rows are the observations.
inline std::vector<description> describe(const matrix& x) { return describe(x.values(), x.columns()); }

// A row for each component, a column for each order in [0, 1].
inline matrix quantiles(std::span<const double> x, std::span<const double> orders, size_t p = 1,
                        Layout layout = Layout::by_observation) {
    const int64_t n = detail::observations("ozk::quantiles", x, p);
    matrix values(p, orders.size());
    detail::check(ozk_d_quantiles(static_cast<int64_t>(p), n, x.data(), static_cast<int32_t>(layout),
                                  static_cast<int64_t>(orders.size()), orders.data(),
                                  values.values().data()));
    return values;
}

// The median of each component, every observation counting as its weight >= 0.
inline std::vector<double> weighted_median(std::span<const double> x, std::span<const double> weights,
                                           size_t p = 1, Layout layout = Layout::by_observation) {
    const int64_t n = detail::observations("ozk::weighted_median", x, p);
    detail::same_size(Family::statistics, "ozk::weighted_median", static_cast<size_t>(n), weights.size());
    std::vector<double> medians(p);
    detail::check(ozk_d_weighted_median(static_cast<int64_t>(p), n, x.data(), static_cast<int32_t>(layout),
                                        weights.data(), medians.data()));
    return medians;
}

// Sorts each component ascending, in place.
inline void sort(std::span<double> x, size_t p = 1, Layout layout = Layout::by_observation) {
    const int64_t n = detail::observations("ozk::sort", x, p);
    detail::check(ozk_d_sort(static_cast<int64_t>(p), n, x.data(), static_cast<int32_t>(layout), x.data()));
}

struct pooled_covariance_result {
    std::vector<double> mean;
    matrix covariance;
};
// The covariance within groups: observation j belongs to group groups[j] >= 0.
inline pooled_covariance_result pooled_covariance(std::span<const double> x, std::span<const int64_t> groups,
                                                  size_t p = 1, Layout layout = Layout::by_observation) {
    const int64_t n = detail::observations("ozk::pooled_covariance", x, p);
    detail::same_size(Family::statistics, "ozk::pooled_covariance", static_cast<size_t>(n), groups.size());
    pooled_covariance_result result = {std::vector<double>(p), matrix(p, p)};
    detail::check(ozk_d_pooled_covariance(static_cast<int64_t>(p), n, x.data(), static_cast<int32_t>(layout),
                                          nullptr, groups.data(), result.mean.data(),
                                          result.covariance.values().data()));
    return result;
}

// The covariance of the components with role 1 when the influence of those with role -1 is taken out.
inline matrix partial_covariance(const matrix& covariance, std::span<const int64_t> roles) {
    detail::same_size(Family::statistics, "ozk::partial_covariance", covariance.rows(), covariance.columns());
    detail::same_size(Family::statistics, "ozk::partial_covariance", covariance.rows(), roles.size());
    size_t count = 0;
    for (const int64_t role : roles) count += role == 1;
    matrix partial(count, count);
    detail::check(ozk_d_partial_covariance(static_cast<int64_t>(roles.size()), covariance.values().data(),
                                           roles.data(), partial.values().data()));
    return partial;
}

// The valid correlation matrix next to one that may have negative eigenvalues.
inline matrix valid_correlation(matrix correlation) {
    detail::same_size(Family::statistics, "ozk::valid_correlation", correlation.rows(),
                      correlation.columns());
    detail::check(ozk_d_valid_correlation(static_cast<int64_t>(correlation.rows()),
                                          correlation.values().data(), correlation.values().data()));
    return correlation;
}

// ---- Robust estimates ---------------------------------------------------------------------------------

// What ozk.h says of them, with their usual values.
struct robust_options {
    double breakdown = 0.5, rejection = 0.001, accuracy = 0.001;
    int64_t iterations = 100;
};
struct robust_covariance_result {
    std::vector<double> mean;
    matrix covariance;

    // How far each observation is from the mean under the covariance: chi-square with p degrees, squared, for most
    // observations of normal data.
    std::vector<double> distances(std::span<const double> x, Layout layout = Layout::by_observation) const;
};
// Mean and covariance of the bulk of the observations, more than 2 p of them.
inline robust_covariance_result robust_covariance(std::span<const double> x, size_t p = 1,
                                                  Layout layout = Layout::by_observation,
                                                  const robust_options& options = {}) {
    const int64_t n = detail::observations("ozk::robust_covariance", x, p);
    robust_covariance_result result = {std::vector<double>(p), matrix(p, p)};
    const ozk_robust_options given = {options.breakdown, options.rejection, options.accuracy,
                                      options.iterations};
    detail::check(ozk_d_robust_covariance(static_cast<int64_t>(p), n, x.data(), static_cast<int32_t>(layout),
                                          &given, result.mean.data(), result.covariance.values().data()));
    return result;
}

// 0 for each outlier and 1 for every other observation, of at least 5 p; for clean normal data all are 1 but with the
// chance `significance`.
inline std::vector<double> outlier_weights(std::span<const double> x, size_t p = 1,
                                           Layout layout = Layout::by_observation,
                                           double significance = 0.05) {
    const int64_t n = detail::observations("ozk::outlier_weights", x, p);
    std::vector<double> weights(static_cast<size_t>(n));
    detail::check(ozk_d_outlier_weights(static_cast<int64_t>(p), n, x.data(), static_cast<int32_t>(layout),
                                        significance, weights.data()));
    return weights;
}
// The numbers of the outliers, ascending.
inline std::vector<size_t> outliers(std::span<const double> x, size_t p = 1,
                                    Layout layout = Layout::by_observation, double significance = 0.05) {
    const std::vector<double> weights = outlier_weights(x, p, layout, significance);
    std::vector<size_t> numbers;
    for (size_t j = 0; j < weights.size(); ++j)
        if (weights[j] == 0) numbers.push_back(j);
    return numbers;
}

// The distance of each observation from the mean, in the metric of a positive definite covariance, of which the lower
// triangle is read.
inline std::vector<double> mahalanobis_distances(std::span<const double> x, std::span<const double> mean,
                                                 const matrix& covariance,
                                                 Layout layout = Layout::by_observation) {
    const size_t p = mean.size();
    const int64_t n = detail::observations("ozk::mahalanobis_distances", x, p);
    detail::same_size(Family::statistics, "ozk::mahalanobis_distances", p, covariance.rows());
    detail::same_size(Family::statistics, "ozk::mahalanobis_distances", p, covariance.columns());
    std::vector<double> distances(static_cast<size_t>(n));
    detail::check(ozk_d_mahalanobis(static_cast<int64_t>(p), n, x.data(), static_cast<int32_t>(layout),
                                    mean.data(), covariance.values().data(), distances.data()));
    return distances;
}

inline std::vector<double> robust_covariance_result::distances(std::span<const double> x,
                                                               Layout layout) const {
    return mahalanobis_distances(x, mean, covariance, layout);
}

// ---- Missing values -----------------------------------------------------------------------------------

// How far the iterations over observations with missing values go.
struct missing_value_options {
    int64_t em_iterations = 1000;
    double accuracy = 1e-8;    // EM ends when it moves no standardised parameter further
    int64_t iterations = 100;  // of data augmentation, for each copy
    int64_t copies = 5;
};

struct incomplete_covariance_result {
    std::vector<double> mean;
    matrix covariance;  // of divisor n
};
// Mean and covariance of greatest likelihood of multivariate normal observations of which values are NaN, missing at
// random.
inline incomplete_covariance_result incomplete_covariance(std::span<const double> x, size_t p = 1,
                                                          Layout layout = Layout::by_observation,
                                                          const missing_value_options& options = {}) {
    const int64_t n = detail::observations("ozk::incomplete_covariance", x, p);
    incomplete_covariance_result result = {std::vector<double>(p), matrix(p, p)};
    detail::check(ozk_d_incomplete_covariance(
        static_cast<int64_t>(p), n, x.data(), static_cast<int32_t>(layout), options.em_iterations,
        options.accuracy, result.mean.data(), result.covariance.values().data()));
    return result;
}

// Copies of x in which the NaNs are drawn from their distribution given the other values (multiple imputation).
// Analyse each by itself and take the mean of the results.
inline std::vector<std::vector<double>> impute(std::span<const double> x, size_t p = 1,
                                               Layout layout = Layout::by_observation,
                                               const missing_value_options& options = {}) {
    const int64_t n = detail::observations("ozk::impute", x, p);
    const size_t copies = options.copies > 0 ? static_cast<size_t>(options.copies) : 0;
    std::vector<double> all(std::max<size_t>(copies, 1) * x.size());
    detail::check(ozk_d_impute(static_cast<int64_t>(p), n, x.data(), static_cast<int32_t>(layout),
                               options.em_iterations, options.accuracy, options.iterations, options.copies,
                               all.data()));
    std::vector<std::vector<double>> completed;
    for (auto from = all.begin(); from != all.end(); from += static_cast<std::ptrdiff_t>(x.size()))
        completed.emplace_back(from, from + static_cast<std::ptrdiff_t>(x.size()));
    return completed;
}

// ---- Data in portions ---------------------------------------------------------------------------------

// Quantiles of data that arrive in portions, of which it keeps a summary: the rank of an answer is within
// epsilon N of what was asked for. Movable; one thread at a time uses it.
class quantile_stream {
  public:
    explicit quantile_stream(double epsilon, size_t p = 1) : components_(p) {
        detail::check(ozk_quantile_stream_new(static_cast<int64_t>(p), epsilon, &stream_));
    }
    quantile_stream(quantile_stream&& other) noexcept
        : components_(other.components_), stream_(std::exchange(other.stream_, nullptr)) {}
    quantile_stream& operator=(quantile_stream&& other) noexcept {
        std::swap(components_, other.components_);
        std::swap(stream_, other.stream_);
        return *this;
    }
    ~quantile_stream() { ozk_quantile_stream_delete(stream_); }

    void add(std::span<const double> x, Layout layout = Layout::by_observation) {
        const int64_t n = detail::observations("ozk::quantile_stream::add", x, components_);
        detail::check(ozk_quantile_stream_add(stream_, n, x.data(), static_cast<int32_t>(layout)));
    }
    // A row for each component, a column for each order in [0, 1].
    ozk::matrix quantiles(std::span<const double> orders) {
        ozk::matrix values(components_, orders.size());
        detail::check(ozk_quantile_stream_get(stream_, static_cast<int64_t>(orders.size()), orders.data(),
                                              values.values().data()));
        return values;
    }

  private:
    size_t components_;
    ozk_quantile_stream* stream_ = nullptr;
};

}  // namespace ozk
