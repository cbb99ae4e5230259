// Creating, copying, splitting and deleting streams. The arithmetic is the generators' own, behind the
// initialisation function of their registry row.

#include "vsl/streams/stream.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

#include "vsl/streams/memory.hpp"
#include "vsl/streams/registry.hpp"

namespace ozk::vsl {
namespace {

static_assert(sizeof(OzkVslStream) == 16 && offsetof(OzkVslStream, marker) == 4 &&
              offsetof(OzkVslStream, chunks) == 8);

constexpr int32_t kMarker = 1;

// A record with its header filled, for a generator that exists: the one place that refuses rows without
// functions.
int32_t allocate_stream(OzkVslStream** handle, const OzkVslBrngProperties& row, uint32_t identifier) {
    if (!row.init) return kOzkVslErrorInvalidGenerator;
    *handle = static_cast<OzkVslStream*>(allocate(record_size(row)));
    if (!*handle) return kOzkVslErrorNoMemory;
    **handle = {identifier, kMarker, nullptr};
    return kOzkVslSuccess;
}

int32_t new_stream(OzkVslStream** handle, uint32_t identifier, int32_t n, const void* params) {
    const Location location = locate(identifier);
    const int32_t status =
        __vslAllocateStream(handle, location.table, identifier, location.row, location.set);
    if (status != kOzkVslSuccess) return status;
    return location.table->rows[location.row].init(kOzkVslInitSeed, *handle, n, params);
}

int32_t initialise(OzkVslInitMethod method, OzkVslStream* stream, int32_t n, const void* params) {
    return properties(stream).init(method, stream, n, params);
}

template <class Element, class Refill, class... Bounds>
int32_t new_abstract_stream(OzkVslStream** handle, uint32_t identifier, int32_t n, const Element* buffer,
                            Refill refill, const Bounds&... bounds) {
    if (n < 1 || !buffer || !refill) return kOzkVslErrorBadArguments;
    const void* const params[] = {&n, buffer, &bounds..., reinterpret_cast<const void*>(refill)};
    constexpr int32_t kWordsPerPointer = sizeof(void*) / sizeof(uint32_t);
    return new_stream(handle, identifier, kWordsPerPointer * std::ssize(params), params);
}

}  // namespace
}  // namespace ozk::vsl

extern "C" {

using namespace ozk::vsl;

uint32_t __vslGetStreamStateBrng(const OzkVslStream* stream) { return stream->identifier; }

int32_t __vslNewStreamEx(OzkVslStream** stream, uint32_t identifier, int32_t n, const uint32_t* seed) {
    if (identifier == kOzkVslIntegerAbstract || identifier == kOzkVslDoubleAbstract ||
        identifier == kOzkVslSingleAbstract) {
        return kOzkVslErrorInvalidGenerator;
    }
    return new_stream(stream, identifier, n, seed);
}

int32_t __vslAllocateStream(OzkVslStream** stream, const OzkVslBrngTable* table, uint32_t identifier,
                            int32_t row, int32_t set) {
    const int32_t status = __vslIsBrngValid(table, row, set);
    if (status != kOzkVslSuccess) return status;
    return allocate_stream(stream, table->rows[row], identifier);
}

int32_t __vsliNewAbstractStream(OzkVslStream** stream, int32_t n, uint32_t* buffer,
                                OzkVslIntegerRefill refill) {
    return new_abstract_stream(stream, kOzkVslIntegerAbstract, n, buffer, refill);
}

int32_t __vsldNewAbstractStream(OzkVslStream** stream, int32_t n, double* buffer, OzkVslDoubleRefill refill,
                                double a, double b) {
    if (!(a < b)) return kOzkVslErrorBadArguments;
    return new_abstract_stream(stream, kOzkVslDoubleAbstract, n, buffer, refill, a, b);
}

int32_t __vslsNewAbstractStream(OzkVslStream** stream, int32_t n, float* buffer, OzkVslSingleRefill refill,
                                float a, float b) {
    if (!(a < b)) return kOzkVslErrorBadArguments;
    return new_abstract_stream(stream, kOzkVslSingleAbstract, n, buffer, refill, a, b);
}

int32_t __vslCopyStream(OzkVslStream** copy, const OzkVslStream* source) {
    const Location location = locate(source->identifier);
    int32_t status =
        __vslAllocateStream(copy, location.table, source->identifier, location.row, location.set);
    if (status != kOzkVslSuccess) return status;
    std::memcpy(*copy, source, record_size(location.table->rows[location.row]));
    **copy = {source->identifier, kMarker, nullptr};
    status = __vslCopyChunks(*copy, source);
    if (status != kOzkVslSuccess) __vslDeleteStream(copy);
    return status;
}

int32_t __vslCopyStreamState(OzkVslStream* destination, const OzkVslStream* source) {
    if (destination == source) return kOzkVslSuccess;
    // The copies are made first, so that a failure leaves the destination whole.
    OzkVslStream copies = {source->identifier, kMarker, nullptr};
    const int32_t status = __vslCopyChunks(&copies, source);
    if (status != kOzkVslSuccess) return status;
    __vslDeleteChunks(destination);
    destination->chunks = copies.chunks;

    // Seed count times word size, which for WH is more than the record holds.
    const OzkVslBrngProperties& row = properties(source);
    const size_t words = static_cast<size_t>(row.seed_count) * static_cast<size_t>(row.word_size);
    std::memcpy(destination + 1, source + 1, std::min(words, record_size(row) - sizeof(OzkVslStream)));
    return kOzkVslSuccess;
}

int32_t __vslLeapfrogStream(OzkVslStream* stream, int32_t k, int32_t count) {
    if (count < 0) return kOzkVslErrorBadStreamCount;
    return initialise(kOzkVslInitLeapfrog, stream, count, &k);
}

int32_t __vslSkipAheadStream(OzkVslStream* stream, uint64_t count) {
    constexpr int32_t kCountWords = 2;  // of 32 bits
    return initialise(kOzkVslInitSkipAhead, stream, kCountWords, &count);
}

int32_t __vslSkipAheadStreamEx(OzkVslStream* stream, int32_t n, const uint64_t* count) {
    return initialise(kOzkVslInitSkipAheadEx, stream, n, count);
}

int32_t __vslDeleteStream(OzkVslStream** stream) {
    __vslDeleteChunks(*stream);
    ozk_serv_deallocate(*stream);
    *stream = nullptr;
    return kOzkVslSuccess;
}

}  // extern "C"
