// Splines on one thread: construction of the natural cubic, and values at sites that lie at random, ascend, or
// lie in a partition of equal cells, against GSL, ALGLIB and Boost.

#include <gsl/gsl_interp.h>
#include <interpolation.h>

#include <algorithm>
#include <boost/math/interpolators/cardinal_cubic_b_spline.hpp>
#include <boost/math/interpolators/cubic_hermite.hpp>
#include <cmath>
#include <memory>
#include <random>

#include "bench/driver.hpp"
#include "ozk_df.h"

namespace ozk::bench {
namespace {

constexpr int64_t kKnots = 10'000, kSites = 1'000'000;

enum class Knots { any, uniform };
enum class Sites { random, sorted, knots };

struct Kind {
    const char* name;
    int64_t order, type, boundary;
    const char* construction;  // null: the values are all that it needs
};
constexpr Kind kCubic{"cubic", kDfOrderCubic, kDfTypeNatural, kDfBoundaryFree,
                      "ozk_df_kernel_dDFNaturalCubicSpline1D"};
constexpr Kind kLinear{"linear", kDfOrderLinear, kDfTypeDefault, kDfBoundaryNone,
                       "ozk_df_kernel_dDFLinearSpline1D"};
constexpr Kind kStep{"step", kDfOrderConstant, kDfTypeStepRight, kDfBoundaryNone, nullptr};
constexpr Kind kLookUp{"look-up", kDfOrderConstant, kDfTypeLookUp, kDfBoundaryNone, nullptr};

struct Data {
    std::vector<double> x, y, ends, coefficients, sites, values;
    Knots knots;

    Data(int64_t nx, Knots how, int64_t nsite = 0, Sites where = Sites::random)
        : x(static_cast<size_t>(nx)),
          y(x.size()),
          coefficients(4 * x.size()),
          sites(static_cast<size_t>(nsite)),
          values(sites.size()),
          knots(how) {
        std::mt19937_64 engine(1);
        std::uniform_real_distribution<double> unit(0, 1);
        double at = 0;
        for (size_t i = 0; i < x.size(); ++i) {
            x[i] = how == Knots::uniform ? static_cast<double>(i) / 64 : at;
            y[i] = std::sin(x[i]);
            at += 0.01 + 0.02 * unit(engine);
        }
        ends = {x.front(), x.back()};
        for (double& site : sites) {
            site = x.back() * unit(engine);
            if (where == Sites::knots) site = x[engine() % x.size()];
        }
        if (where == Sites::sorted) std::sort(sites.begin(), sites.end());
    }

