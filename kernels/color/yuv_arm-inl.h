// The steps of yuv.cpp for NEON. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_COLOR_YUV_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_COLOR_YUV_ARM_INL_H_
#undef TAVRINE_KERNELS_COLOR_YUV_ARM_INL_H_
#else
#define TAVRINE_KERNELS_COLOR_YUV_ARM_INL_H_
#endif

#include "kernels/color/row_steps-inl.h"
#include "kernels/vector-inl.h"

#if TAVRINE_IS_NEON

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

// The loads deinterleave, so each register holds one channel, in the order of the pixels.

template <int32_t kRed>
HWY_INLINE uint8x8_t luma_of(uint8x8_t first, uint8x8_t green, uint8x8_t third) {
  const uint8x8_t red = kRed == 0 ? first : third;
  const uint8x8_t blue = kRed == 0 ? third : first;
  const uint16x8_t sum = vmlal_u8(vmull_u8(red, vdup_n_u8(38)), green, vdup_n_u8(74));
  return vrshrn_n_u16(vmlal_u8(sum, blue, vdup_n_u8(16)), 7);
}

template <int32_t kRed>
HWY_INLINE void luma_step(const uint8_t *&pixels, uint8_t *&luma) {
  for (int32_t x = 0; x < kPixelsInStep; x += 8) {
    const uint8x8x3_t v = vld3_u8(pixels);
    advance(pixels, 24);
    vst1_u8(luma, luma_of<kRed>(v.val[0], v.val[1], v.val[2]));
    advance(luma, 8);
  }
}

template <int32_t kRed, int32_t kU>
HWY_INLINE void luma_and_chroma_step(const uint8_t *&pixels, uint8_t *&luma, uint8_t *&chroma) {
  // The offset of 128, before the shift. A sum below it saturates to zero.
  const uint16x8_t neutral = vdupq_n_u16(128 << 7);
  for (int32_t x = 0; x < kPixelsInStep; x += 16) {
    const uint8x16x3_t v = vld3q_u8(pixels);
    advance(pixels, 48);
    vst1q_u8(
        luma,
        vcombine_u8(
            luma_of<kRed>(vget_low_u8(v.val[0]), vget_low_u8(v.val[1]), vget_low_u8(v.val[2])),
            luma_of<kRed>(vget_high_u8(v.val[0]), vget_high_u8(v.val[1]), vget_high_u8(v.val[2]))));
    advance(luma, 16);
    // Narrowing words to bytes keeps the even pixels.
    const uint8x8_t r = vmovn_u16(vreinterpretq_u16_u8(v.val[kRed]));
    const uint8x8_t g = vmovn_u16(vreinterpretq_u16_u8(v.val[1]));
    const uint8x8_t b = vmovn_u16(vreinterpretq_u16_u8(v.val[2 - kRed]));
    const uint16x8_t less_u = vmlal_u8(vmull_u8(r, vdup_n_u8(22)), g, vdup_n_u8(43));
    const uint16x8_t less_v = vmlal_u8(vmull_u8(g, vdup_n_u8(55)), b, vdup_n_u8(12));
    const uint8x8_t u = vqrshrn_n_u16(vqsubq_u16(vmlal_u8(neutral, b, vdup_n_u8(65)), less_u), 7);
    const uint8x8_t v8 = vqrshrn_n_u16(vqsubq_u16(vmlal_u8(neutral, r, vdup_n_u8(67)), less_v), 7);
    const uint8x8x2_t pairs = {{kU == 0 ? u : v8, kU == 0 ? v8 : u}};
    vst2_u8(chroma, pairs);
    advance(chroma, 16);
  }
}

// What 16 pairs add to a channel and what they take away from it.
struct ChromaTerm {
  uint8x16_t plus;
  uint8x16_t minus;
};

#if TAVRINE_IS_ARMV7

// From intrinsics, GCC 12 copies registers to bring the results together, and takes the channels of
// a row through the stack to bring them into the order that a store needs: NV12 to RGB24 then takes
// 1.81 instructions a pixel instead of 1.26.

// (sums + 32) >> 6, saturated to bytes.
HWY_INLINE uint8x16_t round_64ths(int16x8_t low, int16x8_t high) {
  uint8x16_t result;
  asm("vqrshrun.s16 %e[result], %q[low], #6\n\t"
      "vqrshrun.s16 %f[result], %q[high], #6\n\t"
      : [result] "=&w"(result)
      : [low] "w"(low), [high] "w"(high));
  return result;
}

