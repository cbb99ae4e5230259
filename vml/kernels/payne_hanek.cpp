// Method: x = m 2^e, m an integer below 2^53. The bits of 2/pi that count more than four quarter turns in
// m 2^e 2/pi drop out, so that m times the 192 bits behind them is the fraction of a turn, 2^-139 of a turn
// wrong at most; no double comes closer than 2^-63.5 turns to a multiple of a quarter turn. Payne and Hanek,
// "Radian reduction for trigonometric functions", ACM SIGNUM Newsletter 18 (1983).

#include "vml/kernels/payne_hanek.hpp"

#include <bit>

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

double power_of_two(int64_t exponent) { return std::bit_cast<double>((exponent + 1023) << 52); }

}  // namespace

[[gnu::cold]] TurnRemainder payne_hanek(double x) {
    constexpr uint64_t kImplicitBit = uint64_t{1} << 52;
    constexpr uint64_t kSignBit = uint64_t{1} << 63;
    constexpr int64_t kLow63 = 0x7FFFFFFFFFFFFFFF;
    constexpr int64_t kBias = 1075;      // of the exponent field against e
    constexpr int64_t kZeroBits = 64;    // in front of the table
    constexpr int64_t kQuarterBits = 2;  // four quarters are one turn
    constexpr int kStepBits = 7;         // 128 steps are one turn
    constexpr int kFractionBits = 64 - kStepBits;
    constexpr uint64_t kTwoPi[2] = {0xC90FDAA22168C234, 0xC4C6628B80DC1CD1};  // 2^125 2 pi

    const uint64_t word = std::bit_cast<uint64_t>(x);
    const uint64_t m = (word & (kImplicitBit - 1)) | kImplicitBit;
    const int64_t place = static_cast<int64_t>(word >> 52 & 0x7FF) - kBias + kZeroBits - kQuarterBits;

    // The fraction of a turn: words f0, f1, f2, most significant first.
    const uint128_t low = static_cast<uint128_t>(m) * bits_of_two_over_pi(place + 128);
    const uint128_t middle = static_cast<uint128_t>(m) * bits_of_two_over_pi(place + 64) + (low >> 64);
    const uint64_t f2 = static_cast<uint64_t>(low), f1 = static_cast<uint64_t>(middle);
    const uint64_t f0 = m * bits_of_two_over_pi(place) + static_cast<uint64_t>(middle >> 64);

    // The nearest step, and the magnitude of what is left.
    const uint64_t n = (f0 + (uint64_t{1} << (kFractionBits - 1))) >> kFractionBits;
    uint64_t d0 = f0 - (n << kFractionBits), d1 = f1, d2 = f2;
    const uint64_t sign = d0 & kSignBit;
    const uint64_t flip = uint64_t{0} - (sign >> 63);
    d0 ^= flip, d1 ^= flip, d2 ^= flip;  // the magnitude but for the last bit

    // Its 128 leading bits, times 2 pi. d1 is not 0 where d0 is: no remainder is as small.
    int64_t exponent = 3;  // of 2 pi, below 2^3
    if (d0 == 0) {
        d0 = d1, d1 = d2, d2 = 0;
        exponent -= 64;
    }
    const int zeros = std::countl_zero(d0);
    d0 = d0 << zeros | d1 >> 1 >> (63 - zeros);
    d1 = d1 << zeros | d2 >> 1 >> (63 - zeros);
    exponent -= zeros;
    const uint128_t product = static_cast<uint128_t>(d0) * kTwoPi[0] +
                              static_cast<uint64_t>(static_cast<uint128_t>(d0) * kTwoPi[1] >> 64) +
                              static_cast<uint64_t>(static_cast<uint128_t>(d1) * kTwoPi[0] >> 64);
    constexpr int kLowBits = 75;  // of the product below a double's 53
    const double high_part = static_cast<double>(static_cast<int64_t>(product >> kLowBits));
    const double low_part = static_cast<double>(static_cast<int64_t>(product >> (kLowBits - 63)) & kLow63);
    const double scale = std::bit_cast<double>(std::bit_cast<uint64_t>(power_of_two(exponent - 53)) | sign);
    return {static_cast<int64_t>(n & 127), high_part * scale, low_part * 0x1p-63 * scale};
}

}  // namespace ozk::vml
