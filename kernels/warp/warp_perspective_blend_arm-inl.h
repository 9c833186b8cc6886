// NEON: the perspective warp's samples and weights, blended. Included once for each instruction
// set.
#if defined(TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_BLEND_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_BLEND_ARM_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_BLEND_ARM_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_BLEND_ARM_INL_H_
#endif

#include "kernels/warp/warp_grey_windows_arm-inl.h"
#include "kernels/warp/warp_neighbours_arm-inl.h"
#include "kernels/warp/warp_perspective_positions-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_NEON

// The fractions of the positions of a step of eight pixels.
struct Fractions {
  float u_low[4], v_low[4];
  float u_high[4], v_high[4];
};

#if TAVRINE_IS_ARMV7

// In assembly, because GCC keeps half of the registers in memory: RGB24 then takes 51 instructions
// a pixel instead of 39. An operation on four floats occupies a 64-bit unit for four cycles, so two
// or three independent sums take turns, and none waits for a result. VMLA rounds the product before
// it adds.

// A channel of eight pixels.
HWY_INLINE uint8x8_t blend_eight(const WindowNeighbours &n, const Fractions &fractions) {
  register uint8x8_t p00 asm("d28") = n.p00;
  register uint8x8_t p01 asm("d29") = n.p01;
  register uint8x8_t p10 asm("d30") = n.p10;
  register uint8x8_t p11 asm("d31") = n.p11;
// Adds (or, first, sets) the products of samples and the weight a b.
// clang-format off
#define TAVRINE_BLEND_TERM(operation, samples, a_low, b_low, a_high, b_high) \
  "vmovl.u8 q10, " samples "\n\t"                                            \
  "vmul.f32 q12, " a_low ", " b_low "\n\t"                                   \
  "vmovl.u16 q11, d21\n\t"                                                   \
  "vmovl.u16 q10, d20\n\t"                                                   \
  "vmul.f32 q13, " a_high ", " b_high "\n\t"                                 \
  "vcvt.f32.u32 q10, q10\n\t"                                                \
  "vcvt.f32.u32 q11, q11\n\t"                                                \
  operation " q8, q10, q12\n\t"                                              \
  operation " q9, q11, q13\n\t"
  // clang-format on
  asm("vldm %[fractions], {d0-d7}\n\t"  // u and v, low; u and v, high
      "vmov.f32 q7, #1.0\n\t"
      "vsub.f32 q4, q7, q0\n\t"  // 1 - u, low
      "vsub.f32 q5, q7, q1\n\t"  // 1 - v, low
      "vsub.f32 q6, q7, q2\n\t"
      "vsub.f32 q7, q7, q3\n\t"  //
      TAVRINE_BLEND_TERM("vmul.f32", "d29", "q0", "q5", "q2", "q7")
      TAVRINE_BLEND_TERM("vmla.f32", "d28", "q4", "q5", "q6", "q7")
      TAVRINE_BLEND_TERM("vmla.f32", "d30", "q1", "q4", "q3", "q6")
      TAVRINE_BLEND_TERM("vmla.f32", "d31", "q0", "q1", "q2", "q3")
      "vmov.f32 q10, #0.5\n\t"
      "vadd.f32 q8, q8, q10\n\t"
      "vadd.f32 q9, q9, q10\n\t"
      "vcvt.u32.f32 q8, q8\n\t"
      "vcvt.u32.f32 q9, q9\n\t"
      "vqmovn.u32 d16, q8\n\t"
      "vqmovn.u32 d17, q9\n\t"
      "vqmovn.u16 d28, q8"
      : "+w"(p00)
      : [fractions] "r"(&fractions), "w"(p01), "w"(p10), "w"(p11), "m"(fractions)
      : "q0", "q1", "q2", "q3", "q4", "q5", "q6", "q7", "q8", "q9", "q10", "q11", "q12", "q13");
#undef TAVRINE_BLEND_TERM
  return p00;
}

