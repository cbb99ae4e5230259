// How estimators read a task: integers of either width, storage codes.
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

inline bool is_observation_storage(int64_t code) {
    return code == kOzkStatsByComponent || code == kOzkStatsByObservation;
}

inline bool is_matrix_storage(int64_t code) {
    return code == kOzkStatsMatrixFull || code == kOzkStatsMatrixLower || code == kOzkStatsMatrixUpper;
}

}  // namespace ozk::stats
