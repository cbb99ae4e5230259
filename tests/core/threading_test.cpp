#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "ozk_core.h"

namespace {

using Body = std::function<int(int64_t, int64_t)>;

int run(int64_t items, int64_t threads, Body body) {
    return ozk_vsl_serv_threader_for(items, threads, &body, [](int64_t item, int64_t thread, void* context) {
        return (*static_cast<Body*>(context))(item, thread);
    });
}

// The loops of this file run on this many threads, however few processors there are.
class Loop : public testing::TestWithParam<int> {
  protected:
    Loop() { omp_set_num_threads(GetParam()); }
    ~Loop() override { omp_set_num_threads(saved_); }

  private:
    int saved_ = omp_get_max_threads();
};

TEST_P(Loop, RunsEachItemOnceOnThreadsBelowTheNumberAskedFor) {
    for (const int64_t threads : {-1, 0, 1, 2, 3, 7, 1000}) {
        for (const int64_t items : {1, 2, 3, 5, 64, 1000, 12345}) {
            std::vector<std::atomic<int>> runs(static_cast<size_t>(items));
            std::vector<std::atomic<int>> busy(1000);
            const int status = run(items, threads, [&](int64_t item, int64_t thread) {
                EXPECT_LT(thread, std::max<int64_t>(1, std::min(threads, int64_t{GetParam()})));
                EXPECT_EQ(busy[static_cast<size_t>(thread)]++, 0) << "one thread number, two items at once";
                ++runs[static_cast<size_t>(item)];
                --busy[static_cast<size_t>(thread)];
                return 0;
            });
            EXPECT_EQ(status, 0);
            EXPECT_TRUE(std::all_of(runs.begin(), runs.end(), [](const auto& count) { return count == 1; }))
                << items << " items, " << threads << " threads";
        }
    }
}

TEST_P(Loop, GivesTheStatusOfTheLowestFailingItemAndStillRunsAll) {
    for (int repeat = 0; repeat < 20; ++repeat) {
        std::atomic<int> runs = 0;
        std::atomic<bool> later_failed = GetParam() == 1;
        const int status = run(500, GetParam(), [&](int64_t item, int64_t) {
            ++runs;
            if (item == 37) {  // fails last in time where there is another thread
                while (!later_failed) std::this_thread::yield();
            }
            if (item > 400) later_failed = true;
            return item < 37 || item % 2 == 0 ? 0 : -static_cast<int>(item);
        });
        EXPECT_EQ(status, -37);
        EXPECT_EQ(runs, 500);
    }
}

TEST_P(Loop, UsesTheThreadsThatItMay) {
    std::mutex mutex;
    std::set<std::thread::id> seen;
    // Holds each item until all threads have one.
    std::atomic<int> arrived = 0;
    run(GetParam(), GetParam(), [&](int64_t, int64_t thread) {
        EXPECT_EQ(ozk_serv_threading()->thread_index(), thread);
        {
            const std::lock_guard lock(mutex);
            seen.insert(std::this_thread::get_id());
        }
        ++arrived;
        while (arrived < GetParam()) std::this_thread::yield();
        return 0;
    });
    EXPECT_EQ(seen.size(), static_cast<size_t>(GetParam()));
}

TEST_P(Loop, NestedInALoopOnSeveralThreadsRunsOnItsThread) {
    if (GetParam() == 1) GTEST_SKIP() << "no loop on several threads to nest in";
    std::atomic<int64_t> inner_items = 0;
    run(8, GetParam(), [&](int64_t, int64_t) {
        EXPECT_EQ(ozk_vsl_serv_threader_get_num_threads_limit(), 1);
        const auto self = std::this_thread::get_id();
        return run(100, 8, [&](int64_t, int64_t thread) {
            EXPECT_EQ(thread, 0);
            EXPECT_EQ(std::this_thread::get_id(), self);
            ++inner_items;
            return 0;
        });
    });
    EXPECT_EQ(inner_items, 800);
    EXPECT_EQ(ozk_vsl_serv_threader_get_num_threads_limit(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Threads, Loop, testing::Values(1, 2, 4));

TEST(LoopArguments, BadOnesRunNothing) {
    for (const int64_t items : {int64_t{0}, int64_t{-5}, INT64_MIN}) {
        EXPECT_EQ(run(items, 4, [](int64_t, int64_t) { return 1; }), 0);
    }
    EXPECT_EQ(ozk_vsl_serv_threader_for(4, 4, nullptr, nullptr), EINVAL);
}

TEST(Loops, OfSeveralProgramThreadsAtOnceAreIndependent) {
    std::vector<std::thread> threads;
    std::atomic<int64_t> total = 0;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int repeat = 0; repeat < 20; ++repeat) {
                run(50, 3, [&](int64_t item, int64_t) { return total += item, 0; });
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(total, 4 * 20 * 50 * 49 / 2);
}

TEST(AdvisedThreads, GrowWithTheDataUpToTheLimit) {
    const OzkThreading& threading = *ozk_serv_threading();
    const int saved = omp_get_max_threads();
    omp_set_num_threads(4);
    const auto advised = [&](int64_t p, int64_t n) {
        return threading.advise_threads(p, n, 0x10000, nullptr);
    };
    EXPECT_EQ(advised(1, 100), 1);
    EXPECT_EQ(advised(-3, 1000000), 1);
    EXPECT_EQ(advised(3, -1), 1);
    EXPECT_EQ(advised(1000, 1000), 4);
    EXPECT_EQ(advised(INT64_MAX, INT64_MAX), 4) << "an overflowing product";
    int64_t last = 1;
    for (int64_t n = 1; n < 1 << 20; n *= 2) {
        EXPECT_GE(advised(1, n), last);
        EXPECT_EQ(advised(1, n), advised(n, 1));
        last = advised(1, n);
    }
    omp_set_num_threads(saved);
    EXPECT_EQ(threading.parallel_for, &ozk_vsl_serv_threader_for);
    EXPECT_EQ(threading.thread_limit(), ozk_vsl_serv_threader_get_num_threads_limit());
    EXPECT_EQ(threading.thread_index(), 0);
    EXPECT_EQ(threading.reserved, nullptr);
}

}  // namespace
