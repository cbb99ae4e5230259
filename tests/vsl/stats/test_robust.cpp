// Robust covariance and outlier detection: published data, an independent optimum, what defines the estimates, and
// what contamination, affine maps and threads must not change.
#include "published_data.hpp"
#include "sample_problem.hpp"
#include "tests/vsl/allocator.hpp"

namespace {

using namespace ozk::stats::test;

template <class Real>
class StatsRobust : public testing::Test {};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(StatsRobust, Reals);

// Observations, p values each, and what a call of the estimators makes of them.
template <class Real>
struct Robust {
    int64_t p, n;
    std::vector<Real> x;
    int64_t storage = kOzkStatsByObservation, matrix = kOzkStatsMatrixFull;
    std::vector<int64_t> indices = {};
    std::vector<Real> parameters = {};
    const OzkThreading* threading = nullptr;
    bool wide = true;
    std::vector<Real> mean = {}, covariance = {}, weights = {};  // results

    template <size_t N, size_t P>
    static Robust of(const double (&data)[N][P]) {
        Robust robust = {P, N, {}};
        for (const auto& row : data) robust.x.insert(robust.x.end(), row, row + P);
        return robust;
    }
    void give(TaskOf<Real>& task, std::vector<Real>& layout) const {
        layout = x;
        if (storage == kOzkStatsByComponent)
            for (int64_t i = 0; i < p; ++i)
                for (int64_t j = 0; j < n; ++j) layout[i * n + j] = x[j * p + i];
        task.integers(kOzkStatsIdObservationCount, {n}).integers(kOzkStatsIdObservationStorage, {storage});
        task.set(kOzkStatsIdObservations, layout);
        if (!indices.empty()) task.integers(kOzkStatsIdIndices, indices);
    }
    int estimate() {
        TaskOf<Real> task(p, wide);
        std::vector<Real> layout;
        give(task, layout);
        mean.assign(p, Real(kUntouchedValue));
        covariance.assign(matrix == kOzkStatsMatrixFull ? p * p : p * (p + 1) / 2, Real(kUntouchedValue));
        task.set(kOzkStatsIdRobustMean, mean).set(kOzkStatsIdRobustCovariance, covariance);
        task.integers(kOzkStatsIdRobustCovarianceStorage, {matrix});
        if (!parameters.empty())
            task.set(kOzkStatsIdRobustParameters, parameters)
                .integers(kOzkStatsIdRobustParameterCount, {int64_t(parameters.size())});
        return Kernels<Real>::robust(task.task, kOzkStatsRobustCovariance, kOzkStatsTranslatedBiweight,
                                     threading);
    }
    int detect() {
        TaskOf<Real> task(p, wide);
        std::vector<Real> layout;
        give(task, layout);
        weights.assign(n, Real(kUntouchedValue));
        task.set(kOzkStatsIdOutlierWeights, weights);
        if (!parameters.empty())
            task.set(kOzkStatsIdOutlierParameters, parameters)
                .integers(kOzkStatsIdOutlierParameterCount, {int64_t(parameters.size())});
        return Kernels<Real>::outliers(task.task, kOzkStatsOutliers, kOzkStatsOutlierDetection, threading);
    }
    std::vector<int> outliers() const {  // counted from 1, as publications do
        std::vector<int> found;
        for (int64_t j = 0; j < n; ++j) {
            EXPECT_TRUE(weights[j] == 0 || weights[j] == 1);
            if (weights[j] == 0) found.push_back(int(j) + 1);
        }
        return found;
    }
    // Element of the full covariance.
    double s(int64_t i, int64_t k) const { return double(covariance[i * p + k]); }
    // Mahalanobis distances under the estimate.
    std::vector<double> distances() const {
        std::vector<double> inverse(covariance.begin(), covariance.end()), d;
        EXPECT_EQ(__vsldInvCov(p, inverse.data()), 0);
        for (int64_t j = 0; j < n; ++j) {
            double form = 0;
            for (int64_t i = 0; i < p; ++i)
                for (int64_t k = 0; k <= i; ++k)
                    form += (i == k ? 1 : 2) * inverse[k * p + i] * (double(x[j * p + i]) - double(mean[i])) *
                            (double(x[j * p + k]) - double(mean[k]));
            d.push_back(std::sqrt(form));
        }
        return d;
    }
};

template <class Real>
Robust<Real> normal_data(int64_t p, int64_t n, int seed) {
    std::mt19937_64 random(seed);
    std::normal_distribution<double> normal;
    Robust<Real> robust = {p, n, {}};
    for (int64_t k = 0; k < p * n; ++k) robust.x.push_back(Real(normal(random)));
    return robust;
}

std::vector<int> up_to(int last) {
    std::vector<int> numbers(last);
    std::iota(numbers.begin(), numbers.end(), 1);
    return numbers;
}

TYPED_TEST(StatsRobust, FindsTheOutliersOfPublishedData) {
    auto hbk = Robust<TypeParam>::of(kHawkinsBraduKass);
    for (const double start : {1.0, 2.0}) {
        hbk.parameters = {TypeParam(start), TypeParam(0.05), TypeParam(0.005)};
        ASSERT_EQ(hbk.detect(), 0);
        EXPECT_EQ(hbk.outliers(), up_to(14)) << start;
    }
    hbk.parameters.clear();
    ASSERT_EQ(hbk.estimate(), 0);
    const auto d = hbk.distances();
    for (int j = 0; j < 75; ++j) EXPECT_EQ(d[j] > std::sqrt(__vsldChi2ICDF(0.999, 4)), j < 14) << j + 1;

    auto animals = Robust<TypeParam>::of(kAnimals);
    for (auto& value : animals.x) value = std::log10(value);
    ASSERT_EQ(animals.detect(), 0);
    EXPECT_EQ(animals.outliers(), (std::vector<int>{6, 16, 25}));
    ASSERT_EQ(animals.estimate(), 0);
    const auto far = animals.distances();
    for (int j = 0; j < 28; ++j) EXPECT_EQ(far[j] > 5, j == 5 || j == 15 || j == 24) << j + 1;
}

// The optimum of the same objective by another program: NumPy and SciPy's adaptive quadrature and root finding, 500
// random starts. Here M = 0: in three dimensions the breakdown point leaves no room for the rejection probability.
TEST(StatsRobustOptimum, IsThatOfAnIndependentSearch) {
    auto stack = Robust<double>::of(kStackLoss);
    stack.parameters = {0.5, 0.001, 1e-12, 1000};
    ASSERT_EQ(stack.estimate(), 0);
    const double mean[] = {59.3216592, 20.86761235, 86.48478535};
    const double covariance[] = {72.1110225, 19.73798399, 21.44007837, 19.73798399, 10.29719717,
                                 6.46528067, 21.44007837, 6.46528067,  27.20384711};
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(stack.mean[i], mean[i], 1e-7);
    for (int e = 0; e < 9; ++e) EXPECT_NEAR(stack.covariance[e], covariance[e], 1e-7);
}

// M and c as the header says they are found, by sums over fine grids.
struct Weighting {
    double m, c;
    double weight(double d) const {
        const double u = c > 0 ? (d - m) / c : 0;
        return d <= m ? 1 : d >= m + c ? 0 : (1 - u * u) * (1 - u * u);
    }
    double rho(double d) const {
        double sum = 0;
        const double end = std::min(d, m + c), h = end / 2000;
        for (int k = 0; k < 2000; ++k) sum += h * (k + 0.5) * h * weight((k + 0.5) * h);
        return sum;
    }
    double normal_share(double p) const {
        double sum = 0;
        const double h = (m + c) / 4000;
        for (int k = 0; k < 4000; ++k) {
            const double t = (k + 0.5) * h;
            sum += h * t * weight(t) * (1 - __vsldChi2CDF(t * t, p));
        }
        return sum / rho(m + c);
    }
};

// In 5 dimensions both wishes can be met; the estimate then satisfies the constraint and its own equations.
TEST(StatsRobustOptimum, SatisfiesItsEquations) {
    auto robust = normal_data<double>(5, 300, 4);
    for (int64_t j = 0; j < 60; ++j) robust.x[j * 5] += 50;
    const double b = 0.4, a = 0.01;
    robust.parameters = {b, a, 1e-11, 1000};
    ASSERT_EQ(robust.estimate(), 0);
    const double limit = std::sqrt(__vsldChi2ICDF(1 - a, 5));
    double low = 0, high = limit;
    for (int k = 0; k < 40; ++k) {
        const double middle = (low + high) / 2;
        (Weighting{middle, limit - middle}.normal_share(5) > b ? low : high) = middle;
    }
    const Weighting w = {low, limit - low};
    ASSERT_GT(w.m, 0.1);
    ASSERT_GT(w.c, 0.1);
    const auto d = robust.distances();
    double rho = 0, total = 0, v = 0, mean[5] = {}, cross[5][5] = {};
    for (int64_t j = 0; j < 300; ++j) {
        rho += w.rho(d[j]) / 300;
        total += w.weight(d[j]);
        v += w.weight(d[j]) * d[j] * d[j];
        for (int i = 0; i < 5; ++i) mean[i] += w.weight(d[j]) * robust.x[j * 5 + i];
        for (int i = 0; i < 5; ++i)
            for (int k = 0; k < 5; ++k)
                cross[i][k] += w.weight(d[j]) * (robust.x[j * 5 + i] - robust.mean[i]) *
                               (robust.x[j * 5 + k] - robust.mean[k]);
    }
    EXPECT_NEAR(rho / w.rho(limit), b, 1e-5);
    for (int i = 0; i < 5; ++i) EXPECT_NEAR(mean[i] / total, robust.mean[i], 1e-5);
    for (int i = 0; i < 5; ++i)
        for (int k = 0; k < 5; ++k) EXPECT_NEAR(5 * cross[i][k] / v, robust.s(i, k), 1e-5);
}

TEST(StatsRobustOptimum, EstimatesTheCovarianceOfNormalData) {
    // p = 2: biweight; 6: translated; 40: c = 0. Limits: six standard errors.
    for (const int64_t p : {1, 2, 6, 40}) {
        auto robust = normal_data<double>(p, 20000, int(p));
        for (int64_t j = 0; j < robust.n; ++j) {
            for (int64_t i = p - 1; i > 0; --i) robust.x[j * p + i] += 0.5 * robust.x[j * p + i - 1];
            for (int64_t i = 0; i < p; ++i) robust.x[j * p + i] = 1000 + 3 * robust.x[j * p + i];
        }
        ASSERT_EQ(robust.estimate(), 0);
        for (int64_t i = 0; i < p; ++i) {
            EXPECT_NEAR(robust.mean[i], 1000, 6 * 3.5 / std::sqrt(20000.0 / 3)) << p;
            for (int64_t k = 0; k <= i; ++k) {
                const double sigma = i == k ? (i == 0 ? 9 : 11.25) : i - k == 1 ? (k == 0 ? 4.5 : 4.5) : 0;
                EXPECT_NEAR(robust.s(i, k), sigma, 6 * 16 / std::sqrt(20000.0 / 3))
                    << p << " " << i << " " << k;
            }
        }
    }
}

TEST(StatsRobustOptimum, StaysWhereTheGoodDataAreUnderFortyPercentContamination) {
    for (const int64_t p : {1, 2, 3, 6, 10}) {
        for (const int kind : {0, 1, 2}) {
            auto robust = normal_data<double>(p, 500, int(p) + 10 * kind);
            std::mt19937_64 random(kind);
            std::normal_distribution<double> normal;
            for (int64_t j = 0; j < 200; ++j)
                for (int64_t i = 0; i < p; ++i) {
                    double& x = robust.x[j * p + i];
                    if (kind == 0) x = 1e4 + 0.1 * x;                                 // a cluster
                    if (kind == 1) x = 1e5 * normal(random);                          // all over the place
                    if (kind == 2 && i == p - 1) x = j % 2 ? NAN : double(INFINITY);  // no numbers
                }
            ASSERT_EQ(robust.estimate(), 0) << p << " " << kind;
            for (int64_t i = 0; i < p; ++i) {
                EXPECT_LT(std::fabs(robust.mean[i]), 0.5) << p << " " << kind;
                EXPECT_GT(robust.s(i, i), 0.5) << p << " " << kind;
                EXPECT_LT(robust.s(i, i), 12) << p << " " << kind;
            }
            if (p > 6) continue;
            ASSERT_EQ(robust.detect(), 0);
            const auto found = robust.outliers();
            ASSERT_GE(found.size(), 200u) << p << " " << kind;
            EXPECT_LE(found.size(), 203u);
            EXPECT_TRUE(std::equal(found.begin(), found.begin() + 200, up_to(200).begin()));
        }
    }
}

TEST(StatsRobustOptimum, FollowsAffineMapsOfTheData) {
    auto robust = normal_data<double>(3, 200, 11);
    for (int64_t j = 0; j < 40; ++j) robust.x[3 * j + 1] += 20;
    const double a[3][3] = {{1e6, 0, 0}, {-2, 3e-3, 5}, {1, 0, -0.7}}, shift[3] = {1e8, -3, 0};
    auto mapped = robust;
    for (int64_t j = 0; j < 200; ++j)
        for (int i = 0; i < 3; ++i) {
            mapped.x[3 * j + i] = shift[i];
            for (int k = 0; k < 3; ++k) mapped.x[3 * j + i] += a[i][k] * robust.x[3 * j + k];
        }
    for (auto* each : {&robust, &mapped}) {
        each->parameters = {0.5, 0.001, 1e-12, 1000};
        ASSERT_EQ(each->estimate(), 0);
    }
    for (int i = 0; i < 3; ++i) {
        double mean = shift[i];
        for (int k = 0; k < 3; ++k) mean += a[i][k] * robust.mean[k];
        EXPECT_NEAR(mapped.mean[i], mean, 1e-6 * std::sqrt(mapped.s(i, i)));
        for (int k = 0; k < 3; ++k) {
            double sum = 0;
            for (int q = 0; q < 3; ++q)
                for (int r = 0; r < 3; ++r) sum += a[i][q] * robust.s(q, r) * a[k][r];
            EXPECT_NEAR(mapped.s(i, k), sum, 1e-6 * std::sqrt(mapped.s(i, i) * mapped.s(k, k)));
        }
    }
    robust.parameters.clear();
    ASSERT_EQ(robust.detect(), 0);
    EXPECT_EQ(robust.outliers(), up_to(40));
}

// Layouts, storages, integers, selected components and threads are all one; float is near double.
TYPED_TEST(StatsRobust, LayoutStorageSelectionAndThreadsDoNotMatter) {
    auto plain = normal_data<TypeParam>(4, 9000, 5);
    for (int64_t j = 0; j < 2000; ++j) plain.x[4 * j + j % 4] -= 40;
    ASSERT_EQ(plain.estimate(), 0);
    ASSERT_EQ(plain.detect(), 0);
    const auto found = plain.outliers();
    EXPECT_LE(found.size(), 2003u);
    EXPECT_TRUE(std::equal(found.begin(), found.begin() + 2000, up_to(2000).begin()));
    for (int seed = 0; seed < 12; ++seed) {
        auto other = plain;
        other.storage = seed % 2 ? kOzkStatsByComponent : kOzkStatsByObservation;
        other.matrix = seed % 3;
        other.wide = seed % 4 < 2;
        other.threading = seed % 5 ? &kThreeThreads : nullptr;
        const bool subset = seed > 5;
        if (subset) {  // the four among seven
            other.p = 7;
            other.indices = {0, 1, 0, 5, -1, 1, 0};
            other.x.assign(7 * 9000, NAN);
            const int places[] = {1, 3, 4, 5};
            for (int64_t j = 0; j < 9000; ++j)
                for (int i = 0; i < 4; ++i) other.x[7 * j + places[i]] = plain.x[4 * j + i];
        }
        ASSERT_EQ(other.estimate(), 0);
        ASSERT_EQ(other.detect(), 0);
        EXPECT_EQ(other.weights, plain.weights) << seed;
        int64_t place = 0;
        for (int64_t i = 0, own_i = 0; i < other.p; ++i) {
            const bool selected = !subset || other.indices[i] != 0;
            EXPECT_EQ(other.mean[i], selected ? plain.mean[own_i] : TypeParam(kUntouchedValue)) << seed;
            for (int64_t k = 0, own_k = 0; k < other.p; ++k) {
                const bool both = selected && (!subset || other.indices[k] != 0);
                const bool stored = other.matrix == kOzkStatsMatrixFull ||
                                    (other.matrix == kOzkStatsMatrixLower ? k <= i : k >= i);
                if (stored) {
                    EXPECT_EQ(other.covariance[place++],
                              both ? plain.covariance[own_i * 4 + own_k] : TypeParam(kUntouchedValue))
                        << seed;
                }
                own_k += !subset || other.indices[k] != 0;
            }
            own_i += selected;
        }
    }
    auto in_double = normal_data<double>(4, 9000, 5);
    for (size_t k = 0; k < plain.x.size(); ++k) in_double.x[k] = double(plain.x[k]);
    ASSERT_EQ(in_double.estimate(), 0);
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(near(plain.mean[i], in_double.mean[i], 4, 1));
        for (int k = 0; k < 4; ++k) EXPECT_TRUE(near(plain.covariance[i * 4 + k], in_double.s(i, k), 4, 1));
    }
}

