// Fan charts as SVG: a grid of panels, each a line of history that ends where a fan of quantile bands around
// its median begins. One hue from light to dark carries the bands, so that the chart reads the same for
// colour-blind readers and in grey.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

#include "calendar.hpp"
#include "grouped.hpp"

namespace svg_chart {

struct Band {
    std::string label;  // "90% of paths"
    std::vector<double> low, high;
};

// Times are months, see calendar.hpp. The fan begins at the last point of the history.
struct Panel {
    std::string title;
    std::vector<double> history_time, history;
    std::vector<double> mark_time, marks;  // points of the history to mark, if any
    std::vector<double> fan_time, median;
    std::vector<Band> bands;  // from the widest to the narrowest, at most three
};

struct Figure {
    std::string title, subtitle, unit;
    std::vector<std::string> notes;  // lines below the legend
    std::string source;              // one line at the foot
    std::vector<Panel> panels;       // at least one; all with the same times and labels
    std::string mark_label = {};     // what the marks say, where there are any
};

namespace detail {

constexpr int kColumns = 2;
constexpr double kMargin = 28, kHeader = 84, kFooter = 34;
constexpr double kCellWidth = 556, kCellHeight = 286;
// The plot within its cell; labels stand around it.
constexpr double kPlotLeft = 56, kPlotRight = 80, kPlotTop = 48, kPlotBottom = 36;

constexpr const char* kInk = "#1b1f24";
constexpr const char* kQuiet = "#5b6470";
constexpr const char* kGrid = "#e6e9ed";
constexpr const char* kMedian = "#08407e";
constexpr const char* kMark = "#c2410c";
constexpr std::array kBands{"#d3e4f3", "#9dc6e4", "#5b9fd0"};

inline std::string escaped(std::string_view text) {
    std::string safe;
    for (char c : text) switch (c) {
            case '&':
                safe += "&amp;";
                break;
            case '<':
                safe += "&lt;";
                break;
            case '>':
                safe += "&gt;";
                break;
            case '"':
                safe += "&quot;";
                break;
            default:
                safe += c;
        }
    return safe;
}

struct Scale {
    double from, to;     // values
    double start, stop;  // places

