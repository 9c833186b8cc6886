// The steps of downscale_2x_4x.cpp for NEON. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_RESIZE_DOWNSCALE_2X_4X_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_RESIZE_DOWNSCALE_2X_4X_ARM_INL_H_
#undef TAVRINE_KERNELS_RESIZE_DOWNSCALE_2X_4X_ARM_INL_H_
#else
#define TAVRINE_KERNELS_RESIZE_DOWNSCALE_2X_4X_ARM_INL_H_
#endif

#include "kernels/vector-inl.h"

#if TAVRINE_IS_NEON

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

template <int32_t kRatio, int32_t kChannels>
struct DownscaleStep;

// What the loop must know of a step, and the way to the next one.
template <int32_t kRatio, int32_t kChannels, int32_t kPixelsOfStep, bool kIsShortStep,
          int32_t kOverreadBytes = 0>
struct StepShape {
  static constexpr int32_t kPixels = kPixelsOfStep;
  static constexpr int32_t kPixelBytes = kChannels;
  static constexpr int32_t kSourceBytes = kRatio * kChannels;
  static constexpr int32_t kOverwritten = 0;
  static constexpr bool kIsShort = kIsShortStep;
  static constexpr int32_t kOverread = kOverreadBytes;

  static HWY_INLINE void advance_all(uint8_t *&out, const uint8_t *&upper, const uint8_t *&lower) {
    upper += kPixels * kSourceBytes;
    lower += kPixels * kSourceBytes;
    out += kPixels * kPixelBytes;
  }
};

HWY_INLINE const uint16_t *as_words(const uint8_t *bytes) {
  return static_cast<const uint16_t *>(static_cast<const void *>(bytes));
}

HWY_INLINE const uint32_t *as_double_words(const uint8_t *bytes) {
  return static_cast<const uint32_t *>(static_cast<const void *>(bytes));
}

// Sums of adjacent bytes of both rows.
HWY_INLINE uint16x8_t sums_of_pairs(uint8x16_t upper, uint8x16_t lower) {
  return vpadalq_u8(vpaddlq_u8(upper), lower);
}

HWY_INLINE uint8x8_t means_of_pairs(uint8x16_t upper, uint8x16_t lower) {
  return vrshrn_n_u16(sums_of_pairs(upper, lower), 2);
}

// 2:1 of one channel. Pairs are loaded into two registers alternately, and the means stored so:
// one instruction loads 32 bytes then, where loading them in order takes two.
template <>
struct DownscaleStep<2, 1> : StepShape<2, 1, 16, true> {
  HWY_INLINE void operator()(uint8_t *&out, const uint8_t *&upper, const uint8_t *&lower) const {
    const uint16x8x2_t above = vld2q_u16(as_words(upper));
    advance(upper, 32);
    const uint16x8x2_t below = vld2q_u16(as_words(lower));
    advance(lower, 32);
    const auto means = [&](int32_t i) {
      return means_of_pairs(vreinterpretq_u8_u16(above.val[i]), vreinterpretq_u8_u16(below.val[i]));
    };
    vst2_u8(out, (uint8x8x2_t{{means(0), means(1)}}));
    advance(out, 16);
  }
};

// 2:1 of several channels, which loads take apart: pairs are adjacent then.
template <>
struct DownscaleStep<2, 2> : StepShape<2, 2, 8, true> {
  HWY_INLINE void operator()(uint8_t *&out, const uint8_t *&upper, const uint8_t *&lower) const {
    const uint8x16x2_t above = vld2q_u8(upper);
    const uint8x16x2_t below = vld2q_u8(lower);
    const auto means = [&](int32_t i) { return means_of_pairs(above.val[i], below.val[i]); };
    vst2_u8(out, (uint8x8x2_t{{means(0), means(1)}}));
    advance_all(out, upper, lower);
  }
};

template <>
struct DownscaleStep<2, 3> : StepShape<2, 3, 8, false> {
  HWY_INLINE void operator()(uint8_t *&out, const uint8_t *&upper, const uint8_t *&lower) const {
    const uint8x16x3_t above = vld3q_u8(upper);
    const uint8x16x3_t below = vld3q_u8(lower);
    const auto means = [&](int32_t i) { return means_of_pairs(above.val[i], below.val[i]); };
    vst3_u8(out, (uint8x8x3_t{{means(0), means(1), means(2)}}));
    advance_all(out, upper, lower);
  }
};

