#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "ozk_vsl.h"
#include "tests/vsl/allocator.hpp"

namespace {

using test_allocator::live_blocks;

struct Key {
    uint64_t words[2];
    operator const uint64_t*() const { return words; }
};

// Streams that need nothing but their header.
class Chunks : public testing::Test {
  protected:
    OzkVslStream a = {kOzkVslMcg59, 1, nullptr}, b = {kOzkVslMcg59, 1, nullptr};
    const int blocks_before = live_blocks;

    static void* make_data(const std::string& text) {
        void* const data = ozk_serv_allocate(text.size() + 1, 128);
        std::memcpy(data, text.c_str(), text.size() + 1);
        return data;
    }

    static void add(OzkVslStream& stream, uint32_t identifier, const char* text,
                    const uint64_t* key = nullptr) {
        ASSERT_EQ(__vslAddChunk(&stream, identifier, key, make_data(text),
                                static_cast<int32_t>(std::strlen(text)) + 1),
                  kOzkVslSuccess);
    }

    static const char* text_of(const OzkVslStream& stream, uint32_t identifier) {
        return static_cast<const char*>(__vslSearchChunk(&stream, identifier));
    }

    static uint32_t references(const Key& key) {
        OzkVslSharedData* entry;
        return __vslFindGlobRODataTableEntry(&entry, key) == kOzkVslSuccess ? entry->references : 0;
    }