// Eight RGB pixels, in two halves. The eight bytes from each left neighbour on, which hold both
// neighbours of a row, are transposed, so that four bytes of a channel become four floats without
// waste.
HWY_INLINE void blend_eight_rgb(const uint8_t *data, ptrdiff_t stride, const int32_t *offsets,
                                const Fractions &fractions, uint8_t *out) {
  const uint8_t *a, *b, *c, *d;
  const Fractions *next_fractions = &fractions;
  uint8_t low[16];  // four times red, four times green; words of blue
#define TAVRINE_BLEND_FOUR                                                              \
  /* The upper row's bytes are in d0, d2, d4 and d6, the lower row's in those after. */ \
  "ldr %[a], [%[offsets]], #4\n\t"                                                      \
  "ldr %[b], [%[offsets]], #4\n\t"                                                      \
  "ldr %[c], [%[offsets]], #4\n\t"                                                      \
  "ldr %[d], [%[offsets]], #4\n\t"                                                      \
  "add %[a], %[data]\n\t"                                                               \
  "add %[b], %[data]\n\t"                                                               \
  "add %[c], %[data]\n\t"                                                               \
  "add %[d], %[data]\n\t"                                                               \
  "vld1.8 {d0}, [%[a]], %[stride]\n\t"                                                  \
  "vld1.8 {d2}, [%[b]], %[stride]\n\t"                                                  \
  "vld1.8 {d4}, [%[c]], %[stride]\n\t"                                                  \
  "vld1.8 {d6}, [%[d]], %[stride]\n\t"                                                  \
  "vld1.8 {d1}, [%[a]]\n\t"                                                             \
  "vld1.8 {d3}, [%[b]]\n\t"                                                             \
  "vld1.8 {d5}, [%[c]]\n\t"                                                             \
  "vld1.8 {d7}, [%[d]]\n\t"                                                             \
  "vld1.32 {d16-d19}, [%[fractions]]!\n\t" /* u and v */                                \
  "vmov.f32 q10, #1.0\n\t"                                                              \
  "vtrn.8 q0, q1\n\t"                                                                   \
  "vsub.f32 q11, q10, q8\n\t"                                                           \
  "vtrn.8 q2, q3\n\t"                                                                   \
  "vsub.f32 q12, q10, q9\n\t"                                                           \
  "vtrn.16 q0, q2\n\t"                                                                  \
  "vmul.f32 q15, q9, q11\n\t" /* w10 */                                                 \
  "vtrn.16 q1, q3\n\t"        /* register k has bytes k and k + 4 of the four pixels */ \
  "vmul.f32 q13, q8, q12\n\t" /* w01 */                                                 \
  "vmovl.u8 q4, d0\n\t"                                                                 \
  "vmovl.u8 q5, d2\n\t"                                                                 \
  "vmul.f32 q14, q11, q12\n\t" /* w00 */                                                \
  "vmovl.u8 q6, d4\n\t"                                                                 \
  "vmovl.u8 q7, d6\n\t"                                                                 \
  "vmul.f32 q10, q8, q9\n\t" /* w11 */ /* p01 and p00 of red, of green and of blue. */  \
  "vmovl.u16 q8, d14\n\t"                                                               \
  "vmovl.u16 q9, d8\n\t"                                                                \
  "vmovl.u16 q11, d9\n\t"                                                               \
  "vmovl.u16 q12, d10\n\t"                                                              \
  "vmovl.u16 q4, d11\n\t"                                                               \
  "vmovl.u16 q5, d12\n\t"                                                               \
  "vcvt.f32.u32 q8, q8\n\t"                                                             \
  "vcvt.f32.u32 q11, q11\n\t"                                                           \
  "vcvt.f32.u32 q4, q4\n\t"                                                             \
  "vmul.f32 q8, q8, q13\n\t"                                                            \
  "vcvt.f32.u32 q9, q9\n\t"                                                             \
  "vmul.f32 q11, q11, q13\n\t"                                                          \
  "vcvt.f32.u32 q12, q12\n\t"                                                           \
  "vmul.f32 q4, q4, q13\n\t"                                                            \
  "vcvt.f32.u32 q5, q5\n\t"                                                             \
  "vmovl.u8 q0, d1\n\t"                                                                 \
  "vmla.f32 q8, q9, q14\n\t"                                                            \
  "vmovl.u8 q6, d3\n\t"                                                                 \
  "vmla.f32 q11, q12, q14\n\t"                                                          \
  "vmovl.u8 q1, d5\n\t"                                                                 \
  "vmla.f32 q4, q5, q14\n\t"                                                            \
  "vmovl.u8 q3, d7\n\t" /* p10 and p11 of red, of green and of blue. */                 \
  "vmovl.u16 q9, d0\n\t"                                                                \
  "vmovl.u16 q13, d6\n\t"                                                               \
  "vmovl.u16 q12, d12\n\t"                                                              \
  "vmovl.u16 q14, d1\n\t"                                                               \
  "vmovl.u16 q5, d2\n\t"                                                                \
  "vmovl.u16 q7, d13\n\t"                                                               \
  "vcvt.f32.u32 q9, q9\n\t"                                                             \
  "vcvt.f32.u32 q12, q12\n\t"                                                           \
  "vcvt.f32.u32 q5, q5\n\t"                                                             \
  "vmla.f32 q8, q9, q15\n\t"                                                            \
  "vcvt.f32.u32 q13, q13\n\t"                                                           \
  "vmla.f32 q11, q12, q15\n\t"                                                          \
  "vcvt.f32.u32 q14, q14\n\t"                                                           \
  "vmla.f32 q4, q5, q15\n\t"                                                            \
  "vcvt.f32.u32 q7, q7\n\t"                                                             \
  "vmla.f32 q8, q13, q10\n\t"                                                           \
  "vmov.f32 q9, #0.5\n\t"                                                               \
  "vmla.f32 q11, q14, q10\n\t"                                                          \
  "vmla.f32 q4, q7, q10\n\t"                                                            \
  "vadd.f32 q8, q8, q9\n\t"                                                             \
  "vadd.f32 q11, q11, q9\n\t"                                                           \
  "vadd.f32 q4, q4, q9\n\t"                                                             \
  "vcvt.u32.f32 q8, q8\n\t"                                                             \
  "vcvt.u32.f32 q11, q11\n\t"                                                           \
  "vcvt.u32.f32 q4, q4\n\t"                                                             \
  "vqmovn.u32 d26, q8\n\t"                                                              \
  "vqmovn.u32 d27, q11\n\t"                                                             \
  "vqmovn.u32 d29, q4\n\t"                                                              \
  "vqmovn.u16 d26, q13\n\t"
  asm volatile(TAVRINE_BLEND_FOUR
               "vstr d26, [%[low]]\n\t"
               "vstr d29, [%[low], #8]\n\t"  //
               TAVRINE_BLEND_FOUR
               "vldr d25, [%[low]]\n\t"
               "vldr d28, [%[low], #8]\n\t"
               "vtrn.32 d25, d26\n\t"
               "vqmovn.u16 d27, q14\n\t"
               "vst3.8 {d25-d27}, [%[out]]"
               : [a] "=&r"(a), [b] "=&r"(b), [c] "=&r"(c), [d] "=&r"(d), [offsets] "+r"(offsets),
                 [fractions] "+r"(next_fractions)
               : [data] "r"(data), [stride] "r"(stride), [low] "r"(low), [out] "r"(out)
               : "q0", "q1", "q2", "q3", "q4", "q5", "q6", "q7", "q8", "q9", "q10", "q11", "q12",
                 "q13", "q14", "q15", "memory");
#undef TAVRINE_BLEND_FOUR
}

