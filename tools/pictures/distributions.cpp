// Draws every distribution: a histogram of numbers and the exact density or probabilities.
//
//     build/bin/ozk_distribution_pictures docs
//
// writes docs/continuous_distributions.svg and docs/discrete_distributions.svg.

#include <algorithm>
#include <boost/math/distributions.hpp>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "examples/svg_chart.hpp"
#include "ozk/ozk.hpp"

namespace {

using svg_chart::detail::Scale;

constexpr size_t kNumbers = 100000;
constexpr int kColumns = 3;
constexpr double kHeader = 84, kCellWidth = 380, kCellHeight = 210, kMargin = svg_chart::detail::kMargin;
constexpr const char* kBars = svg_chart::detail::kBands[1];

// A distribution as the interface is asked for it, and what is known of it.
struct Continuous {
    std::string call;  // such as "gamma(x, 2.5)"
    double from, to;   // what is shown
    std::function<void(ozk::stream&, std::span<double>)> draw;
    std::function<double(double)> density;
};
struct Discrete {
    std::string call;
    int from, to;
    std::function<void(ozk::stream&, std::span<int32_t>)> draw;
    std::function<double(int)> probability;
};

// ---- Panels ----------------------------------------------------------------------------------------------

struct Cell {
    double left, top;
    Scale x(double from, double to) const { return {from, to, left + 36, left + kCellWidth - 24}; }
    Scale y(double highest) const { return {0, highest, top + kCellHeight - 30, top + 28}; }
};

constexpr int kMostTicks = 5;

double real_step(const Scale& x) { return svg_chart::detail::round_step(x.to - x.from, 2 * kMostTicks); }
double whole_step(const Scale& x) {
    const double step = std::max(1.0, real_step(x));
    return step == std::floor(step) ? step : 2 * step;
}

// The title, the grid with its labels, and the axis; what is drawn stands between.
std::string panel(const Cell& cell, const std::string& title, const Scale& x, double x_step, const Scale& y,
                  const std::string& drawn) {
    using namespace svg_chart::detail;
    std::string out =
        "<g class=\"panel\">\n" + text(cell.left, cell.top + 14, "class=\"panel-title\"", title);
    const double step = round_step(y.to - y.from, kMostTicks), start = std::ceil(y.from / step) * step;
    for (double value = start; value <= y.to; value += step) {
        out += line(x.start, y(value), x.stop, y(value), fmt::format("stroke=\"{}\"", kGrid));
        out += text(x.start - 6, y(value) + 4, "class=\"small number\" text-anchor=\"end\"",
                    fmt::format("{:.4g}", std::abs(value) < step / 2 ? 0.0 : value));
    }
    out += drawn;
    out += line(x.start, y.start, x.stop, y.start, fmt::format("stroke=\"{}\"", kQuiet));
    for (double value = std::ceil(x.from / x_step) * x_step; value <= x.to; value += x_step) {
        out += text(x(value), y.start + 16, "class=\"small number\" text-anchor=\"middle\"",
                    fmt::format("{:.4g}", std::abs(value) < x_step / 2 ? 0.0 : value));
    }
    return out + "</g>\n";
}

std::string path(const std::string& style, const std::string& steps) {
    return fmt::format("<path {} d=\"{}\"/>\n", style, steps);
}

std::string draw(const Continuous& distribution, ozk::stream& stream, const Cell& cell) {
    using namespace svg_chart::detail;
    constexpr int kBins = 50, kSites = 120;
    std::vector<double> numbers(kNumbers);
    distribution.draw(stream, numbers);
    std::vector<double> heights(kBins);
    const double width = (distribution.to - distribution.from) / kBins;
    for (double number : numbers) {
        const double bin = std::floor((number - distribution.from) / width);
        if (bin >= 0 && bin < kBins) heights[static_cast<size_t>(bin)] += 1 / (kNumbers * width);
    }
    std::vector<double> sites, densities;
    for (int i = 0; i <= kSites; ++i) {
        sites.push_back(distribution.from + (distribution.to - distribution.from) * i / kSites);
        densities.push_back(distribution.density(sites.back()));
    }
    const double highest = std::max(*std::max_element(heights.begin(), heights.end()),
                                    *std::max_element(densities.begin(), densities.end()));
    const Scale x = cell.x(distribution.from, distribution.to), y = cell.y(1.05 * highest);
    std::string outline = fmt::format("M{:.1f},{:.1f}", x.start, y.start);
    for (size_t i = 0; i < heights.size(); ++i) {
        outline += fmt::format("V{:.1f}H{:.1f}", y(heights[i]),
                               x(distribution.from + static_cast<double>(i + 1) * width));
    }
    return panel(cell, distribution.call, x, real_step(x), y,
                 path(fmt::format("fill=\"{}\"", kBars), outline + fmt::format("V{:.1f}Z", y.start)) +
                     curve("density", kMedian, points(x, y, sites, densities)));
}

std::string draw(const Discrete& distribution, ozk::stream& stream, const Cell& cell) {
    using namespace svg_chart::detail;
    constexpr double kHalfBar = 0.36;
    std::vector<int32_t> numbers(kNumbers);
    distribution.draw(stream, numbers);
    const size_t values = static_cast<size_t>(distribution.to - distribution.from + 1);
    std::vector<double> heights(values), probabilities(values);
    for (int32_t number : numbers) {
        if (number >= distribution.from && number <= distribution.to) {
            heights[static_cast<size_t>(number - distribution.from)] += 1.0 / kNumbers;
        }
    }
    for (size_t i = 0; i < values; ++i) {
        probabilities[i] = distribution.probability(distribution.from + static_cast<int>(i));
    }
    const double highest = std::max(*std::max_element(heights.begin(), heights.end()),
                                    *std::max_element(probabilities.begin(), probabilities.end()));
    const Scale x = cell.x(distribution.from - 0.7, distribution.to + 0.7), y = cell.y(1.08 * highest);
    std::string bars, dots;
    for (size_t i = 0; i < values; ++i) {
        const double k = distribution.from + static_cast<double>(i);
        bars += fmt::format("M{:.1f},{:.1f}V{:.1f}H{:.1f}V{:.1f}Z", x(k - kHalfBar), y.start, y(heights[i]),
                            x(k + kHalfBar), y.start);
        dots += fmt::format("M{:.1f},{:.1f}h0", x(k), y(probabilities[i]));
    }
    return panel(
        cell, distribution.call, x, whole_step(x), y,
        path(fmt::format("fill=\"{}\"", kBars), bars) +
            path(fmt::format("stroke=\"{}\" stroke-width=\"6\" stroke-linecap=\"round\"", kMedian), dots));
}

// Vectors of two as points, with the ellipses that hold half and 95% of them.
std::string draw_vectors(ozk::stream& stream, const Cell& cell) {
    using namespace svg_chart::detail;
    constexpr size_t kPoints = 500;
    const std::vector<double> mean = {0, 0}, factor = {1, 0.9, 0.6};
    std::vector<double> numbers(2 * kPoints);
    stream.gaussian_vectors(numbers, mean, factor);
    const Scale x = cell.x(-4.5, 4.5), across = cell.y(1), y{-3.5, 3.5, across.start, across.stop};
    std::string dots;
    for (size_t i = 0; i < numbers.size(); i += 2) {
        if (std::abs(numbers[i]) > 4.5 || std::abs(numbers[i + 1]) > 3.5) continue;
        dots += fmt::format("M{:.1f},{:.1f}h0", x(numbers[i]), y(numbers[i + 1]));
    }
    std::string drawn =
        path(fmt::format("stroke=\"{}\" stroke-width=\"3\" stroke-linecap=\"round\"", kBars), dots);
    for (double inside : {0.5, 0.95}) {
        constexpr int kSites = 60;
        const double radius = std::sqrt(-2 * std::log(1 - inside));
        std::vector<double> first, second;
        for (int i = 0; i <= kSites; ++i) {
            const double angle = 6.283185307179586 * i / kSites;
            first.push_back(radius * factor[0] * std::cos(angle));
            second.push_back(radius * (factor[1] * std::cos(angle) + factor[2] * std::sin(angle)));
        }
        drawn += curve("density", kMedian, points(x, y, first, second));
    }
    return panel(cell, "gaussian_vectors(x, {0, 0}, {1, 0.9, 0.6})", x, real_step(x), y, drawn);
}

// ---- What is drawn ---------------------------------------------------------------------------------------

template <class Distribution>
auto density_of(const Distribution& distribution) {
    return [=](double x) { return pdf(distribution, x); };
}

std::vector<Continuous> continuous() {
    using namespace boost::math;
    using Stream = ozk::stream;
    using Out = std::span<double>;
    return {
        {"uniform(x, -1, 3)", -1.5, 3.5, [](Stream& s, Out x) { s.uniform(x, -1, 3); },
         [](double x) { return x < -1 || x >= 3 ? 0 : 0.25; }},
        {"gaussian(x, 1, 2)", -6, 8, [](Stream& s, Out x) { s.gaussian(x, 1, 2); }, density_of(normal(1, 2))},
        {"exponential(x)", 0, 6, [](Stream& s, Out x) { s.exponential(x); }, density_of(exponential(1))},
        {"laplace(x)", -6, 6, [](Stream& s, Out x) { s.laplace(x); }, density_of(laplace(0, 1))},
        {"rayleigh(x)", 0, 3, [](Stream& s, Out x) { s.rayleigh(x); }, density_of(rayleigh(std::sqrt(0.5)))},
        {"gumbel(x)", -6, 3, [](Stream& s, Out x) { s.gumbel(x); },
         [](double x) { return pdf(extreme_value(0, 1), -x); }},
        {"cauchy(x)", -8, 8, [](Stream& s, Out x) { s.cauchy(x); }, density_of(cauchy(0, 1))},
        {"weibull(x, 1.5)", 0, 4, [](Stream& s, Out x) { s.weibull(x, 1.5); }, density_of(weibull(1.5, 1))},
        {"gamma(x, 2.5)", 0, 10, [](Stream& s, Out x) { s.gamma(x, 2.5); },
         density_of(gamma_distribution(2.5, 1.0))},
        {"lognormal(x, 0, 0.5)", 0, 4, [](Stream& s, Out x) { s.lognormal(x, 0, 0.5); },
         density_of(lognormal(0, 0.5))},
        {"beta(x, 2.5, 1.5)", 0, 1, [](Stream& s, Out x) { s.beta(x, 2.5, 1.5); },
         density_of(beta_distribution(2.5, 1.5))},
        {"chi_square(x, 3)", 0, 12, [](Stream& s, Out x) { s.chi_square(x, 3); },
         density_of(chi_squared(3))}};
}

std::vector<Discrete> discrete() {
    using namespace boost::math;
    using Stream = ozk::stream;
    using Out = std::span<int32_t>;
    return {
        {"uniform(k, 1, 7)", 1, 6, [](Stream& s, Out k) { s.uniform(k, 1, 7); }, [](int) { return 1.0 / 6; }},
        {"bernoulli(k, 0.3)", 0, 1, [](Stream& s, Out k) { s.bernoulli(k, 0.3); },
         [](int k) { return k == 0 ? 0.7 : 0.3; }},
        {"geometric(k, 0.3)", 0, 15, [](Stream& s, Out k) { s.geometric(k, 0.3); },
         density_of(geometric(0.3))},
        {"binomial(k, 20, 0.3)", 0, 16, [](Stream& s, Out k) { s.binomial(k, 20, 0.3); },
         density_of(binomial(20, 0.3))},
        {"hypergeometric(k, 50, 20, 15)", 0, 13, [](Stream& s, Out k) { s.hypergeometric(k, 50, 20, 15); },
         density_of(hypergeometric(15, 20, 50))},
        {"poisson(k, 5)", 0, 15, [](Stream& s, Out k) { s.poisson(k, 5); }, density_of(poisson(5))},
        {"poisson(k, {4, 12, 4, 12, ...})", 0, 24,
         [](Stream& s, Out k) {
             std::vector<double> means(k.size(), 4);
             for (size_t i = 1; i < means.size(); i += 2) means[i] = 12;
             s.poisson(k, means);
         },
         [](int k) { return (pdf(poisson(4), k) + pdf(poisson(12), k)) / 2; }},
        {"negative_binomial(k, 2.5, 0.3)", 0, 20, [](Stream& s, Out k) { s.negative_binomial(k, 2.5, 0.3); },
         density_of(negative_binomial(2.5, 0.3))},
        {"multinomial(k, 12, {0.5, 0.2, 0.3})", 0, 12,
         [](Stream& s, Out k) {
             const std::vector<double> p = {0.5, 0.2, 0.3};
             std::vector<int32_t> vectors(p.size() * k.size());
             s.multinomial(vectors, 12, p);
             for (size_t i = 0; i < k.size(); ++i) k[i] = vectors[p.size() * i];
         },
         density_of(binomial(12, 0.5))}};
}

// Panel after panel, each drawn by draw_cell(number, cell).
template <class DrawCell>
void write_sheet(const std::string& file, int panels, const std::string& title, const std::string& subtitle,
                 DrawCell draw_cell) {
    const int rows = (panels + kColumns - 1) / kColumns;
    std::string out = svg_chart::detail::head(kMargin + kColumns * kCellWidth,
                                              kHeader + rows * kCellHeight + 10, title, subtitle);
    for (int i = 0; i < panels; ++i) {
        out += draw_cell(static_cast<size_t>(i),
                         Cell{kMargin + i % kColumns * kCellWidth, kHeader + i / kColumns * kCellHeight});
    }
    if (!(std::ofstream(file) << out << "</svg>\n")) throw std::runtime_error(file + " cannot be written");
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 2) {
        std::fprintf(stderr, "usage: ozk_distribution_pictures FOLDER\n");
        return 2;
    }
    const std::string folder = argv[1];
    ozk::stream stream("MT19937", 2024);
    const std::vector<Continuous> reals = continuous();
    write_sheet(
        folder + "/continuous_distributions.svg", static_cast<int>(reals.size()) + 1,
        "Continuous distributions",
        "Bars: 100,000 numbers of MT19937. Lines: the densities; of the vectors, 500, the ellipses that "
        "hold 50% and 95%.",
        [&](size_t i, const Cell& cell) {
            return i < reals.size() ? draw(reals[i], stream, cell) : draw_vectors(stream, cell);
        });
    const std::vector<Discrete> integers = discrete();
    write_sheet(
        folder + "/discrete_distributions.svg", static_cast<int>(integers.size()), "Discrete distributions",
        "Bars: how often each result came among 100,000 of MT19937; of the vectors, the first number. "
        "Dots: the probabilities.",
        [&](size_t i, const Cell& cell) { return draw(integers[i], stream, cell); });
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "ozk_distribution_pictures: %s\n", error.what());
    return 1;
}
