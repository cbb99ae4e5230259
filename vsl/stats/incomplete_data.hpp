// Observations of which some values are missing, as the iterations over them want to have them: standardised,
// the complete ones reduced to their sums, the others grouped by which of their values are missing.
#pragma once

#include <bit>
#include <cstdint>

#include "vsl/stats/sample.hpp"

namespace ozk::stats {

// Which components of an observation are missing: bit i % 64 of word i / 64 for component i.
inline constexpr int64_t kPatternBits = 64;

// All of it in double, component i as (x - centre[i]) / scale[i] with the mean and the standard deviation of the
// values that are there. An observation is a row of p + 1 values: a 1 in front, so that the products of rows hold
// the count and the sums too.
struct IncompleteData {
    int64_t p = 0;
    int64_t words = 0;     // of a pattern
    int64_t missing = 0;   // values
    int64_t rows = 0;      // observations with a value missing, the empty ones included
    int64_t empty = 0;     // observations with all values missing; they stand last and tell nothing
    int64_t complete = 0;  // observations
    double *centre = nullptr, *scale = nullptr;
    double* sums = nullptr;    // sum of row row' over the complete observations: lower triangle by columns
    double* values = nullptr;  // rows by pattern, missing values 0
    uint64_t* patterns = nullptr;  // of each row
    int64_t* places = nullptr;     // how many values are missing in the observations before that of the row
    int64_t pattern_count = 0;
    int64_t* starts = nullptr;  // first row of each pattern, and the number of rows behind the last

    int64_t width() const { return p + 1; }
    // Observations that tell something.
    int64_t informative() const { return complete + rows - empty; }
    bool is_missing(int64_t row, int64_t component) const {
        return (patterns[row * words + component / kPatternBits] >> component % kPatternBits & 1) != 0;
    }
    // Whether a pattern is that of the empty observations.
    bool is_empty(int64_t pattern) const { return starts[pattern] >= rows - empty; }
};

// Counts what is missing: p, words, missing, rows, empty, complete. kOzkStatsErrorObservations when a value is
// infinite or a component has no value at all.
template <class Real>
int count_missing(const Sample<Real>& sample, IncompleteData& data);

// Bytes that fill_incomplete takes, after count_missing.
int64_t incomplete_bytes(const IncompleteData& data);

// Fills in the rest, in a block of that size. kOzkStatsErrorObservations when a deviation overflows.
template <class Real>
int fill_incomplete(const Sample<Real>& sample, void* block, IncompleteData& data);

}  // namespace ozk::stats
