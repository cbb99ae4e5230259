// Robust mean and covariance: a constrained M-estimator with the translated biweight.
//
// Among all t and S for which the mean of rho(d_j), d_j the Mahalanobis distances, is the breakdown point times
// rho(infinity), it minimises det S: an S-estimator. With w_j = w(d_j), v_j = psi(d_j) d_j the step
//
//   t = sum w_j x_j / sum w_j,   S = p sum w_j (x_j - t)(x_j - t)' / sum v_j
//
// is followed by the scale k^2 of S for which the constraint holds. The constraint holds for normal data with their
// own covariance, so that S needs no further factor to be consistent there. Rocke and Woodruff, "Identification of
// outliers in multivariate data", JASA 91 (1996); Rocke, Annals of Statistics 24 (1996).
//
// The start is found on a sample of the points (all of them, when they are few) among two kinds, by the determinant
// after a few of these steps: medians with median absolute deviations along the principal axes of the directions
// from them (Maronna and Zamar, Technometrics 44, 2002), and means and covariances of many small sets of points, each
// moved twice to the nearest half of the sample (Rousseeuw and Van Driessen, Technometrics 41, 1999). Sample and sets
// come from a generator of fixed seed.

#include <cmath>

#include "ozk_stats.h"
#include "vsl/stats/basic.hpp"
#include "vsl/stats/cloud.hpp"
#include "vsl/stats/covariance_inverse.hpp"
#include "vsl/stats/translated_biweight.hpp"

namespace ozk::stats {
namespace {

constexpr int64_t kParameters = 4;
constexpr int64_t kSamplePoints = 600, kSampleFactor = 4;  // at least so many, and times the dimension
constexpr double kMostSets = 500;
constexpr double kSetWork = 3e8;    // multiply-adds that all sets together may take
constexpr int kCandidates = 3;      // of the sets that are compared by the estimator's own steps
constexpr int64_t kFirstSteps = 4;  // of the comparison
constexpr int64_t kPanelBytes = 10'000'000;
constexpr int64_t kItem = 1024;  // points of a thread's turn

struct RobustParameters {
    double breakdown;
    double rejection = 0.001;
    double accuracy = 0.001;
    int64_t most_steps = 100;
};

template <class Real>
struct RobustRequest {
    Sample<Real> sample;
    Matrix covariance;
    RobustParameters parameters;
    int64_t p = 0;  // selected components

    int check(OzkStatsTask* task, uint32_t method) {
        const auto enough = [](int64_t n, int64_t components) { return (n - 1) / 2 >= components; };
        if (const int status = check_sizes(task, sample, enough)) return status;
        if (task->robust_mean == nullptr) return kOzkStatsErrorRobustMean;
        if (task->robust_covariance == nullptr) return kOzkStatsErrorRobustCovariance;
        covariance = {task->robust_covariance, sizeof(Real) == sizeof(float), 0, sample.p};
        if (const int status =
                check_matrix_storage(*task, task->robust_covariance_storage, covariance.storage))
            return status;
        if ((method & kOzkStatsTranslatedBiweight) == 0) return kOzkStatsErrorMethod;
        if (const int status = check_observations(sample)) return status;
        for (int64_t i = 0; i < sample.p; ++i) p += sample.selected(i);
        read_parameters(*task);
        return kOzkStatsOk;
    }

