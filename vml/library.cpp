// The number of the processor code path that this library is built for; the core checks it when it loads us.

#include "ozk_core.h"

extern "C" OZK_EXPORT int dll_cpu_version(void);

extern "C" int dll_cpu_version(void) {
    constexpr int kSse42Path = 5;
    return kSse42Path;
}
