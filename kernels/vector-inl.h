// What the vector kernels share. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_VECTOR_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_VECTOR_INL_H_
#undef TAVRINE_KERNELS_VECTOR_INL_H_
#else
#define TAVRINE_KERNELS_VECTOR_INL_H_
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>

// Without vectors the scalar definitions do all the work.
#undef TAVRINE_HAS_VECTORS
#define TAVRINE_HAS_VECTORS (HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128)
#undef TAVRINE_IS_NEON
#define TAVRINE_IS_NEON (HWY_TARGET == HWY_NEON)
#undef TAVRINE_IS_ARMV7
#define TAVRINE_IS_ARMV7 (TAVRINE_IS_NEON && HWY_ARCH_ARM_V7)
#undef TAVRINE_IS_X86
#define TAVRINE_IS_X86 (TAVRINE_HAS_VECTORS && HWY_ARCH_X86)

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if TAVRINE_HAS_VECTORS

// Blocks of 16 bytes, the same on every instruction set: shuffles work within them.
using BytesInBlock = hn::Full128<uint8_t>;
using WordsInBlock = hn::Full128<int16_t>;
using IntsInBlock = hn::Full128<int32_t>;

// As many bytes as a register holds, 16 or 32.
using Bytes = hn::ScalableTag<uint8_t>;
using Words = hn::ScalableTag<int16_t>;
using Ints = hn::ScalableTag<int32_t>;

inline ptrdiff_t byte_lanes() { return static_cast<ptrdiff_t>(hn::Lanes(Bytes())); }

// Saturates the sums in `low` and `high` to bytes, in their order.
template <class V>
HWY_INLINE hn::VFromD<BytesInBlock> saturate_to_bytes(V low, V high) {
  const hn::Half<BytesInBlock> half;
  return hn::Combine(BytesInBlock(), hn::DemoteTo(half, high), hn::DemoteTo(half, low));
}

#endif  // TAVRINE_HAS_VECTORS

#if TAVRINE_IS_NEON

// The compiler no longer knows how the value was calculated.
template <class T>
HWY_INLINE void hide_origin(T &value) {
  asm("" : "+r"(value));
}

// Moves a pointer on for the next of some unrolled steps. The loads and stores then do it on the
// way, instead of an addition for each of their addresses.
template <class T>
HWY_INLINE void move_on(T *&pointer, ptrdiff_t distance) {
  pointer += distance;
  hide_origin(pointer);
}

#endif  // TAVRINE_IS_NEON

#if TAVRINE_IS_X86

// Words a[2i] * b[2i] + a[2i + 1] * b[2i + 1] of unsigned and signed bytes. Sums must fit.
HWY_INLINE hn::VFromD<Words> multiply_bytes(hn::VFromD<Bytes> a, hn::VFromD<Bytes> b) {
#if HWY_TARGET == HWY_AVX2
  return hn::VFromD<Words>{_mm256_maddubs_epi16(a.raw, b.raw)};
#else
  return hn::VFromD<Words>{_mm_maddubs_epi16(a.raw, b.raw)};
#endif
}

// Adjacent words, multiplied and added.
HWY_INLINE hn::VFromD<Ints> multiply_words(hn::VFromD<Words> a, hn::VFromD<Words> b) {
  auto unused = hn::Zero(Ints());
  return hn::ReorderWidenMulAccumulate(Ints(), a, b, hn::Zero(Ints()), unused);
}

// Saturated to bytes: each block holds that of `a`, then that of `b`.
HWY_INLINE hn::VFromD<Bytes> pack_in_blocks(hn::VFromD<Words> a, hn::VFromD<Words> b) {
#if HWY_TARGET == HWY_AVX2
  return hn::VFromD<Bytes>{_mm256_packus_epi16(a.raw, b.raw)};
#else
  return hn::VFromD<Bytes>{_mm_packus_epi16(a.raw, b.raw)};
#endif
}

// Saturated to bytes: that of `a`, then that of `b`.
HWY_INLINE hn::VFromD<Bytes> pack_in_order(hn::VFromD<Words> a, hn::VFromD<Words> b) {
  const auto packed = pack_in_blocks(a, b);
#if HWY_TARGET == HWY_AVX2
  return hn::VFromD<Bytes>{_mm256_permute4x64_epi64(packed.raw, _MM_SHUFFLE(3, 1, 2, 0))};
#else
  return packed;
#endif
}

// A block for each half of the register, the second `distance` bytes behind the first.
HWY_INLINE hn::VFromD<Bytes> load_blocks(const uint8_t *bytes, ptrdiff_t distance) {
#if HWY_TARGET == HWY_AVX2
  return hn::Combine(Bytes(), hn::LoadU(BytesInBlock(), bytes + distance),
                     hn::LoadU(BytesInBlock(), bytes));
#else
  static_cast<void>(distance);
  return hn::LoadU(Bytes(), bytes);
#endif
}

#endif  // TAVRINE_IS_X86

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
