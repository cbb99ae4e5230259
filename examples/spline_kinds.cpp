// Draws every kind of spline through one set of points:
//
//     build/bin/spline_kinds > docs/spline_kinds.svg

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "ozk/ozk.hpp"
#include "svg_chart.hpp"

namespace {

using svg_chart::detail::Scale;

// Flat, then rising in a step, level, a hollow: where the kinds differ.
const std::vector<double> kX = {0, 1, 2.5, 3, 4, 5, 6.5, 7.5, 8.5, 10};
const std::vector<double> kY = {1, 1, 1.2, 3.9, 4.4, 4.5, 4.5, 2, 2.6, 4};

struct Curve {
    std::string title, note;
    std::vector<double> values;  // none of a look-up
};

constexpr double kLow = -1, kHigh = 6;
constexpr int kColumns = 3;
constexpr double kHeader = 84, kCellWidth = 380, kCellHeight = 230, kMargin = svg_chart::detail::kMargin;

std::vector<double> sites() {
    constexpr int kPerUnit = 40;
    std::vector<double> all;
    for (int i = 0; i <= kPerUnit * static_cast<int>(kX.back()); ++i)
        all.push_back(static_cast<double>(i) / kPerUnit);
    return all;
}

std::vector<Curve> curves() {
    // Of the parabola through a knot and its neighbours.
    std::vector<double> level, bend;
    for (size_t i = 1; i + 1 < kX.size(); ++i) {
        const double before = (kY[i] - kY[i - 1]) / (kX[i] - kX[i - 1]),
                     behind = (kY[i + 1] - kY[i]) / (kX[i + 1] - kX[i]);
        level.push_back(0);
        bend.push_back(2 * (behind - before) / (kX[i + 1] - kX[i - 1]));
    }
    const std::vector<double> t = sites();
    return {{"Step, right-continuous", "step_right", ozk::step_right(kX, kY)(t)},
            {"Step, left-continuous", "step_left", ozk::step_left(kX, kY)(t)},
            {"Look-up", "look_up: at the knots and nowhere else", {}},
            {"Linear", "linear_spline", ozk::linear_spline(kX, kY)(t)},
            {"Quadratic", "quadratic_spline, slope 0 at the left end", ozk::quadratic_spline(kX, kY, 0)(t)},
            {"Subbotin quadratic", "subbotin_spline, breaks in the middles", ozk::subbotin_spline(kX, kY)(t)},
            {"Natural cubic", "spline, free ends", ozk::spline(kX, kY)(t)},
            {"Default cubic", "default_cubic_spline, second derivatives of parabolas",
             ozk::default_cubic_spline(kX, kY, bend)(t)},
            {"Hermite", "hermite_spline, slopes 0 at the inner knots", ozk::hermite_spline(kX, kY, level)(t)},
            {"Bessel", "bessel_spline", ozk::bessel_spline(kX, kY)(t)},
            {"Hyman", "hyman_spline: monotone where the points are", ozk::hyman_spline(kX, kY)(t)},
            {"Akima", "akima_spline", ozk::akima_spline(kX, kY)(t)}};
}

// The runs of a curve within the plot, and between the jumps of a step function.
std::string draw_curve(const Curve& curve, const Scale& x, const Scale& y, bool jumps) {
    const std::vector<double> t = sites();
    std::string out;
    std::vector<double> run_t, run_y;
    const auto finish = [&] {
        if (run_t.size() > 1)
            out += svg_chart::detail::curve("spline", svg_chart::detail::kMedian,
                                            svg_chart::detail::points(x, y, run_t, run_y));
        run_t.clear();
        run_y.clear();
    };
    for (size_t i = 0; i < curve.values.size(); ++i) {
        const double value = curve.values[i];
        if (jumps && !run_y.empty() && value != run_y.back()) finish();
        if (value < kLow || value > kHigh) {
            finish();
            continue;
        }
        run_t.push_back(t[i]);
        run_y.push_back(value);
    }
    finish();
    return out;
}

std::string draw_panel(const Curve& curve, double left, double top) {
    using namespace svg_chart::detail;
    const Scale x{kX.front(), kX.back(), left + 20, left + kCellWidth - 28};
    const Scale y{kLow, kHigh, top + kCellHeight - 30, top + 44};
    std::string out = "<g class=\"panel\">\n" + text(left, top + 16, "class=\"panel-title\"", curve.title) +
                      text(left, top + 33, "class=\"small\"", curve.note);
    for (double value = kLow; value <= kHigh; ++value) {
        out += line(x.start, y(value), x.stop, y(value), fmt::format("stroke=\"{}\"", kGrid));
        out += text(x.start - 8, y(value) + 4, "class=\"small number\" text-anchor=\"end\"",
                    fmt::format("{}", value));
    }
    for (double at = kX.front(); at <= kX.back(); at += 2)
        out +=
            text(x(at), y.start + 16, "class=\"small number\" text-anchor=\"middle\"", fmt::format("{}", at));
    out += draw_curve(curve, x, y, curve.title.starts_with("Step"));
    for (size_t i = 0; i < kX.size(); ++i)
        out += fmt::format("<circle cx=\"{:.1f}\" cy=\"{:.1f}\" r=\"3.5\" fill=\"{}\"/>\n", x(kX[i]),
                           y(kY[i]), kInk);
    return out + "</g>\n";
}

}  // namespace

int main() try {
    const std::vector<Curve> all = curves();
    const auto rows = (static_cast<int>(all.size()) + kColumns - 1) / kColumns;
    std::string out = svg_chart::detail::head(
        kMargin + kColumns * kCellWidth, kHeader + rows * kCellHeight + 10,
        "Twelve splines through the same ten points", "Each panel: a type of ozk/spline.hpp.");
    for (int i = 0; i < static_cast<int>(all.size()); ++i)
        out += draw_panel(all[static_cast<size_t>(i)], kMargin + i % kColumns * kCellWidth,
                          kHeader + i / kColumns * kCellHeight);
    std::puts((out + "</svg>").c_str());
    return 0;
} catch (const ozk::error& error) {
    std::fprintf(stderr, "spline_kinds: %s\n", error.what());
    return 1;
}
