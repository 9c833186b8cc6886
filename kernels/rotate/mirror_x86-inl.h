// Mirrored rows on SSSE3, SSE4 and AVX2: the steps of rotate.cpp. Included once for each
// instruction set.
#if defined(TAVRINE_KERNELS_ROTATE_MIRROR_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_ROTATE_MIRROR_X86_INL_H_
#undef TAVRINE_KERNELS_ROTATE_MIRROR_X86_INL_H_
#else
#define TAVRINE_KERNELS_ROTATE_MIRROR_X86_INL_H_
#endif

#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_X86

// Blocks of 16 bytes in a step: one filled by pixels, or three by pixels of three bytes. For the
// former, longer ones are slower: every other store crosses a cache line when rows are not aligned.
template <size_t kPixelBytes>
constexpr int blocks_in_step() {
  return kPixelBytes == 3 ? 3 : 1;
}

template <size_t kPixelBytes>
constexpr int32_t mirrored_pixels() {
  return 16 * blocks_in_step<kPixelBytes>() / kPixelBytes;
}

// Where each byte of mirrored pixels comes from. They fill registers of kRegisterBytes. Pixels of
// three bytes cross the source's blocks, so that up to three lookups are combined, each of which
// gives 0 for the bytes of other blocks.
template <size_t kPixelBytes, int kBlocks, int kRegisterBytes>
struct MirrorTables {
  // Register of the result, block of the source.
  alignas(kRegisterBytes) uint8_t order[16 * kBlocks / kRegisterBytes][kBlocks][kRegisterBytes];

  constexpr MirrorTables() : order() {
    constexpr int kPixel = kPixelBytes;
    for (int byte = 0; byte < 16 * kBlocks; ++byte) {
      const int from = 16 * kBlocks - kPixel - byte / kPixel * kPixel + byte % kPixel;
      for (int block = 0; block < kBlocks; ++block) {
        order[byte / kRegisterBytes][block][byte % kRegisterBytes] =
            static_cast<uint8_t>(from / 16 == block ? from % 16 : 0x80);
      }
    }
  }
};

template <size_t kPixelBytes>
HWY_INLINE void mirror_step(const uint8_t *in, uint8_t *out) {
  static constexpr MirrorTables<kPixelBytes, blocks_in_step<kPixelBytes>(), 16> kTables;
  const BytesInBlock d;
  const auto pick = [&](int part, int block) {
    return hn::TableLookupBytesOr0(hn::LoadU(d, in + 16 * block),
                                   hn::Load(d, kTables.order[part][block]));
  };
  if constexpr (kPixelBytes == 3) {
    hn::StoreU(hn::Or(pick(0, 1), pick(0, 2)), d, out);
    hn::StoreU(hn::Or(hn::Or(pick(1, 0), pick(1, 1)), pick(1, 2)), d, out + 16);
    hn::StoreU(hn::Or(pick(2, 0), pick(2, 1)), d, out + 32);
  } else {
    hn::StoreU(pick(0, 0), d, out);
  }
}

#if HWY_TARGET == HWY_AVX2

// Two steps of pixels of three bytes: half the shuffles outweigh the stores across cache lines.
HWY_INLINE void mirror_two_steps(const uint8_t *in, uint8_t *out) {
  static constexpr MirrorTables<3, 6, 32> kTables;
  const Bytes d;
  const auto table = [&](int part, int block) { return hn::Load(d, kTables.order[part][block]); };
  const auto blocks = [&](int block) { return hn::LoadDup128(d, in + 16 * block); };
  const auto pick = [&](int part, int block) {
    return hn::TableLookupBytesOr0(blocks(block), table(part, block));
  };
  // The middle register's low block is of one step, its high one of the other.
  const auto pick_both = [&](int low, int high) {
    return hn::TableLookupBytesOr0(hn::ConcatUpperLower(d, blocks(high), blocks(low)),
                                   hn::ConcatUpperLower(d, table(1, high), table(1, low)));
  };
  hn::StoreU(hn::Or(hn::Or(pick(0, 5), pick(0, 4)), pick(0, 3)), d, out);
  hn::StoreU(hn::Or(pick_both(4, 2), pick_both(3, 1)), d, out + 32);
  hn::StoreU(hn::Or(hn::Or(pick(2, 2), pick(2, 1)), pick(2, 0)), d, out + 64);
}

#endif

// The pixels before `end`.
template <size_t kPixelBytes>
HWY_INLINE void mirror_four_steps(const uint8_t *end, uint8_t *out) {
  constexpr ptrdiff_t kBytes = kPixelBytes * mirrored_pixels<kPixelBytes>();
#if HWY_TARGET == HWY_AVX2
  if constexpr (kPixelBytes == 3) {
    mirror_two_steps(end - 2 * kBytes, out);
    mirror_two_steps(end - 4 * kBytes, out + 2 * kBytes);
    return;
  }
#endif
  for (int32_t i = 0; i < 4; ++i) {
    mirror_step<kPixelBytes>(end - (i + 1) * kBytes, out + i * kBytes);
  }
}

template <size_t kPixelBytes>
HWY_INLINE int32_t mirror_unrolled(const uint8_t *in, int32_t columns, uint8_t *out) {
  constexpr int32_t kPixels = 4 * mirrored_pixels<kPixelBytes>();
  constexpr ptrdiff_t kBytes = kPixelBytes * kPixels;
  int32_t x = 0;
  in += static_cast<ptrdiff_t>(kPixelBytes) * columns;
  for (; x <= columns - kPixels; x += kPixels, in -= kBytes, out += kBytes) {
    mirror_four_steps<kPixelBytes>(in, out);
  }
  return x;
}

#endif  // TAVRINE_IS_X86

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
