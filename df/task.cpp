// The task record: created, edited, queried, deleted.

#include <cstring>

#include "df/accelerator.hpp"
#include "df/memory.hpp"
#include "df/partition.hpp"
#include "ozk_df.h"

namespace ozk::df {
namespace {

constexpr int8_t kTaskTag = 4;

bool is_partition_hint(int64_t hint) {
    return hint == kDfPartitionNoHint || hint == kDfPartitionNonUniform || hint == kDfPartitionQuasiUniform ||
           hint == kDfPartitionUniform;
}

// The address `index * stride` elements on. Wraps instead of overflowing when the record holds nonsense.
template <class T>
T* element(T* base, int64_t index, int64_t stride) {
    const uint64_t offset = static_cast<uint64_t>(index) * static_cast<uint64_t>(stride) * sizeof(T);
    return reinterpret_cast<T*>(reinterpret_cast<uintptr_t>(base) + offset);
}

// Pointers to `entries` blocks of `stride` elements, of which only the first `filled` are set. One null entry
// more stands behind them, for the query of index ny.
template <class Pointer, class T>
Pointer* function_pointers(T* base, int64_t entries, int64_t filled, int64_t stride) {
    if (entries < 0 || entries == INT64_MAX) return nullptr;
    auto* pointers = allocate_array<Pointer>(entries + 1);
    if (!pointers) return nullptr;
    std::fill_n(pointers, entries + 1, nullptr);
    for (int64_t i = 0; i < filled; ++i) pointers[i] = element(base, i, stride);
    return pointers;
}

template <class T>
int set_values(DfTask& task, const T* y) {
    if (task.ny == 0) return kDfErrorFunctionCount;
    const int64_t entries = task.y_hint == kDfStorageColumns ? 1 : task.ny;
    const int64_t filled = task.y_hint == kDfStorageFirstOnly ? 1 : entries;
    auto* pointers = function_pointers<const void*>(y, entries, filled, task.nx);
    if (!pointers) return kDfErrorMemory;
    ozk_serv_deallocate(task.y);
    task.y = pointers;
    task.y_entries = entries;
    return kDfOk;
}

template <class T>
int set_coefficients(DfTask& task, const T* coefficients, int64_t hint) {
    if (task.ny == 0) return kDfErrorFunctionCount;
    const int64_t filled = hint == kDfStorageFirstOnly ? 1 : task.ny;
    const auto pieces = static_cast<uint64_t>(task.type == kDfTypeSubbotin ? task.nx : task.nx - 1);
    const auto stride = static_cast<int64_t>(pieces * static_cast<uint64_t>(task.order));
    auto* pointers = function_pointers<void*>(const_cast<T*>(coefficients), task.ny, filled, stride);
    if (!pointers) return kDfErrorMemory;
    ozk_serv_deallocate(task.coefficients);
    task.coefficients = pointers;
    task.coefficient_entries = task.ny;
    return kDfOk;
}

template <class T>
int new_task(DfTask** out, int64_t nx, const T* x, int64_t x_hint, int64_t ny, const T* y, int64_t y_hint,
             int32_t wide_integers) {
    if (!out) return kDfErrorNullTask;
    if (nx < 2) return kDfErrorTooFewKnots;
    if (!x) return kDfErrorNullPartition;
    if (!is_partition_hint(x_hint)) return kDfErrorPartitionHint;
    if (ny == 0 && y) return kDfErrorFunctionCount;
    if (ny != 0 && !y) return kDfErrorNullValues;
    if (!is_storage_hint(y_hint)) return kDfErrorValueHint;

    auto* task = static_cast<DfTask*>(ozk_serv_allocate(sizeof(DfTask), kAlignment));
    *out = task;
    if (!task) return kDfErrorMemory;
    std::memset(task, 0, sizeof *task);
    task->nx = nx;
    task->x = x;
    task->x_hint = x_hint;
    task->ny = ny;
    task->y_hint = y_hint;
    if (y) {
        if (int status = set_values(*task, y)) return status;
    }
    task->wide_integers = wide_integers;
    task->tag = kTaskTag;
    task->precision = sizeof(T) == sizeof(double);
    task->valid = 1;
    return x_hint == kDfPartitionUniform ? kDfOk : build_accelerator<T>(*task);
}

template <class T>
int edit_pointer(DfTask* task, int64_t attribute, const T* pointer) {
    if (!task) return kDfErrorNullTask;
    if (task->valid != 1) return kDfOk;
    switch (attribute) {
        case kDfPartition:
            if (!pointer) return kDfErrorNullPartition;
            task->x = pointer;
            return kDfOk;
        case kDfValues:
            return pointer ? set_values(*task, pointer) : kDfErrorNullValues;
        case kDfInternalConditions:
            if (!pointer) return kDfErrorNullInternal;
            task->internal = pointer;
            return kDfOk;
        case kDfBoundaryConditions:
            if (!pointer) return kDfErrorNullBoundary;
            task->boundary = pointer;
            return kDfOk;
        case kDfCoefficients:
            return pointer ? set_coefficients(*task, pointer, task->coefficient_hint)
                           : kDfErrorNullCoefficients;
        default:
            return kDfErrorAttribute;
    }
}

template <class T>
int edit_function_pointer(DfTask* task, int64_t attribute, int64_t index, const T* pointer) {
    if (!task) return kDfErrorNullTask;
    if (task->valid != 1) return kDfOk;
    if (index < 0 || index >= task->ny) return kDfErrorFunctionIndex;
    switch (attribute) {
        case kDfValues:
            if (task->y_hint == kDfStorageColumns) return kDfErrorValueHint;
            if (!pointer || !task->y) return kDfErrorNullValues;
            if (index >= task->y_entries) return kDfErrorFunctionIndex;
            task->y[index] = pointer;
            return kDfOk;
        case kDfCoefficients:
            if (!pointer || !task->coefficients) return kDfErrorNullCoefficients;
            if (index >= task->coefficient_entries) return kDfErrorFunctionIndex;
            task->coefficients[index] = const_cast<T*>(pointer);
            return kDfOk;
        default:
            return kDfErrorAttribute;
    }
}

// Entry `index` of an owned array, null where there is none; entry `entries` is the spare null.
template <class Pointer>
const void* entry(Pointer* pointers, int64_t entries, int64_t index) {
    return pointers && index <= entries ? pointers[index] : nullptr;
}

template <class T>
T* caller_pointer(const void* pointer) {
    return static_cast<T*>(const_cast<void*>(pointer));
}

template <class T>
int query_pointer(const DfTask* task, int64_t attribute, T** out) {
    if (!task) return kDfErrorNullTask;
    if (task->valid != 1) return kDfOk;
    if (!out) return kDfErrorNullResult;
    const void* pointer;
    switch (attribute) {
        case kDfPartition:
            pointer = task->x;
            break;
        case kDfValues:
            pointer = entry(task->y, task->y_entries, 0);
            break;
        case kDfInternalConditions:
            pointer = task->internal;
            break;
        case kDfBoundaryConditions:
            pointer = task->boundary;
            break;
        case kDfCoefficients:
            pointer = entry(task->coefficients, task->coefficient_entries, 0);
            break;
        default:
            return kDfErrorAttribute;
    }
    *out = caller_pointer<T>(pointer);
    return kDfOk;
}

// Unlike its relatives this looks at validity last and accepts index ny: callers rely on either.
template <class T>
int query_function_pointer(const DfTask* task, int64_t attribute, int64_t index, T** out) {
    if (!task) return kDfErrorNullTask;
    if (!out) return kDfErrorNullResult;
    if (index < 0 || index > task->ny) return kDfErrorFunctionIndex;
    if (task->valid != 1) return kDfOk;
    switch (attribute) {
        case kDfValues:
            if (task->y_hint == kDfStorageColumns) return kDfErrorValueHint;
            *out = caller_pointer<T>(entry(task->y, task->y_entries, index));
            return kDfOk;
        case kDfCoefficients:
            *out = caller_pointer<T>(entry(task->coefficients, task->coefficient_entries, index));
            return kDfOk;
        default:
            return kDfErrorAttribute;
    }
}

template <class T>
int edit_spline(DfTask* task, int64_t order, int64_t type, int64_t boundary_type, const T* boundary,
                int64_t internal_type, const T* internal, const T* coefficients, int64_t coefficient_hint) {
    if (!task) return kDfErrorNullTask;
    if (order < 0) return kDfErrorOrder;
    if (type < 0) return kDfErrorType;
    task->order = order;
    task->type = type;
    if (!boundary && boundary_type >= 3 && boundary_type != kDfBoundaryPeriodic) return kDfErrorNullBoundary;
    task->boundary_type = boundary_type;
    task->boundary = boundary;
    if (internal_type != kDfInternalNone && !internal) return kDfErrorNullInternal;
    if (internal_type == kDfInternalNone && internal) return kDfErrorInternalType;
    task->internal_type = internal_type;
    task->internal = internal;
    if (coefficients) {
        if (int status = set_coefficients(*task, coefficients, coefficient_hint)) return status;
    }
    task->coefficient_hint = coefficient_hint;
    return kDfOk;
}

int store(int64_t& field, int64_t value, bool accepted, int error) {
    if (!accepted) return error;
    field = value;
    return kDfOk;
}

int edit_partition_hint(DfTask& task, int64_t hint) {
    if (!is_partition_hint(hint)) return kDfErrorPartitionHint;
    if (hint == kDfPartitionNonUniform) {
        const int status = task.precision ? build_accelerator<double>(task) : build_accelerator<float>(task);
        if (status) return status;
    }
    task.x_hint = hint;
    return kDfOk;
}

int edit_value(DfTask* task, int64_t attribute, int64_t value) {
    if (!task) return kDfErrorNullTask;
    if (task->valid != 1) return kDfOk;
    switch (attribute) {
        case kDfKnotCount:
            return store(task->nx, value, value >= 2, kDfErrorTooFewKnots);
        case kDfPartitionHintCode:
            return edit_partition_hint(*task, value);
        case kDfFunctionCount:
            return store(task->ny, value, value >= 1, kDfErrorFunctionCount);
        case kDfValueHint:
            return store(task->y_hint, value, is_storage_hint(value), kDfErrorValueHint);
        case kDfSplineOrder:
            return store(task->order, value, value >= 0, kDfErrorOrder);
        case kDfSplineType:
            return store(task->type, value, (value >= 0 && value <= 5) || value == 9, kDfErrorType);
        case kDfInternalType:
            return store(task->internal_type, value, value < 3 || (value & kDfInternalBreaks) != 0,
                         kDfErrorInternalType);
        case kDfBoundaryType:
            return store(task->boundary_type, value, value >= 0, kDfErrorBoundaryType);
        case kDfCoefficientHint:
            return store(task->coefficient_hint, value, is_storage_hint(value), kDfErrorCoefficientHint);
        case kDfFlag:
            if (static_cast<uint64_t>(value) > 1) return kDfErrorFlag;
            task->flag = static_cast<int32_t>(value);
            return kDfOk;
        default:
            return kDfErrorAttribute;
    }
}

int query_value(const DfTask* task, int64_t attribute, void* out) {
    if (!task) return kDfErrorNullTask;
    if (task->valid != 1) return kDfOk;
    if (!out) return kDfErrorNullResult;
    int64_t value;
    switch (attribute) {
        case kDfKnotCount:
            value = task->nx;
            break;
        case kDfPartitionHintCode:
            value = task->x_hint;
            break;
        case kDfFunctionCount:
            value = task->ny;
            break;
        case kDfValueHint:
            value = task->y_hint;
            break;
        case kDfSplineOrder:
            value = task->order;
            break;
        case kDfSplineType:
            value = task->type;
            break;
        case kDfInternalType:
            value = task->internal_type;
            break;
        case kDfBoundaryType:
            value = task->boundary_type;
            break;
        case kDfCoefficientHint:
            value = task->coefficient_hint;
            break;
        case kDfFlag:
            value = task->flag;
            break;
        default:
            return kDfErrorAttribute;
    }
    if (task->wide_integers)
        *static_cast<int64_t*>(out) = value;
    else
        *static_cast<int32_t*>(out) = static_cast<int32_t>(value);
    return kDfOk;
}

int delete_task(DfTask** task) {
    if (!task) return kDfErrorNullTask;
    if (!*task) return kDfOk;
    ozk_serv_deallocate((*task)->y);
    ozk_serv_deallocate((*task)->coefficients);
    ozk_serv_deallocate((*task)->table);
    ozk_serv_deallocate(*task);
    *task = nullptr;
    return kDfOk;
}

}  // namespace
}  // namespace ozk::df

