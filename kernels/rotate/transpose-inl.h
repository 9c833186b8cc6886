// Tiles of pixels, turned in registers. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_ROTATE_TRANSPOSE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_ROTATE_TRANSPOSE_INL_H_
#undef TAVRINE_KERNELS_ROTATE_TRANSPOSE_INL_H_
#else
#define TAVRINE_KERNELS_ROTATE_TRANSPOSE_INL_H_
#endif

#include <cstring>

#include "kernels/rotate/transpose_arm-inl.h"
#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_HAS_VECTORS

using Block = hn::VFromD<BytesInBlock>;

#if !TAVRINE_IS_ARMV7

// What a tile covers of the destination: along each side as many pixels as a block of 16 bytes
// holds. Three bytes travel as four.
template <size_t kPixelBytes>
struct Tile {
  static constexpr int32_t kRows = kPixelBytes == 1 ? 16 : kPixelBytes == 2 ? 8 : 4;
  static constexpr int32_t kColumns = kRows;
  // That a plane must have. Source rows of a tile of three bytes a pixel are looked at together
  // with two pixels more, behind or before them.
  static constexpr int32_t kLeastRows = kPixelBytes == 3 ? kRows + 3 : kRows;
};

// Weaving rows with those half a tile below, once for each bit of a row's number, exchanges rows
// and columns.
template <class Lane, int32_t kSide>
HWY_INLINE void transpose(Block (&rows)[kSide]) {
  const hn::Full128<Lane> d;
  for (int32_t step = 1; step < kSide; step *= 2) {
    Block woven[kSide];
    for (int32_t i = 0; i < kSide / 2; ++i) {
      const auto above = hn::BitCast(d, rows[i]);
      const auto below = hn::BitCast(d, rows[i + kSide / 2]);
      woven[2 * i] = hn::BitCast(BytesInBlock(), hn::InterleaveLower(d, above, below));
      woven[2 * i + 1] = hn::BitCast(BytesInBlock(), hn::InterleaveUpper(d, above, below));
    }
    for (int32_t i = 0; i < kSide; ++i) {
      rows[i] = woven[i];
    }
  }
}

// Four pixels of three bytes, from a block that begins or ends with them.
HWY_INLINE Block spread_pixels(const uint8_t *pixels, bool block_begins_here) {
  alignas(16) constexpr uint8_t kFirst[16] = {0, 1, 2, 0x80, 3, 4,  5,  0x80,
                                              6, 7, 8, 0x80, 9, 10, 11, 0x80};
  alignas(16) constexpr uint8_t kLast[16] = {4,  5,  6,  0x80, 7,  8,  9,  0x80,
                                             10, 11, 12, 0x80, 13, 14, 15, 0x80};
  const BytesInBlock d;
  return hn::TableLookupBytesOr0(hn::LoadU(d, block_begins_here ? pixels : pixels - 4),
                                 hn::Load(d, block_begins_here ? kFirst : kLast));
}

// Stores twelve bytes, or sixteen where the last four do no harm.
HWY_INLINE void store_spread_pixels(Block block, uint8_t *pixels, bool has_room) {
  alignas(16) constexpr uint8_t kClose[16] = {0,  1,  2,  4,  5,    6,    8,    9,
                                              10, 12, 13, 14, 0x80, 0x80, 0x80, 0x80};
  const BytesInBlock d;
  const Block close = hn::TableLookupBytesOr0(block, hn::Load(d, kClose));
  if (has_room) {
    hn::StoreU(close, d, pixels);
    return;
  }
  alignas(16) uint8_t bytes[16];
  hn::Store(close, d, bytes);
  std::memcpy(pixels, bytes, 12);
}

// The tile's rows lie `in_step` bytes apart, upwards when negative, and its columns `out_step` in
// the destination. With three bytes a pixel it reads four bytes too many, behind its rows when
// `reads_on` and before them when not, and writes four too many when it has room.
template <size_t kPixelBytes>
HWY_INLINE void transpose_tile(const uint8_t *in, ptrdiff_t in_step, uint8_t *out,
                               ptrdiff_t out_step, bool reads_on, bool has_room) {
  constexpr int32_t kSide = Tile<kPixelBytes>::kRows;
  Block rows[kSide];
  for (int32_t i = 0; i < kSide; ++i) {
    if constexpr (kPixelBytes == 3) {
      rows[i] = spread_pixels(in + in_step * i, reads_on);
    } else {
      rows[i] = hn::LoadU(BytesInBlock(), in + in_step * i);
    }
  }
  if constexpr (kPixelBytes == 1) {
    transpose<uint8_t>(rows);
  } else if constexpr (kPixelBytes == 2) {
    transpose<uint16_t>(rows);
  } else {
    transpose<uint32_t>(rows);
  }
  for (int32_t i = 0; i < kSide; ++i) {
    if constexpr (kPixelBytes == 3) {
      store_spread_pixels(rows[i], out + out_step * i, has_room);
    } else {
      hn::StoreU(rows[i], BytesInBlock(), out + out_step * i);
    }
  }
}

#endif  // !TAVRINE_IS_ARMV7

#endif  // TAVRINE_HAS_VECTORS

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
