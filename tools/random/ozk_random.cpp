// ozk-random: the numbers of any generator on standard output, for test batteries and for looking at.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <span>
#include <vector>

#include "ozk/random.hpp"

namespace {

constexpr uint64_t kBlock = 1 << 16;

// Draws blocks until `count` results are written (0: as long as anyone reads).
template <class T, class Draw, class Write>
void run(uint64_t count, Draw draw, Write write) {
    std::vector<T> block(kBlock);
    for (uint64_t left = count; count == 0 || left > 0;) {
        const std::span<T> part(block.data(), count == 0 ? kBlock : std::min(left, kBlock));
        draw(part);
        if (!write(part)) return;
        left -= count == 0 ? 0 : part.size();
    }
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app(
        "Writes random numbers to standard output: uniform doubles on [0, 1), a line each, or raw words.");
    std::string generator;
    bool raw = false;
    std::vector<uint32_t> seed = {1};
    uint64_t count = 0;
    app.add_option("generator", generator, "Name, such as MRG32K3A, MCG59 or WH:17")->required();
    app.add_flag("--raw", raw, "Uniform 32-bit words as bytes, least significant first, rather than text");
    app.add_option("--seed", seed, "One or more 32-bit seed words (default 1)")->expected(1, 4096);
    app.add_option("--count", count, "How many numbers (default: until the reader closes the pipe)");
    CLI11_PARSE(app, argc, argv);
    try {
        ozk::stream stream(generator, seed);
        if (raw) {
            run<uint32_t>(
                count, [&](std::span<uint32_t> words) { stream.bits(words); },
                [](std::span<const uint32_t> words) {
                    return std::fwrite(words.data(), sizeof words[0], words.size(), stdout) == words.size();
                });
        } else {
            run<double>(
                count, [&](std::span<double> numbers) { stream.uniform(numbers); },
                [](std::span<const double> numbers) {
                    return std::all_of(numbers.begin(), numbers.end(),
                                       [](double x) { return std::printf("%.17g\n", x) > 0; });
                });
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ozk-random: %s\n", error.what());
        return 1;
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}
