// The errors of complex functions against MPFR: of each component in ulp of the component, and of the whole result as
// its distance from the exact one, in units of |exact| 2^-53 (single 2^-24).
#pragma once

#include <mpfr.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ozk::accuracy {

struct ComplexOracle {
    std::string_view function;
    int arguments;  // 1 or 2
    bool real_result;
    // Writes the exact real and imaginary part to y; x holds the parts of the arguments, in order.
    void (*exact)(mpfr_ptr const* y, mpfr_srcptr const* x);
};

const std::vector<ComplexOracle>& complex_oracles();
const ComplexOracle* find_complex_oracle(std::string_view function);

struct ComplexError {
    std::string level;
    double component = 0;  // ulp, largest
    double norm = 0;       // largest; results beyond the range of normal numbers are no part of it
    double worst[4] = {};  // the arguments of the largest component error, as parts
    int64_t count = 0;
};

// One row for each different kernel of the function in single or double precision; none when the library lacks it.
// Arguments: special components in all combinations, components over all binades, of nearby exponents, and uniform.
template <class T>
std::vector<ComplexError> measure_complex(const ComplexOracle& oracle, int64_t samples, uint64_t seed);

}  // namespace ozk::accuracy
