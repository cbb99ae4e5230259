// The tables that kernels share; what they hold: ozk_vml_scalars.h.

#include "ozk_vml_scalars.h"

// After the declarations, which make the tables C's.
#include "vml/core_tables.inc"