TYPED_TEST(StatsRobust, ParametersFallBackOneByOne) {
    auto robust = normal_data<TypeParam>(2, 400, 6);
    const auto with = [&](std::vector<TypeParam> parameters) {
        robust.parameters = std::move(parameters);
        EXPECT_EQ(robust.estimate(), 0);
        return robust.covariance;
    };
    const TypeParam most = TypeParam(0.5 * (400 - 2) / 400);
    const auto defaults = with({});
    const auto stated = with({most, TypeParam(0.001), TypeParam(0.001), 100});
    for (int e = 0; e < 4; ++e) EXPECT_TRUE(near(stated[e], defaults[e], 64, 1));
    EXPECT_EQ(with({7, 1, 0, -1}), defaults);
    EXPECT_EQ(with({0, -3, -1, TypeParam(NAN)}), defaults);
    EXPECT_EQ(with({TypeParam(0.1), TypeParam(0.001), TypeParam(0.001)}), defaults);  // not four
    EXPECT_NE(with({TypeParam(0.1), 0, 0, -1}), defaults);
    EXPECT_NE(with({1, TypeParam(0.5), 0, -1}), with({1, TypeParam(0.01), 0, -1}));
    const auto start = with({1, 0, 0, 0});  // no iteration: near, but not there
    EXPECT_NE(start, defaults);
    EXPECT_NEAR(double(start[0]), double(defaults[0]), 0.5);

    for (int64_t j = 0; j < 20; ++j) robust.x[2 * j] += TypeParam(j) / 2;
    const auto outliers = [&](std::vector<TypeParam> parameters) {
        robust.parameters = std::move(parameters);
        EXPECT_EQ(robust.detect(), 0);
        return robust.outliers().size();
    };
    const size_t usual = outliers({});
    EXPECT_EQ(outliers({2, TypeParam(0.05), TypeParam(0.005)}), usual);
    EXPECT_EQ(outliers({TypeParam(2.9), TypeParam(-0.1), 0}), usual);
    EXPECT_EQ(outliers({TypeParam(2.9), TypeParam(NAN), TypeParam(NAN)}), usual);
    EXPECT_EQ(outliers({1, TypeParam(0.9)}), usual);
    EXPECT_GT(outliers({2, 1, 0}), usual);
    EXPECT_EQ(outliers({2, 0, 0}), 0u);  // nothing is that improbable
}

