// The arguments at which a function is measured: a fixed sequence that depends on the oracle's row, the
// number of samples and the seed alone, and any part of which can be produced on its own.
//
//   listed      special numbers, the row's points and table breakpoints, each with neighbours, and the hard
//   cases dense       the binades that the row names: stratified, so evenly spaced with one random place per
//   stratum all         every binade of the format within the domain, subnormals included, in the same way
//   uniform     the row's usual interval
//
// Two arguments: all pairs of listed ones; then independent pairs over all binades, pairs as the row pairs
// them, and uniform pairs, a third each. A scalar second argument: sixteen values of it, each with all of the
// first.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/accuracy/oracles.hpp"

namespace ozk::accuracy {

inline constexpr int kBlock = 1024;
inline constexpr int kScalars = 16;

// SplitMix64's finalizer: sample i of a sequence is mix(seed + i * odd).
inline uint64_t mix(uint64_t z) {
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
    z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
    return z ^ (z >> 31);
}

template <class T>
class Arguments {
  public:
    Arguments(const Oracle& oracle, int64_t samples, uint64_t seed, const std::string& hard_cases_directory);

    // Only uniform samples of the usual interval(s).
    static Arguments usual(const Oracle& oracle, int64_t samples, uint64_t seed);

    // Every number of the format, in order of its bits; only for one-argument functions of 32-bit numbers.
    static Arguments exhaustive(const Oracle& oracle);

    bool are_all() const { return every_number_; }
    int64_t blocks() const;

    // Writes block `block` to a (and b, where the function has a second argument); returns its length.
    int fill(int64_t block, T* a, T* b) const;

  private:
    struct Binades {
        int first, count;  // exponents first .. first + count - 1; the lowest one is the subnormals
    };

    Arguments(const Oracle& oracle) : oracle_(&oracle) {}
    void one(int64_t index, T& a) const;
    void two(int64_t index, T& a, T& b) const;
    T in_binades(Binades binades, int64_t index, int64_t count, uint64_t random) const;

    const Oracle* oracle_;
    uint64_t seed_ = 0;
    std::vector<T> listed_;
    int64_t random_ = 0;  // samples besides the listed ones
    int64_t size_ = 0;    // for each value of a scalar second argument
    Binades all_{}, dense_{};
    bool usual_only_ = false;
    bool every_number_ = false;
};

// The hard cases of a function: the numbers (one a line, hexadecimal; '#' starts a comment) of
// <directory>/<function>.txt, none when there is no such file.
std::vector<double> hard_cases(const std::string& directory, std::string_view function);

}  // namespace ozk::accuracy
