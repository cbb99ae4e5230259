// SFMT19937: a recurrence of 128-bit blocks, period a multiple of 2^19937 - 1.
//
//   x[k] = x[k-156] ^ (x[k-156] << 8) ^ ((x[k-34] >> 11 in each word) & mask) ^ (x[k-2] >> 8) ^ (x[k-1] << 18 in each
//   word)
//
// Saito and Matsumoto, "SIMD-oriented fast Mersenne Twister: a 128-bit pseudorandom number generator", Monte Carlo and
// Quasi-Monte Carlo Methods 2006.

#include <cstring>
#include <iterator>

#include "vsl/streams/gf2_polynomial.hpp"
#include "vsl/streams/memory.hpp"
#include "vsl/streams/word_array.hpp"

namespace ozk::vsl {
namespace {

#include "vsl/streams/sfmt19937_polynomial.inc"  // generated: tools/tables/sfmt19937_polynomial.cpp

// Reduction modulo the step's minimal polynomial, which has thousands of terms, but a gap of 531 below the leading one:
// so the bytes of a group above the degree are cleared independently, each by adding the multiple of the polynomial that
// it names, and all in one pass.
class StepModulus {
  public:
    static constexpr int32_t kWords = 624, kBytes = 4 * kWords, kDegree = 8 * kBytes;
    static constexpr int32_t kGroup = 8,
                             kRoomBehind = 16;  // bytes; a pass may touch the room behind what it reduces
    static_assert(kStepDegree == kDegree && kBytes % kGroup == 0);

    void build() {
        std::memset(multiples_, 0, sizeof multiples_);
        uint32_t power[kWords];  // t^(degree + bit), as what it is congruent to
        std::memcpy(power, kStepPolynomial, sizeof power);
        for (int32_t bit = 1; bit < kRows; bit *= 2) {
            for (int32_t row = bit; row < 2 * bit; ++row) {
                for (int32_t i = 0; i < kWords; ++i) {
                    multiples_[row][kPad + i] = multiples_[row - bit][kPad + i] ^ power[i];
                }
            }
            multiply_by_t(power, kWords);
        }
    }

    // Of 2 * kWords words and kRoomBehind bytes more.
    void reduce(uint32_t* polynomial) const {
        auto* const bytes = reinterpret_cast<unsigned char*>(polynomial);
        for (int32_t group = 2 * kBytes - kGroup; group >= kBytes; group -= kGroup) {
            const unsigned char* multiple[kGroup];
            for (int32_t k = 0; k < kGroup; ++k) {
                multiple[k] = reinterpret_cast<const unsigned char*>(multiples_[bytes[group + k]] + kPad) - k;
                bytes[group + k] = 0;
            }
            unsigned char* const low = bytes + group - kBytes;
            for (int32_t i = 0; i < kBytes + kGroup; i += 16) {
                simd::i32x4 sum = load(low + i);
                for (int32_t k = 0; k < kGroup; ++k) sum = sum ^ load(multiple[k] + i);
                simd::store(reinterpret_cast<int32_t*>(low + i), sum);
            }
        }
    }

  private:
    static constexpr int32_t kRows = 256, kPad = 4;  // words of zeros on both sides
    uint32_t multiples_[kRows][kPad + kWords + kPad];

    static simd::i32x4 load(const void* p) { return simd::load(static_cast<const int32_t*>(p)); }
};

struct Sfmt19937 {
    static constexpr int32_t kBlock = 4, kBlocks = 156, kWords = kBlock * kBlocks, kMiddle = 122;

    struct State {
        uint32_t words[kWords];
        uint32_t position;
    };
    struct Parameters {};

    static Parameters parameters(const OzkVslStream*) { return {}; }

    // ---- Words ------------------------------------------------------------------------------------------

    template <class Word>
    OZK_SIMD static Word output(Word word, Parameters) {
        return word;
    }

    // With u = all terms of x[k] but the last, x[k] = u[k] ^ (x[k-1] << 18) is u[k] ^ (u[k-1] << 18): two such shifts
    // leave nothing of a word. So blocks wait for u only, two blocks before.
    struct Chain {
        simd::i32x4 before, last;  // x[k-2], x[k-1]
        simd::i32x4 shifted;       // x[k-1] << 18

        OZK_SIMD simd::i32x4 next(simd::i32x4 oldest, simd::i32x4 middle) {
            const simd::i32x4 mask = simd::lanes_of(0xdfffffef, 0xddfecb7f, 0xbffaffff, 0xbffffff6);
            const simd::i32x4 u = oldest ^ simd::shift_bytes_left<1>(oldest) ^
                                  (simd::shift_right<11>(middle) & mask) ^ simd::shift_bytes_right<1>(before);
            const simd::i32x4 renewed = u ^ shifted;
            before = last;
            last = renewed;
            shifted = simd::shift_left<18>(u);
            return renewed;
        }
    };

    static Chain chain_after(const uint32_t* end) {
        const simd::i32x4 last = load(end - kBlock);
        return {load(end - 2 * kBlock), last, simd::shift_left<18>(last)};
    }

