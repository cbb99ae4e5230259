// Random streams: the C functions over the kernels of streams and distributions.

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <string_view>
#include <vector>

#include "api/kernel.hpp"
#include "ozk_vsl.h"

namespace ozk::api {
namespace {

OZK_KERNEL(new_stream, __vslNewStreamEx);
OZK_KERNEL(copy_stream, __vslCopyStream);
OZK_KERNEL(delete_stream, __vslDeleteStream);
OZK_KERNEL(leapfrog, __vslLeapfrogStream);
OZK_KERNEL(skip_ahead, __vslSkipAheadStream);
OZK_KERNEL(skip_ahead_words, __vslSkipAheadStreamEx);
OZK_KERNEL(save_file, __vslSaveStreamF);
OZK_KERNEL(load_file, __vslLoadStreamF);
OZK_KERNEL(image_size, __vslGetStreamSize);
OZK_KERNEL(save_memory, __vslSaveStreamM);
OZK_KERNEL(load_memory, ozk_vsl_load_stream);
OZK_KERNEL(float_uniform, _vslsRngUniform);
OZK_KERNEL(double_uniform, _vsldRngUniform);
OZK_KERNEL(integer_uniform, _vsliRngUniform);
OZK_KERNEL(bits32, _vsliRngUniformBits32);
OZK_KERNEL(bits64, _vsliRngUniformBits64);

// Both precisions of a distribution, found by the type of the results.
template <class Single, class Double>
struct Precisions {
    Kernel<Single> single;
    Kernel<Double> twice;
    auto& of(const float*) { return single; }
    auto& of(const double*) { return twice; }
};
#define OZK_DISTRIBUTION(name, Name)                                                          \
    constinit Precisions<decltype(_vslsRng##Name), decltype(_vsldRng##Name)> name##_kernels { \
        Kernel<decltype(_vslsRng##Name)>("_vslsRng" #Name),                                   \
            Kernel<decltype(_vsldRng##Name)>("_vsldRng" #Name)                                \
    }
OZK_DISTRIBUTION(gaussian, Gaussian);
OZK_DISTRIBUTION(gaussian_vectors, GaussianMV);
OZK_DISTRIBUTION(exponential, Exponential);
OZK_DISTRIBUTION(laplace, Laplace);
OZK_DISTRIBUTION(rayleigh, Rayleigh);
OZK_DISTRIBUTION(gumbel, Gumbel);
OZK_DISTRIBUTION(cauchy, Cauchy);
OZK_DISTRIBUTION(weibull, Weibull);
OZK_DISTRIBUTION(gamma, Gamma);
OZK_DISTRIBUTION(lognormal, Lognormal);
OZK_DISTRIBUTION(beta, Beta);
OZK_DISTRIBUTION(chi_square, ChiSquare);

// A distribution of integers, found in the same way.
template <class Function>
struct Integers {
    Kernel<Function> kernel;
    auto& of(const int32_t*) { return kernel; }
};
#define OZK_INTEGERS(name, Name)                                  \
    constinit Integers<decltype(_vsliRng##Name)> name##_kernels { \
        Kernel<decltype(_vsliRng##Name)>("_vsliRng" #Name)        \
    }
OZK_INTEGERS(bernoulli, Bernoulli);
OZK_INTEGERS(geometric, Geometric);
OZK_INTEGERS(binomial, Binomial);
OZK_INTEGERS(hypergeometric, Hypergeometric);
OZK_INTEGERS(poisson, Poisson);
OZK_INTEGERS(poisson_each, PoissonV);
OZK_INTEGERS(negative_binomial, Negbinomial);
OZK_INTEGERS(multinomial, Multinomial);

// How streams for several workers are made from one seed.
enum class Division {
    kNone,      // there is only one
    kLeapfrog,  // they take the numbers in turn
    kBlocks,    // each starts 2^block_bits numbers after the one before
    kSets,      // each has a parameter set of its own
    kApart      // they have nothing in common anyway
};

struct Generator {
    std::string_view name;
    uint32_t identifier;
    uint32_t sets;  // of a family, else 0
    Division division;
    int block_bits = 0;
};
constexpr Generator kGenerators[] = {{"MCG31M1", kOzkVslMcg31m1, 0, Division::kLeapfrog},
                                     {"R250", kOzkVslR250, 0, Division::kNone},
                                     {"MRG32K3A", kOzkVslMrg32k3a, 0, Division::kBlocks, 127},
                                     {"MCG59", kOzkVslMcg59, 0, Division::kLeapfrog},
                                     {"WH", kOzkVslWh, kOzkVslWhSets, Division::kSets},
                                     {"SOBOL", kOzkVslSobol, 0, Division::kNone},
                                     {"NIEDERREITER", kOzkVslNiederreiter, 0, Division::kNone},
                                     {"MT19937", kOzkVslMt19937, 0, Division::kBlocks, 63},
                                     {"MT2203", kOzkVslMt2203, kOzkVslMt2203Sets, Division::kSets},
                                     {"SFMT19937", kOzkVslSfmt19937, 0, Division::kBlocks, 63},
                                     {"NONDETERMINISTIC", kOzkVslNondeterministic, 0, Division::kApart},
                                     {"ARS5", kOzkVslArs5, 0, Division::kBlocks, 96},
                                     {"PHILOX4X32X10", kOzkVslPhilox4x32x10, 0, Division::kBlocks, 96}};

// Kernels count by 32 bits.
constexpr int64_t kPiece = int64_t{1} << 30;

OzkVslStream* record(ozk_stream* stream) { return reinterpret_cast<OzkVslStream*>(stream); }

void done(int32_t status) { require_done(kOzkRandom, status); }

void require_stream(const void* stream) {
    require(stream != nullptr, kOzkCodeNull, "The stream is null: create one with ozk_stream_new.");
}

// A failure with a file says which.
void done_with(const char* path, int32_t status) {
    if (status >= 0) return;
    const char* const text = family_text(kOzkRandom, status);
    throw Failure{status, std::string(path) + ": " + (text != nullptr ? text : "the kernel fails.")};
}

int32_t small_count(int64_t n) {
    require(n >= 0 && n <= INT32_MAX, kOzkCodeSize, "The length is negative or above 2^31 - 1.");
    return static_cast<int32_t>(n);
}

ozk_stream* new_seeded(uint32_t generator, int64_t n, const uint32_t* seed) {
    OzkVslStream* created = nullptr;
    const int32_t status = new_stream(&created, generator, small_count(n), seed);
    // A stream whose seed was not accepted exists.
    if (status < 0 && created != nullptr) delete_stream(&created);
    done(status);
    return reinterpret_cast<ozk_stream*>(created);
}

// The row of an identifier; a generator that is registered at run time has none.
const Generator* find_generator(uint32_t identifier) {
    const auto* const row = std::find_if(
        std::begin(kGenerators), std::end(kGenerators),
        [=](const Generator& each) { return identifier - each.identifier < std::max(each.sets, 1u); });
    return row == std::end(kGenerators) ? nullptr : row;
}

void skip_block(OzkVslStream* stream, int bits) {
    constexpr int kWordBits = 64;
    uint64_t count[3] = {};
    count[bits / kWordBits] = uint64_t{1} << (bits % kWordBits);
    done(bits < kWordBits ? skip_ahead(stream, count[0])
                          : skip_ahead_words(stream, static_cast<int32_t>(std::size(count)), count));
}

// Stream k before it is moved to its place; `before` is stream k - 1.
ozk_stream* worker_stream(const Generator& row, uint32_t generator, int64_t n, const uint32_t* seed,
                          int64_t k, const ozk_stream* before) {
    if (row.division == Division::kSets) return new_seeded(generator + static_cast<uint32_t>(k), n, seed);
    if (row.division != Division::kBlocks || k == 0) return new_seeded(generator, n, seed);
    OzkVslStream* copy = nullptr;
    done(copy_stream(&copy, reinterpret_cast<const OzkVslStream*>(before)));
    return reinterpret_cast<ozk_stream*>(copy);
}

void move_to_place(const Generator& row, ozk_stream* stream, int64_t k, int64_t count) {
    if (row.division == Division::kLeapfrog) {
        done(leapfrog(record(stream), static_cast<int32_t>(k), static_cast<int32_t>(count)));
    } else if (row.division == Division::kBlocks && k > 0) {
        skip_block(record(stream), row.block_bits);
    }
}

// Draws n numbers by generate(results, count, of them), piece after piece.
template <class T, class Generate>
ozk_status draw(const char* function, ozk_stream* stream, int64_t n, T* r, bool parameters_hold,
                const char* parameters, Generate generate) {
    return guarded(kOzkRandom, function, [&] {
        require_stream(stream);
        require(n >= 0, kOzkCodeSize, "The length is negative: pass the number of results.");
        require(r != nullptr || n == 0, kOzkCodeNull, "The array of results is null: pass one.");
        require(parameters_hold, kOzkCodeArgument, parameters);
        for (int64_t first = 0; first < n; first += kPiece) {
            done(generate(record(stream), static_cast<int32_t>(std::min(kPiece, n - first)), r + first));
        }
    });
}

// Draws n numbers of a distribution, which checks its parameters itself: `range` says what it wants.
template <class T, class Precisions, class... Parameters>
ozk_status distribution(const char* function, Precisions& kernels, int32_t method, ozk_stream* stream,
                        int64_t n, T* r, const char* range, Parameters... parameters) {
    return draw(function, stream, n, r, true, "", [&](auto* s, int32_t count, T* out) {
        const int32_t status = kernels.of(out)(method, s, count, out, parameters...);
        require(status != kOzkVslErrorBadArguments, kOzkCodeArgument, range);
        return status;
    });
}

template <class T>
ozk_status gaussian(const char* function, ozk_stream* stream, int64_t n, T* r, T mean, T sigma,
                    int32_t method) {
    const bool holds = std::isfinite(mean) && std::isfinite(sigma) && sigma > 0 && method >= kOzkBoxMuller &&
                       method <= kOzkInverse;
    return draw(
        function, stream, n, r, holds,
        "The parameters are out of range: pass a finite mean, sigma > 0 and one of the three methods.",
        [&](auto* s, int32_t count, T* out) {
            return gaussian_kernels.of(out)(method, s, count, out, mean, sigma);
        });
}

template <class T>
ozk_status gaussian_vectors(const char* function, ozk_stream* stream, int64_t n, T* r, int64_t dimension,
                            const T* mean, int32_t storage, const T* factor, int32_t method) {
    return guarded(kOzkRandom, function, [&] {
        require_stream(stream);
        require(n >= 0, kOzkCodeSize, "The number of vectors is negative.");
        require(dimension > 0 && dimension <= INT32_MAX, kOzkCodeSize,
                "The dimension is below 1 or above 2^31 - 1.");
        require((r != nullptr || n == 0) && mean != nullptr && factor != nullptr, kOzkCodeNull,
                "An array is null: pass the results, the means and the factor.");
        for (int64_t first = 0; first < n; first += kPiece) {
            const int32_t status = gaussian_vectors_kernels.of(r)(
                method, record(stream), static_cast<int32_t>(std::min(kPiece, n - first)),
                r + first * dimension, static_cast<int32_t>(dimension), storage, mean, factor);
            require(status != kOzkVslErrorBadArguments, kOzkCodeArgument,
                    "There is no such method or storage: pass one of the three of each.");
            done(status);
        }
    });
}

constexpr int32_t kClamped = int32_t{kOzkVslUniformStandard} | int32_t{kOzkVslMethodAccurate};
// Checked here for all numbers, since the kernel sees them piece after piece.
bool is_poisson_mean(double mean) { return mean > 0 && mean <= 2.1e9; }

constexpr const char* kInterval = "The interval is empty or not finite: pass finite a < b.";

}  // namespace
}  // namespace ozk::api

using namespace ozk::api;

ozk_status ozk_generator_find(const char* name, uint32_t* generator) {
    return guarded(kOzkRandom, "ozk_generator_find", [&] {
        require(name != nullptr && generator != nullptr, kOzkCodeNull,
                "The name or the place for the identifier is null: pass both.");
        const std::string_view text = name;
        const size_t colon = text.find(':');
        for (const Generator& each : kGenerators) {
            if (text.substr(0, colon) != each.name) continue;
            uint32_t set = 0;
            if (colon != text.npos) {
                const char* const end = text.data() + text.size();
                const auto [stop, failure] = std::from_chars(text.data() + colon + 1, end, set);
                if (failure != std::errc() || stop != end || set >= each.sets) {
                    throw Failure{
                        kOzkCodeArgument,
                        std::string(text) +
                            " is no parameter set: pass WH:0 to WH:272 or MT2203:0 to MT2203:6023."};
                }
            }
            *generator = each.identifier + set;
            return;
        }
        std::string names;
        for (const Generator& each : kGenerators) names.append(names.empty() ? "" : ", ").append(each.name);
        throw Failure{kOzkCodeArgument,
                      "There is no generator named " + std::string(text) + ": pass one of " + names + "."};
    });
}

ozk_status ozk_stream_new(uint32_t generator, int64_t n, const uint32_t* seed, ozk_stream** stream) {
    return guarded(kOzkRandom, "ozk_stream_new", [&] {
        require(stream != nullptr, kOzkCodeNull, "The place for the stream is null: pass one.");
        require(seed != nullptr || n == 0, kOzkCodeNull, "The seed is null: pass n words.");
        *stream = new_seeded(generator, n, seed);
    });
}

ozk_status ozk_streams_new(uint32_t generator, int64_t n, const uint32_t* seed, int64_t count,
                           ozk_stream** streams) {
    return guarded(kOzkRandom, "ozk_streams_new", [&] {
        require(count >= 0 && count <= INT32_MAX, kOzkCodeSize,
                "The number of streams is negative or above 2^31 - 1.");
        require(streams != nullptr || count == 0, kOzkCodeNull, "The array of streams is null: pass one.");
        require(seed != nullptr || n == 0, kOzkCodeNull, "The seed is null: pass n words.");
        const Generator* const row = find_generator(generator);
        require(row != nullptr && row->division != Division::kNone, kOzkCodeArgument,
                "The numbers of the generator cannot be divided: pass one that can be, such as MRG32K3A.");
        require(row->division != Division::kSets || count <= row->sets - (generator - row->identifier),
                kOzkCodeArgument,
                "The family has fewer parameter sets: ask for fewer streams or pass MRG32K3A.");
        struct Made {
            std::vector<ozk_stream*> streams;
            ~Made() { std::for_each(streams.begin(), streams.end(), ozk_stream_delete); }
        } made;
        made.streams.reserve(static_cast<size_t>(count));
        for (int64_t k = 0; k < count; ++k) {
            made.streams.push_back(
                worker_stream(*row, generator, n, seed, k, k == 0 ? nullptr : made.streams.back()));
            move_to_place(*row, made.streams.back(), k, count);
        }
        std::copy(made.streams.begin(), made.streams.end(), streams);
        made.streams.clear();
    });
}

ozk_status ozk_stream_copy(const ozk_stream* stream, ozk_stream** copy) {
    return guarded(kOzkRandom, "ozk_stream_copy", [&] {
        require_stream(stream);
        require(copy != nullptr, kOzkCodeNull, "The place for the copy is null: pass one.");
        OzkVslStream* created = nullptr;
        done(copy_stream(&created, reinterpret_cast<const OzkVslStream*>(stream)));
        *copy = reinterpret_cast<ozk_stream*>(created);
    });
}

void ozk_stream_delete(ozk_stream* stream) {
    if (stream == nullptr) return;
    guarded(kOzkRandom, "ozk_stream_delete", [&] {
        OzkVslStream* deleted = record(stream);
        done(delete_stream(&deleted));
    });
}

ozk_status ozk_stream_leapfrog(ozk_stream* stream, int64_t k, int64_t count) {
    return guarded(kOzkRandom, "ozk_stream_leapfrog", [&] {
        require_stream(stream);
        require(k >= 0 && k < count && count <= INT32_MAX, kOzkCodeArgument,
                "There is no such sub-stream: pass 0 <= k < count < 2^31.");
        done(leapfrog(record(stream), static_cast<int32_t>(k), static_cast<int32_t>(count)));
    });
}

ozk_status ozk_stream_skip_ahead(ozk_stream* stream, uint64_t count) {
    return guarded(kOzkRandom, "ozk_stream_skip_ahead", [&] {
        require_stream(stream);
        done(skip_ahead(record(stream), count));
    });
}

ozk_status ozk_stream_skip_ahead_words(ozk_stream* stream, int64_t n, const uint64_t* count) {
    return guarded(kOzkRandom, "ozk_stream_skip_ahead_words", [&] {
        require_stream(stream);
        require(count != nullptr || n == 0, kOzkCodeNull, "The count is null: pass n words.");
        done(skip_ahead_words(record(stream), small_count(n), count));
    });
}

ozk_status ozk_stream_save(const ozk_stream* stream, const char* path) {
    return guarded(kOzkRandom, "ozk_stream_save", [&] {
        require_stream(stream);
        require(path != nullptr, kOzkCodeNull, "The path is null: pass one.");
        done_with(path, save_file(reinterpret_cast<const OzkVslStream*>(stream), path, -1));
    });
}

ozk_status ozk_stream_load(const char* path, ozk_stream** stream) {
    return guarded(kOzkRandom, "ozk_stream_load", [&] {
        require(path != nullptr && stream != nullptr, kOzkCodeNull,
                "The path or the place for the stream is null: pass both.");
        OzkVslStream* loaded = nullptr;
        done_with(path, load_file(&loaded, path, -1));
        *stream = reinterpret_cast<ozk_stream*>(loaded);
    });
}

ozk_status ozk_stream_size(const ozk_stream* stream, int64_t* size) {
    return guarded(kOzkRandom, "ozk_stream_size", [&] {
        require_stream(stream);
        require(size != nullptr, kOzkCodeNull, "The place for the size is null: pass one.");
        *size = image_size(reinterpret_cast<const OzkVslStream*>(stream));
    });
}

ozk_status ozk_stream_save_block(const ozk_stream* stream, int64_t size, void* block) {
    return guarded(kOzkRandom, "ozk_stream_save_block", [&] {
        require_stream(stream);
        require(block != nullptr, kOzkCodeNull, "The block is null: pass one.");
        const auto* const saved = reinterpret_cast<const OzkVslStream*>(stream);
        const int32_t needed = image_size(saved);
        require(size >= needed, kOzkCodeSize, "The block is too small: pass one of ozk_stream_size bytes.");
        // The kernel leaves some bytes as they are; nothing of the caller's memory shall end up in an image.
        std::memset(block, 0, static_cast<size_t>(needed));
        done(save_memory(saved, block));
    });
}

ozk_status ozk_stream_load_block(int64_t size, const void* block, ozk_stream** stream) {
    return guarded(kOzkRandom, "ozk_stream_load_block", [&] {
        require(size >= 0, kOzkCodeSize, "The size is negative: pass that of the block.");
        require(block != nullptr && stream != nullptr, kOzkCodeNull,
                "The block or the place for the stream is null: pass both.");
        OzkVslStream* loaded = nullptr;
        done(load_memory(&loaded, block, static_cast<uint64_t>(size)));
        *stream = reinterpret_cast<ozk_stream*>(loaded);
    });
}

ozk_status ozk_s_uniform(ozk_stream* stream, int64_t n, float* r, float a, float b) {
    return draw(
        "ozk_s_uniform", stream, n, r, a < b && std::isfinite(b - a), kInterval,
        [&](auto* s, int32_t count, float* out) { return float_uniform(kClamped, s, count, out, a, b); });
}

ozk_status ozk_d_uniform(ozk_stream* stream, int64_t n, double* r, double a, double b) {
    return draw(
        "ozk_d_uniform", stream, n, r, a < b && std::isfinite(b - a), kInterval,
        [&](auto* s, int32_t count, double* out) { return double_uniform(kClamped, s, count, out, a, b); });
}

ozk_status ozk_i_uniform(ozk_stream* stream, int64_t n, int32_t* r, int32_t a, int32_t b) {
    return draw("ozk_i_uniform", stream, n, r, a < b, kInterval, [&](auto* s, int32_t count, int32_t* out) {
        return integer_uniform(int32_t{kOzkVslUniformStandard}, s, count, out, a, b);
    });
}

ozk_status ozk_bits32(ozk_stream* stream, int64_t n, uint32_t* r) {
    return draw("ozk_bits32", stream, n, r, true, "", [&](auto* s, int32_t count, uint32_t* out) {
        return bits32(int32_t{kOzkVslUniformStandard}, s, count, out);
    });
}

ozk_status ozk_bits64(ozk_stream* stream, int64_t n, uint64_t* r) {
    return draw("ozk_bits64", stream, n, r, true, "", [&](auto* s, int32_t count, uint64_t* out) {
        return bits64(int32_t{kOzkVslUniformStandard}, s, count, out);
    });
}

ozk_status ozk_s_gaussian(ozk_stream* stream, int64_t n, float* r, float mean, float sigma, int32_t method) {
    return gaussian("ozk_s_gaussian", stream, n, r, mean, sigma, method);
}
ozk_status ozk_d_gaussian(ozk_stream* stream, int64_t n, double* r, double mean, double sigma,
                          int32_t method) {
    return gaussian("ozk_d_gaussian", stream, n, r, mean, sigma, method);
}

// One precision, of type T and letter p, of each distribution.
#define OZK_LOCATION_SCALE(p, T, name)                                                                    \
    ozk_status ozk_##p##_##name(ozk_stream* stream, int64_t n, T* r, T displacement, T scale) {           \
        return distribution("ozk_" #p "_" #name, name##_kernels, int32_t{kOzkVslInverse}, stream, n, r,   \
                            "The parameters are out of range: pass a finite displacement and scale > 0.", \
                            displacement, scale);                                                         \
    }
#define OZK_SHAPE(p, T, name, method)                                                                       \
    ozk_status ozk_##p##_##name(ozk_stream* stream, int64_t n, T* r, T shape, T displacement, T scale) {    \
        return distribution(                                                                                \
            "ozk_" #p "_" #name, name##_kernels, method, stream, n, r,                                      \
            "The parameters are out of range: pass shape > 0, a finite displacement and scale > 0.", shape, \
            displacement, scale);                                                                           \
    }
#define OZK_OTHERS(p, T)                                                                                     \
    OZK_LOCATION_SCALE(p, T, exponential)                                                                    \
    OZK_LOCATION_SCALE(p, T, laplace)                                                                        \
    OZK_LOCATION_SCALE(p, T, rayleigh)                                                                       \
    OZK_LOCATION_SCALE(p, T, gumbel)                                                                         \
    OZK_LOCATION_SCALE(p, T, cauchy)                                                                         \
    OZK_SHAPE(p, T, weibull, kOzkVslInverse)                                                                 \
    OZK_SHAPE(p, T, gamma, kOzkVslRejection)                                                                 \
    ozk_status ozk_##p##_lognormal(ozk_stream* stream, int64_t n, T* r, T mean, T sigma, T displacement,     \
                                   T scale) {                                                                \
        return distribution("ozk_" #p "_lognormal", lognormal_kernels, kOzkVslLognormalBoxMullerPairs,       \
                            stream, n, r,                                                                    \
                            "The parameters are out of range: pass finite ones, sigma > 0 and scale > 0.",   \
                            mean, sigma, displacement, scale);                                               \
    }                                                                                                        \
    ozk_status ozk_##p##_beta(ozk_stream* stream, int64_t n, T* r, T a, T b, T displacement, T scale) {      \
        return distribution("ozk_" #p "_beta", beta_kernels, kOzkVslRejection, stream, n, r,                 \
                            "The parameters are out of range: pass shapes 1e-30 to 1e30, a finite "          \
                            "displacement and scale > 0.",                                                   \
                            a, b, displacement, scale);                                                      \
    }                                                                                                        \
    ozk_status ozk_##p##_chi_square(ozk_stream* stream, int64_t n, T* r, int32_t degrees) {                  \
        return distribution("ozk_" #p "_chi_square", chi_square_kernels, kOzkVslRejection, stream, n, r,     \
                            "The degrees of freedom are below 1: pass 1 or more.", degrees);                 \
    }                                                                                                        \
    ozk_status ozk_##p##_gaussian_vectors(ozk_stream* stream, int64_t n, T* r, int64_t dimension,            \
                                          const T* mean, int32_t storage, const T* factor, int32_t method) { \
        return gaussian_vectors("ozk_" #p "_gaussian_vectors", stream, n, r, dimension, mean, storage,       \
                                factor, method);                                                             \
    }