    double operator()(double value) const { return start + (value - from) / (to - from) * (stop - start); }
};

// The smallest of 1, 2, 2.5 and 5 times a power of ten that cuts the span into at most `most` steps.
inline double round_step(double span, int most) {
    const double power = std::pow(10, std::floor(std::log10(span / most)));
    for (double factor : {1.0, 2.0, 2.5, 5.0})
        if (span / (factor * power) <= most) return factor * power;
    return 10 * power;
}

struct TimeTick {
    double time;
    std::string label;
};

// Quarters while they are few, else Januaries of round years.
inline std::vector<TimeTick> time_ticks(double from, double to) {
    constexpr int kMost = 8;
    int step = 3;
    for (int months : {12, 24, 60, 120, 240, 600})
        if ((to - from) / step > kMost) step = months;
    std::vector<TimeTick> ticks;
    for (int month = static_cast<int>(std::ceil(from / step)) * step; month <= to; month += step)
        ticks.push_back({static_cast<double>(month), step == 3 ? calendar::name(calendar::quarter_of(month))
                                                               : fmt::format("{}", month / 12)});
    return ticks;
}

inline std::string text(double x, double y, std::string_view style, std::string_view content) {
    return fmt::format("<text x=\"{:.1f}\" y=\"{:.1f}\" {}>{}</text>\n", x, y, style, escaped(content));
}

inline std::string line(double x1, double y1, double x2, double y2, std::string_view style) {
    return fmt::format("<line x1=\"{:.1f}\" y1=\"{:.1f}\" x2=\"{:.1f}\" y2=\"{:.1f}\" {}/>\n", x1, y1, x2, y2,
                       style);
}

inline std::string points(const Scale& x, const Scale& y, const std::vector<double>& times,
                          const std::vector<double>& values) {
    std::string list;
    for (size_t i = 0; i < times.size(); ++i)
        list += fmt::format("{:.1f},{:.1f} ", x(times[i]), y(values[i]));
    list.pop_back();
    return list;
}

inline std::string band(const Scale& x, const Scale& y, const std::vector<double>& times, const Band& b,
                        const char* colour) {
    const std::vector<double> times_back(times.rbegin(), times.rend()),
        low_back(b.low.rbegin(), b.low.rend());
    return fmt::format("<polygon class=\"band\" fill=\"{}\" points=\"{} {}\"/>\n", colour,
                       points(x, y, times, b.high), points(x, y, times_back, low_back));
}

inline std::string curve(std::string_view name, const char* colour, std::string_view points_list) {
    return fmt::format(
        "<polyline class=\"{}\" fill=\"none\" stroke=\"{}\" stroke-width=\"2\" stroke-linejoin=\"round\" "
        "points=\"{}\"/>\n",
        name, colour, points_list);
}

// A value to three significant digits or to units, whichever is finer.
inline std::string value_label(double value) { return grouped(value, std::abs(value) < 100 ? 1 : 0); }

// The values that the fan ends at, beside its end, moved apart where they would overlap.
inline std::string end_labels(const Panel& panel, double x, const Scale& y) {
    constexpr double kApart = 14;
    const double values[] = {panel.bands.front().high.back(), panel.median.back(),
                             panel.bands.front().low.back()};
    const double middle = y(values[1]);
    const double places[] = {std::min(y(values[0]), middle - kApart), middle,
                             std::max(y(values[2]), middle + kApart)};
    std::string out;
    for (int i = 0; i < 3; ++i)
        out += text(x + 8, places[i] + 4,
                    i == 1 ? fmt::format("class=\"number\" fill=\"{}\" font-weight=\"600\"", kMedian)
                           : fmt::format("class=\"number\" fill=\"{}\"", kQuiet),
                    value_label(values[i]));
    return out;
}

inline std::string mark(double x, double y) {
    return fmt::format(
        "<circle class=\"mark\" cx=\"{:.1f}\" cy=\"{:.1f}\" r=\"4.5\" fill=\"#ffffff\" stroke=\"{}\" "
        "stroke-width=\"2\"/>\n",
        x, y, kMark);
}

// What a browser shows while the pointer rests on a month of the fan.
inline std::string tooltips(const Panel& panel, const Scale& x, double top, double bottom) {
    std::string out;
    const Band& widest = panel.bands.front();
    for (size_t i = 0; i < panel.fan_time.size(); ++i)
        out += fmt::format(
            "<rect x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.1f}\" height=\"{:.1f}\" fill=\"none\" "
            "pointer-events=\"all\"><title>{}: median {}, {} within {} to {}</title></rect>\n",
            x(panel.fan_time[i] - 0.5), top, x(1) - x(0), bottom - top,
            calendar::month_name(static_cast<int>(std::lround(panel.fan_time[i]))),
            value_label(panel.median[i]), escaped(widest.label), value_label(widest.low[i]),
            value_label(widest.high[i]));
    return out;
}

inline std::string draw_panel(const Panel& panel, std::string_view unit, double left, double top) {
    auto [low, high] = std::minmax_element(panel.history.begin(), panel.history.end());
    const Band& widest = panel.bands.front();
    const double bottom_value = std::min(*low, *std::min_element(widest.low.begin(), widest.low.end()));
    const double top_value = std::max(*high, *std::max_element(widest.high.begin(), widest.high.end()));
    const double air = std::max(0.05 * (top_value - bottom_value), 1e-6 * std::abs(top_value) + 1e-300);

    const double plot_left = left + kPlotLeft, plot_right = left + kCellWidth - kPlotRight;
    const double plot_top = top + kPlotTop, plot_bottom = top + kCellHeight - kPlotBottom;
    const Scale x{panel.history_time.front(), panel.fan_time.back(), plot_left, plot_right};
    const Scale y{bottom_value - air, top_value + air, plot_bottom, plot_top};

    std::string out = "<g class=\"panel\">\n";
    out += text(left, top + 16, "class=\"panel-title\"", panel.title);
    out += text(left, top + 33, "class=\"small\"", unit);

    const double step = round_step(y.to - y.from, 6);
    int decimals = 0;
    for (double scaled = step; decimals < 9 && std::abs(scaled - std::round(scaled)) > 1e-6; scaled *= 10)
        ++decimals;
    for (double k = std::ceil(y.from / step); k * step <= y.to; ++k) {
        out += line(plot_left, y(k * step), plot_right, y(k * step), fmt::format("stroke=\"{}\"", kGrid));
        out += text(plot_left - 8, y(k * step) + 4, "class=\"small number\" text-anchor=\"end\"",
                    grouped(k * step, decimals));
    }
    out += line(plot_left, plot_bottom, plot_right, plot_bottom, fmt::format("stroke=\"{}\"", kQuiet));
    for (const TimeTick& tick : time_ticks(x.from, x.to)) {
        out += line(x(tick.time), plot_bottom, x(tick.time), plot_bottom + 5,
                    fmt::format("stroke=\"{}\"", kQuiet));
        out +=
            text(x(tick.time), plot_bottom + 19, "class=\"small number\" text-anchor=\"middle\"", tick.label);
    }

    for (size_t b = 0; b < panel.bands.size(); ++b)
        out += band(x, y, panel.fan_time, panel.bands[b], kBands[b]);
    const double now = panel.fan_time.front();
    out += line(x(now), plot_top, x(now), plot_bottom,
                fmt::format("stroke=\"{}\" stroke-dasharray=\"2 3\"", kQuiet));
    out += text(x(now) - 6, plot_top + 9, "class=\"small\" text-anchor=\"end\"",
                calendar::name(calendar::quarter_of(static_cast<int>(now))));
    out += curve("median", kMedian, points(x, y, panel.fan_time, panel.median));
    out += curve("history", kInk, points(x, y, panel.history_time, panel.history));
    for (size_t k = 0; k < panel.marks.size(); ++k) out += mark(x(panel.mark_time[k]), y(panel.marks[k]));
    out += end_labels(panel, plot_right, y);
    out += tooltips(panel, x, plot_top, plot_bottom);
    return out + "</g>\n";
}

inline std::string draw_legend(const Figure& figure, double left, double top) {
    constexpr double kRow = 24, kSwatch = 34;
    const Panel& panel = figure.panels.front();
    double y = top + kPlotTop;
    std::string out =
        "<g class=\"legend\">\n" + text(left, top + 16, "class=\"panel-title\"", "How to read it");
    const auto row = [&](std::string_view sample, std::string_view label) {
        out += sample;
        out += text(left + kSwatch + 12, y + 4, "class=\"body\"", label);
        y += kRow;
    };
    const auto stroke = [&](const char* colour) {
        return line(left, y, left + kSwatch, y, fmt::format("stroke=\"{}\" stroke-width=\"2\"", colour));
    };
    row(stroke(kInk), "observed, quarterly");
    if (!panel.marks.empty()) row(mark(left + kSwatch / 2, y), figure.mark_label);
    row(stroke(kMedian), "median of the simulated paths, monthly");
    for (size_t b = panel.bands.size(); b-- > 0;)
        row(fmt::format("<rect x=\"{:.1f}\" y=\"{:.1f}\" width=\"{}\" height=\"14\" fill=\"{}\"/>\n", left,
                        y - 7, kSwatch, kBands[b]),
            panel.bands[b].label);
    y += 8;
    for (const std::string& note : figure.notes) {
        out += text(left, y + 4, "class=\"small\"", note);
        y += 17;
    }
    return out + "</g>\n";
}

// What an SVG document begins with, its heading included.
inline std::string head(double width, double height, std::string_view title, std::string_view subtitle) {
    return fmt::format(
               "<svg xmlns=\"http://www.w3.org/2000/svg\" role=\"img\" width=\"{0}\" height=\"{1}\" "
               "viewBox=\"0 0 {0} {1}\" font-family=\"'Helvetica Neue', Helvetica, Arial, 'Liberation Sans', "
               "sans-serif\">\n"
               "<title>{2}</title>\n<desc>{3}</desc>\n"
               "<style>.title{{font-size:23px;font-weight:700;fill:{4}}}.body{{font-size:14px;fill:{4}}}"
               ".panel-title{{font-size:16px;font-weight:700;fill:{4}}}.small{{font-size:12px;fill:{5}}}"
               ".number{{font-size:12px;font-variant-numeric:tabular-nums}}</style>\n"
               "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n",
               width, height, escaped(title), escaped(subtitle), kInk, kQuiet) +
           text(kMargin, 38, "class=\"title\"", title) + text(kMargin, 62, "class=\"body\"", subtitle);
}

}  // namespace detail

// The whole SVG document: the panels row by row, the legend in the cell after the last one.
inline std::string draw(const Figure& figure) {
    using namespace detail;
    const auto cells = static_cast<int>(figure.panels.size()) + 1;
    const int rows = (cells + kColumns - 1) / kColumns;
    const double width = kMargin + kColumns * kCellWidth;
    const double height = kHeader + rows * kCellHeight + kFooter;
    std::string out = head(width, height, figure.title, figure.subtitle);
    for (int cell = 0; cell < cells; ++cell) {
        const double left = kMargin + cell % kColumns * kCellWidth,
                     top = kHeader + cell / kColumns * kCellHeight;
        out += cell + 1 < cells ? draw_panel(figure.panels[static_cast<size_t>(cell)], figure.unit, left, top)
                                : draw_legend(figure, left, top);
    }
    out += text(kMargin, height - 14, "class=\"small\"", figure.source);
    return out + "</svg>\n";
}

}  // namespace svg_chart
