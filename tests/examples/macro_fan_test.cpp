// The fan chart program on the real data: its report against computations made here, its chart, its errors.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "program.hpp"

namespace ozk::examples::test {
namespace {

const std::string kData = OZK_SOURCE_DIR "/data/us_macro_quarterly.csv";
const std::vector<std::string> kSeries{"realgdp", "realcons", "realinv", "realgovt", "realdpi"};
constexpr int kFirstColumn = 2;  // of the series in the file, which follow each other

// The sample statistics by their definitions, in long double and by other code than the library's.
struct Sample {
    std::vector<std::vector<long double>> level{5}, growth{5};
    long double mean[5] = {}, deviation[5] = {}, skewness[5] = {}, correlation[5][5] = {};

    Sample() {
        std::istringstream lines(contents(kData));
        std::string text;
        std::getline(lines, text);
        while (std::getline(lines, text)) {
            std::istringstream fields(text);
            for (int c = 0; std::getline(fields, text, ','); ++c)
                if (c >= kFirstColumn && c < kFirstColumn + 5)
                    level[c - kFirstColumn].push_back(std::stold(text));
        }
        const auto moment = [](const auto& x, long double x_mean, const auto& y, long double y_mean) {
            long double sum = 0;
            for (size_t t = 0; t < x.size(); ++t) sum += (x[t] - x_mean) * (y[t] - y_mean);
            return sum;
        };
        for (int i = 0; i < 5; ++i) {
            for (size_t t = 1; t < level[i].size(); ++t)
                growth[i].push_back(std::log(level[i][t] / level[i][t - 1]));
            const long double n = growth[i].size();
            for (long double g : growth[i]) mean[i] += g / n;
            const long double squares = moment(growth[i], mean[i], growth[i], mean[i]);
            deviation[i] = std::sqrt(squares / (n - 1));
            for (long double g : growth[i])
                skewness[i] += std::pow((g - mean[i]) / std::sqrt(squares / n), 3.0L) / n;
            for (int j = 0; j <= i; ++j)
                correlation[i][j] =
                    moment(growth[i], mean[i], growth[j], mean[j]) / (n - 1) / deviation[i] / deviation[j];
        }
    }
};

// The cells of the rows that begin with `label` in the table under the line that begins with `heading`. Rows
// without a label of their own belong to the label above.
std::vector<std::vector<std::string>> rows(const std::string& report, const std::string& heading,
                                           const std::string& label) {
    std::istringstream lines(report.substr(std::min(report.find("\n" + heading), report.size() - 1) + 1));
    std::string text, current;
    std::vector<std::vector<std::string>> found;
    while (std::getline(lines, text) && !text.empty()) {
        if (text.rfind("  ", 0) != 0) continue;
        std::istringstream cells(text);
        std::vector<std::string> row;
        if (text[2] != ' ') cells >> current;
        for (std::string cell; cells >> cell;) {
            std::erase(cell, ',');
            row.push_back(cell);
        }
        if (current == label) found.push_back(row);
    }
    return found;
}

// What stands between two marks, the first of which is looked for from a place on.
std::string between(const std::string& text, size_t from, const std::string& before,
                    const std::string& after) {
    const size_t start = std::min(text.find(before, from), text.size() - before.size()) + before.size();
    return text.substr(start, text.find(after, start) - start);
}

// A printed number is the expected one, rounded to the digits that it shows.
void expect_printed(const std::string& printed, long double expected, const std::string& what) {
    const size_t point = printed.find('.');
    const int decimals = point == printed.npos ? 0 : static_cast<int>(printed.size() - point - 1);
    EXPECT_LE(std::abs(std::stold(printed) - expected), 0.5000001L * std::pow(10.0L, -decimals))
        << what << ": printed " << printed << ", expected " << expected;
}

TEST(MacroFan, ReportsTheStatisticsOfTheSample) {
    const Folder folder;
    const Outcome result = run("macro_fan", "--paths 1000 --out " + folder.file("fan.svg"));
    ASSERT_EQ(result.status, 0) << result.err;
    const Sample sample;
    for (int i = 0; i < 5; ++i) {
        const auto growth = rows(result.out, "Growth", kSeries[i]);
        ASSERT_EQ(growth.size(), 1u) << result.out;
        ASSERT_EQ(growth[0].size(), 6u);
        expect_printed(growth[0][0], 100 * sample.mean[i], "mean of " + kSeries[i]);
        expect_printed(growth[0][1], 100 * sample.deviation[i], "deviation of " + kSeries[i]);
        expect_printed(growth[0][2], sample.skewness[i], "skewness of " + kSeries[i]);
        const auto [least, most] = std::minmax_element(sample.growth[i].begin(), sample.growth[i].end());
        expect_printed(growth[0][3], 100 * *least, "least of " + kSeries[i]);
        expect_printed(growth[0][4], 100 * *most, "most of " + kSeries[i]);
        expect_printed(growth[0][5], 100 * (std::exp(4 * sample.mean[i]) - 1),
                       "annual mean of " + kSeries[i]);
        const auto correlation = rows(result.out, "Correlation", kSeries[i]);
        ASSERT_EQ(correlation.size(), 1u);
        ASSERT_EQ(correlation[0].size(), i + 1u);
        for (int j = 0; j <= i; ++j)
            expect_printed(correlation[0][j], sample.correlation[i][j], kSeries[i] + " with " + kSeries[j]);
    }
}

// The sum of h normal growth rates is normal, so the quantiles are known but for the error of their
// estimates: sqrt(p (1 - p) / paths) / density. Five standard errors, in 120 comparisons, fail once in 14,000
// seeds.
TEST(MacroFan, SimulatesTheNormalDistributionOfTheSample) {
    constexpr int kPaths = 20000;
    const Folder folder;
    const Outcome result =
        run("macro_fan", "--paths " + std::to_string(kPaths) + " --out " + folder.file("fan.svg"));
    ASSERT_EQ(result.status, 0) << result.err;
    const Sample sample;
    const double shares[] = {0.05, 0.20, 0.35, 0.50, 0.65, 0.80, 0.95};
    const double deviates[] = {-1.6448536269514722, -0.8416212335729143, -0.38532046640756773, 0,
                               0.38532046640756773, 0.8416212335729143,  1.6448536269514722};
    for (int i = 0; i < 5; ++i) {
        const auto fan = rows(result.out, "Levels", kSeries[i]);
        ASSERT_EQ(fan.size(), 3u);
        for (int year = 1; year <= 3; ++year) {
            const auto& row = fan[year - 1];
            ASSERT_EQ(row.size(), 9u);
            EXPECT_EQ(row[0], std::to_string(2009 + year) + "Q3");
            const double mean = 4 * year * sample.mean[i],
                         deviation = std::sqrt(4 * year) * sample.deviation[i];
            for (int k = 0; k < 7; ++k) {
                const double density = std::exp(-deviates[k] * deviates[k] / 2) / std::sqrt(2 * M_PI);
                const double error = std::sqrt(shares[k] * (1 - shares[k]) / kPaths) / density * deviation;
                const double printed = std::log(std::stod(row[1 + k]) / sample.level[i].back());
                EXPECT_NEAR(printed, mean + deviates[k] * deviation, 5 * error + 1e-4)
                    << kSeries[i] << " " << row[0] << " " << shares[k];
            }
            const double lower = std::erfc(mean / deviation / std::sqrt(2)) / 2;
            EXPECT_NEAR(std::stod(row[8]) / 100, lower, 5 * std::sqrt(lower * (1 - lower) / kPaths) + 0.0006)
                << kSeries[i] << " " << row[0];
        }
    }
    const double within = std::stod(between(result.out, result.out.find("to within"), "to within ", ".\n"));
    EXPECT_GT(within, 0);
    EXPECT_LT(within, 5 / std::sqrt(kPaths));
}

TEST(MacroFan, MonthsPassThroughTheQuarters) {
    const Folder folder;
    const Outcome result = run("macro_fan", "--paths 1000 --out " + folder.file("fan.svg"));
    ASSERT_EQ(result.status, 0) << result.err;
    const auto quarters = rows(result.out, "Levels", "realgdp");
    std::vector<std::string> last_month;
    double width = -1;
    for (const char* month :
         {"Aug", "Sep", "Oct", "Nov", "Dec", "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul"}) {
        const auto found = rows(result.out, "The first year", month);
        ASSERT_EQ(found.size(), std::string(month) == "Aug" ? 2u : 1u) << month;
        const double low = std::stod(found[0][1]), median = std::stod(found[0][2]),
                     high = std::stod(found[0][3]);
        EXPECT_LE(low, median);
        EXPECT_LE(median, high);
        EXPECT_GT(high - low, width) << month;
        width = high - low;
        if (found.size() == 2) last_month = found[1];
    }
    EXPECT_EQ(last_month, (std::vector<std::string>{"2010", quarters[0][1], quarters[0][4], quarters[0][7]}));
}

// (x - mean)' S^-1 (x - mean) by elimination.
long double square_distance(std::vector<long double> x, long double (&s)[5][5]) {
    long double a[5][5], form = 0;
    std::copy(&s[0][0], &s[0][0] + 25, &a[0][0]);
    for (int k = 0; k < 5; ++k) {
        form += x[k] * x[k] / a[k][k];
        for (int i = k + 1; i < 5; ++i) {
            const long double factor = a[i][k] / a[k][k];
            x[i] -= factor * x[k];
            for (int j = 0; j < 5; ++j) a[i][j] -= factor * a[k][j];
        }
    }
    return form;
}

// What defines them: by mean and covariance of the other quarters they lie beyond the cutoff, and the others do not.
TEST(MacroFan, OutlyingQuartersAreThoseBeyondTheCutoffOfTheOthers) {
    const Folder folder;
    const Outcome result = run("macro_fan", "--paths 1000 --out " + folder.file("fan.svg"));
    ASSERT_EQ(result.status, 0) << result.err;
    const Sample sample;
    const int n = static_cast<int>(sample.growth[0].size());
    std::vector<bool> outlying(n);
    for (int t = 0; t < n; ++t) {
        const int quarter = 4 * 1959 + t + 1;
        const std::string name = std::to_string(quarter / 4) + "Q" + std::to_string(quarter % 4 + 1);
        const auto found = rows(result.out, "Outlying", name);
        outlying[t] = !found.empty();
        if (!outlying[t]) continue;
        ASSERT_EQ(found[0].size(), 6u);
        EXPECT_GT(std::stod(found[0][0]), 4.5);
        for (int i = 0; i < 5; ++i) expect_printed(found[0][i + 1], 100 * sample.growth[i][t], name);
    }
    const long double size = std::count(outlying.begin(), outlying.end(), false);
    EXPECT_NE(result.out.find("\nOutlying quarters: " + std::to_string(n - int(size)) + " of 202 "),
              std::string::npos);
    long double mean[5] = {}, s[5][5] = {};
    for (int t = 0; t < n; ++t)
        for (int i = 0; i < 5 && !outlying[t]; ++i) mean[i] += sample.growth[i][t] / size;
    for (int t = 0; t < n; ++t)
        for (int i = 0; i < 5 && !outlying[t]; ++i)
            for (int j = 0; j < 5; ++j)
                s[i][j] += (sample.growth[i][t] - mean[i]) * (sample.growth[j][t] - mean[j]) / (size - 1);
    // SciPy's chi2.isf(0.05 / 202, 5); the factor for n = 202, p = 5 and a subset of more than half.
    const long double cutoff = 1 + 6.0L / (n - 5) + 2.0L / (n - 16), quantile = 23.70350617039808L;
    for (int t = 0; t < n; ++t) {
        std::vector<long double> x;
        for (int i = 0; i < 5; ++i) x.push_back(sample.growth[i][t] - mean[i]);
        EXPECT_EQ(square_distance(x, s) >= cutoff * cutoff * quantile, outlying[t]) << "quarter " << t;
    }
}

using Points = std::vector<std::pair<double, double>>;

std::vector<Points> shapes(const std::string& svg, const std::string& name) {
    std::vector<Points> found;
    const std::string element = " class=\"" + name + "\"";
    for (size_t at = svg.find(element); at != svg.npos; at = svg.find(element, at + 1)) {
        std::istringstream list(between(svg, at, " points=\"", "\""));
        Points points;
        double x, y;
        for (char comma; list >> x >> comma >> y;) points.emplace_back(x, y);
        found.push_back(points);
    }
    return found;
}

TEST(MacroFan, ChartIsWellFormedAndItsBandsLieWithinEachOther) {
    const Folder folder;
    const std::string file = folder.file("new/folder/fan.svg");
    const Outcome result = run("macro_fan", "--paths 1000 --out " + file);
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_NE(result.out.find(file), std::string::npos);
    EXPECT_EQ(
        std::system(("python3 -c 'import sys, xml.dom.minidom as m; m.parse(sys.argv[1])' " + file).c_str()),
        0);

    const std::string svg = contents(file);
    const auto bands = shapes(svg, "band"), medians = shapes(svg, "median"),
               histories = shapes(svg, "history");
    ASSERT_EQ(medians.size(), 5u);
    ASSERT_EQ(histories.size(), 5u);
    ASSERT_EQ(bands.size(), 15u);
    // 2009Q1, the one outlying quarter of the years shown, in each panel and in the legend.
    size_t marks = 0;
    for (size_t at = svg.find("<circle class=\"mark\""); at != svg.npos;
         at = svg.find("<circle class=\"mark\"", at + 1))
        ++marks;
    EXPECT_EQ(marks, 6u);
    constexpr size_t kMonths = 37;
    for (size_t panel = 0; panel < 5; ++panel) {
        const Points& median = medians[panel];
        ASSERT_EQ(median.size(), kMonths);
        EXPECT_EQ(histories[panel].back(), median.front());
        for (size_t m = 0; m < kMonths; ++m) {
            // Downwards on the page: the upper bounds from the widest band, the median, the lower bounds.
            std::vector<double> down;
            for (size_t b = 0; b < 3; ++b) down.push_back(bands[3 * panel + b].at(m).second);
            down.push_back(median[m].second);
            for (size_t b = 3; b-- > 0;) down.push_back(bands[3 * panel + b].at(2 * kMonths - 1 - m).second);
            EXPECT_TRUE(std::is_sorted(down.begin(), down.end())) << "panel " << panel << ", month " << m;
            EXPECT_EQ(down.front() == down.back(), m == 0) << "panel " << panel << ", month " << m;
        }
    }
}

TEST(MacroFan, TheSeedAloneDecidesThePaths) {
    const Folder folder;
    const auto chart = [&](const std::string& options, const std::string& environment) {
        const Outcome result =
            run("macro_fan", "--paths 5000 --out " + folder.file("fan.svg") + " " + options, environment);
        EXPECT_EQ(result.status, 0) << result.err;
        return contents(folder.file("fan.svg"));
    };
    const std::string first = chart("--seed 7", "");
    EXPECT_EQ(chart("--seed 7", ""), first);
    EXPECT_EQ(chart("--seed 7", "OMP_NUM_THREADS=1 taskset -c 0"), first);
    EXPECT_NE(chart("--seed 8", ""), first);
}

TEST(MacroFan, ABadFileGivesOneLineWithItsLineNumber) {
    const std::string good = contents(kData);
    const auto with = [&](const std::string& from, const std::string& to) {
        const size_t place = good.find(from);
        EXPECT_NE(place, good.npos) << from;
        return std::string(good).replace(place, from.size(), to);
    };
    const struct {
        std::string text, place, what;
    } cases[] = {
        {with("2778.801", "about 2800"), ":3: ", "column \"realgdp\": \"about 2800\" is not a number"},
        {with("2775.488,", ""), ":4: ", "the row has 13 fields, the header has 14"},
        {with("1751.8", ""), ":4: ", "column \"realcons\": the field is empty"},
        {with("1959,4,", "1960,1,"), ":5: ", "the row is of 1960Q1, 1959Q4 was expected"},
        {with("1959,4,", "1959,4.5,"), ":5: ", "quarter is 4.5, a whole number from 1 to 4 was expected"},
        {with("299.356", "0"), ":5: ", "realinv is 0, a level above 0 was expected"},
        {with("\"realdpi\"", "\"income\""), ":1: ", "there is no column \"realdpi\""},
        {good.substr(0, good.find("1960,1,")), ":5: ", "the file ends after 4 rows"},
        {"", ":1: ", "the file is empty"},
    };
    const Folder folder;
    const auto expect_error = [&](const std::string& file, const std::string& place,
                                  const std::string& what) {
        const std::string chart = folder.file("fan.svg");
        const Outcome result = run("macro_fan", "--data " + file + " --out " + chart);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err.find("macro_fan: " + file + place), 0u) << result.err;
        EXPECT_NE(result.err.find(what), std::string::npos) << result.err << "wanted: " << what;
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        EXPECT_FALSE(std::filesystem::exists(chart));
    };
    for (const auto& c : cases) expect_error(folder.write("bad.csv", c.text), c.place, c.what);
    expect_error(folder.file("missing.csv"), ": ", "cannot be read: No such file or directory");
}

TEST(MacroFan, SaysWhereItCannotWrite) {
    const Folder folder;
    for (const std::string& file : {folder.write("file", "") + "/fan.svg", std::string("/dev/full")}) {
        const Outcome result = run("macro_fan", "--paths 1000 --out " + file);
        EXPECT_EQ(result.status, 1);
        EXPECT_NE(result.err.find("\nmacro_fan: " + file + ": cannot be written: "), std::string::npos)
            << result.err;
    }
}

TEST(Readme, ItsProgramEstimatesWhatItSays) {
    const Outcome result = run("readme", "");
    ASSERT_EQ(result.status, 0) << result.err;
    double mean = 0, exact = 0;
    ASSERT_EQ(std::sscanf(result.out.c_str(), "mean of a lognormal: %lf, exactly %lf", &mean, &exact), 2)
        << result.out;
    EXPECT_NEAR(exact, std::exp(0.5), 0.00005);
    // Five standard errors of a million draws; the standard deviation of exp(z) is 2.161.
    EXPECT_NEAR(mean, exact, 5 * 2.161 / 1000);
}

}  // namespace
}  // namespace ozk::examples::test
