// Random streams: numbers of a basic generator, uniform or of a distribution.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <ranges>
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

enum class Poisson {
    ptpe = kOzkPtpe,                                   // rejection with the least hat
    transformed_rejection = kOzkTransformedRejection,  // rejection
    ratio_of_uniforms = kOzkRatioOfUniforms,           // rejection
    inverse = kOzkPoissonInverse                       // the inverse distribution function of one uniform
};

// A dimension of a Sobol sequence beyond the built-in ones: a primitive polynomial over GF(2), bit i being the
// coefficient of x^i, and as many initial numbers as its degree, number j (from 1) odd and below 2^j.
struct sobol_dimension {
    uint32_t polynomial;
    std::vector<uint32_t> initial;
};

namespace detail {
// Floats or doubles, one after the other, that can be written: a vector, an array, a span.
template <class Out>
concept reals = std::ranges::contiguous_range<Out> && std::ranges::sized_range<Out> &&
    (std::same_as<std::ranges::range_reference_t<Out>, float&> ||
     std::same_as<std::ranges::range_reference_t<Out>, double&>);
template <reals Out>
using real = std::ranges::range_value_t<Out>;
}  // namespace detail

// A stream of random numbers. A value: a copy goes on with the same numbers from where the original stands.
// One thread at a time uses a stream; different streams may be used by different threads freely.
class stream {
  public:
    // By the generator's name: MCG31M1, MCG59, MRG32K3A, MT19937, PHILOX4X32X10, ARS5, NONDETERMINISTIC ...;
    // "WH:17" and "MT2203:17" are parameter sets of a family. The seed of SOBOL and NIEDERREITER is the number
    // of dimensions: see sobol and niederreiter below. Throws error for an unknown name.
    explicit stream(const std::string& generator, uint32_t seed = 1)
        : stream(generator, std::span<const uint32_t>(&seed, 1)) {}
    // Seeded with several 32-bit words.
    stream(const std::string& generator, std::span<const uint32_t> seed) {
        uint32_t identifier = 0;
        detail::check(ozk_generator_find(generator.c_str(), &identifier));
        detail::check(ozk_stream_new(identifier, static_cast<int64_t>(seed.size()), seed.data(), &stream_));
    }
    // Quasi-random sequences: points of the unit cube that fill it evenly, coordinate after coordinate, from the
    // point after the origin on. Sobol's sequence has 40 built-in dimensions, of which the first `dimensions`
    // are taken, before those of `further`, 84 in all; Niederreiter's 318, before those of irreducible
    // polynomials, 636 in all.
    static stream sobol(uint32_t dimensions, std::span<const sobol_dimension> further = {}) {
        std::vector<uint32_t> seed = quasi_seed(dimensions, further.size());
        for (const sobol_dimension& dimension : further) {
            seed.push_back(dimension.polynomial);
            seed.insert(seed.end(), dimension.initial.begin(), dimension.initial.end());
        }
        return stream("SOBOL", seed);
    }
    static stream niederreiter(uint32_t dimensions, std::span<const uint32_t> further = {}) {
        std::vector<uint32_t> seed = quasi_seed(dimensions, further.size());
        seed.insert(seed.end(), further.begin(), further.end());
        return stream("NIEDERREITER", seed);
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
    template <detail::reals Out>
    void uniform(Out&& out, detail::real<Out> a = 0, detail::real<Out> b = 1) {
        fill(ozk_s_uniform, ozk_d_uniform, out, a, b);
    }
    // Integers a <= r < b.
    void uniform(std::span<int32_t> out, int32_t a, int32_t b) { fill(ozk_i_uniform, out, a, b); }
    // Independent uniform bits.
    void bits(std::span<uint32_t> out) { fill(ozk_bits32, out); }
    void bits(std::span<uint64_t> out) { fill(ozk_bits64, out); }
    // Fill `out`, floats or doubles, with numbers of a distribution; scales, sigma and shapes > 0. With
    // y = (x - displacement) / scale, P(X <= x) or the density is what ozk.h says.
    // Normal numbers.
    template <detail::reals Out>
    void gaussian(Out&& out, detail::real<Out> mean = 0, detail::real<Out> sigma = 1,
                  Gaussian method = Gaussian::inverse) {
        fill(ozk_s_gaussian, ozk_d_gaussian, out, mean, sigma, static_cast<int32_t>(method));
    }
    // 1 - exp(-y), y >= 0.
    template <detail::reals Out>
    void exponential(Out&& out, detail::real<Out> displacement = 0, detail::real<Out> scale = 1) {
        fill(ozk_s_exponential, ozk_d_exponential, out, displacement, scale);
    }
    // exp(y) / 2 for y < 0, else 1 - exp(-y) / 2.
    template <detail::reals Out>
    void laplace(Out&& out, detail::real<Out> displacement = 0, detail::real<Out> scale = 1) {
        fill(ozk_s_laplace, ozk_d_laplace, out, displacement, scale);
    }
    // 1 - exp(-y^2), y >= 0.
    template <detail::reals Out>
    void rayleigh(Out&& out, detail::real<Out> displacement = 0, detail::real<Out> scale = 1) {
        fill(ozk_s_rayleigh, ozk_d_rayleigh, out, displacement, scale);
    }
    // 1 - exp(-exp(y)): the smallest of many values.
    template <detail::reals Out>
    void gumbel(Out&& out, detail::real<Out> displacement = 0, detail::real<Out> scale = 1) {
        fill(ozk_s_gumbel, ozk_d_gumbel, out, displacement, scale);
    }
    // 1/2 + atan(y) / pi.
    template <detail::reals Out>
    void cauchy(Out&& out, detail::real<Out> displacement = 0, detail::real<Out> scale = 1) {
        fill(ozk_s_cauchy, ozk_d_cauchy, out, displacement, scale);
    }
    // 1 - exp(-y^shape), y >= 0.
    template <detail::reals Out>
    void weibull(Out&& out, detail::real<Out> shape, detail::real<Out> displacement = 0,
                 detail::real<Out> scale = 1) {
        fill(ozk_s_weibull, ozk_d_weibull, out, shape, displacement, scale);
    }
    // Density proportional to y^(shape - 1) exp(-y), y > 0.
    template <detail::reals Out>
    void gamma(Out&& out, detail::real<Out> shape, detail::real<Out> displacement = 0,
               detail::real<Out> scale = 1) {
        fill(ozk_s_gamma, ozk_d_gamma, out, shape, displacement, scale);
    }
    // displacement + scale exp(G), G normal with this mean and sigma.
    template <detail::reals Out>
    void lognormal(Out&& out, detail::real<Out> mean = 0, detail::real<Out> sigma = 1,
                   detail::real<Out> displacement = 0, detail::real<Out> scale = 1) {
        fill(ozk_s_lognormal, ozk_d_lognormal, out, mean, sigma, displacement, scale);
    }
    // Density proportional to y^(p - 1) (1 - y)^(q - 1), 0 <= y <= 1.
    template <detail::reals Out>
    void beta(Out&& out, detail::real<Out> p, detail::real<Out> q, detail::real<Out> displacement = 0,
              detail::real<Out> scale = 1) {
        fill(ozk_s_beta, ozk_d_beta, out, p, q, displacement, scale);
    }
    // The sum of the squares of `degrees` standard normal numbers.
    template <detail::reals Out>
    void chi_square(Out&& out, int32_t degrees) {
        fill(ozk_s_chi_square, ozk_d_chi_square, out, degrees);
    }
    // Fill `out` with normal vectors, row after row, of as many numbers d as there are means, with the covariance
    // T T'. T is lower triangular, given row after row: whole (d d numbers), packed (d (d + 1) / 2) or its diagonal
    // (d). Throw error where the sizes do not fit.
    template <detail::reals Out>
    void gaussian_vectors(Out&& out, std::span<const detail::real<Out>> mean,
                          std::span<const detail::real<Out>> factor, Gaussian method = Gaussian::inverse) {
        const std::span numbers(out);
        detail::check(of<detail::real<Out>>(ozk_s_gaussian_vectors, ozk_d_gaussian_vectors)(
            stream_, vectors(numbers.size(), mean.size()), numbers.data(), static_cast<int64_t>(mean.size()),
            mean.data(), storage(factor.size(), mean.size()), factor.data(), static_cast<int32_t>(method)));
    }

    // Fill `out` with integers.
    // 1 with probability p, else 0; 0 <= p <= 1.
    void bernoulli(std::span<int32_t> out, double p) { fill(ozk_i_bernoulli, out, p); }
    // The failures before the first success, of probability p; 0 < p <= 1. What is above 2^31 - 1 is given as that.
    void geometric(std::span<int32_t> out, double p) { fill(ozk_i_geometric, out, p); }
    // The successes of `trials` trials, of probability p each; trials >= 0, 0 <= p <= 1.
    void binomial(std::span<int32_t> out, int32_t trials, double p) { fill(ozk_i_binomial, out, trials, p); }
    // The marked ones among `drawn` ones of a lot of `size`, of which `marked` are marked; none is put back.
    void hypergeometric(std::span<int32_t> out, int32_t size, int32_t drawn, int32_t marked) {
        fill(ozk_i_hypergeometric, out, size, drawn, marked);
    }
    // exp(-mean) mean^k / k!, 0 < mean <= 2.1e9; with one mean or with a mean for each number, as many as
    // there are numbers.
    void poisson(std::span<int32_t> out, double mean, Poisson method = Poisson::ptpe) {
        fill(ozk_i_poisson, out, mean, static_cast<int32_t>(method));
    }
    void poisson(std::span<int32_t> out, std::span<const double> means) {
        const int64_t n = means.size() == out.size() ? static_cast<int64_t>(out.size()) : -1;  // refused
        detail::check(ozk_i_poisson_each(stream_, n, out.data(), means.data()));
    }
    // The failures before that success, of real number > 0, of trials that succeed with 0 < probability < 1.
    void negative_binomial(std::span<int32_t> out, double successes, double probability) {
        fill(ozk_i_negative_binomial, out, successes, probability);
    }
    // Vectors, row after row, of how often each of the outcomes comes in `trials` trials.
    void multinomial(std::span<int32_t> out, int32_t trials, std::span<const double> probabilities) {
        detail::check(ozk_i_multinomial(stream_, vectors(out.size(), probabilities.size()), out.data(),
                                        trials, static_cast<int64_t>(probabilities.size()),
                                        probabilities.data()));
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

    // Save the stream with all that waits in it, to a file, which is replaced, or to a block of bytes; and go on
    // from there. What is loaded is checked; what is no stream throws error.
    void save(const std::string& path) const { detail::check(ozk_stream_save(stream_, path.c_str())); }
    static stream load(const std::string& path) {
        stream loaded;
        detail::check(ozk_stream_load(path.c_str(), &loaded.stream_));
        return loaded;
    }
    std::vector<std::byte> save() const {
        int64_t size = 0;
        detail::check(ozk_stream_size(stream_, &size));
        std::vector<std::byte> block(static_cast<size_t>(size));
        detail::check(ozk_stream_save_block(stream_, size, block.data()));
        return block;
    }
    static stream load(std::span<const std::byte> block) {
        stream loaded;
        detail::check(
            ozk_stream_load_block(static_cast<int64_t>(block.size()), block.data(), &loaded.stream_));
        return loaded;
    }

  private:
    // The function of one precision.
    template <class Real, class Single, class Double>
    static auto of(Single* single, Double* twice) {
        if constexpr (std::same_as<Real, float>) {
            return single;
        } else {
            return twice;
        }
    }
    template <class Function, class T, class... Parameters>
    void fill(Function* function, std::span<T> out, Parameters... parameters) {
        detail::check(function(stream_, static_cast<int64_t>(out.size()), out.data(), parameters...));
    }
    template <class Single, class Double, class Out, class... Parameters>
    void fill(Single* single, Double* twice, Out& out, Parameters... parameters) {
        fill(of<detail::real<Out&>>(single, twice), std::span(out), parameters...);
    }

    stream() = default;  // null, until a stream is loaded into it
    explicit stream(ozk_stream* created) : stream_(created) {}

    static std::vector<uint32_t> quasi_seed(uint32_t built_in, size_t further) {
        if (further == 0) return {built_in};
        constexpr uint32_t kByPolynomials = 1;
        return {built_in + static_cast<uint32_t>(further), kByPolynomials, built_in};
    }

    // Sizes that do not fit become a count or a storage that is refused.
    static int64_t vectors(size_t numbers, size_t dimension) {
        if (dimension == 0) return 0;
        return numbers % dimension == 0 ? static_cast<int64_t>(numbers / dimension) : -1;
    }
    static int32_t storage(size_t numbers, size_t dimension) {
        return numbers == dimension                         ? kOzkFactorDiagonal
               : numbers == dimension * dimension           ? kOzkFactorFull
               : numbers == dimension * (dimension + 1) / 2 ? kOzkFactorPacked
                                                            : -1;
    }

    ozk_stream* stream_ = nullptr;
};

}  // namespace ozk
