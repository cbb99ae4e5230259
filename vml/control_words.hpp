// The floating-point control words for the run of a kernel.
#pragma once

#include "simd/control.hpp"
#include "vml/thread_state.hpp"

namespace ozk::vml {

// What the x87 control word has to have for the run.
struct X87Fields {
    uint16_t mask, value;
};
inline constexpr X87Fields kX87Masked = {0x003F, 0x003F};
inline constexpr X87Fields kX87Extended = {0x0F3F, 0x033F};  // 64-bit precision, to nearest, all masked

// Masks every exception and sets rounding to nearest and the mode's denormal handling; the destructor gives
// the caller's words back and keeps the exception flags that the kernel raised. Nothing is loaded where the
// caller's words already are what the kernel wants.
class KernelControlWords {
  public:
    explicit KernelControlWords(X87Fields x87) : x87_(simd::read_x87_control()), mxcsr_(simd::read_mxcsr()) {
        if ((x87_ & x87.mask) != x87.value) [[unlikely]] {
            // First: loading a control word delivers what is pending and unmasked.
            if ((x87_ & kX87Masks) != kX87Masks) simd::clear_x87_exceptions();
            simd::write_x87_control(static_cast<uint16_t>((x87_ & ~x87.mask) | x87.value));
            restore_x87_ = true;
        }
        const bool flush = (current_mode() & kVmlDenormalMask) == kVmlDenormalFlush;
        const uint32_t wanted = flush ? kMxcsrFlush : kMxcsrKeep;
        if ((mxcsr_ & kMxcsrControl) != wanted) [[unlikely]] {
            simd::write_mxcsr(wanted | (mxcsr_ & kMxcsrFlags));
            restore_mxcsr_ = true;
        }
    }
    ~KernelControlWords() {
        if (restore_x87_) [[unlikely]]
            simd::write_x87_control(x87_);
        if (restore_mxcsr_) [[unlikely]]
            simd::write_mxcsr(mxcsr_ | (simd::read_mxcsr() & kMxcsrFlags));
    }
    KernelControlWords(const KernelControlWords&) = delete;
    KernelControlWords& operator=(const KernelControlWords&) = delete;

  private:
    static constexpr uint16_t kX87Masks = 0x3F;
    static constexpr uint32_t kMxcsrFlags = 0x3F;
    static constexpr uint32_t kMxcsrControl = 0xFFC0;
    static constexpr uint32_t kMxcsrKeep = 0x1F80;   // all masked, to nearest
    static constexpr uint32_t kMxcsrFlush = 0x9FC0;  // and denormals flushed, as results and as arguments

    uint16_t x87_;
    uint32_t mxcsr_;
    bool restore_x87_ = false;
    bool restore_mxcsr_ = false;
};

}  // namespace ozk::vml