template <class Real>
void expect_repair(int64_t p) {
    auto flat = normal_data<Real>(p, 300, 7);
    for (int64_t j = 0; j < 300; ++j) flat.x[j * p + p - 1] = 2 * flat.x[j * p];
    ASSERT_EQ(flat.estimate(), 0) << p;
    const double a = flat.s(0, 0), b = flat.s(p - 1, 0), c = flat.s(p - 1, p - 1);
    EXPECT_NEAR(b / a, 2, 1e-5);
    EXPECT_NEAR(c / a, 4, 1e-5);
    EXPECT_GT(a, 0.25);  // the distances are those of p - 1 components
    EXPECT_LT(a, 1.5);
    ASSERT_EQ(flat.detect(), 0) << p;
    EXPECT_LE(flat.outliers().size(), 3u);
    for (int64_t j = 0; j < 300; ++j) flat.x[j * p + p - 1] = 7;
    ASSERT_EQ(flat.estimate(), 0) << p;
    EXPECT_EQ(flat.mean[p - 1], 7);
    EXPECT_NEAR(flat.s(p - 1, p - 1), 0, 1e-20);
}

// Data in a plane are repaired, data at a point refused.
TYPED_TEST(StatsRobust, SingularDataGiveSingularCovariancesOrAStatus) {
    for (const int64_t p : {1, 2, 3, 5}) {
        if (p > 1) expect_repair<TypeParam>(p);
        auto point = Robust<TypeParam>{p, 300, std::vector<TypeParam>(300 * p, 3)};
        EXPECT_EQ(point.estimate(), kOzkStatsErrorSingularCovariance);
        EXPECT_EQ(point.detect(), kOzkStatsErrorSingularCovariance);
        for (const auto& results : {point.mean, point.covariance, point.weights})
            for (const TypeParam value : results) EXPECT_EQ(value, TypeParam(kUntouchedValue));
        auto nothing = Robust<TypeParam>{p, 300, std::vector<TypeParam>(300 * p, TypeParam(NAN))};
        EXPECT_EQ(nothing.estimate(), kOzkStatsErrorSingularCovariance);
        EXPECT_EQ(nothing.detect(), kOzkStatsErrorSingularCovariance);
    }
}

