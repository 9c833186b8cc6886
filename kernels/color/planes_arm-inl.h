// The steps of planes.cpp for NEON. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_COLOR_PLANES_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_COLOR_PLANES_ARM_INL_H_
#undef TAVRINE_KERNELS_COLOR_PLANES_ARM_INL_H_
#else
#define TAVRINE_KERNELS_COLOR_PLANES_ARM_INL_H_
#endif

#include "kernels/vector-inl.h"

#if TAVRINE_IS_NEON

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

// NEON's loads and stores (de)interleave by themselves. Several of them in a step spread the cost
// of the loop.
constexpr int32_t kPairsInStep = 64;

HWY_INLINE void swap_pairs_step(const uint8_t *&in, uint8_t *&out) {
  for (int i = 0; i < 4; ++i) {
    const uint8x16x2_t v = vld2q_u8(in);
    const uint8x16x2_t swapped = {{v.val[1], v.val[0]}};
    vst2q_u8(out, swapped);
    advance(in, 32);
    advance(out, 32);
  }
}

HWY_INLINE void interleave_step(const uint8_t *&first, const uint8_t *&second, uint8_t *&pairs) {
  for (int i = 0; i < 2; ++i) {
    // One load of two registers splits even and odd bytes, a store of four undoes it.
    const uint8x16x2_t a = vld2q_u8(first);
    const uint8x16x2_t b = vld2q_u8(second);
    const uint8x16x4_t interleaved = {{a.val[0], b.val[0], a.val[1], b.val[1]}};
    vst4q_u8(pairs, interleaved);
    advance(first, 32);
    advance(second, 32);
    advance(pairs, 64);
  }
}

HWY_INLINE void deinterleave_step(const uint8_t *&pairs, uint8_t *&first, uint8_t *&second) {
  for (int i = 0; i < 4; ++i) {
    const uint8x16x2_t v = vld2q_u8(pairs);
    vst1q_u8(first, v.val[0]);
    vst1q_u8(second, v.val[1]);
    advance(first, 16);
    advance(second, 16);
    advance(pairs, 32);
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_NEON

#endif  // include guard of this instruction set
