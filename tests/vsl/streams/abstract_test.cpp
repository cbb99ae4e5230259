// Abstract streams: a caller's numbers in order, whatever the refills and the calls.

#include <algorithm>
#include <cmath>

#include "tests/vsl/streams/drawing.hpp"

namespace {

using namespace drawing;

// The numbers of the test: a counter, which each refill continues by as many as the script says.
struct Source {
    uint32_t next = 0;
    static constexpr int32_t kTooMany = INT32_MAX;
    std::vector<int32_t> extra = {0};  // beyond `least`, refill after refill; negative: short refills
    std::vector<std::pair<int32_t, int32_t>> asked = {};
    const OzkVslStream* stream = nullptr;

    static uint32_t word(uint32_t i) { return i * 2654435769u; }
    static double real(uint32_t i) { return -2 + 5 * (word(i) * 0x1p-32); }  // on [-2, 3)

    template <class Element>
    int32_t refill(const OzkVslStream* of, Element* buffer, int32_t least, int32_t most) {
        stream = of;
        const int32_t more = extra[asked.size() % extra.size()];
        const int32_t count = more == kTooMany ? most + 1 : std::min(least + more, most);
        asked.push_back({least, most});
        for (int32_t i = 0; i < std::min(count, most); ++i) fill(buffer[i]);
        return count;
    }
    void fill(uint32_t& x) { x = word(next++); }
    void fill(double& x) { x = real(next++); }
    void fill(float& x) { x = static_cast<float>(real(next++)); }
};
Source source;

int32_t refill_words(OzkVslStream* s, uint32_t* buffer, int32_t least, int32_t most) {
    return source.refill(s, buffer, least, most);
}
template <class Real>
int32_t refill_reals(OzkVslStream* s, Real* buffer, int32_t least, int32_t most, Real a, Real b) {
    EXPECT_TRUE(a == -2 && b == 3) << "the range of the stream";
    return source.refill(s, buffer, least, most);
}

class Abstract : public testing::Test {
  protected:
    static constexpr int32_t kLength = 10;
    uint32_t words_[kLength];
    double doubles_[kLength];
    float singles_[kLength];

