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

// An in-order core whose float vectors take a cycle a lane spends about 13 cycles a pixel of three
// bytes on conversion, difference, product and stores. A table needs 5 to 9, what its loads and
// stores take, and has no results that vectors flush to zero or round differently.
constexpr bool kPrefersTables = TAVRINE_IS_ARMV7;
constexpr int32_t kPixelsInFill = 16;

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
