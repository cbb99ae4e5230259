// The process-wide table of read-only data that chunks of several streams share.
#pragma once

#include "ozk_vsl.h"

namespace ozk::vsl::shared_data {

// Room that chunks leave in the table for entries made without a chunk.
inline constexpr int kReservedEntries = 1;

inline constexpr int32_t kUnknownSize = -1;

// When the table has the key: takes a reference and gives the entry's data, and their size where it is known, so that
// nobody reads beyond them. Otherwise adds `data` under the
// key with one reference, unless that leaves fewer than `reserved` entries free, and gives `data`. 0,
// kOzkVslErrorSharedDataMissing (zero key), kOzkVslErrorSharedDataFull.
int32_t attach(const uint64_t* key, void*& data, int32_t& size, int reserved);

// Bytes of an entry's data, as its first chunk gave them; kUnknownSize for an entry made without a chunk or none.
int32_t size_of(const uint64_t* key);

// Whether the table has the key; data of an entry that the caller holds a reference to stay where they are.
bool contains(const uint64_t* key);

}  // namespace ozk::vsl::shared_data
