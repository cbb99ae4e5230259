// Random numbers: 1,000 at a time, from each basic generator and of each method, against the standard library
// and GSL; and words and doubles, 100,000 at a time, of the generators that other families' words come from.

#include <gsl/gsl_qrng.h>
#include <gsl/gsl_randist.h>
#include <gsl/gsl_rng.h>

#include <array>
#include <memory>
#include <random>

#include "bench/driver.hpp"
#include "ozk_vsl.h"

namespace ozk::bench {
namespace {

constexpr int kNumbers = 1000;
constexpr uint32_t kSeed = 12345;
using Numbers = std::array<double, kNumbers>;

// Contender that fills an array by one call a number.
template <class Next>
Contender one_by_one(std::string name, Next next) {
    return {std::move(name), [next, r = std::make_shared<Numbers>()]() mutable {
                for (double& x : *r) x = next();
                keep(r->data());
            }};
}

template <class Engine, class Distribution>
Contender standard(const std::string& name, Distribution distribution) {
    return one_by_one("std " + name,
                      [engine = Engine(kSeed), distribution]() mutable { return distribution(engine); });
}

template <double (*kDraw)(gsl_rng*)>
Contender gsl(const std::string& name, const gsl_rng_type* type) {
    const std::shared_ptr<gsl_rng> generator(gsl_rng_alloc(type), gsl_rng_free);
    return one_by_one("GSL " + name, [generator] { return kDraw(generator.get()); });
}

double uniform(gsl_rng* g) { return gsl_rng_uniform(g); }
double ziggurat(gsl_rng* g) { return gsl_ran_gaussian_ziggurat(g, 1); }
double ratio(gsl_rng* g) { return gsl_ran_gaussian_ratio_method(g, 1); }

// Fills an array by one call of a distribution; nothing when the library lacks the generator or the
// distribution.
std::vector<Contender> ours(const char* function, int32_t method, uint32_t generator) {
    const auto create = kernel<decltype(__vslNewStreamEx)>("__vslNewStreamEx");
    const auto remove = kernel<decltype(__vslDeleteStream)>("__vslDeleteStream");
    const auto draw = kernel<decltype(_vsldRngUniform)>(function);
    OzkVslStream* made = nullptr;
    if (!create || !remove || !draw || create(&made, generator, 1, &kSeed) != kOzkVslSuccess) return {};
    const std::shared_ptr<OzkVslStream> stream(made, [remove](OzkVslStream* s) { remove(&s); });
    const auto r = std::make_shared<Numbers>();
    if (draw(method, stream.get(), kNumbers, r->data(), 0, 1) != kOzkVslSuccess) return {};
    return {{"ours", [=] {
                 draw(method, stream.get(), kNumbers, r->data(), 0, 1);
                 keep(r->data());
             }}};
}

Case uniform_case(const char* name, uint32_t generator, std::vector<Contender> same_kind) {
    using Unit = std::uniform_real_distribution<double>;
    Case c{std::string("random/uniform/") + name, kNumbers,
           ours("_vsldRngUniform", kOzkVslUniformStandard, generator), std::move(same_kind)};
    c.peers.push_back(standard<std::mt19937_64>("mt19937_64", Unit()));
    c.peers.push_back(gsl<uniform>("taus2", gsl_rng_taus2));
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

// ---- Long arrays --------------------------------------------------------------------------------------

constexpr int kLong = 100000;

template <class Result, class Draw>
std::vector<Contender> long_arrays(uint32_t generator, uint32_t seed, Draw draw) {
    const auto create = kernel<decltype(__vslNewStreamEx)>("__vslNewStreamEx");
    const auto remove = kernel<decltype(__vslDeleteStream)>("__vslDeleteStream");
    OzkVslStream* made = nullptr;
    if (!create || !remove || !draw || create(&made, generator, 1, &seed) != kOzkVslSuccess) return {};
    const std::shared_ptr<OzkVslStream> stream(made, [remove](OzkVslStream* s) { remove(&s); });
    const auto r = std::make_shared<std::vector<Result>>(kLong);
    return {{"ours", [=] {
                 if constexpr (std::is_same_v<Result, double>) {
                     draw(kOzkVslUniformStandard, stream.get(), kLong, r->data(), 0, 1);
                 } else {
                     draw(kOzkVslUniformStandard, stream.get(), kLong, r->data());
                 }
                 keep(r->data());
             }}};
}

template <class Result, class Next>
Contender long_peer(std::string name, Next next) {
    return {std::move(name), [next, r = std::make_shared<std::vector<Result>>(kLong)]() mutable {
                for (Result& x : *r) x = static_cast<Result>(next());
                keep(r->data());
            }};
}

// Words, or coordinates of points.
Case words_case(const std::string& name, uint32_t generator, uint32_t seed = kSeed) {
    return {
        "random/words/" + name,
        kLong,
        long_arrays<uint32_t>(generator, seed, kernel<decltype(_vsliRngUniformBits)>("_vsliRngUniformBits")),
        {long_peer<uint32_t>("std mt19937", std::mt19937(kSeed))}};
}

Case doubles_case(const std::string& name, uint32_t generator, uint32_t seed = kSeed) {
    return {"random/doubles/" + name,
            kLong,
            long_arrays<double>(generator, seed, kernel<decltype(_vsldRngUniform)>("_vsldRngUniform")),
            {}};
}

// A GSL quasi-random sequence of as many dimensions as it has.
Contender gsl_points(const std::string& name, const gsl_qrng_type* type) {
    const std::shared_ptr<gsl_qrng> points(gsl_qrng_alloc(type, type->max_dimension), gsl_qrng_free);
    return {"GSL " + name, [points, r = std::make_shared<std::vector<double>>(kLong)] {
                const size_t d = points->dimension;
                for (size_t i = 0; i + d <= kLong; i += d) gsl_qrng_get(points.get(), r->data() + i);
                keep(r->data());
            }};
}

std::vector<Case> long_cases() {
    struct Row {
        const char* name;
        uint32_t generator, seed;
        std::vector<Contender> peers;
    };
    const Row rows[] = {{"ARS5", kOzkVslArs5, kSeed, {}},
                        {"PHILOX4X32X10", kOzkVslPhilox4x32x10, kSeed, {}},
                        {"nondeterministic", kOzkVslNondeterministic, kSeed, {}},
                        {"Sobol, 1 dimension", kOzkVslSobol, 1, {}},
                        {"Sobol, 40 dimensions", kOzkVslSobol, 40, {gsl_points("sobol", gsl_qrng_sobol)}},
                        {"Niederreiter, 12 dimensions",
                         kOzkVslNiederreiter,
                         12,
                         {gsl_points("niederreiter_2", gsl_qrng_niederreiter_2)}},
                        {"Niederreiter, 318 dimensions", kOzkVslNiederreiter, 318, {}}};
    std::vector<Case> all;
    for (const Row& row : rows) {
        all.push_back(words_case(row.name, row.generator, row.seed));
        all.push_back(doubles_case(row.name, row.generator, row.seed));
        all.back().peers = row.peers;
    }
    return all;
}

std::vector<Case> cases() {
    using Unit = std::uniform_real_distribution<double>;
    const auto mersenne = [] {
        return std::vector{standard<std::mt19937>("mt19937", Unit()),
                           gsl<uniform>("mt19937", gsl_rng_mt19937)};
    };
    std::vector<Case> all = {
        uniform_case(
            "MCG31M1", kOzkVslMcg31m1,
            {standard<std::minstd_rand>("minstd_rand", Unit()), gsl<uniform>("minstd", gsl_rng_minstd)}),
        uniform_case("MCG59", kOzkVslMcg59, {gsl<uniform>("rand48", gsl_rng_rand48)}),
        uniform_case("R250", kOzkVslR250, {gsl<uniform>("r250", gsl_rng_r250)}),
        uniform_case("WH", kOzkVslWh, {}),
        uniform_case("MRG32K3A", kOzkVslMrg32k3a,
                     {gsl<uniform>("cmrg", gsl_rng_cmrg), gsl<uniform>("mrg", gsl_rng_mrg)}),
        uniform_case("MT19937", kOzkVslMt19937, mersenne()),
        uniform_case("MT2203", kOzkVslMt2203, mersenne()),
        uniform_case("SFMT19937", kOzkVslSfmt19937, mersenne()),
        uniform_case("ARS5", kOzkVslArs5, {}),
        uniform_case("PHILOX4X32X10", kOzkVslPhilox4x32x10, {}),
        gaussian_case("Box-Muller", kOzkVslGaussianBoxMuller),
        gaussian_case("Box-Muller pairs", kOzkVslGaussianBoxMullerPairs),
        gaussian_case("inverse", kOzkVslGaussianInverse),
    };
    for (Case& c : long_cases()) all.push_back(std::move(c));
    return all;
}

std::vector<Section> run(const std::string& filter, bool planned) {
    return {{"random", comparison(matching(cases(), filter, planned), "number")}};
}

}  // namespace

Family random_family() { return {"random", names_of<cases>, run}; }

}  // namespace ozk::bench
