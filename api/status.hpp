// How the C functions of the application interface fail.
//
// Inside, a failed check throws a Failure; guarded() stands around every C function that can fail, turns it
// into the status and the thread's last error, and lets nothing through.
#pragma once

#include <new>
#include <string>
#include <utility>

#include "ozk.h"

namespace ozk::api {

struct Failure {
    int32_t code;  // the family's own
    std::string text;
};

// Throws unless the check holds.
inline void require(bool holds, int32_t code, const char* text) {
    if (!holds) [[unlikely]]
        throw Failure{code, text};
}

// The family's sentence for a code; null for a code that it does not have.
const char* family_text(int32_t family, int32_t code);

// Throws when a kernel of the family answers an error.
void require_done(int32_t family, int32_t code);

// Sets the thread's last error to "function: text" and returns the status.
ozk_status fail(int32_t family, const char* function, int32_t code, const char* text) noexcept;

// body() as a C function called `function`: gives its status, 0 when it has none.
template <class Body>
ozk_status guarded(int32_t family, const char* function, Body&& body) noexcept {
    try {
        if constexpr (std::is_void_v<decltype(body())>) {
            body();
            return kOzkOk;
        } else {
            return body();
        }
    } catch (const Failure& failure) {
        return fail(family, function, failure.code, failure.text.c_str());
    } catch (const std::bad_alloc&) {
        return fail(family, function, kOzkCodeMemory, ozk_error_text(family * -100000 + kOzkCodeMemory));
    }
}

}  // namespace ozk::api
