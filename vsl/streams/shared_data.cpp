// The table is 128 entries, the used ones packed at the front, under one spin lock. The lock is held for a
// few loads and stores at a time, never while memory is allocated or freed.

#include "vsl/streams/shared_data.hpp"

#include <atomic>
#include <cstddef>

namespace ozk::vsl::shared_data {
namespace {

constinit OzkVslSharedData entries[kOzkVslSharedDataEntries] = {};
constinit int32_t sizes[kOzkVslSharedDataEntries] =
    {};  // of the entries' data, in bytes; negative: not known
constinit int used = 0;
constinit std::atomic<uint32_t> lock_word = 0;

static_assert(sizeof(OzkVslSharedData) == 32 && offsetof(OzkVslSharedData, references) == 16 &&
              offsetof(OzkVslSharedData, data) == 24);

template <class Work>
auto locked(Work work) {
    for (uint32_t expected = 0; !lock_word.compare_exchange_strong(expected, 1); expected = 0)
        __builtin_ia32_pause();
    const auto result = work();
    lock_word.store(0, std::memory_order_release);
    return result;
}

// What follows is called under the lock.

OzkVslSharedData* find(const uint64_t* key) {
    if (key[0] == 0 && key[1] == 0) return nullptr;
    for (OzkVslSharedData* entry = entries; entry != entries + used; ++entry) {
        if (entry->key[0] == key[0] && entry->key[1] == key[1]) return entry;
    }
    return nullptr;
}

int32_t find_or_add(OzkVslSharedData*& entry, const uint64_t* key, void* data, int32_t size, int reserved) {
    if (key[0] == 0 && key[1] == 0) return kOzkVslErrorSharedDataMissing;
    entry = find(key);
    if (!entry) {
        if (used >= kOzkVslSharedDataEntries - reserved) return kOzkVslErrorSharedDataFull;
        sizes[used] = size;
        entry = &entries[used++];
        *entry = {{key[0], key[1]}, 0, data};
    }
    ++entry->references;
    return kOzkVslSuccess;
}

}  // namespace

int32_t attach(const uint64_t* key, void*& data, int32_t& size, int reserved) {
    return locked([&] {
        OzkVslSharedData* entry;
        const int32_t status = find_or_add(entry, key, data, size, reserved);
        if (status != kOzkVslSuccess) return status;
        data = entry->data;
        const int32_t known = sizes[entry - entries];
        if (known >= 0) size = known;
        return status;
    });
}

int32_t size_of(const uint64_t* key) {
    return locked([&] {
        const OzkVslSharedData* const entry = find(key);
        return entry ? sizes[entry - entries] : kUnknownSize;
    });
}

bool contains(const uint64_t* key) {
    return locked([&] { return find(key) != nullptr; });
}

}  // namespace ozk::vsl::shared_data

extern "C" {

using namespace ozk::vsl::shared_data;

int32_t __vslFindGlobRODataTableEntry(OzkVslSharedData** entry, const uint64_t* key) {
    OzkVslSharedData* const found = locked([&] { return find(key); });
    if (!found) return kOzkVslErrorSharedDataMissing;
    *entry = found;
    return kOzkVslSuccess;
}

int32_t __vslCreateGlobRODataTableEntry(OzkVslSharedData** entry, const uint64_t* key, void* data) {
    OzkVslSharedData* created;
    const int32_t status = locked([&] { return find_or_add(created, key, data, kUnknownSize, 0); });
    if (status == kOzkVslSuccess) *entry = created;
    return status;
}

int32_t __vslRegisterGlobRODataReference(void** data, const uint64_t* key) {
    return locked([&] {
        OzkVslSharedData* const entry = find(key);
        if (!entry) return kOzkVslErrorSharedDataMissing;
        ++entry->references;
        *data = entry->data;
        return kOzkVslSuccess;
    });
}

int32_t __vslUnregisterGlobRODataReference(const uint64_t* key) {
    void* unused = nullptr;
    const int32_t status = locked([&] {
        OzkVslSharedData* const entry = find(key);
        if (!entry) return kOzkVslErrorSharedDataMissing;
        if (--entry->references == 0) {
            unused = entry->data;
            sizes[entry - entries] = sizes[--used];
            *entry = entries[used];
            entries[used] = {};
        }
        return kOzkVslSuccess;
    });
    ozk_serv_deallocate(unused);
    return status;
}

int32_t __vslGenerateNewGlobalRODataTableEntryId(uint64_t* key, uint64_t second_word) {
    key[1] = second_word;
    do {
        __builtin_ia32_rdtsc();  // serves as the pause between two looks
    } while (contains(key));
    return kOzkVslSuccess;
}

}  // extern "C"
