// Values and derivatives of one function at a list of sites: cells are found and sites evaluated block by
// block, so that the cells stay in cache and on the stack.

#include "df/evaluate_look_up.hpp"
#include "df/evaluate_polynomial.hpp"
#include "df/evaluate_step.hpp"
#include "df/evaluate_subbotin.hpp"
#include "df/memory.hpp"
#include "df/parallel.hpp"
#include "df/search.hpp"

namespace ozk::df {
namespace {

constexpr int64_t kBlock = 512;
static_assert(kSitesPerRun % kBlock == 0);

template <class T>
struct Interpolation {
    const DfTask& task;
    const OzkThreading* threading;
    int64_t function;
    int64_t nsite;
    const T* site;
    int64_t site_hint;
    const int64_t* cell;  // null: to be searched
    int64_t norder;
    const int64_t* order;
    T* result;
    int64_t site_stride;
    int64_t order_stride;
    typename Precision<T>::Callbacks callbacks;

    // Checks the sites and the request, all of them before the first is written.
    template <class Kind>
    int check() const {
        return for_each_block([this](int64_t first, int64_t count) -> int {
            int status = kDfOk;
            if (searches_itself() && Kind::check_without_cells(evaluation(first, count, nullptr), status))
                return status;
            return with_cells(first, count, [](const auto& e, const auto& outside) -> int {
                return check_evaluation<Kind>(e, outside);
            });
        });
    }

    template <class Kind>
    int write() const {
        return for_each_block([this](int64_t first, int64_t count) -> int {
            if (searches_itself() && Kind::write_without_cells(evaluation(first, count, nullptr), site_hint))
                return kDfOk;
            return with_cells(first, count, [](const auto& e, const auto& outside) -> int {
                return write_evaluation<Kind>(e, outside);
            });
        });
    }

    int find_all(int64_t* found) const {
        return for_each_block(
            [&](int64_t first, int64_t count) -> int { return find(first, count, found + first); });
    }

  private:
    bool has_callbacks() const { return callbacks.search || callbacks.left || callbacks.right; }
    bool searches_itself() const { return !cell && !has_callbacks(); }

    template <class Block>
    int for_each_block(Block do_block) const {
        const int64_t runs = (nsite + kSitesPerRun - 1) / kSitesPerRun;
        const int64_t threads = has_callbacks() ? 1 : useful_threads(threading, runs, nsite);
        return parallel_for(threading, runs, threads, [&](int64_t run) -> int {
            const int64_t end = std::min(nsite, (run + 1) * kSitesPerRun);
            for (int64_t first = run * kSitesPerRun; first < end; first += kBlock) {
                if (int status = do_block(first, std::min(kBlock, end - first))) return status;
            }
            return kDfOk;
        });
    }

    Evaluation<T, int64_t> evaluation(int64_t first, int64_t count, const int64_t* cells) const {
        return {task,
                is_uniform(task) ? UniformPartition<T>(task).h : T(0),
                function,
                count,
                site + first,
                cells,
                norder,
                order,
                result + first * site_stride,
                site_stride,
                order_stride};
    }

    int find(int64_t first, int64_t count, int64_t* found) const {
        if (!callbacks.search) {
            find_cells(task, site_hint, count, site + first, found);
            return kDfOk;
        }
        const int status = user_defined_search(task, count, site + first, callbacks.search,
                                               callbacks.search_parameters, found);
        return status < 0 ? status : kDfOk;
    }

