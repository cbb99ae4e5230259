// Random numbers from each basic generator, words and doubles in long buffers and doubles in short ones, and of
// each method, against the standard library and GSL.

#include <gsl/gsl_randist.h>
#include <gsl/gsl_rng.h>

#include <memory>
#include <random>
#include <vector>

#include "bench/driver.hpp"
#include "ozk_vsl.h"

namespace ozk::bench {
namespace {

constexpr int kNumbers = 1000, kLong = 100000;
constexpr uint32_t kSeed = 12345;

// Contender that fills an array by one call a number.
template <class Next>
Contender one_by_one(std::string name, int n, Next next) {
    using Result = decltype(next());
    return {std::move(name), [next, r = std::vector<Result>(static_cast<size_t>(n))]() mutable {
                for (Result& x : r) x = next();
                keep(r.data());
            }};
}

template <class Engine, class Distribution>
Contender standard(const std::string& name, Distribution distribution, int n = kNumbers) {
    return one_by_one("std " + name, n,
                      [engine = Engine(kSeed), distribution]() mutable { return distribution(engine); });
}

template <auto kDraw>
Contender gsl(const std::string& name, const gsl_rng_type* type, int n = kNumbers) {
    const std::shared_ptr<gsl_rng> generator(gsl_rng_alloc(type), gsl_rng_free);
    return one_by_one("GSL " + name, n, [generator] { return kDraw(generator.get()); });
}

uint32_t word(gsl_rng* g) { return static_cast<uint32_t>(gsl_rng_get(g)); }
double uniform(gsl_rng* g) { return gsl_rng_uniform(g); }
double ziggurat(gsl_rng* g) { return gsl_ran_gaussian_ziggurat(g, 1); }
double ratio(gsl_rng* g) { return gsl_ran_gaussian_ratio_method(g, 1); }

// A stream, empty when the library lacks the generator.
std::shared_ptr<OzkVslStream> make_stream(uint32_t generator) {
    const auto create = kernel<decltype(__vslNewStreamEx)>("__vslNewStreamEx");
    const auto remove = kernel<decltype(__vslDeleteStream)>("__vslDeleteStream");
    OzkVslStream* made = nullptr;
    if (!create || !remove || create(&made, generator, 1, &kSeed) != kOzkVslSuccess) return {};
    return {made, [remove](OzkVslStream* s) { remove(&s); }};
}

// Fills an array by one call of a distribution; nothing when the library lacks the generator or the
// distribution.
std::vector<Contender> ours(const char* function, int32_t method, uint32_t generator, int n = kNumbers) {
    const auto draw = kernel<decltype(_vsldRngUniform)>(function);
    const auto stream = make_stream(generator);
    const auto r = std::make_shared<std::vector<double>>(n);
    if (!stream || !draw || draw(method, stream.get(), n, r->data(), 0, 1) != kOzkVslSuccess) return {};
    return {{"ours", [=] {
                 draw(method, stream.get(), n, r->data(), 0, 1);
                 keep(r->data());
             }}};
}

// Fills an array with words as they are, of up to four 32-bit words each.
std::vector<Contender> our_words(uint32_t generator) {
    const auto draw = kernel<decltype(_vsliRngUniformBits)>("_vsliRngUniformBits");
    const auto stream = make_stream(generator);
    if (!stream || !draw) return {};
    return {{"ours", [draw, stream, r = std::make_shared<std::vector<uint32_t>>(4 * kLong)] {
                 draw(kOzkVslUniformStandard, stream.get(), kLong, r->data());
                 keep(r->data());
             }}};
}

Case word_case(const char* name, uint32_t generator, std::vector<Contender> same_kind) {
    Case c{std::string("random/words/") + name, kLong, our_words(generator), std::move(same_kind)};
    c.peers.push_back(one_by_one("std mt19937_64", kLong, std::mt19937_64(kSeed)));
    c.peers.push_back(gsl<word>("taus2", gsl_rng_taus2, kLong));
    return c;
}

Case uniform_case(const char* name, uint32_t generator, std::vector<Contender> same_kind, int n = kNumbers) {
    using Unit = std::uniform_real_distribution<double>;
    Case c{std::string(n == kLong ? "random/doubles/" : "random/uniform/") + name, double(n),
           ours("_vsldRngUniform", kOzkVslUniformStandard, generator, n), std::move(same_kind)};
    c.peers.push_back(standard<std::mt19937_64>("mt19937_64", Unit(), n));
    c.peers.push_back(gsl<uniform>("taus2", gsl_rng_taus2, n));
    return c;
}

Case gaussian_case(const char* name, int32_t method) {
    return {std::string("random/gaussian/") + name,
            kNumbers,
            ours("_vsldRngGaussian", method, kOzkVslMt19937),
            {standard<std::mt19937_64>("mt19937_64 normal", std::normal_distribution<double>()),
             gsl<ziggurat>("mt19937 ziggurat", gsl_rng_mt19937), gsl<ratio>("mt19937 ratio", gsl_rng_mt19937),
             gsl<ziggurat>("taus2 ziggurat", gsl_rng_taus2)}};
}

std::vector<Case> cases() {
    using Unit = std::uniform_real_distribution<double>;
    const auto mersenne = [](int n) {
        return std::vector{standard<std::mt19937>("mt19937", Unit(), n),
                           gsl<uniform>("mt19937", gsl_rng_mt19937, n)};
    };
    const auto mersenne_words = [] {
        return std::vector{one_by_one("std mt19937", kLong, std::mt19937(kSeed)),
                           gsl<word>("mt19937", gsl_rng_mt19937, kLong)};
    };
    return {
        word_case("MCG31M1", kOzkVslMcg31m1,
                  {one_by_one("std minstd_rand", kLong, std::minstd_rand(kSeed)),
                   gsl<word>("minstd", gsl_rng_minstd, kLong)}),
        word_case("MCG59", kOzkVslMcg59, {gsl<word>("rand48", gsl_rng_rand48, kLong)}),
        word_case("R250", kOzkVslR250, {gsl<word>("r250", gsl_rng_r250, kLong)}),
        word_case("WH", kOzkVslWh, {}),
        word_case("MRG32K3A", kOzkVslMrg32k3a,
                  {gsl<word>("cmrg", gsl_rng_cmrg, kLong), gsl<word>("mrg", gsl_rng_mrg, kLong)}),
        word_case("MT19937", kOzkVslMt19937, mersenne_words()),
        word_case("MT2203", kOzkVslMt2203, mersenne_words()),
        word_case("SFMT19937", kOzkVslSfmt19937, mersenne_words()),
        uniform_case("MCG31M1", kOzkVslMcg31m1, {gsl<uniform>("minstd", gsl_rng_minstd, kLong)}, kLong),
        uniform_case("MCG59", kOzkVslMcg59, {gsl<uniform>("rand48", gsl_rng_rand48, kLong)}, kLong),
        uniform_case("R250", kOzkVslR250, {gsl<uniform>("r250", gsl_rng_r250, kLong)}, kLong),
        uniform_case("WH", kOzkVslWh, {}, kLong),
        uniform_case("MRG32K3A", kOzkVslMrg32k3a, {gsl<uniform>("cmrg", gsl_rng_cmrg, kLong)}, kLong),
        uniform_case("MT19937", kOzkVslMt19937, mersenne(kLong), kLong),
        uniform_case("MT2203", kOzkVslMt2203, mersenne(kLong), kLong),
        uniform_case("SFMT19937", kOzkVslSfmt19937, mersenne(kLong), kLong),
        uniform_case(
            "MCG31M1", kOzkVslMcg31m1,
            {standard<std::minstd_rand>("minstd_rand", Unit()), gsl<uniform>("minstd", gsl_rng_minstd)}),
        uniform_case("MCG59", kOzkVslMcg59, {gsl<uniform>("rand48", gsl_rng_rand48)}),
        uniform_case("R250", kOzkVslR250, {gsl<uniform>("r250", gsl_rng_r250)}),
        uniform_case("WH", kOzkVslWh, {}),
        uniform_case("MRG32K3A", kOzkVslMrg32k3a,
                     {gsl<uniform>("cmrg", gsl_rng_cmrg), gsl<uniform>("mrg", gsl_rng_mrg)}),
        uniform_case("MT19937", kOzkVslMt19937, mersenne(kNumbers)),
        uniform_case("MT2203", kOzkVslMt2203, mersenne(kNumbers)),
        uniform_case("SFMT19937", kOzkVslSfmt19937, mersenne(kNumbers)),
        uniform_case("ARS5", kOzkVslArs5, {}),
        uniform_case("PHILOX4X32X10", kOzkVslPhilox4x32x10, {}),
        gaussian_case("Box-Muller", kOzkVslGaussianBoxMuller),
        gaussian_case("Box-Muller pairs", kOzkVslGaussianBoxMullerPairs),
        gaussian_case("inverse", kOzkVslGaussianInverse),
    };
}

std::vector<Section> run(const std::string& filter, bool planned) {
    return {{"random", comparison(matching(cases(), filter, planned), "number")}};
}

}  // namespace

Family random_family() { return {"random", names_of<cases>, run}; }

}  // namespace ozk::bench