OZK_OTHERS(s, float)
OZK_OTHERS(d, double)

ozk_status ozk_i_bernoulli(ozk_stream* stream, int64_t n, int32_t* r, double p) {
    return draw("ozk_i_bernoulli", stream, n, r, p >= 0 && p <= 1,
                "The probability is out of range: pass one from 0 to 1.",
                [&](auto* s, int32_t count, int32_t* out) {
                    return bernoulli_kernels.kernel(int32_t{kOzkVslUniformStandard}, s, count, out, p);
                });
}

ozk_status ozk_i_geometric(ozk_stream* stream, int64_t n, int32_t* r, double p) {
    return distribution("ozk_i_geometric", geometric_kernels, kOzkVslInverse, stream, n, r,
                        "The probability is out of range: pass one above 0, up to 1.", p);
}

ozk_status ozk_i_binomial(ozk_stream* stream, int64_t n, int32_t* r, int32_t trials, double p) {
    return distribution("ozk_i_binomial", binomial_kernels, kOzkVslRejection, stream, n, r,
                        "The parameters are out of range: pass trials >= 0 and a probability from 0 to 1.",
                        trials, p);
}

ozk_status ozk_i_hypergeometric(ozk_stream* stream, int64_t n, int32_t* r, int32_t size, int32_t drawn,
                                int32_t marked) {
    return distribution(
        "ozk_i_hypergeometric", hypergeometric_kernels, kOzkVslRejection, stream, n, r,
        "The parameters are out of range: pass size >= 0, and drawn and marked from 0 to size.", size, drawn,
        marked);
}

