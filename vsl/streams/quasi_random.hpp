// Quasi-random sequences in base 2, in Gray code order: point i is the XOR of the direction numbers of the
// bits of i ^ (i >> 1), so that each point differs from its predecessor by one direction number a coordinate
// (Antonov and Saleev, USSR Comput. Math. Math. Phys. 19 (1979)).
//
// A Family has kCapacity and kBuiltIn, built_in(i, column), the direction numbers of its own dimension i, and
// from_polynomial(words, n, column), which makes those of a dimension that a caller describes and returns how
// many words that took, 0 when they describe none.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "vsl/streams/generator.hpp"

namespace ozk::vsl {

inline constexpr uint32_t kDirections = 32;  // bits of a coordinate and of the number of a point

// The direction numbers of one coordinate: column[c] belongs to bit c of the number of a point.
using Column = uint32_t[kDirections];

template <class Family>
class QuasiRandom {
  public:
    using Word = uint32_t;
    static constexpr double kUnit = kWordUnit;

    struct State {
        uint32_t dimensions;
        uint32_t coordinate;  // of the next output
        uint32_t index;       // number of its point, 1 to 2^32 - 1
        uint32_t unused;
        uint32_t point[Family::kCapacity];
        uint32_t directions[kDirections][Family::kCapacity];
    };

    static int32_t initialise(uint32_t method, OzkVslStream* stream, int32_t n, const void* params) {
        State& state = state_of<State>(stream);
        switch (method) {
            case kOzkVslInitSeed:
                return seed(state, n, static_cast<const uint32_t*>(params));
            case kOzkVslInitLeapfrog:
                return leapfrog(state, leapfrog_index(params), static_cast<uint32_t>(n));
            case kOzkVslInitSkipAhead:
                skip(state, skip_count(params));
                return kOzkVslSuccess;
            default:
                return refuse_method(method);
        }
    }

    template <class Result, class Output>
    static int32_t generate(OzkVslStream* stream, int32_t n, Result* r, Output output) {
        if (n < 1) return kOzkVslSuccess;
        State& state = state_of<State>(stream);
        const Position at = position(state);
        uint32_t left = static_cast<uint32_t>(n);
        const uint32_t d = at.dimensions, begun = std::min(left, d - at.coordinate);
        convert(state.point + at.coordinate, begun, r, output);
        left -= begun;
        r += begun;
        state.coordinate = at.coordinate + begun;
        if (state.coordinate < d) return kOzkVslSuccess;

        advance(state, d);
        const uint32_t points = left / d;
        if (d >= kNarrow) {
            r = whole_points(state, d, points, r, output);
        } else {
            r = narrow_points(state, d, points, r, output);
        }
        state.coordinate = left % d;
        convert(state.point, state.coordinate, r, output);
        return kOzkVslSuccess;
    }

  private:
    // ---- State ----------------------------------------------------------------------------------------

    struct Position {
        uint32_t dimensions, coordinate;
    };
    // A state that was loaded may hold any numbers.
    static Position position(const State& state) {
        const uint32_t d = std::clamp(state.dimensions, 1u, uint32_t{Family::kCapacity});
        return {d, std::min(state.coordinate, d - 1)};
    }

    // Moves to the next point; the last one is followed by the first.
    static void advance(State& state, uint32_t d) {
        if (++state.index == 0) {
            set_point(state, d, 1);
        } else {
            const uint32_t* const step = state.directions[std::countr_zero(state.index)];
            for (uint32_t i = 0; i < d; ++i) state.point[i] ^= step[i];
        }
    }

    static void set_point(State& state, uint32_t d, uint32_t index) {
        state.index = index;
        std::memset(state.point, 0, sizeof state.point);
        for (uint32_t gray = index ^ (index >> 1); gray != 0; gray &= gray - 1) {
            const uint32_t* const step = state.directions[std::countr_zero(gray)];
            for (uint32_t i = 0; i < d; ++i) state.point[i] ^= step[i];
        }
    }

    static void set_column(State& state, uint32_t i, const Column& column) {
        for (uint32_t c = 0; c < kDirections; ++c) state.directions[c][i] = column[c];
    }

