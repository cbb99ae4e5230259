// Missing values: EM against a plain one in long double, closed forms and a published example; data augmentation
// against the distributions that it draws from.
#include "sample_problem.hpp"
#include "tests/vsl/allocator.hpp"

namespace {

using namespace ozk::stats::test;

constexpr double kHole = std::numeric_limits<double>::quiet_NaN();

// Incomplete observations, kept observation after observation, and everything that the estimator is given.
template <class Real>
struct Incomplete {
    int64_t p, n;
    std::vector<Real> x;
    double em_iterations = 2000, iterations = 0, accuracy = 1e-14, copies = 1;
    std::vector<Real> starts, prior;
    bool want_sets = true, want_estimates = true;
    int64_t storage = kOzkStatsByObservation;
    bool wide = true;
    const OzkThreading* threading = nullptr;
    std::vector<Real> sets, estimates;  // results

    Incomplete(int64_t components, std::vector<Real> values)
        : p(components), n(static_cast<int64_t>(values.size()) / components), x(std::move(values)) {}

    int64_t missing() const {
        return std::count_if(x.begin(), x.end(), [](Real v) { return std::isnan(v); });
    }
    size_t estimate_size() const { return static_cast<size_t>(p + p * (p + 1) / 2); }

    int run() {
        std::vector<Real> data = x;
        for (int64_t i = 0; i < p && storage == kOzkStatsByComponent; ++i)
            for (int64_t j = 0; j < n; ++j) data[i * n + j] = x[j * p + i];
        const Real parameters[] = {Real(em_iterations), Real(iterations), Real(accuracy), Real(copies),
                                   Real(missing())};
        sets.assign(static_cast<size_t>(copies) * missing() * want_sets, Real(kUntouchedValue));
        estimates.assign(
            static_cast<size_t>(copies * std::max(iterations, 1.0)) * estimate_size() * want_estimates,
            Real(kUntouchedValue));
        TaskOf<Real> task(p, wide);
        task.integers(kOzkStatsIdObservationCount, {n})
            .integers(kOzkStatsIdObservationStorage, {storage})
            .set(kOzkStatsIdObservations, data)
            .integers(kOzkStatsIdMissingParameterCount, {5})
            .set(kOzkStatsIdMissingParameters, parameters);
        const auto give = [&](int id, int count_id, const std::vector<Real>& values) {
            if (!values.empty())
                task.set(id, values).integers(count_id, {static_cast<int64_t>(values.size())});
        };
        give(kOzkStatsIdSimulatedSets, kOzkStatsIdSimulatedSetCount, sets);
        give(kOzkStatsIdEstimates, kOzkStatsIdEstimateCount, estimates);
        give(kOzkStatsIdInitialEstimates, kOzkStatsIdInitialEstimateCount, starts);
        give(kOzkStatsIdPrior, kOzkStatsIdPriorCount, prior);
        return Kernels<Real>::missing_values(task.task, kOzkStatsMissingValues, 0, threading);
    }
    bool untouched() const {
        const auto same = [](Real v) { return v == Real(kUntouchedValue); };
        return std::all_of(sets.begin(), sets.end(), same) &&
               std::all_of(estimates.begin(), estimates.end(), same);
    }
};

// Correlated normal observations with far-off means, of which a share is missing: where `hidden`, by a first
// component that stays and decides (missing at random), else by chance alone.
std::vector<double> normal_data(int64_t p, int64_t n, double share, std::mt19937_64& random,
                                bool hidden = false) {
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> uniform;
    std::vector<double> x(p * n);
    for (int64_t j = 0; j < n; ++j) {
        const double common = normal(random);
        for (int64_t i = 0; i < p; ++i)
            x[j * p + i] = 10. * i + (1. + i) * (0.8 * common + 0.6 * normal(random));
        const double odds = hidden ? (x[j * p] > 0 ? 1.7 : 0.3) * share : share;
        for (int64_t i = hidden; i < p; ++i)
            if (uniform(random) < odds) x[j * p + i] = kHole;
    }
    return x;
}

// Mean and covariance in long double, and their EM observation by observation: the regression of the missing
// components on the others by elimination.
struct Parameters {
    size_t p;
    std::vector<long double> mean, covariance;  // full

    explicit Parameters(size_t components) : p(components), mean(p), covariance(p * p) {}
    template <class Real>
    Parameters(size_t components, const Real* packed) : Parameters(components) {
        for (auto& m : mean) m = *packed++;
        for (size_t i = 0; i < p; ++i)
            for (size_t k = i; k < p; ++k) (*this)(i, k) = (*this)(k, i) = *packed++;
    }
    long double& operator()(size_t i, size_t k) { return covariance[i * p + k]; }
    long double operator()(size_t i, size_t k) const { return covariance[i * p + k]; }

