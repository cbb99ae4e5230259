// The basic estimators against their defining formulas in long double, certified data sets and their own
// properties.
#include <gtest/gtest.h>

#include <thread>

#include "basic_problem.hpp"

namespace {

using namespace ozk::stats::test;

constexpr uint32_t kMethods[] = {kOzkStatsFast, kOzkStatsOnePass};
constexpr int64_t kStorages[] = {kOzkStatsByComponent, kOzkStatsByObservation};

// Random problem number `seed`: every storage, width, index and weight choice occurs.
template <class Real>
Problem<Real> random_problem(int seed, double mean, double deviation, int64_t max_n = 700) {
    std::mt19937_64 random(seed);
    const auto below = [&](int64_t limit) { return static_cast<int64_t>(random() % limit); };
    Problem<Real> problem(1 + below(seed % 3 == 0 ? 40 : 9), 2 + below(max_n));
    problem.storage = kStorages[below(2)];
    problem.matrix_storage = below(3);
    problem.wide = below(2) != 0;
    problem.fill(random, mean, deviation);
    if (below(2))
        for (int64_t j = 0; j < problem.n; ++j) problem.weights.push_back(Real(0.25) * Real(1 + below(16)));
    if (below(2))
        for (int64_t i = 0; i < problem.p; ++i) problem.indices.push_back(below(4) ? 1 + below(3) : 0);
    return problem;
}

std::string describe(const auto& problem, int seed, uint32_t method) {
    return "seed " + std::to_string(seed) + ", p " + std::to_string(problem.p) + ", n " +
           std::to_string(problem.n) +
           (problem.storage == kOzkStatsByComponent ? ", by component" : ", by observation") +
           (problem.weights.empty() ? "" : ", weighted") + (problem.indices.empty() ? "" : ", subset") +
           ", method " + std::to_string(method);
}

TEST(StatsBasic, EveryEstimateFollowsItsFormulaInBothPrecisionsAndAllLayouts) {
    for (int seed = 0; seed < 60; ++seed)
        for (const uint32_t method : kMethods) {
            auto real = random_problem<double>(seed, 1.5, 2);
            ASSERT_EQ(real.run(kAll, method), 0);
            EXPECT_EQ(first_error(real, kAll, 1e-14), "") << describe(real, seed, method);
            auto single = random_problem<float>(seed, 1.5, 2);
            ASSERT_EQ(single.run(kAll, method), 0);
            EXPECT_EQ(first_error(single, kAll, 2e-7), "") << describe(single, seed, method);
        }
}

TEST(StatsBasic, EachEstimateAloneIsTheEstimateAmongAll) {
    for (int seed = 100; seed < 110; ++seed)
        for (const uint32_t method : kMethods)
            for (const Estimate& e : kEstimates) {
                auto problem = random_problem<double>(seed, 1.5, 2);
                ASSERT_EQ(problem.run(e.bit, method), 0) << e.name;
                EXPECT_EQ(first_error(problem, e.bit, 1e-14), "") << describe(problem, seed, method);
            }
}

TEST(StatsBasic, PortionsGiveTheEstimatesOfTheWhole) {
    for (int seed = 200; seed < 240; ++seed)
        for (const uint32_t method : kMethods) {
            // Alone, the raw-moment arrays are working storage; with all, every array is a result.
            for (const uint64_t mask :
                 {kAll, uint64_t{kOzkStatsKurtosis}, uint64_t{kOzkStatsSkewness},
                  uint64_t{kOzkStatsVariation | kOzkStatsCorrelation}, uint64_t{kOzkStatsCovariance},
                  uint64_t{kOzkStatsCovariance | kOzkStatsCorrelation}, uint64_t{kOzkStatsCentralMoment4},
                  uint64_t{kOzkStatsCrossProduct}, uint64_t{kOzkStatsMean}, kSums}) {
                auto problem = random_problem<double>(seed, 1.5, 2);
                std::mt19937_64 random(seed);
                for (int64_t first = 0; first < problem.n;) {
                    const int64_t last =
                        std::min<int64_t>(problem.n, first + 1 + random() % (1 + problem.n / 2));
                    ASSERT_EQ(problem.run(mask, method, nullptr, first, last), 0);
                    first = last;
                }
                EXPECT_EQ(first_error(problem, mask, 1e-13), "") << describe(problem, seed, method);
                const Reference<double> reference{problem};
                EXPECT_NEAR(problem.accumulated[0], double(reference.total(1)), 1e-12 * problem.n);
                EXPECT_NEAR(problem.accumulated[1], double(reference.total(2)), 1e-10 * problem.n);
            }
        }
}

TEST(StatsBasic, AContinuationThatTheArraysCannotTellIsRefusedAndWritesNothing) {
    auto problem = random_problem<double>(1, 0, 1);
    for (const uint64_t mask : {uint64_t{kOzkStatsCorrelation}, uint64_t{kOzkStatsCentralSum3}}) {
        problem.accumulated[0] = problem.accumulated[1] = 0;
        ASSERT_EQ(problem.run(mask, kOzkStatsOnePass), 0);
        const auto before = problem.results;
        EXPECT_EQ(problem.run(mask, kOzkStatsOnePass), kOzkStatsErrorMethod);
        EXPECT_EQ(problem.results, before);
        EXPECT_EQ(problem.accumulated[0], double(Reference<double>{problem}.total()));
    }
}

// Deviations keep their digits however large the mean: the data are exact in double, so the reference is.
TEST(StatsBasic, DigitsSurviveAMeanMuchLargerThanTheDeviation) {
    const uint64_t mask = kOzkStatsMean | kOzkStatsCentralMoment2 | kOzkStatsCentralMoment3 |
                          kOzkStatsCentralMoment4 | kOzkStatsKurtosis | kOzkStatsSkewness | kMatrices;
    for (int seed = 300; seed < 320; ++seed)
        for (const double mean : {1e4, 1e8, 1e12})
            for (const uint32_t method : kMethods)
                for (const bool portions : {false, true}) {
                    auto problem = random_problem<double>(seed, mean, 1);
                    const int64_t half = portions ? problem.n / 2 : problem.n;
                    ASSERT_EQ(problem.run(mask, method, nullptr, 0, half), 0);
                    if (portions) {
                        ASSERT_EQ(problem.run(mask, method, nullptr, half, problem.n), 0);
                    }
                    // Between portions the mean is rounded to the caller's array, within a call it is not.
                    const double rounding = portions ? 40 * mean * 0x1p-53 * 10 : 0;
                    EXPECT_EQ(first_error(problem, mask, 1e-14 + rounding), "")
                        << describe(problem, seed, method);
                }
}

// Blocks whose means have little to do with those before: a trend, levels far apart, growth, one late jump, and a far
// start, which counts for next to nothing where there are weights.
TEST(StatsBasic, DigitsSurviveMeansThatMoveAlongTheData) {
    const uint64_t mask = kOzkStatsMean | kOzkStatsCentralMoment2 | kOzkStatsCentralMoment3 |
                          kOzkStatsCentralMoment4 | kOzkStatsCovariance;
    for (const uint64_t bits : {mask, mask & ~kMatrices})
        for (const int64_t storage : kStorages)
            for (const bool weighted : {false, true}) {
                Problem<double> problem(6, 4000);
                problem.storage = storage;
                std::mt19937_64 random(2);
                problem.fill(random, 0, 1);
                for (int64_t j = 0; j < problem.n; ++j) {
                    const double at = static_cast<double>(j);
                    const double moves[] = {0,
                                            at,
                                            1e6 * static_cast<double>(j / 600),
                                            std::exp(at / 200),
                                            j == 3900 ? 1e9 : 0.,
                                            j < 600 ? 1e4 : 0.};
                    for (int64_t i = 0; i < problem.p; ++i) problem.x[i * problem.n + j] += moves[i];
                    if (weighted)
                        problem.weights.push_back((j < 600 ? 1e-12 : 0.5) * static_cast<double>(1 + j % 3));
                }
                ASSERT_EQ(problem.run(bits, kOzkStatsFast), 0);
                EXPECT_EQ(first_error(problem, bits, 2e-14), "") << storage << weighted;
            }
}

// Univariate data sets of certified mean, standard deviation and lag-1 autocorrelation, NIST Statistical
// Reference Datasets: NumAcc1 to 4, Michelso (the speed of light in air in 1000 km/s), Mavro (transmittance
// of a filter).
struct Certified {
    std::vector<double> values;
    double mean, deviation, autocorrelation;
    double digits;  // log relative error of the deviation: what the data's own rounding leaves
};

std::vector<Certified> certified_sets() {
    const auto alternating = [](double first, double low, double high) {
        std::vector<double> values = {first};
        for (int i = 0; i < 500; ++i) values.insert(values.end(), {low, high});
        return values;
    };
    const auto scaled = [](double base, double unit, std::initializer_list<int> digits) {
        std::vector<double> values;
        for (int k : digits) values.push_back((base + k) / unit);
        return values;
    };
    const std::vector<double> michelson =
        scaled(299000, 1000,
               {850,  740, 900, 1070, 930, 850, 950, 980, 980, 880, 1000, 980, 930, 650, 760, 810, 1000,
                1000, 960, 960, 960,  940, 960, 940, 880, 800, 850, 880,  900, 840, 830, 790, 810, 880,
                880,  830, 800, 790,  760, 800, 880, 880, 880, 860, 720,  720, 620, 860, 970, 950, 880,
                910,  850, 870, 840,  840, 850, 840, 840, 840, 890, 810,  810, 820, 800, 770, 760, 740,
                750,  760, 910, 920,  890, 860, 880, 720, 840, 850, 850,  780, 890, 840, 780, 810, 760,
                810,  790, 810, 820,  850, 870, 870, 810, 740, 810, 940,  950, 800, 810, 870});
    const std::vector<double> mavrodineanu = scaled(
        200000, 100000, {180, 170, 180, 190, 180, 170, 150, 140, 150, 150, 170, 180, 180, 190, 190, 210, 200,
                         160, 140, 130, 130, 150, 150, 160, 150, 140, 130, 140, 150, 140, 150, 160, 150, 160,
                         190, 200, 200, 210, 220, 230, 240, 250, 270, 260, 260, 260, 270, 260, 250, 240});
    return {{{10000001, 10000003, 10000002}, 10000002, 1, -0.5, 15},
            {michelson, 299.8524, 0.0790105478190518, 0.535199668621283, 13},
            {mavrodineanu, 2.001856, 0.000429123454003053, 0.937989183438248, 12.5},
            {alternating(1.2, 1.1, 1.3), 1.2, 0.1, -0.999, 14.5},
            {alternating(1000000.2, 1000000.1, 1000000.3), 1000000.2, 0.1, -0.999, 9.4},
            {alternating(10000000.2, 10000000.1, 10000000.3), 10000000.2, 0.1, -0.999, 8.2}};
}

TEST(StatsBasic, NistDataSetsHaveTheirCertifiedValuesWholeAndInPortions) {
    for (const Certified& set : certified_sets())
        for (const uint32_t method : kMethods)
            for (const bool portions : {false, true}) {
                Problem<double> problem(1, static_cast<int64_t>(set.values.size()));
                problem.x = set.values;
                const uint64_t mask = kOzkStatsMean | kOzkStatsCovariance;
                for (int64_t first = 0; first < problem.n;) {
                    const int64_t last = portions ? std::min(problem.n, first + 2 + first / 2) : problem.n;
                    ASSERT_EQ(problem.run(mask, method, nullptr, first, last), 0);
                    first = last;
                }
                EXPECT_NEAR(problem.results[kOzkStatsMean][0], set.mean, 1e-15 * set.mean);
                const double deviation = std::sqrt(problem.results[kOzkStatsCovariance][0]);
                // Between portions the mean is rounded to its array.
                const double rounding = portions ? set.mean / set.deviation * 0x1p-53 : 0;
                EXPECT_NEAR(deviation, set.deviation, set.deviation * (std::pow(10, -set.digits) + rounding))
                    << set.mean << ", method " << method << (portions ? ", in portions" : "");
                // And to 14 digits that of the data as they are stored.
                EXPECT_EQ(first_error(problem, mask, 1e-14 + rounding), "") << set.mean;
            }
}

TEST(StatsBasic, NistDataSetsHaveTheirCertifiedAutocorrelation) {
    for (const Certified& set : certified_sets()) {
        // The series beside itself one later, about the certified mean; then all of it, for the variance.
        const int64_t n = static_cast<int64_t>(set.values.size());
        Problem<double> lagged(2, n - 1), whole(1, n);
        whole.x = set.values;
        std::copy(set.values.begin(), set.values.end() - 1, lagged.x.begin());
        std::copy(set.values.begin() + 1, set.values.end(), lagged.x.begin() + (n - 1));
        lagged.results[kOzkStatsMean] = {set.mean, set.mean};
        whole.results[kOzkStatsMean] = {set.mean};
        ASSERT_EQ(lagged.run(kOzkStatsCrossProduct, kOzkStatsFastCallerMean), 0);
        ASSERT_EQ(whole.run(kOzkStatsCrossProduct, kOzkStatsFastCallerMean), 0);
        EXPECT_NEAR(lagged.results[kOzkStatsCrossProduct][1] / whole.results[kOzkStatsCrossProduct][0],
                    set.autocorrelation, std::pow(10, -std::min(set.digits, 14.0)));
    }
}

TEST(StatsBasic, NistDataSetsInSinglePrecisionHaveTheDigitsThatItHolds) {
    for (const Certified& set : certified_sets())
        for (const uint32_t method : kMethods) {
            Problem<float> problem(1, static_cast<int64_t>(set.values.size()));
            problem.x.assign(set.values.begin(), set.values.end());
            ASSERT_EQ(problem.run(kOzkStatsMean | kOzkStatsCovariance, method), 0);
            EXPECT_NEAR(problem.results[kOzkStatsMean][0], set.mean, 0x1p-24 * set.mean);
            EXPECT_EQ(first_error(problem, kOzkStatsMean | kOzkStatsCovariance, 0x1p-24), "") << set.mean;
            if (set.mean == 10000002) {  // the only one whose data it holds exactly
                EXPECT_EQ(problem.results[kOzkStatsCovariance][0], 1);
            }
        }
}

TEST(StatsBasic, TheCallersMeanIsTheCentreAndIsNotWritten) {
    for (int seed = 400; seed < 420; ++seed) {
        auto problem = random_problem<double>(seed, 1.5, 2);
        std::vector<double> given(problem.p);
        for (int64_t i = 0; i < problem.p; ++i) given[i] = 1.25 * static_cast<double>(i + 1);
        problem.results[kOzkStatsMean] = given;
        const uint64_t mask = kAll & ~uint64_t{kOzkStatsCorrelation};
        ASSERT_EQ(problem.run(mask, kOzkStatsFastCallerMean, nullptr, 0, problem.n / 2), 0);
        ASSERT_EQ(problem.run(mask, kOzkStatsFastCallerMean, nullptr, problem.n / 2, problem.n), 0);
        EXPECT_EQ(problem.results[kOzkStatsMean], given);
        for (int64_t i = 0; i < problem.p; ++i)
            if (!problem.selected(i)) problem.results[kOzkStatsMean][i] = kUntouched;
        EXPECT_EQ(first_error(problem, mask, 1e-13, &given), "")
            << describe(problem, seed, kOzkStatsFastCallerMean);
    }
}

TEST(StatsBasic, ConversionsTakeSumsToMomentsAndCrossProductsToCovariances) {
    const uint64_t moments = 0x3FF | kOzkStatsCovariance | kOzkStatsCorrelation;
    for (int seed = 500; seed < 520; ++seed)
        for (const bool accumulated : {true, false}) {
            auto problem = random_problem<double>(seed, 1.5, 2);
            ASSERT_EQ(problem.run(kSums | kOzkStatsCrossProduct, kOzkStatsFast), 0);
            for (const Estimate& e : kEstimates)
                if (moments & e.bit)
                    problem.results[e.bit].assign(problem.results[e.bit].size(), double(kUntouched));
            const auto sums = problem.results;
            if (!accumulated) problem.accumulated[0] = 0;  // then the weights of the observations count
            ASSERT_EQ(
                problem.run(kOzkStatsCovariance | kOzkStatsCorrelation, kOzkStatsCrossProductToCovariance),
                0);
            ASSERT_EQ(problem.run(0x3FF, kOzkStatsSumsToMoments), 0);
            EXPECT_EQ(first_error(problem, moments, 1e-14), "") << describe(problem, seed, 0x600);
            for (const Estimate& e : kEstimates)
                if ((moments & e.bit) == 0) {
                    EXPECT_EQ(problem.results[e.bit], sums.at(e.bit)) << e.name;
                }
        }
}

// ---- Statuses

struct Bare {
    int64_t p = 2, n = 3, storage = kOzkStatsByComponent, full = kOzkStatsMatrixFull;
    double x[6] = {1, 2, 4, 3, 5, 8};
    std::vector<double> arrays[34];
    OzkStatsTask* task = nullptr;

