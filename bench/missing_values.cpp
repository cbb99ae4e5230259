// EM over observations with missing values, on one thread.

#include "bench/missing_values.hpp"

#include <Eigen/Cholesky>
#include <Eigen/Core>
#include <cmath>
#include <limits>
#include <memory>
#include <random>

#include "ozk_stats.h"

namespace ozk::bench {
namespace {

constexpr int64_t kSteps = 10;

// Observations of p correlated components, every tenth value missing, and places for parameters and results.
struct Data {
    int64_t p, n, storage = kOzkStatsByObservation, five = 5, estimate_size;
    Eigen::MatrixXd x;  // one observation a column
    std::vector<double> parameters, estimate;
    Eigen::VectorXd mean;
    Eigen::MatrixXd covariance;

    Data(int64_t components, int64_t observations)
        : p(components), n(observations), estimate_size(p + p * (p + 1) / 2), x(p, n) {
        std::mt19937_64 engine(1);
        std::normal_distribution<double> normal(0, 1);
        double missing = 0;
        for (int64_t j = 0; j < n; ++j) {
            const double common = normal(engine);
            for (int64_t i = 0; i < p; ++i) {
                x(i, j) = common + normal(engine);
                if (engine() % 10 != 0) continue;
                x(i, j) = std::numeric_limits<double>::quiet_NaN();
                ++missing;
            }
        }
        parameters = {kSteps, 0, 0, 1, missing};
        estimate.resize(static_cast<size_t>(estimate_size));
    }
};
using Shared = std::shared_ptr<Data>;

std::vector<Contender> ours(const Shared& data) {
    const auto create = kernel<decltype(__vsldSSNewTask)>("__vsldSSNewTask");
    const auto edit = kernel<decltype(__vsldSSEditMissingVals)>("__vsldSSEditMissingVals");
    const auto remove = kernel<decltype(__vslSSDeleteTask)>("__vslSSDeleteTask");
    const auto compute = kernel<decltype(_vsldSSMissingValues)>("_vsldSSMissingValues");
    OzkStatsTask* made = nullptr;
    if (!create || !edit || !remove || !compute) return {};
    Data& d = *data;
    constexpr int32_t kWideIntegers = 1;
    if (create(&made, &d.p, &d.n, &d.storage, d.x.data(), nullptr, nullptr, kWideIntegers) != kOzkStatsOk)
        return {};
    const std::shared_ptr<OzkStatsTask> task(made, [remove](OzkStatsTask* t) { remove(&t); });
    edit(made, &d.five, d.parameters.data(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
         &d.estimate_size, d.estimate.data());
    if (compute(made, kOzkStatsMissingValues, 0, nullptr) != kOzkStatsOk) return {};
    return {{"ours", [=] { compute(task.get(), kOzkStatsMissingValues, 0, nullptr); }}};
}

// The textbook's loop: each observation's regression from the Cholesky factor of what it observes.
void eigen_em(Data& d) {
    d.mean = Eigen::VectorXd::Zero(d.p);
    d.covariance = Eigen::MatrixXd::Identity(d.p, d.p);
    std::vector<Eigen::Index> there, gone;
    for (int64_t step = 0; step < kSteps; ++step) {
        Eigen::VectorXd sum = Eigen::VectorXd::Zero(d.p), completed(d.p);
        Eigen::MatrixXd products = Eigen::MatrixXd::Zero(d.p, d.p);
        for (int64_t j = 0; j < d.n; ++j) {
            there.clear();
            gone.clear();
            for (int64_t i = 0; i < d.p; ++i) (std::isnan(d.x(i, j)) ? gone : there).push_back(i);
            completed = d.x.col(j);
            if (!gone.empty()) {
                const Eigen::LLT<Eigen::MatrixXd> factor(d.covariance(there, there));
                const Eigen::MatrixXd across = d.covariance(there, gone);
                const Eigen::MatrixXd weights = factor.solve(across);
                completed(gone) = d.mean(gone) + weights.transpose() * (completed(there) - d.mean(there));
                products(gone, gone) += d.covariance(gone, gone) - across.transpose() * weights;
            }
            sum += completed;
            products.selfadjointView<Eigen::Lower>().rankUpdate(completed);
        }
        const double n = static_cast<double>(d.n);
        d.mean = sum / n;
        d.covariance = products.selfadjointView<Eigen::Lower>();
        d.covariance = d.covariance / n - d.mean * d.mean.transpose();
    }
}

}  // namespace

std::vector<Case> missing_values_cases() {
    const auto data = std::make_shared<Data>(10, 10'000);
    return {{"stats/ten steps of EM, a tenth missing/p=10 n=10000",
             1e6,
             ours(data),
             {{"Eigen, observation by observation", [data] {
                   eigen_em(*data);
                   keep(data->mean.data());
               }}}}};
}

}  // namespace ozk::bench
