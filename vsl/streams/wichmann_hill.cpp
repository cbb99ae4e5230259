// WH: four multiplicative congruential generators x <- a x mod m side by side, 273 sets of them; a number is the
// fractional part of the sum of the x / m.
// Wichmann and Hill, "An efficient and portable pseudo-random number generator", Applied Statistics 31 (1982).
//
// Four words run side by side, word i at output i of a pass, each advancing by a^4. They are balanced residues as
// doubles, at most (m + 1) / 2 in size: a product by the balanced a^4 is below 2^47, and its quotient by m, rounded
// to nearest, leaves a balanced residue again without correction.

#include <iterator>
#include <type_traits>

#include "simd/wide.hpp"
#include "vsl/streams/generator.hpp"
#include "vsl/streams/modular_power.hpp"
#include "vsl/streams/registry.hpp"

namespace ozk::vsl {
namespace {

constexpr int kComponents = 4;

struct ParameterSet {
    uint32_t m[kComponents];
    uint32_t a[kComponents];
};
constexpr ParameterSet kSets[] = {
#include "vsl/streams/wichmann_hill_sets.inc"
};
static_assert(std::size(kSets) == kOzkVslWhSets);

constexpr OzkVslWhModuli moduli() {
    OzkVslWhModuli table = {};
    for (int set = 0; set < kOzkVslWhSets; ++set)
        for (int q = 0; q < kComponents; ++q) table.sets[set][q] = kSets[set].m[q];
    return table;
}

constexpr OzkVslWhMultipliers multipliers() {
    OzkVslWhMultipliers table = {};
    for (int set = 0; set < kOzkVslWhSets; ++set)
        for (int q = 0; q < kComponents; ++q) table.sets[set] |= kSets[set].a[q] << (8 * q);
    return table;
}

constexpr OzkVslWhReciprocals reciprocals() {
    OzkVslWhReciprocals table = {};
    for (int set = 0; set < kOzkVslWhSets; ++set)
        for (int q = 0; q < kComponents; ++q) table.sets[set][q] = 1.0 / kSets[set].m[q];
    return table;
}

}  // namespace
}  // namespace ozk::vsl

constexpr OzkVslWhModuli _vsl_WH_M = ozk::vsl::moduli();
constexpr OzkVslWhMultipliers _vsl_WH_A = ozk::vsl::multipliers();
constexpr OzkVslWhReciprocals _vsldWH_IM_Tab = ozk::vsl::reciprocals();

namespace ozk::vsl {
namespace {

struct WichmannHill {
    struct Word {
        uint32_t x[kComponents];
    };
    static constexpr double kUnit = 1;

    struct State {
        uint32_t x[kComponents];  // the next output
        uint32_t a[kComponents];  // multipliers from one output to the next
    };

    static int32_t initialise(uint32_t method, OzkVslStream* stream, int32_t n, const void* params) {
        State& state = state_of<State>(stream);
        const int32_t set = locate(stream->identifier).set;
        const uint32_t* const m = _vsl_WH_M.sets[set];
        switch (method) {
            case kOzkVslInitSeed:
                for (int q = 0; q < kComponents; ++q) {
                    const uint32_t x = q < n ? static_cast<const uint32_t*>(params)[q] % m[q] : 0;
                    state.x[q] = x == 0 ? 1 : x;
                    state.a[q] = _vsl_WH_A.sets[set] >> (8 * q) & 0xFF;
                }
                return kOzkVslSuccess;
            case kOzkVslInitLeapfrog:
                for (int q = 0; q < kComponents; ++q) {
                    state.x[q] = multiply(state.x[q], power(state.a[q], leapfrog_index(params), m[q]), m[q]);
                    state.a[q] = power(state.a[q], static_cast<uint32_t>(n), m[q]);
                }
                return kOzkVslSuccess;
            case kOzkVslInitSkipAhead:
                for (int q = 0; q < kComponents; ++q)
                    state.x[q] = multiply(state.x[q], power(state.a[q], skip_count(params), m[q]), m[q]);
                return kOzkVslSuccess;
            default:
                return refuse_method(method);
        }
    }

