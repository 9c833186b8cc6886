// NEON: the neighbours of eight pixels of three or four channels, wherever they lie. Included once
// for each instruction set.
#if defined(TAVRINE_KERNELS_WARP_WARP_AFFINE_PIXELS_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_AFFINE_PIXELS_ARM_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_AFFINE_PIXELS_ARM_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_AFFINE_PIXELS_ARM_INL_H_
#endif

#include "kernels/vector-inl.h"
#include "kernels/warp/warp_grey_windows_arm-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_NEON

// Byte k of each pixel and the seven bytes after it: of the upper row in the lower half, of the
// lower row in the upper half.
struct TransposedPixels {
  uint8x16_t bytes[8];
};

#if TAVRINE_IS_ARMV7

// In assembly, because GCC copies halves of registers.
HWY_INLINE TransposedPixels transpose_pixels(const uint8_t *data, int32_t stride,
                                             const int32_t *offsets) {
  const uint8_t *a, *b, *c, *d;
  register uint8x16_t byte0 asm("q0");
  register uint8x16_t byte1 asm("q1");
  register uint8x16_t byte2 asm("q2");
  register uint8x16_t byte3 asm("q3");
  register uint8x16_t byte4 asm("q4");
  register uint8x16_t byte5 asm("q5");
  register uint8x16_t byte6 asm("q6");
  register uint8x16_t byte7 asm("q7");
// clang-format off
#define TAVRINE_LOAD_FOUR(upper0, lower0, upper1, lower1, upper2, lower2, upper3, lower3) \
  "ldr %[a], [%[offsets]], #4\n\t"                                                        \
  "ldr %[b], [%[offsets]], #4\n\t"                                                        \
  "ldr %[c], [%[offsets]], #4\n\t"                                                        \
  "ldr %[d], [%[offsets]], #4\n\t"                                                        \
  "add %[a], %[data]\n\t"                                                                 \
  "add %[b], %[data]\n\t"                                                                 \
  "add %[c], %[data]\n\t"                                                                 \
  "add %[d], %[data]\n\t"                                                                 \
  "vld1.8 {" upper0 "}, [%[a]], %[stride]\n\t"                                            \
  "vld1.8 {" upper1 "}, [%[b]], %[stride]\n\t"                                            \
  "vld1.8 {" upper2 "}, [%[c]], %[stride]\n\t"                                            \
  "vld1.8 {" upper3 "}, [%[d]], %[stride]\n\t"                                            \
  "vld1.8 {" lower0 "}, [%[a]]\n\t"                                                       \
  "vld1.8 {" lower1 "}, [%[b]]\n\t"                                                       \
  "vld1.8 {" lower2 "}, [%[c]]\n\t"                                                       \
  "vld1.8 {" lower3 "}, [%[d]]\n\t"
  // clang-format on
  asm(TAVRINE_LOAD_FOUR("d0", "d1", "d2", "d3", "d4", "d5", "d6", "d7")
      TAVRINE_LOAD_FOUR("d8", "d9", "d10", "d11", "d12", "d13", "d14", "d15")
      "vtrn.8 q0, q1\n\t"
      "vtrn.8 q2, q3\n\t"
      "vtrn.8 q4, q5\n\t"
      "vtrn.8 q6, q7\n\t"
      "vtrn.16 q0, q2\n\t"
      "vtrn.16 q1, q3\n\t"
      "vtrn.16 q4, q6\n\t"
      "vtrn.16 q5, q7\n\t"
      "vtrn.32 q0, q4\n\t"
      "vtrn.32 q1, q5\n\t"
      "vtrn.32 q2, q6\n\t"
      "vtrn.32 q3, q7"
      : "=w"(byte0), "=w"(byte1), "=w"(byte2), "=w"(byte3), "=w"(byte4), "=w"(byte5), "=w"(byte6),
        "=w"(byte7), [a] "=&r"(a), [b] "=&r"(b), [c] "=&r"(c), [d] "=&r"(d), [offsets] "+r"(offsets)
      : [data] "r"(data), [stride] "r"(stride)
      : "memory");
#undef TAVRINE_LOAD_FOUR
  return {{byte0, byte1, byte2, byte3, byte4, byte5, byte6, byte7}};
}

#else

HWY_INLINE TransposedPixels transpose_pixels(const uint8_t *data, int32_t stride,
                                             const int32_t *offsets) {
  uint8_t rows[8][16];
  for (int i = 0; i < 8; ++i) {
    const uint8x8_t upper = vld1_u8(data + offsets[i]);
    const uint8x8_t lower = vld1_u8(data + offsets[i] + stride);
    for (int k = 0; k < 8; ++k) {
      rows[k][i] = upper[k];
      rows[k][8 + i] = lower[k];
    }
  }
  TransposedPixels result;
  for (int k = 0; k < 8; ++k) {
    result.bytes[k] = vld1q_u8(rows[k]);
  }
  return result;
}

#endif

// The neighbours of pixels in columns and rows from data on.
template <int kChannels>
HWY_INLINE void take_pixels(const uint8_t *data, int32_t stride, uint16x8_t columns,
                            uint16x8_t rows, WindowNeighbours (&neighbours)[kChannels]) {
  const auto offsets_of = [&](uint16x4_t column, uint16x4_t row) {
    const uint32x4_t across = vmull_u16(column, vdup_n_u16(kChannels));
    return vmlaq_s32(vreinterpretq_s32_u32(across), vreinterpretq_s32_u32(vmovl_u16(row)),
                     vdupq_n_s32(stride));
  };
  int32_t offsets[8];
  vst1q_s32(offsets, offsets_of(vget_low_u16(columns), vget_low_u16(rows)));
  vst1q_s32(offsets + 4, offsets_of(vget_high_u16(columns), vget_high_u16(rows)));
  const TransposedPixels pixels = transpose_pixels(data, stride, offsets);
  for (int i = 0; i < kChannels; ++i) {
    const uint8x16_t left = pixels.bytes[i];
    const uint8x16_t right = pixels.bytes[kChannels + i];
    neighbours[i] = {vget_low_u8(left), vget_low_u8(right), vget_high_u8(left),
                     vget_high_u8(right)};
  }
}

#endif  // TAVRINE_IS_NEON

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
