// Saving and loading: the bytes of the layouts, streams that go on where they were, and images that are not
// to be trusted.

#include <unistd.h>

#include <algorithm>

#include "tests/vsl/allocator.hpp"
#include "tests/vsl/streams/image.hpp"

namespace {

using namespace drawing;
using namespace image;
using test_allocator::live_blocks;

constexpr size_t kHeader = 20, kMcg59State = 16;

// A stream with a private, a shared and an empty chunk.
Stream stream_with_chunks() {
    static const uint64_t key[2] = {0x1122334455667788, 0x99AABBCCDDEEFF00};
    Stream stream = make(kOzkVslMcg59, {5, 6});
    attach(stream, 7, "private");
    attach(stream, 8, "shared data", key);
    attach(stream, 9, "");
    return stream;
}

std::string text_of(const Stream& stream, uint32_t identifier) {
    for (const OzkVslChunk* chunk = stream->chunks; chunk; chunk = chunk->next) {
        if (chunk->identifier == identifier) {
            return std::string(static_cast<const char*>(chunk->data), static_cast<size_t>(chunk->size));
        }
    }
    return "none";
}

// Checks that the image has this status as a file and that in memory.
void expect_refused(const Bytes& bytes, int32_t file_status, const std::string& what) {
    const File file("refused");
    file.write(bytes);
    const int before = live_blocks;
    test_allocator::largest_request = 0;
    const Loaded from_file = load_file(file.path), from_memory = load_memory(bytes);
    EXPECT_EQ(from_file.status, file_status) << what;
    EXPECT_EQ(from_memory.status, kOzkVslErrorMemoryFormat) << what;
    EXPECT_TRUE(!from_file.stream && !from_memory.stream) << what;
    EXPECT_EQ(live_blocks, before) << what;
    EXPECT_LE(test_allocator::largest_request, bytes.size() + sizeof(OzkVslStream) + 128) << what;
}

TEST(Persistence, EveryGeneratorGoesOnWhereItWas) {
    const int before = live_blocks;
    for (uint32_t row = 0; row < 18; ++row) {
        const uint32_t identifier = row < 16 ? (row + 1) << 20 : row == 16 ? 277 : (9u << 20) + 6023;
        OzkVslStream* made = nullptr;
        const uint32_t seed = 12;
        if (__vslNewStreamEx(&made, identifier, 1, &seed) != kOzkVslSuccess) continue;
        const Stream stream(made);
        doubles(stream, 1003);  // leaves words pending
        const File file("round_trip");
        ASSERT_EQ(__vslSaveStreamF(stream.get(), (file.path + "xyz").c_str(),
                                   static_cast<int32_t>(file.path.size())),
                  kOzkVslSuccess);
        const Bytes bytes = saved(stream);
        EXPECT_EQ(file.read(), bytes) << row;
        OzkVslBrngProperties properties;
        __vslGetBrngProperties(identifier, &properties);
        EXPECT_EQ(bytes.size(), static_cast<size_t>(properties.state_size) - 16 + kHeader);
        OzkVslStream* from_memory = nullptr;
        ASSERT_EQ(__vslLoadStreamM(&from_memory, bytes.data()), kOzkVslSuccess);
        const Stream copies[] = {load_file(file.path).stream, load_memory(bytes).stream, Stream(from_memory)};
        const auto expected = doubles(stream, 500);
        for (const Stream& copy : copies) {
            ASSERT_TRUE(copy) << row;
            EXPECT_EQ(copy->identifier, identifier);
            if (identifier == kOzkVslNondeterministic) continue;
            EXPECT_EQ(doubles(copy, 500), expected) << row;
        }
    }
    EXPECT_EQ(live_blocks, before);
}

TEST(Persistence, PendingNormalNumberIsSavedWithTheStream) {
    const Stream stream = make(kOzkVslMcg59, {3});
    double r[5], expected[4], got[4];
    ASSERT_EQ(_vsldRngGaussian(kOzkVslGaussianBoxMullerPairs, stream.get(), 5, r, 0, 1), kOzkVslSuccess);
    const Loaded loaded = load_memory(saved(stream));
    ASSERT_EQ(loaded.status, kOzkVslSuccess);
    _vsldRngGaussian(kOzkVslGaussianBoxMullerPairs, stream.get(), 4, expected, 0, 1);
    _vsldRngGaussian(kOzkVslGaussianBoxMullerPairs, loaded.stream.get(), 4, got, 0, 1);
    EXPECT_TRUE(std::equal(got, got + 4, expected));
}

TEST(Persistence, ImageHasTheDocumentedBytes) {
    const Stream stream = stream_with_chunks();
    const Bytes multiplier = little_endian(uint64_t{302875106592253}), no_key(16, '\0');
    const Bytes expected = "\2RNG" + little_endian(20) + little_endian(16) + little_endian(uint16_t{3}) +
                           Bytes(2, '\0') + little_endian(0x400000) + little_endian(uint64_t{6} << 32 | 5) +
                           multiplier + little_endian(9) + no_key + little_endian(0) +  //
                           little_endian(8) + little_endian(0x1122334455667788) +
                           little_endian(0x99AABBCCDDEEFF00) + little_endian(11) + "shared data" +  //
                           little_endian(7) + no_key + little_endian(7) + "private";
    EXPECT_EQ(saved(stream), expected);
    // Memory keeps its bytes 14 and 15, and may lie at any address.
    Bytes marked(expected.size() + 1, 'x');
    __vslSaveStreamM(stream.get(), marked.data() + 1);
    EXPECT_EQ(marked.substr(15, 2), "xx");
    const Loaded loaded = load_memory(marked.substr(1));
    ASSERT_EQ(loaded.status, kOzkVslSuccess);
    EXPECT_EQ(text_of(loaded.stream, 7), "private");
    EXPECT_EQ(text_of(loaded.stream, 8), "shared data");
    EXPECT_EQ(text_of(loaded.stream, 9), "");
}

// The same stream in the 16-byte header: where the version stands, and which version.
Bytes older(bool signature_first, char version) {
    Bytes bytes = signature_first ? Bytes("RNG") + version : version + Bytes("RNG");
    bytes += Bytes("ab") + little_endian(uint16_t{16}) + little_endian(uint16_t{2}) + "cd" +
             little_endian(0x400000) + little_endian(uint64_t{5}) + little_endian(uint64_t{302875106592253});
    for (const char* text : {"one", "three"}) {
        bytes += little_endian(static_cast<uint32_t>(std::strlen(text)));
        if (version > 0) bytes += little_endian(uint64_t{0}) + little_endian(uint64_t{0});
        bytes += little_endian(static_cast<uint32_t>(std::strlen(text))) + text;
    }
    return bytes;
}

TEST(Persistence, OlderHeadersAreLoadedAndSavedInTheCurrentOne) {
    struct Case {
        bool signature_first;
        char version;
    };
    for (const auto& [signature_first, version] :
         {Case{false, 0}, Case{false, 1}, Case{true, 0}, Case{true, 1}, Case{true, 2}}) {
        const Bytes bytes = older(signature_first, version);
        const File file("older");
        file.write(bytes);
        for (const Loaded& loaded : {load_file(file.path), load_memory(bytes)}) {
            ASSERT_EQ(loaded.status, kOzkVslSuccess) << signature_first << int{version};
            EXPECT_EQ(text_of(loaded.stream, 3), "one");
            EXPECT_EQ(text_of(loaded.stream, 5), "three");
            const Bytes again = saved(loaded.stream);
            EXPECT_EQ(again.substr(0, 8), "\2RNG" + little_endian(20));
            EXPECT_EQ(doubles(loaded.stream, 9), doubles(make(kOzkVslMcg59, {5}), 9));
            EXPECT_EQ(load_memory(again).status, kOzkVslSuccess);
        }
        for (size_t length = 0; length < bytes.size(); ++length) {
            expect_refused(bytes.substr(0, length), kOzkVslErrorReadFile, "cut at " + std::to_string(length));
        }
    }
}

TEST(Persistence, HeadersThatNameNoStreamAreRefused) {
    const Bytes good = saved(make(kOzkVslMcg59, {5}));
    const auto with = [&](size_t at, auto number) {
        Bytes bytes = good;
        put(bytes, at, number);
        return bytes;
    };
    for (const uint8_t version : {uint8_t{3}, uint8_t{4}, uint8_t{0x52}, uint8_t{255}}) {
        expect_refused(with(0, version), kOzkVslErrorFileVersion, "version");
    }
    expect_refused("RNG\3" + good.substr(4), kOzkVslErrorFileVersion, "version last");
    expect_refused(with(1, 'r'), kOzkVslErrorFileFormat, "signature");
    expect_refused(with(3, '\0'), kOzkVslErrorFileFormat, "signature");
    expect_refused(with(4, 19), kOzkVslErrorFileFormat, "header size");
    expect_refused(with(4, 0x10000), kOzkVslErrorFileFormat, "header size");
    for (const uint32_t size : {0u, 15u, 17u, 0xFFFFFFF0u, 0xFFFFFFFFu}) {
        expect_refused(with(8, size), kOzkVslErrorFileFormat, "state size");
    }
    for (const uint32_t identifier : {281u, 0x400001u, 0x500111u, 0x901788u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        expect_refused(with(16, identifier), kOzkVslErrorFileFormat, "identifier");
    }
    // Rows that exist and have nothing in them, whose state size is that of the empty row.
    Bytes empty_row = with(16, 279u);
    put(empty_row, 8, 0xFFFFFFF0u);
    expect_refused(empty_row, kOzkVslErrorFileFormat, "empty row");
    put(empty_row, 8, 0u);
    expect_refused(empty_row, kOzkVslErrorFileFormat, "empty row");
    expect_refused("", kOzkVslErrorReadFile, "nothing");
}

TEST(Persistence, AddressesInAnImageAreNotBelieved) {
    static uint32_t buffer[4];
    OzkVslStream* made = nullptr;
    __vsliNewAbstractStream(&made, 4, buffer,
                            [](OzkVslStream*, uint32_t*, int32_t, int32_t most) { return most; });
    expect_refused(saved(Stream(made)), kOzkVslErrorFileFormat, "abstract");
}

TEST(Persistence, ChunksThatDoNotFitAreRefusedWithoutAllocatingForThem) {
    const Bytes good = saved(stream_with_chunks());
    for (size_t length = 0; length < good.size(); ++length) {
        expect_refused(good.substr(0, length), kOzkVslErrorReadFile, "cut at " + std::to_string(length));
    }
    constexpr size_t kFirstSize = kHeader + kMcg59State + 20;
    for (const int32_t size : {-1, INT32_MIN}) {
        Bytes bytes = good;
        put(bytes, kFirstSize, size);
        expect_refused(bytes, kOzkVslErrorFileFormat, "negative size");
    }
    for (const int32_t size : {200, 1 << 20, INT32_MAX}) {
        Bytes bytes = good;
        put(bytes, kFirstSize, size);
        expect_refused(bytes, kOzkVslErrorReadFile, "absurd size");
    }
    for (const uint16_t count : {4, 1000, 65535}) {  // trailing chunks that are not there
        Bytes bytes = good;
        put(bytes, 12, count);
        expect_refused(bytes, kOzkVslErrorReadFile, "chunk count");
    }
    EXPECT_EQ(load_memory(good + "more").status, kOzkVslSuccess);
}

TEST(Persistence, SharedChunksOfTwoLoadsAreOneBlock) {
    const int before = live_blocks;
    {
        const Bytes bytes = saved(stream_with_chunks());
        const Loaded a = load_memory(bytes), b = load_memory(bytes);
        EXPECT_EQ(__vslSearchChunk(a.stream.get(), 8), __vslSearchChunk(b.stream.get(), 8));
        EXPECT_NE(__vslSearchChunk(a.stream.get(), 7), __vslSearchChunk(b.stream.get(), 7));

        // Other data under the key stay apart, whatever their size.
        for (const char* text : {"sharp data!", "longer shared data", "short"}) {
            Bytes other = bytes;
            const size_t data = other.find("shared data");
            put(other, data - 4, static_cast<uint32_t>(std::strlen(text)));
            other.replace(data, 11, text);
            const Loaded loaded = load_memory(other);
            ASSERT_EQ(loaded.status, kOzkVslSuccess) << text;
            EXPECT_EQ(text_of(loaded.stream, 8), text);
            EXPECT_EQ(text_of(a.stream, 8), "shared data");
        }
    }
    EXPECT_EQ(live_blocks, before);
}

TEST(Persistence, WithoutMemoryNothingIsLeft) {
    const Bytes bytes = saved(stream_with_chunks());
    const File file("memory");
    file.write(bytes);
    const int before = live_blocks;
    int refusals = 0;
    for (int allowed = 0;; ++allowed) {
        OzkVslStream* stream = reinterpret_cast<OzkVslStream*>(16);
        int32_t status;
        {
            test_allocator::Limit limit(allowed);
            status = __vslLoadStreamF(&stream, file.path.c_str(), static_cast<int32_t>(file.path.size()));
        }
        const Stream loaded(stream);
        if (status == kOzkVslSuccess) break;
        ++refusals;
        ASSERT_EQ(status, kOzkVslErrorNoMemory);
        ASSERT_EQ(stream, nullptr);
        ASSERT_EQ(live_blocks, before);
    }
    EXPECT_EQ(refusals, 8);  // the name, the record, three chunks and their data
    const Stream stream = stream_with_chunks();
    test_allocator::Limit none(0);
    EXPECT_EQ(__vslSaveStreamF(stream.get(), "name", 4), kOzkVslErrorNoMemory);
}

TEST(Persistence, FilesThatCannotBeUsedHaveTheirStatus) {
    const Stream stream = stream_with_chunks();
    EXPECT_EQ(__vslSaveStreamF(stream.get(), "/no/such/directory/file", -1), kOzkVslErrorOpenFile);
    EXPECT_EQ(load_file("/no/such/file").status, kOzkVslErrorOpenFile);
    EXPECT_EQ(load_file(OZK_BINARY_DIR).status, kOzkVslErrorReadFile);  // a directory
    EXPECT_EQ(load_file("/dev/zero").status, kOzkVslErrorReadFile);     // no end
    // A device that is always full: what is buffered fails at the close.
    EXPECT_EQ(__vslSaveStreamF(stream.get(), "/dev/full", -1), kOzkVslErrorCloseFile);
    EXPECT_LT(__vslSaveStreamF(make(kOzkVslNiederreiter, {318}).get(), "/dev/full", -1), 0);
}

}  // namespace
