// Bytes to elements on NEON: the steps of tensor.cpp. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_TENSOR_TENSOR_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_TENSOR_TENSOR_ARM_INL_H_
#undef TAVRINE_KERNELS_TENSOR_TENSOR_ARM_INL_H_
#else
#define TAVRINE_KERNELS_TENSOR_TENSOR_ARM_INL_H_
#endif

#include "kernels/tensor/tensor-inl.h"
#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_NEON

constexpr int32_t kPixelsInFill = 16;

// (byte - mean) / scale. There is no exact division: the reciprocal is split into its first 14
// bits and the rest. Where the mean has at most 10 bits (an integer does), difference * first is
// exact in 24 bits, and the sum of both products is rounded as the quotient is, but for about 1 in
// 30,000. With other means one in four is wrong. ElementTable::is_made_by() finds both and keeps
// the table.
class DivNormalizer {
 public:
  explicit DivNormalizer(const ChannelNormalization &channel)
      : mean_(vdupq_n_f32(channel.mean)), first_(vdupq_n_f32(1.0F / channel.scale)) {
    first_ = vreinterpretq_f32_u32(
        vandq_u32(vreinterpretq_u32_f32(first_), vdupq_n_u32(0xFFFFFC00)));  // 14 bits
    rest_ = vdupq_n_f32(
        static_cast<float>(1.0 / double{channel.scale} - double{vgetq_lane_f32(first_, 0)}));
  }

  HWY_INLINE FloatVector operator()(FloatVector bytes) const {
    const float32x4_t difference = vsubq_f32(bytes.raw, mean_);
    return FloatVector{vaddq_f32(vmulq_f32(difference, first_), vmulq_f32(difference, rest_))};
  }

 private:
  float32x4_t mean_;
  float32x4_t first_;
  float32x4_t rest_;
};

template <class Normalizer>
HWY_INLINE float32x4_t normalize_quarter(uint16x4_t bytes, const Normalizer &normalizer) {
  return normalizer(FloatVector{vcvtq_f32_u32(vmovl_u16(bytes))}).raw;
}

template <class Normalizer>
HWY_INLINE void normalize_half(uint8x8_t bytes, const Normalizer &normalizer, float *out) {
  const uint16x8_t words = vmovl_u8(bytes);
  vst1q_f32(out, normalize_quarter(vget_low_u16(words), normalizer));
  vst1q_f32(out + 4, normalize_quarter(vget_high_u16(words), normalizer));
}

template <class Normalizer>
HWY_INLINE void normalize_half(uint8x8_t bytes, const Normalizer &normalizer, uint8_t *out) {
  const uint16x8_t words = vmovl_u8(bytes);
  const auto narrow = [&](uint16x4_t quarter) {
    return vmovn_u32(vcvtq_u32_f32(normalize_quarter(quarter, normalizer)));
  };
  vst1_u8(out, vmovn_u16(vcombine_u16(narrow(vget_low_u16(words)), narrow(vget_high_u16(words)))));
}

template <class Normalizer, typename Element>
HWY_INLINE void normalize_16(uint8x16_t bytes, const Normalizer &normalizer, Element *out) {
  normalize_half(vget_low_u8(bytes), normalizer, out);
  normalize_half(vget_high_u8(bytes), normalizer, out + 8);
}

template <class Normalizer, typename Element>
HWY_INLINE void normalize_grey(const uint8_t *bytes, const Normalizer &normalizer, Element *out) {
  normalize_16(vld1q_u8(bytes), normalizer, out);
}

template <typename Element>
HWY_INLINE void normalize_color_row(const uint8_t *pixels, int32_t columns,
                                    const MulNormalizer normalizers[3], Element *const out[3]) {
  const MulNormalizer first = normalizers[0];
  const MulNormalizer second = normalizers[1];
  const MulNormalizer third = normalizers[2];
  for_each_step(columns, kPixelsInFill, [&](int32_t x) {
    const uint8x16x3_t bytes = vld3q_u8(pixels + 3 * x);
    normalize_16(bytes.val[0], first, out[0] + x);
    normalize_16(bytes.val[1], second, out[1] + x);
    normalize_16(bytes.val[2], third, out[2] + x);
  });
}

// armv7 has no vectors of doubles.
template <typename Element>
bool normalize_luma_row(const uint8_t *, int32_t, int32_t, const ChannelNormalization &,
                        Element *) {
  return false;
}

#endif  // TAVRINE_IS_NEON

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
