// Special-value reporting: status, record, callback, errno, message, floating-point flag, write-back.

#include "vml/errors.hpp"

#include <bit>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "simd/control.hpp"
#include "vml/half.hpp"
#include "vml/thread_state.hpp"

namespace ozk::vml {
namespace {

static_assert(sizeof(VmlErrorRecord) == 144);
static_assert(offsetof(VmlErrorRecord, index) == 4 && offsetof(VmlErrorRecord, a1) == 8 &&
              offsetof(VmlErrorRecord, name) == 40 && offsetof(VmlErrorRecord, name_length) == 104 &&
              offsetof(VmlErrorRecord, a1_imaginary) == 112 && offsetof(VmlErrorRecord, r2_imaginary) == 136);

constexpr int kNameCharacters = 47;
constexpr uint32_t kReporterModes = kVmlErrorErrno | kVmlErrorStderr | kVmlErrorException | kVmlErrorNone;
constexpr int kStandardError = 1;

// ---- Elements and doubles -----------------------------------------------------------------------------

double real_part(Half x) { return half_to_double(x); }
double real_part(float x) { return x; }
double real_part(double x) { return x; }
double real_part(OzkComplex8 x) { return x.re; }
double real_part(OzkComplex16 x) { return x.re; }

template <class T>
double imaginary_part(T) {
    return 0;
}
double imaginary_part(OzkComplex8 x) { return x.im; }
double imaginary_part(OzkComplex16 x) { return x.im; }

void assign(Half& x, double re, double) { x = half_from_double(re); }
void assign(float& x, double re, double) { x = static_cast<float>(re); }
void assign(double& x, double re, double) { x = re; }
void assign(OzkComplex8& x, double re, double im) { x = {static_cast<float>(re), static_cast<float>(im)}; }
void assign(OzkComplex16& x, double re, double im) { x = {re, im}; }

// ---- The common reporter ------------------------------------------------------------------------------

int errno_of(int32_t code) {
    switch (code) {
        case kVmlBadMemory:
            return EACCES;
        case kVmlBadSize:
            return EINVAL;
        case kVmlOk:
            return 0;
        case kVmlDomain:
            return EDOM;
        case kVmlSingularity:
        case kVmlOverflow:
        case kVmlUnderflow:
            return ERANGE;
        default:
            return EFAULT;
    }
}

bool same_bits(double a, double b) { return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b); }

// Message numbers: one headline a code, then a line a value; how many values depends on whether the function
// had two distinct arguments and two distinct results.
void print(const VmlErrorRecord& record) {
    enum { kBadSize = 748, kBadMemory, kDomain, kSingularity, kOverflow, kUnderflow, kOther };
    switch (record.code) {
        case kVmlBadSize:
            ozk_serv_print(kStandardError, kBadSize, 2, record.name, record.index);
            return;
        case kVmlBadMemory:
            ozk_serv_print(kStandardError, kBadMemory, 1, record.name);
            return;
        case kVmlDomain:
            ozk_serv_print(kStandardError, kDomain, 1, record.name);
            break;
        case kVmlSingularity:
            ozk_serv_print(kStandardError, kSingularity, 1, record.name);
            break;
        case kVmlOverflow:
            ozk_serv_print(kStandardError, kOverflow, 1, record.name);
            break;
        case kVmlUnderflow:
            ozk_serv_print(kStandardError, kUnderflow, 1, record.name);
            break;
        default:
            ozk_serv_print(kStandardError, kOther, 1, record.name);
            break;
    }
    if (record.code == kVmlOk) return;
    const bool two_arguments = !same_bits(record.a1, record.a2) && record.a2 != 0;
    const bool two_results = !same_bits(record.r1, record.r2) && record.r2 != 0;
    // One argument, one result: 755; one, two: 757; two, one: 760; two, two: 763.
    int message = two_arguments ? (two_results ? 763 : 760) : (two_results ? 757 : 755);
    ozk_serv_print(kStandardError, message++, 2, record.index, record.a1);
    if (two_arguments) ozk_serv_print(kStandardError, message++, 2, record.index, record.a2);
    ozk_serv_print(kStandardError, message++, 2, record.index, record.r1);
    if (two_results) ozk_serv_print(kStandardError, message, 2, record.index, record.r2);
}

// Delivers the code's exception through the x87 unit: trapped where the mode's trap bits ask for it, and as a
// flag that stays raised for the caller in any case.
void raise_exception(int32_t code, uint64_t mode) {
    constexpr uint16_t kInvalid = 0x01, kDivideByZero = 0x04, kOverflow = 0x08, kUnderflow = 0x10,
                       kAll = 0x3F;
    uint16_t flag = 0;
    switch (code) {
        case kVmlDomain:
            flag = kInvalid;
            break;
        case kVmlSingularity:
            flag = kDivideByZero;
            break;
        case kVmlOverflow:
            flag = kOverflow;
            break;
        case kVmlUnderflow:
            flag = kUnderflow;
            break;
        default:
            break;
    }
    uint16_t trapped = 0;
    if ((mode & kVmlTrapInvalid) != 0) trapped |= kInvalid;
    if ((mode & kVmlTrapDivideByZero) != 0) trapped |= kDivideByZero;
    if ((mode & kVmlTrapOverflow) != 0) trapped |= kOverflow;
    if ((mode & kVmlTrapUnderflow) != 0) trapped |= kUnderflow;

    simd::X87Environment environment = simd::read_x87_environment();
    environment.status |= flag;
    simd::X87Environment trapping = environment;
    trapping.control &= static_cast<uint16_t>(~trapped);
    simd::write_x87_environment(trapping);
    environment.control |= kAll;
    simd::write_x87_environment(environment);
}

void report_common(const VmlErrorRecord& record, uint64_t mode) {
    if ((mode & kVmlErrorErrno) != 0) errno = errno_of(record.code);
    if ((mode & kVmlErrorStderr) != 0) print(record);
    if ((mode & kVmlErrorException) != 0) raise_exception(record.code, mode);
}

// ---- The record ---------------------------------------------------------------------------------------

void set_name(VmlErrorRecord& record, const char* name) {
    record.name_length = static_cast<int32_t>(strnlen(name, kNameCharacters));
    std::memcpy(record.name, name, static_cast<size_t>(record.name_length));
}

// The element's place in the whole vector whose start the thread has set: `index` plus the elements in
// between.
template <class Argument>
int32_t whole_index(const Argument* a1, int32_t inca1, int32_t index) {
    if (thread_state.base_input == nullptr) return index;
    const int64_t bytes =
        reinterpret_cast<intptr_t>(a1) - reinterpret_cast<intptr_t>(thread_state.base_input);
    const int64_t step = static_cast<int64_t>(sizeof(Argument)) * (inca1 == 0 ? 1 : inca1);
    return static_cast<int32_t>(index + bytes / step);
}

bool has_element(int32_t code) { return code != kVmlBadSize && code != kVmlBadMemory; }

}  // namespace

