// The parameter sets of the Wichmann-Hill family: finds them, and proves those that are checked in.
//
//   g++ -O2 -std=c++20 -o wichmann_hill tools/parameters/wichmann_hill.cpp -lntl -lgmp
//   ./wichmann_hill > vsl/streams/wichmann_hill_sets.inc          (some minutes)
//   ./wichmann_hill --check vsl/streams/wichmann_hill_sets.inc    (proof of every row, and figures)
//
// A set is four prime moduli m and a multiplier a for each. The four components together are the multiplicative
// congruential generator modulo M, the product of the moduli, whose multiplier A is a modulo each m. What a row
// must have (Maclaren, "The generation of multiple independent sequences of pseudorandom numbers", Applied
// Statistics 38 (1989), extended by the spectral figure):
//   - moduli from 16718909 to 16776971, prime, in no other row;
//   - multipliers from 112 to 127, each a primitive root of its modulus;
//   - m - 1 of pairwise greatest common divisor 2, so that the period is the product of the m - 1 over 8;
//   - a high spectral figure: the least, over dimensions t = 2 to 6, of nu_t / (sqrt(gamma_t) M^(1/t)), where nu_t is
//     the length of the shortest vector of the dual lattice and gamma_t Hermite's constant; 1 can't be exceeded.
//
// nu_t is exact: the basis is reduced by lattice basis reduction in whole numbers, and then every combination whose
// coefficients are within the bounds that the inverse basis gives is tried (Knuth, The Art of Computer Programming,
// volume 2, section 3.3.4, algorithm S).
//
// Search: primes are grouped at random, each group takes its best multipliers, and a group is accepted when its figure
// reaches a mark; the primes of the others are grouped anew. The mark falls a little every round.
#include <NTL/LLL.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <numeric>
#include <random>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

using NTL::mat_ZZ;
using NTL::ZZ;

constexpr int kSets = 273, kComponents = 4;
constexpr uint32_t kLeastModulus = 16718909, kGreatestModulus = 16776971;
constexpr uint32_t kLeastMultiplier = 112, kGreatestMultiplier = 127;
constexpr int kLeastDimension = 2, kGreatestDimension = 6;

struct Set {
    std::array<uint32_t, kComponents> m, a;
};
constexpr Set kFirstSet = {{16770647, 16770643, 16770623, 16770617}, {125, 117, 127, 126}};

// ---- Whole numbers ----------------------------------------------------------------------------------------

bool is_prime(uint32_t n) {
    for (uint32_t d = 2; d * d <= n; ++d)
        if (n % d == 0) return false;
    return n > 1;
}

uint32_t power(uint64_t a, uint32_t e, uint32_t m) {
    uint64_t result = 1;
    for (; e != 0; e >>= 1, a = a * a % m)
        if (e & 1) result = result * a % m;
    return static_cast<uint32_t>(result);
}

bool is_primitive_root(uint32_t a, uint32_t m) {
    uint32_t rest = m - 1;
    for (uint32_t d = 2; rest > 1; ++d) {
        if (d * d > rest) d = rest;
        if (rest % d != 0) continue;
        if (power(a, (m - 1) / d, m) == 1) return false;
        while (rest % d == 0) rest /= d;
    }
    return true;
}

bool go_together(uint32_t m, uint32_t other) { return std::gcd(m - 1, other - 1) == 2; }

// ---- The spectral test ------------------------------------------------------------------------------------

ZZ squared_norm(const NTL::vec_ZZ& v) { return v * v; }

// Least squared norm of the nonzero combinations of the rows of a reduced basis. A vector at most as long as the
// shortest row has coefficients of at most its norm times those of the columns of the inverse.
ZZ shortest_squared(const mat_ZZ& basis) {
    const long t = basis.NumRows();
    ZZ least = squared_norm(basis[0]);
    for (long i = 1; i < t; ++i) least = std::min(least, squared_norm(basis[i]));
    ZZ determinant;
    mat_ZZ adjoint;
    NTL::inv(determinant, adjoint, basis);
    adjoint = NTL::transpose(adjoint);
    std::vector<long> bound(static_cast<size_t>(t));
    for (long i = 0; i < t; ++i) {
        bound[i] = NTL::conv<long>(NTL::SqrRoot(squared_norm(adjoint[i]) * least / NTL::sqr(determinant)));
    }
    std::vector<long> c(bound.size());
    for (size_t i = 0; i < c.size(); ++i) c[i] = -bound[i];
    // Half of the box is enough: the other half has the negatives, and the middle is zero.
    for (bool more = true; more;) {
        if (std::all_of(c.begin(), c.end(), [](long x) { return x == 0; })) break;
        NTL::vec_ZZ v;
        v.SetLength(t);
        for (long i = 0; i < t; ++i)
            if (c[i] != 0) v += c[i] * basis[i];
        least = std::min(least, squared_norm(v));
        size_t i = c.size();
        while (i > 0 && c[i - 1] == bound[i - 1]) --i, c[i] = -bound[i];
        more = i > 0;
        if (more) ++c[i - 1];
    }
    return least;
}

