// Splines through given points.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <ranges>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "ozk/error.hpp"
#include "ozk/matrix.hpp"

namespace ozk {

// What holds at the two ends of a spline.
class Boundary {
  public:
    // Nothing: kinds that take no condition, and Akima's own end slopes.
    static Boundary none() { return {kOzkNoCondition, 0, 0, 0}; }
    // The third derivative is continuous at the first and last inner knot.
    static Boundary not_a_knot() { return {kOzkNotAKnot, 0, 0, 0}; }
    // Second derivatives are 0: the natural spline.
    static Boundary free() { return {kOzkFreeEnds, 0, 0, 0}; }
    // Value, first and second derivative agree at both ends.
    static Boundary periodic() { return {kOzkPeriodic, 0, 0, 0}; }
    // Derivatives at the left and at the right end.
    static Boundary first(double left, double right) { return {kOzkFirstDerivatives, 2, left, right}; }
    static Boundary second(double left, double right) { return {kOzkSecondDerivatives, 2, left, right}; }
    static Boundary first_then_second(double left, double right) {
        return {kOzkFirstThenSecond, 2, left, right};
    }
    static Boundary second_then_first(double left, double right) {
        return {kOzkSecondThenFirst, 2, left, right};
    }
    // The first derivative at the left end: quadratic_spline.
    static Boundary left_slope(double slope) { return {kOzkLeftSlope, 1, slope, 0}; }

    int32_t kind() const { return kind_; }
    std::span<const double> values() const { return {values_, count_}; }

  private:
    Boundary(int32_t kind, size_t count, double left, double right)
        : kind_(kind), count_(count), values_{left, right} {}

    int32_t kind_;
    size_t count_;
    double values_[2];
};

// What a spline is beyond its knots.
enum class Outside {
    go_on = kOzkContinue,  // the polynomials of the end cells go on
    clamp = kOzkClamp,     // the value of the nearest end; derivatives are 0
    nan = kOzkNaN,         // not a number
    refuse = kOzkRefuse    // throws, nothing being written
};

// Knots at equal distances from `left` to `right`: sites find their cells in a nanosecond.
template <class T>
struct uniform_knots {
    T left, right;
    size_t count;
};
template <class T>
uniform_knots(T, T, size_t) -> uniform_knots<T>;

namespace detail {

template <class T>
struct spline_calls;

#define OZK_SPLINE_CALLS(p, T)                                        \
    template <>                                                       \
    struct spline_calls<T> {                                          \
        using handle = ozk_##p##_spline;                              \
        static constexpr auto create = ozk_##p##_spline_new;          \
        static constexpr auto remove = ozk_##p##_spline_delete;       \
        static constexpr auto evaluate = ozk_##p##_spline_evaluate;   \
        static constexpr auto integrate = ozk_##p##_spline_integrate; \
    };
OZK_SPLINE_CALLS(s, float)
OZK_SPLINE_CALLS(d, double)
#undef OZK_SPLINE_CALLS

// The knots as the C interface takes them.
template <class T>
struct knot_span {
    std::span<const T> x;
    size_t count;
    bool uniform;
    T ends[2] = {};

    template <std::convertible_to<std::span<const T>> Range>
    knot_span(const Range& knots) : x(knots), count(x.size()), uniform(false) {}
    knot_span(const uniform_knots<T>& knots)
        : count(knots.count), uniform(true), ends{knots.left, knots.right} {}
    const T* data() const { return uniform ? ends : x.data(); }
};

}  // namespace detail

// What all kinds of splines can do. Several functions over the same knots share one spline: their values stand one
// behind the other, and `function` chooses one. T is float or double. Keeps no reference to the points. Movable;
// several threads may use one spline at a time.
//
//   const ozk::spline s(x, y);
//   double value = s(1.5);
//   std::vector<double> values = s(sites), slopes = s.derivative(1, sites);
//   double area = s.integral(0, 2);
template <class T>
class basic_spline {
  public:
    basic_spline(basic_spline&& other) noexcept
        : functions_(other.functions_),
          outside_(other.outside_),
          spline_(std::exchange(other.spline_, nullptr)) {}
    basic_spline& operator=(basic_spline&& other) noexcept {
        std::swap(functions_, other.functions_);
        std::swap(outside_, other.outside_);
        std::swap(spline_, other.spline_);
        return *this;
    }
    ~basic_spline() { calls::remove(spline_); }

    size_t functions() const { return functions_; }

    // What stands beyond the knots from here on; at the start the polynomials go on.
    void set_outside(Outside outside) { outside_ = outside; }
    Outside outside() const { return outside_; }

