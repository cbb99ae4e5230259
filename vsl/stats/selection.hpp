// Order statistics of values as integers: the map from floating-point values to integers of the same order,
// and the selection of any number of ranks.
#pragma once

#include <bit>
#include <cstdint>
#include <type_traits>

namespace ozk::stats {

// An integer whose order is the totalOrder predicate of IEEE 754, the order of the radix sorts: -0 before +0,
// NaNs at the ends by their sign. Selection on integers is safe and repeatable whatever the data.
template <class Real>
using KeyOf = std::conditional_t<sizeof(Real) == 8, int64_t, int32_t>;

template <class Real>
KeyOf<Real> to_key(Real x) {
    using Key = KeyOf<Real>;
    using Bits = std::make_unsigned_t<Key>;
    const Key bits = std::bit_cast<Key>(x);
    return bits ^ static_cast<Key>(static_cast<Bits>(bits >> (8 * sizeof(Key) - 1)) >> 1);
}

// The same map leads back.
template <class Real>
Real from_key(KeyOf<Real> key) {
    return std::bit_cast<Real>(to_key(std::bit_cast<Real>(key)));
}

// Rearranges keys[0 .. n-1] so that each of the `count` ascending ranks holds what it would hold after
// sorting. Time n log(count + 1) on average, n log n at worst; no memory but some KB of stack.
template <class Key>
void place_ranks(Key* keys, int64_t n, const int64_t* ranks, int64_t count);

extern template void place_ranks(int64_t*, int64_t, const int64_t*, int64_t);
extern template void place_ranks(int32_t*, int64_t, const int64_t*, int64_t);

// The value at real position `position` of a sorted sequence of n values that at(k) gives: linear between
// neighbours. Where nothing lies between, the neighbour itself, so that infinities stay what they are.
template <class At>
double interpolate(int64_t n, double position, At at) {
    const int64_t k = static_cast<int64_t>(position);
    const double low = at(k), share = position - static_cast<double>(k);
    if (share == 0 || k + 1 >= n) return low;
    const double high = at(k + 1);
    return low == high ? low : low + (high - low) * share;
}

// The median of the keys, which it rearranges.
template <class Real>
double median(KeyOf<Real>* keys, int64_t n) {
    const int64_t ranks[2] = {(n - 1) / 2, n / 2};
    place_ranks(keys, n, ranks, 1 + (ranks[0] != ranks[1]));
    return interpolate(n, static_cast<double>(n - 1) / 2,
                       [=](int64_t k) { return static_cast<double>(from_key<Real>(keys[k])); });
}

}  // namespace ozk::stats
