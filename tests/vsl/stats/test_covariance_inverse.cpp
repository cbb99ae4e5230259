// Rank test and repair, inversion, and Mahalanobis distances.
#include "sample_problem.hpp"
#include "tests/vsl/allocator.hpp"

namespace {

using namespace ozk::stats::test;

template <class Real>
class CovarianceInverse : public testing::Test {};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(CovarianceInverse, Reals);

// Positive definite: G G' / p + the unit matrix, by columns.
template <class Real>
std::vector<Real> random_covariance(int64_t p, std::mt19937_64& random) {
    std::normal_distribution<double> normal;
    std::vector<double> g(p * p);
    for (double& value : g) value = normal(random);
    std::vector<Real> a(p * p);
    for (int64_t i = 0; i < p; ++i)
        for (int64_t k = 0; k <= i; ++k) {
            double sum = i == k;
            for (int64_t j = 0; j < p; ++j) sum += g[i * p + j] * g[k * p + j] / double(p);
            a[k * p + i] = a[i * p + k] = Real(sum);
        }
    return a;
}

TYPED_TEST(CovarianceInverse, TheInverseTimesTheMatrixIsOneAndTheUpperTriangleStays) {
    std::mt19937_64 random(1);
    for (const int64_t p : {1, 2, 3, 4, 5, 17, 60}) {
        const auto a = random_covariance<TypeParam>(p, random);
        auto inverse = a;
        for (int64_t i = 0; i < p; ++i)
            for (int64_t k = i + 1; k < p; ++k) inverse[k * p + i] = TypeParam(kUntouchedValue);
        ASSERT_EQ(Kernels<TypeParam>::invert(p, inverse.data()), 0);
        const auto element = [&](int64_t i, int64_t k) {
            return inverse[std::min(i, k) * p + std::max(i, k)];
        };
        for (int64_t i = 0; i < p; ++i)
            for (int64_t k = 0; k < p; ++k) {
                long double product = 0;
                for (int64_t j = 0; j < p; ++j) product += (long double)a[j * p + i] * element(j, k);
                EXPECT_TRUE(near(TypeParam(product), (long double)(i == k), 30, 1)) << p;
                if (k > i) {
                    EXPECT_EQ(inverse[k * p + i], TypeParam(kUntouchedValue));
                }
            }
    }
}

TYPED_TEST(CovarianceInverse, AMatrixThatCannotBeFactoredIsGivenBack) {
    auto* const matrix = static_cast<TypeParam*>(ozk_serv_allocate(16 * sizeof(TypeParam), 128));
    std::fill_n(matrix, 16, TypeParam(1));  // of rank 1, then indefinite
    matrix[5] = 0;
    const int blocks = test_allocator::live_blocks;
    EXPECT_EQ(Kernels<TypeParam>::invert(4, matrix), kOzkStatsErrorFactorization);
    EXPECT_EQ(test_allocator::live_blocks, blocks - 1);
}

TYPED_TEST(CovarianceInverse, RankTestRepairsWhatItCan) {
    const auto test = Kernels<TypeParam>::test_rank;
    const double t = std::bit_cast<double>(uint64_t{1000});
    const auto alone = [&](double value, int status, double after) {
        TypeParam a = TypeParam(value);
        EXPECT_EQ(test(1, &a), status) << value;
        EXPECT_EQ(std::bit_cast<uint64_t>(double(a)), std::bit_cast<uint64_t>(double(TypeParam(after))))
            << value;
    };
    alone(2, 0, 2);
    alone(0, 0, t);
    alone(-t / 2, 0, t);
    alone(-t, 0, t);
    alone(-1e-30, kOzkStatsErrorSingularCovariance, -1e-30);
    TypeParam nan = NAN;
    EXPECT_EQ(test(1, &nan), kOzkStatsErrorSingularCovariance);

    // Eigenvalues 0, 1 and 2: the diagonal grows by a hundredth of 1.
    std::vector<TypeParam> a = {1, 1, 0, 1, 1, 0, 0, 0, 1};
    ASSERT_EQ(test(3, a.data()), 0);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(near(a[4 * i], 1.01L, 4));
    EXPECT_EQ(a[1], 1);  // the lower triangle
    EXPECT_EQ(a[2], 0);
    EXPECT_EQ(a[5], 0);
    // Full rank: nothing happens to the diagonal.
    a = {2, 1, 0, 1, 2, 0, 0, 0, 5};
    ASSERT_EQ(test(3, a.data()), 0);
    EXPECT_EQ(a[0], 2);
    EXPECT_EQ(a[1], 1);
    EXPECT_EQ(a[4], 2);
    EXPECT_EQ(a[8], 5);
    a.assign(9, 0);
    EXPECT_EQ(test(3, a.data()), kOzkStatsErrorSingularCovariance);
    a = {-1, 0, 0, 0, -2, 0, 0, 0, -3};
    EXPECT_EQ(test(3, a.data()), kOzkStatsErrorSingularCovariance);

    std::vector<TypeParam> b = {1, 0, 0, 1};
    const int blocks = test_allocator::live_blocks;
    {
        const test_allocator::Limit none(0);
        EXPECT_EQ(test(2, b.data()), kOzkStatsErrorMemory);
        EXPECT_EQ(b, (std::vector<TypeParam>{1, 0, 0, 1}));
        EXPECT_EQ(test(1, b.data()), 0);
    }
    EXPECT_EQ(test(2, b.data()), 0);
    EXPECT_EQ(test_allocator::live_blocks, blocks);
}

TEST(CovarianceRank, SmallNegativeElementsAreNoRounding) {
    double a = -1e-300;
    EXPECT_EQ(__vsldTestCovRank(1, &a), kOzkStatsErrorSingularCovariance);
    EXPECT_EQ(a, -1e-300);
    a = 0;
    EXPECT_EQ(__vsldTestCovRank(1, &a), 0);
    EXPECT_EQ(std::bit_cast<uint64_t>(a), 1000u);
}

TYPED_TEST(CovarianceInverse, DistancesAreTheQuadraticFormsInEveryLayoutAndMode) {
    std::mt19937_64 random(3);
    std::normal_distribution<double> normal;
    for (const int64_t p : {1, 2, 5, 40, 1100}) {
        const int64_t n = p > 1000 ? 10 : 77, held = n + 3;  // some observations are left out
        auto inverse = random_covariance<TypeParam>(p, random);
        std::vector<TypeParam> x(p * held), by_observation(p * held), centre(p), first(n), d(n),
            work(13 * p + 5);
        for (auto& value : x) value = TypeParam(normal(random));
        for (auto& value : centre) value = TypeParam(normal(random));
        for (int64_t i = 0; i < p; ++i)
            for (int64_t j = 0; j < held; ++j) by_observation[j * p + i] = x[i * held + j];
        for (int64_t i = 0; i < p; ++i)  // not to be read
            for (int64_t k = i + 1; k < p; ++k) inverse[k * p + i] = NAN;
        for (int mode = 0; mode < 8; ++mode) {
            const bool wide = mode & 1, components = mode & 2;
            TaskOf<TypeParam> task(p, wide);
            task.set(kOzkStatsIdObservations, components ? x : by_observation)
                .integers(kOzkStatsIdObservationStorage,
                          {components ? kOzkStatsByComponent : kOzkStatsByObservation});
            const auto kept = [&](int64_t value) { return const_cast<void*>(task.stored({value})); };
            task.task->distance_sizes[0] = kept(n);
            task.task->distance_sizes[1] = kept(components ? held : p);
            task.task->distance_centre = centre.data();
            task.task->distance_inverse_covariance = inverse.data();
            task.task->distances = d.data();
            if (mode & 4) {
                task.task->distance_work = work.data();
                task.task->distance_work_size = kept(int64_t(work.size()));
            }
            std::fill(d.begin(), d.end(), TypeParam(kUntouchedValue));
            ASSERT_EQ(Kernels<TypeParam>::distances(task.task, 0, 0, mode % 3 ? &kThreeThreads : nullptr), 0);
            if (mode == 0) first = d;
            EXPECT_EQ(d, first) << p << ", mode " << mode;  // bit for bit
        }
        for (int64_t j = 0; j < n; ++j) {
            long double form = 0, scale = 0;
            for (int64_t i = 0; i < p; ++i)
                for (int64_t k = 0; k <= i; ++k) {
                    const long double term = (i == k ? 1 : 2) * (long double)inverse[k * p + i] *
                                             (x[i * held + j] - (long double)centre[i]) *
                                             (x[k * held + j] - (long double)centre[k]);
                    form += term;
                    scale += std::fabs(term);
                }
            EXPECT_TRUE(near(first[j], form, 8 + double(p), scale)) << p;
        }
        TaskOf<TypeParam> task(p);
        const int64_t sizes[] = {n, p};
        task.set(kOzkStatsIdObservations, by_observation)
            .integers(kOzkStatsIdObservationStorage, {kOzkStatsByObservation});
        for (int which = 0; which < 2; ++which)
            task.task->distance_sizes[which] = const_cast<int64_t*>(sizes + which);
        task.task->distance_centre = centre.data();
        task.task->distance_inverse_covariance = inverse.data();
        task.task->distances = d.data();
        const test_allocator::Limit none(0);
        EXPECT_EQ(Kernels<TypeParam>::distances(task.task, 0, 0, nullptr),
                  p > 1024 ? kOzkStatsErrorMemory : kOzkStatsOk);
    }
}

}  // namespace