    void read_parameters(const OzkStatsTask& task) {
        const double n = static_cast<double>(sample.n), most = 0.5 * (n - static_cast<double>(p)) / n;
        parameters.breakdown = most;
        const Real* const given = static_cast<const Real*>(task.robust_parameters);
        const int64_t count =
            task.robust_parameter_count != nullptr ? read_integer(task, task.robust_parameter_count) : 0;
        if (given == nullptr || count != kParameters) return;
        // A breakdown point that is none is the most robust one.
        if (given[0] > 0 && given[0] < most) parameters.breakdown = static_cast<double>(given[0]);
        const double rejection = static_cast<double>(given[1]);
        if (rejection > 0 && rejection < 1) parameters.rejection = rejection;
        if (given[2] > 0) parameters.accuracy = static_cast<double>(given[2]);
        if (given[3] >= 0)
            parameters.most_steps = given[3] < Real(1 << 30) ? static_cast<int64_t>(given[3]) : 1 << 30;
    }
};

// Location and scatter, and what measuring the points with them takes.
struct Shape {
    double* mean;     // p
    double* scatter;  // p by p
    double* inverse;  // p by p, the lower triangle by columns; null where the shape is only kept
    double log_determinant;
};

void copy(int64_t p, const Shape& from, Shape& to) {
    std::copy_n(from.mean, p, to.mean);
    std::copy_n(from.scatter, p * p, to.scatter);
    to.log_determinant = from.log_determinant;
}

// The inverse of the scatter; where that is singular, of one that is repaired, if there is `rank_work` for it.
int invert(int64_t p, Shape& shape, double* rank_work) {
    double trace = 0;
    for (int64_t i = 0; i < p; ++i) trace += shape.scatter[i * (p + 1)];
    if (!(trace > 0 && trace < kFar)) return kOzkStatsErrorSingularCovariance;
    std::copy_n(shape.scatter, p * p, shape.inverse);
    if (rank_work != nullptr) {
        bool repaired;
        if (const int status = test_rank(p, shape.inverse, rank_bounds(p, trace), rank_work, repaired))
            return status;
    }
    if (const int status = invert_covariance(p, shape.inverse, shape.log_determinant)) return status;
    return std::isfinite(shape.log_determinant) ? kOzkStatsOk : kOzkStatsErrorSingularCovariance;
}

// Points, and the arrays of one element for each of them.
template <class Real>
struct Points {
    Cloud<Real> cloud;
    PassRoom room;
    double* squares;
    double* distances;
    double* weights;
    int64_t* keys;
    double* rank_work;

    int measure(Shape& shape, bool repair) const {
        if (const int status = invert(cloud.p, shape, repair ? rank_work : nullptr)) return status;
        square_distances(cloud, room, shape.mean, shape.inverse, kItem, squares);
        return kOzkStatsOk;
    }
    // The mean and covariance of the `count` points nearest to the shape.
    int concentrate(int64_t count, Shape& shape) const {
        if (const int status = measure(shape, false)) return status;
        mark_nearest(squares, cloud.n(), count, keys, weights);
        weighted_scatter(cloud, room, shape.mean, weights, shape.mean, shape.scatter);
        return kOzkStatsOk;
    }
};

// The k for which the mean of rho(d / k) is the breakdown point times the ceiling: Newton's method for log k within
// a bracket. 0 when there is none, because too many distances are 0 or infinite.
double constrained_scale(const TranslatedBiweight& function, const double* distances, int64_t n,
                         double start) {
    const double wanted = function.breakdown * function.ceiling() * static_cast<double>(n);
    double low = 0, high = kFar, k = start;
    int64_t zeros = 0, far = 0;
    for (int64_t j = 0; j < n; ++j) {
        zeros += distances[j] == 0;
        far += distances[j] == kFar;
    }
    if (static_cast<double>(n - zeros) * function.ceiling() <= wanted ||
        static_cast<double>(far) * function.ceiling() >= wanted)
        return 0;
    for (int step = 0; step < 200; ++step) {
        double sum = 0, slope = 0;
        const double rate = 1 / k;
        for (int64_t j = 0; j < n; ++j) {
            const double d = distances[j] * rate;
            sum += function.rho(d);
            if (d < function.limit()) slope += d * d * function.weight(d);
        }
        (sum > wanted ? low : high) = k;
        const double move = (sum - wanted) / slope;
        double next = k * std::exp(std::fmin(std::fmax(move, -2), 2));
        if (!(next > low && next < high))
            next = high == kFar ? 2 * k : low == 0 ? k / 2 : low + (high - low) / 2;
        const bool done = std::fabs(next - k) <= 1e-12 * k;
        k = next;
        if (done) break;
    }
    return k;
}

// The steps of the estimator over all points.
template <class Real>
struct Estimator {
    const Points<Real>& points;
    const TranslatedBiweight& function;
    Shape next;

