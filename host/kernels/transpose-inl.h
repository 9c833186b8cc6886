// Square tiles of pixels, turned in registers. Included once for each instruction set.
#if defined(TAVRINE_HOST_KERNELS_TRANSPOSE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_HOST_KERNELS_TRANSPOSE_INL_H_
#undef TAVRINE_HOST_KERNELS_TRANSPOSE_INL_H_
#else
#define TAVRINE_HOST_KERNELS_TRANSPOSE_INL_H_
#endif

#include <cstring>

#include "host/kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_HAS_VECTORS

// Pixels along a side of a tile: as many as a block of 16 bytes holds. Three bytes travel as four.
template <size_t kPixelBytes>
constexpr int32_t tile_side() {
  return kPixelBytes == 1 ? 16 : kPixelBytes == 2 ? 8 : 4;
}

using Block = hn::VFromD<BytesInBlock>;

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
  constexpr int32_t kSide = tile_side<kPixelBytes>();
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

// The pixels of a block in reverse order.
template <size_t kPixelBytes>
HWY_INLINE Block reverse_pixels(Block block) {
  if constexpr (kPixelBytes == 4) {
    const hn::Full128<uint32_t> d;
    return hn::BitCast(BytesInBlock(), hn::Reverse(d, hn::BitCast(d, block)));
  } else {
    // Five of three bytes stand behind a byte of no use, and it comes out last.
    constexpr int32_t kCount = 16 / kPixelBytes;
    constexpr int32_t kUnused = 16 % kPixelBytes;
    alignas(16) uint8_t order[16];
    for (int32_t i = 0; i < 16; ++i) {
      const int32_t pixel = i / static_cast<int32_t>(kPixelBytes);
      order[i] = static_cast<uint8_t>(
          pixel < kCount ? kUnused + (kCount - 1 - pixel) * kPixelBytes + i % kPixelBytes : 0x80);
    }
    return hn::TableLookupBytesOr0(block, hn::Load(BytesInBlock(), order));
  }
}

#endif  // TAVRINE_HAS_VECTORS

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
