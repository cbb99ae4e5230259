// MRG32K3A: z(n) = x(n) - y(n) mod m1, of x(n) = 1403580 x(n-2) - 810728 x(n-3) mod m1 = 2^32 - 209 and
// y(n) = 527612 y(n-1) - 1370589 y(n-3) mod m2 = 2^32 - 22853; period about 2^191.
// L'Ecuyer, "Good parameters and implementations for combined multiple recursive random number generators",
// Oper. Res. 47 (1999).
//
// Long calls run four lanes side by side, each on a segment of its own of the results: the lanes' first states
// come from the powers of the companion matrices, the last lane ends where the next block begins. The lanes hold
// balanced residues, at most (m + 1) / 2 in size, as doubles: a step's sum of products is below 2^52.1 and its
// quotient by m, rounded to nearest, leaves a balanced residue again, so that every operation but the estimate of
// the quotient is exact and no step needs a correction.

#include <algorithm>
#include <cstring>

#include "simd/wide.hpp"
#include "vsl/streams/generator.hpp"

namespace ozk::vsl {
namespace {

constexpr uint32_t kModulus1 = 4294967087, kModulus2 = 4294944443;
constexpr int kMatrix = 9, kWordBits = 64;
constexpr int kTableBits = kOzkVslMrg32k3aPowers - 1;  // of the exponents that the table serves, whole words

struct Triple {
    uint32_t x[3];  // oldest first
};

constexpr uint64_t low_word(uint64_t x) { return x & 0xFFFFFFFF; }

// Arithmetic modulo a number kFold below 2^32, for which 2^32 is kFold.
template <uint32_t kModulus>
struct Modulo {
    static constexpr uint64_t kFold = (uint64_t{1} << 32) - kModulus;

    static constexpr uint64_t folded(uint64_t x) { return (x >> 32) * kFold + low_word(x); }

    // Of x < 2^54: the first folding leaves less than 2^37, the second less than 2^32 + 2^20.
    static constexpr uint32_t reduced(uint64_t x) {
        x = folded(folded(x));
        return static_cast<uint32_t>(x >= kModulus ? x - kModulus : x);
    }

    // a x + b y + c z
    static constexpr uint32_t dot(const uint32_t* a, uint32_t x, uint32_t y, uint32_t z) {
        const uint64_t first = uint64_t{a[0]} * x, second = uint64_t{a[1]} * y, third = uint64_t{a[2]} * z;
        return reduced(((first >> 32) + (second >> 32) + (third >> 32)) * kFold + low_word(first) +
                       low_word(second) + low_word(third));
    }
};

template <uint32_t kModulus>
constexpr Triple transform(const uint32_t* matrix, const Triple& t) {
    return {{Modulo<kModulus>::dot(matrix, t.x[0], t.x[1], t.x[2]),
             Modulo<kModulus>::dot(matrix + 3, t.x[0], t.x[1], t.x[2]),
             Modulo<kModulus>::dot(matrix + 6, t.x[0], t.x[1], t.x[2])}};
}

// x(n) = forward x(n - 3 + place) - backward x(n - 3) modulo the modulus.
struct Recurrence {
    uint32_t modulus;
    int place;
    uint32_t forward, backward;
};
constexpr Recurrence kFirst = {kModulus1, 1, 1403580, 810728};
constexpr Recurrence kSecond = {kModulus2, 2, 527612, 1370589};

template <Recurrence k>
uint32_t step(Triple& t) {
    const uint32_t next = Modulo<k.modulus>::reduced(uint64_t{k.forward} * t.x[k.place] +
                                                     uint64_t{k.backward} * (k.modulus - t.x[0]));
    t = {{t.x[1], t.x[2], next}};
    return next;
}

// A^(2^k) for k = 0, 1, ... by repeated squaring.
template <Recurrence k>
constexpr void fill_powers(uint32_t (&powers)[kOzkVslMrg32k3aPowers][kMatrix]) {
    powers[0][1] = powers[0][5] = 1;
    powers[0][6] = k.modulus - k.backward;
    powers[0][6 + k.place] = k.forward;
    for (int i = 1; i < kOzkVslMrg32k3aPowers; ++i) {
        const uint32_t* const root = powers[i - 1];
        for (int row = 0; row < 3; ++row)
            for (int column = 0; column < 3; ++column)
                powers[i][3 * row + column] =
                    Modulo<k.modulus>::dot(root + 3 * row, root[column], root[3 + column], root[6 + column]);
    }
}

constexpr OzkVslMrg32k3aTable make_table() {
    OzkVslMrg32k3aTable table = {};
    fill_powers<kFirst>(table.first);
    fill_powers<kSecond>(table.second);
    return table;
}

}  // namespace
}  // namespace ozk::vsl

