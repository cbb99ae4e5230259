// Searches the tempering masks b and c of the 6022 parameter sets of the twisters of period 2^2203 - 1 whose twist
// coefficients stand in mt2203_a.txt: least total defect, the sum over v of floor(2203 / v) - k(v).
//
// Best-first search over the leading output bits: a node has settled the bits of b and c that reach the first v of
// them, and holds the reduced lattice of those; its key is the excess of its defects over the least ones known, less
// a weight for every bit settled, so that deep nodes go first unless they are much worse.
//
// Build: g++ -std=c++20 -O3 -march=native -o build/mt2203_tempering tools/parameters/mt2203_tempering.cpp -pthread
// Run:   build/mt2203_tempering tools/parameters/mt2203_a.txt build/mt2203_found.txt 4
// (4 threads; some 0.3 s of processor time a row). A row found is appended to the results, "row a b c"; started again,
// it goes on with the coefficients that the results lack. The search is all but exhaustive: a lower weight than 1 with
// a larger budget than 24000 (further arguments) finds the same sums of defects, so rows whose best masks are worse
// than others need another twist: tools/parameters/mt2203_twist.cpp.
// Table: tools/parameters/mt2203_table.cpp, which takes the better one of several results of a row.

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <memory>
#include <mutex>
#include <queue>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "mt2203.hpp"

namespace {

using namespace twister;

struct Width {
    double weight = 1.0;
    int budget = 24000;  // lattices reduced; the search goes on until it has found any masks
};

// No mask bit reaches the output bits below this: the defects of the last ones are settled before.
constexpr int kSettledBits = kWordBits - kShiftB;

// Least defects met, by v. The figures steer the search; they need not be true bounds.
constexpr std::array<int, kSettledBits + 1> kLeastDefect = {
    0, 0, 0, 29, 0, 26, 22, 36, 0, 34, 13, 53, 43, 30, 19, 8, 0, 58, 52, 46, 41, 35, 31, 26, 22, 19};

struct Node {
    std::shared_ptr<const Lattice> lattice;
    std::uint32_t b = 0, c = 0;
    std::uint32_t settled_b = 0;  // bits of b that are decided, set or not
    int excess = 0;
    double key = 0;

    bool operator<(const Node& other) const { return key > other.key; }  // the queue's top has the least key
};

// The ways to settle the mask bits that reach output bit `bit`: b and c there and, where c is set, b at the bit that
// c brings here.
std::vector<Node> choices(const Node& from, int bit) {
    std::vector<Node> all{from};
    const auto settle_b = [&](int position, bool only_with_c) {
        const std::uint32_t here = 1U << position;
        const std::size_t old = all.size();
        for (std::size_t i = 0; i < old; ++i) {
            if ((all[i].settled_b & here) != 0 || (only_with_c && ((all[i].c >> bit) & 1U) == 0)) continue;
            all[i].settled_b |= here;
            all.push_back(all[i]);
            all.back().b |= here;
        }
    };
    settle_b(bit, false);
    if (bit >= kShiftC) {
        const std::size_t old = all.size();
        for (std::size_t i = 0; i < old; ++i) {
            all.push_back(all[i]);
            all.back().c |= 1U << bit;
        }
        if (bit - kShiftC >= kShiftB) settle_b(bit - kShiftC, true);
    }
    return all;
}

Node search(std::uint32_t a, const Width& width) {
    std::mt19937 random(a);  // breaks ties
    Node best;
    std::priority_queue<Node> open;
    best.excess = std::numeric_limits<int>::max();
    Node root;
    root.lattice = std::make_shared<Lattice>(a);
    open.push(root);
    int reduced = 0;
    while (!open.empty() && (reduced < width.budget || best.excess == std::numeric_limits<int>::max())) {
        const Node node = open.top();
        open.pop();
        if (node.excess >= best.excess) continue;
        const int v = node.lattice->bits() + 1;
        for (Node& choice : choices(node, kWordBits - v)) {
            auto lattice = std::make_shared<Lattice>(node.lattice->extended(choice.b, choice.c));
            ++reduced;
            choice.excess += lattice->defect() - kLeastDefect[static_cast<std::size_t>(v)];
            if (choice.excess >= best.excess) continue;
            choice.key = choice.excess - width.weight * v + 0.5 * random() / 0x1p32;
            choice.lattice = std::move(lattice);
            if (v == kSettledBits)
                best = std::move(choice);
            else
                open.push(std::move(choice));
        }
    }
    return best;
}

struct Row {
    int number = 0;
    std::uint32_t a = 0;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: mt2203_tempering COEFFICIENTS RESULTS [THREADS [WEIGHT BUDGET]]\n");
        return EXIT_FAILURE;
    }
    const int threads = argc > 3 ? std::atoi(argv[3]) : 1;
    Width width;
    if (argc > 5) width = {std::atof(argv[4]), std::atoi(argv[5])};

    std::set<std::uint32_t> found;
    std::string line;
    for (std::ifstream results(argv[2]); std::getline(results, line);) {
        Row row;
        if (std::sscanf(line.c_str(), "%d %x", &row.number, &row.a) == 2) found.insert(row.a);
    }
    std::vector<Row> rows;
    for (std::ifstream coefficients(argv[1]); std::getline(coefficients, line);) {
        Row row;
        if (std::sscanf(line.c_str(), "%d %x", &row.number, &row.a) == 2 && !found.contains(row.a))
            rows.push_back(row);
    }

    std::FILE* results = std::fopen(argv[2], "a");
    if (results == nullptr) {
        std::perror(argv[2]);
        return EXIT_FAILURE;
    }
    std::mutex writing;
    std::atomic<std::size_t> taken{0};
    std::vector<std::jthread> workers;
    for (int i = 0; i < threads; ++i)
        workers.emplace_back([&] {
            for (std::size_t k = taken++; k < rows.size(); k = taken++) {
                const Node best = search(rows[k].a, width);
                const std::lock_guard one(writing);
                std::fprintf(results, "%d %08x %08x %08x\n", rows[k].number, rows[k].a, best.b, best.c);
                std::fflush(results);
                std::fprintf(stderr, "\r%zu of %zu", k + 1, rows.size());
            }
        });
    workers.clear();
    std::fputc('\n', stderr);
    return std::fclose(results) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
