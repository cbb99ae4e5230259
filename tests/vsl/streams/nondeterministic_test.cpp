#include <algorithm>
#include <bit>
#include <cmath>

#include "tests/vsl/streams/drawing.hpp"
#include "vsl/streams/draw.hpp"

namespace {

using namespace drawing;

TEST(Draw, AcceptsAWordAfterFewerFailuresThanTheLimit) {
    struct Case {
        uint32_t limit;
        int failures;  // before the source succeeds
        bool accepted;
        int executions;
    };
    const Case cases[] = {{10, 0, true, 1},    {10, 9, true, 10}, {10, 10, false, 11},
                          {10, 11, false, 11}, {1, 0, true, 1},   {1, 1, false, 2},
                          {1, 5, false, 2},    {0, 0, false, 1},  {0, 1, false, 1}};
    for (const Case& c : cases) {
        int executions = 0;
        uint32_t word = 0;
        const auto source = [&](uint32_t& w) {
            w = 42;
            return executions++ >= c.failures;
        };
        EXPECT_EQ(ozk::vsl::draw(c.limit, word, source), c.accepted) << c.limit << " " << c.failures;
        EXPECT_EQ(executions, c.executions) << c.limit << " " << c.failures;
    }
}

class Nondeterministic : public testing::Test {
  protected:
    void SetUp() override {
        if (!__vslCPUisRDRAND()) GTEST_SKIP() << "the processor has no random-number instruction";
    }
    static uint32_t limit(const std::vector<uint32_t>& seed) {
        const Stream stream = make(kOzkVslNondeterministic, seed);
        return reinterpret_cast<const uint32_t*>(stream.get() + 1)[1];
    }
};

TEST_F(Nondeterministic, SecondSeedWordIsTheRetryLimit) {
    EXPECT_EQ(limit({}), 10u);
    EXPECT_EQ(limit({5}), 10u);
    EXPECT_EQ(limit({5, 0}), 10u);
    EXPECT_EQ(limit({5, 3}), 3u);
}

TEST_F(Nondeterministic, BitsAreBalancedAndDoNotRepeatAtAnyLength) {
    const Stream stream = make(kOzkVslNondeterministic, {1});
    size_t ones = 0, bits = 0;
    std::vector<uint32_t> all;
    for (size_t n = 0; n < 300; ++n) {
        for (uint32_t word : words(stream, n)) {
            ones += static_cast<size_t>(std::popcount(word));
            bits += 32;
            all.push_back(word);
        }
    }
    // Nine standard deviations of a fair coin.
    EXPECT_LT(std::abs(2 * static_cast<double>(ones) - static_cast<double>(bits)),
              9 * std::sqrt(static_cast<double>(bits)));
    std::sort(all.begin(), all.end());
    const auto repeated = all.end() - std::unique(all.begin(), all.end());
    EXPECT_LT(repeated, 20);  // 0.23 are expected
}

TEST_F(Nondeterministic, RealsFillTheirInterval) {
    const Stream stream = make(kOzkVslNondeterministic, {1});
    const auto d = doubles(stream, 10001, -3, 5);
    const auto s = singles(stream, 10001, -3, 5);
    const auto check = [](auto first, auto last) {
        double sum = 0;
        for (auto x = first; x != last; ++x) {
            ASSERT_TRUE(-3 <= *x && *x <= 5);
            sum += *x;
        }
        EXPECT_NEAR(sum / static_cast<double>(last - first), 1, 9 * 8 / std::sqrt(12 * 10001.0));
        EXPECT_LT(*std::min_element(first, last), -2.9);
        EXPECT_GT(*std::max_element(first, last), 4.9);
    };
    check(d.begin(), d.end());
    check(s.begin(), s.end());
    // Doubles carry more than 32 bits.
    EXPECT_TRUE(std::any_of(d.begin(), d.end(), [](double x) {
        const double scaled = (x + 3) * 0x1p29;
        return scaled != std::floor(scaled);
    }));
}

TEST_F(Nondeterministic, WithALimitOfNothingEveryDrawFailsAndNothingIsWritten) {
    const Stream stream = make(kOzkVslNondeterministic, {1});
    reinterpret_cast<uint32_t*>(stream.get() + 1)[1] = 0;
    for (const int32_t n : {1, 2, 3}) {
        uint32_t w[3] = {7, 7, 7};
        float s[3] = {7, 7, 7};
        double d[3] = {7, 7, 7};
        EXPECT_EQ(__vsliBRngTRNG(stream.get(), n, w), kOzkVslErrorNoRandomNumber);
        EXPECT_EQ(__vslsBRngTRNG(stream.get(), n, s, 0, 1), kOzkVslErrorNoRandomNumber);
        EXPECT_EQ(__vsldBRngTRNG(stream.get(), n, d, 0, 1), kOzkVslErrorNoRandomNumber);
        for (int i = 0; i < 3; ++i) EXPECT_TRUE(w[i] == 7 && s[i] == 7 && d[i] == 7);
    }
    EXPECT_EQ(__vsldBRngTRNG(stream.get(), 0, nullptr, 0, 1), kOzkVslSuccess);
    EXPECT_EQ(__vsliBRngTRNG(stream.get(), -1, nullptr), kOzkVslSuccess);
}

TEST_F(Nondeterministic, CannotBeSplitOrMoved) {
    const Stream stream = make(kOzkVslNondeterministic, {1});
    const uint64_t count = 1;
    EXPECT_EQ(__vslLeapfrogStream(stream.get(), 0, 1), kOzkVslErrorNoLeapfrog);
    EXPECT_EQ(__vslSkipAheadStream(stream.get(), 1), kOzkVslErrorNoSkipAhead);
    EXPECT_EQ(__vslSkipAheadStreamEx(stream.get(), 1, &count), kOzkVslErrorNoSkipAheadEx);
    EXPECT_EQ(__vslBRngTRNGInitStream(4, stream.get(), 0, nullptr), kOzkVslErrorUnknownMethod);
}

}  // namespace