constexpr OzkVslMrg32k3aTable _vsl_mrg32k3a_skipahead_table = ozk::vsl::make_table();

namespace ozk::vsl {
namespace {

// A^(2^k) of either component.
const uint32_t* power1(int k) { return _vsl_mrg32k3a_skipahead_table.first[k]; }
const uint32_t* power2(int k) { return _vsl_mrg32k3a_skipahead_table.second[k]; }

// Calls found(k) for each bit k of the exponent that is set, up from the lowest.
template <class Found>
void for_each_bit(int32_t n, const uint64_t* e, Found found) {
    for (int32_t word = 0; word < n; ++word) {
        int k = word * kWordBits;
        for (uint64_t rest = e[word]; rest != 0; rest >>= 1, ++k)
            if (rest & 1) found(k);
    }
}

int32_t table_words(int32_t n) { return std::clamp(n, 0, kTableBits / kWordBits); }

struct Mrg32k3a {
    using Word = uint32_t;
    static constexpr double kUnit = 0x1.000000d10000bp-32;  // nearest to 1 / m1

    struct State {
        Triple first, second;
    };

    static int32_t initialise(uint32_t method, OzkVslStream* stream, int32_t n, const void* params) {
        State& state = state_of<State>(stream);
        switch (method) {
            case kOzkVslInitSeed:
                seed(state, n, static_cast<const uint32_t*>(params));
                return kOzkVslSuccess;
            case kOzkVslInitSkipAhead: {
                const uint64_t count = skip_count(params);
                __vsliVect3PowMod(power1(0), count, kModulus1, state.first.x);
                __vsliVect3PowMod(power2(0), count, kModulus2, state.second.x);
                return kOzkVslSuccess;
            }
            case kOzkVslInitSkipAheadEx:
                skip(state, n, static_cast<const uint64_t*>(params));
                return kOzkVslSuccess;
            default:
                return refuse_method(method);
        }
    }

    template <class Result, class Output>
    static int32_t generate(OzkVslStream* stream, int32_t n, Result* r, Output output) {
        State& state = state_of<State>(stream);
        for (int level = kLongest; level >= kShortest; --level) {
            const int32_t block = kLanes << level;
            for (; n >= block; n -= block, r += block) run_lanes(state, level, r, output);
        }
        State rest = state;  // in registers
        for (; n > 0; --n, ++r) {
            const uint32_t x = step<kFirst>(rest.first), y = step<kSecond>(rest.second);
            *r = output(x - y + (kModulus1 & (0u - (x < y))));  // no branch: it could not be foreseen
        }
        state = rest;
        return kOzkVslSuccess;
    }

  private:
    static constexpr int kLanes = 4;
    static constexpr int kHalf = kLanes / 2;
    // The lanes' first components, then their second ones, so that the operations of both are neighbours.
    using Vector = simd::wide<simd::f64x2, 2 * kHalf>;
    // Segments have 2^level words. The longest make the lanes' first states cheap and still stay in the cache.
    static constexpr int kLongest = 9, kShortest = 3;

