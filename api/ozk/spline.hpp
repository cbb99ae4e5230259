// Splines through given points.
#pragma once

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "ozk/error.hpp"
#include "ozk/matrix.hpp"

namespace ozk {

// What holds at the two ends of a spline.
class Boundary {
  public:
    // The third derivative is continuous at the first and last inner knot.
    static Boundary not_a_knot() { return {kOzkNotAKnot, 0, 0, false}; }
    // Second derivatives are 0: the natural spline.
    static Boundary free() { return {kOzkFreeEnds, 0, 0, false}; }
    // Value, first and second derivative agree at both ends.
    static Boundary periodic() { return {kOzkPeriodic, 0, 0, false}; }
    // Derivatives at the left and at the right end.
    static Boundary first(double left, double right) { return {kOzkFirstDerivatives, left, right, true}; }
    static Boundary second(double left, double right) { return {kOzkSecondDerivatives, left, right, true}; }
    static Boundary first_then_second(double left, double right) {
        return {kOzkFirstThenSecond, left, right, true};
    }
    static Boundary second_then_first(double left, double right) {
        return {kOzkSecondThenFirst, left, right, true};
    }

    int32_t kind() const { return kind_; }
    const double* values() const { return has_values_ ? values_ : nullptr; }

  private:
    Boundary(int32_t kind, double left, double right, bool has_values)
        : kind_(kind), values_{left, right}, has_values_(has_values) {}

    int32_t kind_;
    double values_[2];
    bool has_values_;
};

// A cubic spline with two continuous derivatives through the points (x[i], y[i]), or through those of several
// functions over the same knots. Keeps no reference to x and y. Movable; evaluation by several threads at a
// time is allowed.
//
//   ozk::spline s(x, y);
//   std::vector<double> values = s(sites), slopes = s.derivative(1, sites);
class spline {
  public:
    // x ascending, at least 2 knots (3 for not_a_knot), y as long as x or, for several functions one behind
    // the other, a multiple of it.
    spline(std::span<const double> x, std::span<const double> y, Boundary boundary = Boundary::free())
        : functions_(x.empty() ? 1 : y.size() / x.size()) {
        detail::same_size(Family::spline, "ozk::spline", functions_ * x.size(), y.size());
        detail::check(ozk_spline_new(kOzkNaturalCubic, static_cast<int64_t>(x.size()), x.data(),
                                     static_cast<int64_t>(functions_), y.data(), boundary.kind(),
                                     boundary.values(), &spline_));
    }
    spline(spline&& other) noexcept
        : functions_(other.functions_), spline_(std::exchange(other.spline_, nullptr)) {}
    spline& operator=(spline&& other) noexcept {
        std::swap(functions_, other.functions_);
        std::swap(spline_, other.spline_);
        return *this;
    }
    ~spline() { ozk_spline_delete(spline_); }

    size_t functions() const { return functions_; }

    // Values of a function at sites, in any order, into `out`. Beyond the knots the end polynomials go on.
    void operator()(std::span<const double> sites, std::span<double> out, size_t function = 0) const {
        detail::same_size(Family::spline, "ozk::spline", sites.size(), out.size());
        evaluate(sites, 1, out.data(), function);
    }
    std::vector<double> operator()(std::span<const double> sites, size_t function = 0) const {
        std::vector<double> out(sites.size());
        (*this)(sites, out, function);
        return out;
    }
    // Derivatives 0 .. orders - 1 at the sites: one row a site.
    matrix derivatives(size_t orders, std::span<const double> sites, size_t function = 0) const {
        matrix out(sites.size(), orders);
        evaluate(sites, orders, out.values().data(), function);
        return out;
    }
    // The derivative of one order at the sites.
    std::vector<double> derivative(size_t order, std::span<const double> sites, size_t function = 0) const {
        const matrix all = derivatives(order + 1, sites, function);
        std::vector<double> out(sites.size());
        for (size_t i = 0; i < out.size(); ++i) out[i] = all(i, order);
        return out;
    }

  private:
    void evaluate(std::span<const double> sites, size_t orders, double* out, size_t function) const {
        detail::check(ozk_spline_evaluate(spline_, static_cast<int64_t>(function),
                                          static_cast<int64_t>(sites.size()), sites.data(),
                                          static_cast<int64_t>(orders), out));
    }

    size_t functions_;
    ozk_spline* spline_ = nullptr;
};

}  // namespace ozk
