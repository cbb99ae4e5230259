// The control and status words of the two floating-point units, read and written where the compiler can't
// move arithmetic across: the memory clobbers order them against every load and store.
#pragma once

#include <cstdint>

namespace ozk::simd {

inline uint32_t read_mxcsr() {
    uint32_t word;
    asm volatile("stmxcsr %0" : "=m"(word) : : "memory");
    return word;
}

inline void write_mxcsr(uint32_t word) { asm volatile("ldmxcsr %0" : : "m"(word) : "memory"); }

inline uint16_t read_x87_control() {
    uint16_t word;
    asm volatile("fnstcw %0" : "=m"(word) : : "memory");
    return word;
}

inline void write_x87_control(uint16_t word) { asm volatile("fldcw %0" : : "m"(word) : "memory"); }

inline void clear_x87_exceptions() { asm volatile("fnclex" : : : "memory"); }

// The x87 environment in its 32-bit protected-mode layout.
struct X87Environment {
    uint16_t control, reserved0;
    uint16_t status, reserved1;
    uint16_t tag, reserved2;
    uint32_t instruction, code_segment, operand, data_segment;
};
static_assert(sizeof(X87Environment) == 28);

inline X87Environment read_x87_environment() {
    X87Environment environment;
    asm volatile("fnstenv %0" : "=m"(environment) : : "memory");
    return environment;
}

// Loads the environment and waits, so that an exception that it leaves pending and unmasked is delivered
// here.
inline void write_x87_environment(const X87Environment& environment) {
    asm volatile("fldenv %0\n\tfwait" : : "m"(environment) : "memory");
}

}  // namespace ozk::simd
