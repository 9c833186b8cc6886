// armv7: exact division in vectors, by fused multiply-add. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_WARP_FUSED_DIVISION_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_FUSED_DIVISION_ARM_INL_H_
#undef TAVRINE_KERNELS_WARP_FUSED_DIVISION_ARM_INL_H_
#else
#define TAVRINE_KERNELS_WARP_FUSED_DIVISION_ARM_INL_H_
#endif

#include "kernels/instruction_set.h"
#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_ARMV7

// x / w and y / w for two registers each, correctly rounded where fused_division_is_exact() says
// so. The quotients of x are left in q, those of y in x.
//
// r is 1 / w to 24 bits: an estimate of 8 bits, a step without and a step with fused rounding. Then
// q = x r may be off in the last place, the remainder x - q w is exact or nearly so, and q plus the
// remainder times r is rounded once. With significands a and b of x and w in [2^23, 2^24), its
// error before that is below 5 / (2^25 b): only quotients as close as that to the middle between
// two floats could be rounded to the wrong side. The test FusedDivision tries those, some for each
// b. One of them, 1 / (2 - 2^-23), needs a reciprocal that is rounded up: setting the last bit of
// 1 - r w makes that difference, and no other.
//
// The scalar VDIV occupies the unit for some 14 cycles, a fused operation on four lanes for four:
// the 16 quotients of a step take 100 cycles instead of 230. Two registers take turns because a
// result is not ready for the next operation.
// clang-format off
#define TAVRINE_DIVIDE_FUSED(x0, x1, y0, y1, w0, w1, r0, r1, q0, q1) \
  TAVRINE_BEGIN_VFPV4                                                \
  "vrecpe.f32 " r0 ", " w0 "\n\t"                                    \
  "vrecpe.f32 " r1 ", " w1 "\n\t"                                    \
  "vrecps.f32 " q0 ", " r0 ", " w0 "\n\t"                            \
  "vrecps.f32 " q1 ", " r1 ", " w1 "\n\t"                            \
  "vmul.f32 " r0 ", " r0 ", " q0 "\n\t"                              \
  "vmul.f32 " r1 ", " r1 ", " q1 "\n\t"                              \
  "vmov.f32 " q0 ", #1.0\n\t"                                        \
  "vmov.f32 " q1 ", #1.0\n\t"                                        \
  "vfms.f32 " q0 ", " r0 ", " w0 "\n\t"                              \
  "vfms.f32 " q1 ", " r1 ", " w1 "\n\t"                              \
  "vorr.i32 " q0 ", #1\n\t"                                          \
  "vorr.i32 " q1 ", #1\n\t"                                          \
  "vfma.f32 " r0 ", " r0 ", " q0 "\n\t"                              \
  "vfma.f32 " r1 ", " r1 ", " q1 "\n\t"                              \
  "vmul.f32 " q0 ", " x0 ", " r0 "\n\t"                              \
  "vmul.f32 " q1 ", " x1 ", " r1 "\n\t"                              \
  "vfms.f32 " x0 ", " q0 ", " w0 "\n\t"                              \
  "vfms.f32 " x1 ", " q1 ", " w1 "\n\t"                              \
  "vfma.f32 " q0 ", " x0 ", " r0 "\n\t"                              \
  "vfma.f32 " q1 ", " x1 ", " r1 "\n\t"                              \
  "vmul.f32 " x0 ", " y0 ", " r0 "\n\t"                              \
  "vmul.f32 " x1 ", " y1 ", " r1 "\n\t"                              \
  "vfms.f32 " y0 ", " x0 ", " w0 "\n\t"                              \
  "vfms.f32 " y1 ", " x1 ", " w1 "\n\t"                              \
  "vfma.f32 " x0 ", " y0 ", " r0 "\n\t"                              \
  "vfma.f32 " x1 ", " y1 ", " r1 "\n\t"                              \
  TAVRINE_END_VFPV4
// clang-format on

// The assembler must know the instructions, although the compiler must not use them.
#ifdef __ARM_FEATURE_FMA
#define TAVRINE_BEGIN_VFPV4 ""
#define TAVRINE_END_VFPV4 ""
#else
#define TAVRINE_BEGIN_VFPV4 ".fpu neon-vfpv4\n\t"
#define TAVRINE_END_VFPV4 ".fpu neon\n\t"
#endif

// The division alone, for the test.
HWY_INLINE void divide_fused(float32x4_t (&x)[2], float32x4_t (&y)[2], const float32x4_t (&w)[2]) {
  float32x4_t r[2], q[2];
  asm(TAVRINE_DIVIDE_FUSED("%q[x0]", "%q[x1]", "%q[y0]", "%q[y1]", "%q[w0]", "%q[w1]", "%q[r0]",
                           "%q[r1]", "%q[q0]", "%q[q1]")
      : [x0] "+w"(x[0]), [x1] "+w"(x[1]), [y0] "+w"(y[0]), [y1] "+w"(y[1]), [r0] "=&w"(r[0]),
        [r1] "=&w"(r[1]), [q0] "=&w"(q[0]), [q1] "=&w"(q[1])
      : [w0] "w"(w[0]), [w1] "w"(w[1]));
  y[0] = x[0];
  y[1] = x[1];
  x[0] = q[0];
  x[1] = q[1];
}

#endif  // TAVRINE_IS_ARMV7

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