    // ---- The method protocol --------------------------------------------------------------------------

    // words: the number of dimensions; then, for dimensions of the caller's, their form, how many built-in
    // ones come before them, and their description.
    static int32_t seed(State& state, int32_t n, const uint32_t* words) {
        state = {};
        const uint32_t count = static_cast<uint32_t>(std::max(n, 0));
        const uint32_t d = count == 0 ? 1 : words[0];
        constexpr uint32_t kHeader = 3;
        const uint32_t kept = count <= 1 ? d : count < kHeader ? UINT32_MAX : words[2];
        if (d < 1 || d > Family::kCapacity || kept > std::min(d, uint32_t{Family::kBuiltIn})) {
            return kOzkVslErrorBadArguments;
        }
        Column column;
        for (uint32_t i = 0; i < kept; ++i) {
            Family::built_in(i, column);
            set_column(state, i, column);
        }
        uint32_t read = std::min(count, kHeader);
        for (uint32_t i = kept; i < d; ++i) {
            const uint32_t taken = described(words[1], words + read, count - read, column);
            if (taken == 0) return kOzkVslErrorBadArguments;
            set_column(state, i, column);
            read += taken;
        }
        if (read != count) return kOzkVslErrorBadArguments;
        state.dimensions = d;
        set_point(state, d, 1);
        return kOzkVslSuccess;
    }

    static uint32_t described(uint32_t form, const uint32_t* words, uint32_t n, Column& column) {
        switch (form) {
            case kOzkVslQuasiPolynomials:
                return Family::from_polynomial(words, n, column);
            case kOzkVslQuasiDirections:
                if (n < kDirections) return 0;
                std::memcpy(column, words, sizeof column);
                return kDirections;
            default:
                return 0;
        }
    }

    // Of as many sub-streams as there are dimensions each is one coordinate: a sequence of one dimension.
    static int32_t leapfrog(State& state, uint32_t k, uint32_t count) {
        const Position at = position(state);
        if (count != at.dimensions || k >= count) return kOzkVslErrorNoLeapfrog;
        const uint32_t coordinate = (at.coordinate + k) % count;
        if (at.coordinate + k >= count) advance(state, count);
        Column column;
        for (uint32_t c = 0; c < kDirections; ++c) column[c] = state.directions[c][coordinate];
        const uint32_t index = state.index;
        state = {};
        state.dimensions = 1;
        set_column(state, 0, column);
        set_point(state, 1, index);
        return kOzkVslSuccess;
    }

    static void skip(State& state, uint64_t count) {
        constexpr uint64_t kPoints = UINT32_MAX;
        const auto [d, coordinate] = position(state);
        const uint64_t coordinates = coordinate + count % d;
        const uint64_t points = count / d % kPoints + coordinates / d;
        state.coordinate = static_cast<uint32_t>(coordinates % d);
        set_point(state, d, static_cast<uint32_t>((state.index + kPoints - 1 + points) % kPoints + 1));
    }

    // ---- Generation in bulk ---------------------------------------------------------------------------
    //
    // From a multiple of eight on, the steps of eight rows are those of bits 0, 1, 0, 2, 0, 1, 0 and one
    // other: four vectors of direction numbers make eight vectors of results. A row is a point; points of few
    // coordinates are taken several to a row, of m = 2^k points: to the next row each of its points changes
    // by the direction number of bit k - 1 and by that of a higher bit, so rows follow each other in Gray
    // code order as points do.

    static constexpr uint32_t kNarrow = 16;  // points of fewer coordinates are joined
    static constexpr uint32_t kRows = 8;

