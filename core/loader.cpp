// The loader. Compiled for any x86-64 processor, so that it can say so where the kernels cannot run.

#include "core/loader.hpp"

#include <dlfcn.h>

#include <cstdlib>

namespace ozk::core {
namespace {

constexpr const char* kLibraryName = "libozk_vml_mc3.so.2";
constexpr int kSse42Path = 5;  // what dll_cpu_version returns in a library of the SSE4.2 code path

std::string reinstall() {
    return std::string(": install the ") + kLibraryName + " that came with this libozk_core.so.2";
}

std::string last_loader_error() {
    const char* const text = dlerror();
    return text == nullptr ? "no reason given" : text;
}

}  // namespace

KernelLibrary::KernelLibrary(const std::string& directory, bool suffices)
    : path_(directory + '/' + kLibraryName) {
    if (!suffices) {
        error_ = "this processor lacks SSE4.2 or POPCNT, which the kernels need: run on one that has both";
        return;
    }
    void* const handle = dlopen(path_.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        error_ = "cannot load the kernel library " + path_ + " (" + last_loader_error() + "): install " +
                 kLibraryName + " in the directory of libozk_core.so.2";
        return;
    }
    const auto version = reinterpret_cast<int (*)()>(dlsym(handle, "dll_cpu_version"));
    if (version == nullptr) {
        error_ = path_ + " is no kernel library, it has no dll_cpu_version" + reinstall();
    } else if (const int found = version(); found != kSse42Path) {
        error_ = path_ + " is built for processor path " + std::to_string(found) + " instead of path " +
                 std::to_string(kSse42Path) + " (SSE4.2)" + reinstall();
    } else {
        handle_ = handle;
        return;
    }
    dlclose(handle);
}

Kernel KernelLibrary::kernel(const char* name) const {
    if (!loaded()) return {nullptr, error_};
    void* const address = dlsym(handle_, name);
    if (address == nullptr) return {nullptr, path_ + " has no kernel named " + name + reinstall()};
    return {address, {}};
}

bool processor_suffices() { return __builtin_cpu_supports("sse4.2") && __builtin_cpu_supports("popcnt"); }

std::string directory_of(const void* address) {
    Dl_info info;
    if (dladdr(address, &info) == 0 || info.dli_fname == nullptr) return {};
    std::string file = info.dli_fname;
    if (char* const resolved = realpath(info.dli_fname, nullptr)) {
        file = resolved;
        std::free(resolved);
    }
    const size_t slash = file.rfind('/');
    return slash == std::string::npos ? "." : file.substr(0, slash);
}

const KernelLibrary& kernels() {
    static const KernelLibrary library(directory_of(reinterpret_cast<const void*>(&kernels)),
                                       processor_suffices());
    return library;
}

}  // namespace ozk::core
