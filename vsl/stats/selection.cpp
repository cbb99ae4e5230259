// Selection by partitioning about pivots from a sample.
//
// A partition without branches on keys costs little more than reading and writing them. The pivot is taken
// from a pseudo-random sample: for one rank it is put a little beyond the rank's place in the sample, so that
// the next step is left with the smaller part almost surely, and one median takes about 1.6 n steps (Floyd
// and Rivest, "Expected time bounds for selection", CACM 18, 1975); for several ranks it is put at the middle
// one. When the pivots were bad too often, the rest is sorted by a method without bad cases.

#include "vsl/stats/selection.hpp"

#include <algorithm>
#include <cmath>

namespace ozk::stats {
namespace {

constexpr int64_t kSortTo = 48;  // keys, below which sorting is the fastest selection
constexpr int64_t kMaxSample = 1023;

// Moves the keys that belong before `pivot` (with kEqual: also those equal to it) to the front; returns how
// many they are.
template <bool kEqual, class Key>
int64_t partition(Key* keys, int64_t n, Key pivot) {
    Key* end = keys;
    for (int64_t i = 0; i < n; ++i) {
        const Key key = keys[i];
        keys[i] = *end;
        *end = key;
        end += kEqual ? key <= pivot : key < pivot;
    }
    return end - keys;
}

template <class Key>
Key choose_pivot(const Key* keys, int64_t n, int64_t rank, bool alone) {
    Key sample[kMaxSample];
    const int64_t size = std::clamp<int64_t>(n / 32, 7, kMaxSample);
    uint64_t state = static_cast<uint64_t>(n);
    for (int64_t i = 0; i < size; ++i) {
        state = state * 6364136223846793005u + 1442695040888963407u;
        sample[i] = keys[static_cast<int64_t>((static_cast<unsigned __int128>(state) * n) >> 64)];
    }
    const double share = (static_cast<double>(rank) + 0.5) / static_cast<double>(n);
    double place = share * static_cast<double>(size);
    if (alone) {  // two deviations of the rank's place in the sample, towards the larger part
        const double margin = 2 * std::sqrt(static_cast<double>(size) * share * (1 - share)) + 1;
        place += share < 0.5 ? margin : -margin;
    }
    Key* const chosen = sample + std::clamp<int64_t>(static_cast<int64_t>(place), 1, size - 1);
    std::nth_element(sample, chosen, sample + size);
    return *chosen;
}

}  // namespace

template <class Key>
void place_ranks(Key* keys, int64_t n, const int64_t* ranks, int64_t count) {
    // A part that waits while the one before it is done; depth is bounded by the rounds.
    struct Part {
        int64_t first, last;
        const int64_t* ranks;
        int64_t count;
        int rounds;
    };
    constexpr int kRounds = 2 * 64;
    Part waiting[kRounds + 1];
    int parts = 0;
    waiting[parts++] = {0, n, ranks, count,
                        std::min(kRounds, 2 * static_cast<int>(std::bit_width(static_cast<uint64_t>(n))))};
    while (parts > 0) {
        Part part = waiting[--parts];
        while (part.count > 0) {
            Key* const here = keys + part.first;
            const int64_t size = part.last - part.first;
            if (size <= kSortTo || part.rounds-- == 0) {
                std::sort(here, here + size);
                break;
            }
            const int64_t rank = part.ranks[part.count / 2];
            const bool alone = part.ranks[part.count - 1] - part.ranks[0] <= 1;
            const Key pivot = choose_pivot(here, size, rank - part.first, alone);
            int64_t middle = part.first + partition<false>(here, size, pivot);
            const bool smallest = middle == part.first;
            // Nothing is smaller than the pivot: its equals come next and are in place.
            if (smallest) middle += partition<true>(here, size, pivot);
            const int64_t before = std::lower_bound(part.ranks, part.ranks + part.count, middle) - part.ranks;
            if (!smallest && before > 0 && before < part.count) {
                waiting[parts++] = {middle, part.last, part.ranks + before, part.count - before, part.rounds};
                part.last = middle;
                part.count = before;
            } else if (!smallest && before > 0) {
                part.last = middle;
            } else {
                part.first = middle;
                part.ranks += before;
                part.count -= before;
            }
        }
    }
}

template void place_ranks(int64_t*, int64_t, const int64_t*, int64_t);
template void place_ranks(int32_t*, int64_t, const int64_t*, int64_t);

}  // namespace ozk::stats
