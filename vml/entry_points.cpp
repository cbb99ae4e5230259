// The four entry points of every built function: one indirect jump through the function's kernel table each.
//
// The tables live in another source file and are not constant-folded into direct jumps; the calls are tail
// calls with the caller's arguments untouched, so the kernel returns straight to the caller. A test
// disassembles them.

#include "ozk_vml.h"

#define OZK_VML_PASS_unary                   (n, a, r)
#define OZK_VML_PASS_unary_strided           (n, a, inca, r, incr)
#define OZK_VML_PASS_to_real                 (n, a, r)
#define OZK_VML_PASS_to_real_strided         (n, a, inca, r, incr)
#define OZK_VML_PASS_to_complex              (n, a, r)
#define OZK_VML_PASS_to_complex_strided      (n, a, inca, r, incr)
#define OZK_VML_PASS_binary                  (n, a, b, r)
#define OZK_VML_PASS_binary_strided          (n, a, inca, b, incb, r, incr)
#define OZK_VML_PASS_scalar                  (n, a, b, r)
#define OZK_VML_PASS_scalar_strided          (n, a, inca, b, r, incr)
#define OZK_VML_PASS_two_results             (n, a, r1, r2)
#define OZK_VML_PASS_two_results_strided     (n, a, inca, r1, incr1, r2, incr2)
#define OZK_VML_PASS_linear_fraction         (n, a, b, scalea, shifta, scaleb, shiftb, r)
#define OZK_VML_PASS_linear_fraction_strided (n, a, inca, b, incb, scalea, shifta, scaleb, shiftb, r, incr)
#define OZK_VML_PASS_pack_increment          (n, a, inca, y, width)
#define OZK_VML_PASS_pack_vector             (n, a, ia, y, width)
#define OZK_VML_PASS_pack_mask               (n, a, ma, y, width)
#define OZK_VML_PASS_unpack_increment        (n, a, y, incy, width)
#define OZK_VML_PASS_unpack_vector           (n, a, y, iy, width)
#define OZK_VML_PASS_unpack_mask             (n, a, y, my, width)

#define OZK_VML_ENTRY(p, function, shape)                                                       \
    void _vml##p##function OZK_VML_ARGUMENTS_##shape(p) {                                       \
        ozk_vml_kernel_##p##function##_ttab[1] OZK_VML_PASS_##shape;                            \
    }                                                                                           \
    void _vml##p##function##_HA OZK_VML_ARGUMENTS_##shape(p) {                                  \
        ozk_vml_kernel_##p##function##_ttab[1] OZK_VML_PASS_##shape;                            \
    }                                                                                           \
    void OZK_VML_PASTE(_vml##p##function, OZK_VML_LA_SUFFIX_##p) OZK_VML_ARGUMENTS_##shape(p) { \
        ozk_vml_kernel_##p##function##_ttab[0] OZK_VML_PASS_##shape;                            \
    }                                                                                           \
    void OZK_VML_PASTE(_vml##p##function, OZK_VML_EP_SUFFIX_##p) OZK_VML_ARGUMENTS_##shape(p) { \
        ozk_vml_kernel_##p##function##_ttab[2] OZK_VML_PASS_##shape;                            \
    }

#define OZK_FN(p, function, shape, la, ha, ep, state, ...) \
    OZK_VML_IF_##state(OZK_VML_ENTRY(p, function, shape)   \
                           OZK_VML_IF_STRIDED_##shape(OZK_VML_ENTRY(p, function##I, shape##_strided)))
#include "vml/catalogue.def"
#undef OZK_FN
