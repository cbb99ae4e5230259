// Statuses, their sentences, and the last error of a thread.

#include "api/status.hpp"

#include <cstdio>

namespace ozk::api {
namespace {

constexpr int32_t kFamilyStep = 100000;  // above every code of every family

// A sentence with two long paths in it fits.
constexpr size_t kLastErrorSize = 1024;
thread_local char last_error[kLastErrorSize];

const char* common_text(int32_t code) {
    switch (code) {
        case kOzkCodeNull:
            return "An array, a handle or the place for a result is null: pass one.";
        case kOzkCodeSize:
            return "A length is negative, too large, or does not fit the others.";
        case kOzkCodeStride:
            return "A stride is outside 32 bits, or a result's stride is zero.";
        case kOzkCodeOverlap:
            return "A result overlaps another array: pass exactly the argument array, or one apart.";
        case kOzkCodeKernels:
            return "The kernels cannot be loaded: see the last error.";
        case kOzkCodeArgument:
            return "An argument is outside its range.";
        case kOzkCodeMemory:
            return "There is not enough memory.";
        default:
            return nullptr;
    }
}

const char* special_text(int32_t code) {
    switch (code) {
        case kOzkOk:
            return "Done.";
        case kOzkDomain:
            return "Done; an argument lies outside the function's domain.";
        case kOzkPole:
            return "Done; an argument is a pole of the function.";
        case kOzkOverflow:
            return "Done; a result is too large.";
        case kOzkUnderflow:
            return "Done; a result is subnormal or zero where the exact one is not.";
        default:
            return nullptr;
    }
}

}  // namespace

const char* family_text(int32_t family, int32_t code) {
    struct Text {
        int32_t family, code;
        const char* text;
    };
#define OZK_ERROR_TEXT(of_family, of_code, text) {of_family, of_code, text},
    static constexpr Text kTexts[] = {
#include "error_texts.inc"
    };
#undef OZK_ERROR_TEXT
    for (const Text& text : kTexts) {
        if (text.family == family && text.code == code) return text.text;
    }
    if (family == kOzkLinearAlgebra && code < 0 && code > -kFamilyStep) {
        return "A leading matrix, of the order that the code gives, is not positive definite.";
    }
    return nullptr;
}

void require_done(int32_t family, int32_t code) {
    if (code >= 0) return;
    const char* const text = family_text(family, code);
    throw Failure{code, text != nullptr ? text : "The kernel answers " + std::to_string(code) + "."};
}

ozk_status fail(int32_t family, const char* function, int32_t code, const char* text) noexcept {
    std::snprintf(last_error, kLastErrorSize, "%s: %s", function, text);
    return -(family * kFamilyStep - code);
}

}  // namespace ozk::api

int32_t ozk_status_family(ozk_status status) { return status < 0 ? -(status / ozk::api::kFamilyStep) : 0; }

int32_t ozk_status_code(ozk_status status) { return status < 0 ? status % ozk::api::kFamilyStep : 0; }

const char* ozk_family_name(int32_t family) {
    switch (family) {
        case kOzkVectorMath:
            return "vector mathematics";
        case kOzkRandom:
            return "random streams";
        case kOzkStatistics:
            return "statistics";
        case kOzkSpline:
            return "splines";
        case kOzkLinearAlgebra:
            return "linear algebra";
        default:
            return "unknown";
    }
}

const char* ozk_error_text(ozk_status status) {
    if (status >= 0) {
        const char* const text = ozk::api::special_text(status);
        return text != nullptr ? text : "This is no status.";
    }
    const int32_t code = ozk_status_code(status);
    const char* text = ozk::api::common_text(code);
    if (text == nullptr) text = ozk::api::family_text(ozk_status_family(status), code);
    return text != nullptr ? text : "This is no status.";
}

const char* ozk_last_error(void) { return ozk::api::last_error; }
