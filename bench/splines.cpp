// Splines on one thread: construction of the natural cubic, and its values at sites in and out of order,
// against GSL.

#include <gsl/gsl_interp.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>

#include "bench/driver.hpp"
#include "ozk_df.h"

namespace ozk::bench {
namespace {

constexpr int64_t kSites = 10'000;

struct Data {
    std::vector<double> x, y, coefficients, random_sites, sorted_sites, values;

    explicit Data(int64_t knots)
        : x(static_cast<size_t>(knots)), y(x.size()), coefficients(4 * x.size()), values(kSites) {
        std::mt19937_64 engine(1);
        std::uniform_real_distribution<double> unit(0, 1);
        double at = 0;
        for (size_t i = 0; i < x.size(); ++i) {
            x[i] = at;
            y[i] = std::sin(at);
            at += 0.01 + 0.02 * unit(engine);
        }
        for (int64_t i = 0; i < kSites; ++i) random_sites.push_back(x.back() * unit(engine));
        sorted_sites = random_sites;
        std::sort(sorted_sites.begin(), sorted_sites.end());
    }
};
using Shared = std::shared_ptr<Data>;

// The task of a natural cubic with free ends, or null when the library lacks one of the steps.
std::shared_ptr<DfTask> task_of(Data& d) {
    const auto create = kernel<decltype(ozk_df_kernel_dNewTask1D)>("ozk_df_kernel_dNewTask1D");
    const auto describe = kernel<decltype(ozk_df_kernel_dEditPPSpline1D)>("ozk_df_kernel_dEditPPSpline1D");
    const auto remove = kernel<decltype(ozk_df_kernel_DeleteTask)>("ozk_df_kernel_DeleteTask");
    DfTask* made = nullptr;
    if (!create || !describe || !remove) return nullptr;
    constexpr int32_t kWideIntegers = 1;
    if (create(&made, static_cast<int64_t>(d.x.size()), d.x.data(), kDfPartitionNonUniform, 1, d.y.data(),
               kDfStorageNoHint, kWideIntegers) != kDfOk)
        return nullptr;
    std::shared_ptr<DfTask> task(made, [remove](DfTask* t) { remove(&t); });
    if (describe(made, kDfOrderCubic, kDfTypeNatural, kDfBoundaryFree, nullptr, kDfInternalNone, nullptr,
                 d.coefficients.data(), kDfStorageNoHint) != kDfOk)
        return nullptr;
    return task;
}

Case construction(int64_t knots) {
    const auto data = std::make_shared<Data>(knots);
    Case c{"splines/construction/" + std::to_string(knots) + " knots", static_cast<double>(knots), {}, {}};
    const auto construct =
        kernel<decltype(ozk_df_kernel_dDFNaturalCubicSpline1D)>("ozk_df_kernel_dDFNaturalCubicSpline1D");
    const auto task = task_of(*data);
    if (construct && task && construct(task.get(), nullptr, nullptr) == kDfOk)
        c.ours = {{"ours", [=] {
                       construct(task.get(), nullptr, nullptr);
                       keep(data->coefficients.data());
                   }}};
    const std::shared_ptr<gsl_interp> spline(gsl_interp_alloc(gsl_interp_cspline, data->x.size()),
                                             gsl_interp_free);
    c.peers = {
        {"GSL", [=] { gsl_interp_init(spline.get(), data->x.data(), data->y.data(), data->x.size()); }}};
    return c;
}

Case values(int64_t knots, bool sorted) {
    const auto data = std::make_shared<Data>(knots);
    const std::vector<double>& sites = sorted ? data->sorted_sites : data->random_sites;
    Case c{std::string("splines/values at ") + (sorted ? "sorted" : "random") + " sites/" +
               std::to_string(knots) + " knots",
           kSites,
           {},
           {}};
    const auto construct =
        kernel<decltype(ozk_df_kernel_dDFNaturalCubicSpline1D)>("ozk_df_kernel_dDFNaturalCubicSpline1D");
    const auto evaluate = kernel<decltype(ozk_df_kernel_dDFInterpolate1D)>("ozk_df_kernel_dDFInterpolate1D");
    const auto task = task_of(*data);
    const int64_t hint = sorted ? kDfSitesSorted : kDfSitesNoHint;
    if (construct && evaluate && task && construct(task.get(), nullptr, nullptr) == kDfOk)
        c.ours = {{"ours", [=, &sites] {
                       evaluate(task.get(), nullptr, 0, kSites, sites.data(), hint, nullptr, 1, nullptr,
                                data->values.data(), 1, kDfResultNoHint, nullptr);
                       keep(data->values.data());
                   }}};
    const std::shared_ptr<gsl_interp> spline(gsl_interp_alloc(gsl_interp_cspline, data->x.size()),
                                             gsl_interp_free);
    const std::shared_ptr<gsl_interp_accel> found(gsl_interp_accel_alloc(), gsl_interp_accel_free);
    gsl_interp_init(spline.get(), data->x.data(), data->y.data(), data->x.size());
    c.peers = {{"GSL", [=, &sites] {
                    for (size_t i = 0; i < sites.size(); ++i)
                        data->values[i] = gsl_interp_eval(spline.get(), data->x.data(), data->y.data(),
                                                          sites[i], found.get());
                    keep(data->values.data());
                }}};
    return c;
}

std::vector<Case> cases() {
    return {construction(1000),  construction(100'000), construction(1'000'000), values(1000, true),
            values(1000, false), values(100'000, true), values(100'000, false)};
}

std::vector<Section> run(const std::string& filter, bool planned) {
    return {{"splines", comparison(matching(cases(), filter, planned), "knot or site")}};
}

}  // namespace

Family splines_family() { return {"splines", names_of<cases>, run}; }

}  // namespace ozk::bench
