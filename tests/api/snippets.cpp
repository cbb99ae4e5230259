// The snippets of docs/api.md, compiled and run: each stands there as it stands here, between its two marks.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>

#include "ozk/ozk.hpp"

namespace {

TEST(Snippet, VectorMath) {
    // [vector math]
    const std::vector<double> x = {0.5, 1, 0, -1};
    std::vector<double> y = ozk::ln(x);      // a vector of its own
    ozk::exp(y, y);                          // in place
    ozk::exp(x, y, ozk::Accuracy::low);      // less accurate, for this call alone
    ozk::set_accuracy(ozk::Accuracy::high);  // for this thread's calls from here on

    std::vector<ozk::special_value> specials;
    ozk::ln(x, y, specials);  // specials: index 2 is a pole, index 3 outside the domain
    // [end]
    ASSERT_EQ(specials.size(), 2u);
    EXPECT_EQ(specials[0].index, 2);
    EXPECT_EQ(specials[0].code, kOzkPole);
    EXPECT_EQ(specials[1].code, kOzkDomain);
}

TEST(Snippet, Strides) {
    std::vector<double> pairs = {0, 9, 1, 9, 2, 9};
    // [strides]
    // Every second element of an array, into the places between them.
    ozk::exp(ozk::strided(pairs, 2), ozk::strided(std::span(pairs).subspan(1), 2));
    // [end]
    EXPECT_DOUBLE_EQ(pairs[5], std::exp(2.0));
    EXPECT_EQ(pairs[4], 2);
}

TEST(Snippet, Errors) {
    std::vector<double> x(10), y(9);
    std::string text;
    // [errors]
    try {
        ozk::exp(x, y);
    } catch (const ozk::error& error) {
        // "ozk::exp: arrays have 10 and 9 elements: pass arrays of the same length"
        if (error.family() == ozk::Family::vector_math && error.code() == kOzkCodeSize) text = error.what();
    }
    // [end]
    EXPECT_EQ(text, "ozk::exp: arrays have 10 and 9 elements: pass arrays of the same length");
}

TEST(Snippet, Streams) {
    // [streams]
    ozk::stream stream("MCG59", 2024);
    std::vector<double> u(1000);
    stream.uniform(u, -1, 1);

    std::vector<ozk::stream> workers = ozk::stream::for_workers("MRG32K3A", 4, 2024);  // independent streams
    workers[0].uniform(u);
    // [end]
    EXPECT_EQ(workers.size(), 4u);
}

TEST(Snippet, OneSample) {
    const std::vector<double> prices = {1, 20, 2, 30, 3, 10, 4, 40};
    std::vector<std::array<double, 6>> summary;
    // [one sample]
    for (const ozk::description& d : ozk::describe(prices, 2)) {  // pairs: two components
        const double spread = d.upper_quartile - d.lower_quartile;
        summary.push_back({d.mean, d.deviation, d.minimum, d.median, d.maximum, spread});
    }
    const std::vector<double> orders = {0.05, 0.95};
    const ozk::matrix range = ozk::quantiles(prices, orders, 2);  // a row for each component

    ozk::quantile_stream stream(0.001);  // ranks within a thousandth, of any number of values
    stream.add(prices);
    const double median = stream.quantiles(std::vector<double>{0.5})(0, 0);
    // [end]
    EXPECT_EQ(summary[1][3], 25);
    EXPECT_EQ(summary[0][5], 1.5);
    EXPECT_EQ(range(0, 1), 1 + 0.95 * 3);
    EXPECT_EQ(median, 7);
}

TEST(Snippet, Robust) {
    std::vector<double> returns;
    for (int j = 0; j < 40; ++j) returns.insert(returns.end(), {std::sin(j), std::cos(7.0 * j)});
    returns[14] = 30;
    int far = 0;
    // [robust]
    const auto robust = ozk::robust_covariance(returns, 2);  // pairs; of the bulk of them
    const std::vector<size_t> strange = ozk::outliers(returns, 2);
    for (const double d : robust.distances(returns))
        far += d * d > 16;  // from robust.mean, by robust.covariance
    // [end]
    EXPECT_EQ(strange, std::vector<size_t>{7});
    EXPECT_EQ(far, 1);
}

TEST(Snippet, Statistics) {
    // [statistics]
    const std::vector<double> january = {1, 2, 3, 5, 4, 4}, february = {2, 2, 6, 8};  // pairs
    ozk::statistics s(2, ozk::Estimate::mean | ozk::Estimate::covariance);
    s.add(january);
    s.add(february);
    const std::vector<double> mean = s.mean();
    const ozk::matrix root = ozk::cholesky(s.covariance());  // root * root' is the covariance
    // [end]
    EXPECT_DOUBLE_EQ(mean[0], 3.2);
    EXPECT_NEAR(root(0, 0) * root(1, 0), s.covariance()(0, 1), 1e-15);
}

TEST(Snippet, Splines) {
    // [splines]
    const std::vector<double> x = {0, 1, 2, 4, 5}, y = {0, 1, 8, 64, 125};
    const ozk::spline cubic(x, y, ozk::Boundary::not_a_knot());
    const std::vector<double> sites = {0.5, 3};
    const std::vector<double> values = cubic(sites), slopes = cubic.derivative(1, sites);
    const double area = cubic.integral(0, 4);

    ozk::akima_spline akima(x, y);  // and linear_spline, hermite_spline, hyman_spline, step_left ...
    akima.set_outside(ozk::Outside::clamp);
    const double last = akima(6.0);  // the value of the last knot

    const ozk::spline even(ozk::uniform_knots{0.0, 1.0, 5}, y);  // five knots from 0 to 1
    // [end]
    EXPECT_NEAR(values[1], 27, 1e-12);
    EXPECT_NEAR(slopes[1], 27, 1e-12);
    EXPECT_NEAR(area, 64, 1e-12);
    EXPECT_EQ(last, 125);
    EXPECT_NEAR(even(0.5), 8, 1e-12);
}

TEST(Snippet, Threads) {
    // [threads]
    ozk::set_threads(1);  // off; 0 gives the choice back to OpenMP
    // [end]
    EXPECT_EQ(ozk::threads(), 1);
    ozk::set_threads(0);
}

std::string read(const std::string& file) {
    std::ifstream in(file);
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST(Snippet, StandsInThePageAsItIsCompiledHere) {
    const std::string source = read(OZK_SOURCE_DIR "/tests/api/snippets.cpp");
    const std::string page = read(OZK_SOURCE_DIR "/docs/api.md");
    constexpr std::string_view kMark = "\n    // [", kEnd = "\n    // [end]\n";
    int count = 0;
    for (size_t at = source.find(kMark); at != source.npos; at = source.find(kMark, at + 1)) {
        if (source.compare(at, kEnd.size(), kEnd) == 0) continue;
        std::istringstream lines(source.substr(source.find('\n', at + 1) + 1, source.find(kEnd, at) - at));
        std::string snippet;
        for (std::string line; std::getline(lines, line) && line.find("// [end]") == line.npos;) {
            // Without the indentation of the test's body.
            snippet += line.substr(std::min<size_t>(4, line.size())) + '\n';
        }
        EXPECT_NE(page.find("```cpp\n" + snippet + "```"), page.npos) << snippet;
        ++count;
    }
    EXPECT_EQ(count, 8);
}

}  // namespace
