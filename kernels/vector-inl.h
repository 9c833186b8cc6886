// What the vector kernels share. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_VECTOR_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_VECTOR_INL_H_
#undef TAVRINE_KERNELS_VECTOR_INL_H_
#else
#define TAVRINE_KERNELS_VECTOR_INL_H_
#endif

#include <hwy/highway.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

// The families that have files of their own: x_arm-inl.h and x_x86-inl.h. Every other target,
// with vectors or without, is served by the scalar definitions.
#undef TAVRINE_IS_NEON
#define TAVRINE_IS_NEON (HWY_TARGET == HWY_NEON)
#undef TAVRINE_IS_ARMV7
#define TAVRINE_IS_ARMV7 (TAVRINE_IS_NEON && HWY_ARCH_ARM_V7)
#undef TAVRINE_IS_X86
#define TAVRINE_IS_X86 (HWY_TARGET == HWY_SSSE3 || HWY_TARGET == HWY_SSE4 || HWY_TARGET == HWY_AVX2)
#undef TAVRINE_HAS_VECTORS
#define TAVRINE_HAS_VECTORS (TAVRINE_IS_NEON || TAVRINE_IS_X86)

// After a lambda's parameters: GCC otherwise calls one that for_each_step() has in two places.
#undef TAVRINE_INLINE_LAMBDA
#define TAVRINE_INLINE_LAMBDA __attribute__((always_inline))

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Hides from the compiler how the value was calculated.
template <class T>
HWY_INLINE void make_opaque(T &value) {
  asm("" : "+r"(value));
}

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

// Rows end in one of two ways.
//
// for_each_step: the last step overlaps the one before. Costs the least. Needs a row of at least
// one step, and a destination that does not share memory with the source.
//
// PaddedInput and PaddedOutput: what is left of the row goes through the same step on a copy.
// Serves rows of any length, in place too.

// Calls step(x) until all columns, of which there are enough for one step, are done.
template <class Step>
HWY_INLINE void for_each_step(int32_t columns, int32_t columns_in_step, Step step) {
  for (int32_t x = 0; x < columns - columns_in_step; x += columns_in_step) {
    step(x);
  }
  step(columns - columns_in_step);
}

// The last bytes of a row, and zeros up to what a step reads.
template <size_t kBytes>
class PaddedInput {
 public:
  PaddedInput(const uint8_t *row, size_t count) { std::memcpy(bytes_, row, count); }
  const uint8_t *data() const { return bytes_; }

 private:
  alignas(32) uint8_t bytes_[kBytes] = {};
};

// Room for all that a step writes, of which the last bytes of a row are taken.
template <size_t kBytes>
class PaddedOutput {
 public:
  uint8_t *data() { return bytes_; }
  void store(uint8_t *row, size_t count) const { std::memcpy(row, bytes_, count); }

 private:
  alignas(32) uint8_t bytes_[kBytes];
};

// Saturates the sums in `low` and `high` to bytes, in their order.
template <class V>
HWY_INLINE hn::VFromD<BytesInBlock> saturate_to_bytes(V low, V high) {
  const hn::Half<BytesInBlock> half;
  return hn::Combine(BytesInBlock(), hn::DemoteTo(half, high), hn::DemoteTo(half, low));
}

#endif  // TAVRINE_HAS_VECTORS

#if TAVRINE_IS_NEON

// Advances a pointer opaquely, so that GCC keeps post-increment addressing instead of one addition
// for each access.
template <class T>
HWY_INLINE void advance(T *&pointer, ptrdiff_t distance) {
  pointer += distance;
  make_opaque(pointer);
}

#endif  // TAVRINE_IS_NEON

#if TAVRINE_IS_X86

// Sixteen bytes, the same for all blocks of a register: from where a shuffle takes each byte of a
// block, 0x80 for zero, or what it takes them from. As long as a register, so that instructions can
// read it from memory; GCC puts known blocks together again in every step.
class ShuffleTable {
 public:
  constexpr explicit ShuffleTable(const std::array<uint8_t, 16> &block) : bytes_() {
    for (size_t i = 0; i < sizeof bytes_; ++i) {
      bytes_[i] = block[i % 16];
    }
  }

  HWY_INLINE hn::VFromD<Bytes> load() const { return hn::Load(Bytes(), bytes_); }

 private:
  alignas(32) uint8_t bytes_[32];
};

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

// A block for each half of the register, the second `distance` bytes after the first.
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
