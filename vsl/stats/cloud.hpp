// Observations as a cloud of standardised points, and the two passes over them that robust estimators repeat:
// squared distances from a centre, and the weighted mean and scatter about it. All in double.
//
// A component is standardised by its median and its median absolute deviation, so that thresholds on eigenvalues
// mean the same in any units, and large means cost no digits. A point with a coordinate that is not finite is
// infinitely far from everything.
//
// The passes are cut by the sizes alone and their parts merged in order: no bit depends on the number of threads.
#pragma once

#include <cmath>
#include <limits>

#include "vsl/stats/mahalanobis.hpp"
#include "vsl/stats/sample.hpp"
#include "vsl/stats/selection.hpp"

namespace ozk::stats {

inline constexpr double kFar = std::numeric_limits<double>::infinity();
inline constexpr int64_t kPanelPoints = 128;     // of the panels whose products make a scatter
inline constexpr int64_t kChunkPoints = 2048;    // below which a chunk of a pass is not worth its merge
inline constexpr int64_t kMostChunks = 16;       // of the scatter pass, each with a matrix of its own
inline constexpr int64_t kSerialValues = 10000;  // below which one thread is the fastest

template <class Real>
struct Cloud {
    Sample<Real> sample;
    const OzkThreading* threading;
    int64_t p;                  // of the selected components
    const int64_t* components;  // their numbers
    double *centres, *factors;  // of the selected components

    int64_t n() const { return sample.n; }

    // Coordinate c of point j.
    double coordinate(int64_t c, int64_t j) const {
        const double x =
            static_cast<double>(sample.component(components[c])[j * sample.observation_stride()]);
        return (x - centres[c]) * factors[c];
    }
};

// Centres and factors: medians and 1 / median absolute deviations, where these vanish mean absolute deviations about
// the median, and 1 for a constant. The status of the estimators that are called for them. `reals` has room for 2
// sample.p values.
template <class Real>
int standardize(const Cloud<Real>& cloud, Real* reals);

// The median of n values; keys: n integers.
inline double median_of(const double* values, int64_t n, int64_t* keys) {
    for (int64_t j = 0; j < n; ++j) keys[j] = to_key(values[j]);
    return median<double>(keys, n);
}

// What the passes need: by sizes, and of them the memory of a pass.
struct PassRoom {
    int64_t panel_points;  // of a thread's panel
    int64_t threads;
    int64_t chunks;      // of the scatter pass
    double* panels;      // threads * panel_points * p
    double* chunk_sums;  // chunks * (p * p + p + 1)

