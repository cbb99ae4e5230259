// Splines: a handle that owns the task, the points and the coefficients.

#include <algorithm>
#include <cmath>
#include <span>
#include <vector>

#include "api/kernel.hpp"
#include "api/team.hpp"
#include "ozk_df.h"

namespace ozk::api {
namespace {

OZK_KERNEL(new_task, ozk_df_kernel_dNewTask1D);
OZK_KERNEL(edit_spline, ozk_df_kernel_dEditPPSpline1D);
OZK_KERNEL(delete_task, ozk_df_kernel_DeleteTask);
OZK_KERNEL(construct, ozk_df_kernel_dDFNaturalCubicSpline1D);
OZK_KERNEL(interpolate, ozk_df_kernel_dDFInterpolate1D);

constexpr int32_t kWideIntegers = 1;

void done(int status) { require_done(kOzkSpline, status); }

bool ascending(std::span<const double> x) {
    // NaN compares false.
    return std::adjacent_find(x.begin(), x.end(), [](double a, double b) { return !(a < b); }) == x.end();
}

bool finite(std::span<const double> x) {
    return std::all_of(x.begin(), x.end(), [](double each) { return std::isfinite(each); });
}

}  // namespace
}  // namespace ozk::api

using namespace ozk::api;

struct ozk_spline {
    std::vector<double> x, y, coefficients;
    int64_t functions;
    DfTask* task = nullptr;

    ozk_spline(std::span<const double> knots, std::span<const double> values, int32_t boundary,
               const double* boundary_values)
        : x(knots.begin(), knots.end()),
          y(values.begin(), values.end()),
          coefficients(values.size() / knots.size() * (knots.size() - 1) * kDfOrderCubic),
          functions(static_cast<int64_t>(values.size() / knots.size())) {
        try {
            done(new_task(&task, static_cast<int64_t>(x.size()), x.data(), int64_t{kDfPartitionNoHint},
                          functions, y.data(), int64_t{kDfStorageRows}, kWideIntegers));
            done(edit_spline(task, int64_t{kDfOrderCubic}, int64_t{kDfTypeNatural}, int64_t{boundary},
                             boundary_values, int64_t{kDfInternalNone}, static_cast<const double*>(nullptr),
                             static_cast<const double*>(coefficients.data()), int64_t{kDfStorageRows}));
            const TeamScope team;
            done(construct(task, ozk_serv_threading(), static_cast<const void*>(nullptr)));
        } catch (...) {
            delete_task(&task);
            throw;
        }
        // Read for the construction alone.
        task->boundary = nullptr;
    }
    ~ozk_spline() { delete_task(&task); }
    ozk_spline(const ozk_spline&) = delete;
    ozk_spline& operator=(const ozk_spline&) = delete;
};

ozk_status ozk_spline_new(int32_t kind, int64_t nx, const double* x, int64_t ny, const double* y,
                          int32_t boundary, const double* values, ozk_spline** spline) {
    return guarded(kOzkSpline, "ozk_spline_new", [&] {
        require(x != nullptr && y != nullptr && spline != nullptr, kOzkCodeNull,
                "The knots, the values or the place for the spline is null: pass all.");
        require(kind == kOzkNaturalCubic, kOzkCodeArgument,
                "There is no such kind of spline: pass kOzkNaturalCubic.");
        require(nx >= 2, kOzkCodeSize, "There are too few knots: pass at least 2.");
        int64_t points = 0, doubles = 0;
        require(ny >= 1 && !__builtin_mul_overflow(nx, ny, &points) &&
                    !__builtin_mul_overflow(points, int64_t{8} * kDfOrderCubic, &doubles),
                kOzkCodeSize, "There is no function, or more than memory holds: pass at least 1.");
        const std::span knots(x, static_cast<size_t>(nx)), functions(y, static_cast<size_t>(points));
        require(ascending(knots) && finite(knots), kOzkCodeArgument,
                "The knots are not ascending or not finite: sort them and join equal ones.");
        require(finite(functions), kOzkCodeArgument, "A value is not finite: leave its knot out.");
        const bool gives = boundary == kOzkFirstDerivatives || boundary == kOzkSecondThenFirst ||
                           boundary == kOzkFirstThenSecond || boundary == kOzkSecondDerivatives;
        require(
            gives ? values != nullptr && std::isfinite(values[0]) && std::isfinite(values[1])
                  : values == nullptr,
            kOzkCodeArgument,
            "The values at the ends do not fit the boundary condition: pass two finite ones where it gives "
            "derivatives, else null.");
        for (int64_t f = 0; boundary == kOzkPeriodic && f < ny; ++f) {
            if (y[f * nx] != y[f * nx + nx - 1]) done(kDfErrorNotPeriodic);
        }
        *spline = new ozk_spline(knots, functions, boundary, values);
    });
}

void ozk_spline_delete(ozk_spline* spline) { delete spline; }

ozk_status ozk_spline_evaluate(const ozk_spline* spline, int64_t function, int64_t n, const double* sites,
                               int64_t orders, double* result) {
    return guarded(kOzkSpline, "ozk_spline_evaluate", [&] {
        require(spline != nullptr, kOzkCodeNull, "The spline is null: create one with ozk_spline_new.");
        require(n >= 0, kOzkCodeSize, "The number of sites is negative.");
        require(orders >= 1, kOzkCodeArgument, "No order is asked for: pass 1 for values alone.");
        require(function >= 0 && function < spline->functions, kOzkCodeArgument,
                "There is no such function: pass a number below that of the functions.");
        require(n == 0 || (sites != nullptr && result != nullptr), kOzkCodeNull,
                "The sites or the place for the results is null: pass both.");
        int64_t values;
        require(!__builtin_mul_overflow(n, orders, &values), kOzkCodeSize,
                "There are more results than memory holds.");
        const int64_t hint = ascending({sites, static_cast<size_t>(n)}) ? kDfSitesSorted : kDfSitesNoHint;
        const std::vector<int64_t> wanted(static_cast<size_t>(orders), 1);
        const TeamScope team;
        done(interpolate(spline->task, ozk_serv_threading(), function, n, sites, hint,
                         static_cast<const int64_t*>(nullptr), orders, wanted.data(), result, orders,
                         int64_t{kDfResultBySite}, static_cast<const DfdCallbacks*>(nullptr)));
    });
}
