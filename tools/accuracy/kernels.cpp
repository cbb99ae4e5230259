#include "tools/accuracy/kernels.hpp"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#include "ozk_vml.h"
#include "tools/accuracy/complex.hpp"

namespace ozk::accuracy {
namespace {

void* library() {
    static void* const handle = [] {
        void* const opened = dlopen(OZK_KERNEL_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        if (!opened) {
            std::fprintf(stderr, "cannot load the kernel library: %s\n", dlerror());
            std::exit(1);
        }
        return opened;
    }();
    return handle;
}

}  // namespace

void* exported(const char* name) { return dlsym(library(), name); }

namespace {

// Special values are expected here: nothing is to be raised or printed for them.
void ignore_errors() {
    thread_local const bool done = [] {
        if (void* set_mode = exported("_vmlSetMode"))
            reinterpret_cast<decltype(&_vmlSetMode)>(set_mode)(kVmlErrorIgnore);
        return true;
    }();
    (void)done;
}

template <class T>
Call<T> call_of(Shape shape, void* kernel) {
    const auto as = [kernel]<class F>(F*) { return reinterpret_cast<F*>(kernel); };
    switch (shape) {
        case Shape::kUnary:
            return [f = as((void (*)(int, const T*, T*)) nullptr)](int n, const T* a, const T*, T* r, T*) {
                ignore_errors();
                f(n, a, r);
            };
        case Shape::kBinary:
            return [f = as((void (*)(int, const T*, const T*, T*)) nullptr)](int n, const T* a, const T* b,
                                                                             T* r, T*) {
                ignore_errors();
                f(n, a, b, r);
            };
        case Shape::kLinearFraction:
            return [f = as((void (*)(int, const T*, const T*, T, T, T, T, T*)) nullptr)](
                       int n, const T* a, const T* b, T* r, T*) {
                ignore_errors();
                f(n, a, b, T(kScaleA), T(kShiftA), T(kScaleB), T(kShiftB), r);
            };
        case Shape::kScalar:
            return
                [f = as((void (*)(int, const T*, T, T*)) nullptr)](int n, const T* a, const T* b, T* r, T*) {
                    ignore_errors();
                    f(n, a, b[0], r);
                };
        case Shape::kTwoResults:
            return [f = as((void (*)(int, const T*, T*, T*)) nullptr)](int n, const T* a, const T*, T* r,
                                                                       T* r2) {
                ignore_errors();
                f(n, a, r, r2);
            };
    }
    return {};
}

}  // namespace

template <class T>
std::vector<Subject<T>> kernels(const Oracle& oracle) {
    std::vector<Subject<T>> found;
    const std::string table = std::string("ozk_vml_kernel_") + (sizeof(T) == 4 ? "s" : "d") +
                              std::string(oracle.function) + "_ttab";
    auto* const slots = static_cast<void* const*>(exported(table.c_str()));
    if (!slots) return found;
    constexpr int kHaSlot = 1;
    for (int slot = 0; slot < 3; ++slot)
        if (slot == kHaSlot || slots[slot] != slots[kHaSlot])
            found.push_back({kLevels[slot], call_of<T>(oracle.shape, slots[slot])});
    return found;
}

std::vector<std::string> unmeasured() {
    struct Row {
        std::string_view type, function, shape, state;
    };
    static constexpr Row kCatalogue[] = {
#define OZK_FN(type, function, shape, la, ha, ep, state, ...) {#type, #function, #shape, #state},
#include "vml/catalogue.def"
#undef OZK_FN
    };
    std::vector<std::string> names;
    for (const auto& [type, function, shape, state] : kCatalogue)
        if (state == "built" && !shape.starts_with("pack") && !shape.starts_with("unpack") &&
            !(type == "c" || type == "z" ? find_complex_oracle(function) != nullptr
                                         : find_oracle(function) != nullptr))
            names.push_back(std::string(type) + std::string(function));
    return names;
}

template std::vector<Subject<float>> kernels(const Oracle&);
template std::vector<Subject<double>> kernels(const Oracle&);

}  // namespace ozk::accuracy