    // Values of a function at sites, in any order, into `out`, which lies apart from them.
    void operator()(std::span<const T> sites, std::span<T> out, size_t function = 0) const {
        detail::same_size(Family::spline, "ozk::spline", sites.size(), out.size());
        evaluate(sites, 0, 1, out.data(), function);
    }
    std::vector<T> operator()(std::span<const T> sites, size_t function = 0) const {
        return derivative(0, sites, function);
    }
    T operator()(T site, size_t function = 0) const {
        T out;
        evaluate({&site, 1}, 0, 1, &out, function);
        return out;
    }
    // Values of all functions at the sites: one row a function.
    matrix every_function(std::span<const T> sites) const {
        matrix out(functions_, sites.size());
        for (size_t f = 0; f < functions_; ++f) std::ranges::copy((*this)(sites, f), out.row(f).begin());
        return out;
    }

    // The derivative of one order at the sites.
    std::vector<T> derivative(size_t order, std::span<const T> sites, size_t function = 0) const {
        std::vector<T> out(sites.size());
        evaluate(sites, order, 1, out.data(), function);
        return out;
    }
    // Derivatives 0 .. orders - 1 at the sites: one row a site.
    matrix derivatives(size_t orders, std::span<const T> sites, size_t function = 0) const {
        std::vector<T> rows(sites.size() * orders);
        evaluate(sites, 0, orders, rows.data(), function);
        matrix out(sites.size(), orders);
        std::ranges::copy(rows, out.values().begin());
        return out;
    }

    // Integrals from left[i] to right[i], in either order.
    std::vector<T> integral(std::span<const T> left, std::span<const T> right, size_t function = 0) const {
        detail::same_size(Family::spline, "ozk::spline", left.size(), right.size());
        std::vector<T> out(left.size());
        detail::check(calls::integrate(spline_, static_cast<int64_t>(function),
                                       static_cast<int32_t>(outside_), static_cast<int64_t>(left.size()),
                                       left.data(), right.data(), out.data()));
        return out;
    }
    T integral(T left, T right, size_t function = 0) const {
        return integral(std::span<const T>(&left, 1), std::span<const T>(&right, 1), function)[0];
    }

  protected:
    using knots = detail::knot_span<T>;
    using values = std::span<const T>;

    // y holds the values of each function, as many as there are knots.
    basic_spline(int32_t kind, const knots& x, values y, const Boundary& boundary, values inner = {},
                 size_t inner_size = 0)
        : functions_(x.count == 0 ? 1 : y.size() / x.count) {
        detail::same_size(Family::spline, "ozk::spline", functions_ * x.count, y.size());
        detail::same_size(Family::spline, "ozk::spline", inner_size, inner.size());
        T ends[2] = {};
        std::ranges::transform(boundary.values(), ends, [](double each) { return static_cast<T>(each); });
        detail::check(calls::create(kind, x.uniform, static_cast<int64_t>(x.count), x.data(),
                                    static_cast<int64_t>(functions_), y.data(), boundary.kind(),
                                    boundary.values().empty() ? nullptr : ends, inner.data(), &spline_));
    }
    // The data at the inner knots of every function.
    static size_t inner_knots(const knots& x, values y) {
        return x.count < 2 ? 0 : y.size() / x.count * (x.count - 2);
    }

  private:
    using calls = detail::spline_calls<T>;

    void evaluate(std::span<const T> sites, size_t first_order, size_t orders, T* out,
                  size_t function) const {
        detail::check(calls::evaluate(spline_, static_cast<int64_t>(function), static_cast<int32_t>(outside_),
                                      static_cast<int64_t>(sites.size()), sites.data(),
                                      static_cast<int64_t>(first_order), static_cast<int64_t>(orders), out));
    }

