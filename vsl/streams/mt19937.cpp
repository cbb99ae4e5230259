// MT19937: the published Mersenne twister, period 2^19937 - 1.

#include "vsl/streams/twister.hpp"

namespace ozk::vsl {
namespace {

struct Mt19937Shape {
    static constexpr int32_t kWords = 624, kMiddle = 397, kLowerBits = 31, kFirstShift = 11, kLastShift = 18;
};

struct Mt19937 : Twister<Mt19937Shape> {
    static constexpr Parameters parameters(const OzkVslStream*) {
        return {0x9908b0df, 0x9d2c5680, 0xefc60000};
    }
    // In the precision of the results.
    template <class Real>
    static Real scale(Real a, Real b) {
        return (b - a) * static_cast<Real>(kWordUnit);
    }
};

static_assert(sizeof(Mt19937::State) == 625 * sizeof(uint32_t));

}  // namespace
}  // namespace ozk::vsl

OZK_VSL_EXPORT_GENERATOR(MT19937, ozk::vsl::WordArray<ozk::vsl::Mt19937>)
