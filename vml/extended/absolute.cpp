// |x|: the sign bit cleared, whatever else the number is.

#include <bit>

#include "ozk_vml_scalars.h"
#include "vml/extended/format.hpp"

float ozk_vml_kernel__sabs_scalar(float x) {
    return std::bit_cast<float>(std::bit_cast<uint32_t>(x) & 0x7FFFFFFF);
}

double ozk_vml_kernel__dabs_scalar(double x) {
    return std::bit_cast<double>(std::bit_cast<uint64_t>(x) & 0x7FFFFFFFFFFFFFFF);
}

long double ozk_vml_kernel_fabsl_scalar(long double x) {
    using namespace ozk::vml::extended;
    const Fields fields = fields_of(x);
    return number_of({fields.significand, static_cast<uint16_t>(fields.exponent_field())});
}