    // Panels within `bytes` of memory.
    PassRoom(int64_t p, int64_t n, int64_t wanted_threads, int64_t bytes) {
        const int64_t values = bytes / static_cast<int64_t>(sizeof(double)) / p;
        panel_points = std::clamp<int64_t>(values, 1, kPanelPoints);
        threads = std::clamp<int64_t>(values / panel_points, 1, wanted_threads);
        const int64_t affordable = std::max<int64_t>(1, (kMostChunks << 18) / (p * p));  // 32 MB of matrices
        chunks = std::clamp<int64_t>(n / kChunkPoints, 1, std::min(kMostChunks, affordable));
        panels = chunk_sums = nullptr;
    }
    int64_t chunk_values(int64_t p) const { return p * p + p + 1; }
};

// squares[j] = (z_j - centre)' inverse (z_j - centre), not below 0, for all points; `inverse` by its lower triangle.
// Threads take `item` points at a time.
template <class Real>
void square_distances(const Cloud<Real>& cloud, const PassRoom& room, const double* centre,
                      const double* inverse, int64_t item, double* squares) {
    const int64_t n = cloud.n(), p = cloud.p, items = (n + item - 1) / item;
    const int64_t step = cloud.sample.observation_stride();
    auto body = [&](int64_t which, int64_t thread) -> int {
        double* const panel = room.panels + thread * room.panel_points * p;
        const int64_t last = std::min(n, (which + 1) * item);
        // Points that a few kilobytes hold, as many as fill whole groups.
        const int64_t some =
            std::clamp<int64_t>(2048 / p / kDistanceGroup * kDistanceGroup, kDistanceGroup, kPanelPoints);
        const int64_t width = std::min(some, room.panel_points);
        for (int64_t start = which * item; start < last; start += width) {
            const int64_t count = std::min(width, last - start);
            for (int64_t c = 0; c < p; ++c) {
                const Real* const x = cloud.sample.component(cloud.components[c]) + start * step;
                const double middle = cloud.centres[c], factor = cloud.factors[c], shift = centre[c];
                for (int64_t j = 0; j < count; ++j)
                    panel[c * width + j] = (static_cast<double>(x[j * step]) - middle) * factor - shift;
            }
            double* const results = squares + start;
            quadratic_forms(p, inverse, panel, width, count, results);
            for (int64_t j = 0; j < count; ++j)
                results[j] = results[j] < kFar ? std::max(results[j], 0.0) : kFar;
        }
        return kOzkStatsOk;
    };
    for_each_item(cloud.threading, items, room.threads, body);
}

// Weighted mean and scatter about it: scatter = sum w (z - mean)(z - mean)' / W; returns W. Points of weight 0 are not
// read. The mean may be the centre, about which the points are taken.
template <class Real>
double weighted_scatter(const Cloud<Real>& cloud, const PassRoom& room, const double* centre,
                        const double* weights, double* mean, double* scatter) {
    const int64_t n = cloud.n(), p = cloud.p, size = room.chunk_values(p);
    auto body = [&](int64_t chunk, int64_t thread) -> int {
        double* const cross = room.chunk_sums + chunk * size;
        double* const sums = cross + p * p;
        double& total = sums[p];
        std::fill_n(cross, size, 0.0);
        double* const panel = room.panels + thread * room.panel_points * p;
        const double one = 1;
        const int64_t last = (chunk + 1) * n / room.chunks, step = cloud.sample.observation_stride();
        int64_t list[kPanelPoints];
        double roots[kPanelPoints];
        for (int64_t j = chunk * n / room.chunks; j < last;) {
            int64_t points = 0;
            for (; j < last && points < room.panel_points; ++j) {
                if (weights[j] == 0) continue;
                list[points] = j;
                roots[points++] = std::sqrt(weights[j]);
                total += weights[j];
            }
            if (points == 0) break;
            for (int64_t c = 0; c < p; ++c) {
                const Real* const x = cloud.sample.component(cloud.components[c]);
                const double middle = cloud.centres[c], factor = cloud.factors[c], shift = centre[c];
                double sum = 0;
                for (int64_t k = 0; k < points; ++k) {
                    const double z = (static_cast<double>(x[list[k] * step]) - middle) * factor - shift;
                    const double scaled = roots[k] * z;
                    sum += roots[k] * scaled;
                    panel[k * p + c] = scaled;
                }
                sums[c] += sum;
            }
            ozk_blas_xdsyrk("L", "N", &p, &points, &one, panel, &p, &one, cross, &p, 1, 1);
        }
        return kOzkStatsOk;
    };
    for_each_item(cloud.threading, room.chunks, std::min(room.threads, room.chunks), body);
    double* const all = room.chunk_sums;
    for (int64_t chunk = 1; chunk < room.chunks; ++chunk)
        for (int64_t e = 0; e < size; ++e) all[e] += all[chunk * size + e];
    const double total = all[size - 1];
    double* const sums = all + p * p;
    for (int64_t k = 0; k < p; ++k)
        for (int64_t i = k; i < p; ++i)
            scatter[k * p + i] = scatter[i * p + k] = (all[k * p + i] - sums[i] * (sums[k] / total)) / total;
    for (int64_t c = 0; c < p; ++c) mean[c] = centre[c] + sums[c] / total;
    return total;
}

// Marks the `count` points with the smallest squares by weight 1, the others by 0; of equal ones the first. keys: n
// integers. Points that are infinitely far are never marked. Returns how many are marked.
inline int64_t mark_nearest(const double* squares, int64_t n, int64_t count, int64_t* keys, double* weights) {
    for (int64_t j = 0; j < n; ++j) keys[j] = to_key(squares[j]);
    const int64_t rank = count - 1;
    place_ranks(keys, n, &rank, 1);
    const double bound = from_key<double>(keys[rank]);
    int64_t nearer = 0, marked = 0;
    for (int64_t j = 0; j < n; ++j) nearer += squares[j] < bound;
    int64_t equals = bound < kFar ? count - nearer : 0;
    for (int64_t j = 0; j < n; ++j) {
        const bool mark = squares[j] < bound || (squares[j] == bound && equals-- > 0);
        weights[j] = mark;
        marked += mark;
    }
    return marked;
}

}  // namespace ozk::stats