    size_t functions_;
    Outside outside_ = Outside::go_on;
    typename calls::handle* spline_ = nullptr;
};

// The kinds. x: knots ascending, at least 2, or uniform_knots; y: as long as there are knots or a multiple of it.

// Cubic with two continuous derivatives; 3 knots for not_a_knot.
template <class T>
struct spline : basic_spline<T> {
    spline(typename basic_spline<T>::knots x, std::span<const T> y,
           const Boundary& boundary = Boundary::free())
        : basic_spline<T>(kOzkNaturalCubic, x, y, boundary) {}
};

// The polygon through the points.
template <class T>
struct linear_spline : basic_spline<T> {
    linear_spline(typename basic_spline<T>::knots x, std::span<const T> y)
        : basic_spline<T>(kOzkLinear, x, y, Boundary::none()) {}
};

// Quadratic with one continuous derivative, given at the left end.
template <class T>
struct quadratic_spline : basic_spline<T> {
    quadratic_spline(typename basic_spline<T>::knots x, std::span<const T> y, double left_slope)
        : basic_spline<T>(kOzkQuadratic, x, y, Boundary::left_slope(left_slope)) {}
};

// Quadratic with one continuous derivative that changes its polynomial between the knots, in the middle of each cell
// or at the given breaks.
template <class T>
struct subbotin_spline : basic_spline<T> {
    subbotin_spline(typename basic_spline<T>::knots x, std::span<const T> y,
                    const Boundary& boundary = Boundary::not_a_knot(), std::span<const T> breaks = {})
        : basic_spline<T>(kOzkSubbotin, x, y, boundary, breaks,
                          breaks.empty() || x.count == 0 ? 0 : x.count - 1) {}
};

// Cubic with given second derivatives at the inner knots, function after function; 3 knots.
template <class T>
struct default_cubic_spline : basic_spline<T> {
    default_cubic_spline(typename basic_spline<T>::knots x, std::span<const T> y, std::span<const T> second,
                         const Boundary& boundary = Boundary::free())
        : basic_spline<T>(kOzkDefaultCubic, x, y, boundary, second, basic_spline<T>::inner_knots(x, y)) {}
};

// Cubic with given slopes at the inner knots, function after function; 3 knots.
template <class T>
struct hermite_spline : basic_spline<T> {
    hermite_spline(typename basic_spline<T>::knots x, std::span<const T> y, std::span<const T> slopes,
                   const Boundary& boundary = Boundary::free())
        : basic_spline<T>(kOzkHermite, x, y, boundary, slopes, basic_spline<T>::inner_knots(x, y)) {}
};

// Cubic with the slopes of parabolas through three knots; 4 knots.
template <class T>
struct bessel_spline : basic_spline<T> {
    bessel_spline(typename basic_spline<T>::knots x, std::span<const T> y,
                  const Boundary& boundary = Boundary::not_a_knot())
        : basic_spline<T>(kOzkBessel, x, y, boundary) {}
};

// Cubic that rises and falls with the points; 4 knots.
template <class T>
struct hyman_spline : basic_spline<T> {
    hyman_spline(typename basic_spline<T>::knots x, std::span<const T> y,
                 const Boundary& boundary = Boundary::free())
        : basic_spline<T>(kOzkHyman, x, y, boundary) {}
};

// Cubic that does not overshoot beside corners; 4 knots, with conditions at the ends 5.
template <class T>
struct akima_spline : basic_spline<T> {
    akima_spline(typename basic_spline<T>::knots x, std::span<const T> y,
                 const Boundary& boundary = Boundary::none())
        : basic_spline<T>(kOzkAkima, x, y, boundary) {}
};

// y[i] on (x[i-1], x[i]].
template <class T>
struct step_left : basic_spline<T> {
    step_left(typename basic_spline<T>::knots x, std::span<const T> y)
        : basic_spline<T>(kOzkStepLeft, x, y, Boundary::none()) {}
};

// y[i] on [x[i], x[i+1]).
template <class T>
struct step_right : basic_spline<T> {
    step_right(typename basic_spline<T>::knots x, std::span<const T> y)
        : basic_spline<T>(kOzkStepRight, x, y, Boundary::none()) {}
};

// The values at the knots; other sites are refused.
template <class T>
struct look_up : basic_spline<T> {
    look_up(typename basic_spline<T>::knots x, std::span<const T> y)
        : basic_spline<T>(kOzkLookUp, x, y, Boundary::none()) {}
};

// The kinds take their T from the knots, so that it need not be written.
#define OZK_SPLINE_GUIDES(Kind)                                                              \
    template <std::ranges::contiguous_range X, class... Rest>                                \
    Kind(const X&, const Rest&...) -> Kind<std::remove_cv_t<std::ranges::range_value_t<X>>>; \
    template <class T, class... Rest>                                                        \
    Kind(const uniform_knots<T>&, const Rest&...) -> Kind<T>;
OZK_SPLINE_GUIDES(spline)
OZK_SPLINE_GUIDES(linear_spline)
OZK_SPLINE_GUIDES(quadratic_spline)
OZK_SPLINE_GUIDES(subbotin_spline)
OZK_SPLINE_GUIDES(default_cubic_spline)
OZK_SPLINE_GUIDES(hermite_spline)
OZK_SPLINE_GUIDES(bessel_spline)
OZK_SPLINE_GUIDES(hyman_spline)
OZK_SPLINE_GUIDES(akima_spline)
OZK_SPLINE_GUIDES(step_left)
OZK_SPLINE_GUIDES(step_right)
OZK_SPLINE_GUIDES(look_up)
#undef OZK_SPLINE_GUIDES

}  // namespace ozk
