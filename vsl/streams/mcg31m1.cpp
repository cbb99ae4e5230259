// MCG31M1: x <- 1132489760 x mod 2^31 - 1, a full period of 2^31 - 2.
// L'Ecuyer, "Tables of linear congruential generators of different sizes and good lattice structure", Math.
// Comp. 68 (1999).

#include <algorithm>

#include "vsl/streams/multiplicative.hpp"

namespace ozk::vsl {
namespace {

struct Modulus31 {
    using Word = uint32_t;
    static constexpr Word kModulus = 0x7FFFFFFF;
    static constexpr Word kMultiplier = 1132489760;
    static constexpr double kUnit = 0x1.00000002p-31;  // nearest to 1/(2^31 - 1)

    // x y mod 2^31 - 1 for x, y below it: 2^31 is 1, so the halves of the product add up. Their sum is below
    // twice the modulus; when it is below the modulus the difference wraps, and the minimum takes the sum.
    static Word multiply(Word x, Word y) {
        const uint64_t product = uint64_t{x} * y;
        const Word sum = static_cast<Word>(product & kModulus) + static_cast<Word>(product >> 31);
        return std::min(sum, sum - kModulus);
    }

    // Twice a multiplier: the product by it has floor(x y / 2^31) as its upper word, and twice the rest below.
    struct Factor {
        simd::i32x4 doubled;
        explicit Factor(Word y) : doubled(simd::broadcast(static_cast<int32_t>(2 * y))) {}
    };

    OZK_SIMD static simd::i32x4 multiply(simd::i32x4 x, const Factor& y) {
        const simd::i64x2 even = multiply_even(x, y.doubled);
        const simd::i64x2 odd = multiply_even(as_i32(simd::shift_right<32>(as_i64(x))), y.doubled);
        const simd::i32x4 upper = blend(as_i32(simd::shift_right<32>(even)), as_i32(odd));
        const simd::i32x4 lower = blend(as_i32(even), as_i32(simd::shift_left<32>(odd)));
        const simd::i32x4 sum = simd::shift_right<1>(lower) + upper;
        return min_unsigned(sum, sum - simd::broadcast(static_cast<int32_t>(kModulus)));
    }

    static Word seed(int32_t n, const uint32_t* words) {
        const Word x = n < 1 ? 0 : words[0] % kModulus;
        return x == 0 ? 1 : x;
    }
};

using Mcg31m1 = Multiplicative<Modulus31>;

}  // namespace
}  // namespace ozk::vsl

OZK_VSL_EXPORT_GENERATOR(MCG31M1, ozk::vsl::Mcg31m1)

extern "C" uint32_t __vsliPowMod2P31M1(uint32_t a, uint64_t e) {
    return ozk::vsl::power<ozk::vsl::Modulus31>(a, e);
}
