#include "core/loader.hpp"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using ozk::core::KernelLibrary;

const std::string kBuilt = fs::path(OZK_KERNEL_LIBRARY).parent_path();

// One sentence that names all these.
void expect_sentence(const std::string& error, const std::vector<std::string>& parts) {
    for (const std::string& part : parts)
        EXPECT_NE(error.find(part), std::string::npos) << part << " in: " << error;
    EXPECT_EQ(error.find('\n'), std::string::npos) << error;
}

void expect_unusable(const KernelLibrary& library, const std::vector<std::string>& parts) {
    EXPECT_FALSE(library.loaded());
    expect_sentence(library.error(), parts);
    const auto kernel = library.kernel("dll_cpu_version");
    EXPECT_EQ(kernel.address, nullptr);
    EXPECT_EQ(kernel.error, library.error());
}

TEST(Loader, LoadsTheKernelLibraryAndResolvesItsNames) {
    const KernelLibrary library(kBuilt, true);
    ASSERT_TRUE(library.loaded()) << library.error();
    EXPECT_EQ(library.error(), "");
    const auto version = library.kernel("dll_cpu_version");
    ASSERT_NE(version.address, nullptr) << version.error;
    EXPECT_EQ(version.error, "");
    EXPECT_EQ(reinterpret_cast<int (*)()>(version.address)(), 5);
    const auto missing = library.kernel("no_such_kernel");
    EXPECT_EQ(missing.address, nullptr);
    expect_sentence(missing.error, {"no_such_kernel", kBuilt, "install"});
}

TEST(Loader, SaysWhereTheLibraryIsMissing) {
    expect_unusable(KernelLibrary("/no/such/directory", true),
                    {"/no/such/directory/libozk_vml_mc3.so.2", "No such file", "install"});
}

TEST(Loader, RefusesAFileThatIsNoLibrary) {
    const fs::path directory = fs::path(testing::TempDir()) / "ozk_garbage_kernels";
    fs::create_directories(directory);
    const fs::path file = directory / "libozk_vml_mc3.so.2";
    for (const std::string& content : {std::string(), std::string("not a library"), std::string("\177ELF")}) {
        std::ofstream(file, std::ios::binary | std::ios::trunc) << content;
        expect_unusable(KernelLibrary(directory, true), {file, "install"});
    }
    fs::remove_all(directory);
}

TEST(Loader, RefusesALibraryForAnotherProcessorPath) {
    expect_unusable(KernelLibrary(OZK_FIXTURES "/other_path", true),
                    {OZK_FIXTURES "/other_path", "path 7", "path 5", "install"});
    expect_unusable(KernelLibrary(OZK_FIXTURES "/no_version", true),
                    {OZK_FIXTURES "/no_version", "dll_cpu_version", "install"});
}

TEST(Loader, RefusesAProcessorWithoutTheInstructionsBeforeItLoadsAnything) {
    expect_unusable(KernelLibrary(kBuilt, false), {"SSE4.2", "POPCNT", "processor"});
    EXPECT_TRUE(ozk::core::processor_suffices());
}

TEST(Loader, LooksBesideTheFileThatTheAddressComesFrom) {
    void* const in_core = dlsym(RTLD_DEFAULT, "ozk_serv_lock");
    ASSERT_NE(in_core, nullptr);
    EXPECT_EQ(ozk::core::directory_of(in_core), fs::canonical(OZK_CORE_LIBRARY).parent_path());
    int on_the_stack = 0;
    EXPECT_EQ(ozk::core::directory_of(&on_the_stack), "");
}

TEST(Loader, LoadsOnceForAllThreads) {
    std::vector<std::thread> threads;
    std::vector<const KernelLibrary*> seen(8);
    for (auto& library : seen) threads.emplace_back([&library] { library = &ozk::core::kernels(); });
    for (std::thread& thread : threads) thread.join();
    for (const KernelLibrary* library : seen) EXPECT_EQ(library, seen[0]);
    // The loader under test is part of this program, which has no kernel library beside it.
    expect_unusable(*seen[0], {fs::canonical("/proc/self/exe").parent_path()});
}

}  // namespace
