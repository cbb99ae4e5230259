// One elementwise call: a vector of any length, cut into pieces that the team's threads compute.
//
// Every piece is computed by the same kernel under the same mode, so an element's bits depend on neither the
// pieces nor the threads. Kernels hand special elements to a collector instead of acting on them; when pieces
// are done the calling thread acts on what was collected, in the order of the indices. Thus errno, flags,
// messages and the handler see what one serial call would show, whatever the number of threads. Nobody takes
// part by a 32-bit index: a piece counts from its own start, and the 64-bit start is added.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "api/kernel.hpp"
#include "ozk_vml.h"

namespace ozk::api {

// A function of the catalogue: its name in the C interface, and its tables of kernels and of their costs
// (cycles an element, 0 where it is not measured) by accuracy, LA, HA, EP.
struct VectorFunction {
    const char* name;
    Kernel<void* const> kernels;
    Kernel<const float> costs;
};

// The place in these tables of the accuracy of a mode.
inline uint64_t slot(uint64_t mode) { return (mode & kVmlAccuracyMask) - 1; }

enum class Element { kFloat, kDouble, kComplexFloat, kComplexDouble };

template <class T>
constexpr Element kElement = Element::kDouble;
template <>
inline constexpr Element kElement<float> = Element::kFloat;
template <>
inline constexpr Element kElement<OzkComplex8> = Element::kComplexFloat;
template <>
inline constexpr Element kElement<OzkComplex16> = Element::kComplexDouble;

// An array of a call, as far as its checks and the storing of replaced results go.
struct Operand {
    const void* data;
    int64_t stride;  // in elements
    int32_t size;    // bytes of an element
    Element element;
    bool is_result;
};

struct ElementwiseCall {
    const char* function;
    int64_t n;
    std::span<const Operand> operands;
    float cost;
    // Computes elements first .. first + count - 1.
    void (*compute)(const void* context, int64_t first, int32_t count);
    const void* context;
};

// Throws unless the arrays may be used together.
void check_operands(int64_t n, std::span<const Operand> operands);

// Computes, acts on special elements, and returns the code of the first of them.
ozk_status run(const ElementwiseCall& call, uint64_t mode);

}  // namespace ozk::api