    static void seed(State& state, int32_t n, const uint32_t* words) {
        constexpr int32_t kSeeds = 6;
        uint32_t x[kSeeds];
        for (int32_t k = 0; k < kSeeds; ++k) {
            const uint32_t modulus = k < 3 ? kModulus1 : kModulus2;
            x[k] = k < n ? words[k] : 1;
            if (x[k] >= modulus) x[k] -= modulus;
        }
        if (x[0] == 0 && x[1] == 0 && x[2] == 0) x[0] = 1;
        if (x[3] == 0 && x[4] == 0 && x[5] == 0) x[3] = 1;
        state = {{{x[0], x[1], x[2]}}, {{x[3], x[4], x[5]}}};
    }

    static void skip(State& state, int32_t n, const uint64_t* count) {
        if (std::any_of(count + table_words(n), count + std::max(n, 0),
                        [](uint64_t word) { return word != 0; })) {
            __vsliVect3PowArrayMod(power1(0), n, count, kModulus1, state.first.x);
            __vsliVect3PowArrayMod(power2(0), n, count, kModulus2, state.second.x);
        } else {
            __vsliVect3PowArrayMod_M1(n, count, state.first.x);
            __vsliVect3PowArrayMod_M2(n, count, state.second.x);
        }
    }

    // The balanced residues of two numbers.
    static simd::f64x2 balanced(uint32_t low, uint32_t high, uint32_t modulus) {
        const simd::f64x2 x = simd::pair(static_cast<double>(low), static_cast<double>(high));
        const double m = modulus;
        return x - ((simd::broadcast(m / 2) < x) & simd::broadcast(m));
    }
    static uint32_t residue(double x, uint32_t modulus) {
        return static_cast<uint32_t>(static_cast<int64_t>(x < 0 ? x + modulus : x));
    }

    // Balanced residues of four lanes as 32-bit words: those from 0 to modulus - 1.
    OZK_SIMD static simd::i32x4 residues(simd::f64x2 low, simd::f64x2 high, uint32_t modulus) {
        // The low word of x + 1.5 2^52 is x modulo 2^32.
        const simd::f64x2 shift = simd::broadcast(0x1.8p52);
        const simd::i32x4 x = even_lanes(as_i32(bits(low + shift)), as_i32(bits(high + shift)));
        return x + (simd::shift_right_signed<31>(x) & simd::broadcast(static_cast<int32_t>(modulus)));
    }

    OZK_SIMD static simd::i32x4 combine(simd::i32x4 x, simd::i32x4 y) {
        return x - y + and_not(simd::broadcast(static_cast<int32_t>(kModulus1)), max_unsigned(x, y) == x);
    }

    // One number for either component.
    OZK_SIMD static Vector both(double first, double second) {
        Vector result;
        for (int i = 0; i < kHalf; ++i) {
            result.v[i] = simd::broadcast(first);
            result.v[kHalf + i] = simd::broadcast(second);
        }
        return result;
    }

    OZK_SIMD static void advance(Vector (&x)[3]) {
        Vector forward;
        for (int i = 0; i < kHalf; ++i) {
            forward.v[i] = x[kFirst.place].v[i];
            forward.v[kHalf + i] = x[kSecond.place].v[kHalf + i];
        }
        const Vector p =
            forward * both(kFirst.forward, kSecond.forward) - x[0] * both(kFirst.backward, kSecond.backward);
        const Vector q = round_to_even(p * both(1.0 / kModulus1, 1.0 / kModulus2));
        x[0] = x[1];
        x[1] = x[2];
        x[2] = p - q * both(kModulus1, kModulus2);
    }

