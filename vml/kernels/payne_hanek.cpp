// Method: x = m 2^e, m an integer below 2^64. The bits of 2/pi that count more than four quarter turns in
// m 2^e 2/pi drop out, so that m times the 256 bits behind them is the fraction of a turn, 2^-192 of a turn
// wrong at most; no double comes closer than 2^-63.5 turns to a multiple of a quarter turn, and no extended number,
// of which there are 2^78, much closer than 2^-81. Payne and Hanek, "Radian reduction for trigonometric functions",
// ACM SIGNUM Newsletter 18 (1983).

#include "vml/kernels/payne_hanek.hpp"

#include <bit>

#include "vml/extended/format.hpp"

namespace ozk::vml {
namespace {

__extension__ typedef unsigned __int128 uint128_t;

#include "vml/kernels/two_over_pi.inc"

// 64 bits of 2/pi from bit `place` on, place 0 being the first bit of the table.
uint64_t bits_of_two_over_pi(int64_t place) {
    const int64_t word = place >> 6, shift = place & 63;
    if (shift == 0) return kTwoOverPi[word];
    return kTwoOverPi[word] << shift | kTwoOverPi[word + 1] >> (64 - shift);
}

// |remainder| = magnitude 2^exponent, 2^126 <= magnitude < 2^128, its error below 2^-100 of it.
struct IntegerRemainder {
    int64_t n;
    bool negative;
    uint128_t magnitude;
    int64_t exponent;
};

// Of m 2^e, in steps of 2 pi / 2^kStepBits; m < 2^64, e >= -126.
template <int kStepBits>
IntegerRemainder reduce(uint64_t m, int64_t e) {
    constexpr int64_t kZeroBits = 128;   // in front of the table
    constexpr int64_t kQuarterBits = 2;  // four quarters are one turn
    constexpr int kFractionBits = 64 - kStepBits;
    constexpr uint64_t kTwoPi[2] = {0xC90FDAA22168C234, 0xC4C6628B80DC1CD1};  // 2^125 2 pi
    const int64_t place = e + kZeroBits - kQuarterBits;

    // The fraction of a turn: words f0 to f3, most significant first.
    const uint128_t last = static_cast<uint128_t>(m) * bits_of_two_over_pi(place + 192);
    const uint128_t low = static_cast<uint128_t>(m) * bits_of_two_over_pi(place + 128) + (last >> 64);
    const uint128_t middle = static_cast<uint128_t>(m) * bits_of_two_over_pi(place + 64) + (low >> 64);
    const uint64_t f3 = static_cast<uint64_t>(last), f2 = static_cast<uint64_t>(low);
    const uint64_t f1 = static_cast<uint64_t>(middle);
    const uint64_t f0 = m * bits_of_two_over_pi(place) + static_cast<uint64_t>(middle >> 64);

    // The nearest step, and the magnitude of what is left.
    const uint64_t n = (f0 + (uint64_t{1} << (kFractionBits - 1))) >> kFractionBits;
    uint64_t d0 = f0 - (n << kFractionBits), d1 = f1, d2 = f2;
    const uint64_t flip = uint64_t{0} - (d0 >> 63);
    d0 ^= flip, d1 ^= flip, d2 ^= flip;  // the magnitude but for the last bit

    // Its 128 leading bits, times 2 pi. d1 is not 0 where d0 is: no remainder is as small.
    int64_t exponent = 3 - 128;  // of 2 pi, below 2^3
    if (d0 == 0) {
        d0 = d1, d1 = d2, d2 = f3 ^ flip;
        exponent -= 64;
    }
    const int zeros = std::countl_zero(d0);
    d0 = d0 << zeros | d1 >> 1 >> (63 - zeros);
    d1 = d1 << zeros | d2 >> 1 >> (63 - zeros);
    const uint128_t product = static_cast<uint128_t>(d0) * kTwoPi[0] +
                              static_cast<uint64_t>(static_cast<uint128_t>(d0) * kTwoPi[1] >> 64) +
                              static_cast<uint64_t>(static_cast<uint128_t>(d1) * kTwoPi[0] >> 64);
    constexpr uint64_t kWholeTurn = (uint64_t{1} << kStepBits) - 1;
    return {static_cast<int64_t>(n & kWholeTurn), flip != 0, product, exponent - zeros};
}

template <int kStepBits>
TurnRemainder<double> reduce(double x) {
    constexpr uint64_t kImplicitBit = uint64_t{1} << 52;
    constexpr int64_t kBias = 1075;  // of the exponent field against e
    constexpr int64_t kLow63 = 0x7FFFFFFFFFFFFFFF;
    constexpr int kLowBits = 75;  // of the magnitude below a double's 53
    const uint64_t word = std::bit_cast<uint64_t>(x);
    const auto [n, negative, magnitude, exponent] = reduce<kStepBits>(
        (word & (kImplicitBit - 1)) | kImplicitBit, static_cast<int64_t>(word >> 52 & 0x7FF) - kBias);
    const double high_part = static_cast<double>(static_cast<int64_t>(magnitude >> kLowBits));
    const double low_part = static_cast<double>(static_cast<int64_t>(magnitude >> (kLowBits - 63)) & kLow63);
    const uint64_t scale_bits = static_cast<uint64_t>(exponent + kLowBits + 1023) << 52;
    const double scale = std::bit_cast<double>(scale_bits | uint64_t{negative} << 63);
    return {n, high_part * scale, low_part * 0x1p-63 * scale};
}

}  // namespace

[[gnu::cold]] TurnRemainder<double> payne_hanek(double x) { return reduce<7>(x); }

[[gnu::cold]] TurnRemainder<double> payne_hanek_quarters(double x) { return reduce<2>(x); }

[[gnu::cold]] TurnRemainder<long double> payne_hanek_eighths(long double x) {
    const extended::Fields fields = extended::fields_of(x);
    const auto [n, negative, magnitude, exponent] =
        reduce<3>(fields.significand, fields.exponent_field() - extended::kBias - 63);
    const long double scale = extended::power_of_two(static_cast<int>(exponent)) * (negative ? -1 : 1);
    const long double high_part = static_cast<long double>(static_cast<uint64_t>(magnitude >> 64)) * 0x1p64L;
    const long double low_part = static_cast<long double>(static_cast<uint64_t>(magnitude));
    return {n, high_part * scale, low_part * scale};
}

}  // namespace ozk::vml
