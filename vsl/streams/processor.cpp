// What the processor offers beyond the instructions that this library is built for.

#include <cpuid.h>

#include "ozk_vsl.h"

namespace {

// Bits of the third result word of leaf 1 of the processor identification.
constexpr unsigned kRandomBit = 1u << 30, kAesBit = 1u << 25;

unsigned identify() {
    unsigned eax, ebx, ecx, edx;
    return __get_cpuid(1, &eax, &ebx, &ecx, &edx) ? ecx : 0;
}

// Generators ask at every call, and a virtual machine may take microseconds to answer.
int32_t has_feature(unsigned bit) {
    static const unsigned features = identify();
    return (features & bit) != 0;
}

}  // namespace

extern "C" {

int32_t __vslCPUisRDRAND(void) { return has_feature(kRandomBit); }
int32_t __vslCPUisAES(void) { return has_feature(kAesBit); }
int32_t __vslCPUisVAES(void) { return ozk_serv_cpu_is_newer_server(); }

}  // extern "C"
