// Where the row of a stream's generator is found.
#pragma once

#include <algorithm>
#include <cstddef>

#include "ozk_vsl.h"

namespace ozk::vsl {

// An identifier resolved: table, row in it, and number of the parameter set within the family.
struct Location {
    const OzkVslBrngTable* table;
    int32_t row;
    int32_t set;
};

Location locate(uint32_t identifier);

// The row of an existing stream; its identifier was checked when it was made.
inline const OzkVslBrngProperties& properties(const OzkVslStream* stream) {
    const Location location = locate(stream->identifier);
    return location.table->rows[location.row];
}

// Bytes of a stream record: at least its header.
inline size_t record_size(const OzkVslBrngProperties& row) {
    return std::max(static_cast<size_t>(row.state_size), sizeof(OzkVslStream));
}

}  // namespace ozk::vsl
