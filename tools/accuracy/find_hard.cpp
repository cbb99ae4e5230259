// Finds arguments whose exact results lie extremely close to a double or to the middle of two. Over 2^16
// neighbouring arguments 2 f(x) / ulp(f(x)) is nearly a parabola, whose values modulo 1 follow from two
// differences with two additions each, in integers of 128 bits. What comes near 0 there is judged with MPFR.

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <mutex>
#include <thread>

#include "tools/accuracy/arguments.hpp"
#include "tools/accuracy/report.hpp"

namespace {

using namespace ozk::accuracy;
using Fraction = unsigned __int128;  // in units of 2^-128, modulo 1

constexpr mpfr_prec_t kBits = 320;
constexpr int kRun = 1 << 16;

// Writes 2 f(x) / ulp to y, for results of `exponent`; 0: of their own exponent, which is returned.
mpfr_exp_t in_half_ulps(const Oracle& oracle, double x, mpfr_exp_t exponent, mpfr_ptr y) {
    Real argument(53), unused(53);
    mpfr_set_d(argument, x, MPFR_RNDN);
    const mpfr_ptr ys[2] = {y, unused};
    const mpfr_srcptr xs[2] = {argument, unused};
    oracle.exact(ys, xs);
    if (!mpfr_regular_p(y)) return 0;
    if (exponent == 0) exponent = mpfr_get_exp(y);
    mpfr_mul_2si(y, y, 54 - exponent, MPFR_RNDN);
    return exponent;
}

Fraction modulo_1(mpfr_srcptr y) {
    Real scaled(kBits);
    mpfr_mul_2ui(scaled, y, 128, MPFR_RNDN);
    mpz_t z;
    mpz_init(z);
    mpfr_get_z(z, scaled, MPFR_RNDD);
    mpz_fdiv_r_2exp(z, z, 128);
    const Fraction f = (static_cast<Fraction>(mpz_getlimbn(z, 1)) << 64) | mpz_getlimbn(z, 0);
    mpz_clear(z);
    return f;
}

struct Hard {
    double x, distance;  // in ulp
    bool middle;         // of two doubles, rather than a double
};

Hard judged(const Oracle& oracle, double x) {
    Real y(kBits), nearest(kBits);
    in_half_ulps(oracle, x, 0, y);
    mpfr_rint(nearest, y, MPFR_RNDN);
    mpfr_sub(y, y, nearest, MPFR_RNDN);
    mpfr_div_2ui(nearest, nearest, 1, MPFR_RNDN);
    return {x, std::fabs(mpfr_get_d(y, MPFR_RNDN)) / 2, mpfr_integer_p(nearest) == 0};
}

// The arguments among the kRun ones from `first` on (by steps of `step`) that come closer than `threshold` /
// 2^65 ulp.
void search_run(const Oracle& oracle, double first, double step, uint64_t threshold,
                std::vector<Hard>& found) {
    Real y0(kBits), y1(kBits), y2(kBits), c(kBits);
    const mpfr_exp_t exponent = in_half_ulps(oracle, first, 0, y0);
    if (exponent < -1021 || exponent > 1024 || exponent == 0) return;
    in_half_ulps(oracle, first + step * (kRun / 2), exponent, y1);
    in_half_ulps(oracle, first + step * kRun, exponent, y2);
    if (!mpfr_regular_p(y1) || !mpfr_regular_p(y2)) return;
    // c0 + c1 i + c2 i^2 through the three: c2 = 2 (y0 - 2 y1 + y2) / R^2, c1 = (4 y1 - 3 y0 - y2) / R.
    mpfr_mul_2ui(y1, y1, 1, MPFR_RNDN);
    mpfr_sub(c, y2, y1, MPFR_RNDN);
    mpfr_add(c, c, y0, MPFR_RNDN);
    mpfr_div_2ui(c, c, 31, MPFR_RNDN);
    const Fraction c2 = modulo_1(c);
    mpfr_mul_2ui(y1, y1, 1, MPFR_RNDN);
    mpfr_sub(y1, y1, y2, MPFR_RNDN);
    mpfr_mul_ui(c, y0, 3, MPFR_RNDN);
    mpfr_sub(c, y1, c, MPFR_RNDN);
    mpfr_div_2ui(c, c, 16, MPFR_RNDN);
    Fraction value = modulo_1(y0), difference = modulo_1(c) + c2;
    for (int i = 0; i < kRun; ++i) {
        const auto top = static_cast<uint64_t>(value >> 64);
        if (top + threshold <= 2 * threshold) found.push_back(judged(oracle, first + step * i));
        value += difference;
        difference += 2 * c2;
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::string function;
    int64_t runs = 200000;
    size_t keep = 40;
    uint64_t seed = 1;
    int threads = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    CLI::App app("Hard-to-round arguments of a function in double precision, hardest first.");
    app.add_option("function", function)->required();
    app.add_option("--runs", runs, "of 65,536 arguments each")->capture_default_str();
    app.add_option("--keep", keep)->capture_default_str();
    app.add_option("--seed", seed)->capture_default_str();
    app.add_option("--threads", threads)->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    const Oracle* const oracle = find_oracle(function);
    if (!oracle || oracle->shape != Shape::kUnary) {
        fmt::print(stderr, "ozk_find_hard: no function of one argument is called {}\n", function);
        return 1;
    }
    // Binades where the function is too nearly linear are full of arguments that are hard in a trivial way.
    const int low = std::max(oracle->dense_low, -12), high = oracle->dense_high;
    const double threshold = 0x1p63 * static_cast<double>(2 * keep) / (static_cast<double>(runs) * kRun);
    std::vector<Hard> found;
    std::mutex mutex;
    std::atomic<int64_t> next = 0;
    const auto work = [&] {
        std::vector<Hard> mine;
        for (int64_t run; (run = next++) < runs;) {
            const uint64_t random = mix(mix(seed) + static_cast<uint64_t>(run));
            const int exponent = low + static_cast<int>(random % static_cast<uint64_t>(high - low + 1));
            const double sign = oracle->domain.low < 0 && (mix(random) & 1) ? -1 : 1;
            const double step = sign * std::ldexp(1., exponent - 52);
            const auto place = static_cast<double>(mix(random + 1) >> 28) * 0x1p16;  // of 2^52 in the binade
            const double first = sign * std::ldexp(1., exponent) + step * place;
            if (first <= oracle->domain.low || first >= oracle->domain.high) continue;
            search_run(*oracle, first, step, static_cast<uint64_t>(threshold), mine);
            if (std::unique_lock lock(mutex, std::try_to_lock); lock)
                show_progress(function, static_cast<double>(run) / static_cast<double>(runs));
        }
        const std::lock_guard lock(mutex);
        found.insert(found.end(), mine.begin(), mine.end());
    };
    std::vector<std::jthread> pool;
    for (int i = 1; i < threads; ++i) pool.emplace_back(work);
    work();
    pool.clear();
    end_progress();
    std::erase_if(found, [](const Hard& h) { return h.distance == 0 || h.distance > 0x1p-28; });
    std::sort(found.begin(), found.end(), [](auto& a, auto& b) { return a.distance < b.distance; });
    if (found.size() > keep) found.resize(keep);
    for (const Hard& h : found)
        fmt::print("{:a}  # 2^{:.2f} ulp from {}\n", h.x, std::log2(h.distance),
                   h.middle ? "a middle" : "a double");
    return 0;
}
