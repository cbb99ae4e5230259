// Data that a generator keeps with a stream from one call to the next.
#pragma once

#include <cstdint>
#include <new>

#include "ozk_vsl.h"
#include "vsl/streams/memory.hpp"

namespace ozk::vsl {

// The private data under this identifier, with the initial value when the stream has none yet; null without
// memory. A chunk of another size, which a loaded stream may have, is not ours.
template <class Data>
Data* stream_data(OzkVslStream* stream, uint32_t identifier, const Data& initial) {
    constexpr int32_t kSize = sizeof(Data);
    for (const OzkVslChunk* chunk = stream->chunks; chunk; chunk = chunk->next) {
        if (chunk->identifier == identifier && chunk->size == kSize) return static_cast<Data*>(chunk->data);
    }
    void* const block = allocate(kSize);
    if (!block) return nullptr;
    if (__vslAddChunk(stream, identifier, nullptr, block, kSize) != kOzkVslSuccess) {
        ozk_serv_deallocate(block);
        return nullptr;
    }
    return new (block) Data(initial);
}

}  // namespace ozk::vsl