    template <class Real>
    static Parameters of_observed(const Incomplete<Real>& data) {
        Parameters start(data.p);
        for (size_t i = 0; i < start.p; ++i) {
            long double count = 0;
            for (int64_t j = 0; j < data.n; ++j)
                if (const Real v = data.x[j * data.p + i]; !std::isnan(v)) start.mean[i] += v, ++count;
            start.mean[i] /= count;
            for (int64_t j = 0; j < data.n; ++j)
                if (const Real v = data.x[j * data.p + i]; !std::isnan(v))
                    start(i, i) += (v - start.mean[i]) * (v - start.mean[i]) / count;
        }
        return start;
    }

    // Completes one observation; what remains of the covariance of its missing values goes to `residual`. Adds the
    // logarithm of the density of what is observed to likelihood.
    template <class Real>
    std::vector<long double> expect(const Real* x, Parameters& residual, long double& likelihood) const {
        residual = *this;
        std::vector<long double> completed = mean;
        for (size_t o = 0; o < p; ++o) {
            if (std::isnan(x[o])) continue;
            const std::vector<long double> row(residual.covariance.begin() + o * p,
                                               residual.covariance.begin() + (o + 1) * p);
            const long double deviation = x[o] - completed[o];
            likelihood -= (std::log(row[o]) + deviation * deviation / row[o]) / 2;
            for (size_t i = 0; i < p; ++i) {
                completed[i] += row[i] / row[o] * deviation;
                for (size_t k = 0; k < p; ++k) residual(i, k) -= row[i] * row[k] / row[o];
            }
        }
        return completed;
    }
    template <class Real>
    long double likelihood(const Incomplete<Real>& data) const {
        long double sum = 0;
        Parameters unused(p);
        for (int64_t j = 0; j < data.n; ++j) expect(&data.x[j * data.p], unused, sum);
        return sum;
    }
    // One step, to the mode under `prior` (packed as the estimator takes it) where it is not empty.
    template <class Real>
    Parameters step(const Incomplete<Real>& data) const {
        Parameters next(p), residual(p), sums(p);
        long double n = 0, unused = 0;
        std::vector<std::vector<long double>> rows;
        for (int64_t j = 0; j < data.n; ++j) {
            const Real* x = &data.x[j * data.p];
            if (std::all_of(x, x + p, [](Real v) { return std::isnan(v); })) continue;
            rows.push_back(expect(x, residual, unused));
            for (size_t e = 0; e < p * p; ++e) sums.covariance[e] += residual.covariance[e];
            for (size_t i = 0; i < p; ++i) next.mean[i] += rows.back()[i];
            ++n;
        }
        for (auto& m : next.mean) m /= n;
        for (const auto& row : rows)
            for (size_t i = 0; i < p; ++i)
                for (size_t k = 0; k < p; ++k)
                    sums(i, k) += (row[i] - next.mean[i]) * (row[k] - next.mean[k]);
        long double divisor = n;
        if (!data.prior.empty()) {
            const long double tau = data.prior[0];
            const Parameters prior(p, data.prior.data() + 2);
            divisor = n + data.prior[1] + p + 2;
            for (size_t i = 0; i < p; ++i)
                for (size_t k = 0; k < p; ++k)
                    sums(i, k) += prior(i, k) + n * tau / (n + tau) * (next.mean[i] - prior.mean[i]) *
                                                    (next.mean[k] - prior.mean[k]);
            for (size_t i = 0; i < p; ++i)
                next.mean[i] = (n * next.mean[i] + tau * prior.mean[i]) / (n + tau);
        }
        for (size_t e = 0; e < p * p; ++e) next.covariance[e] = sums.covariance[e] / divisor;
        return next;
    }
    // The largest difference, means in deviations and covariances in products of them.
    long double distance(const Parameters& other) const {
        long double most = 0;
        for (size_t i = 0; i < p; ++i) {
            const long double scale = std::sqrt((*this)(i, i));
            most = std::max(most, std::fabs(mean[i] - other.mean[i]) / scale);
            for (size_t k = 0; k < p; ++k)
                most =
                    std::max(most, std::fabs((*this)(i, k) - other(i, k)) / scale / std::sqrt((*this)(k, k)));
        }
        return most;
    }
};

template <class Real>
Parameters estimate_of(const Incomplete<Real>& data, size_t number = 0) {
    return {static_cast<size_t>(data.p), data.estimates.data() + number * data.estimate_size()};
}

Incomplete<double> random_problem(int seed) {
    std::mt19937_64 random(seed);
    const bool wide = seed == 9;  // patterns of more than one word
    const int64_t p = wide ? 66 : 1 + static_cast<int64_t>(random() % 7);
    const int64_t n = wide ? 100 : 12 * p + static_cast<int64_t>(random() % 100);
    Incomplete<double> problem(p, normal_data(p, n, seed % 7 * 0.08, random));
    problem.storage = random() % 2 ? kOzkStatsByObservation : kOzkStatsByComponent;
    problem.wide = random() % 2 != 0;
    return problem;
}

// ---- EM

TEST(StatsMissing, EachStepOfEmIsThatOfThePlainIteration) {
    for (int seed = 0; seed < 40; ++seed) {
        Incomplete<double> problem = random_problem(seed);
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", p " << problem.p << ", n " << problem.n);
        std::mt19937_64 random(seed);
        Parameters expected = Parameters::of_observed(problem);
        if (seed % 3 == 1) {  // from elsewhere
            for (int64_t i = 0; i < problem.p; ++i) problem.starts.push_back(9. * i);
            for (int64_t i = 0; i < problem.p; ++i)
                for (int64_t k = i; k < problem.p; ++k) problem.starts.push_back(i == k ? 30 : 0.25);
            expected = {static_cast<size_t>(problem.p), problem.starts.data()};
        }
        if (seed % 4 == 2) {
            problem.prior = {2.5, problem.p + 3.5};
            for (int64_t i = 0; i < problem.p; ++i) problem.prior.push_back(10. * i + 1);
            for (int64_t i = 0; i < problem.p; ++i)
                for (int64_t k = i; k < problem.p; ++k) problem.prior.push_back(i == k ? 20 : 1);
        }
        problem.accuracy = 0;
        problem.want_sets = seed % 2;
        long double likelihood = -INFINITY;
        for (int step = 0; step < (problem.p > 60 ? 2 : 6); ++step) {
            problem.em_iterations = step;
            ASSERT_EQ(problem.run(), 0);
            const Parameters got = estimate_of(problem);
            EXPECT_LT(expected.distance(got), 1e-12) << "step " << step;
            if (problem.prior.empty()) {
                EXPECT_GE(got.likelihood(problem), likelihood - 1e-9);
                likelihood = got.likelihood(problem);
            }
            expected = expected.step(problem);
        }
    }
}

