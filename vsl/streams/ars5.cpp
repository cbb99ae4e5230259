// ARS-5. Integers, doubles and skipping need the AES instructions and say so when the processor lacks them;
// singles always come, by tables if need be.

#include "vsl/streams/ars5.hpp"

#include "vsl/streams/counter_based.hpp"

namespace ozk::vsl {
namespace {

struct Ars5Cipher {
    static constexpr int kKeyWords = 4;

    template <class Result, class Output>
    static void encipher(const uint32_t (&key)[kKeyWords], uint64_t low, uint64_t high, uint64_t blocks,
                         Result* r, Output output) {
        const Ars5Keys keys(key);
        if (__vslCPUisAES()) {
            ars5_by_instructions(keys, low, high, blocks, r, output);
        } else {
            ars5_by_tables(keys, low, high, blocks, r, output);
        }
    }
};

using Ars5 = CounterBased<Ars5Cipher>;
static_assert(sizeof(Ars5::State) == 52);

}  // namespace
}  // namespace ozk::vsl

extern "C" {

using namespace ozk::vsl;

int32_t __vslBRngARS5InitStream(uint32_t method, OzkVslStream* stream, int32_t n, const void* params) {
    const bool skips = method == kOzkVslInitSkipAhead || method == kOzkVslInitSkipAheadEx;
    if (skips && !__vslCPUisAES()) return kOzkVslErrorNoAes;
    return Ars5::initialise(method, stream, n, params);
}

int32_t __vsliBRngARS5(OzkVslStream* stream, int32_t n, void* r) {
    if (!__vslCPUisAES()) return kOzkVslErrorNoAes;
    return Ars5::generate(stream, n, static_cast<uint32_t*>(r), Words());
}
int32_t __vslsBRngARS5(OzkVslStream* stream, int32_t n, float* r, float a, float b) {
    return Ars5::generate(stream, n, r, SignedUniform<float>(a, b));
}
int32_t __vsldBRngARS5(OzkVslStream* stream, int32_t n, double* r, double a, double b) {
    if (!__vslCPUisAES()) return kOzkVslErrorNoAes;
    return Ars5::generate(stream, n, r, SignedUniform<double>(a, b));
}

}  // extern "C"
