// log1p(x), double precision: the kernel. Method and bound: log1p.hpp.

#include "vml/kernels/log1p.hpp"

OZK_VML_KERNEL(d, Log1p, EXHAynn, unary, ozk::vml::Log1p)
