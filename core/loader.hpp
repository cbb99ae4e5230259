// Finds and loads the kernel library, which stands beside the core, and resolves kernels by name.
//
// Failures are results, not exceptions: an error is one sentence that says what is wrong and what to do.
#pragma once

#include <string>

namespace ozk::core {

// A kernel's address, or null and why.
struct Kernel {
    void* address = nullptr;
    std::string error;
};

// A loaded kernel library, or why there is none. It stays loaded to the end of the process: threads keep
// thread-local state in it, and callers keep addresses. Any thread may use it.
class KernelLibrary {
  public:
    // Loads libozk_vml_mc3.so.2 from `directory` on a processor that has the instructions of the kernels or
    // not.
    explicit KernelLibrary(const std::string& directory, bool processor_suffices);

    bool loaded() const { return handle_ != nullptr; }
    const std::string& error() const { return error_; }

    // Looks the name up every time, and repeats error() when nothing is loaded; callers keep the address.
    Kernel kernel(const char* name) const;

  private:
    std::string path_;
    std::string error_;
    void* handle_ = nullptr;
};

// Whether the processor has SSE4.2 and POPCNT.
bool processor_suffices();

// The directory of the file, links followed, that `address` is loaded from; empty when it is in no file.
std::string directory_of(const void* address);

// The kernel library in the core's own directory, loaded by the first call.
const KernelLibrary& kernels();

}  // namespace ozk::core
