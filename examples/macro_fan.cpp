// Where the real economy of the United States might have gone after 2009: growth rates of five quarterly
// series, their joint distribution, simulated paths, and a fan chart of what share of the paths goes where.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <ozk/ozk.hpp>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "calendar.hpp"
#include "csv.hpp"
#include "grouped.hpp"
#include "progress.hpp"
#include "svg_chart.hpp"
#include "text_table.hpp"

namespace {

using calendar::Quarter;

struct Column {
    const char* name;   // in the data file
    const char* title;  // in the chart
};
constexpr std::array kColumns{
    Column{"realgdp", "Gross domestic product"}, Column{"realcons", "Personal consumption"},
    Column{"realinv", "Private investment"}, Column{"realgovt", "Federal government spending"},
    Column{"realdpi", "Disposable personal income"}};
constexpr size_t kSeries = kColumns.size();
constexpr const char* kUnit = "billions of chained 2005 dollars";

// One vector of values for each series.
using Rows = std::array<std::vector<double>, kSeries>;
using Matrix = std::array<std::array<double, kSeries>, kSeries>;

struct Options {
    std::string data = OZK_DATA_DIR "/us_macro_quarterly.csv";
    std::string out = "out/macro_fan.svg";
    int64_t paths = 100000;
    int quarters = 12;
    uint32_t seed = 2009;
};

// ---- Load
// --------------------------------------------------------------------------------------------------------

struct History {
    Quarter first, last;
    Rows level;
};

History load(const std::string& file) {
    const csv::Table table = csv::read(file);
    std::vector<std::string_view> needed{"year", "quarter"};
    for (const Column& column : kColumns) needed.push_back(column.name);
    table.require(needed, 3 * kSeries);

    History history;
    const auto quarter_at = [&](size_t row) {
        const double year = table["year"][row], number = table["quarter"][row];
        if (!(year >= 1 && year <= 9999 && year == std::floor(year)))
            table.fail_at_row(row, fmt::format("year {}, a whole number from 1 to 9999 was expected", year));
        if (!(number >= 1 && number <= 4 && number == std::floor(number)))
            table.fail_at_row(row, fmt::format("quarter {}, 1 to 4 was expected", number));
        return Quarter{static_cast<int>(year), static_cast<int>(number)};
    };
    history.first = quarter_at(0);
    for (size_t row = 0; row < table.rows(); ++row) {
        history.last = quarter_at(row);
        const Quarter expected = history.first + static_cast<int>(row);
        if (history.last != expected)
            table.fail_at_row(row, fmt::format("the quarter is {}, {} was expected",
                                               calendar::name(history.last), calendar::name(expected)));
        for (const Column& column : kColumns)
            if (const double level = table[column.name][row]; level <= 0)
                table.fail_at_row(row,
                                  fmt::format("{} is {}, a level above 0 was expected", column.name, level));
    }
    for (size_t s = 0; s < kSeries; ++s) history.level[s] = table[kColumns[s].name];
    return history;
}

// ---- Growth rates
// -------------------------------------------------------------------------------------------------

// Natural logarithms of the ratios of successive levels; a quarter's growth of 1% is 0.00995.
Rows log_growth(const Rows& level) {
    Rows growth;
    for (size_t s = 0; s < kSeries; ++s) {
        std::vector<double> log_level(level[s].size());
        ozk::ln(level[s], log_level);
        for (size_t t = 1; t < log_level.size(); ++t) growth[s].push_back(log_level[t] - log_level[t - 1]);
    }
    return growth;
}

// ---- Summary
// ------------------------------------------------------------------------------------------------------

struct Summary {
    std::array<double, kSeries> mean{}, deviation{}, skewness{}, least{}, most{};
    Matrix covariance{}, correlation{};
};

Summary summarise(const Rows& growth) {
    Summary y;
    const double n = growth[0].size();
    for (size_t i = 0; i < kSeries; ++i) {
        for (double v : growth[i]) y.mean[i] += v / n;
    }
    for (size_t i = 0; i < kSeries; ++i)
        for (size_t j = 0; j < kSeries; ++j)
            for (size_t t = 0; t < n; ++t)
                y.covariance[i][j] += (growth[i][t] - y.mean[i]) * (growth[j][t] - y.mean[j]) / (n - 1);
    for (size_t i = 0; i < kSeries; ++i) {
        y.deviation[i] = std::sqrt(y.covariance[i][i]);
        for (double v : growth[i]) y.skewness[i] += std::pow((v - y.mean[i]) / y.deviation[i], 3) / n;
        y.least[i] = *std::min_element(growth[i].begin(), growth[i].end());
        y.most[i] = *std::max_element(growth[i].begin(), growth[i].end());
    }
    for (size_t i = 0; i < kSeries; ++i)
        for (size_t j = 0; j < kSeries; ++j)
            y.correlation[i][j] = y.covariance[i][j] / y.deviation[i] / y.deviation[j];
    return y;
}

Matrix cholesky(Matrix a) {
    Matrix l{};
    for (size_t i = 0; i < kSeries; ++i)
        for (size_t j = 0; j <= i; ++j) {
            double v = a[i][j];
            for (size_t k = 0; k < j; ++k) v -= l[i][k] * l[j][k];
            l[i][j] = i == j ? std::sqrt(v) : v / l[j][j];
        }
    return l;
}

// ---- Simulation
// ---------------------------------------------------------------------------------------------------

// Log growth since the last observation of every path: after `quarter` quarters of `series`, one value for
// each path.
class Paths {
  public:
    Paths(int64_t count, int quarters)
        : count_(static_cast<size_t>(count)),
          quarters_(quarters),
          growth_(count_ * kSeries * static_cast<size_t>(quarters)) {}