#else

// Four words, saturated.
HWY_INLINE uint16x4_t blend_four(uint16x4_t p00, uint16x4_t p01, uint16x4_t p10, uint16x4_t p11,
                                 const float *u, const float *v) {
  const auto widen = [](uint16x4_t words) {
    return IntVector(vreinterpretq_s32_u32(vmovl_u16(words)));
  };
  const Weights weights(FloatVector(vld1q_f32(u)), FloatVector(vld1q_f32(v)));
  const auto sum = blend(widen(p00), widen(p01), widen(p10), widen(p11), weights);
  return vqmovn_u32(vcvtq_u32_f32(sum.raw));
}

HWY_INLINE uint8x8_t blend_eight(const WindowNeighbours &n, const Fractions &fractions) {
  const uint16x8_t p00 = vmovl_u8(n.p00), p01 = vmovl_u8(n.p01);
  const uint16x8_t p10 = vmovl_u8(n.p10), p11 = vmovl_u8(n.p11);
  const uint16x4_t low = blend_four(vget_low_u16(p00), vget_low_u16(p01), vget_low_u16(p10),
                                    vget_low_u16(p11), fractions.u_low, fractions.v_low);
  const uint16x4_t high = blend_four(vget_high_u16(p00), vget_high_u16(p01), vget_high_u16(p10),
                                     vget_high_u16(p11), fractions.u_high, fractions.v_high);
  return vqmovn_u16(vcombine_u16(low, high));
}

HWY_INLINE void blend_eight_rgb(const uint8_t *data, ptrdiff_t stride, const int32_t *offsets,
                                const Fractions &fractions, uint8_t *out) {
  const auto upper = load_pairs<3>(data, offsets);
  const auto lower = load_pairs<3>(data + stride, offsets);
  const auto channel = [&](int i) {
    return blend_eight({upper.left[i], upper.right[i], lower.left[i], lower.right[i]}, fractions);
  };
  vst3_u8(out, (uint8x8x3_t{{channel(0), channel(1), channel(2)}}));
}

#endif

#endif  // TAVRINE_IS_NEON

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