// Five points in a plane and four without numbers: nothing to estimate from, and no end of drawing from them.
TYPED_TEST(StatsRobust, FewFinitePointsInAPlaneAreRefused) {
    Robust<TypeParam> few = {3, 9, {}};
    for (int j = 0; j < 9; ++j)
        few.x.insert(few.x.end(),
                     {TypeParam(j), TypeParam(j % 3), j < 4 ? TypeParam(NAN) : TypeParam(2 * j)});
    EXPECT_EQ(few.estimate(), kOzkStatsErrorSingularCovariance);
    EXPECT_EQ(few.mean[0], TypeParam(kUntouchedValue));
}

TYPED_TEST(StatsRobust, NoMemoryAnywhereLeavesEverythingAsItWas) {
    auto robust = normal_data<TypeParam>(5, 3000, 8);
    for (const bool threads : {false, true}) {
        robust.threading = threads ? &kThreeThreads : nullptr;
        const int blocks = test_allocator::live_blocks;
        const auto starve = [&](auto run, int least) {
            for (int allowed = 1;; ++allowed) {  // the first block is the task
                int status;
                {
                    const test_allocator::Limit limit(allowed);
                    status = run();
                }
                EXPECT_EQ(test_allocator::live_blocks, blocks);
                if (status == kOzkStatsOk) {
                    EXPECT_GE(allowed, least);
                    return;
                }
                EXPECT_EQ(status, kOzkStatsErrorMemory) << allowed;
                for (const auto& results : {robust.mean, robust.covariance, robust.weights})
                    for (const TypeParam value : results) EXPECT_EQ(value, TypeParam(kUntouchedValue));
            }
        };
        starve([&] { return robust.detect(); }, 4);
        robust.weights.clear();
        starve([&] { return robust.estimate(); }, 5);
        robust.mean.clear();
        robust.covariance.clear();
    }
}

