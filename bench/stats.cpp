// Summary statistics on one thread: means and variances, moments and covariances of p components; and the cases of
// bench/order_statistics.cpp, bench/robust_statistics.cpp and bench/missing_values.cpp.

#include <gsl/gsl_statistics_double.h>

#include <Eigen/Core>
#include <cmath>
#include <memory>
#include <random>

#include "bench/driver.hpp"
#include "bench/missing_values.hpp"
#include "bench/order_statistics.hpp"
#include "bench/robust_statistics.hpp"
#include "ozk_core.h"
#include "ozk_stats.h"

namespace ozk::bench {
namespace {

// p components of n observations each, every component contiguous, and places for the results.
struct Data {
    int64_t p, n, storage = kOzkStatsByComponent, full = kOzkStatsMatrixFull;
    std::vector<double> x, mean, raw2, raw3, raw4, central2, central3, central4, covariance;

    Data(int64_t components, int64_t observations)
        : p(components), n(observations), x(static_cast<size_t>(p * n)) {
        std::mt19937_64 engine(1);
        std::normal_distribution<double> normal(3, 2);
        for (double& value : x) value = normal(engine);
        for (auto* v : {&mean, &raw2, &raw3, &raw4, &central2, &central3, &central4})
            v->resize(static_cast<size_t>(p));
        covariance.resize(static_cast<size_t>(p * p));
    }
    const double* component(int64_t i) const { return x.data() + i * n; }
};
using Shared = std::shared_ptr<Data>;

std::vector<Contender> ours(const Shared& data, uint64_t estimates) {
    const auto create = kernel<decltype(__vsldSSNewTask)>("__vsldSSNewTask");
    const auto moments = kernel<decltype(__vsldSSEditMoments)>("__vsldSSEditMoments");
    const auto matrices = kernel<decltype(__vsldSSEditCovCor)>("__vsldSSEditCovCor");
    const auto remove = kernel<decltype(__vslSSDeleteTask)>("__vslSSDeleteTask");
    const auto compute = kernel<decltype(_vsldSSBasic)>("_vsldSSBasic");
    OzkStatsTask* made = nullptr;
    if (!create || !moments || !matrices || !remove || !compute) return {};
    Data& d = *data;
    constexpr int32_t kWideIntegers = 1;
    if (create(&made, &d.p, &d.n, &d.storage, d.x.data(), nullptr, nullptr, kWideIntegers) != kOzkStatsOk)
        return {};
    const std::shared_ptr<OzkStatsTask> task(made, [remove](OzkStatsTask* t) { remove(&t); });
    moments(made, d.mean.data(), d.raw2.data(), d.raw3.data(), d.raw4.data(), d.central2.data(),
            d.central3.data(), d.central4.data());
    matrices(made, d.mean.data(), d.covariance.data(), &d.full, nullptr, nullptr);
    if (compute(made, estimates, kOzkStatsFast, nullptr) != kOzkStatsOk) return {};
    return {{"ours", [=] { compute(task.get(), estimates, kOzkStatsFast, nullptr); }}};
}

Contender contender(const char* name, const Shared& data, void (*run)(Data&)) {
    return {name, [data, run] {
                run(*data);
                keep(data->mean.data());
            }};
}

// ---- Mean and variance.

void gsl_variance(Data& d) {
    for (int64_t i = 0; i < d.p; ++i) {
        const auto k = static_cast<size_t>(i), n = static_cast<size_t>(d.n);
        d.mean[k] = gsl_stats_mean(d.component(i), 1, n);
        d.central2[k] = gsl_stats_variance_m(d.component(i), 1, n, d.mean[k]);
    }
}

// Two passes of Kahan's compensated sum.
void compensated_variance(Data& d) {
    for (int64_t i = 0; i < d.p; ++i) {
        const double* const x = d.component(i);
        const auto sum = [&](auto term) {
            double s = 0, c = 0;
            for (int64_t j = 0; j < d.n; ++j) {
                const double y = term(x[j]) - c, t = s + y;
                c = (t - s) - y;
                s = t;
            }
            return s;
        };
        const double m = sum([](double v) { return v; }) / static_cast<double>(d.n);
        d.mean[static_cast<size_t>(i)] = m;
        d.central2[static_cast<size_t>(i)] =
            sum([m](double v) { return (v - m) * (v - m); }) / static_cast<double>(d.n - 1);
    }
}

void eigen_variance(Data& d) {
    for (int64_t i = 0; i < d.p; ++i) {
        const Eigen::Map<const Eigen::ArrayXd> x(d.component(i), d.n);
        const double m = x.mean();
        d.mean[static_cast<size_t>(i)] = m;
        d.central2[static_cast<size_t>(i)] = (x - m).square().sum() / static_cast<double>(d.n - 1);
    }
}

// One plain pass over the data: what the memory gives.
void eigen_sum(Data& d) {
    for (int64_t i = 0; i < d.p; ++i)
        d.mean[static_cast<size_t>(i)] = Eigen::Map<const Eigen::ArrayXd>(d.component(i), d.n).sum();
}

// ---- Mean and central moments to order 4.

void gsl_moments(Data& d) {
    for (int64_t i = 0; i < d.p; ++i) {
        const auto k = static_cast<size_t>(i), n = static_cast<size_t>(d.n);
        const double m = gsl_stats_mean(d.component(i), 1, n), s = gsl_stats_sd_m(d.component(i), 1, n, m);
        d.mean[k] = m;
        d.central2[k] = s;
        d.central3[k] = gsl_stats_skew_m_sd(d.component(i), 1, n, m, s);
        d.central4[k] = gsl_stats_kurtosis_m_sd(d.component(i), 1, n, m, s);
    }
}

void eigen_moments(Data& d) {
    for (int64_t i = 0; i < d.p; ++i) {
        const Eigen::Map<const Eigen::ArrayXd> x(d.component(i), d.n);
        const auto k = static_cast<size_t>(i);
        const double m = d.mean[k] = x.mean();
        d.central2[k] = (x - m).square().mean();
        d.central3[k] = (x - m).cube().mean();
        d.central4[k] = (x - m).square().square().mean();
    }
}

// ---- Covariance matrix.

void gsl_covariance(Data& d) {
    const auto n = static_cast<size_t>(d.n);
    for (int64_t i = 0; i < d.p; ++i) d.mean[static_cast<size_t>(i)] = gsl_stats_mean(d.component(i), 1, n);
    for (int64_t i = 0; i < d.p; ++i)
        for (int64_t j = 0; j <= i; ++j)
            d.covariance[static_cast<size_t>(i * d.p + j)] =
                gsl_stats_covariance_m(d.component(i), 1, d.component(j), 1, n,
                                       d.mean[static_cast<size_t>(i)], d.mean[static_cast<size_t>(j)]);
}

void eigen_covariance(Data& d) {
    const Eigen::Map<const Eigen::MatrixXd> x(d.x.data(), d.n, d.p);
    const Eigen::MatrixXd centred = x.rowwise() - x.colwise().mean();
    Eigen::Map<Eigen::MatrixXd>(d.covariance.data(), d.p, d.p).noalias() =
        centred.transpose() * centred / static_cast<double>(d.n - 1);
}

// The cross-product of data that would have to be centred first: the floor of this method, on one thread.
void rank_k_update(Data& d) {
    const double one = 1, zero = 0;
    ozk_blas_xdsyrk("L", "T", &d.p, &d.n, &one, d.x.data(), &d.n, &zero, d.covariance.data(), &d.p, 1, 1);
}

Case variance_case(const char* name, int64_t p, int64_t n) {
    const auto data = std::make_shared<Data>(p, n);
    return {std::string("stats/variance/") + name,
            static_cast<double>(p * n),
            ours(data, kOzkStatsMean | kOzkStatsCentralMoment2),
            {contender("GSL", data, gsl_variance), contender("compensated loop", data, compensated_variance),
             contender("Eigen, two passes", data, eigen_variance)}};
}

std::vector<Case> cases() {
    const uint64_t moments =
        kOzkStatsMean | kOzkStatsCentralMoment2 | kOzkStatsCentralMoment3 | kOzkStatsCentralMoment4;
    const uint64_t covariance = kOzkStatsMean | kOzkStatsCovariance;
    const auto long_vector = std::make_shared<Data>(1, 5'000'000), ten = std::make_shared<Data>(10, 10'000);
    const auto hundred = std::make_shared<Data>(100, 2'000), million = std::make_shared<Data>(1, 1'000'000);
    std::vector<Case> all = {
        variance_case("p=1 n=1000", 1, 1000),
        variance_case("p=10 n=10000", 10, 10'000),
        variance_case("p=1 n=5000000", 1, 5'000'000),
        {"stats/variance against memory/p=1 n=1000000",
         1e6,
         ours(million, kOzkStatsMean | kOzkStatsCentralMoment2),
         {contender("Eigen, plain sum", million, eigen_sum)}},
        {"stats/moments to order 4 against variance/p=1 n=1000000",
         1e6,
         ours(million, moments),
         {contender("Eigen, plain sum", million, eigen_sum),
          {"our variance", ours(million, kOzkStatsMean | kOzkStatsCentralMoment2).front().run}}},
        {"stats/mean against memory/p=1 n=5000000",
         5e6,
         ours(long_vector, kOzkStatsMean),
         {contender("Eigen, plain sum", long_vector, eigen_sum)}},
        {"stats/moments to order 4/p=10 n=10000",
         1e5,
         ours(ten, moments),
         {contender("GSL", ten, gsl_moments), contender("Eigen", ten, eigen_moments)}},
        {"stats/covariance/p=10 n=10000",
         1e5,
         ours(ten, covariance),
         {contender("GSL", ten, gsl_covariance), contender("Eigen", ten, eigen_covariance),
          contender("dsyrk alone", ten, rank_k_update)}},
        {"stats/covariance/p=100 n=2000",
         2e5,
         ours(hundred, covariance),
         {contender("Eigen", hundred, eigen_covariance), contender("dsyrk alone", hundred, rank_k_update)}},
    };
    for (Case& c : order_statistics_cases()) all.push_back(std::move(c));
    for (Case& c : robust_statistics_cases()) all.push_back(std::move(c));
    for (Case& c : missing_values_cases()) all.push_back(std::move(c));
    return all;
}

std::vector<Section> run(const std::string& filter, bool planned) {
    return {{"stats", comparison(matching(cases(), filter, planned), "value")}};
}

}  // namespace

Family stats_family() { return {"stats", names_of<cases>, run}; }

}  // namespace ozk::bench
