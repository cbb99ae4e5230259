// The cipher of ARS-5: five AES rounds under round keys that follow a Weyl sequence (Salmon, Moraes, Dror and
// Shaw, "Parallel random numbers: as easy as 1, 2, 3", SC11), by the processor's instructions or by tables.
#pragma once

#include <bit>
#include <cstring>

#include "simd/aes.hpp"
#include "vsl/streams/output.hpp"
#include "vsl/streams/plain_aes.hpp"

namespace ozk::vsl {

struct Ars5Keys {
    static constexpr int kRounds = 5;
    static constexpr uint64_t kWeylLow = 0x9E3779B97F4A7C15;   // golden ratio
    static constexpr uint64_t kWeylHigh = 0xBB67AE8584CAA73B;  // sqrt(3) - 1

    simd::i64x2 keys[kRounds + 1];

    explicit Ars5Keys(const uint32_t (&key)[4]) {
        int64_t halves[2];
        std::memcpy(halves, key, sizeof halves);
        keys[0] = simd::load(halves);
        const simd::i64x2 weyl =
            simd::pair(std::bit_cast<int64_t>(kWeylLow), std::bit_cast<int64_t>(kWeylHigh));
        for (int round = 1; round <= kRounds; ++round) keys[round] = keys[round - 1] + weyl;
    }
};

// The blocks of counters low + 2^64 high and following; `low` must not wrap before the last of them.
//
// From a multiple of kInFlight on, adding the number of a block to the counter is an XOR, which joins the one
// with the key: a pass makes its counters by one XOR each, from a table. The rounds of eight blocks side by
// side cover the latency of the instruction.
template <class Result, class Output>
[[gnu::target("aes")]] void ars5_by_instructions(const Ars5Keys& k, uint64_t low, uint64_t high,
                                                 uint64_t blocks, Result* r, Output output) {
    using namespace simd;
    constexpr uint64_t kInFlight = 8;
    const i64x2 k0 = k.keys[0], k1 = k.keys[1], k2 = k.keys[2], k3 = k.keys[3], k4 = k.keys[4],
                k5 = k.keys[5];
    i64x2 counter = pair(std::bit_cast<int64_t>(low), std::bit_cast<int64_t>(high));
    uint64_t single = std::min(blocks, (0 - low) % kInFlight);
    for (;;) {
        blocks -= single;
        for (; single > 0; --single, r += 4) {
            i64x2 x = aes_round(aes_round(counter ^ k0, k1), k2);
            x = aes_round(aes_round(x, k3), k4);
            output.put(r, as_i32(aes_last_round(x, k5)));
            counter = counter + pair(int64_t{1}, int64_t{0});
        }
        if (blocks == 0) return;

        i64x2 numbered_key[kInFlight];
        for (uint64_t i = 0; i < kInFlight; ++i) {
            numbered_key[i] = k0 ^ pair(static_cast<int64_t>(i), int64_t{0});
        }
        const i64x2 step = pair(static_cast<int64_t>(kInFlight), int64_t{0});
        for (; blocks >= kInFlight; blocks -= kInFlight, r += 4 * kInFlight) {
            i64x2 x[kInFlight];
#pragma GCC unroll 8
            for (uint64_t i = 0; i < kInFlight; ++i) x[i] = counter ^ numbered_key[i];
            counter = counter + step;
#pragma GCC unroll 8
            for (uint64_t i = 0; i < kInFlight; ++i) x[i] = aes_round(x[i], k1);
#pragma GCC unroll 8
            for (uint64_t i = 0; i < kInFlight; ++i) x[i] = aes_round(x[i], k2);
#pragma GCC unroll 8
            for (uint64_t i = 0; i < kInFlight; ++i) x[i] = aes_round(x[i], k3);
#pragma GCC unroll 8
            for (uint64_t i = 0; i < kInFlight; ++i) x[i] = aes_round(x[i], k4);
#pragma GCC unroll 8
            for (uint64_t i = 0; i < kInFlight; ++i) output.put(r + 4 * i, as_i32(aes_last_round(x[i], k5)));
        }
        single = blocks;
    }
}

// The same by tables.
template <class Result, class Output>
void ars5_by_tables(const Ars5Keys& k, uint64_t low, uint64_t high, uint64_t blocks, Result* r,
                    Output output) {
    plain_aes::Columns keys[Ars5Keys::kRounds + 1];
    std::memcpy(keys, k.keys, sizeof keys);
    for (; blocks > 0; --blocks, ++low, r += 4) {
        const uint64_t counter[2] = {low, high};
        plain_aes::Columns x;
        std::memcpy(x.data(), counter, sizeof x);
        for (size_t i = 0; i < 4; ++i) x[i] ^= keys[0][i];
        for (int round = 1; round < Ars5Keys::kRounds; ++round) x = plain_aes::round(x, keys[round]);
        x = plain_aes::last_round(x, keys[Ars5Keys::kRounds]);
        convert(x.data(), 4, r, output);
    }
}

}  // namespace ozk::vsl