    void SetUp() override { source = {}; }
    Stream word_stream() {
        for (uint32_t& x : words_) source.fill(x);
        OzkVslStream* stream = nullptr;
        EXPECT_EQ(__vsliNewAbstractStream(&stream, kLength, words_, refill_words), kOzkVslSuccess);
        return Stream(stream);
    }
    Stream double_stream() {
        for (double& x : doubles_) source.fill(x);
        OzkVslStream* stream = nullptr;
        EXPECT_EQ(__vsldNewAbstractStream(&stream, kLength, doubles_, refill_reals<double>, -2, 3),
                  kOzkVslSuccess);
        return Stream(stream);
    }
    Stream single_stream() {
        for (float& x : singles_) source.fill(x);
        OzkVslStream* stream = nullptr;
        EXPECT_EQ(__vslsNewAbstractStream(&stream, kLength, singles_, refill_reals<float>, -2, 3),
                  kOzkVslSuccess);
        return Stream(stream);
    }
};

TEST_F(Abstract, GiveTheBuffersNumbersInOrderForEveryRefillAndKindOfResult) {
    source.extra = {0, 3, 100, 1};
    const auto word = [](size_t i) { return Source::word(static_cast<uint32_t>(i)); };
    expect_outputs(word_stream(), 3000, word, unsigned_double, unsigned_single);
    // Reals of the stream's own interval are the caller's, of another one their image.
    SetUp();
    source.extra = {2, 0};
    const Stream d = double_stream();
    for (uint32_t i = 0; i < 500; ++i) ASSERT_EQ(doubles(d, 1, -2, 3)[0], Source::real(i));
    const auto image = doubles(d, 500, 10, 20);
    for (uint32_t i = 0; i < 500; ++i) ASSERT_NEAR(image[i], 10 + 2 * (Source::real(500 + i) + 2), 1e-14);
    const auto rounded = singles(d, 100, -2, 3);
    for (uint32_t i = 0; i < 100; ++i) ASSERT_EQ(rounded[i], static_cast<float>(Source::real(1000 + i)));
    const auto as_words = words(d, 100);
    for (uint32_t i = 0; i < 100; ++i) {
        ASSERT_LE(std::abs(static_cast<int64_t>(as_words[i]) - static_cast<int64_t>(Source::word(1100 + i))),
                  2);
    }
    SetUp();
    const Stream s = single_stream();
    const auto r = singles(s, 50, -2, 3);
    for (uint32_t i = 0; i < 50; ++i) ASSERT_EQ(r[i], static_cast<float>(Source::real(i)));
    const auto wide = doubles(s, 50, 0, 1);
    for (uint32_t i = 0; i < 50; ++i) ASSERT_NEAR(wide[i], Source::word(50 + i) * 0x1p-32, 1e-6);
    EXPECT_EQ(words(s, 7).size(), 7u);
}

TEST_F(Abstract, RefillIsToldTheStreamAndHowManyAreWanted) {
    const Stream stream = word_stream();
    words(stream, kLength);
    EXPECT_TRUE(source.asked.empty()) << "asked before the numbers were used up";
    words(stream, 3);
    words(stream, 25);
    EXPECT_EQ(source.stream, stream.get());
    EXPECT_EQ(source.asked, (std::vector<std::pair<int32_t, int32_t>>{{3, 10}, {10, 10}, {10, 10}, {5, 10}}));
}

TEST_F(Abstract, BadRefillIsAnErrorAndLosesNoNumber) {
    for (const int32_t extra : {-1, -4, -5, Source::kTooMany}) {
        SetUp();
        source.extra = {extra, 0};
        const Stream stream = word_stream();
        words(stream, 8);
        uint32_t r[8] = {};
        EXPECT_EQ(_vsliRngUniformBits(0, stream.get(), 7, r), kOzkVslErrorBadRefill) << extra;
        EXPECT_EQ(r[1], Source::word(9)) << "the numbers before the refill";
        EXPECT_EQ(r[2], 0u);
        // A short refill's numbers come next; what an overlong one claims to have written is not used.
        const uint32_t next = extra < 0 ? 10 : source.next;
        EXPECT_EQ(words(stream, 1)[0], Source::word(next)) << extra;
    }
}

TEST_F(Abstract, NumbersOutsideTheirIntervalStillMakeWords) {
    OzkVslStream* made = nullptr;
    double odd[] = {-3, 3, HUGE_VAL, NAN, -2};
    __vsldNewAbstractStream(&made, 5, odd, refill_reals<double>, -2, 3);
    EXPECT_EQ(words(Stream(made), 5), (std::vector<uint32_t>{0, UINT32_MAX, UINT32_MAX, 0, 0}));
}

TEST_F(Abstract, CannotBeSplitOrMovedButCopied) {
    for (const Stream& stream : {word_stream(), double_stream(), single_stream()}) {
        const uint64_t count = 1;
        OzkVslBrngProperties row;
        __vslGetBrngProperties(stream->identifier, &row);
        EXPECT_EQ(__vslLeapfrogStream(stream.get(), 0, 1), kOzkVslErrorNoLeapfrog);
        EXPECT_EQ(__vslSkipAheadStream(stream.get(), 1), kOzkVslErrorNoSkipAhead);
        EXPECT_EQ(__vslSkipAheadStreamEx(stream.get(), 1, &count), kOzkVslErrorNoSkipAheadEx);
        EXPECT_EQ(row.init(4, stream.get(), 0, nullptr), kOzkVslErrorUnknownMethod);
        OzkVslStream* copy = nullptr;
        words(stream, 2);
        ASSERT_EQ(__vslCopyStream(&copy, stream.get()), kOzkVslSuccess);
        EXPECT_EQ(words(Stream(copy), 5), words(stream, 5));
    }
}

}  // namespace