    template <class Result, class Output>
    static int32_t generate(OzkVslStream* stream, int32_t n, Result* r, Output output) {
        State& state = state_of<State>(stream);
        const int32_t set = locate(stream->identifier).set;
        const uint32_t* const m = _vsl_WH_M.sets[set];
        const double* const reciprocal = _vsldWH_IM_Tab.sets[set];
        if (n >= kPass) {
            Pass pass(state, m, reciprocal);
            for (; n >= kPass; n -= kPass, r += kPass) {
                pass.put(r, output);
                pass.advance();
            }
            pass.first_word(state.x);
        }
        for (; n > 0; --n, ++r) {
            if constexpr (std::is_same_v<Result, Word>) {
                *r = {{state.x[0], state.x[1], state.x[2], state.x[3]}};
            } else {
                *r = output.place(fraction(state.x, reciprocal));
            }
            for (int q = 0; q < kComponents; ++q) state.x[q] = multiply(state.x[q], state.a[q], m[q]);
        }
        return kOzkVslSuccess;
    }

  private:
    static constexpr int kPass = 4;

    static uint32_t multiply(uint32_t x, uint32_t y, uint32_t m) {
        return static_cast<uint32_t>(uint64_t{x} * y % m);
    }
    static uint32_t power(uint32_t a, uint64_t e, uint32_t m) { return __vsliPowMod(a, e, m); }

    // In the order of Pass::sums.
    static double fraction(const uint32_t* x, const double* reciprocal) {
        const double sum =
            (x[0] * reciprocal[0] + x[2] * reciprocal[2]) + (x[1] * reciprocal[1] + x[3] * reciprocal[3]);
        return sum - static_cast<double>(static_cast<int32_t>(sum));
    }

    // kPass consecutive words; the first two components and the other two in vectors of their own.
    struct Pass {
        using Vector = simd::wide<simd::f64x2, kPass>;
        struct Half {
            Vector x;  // balanced
            simd::f64x2 a, m, reciprocal;

            Half(const State& state, const uint32_t* moduli, const double* reciprocals, int q) {
                m = as_doubles(moduli + q);
                reciprocal = simd::load(reciprocals + q);
                a = as_doubles(state.a + q);
                x.v[0] = balanced(as_doubles(state.x + q));
                x.v[1] = balanced(x.v[0] * a);
                a = balanced(a * a);
                x.v[2] = balanced(x.v[0] * a);
                x.v[3] = balanced(x.v[1] * a);
                a = balanced(a * a);
            }

            static simd::f64x2 as_doubles(const uint32_t* p) {
                return simd::pair(static_cast<double>(p[0]), static_cast<double>(p[1]));
            }
            template <class V>
            OZK_SIMD V balanced(const V& product) const {
                return product - round_to_even(product * reciprocal) * m;
            }
            OZK_SIMD void advance() { x = balanced(x * a); }
            OZK_SIMD Vector residues() const { return x + ((x < simd::broadcast(0.0)) & m); }
        };

        Half first, second;

        Pass(const State& state, const uint32_t* m, const double* reciprocal)
            : first(state, m, reciprocal, 0), second(state, m, reciprocal, 2) {}

        OZK_SIMD void advance() {
            first.advance();
            second.advance();
        }

        void first_word(uint32_t* x) const { simd::store(reinterpret_cast<int32_t*>(x), word(0)); }

        OZK_SIMD void put(Word* r, Words) const {
#pragma GCC unroll 4
            for (int i = 0; i < kPass; ++i) simd::store(reinterpret_cast<int32_t*>(r[i].x), word(i));
        }

        template <class Real, class Output>
        OZK_SIMD void put(Real* r, const Output& output) const {
            const Vector sums = first.residues() * first.reciprocal + second.residues() * second.reciprocal;
            output.put(r, fraction(sums.v[0], sums.v[1]), fraction(sums.v[2], sums.v[3]));
        }

      private:
        OZK_SIMD simd::i32x4 word(int i) const {
            // The low word of x + 1.5 2^52 is x.
            const simd::f64x2 shift = simd::broadcast(0x1.8p52);
            return even_lanes(as_i32(bits(first.residues().v[i] + shift)),
                              as_i32(bits(second.residues().v[i] + shift)));
        }
        // Of the sums of two words, whose lanes are to be added.
        OZK_SIMD static simd::f64x2 fraction(simd::f64x2 word, simd::f64x2 next) {
            const simd::f64x2 sum = interleave_low(word, next) + interleave_high(word, next);
            return sum - floor(sum);
        }
    };
};

}  // namespace
}  // namespace ozk::vsl

OZK_VSL_EXPORT_GENERATOR(WH, ozk::vsl::WichmannHill)
