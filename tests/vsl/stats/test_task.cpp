// The statistics task: creation, editors, deletion.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "ozk_stats.h"

namespace {

struct Task {
    OzkStatsTask* handle = nullptr;
    ~Task() { __vslSSDeleteTask(&handle); }
    OzkStatsTask* operator->() const { return handle; }
};

struct Sizes {
    int64_t dimension = 3, count = 5, storage = kOzkStatsByComponent;
    double data[15] = {};
};

const int kTask = kOzkStatsErrorTask;

TEST(StatsTask, IsCreatedWithTheGivenPointersAndNothingElse) {
    Sizes s;
    const int64_t indices[3] = {1, 0, 1};
    Task task;
    ASSERT_EQ(
        __vsldSSNewTask(&task.handle, &s.dimension, &s.count, &s.storage, s.data, s.data + 1, indices, 1), 0);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(task.handle) % 128, 0u);
    OzkStatsTask expected{};
    expected.wide_integers = 1;
    expected.reserved_a = 2;
    expected.reserved_b = 1;
    expected.dimension = &s.dimension;
    expected.observation_count = &s.count;
    expected.observation_storage = &s.storage;
    expected.observations = s.data;
    expected.weights = s.data + 1;
    expected.indices = const_cast<int64_t*>(indices);
    EXPECT_EQ(std::memcmp(&expected, task.handle, sizeof expected), 0);
}

TEST(StatsTask, CreationChecksItsArgumentsInOrderAndLeavesTheHandle) {
    const int32_t three = 3, zero = 0, storage = kOzkStatsByObservation, wrong = 0x30000;
    const double data[9] = {};
    OzkStatsTask sentinel{};
    struct Case {
        const int32_t *dimension, *count, *storage;
        const double* data;
        int status;
    };
    const Case cases[] = {
        {nullptr, nullptr, nullptr, data, kOzkStatsErrorDimension},
        {&zero, nullptr, nullptr, data, kOzkStatsErrorDimension},
        {&three, nullptr, nullptr, data, kOzkStatsErrorInteger},
        {&three, nullptr, &wrong, data, kOzkStatsErrorStorage},
        {&three, &zero, &wrong, data, kOzkStatsErrorStorage},
        {&three, nullptr, &storage, data, kOzkStatsErrorObservationCount},
        {&three, &zero, &storage, data, kOzkStatsErrorObservationCount},
        {&zero, &zero, &wrong, nullptr, kOzkStatsErrorDimension},
    };
    for (const Case& c : cases) {
        OzkStatsTask* handle = &sentinel;
        EXPECT_EQ(__vsldSSNewTask(&handle, c.dimension, c.count, c.storage, c.data, nullptr, nullptr, 0),
                  c.status);
        EXPECT_EQ(handle, &sentinel);
    }
    for (const int32_t* code : {&wrong, &storage, static_cast<const int32_t*>(nullptr)}) {
        Task task;
        EXPECT_EQ(__vslsSSNewTask(&task.handle, &three, &zero, code, nullptr, nullptr, nullptr, 0), 0);
        EXPECT_EQ(task->observation_storage, code);
    }
    EXPECT_EQ(__vsldSSNewTask(nullptr, &three, &three, &storage, data, nullptr, nullptr, 0), kTask);
}

// Status of a null pointer for each real identifier; every other identifier of 1 to 79 is an integer.
const std::map<int, int> kRealIds = {
    {3, -4032},  {6, -4005},  {7, -4006},  {8, -4007},  {9, -4008},  {10, -4009}, {11, -4010}, {12, -4011},
    {13, -4012}, {14, -4013}, {15, -4014}, {16, -4015}, {17, -4016}, {18, -4017}, {19, -4018}, {21, -4019},
    {23, -4020}, {25, -4021}, {26, -4023}, {27, -4024}, {30, -4035}, {31, -4034}, {33, -4037}, {35, -4036},
    {38, -4042}, {39, -4028}, {40, -4027}, {42, -4039}, {43, -4041}, {46, -4046}, {48, -4047}, {51, -4048},
    {53, -4053}, {55, -4054}, {57, -4057}, {59, -4062}, {60, -4071}, {63, -4065}, {65, -4068}, {66, -4070},
    {67, -4006}, {68, -4075}, {69, -4076}, {70, -4077}, {71, -4078}, {72, -4079}, {73, -4080}, {74, -4081},
    {76, -4082}, {77, -4083}, {78, -4084}};
