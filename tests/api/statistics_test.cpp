// Statistics and the Cholesky factor through the application interface.

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "ozk/ozk.hpp"
#include "ozk_df.h"
#include "refusal.hpp"

namespace {

using ozk::Estimate;
using ozk::Family;

constexpr size_t kComponents = 3;
constexpr size_t kObservations = 5000;
constexpr Estimate kAll =
    Estimate::mean | Estimate::raw_moment_2 | Estimate::central_moment_2 | Estimate::central_moment_3 |
    Estimate::kurtosis | Estimate::skewness | Estimate::variation | Estimate::sum | Estimate::raw_sum_3 |
    Estimate::central_sum_2 | Estimate::covariance | Estimate::correlation | Estimate::cross_product;

struct Data {
    std::vector<double> x = std::vector<double>(kComponents * kObservations);  // by observation
    std::vector<double> weights = std::vector<double>(kObservations);

    Data() {
        std::mt19937 random(5);
        std::exponential_distribution<double> draw(0.5);
        for (size_t j = 0; j < kObservations; ++j) {
            const double common = draw(random);
            for (size_t i = 0; i < kComponents; ++i)
                x[j * kComponents + i] = 100 + common + draw(random) * double(i + 1);
            weights[j] = 0.5 + draw(random);
        }
    }
    // sum w f(observation), in long double.
    template <class F>
    long double total(F f) const {
        long double sum = 0;
        for (size_t j = 0; j < kObservations; ++j) sum += weights[j] * f(&x[j * kComponents], weights[j]);
        return sum;
    }
};

TEST(Statistics, MatchTheirDefinitionsInOnePortionOrMany) {
    const Data data;
    const std::span<const double> x(data.x), weights(data.weights);
    ozk::statistics whole(kComponents, kAll), portions(kComponents, kAll);
    whole.add(x, weights);
    std::vector<double> by_component;
    for (size_t first = 0, count = 1; first < kObservations;
         first += count, count = std::min(3 * count, kObservations - first)) {
        // Every portion in the other layout.
        by_component.resize(count * kComponents);
        for (size_t i = 0; i < kComponents; ++i)
            for (size_t j = 0; j < count; ++j) by_component[i * count + j] = x[(first + j) * kComponents + i];
        portions.add(by_component, weights.subspan(first, count), ozk::Layout::by_component);
    }

    const long double total = data.total([](auto, auto) { return 1.0L; });
    const long double squares = data.total([](auto, double w) { return static_cast<long double>(w); });
    for (const ozk::statistics* statistics : {&whole, &portions}) {
        const ozk::matrix covariance = statistics->covariance(), correlation = statistics->correlation();
        EXPECT_NEAR(statistics->weight(), double(total), 1e-9);
        for (size_t i = 0; i < kComponents; ++i) {
            const long double mean =
                data.total([&](auto* o, auto) { return static_cast<long double>(o[i]); }) / total;
            const auto central = [&](int order) {
                return data.total([&](auto* o, auto) { return std::pow(o[i] - mean, order); }) / total;
            };
            const auto expect = [&](Estimate estimate, long double expected) {
                const double got = statistics->vector(estimate)[i];
                EXPECT_NEAR(got, double(expected), 1e-11 * std::fabs(double(expected)))
                    << static_cast<uint64_t>(estimate);
            };
            expect(Estimate::mean, mean);
            expect(Estimate::sum, mean * total);
            expect(Estimate::raw_moment_2,
                   data.total([&](auto* o, auto) { return (long double)o[i] * o[i]; }) / total);
            expect(Estimate::central_moment_2, central(2));
            expect(Estimate::central_moment_3, central(3));
            expect(Estimate::central_sum_2, central(2) * total);
            expect(Estimate::skewness, central(3) / std::pow(central(2), 1.5L));
            expect(Estimate::kurtosis, central(4) / (central(2) * central(2)) - 3);
            expect(Estimate::variation, std::sqrt(central(2)) / mean);
            EXPECT_NEAR(statistics->variance()[i], covariance(i, i), 1e-12 * covariance(i, i));
            for (size_t k = 0; k < kComponents; ++k) {
                const long double other =
                    data.total([&](auto* o, auto) { return static_cast<long double>(o[k]); }) / total;
                const long double product =
                    data.total([&](auto* o, auto) { return (o[i] - mean) * (o[k] - other); });
                EXPECT_NEAR(statistics->cross_product()(i, k), double(product), 1e-11 * double(product));
                EXPECT_NEAR(covariance(i, k), double(product / (total - squares / total)), 1e-10);
                EXPECT_NEAR(correlation(i, k),
                            covariance(i, k) / std::sqrt(covariance(i, i) * covariance(k, k)), 1e-12);
            }
        }
    }
}

TEST(Statistics, HaveTheSameBitsForAnyThreads) {
    const Data data;
    std::vector<double> x;  // long enough for threads
    for (int repeat = 0; repeat < 30; ++repeat) x.insert(x.end(), data.x.begin(), data.x.end());
    const auto covariance = [&](int threads) {
        ozk::set_threads(threads);
        const ozk::statistics s(x, kComponents, kAll);
        ozk::set_threads(0);
        return std::pair(s.covariance(), s.vector(Estimate::kurtosis));
    };
    const auto serial = covariance(1);
    for (const int threads : {2, 3, 8}) EXPECT_EQ(covariance(threads), serial) << threads;
}

TEST(Statistics, RefusesWithoutChangingWhatWasAdded) {
    const auto refused = [](int32_t code, auto&& call) { expect_refused(Family::statistics, code, call); };
    refused(kOzkCodeSize, [] { ozk::statistics(0, Estimate::mean); });
    refused(kOzkCodeArgument, [] { ozk::statistics(1, static_cast<Estimate>(0)); });
    refused(kOzkCodeArgument, [] { ozk::statistics(1, static_cast<Estimate>(uint64_t{1} << 50)); });

    ozk::statistics s(2, Estimate::mean | Estimate::covariance);
    EXPECT_TRUE(std::isnan(s.mean()[0]));
    const std::vector<double> x = {1, 2, 3, 5}, odd = {1, 2, 3}, weights = {1, -1}, none;
    s.add(x);
    const auto mean = s.mean();
    const auto covariance = s.covariance();
    refused(kOzkCodeSize, [&] { s.add(odd); });
    refused(kOzkCodeSize, [&] { s.add(none); });
    refused(kOzkCodeSize, [&] { s.add(x, odd); });
    refused(kOzkCodeArgument, [&] { s.add(x, weights); });
    refused(kOzkCodeArgument, [&] { s.add(x, static_cast<ozk::Layout>(7)); });
    refused(kOzkCodeArgument, [&] { s.sum(); });
    refused(kOzkCodeArgument, [&] { s.vector(Estimate::covariance); });
    refused(kOzkCodeArgument, [&] { s.matrix(Estimate::mean); });
    EXPECT_EQ(s.mean(), mean);
    EXPECT_EQ(s.covariance(), covariance);
    EXPECT_EQ(s.weight(), 2);
}

// ---- The Cholesky factor ------------------------------------------------------------------------------

TEST(Cholesky, GivesTheMatrixBackAndRefusesOthers) {
    constexpr size_t kOrder = 60;
    std::mt19937 random(3);
    std::normal_distribution<double> draw;
    ozk::matrix root(kOrder, kOrder), a(kOrder, kOrder);
    for (double& each : root.values()) each = draw(random);
    for (size_t i = 0; i < kOrder; ++i)
        for (size_t j = 0; j <= i; ++j) {
            for (size_t k = 0; k < kOrder; ++k) a(i, j) += root(i, k) * root(j, k);
            if (i != j) a(j, i) = NAN;  // above the diagonal nothing is read
        }
    const ozk::matrix l = ozk::cholesky(a);
    for (size_t i = 0; i < kOrder; ++i)
        for (size_t j = 0; j < kOrder; ++j) {
            if (j > i) {
                EXPECT_EQ(l(i, j), 0);
                continue;
            }
            double product = 0;
            for (size_t k = 0; k <= j; ++k) product += l(i, k) * l(j, k);
            EXPECT_NEAR(product, a(i, j), 1e-12 * kOrder);
        }
    a(7, 7) = -1;
    const ozk::matrix before = l;
    ozk::matrix out = l;
    EXPECT_EQ(ozk_status_code(ozk_d_cholesky(kOrder, a.values().data(), out.values().data())), -8);
    EXPECT_EQ(out, before);
    expect_refused(Family::linear_algebra, -8, [&] { ozk::cholesky(a); });
    expect_refused(Family::linear_algebra, kOzkCodeSize, [] { ozk::cholesky(ozk::matrix(2, 3)); });
    expect_refused(Family::linear_algebra, kOzkCodeSize, [] { ozk::cholesky(ozk::matrix()); });
    EXPECT_EQ(ozk_d_cholesky(1, before.values().data(), out.values().data()), kOzkOk);
}

}  // namespace
