// The steps of resize_bilinear.cpp for NEON. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_ARM_INL_H_
#undef TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_ARM_INL_H_
#else
#define TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_ARM_INL_H_
#endif

#include <algorithm>

#include "kernels/resize/same_bytes_arm-inl.h"
#include "kernels/resize/sample_groups-inl.h"
#include "kernels/vector-inl.h"

#if TAVRINE_IS_NEON

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

// One table lookup covers all windows, up to 32 bytes. NEON multiplies halves of a register, so
// the first neighbours stand before the second ones.
constexpr int32_t window_bytes(int32_t windows) { return windows == 4 ? 8 : 16; }
constexpr int32_t control_bytes(int32_t /*windows*/) { return 2 * kSamplesInGroup; }

HWY_INLINE void enter_group(const GroupTables &tables, int32_t windows, ptrdiff_t group,
                            const int32_t (&bases)[kMostWindows],
                            const Pick (&picks)[kSamplesInGroup]) {
  uint8_t *control = tables.controls + group * control_bytes(windows);
  int16_t *weights = tables.weights + 8 * group;
  std::copy_n(bases, windows, tables.bases + group * windows);
  for (int32_t i = 0; i < kSamplesInGroup; ++i) {
    const Pick &pick = picks[i];
    const int32_t window = pick.window * window_bytes(windows);
    control[i] = static_cast<uint8_t>(window + pick.first);
    control[i + kSamplesInGroup] = static_cast<uint8_t>(window + pick.second);
    weights[i] = pick.first_weight;
    weights[i + kSamplesInGroup] = pick.second_weight;
  }
}

template <int32_t kWindows>
HWY_INLINE uint8x8_t look_up(const uint8_t *source, const int32_t *bases, uint8x8_t control) {
  if constexpr (kWindows == 1) {
    return vtbl2_u8(same_bytes<uint8x8x2_t>(vld1q_u8(source + bases[0])), control);
  } else if constexpr (kWindows == 2) {
    const uint8x16x2_t windows = {{vld1q_u8(source + bases[0]), vld1q_u8(source + bases[1])}};
    return vtbl4_u8(same_bytes<uint8x8x4_t>(windows), control);
  } else {
    return vtbl4_u8({{vld1_u8(source + bases[0]), vld1_u8(source + bases[1]),
                      vld1_u8(source + bases[2]), vld1_u8(source + bases[3])}},
                    control);
  }
}

HWY_INLINE int16x4_t resample_group(uint8x8_t bytes, int16x8_t weights) {
  const int16x8_t words = vreinterpretq_s16_u16(vmovl_u8(bytes));
  const int32x4_t first = vmull_s16(vget_low_s16(words), vget_low_s16(weights));
  return vshrn_n_s32(vmlal_s16(first, vget_high_s16(words), vget_high_s16(weights)), 4);
}

// Resamples one row of whole steps.
template <int32_t kWindows>
HWY_NOINLINE void resample_groups(const uint8_t *source, const GroupTables &tables, int32_t samples,
                                  int16_t *row) {
  const int32_t *bases = tables.bases;
  const uint8_t *controls = tables.controls;
  const int16_t *weights = tables.weights;
  for (; samples > 0; samples -= 8) {
    const uint8x16_t control = vld1q_u8(controls);
    advance(controls, 16);
    const int16x8_t low_weights = vld1q_s16(weights);
    advance(weights, 8);
    const int16x8_t high_weights = vld1q_s16(weights);
    advance(weights, 8);
    const uint8x8_t low = look_up<kWindows>(source, bases, vget_low_u8(control));
    const uint8x8_t high = look_up<kWindows>(source, bases + kWindows, vget_high_u8(control));
    bases += 2 * kWindows;
    const int16x4x2_t sums = {
        {resample_group(low, low_weights), resample_group(high, high_weights)}};
    vst1q_s16(row, same_bytes<int16x8_t>(sums));
    advance(row, 8);
  }
}

HWY_INLINE uint8x8_t blend_8(int16x8_t upper, int16x8_t lower, int16x8_t first, int16x8_t second) {
  // The doubled high half, halved, is the high half.
  const int16x8_t sum =
      vsraq_n_s16(vshrq_n_s16(vqdmulhq_s16(upper, first), 1), vqdmulhq_s16(lower, second), 1);
  return vqrshrun_n_s16(sum, 2);
}

using RowWeight = int16x8_t;
HWY_INLINE RowWeight row_weight(int16_t weight) { return vdupq_n_s16(weight); }

// Samples go to two registers in turns: that takes one instruction for 16 of them, not two.
HWY_INLINE void blend_step(const int16_t *upper, const int16_t *lower, RowWeight first,
                           RowWeight second, uint8_t *destination) {
  const int16x8x2_t above = vld2q_s16(upper);
  const int16x8x2_t below = vld2q_s16(lower);
  vst2_u8(destination, {{blend_8(above.val[0], below.val[0], first, second),
                         blend_8(above.val[1], below.val[1], first, second)}});
}

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_NEON

#endif  // include guard of this instruction set
