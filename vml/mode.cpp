// The per-thread state and the operations that set and read it, and the mode that the environment asks for.

#include <cstring>
#include <string_view>

#include "vml/thread_state.hpp"

namespace ozk::vml {

constinit thread_local VmlThreadState thread_state{};

namespace {

struct ModeKeyword {
    std::string_view text;
    uint32_t value;
};

// Tried in this order; the first whose text starts the rest of the token is taken. The sixth lacks its last
// letter and must: it is accepted as it stands here, and with the letter the whole value is rejected.
constexpr ModeKeyword kModeKeywords[] = {
    {"LA", kVmlLa},
    {"HA", kVmlHa},
    {"EP", kVmlEp},
    {"DEFAULT_PRECISION", 0},
    {"FLOAT_CONSISTENT", kVmlFloatConsistent},
    {"DOUBLE_CONSISTEN", kVmlDoubleConsistent},
    {"RESTORE", kVmlRestore},
    {"ERRMODE_IGNORE", kVmlErrorIgnore},
    {"ERRMODE_ERRNO", kVmlErrorErrno},
    {"ERRMODE_STDERR", kVmlErrorStderr},
    {"ERRMODE_EXCEPT", kVmlErrorException},
    {"ERRMODE_CALLBACK", kVmlErrorCallback},
    {"ERRMODE_NOERR", kVmlErrorNone},
    {"ERRMODE_DEFAULT", kVmlErrorDefault},
    {"TRAP_INVALID", kVmlTrapInvalid},
    {"TRAP_DIVBYZERO", kVmlTrapDivideByZero},
    {"TRAP_OVERFLOW", kVmlTrapOverflow},
    {"TRAP_UNDERFLOW", kVmlTrapUnderflow},
};

constexpr int kBufferSize = 256;
constexpr int64_t kNoMode = -1;
constexpr std::string_view kTokenPrefix = "VML_";

int64_t parse_mode(std::string_view value) {
    uint32_t mode = 0;
    for (;;) {
        if (!value.starts_with(kTokenPrefix)) return kNoMode;
        value.remove_prefix(kTokenPrefix.size());
        const ModeKeyword* match = nullptr;
        for (const ModeKeyword& keyword : kModeKeywords) {
            if (value.starts_with(keyword.text)) {
                match = &keyword;
                break;
            }
        }
        if (match == nullptr) return kNoMode;
        mode |= match->value;
        value.remove_prefix(match->text.size());
        if (value.empty()) return mode;
        if (value.front() != ',') return kNoMode;
        value.remove_prefix(1);
    }
}

int32_t slot(uint64_t mode) {
    return static_cast<int32_t>(mode & kVmlAccuracyMask) - 1;
}

}  // namespace

uint64_t initialise_mode() {
    const int64_t asked = ozk_vml_kernel_ReadEnvVarMode();
    uint32_t mode = kVmlDefaultMode;
    if (asked != kNoMode) {
        mode = static_cast<uint32_t>(asked);
        if ((mode & kVmlAccuracyMask) == 0) mode |= kVmlHa;
        if ((mode & kVmlErrorModeMask) == 0) mode |= kVmlErrorDefault;
    }
    thread_state.mode = mode;
    return mode;
}

}  // namespace ozk::vml

using ozk::vml::current_mode;
using ozk::vml::thread_state;

int64_t ozk_vml_kernel_ReadEnvVarMode(void) {
    char buffer[ozk::vml::kBufferSize];
    ozk_serv_lock();
    const int length = ozk_serv_getenv("OZK_VML_MODE", buffer, ozk::vml::kBufferSize);
    ozk_serv_unlock();
    if (length <= 0) return ozk::vml::kNoMode;
    return ozk::vml::parse_mode({buffer, static_cast<size_t>(length)});
}

uint64_t ozk_vml_kernel_GetMode(void) {
    return current_mode();
}

uint64_t ozk_vml_kernel_SetMode(uint32_t mode) {
    constexpr uint32_t kFields[] = {kVmlAccuracyMask, kVmlErrorModeMask, kVmlDenormalMask, kVmlTrapMask,
                                    kVmlTwoBitMask};
    const uint64_t old = current_mode();
    for (const uint32_t field : kFields) {
        if ((mode & field) != 0) thread_state.mode = (thread_state.mode & ~uint64_t{field}) | (mode & field);
    }
    return old;
}

int32_t ozk_vml_kernel_GetErrStatus(void) {
    return thread_state.error_status;
}

int32_t ozk_vml_kernel_SetErrStatus(int32_t status) {
    const int32_t old = thread_state.error_status;
    thread_state.error_status = status;
    return old;
}

int32_t ozk_vml_kernel_ClearErrStatus(void) {
    return ozk_vml_kernel_SetErrStatus(kVmlOk);
}

VmlErrorCallBack ozk_vml_kernel_GetErrorCallBack(void) {
    return thread_state.callback;
}

// SetMode keeps a field that is zero, so an error mode of exactly kVmlErrorCallback outlives its callback.
VmlErrorCallBack ozk_vml_kernel_SetErrorCallBack(VmlErrorCallBack callback) {
    const VmlErrorCallBack old = thread_state.callback;
    uint64_t mode = current_mode() & ~uint64_t{kVmlErrorCallback};
    if (callback != nullptr) mode |= kVmlErrorCallback;
    thread_state.callback = callback;
    ozk_vml_kernel_SetMode(static_cast<uint32_t>(mode));
    return old;
}

VmlErrorCallBack ozk_vml_kernel_ClearErrorCallBack(void) {
    return ozk_vml_kernel_SetErrorCallBack(nullptr);
}

const void* ozk_vml_kernel_SetInterfInputVectorPointer(const void* base) {
    thread_state.base_input = base;
    return base;
}

int32_t ozk_vml_kernel_GetTTableIndex(void) {
    return ozk::vml::slot(current_mode());
}
int32_t ozk_vml_kernel_GetTTableIndexM(int64_t, uint32_t mode) {
    return ozk::vml::slot(mode);
}

uint64_t _vmlGetMode(void) {
    return ozk_vml_kernel_GetMode();
}
uint64_t _vmlSetMode(uint32_t mode) {
    return ozk_vml_kernel_SetMode(mode);
}
int32_t _vmlGetErrStatus(void) {
    return ozk_vml_kernel_GetErrStatus();
}
int32_t _vmlSetErrStatus(int32_t status) {
    return ozk_vml_kernel_SetErrStatus(status);
}
int32_t _vmlClearErrStatus(void) {
    return ozk_vml_kernel_ClearErrStatus();
}
VmlErrorCallBack _vmlGetErrorCallBack(void) {
    return ozk_vml_kernel_GetErrorCallBack();
}
VmlErrorCallBack _vmlSetErrorCallBack(VmlErrorCallBack callback) {
    return ozk_vml_kernel_SetErrorCallBack(callback);
}
VmlErrorCallBack _vmlClearErrorCallBack(void) {
    return ozk_vml_kernel_ClearErrorCallBack();
}
const void* _vmlSetInterfInputVectorPointer(const void* base) {
    return ozk_vml_kernel_SetInterfInputVectorPointer(base);
}