struct Combined {
    ZZ modulus, multiplier;
    explicit Combined(const Set& set) : modulus(set.m[0]), multiplier(set.a[0]) {
        for (int q = 1; q < kComponents; ++q) NTL::CRT(multiplier, modulus, ZZ(set.a[q]), ZZ(set.m[q]));
        multiplier %= modulus;
    }
};

double figure(const Combined& lcg, int t) {
    constexpr double kHermite[] = {0, 1, 4. / 3, 2, 4, 8, 64. / 3};  // gamma_t^t
    mat_ZZ basis;
    basis.SetDims(t, t);
    basis[0][0] = lcg.modulus;
    ZZ power(1);
    for (int i = 1; i < t; ++i) {
        power = power * lcg.multiplier % lcg.modulus;
        basis[i][0] = -power;
        basis[i][i] = 1;
    }
    ZZ ignored;
    NTL::LLL(ignored, basis, 99, 100);
    const double squared = NTL::conv<double>(shortest_squared(basis));
    return std::sqrt(squared * std::pow(kHermite[t], -1. / t) *
                     std::pow(NTL::conv<double>(lcg.modulus), -2. / t));
}

// The least figure of all dimensions; a number below `enough` when it is not above that.
double least_figure(const Set& set, double enough = 0) {
    const Combined lcg(set);
    double least = 1;
    for (int t = kLeastDimension; t <= kGreatestDimension && least > enough; ++t)
        least = std::min(least, figure(lcg, t));
    return least;
}

// ---- Search -----------------------------------------------------------------------------------------------

struct Prime {
    uint32_t m;
    std::vector<uint32_t> roots;
};

std::vector<Prime> usable_primes() {
    std::vector<Prime> primes;
    for (uint32_t m = kLeastModulus; m <= kGreatestModulus; ++m) {
        if (!is_prime(m) || std::count(kFirstSet.m.begin(), kFirstSet.m.end(), m)) continue;
        Prime prime{m, {}};
        for (uint32_t a = kLeastMultiplier; a <= kGreatestMultiplier; ++a)
            if (is_primitive_root(a, m)) prime.roots.push_back(a);
        if (!prime.roots.empty()) primes.push_back(prime);
    }
    return primes;
}

// Moves a prime that goes together with all of the group, of the given remainder modulo 12, from the pool to it.
bool add_member(std::vector<Prime>& group, std::vector<Prime>& pool, uint32_t remainder) {
    for (size_t i = pool.size(); i-- > 0;) {
        if (pool[i].m % 12 != remainder) continue;
        if (!std::all_of(group.begin(), group.end(),
                         [&](const Prime& p) { return go_together(p.m, pool[i].m); }))
            continue;
        group.push_back(pool[i]);
        pool.erase(pool.begin() + static_cast<std::ptrdiff_t>(i));
        return true;
    }
    return false;
}

// The best multipliers of a group, among all that its primes admit; a figure of 0 when none reaches the mark.
std::pair<double, Set> best_set(const std::vector<Prime>& group, double mark) {
    double best = 0;
    Set best_set = {}, set = {};
    for (int q = 0; q < kComponents; ++q) set.m[q] = group[q].m;
    for (uint32_t a0 : group[0].roots)
        for (uint32_t a1 : group[1].roots)
            for (uint32_t a2 : group[2].roots)
                for (uint32_t a3 : group[3].roots) {
                    set.a = {a0, a1, a2, a3};
                    const double enough = std::max(best, mark);
                    const double least = least_figure(set, enough);
                    if (least > enough) best = least, best_set = set;
                }
    return {best, best_set};
}