    // Eight rows of `width` >= 4 words from row x on, which becomes the row after them.
    template <class Result, class Output>
    OZK_SIMD static Result* eight_rows(uint32_t* x, uint32_t width, const uint32_t* v0, const uint32_t* v1,
                                       const uint32_t* v2, const uint32_t* v3, Result* r, Output output) {
        using namespace simd;
        constexpr uint32_t kLanes = i32x4::kLanes;
        const auto at = [](const uint32_t* p)
                            OZK_SIMD_LAMBDA { return load(reinterpret_cast<const int32_t*>(p)); };
        const auto column = [&](i32x4 row, uint32_t j) OZK_SIMD_LAMBDA {
            const i32x4 step0 = at(v0 + j), step1 = at(v1 + j), step2 = at(v2 + j), step3 = at(v3 + j);
            Result* out = r + j;
            const auto emit = [&](i32x4 step) OZK_SIMD_LAMBDA {
                output.put(out, row);
                out += width;
                row = row ^ step;
            };
            emit(step0);
            emit(step1);
            emit(step0);
            emit(step2);
            emit(step0);
            emit(step1);
            emit(step0);
            emit(step3);
            store(reinterpret_cast<int32_t*>(x + j), row);
        };
        // The last four words may overlap the vector before them.
        const uint32_t last = width - kLanes;
        const i32x4 last_row = at(x + last);
        for (uint32_t j = 0; j < last; j += kLanes) column(at(x + j), j);
        column(last_row, last);
        return r + uint64_t{kRows} * width;
    }

    template <class Result, class Output>
    static Result* point(State& state, uint32_t d, Result* r, Output output) {
        convert(state.point, d, r, output);
        advance(state, d);
        return r + d;
    }

    template <class Result, class Output>
    static Result* whole_points(State& state, uint32_t d, uint32_t points, Result* r, Output output) {
        for (; points > 0 && state.index % kRows != 0; --points) r = point(state, d, r, output);
        for (; points >= kRows && state.index < 0 - kRows; points -= kRows) {
            state.index += kRows;
            const auto& v = state.directions;
            r = eight_rows(state.point, d, v[0], v[1], v[2], v[std::countr_zero(state.index)], r, output);
        }
        for (; points > 0; --points) r = point(state, d, r, output);
        return r;
    }

    template <class Result, class Output>
    static Result* narrow_points(State& state, uint32_t d, uint32_t points, Result* r, Output output) {
        // The fewest points, a power of two, that fill whole vectors and a row.
        uint32_t k = 1;
        while (d << k < kNarrow || (d << k) % simd::i32x4::kLanes != 0) ++k;
        const uint32_t block = kRows << k;
        constexpr uint32_t kFewestBlocks = 8;
        if (points >= kFewestBlocks * block) {
            for (; state.index % block != 0; --points) r = point(state, d, r, output);
            const uint32_t blocks = std::min(points / block, (0 - state.index) / block - 1);
            r = joined_points(state, d, k, blocks, r, output);
            points -= blocks * block;
        }
        for (; points > 0; --points) r = point(state, d, r, output);
        return r;
    }

    // blocks * 8 rows of 2^k points, from a multiple of so many on.
    template <class Result, class Output>
    static Result* joined_points(State& state, uint32_t d, uint32_t k, uint32_t blocks, Result* r,
                                 Output output) {
        constexpr uint32_t kWidest = 4 * kNarrow;
        uint32_t row[kWidest], steps[kDirections][kWidest];
        const uint32_t width = d << k, first = state.index >> k, end = first + blocks * kRows;
        if (blocks == 0) return r;
        for (uint32_t j = 0; j < width; j += d) {
            std::memcpy(row + j, state.point, d * sizeof *row);
            advance(state, d);
        }
        const uint32_t* const carried = state.directions[k - 1];
        const uint32_t changing = static_cast<uint32_t>(std::bit_width(first ^ end));
        for (uint32_t c = 0; c < std::max(changing, 3u); ++c) {
            const uint32_t* const higher = state.directions[k + c];
            for (uint32_t j = 0; j < width; ++j) steps[c][j] = carried[j % d] ^ higher[j % d];
        }
        for (uint32_t next = first + kRows; next <= end; next += kRows) {
            r = eight_rows(row, width, steps[0], steps[1], steps[2], steps[std::countr_zero(next)], r,
                           output);
        }
        state.index = end << k;
        std::memcpy(state.point, row, d * sizeof *row);
        return r;
    }
};

}  // namespace ozk::vsl
