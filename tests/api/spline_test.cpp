// Splines through the application interface: every kind gives back what it can represent, in both precisions and
// over both forms of knots; integrals, what stands beyond the knots, refusals.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "ozk/ozk.hpp"
#include "ozk_df.h"
#include "tests/api/refusal.hpp"

namespace {

using ozk::Boundary, ozk::Family, ozk::Outside;

double cubic(double x) { return ((2 * x - 3) * x + 1) * x - 4; }
double cubic_1(double x) { return (6 * x - 6) * x + 1; }
double cubic_2(double x) { return 12 * x - 6; }

TEST(Spline, GivesACubicBackUnderEveryConditionThatItMeets) {
    const std::vector<double> x = {-1, -0.25, 0.5, 1, 2.75, 3};
    std::vector<double> y, sites = {3.5, -1, 0.5, 0.7, -2, 3, 2.75};
    for (const double each : x) y.push_back(cubic(each));
    for (const double each : x) y.push_back(2 * cubic(each));  // a second function
    for (const ozk::Boundary& boundary :
         {ozk::Boundary::not_a_knot(), ozk::Boundary::first(cubic_1(-1), cubic_1(3)),
          ozk::Boundary::second(cubic_2(-1), cubic_2(3)),
          ozk::Boundary::first_then_second(cubic_1(-1), cubic_2(3)),
          ozk::Boundary::second_then_first(cubic_2(-1), cubic_1(3))}) {
        const ozk::spline spline(x, std::span(y).first(x.size()), boundary);
        for (int pass = 0; pass < 2; ++pass) {  // sites in any order, then ascending
            const std::vector<double> values = spline(sites), slopes = spline.derivative(1, sites);
            const ozk::matrix all = spline.derivatives(4, sites);
            for (size_t i = 0; i < sites.size(); ++i) {
                EXPECT_NEAR(values[i], cubic(sites[i]), 1e-11);
                EXPECT_NEAR(slopes[i], cubic_1(sites[i]), 1e-11);
                EXPECT_EQ(all(i, 0), values[i]);
                EXPECT_EQ(all(i, 1), slopes[i]);
                EXPECT_NEAR(all(i, 2), cubic_2(sites[i]), 1e-10);
                EXPECT_NEAR(all(i, 3), 12, 1e-9);
            }
            std::sort(sites.begin(), sites.end());
        }
    }
    const ozk::spline both(x, y, ozk::Boundary::not_a_knot());
    EXPECT_EQ(both.functions(), 2u);
    EXPECT_NEAR(both(sites, 1)[3], 2 * cubic(sites[3]), 1e-11);
    const std::vector<double> ends = both.derivative(2, std::vector<double>{-1, 3});
    const ozk::spline natural(x, std::span(y).first(x.size()));
    EXPECT_NEAR(natural.derivative(2, std::vector<double>{-1})[0], 0, 1e-12);
    EXPECT_GT(std::fabs(ends[0]), 1);
}

TEST(Spline, RefusesPointsThatItCannotJoin) {
    const auto refused = [](int32_t code, auto&& call) { expect_refused(Family::spline, code, call); };
    const std::vector<double> x = {0, 1, 2}, y = {0, 1, 4}, one = {1}, twice = {0, 1, 1}, bad = {0, NAN, 1};
    refused(kOzkCodeSize, [&] { ozk::spline(one, one); });
    refused(kOzkCodeSize, [&] { ozk::spline(x, std::vector<double>{0, 1, 2, 3}); });
    refused(kOzkCodeArgument, [&] { ozk::spline(twice, y); });
    refused(kOzkCodeArgument, [&] { ozk::spline(bad, y); });
    refused(kOzkCodeArgument, [&] { ozk::spline(x, bad); });
    refused(kDfErrorNotPeriodic, [&] { ozk::spline(x, y, ozk::Boundary::periodic()); });
    refused(kOzkCodeArgument, [&] { ozk::spline(x, y, ozk::Boundary::first(NAN, 0)); });
    refused(kDfErrorTooFewKnots,
            [&] { ozk::spline(std::span(x).first(2), std::span(y).first(2), ozk::Boundary::not_a_knot()); });

    const ozk::spline spline(x, y);
    std::vector<double> out(2, 7);
    refused(kOzkCodeSize, [&] { spline(x, out); });
    refused(kOzkCodeArgument, [&] { spline(std::span(x).first(2), out, 1); });
    refused(kOzkCodeArgument, [&] { spline.derivatives(0, x); });
    EXPECT_EQ(out, std::vector<double>(2, 7));
    EXPECT_TRUE(spline(std::vector<double>{}).empty());
}

template <class T>
class SplineKinds : public ::testing::Test {
  protected:
    static constexpr T kTolerance = std::is_same_v<T, float> ? T(2e-4) : T(1e-11);
    const std::vector<T> x = {-1, T(-0.25), T(0.5), T(1.25),
                              2};  // equally spaced, so that both forms hold it
    const ozk::uniform_knots<T> uniform{-1, 2, 5};
    const std::vector<T> sites = {T(1.75), -1, T(0.4), T(0.5), T(-0.9), 2, T(1.3)};