    void TearDown() override {
        __vslDeleteChunks(&a);
        __vslDeleteChunks(&b);
        EXPECT_EQ(live_blocks, blocks_before);
    }
};

TEST_F(Chunks, AreFoundByIdentifierTheLastAddedFirst) {
    add(a, 1, "one");
    add(a, 2, "two");
    add(a, 1, "uno");
    EXPECT_EQ(__vslGetNumChunks(&a), 3);
    EXPECT_STREQ(text_of(a, 1), "uno");
    EXPECT_EQ(text_of(a, 3), nullptr);
    EXPECT_EQ(__vslDeleteChunksById(&a, 1), kOzkVslSuccess);
    EXPECT_EQ(__vslGetNumChunks(&a), 1);
    EXPECT_EQ(text_of(a, 1), nullptr);
    EXPECT_STREQ(text_of(a, 2), "two");
}

TEST_F(Chunks, CopyDuplicatesPrivateDataReferencesSharedDataAndReversesTheOrder) {
    const Key key = {{7, 8}};
    add(a, 1, "private");
    add(a, 2, "shared", key);
    add(a, 3, "own");
    ASSERT_EQ(__vslCopyChunks(&b, &a), kOzkVslSuccess);
    EXPECT_STREQ(text_of(b, 1), "private");
    EXPECT_NE(text_of(b, 1), text_of(a, 1));
    EXPECT_EQ(text_of(b, 2), text_of(a, 2));
    EXPECT_EQ(references(key), 2u);
    std::vector<uint32_t> order_a, order_b;
    for (const OzkVslChunk* chunk = a.chunks; chunk; chunk = chunk->next)
        order_a.push_back(chunk->identifier);
    for (const OzkVslChunk* chunk = b.chunks; chunk; chunk = chunk->next)
        order_b.push_back(chunk->identifier);
    std::reverse(order_b.begin(), order_b.end());
    EXPECT_EQ(order_a, order_b);

    __vslDeleteChunks(&a);
    EXPECT_EQ(references(key), 1u);
    EXPECT_STREQ(text_of(b, 2), "shared");
    __vslDeleteChunks(&b);
    EXPECT_EQ(references(key), 0u);
}

TEST_F(Chunks, SecondChunkWithASharedKeyUsesTheFirstOnesDataAndTheirSize) {
    const Key key = {{0, 9}};
    add(a, 1, "first", key);
    void* const superseded = make_data("second");
    for (int32_t size : {7, 2, 1 << 30}) {
        ASSERT_EQ(__vslAddChunk(&b, 1, key, superseded, size), kOzkVslSuccess);
        EXPECT_EQ(text_of(b, 1), text_of(a, 1));
        EXPECT_EQ(b.chunks->size, 6);  // nothing is read, and so saved, from beyond the shared block
    }
    ozk_serv_deallocate(superseded);

    // Data that were put into the table without a chunk have the size that a chunk says.
    OzkVslSharedData* entry;
    ASSERT_EQ(__vslCreateGlobRODataTableEntry(&entry, Key{{0, 10}}, make_data("bare")), kOzkVslSuccess);
    ASSERT_EQ(__vslAddChunk(&b, 2, Key{{0, 10}}, nullptr, 5), kOzkVslSuccess);
    EXPECT_EQ(b.chunks->size, 5);
    EXPECT_EQ(__vslUnregisterGlobRODataReference(Key{{0, 10}}), kOzkVslSuccess);
}

TEST_F(Chunks, KeepTheirDataPrivateWhenOneEntryOfTheTableIsLeft) {
    for (uint64_t i = 1; i <= 130; ++i) add(a, static_cast<uint32_t>(i), "data", Key{{i, i}});
    EXPECT_EQ(references(Key{{127, 127}}), 1u);
    EXPECT_EQ(references(Key{{128, 128}}), 0u);
    EXPECT_EQ(a.chunks->key[0], 0u);

    // Entries without a chunk may use the last place.
    OzkVslSharedData* entry;
    void* const last = make_data("last");
    ASSERT_EQ(__vslCreateGlobRODataTableEntry(&entry, Key{{200, 1}}, last), kOzkVslSuccess);
    EXPECT_EQ(entry->data, last);
    EXPECT_EQ(__vslCreateGlobRODataTableEntry(&entry, Key{{201, 1}}, last), kOzkVslErrorSharedDataFull);

    // What shares an entry still shares it when the table is full, and the rest of the table survives a
    // removal.
    ASSERT_EQ(__vslCopyChunks(&b, &a), kOzkVslSuccess);
    EXPECT_EQ(references(Key{{1, 1}}), 2u);
    EXPECT_NE(text_of(b, 128), text_of(a, 128));
    EXPECT_EQ(__vslUnregisterGlobRODataReference(Key{{200, 1}}), kOzkVslSuccess);
    __vslDeleteChunks(&b);
    __vslDeleteChunksById(&a, 1);
    EXPECT_EQ(references(Key{{1, 1}}), 0u);
    for (uint64_t i = 2; i <= 127; ++i) ASSERT_EQ(references(Key{{i, i}}), 1u) << i;
}

TEST_F(Chunks, SharedDataAreCountedByReference) {
    const Key key = {{5, 6}}, zero = {{0, 0}};
    OzkVslSharedData* entry;
    void* data = nullptr;
    EXPECT_EQ(__vslFindGlobRODataTableEntry(&entry, zero), kOzkVslErrorSharedDataMissing);
    EXPECT_EQ(__vslRegisterGlobRODataReference(&data, key), kOzkVslErrorSharedDataMissing);
    EXPECT_EQ(__vslUnregisterGlobRODataReference(key), kOzkVslErrorSharedDataMissing);

    void* const block = make_data("text");
    ASSERT_EQ(__vslCreateGlobRODataTableEntry(&entry, key, block), kOzkVslSuccess);
    ASSERT_EQ(__vslRegisterGlobRODataReference(&data, key), kOzkVslSuccess);
    EXPECT_EQ(data, block);
    EXPECT_EQ(references(key), 2u);
    uint64_t fresh[2] = {5, 0};
    EXPECT_EQ(__vslGenerateNewGlobalRODataTableEntryId(fresh, 7), kOzkVslSuccess);
    EXPECT_EQ(fresh[1], 7u);
    EXPECT_EQ(__vslUnregisterGlobRODataReference(key), kOzkVslSuccess);
    EXPECT_EQ(live_blocks, blocks_before + 1);
    EXPECT_EQ(__vslUnregisterGlobRODataReference(key), kOzkVslSuccess);
    EXPECT_EQ(live_blocks, blocks_before);
}

TEST_F(Chunks, WithoutMemoryNothingIsAddedAndACopyIsUndone) {
    const Key key = {{3, 4}};
    add(a, 1, "one");
    add(a, 2, "two", key);
    add(a, 3, "three");
    void* const data = make_data("four");
    {
        test_allocator::Limit none(0);
        EXPECT_EQ(__vslAddChunk(&a, 4, nullptr, data, 5), kOzkVslErrorNoMemory);
    }
    ozk_serv_deallocate(data);
    EXPECT_EQ(__vslGetNumChunks(&a), 3);

    constexpr int kAllocationsOfACopy = 5;  // three records, two private blocks
    for (int allowed = 0; allowed < kAllocationsOfACopy; ++allowed) {
        const int live = live_blocks;
        test_allocator::Limit some(allowed);
        EXPECT_EQ(__vslCopyChunks(&b, &a), kOzkVslErrorNoMemory) << allowed;
        EXPECT_EQ(b.chunks, nullptr);
        EXPECT_EQ(live_blocks, live);
        EXPECT_EQ(references(key), 1u);
    }
}

TEST_F(Chunks, SharedTableStandsUpToManyThreads) {
    constexpr int kThreads = 8, kRounds = 4000, kKeys = 24;
    std::vector<std::thread> threads;
    std::atomic<int> wrong = 0;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t, &wrong] {
            OzkVslStream mine = {kOzkVslMcg59, 1, nullptr}, copy = mine;
            uint32_t random = static_cast<uint32_t>(t) + 1;
            for (int round = 0; round < kRounds; ++round) {
                random = random * 1664525 + 1013904223;
                const uint64_t which = (random >> 16) % kKeys + 1;
                const uint32_t identifier = static_cast<uint32_t>(which);
                const Key key = {{which, 0xABC}};
                uint64_t* const data = static_cast<uint64_t*>(ozk_serv_allocate(sizeof(uint64_t), 128));
                *data = which;
                __vslAddChunk(&mine, identifier, key, data, sizeof(uint64_t));
                if (__vslSearchChunk(&mine, identifier) != data) ozk_serv_deallocate(data);
                if (round % 16 == 0) {
                    __vslCopyChunks(&copy, &mine);
                    __vslDeleteChunks(&mine);
                    std::swap(mine, copy);
                }
                for (const OzkVslChunk* chunk = mine.chunks; chunk; chunk = chunk->next) {
                    wrong += *static_cast<const uint64_t*>(chunk->data) != chunk->identifier;
                }
                if (round % 64 == 63) __vslDeleteChunks(&mine);
            }
            __vslDeleteChunks(&mine);
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
    for (uint64_t which = 1; which <= kKeys; ++which) EXPECT_EQ(references(Key{{which, 0xABC}}), 0u);
}

}  // namespace
