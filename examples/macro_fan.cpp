// Where the economy of the United States could have gone after 2009: growth rates of five quarterly series,
// their joint distribution, simulated paths from the last observation on, and a chart of what share of the
// paths goes where.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <future>
#include <ozk/ozk.hpp>
#include <span>
#include <stdexcept>
#include <thread>
#include <vector>

#include "macro_chart.hpp"
#include "macro_report.hpp"
#include "macro_results.hpp"
#include "progress.hpp"
#include "us_macro.hpp"

namespace {

using us_macro::History;
using us_macro::kCount;

// One row for each series.
ozk::matrix growth_rates(const History& history) {
    ozk::matrix growth(kCount, history.quarters() - 1);
    for (size_t s = 0; s < kCount; ++s) {
        const std::vector<double> log_level = ozk::ln(history.level[s]);
        for (size_t t = 0; t < growth.columns(); ++t) growth(s, t) = log_level[t + 1] - log_level[t];
    }
    return growth;
}

Summary summarise(const ozk::matrix& growth) {
    using enum ozk::Estimate;
    const ozk::statistics statistics(growth.values(), kCount, mean | skewness | covariance | correlation,
                                     ozk::Layout::by_component);
    return {statistics.mean(), statistics.skewness(), statistics.covariance(), statistics.correlation()};
}

Outlying find_outlying(const ozk::matrix& growth) {
    constexpr auto layout = ozk::Layout::by_component;
    return {ozk::outliers(growth.values(), kCount, layout),
            ozk::robust_covariance(growth.values(), kCount, layout).distances(growth.values(), layout)};
}

// Growth in a quarter is normal with the sample's mean and covariance, independent of other quarters: mean +
// L z with independent standard normal z and covariance = L L'. Paths are drawn in blocks on several threads.
// A block begins at a fixed place of the one sequence that the seed gives, so the paths do not depend on
// which thread draws it.
Paths simulate(const Summary& summary, const Options& options) {
    constexpr size_t kBlock = 2000;
    const ozk::matrix factor = ozk::cholesky(summary.covariance);
    const ozk::stream sequence("MCG59", options.seed);
    Paths paths(static_cast<size_t>(options.paths), options.quarters);

    const auto draw_block = [&](size_t first, size_t count) {
        ozk::stream stream = sequence;
        stream.skip_ahead(first * kCount * static_cast<size_t>(options.quarters));  // one number for each z
        std::vector<double> z(kCount * count);
        for (int q = 1; q <= options.quarters; ++q) {
            stream.gaussian(z);
            for (size_t s = 0; s < kCount; ++s) {
                const auto growth = paths.after(q, s).subspan(first, count);
                std::fill(growth.begin(), growth.end(), summary.mean[s]);
                for (size_t k = 0; k <= s; ++k)
                    for (size_t p = 0; p < count; ++p) growth[p] += factor(s, k) * z[k * count + p];
                if (q == 1) continue;
                const auto before = paths.after(q - 1, s).subspan(first, count);
                for (size_t p = 0; p < count; ++p) growth[p] += before[p];
            }
        }
    };

    Progress progress("simulating", options.paths);
    std::atomic<size_t> next = 0;
    const auto draw_blocks = [&] {
        for (size_t first; (first = next.fetch_add(kBlock)) < paths.count();) {
            const size_t count = std::min(kBlock, paths.count() - first);
            draw_block(first, count);
            progress.advance(static_cast<int64_t>(count));
        }
    };
    std::vector<std::future<void>> helpers;
    for (unsigned h = 1; h < std::thread::hardware_concurrency(); ++h)
        helpers.push_back(std::async(std::launch::async, draw_blocks));
    draw_blocks();
    for (auto& helper : helpers) helper.get();
    return paths;
}

ozk::matrix path_correlation(Paths& paths, int quarter) {
    return ozk::statistics(paths.after(quarter), kCount, ozk::Estimate::correlation,
                           ozk::Layout::by_component)
        .correlation();
}

// The values at the positions share * (n - 1) of the sorted sample, interpolated linearly between neighbours.
std::vector<double> quantiles(std::vector<double> sample) {
    std::vector<double> values;
    auto unsorted = sample.begin();
    for (double share : kShares) {
        const double position = share * static_cast<double>(sample.size() - 1);
        const auto lower = sample.begin() + static_cast<std::ptrdiff_t>(position);
        std::nth_element(unsorted, lower, sample.end());
        const double upper = *std::min_element(lower + 1, sample.end());
        values.push_back(std::lerp(*lower, upper, position - std::floor(position)));
        unsorted = lower;
    }
    return values;
}

// Logarithms of levels at quarters.
Fans quarterly_fans(const History& history, Paths& paths, int quarters) {
    Fans fans;
    for (size_t s = 0; s < kCount; ++s) {
        const double log_last = std::log(history.level[s].back());
        fans[s] = ozk::matrix(kShares.size(), static_cast<size_t>(quarters) + 1);
        for (size_t k = 0; k < kShares.size(); ++k) fans[s](k, 0) = log_last;
        for (int q = 1; q <= quarters; ++q) {
            const auto growth = paths.after(q, s);
            const std::vector<double> at_share = quantiles({growth.begin(), growth.end()});
            for (size_t k = 0; k < kShares.size(); ++k)
                fans[s](k, static_cast<size_t>(q)) = log_last + at_share[k];
        }
    }
    return fans;
}

// Levels at months, from a natural spline through each line of the logarithms at quarters.
Fans monthly_fans(const Fans& quarterly) {
    std::vector<double> quarters, months;
    for (size_t q = 0; q < quarterly[0].columns(); ++q) quarters.push_back(3.0 * static_cast<double>(q));
    for (double month = 0; month <= quarters.back(); ++month) months.push_back(month);
    Fans fans;
    for (size_t s = 0; s < kCount; ++s) {
        const ozk::spline lines(quarters, quarterly[s].values());
        fans[s] = ozk::matrix(kShares.size(), months.size());
        for (size_t k = 0; k < kShares.size(); ++k) lines(months, fans[s].row(k), k);
        ozk::exp(fans[s].values(), fans[s].values());
    }
    return fans;
}

void write_file(const std::string& file, const std::string& text) {
    // A folder that cannot be created is one that the file cannot be opened in.
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(file).parent_path(), ignored);
    std::ofstream out(file, std::ios::binary);
    if (!(out << text).flush())
        throw std::runtime_error(fmt::format("{}: cannot be written: {}", file, std::strerror(errno)));
}