    Bare() {
        EXPECT_EQ(__vsldSSNewTask(&task, &p, &n, &storage, x, nullptr, nullptr, 1), 0);
        for (int id :
             {kOzkStatsIdCovarianceStorage, kOzkStatsIdCorrelationStorage, kOzkStatsIdCrossProductStorage})
            __vsliSSEditTask(task, id, &full);
    }
    ~Bare() { __vslSSDeleteTask(&task); }
    void give(uint64_t mask) {
        for (const Estimate& e : kEstimates)
            if (mask & e.bit) {
                auto& array = arrays[&e - kEstimates.data()];
                array.assign(4, kUntouched);
                __vsldSSEditTask(task, e.id, array.data());
            }
    }
    bool untouched() const {
        for (const auto& array : arrays)
            for (const double value : array)
                if (value != kUntouched) return false;
        return true;
    }
    int run(uint64_t mask, uint32_t method) { return _vsldSSBasic(task, mask, method, nullptr); }
};

// With every estimate asked for, the arrays are missed in one fixed order.
TEST(StatsBasic, MissingArraysAreReportedInOrderBeforeAnythingIsWritten) {
    const std::pair<uint64_t, int> order[] = {
        {0x1, -4006},        {0x2, -4007},        {0x4, -4008},        {0x8, -4009},
        {0x10, -4010},       {0x20, -4011},       {0x40, -4012},       {0x1000, -4018},
        {0x2000, -4019},     {0x80, -4013},       {0x100, -4014},      {0x200, -4017},
        {0x2000000, -4074},  {0x4000000, -4075},  {0x8000000, -4076},  {0x10000000, -4077},
        {0x20000000, -4078}, {0x40000000, -4079}, {0x80000000, -4080}, {0x100000000, -4081}};
    for (const uint32_t method :
         {kOzkStatsFast, kOzkStatsOnePass, kOzkStatsFastCallerMean, kOzkStatsSumsToMoments}) {
        Bare bare;
        bare.task->observation_count = nullptr;  // missed after every array
        for (const auto& [bit, status] : order) {
            EXPECT_EQ(bare.run(kAll, method), status);
            bare.give(bit);
        }
        EXPECT_EQ(bare.run(kAll, method),
                  method == kOzkStatsSumsToMoments ? kOzkStatsErrorMethod : kOzkStatsErrorObservationCount);
        EXPECT_TRUE(bare.untouched());
    }
}

// What each estimate needs besides its own array, by method: the needed arrays but one are not enough.
TEST(StatsBasic, EachEstimateNeedsTheTabledArraysAndNoOthers) {
    constexpr uint64_t m = 1, r2 = 2, r23 = 6, r234 = 14, c2 = 0x10, c3 = 0x20, c4 = 0x40,
                       none = ~uint64_t{0};
    struct Row {
        uint64_t bit, one_pass, fast, conversion;
    };
    const Row rows[] = {{0x1, m, m, m | 0x2000000},
                        {0x2, 2, 2, 2 | 0x4000000},
                        {0x4, 4, 4, 4 | 0x8000000},
                        {0x8, 8, 8, 8 | 0x10000000},
                        {c2, m | r2 | c2, m | r2 | c2, c2 | 0x20000000},
                        {c3, m | r23 | c3, m | r23 | c3, c3 | 0x40000000},
                        {c4, m | r234 | c4, m | r234 | c4, c4 | 0x80000000},
                        {0x80, m | r234 | c2 | c4 | 0x80, m | r234 | c2 | c4 | 0x80, m | c2 | c4 | 0x80},
                        {0x100, m | r23 | c2 | c3 | 0x100, m | r23 | c2 | c3 | 0x100, m | c2 | c3 | 0x100},
                        {0x200, m | r2 | c2 | 0x200, m | r2 | c2 | 0x200, m | c2 | 0x200},
                        {0x1000, m | 0x1000, m | 0x1000, 0x100001000},
                        {0x2000, m | 0x2000, m | 0x2000, 0x100002000},
                        {0x2000000, 0x2000000, 0x2000000, none},
                        {0x4000000, 0x4000000, 0x4000000, none},
                        {0x8000000, 0x8000000, 0x8000000, none},
                        {0x10000000, 0x10000000, 0x10000000, none},
                        {0x20000000, m | 0x20000000, m | r2 | 0x20000000, none},
                        {0x40000000, m | 0x40000000, m | r23 | 0x40000000, none},
                        {0x80000000, m | 0x80000000, m | r234 | 0x80000000, none},
                        {0x100000000, m | 0x100000000, m | 0x100000000, none}};
    const auto check = [](uint64_t bit, uint64_t needed, uint32_t method) {
        SCOPED_TRACE(testing::Message() << std::hex << bit << " method " << method);
        for (const Estimate& missing : kEstimates) {
            if (needed == ~uint64_t{0} || (needed & missing.bit) == 0) continue;
            Bare bare;
            bare.give(needed & ~missing.bit);
            EXPECT_NE(bare.run(bit, method), 0) << missing.name;
            EXPECT_TRUE(bare.untouched());
        }
        Bare bare;
        bare.give(needed);
        EXPECT_EQ(bare.run(bit, method), needed == ~uint64_t{0} ? kOzkStatsErrorMethod : 0);
    };
    for (const Row& row : rows) {
        check(row.bit, row.one_pass, kOzkStatsOnePass);
        check(row.bit, row.one_pass, kOzkStatsFastCallerMean);
        check(row.bit, row.fast, kOzkStatsFast);
        check(row.bit, row.conversion, kOzkStatsCrossProductToCovariance);
        check(row.bit, row.conversion, kOzkStatsSumsToMoments);
    }
}

TEST(StatsBasic, BadMethodsAndParametersAreRefusedInOrder) {
    Bare bare;
    bare.give(kAll);
    for (const uint32_t method : {0u, 0x3u, 0x101u, 0x102u, 0x103u, 0x8u, 0x203u})
        EXPECT_EQ(bare.run(kAll, method), kOzkStatsErrorMethod) << method;
    EXPECT_EQ(_vsldSSBasic(nullptr, 1, 1, nullptr), kOzkStatsErrorTask);
    EXPECT_EQ(_vslsSSBasic(nullptr, 1, 0, nullptr), kOzkStatsErrorTask);

    const int64_t zero = 0, wrong = 3;
    OzkStatsTask& task = *bare.task;
    const auto refuse = [&](int status) {
        EXPECT_EQ(bare.run(kAll, kOzkStatsFast), status);
        EXPECT_TRUE(bare.untouched());
    };
    // The faults are mended one after another, in the order in which they are found.
    task.observation_count = task.dimension = task.observation_storage = task.observations = nullptr;
    task.covariance_storage = task.correlation_storage = task.cross_product_storage = nullptr;
    refuse(kOzkStatsErrorObservationCount);
    task.observation_count = const_cast<int64_t*>(&zero);
    refuse(kOzkStatsErrorDimension);
    task.dimension = const_cast<int64_t*>(&zero);
    refuse(kOzkStatsErrorDimension);
    task.dimension = &bare.p;
    refuse(kOzkStatsErrorObservationCount);
    task.observation_count = &bare.n;
    refuse(kOzkStatsErrorInteger);
    task.observation_storage = const_cast<int64_t*>(&wrong);
    refuse(kOzkStatsErrorStorage);
    task.observation_storage = &bare.storage;
    refuse(kOzkStatsErrorObservations);
    task.observations = bare.x;
    for (void** storage :
         {&task.covariance_storage, &task.correlation_storage, &task.cross_product_storage}) {
        refuse(kOzkStatsErrorInteger);
        *storage = const_cast<int64_t*>(&wrong);
        refuse(kOzkStatsErrorStorage);
        *storage = &bare.full;
    }
    EXPECT_EQ(bare.run(kAll, kOzkStatsFast | 0x8 | kOzkStatsSumsToMoments), 0);
}

// ---- Threads, degenerate data

int parallel_for(int64_t items, int64_t threads, void* context, OzkLoopBody body) {
    std::vector<std::thread> pool;
    for (int64_t t = 0; t < threads; ++t)
        pool.emplace_back([=] {
            for (int64_t i = items - 1 - t; i >= 0; i -= threads)
                body(i, t, context);  // backwards, for the order
        });
    for (std::thread& thread : pool) thread.join();
    return 0;
}

int64_t g_threads = 1;

TEST(StatsBasic, TheBitsDoNotDependOnTheNumberOfThreads) {
    const OzkThreading threading = {parallel_for, nullptr, nullptr, nullptr,
                                    [](int64_t, int64_t, int64_t, const void*) { return g_threads; }};
    const std::pair<int64_t, int64_t> shapes[] = {{1, 40000}, {3, 12000}, {40, 4500}, {150, 2500}, {530, 24}};
    for (const auto& [p, n] : shapes)
        for (const int64_t storage : kStorages)
            for (const uint32_t method : kMethods)
                for (const uint64_t mask : {kAll, kAll & ~kMatrices}) {
                    Problem<double> first(p, n);
                    std::mt19937_64 random(p);
                    first.storage = storage;
                    first.fill(random, 100, 1);
                    Problem<double> serial = first;
                    ASSERT_EQ(serial.run(mask, method), 0);
                    for (g_threads = 1; g_threads <= 8; ++g_threads) {
                        Problem<double> problem = first;
                        ASSERT_EQ(problem.run(mask, method, &threading), 0);
                        for (const Estimate& e : kEstimates)
                            ASSERT_EQ(std::memcmp(problem.results[e.bit].data(), serial.results[e.bit].data(),
                                                  serial.results[e.bit].size() * sizeof(double)),
                                      0)
                                << e.name << ' ' << p << ' ' << g_threads;
                    }
                    if (p > 40) {
                        EXPECT_EQ(first_error(serial, mask & kOzkStatsCorrelation, 1e-13), "") << p;
                    }
                }
}

TEST(StatsBasic, DegenerateDataGiveNaNWhereAnEstimateHasNoValue) {
    for (const uint32_t method : kMethods) {
        Problem<double> constant(3, 600);
        constant.storage = kOzkStatsByObservation;
        constant.x.assign(constant.x.size(), 0.1);
        for (int64_t j = 0; j < constant.n; ++j) constant.weights.push_back(0.1 * static_cast<double>(j % 7));
        ASSERT_EQ(constant.run(kAll, method), 0);
        auto& results = constant.results;
        for (int i = 0; i < 3; ++i) {
            EXPECT_DOUBLE_EQ(results[kOzkStatsMean][i], 0.1);
            EXPECT_EQ(results[kOzkStatsCentralMoment2][i], 0);
            EXPECT_EQ(results[kOzkStatsVariation][i], 0);
            for (const uint64_t bit : {kOzkStatsSkewness, kOzkStatsKurtosis})
                EXPECT_TRUE(std::isnan(results[bit][i]));
        }
        for (int i = 0; i < 9; ++i) {
            EXPECT_EQ(results[kOzkStatsCovariance][i], 0);
            EXPECT_TRUE(std::isnan(results[kOzkStatsCorrelation][i]));
        }

        // One observation, which a second call completes; zero weights count as absent, even before the
        // first.
        Problem<double> two(2, 6);
        two.x = {9, 1, 9, 9, 3, 9, 9, 5, 9, 9, 1, 9};
        two.weights = {0, 0.1, 0, 0, 0.1, 0};
        ASSERT_EQ(two.run(kAll, method, nullptr, 0, 3), 0);
        EXPECT_EQ(two.results[kOzkStatsMean], (std::vector<double>{1, 5}));
        for (const double value : two.results[kOzkStatsCovariance]) EXPECT_TRUE(std::isnan(value));
        ASSERT_EQ(two.run(kAll, method, nullptr, 3, 6), 0);
        EXPECT_EQ(first_error(two, kAll, 1e-15), "");

        // A NaN stays in its component.
        Problem<double> hole(2, 20);
        std::mt19937_64 random(7);
        hole.fill(random, 0, 1);
        const double before = hole.x[25];
        hole.x[25] = std::nan("");
        ASSERT_EQ(hole.run(kAll, method), 0);
        EXPECT_TRUE(std::isnan(hole.results[kOzkStatsMean][1]) &&
                    std::isnan(hole.results[kOzkStatsCovariance][1]));
        hole.x[25] = before;
        hole.indices = {1, 0};
        hole.results[kOzkStatsMean][1] = kUntouched;
        EXPECT_EQ(first_error(hole, kOzkStatsMean, 1e-15), "");
    }
}

// Whatever an absent observation holds: the bits are those of data with a number there.
TEST(StatsBasic, ObservationsOfWeightZeroAreAbsentWhateverTheyHold) {
    const auto check = [](auto problem, uint32_t method, uint64_t mask, const std::string& text) {
        using Real = std::remove_reference_t<decltype(problem.x[0])>;
        std::mt19937_64 random(problem.n);
        problem.indices.clear();
        problem.weights.clear();
        for (int64_t j = 0; j < problem.n; ++j)
            problem.weights.push_back(random() % 3 ? Real(0.5) * Real(1 + random() % 4) : 0);
        problem.weights[problem.n / 2] = 1;
        auto holes = problem;
        constexpr Real kContents[] = {std::numeric_limits<Real>::quiet_NaN(), INFINITY, -INFINITY};
        for (int64_t i = 0; i < problem.p; ++i)
            for (int64_t j = 0; j < problem.n; ++j)
                if (problem.weights[j] == 0) holes.x[i * problem.n + j] = kContents[random() % 3];
        ASSERT_EQ(problem.run(mask, method), 0);
        ASSERT_EQ(holes.run(mask, method), 0);
        for (const Estimate& e : kEstimates) {
            const auto &got = holes.results[e.bit], &expected = problem.results[e.bit];
            EXPECT_EQ(std::memcmp(got.data(), expected.data(), got.size() * sizeof(Real)), 0)
                << e.name << ", " << text;
        }
    };
    for (int seed = 600; seed < 630; ++seed)
        for (const uint32_t method : kMethods)
            for (const uint64_t mask : {kAll, kAll & ~kMatrices}) {
                const auto real = random_problem<double>(seed, 1.5, 2);
                check(real, method, mask, describe(real, seed, method));
                check(random_problem<float>(seed, 1.5, 2), method, mask, describe(real, seed, method));
            }
}

TEST(StatsBasic, EndlessPortionsDoNotWearTheMeanOut) {
    for (const uint32_t method : kMethods) {
        Problem<double> problem(1, 20000);
        std::mt19937_64 random(3);
        problem.fill(random, 1000, 1);
        for (int64_t j = 0; j < problem.n; j += 2)
            ASSERT_EQ(problem.run(kOzkStatsMean | kOzkStatsCentralMoment2, method, nullptr, j, j + 2), 0);
        EXPECT_EQ(first_error(problem, kOzkStatsMean, 1e-14), "");
        EXPECT_EQ(first_error(problem, kOzkStatsCentralMoment2, 1e-12), "");
    }
}

}  // namespace