TYPED_TEST(StatsRobust, FaultsAreReportedInOrderAndNothingIsWritten) {
    using K = Kernels<TypeParam>;
    const std::vector<TypeParam> x(3 * 20, 1);
    std::vector<TypeParam> mean(3, -1), covariance(9, -1), weights(20, -1);
    const auto untouched = covariance;
    TaskOf<TypeParam> task(3);
    OzkStatsTask& t = *task.task;
    const auto robust = [&](uint32_t method) { return K::robust(&t, 0, method, nullptr); };
    const auto outliers = [&](uint32_t method) { return K::outliers(&t, 0, method, nullptr); };
    EXPECT_EQ(K::robust(nullptr, 0, 8, nullptr), kOzkStatsErrorTask);
    EXPECT_EQ(K::outliers(nullptr, 0, 32, nullptr), kOzkStatsErrorTask);
    EXPECT_EQ(robust(0), kOzkStatsErrorObservationCount);
    EXPECT_EQ(outliers(0), kOzkStatsErrorObservationCount);
    task.integers(kOzkStatsIdObservationCount, {6});  // not above 2 p
    EXPECT_EQ(robust(0), kOzkStatsErrorObservationCount);
    task.integers(kOzkStatsIdObservationCount, {14});  // below 5 p
    EXPECT_EQ(outliers(0), kOzkStatsErrorObservationCount);
    task.integers(kOzkStatsIdObservationCount, {7});
    EXPECT_EQ(robust(0), kOzkStatsErrorInteger);
    task.integers(kOzkStatsIdObservationCount, {15});
    EXPECT_EQ(outliers(0), kOzkStatsErrorStorage);  // missing or unknown
    task.integers(kOzkStatsIdObservationStorage, {0x30000});
    EXPECT_EQ(robust(0), kOzkStatsErrorStorage);
    EXPECT_EQ(outliers(0), kOzkStatsErrorStorage);
    task.integers(kOzkStatsIdObservationStorage, {kOzkStatsByObservation});
    EXPECT_EQ(outliers(0), kOzkStatsErrorOutlierWeights);
    task.set(kOzkStatsIdOutlierWeights, weights);
    EXPECT_EQ(outliers(0x1f), kOzkStatsErrorMethod);
    EXPECT_EQ(outliers(0x20), kOzkStatsErrorObservations);
    EXPECT_EQ(robust(0), kOzkStatsErrorRobustMean);
    task.set(kOzkStatsIdRobustMean, mean);
    EXPECT_EQ(robust(0), kOzkStatsErrorRobustCovariance);
    task.set(kOzkStatsIdRobustCovariance, covariance);
    EXPECT_EQ(robust(0), kOzkStatsErrorInteger);
    task.integers(kOzkStatsIdRobustCovarianceStorage, {3});
    EXPECT_EQ(robust(0), kOzkStatsErrorStorage);
    task.integers(kOzkStatsIdRobustCovarianceStorage, {2});
    EXPECT_EQ(robust(0x7), kOzkStatsErrorMethod);
    EXPECT_EQ(robust(0x8), kOzkStatsErrorObservations);
    task.set(kOzkStatsIdObservations, x).integers(kOzkStatsIdIndices, {0, 0, 0});
    EXPECT_EQ(robust(0x8), 0);  // no component: nothing to estimate
    task.integers(kOzkStatsIdDimension, {0});
    EXPECT_EQ(robust(0), kOzkStatsErrorDimension);
    EXPECT_EQ(outliers(0), kOzkStatsErrorDimension);
    EXPECT_EQ(covariance, untouched);
    EXPECT_EQ(mean, std::vector<TypeParam>(3, -1));
    EXPECT_EQ(weights, std::vector<TypeParam>(20, -1));
    task.integers(kOzkStatsIdDimension, {3});
    EXPECT_EQ(outliers(0x20), 0);  // and no outlier
    EXPECT_EQ(std::count(weights.begin(), weights.end(), TypeParam(1)), 15);
}

}  // namespace