template <class Argument, class Result>
void report(const SpecialValue<Argument, Result>& special) {
    const uint64_t mode = current_mode();
    const uint64_t error_mode = mode & kVmlErrorModeMask;
    if (error_mode == kVmlErrorNone) return;
    thread_state.error_status = special.code;
    if (error_mode == kVmlErrorIgnore) return;

    VmlErrorRecord record{};
    record.code = special.code;
    record.index = whole_index(special.a1, special.inca1, special.index);
    set_name(record, special.name);
    if (has_element(special.code)) {
        record.a1 = real_part(special.a1_value);
        record.a2 = real_part(special.a2_value);
        record.r1 = real_part(*special.r1);
        record.r2 = real_part(*special.r2);
        record.a1_imaginary = imaginary_part(special.a1_value);
        record.a2_imaginary = imaginary_part(special.a2_value);
        record.r1_imaginary = imaginary_part(*special.r1);
        record.r2_imaginary = imaginary_part(*special.r2);
    }
    const VmlErrorCallBack callback = thread_state.callback;
    if ((error_mode & kVmlErrorCallback) != 0 && callback != nullptr && callback(&record) != 0) return;
    if ((error_mode & kReporterModes) != 0) report_common(record, mode);
    if (has_element(special.code)) {
        assign(*special.r2, record.r2, record.r2_imaginary);
        assign(*special.r1, record.r1, record.r1_imaginary);
    }
}

template void report(const SpecialValue<float, float>&);
template void report(const SpecialValue<double, double>&);
template void report(const SpecialValue<OzkComplex8, OzkComplex8>&);
template void report(const SpecialValue<OzkComplex16, OzkComplex16>&);
template void report(const SpecialValue<OzkComplex8, float>&);
template void report(const SpecialValue<OzkComplex16, double>&);
template void report(const SpecialValue<float, OzkComplex8>&);
template void report(const SpecialValue<double, OzkComplex16>&);

namespace {

template <class T>
struct Operand {
    T* vector;
    int32_t increment;
    T& at(int32_t index) const { return vector[static_cast<int64_t>(index) * increment]; }
};

template <class T>
void report_vectors(int32_t code, int32_t index, Operand<const T> a1, Operand<const T> a2, Operand<T> r1,
                    Operand<T> r2, const char* name) {
    // The vectors of a bad call are not read: the element values stay zero and the result is this stand-in.
    T none{};
    const bool element = has_element(code);
    report(SpecialValue<T, T>{code, index, name, a1.vector, a1.increment, element ? a1.at(index) : none,
                              element ? a2.at(index) : none, element ? &r1.at(index) : &none,
                              element ? &r2.at(index) : &none});
}

}  // namespace
}  // namespace ozk::vml

#define OZK_ERROR_ENTRY(p, T)                                                                               \
    void ozk_vml_kernel_##p##Error(int32_t code, int32_t index, const T* a1, const T* a2, T* r1, T* r2,     \
                                   const char* name) {                                                      \
        ozk::vml::report_vectors<T>(code, index, {a1, 1}, {a2, 1}, {r1, 1}, {r2, 1}, name);                 \
    }                                                                                                       \
    void ozk_vml_kernel_##p##ErrorI(int32_t code, int32_t index, const T* a1, int32_t inca1, const T* a2,   \
                                    int32_t inca2, T* r1, int32_t incr1, T* r2, int32_t incr2,              \
                                    const char* name) {                                                     \
        ozk::vml::report_vectors<T>(code, index, {a1, inca1}, {a2, inca2}, {r1, incr1}, {r2, incr2}, name); \
    }
OZK_ERROR_ENTRY(h, uint16_t)
OZK_ERROR_ENTRY(s, float)
OZK_ERROR_ENTRY(d, double)
OZK_ERROR_ENTRY(c, OzkComplex8)
OZK_ERROR_ENTRY(z, OzkComplex16)
