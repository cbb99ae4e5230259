// Saving streams and loading them: one layout in files and in memory, and two older headers when loading.
// What is loaded is not trusted: sizes are checked before anything is allocated for them.

#include <stdio.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "vsl/streams/memory.hpp"
#include "vsl/streams/registry.hpp"
#include "vsl/streams/shared_data.hpp"

namespace ozk::vsl {
namespace {

constexpr char kSignature[] = {'R', 'N', 'G'};
constexpr uint8_t kVersion = 2;

struct Header {
    uint8_t version;
    char signature[3];
    uint32_t header_size;
    uint32_t state_size;
    uint16_t chunks;
    uint16_t upper_chunks;  // zero in files; memory keeps what is there
    uint32_t generator;
};
static_assert(sizeof(Header) == 20 && offsetof(Header, chunks) == 12 && offsetof(Header, generator) == 16);

// Of versions 0 and 1, and of all versions that have the signature first.
struct OlderHeader {
    uint8_t version_or_signature[4];
    uint16_t unused;
    uint16_t state_size;
    uint16_t chunks;
    uint16_t unused_either;
    uint32_t generator;
};
static_assert(sizeof(OlderHeader) == 16 && offsetof(OlderHeader, generator) == 12);

struct ChunkHeader {
    uint32_t identifier;
    uint64_t key[2];
    int32_t size;
};
constexpr size_t kChunkHeaderSize = 24;  // in an image, without padding

constexpr int32_t kMostChunks = UINT16_MAX;

size_t state_bytes(const OzkVslBrngProperties& row) { return record_size(row) - sizeof(OzkVslStream); }

// ---- Saving -------------------------------------------------------------------------------------------

// Hands the image to write(bytes, count), part by part, until that refuses.
template <class Write>
bool save(const OzkVslStream* stream, Header header, Write write) {
    const OzkVslBrngProperties& row = properties(stream);
    const int32_t chunks = __vslGetNumChunks(stream);
    if (chunks > kMostChunks) return false;
    header.version = kVersion;
    std::memcpy(header.signature, kSignature, sizeof kSignature);
    header.header_size = sizeof(Header);
    header.state_size = static_cast<uint32_t>(state_bytes(row));
    header.chunks = static_cast<uint16_t>(chunks);
    header.generator = stream->identifier;
    if (!write(&header, sizeof header) || !write(stream + 1, state_bytes(row))) return false;
    for (const OzkVslChunk* chunk = stream->chunks; chunk; chunk = chunk->next) {
        if (!write(&chunk->identifier, sizeof chunk->identifier) || !write(chunk->key, sizeof chunk->key) ||
            !write(&chunk->size, sizeof chunk->size) ||
            !write(chunk->data, static_cast<size_t>(std::max(chunk->size, 0)))) {
            return false;
        }
    }
    return true;
}

// ---- Sources of an image ------------------------------------------------------------------------------

class FileSource {
  public:
    static constexpr int32_t kShort = kOzkVslErrorReadFile, kBadFormat = kOzkVslErrorFileFormat,
                             kBadVersion = kOzkVslErrorFileVersion;

    explicit FileSource(FILE* file) : file_(file) {
        if (fseeko(file, 0, SEEK_END) != 0) return;  // no regular file: nothing can be read
        left_ = static_cast<uint64_t>(std::max<off_t>(ftello(file), 0));
        rewind(file);
    }
    bool has(uint64_t count) const { return count <= left_; }
    bool read(void* to, size_t count) {
        if (!has(count) || fread(to, 1, count, file_) != count) return false;
        left_ -= count;
        return true;
    }

  private:
    FILE* file_;
    uint64_t left_ = 0;
};

class MemorySource {
  public:
    static constexpr int32_t kShort = kOzkVslErrorMemoryFormat, kBadFormat = kOzkVslErrorMemoryFormat,
                             kBadVersion = kOzkVslErrorMemoryFormat;

    MemorySource(const void* image, uint64_t size) : next_(static_cast<const char*>(image)), left_(size) {}
    bool has(uint64_t count) const { return count <= left_; }
    bool read(void* to, size_t count) {
        if (!has(count)) return false;
        if (count > 0) std::memcpy(to, next_, count);
        next_ += count;
        left_ -= count;
        return true;
    }

