// A kernel, looked up by name at its first use.
#pragma once

#include <atomic>

#include "api/status.hpp"
#include "core/loader.hpp"

namespace ozk::api {

// The address of a name of the kernel library; throws a Failure that says why there is none.
inline void* kernel_address(const char* name) {
    core::Kernel kernel = core::kernels().kernel(name);
    if (kernel.address == nullptr) throw Failure{kOzkCodeKernels, std::move(kernel.error)};
    return kernel.address;
}

template <class Function>
class Kernel {
  public:
    constexpr explicit Kernel(const char* name) : name_(name) {}

    template <class... Arguments>
    auto operator()(Arguments... arguments) {
        return address()(arguments...);
    }
    Function* address() {
        void* found = address_.load(std::memory_order_relaxed);
        if (found == nullptr) [[unlikely]] {
            // Threads that come here at the same time find the same address.
            found = kernel_address(name_);
            address_.store(found, std::memory_order_relaxed);
        }
        return reinterpret_cast<Function*>(found);
    }

  private:
    const char* name_;
    std::atomic<void*> address_ = nullptr;
};

}  // namespace ozk::api

// A variable for the kernel that a family's header declares as `function`.
#define OZK_KERNEL(variable, function) \
    constinit ozk::api::Kernel<decltype(function)> variable { #function }
