// Further twist coefficients for rows of the twisters of period 2^2203 - 1, beside those of mt2203_a.txt: where even the
// best masks leave a row more defects than others have, another twist of the same name does better.
//
// A coefficient has its top bit and the row's low half. It is one when its characteristic polynomial is irreducible:
// nearly all candidates are sifted out by common divisors with t^(2^k) + t for small k, and the rest are tested by NTL.
//
// Build: g++ -std=c++20 -O3 -march=native -fopenmp -o build/mt2203_twist tools/parameters/mt2203_twist.cpp -lntl -lgmp
// Run:   build/mt2203_twist build/worst.txt 2 1 > build/further.txt    2 coefficients for each row that a line of
//        worst.txt begins with, from seed 1; some 0.4 s of processor time each

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "mt2203_period.hpp"

int main(int argc, char** argv) {
    if (argc < 4) return std::fputs("usage: mt2203_twist ROWS COUNT SEED\n", stderr), EXIT_FAILURE;
    std::vector<std::uint32_t> rows;
    std::string line;
    for (std::ifstream list(argv[1]); std::getline(list, line);) {
        rows.push_back(static_cast<std::uint32_t>(std::atoi(line.c_str())));
    }
    const int count = std::atoi(argv[2]);
    const auto seed = static_cast<std::uint32_t>(std::atoi(argv[3]));

#pragma omp parallel for schedule(dynamic)
    for (std::size_t i = 0; i < rows.size(); ++i) {
        std::mt19937 random(seed * 6029 + rows[i]);
        for (int k = 0; k < count;) {
            const std::uint32_t a = 0x80000000U | random() << 16 | (1375 + rows[i]);
            if (!twister::may_be_irreducible(a) || !twister::irreducible(a)) continue;
            ++k;
#pragma omp critical
            {
                std::printf("%u %08x\n", rows[i], a);
                std::fflush(stdout);
            }
        }
    }
}