  private:
    const char* next_;
    uint64_t left_;
};

// ---- Loading ------------------------------------------------------------------------------------------

// Reads a header of any layout; version is that of the chunk records.
template <class Source>
int32_t read_header(Source& source, Header& header, uint8_t& version) {
    constexpr size_t kFirst = 4;
    uint8_t first[kFirst];
    if (!source.read(first, kFirst)) return Source::kShort;
    if (first[0] == kVersion) {
        std::memcpy(&header, first, kFirst);
        if (!source.read(&header.header_size, sizeof header - kFirst)) return Source::kShort;
    } else {
        OlderHeader older;
        std::memcpy(&older, first, kFirst);
        if (!source.read(&older.unused, sizeof older - kFirst)) return Source::kShort;
        header = {first[0], {}, sizeof(Header), older.state_size, older.chunks, 0, older.generator};
    }

    const bool signature_first = std::memcmp(first, kSignature, sizeof kSignature) == 0;
    if (!signature_first && std::memcmp(first + 1, kSignature, sizeof kSignature) != 0) {
        return Source::kBadFormat;
    }
    version = signature_first ? first[3] : first[0];
    return version > kVersion ? Source::kBadVersion : kOzkVslSuccess;
}

// A stream of the generator that the header names, when its state fits.
template <class Source>
int32_t allocate_stream(OzkVslStream** stream, const Header& header) {
    const Location location = locate(header.generator);
    if (__vslIsBrngValid(location.table, location.row, location.set) != kOzkVslSuccess) {
        return Source::kBadFormat;
    }
    const OzkVslBrngProperties& row = location.table->rows[location.row];
    constexpr uint32_t kLowHalf = 0xFFFF;
    if (!row.init || header.state_size != state_bytes(row) ||
        (header.header_size & kLowHalf) < sizeof(Header)) {
        return Source::kBadFormat;
    }
    // The state of an abstract stream is addresses of the process that saved it.
    switch (header.generator) {
        case kOzkVslIntegerAbstract:
        case kOzkVslDoubleAbstract:
        case kOzkVslSingleAbstract:
            return Source::kBadFormat;
    }
    return __vslAllocateStream(stream, location.table, header.generator, location.row, location.set);
}

int32_t check_processor(uint32_t generator) {
    if (generator == kOzkVslNondeterministic && !__vslCPUisRDRAND()) return kOzkVslErrorNoRandomInstruction;
    if (generator == kOzkVslArs5 && !__vslCPUisAES()) return kOzkVslErrorNoAes;
    return kOzkVslSuccess;
}

// Attaches data that were read, which stay the caller's on failure. Only a shared copy that equals them takes
// their place: a key alone, in an image of unknown origin, proves nothing.
int32_t attach_chunk(OzkVslStream* stream, const ChunkHeader& header, void* data) {
    const int32_t status = __vslAddChunk(stream, header.identifier, header.key, data, header.size);
    if (status != kOzkVslSuccess) return status;
    OzkVslChunk* const chunk = stream->chunks;
    if (chunk->data == data) return kOzkVslSuccess;
    if (shared_data::size_of(chunk->key) == header.size &&
        std::memcmp(chunk->data, data, static_cast<size_t>(header.size)) == 0) {
        ozk_serv_deallocate(data);
    } else {
        __vslUnregisterGlobRODataReference(chunk->key);
        chunk->key[0] = chunk->key[1] = 0;
        chunk->data = data;
        chunk->size = header.size;
    }
    return kOzkVslSuccess;
}

template <class Source>
int32_t read_chunk(OzkVslStream* stream, Source& source, uint8_t version) {
    ChunkHeader header = {};
    if (!source.read(&header.identifier, sizeof header.identifier) ||
        (version > 0 && !source.read(header.key, sizeof header.key)) ||
        !source.read(&header.size, sizeof header.size)) {
        return Source::kShort;
    }
    if (header.size < 0) return Source::kBadFormat;
    const size_t size = static_cast<size_t>(header.size);
    if (!source.has(size)) return Source::kShort;
    void* const data = allocate(size);
    if (!data) return kOzkVslErrorNoMemory;
    const int32_t status = source.read(data, size) ? attach_chunk(stream, header, data) : Source::kShort;
    if (status != kOzkVslSuccess) ozk_serv_deallocate(data);
    return status;
}

template <class Source>
int32_t load(OzkVslStream** handle, Source& source) {
    *handle = nullptr;
    Header header;
    uint8_t version = 0;
    int32_t status = read_header(source, header, version);
    if (status != kOzkVslSuccess) return status;
    OzkVslStream* stream = nullptr;
    status = allocate_stream<Source>(&stream, header);
    if (status != kOzkVslSuccess) return status;
    status = source.read(stream + 1, header.state_size) ? check_processor(header.generator) : Source::kShort;
    for (uint16_t i = 0; i < header.chunks && status == kOzkVslSuccess; ++i) {
        status = read_chunk(stream, source, version);
    }
    if (status == kOzkVslSuccess) {
        *handle = stream;
    } else {
        __vslDeleteStream(&stream);
    }
    return status;
}

// ---- Files --------------------------------------------------------------------------------------------

// Opens the file of a name of `length` bytes, or a terminated one when that is negative, and has `work` done
// with it.
template <class Work>
int32_t with_file(const char* name, int32_t length, const char* mode, Work work) {
    char* copy = nullptr;
    if (length >= 0) {
        const size_t bytes = static_cast<size_t>(length);
        copy = static_cast<char*>(allocate(bytes + 1));
        if (!copy) return kOzkVslErrorNoMemory;
        if (bytes > 0) std::memcpy(copy, name, bytes);
        copy[bytes] = '\0';
    }
    FILE* const file = fopen(copy ? copy : name, mode);
    ozk_serv_deallocate(copy);
    if (!file) return kOzkVslErrorOpenFile;
    const int32_t status = work(file);
    return fclose(file) == 0 ? status : int32_t{kOzkVslErrorCloseFile};
}

}  // namespace
}  // namespace ozk::vsl

