// Runs of pixels in reverse order. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_ROTATE_MIRROR_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_ROTATE_MIRROR_INL_H_
#undef TAVRINE_KERNELS_ROTATE_MIRROR_INL_H_
#else
#define TAVRINE_KERNELS_ROTATE_MIRROR_INL_H_
#endif

#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_NEON

// Pixels in a step.
template <size_t kPixelBytes>
constexpr int32_t reversed_pixels() {
  return kPixelBytes == 1 ? 32 : kPixelBytes == 2 ? 16 : 8;
}

// The load gives every byte of a pixel a register of its own, or of four and two pixels that are
// shorter, so that no pixel is torn apart.
template <size_t kPixelBytes>
HWY_INLINE void reverse_step(const uint8_t *in, uint8_t *out) {
  if constexpr (kPixelBytes == 3) {
    const uint8x8x3_t v = vld3_u8(in);
    vst3_u8(out, uint8x8x3_t{{vrev64_u8(v.val[0]), vrev64_u8(v.val[1]), vrev64_u8(v.val[2])}});
  } else {
    const uint8x8x4_t v = vld4_u8(in);
    // Pixels within the four bytes change places, too.
    constexpr int kFlip = 4 - kPixelBytes;
    vst4_u8(out, uint8x8x4_t{{vrev64_u8(v.val[0 ^ kFlip]), vrev64_u8(v.val[1 ^ kFlip]),
                              vrev64_u8(v.val[2 ^ kFlip]), vrev64_u8(v.val[3 ^ kFlip])}});
  }
}

// Reverses many steps and returns how many pixels.
template <size_t kPixelBytes>
HWY_INLINE int32_t reverse_most(const uint8_t *in, int32_t columns, uint8_t *out) {
  constexpr int32_t kStep = reversed_pixels<kPixelBytes>();
  constexpr ptrdiff_t kBytes = kPixelBytes * kStep;
  int32_t x = 0;
  if (columns >= 5 * kStep) {
    in += kPixelBytes * (columns - kStep);
    ptrdiff_t back = -kBytes;
    make_opaque(back);
    for (; x <= columns - 5 * kStep; x += 4 * kStep) {
      for (int32_t i = 0; i < 4; ++i) {
        reverse_step<kPixelBytes>(in, out);
        in += back;
        make_opaque(in);
        out += kBytes;
        make_opaque(out);
      }
    }
  }
  return x;
}

#elif TAVRINE_IS_X86

// Blocks of 16 bytes, one filled by pixels or three by pixels of three bytes. For the former, twice
// as long ones are slower: every other store crosses a cache line when rows are not aligned.
template <size_t kPixelBytes>
constexpr int blocks_in_step() {
  return kPixelBytes == 3 ? 3 : 1;
}

template <size_t kPixelBytes>
constexpr int32_t reversed_pixels() {
  return 16 * blocks_in_step<kPixelBytes>() / kPixelBytes;
}

// Where each byte of reversed pixels comes from. They fill registers of kRegisterBytes.
template <size_t kPixelBytes, int kBlocks, int kRegisterBytes>
struct ReversalTables {
  // Register of the result, block of the source.
  alignas(kRegisterBytes) uint8_t order[16 * kBlocks / kRegisterBytes][kBlocks][kRegisterBytes];

  constexpr ReversalTables() : order() {
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
HWY_INLINE void reverse_step(const uint8_t *in, uint8_t *out) {
  static constexpr ReversalTables<kPixelBytes, blocks_in_step<kPixelBytes>(), 16> kTables;
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
HWY_INLINE void reverse_two_steps(const uint8_t *in, uint8_t *out) {
  static constexpr ReversalTables<3, 6, 32> kTables;
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
HWY_INLINE void reverse_four_steps(const uint8_t *end, uint8_t *out) {
  constexpr ptrdiff_t kBytes = kPixelBytes * reversed_pixels<kPixelBytes>();
#if HWY_TARGET == HWY_AVX2
  if constexpr (kPixelBytes == 3) {
    reverse_two_steps(end - 2 * kBytes, out);
    reverse_two_steps(end - 4 * kBytes, out + 2 * kBytes);
    return;
  }
#endif
  for (int32_t i = 0; i < 4; ++i) {
    reverse_step<kPixelBytes>(end - (i + 1) * kBytes, out + i * kBytes);
  }
}

// Reverses many steps and returns how many pixels.
template <size_t kPixelBytes>
HWY_INLINE int32_t reverse_most(const uint8_t *in, int32_t columns, uint8_t *out) {
  constexpr int32_t kPixels = 4 * reversed_pixels<kPixelBytes>();
  constexpr ptrdiff_t kBytes = kPixelBytes * kPixels;
  int32_t x = 0;
  in += static_cast<ptrdiff_t>(kPixelBytes) * columns;
  for (; x <= columns - kPixels; x += kPixels, in -= kBytes, out += kBytes) {
    reverse_four_steps<kPixelBytes>(in, out);
  }
  return x;
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