    // Calls step(evaluation, callbacks) for the sites and their cells, given or found.
    template <class Step>
    int with_cells(int64_t first, int64_t count, Step step) const {
        int64_t found[kBlock];
        const int64_t* cells = cell ? cell + first : found;
        if (!cell) {
            if (int status = find(first, count, found)) return status;
        }
        return step(evaluation(first, count, cells),
                    OutsideCallbacks<T>{{callbacks.left, callbacks.left_parameters},
                                        {callbacks.right, callbacks.right_parameters}});
    }
};

template <class Kind, class T>
int interpolate_polynomials(const Interpolation<T>& call) {
    if (int status = check_function_coefficients(call.task, call.function)) return status;
    return call.template write<Kind>();
}

template <class Kind, class T>
int interpolate_values(const Interpolation<T>& call) {
    if (int status = check_function_values(call.task, call.function)) return status;
    return call.template write<Kind>();
}

template <class T>
int interpolate_look_up(Interpolation<T> call) {
    // Sites are looked at twice. Cells that took a search are kept meanwhile, of more sites found again.
    constexpr int64_t kMostKept = int64_t{1} << 22;
    if (int status = check_function_values(call.task, call.function)) return status;
    const bool keeps = !call.cell && !is_uniform(call.task) && call.nsite <= kMostKept;
    const ScopedArray<int64_t> kept(keeps ? call.nsite : 0);
    if (keeps && kept.data) {
        if (int status = call.find_all(kept.data)) return status;
        call.cell = kept.data;
    }
    if (int status = call.template check<LookUp>()) return status;
    return call.template write<LookUp>();
}

template <class T>
int interpolate_kind(const Interpolation<T>& call) {
    switch (call.task.order) {
        case kDfOrderConstant:
            switch (call.task.type) {
                case kDfTypeStepRight:
                    return interpolate_values<StepRight>(call);
                case kDfTypeStepLeft:
                    return interpolate_values<StepLeft>(call);
                case kDfTypeLookUp:
                    return interpolate_look_up(call);
                default:
                    return kDfErrorType;
            }
        case kDfOrderLinear:
            return interpolate_polynomials<Linear>(call);
        case kDfOrderQuadratic:
            if (call.task.type != kDfTypeSubbotin) return interpolate_polynomials<Quadratic>(call);
            if (int status = check_breaks(call.task)) return status;
            return interpolate_polynomials<Subbotin>(call);
        case kDfOrderCubic:
            return interpolate_polynomials<Cubic>(call);
        default:
            return call.task.order > kDfOrderCubic ? interpolate_polynomials<Arbitrary>(call) : kDfErrorOrder;
    }
}

template <class T>
int interpolate(const DfTask* task, const OzkThreading* threading, int64_t function, int64_t nsite,
                const T* site, int64_t site_hint, const int64_t* cell, int64_t norder, const int64_t* order,
                T* result, int64_t stride, int64_t result_hint,
                const typename Precision<T>::Callbacks* callbacks) {
    static constexpr int64_t kValueAlone[] = {1};
    if (!task) return kDfErrorNullTask;
    if (nsite < 1) return kDfOk;
    if (function < 0 || function >= task->ny) return kDfErrorFunctionIndex;
    if (!site) return kDfErrorNullSites;
    if (!is_site_hint(site_hint)) return kDfErrorSiteHint;
    if (!result) return kDfErrorNullResult;
    if (result_hint != kDfResultNoHint && result_hint != kDfResultBySite && result_hint != kDfResultByOrder)
        return kDfErrorResultHint;
    const bool by_order = result_hint == kDfResultByOrder;
    return interpolate_kind(Interpolation<T>{*task, threading, function, nsite, site, site_hint, cell,
                                             order ? norder : 1, order ? order : kValueAlone, result,
                                             by_order ? 1 : stride, by_order ? stride : 1,
                                             callbacks ? *callbacks : typename Precision<T>::Callbacks{}});
}

}  // namespace
}  // namespace ozk::df

#define OZK_DF_INTERPOLATE(p, T)                                                                            \
    int ozk_df_kernel_##p##DFInterpolate1D(                                                                 \
        const DfTask* task, const OzkThreading* threading, int64_t function, int64_t nsite, const T* site,  \
        int64_t site_hint, const int64_t* cell, int64_t norder, const int64_t* order, T* result,            \
        int64_t stride, int64_t result_hint, const Df##p##Callbacks* callbacks) {                           \
        return ozk::df::interpolate(task, threading, function, nsite, site, site_hint, cell, norder, order, \
                                    result, stride, result_hint, callbacks);                                \
    }
OZK_DF_INTERPOLATE(s, float)
OZK_DF_INTERPOLATE(d, double)