TEST(StatsMissing, EmEndsWhereAStepMovesNoFurtherThanTheAccuracy) {
    for (int seed = 60; seed < 70; ++seed)
        for (const double accuracy : {1e-3, 1e-7}) {
            Incomplete<double> problem = random_problem(seed);
            problem.accuracy = accuracy;
            ASSERT_EQ(problem.run(), 0);
            const Parameters end = estimate_of(problem);
            EXPECT_LT(end.distance(end.step(problem)), 4 * accuracy);  // of deviations that EM enlarges
            // And not much earlier than there.
            Incomplete<double> stepped = problem;
            Parameters at = Parameters::of_observed(problem), next = at.step(problem);
            for (stepped.em_iterations = 1; at.distance(next) > accuracy; ++stepped.em_iterations)
                at = next, next = at.step(problem);
            ASSERT_EQ(stepped.run(), 0);
            EXPECT_LT(estimate_of(stepped).distance(end), 4 * accuracy);
        }
}

// Where x2 is missing for the last observations only, the likelihood factors into that of x1 and that of the
// regression of x2 on x1: Anderson, Journal of the American Statistical Association 52 (1957).
TEST(StatsMissing, MonotonePatternsHaveTheirClosedForm) {
    std::mt19937_64 random(5);
    for (const int64_t observed : {20, 60, 199}) {
        const int64_t n = 200;
        Incomplete<double> problem(2, normal_data(2, n, 0, random));
        for (int64_t j = observed; j < n; ++j) problem.x[2 * j + 1] = kHole;
        ASSERT_EQ(problem.run(), 0);
        const auto average = [](int64_t count, auto term) {
            long double sum = 0;
            for (int64_t j = 0; j < count; ++j) sum += term(j);
            return sum / count;
        };
        const auto x = [&](int64_t i, int64_t j) -> long double { return problem.x[2 * j + i]; };
        const auto product = [&](int64_t count, int i, int k) {
            const long double mi = average(count, [&](int64_t j) { return x(i, j); }),
                              mk = average(count, [&](int64_t j) { return x(k, j); });
            return average(count, [&](int64_t j) { return (x(i, j) - mi) * (x(k, j) - mk); });
        };
        Parameters expected(2);
        const long double slope = product(observed, 0, 1) / product(observed, 0, 0);
        expected.mean[0] = average(n, [&](int64_t j) { return x(0, j); });
        expected.mean[1] = average(observed, [&](int64_t j) { return x(1, j); }) +
                           slope * (expected.mean[0] - average(observed, [&](int64_t j) { return x(0, j); }));
        expected(0, 0) = product(n, 0, 0);
        expected(0, 1) = expected(1, 0) = slope * expected(0, 0);
        expected(1, 1) = product(observed, 1, 1) + slope * slope * (expected(0, 0) - product(observed, 0, 0));
        EXPECT_LT(expected.distance(estimate_of(problem)), 1e-11) << observed;
    }
}