void run(const Options& options) {
    const History history = us_macro::load(options.data);
    const ozk::matrix growth = growth_rates(history);
    const Summary summary = summarise(growth);
    macro_report::print_history(options, history, growth, summary);
    const Outlying outlying = find_outlying(growth);
    macro_report::print_outlying(history, growth, outlying);

    Paths paths = simulate(summary, options);
    macro_report::print_simulation(options, summary, path_correlation(paths, options.quarters));

    const Fans months = monthly_fans(quarterly_fans(history, paths, options.quarters));
    macro_report::print_fans(options, history, paths, months);

    write_file(options.out, svg_chart::draw(macro_chart::figure(options, history, outlying, months)));
    fmt::print("\nThe fan chart is in {}\n", options.out);
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app("Fan charts of the economy of the United States from simulated joint paths");
    app.option_defaults()->always_capture_default();
    app.add_option("--data", options.data, "CSV file with year, quarter and the real series")
        ->type_name("FILE");
    app.add_option("--paths", options.paths, "simulated paths")->check(CLI::Range(100, 1000000));
    app.add_option("--quarters", options.quarters, "simulated quarters")->check(CLI::Range(1, 40));
    app.add_option("--seed", options.seed, "seed of the random numbers");
    app.add_option("--out", options.out, "chart to write")->type_name("FILE");
    CLI11_PARSE(app, argc, argv);
    try {
        run(options);
    } catch (const std::exception& error) {
        fmt::print(stderr, "macro_fan: {}\n", error.what());
        return 1;
    }
    return 0;
}
