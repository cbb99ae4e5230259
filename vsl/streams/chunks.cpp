// The list of data blocks that a stream carries.

#include <cstddef>
#include <cstring>

#include "vsl/streams/memory.hpp"
#include "vsl/streams/shared_data.hpp"

namespace ozk::vsl {
namespace {

static_assert(sizeof(OzkVslChunk) == 40 && offsetof(OzkVslChunk, size) == 4 &&
              offsetof(OzkVslChunk, data) == 8 && offsetof(OzkVslChunk, next) == 16 &&
              offsetof(OzkVslChunk, key) == 24);

bool is_shared(const OzkVslChunk* chunk) { return shared_data::contains(chunk->key); }

void delete_chunk(OzkVslChunk* chunk) {
    // A chunk keeps its key only while it holds a reference, so a key that the table does not have is the
    // zero key.
    if (__vslUnregisterGlobRODataReference(chunk->key) != kOzkVslSuccess) ozk_serv_deallocate(chunk->data);
    ozk_serv_deallocate(chunk);
}

int32_t copy_chunk(OzkVslStream* destination, const OzkVslChunk* source) {
    if (is_shared(source)) {
        return __vslAddChunk(destination, source->identifier, source->key, source->data, source->size);
    }
    const size_t size = static_cast<size_t>(source->size);
    void* const data = allocate(size);
    if (!data) return kOzkVslErrorNoMemory;
    if (size != 0) std::memcpy(data, source->data, size);
    const int32_t status = __vslAddChunk(destination, source->identifier, nullptr, data, source->size);
    if (status != kOzkVslSuccess) ozk_serv_deallocate(data);
    return status;
}

}  // namespace
}  // namespace ozk::vsl

extern "C" {

using namespace ozk::vsl;

int32_t __vslAddChunk(OzkVslStream* stream, uint32_t identifier, const uint64_t* key, void* data,
                      int32_t size) {
    OzkVslChunk* const chunk = allocate_record<OzkVslChunk>();
    if (!chunk) return kOzkVslErrorNoMemory;
    *chunk = {identifier, size, data, stream->chunks, {0, 0}};
    if (key &&
        shared_data::attach(key, chunk->data, chunk->size, shared_data::kReservedEntries) == kOzkVslSuccess) {
        chunk->key[0] = key[0];
        chunk->key[1] = key[1];
    }
    stream->chunks = chunk;
    return kOzkVslSuccess;
}

void* __vslSearchChunk(const OzkVslStream* stream, uint32_t identifier) {
    for (const OzkVslChunk* chunk = stream->chunks; chunk; chunk = chunk->next) {
        if (chunk->identifier == identifier) return chunk->data;
    }
    return nullptr;
}

int32_t __vslGetNumChunks(const OzkVslStream* stream) {
    int32_t count = 0;
    for (const OzkVslChunk* chunk = stream->chunks; chunk; chunk = chunk->next) ++count;
    return count;
}

int32_t __vslDeleteChunksById(OzkVslStream* stream, uint32_t identifier) {
    for (OzkVslChunk** link = &stream->chunks; *link;) {
        OzkVslChunk* const chunk = *link;
        if (chunk->identifier == identifier) {
            *link = chunk->next;
            delete_chunk(chunk);
        } else {
            link = &chunk->next;
        }
    }
    return kOzkVslSuccess;
}

int32_t __vslDeleteChunks(OzkVslStream* stream) {
    while (OzkVslChunk* const chunk = stream->chunks) {
        stream->chunks = chunk->next;
        delete_chunk(chunk);
    }
    return kOzkVslSuccess;
}

int32_t __vslCopyChunks(OzkVslStream* destination, const OzkVslStream* source) {
    for (const OzkVslChunk* chunk = source->chunks; chunk; chunk = chunk->next) {
        const int32_t status = copy_chunk(destination, chunk);
        if (status != kOzkVslSuccess) {
            __vslDeleteChunks(destination);
            return status;
        }
    }
    return kOzkVslSuccess;
}

}  // extern "C"
