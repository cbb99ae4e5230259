// Memory, lock, environment and copy services for the kernels, and the routines that they resolve by name.

#include <cpuid.h>

#include <bit>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "ozk_core.h"

namespace {

// Constructed without code, so that the lock also serves constructors that run while the library is loaded.
constinit std::recursive_mutex library_lock;

struct NamedRoutine {
    const char* name;
    void* address;
};

#define OZK_NAMED(routine) \
    { #routine, reinterpret_cast < void*>(routine) }

// A fixed list rather than a search of the process: a name means this core's routine, whatever else is
// loaded.
const NamedRoutine kNamedRoutines[] = {
    OZK_NAMED(ozk_vsl_serv_threader_for),
    OZK_NAMED(ozk_vsl_serv_threader_get_num_threads_limit),
    OZK_NAMED(ozk_lapack_ps_sdttrfb),
    OZK_NAMED(ozk_lapack_ps_ddttrfb),
    OZK_NAMED(ozk_lapack_ps_sdtsvb),
    OZK_NAMED(ozk_lapack_ps_ddtsvb),
    OZK_NAMED(ozk_lapack_sdttrsb),
    OZK_NAMED(ozk_lapack_ddttrsb),
    OZK_NAMED(ozk_blas_strmm),
    OZK_NAMED(ozk_blas_dtrmm),
    OZK_NAMED(ozk_blas_sptrmm),
    OZK_NAMED(ozk_blas_dptrmm),
};

}  // namespace

void* ozk_serv_allocate(size_t size, size_t alignment) {
    if (!std::has_single_bit(alignment) || size > PTRDIFF_MAX) return nullptr;
    void* block = nullptr;
    const size_t least_alignment = alignof(std::max_align_t);
    if (alignment < least_alignment) alignment = least_alignment;
    return posix_memalign(&block, alignment, size == 0 ? 1 : size) == 0 ? block : nullptr;
}

void ozk_serv_deallocate(void* block) { std::free(block); }

int ozk_serv_lock(void) {
    library_lock.lock();
    return 0;
}

int ozk_serv_unlock(void) {
    library_lock.unlock();
    return 0;
}

int ozk_serv_getenv(const char* name, char* buffer, int size) {
    if (buffer == nullptr || size <= 0) return 0;
    buffer[0] = '\0';
    const char* value = name == nullptr ? nullptr : std::getenv(name);
    if (value == nullptr) return 0;
    const size_t length = strnlen(value, static_cast<size_t>(size) - 1);
    std::memcpy(buffer, value, length);
    buffer[length] = '\0';
    return static_cast<int>(length);
}

int ozk_serv_memcpy_s(void* dst, size_t dst_size, const void* src, size_t count) {
    if (dst == nullptr || src == nullptr) return EINVAL;
    if (count > dst_size) return ERANGE;
    std::memmove(dst, src, count);
    return 0;
}

void* ozk_serv_load_thread_fun(const char* name) {
    if (name == nullptr) return nullptr;
    for (const NamedRoutine& routine : kNamedRoutines) {
        if (std::strcmp(routine.name, name) == 0) return routine.address;
    }
    return nullptr;
}

int ozk_serv_cpu_is_newer_server(void) {
    constexpr unsigned kExtendedFeatures = 7, kVectorAes = 1u << 9;  // leaf and its third word's bit
    unsigned a = 0, b = 0, c = 0, d = 0;
    return __get_cpuid_count(kExtendedFeatures, 0, &a, &b, &c, &d) != 0 && (c & kVectorAes) != 0;
}