std::vector<Set> search() {
    std::vector<Set> sets = {kFirstSet};
    std::vector<Prime> pool = usable_primes();
    std::mt19937_64 engine(1989);
    for (double mark = 0.74; sets.size() < kSets; mark -= 0.01) {
        for (size_t i = pool.size(); i > 1; --i) std::swap(pool[i - 1], pool[engine() % i]);
        std::vector<Prime> refused;
        for (;;) {
            // m - 1 a multiple of 3 or of 4 may occur once each in a group; 11 modulo 12 is neither.
            std::vector<Prime> group;
            const bool complete = add_member(group, pool, 5) && add_member(group, pool, 7) &&
                                  add_member(group, pool, 11) && add_member(group, pool, 11);
            double least = 0;
            Set set;
            if (complete) std::tie(least, set) = best_set(group, mark);
            if (least > mark)
                sets.push_back(set);
            else
                refused.insert(refused.end(), group.begin(), group.end());
            std::fprintf(stderr, "\r%zu of %d sets, mark %.2f ", sets.size(), kSets, mark);
            if (!complete || sets.size() == kSets) break;
        }
        pool.insert(pool.end(), refused.begin(), refused.end());
    }
    std::fputc('\n', stderr);
    // Greatest modulus first, as row 0 has it.
    for (Set& set : sets) {
        std::array<std::pair<uint32_t, uint32_t>, kComponents> rows;
        for (int q = 0; q < kComponents; ++q) rows[q] = {set.m[q], set.a[q]};
        std::sort(rows.rbegin(), rows.rend());
        for (int q = 0; q < kComponents; ++q) std::tie(set.m[q], set.a[q]) = rows[q];
    }
    std::sort(sets.begin() + 1, sets.end(), [](const Set& x, const Set& y) { return x.m > y.m; });
    return sets;
}

void print(const std::vector<Set>& sets) {
    std::puts(
        "// Moduli and multipliers of the Wichmann-Hill family. Generated by "
        "tools/parameters/wichmann_hill.cpp,");
    std::puts("// which also proves them; row 0 is given.");
    for (const Set& s : sets) {
        std::printf("{{%u, %u, %u, %u}, {%u, %u, %u, %u}},\n", s.m[0], s.m[1], s.m[2], s.m[3], s.a[0], s.a[1],
                    s.a[2], s.a[3]);
    }
}

// ---- Proof ------------------------------------------------------------------------------------------------

std::vector<Set> read(const char* path) {
    std::ifstream file(path);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    std::vector<Set> sets;
    const std::regex row(R"(\{\{(\d+), (\d+), (\d+), (\d+)\}, \{(\d+), (\d+), (\d+), (\d+)\}\},)");
    for (std::sregex_iterator i(text.begin(), text.end(), row), end; i != end; ++i) {
        const auto number = [&](int k) { return static_cast<uint32_t>(std::stoul((*i)[k])); };
        sets.push_back(
            {{number(1), number(2), number(3), number(4)}, {number(5), number(6), number(7), number(8)}});
    }
    return sets;
}

bool require(bool holds, size_t row, const char* what) {
    if (!holds) std::printf("row %zu: %s\n", row, what);
    return holds;
}

bool prove(const std::vector<Set>& sets) {
    bool good = require(sets.size() == kSets, sets.size(), "is the end: there should be 273 rows");
    std::set<uint32_t> moduli;
    for (size_t row = 0; row < sets.size(); ++row) {
        const Set& s = sets[row];
        for (int q = 0; q < kComponents; ++q) {
            const uint32_t m = s.m[q], a = s.a[q];
            good &= require(kLeastModulus <= m && m <= kGreatestModulus, row, "a modulus is out of range");
            good &= require(kLeastMultiplier <= a && a <= kGreatestMultiplier, row,
                            "a multiplier is out of range");
            good &= require(is_prime(m), row, "a modulus is not prime");
            good &= require(is_primitive_root(a, m), row, "a multiplier is not a primitive root");
            good &= require(moduli.insert(m).second, row, "a modulus stands elsewhere, too");
            for (int other = 0; other < q; ++other)
                good &= require(go_together(m, s.m[other]), row, "two m - 1 have a common divisor above 2");
        }
    }
    return good;
}

void print_figures(const std::vector<Set>& sets) {
    std::puts("| dimension | row 0 | least of the others | lower quartile | median | greatest |");
    std::puts("|---|---|---|---|---|---|");
    const auto print_row = [](const std::string& name, std::vector<double> f) {
        const double first = f[0];
        f.erase(f.begin());
        std::sort(f.begin(), f.end());
        std::printf("| %s | %.3f | %.3f | %.3f | %.3f | %.3f |\n", name.c_str(), first, f[0], f[f.size() / 4],
                    f[f.size() / 2], f.back());
    };
    std::vector<double> least(sets.size(), 1);
    for (int t = kLeastDimension; t <= kGreatestDimension; ++t) {
        std::vector<double> figures;
        for (size_t row = 0; row < sets.size(); ++row) {
            figures.push_back(figure(Combined(sets[row]), t));
            least[row] = std::min(least[row], figures.back());
        }
        print_row(std::to_string(t), figures);
    }
    print_row("2 to 6, least", least);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 1) {
        print(search());
        return 0;
    }
    if (argc != 3 || std::string(argv[1]) != "--check") {
        std::fputs("usage: wichmann_hill | wichmann_hill --check FILE\n", stderr);
        return 2;
    }
    const std::vector<Set> sets = read(argv[2]);
    if (!prove(sets)) return 1;
    std::puts("Every row holds.");
    print_figures(sets);
    return 0;
}
