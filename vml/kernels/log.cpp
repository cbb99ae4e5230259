// log2(x) and log10(x), double precision: the kernels. Method and bounds: log.hpp.

#include "vml/kernels/log.hpp"

OZK_VML_KERNEL(d, Log2, EXHAynn, unary, ozk::vml::Log<ozk::vml::Log2Constants>)
OZK_VML_KERNEL(d, Log10, H8LAynn, unary, ozk::vml::Log<ozk::vml::Log10Constants>)
OZK_VML_KERNEL(d, Log10, EXHAynn, unary, ozk::vml::Log<ozk::vml::Log10Constants>)