// The cement data of Draper and Smith with values taken out as in Rubin (1976); maximum likelihood means from Little
// and Rubin, "Statistical Analysis with Missing Data", 2nd ed. (2002), example 7.8.
TEST(StatsMissing, ThePublishedMeansOfTheCementDataComeOut) {
    const double h = kHole;
    Incomplete<double> problem(
        5, {7,     26, 6,    60,   78.5, 1,    29, 15,   52,    74.3, 11,   56, 8,     20,   104.3, 11,    31,
            8,     47, 87.6, 7,    52,   6,    33, 95.9, 11,    55,   9,    22, 109.2, 3,    71,    17,    h,
            102.7, 1,  31,   22,   h,    72.5, 2,  54,   18,    h,    93.1, h,  h,     4,    h,     115.9, h,
            h,     23, h,    83.8, h,    h,    9,  h,    113.3, h,    h,    8,  h,     109.4});
    problem.em_iterations = 100000;
    ASSERT_EQ(problem.run(), 0);
    const double means[] = {6.655, 49.965, 11.769, 27.047, 95.423};
    for (int i = 0; i < 5; ++i) EXPECT_NEAR(problem.estimates[i], means[i], 0.0006);
}

// ---- Data augmentation

struct MeanAndError {
    double mean = 0, error = 0;
};
MeanAndError average_of(const std::vector<double>& draws) {
    double sum = 0, squares = 0;
    for (const double d : draws) sum += d;
    const double count = static_cast<double>(draws.size()), mean = sum / count;
    for (const double d : draws) squares += (d - mean) * (d - mean);
    return {mean, std::sqrt(squares / (count - 1) / count)};
}
void expect_average(const std::vector<double>& draws, long double expected) {
    const MeanAndError found = average_of(draws);
    EXPECT_NEAR(found.mean, double(expected), 4 * found.error);
}

// Without missing values the draws are independent, and their moments are known: the posterior is normal
// inverse Wishart again.
TEST(StatsMissing, DrawsOfCompleteDataHaveTheMomentsOfThePosterior) {
    for (const bool informative : {false, true})
        for (const int64_t p : {1, 3}) {
            std::mt19937_64 random(17);
            const int64_t n = 25;
            Incomplete<double> problem(p, normal_data(p, n, 0, random));
            const size_t size = problem.estimate_size();
            long double tau = 0, degrees = -1;
            Parameters prior(p);
            if (informative) {
                tau = 8, degrees = 6.5;
                for (int64_t i = 0; i < p; ++i) {
                    prior.mean[i] = 10 * i - 1;
                    prior(i, i) = 9;
                }
                problem.prior = {8, 6.5};
                for (int64_t i = 0; i < p; ++i) problem.prior.push_back(10. * i - 1);
                for (int64_t i = 0; i < p; ++i)
                    for (int64_t k = i; k < p; ++k) problem.prior.push_back(i == k ? 9 : 0);
            }
            problem.iterations = 40000;
            problem.want_sets = false;
            ASSERT_EQ(problem.run(), 0);

            // Products about the mean, then the posterior's parameters.
            Parameters scale = Parameters::of_observed(problem);
            for (int64_t i = 0; i < p; ++i)
                for (int64_t k = 0; k < p; ++k) {
                    long double sum = 0;
                    for (int64_t j = 0; j < n; ++j)
                        sum +=
                            (problem.x[j * p + i] - scale.mean[i]) * (problem.x[j * p + k] - scale.mean[k]);
                    scale(i, k) = sum + prior(i, k) +
                                  n * tau / (n + tau) * (scale.mean[i] - prior.mean[i]) *
                                      (scale.mean[k] - prior.mean[k]);
                }
            for (int64_t i = 0; i < p; ++i)
                scale.mean[i] = (n * scale.mean[i] + tau * prior.mean[i]) / (n + tau);
            const long double nu = n + degrees, rest = nu - p;
            const auto draws = [&](auto of) {
                std::vector<double> values;
                for (size_t d = 0; d < 40000; ++d) values.push_back(double(of(&problem.estimates[d * size])));
                return values;
            };
            for (int64_t i = 0, at = p; i < p; ++i) {
                const long double mean_variance = scale(i, i) / (rest - 1) / (n + tau);
                expect_average(draws([&](const double* e) { return e[i]; }), scale.mean[i]);
                expect_average(
                    draws([&](const double* e) { return (e[i] - scale.mean[i]) * (e[i] - scale.mean[i]); }),
                    mean_variance);
                for (int64_t k = i; k < p; ++k, ++at) {
                    const long double mean = scale(i, k) / (rest - 1);
                    expect_average(draws([&](const double* e) { return e[at]; }), mean);
                    const long double variance =
                        ((rest + 1) * scale(i, k) * scale(i, k) + (rest - 1) * scale(i, i) * scale(k, k)) /
                        (rest * (rest - 1) * (rest - 1) * (rest - 3));
                    expect_average(draws([&](const double* e) { return (e[at] - mean) * (e[at] - mean); }),
                                   variance);
                }
            }
        }
}

