// What macro_fan prints.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "calendar.hpp"
#include "grouped.hpp"
#include "macro_results.hpp"
#include "text_table.hpp"

namespace macro_report {

using us_macro::kCount;

inline void print_history(const Options& options, const us_macro::History& history, const ozk::matrix& growth,
                          const Summary& summary) {
    fmt::print("United States, {} to {}: {} quarters from {}\n", calendar::name(history.first),
               calendar::name(history.last), history.quarters(), options.data);

    fmt::print(
        "\nGrowth of the real series, percent per quarter (100 times the difference of logarithms);\n"
        "annualised: the mean compounded over four quarters, percent per year\n");
    TextTable table({"", "mean", "std. dev.", "skewness", "lowest", "highest", "annualised"});
    for (size_t s = 0; s < kCount; ++s) {
        const auto [lowest, highest] = std::ranges::minmax(growth.row(s));
        table.add({us_macro::kSeries[s].column, fmt::format("{:.3f}", 100 * summary.mean[s]),
                   fmt::format("{:.3f}", 100 * std::sqrt(summary.covariance(s, s))),
                   fmt::format("{:.3f}", summary.skewness[s]), fmt::format("{:.2f}", 100 * lowest),
                   fmt::format("{:.2f}", 100 * highest),
                   fmt::format("{:.2f}", 100 * std::expm1(4 * summary.mean[s]))});
    }
    fmt::print("{}", table.text());

    fmt::print("\nCorrelation of growth in the same quarter\n");
    std::vector<std::string> header{""};
    for (const us_macro::Series& series : us_macro::kSeries) header.push_back(series.column);
    TextTable correlation(header);
    for (size_t i = 0; i < kCount; ++i) {
        std::vector<std::string> row{us_macro::kSeries[i].column};
        for (size_t j = 0; j <= i; ++j) row.push_back(fmt::format("{:.3f}", summary.correlation(i, j)));
        correlation.add(row);
    }
    fmt::print("{}", correlation.text());
}

inline void print_outlying(const us_macro::History& history, const ozk::matrix& growth,
                           const Outlying& outlying) {
    fmt::print(
        "\nOutlying quarters: {} of {} whose growth, percent per quarter, does not go with that of the "
        "others;\n"
        "distance: from the robust mean, in deviations of the robust covariance\n",
        outlying.places.size(), growth.columns());
    std::vector<std::string> header{"", "distance"};
    for (const us_macro::Series& series : us_macro::kSeries) header.push_back(series.column);
    TextTable table(header);
    for (const size_t t : outlying.places) {
        std::vector<std::string> row{calendar::name(history.first + static_cast<int>(t + 1)),
                                     fmt::format("{:.1f}", outlying.distance[t])};
        for (size_t s = 0; s < kCount; ++s) row.push_back(fmt::format("{:.2f}", 100 * growth(s, t)));
        table.add(row);
    }
    fmt::print("{}", table.text());
}

// simulated: the correlation of growth over all quarters across the paths, which estimates the sample's.
inline void print_simulation(const Options& options, const Summary& summary, const ozk::matrix& simulated) {
    double difference = 0;
    for (size_t i = 0; i < kCount; ++i)
        for (size_t j = 0; j < i; ++j)
            difference = std::max(difference, std::abs(simulated(i, j) - summary.correlation(i, j)));
    fmt::print(
        "\nSimulated: {} joint paths of the next {} quarters, seed {}. Growth in a quarter is normal\n"
        "with the mean and covariance of the sample, independent of other quarters. Check: growth over\n"
        "the {} quarters correlates across the paths as in the table above, to within {:.4f}.\n",
        grouped(static_cast<double>(options.paths)), options.quarters, options.seed, options.quarters,
        difference);
}

inline void print_fans(const Options& options, const us_macro::History& history, Paths& paths,
                       const Fans& months) {
    fmt::print(
        "\nLevels that a share of the paths stays below, {};\n"
        "lower: the share that is below the level of {}\n",
        us_macro::kUnit, calendar::name(history.last));
    std::vector<std::string> header{"", "quarter"};
    for (double share : kShares) header.push_back(fmt::format("{:.0f}%", 100 * share));
    header.push_back("lower");
    TextTable table(header);
    for (size_t s = 0; s < kCount; ++s) {
        std::string label = us_macro::kSeries[s].column;  // of the first row alone
        for (int q = 1; q <= options.quarters; ++q) {
            if (q % 4 != 0 && q != options.quarters) continue;
            std::vector<std::string> row{std::exchange(label, ""), calendar::name(history.last + q)};
            for (size_t k = 0; k < kShares.size(); ++k)
                row.push_back(grouped(months[s](k, 3 * static_cast<size_t>(q)), 1));
            const auto growth = paths.after(q, s);
            const auto lower = std::count_if(growth.begin(), growth.end(), [](double g) { return g < 0; });
            row.push_back(fmt::format("{:.1f}%",
                                      100 * static_cast<double>(lower) / static_cast<double>(growth.size())));
            table.add(row);
        }
    }
    fmt::print("{}", table.text());

    fmt::print("\nThe first year of {} by months, {}\n", us_macro::kSeries[0].column, us_macro::kUnit);
    TextTable by_month({"", "5%", "median", "95%"});
    const int last_month = calendar::middle_month(history.last);
    for (size_t m = 0; m < std::min<size_t>(13, months[0].columns()); ++m)
        by_month.add({calendar::month_name(last_month + static_cast<int>(m)), grouped(months[0](0, m), 1),
                      grouped(months[0](kMedian, m), 1), grouped(months[0](kShares.size() - 1, m), 1)});
    fmt::print("{}", by_month.text());
}

}  // namespace macro_report
