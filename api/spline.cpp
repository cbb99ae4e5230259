// Splines: a handle that owns the task, the points and the coefficients.

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <vector>

#include "api/kernel.hpp"
#include "api/team.hpp"
#include "ozk_df.h"

namespace ozk::api {
namespace {

// The kernels of one precision.
template <class T>
struct Kernels;

#define OZK_SPLINE_KERNELS(p, T)                                                      \
    template <>                                                                       \
    struct Kernels<T> {                                                               \
        using Construct = Kernel<decltype(ozk_df_kernel_##p##DFLinearSpline1D)>;      \
        using Callbacks = const Df##p##Callbacks*;                                    \
        using IntegralCallbacks = const Df##p##IntegralCallbacks*;                    \
        static inline OZK_KERNEL(new_task, ozk_df_kernel_##p##NewTask1D);             \
        static inline OZK_KERNEL(describe, ozk_df_kernel_##p##EditPPSpline1D);        \
        static inline OZK_KERNEL(interpolate, ozk_df_kernel_##p##DFInterpolate1D);    \
        static inline OZK_KERNEL(integrate, ozk_df_kernel_##p##DFIntegrate1D);        \
        static inline OZK_KERNEL(linear, ozk_df_kernel_##p##DFLinearSpline1D);        \
        static inline OZK_KERNEL(quadratic, ozk_df_kernel_##p##DFQuadraticSpline1D);  \
        static inline OZK_KERNEL(natural, ozk_df_kernel_##p##DFNaturalCubicSpline1D); \
        static inline OZK_KERNEL(cubic, ozk_df_kernel_##p##DFDefaultCubicSpline1D);   \
        static inline OZK_KERNEL(hermite, ozk_df_kernel_##p##DFHermiteCubicSpline1D); \
        static inline OZK_KERNEL(bessel, ozk_df_kernel_##p##DFBesselCubicSpline1D);   \
        static inline OZK_KERNEL(hyman, ozk_df_kernel_##p##DFHymanCubicSpline1D);     \
        static inline OZK_KERNEL(akima, ozk_df_kernel_##p##DFAkimaCubicSpline1D);     \
    };
OZK_SPLINE_KERNELS(s, float)
OZK_SPLINE_KERNELS(d, double)
OZK_KERNEL(delete_task, ozk_df_kernel_DeleteTask);

constexpr int32_t kWideIntegers = 1;

// What a kind takes beside the points.
enum class Ends { none, left_slope, cubic, cubic_or_none };
enum class Inner { none, at_inner_knots, breaks_or_none };

template <class T>
struct Kind {
    int64_t order, type, internal_type;
    Ends ends;
    Inner inner;
    typename Kernels<T>::Construct* construct;  // null: the values are all that it needs
};

// By ozk_spline_kind.
template <class T>
constexpr Kind<T> kKinds[] = {
    {kDfOrderCubic, kDfTypeNatural, kDfInternalNone, Ends::cubic, Inner::none, &Kernels<T>::natural},
    {kDfOrderLinear, kDfTypeDefault, kDfInternalNone, Ends::none, Inner::none, &Kernels<T>::linear},
    {kDfOrderQuadratic, kDfTypeDefault, kDfInternalNone, Ends::left_slope, Inner::none,
     &Kernels<T>::quadratic},
    {kDfOrderQuadratic, kDfTypeSubbotin, kDfInternalBreaks, Ends::cubic, Inner::breaks_or_none,
     &Kernels<T>::quadratic},
    {kDfOrderCubic, kDfTypeDefault, kDfInternalSecond, Ends::cubic, Inner::at_inner_knots,
     &Kernels<T>::cubic},
    {kDfOrderCubic, kDfTypeHermite, kDfInternalFirst, Ends::cubic, Inner::at_inner_knots,
     &Kernels<T>::hermite},
    {kDfOrderCubic, kDfTypeBessel, kDfInternalNone, Ends::cubic, Inner::none, &Kernels<T>::bessel},
    {kDfOrderCubic, kDfTypeHyman, kDfInternalNone, Ends::cubic, Inner::none, &Kernels<T>::hyman},
    {kDfOrderCubic, kDfTypeAkima, kDfInternalNone, Ends::cubic_or_none, Inner::none, &Kernels<T>::akima},
    {kDfOrderConstant, kDfTypeStepLeft, kDfInternalNone, Ends::none, Inner::none, nullptr},
    {kDfOrderConstant, kDfTypeStepRight, kDfInternalNone, Ends::none, Inner::none, nullptr},
    {kDfOrderConstant, kDfTypeLookUp, kDfInternalNone, Ends::none, Inner::none, nullptr}};
constexpr int32_t kKindCount = kOzkLookUp + 1;
static_assert(std::size(kKinds<float>) == kKindCount);

void done(int status) { require_done(kOzkSpline, status); }

template <class T>
bool ascending(std::span<const T> x) {
    // NaN compares false.
    return std::adjacent_find(x.begin(), x.end(), [](T a, T b) { return !(a < b); }) == x.end();
}

template <class T>
bool finite(std::span<const T> x) {
    return std::all_of(x.begin(), x.end(), [](T each) { return std::isfinite(each); });
}

bool is_boundary_of(Ends ends, int32_t boundary) {
    switch (boundary) {
        case kOzkNoCondition:
            return ends == Ends::none || ends == Ends::cubic_or_none;
        case kOzkLeftSlope:
            return ends == Ends::left_slope;
        case kOzkNotAKnot:
        case kOzkFreeEnds:
        case kOzkFirstDerivatives:
        case kOzkSecondThenFirst:
        case kOzkFirstThenSecond:
        case kOzkSecondDerivatives:
        case kOzkPeriodic:
            return ends == Ends::cubic || ends == Ends::cubic_or_none;
        default:
            return false;
    }
}

int64_t end_values(int32_t boundary) {
    const bool two = boundary == kOzkFirstDerivatives || boundary == kOzkSecondThenFirst ||
                     boundary == kOzkFirstThenSecond || boundary == kOzkSecondDerivatives;
    return two ? 2 : boundary == kOzkLeftSlope ? 1 : 0;
}

// The points and conditions, checked, of ny functions at nx knots.
template <class T>
struct Points {
    const Kind<T>& kind;
    bool uniform;
    int64_t nx, ny;
    std::span<const T> x, y, ends, inner;
    int32_t boundary;
};

template <class T>
Points<T> checked_points(int32_t kind, int32_t uniform, int64_t nx, const T* x, int64_t ny, const T* y,
                         int32_t boundary, const T* ends, const T* inner) {
    require(x != nullptr && y != nullptr, kOzkCodeNull, "The knots or the values are null: pass both.");
    require(kind >= 0 && kind < kKindCount, kOzkCodeArgument,
            "There is no such kind of spline: pass an ozk_spline_kind.");
    const Kind<T>& takes = kKinds<T>[kind];
    require(nx >= 2, kOzkCodeSize, "There are too few knots: pass at least 2.");
    int64_t points = 0, bytes = 0;
    require(ny >= 1 && !__builtin_mul_overflow(nx, ny, &points) &&
                !__builtin_mul_overflow(points, int64_t{8} * kDfOrderCubic, &bytes),
            kOzkCodeSize, "There is no function, or more than memory holds: pass at least 1.");
    const auto span = [](const T* from, int64_t count) {
        return std::span(from, static_cast<size_t>(from ? count : 0));
    };
    const std::span<const T> knots = span(x, uniform ? 2 : nx), values = span(y, points);
    require(ascending(knots) && finite(knots), kOzkCodeArgument,
            "The knots are not ascending or not finite: sort them and join equal ones.");
    require(finite(values), kOzkCodeArgument, "A value is not finite: leave its knot out.");
    require(is_boundary_of(takes.ends, boundary), kOzkCodeArgument,
            "The kind of spline does not take this condition at the ends: see ozk_spline_kind.");
    const int64_t count = end_values(boundary);
    const std::span<const T> at_ends = span(ends, count);
    require((count > 0) == (ends != nullptr) && finite(at_ends), kOzkCodeArgument,
            "The values at the ends do not fit the boundary condition: pass finite ones where it gives "
            "derivatives, else null.");
    const bool breaks = takes.inner == Inner::breaks_or_none;
    require(
        takes.inner == Inner::at_inner_knots ? inner != nullptr || nx == 2 : breaks || inner == nullptr,
        kOzkCodeArgument,
        "The inner data do not fit the kind of spline: pass derivatives at the inner knots where it takes "
        "them, else null.");
    const std::span<const T> within = span(inner, breaks ? nx - 1 : (nx - 2) * ny);
    require(finite(within), kOzkCodeArgument, "An inner slope, second derivative or break is not finite.");
    for (int64_t f = 0; boundary == kOzkPeriodic && f < ny; ++f) {
        if (y[f * nx] != y[f * nx + nx - 1]) done(kDfErrorNotPeriodic);
    }
    return {takes, uniform != 0, nx, ny, knots, values, at_ends, within, boundary};
}

template <class T>
class Spline {
  public:
    explicit Spline(const Points<T>& points)
        : kind_(points.kind),
          x_(points.x.begin(), points.x.end()),
          y_(points.y.begin(), points.y.end()),
          ends_(points.ends.begin(), points.ends.end()),
          inner_(points.inner.begin(), points.inner.end()),
          nx_(points.nx),
          functions_(points.ny) {
        if (kind_.construct) {
            const int64_t pieces = kind_.type == kDfTypeSubbotin ? nx_ : nx_ - 1;
            coefficients_.resize(static_cast<size_t>(functions_ * pieces * kind_.order));
        }
        try {
            construct(points);
        } catch (...) {
            delete_task(&task_);
            throw;
        }
        // Read for the construction alone, breaks excepted.
        task_->boundary = nullptr;
        std::vector<T>().swap(ends_);
        if (kind_.inner == Inner::breaks_or_none) return;
        task_->internal = nullptr;
        std::vector<T>().swap(inner_);
    }
    ~Spline() { delete_task(&task_); }
    Spline(const Spline&) = delete;
    Spline& operator=(const Spline&) = delete;

    void evaluate(int64_t function, int32_t outside, std::span<const T> sites, int64_t first_order,
                  int64_t orders, T* result) const {
        require_known(function, outside);
        require(first_order >= 0, kOzkCodeArgument, "The first order is negative: pass 0 for values.");
        require(kind_.type != kDfTypeLookUp || kind_.order != kDfOrderConstant || first_order + orders == 1,
                kOzkCodeArgument, "A look-up has values alone: pass first 0 and count 1.");
        refuse_outside(outside, sites);
        evaluate_continued(function, sites, first_order, orders, result);
        if (outside == kOzkContinue) return;
        for (size_t i = 0; i < sites.size(); ++i) {
            if (!is_outside(sites[i])) continue;
            T* at = result + static_cast<int64_t>(i) * orders;
            std::fill_n(at, orders, outside == kOzkNaN ? std::numeric_limits<T>::quiet_NaN() : T(0));
            if (outside == kOzkClamp && first_order == 0) *at = end_value(function, sites[i] > right());
        }
    }

    void integrate(int64_t function, int32_t outside, std::span<const T> left,
                   std::span<const T> right_limits, T* result) const {
        require_known(function, outside);
        refuse_outside(outside, left);
        refuse_outside(outside, right_limits);
        const auto n = static_cast<int64_t>(left.size());
        if (outside != kOzkClamp) {
            integrate_continued(function, n, left.data(), right_limits.data(), result);
        } else {
            const std::vector<T> from = clamped(left), to = clamped(right_limits);
            integrate_continued(function, n, from.data(), to.data(), result);
        }
        for (size_t i = 0; i < left.size(); ++i) {
            if (!is_outside(left[i]) && !is_outside(right_limits[i])) continue;
            if (outside == kOzkNaN) result[i] = std::numeric_limits<T>::quiet_NaN();
            if (outside == kOzkClamp) {
                const auto beyond = [this](T t) { return is_outside(t) ? t - clamped(t) : T(0); };
                const auto part = [&](T t) { return end_value(function, t > right()) * beyond(t); };
                result[i] += part(right_limits[i]) - part(left[i]);
            }
        }
    }

  private:
    void construct(const Points<T>& points) {
        const auto data = [](const std::vector<T>& v) { return v.empty() ? nullptr : v.data(); };
        done(Kernels<T>::new_task(&task_, nx_, x_.data(),
                                  int64_t{points.uniform ? kDfPartitionUniform : kDfPartitionNoHint},
                                  functions_, y_.data(), int64_t{kDfStorageRows}, kWideIntegers));
        const bool breaks = kind_.inner == Inner::breaks_or_none && !inner_.empty();
        // Where conditions have no data the kernel asks for some that it does not read.
        const bool has_inner = kind_.internal_type != kDfInternalNone;
        const T* inner = has_inner && inner_.empty() ? x_.data() : data(inner_);
        const T* ends = points.boundary == kOzkPeriodic ? x_.data() : data(ends_);
        done(Kernels<T>::describe(task_, kind_.order, kind_.type, int64_t{points.boundary}, ends,
                                  kind_.internal_type | (breaks ? kDfInternalBreaksGiven : 0), inner,
                                  static_cast<const T*>(data(coefficients_)), int64_t{kDfStorageRows}));
        if (!kind_.construct) return;
        const TeamScope team;
        done((*kind_.construct)(task_, ozk_serv_threading(), static_cast<const void*>(nullptr)));
    }

    void require_known(int64_t function, int32_t outside) const {
        require(function >= 0 && function < functions_, kOzkCodeArgument,
                "There is no such function: pass a number below that of the functions.");
        require(outside >= kOzkContinue && outside <= kOzkRefuse, kOzkCodeArgument,
                "There is no such choice for sites beyond the knots: pass an ozk_outside.");
    }

    void refuse_outside(int32_t outside, std::span<const T> sites) const {
        require(outside != kOzkRefuse ||
                    std::none_of(sites.begin(), sites.end(), [this](T t) { return is_outside(t); }),
                kOzkCodeArgument, "A site lies beyond the knots: leave it out, or choose what stands there.");
    }

    T right() const { return x_.back(); }
    bool is_outside(T t) const { return t < x_.front() || t > right(); }
    T clamped(T t) const { return t < x_.front() ? x_.front() : t > right() ? right() : t; }
    std::vector<T> clamped(std::span<const T> sites) const {
        std::vector<T> all(sites.size());
        std::transform(sites.begin(), sites.end(), all.begin(), [this](T t) { return clamped(t); });
        return all;
    }
    T end_value(int64_t function, bool at_right) const {
        return y_[static_cast<size_t>(function * nx_ + (at_right ? nx_ - 1 : 0))];
    }

    void evaluate_continued(int64_t function, std::span<const T> sites, int64_t first_order, int64_t orders,
                            T* result) const {
        // Derivatives from the order of the spline on are 0.
        const int64_t live = std::clamp<int64_t>(kind_.order - first_order, 0, orders);
        if (live < orders) std::fill_n(result, static_cast<int64_t>(sites.size()) * orders, T(0));
        if (live == 0) return;
        std::vector<int64_t> wanted(static_cast<size_t>(first_order + live), 0);
        std::fill_n(wanted.rbegin(), live, 1);
        const int64_t hint = ascending(sites) ? kDfSitesSorted : kDfSitesNoHint;
        const TeamScope team;
        done(Kernels<T>::interpolate(
            task_, ozk_serv_threading(), function, static_cast<int64_t>(sites.size()), sites.data(), hint,
            static_cast<const int64_t*>(nullptr), static_cast<int64_t>(wanted.size()), wanted.data(), result,
            orders, int64_t{kDfResultBySite}, typename Kernels<T>::Callbacks{}));
    }

    void integrate_continued(int64_t function, int64_t n, const T* left, const T* right_limits,
                             T* result) const {
        const TeamScope team;
        done(Kernels<T>::integrate(task_, ozk_serv_threading(), function, n, left, right_limits, result,
                                   typename Kernels<T>::IntegralCallbacks{}));
    }

    Kind<T> kind_;
    std::vector<T> x_, y_, ends_, inner_, coefficients_;
    int64_t nx_, functions_;
    DfTask* task_ = nullptr;
};

// Whether n elements at a and m elements at b share one.
template <class T>
bool overlap(const T* a, int64_t n, const T* b, int64_t m) {
    return std::less<>()(a, b + m) && std::less<>()(b, a + n);
}

}  // namespace
}  // namespace ozk::api

using namespace ozk::api;

#define OZK_SPLINE(p, T)                                                                                     \
    struct ozk_##p##_spline : Spline<T> {                                                                    \
        using Spline::Spline;                                                                                \
    };                                                                                                       \
    ozk_status ozk_##p##_spline_new(int32_t kind, int32_t uniform, int64_t nx, const T* x, int64_t ny,       \
                                    const T* y, int32_t boundary, const T* ends, const T* inner,             \
                                    ozk_##p##_spline** spline) {                                             \
        return guarded(kOzkSpline, "ozk_" #p "_spline_new", [&] {                                            \
            require(spline != nullptr, kOzkCodeNull, "The place for the spline is null: pass one.");         \
            *spline =                                                                                        \
                new ozk_##p##_spline(checked_points(kind, uniform, nx, x, ny, y, boundary, ends, inner));    \
        });                                                                                                  \
    }                                                                                                        \
    void ozk_##p##_spline_delete(ozk_##p##_spline* spline) { delete spline; }                                \
    ozk_status ozk_##p##_spline_evaluate(const ozk_##p##_spline* spline, int64_t function, int32_t outside,  \
                                         int64_t n, const T* sites, int64_t first_order, int64_t orders,     \
                                         T* result) {                                                        \
        return guarded(kOzkSpline, "ozk_" #p "_spline_evaluate", [&] {                                       \
            require_arrays(spline, n, sites, sites, result, orders);                                         \
            spline->evaluate(function, outside, {sites, static_cast<size_t>(n)}, first_order, orders,        \
                             result);                                                                        \
        });                                                                                                  \
    }                                                                                                        \
    ozk_status ozk_##p##_spline_integrate(const ozk_##p##_spline* spline, int64_t function, int32_t outside, \
                                          int64_t n, const T* left, const T* right, T* result) {             \
        return guarded(kOzkSpline, "ozk_" #p "_spline_integrate", [&] {                                      \
            require_arrays(spline, n, left, right, result, 1);                                               \
            spline->integrate(function, outside, {left, static_cast<size_t>(n)},                             \
                              {right, static_cast<size_t>(n)}, result);                                      \
        });                                                                                                  \
    }

namespace {

// n sites or limits, and n rows of results that lie apart from them.
template <class T>
void require_arrays(const void* spline, int64_t n, const T* first, const T* second, const T* result,
                    int64_t orders) {
    require(spline != nullptr, kOzkCodeNull, "The spline is null: create one first.");
    require(n >= 0, kOzkCodeSize, "The number of sites is negative.");
    require(orders >= 1, kOzkCodeArgument, "No order is asked for: pass 1 for values alone.");
    require(n == 0 || (first != nullptr && second != nullptr && result != nullptr), kOzkCodeNull,
            "The sites or the place for the results is null: pass both.");
    int64_t values = 0;
    require(!__builtin_mul_overflow(n, orders, &values), kOzkCodeSize,
            "There are more results than memory holds.");
    require(!overlap(first, n, result, values) && !overlap(second, n, result, values), kOzkCodeOverlap,
            "The results overlap the sites: pass an array apart.");
}

}  // namespace

OZK_SPLINE(s, float)
OZK_SPLINE(d, double)