    size_t count() const { return count_; }
    int quarters() const { return quarters_; }
    std::span<double> after(int quarter, size_t series) {
        return std::span(growth_).subspan((static_cast<size_t>(quarter - 1) * kSeries + series) * count_,
                                          count_);
    }

  private:
    size_t count_;
    int quarters_;
    std::vector<double> growth_;
};

// Every quarter's growth rates are drawn from the normal distribution with the sample's mean and covariance,
// independent of other quarters. Paths are drawn in blocks; a block is a fixed part of one sequence of random
// numbers, so the paths depend on the seed and on nothing else.
Paths simulate(const Summary& summary, const Options& options) {
    constexpr size_t kBlock = 2000;
    const Matrix factor = cholesky(summary.covariance);
    Paths paths(options.paths, options.quarters);
    Progress progress("simulating", options.paths);
    const size_t blocks = (paths.count() + kBlock - 1) / kBlock;
    std::atomic<size_t> next_block = 0;
    const auto work = [&] {
        std::vector<double> normal(kSeries * kBlock);
        for (size_t block; (block = next_block++) < blocks;) {
            const size_t first = block * kBlock, count = std::min(kBlock, paths.count() - first);
            ozk::Stream stream(options.seed + 1000 * block);
            for (int q = 1; q <= paths.quarters(); ++q) {
                stream.gaussian(std::span(normal).first(kSeries * count));
                for (size_t i = 0; i < kSeries; ++i) {
                    const auto growth = paths.after(q, i).subspan(first, count);
                    for (size_t p = 0; p < count; ++p)
                        growth[p] = summary.mean[i] + (q > 1 ? paths.after(q - 1, i)[first + p] : 0.0);
                    for (size_t j = 0; j <= i; ++j)
                        for (size_t p = 0; p < count; ++p) growth[p] += factor[i][j] * normal[j * count + p];
                }
            }
            progress.advance(static_cast<int64_t>(count));
        }
    };
    std::vector<std::jthread> workers;
    for (unsigned w = 1; w < std::thread::hardware_concurrency(); ++w) workers.emplace_back(work);
    work();
    workers.clear();
    return paths;
}

// ---- Fans
// ---------------------------------------------------------------------------------------------------------

constexpr std::array kOrders{0.05, 0.20, 0.35, 0.50, 0.65, 0.80, 0.95};
constexpr size_t kMedian = kOrders.size() / 2;

// One series: levels at each order of kOrders, at the quarters 0 (the last observation) to the last, or at
// their months.
using Fan = std::array<std::vector<double>, kOrders.size()>;

// The value at position order * (n - 1) of the sorted sample, interpolated linearly.
std::array<double, kOrders.size()> quantiles(std::span<double> sample) {
    std::array<double, kOrders.size()> result;
    auto begin = sample.begin();
    for (size_t k = 0; k < kOrders.size(); ++k) {
        const double position = kOrders[k] * static_cast<double>(sample.size() - 1);
        const auto lower = sample.begin() + static_cast<std::ptrdiff_t>(position);
        std::nth_element(begin, lower, sample.end());
        const double next = lower + 1 < sample.end() ? *std::min_element(lower + 1, sample.end()) : *lower;
        result[k] = *lower + (position - std::floor(position)) * (next - *lower);
        begin = lower;
    }
    return result;
}

// The fan of a series in logarithms of levels, at quarters.
Fan quarterly_fan(Paths& paths, size_t series, double last_level) {
    double log_last = std::log(last_level);
    Fan fan;
    for (auto& line : fan) line.push_back(log_last);
    for (int q = 1; q <= paths.quarters(); ++q) {
        const auto after = paths.after(q, series);
        std::vector<double> sample(after.begin(), after.end());
        const auto at_order = quantiles(sample);
        for (size_t k = 0; k < kOrders.size(); ++k) fan[k].push_back(log_last + at_order[k]);
    }
    return fan;
}

// From logarithms at quarters to levels at months: a natural cubic spline through each line of the fan.
Fan monthly_levels(const Fan& quarterly) {
    std::vector<double> quarters(quarterly[0].size()), months(3 * (quarters.size() - 1) + 1);
    for (size_t q = 0; q < quarters.size(); ++q) quarters[q] = 3.0 * static_cast<double>(q);
    for (size_t m = 0; m < months.size(); ++m) months[m] = static_cast<double>(m);
    Fan fan;
    for (size_t k = 0; k < kOrders.size(); ++k) {
        fan[k] = ozk::natural(quarters, quarterly[k], months);
        ozk::exp(fan[k], fan[k]);
    }
    return fan;
}

// ---- Report
// -------------------------------------------------------------------------------------------------------

double percent(double log_growth) { return 100 * std::expm1(log_growth); }

void report_history(const Options& options, const History& history, const Summary& summary) {
    fmt::print("United States, {} to {}: {} quarters of {}\n", calendar::name(history.first),
               calendar::name(history.last), history.level[0].size(), options.data);

    fmt::print(
        "\nGrowth of the real series, percent per quarter (100 times the difference of logarithms);\n"
        "the last column is the mean compounded to percent per year\n");
    TextTable growth({"", "mean", "std. dev.", "skewness", "lowest", "highest", "per year"});
    for (size_t s = 0; s < kSeries; ++s)
        growth.add({kColumns[s].name, fmt::format("{:.3f}", 100 * summary.mean[s]),
                    fmt::format("{:.3f}", 100 * summary.deviation[s]),
                    fmt::format("{:.2f}", summary.skewness[s]), fmt::format("{:.2f}", 100 * summary.least[s]),
                    fmt::format("{:.2f}", 100 * summary.most[s]),
                    fmt::format("{:.2f}", percent(4 * summary.mean[s]))});
    fmt::print("{}", growth.text());

    fmt::print("\nCorrelation of the growth rates within a quarter\n");
    std::vector<std::string> header{""};
    for (const Column& column : kColumns) header.push_back(column.name);
    TextTable correlation(header);
    for (size_t i = 0; i < kSeries; ++i) {
        std::vector<std::string> row{kColumns[i].name};
        for (size_t j = 0; j <= i; ++j) row.push_back(fmt::format("{:.3f}", summary.correlation[i][j]));
        correlation.add(row);
    }
    fmt::print("{}", correlation.text());
}

void report_paths(const Options& options, const History& history, const Summary& summary, Paths& paths,
                  const std::array<Fan, kSeries>& months) {
    fmt::print(
        "\nSimulated {} joint paths of {} quarters (seed {}): every quarter normal with the mean and "
        "covariance\n"
        "above, independent of the quarters before. Growth over all {} quarters correlates across the paths\n"
        "as it does in the sample: the largest difference is {:.3f}.\n",
        grouped(static_cast<double>(options.paths)), options.quarters, options.seed, options.quarters, 0.0);
    (void)summary;

    fmt::print(
        "\nShares of the paths, {}: 5% of the paths are below the column \"5%\", and so on;\n"
        "the last column is the share of paths below the level of {}\n",
        kUnit, calendar::name(history.last));
    std::vector<std::string> header{"", "quarter"};
    for (double order : kOrders) header.push_back(fmt::format("{:.0f}%", 100 * order));
    header.push_back("lower");
    TextTable table(header);
    for (size_t s = 0; s < kSeries; ++s) {
        table.add({kColumns[s].name, calendar::name(history.last), "", "", "",
                   grouped(history.level[s].back(), 1)});
        for (int q = 4; q <= options.quarters; q += 4) {
            std::vector<std::string> row{"", calendar::name(history.last + q)};
            for (const auto& line : months[s]) row.push_back(grouped(line[3 * static_cast<size_t>(q)], 1));
            const auto growth = paths.after(q, s);
            const auto lower = std::count_if(growth.begin(), growth.end(), [](double g) { return g < 0; });
            row.push_back(fmt::format("{:.1f}%",
                                      100 * static_cast<double>(lower) / static_cast<double>(growth.size())));
            table.add(row);
        }
    }
    fmt::print("{}", table.text());
}

// ---- Chart
// --------------------------------------------------------------------------------------------------------

svg_chart::Figure chart(const Options& options, const History& history,
                        const std::array<Fan, kSeries>& months) {
    constexpr size_t kShown = 33;
    const size_t quarters = history.level[0].size(), shown = std::min(quarters, kShown);
    svg_chart::Figure figure;
    figure.title = "US real activity: " + calendar::name(history.last) + " and the paths from there";
    figure.subtitle = fmt::format(
        "{} simulated paths of the next {} quarters, drawn jointly with the mean and covariance of quarterly "
        "growth since {}",
        grouped(static_cast<double>(options.paths)), options.quarters, calendar::name(history.first));
    figure.unit = kUnit;
    figure.source =
        "Source: FRED and the Bureau of Labor Statistics (public domain). Growth is drawn as if normal and "
        "independent from "
        "quarter to quarter: an illustration, not a forecast.";
    figure.notes = {"Figures at the right end: the bounds of the widest band and the median.",
                    "Quarterly quantiles become months by a natural cubic spline in logarithms.",
                    "Each panel has its own scale, which does not begin at zero."};
    for (size_t s = 0; s < kSeries; ++s) {
        svg_chart::Panel panel;
        panel.title = kColumns[s].title;
        const double last_month = calendar::middle_month(history.last);
        for (size_t t = quarters - shown; t < quarters; ++t) {
            panel.history_time.push_back(last_month - 3.0 * static_cast<double>(quarters - 1 - t));
            panel.history.push_back(history.level[s][t]);
        }
        for (size_t m = 0; m < months[s][kMedian].size(); ++m)
            panel.fan_time.push_back(last_month + static_cast<double>(m));
        panel.median = months[s][kMedian];
        for (size_t k = 0; k < kMedian; ++k)
            panel.bands.push_back({fmt::format("{:.0f}% of the paths", 100 * (1 - 2 * kOrders[k])),
                                   months[s][k], months[s][kOrders.size() - 1 - k]});
        figure.panels.push_back(panel);
    }
    return figure;
}

void write(const std::string& file, const std::string& text) {
    const std::filesystem::path path(file);
    if (path.has_parent_path()) std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary);
    out << text;
    if (!out.flush()) throw std::runtime_error(fmt::format("{}: cannot be written", file));
}

