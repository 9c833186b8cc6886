// SSSE3, SSE4 and AVX2: what the perspective warp does with a register of numbers. Included once
// for each instruction set.
#if defined(TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_LANES_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_LANES_X86_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_LANES_X86_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_LANES_X86_INL_H_
#endif

#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_X86

using Floats = hn::RebindToFloat<Ints>;
using IntVector = hn::VFromD<Ints>;
using FloatVector = hn::VFromD<Floats>;

// Divides both by the third, correctly rounded.
HWY_INLINE void divide(FloatVector &x, FloatVector &y, FloatVector w) {
  x = hn::Div(x, w);
  y = hn::Div(y, w);
}

// Toward zero. Anything without a 32-bit integer, NaN too, becomes the smallest one.
HWY_INLINE IntVector truncate(FloatVector value) {
#if HWY_TARGET == HWY_AVX2
  return IntVector{_mm256_cvttps_epi32(value.raw)};
#else
  return IntVector{_mm_cvttps_epi32(value.raw)};
#endif
}

HWY_INLINE bool none_negative(IntVector v) {
  return hn::AllFalse(Ints(), hn::Lt(v, hn::Zero(Ints())));
}

#endif  // TAVRINE_IS_X86

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
