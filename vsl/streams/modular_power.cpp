// The modular power for any 32-bit modulus.

#include "vsl/streams/modular_power.hpp"

#include "ozk_vsl.h"

namespace ozk::vsl {
namespace {

struct Modulo {
    using Word = uint64_t;
    uint32_t modulus;
    Word multiply(Word x, Word y) const { return x * y % modulus; }
};

}  // namespace
}  // namespace ozk::vsl

extern "C" uint32_t __vsliPowMod(uint32_t a, uint64_t e, uint32_t m) {
    return static_cast<uint32_t>(ozk::vsl::power<ozk::vsl::Modulo>(a % m, e, {m}) % m);
}
