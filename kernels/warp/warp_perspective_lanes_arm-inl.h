// NEON: what the perspective warp does with a register of numbers. Included once for each
// instruction set.
#if defined(TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_LANES_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_LANES_ARM_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_LANES_ARM_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_LANES_ARM_INL_H_
#endif

#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_NEON

using Floats = hn::RebindToFloat<Ints>;
using IntVector = hn::VFromD<Ints>;
using FloatVector = hn::VFromD<Floats>;

// Divides both by the third, correctly rounded. NEON's own division is not: the scalar unit divides
// lane by lane.
HWY_INLINE void divide(FloatVector &x, FloatVector &y, FloatVector w) {
  alignas(16) float lanes[3][4];
  vst1q_f32(lanes[0], x.raw);
  vst1q_f32(lanes[1], y.raw);
  vst1q_f32(lanes[2], w.raw);
  for (int i = 0; i < 4; ++i) {
    const float divisor = lanes[2][i];
    lanes[0][i] /= divisor;
    lanes[1][i] /= divisor;
  }
  x.raw = vld1q_f32(lanes[0]);
  y.raw = vld1q_f32(lanes[1]);
}

// Toward zero, saturated. NaN becomes 0.
HWY_INLINE IntVector truncate(FloatVector value) { return hn::ConvertTo(Ints(), value); }

HWY_INLINE bool none_negative(IntVector v) {
  const int32x2_t pair = vorr_s32(vget_low_s32(v.raw), vget_high_s32(v.raw));
  return (vget_lane_s32(pair, 0) | vget_lane_s32(pair, 1)) >= 0;
}

#endif  // TAVRINE_IS_NEON

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