    alglib::spline1dinterpolant alglib_spline() const {
        alglib::real_1d_array knot, value;
        const auto n = static_cast<alglib::ae_int_t>(x.size());
        knot.setcontent(n, x.data());
        value.setcontent(n, y.data());
        alglib::spline1dinterpolant spline;
        constexpr alglib::ae_int_t kSecondDerivative = 2;
        alglib::spline1dbuildcubic(knot, value, n, kSecondDerivative, 0, kSecondDerivative, 0, spline);
        return spline;
    }
    std::vector<double> slopes() const {
        std::vector<double> slope(x.size());
        for (size_t i = 0; i < x.size(); ++i) slope[i] = std::cos(x[i]);
        return slope;
    }
};
using Shared = std::shared_ptr<Data>;

// The task of a spline, constructed, or null when the library lacks one of the steps.
std::shared_ptr<DfTask> task_of(Data& d, const Kind& kind) {
    const auto create = kernel<decltype(ozk_df_kernel_dNewTask1D)>("ozk_df_kernel_dNewTask1D");
    const auto describe = kernel<decltype(ozk_df_kernel_dEditPPSpline1D)>("ozk_df_kernel_dEditPPSpline1D");
    const auto remove = kernel<decltype(ozk_df_kernel_DeleteTask)>("ozk_df_kernel_DeleteTask");
    DfTask* made = nullptr;
    if (!create || !describe || !remove) return nullptr;
    constexpr int32_t kWideIntegers = 1;
    const bool uniform = d.knots == Knots::uniform;
    if (create(&made, static_cast<int64_t>(d.x.size()), uniform ? d.ends.data() : d.x.data(),
               uniform ? kDfPartitionUniform : kDfPartitionNonUniform, 1, d.y.data(), kDfStorageNoHint,
               kWideIntegers) != kDfOk)
        return nullptr;
    std::shared_ptr<DfTask> task(made, [remove](DfTask* t) { remove(&t); });
    if (describe(made, kind.order, kind.type, kind.boundary, nullptr, kDfInternalNone, nullptr,
                 d.coefficients.data(), kDfStorageNoHint) != kDfOk)
        return nullptr;
    if (kind.construction) {
        const auto construct = kernel<decltype(ozk_df_kernel_dDFNaturalCubicSpline1D)>(kind.construction);
        if (!construct || construct(made, nullptr, nullptr) != kDfOk) return nullptr;
    }
    return task;
}

std::shared_ptr<gsl_interp> gsl_of(const Data& d, const gsl_interp_type* type) {
    std::shared_ptr<gsl_interp> spline(gsl_interp_alloc(type, d.x.size()), gsl_interp_free);
    gsl_interp_init(spline.get(), d.x.data(), d.y.data(), d.x.size());
    return spline;
}

Case construction(int64_t knots, Knots how) {
    const auto data = std::make_shared<Data>(knots, how);
    const bool uniform = how == Knots::uniform;
    Case c{
        std::string("splines/construction/") + (uniform ? "uniform/" : "") + std::to_string(knots) + " knots",
        static_cast<double>(knots),
        {},
        {}};
    const auto construct = kernel<decltype(ozk_df_kernel_dDFNaturalCubicSpline1D)>(kCubic.construction);
    if (const auto task = task_of(*data, kCubic))
        c.ours = {{"ours", [=] {
                       construct(task.get(), nullptr, nullptr);
                       keep(data->coefficients.data());
                   }}};
    const auto spline = gsl_of(*data, gsl_interp_cspline);
    c.peers = {
        {"GSL", [=] { gsl_interp_init(spline.get(), data->x.data(), data->y.data(), data->x.size()); }},
        {"ALGLIB", [=] { data->alglib_spline(); }}};
    if (uniform)
        c.peers.push_back({"Boost", [=] {
                               const boost::math::interpolators::cardinal_cubic_b_spline<double> made(
                                   data->y.data(), data->y.size(), 0, data->x[1]);
                               keep(&made);
                           }});
    return c;
}

Case values(const Kind& kind, Knots how, Sites where) {
    const auto data = std::make_shared<Data>(kKnots, how, kSites, where);
    const bool uniform = how == Knots::uniform, sorted = where == Sites::sorted;
    Case c{std::string("splines/values/") + kind.name + (uniform ? "/uniform knots" : "/any knots") +
               (sorted                   ? ", sorted sites"
                : where == Sites::random ? ", random sites"
                                         : ", knots as sites"),
           kSites,
           {},
           {}};
    const auto evaluate = kernel<decltype(ozk_df_kernel_dDFInterpolate1D)>("ozk_df_kernel_dDFInterpolate1D");
    const auto task = task_of(*data, kind);
    const int64_t hint = sorted ? kDfSitesSorted : kDfSitesNoHint;
    if (evaluate && task)
        c.ours = {{"ours", [=] {
                       evaluate(task.get(), nullptr, 0, kSites, data->sites.data(), hint, nullptr, 1, nullptr,
                                data->values.data(), 1, kDfResultNoHint, nullptr);
                       keep(data->values.data());
                   }}};
    // A peer's value at one site.
    const auto peer = [&c, data](const char* name, auto value) {
        c.peers.push_back({name, [=] {
                               for (size_t i = 0; i < data->sites.size(); ++i)
                                   data->values[i] = value(data->sites[i]);
                               keep(data->values.data());
                           }});
    };
    const std::shared_ptr<gsl_interp_accel> found(gsl_interp_accel_alloc(), gsl_interp_accel_free);
    if (kind.order == kDfOrderConstant) {
        peer("GSL (search and value)", [=](double t) {
            return data->y[gsl_interp_accel_find(found.get(), data->x.data(), data->x.size(), t)];
        });
        return c;
    }
    const bool cubic = kind.order == kDfOrderCubic;
    const auto spline = gsl_of(*data, cubic ? gsl_interp_cspline : gsl_interp_linear);
    peer("GSL", [=](double t) {
        return gsl_interp_eval(spline.get(), data->x.data(), data->y.data(), t, found.get());
    });
    if (!cubic) return c;
    const auto alglib_spline = std::make_shared<alglib::spline1dinterpolant>(data->alglib_spline());
    peer("ALGLIB", [=](double t) { return alglib::spline1dcalc(*alglib_spline, t); });
    using namespace boost::math::interpolators;
    if (uniform) {
        const auto hermite = std::make_shared<cardinal_cubic_hermite<std::vector<double>>>(
            std::vector(data->y), data->slopes(), 0.0, data->x[1]);
        peer("Boost", [=](double t) { return (*hermite)(t); });
    } else {
        const auto hermite = std::make_shared<cubic_hermite<std::vector<double>>>(
            std::vector(data->x), std::vector(data->y), data->slopes());
        peer("Boost", [=](double t) { return (*hermite)(t); });
    }
    return c;
}

std::vector<Case> cases() {
    return {construction(1000, Knots::any),
            construction(100'000, Knots::any),
            construction(1'000'000, Knots::any),
            construction(1'000'000, Knots::uniform),
            values(kCubic, Knots::any, Sites::random),
            values(kCubic, Knots::any, Sites::sorted),
            values(kCubic, Knots::uniform, Sites::random),
            values(kCubic, Knots::uniform, Sites::sorted),
            values(kLinear, Knots::any, Sites::random),
            values(kLinear, Knots::any, Sites::sorted),
            values(kLinear, Knots::uniform, Sites::random),
            values(kStep, Knots::any, Sites::random),
            values(kStep, Knots::any, Sites::sorted),
            values(kStep, Knots::uniform, Sites::random),
            values(kLookUp, Knots::any, Sites::knots),
            values(kLookUp, Knots::uniform, Sites::knots)};
}

std::vector<Section> run(const std::string& filter, bool planned) {
    return {{"splines", comparison(matching(cases(), filter, planned), "knot or site")}};
}

}  // namespace

Family splines_family() { return {"splines", names_of<cases>, run}; }

}  // namespace ozk::bench
