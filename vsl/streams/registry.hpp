// Where the row of a stream's generator is found.
#pragma once

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

}  // namespace ozk::vsl
