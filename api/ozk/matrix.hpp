// A matrix as a plain value: rows of doubles, one behind the other.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace ozk {

class matrix {
  public:
    matrix() = default;
    matrix(size_t rows, size_t columns) : columns_(columns), values_(rows * columns) {}

    size_t rows() const { return columns_ == 0 ? 0 : values_.size() / columns_; }
    size_t columns() const { return columns_; }

    double& operator()(size_t row, size_t column) { return values_[row * columns_ + column]; }
    double operator()(size_t row, size_t column) const { return values_[row * columns_ + column]; }
    std::span<double> row(size_t i) { return {values_.data() + i * columns_, columns_}; }
    std::span<const double> row(size_t i) const { return {values_.data() + i * columns_, columns_}; }
    std::span<double> values() { return values_; }
    std::span<const double> values() const { return values_; }

    bool operator==(const matrix&) const = default;

  private:
    size_t columns_ = 0;
    std::vector<double> values_;
};

}  // namespace ozk
