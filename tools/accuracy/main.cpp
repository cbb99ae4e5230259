// Measures the error in ulp of every built function and level against MPFR.

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <chrono>
#include <fstream>
#include <iostream>
#include <thread>

#include "tools/accuracy/complex.hpp"
#include "tools/accuracy/kernels.hpp"
#include "tools/accuracy/report.hpp"

namespace {

using namespace ozk::accuracy;

struct Options {
    std::string function, level, types = "dszc", markdown, page, hard = OZK_HARD_CASES;
    int64_t samples = 400000;
    uint64_t seed = 1;
    int threads = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    bool exhaustive = false;
};

template <class T>
std::string shown(double x) {
    return fmt::format("{:a} = {:.{}g}", x, x, std::numeric_limits<T>::max_digits10);
}

std::string shown_ulp(double ulp) {
    return ulp < 1e4 ? fmt::format("{:.4f}", ulp) : fmt::format("{:.3e}", ulp);
}

template <class T>
void measure_function(const Oracle& oracle, const Options& options, Table& table) {
    auto subjects = kernels<T>(oracle);
    std::erase_if(subjects,
                  [&](const Subject<T>& s) { return !options.level.empty() && s.name != options.level; });
    if (subjects.empty()) return;
    const char* const type = sizeof(T) == 4 ? "single" : "double";
    const auto arguments = options.exhaustive
                               ? Arguments<T>::exhaustive(oracle)
                               : Arguments<T>(oracle, options.samples, options.seed, options.hard);
    const auto found = measure(oracle, arguments, subjects, options.threads, [&](double part) {
        show_progress(fmt::format("{} {}", oracle.function, type), part);
    });
    for (size_t s = 0; s < subjects.size(); ++s) {
        const auto& [worst, count, right] = found[s];
        const bool within = worst.ulp <= limit_of<T>(subjects[s].name);
        const bool pair = takes_two_vectors(oracle.shape) || oracle.shape == Shape::kScalar;
        table.row({std::string(oracle.function), type, subjects[s].name,
                   (within ? "" : "**over** ") + shown_ulp(worst.ulp),
                   shown<T>(worst.a) + (pair ? ", " + shown<T>(worst.b) : ""),
                   fmt::format("{:.{}g}", worst.computed, std::numeric_limits<T>::max_digits10), worst.exact,
                   fmt::format("{:.3f}", 100. * static_cast<double>(right) / static_cast<double>(count)),
                   fmt::format("{}", count)});
    }
}

template <class T>
void measure_complex_function(const ComplexOracle& oracle, const Options& options, Table& table) {
    const char* const type = sizeof(T) == 4 ? "single complex" : "double complex";
    show_progress(fmt::format("{} {}", oracle.function, type), 0);
    constexpr int64_t kCost = 4;
    for (const ComplexError& e : measure_complex<T>(oracle, options.samples / kCost, options.seed)) {
        if (!options.level.empty() && e.level != options.level) continue;
        std::string at = fmt::format("{:a} {:+a}i", e.worst[0], e.worst[1]);
        if (oracle.arguments == 2) at += fmt::format(", {:a} {:+a}i", e.worst[2], e.worst[3]);
        table.row({std::string(oracle.function), type, e.level, shown_ulp(e.component), shown_ulp(e.norm), at,
                   fmt::format("{}", e.count)});
    }
}

// Whether the command line asks for the function.
bool wanted(const Options& options, std::string_view function) {
    return options.function.starts_with('=') ? function == options.function.substr(1)
                                             : function.find(options.function) != std::string_view::npos;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app(
        "Error in ulp of every built function and level against MPFR, with the worst argument found.");
    app.add_option("function", options.function,
                   "only functions whose name contains this; '=Exp' means exactly Exp");
    app.add_option("--level", options.level, "LA, HA or EP")->check(CLI::IsMember({"LA", "HA", "EP"}));
    app.add_option("--type", options.types,
                   "d (double), s (single), z (double complex), c (single complex), or some of them")
        ->check([](const std::string& types) {
            return types.find_first_not_of("dszc") == std::string::npos ? ""
                                                                        : "only the letters d, s, z and c";
        })
        ->capture_default_str();
    app.add_option("--samples", options.samples, "arguments for each function and type; slow ones get fewer")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app.add_option("--seed", options.seed, "of the random arguments")->capture_default_str();
    app.add_option("--threads", options.threads, "the result does not depend on it")
        ->check(CLI::Range(1, 1024))
        ->capture_default_str();
    app.add_flag("--exhaustive", options.exhaustive, "all 2^32 arguments, single precision only");
    app.add_option("--hard", options.hard, "folder of the hard cases")
        ->check(CLI::ExistingDirectory)
        ->capture_default_str();
    app.add_option("--markdown", options.markdown, "also write the table to this file");
    app.add_option("--update", options.page, "replace the table of this page")->check(CLI::ExistingFile);
    CLI11_PARSE(app, argc, argv);

    const auto start = std::chrono::steady_clock::now();
    Table table({"function", "type", "level", ">max ulp", "at argument", "computed", "exact",
                 ">% correctly rounded", ">results"});
    Table complex_table(
        {"function", "type", "level", ">max ulp, component", ">max error, norm", "at argument", ">results"});
    try {
        for (const Oracle& oracle : oracles()) {
            if (!wanted(options, oracle.function)) continue;
            const bool one_argument = oracle.shape == Shape::kUnary || oracle.shape == Shape::kTwoResults;
            if (options.exhaustive && !one_argument) continue;
            if (options.types.find('d') != std::string::npos && !options.exhaustive)
                measure_function<double>(oracle, options, table);
            if (options.types.find('s') != std::string::npos) measure_function<float>(oracle, options, table);
        }
        for (const ComplexOracle& oracle : complex_oracles()) {
            if (options.exhaustive || !wanted(options, oracle.function)) continue;
            if (options.types.find('z') != std::string::npos)
                measure_complex_function<double>(oracle, options, complex_table);
            if (options.types.find('c') != std::string::npos)
                measure_complex_function<float>(oracle, options, complex_table);
        }
    } catch (const std::exception& error) {
        fmt::print(stderr, "ozk_accuracy: {}\n", error.what());
        return 1;
    }
    end_progress();
    if (table.empty() && complex_table.empty()) {
        fmt::print(stderr, "ozk_accuracy: the library has no function and level that match\n");
        return 1;
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    if (!table.empty()) fmt::print("{}\n", table.text());
    if (!complex_table.empty()) fmt::print("{}\n", complex_table.text());
    if (const auto rest = unmeasured(); options.function.empty() && !rest.empty())
        fmt::print(stderr, "built, but not measured here: {}\n", fmt::join(rest, " "));
    fmt::print(stderr, "{:.1f} s on {} threads\n", seconds.count(), options.threads);
    if (!options.markdown.empty() && !(std::ofstream(options.markdown) << table.text() << '\n'
                                                                       << complex_table.text())) {
        fmt::print(stderr, "ozk_accuracy: {}: cannot be written\n", options.markdown);
        return 1;
    }
    if (!options.page.empty()) {
        const std::string text = fmt::format("{} samples, seed {}{}.\n\n{}", options.samples, options.seed,
                                             options.exhaustive ? ", exhaustive" : "", table.text());
        for (const auto& [name, section] :
             {std::pair("accuracy", text), std::pair("complex", complex_table.text())}) {
            if (const std::string error = update_page(options.page, name, section); !error.empty()) {
                fmt::print(stderr, "ozk_accuracy: {}\n", error);
                return 1;
            }
        }
    }
    return 0;
}
