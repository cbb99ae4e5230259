// The fan chart of macro_fan: one panel for each series, recent history and the monthly fan.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <vector>

#include "calendar.hpp"
#include "grouped.hpp"
#include "macro_results.hpp"
#include "svg_chart.hpp"

namespace macro_chart {

inline svg_chart::Figure figure(const Options& options, const us_macro::History& history,
                                const Outlying& outlying, const Fans& months) {
    // Eight years: more would press the fan to the edge.
    constexpr size_t kShownQuarters = 33;
    const size_t shown = std::min(history.quarters(), kShownQuarters);
    const double last_month = calendar::middle_month(history.last);
    const std::string end = calendar::name(history.last + options.quarters);

    svg_chart::Figure figure;
    figure.title = fmt::format("Where the US economy could have gone after {}", calendar::name(history.last));
    figure.subtitle = fmt::format(
        "{} simulated joint paths to {}, with the mean and covariance of quarterly growth since {}",
        grouped(static_cast<double>(options.paths)), end, calendar::name(history.first));
    figure.unit = us_macro::kUnit;
    figure.notes = {
        fmt::format("Numbers at the right: the widest band and the median in {}.", end),
        "Quantiles of quarters are interpolated to months by a natural cubic spline.",
        "Scales differ between the panels and do not begin at zero.",
        "Growth is drawn as normal and independent from quarter to quarter,",
        "which real economies are not: an illustration, not a forecast.",
    };
    figure.mark_label = "quarter whose growth is an outlier";
    figure.source = "Data: Federal Reserve Economic Data and Bureau of Labor Statistics, public domain.";
    for (size_t s = 0; s < us_macro::kCount; ++s) {
        const auto line = [&](size_t k) {
            return std::vector<double>(months[s].row(k).begin(), months[s].row(k).end());
        };
        svg_chart::Panel panel;
        panel.title = us_macro::kSeries[s].title;
        for (size_t back = shown; back-- > 0;) {
            panel.history_time.push_back(last_month - 3.0 * static_cast<double>(back));
            panel.history.push_back(history.level[s][history.quarters() - 1 - back]);
        }
        for (const size_t place : outlying.places) {
            const size_t quarter = place + 1;  // of the level that the growth led to
            if (quarter + shown < history.quarters()) continue;
            panel.mark_time.push_back(last_month -
                                      3.0 * static_cast<double>(history.quarters() - 1 - quarter));
            panel.marks.push_back(history.level[s][quarter]);
        }
        panel.median = line(kMedian);
        for (size_t m = 0; m < panel.median.size(); ++m)
            panel.fan_time.push_back(last_month + static_cast<double>(m));
        for (size_t k = 0; k < kMedian; ++k)
            panel.bands.push_back({fmt::format("{:.0f}% of the paths", 100 * (1 - 2 * kShares[k])), line(k),
                                   line(kShares.size() - 1 - k)});
        figure.panels.push_back(std::move(panel));
    }
    return figure;
}

}  // namespace macro_chart