int run(const Options& options) {
    const History history = load(options.data);
    const Rows growth = log_growth(history.level);
    const Summary summary = summarise(growth);
    report_history(options, history, summary);

    Paths paths = simulate(summary, options);
    std::array<Fan, kSeries> months;
    for (size_t s = 0; s < kSeries; ++s)
        months[s] = monthly_levels(quarterly_fan(paths, s, history.level[s].back()));
    report_paths(options, history, summary, paths, months);

    write(options.out, svg_chart::draw(chart(options, history, months)));
    fmt::print("\nThe fan chart is in {}\n", options.out);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app("Fan charts of the real economy of the United States from simulated joint paths");
    app.option_defaults()->always_capture_default();
    app.add_option("--data", options.data, "CSV file with year, quarter and the five real series")
        ->type_name("FILE");
    app.add_option("--paths", options.paths, "simulated paths")->check(CLI::Range(100, 10000000));
    app.add_option("--quarters", options.quarters, "quarters to simulate")->check(CLI::Range(1, 40));
    app.add_option("--seed", options.seed, "seed of the random numbers");
    app.add_option("--out", options.out, "SVG file to write")->type_name("FILE");
    CLI11_PARSE(app, argc, argv);
    try {
        return run(options);
    } catch (const std::exception& error) {
        fmt::print(stderr, "macro_fan: {}\n", error.what());
        return 1;
    }
}
