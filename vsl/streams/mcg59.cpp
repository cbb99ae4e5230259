// MCG59: x <- 13^13 x mod 2^59, period 2^57 from an odd seed.

#include "vsl/streams/multiplicative.hpp"

namespace ozk::vsl {
namespace {

struct Modulus59 {
    using Word = uint64_t;
    static constexpr Word kMask = (Word{1} << 59) - 1;
    static constexpr Word kMultiplier = 302875106592253;  // 13^13
    static constexpr double kUnit = 0x1p-59;  // the largest words become 2^59 as doubles, and so 1

    static Word multiply(Word x, Word y) { return x * y & kMask; }

    static Word seed(int32_t n, const uint32_t* words) {
        Word x = n < 1 ? 0 : words[0];
        if (n >= 2) x |= Word{words[1]} << 32;
        x &= kMask;
        return x == 0 ? 1 : x;
    }
};

using Mcg59 = Multiplicative<Modulus59>;

}  // namespace
}  // namespace ozk::vsl

OZK_VSL_EXPORT_GENERATOR(MCG59, ozk::vsl::Mcg59)

extern "C" uint64_t __vsliPowMod2P59(uint64_t a, uint64_t e) {
    return ozk::vsl::power<ozk::vsl::Modulus59>(a, e);
}
