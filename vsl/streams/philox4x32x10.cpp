// Philox4x32-10 (Salmon, Moraes, Dror and Shaw, "Parallel random numbers: as easy as 1, 2, 3", SC11): ten
// rounds of two 32 x 32 bit products.
//
// A vector holds the same word of two blocks, one in the low half of each 64-bit lane. The product of two
// low halves leaves its high word to be shifted down and its low word where it is; what stands in the high
// halves is never read, so nothing is masked. Four such pairs of blocks run side by side, which covers the
// latency of the products.

#include "vsl/streams/counter_based.hpp"

namespace ozk::vsl {
namespace {

struct PhiloxCipher {
    static constexpr int kKeyWords = 2;

    template <class Result, class Output>
    static void encipher(const uint32_t (&key)[kKeyWords], uint64_t low, uint64_t high, uint64_t blocks,
                         Result* r, Output output) {
        const RoundKeys keys(key);
        constexpr uint64_t kPerPass = 2 * kPairs;
        for (; blocks >= kPerPass; blocks -= kPerPass, low += kPerPass, r += 4 * kPerPass) {
            pass<kPairs>(keys, low, high, r, output);
        }
        for (; blocks >= 2; blocks -= 2, low += 2, r += 8) pass<1>(keys, low, high, r, output);
        if (blocks > 0) {
            Result two[8];
            pass<1>(keys, low, high, two, output);
            std::memcpy(r, two, sizeof two / 2);
        }
    }

  private:
    static constexpr int kRounds = 10;
    static constexpr int kPairs = 4;
    static constexpr int64_t kMultiplier0 = 0xD2511F53, kMultiplier1 = 0xCD9E8D57;
    static constexpr uint32_t kWeyl0 = 0x9E3779B9, kWeyl1 = 0xBB67AE85;  // golden ratio; sqrt(3) - 1

    struct RoundKeys {
        simd::i64x2 k0[kRounds], k1[kRounds];
        explicit RoundKeys(const uint32_t (&key)[kKeyWords]) {
            for (uint32_t round = 0; round < kRounds; ++round) {
                k0[round] = simd::broadcast(int64_t{key[0] + round * kWeyl0});
                k1[round] = simd::broadcast(int64_t{key[1] + round * kWeyl1});
            }
        }
    };

    // Blocks low, low + 1, ..., two for each pair.
    template <int kCount, class Result, class Output>
    OZK_SIMD static void pass(const RoundKeys& keys, uint64_t low, uint64_t high, Result* r, Output output) {
        using namespace simd;
        const i64x2 multiplier0 = broadcast(kMultiplier0), multiplier1 = broadcast(kMultiplier1);
        i64x2 x0[kCount], x1[kCount], x2[kCount], x3[kCount];
        const i64x2 first = broadcast(static_cast<int64_t>(low)) + pair(int64_t{0}, int64_t{1});
        for (int i = 0; i < kCount; ++i) {
            x0[i] = first + broadcast(int64_t{2} * i);
            x1[i] = shift_right<32>(x0[i]);
            x2[i] = broadcast(static_cast<int64_t>(high));
            x3[i] = shift_right<32>(x2[i]);
        }
#pragma GCC unroll 10
        for (int round = 0; round < kRounds; ++round) {
#pragma GCC unroll 4
            for (int i = 0; i < kCount; ++i) {
                const i64x2 p0 = multiply_low_words(x0[i], multiplier0);
                const i64x2 p1 = multiply_low_words(x2[i], multiplier1);
                x0[i] = shift_right<32>(p1) ^ (x1[i] ^ keys.k0[round]);
                x1[i] = p1;
                x2[i] = shift_right<32>(p0) ^ (x3[i] ^ keys.k1[round]);
                x3[i] = p0;
            }
        }
        for (int i = 0; i < kCount; ++i) {
            const i64x2 words01 = join_low_words(x0[i], x1[i]), words23 = join_low_words(x2[i], x3[i]);
            output.put(r + 8 * i, as_i32(interleave_low(words01, words23)));
            output.put(r + 8 * i + 4, as_i32(interleave_high(words01, words23)));
        }
    }
};

using Philox = CounterBased<PhiloxCipher>;
static_assert(sizeof(Philox::State) == 44);

}  // namespace
}  // namespace ozk::vsl

OZK_VSL_EXPORT_GENERATOR(PHILOX4X32X10, ozk::vsl::Philox)
