// Random streams: numbers of a basic generator, uniform and normal.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "ozk/error.hpp"

namespace ozk {

enum class Gaussian {
    box_muller = kOzkBoxMuller,             // two uniforms for one number
    box_muller_pairs = kOzkBoxMullerPairs,  // two uniforms for two numbers
    inverse = kOzkInverse                   // the inverse distribution function of one uniform
};

// A stream of random numbers. A value: a copy goes on with the same numbers from where the original stands.
// One thread at a time uses a stream; different streams may be used by different threads freely.
class stream {
  public:
    // By the generator's name: MCG31M1, MCG59, MRG32K3A, MT19937 ...; "WH:17" and "MT2203:17" are parameter
    // sets of a family. Throws error for an unknown name or a generator that is not built.
    explicit stream(const std::string& generator, uint32_t seed = 1)
        : stream(generator, std::span<const uint32_t>(&seed, 1)) {}
    // Seeded with several 32-bit words.
    stream(const std::string& generator, std::span<const uint32_t> seed) {
        uint32_t identifier = 0;
        detail::check(ozk_generator_find(generator.c_str(), &identifier));
        detail::check(ozk_stream_new(identifier, static_cast<int64_t>(seed.size()), seed.data(), &stream_));
    }
    stream(const stream& other) { detail::check(ozk_stream_copy(other.stream_, &stream_)); }
    stream(stream&& other) noexcept : stream_(std::exchange(other.stream_, nullptr)) {}
    stream& operator=(stream other) noexcept {
        std::swap(stream_, other.stream_);
        return *this;
    }
    ~stream() { ozk_stream_delete(stream_); }

    // Fill `out` with numbers uniform on [a, b), a < b. The sequence does not depend on how it is cut into
    // calls.
    void uniform(std::span<double> out, double a = 0, double b = 1) {
        detail::check(ozk_d_uniform(stream_, static_cast<int64_t>(out.size()), out.data(), a, b));
    }
    void uniform(std::span<float> out, float a = 0, float b = 1) {
        detail::check(ozk_s_uniform(stream_, static_cast<int64_t>(out.size()), out.data(), a, b));
    }
    // Integers a <= r < b.
    void uniform(std::span<int32_t> out, int32_t a, int32_t b) {
        detail::check(ozk_i_uniform(stream_, static_cast<int64_t>(out.size()), out.data(), a, b));
    }
    // Independent uniform bits.
    void bits(std::span<uint32_t> out) {
        detail::check(ozk_bits32(stream_, static_cast<int64_t>(out.size()), out.data()));
    }
    void bits(std::span<uint64_t> out) {
        detail::check(ozk_bits64(stream_, static_cast<int64_t>(out.size()), out.data()));
    }
    // Fills `out` with normal numbers, sigma > 0.
    void gaussian(std::span<double> out, double mean = 0, double sigma = 1,
                  Gaussian method = Gaussian::inverse) {
        detail::check(ozk_d_gaussian(stream_, static_cast<int64_t>(out.size()), out.data(), mean, sigma,
                                     static_cast<int32_t>(method)));
    }

    // Becomes sub-stream k of `count`: numbers k, k + count, k + 2 count, ... of its own.
    void leapfrog(int64_t k, int64_t count) { detail::check(ozk_stream_leapfrog(stream_, k, count)); }
    // Skips `count` numbers.
    void skip_ahead(uint64_t count) { detail::check(ozk_stream_skip_ahead(stream_, count)); }
    // Skips count[0] + count[1] 2^64 + ... numbers.
    void skip_ahead(std::span<const uint64_t> count) {
        detail::check(ozk_stream_skip_ahead_words(stream_, static_cast<int64_t>(count.size()), count.data()));
    }

    // Streams for `count` workers that draw at the same time, from one seed, by the best way that the generator
    // offers: see ozk_streams_new. Throws error where it offers none.
    static std::vector<stream> for_workers(const std::string& generator, int64_t count,
                                           std::span<const uint32_t> seed) {
        uint32_t identifier = 0;
        detail::check(ozk_generator_find(generator.c_str(), &identifier));
        std::vector<ozk_stream*> made(count < 0 ? 0 : static_cast<size_t>(count));
        std::vector<stream> streams;
        streams.reserve(made.size());
        detail::check(
            ozk_streams_new(identifier, static_cast<int64_t>(seed.size()), seed.data(), count, made.data()));
        for (ozk_stream* each : made) streams.push_back(stream(each));
        return streams;
    }
    static std::vector<stream> for_workers(const std::string& generator, int64_t count, uint32_t seed = 1) {
        return for_workers(generator, count, std::span<const uint32_t>(&seed, 1));
    }

  private:
    explicit stream(ozk_stream* created) : stream_(created) {}

    ozk_stream* stream_ = nullptr;
};

}  // namespace ozk
