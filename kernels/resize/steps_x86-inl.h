// What the resizing kernels share on x86. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_RESIZE_STEPS_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_RESIZE_STEPS_X86_INL_H_
#undef TAVRINE_KERNELS_RESIZE_STEPS_X86_INL_H_
#else
#define TAVRINE_KERNELS_RESIZE_STEPS_X86_INL_H_
#endif

#include "kernels/vector-inl.h"

#if TAVRINE_IS_X86

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

// Blocks of 16 bytes in a register.
constexpr int32_t kBlocksInRegister = HWY_TARGET == HWY_AVX2 ? 2 : 1;

// (sum + 2) >> 2: a fixed-point product rounds (sum * 2^13) / 2^15.
HWY_INLINE hn::VFromD<Words> rounded_quarters(hn::VFromD<Words> sums) {
  return hn::MulFixedPoint15(sums, hn::Set(Words(), 1 << 13));
}

// Stores 12 bytes of each block one after the other, and 4 bytes more.
HWY_INLINE void store_triples(hn::VFromD<Bytes> bytes, uint8_t *out) {
  const BytesInBlock block;
#if HWY_TARGET == HWY_AVX2
  hn::StoreU(hn::LowerHalf(block, bytes), block, out);
  hn::StoreU(hn::UpperHalf(block, bytes), block, out + 12);
#else
  hn::StoreU(bytes, block, out);
#endif
}

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_X86

#endif  // include guard of this instruction set
