#include "api/team.hpp"

#include <atomic>

#include "api/status.hpp"

namespace ozk::api {
namespace {

constexpr int64_t kMostThreads = 1 << 16;
std::atomic<int64_t> setting = 0;

}  // namespace

int64_t thread_setting() { return setting.load(std::memory_order_relaxed); }

}  // namespace ozk::api

ozk_status ozk_set_threads(int64_t threads) {
    using namespace ozk::api;
    return guarded(kOzkVectorMath, "ozk_set_threads", [&] {
        require(threads >= 0 && threads <= kMostThreads, kOzkCodeArgument,
                "The number of threads is below 0 or above 65536: pass 1 for none beside the caller, 0 for "
                "OpenMP's.");
        setting.store(threads, std::memory_order_relaxed);
    });
}

int64_t ozk_get_threads(void) { return ozk::api::thread_setting(); }
