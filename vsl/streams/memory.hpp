// Blocks of the core's allocator at the alignment of every record.
#pragma once

#include "ozk_core.h"

namespace ozk::vsl {

inline constexpr size_t kAlignment = 128;

inline void* allocate(size_t size) { return ozk_serv_allocate(size, kAlignment); }

template <class Record>
Record* allocate_record() {
    return static_cast<Record*>(allocate(sizeof(Record)));
}

}  // namespace ozk::vsl
