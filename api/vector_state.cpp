#include "api/vector_state.hpp"

namespace ozk::api {
namespace {

thread_local SpecialHandler handler = {nullptr, nullptr};

VectorControl look_up() {
#define OZK_CONTROL(name) \
    reinterpret_cast<decltype(ozk_vml_kernel_##name)*>(kernel_address("ozk_vml_kernel_" #name))
    return {OZK_CONTROL(GetMode),
            OZK_CONTROL(SetMode),
            OZK_CONTROL(GetErrStatus),
            OZK_CONTROL(SetErrStatus),
            OZK_CONTROL(GetErrorCallBack),
            OZK_CONTROL(SetErrorCallBack),
            OZK_CONTROL(SetInterfInputVectorPointer),
            OZK_CONTROL(zErrorI)};
#undef OZK_CONTROL
}

// Which bit of the mode's error field stands for which action.
constexpr struct {
    int32_t action;
    uint32_t mode;
} kActions[] = {
    {kOzkActErrno, kVmlErrorErrno}, {kOzkActMessage, kVmlErrorStderr}, {kOzkActFlag, kVmlErrorException}};
constexpr int32_t kAllActions = kOzkActErrno | kOzkActMessage | kOzkActFlag;

// The part of a mode that a getter shows, or the one at the start when there are no kernels.
uint64_t mode_or_default() {
    try {
        return vector_control().get_mode();
    } catch (...) {
        return kVmlDefaultMode;
    }
}

}  // namespace

const VectorControl& vector_control() {
    static const VectorControl control = look_up();
    return control;
}

uint32_t restorable(uint64_t mode) {
    if ((mode & kVmlDenormalMask) == 0) mode |= kVmlDenormalKeep;
    return static_cast<uint32_t>(mode);
}

const SpecialHandler& special_handler() { return handler; }

}  // namespace ozk::api

using namespace ozk::api;

ozk_status ozk_set_accuracy(int32_t accuracy) {
    static_assert(int{kOzkLow} == int{kVmlLa} && int{kOzkHigh} == int{kVmlHa} &&
                  int{kOzkFast} == int{kVmlEp});
    return guarded(kOzkVectorMath, "ozk_set_accuracy", [&] {
        require(accuracy >= kOzkLow && accuracy <= kOzkFast, kOzkCodeArgument,
                "There is no such accuracy: pass kOzkLow, kOzkHigh or kOzkFast.");
        vector_control().set_mode(static_cast<uint32_t>(accuracy));
    });
}

int32_t ozk_get_accuracy(void) { return static_cast<int32_t>(mode_or_default() & kVmlAccuracyMask); }

ozk_status ozk_set_flush_denormals(int32_t flush) {
    return guarded(kOzkVectorMath, "ozk_set_flush_denormals",
                   [&] { vector_control().set_mode(flush != 0 ? kVmlDenormalFlush : kVmlDenormalKeep); });
}

int32_t ozk_get_flush_denormals(void) { return (mode_or_default() & kVmlDenormalMask) == kVmlDenormalFlush; }

ozk_status ozk_set_special_actions(int32_t actions) {
    return guarded(kOzkVectorMath, "ozk_set_special_actions", [&] {
        require((actions & ~kAllActions) == 0, kOzkCodeArgument,
                "There is no such action: pass a sum of kOzkActErrno, kOzkActMessage and kOzkActFlag.");
        uint32_t mode = kVmlErrorCallback;  // a field of zero would leave the mode as it is
        for (const auto& [action, bit] : kActions) mode |= (actions & action) != 0 ? bit : 0;
        vector_control().set_mode(mode);
    });
}

int32_t ozk_get_special_actions(void) {
    const uint64_t mode = mode_or_default();
    int32_t actions = 0;
    for (const auto& [action, bit] : kActions) actions |= (mode & bit) != 0 ? action : 0;
    return actions;
}

void ozk_set_special_handler(ozk_special_handler function, void* context) {
    ozk::api::handler = {function, context};
}

void ozk_get_special_handler(ozk_special_handler* function, void** context) {
    if (function != nullptr) *function = ozk::api::handler.function;
    if (context != nullptr) *context = ozk::api::handler.context;
}
