#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "ozk_core.h"

namespace {

TEST(Allocate, GivesDisjointWritableBlocksAtTheAlignmentAskedFor) {
    std::vector<std::pair<unsigned char*, size_t>> blocks;
    for (size_t alignment = 1; alignment <= 1 << 16; alignment *= 2) {
        for (const size_t size : {size_t{0}, size_t{1}, alignment - 1, alignment + 1, size_t{1000}}) {
            auto* const block = static_cast<unsigned char*>(ozk_serv_allocate(size, alignment));
            ASSERT_NE(block, nullptr) << size << " at " << alignment;
            EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % alignment, 0u);
            std::memset(block, static_cast<int>(blocks.size() & 0xff), size);
            blocks.emplace_back(block, size);
        }
    }
    for (size_t i = 0; i < blocks.size(); ++i) {
        for (size_t byte = 0; byte < blocks[i].second; ++byte) ASSERT_EQ(blocks[i].first[byte], i & 0xff);
        ozk_serv_deallocate(blocks[i].first);
    }
    ozk_serv_deallocate(nullptr);
}

TEST(Allocate, GivesNullForWhatCannotBe) {
    for (const size_t alignment : {size_t{0}, size_t{3}, size_t{96}, SIZE_MAX}) {
        EXPECT_EQ(ozk_serv_allocate(16, alignment), nullptr) << alignment;
    }
    for (const size_t size : {SIZE_MAX, SIZE_MAX - 127, SIZE_MAX / 2 + 1}) {
        EXPECT_EQ(ozk_serv_allocate(size, 128), nullptr) << size;
    }
}

TEST(Lock, ExcludesOtherThreadsAndMayBeTakenTwice) {
    int64_t counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 5000; ++i) {
                EXPECT_EQ(ozk_serv_lock(), 0);
                EXPECT_EQ(ozk_serv_lock(), 0);
                EXPECT_EQ(ozk_serv_unlock(), 0);
                const int64_t seen = counter;
                if (i % 64 == 0) std::this_thread::yield();
                counter = seen + 1;
                EXPECT_EQ(ozk_serv_unlock(), 0);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(counter, 20000);
}

TEST(Getenv, CopiesWhatFitsAndNothingBeyondTheBuffer) {
    ASSERT_EQ(setenv("OZK_TEST_VARIABLE", "twelve chars", 1), 0);
    for (int size = 1; size <= 16; ++size) {
        std::string buffer(20, '#');
        const int length = ozk_serv_getenv("OZK_TEST_VARIABLE", buffer.data(), size);
        const int expected = std::min(size - 1, 12);
        EXPECT_EQ(length, expected);
        EXPECT_EQ(buffer.substr(0, static_cast<size_t>(expected)),
                  std::string("twelve chars", static_cast<size_t>(expected)));
        EXPECT_EQ(buffer[static_cast<size_t>(expected)], '\0');
        EXPECT_EQ(buffer.substr(static_cast<size_t>(size)), std::string(20 - static_cast<size_t>(size), '#'));
    }
    unsetenv("OZK_TEST_VARIABLE");
    char buffer[8] = "old";
    EXPECT_EQ(ozk_serv_getenv("OZK_TEST_VARIABLE", buffer, 8), 0);
    EXPECT_STREQ(buffer, "");
    char untouched[8] = "old";
    EXPECT_EQ(ozk_serv_getenv("PATH", untouched, 0), 0);
    EXPECT_EQ(ozk_serv_getenv("PATH", untouched, -1), 0);
    EXPECT_STREQ(untouched, "old");
    EXPECT_EQ(ozk_serv_getenv("PATH", nullptr, 8), 0);
    EXPECT_EQ(ozk_serv_getenv(nullptr, buffer, 8), 0);
}

TEST(Memcpy, CopiesOrLeavesTheDestinationAsItWas) {
    const char source[] = "abcdef";
    char destination[] = "......";
    EXPECT_EQ(ozk_serv_memcpy_s(destination, 6, source, 6), 0);
    EXPECT_STREQ(destination, "abcdef");
    EXPECT_EQ(ozk_serv_memcpy_s(destination + 1, 5, destination, 5), 0);
    EXPECT_STREQ(destination, "aabcde");
    EXPECT_EQ(ozk_serv_memcpy_s(destination, 2, source, 3), ERANGE);
    EXPECT_EQ(ozk_serv_memcpy_s(destination, 6, nullptr, 3), EINVAL);
    EXPECT_EQ(ozk_serv_memcpy_s(nullptr, 6, source, 3), EINVAL);
    EXPECT_EQ(ozk_serv_memcpy_s(destination, 0, source, 0), 0);
    EXPECT_STREQ(destination, "aabcde");
}

TEST(LoadThreadFun, GivesTheRoutinesOfThatNameAndNoOthers) {
#define EXPECT_FOUND(routine) EXPECT_EQ(ozk_serv_load_thread_fun(#routine), reinterpret_cast<void*>(routine))
    EXPECT_FOUND(ozk_vsl_serv_threader_for);
    EXPECT_FOUND(ozk_vsl_serv_threader_get_num_threads_limit);
    EXPECT_FOUND(ozk_lapack_ps_sdttrfb);
    EXPECT_FOUND(ozk_lapack_ps_ddttrfb);
    EXPECT_FOUND(ozk_lapack_ps_sdtsvb);
    EXPECT_FOUND(ozk_lapack_ps_ddtsvb);
    EXPECT_FOUND(ozk_lapack_sdttrsb);
    EXPECT_FOUND(ozk_lapack_ddttrsb);
    EXPECT_FOUND(ozk_blas_strmm);
    EXPECT_FOUND(ozk_blas_dtrmm);
    EXPECT_FOUND(ozk_blas_sptrmm);
    EXPECT_FOUND(ozk_blas_dptrmm);
#undef EXPECT_FOUND
    for (const char* name :
         {"", "malloc", "dgemm_", "ozk_blas_dptrm", "ozk_blas_dptrmm_", "OZK_BLAS_DPTRMM"}) {
        EXPECT_EQ(ozk_serv_load_thread_fun(name), nullptr) << name;
    }
    EXPECT_EQ(ozk_serv_load_thread_fun(nullptr), nullptr);
}

TEST(Processor, IsANewerServerWhenTheSystemListsTheVectorAesForms) {
    std::ifstream cpuinfo("/proc/cpuinfo");
    std::string line;
    while (std::getline(cpuinfo, line) && line.rfind("flags", 0) != 0) continue;
    if (line.empty()) GTEST_SKIP() << "the system does not list processor flags";
    const bool listed = (line + ' ').find(" vaes ") != std::string::npos;
    EXPECT_EQ(ozk_serv_cpu_is_newer_server() != 0, listed);
}

}  // namespace
