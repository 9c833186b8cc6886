// Tiles of pixels, transposed in registers on SSSE3, SSE4 and AVX2: the steps of rotate.cpp.
// Included once for each instruction set.
#if defined(TAVRINE_KERNELS_ROTATE_TRANSPOSE_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_ROTATE_TRANSPOSE_X86_INL_H_
#undef TAVRINE_KERNELS_ROTATE_TRANSPOSE_X86_INL_H_
#else
#define TAVRINE_KERNELS_ROTATE_TRANSPOSE_X86_INL_H_
#endif

#include <cstring>
#include <type_traits>

#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_X86

// A square of N x N lanes that fill blocks of 16 bytes: log2(N) rounds, each of which interleaves
// row i with row i + N/2, transpose it. Registers of two blocks hold two squares.
template <class Lane, class V, size_t kSide>
HWY_INLINE void transpose_squares(V (&rows)[kSide]) {
  const hn::Repartition<Lane, hn::DFromV<V>> d;
  const hn::DFromV<V> bytes;
  for (size_t step = 1; step < kSide; step *= 2) {
    V mixed[kSide];
    for (size_t i = 0; i < kSide / 2; ++i) {
      const auto above = hn::BitCast(d, rows[i]);
      const auto below = hn::BitCast(d, rows[i + kSide / 2]);
      mixed[2 * i] = hn::BitCast(bytes, hn::InterleaveLower(d, above, below));
      mixed[2 * i + 1] = hn::BitCast(bytes, hn::InterleaveUpper(d, above, below));
    }
    for (size_t i = 0; i < kSide; ++i) {
      rows[i] = mixed[i];
    }
  }
}

// A block of a source row; in registers of two blocks, that of the row `distance` bytes on as well.
template <class D>
HWY_INLINE hn::VFromD<D> load_rows(D d, const uint8_t *in, ptrdiff_t distance) {
  if constexpr (hn::MaxLanes(D()) == 16) {
    static_cast<void>(distance);
    return hn::LoadU(d, in);
  } else {
    return load_blocks(in, distance);
  }
}

// Pixels of 1, 2 and 4 bytes. With rows[i] of a register of two blocks made of source rows i and
// i + kSide, as BGRA,
//
//   rows[0]  a0 a1 a2 a3 | e0 e1 e2 e3            a0 b0 c0 d0 | e0 f0 g0 h0
//   rows[1]  b0 b1 b2 b3 | f0 f1 f2 f3   become   a1 b1 c1 d1 | e1 f1 g1 h1
//   rows[2]  c0 c1 c2 c3 | g0 g1 g2 g3            a2 b2 c2 d2 | e2 f2 g2 h2
//   rows[3]  d0 d1 d2 d3 | h0 h1 h2 h3            a3 b3 c3 d3 | e3 f3 g3 h3
template <size_t kPixelBytes, class D>
struct TileOf {
  static constexpr int32_t kRows = 16 / kPixelBytes;
  static constexpr int32_t kColumns = static_cast<int32_t>(hn::MaxLanes(D()) / kPixelBytes);
  static constexpr int32_t kAreaRows = 32;
  static constexpr int32_t kAreaColumns = 64;

  static HWY_INLINE void transpose(const uint8_t *in, ptrdiff_t in_step, uint8_t *out,
                                   ptrdiff_t out_step) {
    using Lane = std::conditional_t<kPixelBytes == 1, uint8_t,
                                    std::conditional_t<kPixelBytes == 2, uint16_t, uint32_t>>;
    const D d;
    hn::VFromD<D> rows[kRows];
    for (int32_t i = 0; i < kRows; ++i) {
      rows[i] = load_rows(d, in + in_step * i, in_step * kRows);
    }
    transpose_squares<Lane>(rows);
    for (int32_t i = 0; i < kRows; ++i) {
      hn::StoreU(rows[i], d, out + out_step * i);
    }
  }
};

// Pixels of 3 bytes travel as 4, of which the last is 0. Eight of a source row fill 24 bytes: two
// loads that overlap give four each, and nothing beyond the eight is read.
template <class D>
struct TileOf<3, D> {
  static constexpr int32_t kRows = 8;
  static constexpr int32_t kColumns = static_cast<int32_t>(hn::MaxLanes(D()) / 4);
  static constexpr int32_t kAreaRows = 32;
  static constexpr int32_t kAreaColumns = 64;

  static HWY_INLINE void transpose(const uint8_t *in, ptrdiff_t in_step, uint8_t *out,
                                   ptrdiff_t out_step) {
    alignas(16) static constexpr uint8_t kFirst[16] = {0, 1, 2, 0x80, 3, 4,  5,  0x80,
                                                       6, 7, 8, 0x80, 9, 10, 11, 0x80};
    alignas(16) static constexpr uint8_t kLast[16] = {4,  5,  6,  0x80, 7,  8,  9,  0x80,
                                                      10, 11, 12, 0x80, 13, 14, 15, 0x80};
    transpose_four(in, kFirst, in_step, out, out_step);
    transpose_four(in + 8, kLast, in_step, out + 4 * out_step, out_step);
  }

 private:
  // The four pixels that `order` takes from each source row become four destination rows.
  static HWY_INLINE void transpose_four(const uint8_t *in, const uint8_t *order, ptrdiff_t in_step,
                                        uint8_t *out, ptrdiff_t out_step) {
    const D d;
    hn::VFromD<D> rows[4];
    for (int32_t i = 0; i < 4; ++i) {
      rows[i] = hn::TableLookupBytesOr0(load_rows(d, in + in_step * i, in_step * 4),
                                        hn::LoadDup128(d, order));
    }
    transpose_squares<uint32_t>(rows);
    for (int32_t i = 0; i < 4; ++i) {
      store_pixels(rows[i], out + out_step * i);
    }
  }

  // Stores twelve bytes of each block.
  static HWY_INLINE void store_pixels(hn::VFromD<D> pixels, uint8_t *out) {
    alignas(16) static constexpr uint8_t kClose[16] = {0,  1,  2,  4,  5,    6,    8,    9,
                                                       10, 12, 13, 14, 0x80, 0x80, 0x80, 0x80};
    const D d;
    const hn::Half<BytesInBlock> half;
    const auto close = hn::TableLookupBytesOr0(pixels, hn::LoadDup128(d, kClose));
    if constexpr (kColumns == 4) {
      hn::StoreU(hn::LowerHalf(half, close), half, out);
      const uint32_t last =
          hn::GetLane(hn::BitCast(hn::Full128<uint32_t>(), hn::ShiftRightBytes<8>(d, close)));
      std::memcpy(out + 8, &last, sizeof(last));
    } else {
      // The gap of four bytes between the blocks closes, too.
      const hn::Repartition<uint32_t, D> d32;
      alignas(32) static constexpr int32_t kGather[8] = {0, 1, 2, 4, 5, 6, 3, 7};
      const auto dwords =
          hn::TableLookupLanes(hn::BitCast(d32, close), hn::SetTableIndices(d32, kGather));
      const auto joined = hn::BitCast(d, dwords);
      hn::StoreU(hn::LowerHalf(BytesInBlock(), joined), BytesInBlock(), out);
      hn::StoreU(hn::LowerHalf(half, hn::UpperHalf(BytesInBlock(), joined)), half, out + 16);
    }
  }
};

template <size_t kPixelBytes>
using Tile = TileOf<kPixelBytes, Bytes>;
template <size_t kPixelBytes>
using NarrowTile = TileOf<kPixelBytes, BytesInBlock>;

#endif  // TAVRINE_IS_X86

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
