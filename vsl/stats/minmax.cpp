// Minimum and maximum of each component, in one pass at the speed of memory.
//
// Vectors of neighbouring values are folded lane by lane: along a component where it is contiguous, across the
// components of an observation where these are. The vector minimum drops a NaN in one of its operands, so
// that NaNs are remembered beside it.

#include <cmath>
#include <limits>

#include "simd/vector.hpp"
#include "vsl/stats/sample.hpp"

namespace ozk::stats {
namespace {

template <class Real>
struct Extremes {
    Real low = std::numeric_limits<Real>::infinity();
    Real high = -std::numeric_limits<Real>::infinity();
    bool has_nan = false;

    void add(Real x) {
        low = x < low ? x : low;
        high = x > high ? x : high;
        has_nan |= std::isnan(x);
    }
    void add(const Extremes& other) {
        low = other.low < low ? other.low : low;
        high = other.high > high ? other.high : high;
        has_nan |= other.has_nan;
    }
    Real minimum() const { return has_nan ? std::numeric_limits<Real>::quiet_NaN() : low; }
    Real maximum() const { return has_nan ? std::numeric_limits<Real>::quiet_NaN() : high; }
};

// Folds `count` rows of kVectors neighbouring vectors, `stride` values apart, into one Extremes for each of
// their lanes.
template <int kVectors, class Real>
void fold(const Real* x, int64_t count, int64_t stride, Extremes<Real>* lanes) {
    using V = decltype(simd::broadcast(Real()));
    const V infinity = simd::broadcast(std::numeric_limits<Real>::infinity());
    V low[kVectors], high[kVectors], ordered[kVectors];
    for (int v = 0; v < kVectors; ++v) {
        low[v] = infinity;
        high[v] = simd::broadcast(-std::numeric_limits<Real>::infinity());
        ordered[v] = high[v] <= low[v];
    }
    for (int64_t j = 0; j < count; ++j, x += stride) {
#pragma GCC unroll 4
        for (int v = 0; v < kVectors; ++v) {
            const V value = simd::load(x + v * V::kLanes);
            low[v] = simd::min(low[v], value);
            high[v] = simd::max(high[v], value);
            ordered[v] = ordered[v] & (value <= infinity);
        }
    }
    for (int v = 0; v < kVectors; ++v) {
        Real lows[V::kLanes], highs[V::kLanes];
        simd::store(lows, low[v]);
        simd::store(highs, high[v]);
        for (int k = 0; k < V::kLanes; ++k)
            lanes[v * V::kLanes + k].add({lows[k], highs[k], (simd::lanes(ordered[v]) >> k & 1) == 0});
    }
}

template <class Real>
Extremes<Real> along(const Real* x, int64_t n) {
    constexpr int kRow = 4 * 16 / sizeof(Real);
    Extremes<Real> lanes[kRow], all;
    const int64_t rows = n / kRow;
    fold<4>(x, rows, kRow, lanes);
    for (const Extremes<Real>& lane : lanes) all.add(lane);
    for (int64_t j = rows * kRow; j < n; ++j) all.add(x[j]);
    return all;
}

// A cache line of each observation, or what is left of it: the largest number of whole vectors first.
template <class Real>
int64_t across(const Real* x, int64_t width, int64_t n, int64_t stride, Extremes<Real>* lanes) {
    constexpr int kLanes = 16 / sizeof(Real);
    if (width >= 4 * kLanes) {
        fold<4>(x, n, stride, lanes);
        return 4 * kLanes;
    }
    if (width >= 2 * kLanes) {
        fold<2>(x, n, stride, lanes);
        return 2 * kLanes;
    }
    if (width >= kLanes) {
        fold<1>(x, n, stride, lanes);
        return kLanes;
    }
    for (int64_t j = 0; j < n; ++j)
        for (int64_t k = 0; k < width; ++k) lanes[k].add(x[j * stride + k]);
    return width;
}

template <class Real>
int estimate(OzkStatsTask* task, uint64_t estimates, uint32_t method) {
    Sample<Real> sample;
    if (const int status = check_sizes(task, sample)) return status;
    Real* const minimum = (estimates & kOzkStatsMinimum) != 0 ? static_cast<Real*>(task->minimum) : nullptr;
    Real* const maximum = (estimates & kOzkStatsMaximum) != 0 ? static_cast<Real*>(task->maximum) : nullptr;
    if ((estimates & kOzkStatsMinimum) != 0 && minimum == nullptr) return kOzkStatsErrorMinimum;
    if ((estimates & kOzkStatsMaximum) != 0 && maximum == nullptr) return kOzkStatsErrorMaximum;
    if ((method & (kOzkStatsFast | kOzkStatsOnePass)) == 0) return kOzkStatsErrorMethod;
    if (const int status = check_observations(sample)) return status;

    const auto write = [&](int64_t i, const Extremes<Real>& extremes) {
        if (minimum != nullptr) minimum[i] = extremes.minimum();
        if (maximum != nullptr) maximum[i] = extremes.maximum();
    };
    if (sample.by_component()) {
        for (int64_t i = 0; i < sample.p; ++i)
            if (sample.selected(i)) write(i, along(sample.component(i), sample.n));
        return kOzkStatsOk;
    }
    for (int64_t i = 0; i < sample.p;) {
        if (!sample.selected(i)) {
            ++i;
            continue;
        }
        Extremes<Real> lanes[4 * 16 / sizeof(Real)];
        const int64_t done = across(sample.component(i), sample.p - i, sample.n, sample.p, lanes);
        for (int64_t k = 0; k < done; ++k)
            if (sample.selected(i + k)) write(i + k, lanes[k]);
        i += done;
    }
    return kOzkStatsOk;
}

}  // namespace
}  // namespace ozk::stats

extern "C" {

int _vsldSSMinmax(OzkStatsTask* task, uint64_t estimates, uint32_t method) {
    return ozk::stats::estimate<double>(task, estimates, method);
}

int _vslsSSMinmax(OzkStatsTask* task, uint64_t estimates, uint32_t method) {
    return ozk::stats::estimate<float>(task, estimates, method);
}

}  // extern "C"