// Without iterations each copy is drawn given the EM estimate, so that over many copies a value's mean, variance
// and covariance with its neighbours are those of the regression on what is observed.
TEST(StatsMissing, ImputedValuesFollowTheirConditionalDistribution) {
    std::mt19937_64 random(23);
    Incomplete<double> problem(4, normal_data(4, 40, 0.2, random));
    for (int i = 0; i < 4; ++i) problem.x[4 * 7 + i] = kHole;  // an empty observation
    problem.copies = 20000;
    ASSERT_EQ(problem.run(), 0);
    const Parameters em = estimate_of(problem);
    const size_t missing = static_cast<size_t>(problem.missing());
    const auto draws = [&](size_t a, size_t b, long double ma, long double mb) {
        std::vector<double> values;
        for (size_t c = 0; c < 20000; ++c)
            values.push_back(
                double((problem.sets[c * missing + a] - ma) * (problem.sets[c * missing + b] - mb)));
        return values;
    };
    size_t place = 0;
    for (int64_t j = 0; j < problem.n; ++j) {
        Parameters residual(4);
        long double unused = 0;
        const auto expected = em.expect(&problem.x[4 * j], residual, unused);
        std::vector<size_t> holes;
        for (size_t i = 0; i < 4; ++i)
            if (std::isnan(problem.x[4 * j + i])) holes.push_back(i);
        for (size_t a = 0; a < holes.size(); ++a) {
            std::vector<double> values;
            for (size_t c = 0; c < 20000; ++c) values.push_back(problem.sets[c * missing + place + a]);
            const MeanAndError found = average_of(values);
            EXPECT_NEAR(found.mean, double(expected[holes[a]]), 4.5 * found.error) << j;
            for (size_t b = a; b < holes.size(); ++b) {
                const MeanAndError product =
                    average_of(draws(place + a, place + b, expected[holes[a]], expected[holes[b]]));
                EXPECT_NEAR(product.mean, double(residual(holes[a], holes[b])), 4.5 * product.error) << j;
            }
        }
        place += holes.size();
    }
    EXPECT_EQ(place, missing);
}

// Values are missing where another component is large, so that means of what is there are wrong; those of the
// copies are right, within the standard errors of Rubin's rules.
TEST(StatsMissing, CopiesTogetherRecoverMeansAndCovariances) {
    std::mt19937_64 random(31);
    const int64_t p = 4, n = 4000;
    Incomplete<double> problem(p, normal_data(p, n, 0.35, random, true));
    problem.copies = 10;
    problem.iterations = 60;
    ASSERT_EQ(problem.run(), 0);
    std::vector<std::vector<double>> means(p), variances(p);
    const size_t missing = static_cast<size_t>(problem.missing());
    for (int64_t copy = 0; copy < 10; ++copy) {
        std::vector<double> x = problem.x;
        size_t place = copy * missing;
        for (double& v : x)
            if (std::isnan(v)) v = problem.sets[place++];
        for (int64_t i = 0; i < p; ++i) {
            std::vector<double> values;
            for (int64_t j = 0; j < n; ++j) values.push_back(x[j * p + i]);
            const MeanAndError of = average_of(values);
            means[i].push_back(of.mean);
            variances[i].push_back(of.error * of.error * n);
        }
    }
    const Parameters naive = Parameters::of_observed(problem);
    for (int64_t i = 0; i < p; ++i) {
        const MeanAndError mean = average_of(means[i]), variance = average_of(variances[i]);
        // Between the copies and within: (1 + 1/10) B + U.
        const double error = std::sqrt(11 * mean.error * mean.error + variance.mean / n);
        const double truth = (1. + i) * (1. + i);
        EXPECT_NEAR(mean.mean, 10. * i, 4 * error);
        EXPECT_NEAR(variance.mean, truth,
                    4 * std::sqrt(11 * variance.error * variance.error + 2 * truth * truth / n));
        if (i > 0) {
            EXPECT_GT(std::fabs(double(naive.mean[i]) - 10. * i), 4 * error);  // the test can tell
        }
    }
}

