// How estimators read a task: integers of either width, reals of either precision, storage codes.
#pragma once

#include <cstdint>

#include "ozk_stats.h"

namespace ozk::stats {

// Element `position` of an integer or integer array that a task points to.
inline int64_t read_integer(const void* integers, int32_t wide, int64_t position = 0) {
    return wide != 0 ? static_cast<const int64_t*>(integers)[position]
                     : static_cast<const int32_t*>(integers)[position];
}

inline int64_t read_integer(const OzkStatsTask& task, const void* integers, int64_t position = 0) {
    return read_integer(integers, task.wide_integers, position);
}

// Element `position` of a real array of a task of that precision.
inline double read_real(const void* reals, bool single, int64_t position) {
    return single ? static_cast<const float*>(reals)[position] : static_cast<const double*>(reals)[position];
}

inline void write_real(void* reals, bool single, int64_t position, double value) {
    if (single) {
        static_cast<float*>(reals)[position] = static_cast<float>(value);
    } else {
        static_cast<double*>(reals)[position] = value;
    }
}

inline bool is_observation_storage(int64_t code) {
    return code == kOzkStatsByComponent || code == kOzkStatsByObservation;
}

inline bool is_matrix_storage(int64_t code) {
    return code == kOzkStatsMatrixFull || code == kOzkStatsMatrixLower || code == kOzkStatsMatrixUpper;
}

}  // namespace ozk::stats
