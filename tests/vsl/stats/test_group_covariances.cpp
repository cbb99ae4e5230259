// Partial and pooled covariances and the correlation parametrization, against formulas in long double and what
// defines them.
#include "sample_problem.hpp"
#include "tests/vsl/allocator.hpp"

namespace {

using namespace ozk::stats::test;

template <class Real>
class StatsMatrices : public testing::Test {};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(StatsMatrices, Reals);

using Square = std::vector<std::vector<long double>>;

constexpr int64_t kStorages[] = {kOzkStatsMatrixFull, kOzkStatsMatrixLower, kOzkStatsMatrixUpper};

template <class Real>
std::vector<Real> pack(const Square& a, int64_t storage) {
    std::vector<Real> packed;
    const size_t p = a.size();
    for (size_t i = 0; i < p; ++i)
        for (size_t k = 0; k < p; ++k)
            if (storage == kOzkStatsMatrixFull || (storage == kOzkStatsMatrixLower ? k <= i : k >= i))
                packed.push_back(static_cast<Real>(a[i][k]));
    return packed;
}

template <class Real>
Square unpack(const Real* packed, size_t p, int64_t storage) {
    Square a(p, std::vector<long double>(p));
    for (size_t i = 0; i < p; ++i)
        for (size_t k = 0; k < p; ++k)
            if (storage == kOzkStatsMatrixFull || (storage == kOzkStatsMatrixLower ? k <= i : k >= i))
                a[i][k] = *packed++;
    for (size_t i = 0; i < p && storage != kOzkStatsMatrixFull; ++i)
        for (size_t k = 0; k < i; ++k)
            (storage == kOzkStatsMatrixLower ? a[k][i] : a[i][k]) =
                storage == kOzkStatsMatrixLower ? a[i][k] : a[k][i];
    return a;
}

// A well-conditioned positive definite matrix.
Square random_covariance(size_t p, std::mt19937_64& random) {
    std::normal_distribution<double> normal;
    Square root(p, std::vector<long double>(p)), a = root;
    for (auto& row : root)
        for (auto& value : row) value = normal(random);
    for (size_t i = 0; i < p; ++i)
        for (size_t k = 0; k < p; ++k) {
            for (size_t j = 0; j < p; ++j) a[i][k] += root[i][j] * root[k][j];
            if (i == k) a[i][k] += static_cast<double>(p);
        }
    return a;
}

// Takes component `x` out of all others, by one step of elimination: what a partial covariance is.
void sweep_out(Square& a, size_t x) {
    const Square before = a;
    for (size_t i = 0; i < a.size(); ++i)
        for (size_t k = 0; k < a.size(); ++k)
            if (i != x && k != x) a[i][k] -= before[i][x] * before[x][k] / before[x][x];
}

TYPED_TEST(StatsMatrices, PartialCovariancesAreWhatEliminationLeaves) {
    for (int seed = 0; seed < 60; ++seed) {
        std::mt19937_64 random(seed);
        const size_t p = 1 + random() % 20;
        Square a = random_covariance(p, random);
        const bool correlation_only = seed % 4 == 0;
        if (correlation_only) {
            const Square b = a;
            for (size_t i = 0; i < p; ++i)
                for (size_t k = 0; k < p; ++k) a[i][k] = b[i][k] / std::sqrt(b[i][i] * b[k][k]);
        }
        std::vector<int64_t> roles(p);
        for (auto& role : roles) role = static_cast<int64_t>(random() % 3) - 1;
        roles[random() % p] = 1;
        const int64_t in = kStorages[random() % 3],
                      out[2] = {kStorages[random() % 3], kStorages[random() % 3]};
        const auto input = pack<TypeParam>(a, in);
        std::vector<TypeParam> covariance(p * p), correlation(p * p);
        TaskOf<TypeParam> task(static_cast<int64_t>(p), seed % 2);
        task.set(correlation_only ? kOzkStatsIdCorrelation : kOzkStatsIdCovariance, input)
            .integers(correlation_only ? kOzkStatsIdCorrelationStorage : kOzkStatsIdCovarianceStorage, {in})
            .integers(kOzkStatsIdPartialIndices, roles)
            .set(kOzkStatsIdPartialCovariance, covariance)
            .set(kOzkStatsIdPartialCorrelation, correlation)
            .integers(kOzkStatsIdPartialCovarianceStorage, {out[0]})
            .integers(kOzkStatsIdPartialCorrelationStorage, {out[1]});
        ASSERT_EQ(
            Kernels<TypeParam>::partial(task.task, kOzkStatsPartialCovariance | kOzkStatsPartialCorrelation,
                                        kOzkStatsFast, nullptr),
            0);
        for (size_t x = 0; x < p; ++x)
            if (roles[x] == -1) sweep_out(a, x);
        std::vector<size_t> wanted;
        for (size_t i = 0; i < p; ++i)
            if (roles[i] == 1) wanted.push_back(i);
        const Square got = unpack(covariance.data(), wanted.size(), out[0]),
                     ratio = unpack(correlation.data(), wanted.size(), out[1]);
        for (size_t i = 0; i < wanted.size(); ++i)
            for (size_t k = 0; k < wanted.size(); ++k) {
                const auto element = [&](size_t r, size_t c) { return a[wanted[r]][wanted[c]]; };
                const long double scale = std::sqrt(element(i, i) * element(k, k));
                EXPECT_TRUE(near(TypeParam(got[i][k]), element(i, k), 200, scale)) << seed;
                EXPECT_TRUE(near(TypeParam(ratio[i][k]), element(i, k) / scale, 200, 1)) << seed;
            }
    }
}

TYPED_TEST(StatsMatrices, PooledAndGroupCovariancesFollowTheirFormulas) {
    for (int seed = 0; seed < 90; ++seed) {
        const SampleProblem<TypeParam> problem(seed);
        if (seed % 4 == 3) continue;  // values over many orders of magnitude
        std::mt19937_64 random(seed);
        const int64_t p = problem.p, n = problem.n, most = 1 + static_cast<int64_t>(random() % 6);
        std::vector<int64_t> group(n), requested;
        for (auto& g : group) g = static_cast<int64_t>(random() % most);
        const int64_t groups = 1 + *std::max_element(group.begin(), group.end());
        int64_t count = 0;
        for (int64_t g = 0; g < groups; ++g) {
            requested.push_back(static_cast<int64_t>(random() % 3));
            count += requested.back() != 0;
        }
        const int64_t storages[2] = {kStorages[random() % 3], kStorages[random() % 3]};
        const int64_t each = storages[1] == kOzkStatsMatrixFull ? p * p : p * (p + 1) / 2;
        auto pooled_mean = problem.results(1), pooled = problem.results(p), means = problem.results(groups),
             matrices = problem.results(p * groups);
        TaskOf<TypeParam> task(p, problem.wide);
        problem.give(task);
        task.integers(kOzkStatsIdGroupIndices, group)
            .integers(kOzkStatsIdRequestedGroups, requested)
            .integers(kOzkStatsIdPooledCovarianceStorage, {storages[0]})
            .integers(kOzkStatsIdGroupCovarianceStorage, {storages[1]})
            .set(kOzkStatsIdPooledMean, pooled_mean)
            .set(kOzkStatsIdPooledCovariance, pooled)
            .set(kOzkStatsIdGroupMeans, means)
            .set(kOzkStatsIdGroupCovariances, matrices);
        ASSERT_EQ(Kernels<TypeParam>::pooled(task.task, kOzkStatsPooledCovariance | kOzkStatsGroupCovariances,
                                             kOzkStatsFast, problem.threading),
                  0);

        // From each component's first value, where the digits are.
        const auto x = [&](int64_t i, int64_t j) {
            return static_cast<long double>(problem.x[i * n + j]) - problem.x[i * n];
        };
        const auto mean = [&](int64_t i, int64_t g) {
            long double sum = 0, total = 0;
            for (int64_t j = 0; j < n; ++j)
                if (g < 0 || group[j] == g) {
                    sum += problem.weight(j) * x(i, j);
                    total += problem.weight(j);
                }
            return sum / total;
        };
        Square cross(p, std::vector<long double>(p)), shift(groups, std::vector<long double>(p));
        long double pooled_divisor = 0;
        const Square got = unpack(pooled.data(), p, storages[0]);
        for (int64_t g = 0, place = 0; g < groups; ++g) {
            long double total = 0, squares = 0;
            for (int64_t j = 0; j < n; ++j)
                if (group[j] == g) {
                    total += problem.weight(j);
                    squares += problem.weight(j) * problem.weight(j);
                }
            const long double divisor = total - squares / total;
            if (total > 0) pooled_divisor += divisor;
            const Square matrix = unpack(matrices.data() + place * each, p, storages[1]);
            for (int64_t i = 0; i < p; ++i) shift[g][i] = mean(i, g);
            for (int64_t i = 0; i < p; ++i)
                for (int64_t k = 0; k < p; ++k) {
                    long double sum = 0, scale = 0;
                    for (int64_t j = 0; j < n; ++j)
                        if (group[j] == g) {
                            const long double term =
                                problem.weight(j) * (x(i, j) - shift[g][i]) * (x(k, j) - shift[g][k]);
                            sum += term;
                            scale += std::fabs(term);
                        }
                    if (total > 0) cross[i][k] += sum;
                    if (requested[g] == 0) continue;
                    if (!problem.selected(i) || !problem.selected(k)) {
                        EXPECT_EQ(matrix[i][k], kUntouchedValue);
                    } else if (!(divisor > 1e-9L)) {
                        EXPECT_TRUE(std::isnan(matrix[i][k])) << problem.text << ' ' << matrix[i][k];
                    } else {
                        EXPECT_TRUE(near(TypeParam(matrix[i][k]), sum / divisor, 200, scale / divisor))
                            << problem.text;
                    }
                }
            for (int64_t i = 0; i < p && requested[g] != 0; ++i) {
                const TypeParam value = means[place * p + i];
                if (!problem.selected(i)) {
                    EXPECT_EQ(value, TypeParam(kUntouchedValue));
                } else if (total == 0) {
                    EXPECT_TRUE(std::isnan(value));
                } else {
                    EXPECT_TRUE(
                        near(value, shift[g][i] + problem.x[i * n], 4, std::fabs(problem.x[i * n]) + 1));
                }
            }
            place += requested[g] != 0;
        }
        for (int64_t i = 0; i < p; ++i) {
            EXPECT_TRUE(near(pooled_mean[i],
                             problem.selected(i) ? mean(i, -1) + problem.x[i * n] : kUntouchedValue, 8,
                             std::fabs(problem.x[i * n]) + 1))
                << problem.text;
            for (int64_t k = 0; k < p; ++k) {
                const bool both = problem.selected(i) && problem.selected(k);
                const long double scale = std::sqrt(cross[i][i] * cross[k][k]) / pooled_divisor;
                if (!both) {
                    EXPECT_EQ(got[i][k], kUntouchedValue);
                } else if (pooled_divisor > 1e-9L) {
                    EXPECT_TRUE(near(TypeParam(got[i][k]), cross[i][k] / pooled_divisor, 200, scale))
                        << problem.text;
                } else {
                    EXPECT_TRUE(std::isnan(got[i][k]));
                }
            }
        }
    }
}

// The smallest pivot of a Cholesky factorisation: negative where the matrix is not positive definite.
long double smallest_pivot(Square a) {
    long double smallest = 1;
    for (size_t x = 0; x < a.size(); ++x) {
        smallest = std::min(smallest, a[x][x]);
        if (a[x][x] <= 0) return smallest;
        for (size_t i = x + 1; i < a.size(); ++i)
            for (size_t k = x + 1; k < a.size(); ++k) a[i][k] -= a[i][x] * a[x][k] / a[x][x];
    }
    return smallest;
}

TYPED_TEST(StatsMatrices, ParametrizedCorrelationsAreValidAndLeaveValidOnesAlone) {
    const double epsilon = std::numeric_limits<TypeParam>::epsilon();
    const auto parametrize = [&](const Square& r, int64_t in, int64_t out) {
        const auto input = pack<TypeParam>(r, in);
        std::vector<TypeParam> result(r.size() * r.size());
        TaskOf<TypeParam> task(static_cast<int64_t>(r.size()));
        task.set(kOzkStatsIdCorrelation, input)
            .integers(kOzkStatsIdCorrelationStorage, {in})
            .set(kOzkStatsIdParametrizedCorrelation, result)
            .integers(kOzkStatsIdParametrizedCorrelationStorage, {out});
        EXPECT_EQ(Kernels<TypeParam>::parametrize(task.task, 0, kOzkStatsFast, nullptr), 0);
        return unpack(result.data(), r.size(), out);
    };
    // The example of the method's authors, whose smallest eigenvalue is -0.0074; the result as NumPy has it.
    const Square example = {{1, 0.9L, 0.7L}, {0.9L, 1, 0.3L}, {0.7L, 0.3L, 1}};
    const Square expected = {
        {1, 0.89402441L, 0.69631907L}, {0.89402441L, 1, 0.30096904L}, {0.69631907L, 0.30096904L, 1}};
    const Square result = parametrize(example, kOzkStatsMatrixLower, kOzkStatsMatrixFull);
    for (size_t i = 0; i < 3; ++i)
        for (size_t k = 0; k < 3; ++k)
            EXPECT_NEAR(double(result[i][k]), double(expected[i][k]), 1e-7 + 10 * epsilon);

    for (int seed = 0; seed < 60; ++seed) {
        std::mt19937_64 random(seed);
        const size_t p = 1 + random() % 25;
        const bool valid = seed % 2;
        Square r = random_covariance(p, random);
        const Square a = r;
        for (size_t i = 0; i < p; ++i)
            for (size_t k = 0; k <= i; ++k) {
                const double any = 2 * double(random() % 1000) / 1000 - 1;
                r[i][k] = r[k][i] = i == k ? 1 : valid ? a[i][k] / std::sqrt(a[i][i] * a[k][k]) : any;
            }
        const Square got = parametrize(r, kStorages[random() % 3], kStorages[random() % 3]);
        for (size_t i = 0; i < p; ++i)
            for (size_t k = 0; k < p; ++k) {
                EXPECT_EQ(got[i][k], got[k][i]);
                EXPECT_LE(std::fabs(got[i][k]), 1);
                if (i == k) {
                    EXPECT_EQ(got[i][k], 1);
                }
                if (valid) {
                    EXPECT_NEAR(double(got[i][k]), double(r[i][k]), 20 * double(p) * epsilon);
                }
            }
        EXPECT_GT(double(smallest_pivot(got)), -double(p) * epsilon) << seed;
    }
}

TYPED_TEST(StatsMatrices, FaultsAreReportedInOrderAndNothingIsWritten) {
    using K = Kernels<TypeParam>;
    std::vector<TypeParam> results(100, -1), cov = {1, 2, 2, 1};
    const std::vector<TypeParam> x = {1, 2, 4, 3, 5, 8}, untouched = results;
    TaskOf<TypeParam> task(2);
    OzkStatsTask& t = *task.task;
    task.integers(kOzkStatsIdPartialIndices, {1, -1}).integers(kOzkStatsIdGroupIndices, {0, 1, 0});
    task.integers(kOzkStatsIdRequestedGroups, {1, 1}).set(kOzkStatsIdObservations, x);
    task.integers(kOzkStatsIdObservationCount, {3})
        .integers(kOzkStatsIdObservationStorage, {kOzkStatsByComponent});
    task.set(kOzkStatsIdCovariance, cov).set(kOzkStatsIdCorrelation, cov);
    int place = 0;
    for (const int id : {kOzkStatsIdPartialCovariance, kOzkStatsIdPartialCorrelation, kOzkStatsIdPooledMean,
                         kOzkStatsIdPooledCovariance, kOzkStatsIdGroupMeans, kOzkStatsIdGroupCovariances,
                         kOzkStatsIdParametrizedCorrelation})
        task.set(id, results.data() + 10 * place++);
    for (const int id :
         {kOzkStatsIdCovarianceStorage, kOzkStatsIdCorrelationStorage, kOzkStatsIdPartialCovarianceStorage,
          kOzkStatsIdPartialCorrelationStorage, kOzkStatsIdPooledCovarianceStorage,
          kOzkStatsIdGroupCovarianceStorage, kOzkStatsIdParametrizedCorrelationStorage})
        task.integers(id, {kOzkStatsMatrixFull});
    const auto partial = [&](uint32_t method) {
        return K::partial(&t, kOzkStatsPartialCovariance | kOzkStatsPartialCorrelation, method, nullptr);
    };
    const auto pooled = [&](uint32_t method) {
        return K::pooled(&t, kOzkStatsPooledCovariance | kOzkStatsGroupCovariances, method, nullptr);
    };
    const auto parametrize = [&](uint32_t method) { return K::parametrize(&t, 0, method, nullptr); };
    // Spoils one field more and expects its status, before all that was spoilt already.
    const auto spoil = [&](auto run, void** field, int status, bool storage = false) {
        static const int64_t wrong = 3;
        void* const null = nullptr;
        for (void* value : {storage ? const_cast<void*>(static_cast<const void*>(&wrong)) : null, null}) {
            *field = value;
            EXPECT_EQ(run(2), value == nullptr ? status : kOzkStatsErrorStorage);
        }
        EXPECT_EQ(results, untouched);
    };

    {  // what is found last: failures of the computation, then memory
        EXPECT_EQ(parametrize(1), 0);
        std::fill(results.begin(), results.end(), TypeParam(-1));
        cov[1] = cov[2] = std::numeric_limits<TypeParam>::infinity();
        EXPECT_EQ(parametrize(1), kOzkStatsErrorEigenvalues);
        cov[3] = -1;
        EXPECT_EQ(partial(1), kOzkStatsErrorSingularCovariance);
        const test_allocator::Limit none(0);
        for (const auto& run : {std::function<int(uint32_t)>(partial), std::function<int(uint32_t)>(pooled),
                                std::function<int(uint32_t)>(parametrize)})
            EXPECT_EQ(run(1), kOzkStatsErrorMemory);
        EXPECT_EQ(results, untouched);
    }
    const auto full = t.covariance_storage;
    EXPECT_EQ(parametrize(2), kOzkStatsErrorMethod);
    spoil(parametrize, &t.parametrized_correlation_storage, kOzkStatsErrorInteger, true);
    spoil(parametrize, &t.parametrized_correlation, kOzkStatsErrorParametrizedCorrelation);
    spoil(parametrize, &t.correlation_storage, kOzkStatsErrorInteger, true);
    spoil(parametrize, &t.correlation, kOzkStatsErrorCorrelation);
    EXPECT_EQ(partial(2), kOzkStatsErrorMethod);
    spoil(partial, &t.partial_correlation_storage, kOzkStatsErrorInteger, true);
    spoil(partial, &t.partial_correlation, kOzkStatsErrorPartialCorrelation);
    spoil(partial, &t.partial_covariance_storage, kOzkStatsErrorInteger, true);
    spoil(partial, &t.partial_covariance, kOzkStatsErrorPartialCovariance);
    spoil(partial, &t.covariance_storage, kOzkStatsErrorInteger, true);
    t.covariance_storage = full;
    spoil(partial, &t.covariance, kOzkStatsErrorCovariance);
    task.integers(kOzkStatsIdPartialIndices, {0, -1});
    EXPECT_EQ(partial(2), kOzkStatsErrorPartialIndices);
    task.integers(kOzkStatsIdPartialIndices, {1, 2});
    EXPECT_EQ(partial(2), kOzkStatsErrorPartialIndices);
    spoil(partial, &t.partial_indices, kOzkStatsErrorPartialIndices);
    task.integers(kOzkStatsIdGroupIndices, {0, -1, 0});
    EXPECT_EQ(pooled(1), kOzkStatsErrorGroupIndices);
    t.observations = nullptr;
    EXPECT_EQ(pooled(1), kOzkStatsErrorObservations);
    EXPECT_EQ(pooled(2), kOzkStatsErrorMethod);
    spoil(pooled, &t.group_covariance_storage, kOzkStatsErrorInteger, true);
    spoil(pooled, &t.group_covariances, kOzkStatsErrorGroupCovariances);
    spoil(pooled, &t.group_means, kOzkStatsErrorGroupMeans);
    spoil(pooled, &t.requested_groups, kOzkStatsErrorGroupIndices);
    spoil(pooled, &t.pooled_covariance_storage, kOzkStatsErrorInteger, true);
    spoil(pooled, &t.pooled_covariance, kOzkStatsErrorPooledCovariance);
    spoil(pooled, &t.pooled_mean, kOzkStatsErrorPooledMean);
    spoil(pooled, &t.group_indices, kOzkStatsErrorGroupIndices);
    t.dimension = nullptr;
    for (const auto& run : {std::function<int(uint32_t)>(partial), std::function<int(uint32_t)>(pooled),
                            std::function<int(uint32_t)>(parametrize)})
        EXPECT_EQ(run(1), kOzkStatsErrorDimension);
    EXPECT_EQ(K::partial(nullptr, 0, 1, nullptr), kOzkStatsErrorTask);
    EXPECT_EQ(K::pooled(nullptr, 0, 1, nullptr), kOzkStatsErrorTask);
    EXPECT_EQ(K::parametrize(nullptr, 0, 1, nullptr), kOzkStatsErrorTask);
    EXPECT_EQ(results, untouched);
}

}  // namespace