// The iterates of a chain have the posterior's mean, which with little missing and many observations is next to the
// likelihood's maximum.
TEST(StatsMissing, ChainsSettleAboutTheMaximumOfTheLikelihood) {
    std::mt19937_64 random(41);
    Incomplete<double> problem(3, normal_data(3, 3000, 0.1, random));
    ASSERT_EQ(problem.run(), 0);
    const Parameters em = estimate_of(problem);
    problem.iterations = 2000;
    problem.copies = 2;
    ASSERT_EQ(problem.run(), 0);
    Parameters mean(3);
    for (size_t d = 0; d < 4000; ++d) {
        const Parameters draw = estimate_of(problem, d);
        for (size_t i = 0; i < 3; ++i) mean.mean[i] += draw.mean[i] / 4000;
        for (size_t e = 0; e < 9; ++e) mean.covariance[e] += draw.covariance[e] / 4000;
    }
    EXPECT_LT(em.distance(mean),
              0.004);  // (p + 1) / n, and four standard errors of 4000 draws of width 1 / sqrt(n)
    EXPECT_GT(em.distance(estimate_of(problem, 0)), 0.002);
}

TEST(StatsMissing, ResultsRepeatForAnyThreadsLayoutAndPrecision) {
    std::mt19937_64 random(53);
    const auto values = normal_data(5, 300, 0.15, random);
    const std::vector<float> narrow(values.begin(), values.end());
    Incomplete<float> single(5, narrow);
    single.iterations = 20;
    single.copies = 7;
    single.accuracy = 0x1p-20;
    ASSERT_EQ(single.run(), 0);
    Incomplete<double> first(5, {narrow.begin(), narrow.end()});
    first.iterations = 20;
    first.copies = 7;
    first.accuracy = 0x1p-20;
    ASSERT_EQ(first.run(), 0);
    EXPECT_EQ(std::vector<float>(first.sets.begin(), first.sets.end()), single.sets);
    EXPECT_EQ(std::vector<float>(first.estimates.begin(), first.estimates.end()), single.estimates);
    for (const int64_t storage : {kOzkStatsByComponent, kOzkStatsByObservation})
        for (const OzkThreading* threading : {&kThreeThreads, static_cast<const OzkThreading*>(nullptr)}) {
            Incomplete<double> again = first;
            again.storage = storage;
            again.threading = threading;
            again.wide = threading != nullptr;
            ASSERT_EQ(again.run(), 0);
            EXPECT_EQ(again.sets, first.sets);
            EXPECT_EQ(again.estimates, first.estimates);
            // Each alone is what it is beside the other, and copies do not know of one another.
            again.want_estimates = false;
            again.copies = 3;
            ASSERT_EQ(again.run(), 0);
            EXPECT_TRUE(std::equal(again.sets.begin(), again.sets.end(), first.sets.begin()));
        }
    const size_t missing = first.sets.size() / 7;
    EXPECT_NE(std::vector<double>(first.sets.begin(), first.sets.begin() + missing),
              std::vector<double>(first.sets.begin() + missing, first.sets.begin() + 2 * missing));
}

TEST(StatsMissing, EveryCopyMayStartFromItsOwnEstimate) {
    std::mt19937_64 random(59);
    Incomplete<double> problem(2, normal_data(2, 50, 0.2, random));
    problem.em_iterations = 0;
    problem.copies = 2;
    problem.starts = {1, 2, 30, 0.5, 20, 5, 6, 70, -3, 9};
    ASSERT_EQ(problem.run(), 0);
    for (size_t k = 0; k < 10; ++k) EXPECT_NEAR(problem.estimates[k], problem.starts[k], 1e-13 * 70);
    problem.em_iterations = 2000;
    problem.threading = &kThreeThreads;
    ASSERT_EQ(problem.run(), 0);
    EXPECT_LT(estimate_of(problem, 0).distance(estimate_of(problem, 1)), 1e-12);
}

// ---- Edges and faults

