// The task record: layout, the order of the checks, ownership of the pointer arrays, the search accelerator.

#include <limits>

#include "tests/df/support.hpp"

namespace ozk::df::test {
namespace {

template <class T>
class TaskRecord : public ::testing::Test {
  public:
    std::vector<T> knots5{0, 1, 2, 4, 8};
    std::vector<T> values10{1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
};
TYPED_TEST_SUITE(TaskRecord, Precisions);

TYPED_TEST(TaskRecord, IsFilledAndAligned) {
    using T = TypeParam;
    Task<T> task(5, this->knots5, kDfPartitionNonUniform, 2, this->values10, kDfStorageRows, 7);
    const DfTask& t = *task.handle;
    EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(&t) % 128);
    EXPECT_EQ(7, t.wide_integers);
    EXPECT_EQ(4, t.tag);
    EXPECT_EQ((std::is_same_v<T, double>), t.precision);
    EXPECT_EQ(1, t.valid);
    EXPECT_EQ(5, t.nx);
    EXPECT_EQ(this->knots5.data(), t.x);
    EXPECT_EQ(2, t.ny);
    EXPECT_EQ(nullptr, t.coefficients);
    EXPECT_EQ(0, t.order + t.type + t.internal_type + t.boundary_type + t.coefficient_hint + t.flag);
    EXPECT_EQ(kDfOk, ozk_df_kernel_DeleteTask(&task.handle));
    EXPECT_EQ(nullptr, task.handle);
    EXPECT_EQ(kDfOk, ozk_df_kernel_DeleteTask(&task.handle));
    EXPECT_EQ(kDfErrorNullTask, ozk_df_kernel_DeleteTask(nullptr));
}

// Each row breaks one more argument than the row below it: the first failing check decides.
TYPED_TEST(TaskRecord, CreationChecksInOrderAndLeavesTheHandleAlone) {
    using T = TypeParam;
    const T *x = this->knots5.data(), *y = this->values10.data();
    DfTask* const before = reinterpret_cast<DfTask*>(this);
    DfTask* task = before;
    const auto create = [&](int64_t nx, const T* knots, int64_t x_hint, int64_t ny, const T* values,
                            int64_t y_hint) {
        return Df<T>::new_task(&task, nx, knots, x_hint, ny, values, y_hint, 1);
    };
    EXPECT_EQ(kDfErrorNullTask, Df<T>::new_task(nullptr, 5, x, 1, 1, y, 16, 1));
    EXPECT_EQ(kDfErrorTooFewKnots, create(1, nullptr, 3, 0, y, 17));
    EXPECT_EQ(kDfErrorTooFewKnots, create(std::numeric_limits<int64_t>::min(), x, 1, 1, y, 16));
    EXPECT_EQ(kDfErrorNullPartition, create(5, nullptr, 3, 0, y, 17));
    for (int64_t hint : {3, 5, 8, -1}) EXPECT_EQ(kDfErrorPartitionHint, create(5, x, hint, 0, y, 17));
    EXPECT_EQ(kDfErrorFunctionCount, create(5, x, 1, 0, y, 17));
    EXPECT_EQ(kDfErrorNullValues, create(5, x, 1, 2, nullptr, 17));
    for (int64_t hint : {17, 1, 48, 64, 256, -16}) EXPECT_EQ(kDfErrorValueHint, create(5, x, 1, 2, y, hint));
    EXPECT_EQ(before, task);
}

TYPED_TEST(TaskRecord, WithoutMemoryForThePointersStaysBehindForDeletion) {
    using T = TypeParam;
    for (int64_t ny :
         {std::numeric_limits<int64_t>::max(), std::numeric_limits<int64_t>::min(), int64_t{-1}}) {
        DfTask* task = nullptr;
        EXPECT_EQ(kDfErrorMemory, Df<T>::new_task(&task, 5, this->knots5.data(), 1, ny, this->values10.data(),
                                                  kDfStorageRows, 1));
        ASSERT_NE(nullptr, task);
        EXPECT_EQ(kDfOk, ozk_df_kernel_DeleteTask(&task));
    }
}

TYPED_TEST(TaskRecord, PointsAtEachFunctionAsTheHintSays) {
    using T = TypeParam;
    const T* y = this->values10.data();
    const auto pointer = [](Task<T>& task, int64_t attribute, int64_t i) {
        T* out = nullptr;
        EXPECT_EQ(kDfOk, Df<T>::query_index(task.handle, attribute, i, &out));
        return static_cast<const T*>(out);
    };
    for (int64_t hint : {kDfStorageNoHint, kDfStorageRows}) {
        Task<T> rows(5, this->knots5, 1, 2, this->values10, hint);
        EXPECT_EQ(y, pointer(rows, kDfValues, 0));
        EXPECT_EQ(y + 5, pointer(rows, kDfValues, 1));
        EXPECT_EQ(nullptr, pointer(rows, kDfValues, 2)) << "one past the array is readable";
        T* out;
        EXPECT_EQ(kDfErrorFunctionIndex, Df<T>::query_index(rows.handle, kDfValues, 3, &out));
        EXPECT_EQ(kDfErrorFunctionIndex, Df<T>::query_index(rows.handle, kDfValues, -1, &out));
        EXPECT_EQ(kDfErrorFunctionIndex, Df<T>::edit_index(rows.handle, kDfValues, 2, y));
    }
    Task<T> first(5, this->knots5, 1, 2, this->values10, kDfStorageFirstOnly);
    EXPECT_EQ(nullptr, pointer(first, kDfValues, 1));
    EXPECT_EQ(kDfOk, Df<T>::edit_index(first.handle, kDfValues, 1, y + 3));
    EXPECT_EQ(y + 3, pointer(first, kDfValues, 1));

    Task<T> columns(5, this->knots5, 1, 2, this->values10, kDfStorageColumns);
    T* out = nullptr;
    EXPECT_EQ(kDfErrorValueHint, Df<T>::query_index(columns.handle, kDfValues, 0, &out));
    EXPECT_EQ(kDfErrorValueHint, Df<T>::edit_index(columns.handle, kDfValues, 0, y));
    EXPECT_EQ(kDfOk, Df<T>::query_pointer(columns.handle, kDfValues, &out));
    EXPECT_EQ(y, out);

    std::vector<T> c(100);
    for (auto [type, stride] : {std::pair{kDfTypeNatural, 4 * 4}, std::pair{kDfTypeSubbotin, 4 * 5}}) {
        first.set(kDfSplineOrder, 4);
        first.set(kDfSplineType, type);
        first.set(kDfCoefficientHint, kDfStorageColumns);
        ASSERT_EQ(kDfOk, Df<T>::edit_pointer(first.handle, kDfCoefficients, c.data()));
        EXPECT_EQ(c.data() + stride, pointer(first, kDfCoefficients, 1));
    }
    first.set(kDfCoefficientHint, kDfStorageFirstOnly);
    ASSERT_EQ(kDfOk, Df<T>::edit_pointer(first.handle, kDfCoefficients, c.data()));
    EXPECT_EQ(nullptr, pointer(first, kDfCoefficients, 1));
}

TYPED_TEST(TaskRecord, GrownFunctionCountDoesNotReachPastThePointers) {
    using T = TypeParam;
    Task<T> task(5, this->knots5, 1, 2, this->values10);
    task.set(kDfFunctionCount, 1000);
    EXPECT_EQ(kDfErrorFunctionIndex, Df<T>::edit_index(task.handle, kDfValues, 500, this->values10.data()));
    T* out = this->values10.data();
    EXPECT_EQ(kDfOk, Df<T>::query_index(task.handle, kDfValues, 500, &out));
    EXPECT_EQ(nullptr, out);
    EXPECT_EQ(kDfErrorNullCoefficients,
              Df<T>::edit_index(task.handle, kDfCoefficients, 0, this->values10.data()));
}

struct IntegerCase {
    int64_t attribute;
    std::vector<int64_t> accepted, rejected;
    int error;
};

TYPED_TEST(TaskRecord, IntegersAreCheckedKeptAndWrittenInTheTasksWidth) {
    using T = TypeParam;
    const int64_t big = int64_t{1} << 40;
    const std::vector<IntegerCase> cases{
        {kDfPartitionHintCode, {0, 2, 4, 1}, {3, 5, 8, -1}, kDfErrorPartitionHint},
        {kDfKnotCount, {2, 5, big}, {1, 0, -5}, kDfErrorTooFewKnots},
        {kDfFunctionCount, {1, big}, {0, -1}, kDfErrorFunctionCount},
        {kDfValueHint, {0, 16, 32, 128}, {1, 17, 48, 64, 256}, kDfErrorValueHint},
        {kDfSplineOrder, {0, 4, big}, {-1}, kDfErrorOrder},
        {kDfSplineType, {0, 1, 2, 3, 4, 5, 9}, {-1, 6, 7, 8, 10}, kDfErrorType},
        {kDfInternalType, {0, 1, 2, 8, 12, 15, 24, -5}, {3, 4, 7, 16, 32}, kDfErrorInternalType},
        {kDfBoundaryType, {0, 20, 128, big}, {-1}, kDfErrorBoundaryType},
        {kDfCoefficientHint, {0, 16, 32, 128}, {17, 64, -1}, kDfErrorCoefficientHint},
        {kDfFlag, {1, 0}, {2, -1}, kDfErrorFlag},
    };
    Task<T> wide(5, this->knots5, 1, 2, this->values10, kDfStorageRows, 1),
        narrow(5, this->knots5, 1, 2, this->values10, kDfStorageRows, 0);
    for (const IntegerCase& c : cases) {
        int64_t value = -77;
        for (int64_t v : c.accepted) {
            EXPECT_EQ(kDfOk, ozk_df_kernel_iEditVal(wide.handle, c.attribute, v)) << c.attribute << ": " << v;
            EXPECT_EQ(kDfOk, ozk_df_kernel_iQueryVal(wide.handle, c.attribute, &value));
            EXPECT_EQ(v, value);
        }
        for (int64_t v : c.rejected)
            EXPECT_EQ(c.error, ozk_df_kernel_iEditVal(wide.handle, c.attribute, v))
                << c.attribute << ": " << v;
        EXPECT_EQ(kDfOk, ozk_df_kernel_iQueryVal(wide.handle, c.attribute, &value));
        EXPECT_EQ(c.accepted.back(), value) << "a rejected value changed the field";

        int32_t pair[2] = {-77, -77};
        EXPECT_EQ(kDfOk, ozk_df_kernel_iEditVal(narrow.handle, c.attribute, c.accepted[0]));
        EXPECT_EQ(kDfOk, ozk_df_kernel_iQueryVal(narrow.handle, c.attribute, pair));
        EXPECT_EQ(c.accepted[0], pair[0]);
        EXPECT_EQ(-77, pair[1]);
    }
    int64_t out;
    for (int64_t attribute : {0, 13, 24}) {
        EXPECT_EQ(kDfErrorAttribute, ozk_df_kernel_iEditVal(wide.handle, attribute, 2));
        EXPECT_EQ(kDfErrorAttribute, ozk_df_kernel_iQueryVal(wide.handle, attribute, &out));
    }
    EXPECT_EQ(kDfErrorNullResult, ozk_df_kernel_iQueryVal(wide.handle, kDfKnotCount, nullptr));
    EXPECT_EQ(kDfErrorNullTask, ozk_df_kernel_iEditVal(nullptr, kDfKnotCount, 2));
    EXPECT_EQ(kDfErrorNullTask, ozk_df_kernel_iQueryVal(nullptr, kDfKnotCount, &out));
}

TYPED_TEST(TaskRecord, PointersAreCheckedAndKept) {
    using T = TypeParam;
    Task<T> task(5, this->knots5, 1, 2, this->values10);
    std::vector<T> other(50);
    const std::vector<std::pair<int64_t, int>> attributes{{kDfPartition, kDfErrorNullPartition},
                                                          {kDfValues, kDfErrorNullValues},
                                                          {kDfInternalConditions, kDfErrorNullInternal},
                                                          {kDfBoundaryConditions, kDfErrorNullBoundary},
                                                          {kDfCoefficients, kDfErrorNullCoefficients}};
    for (auto [attribute, error] : attributes) {
        T* out = nullptr;
        EXPECT_EQ(kDfOk, Df<T>::edit_pointer(task.handle, attribute, other.data() + attribute));
        EXPECT_EQ(error, Df<T>::edit_pointer(task.handle, attribute, nullptr));
        EXPECT_EQ(kDfOk, Df<T>::query_pointer(task.handle, attribute, &out));
        EXPECT_EQ(other.data() + attribute, out);
    }
    T* out;
    EXPECT_EQ(kDfErrorAttribute, Df<T>::edit_pointer(task.handle, 6, other.data()));
    EXPECT_EQ(kDfErrorAttribute, Df<T>::query_pointer(task.handle, 0, &out));
    EXPECT_EQ(kDfErrorAttribute, Df<T>::edit_index(task.handle, kDfPartition, 0, other.data()));
    EXPECT_EQ(kDfErrorAttribute, Df<T>::query_index(task.handle, kDfPartition, 0, &out));
    EXPECT_EQ(kDfErrorNullResult, Df<T>::query_pointer(task.handle, kDfValues, nullptr));
    EXPECT_EQ(kDfErrorNullResult, Df<T>::query_index(task.handle, kDfValues, -1, nullptr));
    EXPECT_EQ(kDfErrorNullTask, Df<T>::edit_pointer(nullptr, kDfValues, other.data()));

    Task<T> empty(5, this->knots5, 1, 0, {});
    EXPECT_EQ(kDfErrorFunctionCount, Df<T>::edit_pointer(empty.handle, kDfValues, other.data()));
    EXPECT_EQ(kDfErrorFunctionCount, Df<T>::edit_pointer(empty.handle, kDfCoefficients, other.data()));
}

TYPED_TEST(TaskRecord, ThatIsNotValidIsNotTouched) {
    using T = TypeParam;
    Task<T> task(5, this->knots5, 1, 2, this->values10);
    task.handle->valid = 2;
    T mark, *out = &mark;
    int64_t value = -77;
    EXPECT_EQ(kDfOk, Df<T>::edit_pointer(task.handle, 99, nullptr));
    EXPECT_EQ(kDfOk, Df<T>::edit_index(task.handle, 99, -1, nullptr));
    EXPECT_EQ(kDfOk, Df<T>::query_pointer(task.handle, 99, nullptr));
    EXPECT_EQ(kDfOk, ozk_df_kernel_iEditVal(task.handle, 99, 0));
    EXPECT_EQ(kDfOk, ozk_df_kernel_iQueryVal(task.handle, kDfKnotCount, &value));
    EXPECT_EQ(kDfErrorNullResult, Df<T>::query_index(task.handle, 99, -1, nullptr));
    EXPECT_EQ(kDfErrorFunctionIndex, Df<T>::query_index(task.handle, 99, 3, &out));
    EXPECT_EQ(kDfOk, Df<T>::query_index(task.handle, 99, 2, &out));
    EXPECT_EQ(-77, value);
    EXPECT_EQ(&mark, out);
}

TYPED_TEST(TaskRecord, SplineDescriptionStopsAtTheFirstFault) {
    using T = TypeParam;
    Task<T> task(5, this->knots5, 1, 2, this->values10);
    task.handle->valid = 0;  // not looked at
    T b[2] = {}, c[100] = {};
    DfTask& t = *task.handle;
    const auto edit = [&](int64_t order, int64_t type, int64_t boundary, const T* bp, int64_t internal,
                          const T* ip, const T* cp) {
        return Df<T>::edit_spline(&t, order, type, boundary, bp, internal, ip, cp, 128);
    };
    EXPECT_EQ(kDfErrorNullTask, Df<T>::edit_spline(nullptr, 4, 2, 1, b, 0, nullptr, c, 0));
    EXPECT_EQ(kDfErrorOrder, edit(-1, -1, 12, nullptr, 1, nullptr, c));
    EXPECT_EQ(kDfErrorType, edit(4, -1, 12, nullptr, 1, nullptr, c));
    EXPECT_EQ(0, t.order);
    EXPECT_EQ(kDfErrorNullBoundary, edit(4, 77, 12, nullptr, 1, nullptr, c));
    EXPECT_EQ(77, t.type);
    EXPECT_EQ(0, t.boundary_type);
    EXPECT_EQ(kDfErrorNullInternal, edit(4, 2, 12, b, 1, nullptr, c));
    EXPECT_EQ(12, t.boundary_type);
    EXPECT_EQ(kDfErrorInternalType, edit(4, 2, 64, nullptr, 0, b, c));
    EXPECT_EQ(0, t.internal_type);
    t.ny = 0;
    EXPECT_EQ(kDfErrorFunctionCount, edit(4, 2, 2, nullptr, 1, b, c));
    EXPECT_EQ(1, t.internal_type);
    EXPECT_EQ(0, t.coefficient_hint);
    t.ny = 2;
    EXPECT_EQ(kDfOk, edit(4, 2, 2, nullptr, 1, b, c));
    EXPECT_EQ(128, t.coefficient_hint);
    EXPECT_EQ(c, t.coefficients[0]);
    EXPECT_EQ(nullptr, t.coefficients[1]);
}

// Every bin must enclose the cells of all sites that fall into it.
TYPED_TEST(TaskRecord, AcceleratorBinsEncloseTheirKnots) {
    using T = TypeParam;
    for (int64_t nx : {2, 3, 64, 65, 66, 255, 257, 1000, 20000}) {
        std::vector<T> knots = random_knots<T>(nx, 3);
        for (int64_t i = 0; i < nx / 2; ++i) knots[i] = knots[nx / 2] - T(1e-3) * static_cast<T>(nx / 2 - i);
        Task<T> task(nx, knots, kDfPartitionNoHint, 0, {});
        const DfTask& t = *task.handle;
        ASSERT_EQ(std::min<int64_t>(std::max<int64_t>(nx / 16, 16), 1024), t.bins);
        const T scale = std::is_same_v<T, double> ? static_cast<T>(t.scale.d) : static_cast<T>(t.scale.s);
        ASSERT_EQ(static_cast<T>(t.bins) / (knots.back() - knots[0]), scale);
        for (int64_t i = 0; i + 1 < nx; ++i) {
            for (T site : {knots[i], std::nextafter(knots[i + 1], knots[i])}) {
                const auto k = static_cast<int64_t>((site - knots[0]) * scale);
                ASSERT_LE(k, t.bins);
                ASSERT_LE(t.table[2 * k], i) << nx << " knots, bin " << k;
                ASSERT_GE(t.table[2 * k + 1], i + 1) << nx << " knots, bin " << k;
                ASSERT_LT(t.table[2 * k + 1], nx);
            }
        }
        EXPECT_EQ(t.table[2 * t.bins - 2], t.table[2 * t.bins]);
        EXPECT_EQ(t.table[2 * t.bins - 1], t.table[2 * t.bins + 1]);
    }
}

TYPED_TEST(TaskRecord, AcceleratorOfTwoKnotsIsTheWholeCell) {
    using T = TypeParam;
    Task<T> task(2, {0, 1}, kDfPartitionNoHint, 0, {});
    ASSERT_EQ(16, task.handle->bins);
    for (int64_t k = 0; k <= 16; ++k) {
        EXPECT_EQ(0, task.handle->table[2 * k]);
        EXPECT_EQ(1, task.handle->table[2 * k + 1]);
    }
}

TYPED_TEST(TaskRecord, AcceleratorIsBuiltWhenTheHintBecomesNonUniform) {
    using T = TypeParam;
    std::vector<T> knots = random_knots<T>(100, 1), others = random_knots<T>(50, 2);
    Task<T> task(100, knots, kDfPartitionUniform, 0, {});
    EXPECT_EQ(nullptr, task.handle->table);
    for (int64_t hint : {0, 2, 4}) task.set(kDfPartitionHintCode, hint);
    EXPECT_EQ(nullptr, task.handle->table);
    task.set(kDfPartitionHintCode, 1);
    ASSERT_NE(nullptr, task.handle->table);
    const int64_t* table = task.handle->table;
    task.set(kDfPartitionHintCode, 4);
    EXPECT_EQ(table, task.handle->table);
    EXPECT_EQ(99, table[2 * task.handle->bins + 1]);
    ASSERT_EQ(kDfOk, Df<T>::edit_pointer(task.handle, kDfPartition, others.data()));
    task.set(kDfKnotCount, 50);
    task.set(kDfPartitionHintCode, 1);
    EXPECT_EQ(49, task.handle->table[2 * task.handle->bins + 1]);
}

TYPED_TEST(TaskRecord, AcceleratorOfUselessKnotsStaysInsideItsTable) {
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    for (std::vector<T> knots :
         {std::vector<T>{1, 1, 1}, {3, 2, 1}, {nan, 0, nan}, {-inf, 0, inf}, {0, 1e30f, 1}}) {
        Task<T> task(3, knots, kDfPartitionNoHint, 0, {});
        for (int64_t k = 0; k <= task.handle->bins; ++k) {
            EXPECT_GE(task.handle->table[2 * k], 0);
            EXPECT_LT(task.handle->table[2 * k + 1], 3);
        }
    }
}

}  // namespace
}  // namespace ozk::df::test