const std::map<int, int> kIntegerIds = {
    {1, -4001},  {2, -4002},  {4, -4044},  {5, -4004},  {20, -4044}, {22, -4044}, {24, -4022},
    {28, -4038}, {29, -4044}, {32, -4038}, {34, -4044}, {36, -4044}, {37, -4043}, {41, -4040},
    {44, -4044}, {45, -4045}, {47, -4044}, {49, -4044}, {50, -4049}, {52, -4052}, {54, -4055},
    {56, -4056}, {58, -4061}, {61, -4044}, {62, -4066}, {64, -4069}, {75, -4044}, {79, -4044}};

TEST(StatsTask, EveryIdentifierHasOneKindItsOwnFieldAndItsOwnStatus) {
    const Sizes s;
    Task task;
    ASSERT_EQ(__vsldSSNewTask(&task.handle, &s.dimension, nullptr, nullptr, nullptr, nullptr, nullptr, 1), 0);
    ASSERT_EQ(kRealIds.size() + kIntegerIds.size(), 79u);
    const auto refuses = [&](auto editor, int id, const double* pointer, int status) {
        const OzkStatsTask before = *task.handle;
        EXPECT_EQ(editor(task.handle, id, pointer), status) << id;
        EXPECT_EQ(std::memcmp(&before, task.handle, sizeof before), 0) << id;
    };
    const auto single = [](OzkStatsTask* t, int id, const double* pointer) {
        return __vslsSSEditTask(t, id, reinterpret_cast<const float*>(pointer));
    };
    for (int id = -2; id <= 90; ++id) {
        const auto real = kRealIds.find(id), integer = kIntegerIds.find(id);
        refuses(__vsldSSEditTask, id, nullptr, real != kRealIds.end() ? real->second : -3);
        refuses(single, id, nullptr, real != kRealIds.end() ? real->second : -3);
        refuses(__vsliSSEditTask, id, nullptr, integer != kIntegerIds.end() ? integer->second : -3);
        if (real == kRealIds.end()) refuses(__vsldSSEditTask, id, s.data, -3);
        if (real == kRealIds.end()) refuses(single, id, s.data, -3);
        if (integer == kIntegerIds.end()) refuses(__vsliSSEditTask, id, s.data, -3);
    }
    // A success changes one pointer field of the record, a different one for each identifier.
    std::set<size_t> fields;
    for (int id = 1; id <= 79; ++id) {
        const OzkStatsTask before = *task.handle;
        const double* pointer = s.data + 1;
        if (kRealIds.count(id)) {
            EXPECT_EQ(
                (id % 2 ? __vsldSSEditTask(task.handle, id, pointer) : single(task.handle, id, pointer)), 0);
        } else {
            EXPECT_EQ(__vsliSSEditTask(task.handle, id, pointer), 0);
        }
        const void *was[92], *is[92];
        static_assert(sizeof was == sizeof before);
        std::memcpy(was, &before, sizeof was);
        std::memcpy(is, task.handle, sizeof is);
        for (size_t field = 0; field < 92; ++field) {
            if (was[field] == is[field]) continue;
            EXPECT_EQ(is[field], pointer) << id;
            EXPECT_TRUE(fields.insert(field).second) << id;
        }
    }
    EXPECT_EQ(fields.size(), 79u);
    EXPECT_EQ(__vsldSSEditTask(nullptr, 0, nullptr), kTask);
    EXPECT_EQ(__vslsSSEditTask(nullptr, 7, nullptr), kTask);
    EXPECT_EQ(__vsliSSEditTask(nullptr, 1, nullptr), kTask);
}

TEST(StatsTask, NamedFieldsAreWhatTheIdentifiersSet) {
    const Sizes s;
    Task task;
    ASSERT_EQ(__vsldSSNewTask(&task.handle, &s.dimension, nullptr, nullptr, nullptr, nullptr, nullptr, 1), 0);
    const double x[8] = {};
    const auto real = [&](int id, int i) { EXPECT_EQ(__vsldSSEditTask(task.handle, id, x + i), 0); };
    real(kOzkStatsIdMean, 0), real(kOzkStatsIdRawMoment3, 1), real(kOzkStatsIdCentralMoment4, 2);
    real(kOzkStatsIdSum, 3), real(kOzkStatsIdCentralSum2, 4), real(kOzkStatsIdAccumulatedWeights, 5);
    real(kOzkStatsIdCovariance, 6), real(kOzkStatsIdSortedObservations, 7);
    EXPECT_EQ(__vsliSSEditTask(task.handle, kOzkStatsIdCovarianceStorage, &s.storage), 0);
    const void* const fields[] = {task->mean,       task->raw_moment[1],      task->central_moment[2],
                                  task->sum,        task->central_sum[0],     task->accumulated_weights,
                                  task->covariance, task->sorted_observations};
    for (int i = 0; i < 8; ++i) EXPECT_EQ(fields[i], x + i);
    EXPECT_EQ(task->covariance_storage, &s.storage);
}

