// What the steps of macro_fan hand to each other.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "us_macro.hpp"

using us_macro::kCount;

struct Options {
    std::string data = OZK_DATA_DIR "/us_macro_quarterly.csv";
    std::string out = "out/macro_fan.svg";
    int64_t paths = 100000;
    int quarters = 12;
    uint32_t seed = 2009;
};

// Log growth of each series from quarter to quarter: ln(level / level before).
using Growth = std::array<std::vector<double>, kCount>;

using Vector = std::array<double, kCount>;
using Matrix = std::array<double, kCount * kCount>;  // by rows

struct Summary {
    Vector mean, deviation, skewness;
    Matrix covariance, correlation;
};

// Log growth of simulated paths since the last observation.
class Paths {
  public:
    Paths(size_t count, int quarters)
        : count_(count), quarters_(quarters), growth_(count * kCount * static_cast<size_t>(quarters)) {}

    size_t count() const { return count_; }
    int quarters() const { return quarters_; }

    // Of every series `quarter` quarters ahead (1 for the first): series after series, one value for each
    // path.
    std::span<const double> after(int quarter) const {
        return std::span(growth_).subspan(start(quarter), kCount * count_);
    }
    std::span<const double> after(int quarter, size_t series) const {
        return after(quarter).subspan(series * count_, count_);
    }
    std::span<double> after(int quarter, size_t series) {
        return std::span(growth_).subspan(start(quarter) + series * count_, count_);
    }

  private:
    size_t start(int quarter) const { return static_cast<size_t>(quarter - 1) * kCount * count_; }

    size_t count_;
    int quarters_;
    std::vector<double> growth_;
};

// One line for each share of the paths that stays below it: by quarters or by months, from the last
// observation on.
constexpr std::array kShares{0.05, 0.20, 0.35, 0.50, 0.65, 0.80, 0.95};
constexpr size_t kMedian = kShares.size() / 2;
using Fan = std::array<std::vector<double>, kShares.size()>;
using Fans = std::array<Fan, kCount>;