    template <class Result, class Output>
    static void run_lanes(State& state, int level, Result* r, Output output) {
        State lanes[kLanes];
        lanes[0] = state;
        for (int filled = 1, k = level; filled < kLanes; filled *= 2, ++k) {
            for (int lane = 0; lane < filled; ++lane) {
                lanes[filled + lane] = {transform<kModulus1>(power1(k), lanes[lane].first),
                                        transform<kModulus2>(power2(k), lanes[lane].second)};
            }
        }
        Vector x[3];
        for (int age = 0; age < 3; ++age) {
            for (int i = 0; i < kHalf; ++i) {
                const State &low = lanes[2 * i], &high = lanes[2 * i + 1];
                x[age].v[i] = balanced(low.first.x[age], high.first.x[age], kModulus1);
                x[age].v[kHalf + i] = balanced(low.second.x[age], high.second.x[age], kModulus2);
            }
        }
        const int segment = 1 << level;
        for (int step = 0; step < segment; step += 4) {
            simd::i32x4 rows[4];
#pragma GCC unroll 4
            for (simd::i32x4& row : rows) {
                advance(x);
                const auto& v = x[2].v;
                row = combine(residues(v[0], v[1], kModulus1), residues(v[2], v[3], kModulus2));
            }
            transpose(rows);
#pragma GCC unroll 4
            for (int lane = 0; lane < kLanes; ++lane) output.put(r + lane * segment + step, rows[lane]);
        }
        for (int age = 0; age < 3; ++age) {
            state.first.x[age] = residue(simd::high(x[age].v[kHalf - 1]), kModulus1);
            state.second.x[age] = residue(simd::high(x[age].v[2 * kHalf - 1]), kModulus2);
        }
    }
};

// x <- A^e x for any modulus, by squaring and multiplying.
struct GeneralMatrix {
    uint32_t entries[kMatrix];
    uint32_t modulus;

    uint32_t product(const uint32_t* row, const uint32_t* column, int step) const {
        uint64_t sum = 0;
        for (int k = 0; k < 3; ++k) sum += uint64_t{row[k]} * column[k * step] % modulus;
        return static_cast<uint32_t>(sum % modulus);
    }
    void apply(uint32_t* x) const {
        uint32_t result[3];
        for (int row = 0; row < 3; ++row) result[row] = product(entries + 3 * row, x, 1);
        std::memcpy(x, result, sizeof result);
    }
    void square() {
        uint32_t result[kMatrix];
        for (int row = 0; row < 3; ++row)
            for (int column = 0; column < 3; ++column)
                result[3 * row + column] = product(entries + 3 * row, entries + column, 3);
        std::memcpy(entries, result, sizeof result);
    }
};

}  // namespace
}  // namespace ozk::vsl

OZK_VSL_EXPORT_GENERATOR(MRG32K3A, ozk::vsl::Mrg32k3a)

extern "C" {

using namespace ozk::vsl;

void __vsliVect3PowMod(const uint32_t* a, uint64_t e, uint32_t m, uint32_t* x) {
    __vsliVect3PowArrayMod(a, 1, &e, m, x);
}

void __vsliVect3PowArrayMod(const uint32_t* a, int32_t n, const uint64_t* e, uint32_t m, uint32_t* x) {
    while (n > 0 && e[n - 1] == 0) --n;
    GeneralMatrix matrix;
    for (int k = 0; k < kMatrix; ++k) matrix.entries[k] = a[k];
    matrix.modulus = m;
    int squared = 0;
    for_each_bit(n, e, [&](int bit) {
        for (; squared < bit; ++squared) matrix.square();
        matrix.apply(x);
    });
}

void __vsliVect3PowArrayMod_M1(int32_t n, const uint64_t* e, uint32_t* x) {
    Triple t = {{x[0], x[1], x[2]}};
    for_each_bit(table_words(n), e, [&](int bit) { t = transform<kModulus1>(power1(bit), t); });
    std::memcpy(x, t.x, sizeof t.x);
}

void __vsliVect3PowArrayMod_M2(int32_t n, const uint64_t* e, uint32_t* x) {
    Triple t = {{x[0], x[1], x[2]}};
    for_each_bit(table_words(n), e, [&](int bit) { t = transform<kModulus2>(power2(bit), t); });
    std::memcpy(x, t.x, sizeof t.x);
}

}  // extern "C"
