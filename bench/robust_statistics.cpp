// Robust covariance, outlier detection and Mahalanobis distances on one thread. No library of the distribution has the
// first two: their peers are written out with Eigen here, the outliers by the same algorithm, the robust covariance by
// what each of its iterations cannot do without.

#include "bench/robust_statistics.hpp"

#include <Eigen/Cholesky>
#include <Eigen/Core>
#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <random>

#include "ozk_core.h"
#include "ozk_stats.h"

namespace ozk::bench {
namespace {

using Eigen::MatrixXd;
using Eigen::VectorXd;

// p components, by observation, a tenth of the observations far off; the results; and the operands of the distances.
struct Points {
    int64_t p, n, storage = kOzkStatsByObservation, full = kOzkStatsMatrixFull;
    std::vector<double> x, mean, covariance, inverse, weights, distances;
    double quantile;  // of chi-square at 1 - 0.05 / n, from the library

    Points(int64_t components, int64_t observations) : p(components), n(observations) {
        std::mt19937_64 engine(1);
        std::normal_distribution<double> normal(3, 2);
        for (int64_t j = 0; j < n; ++j)
            for (int64_t i = 0; i < p; ++i) x.push_back(normal(engine) + (j % 10 == 0 ? 40 : 0));
        const auto size = static_cast<size_t>(p);
        mean.assign(size, 3);
        covariance.resize(size * size);
        inverse.resize(size * size);
        for (size_t i = 0; i < size; ++i)
            for (size_t k = 0; k < size; ++k) inverse[i * size + k] = i == k ? 0.3 : 0.01;
        weights.resize(static_cast<size_t>(n));
        distances.resize(static_cast<size_t>(n));
        const auto icdf = kernel<decltype(__vsldChi2ICDF)>("__vsldChi2ICDF");
        quantile = icdf ? icdf(1 - 0.05 / static_cast<double>(n), static_cast<double>(p)) : 0;
    }
    Eigen::Map<const MatrixXd> matrix() const { return {x.data(), p, n}; }  // an observation a column
};
using Shared = std::shared_ptr<Points>;

template <class Function>
std::vector<Contender> ours(const Shared& points, const char* name, uint32_t method) {
    const auto create = kernel<decltype(__vsldSSNewTask)>("__vsldSSNewTask");
    const auto robust = kernel<decltype(__vsldSSEditRCov)>("__vsldSSEditRCov");
    const auto outliers = kernel<decltype(__vsldSSEditOutDetect)>("__vsldSSEditOutDetect");
    const auto remove = kernel<decltype(__vslSSDeleteTask)>("__vslSSDeleteTask");
    const auto compute = kernel<Function>(name);
    OzkStatsTask* made = nullptr;
    Points& v = *points;
    if (!create || !robust || !outliers || !remove || !compute) return {};
    if (create(&made, &v.p, &v.n, &v.storage, v.x.data(), nullptr, nullptr, 1) != kOzkStatsOk) return {};
    const std::shared_ptr<OzkStatsTask> task(made, [points, remove](OzkStatsTask* t) { remove(&t); });
    robust(made, &v.full, nullptr, nullptr, v.mean.data(), v.covariance.data());
    outliers(made, nullptr, nullptr, v.weights.data());
    made->distance_sizes[0] = &v.n;
    made->distance_sizes[1] = &v.p;
    made->distance_centre = v.mean.data();
    made->distance_inverse_covariance = v.inverse.data();
    made->distances = v.distances.data();
    // Room for 64 differences at a time.
    const auto work = std::make_shared<std::vector<double>>(static_cast<size_t>(64 * v.p));
    const auto work_size = std::make_shared<int64_t>(64 * v.p);
    made->distance_work = work->data();
    made->distance_work_size = work_size.get();
    if (compute(made, 0, method, nullptr) != kOzkStatsOk) return {};
    return {{"ours", [=] {
                 (void)work, (void)work_size;
                 compute(task.get(), 0, method, nullptr);
             }}};
}

Contender contender(const char* name, const Shared& points, void (*run)(Points&)) {
    return {name, [points, run] {
                run(*points);
                keep(points->distances.data());
            }};
}

void square_distances(Points& v, const VectorXd& mean, const MatrixXd& covariance) {
    const Eigen::LLT<MatrixXd> factor(covariance);
    MatrixXd z = v.matrix().colwise() - mean;
    factor.matrixL().solveInPlace(z);
    Eigen::Map<Eigen::RowVectorXd>(v.distances.data(), v.n) = z.colwise().squaredNorm();
}

void eigen_distances(Points& v) {
    const MatrixXd z = v.matrix().colwise() - Eigen::Map<const VectorXd>(v.mean.data(), v.p);
    const Eigen::Map<const MatrixXd> inverse(v.inverse.data(), v.p, v.p);
    Eigen::Map<Eigen::RowVectorXd>(v.distances.data(), v.n) =
        (inverse.selfadjointView<Eigen::Lower>() * z).cwiseProduct(z).colwise().sum();
}

// Mean and covariance of all observations and the distances under them.
void eigen_step(Points& v) {
    const VectorXd mean = v.matrix().rowwise().mean();
    const MatrixXd centred = v.matrix().colwise() - mean;
    MatrixXd covariance = MatrixXd::Zero(v.p, v.p);
    covariance.selfadjointView<Eigen::Lower>().rankUpdate(centred, 1.0 / static_cast<double>(v.n - 1));
    square_distances(v, mean, covariance);
}

void eigen_outliers(Points& v) {
    VectorXd medians(v.p);
    std::vector<double> values(static_cast<size_t>(v.n));
    for (int64_t i = 0; i < v.p; ++i) {
        for (int64_t j = 0; j < v.n; ++j) values[static_cast<size_t>(j)] = v.matrix()(i, j);
        std::nth_element(values.begin(), values.begin() + v.n / 2, values.end());
        medians(i) = values[static_cast<size_t>(v.n / 2)];
    }
    Eigen::Map<Eigen::RowVectorXd>(v.distances.data(), v.n) =
        (v.matrix().colwise() - medians).colwise().squaredNorm();
    std::vector<int64_t> subset(static_cast<size_t>(v.n));
    std::iota(subset.begin(), subset.end(), 0);
    std::nth_element(subset.begin(), subset.begin() + 4 * v.p, subset.end(), [&](int64_t a, int64_t b) {
        return v.distances[static_cast<size_t>(a)] < v.distances[static_cast<size_t>(b)];
    });
    subset.resize(static_cast<size_t>(4 * v.p));
    for (size_t before = 0; before != subset.size();) {
        before = subset.size();
        MatrixXd chosen = v.matrix()(Eigen::all, subset);
        const VectorXd mean = chosen.rowwise().mean();
        chosen.colwise() -= mean;
        const double r = static_cast<double>(before), n = static_cast<double>(v.n),
                     p = static_cast<double>(v.p);
        MatrixXd covariance = MatrixXd::Zero(v.p, v.p);
        covariance.selfadjointView<Eigen::Lower>().rankUpdate(chosen, 1 / (r - 1));
        square_distances(v, mean, covariance);
        const double h = std::floor((n + p + 1) / 2);
        const double c = std::max(0.0, (h - r) / (h + r)) + 1 + (p + 1) / (n - p) + 2 / (n - 1 - 3 * p);
        subset.clear();
        for (int64_t j = 0; j < v.n; ++j)
            if (v.distances[static_cast<size_t>(j)] < c * c * v.quantile) subset.push_back(j);
    }
    std::fill(v.weights.begin(), v.weights.end(), 0);
    for (const int64_t j : subset) v.weights[static_cast<size_t>(j)] = 1;
}

}  // namespace

std::vector<Case> robust_statistics_cases() {
    std::vector<Case> all;
    for (const auto [p, n] : {std::pair<int64_t, int64_t>{5, 1000}, {10, 100'000}, {50, 5000}}) {
        const auto points = std::make_shared<Points>(p, n);
        const std::string size = "p=" + std::to_string(p) + " n=" + std::to_string(n);
        const double values = static_cast<double>(p * n);
        all.push_back({"stats/Mahalanobis distances/" + size,
                       values,
                       ours<decltype(_vsldSSMahDistance)>(points, "_vsldSSMahDistance", 0),
                       {contender("Eigen", points, eigen_distances)}});
        all.push_back({"stats/outliers/" + size,
                       values,
                       ours<decltype(_vsldSSOutliersDetection)>(points, "_vsldSSOutliersDetection",
                                                                kOzkStatsOutlierDetection),
                       {contender("Eigen, the same steps", points, eigen_outliers)}});
        all.push_back({"stats/robust covariance/" + size,
                       values,
                       ours<decltype(_vsldSSRobustCovariance)>(points, "_vsldSSRobustCovariance",
                                                               kOzkStatsTranslatedBiweight),
                       {contender("Eigen, covariance and distances once", points, eigen_step)}});
    }
    return all;
}

}  // namespace ozk::bench
