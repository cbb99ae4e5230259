#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "ozk_vsl.h"
#include "tests/vsl/allocator.hpp"
#include "tests/vsl/streams/drawing.hpp"

namespace {

using test_allocator::live_blocks;

std::vector<double> draw(OzkVslStream* stream, int n) {
    std::vector<double> r(static_cast<size_t>(n));
    EXPECT_EQ(_vsldRngUniform(kOzkVslUniformStandard, stream, n, r.data(), 0, 1), kOzkVslSuccess);
    return r;
}

OzkVslStream* make_stream(uint32_t seed) {
    OzkVslStream* stream = nullptr;
    EXPECT_EQ(__vslNewStreamEx(&stream, kOzkVslMcg59, 1, &seed), kOzkVslSuccess);
    return stream;
}

void attach(OzkVslStream* stream, uint32_t identifier) {
    ASSERT_EQ(__vslAddChunk(stream, identifier, nullptr, ozk_serv_allocate(8, 128), 8), kOzkVslSuccess);
}

TEST(Stream, LivesFromItsCreationToItsDeletion) {
    const int before = live_blocks;
    OzkVslStream* stream = make_stream(5);
    EXPECT_EQ(__vslGetStreamStateBrng(stream), static_cast<uint32_t>(kOzkVslMcg59));
    EXPECT_EQ(stream->marker, 1);
    EXPECT_EQ(stream->chunks, nullptr);
    attach(stream, 1);
    EXPECT_EQ(__vslDeleteStream(&stream), kOzkVslSuccess);
    EXPECT_EQ(stream, nullptr);
    EXPECT_EQ(live_blocks, before);
}

TEST(Stream, KeepsTheIdentifierItWasCreatedWith) {
    const uint32_t seed = 5, older = 3;
    OzkVslStream* stream = nullptr;
    ASSERT_EQ(__vslNewStreamEx(&stream, older, 1, &seed), kOzkVslSuccess);
    OzkVslStream* same = make_stream(seed);
    EXPECT_EQ(__vslGetStreamStateBrng(stream), older);
    EXPECT_EQ(draw(stream, 40), draw(same, 40));
    __vslDeleteStream(&stream);
    __vslDeleteStream(&same);
}

TEST(Stream, IsNotCreatedFromABadIdentifierOrWithoutMemory) {
    const int before = live_blocks;
    const uint32_t seed = 1;
    OzkVslStream* stream = nullptr;
    for (uint32_t identifier : {281u, 0x400001u, 0x500000u + 273u, 0x900000u + 6024u, 0xA00000u, 0xB00000u,
                                0xC00000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(__vslNewStreamEx(&stream, identifier, 1, &seed), kOzkVslErrorInvalidGenerator)
            << identifier;
    }
    test_allocator::Limit none(0);
    stream = reinterpret_cast<OzkVslStream*>(16);
    EXPECT_EQ(__vslNewStreamEx(&stream, kOzkVslMcg59, 1, &seed), kOzkVslErrorNoMemory);
    EXPECT_EQ(stream, nullptr);
    EXPECT_EQ(live_blocks, before);
}

TEST(Stream, AbstractConstructorsCheckTheirArguments) {
    OzkVslStream* stream = nullptr;
    uint32_t words[4];
    double doubles[4];
    float singles[4];
    const OzkVslIntegerRefill refill_words = [](OzkVslStream*, uint32_t*, int32_t, int32_t most) {
        return most;
    };
    const OzkVslDoubleRefill refill_doubles = [](OzkVslStream*, double*, int32_t, int32_t most, double,
                                                 double) { return most; };
    const OzkVslSingleRefill refill_singles = [](OzkVslStream*, float*, int32_t, int32_t most, float, float) {
        return most;
    };
    EXPECT_EQ(__vsliNewAbstractStream(&stream, 0, words, refill_words), kOzkVslErrorBadArguments);
    EXPECT_EQ(__vsliNewAbstractStream(&stream, 4, nullptr, refill_words), kOzkVslErrorBadArguments);
    EXPECT_EQ(__vsliNewAbstractStream(&stream, 4, words, nullptr), kOzkVslErrorBadArguments);
    EXPECT_EQ(__vsldNewAbstractStream(&stream, 4, doubles, nullptr, 0, 1), kOzkVslErrorBadArguments);
    EXPECT_EQ(__vsldNewAbstractStream(&stream, 4, doubles, refill_doubles, 1, 1), kOzkVslErrorBadArguments);
    EXPECT_EQ(__vslsNewAbstractStream(&stream, 4, singles, refill_singles, 1, 0), kOzkVslErrorBadArguments);
    EXPECT_EQ(stream, nullptr);
}

TEST(Stream, CopyContinuesLikeItsSourceAndOwnsItsChunks) {
    const int before = live_blocks;
    OzkVslStream* source = make_stream(12345);
    draw(source, 17);
    attach(source, 1);
    attach(source, 2);
    OzkVslStream* copy = nullptr;
    ASSERT_EQ(__vslCopyStream(&copy, source), kOzkVslSuccess);
    EXPECT_EQ(__vslGetNumChunks(copy), 2);
    EXPECT_EQ(copy->marker, 1);
    const std::vector<double> expected = draw(source, 50);
    __vslDeleteStream(&source);
    EXPECT_EQ(draw(copy, 50), expected);
    __vslDeleteStream(&copy);
    EXPECT_EQ(live_blocks, before);
}

TEST(Stream, FailedCopyLeavesNothingBehind) {
    OzkVslStream* source = make_stream(1);
    attach(source, 1);
    const int before = live_blocks;
    for (int allowed = 0; allowed < 3; ++allowed) {  // record, chunk data, chunk record
        test_allocator::Limit some(allowed);
        OzkVslStream* copy = source;
        EXPECT_EQ(__vslCopyStream(&copy, source), kOzkVslErrorNoMemory) << allowed;
        EXPECT_EQ(copy, nullptr);
        EXPECT_EQ(live_blocks, before);
    }
    __vslDeleteStream(&source);
}

TEST(Stream, CopiedStateBringsItsChunksAndAFailureChangesNothing) {
    OzkVslStream* source = make_stream(1);
    OzkVslStream* destination = make_stream(2);
    attach(source, 1);
    attach(destination, 2);
    EXPECT_EQ(__vslCopyStreamState(source, source), kOzkVslSuccess);
    EXPECT_EQ(__vslGetNumChunks(source), 1);

    OzkVslStream* unchanged = nullptr;
    ASSERT_EQ(__vslCopyStream(&unchanged, destination), kOzkVslSuccess);
    {
        test_allocator::Limit one(1);
        EXPECT_EQ(__vslCopyStreamState(destination, source), kOzkVslErrorNoMemory);
    }
    EXPECT_NE(__vslSearchChunk(destination, 2), nullptr);
    EXPECT_EQ(draw(destination, 20), draw(unchanged, 20));

    ASSERT_EQ(__vslCopyStreamState(destination, source), kOzkVslSuccess);
    EXPECT_EQ(__vslSearchChunk(destination, 2), nullptr);
    EXPECT_NE(__vslSearchChunk(destination, 1), nullptr);
    EXPECT_EQ(draw(destination, 20), draw(source, 20));
    for (OzkVslStream** stream : {&source, &destination, &unchanged}) __vslDeleteStream(stream);
}

TEST(Stream, CopiedStateStaysWithinTheRecord) {
    struct Small {
        OzkVslStream header;
        uint32_t state[8];
        uint32_t beyond;
    };
    const OzkVslBrngProperties row = {offsetof(Small, beyond),
                                      4,
                                      0,
                                      16,
                                      24,  // four words of 16 bytes, twice the state
                                      [](uint32_t, OzkVslStream*, int32_t, const void*) { return 0; },
                                      [](OzkVslStream*, int32_t, float*, float, float) { return 0; },
                                      [](OzkVslStream*, int32_t, double*, double, double) { return 0; },
                                      [](OzkVslStream*, int32_t, void*) { return 0; }};
    const uint32_t identifier = static_cast<uint32_t>(__vslRegisterBrng(&row));
    Small source = {{identifier, 1, nullptr}, {1, 2, 3, 4, 5, 6, 7, 8}, 9};
    Small destination = {{identifier, 1, nullptr}, {}, 10};
    ASSERT_EQ(__vslCopyStreamState(&destination.header, &source.header), kOzkVslSuccess);
    EXPECT_EQ(std::memcmp(destination.state, source.state, sizeof source.state), 0);
    EXPECT_EQ(destination.beyond, 10u);
}

TEST(Stream, RefusesWhatItsGeneratorDoesNotDo) {
    OzkVslStream* stream = make_stream(1);
    const uint64_t count = 5;
    EXPECT_EQ(__vslLeapfrogStream(stream, 0, -1), kOzkVslErrorBadStreamCount);
    EXPECT_EQ(__vslSkipAheadStreamEx(stream, 1, &count), kOzkVslErrorNoSkipAheadEx);
    EXPECT_EQ(__vslBRngMCG59InitStream(4, stream, 0, nullptr), kOzkVslErrorUnknownMethod);
    OzkVslStream* fresh = make_stream(1);
    EXPECT_EQ(draw(stream, 5), draw(fresh, 5));
    __vslDeleteStream(&stream);
    __vslDeleteStream(&fresh);
}

TEST(Uniforms, OnTheUnitIntervalAreTheScaledWordsAtEveryLength) {
    for (const uint32_t generator :
         {uint32_t{kOzkVslR250}, uint32_t{kOzkVslSobol}, uint32_t{kOzkVslNiederreiter},
          uint32_t{kOzkVslMt19937}, uint32_t{kOzkVslMt2203}, uint32_t{kOzkVslSfmt19937},
          uint32_t{kOzkVslPhilox4x32x10}}) {
        const drawing::Stream words_of = drawing::make(generator, {3}),
                              doubles_of = drawing::make(generator, {3}),
                              singles_of = drawing::make(generator, {3});
        for (const size_t n : {1, 6, 1300, 3}) {
            const auto words = drawing::words(words_of, n);
            const auto doubles = drawing::doubles(doubles_of, n);
            const auto singles = drawing::singles(singles_of, n);
            for (size_t i = 0; i < n; ++i) {
                ASSERT_EQ(doubles[i], words[i] * 0x1p-32) << generator << " " << i;
                ASSERT_EQ(singles[i], static_cast<float>(words[i] * 0x1p-32)) << generator << " " << i;
            }
        }
    }
}

}  // namespace