// The pixels of a row. Six chains of an addition and a subtraction are under way at a time, so that
// an in-order core does not wait for any of them.
HWY_INLINE void packed_row_step(const uint8_t *&luma, const ChromaTerm (&terms)[3],
                                uint8_t *&pixels) {
  asm volatile(
      "vld2.8 {d28-d31}, [%[luma]]!\n\t"  // even pixels in q14, odd ones in q15
      "vqadd.u8 q8, q14, %q[plus0]\n\t"
      "vqadd.u8 q11, q15, %q[plus0]\n\t"
      "vqadd.u8 q9, q14, %q[plus1]\n\t"
      "vqadd.u8 q12, q15, %q[plus1]\n\t"
      "vqadd.u8 q10, q14, %q[plus2]\n\t"
      "vqadd.u8 q13, q15, %q[plus2]\n\t"
      "vqsub.u8 q8, q8, %q[minus0]\n\t"
      "vqsub.u8 q11, q11, %q[minus0]\n\t"
      "vqsub.u8 q9, q9, %q[minus1]\n\t"
      "vqsub.u8 q12, q12, %q[minus1]\n\t"
      "vqsub.u8 q10, q10, %q[minus2]\n\t"
      "vqsub.u8 q13, q13, %q[minus2]\n\t"
      "vzip.8 q8, q11\n\t"
      "vzip.8 q9, q12\n\t"
      "vzip.8 q10, q13\n\t"
      "vst3.8 {d16, d18, d20}, [%[pixels]]!\n\t"
      "vst3.8 {d17, d19, d21}, [%[pixels]]!\n\t"
      "vst3.8 {d22, d24, d26}, [%[pixels]]!\n\t"
      "vst3.8 {d23, d25, d27}, [%[pixels]]!\n\t"
      : [luma] "+r"(luma), [pixels] "+r"(pixels)
      : [plus0] "w"(terms[0].plus), [plus1] "w"(terms[1].plus), [plus2] "w"(terms[2].plus),
        [minus0] "w"(terms[0].minus), [minus1] "w"(terms[1].minus), [minus2] "w"(terms[2].minus)
      : "q8", "q9", "q10", "q11", "q12", "q13", "q14", "q15", "memory");
}

#else

HWY_INLINE uint8x16_t round_64ths(int16x8_t low, int16x8_t high) {
  return vcombine_u8(vqrshrun_n_s16(low, 6), vqrshrun_n_s16(high, 6));
}

HWY_INLINE void packed_row_step(const uint8_t *&luma, const ChromaTerm (&terms)[3],
                                uint8_t *&pixels) {
  const uint8x16x2_t lumas = vld2q_u8(luma);  // even and odd pixels
  advance(luma, 32);
  uint8x16x2_t channels[3];
  for (int i = 0; i < 3; ++i) {
    const auto sample = [&](uint8x16_t y) {
      return vqsubq_u8(vqaddq_u8(y, terms[i].plus), terms[i].minus);
    };
    channels[i] = vzipq_u8(sample(lumas.val[0]), sample(lumas.val[1]));
  }
  for (int half = 0; half < 2; ++half) {
    vst3q_u8(pixels,
             (uint8x16x3_t{{channels[0].val[half], channels[1].val[half], channels[2].val[half]}}));
    advance(pixels, 48);
  }
}

#endif

// Rounds both halves of a term. For a negative sum, floor((x + 32) / 64) is the negative of
// floor((-x - 1 + 32) / 64), which is the rounded complement.
HWY_INLINE ChromaTerm round_term(int16x8_t low, int16x8_t high) {
  return {round_64ths(low, high), round_64ths(vmvnq_s16(low), vmvnq_s16(high))};
}

template <int32_t kRed, int32_t kU>
HWY_INLINE void packed_step(RowPair<const uint8_t> &lumas, const uint8_t *&chroma,
                            RowPair<uint8_t> &pixels) {
  const uint8x16x2_t pairs = vld2q_u8(chroma);
  advance(chroma, 32);
  const auto centred = [](uint8x16_t bytes) {
    return vreinterpretq_s8_u8(veorq_u8(bytes, vdupq_n_u8(128)));
  };
  const int8x16_t u = centred(pairs.val[kU]);
  const int8x16_t v = centred(pairs.val[1 - kU]);
  const auto red = [](int8x8_t v8) { return vmull_s8(v8, vdup_n_s8(86)); };
  const auto green = [](int8x8_t u8, int8x8_t v8) {
    return vmlal_s8(vmull_s8(v8, vdup_n_s8(-44)), u8, vdup_n_s8(-24));
  };
  const auto blue = [](int8x8_t u8) { return vmull_s8(u8, vdup_n_s8(110)); };
  ChromaTerm terms[3];
  terms[kRed] = round_term(red(vget_low_s8(v)), red(vget_high_s8(v)));
  terms[1] =
      round_term(green(vget_low_s8(u), vget_low_s8(v)), green(vget_high_s8(u), vget_high_s8(v)));
  terms[2 - kRed] = round_term(blue(vget_low_s8(u)), blue(vget_high_s8(u)));
  packed_row_step(lumas.upper, terms, pixels.upper);
  packed_row_step(lumas.lower, terms, pixels.lower);
}

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_NEON

#endif  // include guard of this instruction set
