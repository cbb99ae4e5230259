// Streams that delete themselves, and arrays drawn from them.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "ozk_vsl.h"

namespace drawing {

struct Delete {
    void operator()(OzkVslStream* stream) const { __vslDeleteStream(&stream); }
};
using Stream = std::unique_ptr<OzkVslStream, Delete>;

inline Stream make(uint32_t generator, const std::vector<uint32_t>& seed) {
    OzkVslStream* stream = nullptr;
    EXPECT_EQ(__vslNewStreamEx(&stream, generator, static_cast<int32_t>(seed.size()), seed.data()),
              kOzkVslSuccess);
    return Stream(stream);
}

inline std::vector<uint32_t> words(const Stream& stream, size_t n) {
    std::vector<uint32_t> r(n + 1, 0xABCDEF01);
    EXPECT_EQ(_vsliRngUniformBits(0, stream.get(), static_cast<int32_t>(n), r.data()), kOzkVslSuccess);
    EXPECT_EQ(r.back(), 0xABCDEF01) << "written beyond the array";
    r.pop_back();
    return r;
}

inline std::vector<double> doubles(const Stream& stream, size_t n, double a = 0, double b = 1) {
    std::vector<double> r(n);
    EXPECT_EQ(_vsldRngUniform(0, stream.get(), static_cast<int32_t>(n), r.data(), a, b), kOzkVslSuccess);
    return r;
}

inline std::vector<float> singles(const Stream& stream, size_t n, float a = 0, float b = 1) {
    std::vector<float> r(n);
    EXPECT_EQ(_vslsRngUniform(0, stream.get(), static_cast<int32_t>(n), r.data(), a, b), kOzkVslSuccess);
    return r;
}

// Draws stretches of many lengths, words, doubles and singles in turn, and compares each with what `word(i)`
// and its conversions give for output i.
template <class Word, class ToDouble, class ToSingle>
void expect_outputs(const Stream& stream, size_t total, Word word, ToDouble to_double, ToSingle to_single) {
    size_t position = 0, length = 1;
    for (int kind = 0; position < total; kind = (kind + 1) % 3) {
        const auto d = kind == 1 ? doubles(stream, length, -2, 5) : std::vector<double>();
        const auto s = kind == 2 ? singles(stream, length, -2, 5) : std::vector<float>();
        const auto w = kind == 0 ? words(stream, length) : std::vector<uint32_t>();
        for (size_t i = 0; i < length; ++i) {
            const uint32_t expected = word(position + i);
            const bool equal = kind == 0   ? w[i] == expected
                               : kind == 1 ? d[i] == to_double(expected, -2.0, 5.0)
                                           : s[i] == to_single(expected, -2.0f, 5.0f);
            ASSERT_TRUE(equal) << "output " << position + i << " in a call of " << length << ", kind "
                               << kind;
        }
        position += length;
        length = (length * 7 + 5) % 199 + (length % 11 == 0 ? 700 : 0);
    }
}

// The conversion of most generators.
inline double unsigned_double(uint32_t w, double a, double b) { return w * ((b - a) * 0x1p-32) + a; }
inline float unsigned_single(uint32_t w, float a, float b) {
    return static_cast<float>(w * ((double{b} - double{a}) * 0x1p-32) + double{a});
}

}  // namespace drawing
