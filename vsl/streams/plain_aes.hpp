// Rounds of the AES cipher by tables, for processors without its instructions (FIPS 197). A state is four
// columns, the first row in the lowest byte.
#pragma once

#include <array>
#include <bit>
#include <cstdint>

namespace ozk::vsl::plain_aes {

using Columns = std::array<uint32_t, 4>;

namespace tables {

// Product in GF(2^8) modulo x^8 + x^4 + x^3 + x + 1.
constexpr uint8_t multiply(uint8_t a, uint8_t b) {
    uint32_t product = 0;
    for (uint32_t x = a; b != 0; b >>= 1, x = x << 1 ^ (x & 0x80 ? 0x11B : 0)) {
        if (b & 1) product ^= x;
    }
    return static_cast<uint8_t>(product);
}

// The inverse, x^254 (0 for 0), and an affine map of its bits.
constexpr uint8_t substitute(uint8_t x) {
    uint8_t inverse = 1, power = x;
    for (int bit = 1; bit < 8; ++bit) {
        power = multiply(power, power);
        inverse = multiply(inverse, power);
    }
    uint8_t y = 0x63;
    for (int shift = 0; shift < 5; ++shift) y ^= std::rotl(inverse, shift);
    return y;
}

struct Tables {
    std::array<uint8_t, 256> substituted = {};
    std::array<uint32_t, 256> mixed = {};  // the column that a substituted byte of the first row mixes into
    constexpr Tables() {
        for (size_t x = 0; x < 256; ++x) {
            const uint8_t s = substitute(static_cast<uint8_t>(x));
            const uint32_t twice = multiply(s, 2), thrice = multiply(s, 3);
            substituted[x] = s;
            mixed[x] = twice | uint32_t{s} << 8 | uint32_t{s} << 16 | thrice << 24;
        }
    }
};

inline constexpr Tables kTables;

}  // namespace tables

// Row i of column j after the rows are shifted.
inline uint8_t shifted(const Columns& x, size_t i, size_t j) {
    return static_cast<uint8_t>(x[(j + i) % 4] >> (8 * i));
}

inline Columns round(const Columns& x, const Columns& key) {
    Columns y = key;
    for (size_t j = 0; j < 4; ++j) {
        for (size_t i = 0; i < 4; ++i) {
            y[j] ^= std::rotl(tables::kTables.mixed[shifted(x, i, j)], static_cast<int>(8 * i));
        }
    }
    return y;
}

inline Columns last_round(const Columns& x, const Columns& key) {
    Columns y = key;
    for (size_t j = 0; j < 4; ++j) {
        for (size_t i = 0; i < 4; ++i) {
            y[j] ^= uint32_t{tables::kTables.substituted[shifted(x, i, j)]} << (8 * i);
        }
    }
    return y;
}

}  // namespace ozk::vsl::plain_aes
