// The number of the processor code path that this library is built for; the core checks it when it loads us.

#include "ozk_vml.h"

int dll_cpu_version(void) {
    constexpr int kSse42Path = 5;
    return kSse42Path;
}
