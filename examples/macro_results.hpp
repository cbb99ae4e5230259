// What the steps of macro_fan hand to each other.
#pragma once

#include <array>
#include <cstdint>
#include <ozk/matrix.hpp>
#include <span>
#include <string>
#include <vector>

#include "us_macro.hpp"

struct Options {
    std::string data = OZK_DATA_DIR "/us_macro_quarterly.csv";
    std::string out = "out/macro_fan.svg";
    int64_t paths = 100000;
    int quarters = 12;
    uint32_t seed = 2009;
};

// Growth is the difference of logarithms of levels. Statistics of it, one element for each series.
struct Summary {
    std::vector<double> mean, skewness;
    ozk::matrix covariance, correlation;
};

// Quarters of growth that do not go with the others, by the five series together: their places in the growth, and
// how far every quarter is from the robust mean, in the metric of the robust covariance.
struct Outlying {
    std::vector<size_t> places;
    std::vector<double> distance;
};

// Growth since the last observation along simulated paths.
class Paths {
  public:
    Paths(size_t count, int quarters)
        : count_(count), growth_(us_macro::kCount * static_cast<size_t>(quarters) * count) {}

    size_t count() const { return count_; }

    // Of every series `quarter` quarters ahead (1 is the first): series after series, one value for each
    // path.
    std::span<double> after(int quarter) {
        const size_t size = us_macro::kCount * count_;
        return std::span(growth_).subspan(static_cast<size_t>(quarter - 1) * size, size);
    }
    std::span<double> after(int quarter, size_t series) {
        return after(quarter).subspan(series * count_, count_);
    }

  private:
    size_t count_;
    std::vector<double> growth_;
};

// A fan is one row for each share of the paths that stays below it; its columns are quarters or months from
// the last observation on.
constexpr std::array kShares{0.05, 0.20, 0.35, 0.50, 0.65, 0.80, 0.95};
constexpr size_t kMedian = kShares.size() / 2;
using Fans = std::array<ozk::matrix, us_macro::kCount>;
