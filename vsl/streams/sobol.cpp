// Sobol's sequence (Bratley and Fox, "Algorithm 659", ACM TOMS 14 (1988)) with the direction numbers of Joe
// and Kuo, "Constructing Sobol sequences with better two-dimensional projections", SIAM J. Sci. Comput. 30
// (2008).

#include "vsl/streams/quasi_random.hpp"

#include "vsl/streams/sobol_tables.inc"  // generated: tools/tables/sobol_tables.py

namespace ozk::vsl {
namespace {

struct Sobol {
    static constexpr uint32_t kCapacity = 84;
    static constexpr uint32_t kBuiltIn = kOzkVslSobolDimensions;

    static void built_in(uint32_t i, Column& column) { make(uSobolIrredPoly[i], uSobolMInit[i], column); }

    static uint32_t from_polynomial(const uint32_t* words, uint32_t n, Column& column) {
        if (n == 0 || words[0] % 2 == 0) return 0;
        const uint32_t degree = degree_of(words[0]);
        if (n - 1 < degree) return 0;
        for (uint32_t j = 1; j <= degree; ++j) {
            if (words[j] % 2 == 0 || words[j] >> j != 0) return 0;
        }
        make(words[0], words + 1, column);
        return degree + 1;
    }

  private:
    static uint32_t degree_of(uint32_t polynomial) {
        return static_cast<uint32_t>(std::bit_width(polynomial)) - 1;
    }

    // v[c] = m[c] 2^(31 - c), the first ones given by odd m[c] < 2^(c + 1), the others by the recurrence of the
    // polynomial; the polynomial 1 makes the sequence of van der Corput.
    static void make(uint32_t polynomial, const uint32_t* initial, Column& v) {
        const uint32_t degree = degree_of(polynomial);
        for (uint32_t c = 0; c < kDirections; ++c) {
            const uint32_t place = kDirections - 1 - c;
            if (degree == 0) {
                v[c] = 1u << place;
            } else if (c < degree) {
                v[c] = initial[c] << place;
            } else {
                v[c] = v[c - degree] >> degree;
                for (uint32_t j = 1; j <= degree; ++j) {
                    if (polynomial >> (degree - j) & 1) v[c] ^= v[c - j];
                }
            }
        }
    }
};

// The record's state, and what copying a state copies of it.
static_assert(sizeof(QuasiRandom<Sobol>::State) <= 2900 * sizeof(uint32_t));

}  // namespace
}  // namespace ozk::vsl

OZK_VSL_EXPORT_GENERATOR(Sobol, ozk::vsl::QuasiRandom<ozk::vsl::Sobol>)
