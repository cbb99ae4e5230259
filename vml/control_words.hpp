// The floating-point control words for the run of a kernel.
#pragma once

#include "simd/control.hpp"
#include "vml/thread_state.hpp"

namespace ozk::vml {

// Masks every exception and sets rounding to nearest and the mode's denormal handling; the destructor gives
// the caller's words back and keeps the exception flags that the kernel raised. Nothing is loaded where the
// caller's words already are what the kernel wants.
class KernelControlWords {
  public:
    KernelControlWords() : x87_(simd::read_x87_control()), mxcsr_(simd::read_mxcsr()) {
        if ((x87_ & kX87Masks) != kX87Masks) [[unlikely]] {
            simd::clear_x87_exceptions();  // first: loading a control word delivers what is pending and
                                           // unmasked
            simd::write_x87_control(x87_ | kX87Masks);
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

// Sets the x87 unit to 64-bit precision, rounding to nearest and all exceptions masked, what the functions of
// ozk_vml_scalars.h need; the destructor gives the caller's word back and keeps the raised flags. For kernels that
// call them, inside KernelControlWords.
class ExtendedPrecision {
  public:
    ExtendedPrecision() : x87_(simd::read_x87_control()) {
        const uint16_t wanted = static_cast<uint16_t>((x87_ & ~kRounding) | kMasks | kExtended);
        if (x87_ != wanted) [[unlikely]] {
            simd::write_x87_control(wanted);
            restore_ = true;
        }
    }
    ~ExtendedPrecision() {
        if (restore_) [[unlikely]]
            simd::write_x87_control(x87_);
    }
    ExtendedPrecision(const ExtendedPrecision&) = delete;
    ExtendedPrecision& operator=(const ExtendedPrecision&) = delete;

  private:
    static constexpr uint16_t kMasks = 0x3F;
    static constexpr uint16_t kExtended = 0x300;
    static constexpr uint16_t kRounding = 0xC00;

    uint16_t x87_;
    bool restore_ = false;
};

}  // namespace ozk::vml