ozk_status ozk_i_poisson(ozk_stream* stream, int64_t n, int32_t* r, double mean, int32_t method) {
    return distribution(
        "ozk_i_poisson", poisson_kernels, method, stream, n, r,
        "The parameters are out of range: pass 0 < mean <= 2.1e9 and one of the four methods.", mean);
}

ozk_status ozk_i_poisson_each(ozk_stream* stream, int64_t n, int32_t* r, const double* means) {
    return draw("ozk_i_poisson_each", stream, n, r,
                n <= 0 || (means != nullptr && std::all_of(means, means + n, is_poisson_mean)),
                "The means are null or one is out of range: pass 0 < mean <= 2.1e9 for each number.",
                [=](auto* s, int32_t count, int32_t* out) {
                    return poisson_each_kernels.kernel(int32_t{kOzkVslInverse}, s, count, out,
                                                       means + (out - r));
                });
}

ozk_status ozk_i_negative_binomial(ozk_stream* stream, int64_t n, int32_t* r, double successes,
                                   double probability) {
    return distribution("ozk_i_negative_binomial", negative_binomial_kernels, kOzkVslInverse, stream, n, r,
                        "The parameters are out of range: pass successes > 0 and 0 < probability < 1.",
                        successes, probability);
}

ozk_status ozk_i_multinomial(ozk_stream* stream, int64_t n, int32_t* r, int32_t trials, int64_t outcomes,
                             const double* probabilities) {
    return guarded(kOzkRandom, "ozk_i_multinomial", [&] {
        require_stream(stream);
        require(n >= 0, kOzkCodeSize, "The number of vectors is negative.");
        require(outcomes > 0 && outcomes <= INT32_MAX, kOzkCodeSize,
                "The number of outcomes is below 1 or above 2^31 - 1.");
        require((r != nullptr || n == 0) && probabilities != nullptr, kOzkCodeNull,
                "An array is null: pass the results and the probabilities.");
        for (int64_t first = 0; first < std::max(n, int64_t{1}); first += kPiece) {
            const int32_t status = multinomial_kernels.kernel(
                int32_t{kOzkVslInverse}, record(stream), static_cast<int32_t>(std::min(kPiece, n - first)),
                r + first * outcomes, trials, static_cast<int32_t>(outcomes), probabilities);
            require(status != kOzkVslErrorBadArguments, kOzkCodeArgument,
                    "The parameters are out of range: pass trials >= 0 and probabilities of sum 1.");
            done(status);
        }
    });
}
