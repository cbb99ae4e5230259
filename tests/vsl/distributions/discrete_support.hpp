// What the tests of the integer-valued distributions share: a distribution with what is known of it, Pearson's
// chi-square test, moments, refused parameters.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <boost/math/distributions/chi_squared.hpp>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "tests/vsl/distributions/support.hpp"

namespace distribution_test {

// One distribution with one set of parameters. Where the support goes beyond the largest int32_t, `high` is that.
struct DiscreteCase {
    std::string name;
    Draw<int32_t> draw;
    int64_t low, high;
    double mean, variance;                      // NaN: not looked at
    std::function<double(int64_t)> cdf;         // P(X <= k) for low <= k <= high
    std::function<double(int64_t)> survival{};  // P(X > k), where that is more than 1 - cdf(k) can say
};

inline std::ostream& operator<<(std::ostream& out, const DiscreteCase& c) { return out << c.name; }

inline std::string test_name(std::string name) {
    std::replace_if(
        name.begin(), name.end(), [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); }, '_');
    return name;
}

inline std::string named(const char* distribution, std::initializer_list<double> parameters) {
    std::ostringstream text;
    text.precision(12);
    text << distribution;
    for (double x : parameters) text << ' ' << x;
    return text.str();
}

// The distribution function of integers low <= k <= high from the ratios P(k + 1) / P(k) alone: exact whatever the
// size of the parameters. They are multiplied outwards from a k near the mode until nothing is left to add.
class CdfOfRatios {
  public:
    template <class Ratio>
    CdfOfRatios(int64_t low, int64_t high, int64_t mode, Ratio ratio) : first_(mode) {
        constexpr long double kNothing = 1e-40L;
        std::vector<long double> below;
        for (long double p = 1; first_ > low && p > kNothing; --first_) {
            p /= ratio(first_ - 1);
            below.push_back(p);
        }
        sums_.assign(below.rbegin(), below.rend());
        sums_.push_back(1);
        for (int64_t k = mode; k < high && sums_.back() > kNothing; ++k) {
            sums_.push_back(sums_.back() * ratio(k));
        }
        // Each half from its thin end, so that what is small is not lost.
        const std::vector<long double> p = sums_;
        for (size_t i = 1; i < p.size(); ++i) sums_[i] += sums_[i - 1];
        rest_.assign(p.size(), 0);
        for (size_t i = p.size() - 1; i > 0; --i) rest_[i - 1] = rest_[i] + p[i];
        const long double total = sums_.back();
        for (size_t i = 0; i < p.size(); ++i) {
            sums_[i] /= total;
            rest_[i] /= total;
        }
    }
    double cdf(int64_t k) const {
        return k < first_ ? 0 : k >= end() ? 1 : static_cast<double>(sums_[static_cast<size_t>(k - first_)]);
    }
    double survival(int64_t k) const {
        return k < first_ ? 1 : k >= end() ? 0 : static_cast<double>(rest_[static_cast<size_t>(k - first_)]);
    }

  private:
    int64_t end() const { return first_ + static_cast<int64_t>(sums_.size()); }
    int64_t first_;
    std::vector<long double> sums_, rest_;
};

// The sums are made when the first of them is asked for: a program makes all of its cases to run one of them.
inline DiscreteCase of_ratios(std::string name, Draw<int32_t> draw, int64_t low, int64_t high, double mean,
                              double variance, std::function<long double(int64_t)> ratio) {
    const auto oracle = [=, made = std::make_shared<std::unique_ptr<CdfOfRatios>>()]() -> const CdfOfRatios& {
        if (!*made) *made = std::make_unique<CdfOfRatios>(low, high, std::llround(mean), ratio);
        return **made;
    };
    return {std::move(name),
            std::move(draw),
            low,
            high,
            mean,
            variance,
            [=](int64_t k) { return oracle().cdf(k); },
            [=](int64_t k) { return oracle().survival(k); }};
}

