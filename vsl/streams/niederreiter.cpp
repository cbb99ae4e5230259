// Niederreiter's sequence in base 2 (Bratley, Fox and Niederreiter, "Implementation and tests of
// low-discrepancy sequences", ACM TOMACS 2 (1992)).

#include "vsl/streams/quasi_random.hpp"

#include "vsl/streams/niederreiter_table.inc"  // generated: tools/tables/niederreiter_table.py

namespace ozk::vsl {
namespace {

struct Niederreiter {
    static constexpr uint32_t kCapacity = 636;
    static constexpr uint32_t kBuiltIn = kOzkVslNiederreiterDimensions;

    static void built_in(uint32_t i, Column& column) { make(uNiederrIrredPoly[i], column); }

    static uint32_t from_polynomial(const uint32_t* words, uint32_t n, Column& column) {
        if (n == 0 || words[0] < 2) return 0;
        make(words[0], column);
        return 1;
    }

  private:
    // Row j of the generator matrix, from the top bit of a coordinate down, is part of the linear recurring
    // sequence v whose characteristic polynomial is the power q of the irreducible one: q = j / e + 1, from
    // element j mod e on, e the degree. Of the first elements of v, those below the degree of the power
    // before are 0 and the others 1.
    static void make(uint32_t irreducible, Column& column) {
        const uint32_t e = static_cast<uint32_t>(std::bit_width(irreducible)) - 1;
        std::memset(column, 0, sizeof column);
        uint64_t power = 1;  // of the polynomial; its degree stays below 63
        uint64_t v = 0;      // bit i is element i
        for (uint32_t j = 0, degree = 0; j < kDirections; ++j) {
            if (j % e == 0) {
                const uint32_t before = degree;
                power = multiply(power, irreducible);
                degree += e;
                const uint64_t below_leading = power ^ uint64_t { 1 } << degree;
                v = (uint64_t{1} << degree) - (uint64_t{1} << before);
                for (uint32_t i = degree; i < 64; ++i) {
                    const uint64_t terms = v >> (i - degree) & below_leading;
                    v |= uint64_t{std::popcount(terms) % 2 != 0} << i;
                }
            }
            for (uint32_t c = 0; c < kDirections; ++c) {
                column[c] |= static_cast<uint32_t>(v >> (c + j % e) & 1) << (kDirections - 1 - j);
            }
        }
    }

    // Product of polynomials over GF(2).
    static uint64_t multiply(uint64_t a, uint64_t b) {
        uint64_t product = 0;
        for (; b != 0; b >>= 1, a <<= 1) {
            if (b & 1) product ^= a;
        }
        return product;
    }
};

static_assert(sizeof(QuasiRandom<Niederreiter>::State) <= 21056 * sizeof(uint32_t));

}  // namespace
}  // namespace ozk::vsl

OZK_VSL_EXPORT_GENERATOR(Niederr, ozk::vsl::QuasiRandom<ozk::vsl::Niederreiter>)
