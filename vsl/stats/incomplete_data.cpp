// The passes over incomplete observations: what is missing is counted without memory, then everything is laid out in
// one block.

#include "vsl/stats/incomplete_data.hpp"

#include <cmath>

namespace ozk::stats {
namespace {

constexpr int64_t kPanel = 128;  // complete observations that are multiplied at a time

template <class Real>
double value_at(const Sample<Real>& sample, int64_t component, int64_t observation) {
    return sample.component(component)[observation * sample.observation_stride()];
}

// Mean and standard deviation of the values that are there; a component without deviation keeps its scale. The
// squares are those of shares of the largest deviation, which neither overflow nor vanish. False when the range of
// the component overflows.
template <class Real>
bool standardise(const Sample<Real>& sample, int64_t component, double& centre, double& scale) {
    double mean = 0, count = 0, low = INFINITY, high = -INFINITY;
    for (int64_t j = 0; j < sample.n; ++j) {
        const double x = value_at(sample, component, j);
        if (std::isnan(x)) continue;
        mean += (x - mean) / ++count;
        low = std::fmin(low, x);
        high = std::fmax(high, x);
    }
    const double largest = std::fmax(high - mean, mean - low);
    double squares = 0;
    for (int64_t j = 0; j < sample.n; ++j) {
        const double share = (value_at(sample, component, j) - mean) / largest;
        if (!std::isnan(share)) squares += share * share;
    }
    centre = mean;
    scale = largest > 0 ? largest * std::sqrt(squares / count) : 1;
    return std::isfinite(largest);
}

// An observation with missing values, before it has its place among the rows.
struct Incomplete {
    int64_t observation;
    int64_t place;  // missing values in the observations before
    int64_t number;
};

// Where the parts of the block stand; the last three serve the sorting only.
struct Layout {
    double *centre, *scale, *sums, *values, *panel;
    uint64_t* patterns;
    int64_t *places, *starts;
    uint64_t* unsorted;  // patterns
    Incomplete* order;
    int64_t bytes = 0;

    Layout(const IncompleteData& data, void* block) {
        const auto take = [&]<class T>(T*& place, int64_t count) {
            place = reinterpret_cast<T*>(reinterpret_cast<intptr_t>(block) + bytes);
            bytes += count * static_cast<int64_t>(sizeof(T));
        };
        const int64_t width = data.width();
        take(centre, data.p);
        take(scale, data.p);
        take(sums, width * width);
        take(values, data.rows * width);
        take(panel, kPanel * width);
        take(patterns, data.rows * data.words);
        take(places, data.rows);
        take(starts, data.rows + 1);
        take(unsorted, data.rows * data.words);
        take(order, data.rows);
    }
};

// Notes the pattern of observation j; returns how many of its values are missing.
template <class Real>
int64_t note_pattern(const Sample<Real>& sample, int64_t j, uint64_t* pattern) {
    int64_t missing = 0;
    for (int64_t i = 0; i < sample.p; ++i) {
        if (!std::isnan(value_at(sample, i, j))) continue;
        pattern[i / kPatternBits] |= uint64_t{1} << i % kPatternBits;
        ++missing;
    }
    return missing;
}

}  // namespace

template <class Real>
int count_missing(const Sample<Real>& sample, IncompleteData& data) {
    data = {};
    data.p = sample.p;
    data.words = (sample.p + kPatternBits - 1) / kPatternBits;
    for (int64_t i = 0; i < sample.p; ++i) {
        int64_t missing = 0;
        for (int64_t j = 0; j < sample.n; ++j) {
            const double x = value_at(sample, i, j);
            if (std::isinf(x)) return kOzkStatsErrorObservations;
            missing += std::isnan(x);
        }
        if (missing == sample.n) return kOzkStatsErrorObservations;
        data.missing += missing;
    }
    for (int64_t j = 0; j < sample.n; ++j) {
        int64_t missing = 0;
        for (int64_t i = 0; i < sample.p; ++i) missing += std::isnan(value_at(sample, i, j));
        data.rows += missing > 0;
        data.empty += missing == sample.p;
    }
    data.complete = sample.n - data.rows;
    return kOzkStatsOk;
}

int64_t incomplete_bytes(const IncompleteData& data) { return whole_lines(Layout(data, nullptr).bytes); }

template <class Real>
int fill_incomplete(const Sample<Real>& sample, void* block, IncompleteData& data) {
    const int64_t p = data.p, width = data.width(), words = data.words;
    const Layout at(data, block);
    data.centre = at.centre;
    data.scale = at.scale;
    data.sums = at.sums;
    data.values = at.values;
    data.patterns = at.patterns;
    data.places = at.places;
    data.starts = at.starts;
    for (int64_t i = 0; i < p; ++i)
        if (!standardise(sample, i, data.centre[i], data.scale[i])) return kOzkStatsErrorObservations;
    const auto fill_row = [&](int64_t j, double* row) {
        row[0] = 1;
        for (int64_t i = 0; i < p; ++i) {
            const double x = value_at(sample, i, j);
            row[1 + i] = std::isnan(x) ? 0 : (x - data.centre[i]) / data.scale[i];
        }
    };

    // The complete observations go into the sums, the others are noted.
    std::fill_n(data.sums, width * width, 0.0);
    std::fill_n(at.unsorted, data.rows * words, uint64_t{0});
    int64_t noted = 0, gathered = 0, place = 0;
    for (int64_t j = 0; j <= sample.n; ++j) {
        if (gathered == kPanel || (j == sample.n && gathered > 0)) {
            const double one = 1;
            ozk_blas_xdsyrk("L", "N", &width, &gathered, &one, at.panel, &width, &one, data.sums, &width, 1,
                            1);
            gathered = 0;
        }
        if (j == sample.n) break;
        const int64_t missing = noted < data.rows ? note_pattern(sample, j, at.unsorted + noted * words) : 0;
        if (missing == 0) {
            fill_row(j, at.panel + gathered++ * width);
        } else {
            at.order[noted] = {j, place, noted};
            place += missing;
            ++noted;
        }
    }

    // Equal patterns side by side, in the order of the observations; the empty ones have the greatest pattern.
    const auto before = [&](const Incomplete& a, const Incomplete& b) {
        const uint64_t *x = at.unsorted + a.number * words, *y = at.unsorted + b.number * words;
        for (int64_t k = words - 1; k >= 0; --k)
            if (x[k] != y[k]) return x[k] < y[k];
        return a.number < b.number;
    };
    std::sort(at.order, at.order + data.rows, before);
    data.pattern_count = 0;
    for (int64_t row = 0; row < data.rows; ++row) {
        uint64_t* const pattern = data.patterns + row * words;
        std::copy_n(at.unsorted + at.order[row].number * words, words, pattern);
        if (row == 0 || !std::equal(pattern, pattern + words, pattern - words))
            data.starts[data.pattern_count++] = row;
        data.places[row] = at.order[row].place;
        fill_row(at.order[row].observation, data.values + row * width);
    }
    data.starts[data.pattern_count] = data.rows;
    return kOzkStatsOk;
}

template int count_missing(const Sample<float>&, IncompleteData&);
template int count_missing(const Sample<double>&, IncompleteData&);
template int fill_incomplete(const Sample<float>&, void*, IncompleteData&);
template int fill_incomplete(const Sample<double>&, void*, IncompleteData&);

}  // namespace ozk::stats
