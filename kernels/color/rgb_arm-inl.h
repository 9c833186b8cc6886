// The steps of rgb.cpp for NEON. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_COLOR_RGB_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_COLOR_RGB_ARM_INL_H_
#undef TAVRINE_KERNELS_COLOR_RGB_ARM_INL_H_
#else
#define TAVRINE_KERNELS_COLOR_RGB_ARM_INL_H_
#endif

#include "kernels/color/row_steps-inl.h"
#include "kernels/vector-inl.h"

#if TAVRINE_IS_NEON

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

HWY_INLINE void replicate_grey_step(const uint8_t *&grey, uint8_t *&pixels) {
  for (int32_t x = 0; x < kPixelsInStep; x += 16) {
    const uint8x16_t v = vld1q_u8(grey);
    advance(grey, 16);
    const uint8x16x3_t replicated = {{v, v, v}};
    vst3q_u8(pixels, replicated);
    advance(pixels, 48);
  }
}

#if TAVRINE_IS_ARMV7

// From intrinsics, GCC 12 copies all three registers where the first and the third have only to
// change places: 0.74 instructions a pixel instead of 0.42.
HWY_INLINE void swap_red_blue_step(const uint8_t *&in, uint8_t *&out) {
  asm volatile(
      "vld3.8 {d16, d18, d20}, [%[in]]!\n\t"
      "vld3.8 {d17, d19, d21}, [%[in]]!\n\t"
      "vld3.8 {d22, d24, d26}, [%[in]]!\n\t"
      "vld3.8 {d23, d25, d27}, [%[in]]!\n\t"
      "vswp q8, q10\n\t"
      "vswp q11, q13\n\t"
      "vst3.8 {d16, d18, d20}, [%[out]]!\n\t"
      "vst3.8 {d17, d19, d21}, [%[out]]!\n\t"
      "vst3.8 {d22, d24, d26}, [%[out]]!\n\t"
      "vst3.8 {d23, d25, d27}, [%[out]]!\n\t"
      : [in] "+r"(in), [out] "+r"(out)
      :
      : "q8", "q9", "q10", "q11", "q12", "q13", "memory");
}

#else

HWY_INLINE void swap_red_blue_step(const uint8_t *&in, uint8_t *&out) {
  for (int32_t x = 0; x < kPixelsInStep; x += 16) {
    const uint8x16x3_t v = vld3q_u8(in);
    const uint8x16x3_t swapped = {{v.val[2], v.val[1], v.val[0]}};
    vst3q_u8(out, swapped);
    advance(in, 48);
    advance(out, 48);
  }
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_NEON

#endif  // include guard of this instruction set