// A typed editor equals EditTask calls with these identifiers in order, and skips null arguments.
template <class Real, class Editor>
void check_typed(const char* name, std::vector<int> ids, Editor edit) {
    SCOPED_TRACE(name);
    const int32_t dimension = 1;
    const auto make = [&] {
        OzkStatsTask* task = nullptr;
        EXPECT_EQ(__vsldSSNewTask(&task, &dimension, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0);
        return task;
    };
    Real pool[16] = {};
    for (const bool odd : {false, true}) {  // all even arguments null, then all odd ones
        Task typed{make()}, single{make()};
        Real* arguments[16] = {};
        for (size_t i = 0; i < ids.size(); ++i) {
            if (i % 2 == odd) continue;
            arguments[i] = pool + i;
            if (kRealIds.count(ids[i])) {
                __vsldSSEditTask(single.handle, ids[i], reinterpret_cast<double*>(arguments[i]));
            } else {
                __vsliSSEditTask(single.handle, ids[i], arguments[i]);
            }
        }
        EXPECT_EQ(edit(typed.handle, arguments), 0);
        EXPECT_EQ(std::memcmp(typed.handle, single.handle, sizeof(OzkStatsTask)), 0);
        EXPECT_EQ(edit(nullptr, arguments), kTask);
    }
}

#define EDITOR(letter, real, name, call, ...)       \
    check_typed<real>(#letter #name, {__VA_ARGS__}, \
                      [](OzkStatsTask* t, real** a) { return __vsl##letter##SS##name call; })
#define EDITORS(letter, real)                                                                               \
    EDITOR(letter, real, EditMoments, (t, a[0], a[1], a[2], a[3], a[4], a[5], a[6]), 7, 8, 9, 10, 11, 12,   \
           13);                                                                                             \
    EDITOR(letter, real, EditSums, (t, a[0], a[1], a[2], a[3], a[4], a[5], a[6]), 67, 68, 69, 70, 71, 72,   \
           73);                                                                                             \
    EDITOR(letter, real, EditCovCor, (t, a[0], a[1], a[2], a[3], a[4]), 7, 19, 20, 21, 22);                 \
    EDITOR(letter, real, EditCP, (t, a[0], a[1], a[2], a[3]), 7, 67, 74, 75);                               \
    EDITOR(letter, real, EditPartialCovCor, (t, a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8]), 45,  \
           19, 20, 21, 22, 46, 47, 48, 49);                                                                 \
    EDITOR(letter, real, EditQuantiles, (t, a[0], a[1], a[2], a[3], a[4]), 24, 25, 26, 27, 44);             \
    EDITOR(letter, real, EditStreamQuantiles, (t, a[0], a[1], a[2], a[3], a[4]), 64, 65, 66, 62, 63);       \
    EDITOR(letter, real, EditPooledCovariance, (t, a[0], a[1], a[2], a[3], a[4], a[5]), 28, 30, 31, 32, 33, \
           35);                                                                                             \
    EDITOR(letter, real, EditRCov, (t, a[0], a[1], a[2], a[3], a[4]), 36, 37, 38, 39, 40);                  \
    EDITOR(letter, real, EditOutDetect, (t, a[0], a[1], a[2]), 41, 42, 43);                                 \
    EDITOR(letter, real, EditMissingVals, (t, a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9]),  \
           50, 51, 52, 53, 58, 59, 54, 55, 56, 57);                                                         \
    EDITOR(letter, real, EditMtxParametrz, (t, a[0], a[1], a[2], a[3]), 21, 22, 60, 61)

TEST(StatsTask, TypedEditorsSetTheirFieldsInOrderAndSkipNulls) {
    EDITORS(d, double);
    EDITORS(s, float);
}

std::vector<std::string> g_events;

TEST(StatsTask, DeletionReleasesWhatTheTaskOwnsAndNullsTheHandle) {
    const int32_t dimension = 1;
    OzkStatsTask* task = nullptr;
    ASSERT_EQ(__vslsSSNewTask(&task, &dimension, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0);
    task->work_buffer = ozk_serv_allocate(64, 128);  // a leak here is the sanitizer's to report
    task->stream_state = ozk_serv_allocate(64, 128);
    task->clean_up_count = 1;
    task->clean_up = [](OzkStatsTask* t) {
        ozk_serv_deallocate(t->stream_state);
        t->stream_state = nullptr;
        g_events.push_back("clean-up");
    };
    EXPECT_EQ(__vslSSDeleteTask(&task), 0);
    EXPECT_EQ(task, nullptr);
    EXPECT_EQ(g_events, std::vector<std::string>{"clean-up"});
    EXPECT_EQ(__vslSSDeleteTask(&task), kTask);
    EXPECT_EQ(__vslSSDeleteTask(nullptr), kTask);
}

}  // namespace
