// Numbers that callers take by address.

#include <limits>

#include "ozk_vml_scalars.h"

#define OZK_VML_DEFINE_CONSTANTS(type)                                                         \
    const type ozk_vml_constant_##type##_zero = 0;                                             \
    const type ozk_vml_constant_##type##_one = 1;                                              \
    const type ozk_vml_constant_##type##_minus_one = -1;                                       \
    const type ozk_vml_constant_##type##_infinity = std::numeric_limits<type>::infinity();     \
    const type ozk_vml_constant_##type##_pos_infinity = std::numeric_limits<type>::infinity(); \
    const type ozk_vml_constant_##type##_neg_infinity = -std::numeric_limits<type>::infinity();
OZK_VML_DEFINE_CONSTANTS(float)
OZK_VML_DEFINE_CONSTANTS(double)
