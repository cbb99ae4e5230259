// Memory, lock, environment and copy services for the kernels.

#include "ozk_core.h"
