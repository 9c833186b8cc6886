// Mirrored rows on NEON: the steps of rotate.cpp. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_ROTATE_MIRROR_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_ROTATE_MIRROR_ARM_INL_H_
#undef TAVRINE_KERNELS_ROTATE_MIRROR_ARM_INL_H_
#else
#define TAVRINE_KERNELS_ROTATE_MIRROR_ARM_INL_H_
#endif

#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_NEON

template <size_t kPixelBytes>
constexpr int32_t mirrored_pixels() {
  return kPixelBytes == 1 ? 32 : kPixelBytes == 2 ? 16 : 8;
}

// A de-interleaving load gives each byte of a pixel a register of its own, so that reversing the
// lanes of every register keeps the bytes of a pixel together. Pixels of one and two bytes go four
// and two at a time through the same registers:
//
//   kPixelBytes   register 0 1 2 3 holds    after the load is stored from registers
//        1        pixels 4i .. 4i + 3                     3 2 1 0
//        2        bytes 0 1 of pixel 2i, 0 1 of 2i + 1    2 3 0 1
//        4        bytes 0 1 2 3 of pixel i                0 1 2 3
template <size_t kPixelBytes>
HWY_INLINE void mirror_step(const uint8_t *in, uint8_t *out) {
  if constexpr (kPixelBytes == 3) {
    const uint8x8x3_t v = vld3_u8(in);
    const uint8x8x3_t mirrored = {{vrev64_u8(v.val[0]), vrev64_u8(v.val[1]), vrev64_u8(v.val[2])}};
    vst3_u8(out, mirrored);
  } else {
    const uint8x8x4_t v = vld4_u8(in);
    constexpr int kFlip = 4 - kPixelBytes;
    const uint8x8x4_t mirrored = {{vrev64_u8(v.val[0 ^ kFlip]), vrev64_u8(v.val[1 ^ kFlip]),
                                   vrev64_u8(v.val[2 ^ kFlip]), vrev64_u8(v.val[3 ^ kFlip])}};
    vst4_u8(out, mirrored);
  }
}

template <size_t kPixelBytes>
HWY_INLINE int32_t mirror_unrolled(const uint8_t *in, int32_t columns, uint8_t *out) {
  constexpr int32_t kStep = mirrored_pixels<kPixelBytes>();
  constexpr ptrdiff_t kBytes = kPixelBytes * kStep;
  int32_t x = 0;
  if (columns >= 5 * kStep) {
    in += static_cast<ptrdiff_t>(kPixelBytes) * (columns - kStep);
    ptrdiff_t back = -kBytes;
    make_opaque(back);
    for (; x <= columns - 5 * kStep; x += 4 * kStep) {
      for (int32_t i = 0; i < 4; ++i) {
        mirror_step<kPixelBytes>(in, out);
        advance(in, back);
        advance(out, kBytes);
      }
    }
  }
  return x;
}

#endif  // TAVRINE_IS_NEON

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
