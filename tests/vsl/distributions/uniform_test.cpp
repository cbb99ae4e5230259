#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

#include "ozk_vsl.h"
#include "tests/vsl/scripted_generator.hpp"

namespace {

using scripted_generator::Script;

OzkVslStream* make_stream(uint32_t identifier, uint32_t seed = 2024) {
    OzkVslStream* stream = nullptr;
    EXPECT_EQ(__vslNewStreamEx(&stream, identifier, 1, &seed), kOzkVslSuccess);
    return stream;
}

TEST(Uniform, AccurateMethodClampsIntoTheIntervalAndTheStandardOneDoesNot) {
    const std::vector<double> numbers = {-1.5, -1, 0, 2, std::nextafter(2.0, 3.0), 7};
    Script script{numbers};
    OzkVslStream* stream = scripted_generator::make_stream(script);
    const int n = static_cast<int>(numbers.size());
    std::vector<double> r(numbers.size());
    std::vector<float> s(numbers.size());
    EXPECT_EQ(_vsldRngUniform(kOzkVslUniformStandard, stream, n, r.data(), -1, 2), kOzkVslSuccess);
    EXPECT_EQ(r, numbers);
    EXPECT_EQ(_vsldRngUniform(kOzkVslUniformStandard | kOzkVslMethodAccurate, stream, n, r.data(), -1, 2), 0);
    EXPECT_EQ(r, (std::vector<double>{-1, -1, 0, 2, 2, 2}));
    EXPECT_EQ(_vslsRngUniform(kOzkVslUniformStandard | kOzkVslMethodAccurate, stream, n, s.data(), -1, 2), 0);
    EXPECT_EQ(s, (std::vector<float>{-1, -1, 0, 2, 2, 2}));
    __vslDeleteStream(&stream);
}

TEST(Uniform, StatusOfTheGeneratorEndsEveryCall) {
    using scripted_generator::kFailure;
    Script script{{0.5}};
    OzkVslStream* stream = scripted_generator::make_stream(script);
    const auto fail_at = [&](int call) {
        script.calls.clear();
        script.failing_call = call;
    };
    std::vector<int32_t> integers(3000, -7);
    std::vector<double> doubles(1);
    fail_at(0);
    EXPECT_EQ(_vsldRngUniform(kOzkVslMethodAccurate, stream, 1, doubles.data(), 0, 1), kFailure);
    fail_at(0);
    EXPECT_EQ(_vsliRngUniformBits(0, stream, 1, integers.data()), kFailure);
    fail_at(0);
    EXPECT_EQ(_vsliRngUniformBits32(0, stream, 1, reinterpret_cast<uint32_t*>(integers.data())), kFailure);
    fail_at(2);
    EXPECT_EQ(_vsliRngUniform(0, stream, 3000, integers.data(), 0, 10), kFailure);
    EXPECT_EQ(script.calls, (std::vector<int32_t>{1024, 1024, 952}));
    EXPECT_EQ(integers[2047], 0);
    EXPECT_EQ(integers[2048], -7);
    __vslDeleteStream(&stream);
}

TEST(Uniform, NothingIsDrawnForNoResults) {
    OzkVslStream* stream = make_stream(kOzkVslMcg59);
    OzkVslStream* untouched = make_stream(kOzkVslMcg59);
    for (int n : {0, -1, INT32_MIN}) {
        EXPECT_EQ(_vsldRngUniform(kOzkVslMethodAccurate, stream, n, nullptr, 0, 1), kOzkVslSuccess);
        EXPECT_EQ(_vslsRngUniform(kOzkVslMethodAccurate, stream, n, nullptr, 0, 1), kOzkVslSuccess);
        EXPECT_EQ(_vsliRngUniform(0, stream, n, nullptr, 0, 1), kOzkVslSuccess);
        EXPECT_EQ(_vsliRngUniformBits(0, stream, n, nullptr), kOzkVslSuccess);
        EXPECT_EQ(_vsliRngUniformBits32(0, stream, n, nullptr), kOzkVslSuccess);
        EXPECT_EQ(_vsliRngUniformBits64(0, stream, n, nullptr), kOzkVslSuccess);
    }
    double a, b;
    _vsldRngUniform(0, stream, 1, &a, 0, 1);
    _vsldRngUniform(0, untouched, 1, &b, 0, 1);
    EXPECT_EQ(a, b);
    __vslDeleteStream(&stream);
    __vslDeleteStream(&untouched);
}

TEST(UniformInteger, IsTheFloorOfTheDouble) {
    const std::pair<int32_t, int32_t> intervals[] = {{0, 10}, {-7, 5}, {INT32_MIN, INT32_MAX}, {-3, -2}};
    for (uint32_t generator : {kOzkVslMcg31m1, kOzkVslMcg59}) {
        for (const auto& [a, b] : intervals) {
            constexpr int n = 2500;
            OzkVslStream* integers = make_stream(generator);
            OzkVslStream* doubles = make_stream(generator);
            std::vector<int32_t> r(n);
            std::vector<double> u(n);
            ASSERT_EQ(_vsliRngUniform(0, integers, n, r.data(), a, b), kOzkVslSuccess);
            ASSERT_EQ(_vsldRngUniform(0, doubles, n, u.data(), a, b), kOzkVslSuccess);
            for (size_t i = 0; i < n; ++i) {
                ASSERT_EQ(r[i], std::floor(u[i])) << i;
                ASSERT_TRUE(a <= r[i] && r[i] < b);
            }
            __vslDeleteStream(&integers);
            __vslDeleteStream(&doubles);
        }
    }
}

TEST(UniformBits32, AreTheWordsOfAGeneratorOf32Bits) {
    const std::vector<double> words = {0, 1, 4294967295, 77};
    Script script{words};
    OzkVslStream* stream = scripted_generator::make_stream(script);
    uint32_t r[4];
    uint64_t pairs[2];
    ASSERT_EQ(_vsliRngUniformBits32(0, stream, 4, r), kOzkVslSuccess);
    for (size_t i = 0; i < 4; ++i) EXPECT_EQ(r[i], words[i]);
    ASSERT_EQ(_vsliRngUniformBits64(0, stream, 2, pairs), kOzkVslSuccess);
    EXPECT_EQ(pairs[0], uint64_t{1} << 32);
    EXPECT_EQ(pairs[1], (uint64_t{77} << 32) + 4294967295);
    __vslDeleteStream(&stream);
}

// Every bit, and every pair of neighbouring bits, is balanced to five standard deviations.
TEST(UniformBits32, AreBalancedForGeneratorsOfOtherWordSizes) {
    constexpr int n = 1 << 18;
    for (uint32_t generator : {kOzkVslMcg31m1, kOzkVslMcg59}) {
        OzkVslStream* stream = make_stream(generator);
        std::vector<uint32_t> r(n);
        ASSERT_EQ(_vsliRngUniformBits32(0, stream, n, r.data()), kOzkVslSuccess);
        const double limit = 5 * std::sqrt(n * 0.25);
        for (int bit = 0; bit < 32; ++bit) {
            int ones = 0, changes = 0;
            for (uint32_t word : r) {
                ones += word >> bit & 1;
                changes += (word ^ std::rotr(word, 1)) >> bit & 1;
            }
            EXPECT_NEAR(ones, n * 0.5, limit) << generator << " " << bit;
            EXPECT_NEAR(changes, n * 0.5, limit) << generator << " " << bit;
        }
        __vslDeleteStream(&stream);
    }
}

TEST(UniformBits32, TakeTheLeadingBitsLowestPieceFirst) {
    OzkVslStream* bits = make_stream(kOzkVslMcg31m1);
    OzkVslStream* raw = make_stream(kOzkVslMcg31m1);
    constexpr int n = 1500;
    std::vector<uint64_t> r(n);
    std::vector<uint32_t> words(4 * n);
    ASSERT_EQ(_vsliRngUniformBits64(0, bits, n, r.data()), kOzkVslSuccess);
    ASSERT_EQ(_vsliRngUniformBits(0, raw, 4 * n, words.data()), kOzkVslSuccess);
    for (size_t i = 0; i < r.size(); ++i) {
        for (size_t piece = 0; piece < 4; ++piece) {
            const uint32_t expected =
                static_cast<uint32_t>(uint64_t{words[4 * i + piece]} * 65536 / 0x7FFFFFFF);
            ASSERT_EQ(r[i] >> (16 * piece) & 0xFFFF, expected) << i;
        }
    }
    __vslDeleteStream(&bits);
    __vslDeleteStream(&raw);
}

}  // namespace