TEST(StatsMissing, EdgesOfWhatIsMissingHaveAMeaning) {
    std::mt19937_64 random(61);
    const auto values = normal_data(3, 80, 0, random);
    Incomplete<double> complete(3, values);
    complete.want_sets = false;
    complete.em_iterations = 1;
    ASSERT_EQ(complete.run(), 0);
    EXPECT_LT(Parameters(3).step(complete).distance(estimate_of(complete)),
              1e-13);  // mean, covariance over n

    // Empty observations change nothing but that they are drawn as well.
    auto more = values;
    more[5] = kHole;
    Incomplete<double> some(3, more), empties = some;
    empties.x.insert(empties.x.begin(), 6, kHole);
    empties.n += 2;
    for (auto* problem : {&some, &empties}) {
        problem->iterations = 3;
        ASSERT_EQ(problem->run(), 0);
    }
    EXPECT_EQ(some.estimates, empties.estimates);
    EXPECT_EQ(some.sets.size(), 1u);
    EXPECT_EQ(empties.sets.size(), 7u);
    for (const double v : empties.sets) EXPECT_TRUE(std::fabs(v) < 100);

    // What has no estimate is refused.
    const auto refused = [&](int status, auto change) {
        Incomplete<double> problem(3, values);
        problem.x[4] = kHole;
        change(problem);
        EXPECT_EQ(problem.run(), status);
        EXPECT_TRUE(problem.untouched());
    };
    refused(kOzkStatsErrorObservations, [](auto& q) {
        for (int64_t j = 0; j < q.n; ++j) q.x[3 * j + 1] = kHole;
    });
    refused(kOzkStatsErrorObservations, [](auto& q) { q.x[8] = -INFINITY; });
    refused(kOzkStatsErrorObservationCount, [](auto& q) { q.x.resize(3 * (q.n = 3)); });
    refused(kOzkStatsErrorSingularCovariance, [](auto& q) {
        for (int64_t j = 0; j < q.n; ++j) q.x[3 * j + 2] = 2 * q.x[3 * j] - 1;
    });
    refused(kOzkStatsErrorSingularCovariance, [](auto& q) {
        for (int64_t j = 0; j < q.n; ++j) q.x[3 * j + 2] = 0.1;
    });
    refused(kOzkStatsErrorSingularCovariance, [](auto& q) { q.starts = {0, 0, 0, 1, 2, 0, 1, 0, 1}; });
    // A prior makes up for few observations, and for components without deviation.
    Incomplete<double> few(3, {1, 2, 3, 2, kHole, 3});
    few.prior = {1, 5, 0, 0, 0, 1, 0, 0, 1, 0, 1};
    few.iterations = 50;
    EXPECT_EQ(few.run(), 0);
    for (const double v : few.estimates) EXPECT_TRUE(std::isfinite(v));

    // Scales far apart and far from 1 leave the digits alone.
    Incomplete<double> plain = random_problem(3), scaled = plain;
    ASSERT_GT(plain.missing(), 0);
    for (size_t k = 0; k < scaled.x.size(); ++k) scaled.x[k] *= k % plain.p % 2 ? 0x1p600 : 0x1p-600;
    plain.want_estimates = scaled.want_estimates = false;
    plain.iterations = scaled.iterations = 5;
    ASSERT_EQ(plain.run(), 0);
    ASSERT_EQ(scaled.run(), 0);
    size_t place = 0;
    for (size_t k = 0; k < plain.x.size(); ++k)
        if (std::isnan(plain.x[k])) {
            EXPECT_DOUBLE_EQ(scaled.sets[place], plain.sets[place] * (k % plain.p % 2 ? 0x1p600 : 0x1p-600));
            ++place;
        }
}

template <class Real>
class StatsMissingFaults : public testing::Test {};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(StatsMissingFaults, Reals);