#define OZK_DF_TASK_DEFINE(p, T)                                                                            \
    int ozk_df_kernel_##p##NewTask1D(DfTask** task, int64_t nx, const T* x, int64_t x_hint, int64_t ny,     \
                                     const T* y, int64_t y_hint, int32_t wide_integers) {                   \
        return ozk::df::new_task(task, nx, x, x_hint, ny, y, y_hint, wide_integers);                        \
    }                                                                                                       \
    int ozk_df_kernel_##p##EditPtr(DfTask* task, int64_t attribute, const T* pointer) {                     \
        return ozk::df::edit_pointer(task, attribute, pointer);                                             \
    }                                                                                                       \
    int ozk_df_kernel_##p##EditIdxPtr(DfTask* task, int64_t attribute, int64_t index, const T* pointer) {   \
        return ozk::df::edit_function_pointer(task, attribute, index, pointer);                             \
    }                                                                                                       \
    int ozk_df_kernel_##p##QueryPtr(const DfTask* task, int64_t attribute, T** out) {                       \
        return ozk::df::query_pointer(task, attribute, out);                                                \
    }                                                                                                       \
    int ozk_df_kernel_##p##QueryIdxPtr(const DfTask* task, int64_t attribute, int64_t index, T** out) {     \
        return ozk::df::query_function_pointer(task, attribute, index, out);                                \
    }                                                                                                       \
    int ozk_df_kernel_##p##EditPPSpline1D(DfTask* task, int64_t order, int64_t type, int64_t boundary_type, \
                                          const T* boundary, int64_t internal_type, const T* internal,      \
                                          const T* coefficients, int64_t coefficient_hint) {                \
        return ozk::df::edit_spline(task, order, type, boundary_type, boundary, internal_type, internal,    \
                                    coefficients, coefficient_hint);                                        \
    }

OZK_DF_TASK_DEFINE(s, float)
OZK_DF_TASK_DEFINE(d, double)

int ozk_df_kernel_DeleteTask(DfTask** task) { return ozk::df::delete_task(task); }

int ozk_df_kernel_iEditVal(DfTask* task, int64_t attribute, int64_t value) {
    return ozk::df::edit_value(task, attribute, value);
}

int ozk_df_kernel_iQueryVal(const DfTask* task, int64_t attribute, void* out) {
    return ozk::df::query_value(task, attribute, out);
}
