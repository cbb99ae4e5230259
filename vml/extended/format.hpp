// The extended format taken apart and put together: 64 bits of significand, the leading one stored; sign and
// exponent in the 16 bits above.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace ozk::vml::extended {

inline constexpr int kMinExponent = -16382;  // of normal numbers
inline constexpr int kBias = 16383;

struct Fields {
    uint64_t significand;
    uint16_t sign_exponent;

    int exponent_field() const { return sign_exponent & 0x7FFF; }
    bool negative() const { return (sign_exponent & 0x8000) != 0; }
};
inline constexpr size_t kBytes = 10;

inline Fields fields_of(long double x) {
    Fields fields = {};
    std::memcpy(&fields, &x, kBytes);
    return fields;
}
inline long double number_of(const Fields& fields) {
    long double x = 0;
    std::memcpy(&x, &fields, kBytes);
    return x;
}

inline bool is_negative(long double x) { return fields_of(x).negative(); }
// Neither infinite nor NaN.
inline bool is_finite(long double x) { return x - x == 0; }
inline long double with_sign_of(long double sign, long double magnitude) {
    return is_negative(sign) ? -magnitude : magnitude;
}

// kMinExponent <= exponent <= 16383.
inline long double power_of_two(int exponent) {
    return number_of({uint64_t{1} << 63, static_cast<uint16_t>(exponent + kBias)});
}

// x = significand 2^exponent with 1 <= significand < 2.
struct Normalized {
    long double significand;
    int exponent;
};
// For finite x > 0, subnormal numbers included.
inline Normalized normalized(long double x) {
    const Fields fields = fields_of(x);
    const int exponent = fields.exponent_field() != 0 ? fields.exponent_field() - kBias : kMinExponent;
    const int zeros = std::countl_zero(fields.significand);
    return {number_of({fields.significand << zeros, kBias}), exponent - zeros};
}

}  // namespace ozk::vml::extended
