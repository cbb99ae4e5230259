// The quarterly real series of the United States and their history in data/us_macro_quarterly.csv.
#pragma once

#include <array>
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

#include "calendar.hpp"
#include "csv.hpp"

namespace us_macro {

struct Series {
    const char* column;  // in the file
    const char* title;
};
constexpr std::array kSeries{
    Series{"realgdp", "Gross domestic product"}, Series{"realcons", "Personal consumption"},
    Series{"realinv", "Private investment"}, Series{"realgovt", "Federal government spending"},
    Series{"realdpi", "Disposable personal income"}};
constexpr size_t kCount = kSeries.size();
constexpr const char* kUnit = "billions of chained 2005 dollars";

struct History {
    calendar::Quarter first, last;                  // without gaps between them
    std::array<std::vector<double>, kCount> level;  // in kUnit, above zero

    size_t quarters() const { return level[0].size(); }
};

// Throws csv::Error with the line at fault.
inline History load(const std::string& file) {
    // The outlier detection needs five quarters of growth for each series.
    constexpr size_t kFewestQuarters = 5 * kCount + 1;
    const csv::Table table = csv::read(file);
    std::vector<std::string_view> columns{"year", "quarter"};
    for (const Series& series : kSeries) columns.push_back(series.column);
    table.require(columns, kFewestQuarters);

    const auto whole = [&](const char* column, size_t row, int least, int most) {
        const double value = table[column][row];
        if (!(value >= least && value <= most && value == std::floor(value)))
            table.fail_at_row(row, fmt::format("{} is {}, a whole number from {} to {} was expected", column,
                                               value, least, most));
        return static_cast<int>(value);
    };
    const auto quarter = [&](size_t row) {
        return calendar::Quarter{whole("year", row, 1, 9999), whole("quarter", row, 1, 4)};
    };
    History history{quarter(0), {}, {}};
    for (size_t row = 0; row < table.rows(); ++row) {
        const calendar::Quarter expected = history.first + static_cast<int>(row);
        history.last = quarter(row);
        if (history.last != expected)
            table.fail_at_row(row, fmt::format("the row is of {}, {} was expected",
                                               calendar::name(history.last), calendar::name(expected)));
        for (size_t s = 0; s < kCount; ++s) {
            const double level = table[kSeries[s].column][row];
            if (level <= 0)
                table.fail_at_row(
                    row, fmt::format("{} is {}, a level above 0 was expected", kSeries[s].column, level));
            history.level[s].push_back(level);
        }
    }
    return history;
}

}  // namespace us_macro
