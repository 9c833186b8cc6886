// NEON: the step of the affine warp. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_WARP_WARP_AFFINE_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_AFFINE_ARM_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_AFFINE_ARM_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_AFFINE_ARM_INL_H_
#endif

#include "kernels/warp/warp_affine_positions-inl.h"
#include "kernels/warp/warp_affine_scalar.h"
#include "kernels/warp/warp_neighbours_arm-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_NEON

// A clamped step must not read beyond its neighbours.
template <int kChannels>
constexpr bool kCanClamp = true;

// The rows' sums a and b are at most 32 * 255 = 8160, so 16 bits hold them and 4 (b - a). With
// v_scaled = 2^(10 - k) v, the doubling multiplication makes v (b - a) >> 5 of 2^k (b - a), and
//
//   (32 a + v (b - a) + 512) >> 10 = (a + (v (b - a) >> 5) + 16) >> 5
//
// because 32 a and 512 are multiples of 32. k = 0 saves an instruction, but only k > 0 serves v
// = 32.
template <int k>
HWY_INLINE uint8x8_t blend(uint8x8_t p00, uint8x8_t p01, uint8x8_t p10, uint8x8_t p11,
                           uint8x8_t left_weight, uint8x8_t right_weight, int16x8_t v_scaled) {
  const auto along_row = [&](uint8x8_t left, uint8x8_t right) {
    return vreinterpretq_s16_u16(vmlal_u8(vmull_u8(left, left_weight), right, right_weight));
  };
  const int16x8_t upper = along_row(p00, p01);
  const int16x8_t lower = along_row(p10, p11);
  const int16x8_t difference = vsubq_s16(lower, upper);
  const int16x8_t below = vqdmulhq_s16(k == 0 ? difference : vshlq_n_s16(difference, k), v_scaled);
  return vqrshrun_n_s16(vaddq_s16(upper, below), scalar::kSubpixelBits);
}

template <int kChannels, bool kClamps>
HWY_INLINE void warp_step(const PlaneView &source, scalar::Offset row, const int32_t *x_offsets,
                          const int32_t *y_offsets, uint8_t *out) {
  const AffinePositions low =
      compute_positions<kChannels, kClamps>(source, row, x_offsets, y_offsets);
  const AffinePositions high =
      compute_positions<kChannels, kClamps>(source, row, x_offsets + 4, y_offsets + 4);
  int32_t offsets[kPixelsInWarpStep];
  vst1q_s32(offsets, low.offset.raw);
  vst1q_s32(offsets + 4, high.offset.raw);
  const auto words = [](hn::VFromD<Ints> a, hn::VFromD<Ints> b) {
    return vcombine_s16(vmovn_s32(a.raw), vmovn_s32(b.raw));
  };
  const int16x8_t v_512 = vshlq_n_s16(words(low.v, high.v), 9);
  const uint8x8_t right_weight = vmovn_u16(vreinterpretq_u16_s16(words(low.u, high.u)));
  const uint8x8_t left_weight = vsub_u8(vdup_n_u8(scalar::kSubpixels), right_weight);
  const auto upper = load_pairs<kChannels>(source.data, offsets);
  const auto lower = load_pairs<kChannels>(source.data + source.stride, offsets);
  const auto channel = [&](int i) {
    return blend<1>(upper.left[i], upper.right[i], lower.left[i], lower.right[i], left_weight,
                    right_weight, v_512);
  };
  if constexpr (kChannels == 1) {
    vst1_u8(out, channel(0));
  } else if constexpr (kChannels == 2) {
    vst2_u8(out, (uint8x8x2_t{{channel(0), channel(1)}}));
  } else if constexpr (kChannels == 3) {
    vst3_u8(out, (uint8x8x3_t{{channel(0), channel(1), channel(2)}}));
  } else {
    vst4_u8(out, (uint8x8x4_t{{channel(0), channel(1), channel(2), channel(3)}}));
  }
}

#endif  // TAVRINE_IS_NEON

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
