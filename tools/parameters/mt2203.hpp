// The 32-bit twister of period 2^2203 - 1 and the lattices that measure how evenly its leading output bits spread.
//
// A state is 2203 bits: the top 27 bits of its oldest word and 68 whole words. The v leading bits of the successive
// outputs of a state, read as v power series in 1/t, and the polynomials span a lattice of rank v over GF(2)[t];
// its successive minima sum to -2203, and the largest of them is -k(v), where k(v) is the largest dimension in which
// the v leading bits are equidistributed (Couture and L'Ecuyer, "Lattice computations for random numbers", 2000).
//
// A lattice vector is kept as the generator's state behind its leading coefficient, so that multiplying by t is one
// step of the recurrence (Harase, Matsumoto and Saito, "Fast lattice reduction for F2-linear pseudorandom number
// generators", 2011). The reduction is the weak Popov form (Mulders and Storjohann, 2003): vectors whose leading
// coefficients differ in their highest bits are reduced.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

namespace twister {

constexpr int kWords = 69;
constexpr int kMiddle = 34;
constexpr int kDegree = 2203;
constexpr int kWordBits = 32;
constexpr std::uint32_t kUpperMask = 0xffffffe0U;
constexpr std::uint32_t kLowerMask = 0x0000001fU;
constexpr int kFirstShift = 12, kShiftB = 7, kShiftC = 15, kLastShift = 18;

struct Parameters {
    std::uint32_t a, b, c;
};

constexpr std::uint32_t temper(std::uint32_t y, std::uint32_t b, std::uint32_t c) {
    y ^= y >> kFirstShift;
    y ^= (y << kShiftB) & b;
    y ^= (y << kShiftC) & c;
    return y ^ (y >> kLastShift);
}

struct LatticeVector {
    static constexpr int kRoom = 4 * kWords;  // the state slides through the room, one word a step

    std::array<std::uint32_t, kRoom> word{};
    int first = 0;
    int degree = 0;
    std::uint32_t lead = 0;  // coefficient at t^degree, output bit 1 highest

    std::uint32_t& at(int i) { return word[static_cast<std::size_t>(first + i)]; }
    std::uint32_t at(int i) const { return word[static_cast<std::size_t>(first + i)]; }
    std::uint32_t newest() const { return at(kWords - 1); }

    bool state_is_zero() const {
        std::uint32_t any = at(0) & kUpperMask;
        for (int i = 1; i < kWords; ++i) any |= at(i);
        return any == 0;
    }

    void move_to(int place) {
        std::memmove(&word[static_cast<std::size_t>(place)], &word[static_cast<std::size_t>(first)],
                     kWords * sizeof(std::uint32_t));
        first = place;
    }

    void step(std::uint32_t a) {
        if (first + kWords == kRoom) move_to(0);
        const std::uint32_t y = (at(0) & kUpperMask) | (at(1) & kLowerMask);
        at(kWords) = at(kMiddle) ^ (y >> 1) ^ ((y & 1U) != 0 ? a : 0);
        ++first;
    }

    // The step undone; needs the top bit of a, which then tells the lost low bit of y.
    void step_back(std::uint32_t a) {
        if (first == 0) move_to(kRoom - kWords);
        --first;
        std::uint32_t y = at(kWords) ^ at(kMiddle);
        const std::uint32_t odd = y >> (kWordBits - 1);
        y = ((y ^ (odd != 0 ? a : 0)) << 1) | odd;
        at(0) = y & kUpperMask;
        at(1) = (at(1) & kUpperMask) | (y & kLowerMask);
    }

    void add(const LatticeVector& other) {
        lead ^= other.lead;
        std::uint32_t* mine = &at(0);
        const std::uint32_t* theirs = &other.word[static_cast<std::size_t>(other.first)];
        for (int i = 0; i < kWords; ++i) mine[i] ^= theirs[i];
    }
};

// The reduced lattice of the v leading bits, extended by one bit at a time. Extending from v - 1 to v bits changes no
// output bit above: a search over masks shares the lattices of the bits that it has settled.
class Lattice {
  public:
    explicit Lattice(std::uint32_t a) : a_(a) {}

    int bits() const { return static_cast<int>(basis_.size()); }

    // k(v) of the v bits held.
    int dimension() const {
        int longest = -kDegree;
        for (const Reduced& vector : basis_) longest = std::max(longest, vector.degree);
        return -longest;
    }
    int defect() const { return kDegree / bits() - dimension(); }

    // The lattice of one leading bit more. On the bits that reach the leading bits held, b and c must be what they
    // were before.
    Lattice extended(std::uint32_t b, std::uint32_t c) const {
        thread_local std::array<LatticeVector, kWordBits + 1> work;
        const Reduction reduce{a_, b, c, ~0U << (kWordBits - 1 - bits())};
        Pivots pivots{};
        // One generator more than the rank: the vectors held, taken back to degree -1 (for no bits yet: any state),
        // and the unit polynomial of the added bit. One of them reduces to zero.
        LatticeVector* next = work.data();
        for (const Reduced& vector : basis_) {
            next->first = 0;
            std::copy(vector.state.begin(), vector.state.end(), next->word.begin());
            for (next->degree = vector.degree; next->degree < -1; ++next->degree) next->step_back(a_);
            next->lead = temper(next->newest(), b, c) & reduce.mask;
            reduce.insert(next++, pivots);
        }
        if (basis_.empty()) {
            next->word.fill(1);
            next->first = 0;
            next->degree = -1;
            next->lead = temper(next->newest(), b, c) & reduce.mask;
            reduce.insert(next++, pivots);
        }
        next->word.fill(0);
        next->first = 0;
        next->degree = 0;
        next->lead = reduce.mask & -reduce.mask;
        reduce.insert(next, pivots);

        Lattice longer(a_);
        longer.basis_.resize(basis_.size() + 1);
        for (std::size_t i = 0; i < longer.basis_.size(); ++i) {
            const LatticeVector& vector = *pivots[i];
            longer.basis_[i].degree = vector.degree;
            std::copy_n(&vector.word[static_cast<std::size_t>(vector.first)], kWords,
                        longer.basis_[i].state.begin());
        }
        return longer;
    }

  private:
    struct Reduced {
        std::array<std::uint32_t, kWords> state;
        int degree;
    };
    using Pivots = std::array<LatticeVector*, kWordBits>;  // by highest bit of the leading coefficient

    struct Reduction {
        std::uint32_t a, b, c, mask;

        // Adds a vector to the reduced ones, until every highest bit is taken by one vector; a vector that depends on
        // the others comes to zero and takes none.
        void insert(LatticeVector* v, Pivots& pivots) const {
            for (;;) {
                while (v->lead == 0) {
                    if (v->newest() == 0 && v->state_is_zero()) return;
                    v->step(a);
                    --v->degree;
                    v->lead = temper(v->newest(), b, c) & mask;
                }
                LatticeVector*& holder = pivots[static_cast<std::size_t>(std::countl_zero(v->lead))];
                if (holder == nullptr) {
                    holder = v;
                    return;
                }
                if (v->degree < holder->degree) std::swap(v, holder);
                v->add(*holder);
            }
        }
    };

    std::uint32_t a_;
    std::vector<Reduced> basis_;
};

}  // namespace twister