// The p-value of Pearson's chi-square test of a sorted sample. Cells are the shortest intervals in which enough
// numbers are expected: 10 in the tails, growing to a hundredth of the sample in the middle.
inline double chi_square_p_value(const std::vector<int32_t>& x, const DiscreteCase& c) {
    constexpr double kLeast = 10, kOfTheTail = 50;
    const double n = static_cast<double>(x.size());
    const auto survival = [&](int64_t k) {
        return k >= c.high ? 0 : c.survival ? c.survival(k) : 1 - c.cdf(k);
    };
    double statistic = 0, below = 0, beyond = 1;
    int cells = 0;
    size_t counted = 0;
    for (int64_t first = c.low; first <= c.high;) {
        const double wanted = (kLeast + n * std::min(below, beyond) / kOfTheTail) / n;
        // What a tail weighs is said by the function that is small there.
        const auto weight = [&](int64_t k) {
            return below < 0.5 && k < c.high ? c.cdf(k) - below : beyond - survival(k);
        };
        int64_t last = first, shortest = first;
        for (int64_t step = 1; last < c.high && weight(last) < wanted; step *= 2) {
            shortest = last + 1;
            last = std::min(c.high, last + step);
        }
        while (shortest < last) {
            const int64_t middle = shortest + (last - shortest) / 2;
            if (weight(middle) < wanted)
                shortest = middle + 1;
            else
                last = middle;
        }
        if (survival(last) * n < kLeast) last = c.high;
        const double expected = n * weight(last);
        const size_t upto = static_cast<size_t>(std::upper_bound(x.begin(), x.end(), last) - x.begin());
        const double excess = static_cast<double>(upto - counted) - expected;
        statistic += excess * excess / expected;
        ++cells;
        counted = upto;
        beyond = survival(last);
        below = last < c.high ? c.cdf(last) : 1;
        first = last + 1;
    }
    if (cells < 2) return 1;
    return cdf(complement(boost::math::chi_squared_distribution<double>(cells - 1), statistic));
}

// Support, goodness of fit and the first two moments of a sample of the usual size, or of 10^7 in the long form.
inline void fits(const DiscreteCase& c, int usual = 1 << 19) {
    constexpr double kLevel = 1e-6;  // of hundreds of cases
    const int n = sample_size(usual);
    std::vector<int32_t> x(static_cast<size_t>(n));
    OzkVslStream* stream = make_stream(kOzkVslMt19937);
    ASSERT_EQ(c.draw(stream, n, x.data()), kOzkVslSuccess);
    __vslDeleteStream(&stream);
    std::sort(x.begin(), x.end());
    ASSERT_GE(x.front(), c.low);
    ASSERT_LE(x.back(), c.high);
    EXPECT_GT(chi_square_p_value(x, c), kLevel);

    if (std::isnan(c.mean)) return;
    double mean = 0, second = 0, fourth = 0;
    for (int32_t k : x) {
        const double d = k - c.mean, square = d * d;
        mean += d / n;
        second += square / n;
        fourth += square * square / n;
    }
    // The sample may miss what is rarer than once in n numbers.
    EXPECT_NEAR(mean, 0, 5 * std::sqrt((c.variance + 1.0 / n) / n)) << "mean";
    EXPECT_NEAR(second, c.variance, 6 * std::sqrt((fourth + 1.0 / n) / n)) << "variance";
}

// Whether a call is answered with -3 before anything is drawn or written.
inline void is_refused(const Draw<int32_t>& draw, const std::string& what) {
    Script script{{0.5}};
    OzkVslStream* stream = scripted_generator::make_stream(script);
    int32_t r = -77;
    EXPECT_EQ(draw(stream, 1, &r), kOzkVslErrorBadArguments) << what;
    EXPECT_EQ(draw(stream, 0, nullptr), kOzkVslErrorBadArguments) << what;
    EXPECT_TRUE(r == -77 && script.calls.empty()) << what;
    __vslDeleteStream(&stream);
}

// Whether all results are within the support, whatever the uniforms are, and the caller's state is left.
inline void stays_within_the_support(const DiscreteCase& c) {
    for (int32_t k : draw_under_traps(c.draw)) EXPECT_TRUE(k >= c.low && k <= c.high) << k;
}

}  // namespace distribution_test