extern "C" {

using namespace ozk::vsl;

int32_t __vslGetStreamSize(const OzkVslStream* stream) {
    size_t size = sizeof(Header) + state_bytes(properties(stream));
    for (const OzkVslChunk* chunk = stream->chunks; chunk; chunk = chunk->next) {
        size += kChunkHeaderSize + static_cast<size_t>(std::max(chunk->size, 0));
    }
    return static_cast<int32_t>(std::min<size_t>(size, INT32_MAX));
}

int32_t __vslSaveStreamM(const OzkVslStream* stream, void* memory) {
    char* to = static_cast<char*>(memory);
    Header header;
    std::memcpy(&header, memory, sizeof header);  // for the bytes that are not written
    save(stream, header, [&to](const void* bytes, size_t count) {
        if (count > 0) std::memcpy(to, bytes, count);
        to += count;
        return true;
    });
    return kOzkVslSuccess;
}

int32_t __vslSaveStreamF(const OzkVslStream* stream, const char* name, int32_t name_length) {
    return with_file(name, name_length, "wb", [stream](FILE* file) {
        const bool written = save(stream, Header{}, [file](const void* bytes, size_t count) {
            return fwrite(bytes, 1, count, file) == count;
        });
        return written ? int32_t{kOzkVslSuccess} : int32_t{kOzkVslErrorWriteFile};
    });
}

int32_t __vslLoadStreamM(OzkVslStream** stream, const void* memory) {
    return ozk_vsl_load_stream(stream, memory, UINT64_MAX);
}

int32_t ozk_vsl_load_stream(OzkVslStream** stream, const void* memory, uint64_t size) {
    MemorySource source(memory, size);
    return load(stream, source);
}

int32_t __vslLoadStreamF(OzkVslStream** stream, const char* name, int32_t name_length) {
    *stream = nullptr;
    OzkVslStream* loaded = nullptr;
    const int32_t status = with_file(name, name_length, "rb", [&loaded](FILE* file) {
        FileSource source(file);
        return load(&loaded, source);
    });
    if (status == kOzkVslSuccess) {
        *stream = loaded;
    } else if (loaded) {
        __vslDeleteStream(&loaded);
    }
    return status;
}

}  // extern "C"
