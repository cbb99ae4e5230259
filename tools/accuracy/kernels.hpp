// The kernels of the library, reached by name through their kernel tables.
#pragma once

#include <string>
#include <vector>

#include "tools/accuracy/measure.hpp"

namespace ozk::accuracy {

inline constexpr const char* kLevels[] = {"LA", "HA", "EP"};  // by slot of the kernel table

// What a level owes, in ulp: HA 1, LA 4, EP 26 correct bits in double and 11 in single precision.
template <class T>
double limit_of(const std::string& level) {
    if (level == "HA") return 1;
    if (level == "LA") return 4;
    return sizeof(T) == 4 ? 0x1p12 : 0x1p26;
}

// An exported name of the kernel library, or null.
void* exported(const char* name);

// One subject for each different kernel in the function's table, named by its level; none when the library
// has no such function.
template <class T>
std::vector<Subject<T>> kernels(const Oracle& oracle);

// The built functions of the catalogue that compute, type letter first, that have no row of oracles.
std::vector<std::string> unmeasured();

}  // namespace ozk::accuracy