    template <class Each>
    OZK_SIMD static void renew(uint32_t* x, Parameters, Each each) {
        constexpr int32_t kAhead = kBlock * (kBlocks - kMiddle);
        Chain chain = chain_after(x + kWords);
        const auto renew_block = [&](int32_t i, int32_t middle) OZK_SIMD_LAMBDA {
            const simd::i32x4 renewed = chain.next(load(x + i), load(x + middle));
            store(x + i, renewed);
            each(i, renewed);
        };
        for (int32_t i = 0; i < kAhead; i += kBlock) renew_block(i, i + kBlock * kMiddle);
        for (int32_t i = kAhead; i < kWords; i += kBlock) renew_block(i, i - kAhead);
    }

    // ---- Seed -------------------------------------------------------------------------------------------

    // The published initialisation by array, with the certification of the period.
    static void seed(State& state, int32_t n, const uint32_t* key) {
        static constexpr uint32_t kNoKey = 1;
        if (n < 1) {
            n = 1;
            key = &kNoKey;
        }
        constexpr uint32_t kSize = kWords, kLag = 11, kMiddleWord = (kSize - kLag) / 2;
        uint32_t* const x = state.words;
        std::memset(x, 0x8b, sizeof state.words);

        uint32_t i = 0;
        const auto at = [&](uint32_t offset) -> uint32_t& { return x[(i + offset) % kSize]; };
        const auto mix = [&](uint32_t added) {
            const uint32_t sum = at(0) ^ at(kMiddleWord) ^ at(kSize - 1);
            uint32_t r = (sum ^ sum >> 27) * 1664525;
            at(kMiddleWord) += r;
            r += added + i;
            at(kMiddleWord + kLag) += r;
            at(0) = r;
            i = (i + 1) % kSize;
        };
        mix(static_cast<uint32_t>(n));
        const int32_t steps = std::max(n, kWords - 1);
        for (int32_t j = 0; j < steps; ++j) mix(j < n ? key[j] : 0);
        for (int32_t j = 0; j < kWords; ++j) {
            const uint32_t sum = at(0) + at(kMiddleWord) + at(kSize - 1);
            uint32_t r = (sum ^ sum >> 27) * 1566083941;
            at(kMiddleWord) ^= r;
            r -= i;
            at(kMiddleWord + kLag) ^= r;
            at(0) = r;
            i = (i + 1) % kSize;
        }
        certify_period(x);
        state.position = kWords;
    }

    // ---- Skip ahead -------------------------------------------------------------------------------------

    // By blocks, as Twister::skip_ahead; the rest of the words by position.
    static int32_t skip_ahead(State& state, Parameters parameters, uint64_t count) {
        if (count <= kLongestStepping) {
            step_over<Sfmt19937>(state, parameters, count);
            return kOzkVslSuccess;
        }
        auto* const work = allocate_record<Jump>();
        if (!work) return kOzkVslErrorNoMemory;
        work->modulus.build();
        std::fill(work->wide, std::end(work->wide), 0);
        count -= static_cast<uint64_t>(kWords - position_in(state, kWords));
        power_of_t(work->power, count / kBlock, StepModulus::kDegree, work->wide,
                   [&](uint32_t* polynomial) { work->modulus.reduce(polynomial); });
        uint32_t* const x = work->sequence;
        std::copy(state.words, state.words + kWords, x);
        Chain chain = chain_after(x + kWords);
        for (int32_t i = 0; i < kBlock * StepModulus::kDegree; i += kBlock) {
            store(x + i + kWords, chain.next(load(x + i), load(x + i + kBlock * kMiddle)));
        }
        __vsl_SkipAheadSWin(state.words, kWords, x, kBlock, work->power, StepModulus::kDegree);
        state.position = kWords;
        ozk_serv_deallocate(work);
        step_over<Sfmt19937>(state, parameters, count % kBlock);
        return kOzkVslSuccess;
    }

  private:
    static constexpr uint64_t kLongestStepping = 0x1FFFFF;

    struct Jump {
        StepModulus modulus;
        uint32_t power[kWords], wide[2 * kWords + StepModulus::kRoomBehind / 4];
        uint32_t sequence[kBlock * StepModulus::kDegree + kWords];
    };

    static simd::i32x4 load(const uint32_t* p) { return simd::load(reinterpret_cast<const int32_t*>(p)); }
    static void store(uint32_t* p, simd::i32x4 block) { simd::store(reinterpret_cast<int32_t*>(p), block); }

    // A state of even parity under this mask may miss the long period; its lowest bit is in the mask.
    static void certify_period(uint32_t* x) {
        constexpr uint32_t kParity[kBlock] = {0x00000001, 0x00000000, 0x00000000, 0x13c9e684};
        uint32_t inner = 0;
        for (int32_t i = 0; i < kBlock; ++i) inner ^= x[i] & kParity[i];
        if (__builtin_parity(inner) == 0) x[0] ^= 1;
    }
};

}  // namespace
}  // namespace ozk::vsl

OZK_VSL_EXPORT_GENERATOR(SFMT19937, ozk::vsl::WordArray<ozk::vsl::Sfmt19937>)