    // Distances from the shape, and the shape scaled to the constraint; `scale` is a guess of the factor of the
    // distances, 0 for none.
    int constrain(Shape& shape, double scale) const {
        const int64_t n = points.cloud.n(), p = points.cloud.p;
        if (const int status = points.measure(shape, true)) return status;
        for (int64_t j = 0; j < n; ++j) points.distances[j] = std::sqrt(points.squares[j]);
        if (scale == 0) {
            const double middle = median_of(points.distances, n, points.keys);
            scale = middle > 0 && middle < kFar ? middle / std::sqrt(static_cast<double>(p)) : 1;
        }
        const double k = constrained_scale(function, points.distances, n, scale);
        if (!(k > 0)) return kOzkStatsErrorSingularCovariance;
        for (int64_t j = 0; j < n; ++j) points.distances[j] /= k;
        for (int64_t e = 0; e < p * p; ++e) {
            shape.scatter[e] *= k * k;
            shape.inverse[e] /= k * k;
        }
        shape.log_determinant += 2 * static_cast<double>(p) * std::log(k);
        return kOzkStatsOk;
    }

    // One step from a constrained shape to the next; `change` is how far it led.
    int step(Shape& shape, double& change) {
        const int64_t n = points.cloud.n(), p = points.cloud.p;
        double sum = 0;
        for (int64_t j = 0; j < n; ++j) {
            const double d = points.distances[j], w = function.weight(d);
            points.weights[j] = w;
            if (w > 0) sum += w * d * d;
        }
        const double total =
            weighted_scatter(points.cloud, points.room, shape.mean, points.weights, next.mean, next.scatter);
        for (int64_t e = 0; e < p * p; ++e) next.scatter[e] *= static_cast<double>(p) * (total / sum);
        if (const int status = constrain(next, 1)) return status;
        change = 0;
        const auto deviation = [&](int64_t i) { return std::sqrt(shape.scatter[i * (p + 1)]); };
        for (int64_t k = 0; k < p; ++k) {
            change = std::fmax(change, std::fabs(next.mean[k] - shape.mean[k]) / deviation(k));
            for (int64_t i = k; i < p; ++i)
                change = std::fmax(change, std::fabs(next.scatter[k * p + i] - shape.scatter[k * p + i]) /
                                               (deviation(i) * deviation(k)));
        }
        std::swap(shape, next);
        return kOzkStatsOk;
    }

    int run(Shape& shape, int64_t most_steps, double accuracy) {
        double change = kFar;
        for (int64_t k = 0; k < most_steps && change > accuracy; ++k)
            if (const int status = step(shape, change)) return status;
        return kOzkStatsOk;
    }
};

// Uniform integers below a limit, the same ones for everybody: a linear congruential generator's upper bits.
struct Draws {
    uint64_t state = 1;

