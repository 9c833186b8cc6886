// The steps of planes.cpp for SSSE3, SSE4 and AVX2. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_COLOR_PLANES_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_COLOR_PLANES_X86_INL_H_
#undef TAVRINE_KERNELS_COLOR_PLANES_X86_INL_H_
#else
#define TAVRINE_KERNELS_COLOR_PLANES_X86_INL_H_
#endif

#include "kernels/vector-inl.h"

#if TAVRINE_IS_X86

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

constexpr int32_t kPairsInStep = 32;

HWY_INLINE void swap_pairs_step(const uint8_t *&in, uint8_t *&out) {
  const hn::ScalableTag<uint16_t> d16;
  for (ptrdiff_t i = 0; i < 2 * kPairsInStep; i += byte_lanes()) {
    const auto pairs = hn::BitCast(d16, hn::LoadU(Bytes(), in + i));
    const auto swapped = hn::Or(hn::ShiftLeft<8>(pairs), hn::ShiftRight<8>(pairs));
    hn::StoreU(hn::BitCast(Bytes(), swapped), Bytes(), out + i);
  }
  in += ptrdiff_t{2} * kPairsInStep;
  out += ptrdiff_t{2} * kPairsInStep;
}

HWY_INLINE void interleave_step(const uint8_t *&first, const uint8_t *&second, uint8_t *&pairs) {
  const Bytes d;
  for (ptrdiff_t x = 0; x < kPairsInStep; x += byte_lanes()) {
    hn::StoreInterleaved2(hn::LoadU(d, first + x), hn::LoadU(d, second + x), d, pairs + 2 * x);
  }
  first += kPairsInStep;
  second += kPairsInStep;
  pairs += ptrdiff_t{2} * kPairsInStep;
}

HWY_INLINE void deinterleave_step(const uint8_t *&pairs, uint8_t *&first, uint8_t *&second) {
  const Bytes d;
  for (ptrdiff_t x = 0; x < kPairsInStep; x += byte_lanes()) {
    hn::VFromD<Bytes> a;
    hn::VFromD<Bytes> b;
    hn::LoadInterleaved2(d, pairs + 2 * x, a, b);
    hn::StoreU(a, d, first + x);
    hn::StoreU(b, d, second + x);
  }
  pairs += ptrdiff_t{2} * kPairsInStep;
  first += kPairsInStep;
  second += kPairsInStep;
}

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_X86

#endif  // include guard of this instruction set
