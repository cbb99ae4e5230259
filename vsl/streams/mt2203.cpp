// MT2203: 6024 twisters of period 2^2203 - 1, whose twists have different characteristic polynomials.
// Matsumoto and Nishimura, "Dynamic creation of pseudorandom number generators", Monte Carlo and Quasi-Monte Carlo
// Methods 1998.

#include "vsl/streams/twister.hpp"

namespace ozk::vsl {
namespace {

struct Mt2203Shape {
    static constexpr int32_t kWords = 69, kMiddle = 34, kLowerBits = 5, kFirstShift = 12, kLastShift = 18;
};

struct Mt2203 : Twister<Mt2203Shape> {
    static Parameters parameters(const OzkVslStream* stream) {
        const uint32_t(&row)[3] = _vsl_mt2203_table[stream->identifier - kOzkVslMt2203];
        return {row[0], row[1], row[2]};
    }
};

static_assert(sizeof(Mt2203::State) == 70 * sizeof(uint32_t));

}  // namespace
}  // namespace ozk::vsl

OZK_VSL_EXPORT_GENERATOR(MT2203, ozk::vsl::WordArray<ozk::vsl::Mt2203>)

extern "C" constexpr uint32_t _vsl_mt2203_table[kOzkVslMt2203Sets][3] = {
#include "vsl/streams/mt2203_table.inc"  // generated: tools/parameters/mt2203_table.cpp
};
