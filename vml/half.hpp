// Half precision, bits in a 16-bit integer, to and from double: the conversion instructions are beyond
// SSE4.2.
#pragma once

#include <bit>
#include <cstdint>

namespace ozk::vml {

using Half = uint16_t;

// Exact.
inline double half_to_double(Half x) {
    const uint64_t sign = static_cast<uint64_t>(x & 0x8000) << 48;
    const uint64_t exponent = (x >> 10) & 0x1F;
    const uint64_t fraction = x & 0x3FF;
    if (exponent == 0x1F) return std::bit_cast<double>(sign | 0x7FF0000000000000 | fraction << 42);
    if (exponent != 0) return std::bit_cast<double>(sign | (exponent + 1008) << 52 | fraction << 42);
    const double subnormal = static_cast<double>(fraction) * 0x1p-24;
    return sign != 0 ? -subnormal : subnormal;
}

// Rounded to nearest even; NaN stays NaN.
inline Half half_from_double(double x) {
    const uint64_t word = std::bit_cast<uint64_t>(x);
    const Half sign = static_cast<Half>(word >> 48 & 0x8000);
    const double magnitude = std::bit_cast<double>(word & 0x7FFFFFFFFFFFFFFF);
    if (magnitude != magnitude) return static_cast<Half>(sign | 0x7E00 | (word >> 42 & 0x3FF));
    if (magnitude >= 65520.0) return static_cast<Half>(sign | 0x7C00);
    if (magnitude < 0x1p-14) {
        // Adding 2^28 leaves the multiple of 2^-24 nearest to the magnitude in the low bits.
        return static_cast<Half>(sign | std::bit_cast<uint64_t>(magnitude + 0x1p28));
    }
    const uint64_t bits = word & 0x7FFFFFFFFFFFFFFF;
    const uint64_t rounded = bits + 0x1FFFFFFFFFF + (bits >> 42 & 1);
    return static_cast<Half>(sign | ((rounded >> 42) - (uint64_t{1008} << 10)));
}

}  // namespace ozk::vml
