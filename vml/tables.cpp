// The kernel table and the cost table of every built function, from the catalogue.

#include "ozk_vml.h"

#define OZK_VML_TABLES(p, function, la, ha, ep, cost_la, cost_ha, cost_ep)                \
    const ozk_vml_##p##function##_kernel ozk_vml_kernel_##p##function##_ttab[3] = {       \
        OZK_VML_KERNEL_LA_##la(p, function, ha), OZK_VML_KERNEL_HA_##ha(p, function, ha), \
        OZK_VML_KERNEL_EP_##ep(p, function, ha)};                                         \
    const float ozk_vml_kernel_##p##function##_ctab[3] = {cost_la, cost_ha, cost_ep};

#define OZK_FN(p, function, shape, la, ha, ep, state, cost_la, cost_ha, cost_ep)          \
    OZK_VML_IF_##state(OZK_VML_TABLES(p, function, la, ha, ep, cost_la, cost_ha, cost_ep) \
                           OZK_VML_IF_STRIDED_##shape(                                    \
                               OZK_VML_TABLES(p, function##I, la, ha, ep, cost_la, cost_ha, cost_ep)))
#include "vml/catalogue.def"
#undef OZK_FN
