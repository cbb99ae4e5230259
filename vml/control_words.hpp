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

// Exception flags of the SSE control and status word.
inline constexpr uint32_t kInvalid = 0x01, kDenormal = 0x02, kDivideByZero = 0x04, kOverflow = 0x08,
                          kUnderflow = 0x10;

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
        const uint32_t wanted = flush_denormals() ? kMxcsrFlush : kMxcsrKeep;
        now_ = wanted | (mxcsr_ & kMxcsrFlags);
        if ((mxcsr_ & kMxcsrControl) != wanted) [[unlikely]] {
            simd::write_mxcsr(now_);
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

    static bool flush_denormals() { return (current_mode() & kVmlDenormalMask) == kVmlDenormalFlush; }

    // Whether pass() raises one of the `watched` flags; if so, the flags are set back to what they were before it.
    template <class Pass>
    bool raises(uint32_t watched, Pass pass) {
        if ((now_ & watched) != 0) [[unlikely]] {  // raised by the caller: the destructor raises them again
            now_ &= ~watched;
            simd::write_mxcsr(now_);
            restore_mxcsr_ = true;
        }
        pass();
        const uint32_t after = simd::read_mxcsr();
        if ((after & watched) != 0) [[unlikely]] {
            simd::write_mxcsr(now_);
            return true;
        }
        now_ = after;
        return false;
    }

  private:
    static constexpr uint16_t kX87Masks = 0x3F;
    static constexpr uint32_t kMxcsrFlags = 0x3F;
    static constexpr uint32_t kMxcsrControl = 0xFFC0;
    static constexpr uint32_t kMxcsrKeep = 0x1F80;   // all masked, to nearest
    static constexpr uint32_t kMxcsrFlush = 0x9FC0;  // and denormals flushed, as results and as arguments

    uint16_t x87_;
    uint32_t mxcsr_;  // the caller's
    uint32_t now_;    // the kernel's, with the flags that are known to be raised
    bool restore_x87_ = false;
    bool restore_mxcsr_ = false;
};

}  // namespace ozk::vml
