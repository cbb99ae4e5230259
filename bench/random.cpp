// Random numbers from each basic generator, words and doubles in long buffers and doubles in short ones, and of
// each method, against the standard library and GSL.

#include <gsl/gsl_qrng.h>
#include <gsl/gsl_randist.h>
#include <gsl/gsl_rng.h>

#include <Eigen/Dense>
#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <type_traits>
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
std::shared_ptr<OzkVslStream> make_stream(uint32_t generator, uint32_t seed = kSeed) {
    const auto create = kernel<decltype(__vslNewStreamEx)>("__vslNewStreamEx");
    const auto remove = kernel<decltype(__vslDeleteStream)>("__vslDeleteStream");
    OzkVslStream* made = nullptr;
    if (!create || !remove || create(&made, generator, 1, &seed) != kOzkVslSuccess) return {};
    return {made, [remove](OzkVslStream* s) { remove(&s); }};
}

// Fills an array by one call of a distribution; nothing when the library lacks the generator or the
// distribution.
std::vector<Contender> ours(const char* function, int32_t method, std::shared_ptr<OzkVslStream> stream,
                            int n = kNumbers) {
    const auto draw = kernel<decltype(_vsldRngUniform)>(function);
    const auto r = std::make_shared<std::vector<double>>(n);
    if (!stream || !draw || draw(method, stream.get(), n, r->data(), 0, 1) != kOzkVslSuccess) return {};
    return {{"ours", [=] {
                 draw(method, stream.get(), n, r->data(), 0, 1);
                 keep(r->data());
             }}};
}

// Fills an array with words as they are, of up to four 32-bit words each.
std::vector<Contender> our_words(std::shared_ptr<OzkVslStream> stream) {
    const auto draw = kernel<decltype(_vsliRngUniformBits)>("_vsliRngUniformBits");
    if (!stream || !draw) return {};
    return {{"ours", [draw, stream, r = std::make_shared<std::vector<uint32_t>>(4 * kLong)] {
                 draw(kOzkVslUniformStandard, stream.get(), kLong, r->data());
                 keep(r->data());
             }}};
}

// A generator, the seed of its stream, and the peers of the same kind.
struct Row {
    std::string name;
    uint32_t generator;
    std::vector<Contender> words;
    std::function<std::vector<Contender>(int n)> doubles;
    uint32_t seed = kSeed;
};

Case word_case(const Row& row) {
    Case c{"random/words/" + row.name, kLong, our_words(make_stream(row.generator, row.seed)), row.words};
    c.peers.push_back(one_by_one("std mt19937_64", kLong, std::mt19937_64(kSeed)));
    c.peers.push_back(gsl<word>("taus2", gsl_rng_taus2, kLong));
    return c;
}

Case uniform_case(const Row& row, int n) {
    using Unit = std::uniform_real_distribution<double>;
    Case c{(n == kLong ? "random/doubles/" : "random/uniform/") + row.name, double(n),
           ours("_vsldRngUniform", kOzkVslUniformStandard, make_stream(row.generator, row.seed), n),
           row.doubles(n)};
    c.peers.push_back(standard<std::mt19937_64>("mt19937_64", Unit(), n));
    c.peers.push_back(gsl<uniform>("taus2", gsl_rng_taus2, n));
    return c;
}

// Stands for a distribution that the standard library has not.
struct None {};

// A distribution of Real numbers, in long buffers unless n says otherwise: draw(stream, n, r) through the kernel
// library; one of GSL and one of the standard library.
template <class Real, auto kDraw, class Distribution, class Ours>
Case distribution_case(const std::string& name, Distribution distribution, Ours draw, int n = kLong) {
    const auto stream = make_stream(kOzkVslMt19937);
    const auto r = std::make_shared<std::vector<Real>>(n);
    Case c{"random/" + name, double(n), {}, {}};
    if (stream && draw(stream.get(), n, r->data()) == kOzkVslSuccess) {
        c.ours.push_back({"ours", [=] {
                              draw(stream.get(), n, r->data());
                              keep(r->data());
                          }});
    }
    if constexpr (!std::is_same_v<Distribution, None>) {
        c.peers.push_back(standard<std::mt19937_64>("mt19937_64", distribution, n));
    }
    c.peers.push_back(gsl<kDraw>("mt19937", gsl_rng_mt19937, n));
    c.peers.push_back(gsl<kDraw>("taus2", gsl_rng_taus2, n));
    return c;
}

