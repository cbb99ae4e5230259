// Linear spline: the polygon through the data.

#include "df/construction.hpp"

namespace ozk::df {
namespace {

template <class T>
int linear(const DfTask* task, const OzkThreading* threading, const void* reserved) {
    if (!task) return kDfErrorNullTask;
    if (reserved) return kDfErrorArgument;
    if (task->nx < 2) return kDfErrorTooFewKnots;
    if (!is_storage_hint(task->y_hint)) return kDfErrorValueHint;
    if (int status = check_arrays<T>(*task)) return status;
    return with_partition<T>(*task, [&](auto partition) -> int {
        return for_each_function<T>(*task, threading, [&](auto y, T* coefficients, int64_t) {
            for (int64_t i = 0; i + 1 < partition.nx; ++i) {
                coefficients[2 * i] = y[i];
                coefficients[2 * i + 1] = (y[i + 1] - y[i]) / partition.step(i);
            }
        });
    });
}

}  // namespace
}  // namespace ozk::df

OZK_DF_CONSTRUCTION(Linear, linear, reserved)