    // The values of f at the knots, then those of 3 f: two functions.
    template <class F>
    std::vector<T> two(F f) const {
        std::vector<T> y;
        for (const T scale : {T(1), T(3)})
            for (const T each : x) y.push_back(scale * static_cast<T>(f(each)));
        return y;
    }
    template <class F>
    std::vector<T> inner(F f) const {
        std::vector<T> y = two(f);
        y.erase(y.begin() + 9);
        y.erase(y.begin() + 4, y.begin() + 6);
        y.erase(y.begin());
        return y;
    }
    // The spline is f for function 0, 3 f for function 1, with slope f1, and integrates to F.
    template <class Spline, class F, class F1, class Integral>
    void expect_is(const Spline& spline, F f, F1 f1, Integral integral) const {
        for (size_t function : {0, 1}) {
            const double scale = function == 0 ? 1 : 3;
            const std::vector<T> values = spline(sites, function),
                                 slopes = spline.derivative(1, sites, function);
            const ozk::matrix all = spline.every_function(sites),
                              both = spline.derivatives(2, sites, function);
            for (size_t i = 0; i < sites.size(); ++i) {
                EXPECT_NEAR(values[i], scale * f(sites[i]), kTolerance);
                EXPECT_NEAR(slopes[i], scale * f1(sites[i]), 10 * kTolerance);
                EXPECT_EQ(values[i], spline(sites[i], function));
                EXPECT_EQ(all(function, i), values[i]);
                EXPECT_EQ(both(i, 0), values[i]);
                EXPECT_EQ(both(i, 1), slopes[i]);
            }
            EXPECT_NEAR(spline.integral(T(1.5), T(-0.5), function), -scale * (integral(1.5) - integral(-0.5)),
                        kTolerance);
        }
    }
};
using BothPrecisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(SplineKinds, BothPrecisions);

double cubic_integral(double x) { return ((x / 2 - 1) * x + 0.5) * x * x - 4 * x; }
double parabola(double x) { return (2 * x - 3) * x + 1; }
double parabola_1(double x) { return 4 * x - 3; }
double parabola_integral(double x) { return ((2 * x / 3 - 1.5) * x + 1) * x; }
double straight(double x) { return 2 * x - 3; }
double straight_1(double) { return 2; }
double straight_integral(double x) { return (x - 3) * x; }

TYPED_TEST(SplineKinds, GiveBackThePolynomialsThatTheyHold) {
    using T = TypeParam;
    const auto over = [&](const auto& knots) {
        const std::vector<T> lines = this->two(straight), parabolas = this->two(parabola);
        this->expect_is(ozk::linear_spline(knots, lines), straight, straight_1, straight_integral);
        this->expect_is(ozk::bessel_spline(knots, parabolas), parabola, parabola_1, parabola_integral);
        this->expect_is(ozk::akima_spline(knots, lines), straight, straight_1, straight_integral);
        this->expect_is(ozk::hyman_spline(knots, lines), straight, straight_1, straight_integral);
        // One condition serves all functions, so these have the same function twice.
        std::vector<T> twice(parabolas.begin(), parabolas.begin() + 5);
        const ozk::quadratic_spline quadratic(knots, twice, parabola_1(-1));
        const ozk::subbotin_spline subbotin(knots, twice, Boundary::first(parabola_1(-1), parabola_1(2)));
        const std::vector<T> breaks = {T(-0.75), T(0.25), T(0.75), T(1.5)};
        const ozk::subbotin_spline broken(knots, twice, Boundary::not_a_knot(), std::span<const T>(breaks));
        for (const T site : this->sites) {
            for (const auto* spline : {static_cast<const ozk::basic_spline<T>*>(&quadratic),
                                       static_cast<const ozk::basic_spline<T>*>(&subbotin),
                                       static_cast<const ozk::basic_spline<T>*>(&broken)})
                EXPECT_NEAR((*spline)(site), parabola(site), this->kTolerance);
        }
        EXPECT_NEAR(subbotin.integral(T(-1), T(2)), parabola_integral(2) - parabola_integral(-1),
                    this->kTolerance);
    };
    over(this->x);
    over(this->uniform);
}

TYPED_TEST(SplineKinds, TakeInnerDataFunctionAfterFunction) {
    const std::vector cubics = this->two(cubic), slopes = this->inner(cubic_1), second = this->inner(cubic_2);
    const auto over = [&](const auto& knots) {
        this->expect_is(ozk::hermite_spline(knots, cubics, slopes, Boundary::not_a_knot()), cubic, cubic_1,
                        cubic_integral);
        this->expect_is(ozk::default_cubic_spline(knots, cubics, second, Boundary::not_a_knot()), cubic,
                        cubic_1, cubic_integral);
        this->expect_is(ozk::spline(knots, cubics, Boundary::not_a_knot()), cubic, cubic_1, cubic_integral);
    };
    over(this->x);
    over(this->uniform);
}

TYPED_TEST(SplineKinds, HymanIsMonotoneWhereTheNaturalCubicOvershoots) {
    using T = TypeParam;
    const std::vector<T> y = {0, 0, 0, 1, 1};
    const ozk::hyman_spline monotone(this->x, y);
    const ozk::spline natural(this->x, y);
    T before = 0;
    bool overshoots = false;
    for (int i = 0; i <= 300; ++i) {
        const T site = std::min(T(-1) + static_cast<T>(i) / 100, T(2)), value = monotone(site);
        EXPECT_GE(value, before - std::numeric_limits<T>::epsilon()) << "at " << site;
        before = value;
        overshoots = overshoots || natural(site) < T(-0.01);
    }
    EXPECT_TRUE(overshoots);
}

TYPED_TEST(SplineKinds, StepsAndLookUpsCopyValues) {
    using T = TypeParam;
    const std::vector<T> y = {5, 6, 7, 8, 9}, between = {T(-0.5), T(0.5), T(1.5)};
    const auto over = [&](const auto& knots) {
        EXPECT_EQ(ozk::step_right(knots, y)(between), (std::vector<T>{5, 7, 8}));
        EXPECT_EQ(ozk::step_left(knots, y)(between), (std::vector<T>{6, 7, 9}));
        EXPECT_EQ(ozk::step_left(knots, y).derivative(1, between), (std::vector<T>{0, 0, 0}));
        EXPECT_EQ(ozk::step_right(knots, y).integral(-1, 2), T(0.75) * (5 + 6 + 7 + 8));
        const ozk::look_up table(knots, y);
        EXPECT_EQ(table(this->x), y);
        std::vector<T> out(3, -1);
        expect_refused(Family::spline, kDfErrorSiteNotKnot, [&] { table(between, out); });
        EXPECT_EQ(out, std::vector<T>(3, -1));
    };
    over(this->x);
    over(this->uniform);
}

TYPED_TEST(SplineKinds, AreBeyondTheKnotsWhatIsChosen) {
    using T = TypeParam;
    const std::vector<T> y = this->two(parabola), outside = {-2, 0, 3, -3};
    const auto over = [&](const auto& knots) {
        ozk::bessel_spline spline(knots, y);
        EXPECT_NEAR(spline(outside)[0], parabola(-2), 10 * this->kTolerance);

        spline.set_outside(Outside::clamp);
        const ozk::matrix clamped = spline.derivatives(2, outside, 1);
        EXPECT_EQ(clamped(0, 0), y[5]);
        EXPECT_EQ(clamped(2, 0), y[9]);
        EXPECT_EQ(clamped(2, 1), 0);
        EXPECT_NEAR(clamped(1, 1), 3 * parabola_1(0), 10 * this->kTolerance);
        EXPECT_EQ(spline.derivative(1, outside)[3], 0);
        const double inside = parabola_integral(2) - parabola_integral(-1);
        EXPECT_NEAR(spline.integral(T(-2), T(4)), inside + parabola(-1) + 2 * parabola(2),
                    10 * this->kTolerance);
        EXPECT_NEAR(spline.integral(T(4), T(-2)), -(inside + parabola(-1) + 2 * parabola(2)),
                    10 * this->kTolerance);
        EXPECT_NEAR(spline.integral(T(3), T(5)), 2 * parabola(2), this->kTolerance);

        spline.set_outside(Outside::nan);
        EXPECT_TRUE(std::isnan(spline(outside)[0]));
        EXPECT_NEAR(spline(outside)[1], parabola(0), this->kTolerance);
        EXPECT_TRUE(std::isnan(spline.integral(T(-2), T(0))));

        spline.set_outside(Outside::refuse);
        std::vector<T> out(4, 7);
        expect_refused(Family::spline, kOzkCodeArgument, [&] { spline(outside, out); });
        EXPECT_EQ(out, std::vector<T>(4, 7));
        expect_refused(Family::spline, kOzkCodeArgument, [&] { spline.integral(T(0), T(3)); });
        EXPECT_TRUE(std::isnan(spline(std::numeric_limits<T>::quiet_NaN()))) << "a NaN lies nowhere";
        EXPECT_EQ(spline(T(2)), y[4]);
    };
    over(this->x);
    over(this->uniform);
}

TEST(SplineRefusal, SaysWhatDoesNotFitTheKind) {
    const auto refused = [](int32_t code, auto&& call) { expect_refused(Family::spline, code, call); };
    const std::vector<double> x = {0, 1, 2, 3}, y = {0, 1, 4, 9}, inner = {2, 4}, bad = {2, NAN};
    const std::vector<double> outside_breaks = {0.5, 2.5, 2.7};
    refused(kOzkCodeArgument, [&] { ozk::bessel_spline(x, y, Boundary::none()); });
    refused(kOzkCodeArgument, [&] { ozk::spline(x, y, Boundary::left_slope(1)); });
    refused(kOzkCodeArgument, [&] { ozk::quadratic_spline(x, y, NAN); });
    refused(kOzkCodeSize, [&] { ozk::hermite_spline(x, y, std::span(inner).first(1)); });
    refused(kOzkCodeArgument, [&] { ozk::hermite_spline(x, y, bad); });
    refused(kDfErrorArgument,
            [&] { ozk::subbotin_spline(x, y, Boundary::free(), std::span(outside_breaks)); });
    refused(kDfErrorTooFewKnots, [&] { ozk::akima_spline(x, y, Boundary::free()); });
    refused(kDfErrorTooFewKnots, [&] { ozk::bessel_spline(std::span(x).first(3), std::span(y).first(3)); });
    refused(kOzkCodeArgument, [&] { ozk::spline(ozk::uniform_knots{1.0, 1.0, 4}, y); });
    refused(kDfErrorType, [&] { ozk::look_up(x, y).integral(0, 1); });
    refused(kOzkCodeArgument, [&] { ozk::look_up(x, y).derivative(1, x); });

    ozk::spline made(x, y);
    std::vector<double> in_place = x;
    refused(kOzkCodeOverlap, [&] { made(in_place, in_place); });
    EXPECT_EQ(in_place, x);
    ozk_d_spline* none = nullptr;
    EXPECT_EQ(ozk_status_code(ozk_d_spline_new(12, 0, 4, x.data(), 1, y.data(), 0, nullptr, nullptr, &none)),
              kOzkCodeArgument);
    EXPECT_EQ(none, nullptr);
    const ozk::spline moved(std::move(made));
    EXPECT_NEAR(moved(3.0), 9, 1e-14);
    refused(kOzkCodeNull, [&] { made(1.0); });
}

}  // namespace