TYPED_TEST(StatsMissingFaults, AreReportedInOrderAndNothingIsWritten) {
    const TypeParam hole = std::numeric_limits<TypeParam>::quiet_NaN(), nan = hole;
    EXPECT_EQ(Kernels<TypeParam>::missing_values(nullptr, 0, 0, nullptr), kOzkStatsErrorTask);
    std::vector<TypeParam> x = {1, 2, 4, 3, hole, 7, 5, 1, 6, 2},
                           parameters = {100, 2, TypeParam(1e-4), 2, 1}, sets(2, TypeParam(kUntouchedValue)),
                           estimates(20, TypeParam(kUntouchedValue)), starts = {1, 2, 3, 0, 3},
                           prior = {1, 4, 1, 2, 3, 0, 3};
    TaskOf<TypeParam> task(2);
    OzkStatsTask& t = *task.task;
    const auto run = [&] { return Kernels<TypeParam>::missing_values(&t, 0, 0, nullptr); };
    const auto untouched = [&] {
        for (const auto* results : {&sets, &estimates})
            for (const TypeParam v : *results)
                if (v != TypeParam(kUntouchedValue)) return false;
        return true;
    };
    const auto refuse = [&](int status) {
        EXPECT_EQ(run(), status);
        EXPECT_TRUE(untouched());
    };
    const auto pointer = [&](std::vector<int64_t> value) { return const_cast<void*>(task.stored(value)); };
    const auto parameter = [&](int number, std::vector<double> bad) {
        const TypeParam good = parameters[number];
        for (const double value : bad) {
            parameters[number] = static_cast<TypeParam>(value);
            refuse(kOzkStatsErrorMissingParameters);
        }
        parameters[number] = good;
    };
    // The faults are mended one after another, in the order in which they are found.
    void* const two = t.dimension;
    t.dimension = nullptr;
    refuse(kOzkStatsErrorDimension);
    t.dimension = pointer({0});
    refuse(kOzkStatsErrorDimension);
    t.dimension = two;
    refuse(kOzkStatsErrorObservationCount);
    t.observation_count = pointer({0});
    refuse(kOzkStatsErrorObservationCount);
    t.observation_count = pointer({5});
    refuse(kOzkStatsErrorStorage);
    t.observation_storage = pointer({0x30000});
    refuse(kOzkStatsErrorStorage);
    t.observation_storage = pointer({kOzkStatsByObservation});
    refuse(kOzkStatsErrorMissingParameters);
    t.missing_parameters = parameters.data();
    refuse(kOzkStatsErrorMissingParameterCount);
    for (const int64_t count : {4, 6}) {
        t.missing_parameter_count = pointer({count});
        refuse(kOzkStatsErrorMissingParameterCountValue);
    }
    t.missing_parameter_count = pointer({5});
    t.simulated_sets = sets.data();
    refuse(kOzkStatsErrorSimulatedSetCount);
    t.simulated_sets = nullptr;
    t.simulated_set_count = pointer({2});
    refuse(kOzkStatsErrorSimulatedSets);
    t.simulated_set_count = nullptr;
    refuse(kOzkStatsErrorNothingToSimulate);
    t.estimates = estimates.data();
    refuse(kOzkStatsErrorNothingToSimulate);
    t.estimates = nullptr;
    t.estimate_count = pointer({20});
    refuse(kOzkStatsErrorNothingToSimulate);
    t.simulated_sets = sets.data();
    t.simulated_set_count = pointer({0});
    refuse(kOzkStatsErrorNothingToSimulate);
    t.estimates = estimates.data();

    parameter(0, {-1, nan, 0x1p31, INFINITY});
    parameter(1, {-1, nan, 0x1p40});
    parameter(2, {-1, nan});
    parameter(3, {0, 0.5, -1, nan});
    t.initial_estimates = starts.data();
    for (const int64_t count : {0, 4, 15, -5}) {
        t.initial_estimate_count = count == 0 ? nullptr : pointer({count});
        refuse(kOzkStatsErrorInitialEstimateCount);
    }
    t.initial_estimate_count = pointer({5});
    for (const TypeParam bad : {nan, TypeParam(INFINITY)}) {
        starts[3] = bad;
        refuse(kOzkStatsErrorInitialEstimates);
    }
    starts[3] = 0;
    t.initial_estimates = nullptr;
    refuse(kOzkStatsErrorInitialEstimates);
    t.initial_estimates = starts.data();
    for (const int64_t count : {6, 8, -7}) {
        t.prior_count = pointer({count});
        refuse(kOzkStatsErrorPriorCount);
    }
    t.prior_count = pointer({7});
    refuse(kOzkStatsErrorPrior);
    t.prior = prior.data();
    for (const TypeParam bad : {TypeParam(-1), nan}) {
        prior[0] = bad;
        refuse(kOzkStatsErrorPrior);
    }
    prior[0] = 1;
    t.estimate_count = pointer({19});
    refuse(kOzkStatsErrorEstimateCount);
    parameters[1] = parameters[3] = 0x1p30;
    refuse(kOzkStatsErrorEstimateCount);
    parameters[1] = parameters[3] = 2;
    t.estimate_count = pointer({20});
    refuse(kOzkStatsErrorObservations);
    t.observations = x.data();
    parameter(4, {0, 2, nan, 1.5});
    for (const int64_t count : {1, -1}) {
        t.simulated_set_count = pointer({count});
        refuse(kOzkStatsErrorSimulatedSetCount);
    }
    t.simulated_set_count = pointer({2});
    prior[1] = -4;
    refuse(kOzkStatsErrorObservationCount);
    prior[1] = 4;

    // Without memory at whichever allocation.
    for (int allowed = 0;; ++allowed) {
        ASSERT_LT(allowed, 20);
        const int before = test_allocator::live_blocks;
        int status;
        {
            const test_allocator::Limit limit(allowed);
            status = run();
        }
        EXPECT_EQ(test_allocator::live_blocks, before);
        if (status == 0) {
            EXPECT_GE(allowed, 4);  // data, results, a stream for each copy
            break;
        }
        EXPECT_EQ(status, kOzkStatsErrorMemory);
        EXPECT_TRUE(untouched());
    }
    for (const auto* results : {&sets, &estimates})
        for (const TypeParam v : *results) EXPECT_NE(v, TypeParam(kUntouchedValue));
}

}  // namespace