// Uniform numbers by std's engine through the formula `transform`, where std has no such distribution.
template <class Transform>
struct ByFormula {
    std::uniform_real_distribution<double> uniform;
    Transform transform;
    template <class Engine>
    double operator()(Engine& engine) {
        return transform(uniform(engine));
    }
};
template <class Transform>
ByFormula<Transform> by_formula(Transform transform) {
    return {std::uniform_real_distribution<double>(), transform};
}

// std's ratio of gamma numbers.
struct BetaOfGammas {
    std::gamma_distribution<double> p, q;
    template <class Engine>
    double operator()(Engine& engine) {
        const double x = p(engine);
        return x / (x + q(engine));
    }
};

template <double (*kFunction)(const gsl_rng*, double), int kNumerator, int kDenominator = 1>
double gsl_one(gsl_rng* g) {
    return kFunction(g, double(kNumerator) / kDenominator);
}
template <double (*kFunction)(const gsl_rng*, double, double), int kTenths, int kTenths2>
double gsl_two(gsl_rng* g) {
    return kFunction(g, kTenths / 10.0, kTenths2 / 10.0);
}

// A kernel with its method and parameters; kOzkVslErrorBadArguments where the library lacks it.
template <class Function, class Real, class... Parameters>
auto drawing(const char* name, Parameters... parameters) {
    return [=, draw = kernel<Function>(name)](OzkVslStream* stream, int32_t n, Real* r) {
        return draw ? draw(0, stream, n, r, parameters...) : int32_t{kOzkVslErrorBadArguments};
    };
}
#define OZK_OURS(p, Real, Name, ...) \
    drawing<decltype(_vsl##p##Rng##Name), Real>("_vsl" #p "Rng" #Name, __VA_ARGS__)

// Of one precision: p is its letter.
#define OZK_DISTRIBUTIONS(all, p, Real)                                                                      \
    do {                                                                                                     \
        const std::string s = "/" #p;                                                                        \
        const auto log = [](double u) { return -std::log(u); };                                              \
        all.push_back(distribution_case<Real, gsl_one<gsl_ran_exponential, 1>>(                              \
            "exponential" + s, std::exponential_distribution<double>(),                                      \
            OZK_OURS(p, Real, Exponential, 0, 1)));                                                          \
        all.push_back(distribution_case<Real, gsl_two<gsl_ran_lognormal, 0, 10>>(                            \
            "lognormal" + s, std::lognormal_distribution<double>(),                                          \
            OZK_OURS(p, Real, Lognormal, 0, 1, 0, 1)));                                                      \
        all.push_back(distribution_case<Real, gsl_one<gsl_ran_rayleigh, 1>>(                                 \
            "rayleigh" + s, by_formula([=](double u) { return std::sqrt(log(u)); }),                         \
            OZK_OURS(p, Real, Rayleigh, 0, 1)));                                                             \
        all.push_back(distribution_case<Real, gsl_one<gsl_ran_cauchy, 1>>(                                   \
            "cauchy" + s, std::cauchy_distribution<double>(), OZK_OURS(p, Real, Cauchy, 0, 1)));             \
        all.push_back(distribution_case<Real, gsl_one<gsl_ran_laplace, 1>>(                                  \
            "laplace" + s, by_formula([=](double u) { return u < 0.5 ? -log(2 * u) : log(2 - 2 * u); }),     \
            OZK_OURS(p, Real, Laplace, 0, 1)));                                                              \
        all.push_back(distribution_case<Real, gsl_two<gsl_ran_weibull, 10, 15>>(                             \
            "weibull 1.5" + s, std::weibull_distribution<double>(1.5),                                       \
            OZK_OURS(p, Real, Weibull, 1.5, 0, 1)));                                                         \
        all.push_back(distribution_case<Real, gsl_two<gsl_ran_gumbel1, 10, 10>>(                             \
            "gumbel" + s, std::extreme_value_distribution<double>(), OZK_OURS(p, Real, Gumbel, 0, 1)));      \
        all.push_back(distribution_case<Real, gsl_two<gsl_ran_gamma, 25, 10>>(                               \
            "gamma 2.5" + s, std::gamma_distribution<double>(2.5), OZK_OURS(p, Real, Gamma, 2.5, 0, 1)));    \
        all.push_back(distribution_case<Real, gsl_two<gsl_ran_gamma, 4, 10>>(                                \
            "gamma 0.4" + s, std::gamma_distribution<double>(0.4), OZK_OURS(p, Real, Gamma, 0.4, 0, 1)));    \
        all.push_back(distribution_case<Real, gsl_two<gsl_ran_beta, 25, 15>>(                                \
            "beta 2.5 1.5" + s,                                                                              \
            BetaOfGammas{std::gamma_distribution<double>(2.5), std::gamma_distribution<double>(1.5)},        \
            OZK_OURS(p, Real, Beta, 2.5, 1.5, 0, 1)));                                                       \
        all.push_back(distribution_case<Real, gsl_one<gsl_ran_chisq, 3>>(                                    \
            "chi-square 3" + s, std::chi_squared_distribution<double>(3), OZK_OURS(p, Real, ChiSquare, 3))); \
    } while (false)

// Integers of std's distribution, whatever its results are.
template <class Distribution>
struct Integers {
    Distribution distribution;
    template <class Engine>
    int32_t operator()(Engine& engine) {
        return static_cast<int32_t>(distribution(engine));
    }
};
template <class Distribution>
Integers(Distribution) -> Integers<Distribution>;

template <auto kFunction, auto... kParameters>
int32_t gsl_integer(gsl_rng* g) {
    return static_cast<int32_t>(kFunction(g, kParameters...));
}

std::vector<Case> integer_cases() {
    std::vector<Case> all;
    all.push_back(
        distribution_case<int32_t, [](gsl_rng* g) { return int32_t(gsl_rng_uniform_int(g, 1000)); }>(
            "uniform integers below 1000", std::uniform_int_distribution<int32_t>(0, 999),
            OZK_OURS(i, int32_t, Uniform, 0, 1000)));
    all.push_back(distribution_case<int32_t, gsl_integer<gsl_ran_bernoulli, 0.3>>(
        "bernoulli 0.3", Integers{std::bernoulli_distribution(0.3)}, OZK_OURS(i, int32_t, Bernoulli, 0.3)));
    all.push_back(distribution_case<int32_t, gsl_integer<gsl_ran_geometric, 0.1>>(
        "geometric 0.1", std::geometric_distribution<int32_t>(0.1), OZK_OURS(i, int32_t, Geometric, 0.1)));
    all.push_back(distribution_case<int32_t, gsl_integer<gsl_ran_geometric, 0.001>>(
        "geometric 0.001", std::geometric_distribution<int32_t>(0.001),
        OZK_OURS(i, int32_t, Geometric, 0.001)));
    all.push_back(distribution_case<int32_t, gsl_integer<gsl_ran_geometric, 1e-6>>(
        "geometric 1e-6", std::geometric_distribution<int32_t>(1e-6), OZK_OURS(i, int32_t, Geometric, 1e-6)));
    for (const int n : {kLong, 10}) {
        const std::string calls = n == kLong ? "" : ", 10 a call";
        all.push_back(distribution_case<int32_t, gsl_integer<gsl_ran_binomial, 0.3, 100>>(
            "binomial 100 0.3" + calls, std::binomial_distribution<int32_t>(100, 0.3),
            OZK_OURS(i, int32_t, Binomial, 100, 0.3), n));
        all.push_back(distribution_case<int32_t, gsl_integer<gsl_ran_binomial, 0.3, 100000>>(
            "binomial 100000 0.3" + calls, std::binomial_distribution<int32_t>(100000, 0.3),
            OZK_OURS(i, int32_t, Binomial, 100000, 0.3), n));
        all.push_back(distribution_case<int32_t, gsl_integer<gsl_ran_hypergeometric, 40, 60, 20>>(
            "hypergeometric 20 of 100, 40 marked" + calls, None(),
            OZK_OURS(i, int32_t, Hypergeometric, 100, 20, 40), n));
        all.push_back(distribution_case<int32_t, gsl_integer<gsl_ran_hypergeometric, 4000, 6000, 1000>>(
            "hypergeometric 1000 of 10000, 4000 marked" + calls, None(),
            OZK_OURS(i, int32_t, Hypergeometric, 10000, 1000, 4000), n));
    }
    return all;
}

// Numbers of events.
std::vector<Case> count_cases() {
    std::vector<Case> all;
    all.push_back(distribution_case<int32_t, gsl_integer<gsl_ran_poisson, 5.0>>(
        "poisson 5", std::poisson_distribution<int32_t>(5), OZK_OURS(i, int32_t, Poisson, 5)));
    all.push_back(distribution_case<int32_t, gsl_integer<gsl_ran_poisson, 27.0>>(
        "poisson 27", std::poisson_distribution<int32_t>(27), OZK_OURS(i, int32_t, Poisson, 27)));
    all.push_back(distribution_case<int32_t, gsl_integer<gsl_ran_poisson, 1000.0>>(
        "poisson 1000", std::poisson_distribution<int32_t>(1000), OZK_OURS(i, int32_t, Poisson, 1000)));
    all.push_back(distribution_case<int32_t, gsl_integer<gsl_ran_negative_binomial, 0.3, 5.0>>(
        "negative binomial 5 0.3", std::negative_binomial_distribution<int32_t>(5, 0.3),
        OZK_OURS(i, int32_t, Negbinomial, 5, 0.3)));
    all.push_back(distribution_case<int32_t, gsl_integer<gsl_ran_negative_binomial, 0.003, 5.0>>(
        "negative binomial 5 0.003", std::negative_binomial_distribution<int32_t>(5, 0.003),
        OZK_OURS(i, int32_t, Negbinomial, 5, 0.003)));
    return all;
}

// Poisson numbers of a mean each, from 5 to 2005.
Case means_case() {
    const auto stream = make_stream(kOzkVslMt19937);
    const auto draw = kernel<decltype(_vsliRngPoissonV)>("_vsliRngPoissonV");
    const auto means = std::make_shared<std::vector<double>>(kLong);
    for (size_t i = 0; i < kLong; ++i) (*means)[i] = 5 + double(i * 7919 % 2000);
    Case c{"random/poisson of a mean each", double{kLong}, {}, {}};
    if (stream && draw) {
        c.ours.push_back({"ours", [=, r = std::make_shared<std::vector<int32_t>>(kLong)] {
                              draw(kOzkVslInverse, stream.get(), kLong, r->data(), means->data());
                              keep(r->data());
                          }});
    }
    const std::shared_ptr<gsl_rng> generator(gsl_rng_alloc(gsl_rng_taus2), gsl_rng_free);
    c.peers.push_back(one_by_one("GSL taus2", kLong, [=, i = size_t{0}]() mutable {
        return gsl_ran_poisson(generator.get(), (*means)[i++ % kLong]);
    }));
    c.peers.push_back(
        one_by_one("std mt19937_64", kLong, [=, engine = std::mt19937_64(kSeed), i = size_t{0}]() mutable {
            return std::poisson_distribution<int32_t>((*means)[i++ % kLong])(engine);
        }));
    return c;
}

// Vectors of five counts of 100 trials.
Case multinomial_case() {
    constexpr int kOutcomes = 5, kVectors = kLong / kOutcomes, kTrials = 100;
    const auto stream = make_stream(kOzkVslMt19937);
    const auto draw = kernel<decltype(_vsliRngMultinomial)>("_vsliRngMultinomial");
    static const double p[kOutcomes] = {0.1, 0.3, 0.2, 0.15, 0.25};
    Case c{"random/multinomial 100 of 5", double{kLong}, {}, {}};
    if (stream && draw) {
        c.ours.push_back({"ours", [=, r = std::make_shared<std::vector<int32_t>>(kLong)] {
                              draw(kOzkVslInverse, stream.get(), kVectors, r->data(), kTrials, kOutcomes, p);
                              keep(r->data());
                          }});
    }
    for (const auto& [name, type] :
         {std::pair("GSL taus2", gsl_rng_taus2), {"GSL mt19937", gsl_rng_mt19937}}) {
        const std::shared_ptr<gsl_rng> generator(gsl_rng_alloc(type), gsl_rng_free);
        c.peers.push_back({name, [=, r = std::make_shared<std::vector<unsigned>>(kLong)] {
                               for (size_t i = 0; i < kLong; i += kOutcomes) {
                                   gsl_ran_multinomial(generator.get(), kOutcomes, kTrials, p, &(*r)[i]);
                               }
                               keep(r->data());
                           }});
    }
    return c;
}

// Normal vectors with a whole factor of the covariance; the peers' normal numbers are their fastest.
Case vectors_case(int dimension) {
    using Matrix = Eigen::MatrixXd;
    const int vectors = kLong / dimension, numbers = vectors * dimension;
    Matrix factor = Matrix::Identity(dimension, dimension);
    for (int i = 0; i < dimension; ++i) {
        for (int j = 0; j < i; ++j) factor(i, j) = 0.5 / (1 + i - j);
    }
    const Matrix by_rows = factor.transpose();
    const auto rows = std::make_shared<std::vector<double>>(by_rows.data(), by_rows.data() + by_rows.size());
    const auto mean = std::make_shared<std::vector<double>>(dimension, 1.0);
    Case c{"random/gaussian vectors of " + std::to_string(dimension), double(numbers), {}, {}};
    const auto r = std::make_shared<std::vector<double>>(numbers);

    const auto stream = make_stream(kOzkVslMt19937);
    const auto draw = kernel<decltype(_vsldRngGaussianMV)>("_vsldRngGaussianMV");
    if (stream && draw) {
        c.ours.push_back({"ours", [=] {
                              draw(kOzkVslGaussianInverse, stream.get(), vectors, r->data(), dimension,
                                   kOzkVslFactorFull, mean->data(), rows->data());
                              keep(r->data());
                          }});
    }
    const std::shared_ptr<gsl_rng> generator(gsl_rng_alloc(gsl_rng_taus2), gsl_rng_free);
    c.peers.push_back(
        {"GSL taus2", [=] {
             const auto mu = gsl_vector_const_view_array(mean->data(), mean->size());
             const auto l = gsl_matrix_const_view_array(rows->data(), mean->size(), mean->size());
             for (size_t i = 0; i < r->size(); i += mean->size()) {
                 auto one = gsl_vector_view_array(&(*r)[i], mean->size());
                 gsl_ran_multivariate_gaussian(generator.get(), &mu.vector, &l.matrix, &one.vector);
             }
             keep(r->data());
         }});
    c.peers.push_back({"Eigen, GSL taus2 ziggurat", [=] {
                           for (double& x : *r) x = ziggurat(generator.get());
                           Eigen::Map<Matrix> z(r->data(), dimension, vectors);
                           z = factor.triangularView<Eigen::Lower>() * z;
                           z.array() += 1;
                           keep(r->data());
                       }});
    c.peers.push_back({"a loop, GSL taus2 ziggurat", [=] {
                           for (double* x = r->data(); x != r->data() + numbers; x += dimension) {
                               for (int i = 0; i < dimension; ++i) x[i] = ziggurat(generator.get());
                               for (int i = dimension - 1; i >= 0; --i) {
                                   double sum = (*mean)[i];
                                   for (int j = 0; j <= i; ++j) sum += (*rows)[i * dimension + j] * x[j];
                                   x[i] = sum;
                               }
                           }
                           keep(r->data());
                       }});
    return c;
}

Case gaussian_case(const char* name, int32_t method) {
    return {std::string("random/gaussian/") + name,
            kLong,
            ours("_vsldRngGaussian", method, make_stream(kOzkVslMt19937), kLong),
            {standard<std::mt19937_64>("mt19937_64 normal", std::normal_distribution<double>(), kLong),
             gsl<ziggurat>("mt19937 ziggurat", gsl_rng_mt19937, kLong),
             gsl<ratio>("mt19937 ratio", gsl_rng_mt19937, kLong),
             gsl<ziggurat>("taus2 ziggurat", gsl_rng_taus2, kLong)}};
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

std::vector<Row> rows() {
    using Unit = std::uniform_real_distribution<double>;
    const auto none = [](int) { return std::vector<Contender>(); };
    const auto uniforms = [](const char* name, const gsl_rng_type* type) {
        return [=](int n) { return std::vector{gsl<uniform>(name, type, n)}; };
    };
    const auto points = [](const char* name, const gsl_qrng_type* type) {
        return [=](int) { return std::vector{gsl_points(name, type)}; };
    };
    const std::vector mersenne_words{one_by_one("std mt19937", kLong, std::mt19937(kSeed)),
                                     gsl<word>("mt19937", gsl_rng_mt19937, kLong)};
    const auto mersenne = [](int n) {
        return std::vector{standard<std::mt19937>("mt19937", Unit(), n),
                           gsl<uniform>("mt19937", gsl_rng_mt19937, n)};
    };
    return {
        {"MCG31M1",
         kOzkVslMcg31m1,
         {one_by_one("std minstd_rand", kLong, std::minstd_rand(kSeed)),
          gsl<word>("minstd", gsl_rng_minstd, kLong)},
         [](int n) {
             return std::vector{standard<std::minstd_rand>("minstd_rand", Unit(), n),
                                gsl<uniform>("minstd", gsl_rng_minstd, n)};
         }},
        {"MCG59",
         kOzkVslMcg59,
         {gsl<word>("rand48", gsl_rng_rand48, kLong)},
         uniforms("rand48", gsl_rng_rand48)},
        {"R250", kOzkVslR250, {gsl<word>("r250", gsl_rng_r250, kLong)}, uniforms("r250", gsl_rng_r250)},
        {"WH", kOzkVslWh, {}, none},
        {"MRG32K3A",
         kOzkVslMrg32k3a,
         {gsl<word>("cmrg", gsl_rng_cmrg, kLong), gsl<word>("mrg", gsl_rng_mrg, kLong)},
         uniforms("cmrg", gsl_rng_cmrg)},
        {"MT19937", kOzkVslMt19937, mersenne_words, mersenne},
        {"MT2203", kOzkVslMt2203, mersenne_words, mersenne},
        {"SFMT19937", kOzkVslSfmt19937, mersenne_words, mersenne},
        {"ARS5", kOzkVslArs5, {}, none},
        {"PHILOX4X32X10", kOzkVslPhilox4x32x10, {}, none},
        {"nondeterministic", kOzkVslNondeterministic, {}, none},
        {"Sobol, 1 dimension", kOzkVslSobol, {}, none, 1},
        {"Sobol, 40 dimensions", kOzkVslSobol, {}, points("sobol", gsl_qrng_sobol), 40},
        {"Niederreiter, 12 dimensions",
         kOzkVslNiederreiter,
         {},
         points("niederreiter_2", gsl_qrng_niederreiter_2),
         12},
        {"Niederreiter, 318 dimensions", kOzkVslNiederreiter, {}, none, 318},
    };
}

std::vector<Case> cases() {
    std::vector<Case> all;
    const std::vector<Row> generators = rows();
    for (const Row& row : generators) all.push_back(word_case(row));
    for (const Row& row : generators) all.push_back(uniform_case(row, kLong));
    for (const Row& row : generators)
        if (row.seed == kSeed) all.push_back(uniform_case(row, kNumbers));
    all.push_back(gaussian_case("Box-Muller", kOzkVslGaussianBoxMuller));
    all.push_back(gaussian_case("Box-Muller pairs", kOzkVslGaussianBoxMullerPairs));
    all.push_back(gaussian_case("inverse", kOzkVslGaussianInverse));
    OZK_DISTRIBUTIONS(all, d, double);
    OZK_DISTRIBUTIONS(all, s, float);
    for (Case& c : integer_cases()) all.push_back(std::move(c));
    for (int dimension : {3, 10}) all.push_back(vectors_case(dimension));
    for (Case& c : count_cases()) all.push_back(std::move(c));
    all.push_back(means_case());
    all.push_back(multinomial_case());
    return all;
}

std::vector<Section> run(const std::string& filter, bool planned) {
    return {{"random", comparison(matching(cases(), filter, planned), "number")}};
}

}  // namespace

Family random_family() { return {"random", names_of<cases>, run}; }

}  // namespace ozk::bench