template <>
struct DownscaleStep<2, 4> : StepShape<2, 4, 8, false> {
  HWY_INLINE void operator()(uint8_t *&out, const uint8_t *&upper, const uint8_t *&lower) const {
    const uint8x16x4_t above = vld4q_u8(upper);
    const uint8x16x4_t below = vld4q_u8(lower);
    const auto means = [&](int32_t i) { return means_of_pairs(above.val[i], below.val[i]); };
    vst4_u8(out, (uint8x8x4_t{{means(0), means(1), means(2), means(3)}}));
    advance_all(out, upper, lower);
  }
};

// Rounded means of the same byte of four pixels.
HWY_INLINE uint8x16_t means_of_pixels(uint8x16_t a, uint8x16_t b, uint8x16_t c, uint8x16_t d) {
  const uint16x8_t low =
      vaddw_u8(vaddw_u8(vaddl_u8(vget_low_u8(a), vget_low_u8(b)), vget_low_u8(c)), vget_low_u8(d));
  const uint16x8_t high = vaddw_u8(
      vaddw_u8(vaddl_u8(vget_high_u8(a), vget_high_u8(b)), vget_high_u8(c)), vget_high_u8(d));
  return vcombine_u8(vrshrn_n_u16(low, 2), vrshrn_n_u16(high, 2));
}

// 4:1 of pixels of 1, 2 or 4 bytes: loads distribute every four pixels to four registers, of which
// the middle two count.
template <>
struct DownscaleStep<4, 1> : StepShape<4, 1, 16, false> {
  HWY_INLINE void operator()(uint8_t *&out, const uint8_t *&upper, const uint8_t *&lower) const {
    const uint8x16x4_t above = vld4q_u8(upper);
    const uint8x16x4_t below = vld4q_u8(lower);
    vst1q_u8(out, means_of_pixels(above.val[1], above.val[2], below.val[1], below.val[2]));
    advance_all(out, upper, lower);
  }
};

template <>
struct DownscaleStep<4, 2> : StepShape<4, 2, 8, false> {
  HWY_INLINE void operator()(uint8_t *&out, const uint8_t *&upper, const uint8_t *&lower) const {
    const uint16x8x4_t above = vld4q_u16(as_words(upper));
    const uint16x8x4_t below = vld4q_u16(as_words(lower));
    vst1q_u8(out, means_of_pixels(
                      vreinterpretq_u8_u16(above.val[1]), vreinterpretq_u8_u16(above.val[2]),
                      vreinterpretq_u8_u16(below.val[1]), vreinterpretq_u8_u16(below.val[2])));
    advance_all(out, upper, lower);
  }
};

template <>
struct DownscaleStep<4, 4> : StepShape<4, 4, 4, false> {
  HWY_INLINE void operator()(uint8_t *&out, const uint8_t *&upper, const uint8_t *&lower) const {
    const uint32x4x4_t above = vld4q_u32(as_double_words(upper));
    const uint32x4x4_t below = vld4q_u32(as_double_words(lower));
    vst1q_u8(out, means_of_pixels(
                      vreinterpretq_u8_u32(above.val[1]), vreinterpretq_u8_u32(above.val[2]),
                      vreinterpretq_u8_u32(below.val[1]), vreinterpretq_u8_u32(below.val[2])));
    advance_all(out, upper, lower);
  }
};

// 4:1 of three channels, which loads take apart: from the second pixel on every other pair counts.
template <>
struct DownscaleStep<4, 3> : StepShape<4, 3, 8, false, 1> {
  HWY_INLINE void operator()(uint8_t *&out, const uint8_t *&upper, const uint8_t *&lower) const {
    const uint8x16x3_t above = vld3q_u8(upper + 3);
    const uint8x16x3_t below = vld3q_u8(lower + 3);
    const uint8x16x3_t next_above = vld3q_u8(upper + 3 + 48);
    const uint8x16x3_t next_below = vld3q_u8(lower + 3 + 48);
    const auto means = [&](int32_t channel) {
      const uint16x8x2_t sums =
          vuzpq_u16(sums_of_pairs(above.val[channel], below.val[channel]),
                    sums_of_pairs(next_above.val[channel], next_below.val[channel]));
      return vrshrn_n_u16(sums.val[0], 2);
    };
    vst3_u8(out, (uint8x8x3_t{{means(0), means(1), means(2)}}));
    advance_all(out, upper, lower);
  }
};

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_NEON

#endif  // include guard of this instruction set