    int64_t below(int64_t limit) {
        state = state * 6364136223846793005u + 1442695040888963407u;
        return static_cast<int64_t>((static_cast<unsigned __int128>(state) * static_cast<uint64_t>(limit)) >>
                                    64);
    }
};

// Copies points one of each of `wanted` parts of the cloud, leaving out those that are not finite: component c of
// point j to sample[c * count + j]. Returns their count.
template <class Real>
int64_t draw_sample(const Cloud<Real>& cloud, int64_t wanted, Draws& draws, int64_t* chosen, double* sample) {
    const int64_t n = cloud.n(), p = cloud.p;
    int64_t count = 0;
    for (int64_t part = 0; part < wanted; ++part) {
        const int64_t first = part * n / wanted, j = first + draws.below((part + 1) * n / wanted - first);
        bool finite = true;
        for (int64_t c = 0; c < p; ++c) finite &= std::isfinite(cloud.coordinate(c, j));
        if (finite) chosen[count++] = j;
    }
    for (int64_t c = 0; c < p; ++c)
        for (int64_t j = 0; j < count; ++j) sample[c * count + j] = cloud.coordinate(c, chosen[j]);
    return count;
}

// Medians, which are the origin, and deviations along principal axes: S = E diag(MAD^2) E' with the eigenvectors E of
// the scatter of the directions z / |z|. `work`: 35 p values.
int directional_start(const Points<double>& points, Shape& shape, double* axes, double* work) {
    const Cloud<double>& cloud = points.cloud;
    const int64_t n = cloud.n(), p = cloud.p;
    std::fill_n(points.weights, n, 0.0);
    for (int64_t c = 0; c < p; ++c)
        for (int64_t j = 0; j < n; ++j) points.weights[j] += cloud.coordinate(c, j) * cloud.coordinate(c, j);
    for (int64_t j = 0; j < n; ++j) points.weights[j] = points.weights[j] > 0 ? 1 / points.weights[j] : 0;
    std::fill_n(shape.mean, p, 0.0);
    double* const values = work;
    double* const rest = values + p;
    const int64_t rest_size = 34 * p;
    weighted_scatter(cloud, points.room, shape.mean, points.weights, values, axes);
    std::fill_n(shape.scatter, p * p, 0.0);
    if (!std::isfinite(axes[0])) return kOzkStatsErrorSingularCovariance;  // all points are the origin
    int64_t info = 0;
    ozk_lapack_dsyev("V", "L", &p, axes, &p, values, rest, &rest_size, &info, 1, 1);
    if (info != 0) return kOzkStatsErrorEigenvalues;
    for (int64_t a = 0; a < p; ++a) {
        std::fill_n(points.distances, n, 0.0);
        for (int64_t c = 0; c < p; ++c)
            for (int64_t j = 0; j < n; ++j) points.distances[j] += axes[a * p + c] * cloud.coordinate(c, j);
        const double middle = median_of(points.distances, n, points.keys);
        for (int64_t j = 0; j < n; ++j) points.distances[j] = std::fabs(points.distances[j] - middle);
        const double deviation = median_of(points.distances, n, points.keys);
        const double square = deviation * deviation;
        for (int64_t k = 0; k < p; ++k)
            for (int64_t i = 0; i < p; ++i)
                shape.scatter[k * p + i] += square * (axes[a * p + i] * axes[a * p + k]);
    }
    return kOzkStatsOk;
}

// The mean and covariance of p + 1 points at random, and of more where these lie in a plane, moved twice to the
// nearest half.
int set_start(const Points<double>& points, Draws& draws, Shape& shape) {
    const int64_t n = points.cloud.n(), p = points.cloud.p;
    std::fill_n(points.weights, n, 0.0);
    const auto draw = [&] {
        int64_t j;
        do j = draws.below(n);
        while (points.weights[j] > 0);
        points.weights[j] = 1;
    };
    for (int64_t k = 0; k < p; ++k) draw();
    int status = kOzkStatsErrorSingularCovariance;
    std::fill_n(shape.mean, p, 0.0);
    for (int64_t size = p + 1; size <= std::min(n, 2 * p + 1) && status != kOzkStatsOk; ++size) {
        draw();
        weighted_scatter(points.cloud, points.room, shape.mean, points.weights, shape.mean, shape.scatter);
        status = invert(p, shape, nullptr);
    }
    for (int step = 0; step < 2 && status == kOzkStatsOk; ++step)
        status = points.concentrate((n + p + 1) / 2, shape);
    return status == kOzkStatsOk ? invert(p, shape, nullptr) : status;
}

// How many sets are drawn: so many that one of them is free of outliers 99 times of 100 when half of the points are
// outliers, within bounds of work.
int64_t set_count(int64_t p, int64_t n) {
    const double size = static_cast<double>(p) + 1, work = 2 * static_cast<double>(n) * size * size;
    const double clean = std::exp2(-size);
    return static_cast<int64_t>(
        std::fmin(std::fmin(std::log(0.01) / std::log1p(-clean), kMostSets), kSetWork / work));
}

// Leaves the best start in `best`. kept: kCandidates + 1 shapes without inverses, the first one for the directional start.
int find_start(const Points<double>& sample, const TranslatedBiweight& function, int64_t steps, Draws& draws,
               double* axes, double* work, Shape* kept, Shape shape, Shape next, Shape& best) {
    const int64_t p = sample.cloud.p, sets = set_count(p, sample.cloud.n());
    int candidates = 0;
    const int directional = directional_start(sample, kept[0], axes, work);
    if (directional == kOzkStatsOk) candidates = 1;
    const int first = candidates;
    for (int64_t set = 0; set < sets; ++set) {
        if (set_start(sample, draws, shape) != kOzkStatsOk) continue;
        // Sorted by determinants, without repetitions.
        int place = candidates;
        while (place > first && shape.log_determinant < kept[place - 1].log_determinant) --place;
        if (place > first && shape.log_determinant == kept[place - 1].log_determinant) continue;
        if (place == first + kCandidates) continue;
        if (candidates < first + kCandidates) ++candidates;
        for (int k = candidates - 1; k > place; --k) std::swap(kept[k], kept[k - 1]);
        copy(p, shape, kept[place]);
    }
    best.log_determinant = kFar;
    int status = directional;
    Estimator<double> estimator = {sample, function, next};
    for (int k = 0; k < candidates; ++k) {
        copy(p, kept[k], shape);
        int each = estimator.constrain(shape, 0);
        if (each == kOzkStatsOk) each = estimator.run(shape, steps, 0);
        if (each != kOzkStatsOk) {
            status = each;
        } else if (shape.log_determinant < best.log_determinant) {
            copy(p, shape, best);
        }
    }
    return best.log_determinant < kFar ? kOzkStatsOk : status;
}

template <class Real>
int estimate(OzkStatsTask* task, uint32_t method, const OzkThreading* threading) {
    RobustRequest<Real> request;
    if (const int status = request.check(task, method)) return status;
    const Sample<Real>& sample = request.sample;
    const RobustParameters& parameters = request.parameters;
    const int64_t p = request.p, n = sample.n;
    if (p == 0) return kOzkStatsOk;

    const int64_t advised = n * sample.p < kSerialValues
                                ? 1
                                : advised_threads(threading, sample.p, n, sample.storage, sample.values);
    const int64_t sample_size = std::min(n, std::max(kSamplePoints, kSampleFactor * p));
    PassRoom room(p, n, advised, kPanelBytes), sample_room(p, sample_size, 1, kPanelBytes);

    // The work area: an array of squares, distances, weights and keys for the points, the panels, and where the
    // result is packed a matrix.
    const bool packed = request.covariance.storage != kOzkStatsMatrixFull;
    const Allocation area(32 * n + kPanelBytes + (packed ? 8 * sample.p * sample.p : 0));
    if (!area) return kOzkStatsErrorMemory;
    double* const arrays = area.at<double>();
    room.panels = sample_room.panels = arrays + 4 * n;

    // What is of the order of the dimension or the sample: shapes without and with inverses, sums of chunks, axes,
    // values and work of the directional start and the rank test, the sample and its arrays, two standardisations, two lists of
    // components; medians and deviations.
    constexpr int64_t kKept = kCandidates + 1, kWhole = 3;
    const int64_t chunk_values = std::max(room.chunks, sample_room.chunks) * room.chunk_values(p);
    const int64_t doubles = (kKept + kWhole) * (p * p + p) + kWhole * p * p + chunk_values + p * p + 35 * p +
                            kRankWork * p + sample_size * (p + 4) + 6 * p;
    const Allocation memory(doubles * static_cast<int64_t>(sizeof(double)) +
                            2 * sample.p * static_cast<int64_t>(sizeof(Real)));
    if (!memory) return kOzkStatsErrorMemory;
    double* place = memory.at<double>();
    const auto take = [&place](int64_t count) { return std::exchange(place, place + count); };
    Shape kept[kKept], whole[kWhole];
    for (Shape& shape : kept) shape = {take(p), take(p * p), nullptr, kFar};
    for (Shape& shape : whole) shape = {take(p), take(p * p), take(p * p), kFar};
    room.chunk_sums = sample_room.chunk_sums = take(chunk_values);
    double* const matrix = take(p * p);
    double* const axes = packed ? room.panels + kPanelBytes / sizeof(double) : matrix;
    double* const axis_work = take(35 * p);
    double* const rank_work = take(kRankWork * p);
    double* const sample_values = take(sample_size * p);
    double* const sample_arrays = take(sample_size * 4);
    double* const centres = take(4 * p);
    int64_t* const components = reinterpret_cast<int64_t*>(take(2 * p));

    sample.select(components);
    const Points<Real> points = {{sample, threading, p, components, centres, centres + p},
                                 room,
                                 arrays,
                                 arrays + n,
                                 arrays + 2 * n,
                                 reinterpret_cast<int64_t*>(arrays + 3 * n),
                                 rank_work};
    if (const int status = standardize(points.cloud, reinterpret_cast<Real*>(place))) return status;

    // The sample is standardised already.
    Draws draws;
    const int64_t count = draw_sample(points.cloud, sample_size, draws, points.keys, sample_values);
    if (count <= p + 1) return kOzkStatsErrorSingularCovariance;
    std::fill_n(centres + 2 * p, p, 0.0);
    std::fill_n(centres + 3 * p, p, 1.0);
    for (int64_t c = 0; c < p; ++c) components[p + c] = c;
    const Points<double> some = {{{nullptr, p, count, kOzkStatsByComponent, sample_values},
                                  nullptr,
                                  p,
                                  components + p,
                                  centres + 2 * p,
                                  centres + 3 * p},
                                 sample_room,
                                 sample_arrays,
                                 sample_arrays + count,
                                 sample_arrays + 2 * count,
                                 reinterpret_cast<int64_t*>(sample_arrays + 3 * count),
                                 rank_work};

    const TranslatedBiweight function = translated_biweight(p, parameters.breakdown, parameters.rejection);
    Shape& shape = whole[2];
    if (const int status = find_start(some, function, std::min(kFirstSteps, parameters.most_steps), draws,
                                      axes, axis_work, kept, whole[0], whole[1], shape))
        return status;
    Estimator<Real> estimator = {points, function, whole[0]};
    if (const int status = estimator.constrain(shape, 0)) return status;
    if (const int status = estimator.run(shape, parameters.most_steps, parameters.accuracy)) return status;

    Real* const mean = static_cast<Real*>(task->robust_mean);
    for (int64_t k = 0; k < p; ++k) {
        const double scale = 1 / points.cloud.factors[k];
        mean[components[k]] = static_cast<Real>(points.cloud.centres[k] + scale * shape.mean[k]);
        for (int64_t i = k; i < p; ++i)
            request.covariance.set(components[i], components[k],
                                   shape.scatter[k * p + i] * scale / points.cloud.factors[i]);
    }
    return kOzkStatsOk;
}

}  // namespace
}  // namespace ozk::stats

extern "C" {

int _vsldSSRobustCovariance(OzkStatsTask* task, uint64_t, uint32_t method, const OzkThreading* threading) {
    return ozk::stats::estimate<double>(task, method, threading);
}

int _vslsSSRobustCovariance(OzkStatsTask* task, uint64_t, uint32_t method, const OzkThreading* threading) {
    return ozk::stats::estimate<float>(task, method, threading);
}

}  // extern "C"
