// Statistics of one sample through the application interface.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "ozk/ozk.hpp"
#include "ozk_stats.h"
#include "refusal.hpp"

namespace {

using ozk::Family;

void refused(int32_t code, auto&& call) { expect_refused(Family::statistics, code, call); }

// 3 components of 1001 observations, by observation.
std::vector<double> sample() {
    std::mt19937 random(9);
    std::exponential_distribution<double> draw(0.5);
    std::vector<double> x(3 * 1001);
    for (double& each : x) each = 10 + draw(random);
    return x;
}

TEST(Describe, TellsWhatTheFormulasTell) {
    const std::vector<double> x = sample();
    const auto all = ozk::describe(x, 3);
    ASSERT_EQ(all.size(), 3u);
    for (size_t i = 0; i < 3; ++i) {
        std::vector<double> v;
        for (size_t j = 0; j < 1001; ++j) v.push_back(x[3 * j + i]);
        std::sort(v.begin(), v.end());
        const auto average = [&](auto of) {
            long double sum = 0;
            for (const double each : v) sum += of(each);
            return sum / v.size();
        };
        const long double mean = average([](double a) { return (long double)a; });
        const auto central = [&](int k) { return average([&](double a) { return std::pow(a - mean, k); }); };
        const ozk::description& d = all[i];
        EXPECT_EQ(d.count, 1001);
        EXPECT_NEAR(d.mean, double(mean), 1e-13);
        EXPECT_NEAR(d.deviation, double(std::sqrt(central(2) * 1001 / 1000)), 1e-13);
        EXPECT_NEAR(d.skewness, double(central(3) / std::pow(central(2), 1.5L)), 1e-12);
        EXPECT_NEAR(d.kurtosis, double(central(4) / (central(2) * central(2)) - 3), 1e-11);
        EXPECT_EQ(d.minimum, v.front());
        EXPECT_EQ(d.lower_quartile, v[250]);
        EXPECT_EQ(d.median, v[500]);
        EXPECT_EQ(d.upper_quartile, v[750]);
        EXPECT_EQ(d.maximum, v.back());
        EXPECT_NEAR(d.mean_deviation, double(average([&](double a) { return std::fabs(a - mean); })), 1e-13);
        std::vector<double> away;
        for (const double each : v) away.push_back(std::fabs(each - d.median));
        std::sort(away.begin(), away.end());
        EXPECT_EQ(d.median_deviation, away[500]);
    }
    ozk::matrix rows(1001, 3);
    std::copy(x.begin(), x.end(), rows.values().begin());
    EXPECT_EQ(ozk::describe(rows)[2].median, all[2].median);
}

TEST(Describe, HasNaNOnlyWhereThereIsNoValue) {
    const std::vector<double> one = {7}, hole = {1, 5, NAN, 6, 3, 7};
    const ozk::description d = ozk::describe(one)[0];
    EXPECT_EQ(d.mean, 7);
    EXPECT_EQ(d.median, 7);
    EXPECT_EQ(d.median_deviation, 0);
    EXPECT_TRUE(std::isnan(d.deviation) && std::isnan(d.skewness));
    const auto two = ozk::describe(hole, 2);  // by observation: the first component has the NaN
    EXPECT_EQ(two[0].count, 3);
    for (const double each : {two[0].mean, two[0].minimum, two[0].median, two[0].median_deviation})
        EXPECT_TRUE(std::isnan(each));
    EXPECT_EQ(two[1].median, 6);
    EXPECT_EQ(two[1].deviation, 1);
}

TEST(SampleStatistics, QuantilesSortingAndMediansAgree) {
    const std::vector<double> x = sample(), orders = {0, 0.1, 0.5, 1}, weights(1001, 0.3);
    std::vector<double> sorted = x;
    ozk::sort(sorted, 3);
    const ozk::matrix q = ozk::quantiles(x, orders, 3);
    const auto medians = ozk::weighted_median(x, weights, 3);
    for (size_t i = 0; i < 3; ++i) {
        for (size_t j = 1; j < 1001; ++j) EXPECT_LE(sorted[3 * (j - 1) + i], sorted[3 * j + i]);
        EXPECT_EQ(q(i, 0), sorted[i]);
        EXPECT_EQ(q(i, 1), sorted[3 * 100 + i]);
        EXPECT_EQ(q(i, 2), sorted[3 * 500 + i]);
        EXPECT_EQ(q(i, 3), sorted[3 * 1000 + i]);
        EXPECT_EQ(medians[i], q(i, 2));
    }
}

TEST(SampleStatistics, AQuantileStreamKnowsItsRanks) {
    ozk::quantile_stream stream(0.01);
    const std::vector<double> orders = {0, 0.25, 0.9, 1};
    EXPECT_TRUE(std::isnan(stream.quantiles(orders)(0, 1)));
    std::vector<double> portion(1000);
    for (int first = 0; first < 200000; first += 1000) {
        for (int j = 0; j < 1000; ++j) portion[j] = (first + j) * 7919 % 200000;
        stream.add(portion);
    }
    const ozk::matrix q = stream.quantiles(orders);
    for (size_t k = 0; k < orders.size(); ++k) EXPECT_NEAR(q(0, k), orders[k] * 200000, 2000);
    ozk::quantile_stream moved = std::move(stream);
    EXPECT_EQ(moved.quantiles(orders), q);
    refused(kOzkCodeSize, [&] { moved.add(std::span<const double>()); });
    refused(kOzkCodeArgument, [&] { moved.quantiles(std::vector<double>{1.5}); });
    refused(kOzkCodeArgument, [] { ozk::quantile_stream(0); });
    refused(kOzkCodeSize, [] { ozk::quantile_stream(0.1, 0); });
    EXPECT_EQ(moved.quantiles(orders), q);
}

// Two groups with the same spread about different means; what one variable explains of another.
TEST(SampleStatistics, CovariancesWithinGroupsAndGivenOthers) {
    const std::vector<double> x = {1, 2, 3, 2, 2, 5, 101, 52, 103, 52, 102, 55};
    const std::vector<int64_t> groups = {0, 0, 0, 1, 1, 1};
    const auto pooled = ozk::pooled_covariance(x, groups, 2);
    EXPECT_NEAR(pooled.mean[0], 52, 1e-13);
    EXPECT_NEAR(pooled.covariance(0, 0), 1, 1e-14);
    EXPECT_NEAR(pooled.covariance(1, 1), 3, 1e-14);
    EXPECT_NEAR(pooled.covariance(0, 1), 0, 1e-14);

    ozk::matrix s(3, 3);
    const double values[] = {4, 2, 1, 2, 5, 3, 1, 3, 6};
    std::copy(std::begin(values), std::end(values), s.values().begin());
    const ozk::matrix partial = ozk::partial_covariance(s, std::vector<int64_t>{1, -1, 1});
    EXPECT_NEAR(partial(0, 0), 4 - 4 / 5.0, 1e-15);
    EXPECT_NEAR(partial(1, 0), 1 - 6 / 5.0, 1e-15);
    EXPECT_NEAR(partial(1, 1), 6 - 9 / 5.0, 1e-15);
    EXPECT_EQ(partial(0, 1), partial(1, 0));
    s(1, 1) = -1;
    refused(kOzkStatsErrorSingularCovariance, [&] {
        ozk::partial_covariance(s, std::vector<int64_t>{1, -1, 1});
    });
    refused(kOzkCodeArgument, [&] { ozk::partial_covariance(s, std::vector<int64_t>{0, -1, 0}); });
    refused(kOzkCodeArgument, [&] { ozk::partial_covariance(s, std::vector<int64_t>{2, -1, 1}); });

    ozk::matrix r(2, 2);
    r(0, 0) = r(1, 1) = 1;
    r(0, 1) = r(1, 0) = 1.5;
    EXPECT_NEAR(ozk::valid_correlation(r)(0, 1), 1, 1e-14);
    r(0, 1) = r(1, 0) = -0.25;
    EXPECT_NEAR(ozk::valid_correlation(r)(1, 0), -0.25, 1e-14);
    r(1, 0) = NAN;
    refused(kOzkStatsErrorEigenvalues, [&] { ozk::valid_correlation(r); });
}

// Two correlated components, every fourth observation far off.
TEST(RobustStatistics, TellTheBulkFromTheOutliers) {
    std::mt19937 random(5);
    std::normal_distribution<double> normal;
    std::vector<double> x, by_component(800);
    std::vector<size_t> bad;
    for (size_t j = 0; j < 400; ++j) {
        const double a = normal(random), b = normal(random), off = j % 4 == 3 ? 30 : 0;
        if (off > 0) bad.push_back(j);
        x.insert(x.end(), {10 + 2 * a, -3 + a + b + off});
        by_component[j] = x[2 * j];
        by_component[400 + j] = x[2 * j + 1];
    }
    const auto robust = ozk::robust_covariance(x, 2);
    EXPECT_NEAR(robust.mean[0], 10, 0.5);
    EXPECT_NEAR(robust.mean[1], -3, 0.5);
    EXPECT_NEAR(robust.covariance(0, 1) / robust.covariance(0, 0), 0.5, 0.2);
    EXPECT_NEAR(robust.covariance(0, 1) / robust.covariance(1, 1), 1, 0.3);
    EXPECT_EQ(robust.covariance(0, 1), robust.covariance(1, 0));
    const auto same = ozk::robust_covariance(by_component, 2, ozk::Layout::by_component);
    EXPECT_EQ(same.covariance, robust.covariance);
    EXPECT_NE(ozk::robust_covariance(x, 2, ozk::Layout::by_observation, {.breakdown = 0.3}).mean,
              robust.mean);

    EXPECT_EQ(ozk::outliers(x, 2), bad);
    EXPECT_EQ(ozk::outliers(by_component, 2, ozk::Layout::by_component), bad);
    const auto weights = ozk::outlier_weights(x, 2);
    EXPECT_EQ(std::count(weights.begin(), weights.end(), 1), 300);
    EXPECT_TRUE(ozk::outliers(x, 2, ozk::Layout::by_observation, 0).empty());

    const auto d = robust.distances(x);
    const ozk::matrix& s = robust.covariance;
    const double determinant = s(0, 0) * s(1, 1) - s(1, 0) * s(1, 0);
    for (size_t j = 0; j < 400; ++j) {
        const double u = x[2 * j] - robust.mean[0], v = x[2 * j + 1] - robust.mean[1];
        const double form = (s(1, 1) * u * u - 2 * s(1, 0) * u * v + s(0, 0) * v * v) / determinant;
        EXPECT_NEAR(d[j], std::sqrt(form), 1e-12 * d[j]);
        EXPECT_EQ(d[j] > 6, j % 4 == 3);
    }
    EXPECT_EQ(robust.distances(by_component, ozk::Layout::by_component), d);
}

TEST(RobustStatistics, RefuseWhatTheyCannotUse) {
    const std::vector<double> x = {1, 2, 3, 5, 4, 4, 7, 9, 2, 2}, same(40, 1);
    refused(kOzkCodeSize, [&] { ozk::robust_covariance(x, 5); });
    refused(kOzkCodeSize, [&] { ozk::outliers(x, 5); });
    refused(kOzkCodeArgument, [&] { ozk::outliers(x, 1, ozk::Layout::by_observation, 1.5); });
    refused(kOzkStatsErrorSingularCovariance, [&] { ozk::robust_covariance(same, 2); });
    refused(kOzkStatsErrorSingularCovariance, [&] { ozk::outliers(same, 2); });
    for (const ozk::robust_options& wrong : {ozk::robust_options{.breakdown = 0},
                                             {.breakdown = 0.6},
                                             {.rejection = 1},
                                             {.accuracy = 0},
                                             {.iterations = -1}})
        refused(kOzkCodeArgument, [&] { ozk::robust_covariance(x, 1, ozk::Layout::by_observation, wrong); });
    ozk::matrix indefinite(2, 2);
    indefinite(0, 0) = 1;
    indefinite(1, 1) = -1;
    const std::vector<double> mean = {0, 0};
    refused(kOzkStatsErrorSingularCovariance, [&] { ozk::mahalanobis_distances(x, mean, indefinite); });
    refused(kOzkCodeSize, [&] { ozk::mahalanobis_distances(x, mean, ozk::matrix(3, 3)); });
    EXPECT_EQ(ozk_status_code(ozk_d_outlier_weights(1, 10, x.data(), kOzkByComponent, 0.05, nullptr)),
              kOzkCodeNull);
    EXPECT_EQ(
        ozk_status_code(ozk_d_mahalanobis(1, 10, x.data(), kOzkByComponent, nullptr, x.data(), nullptr)),
        kOzkCodeNull);
}

// Two columns of which the second follows the first and has holes at the end, where the first is large: its mean has
// a closed form, and the copies keep to it.
TEST(SampleStatistics, MissingValuesAreEstimatedAndDrawn) {
    std::mt19937 random(3);
    std::normal_distribution<double> noise;
    constexpr size_t kRows = 400, kObserved = 300;
    std::vector<double> x, columns(2 * kRows);
    for (size_t j = 0; j < kRows; ++j) {
        x.push_back(0.01 * static_cast<double>(j));
        x.push_back(j < kObserved ? 3 + 2 * x[2 * j] + 0.1 * noise(random) : NAN);
    }
    for (size_t k = 0; k < x.size(); ++k) columns[k % 2 * kRows + k / 2] = x[k];
    double mx = 0, my = 0, xx = 0, xy = 0;
    for (size_t j = 0; j < kObserved; ++j) mx += x[2 * j] / kObserved, my += x[2 * j + 1] / kObserved;
    for (size_t j = 0; j < kObserved; ++j) {
        xx += (x[2 * j] - mx) * (x[2 * j] - mx);
        xy += (x[2 * j] - mx) * (x[2 * j + 1] - my);
    }
    const double closed = my + xy / xx * (1.995 - mx);
    const auto estimate = ozk::incomplete_covariance(x, 2);
    EXPECT_NEAR(estimate.mean[0], 1.995, 1e-12);
    EXPECT_NEAR(estimate.mean[1], closed, 1e-6);
    EXPECT_NEAR(estimate.covariance(0, 1) / estimate.covariance(0, 0), xy / xx, 1e-6);
    EXPECT_EQ(estimate.covariance(1, 0), estimate.covariance(0, 1));

    const auto copies = ozk::impute(x, 2);
    ASSERT_EQ(copies.size(), 5u);
    for (const auto& copy : copies) {
        double mean = 0;
        for (size_t k = 0; k < x.size(); ++k) {
            EXPECT_TRUE(copy[k] == x[k] || std::isnan(x[k]));
            if (k % 2) mean += copy[k] / kRows;
        }
        EXPECT_NEAR(mean, closed, 0.03);  // some standard errors
        EXPECT_NEAR(copy[2 * 399 + 1], 3 + 2 * 3.99, 0.6);
    }
    EXPECT_NE(copies[0], copies[1]);
    EXPECT_EQ(ozk::impute(x, 2), copies);
    const auto by_component = ozk::impute(columns, 2, ozk::Layout::by_component);
    for (size_t k = 0; k < x.size(); ++k) EXPECT_EQ(by_component[4][k % 2 * kRows + k / 2], copies[4][k]);

    const std::vector<double> whole = {1, 2, 4, 3, 1, 7};
    EXPECT_EQ(ozk::impute(whole, 2, ozk::Layout::by_observation, {.copies = 2})[1], whole);
    std::vector<double> bad = x;
    bad[6] = INFINITY;
    refused(kOzkStatsErrorObservations, [&] { ozk::impute(bad, 2); });
    refused(kOzkStatsErrorObservationCount, [&] { ozk::incomplete_covariance(whole, 3); });
    refused(kOzkCodeArgument, [&] { ozk::impute(x, 2, ozk::Layout::by_observation, {.copies = 0}); });
    refused(kOzkCodeArgument, [&] { ozk::impute(x, 2, ozk::Layout::by_observation, {.iterations = -1}); });
    refused(kOzkCodeArgument,
            [&] { ozk::incomplete_covariance(x, 2, ozk::Layout::by_observation, {.accuracy = NAN}); });
    refused(kOzkCodeSize, [&] { ozk::impute(x, 3); });
}

TEST(SampleStatistics, RefuseWhatTheyCannotUse) {
    const std::vector<double> x = {1, 2, 3, 4}, none, half = {0.5}, beyond = {0.5, 1.5}, negative = {1, -1};
    const auto bad_layout = static_cast<ozk::Layout>(7);
    refused(kOzkCodeSize, [&] { ozk::describe(none); });
    refused(kOzkCodeSize, [&] { ozk::describe(x, 3); });
    refused(kOzkCodeSize, [&] { ozk::describe(x, 0); });
    refused(kOzkCodeArgument, [&] { ozk::describe(x, 2, bad_layout); });
    refused(kOzkCodeSize, [&] { ozk::quantiles(x, none); });
    refused(kOzkCodeArgument, [&] { ozk::quantiles(x, beyond); });
    refused(kOzkCodeSize, [&] { ozk::weighted_median(x, half, 2); });
    refused(kOzkCodeArgument, [&] { ozk::weighted_median(x, negative, 2); });
    const std::vector<int64_t> groups = {0, -1};
    refused(kOzkStatsErrorGroupIndices, [&] { ozk::pooled_covariance(x, groups, 2); });
    EXPECT_EQ(ozk_status_code(ozk_d_describe(1, 4, x.data(), kOzkByComponent, nullptr)), kOzkCodeNull);
    EXPECT_EQ(ozk_status_code(ozk_d_sort(1, 4, nullptr, kOzkByComponent, nullptr)), kOzkCodeNull);
}

}  // namespace
