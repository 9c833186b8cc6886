// Tiles of pixels, transposed in registers on SSSE3, SSE4 and AVX2: the steps of rotate.cpp.
// Included once for each instruction set.
#if defined(TAVRINE_KERNELS_ROTATE_TRANSPOSE_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_ROTATE_TRANSPOSE_X86_INL_H_
#undef TAVRINE_KERNELS_ROTATE_TRANSPOSE_X86_INL_H_
#else
#define TAVRINE_KERNELS_ROTATE_TRANSPOSE_X86_INL_H_
#endif

#include <hwy/cache_control.h>

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

// Areas of both planes stay in the second-level cache, and their pages in the first-level TLB: a
// destination row seldom shares its page with the next.
struct AreaOfTiles {
  static constexpr int32_t kAreaRows = 128;
  static constexpr int32_t kAreaColumns = 64;

  static HWY_INLINE void prefetch(const uint8_t *, ptrdiff_t, int32_t) {}
};

// Pixels of 1, 2 and 4 bytes. With source rows i and i + kRows in the blocks of rows[i], as BGRA,
//
//   rows[0]  a0 a1 a2 a3 | e0 e1 e2 e3            a0 b0 c0 d0 | e0 f0 g0 h0
//   rows[1]  b0 b1 b2 b3 | f0 f1 f2 f3   become   a1 b1 c1 d1 | e1 f1 g1 h1
//   rows[2]  c0 c1 c2 c3 | g0 g1 g2 g3            a2 b2 c2 d2 | e2 f2 g2 h2
//   rows[3]  d0 d1 d2 d3 | h0 h1 h2 h3            a3 b3 c3 d3 | e3 f3 g3 h3
template <size_t kPixelBytes, class D>
struct TileOf : AreaOfTiles {
  static constexpr int32_t kRows = 16 / kPixelBytes;
  static constexpr int32_t kColumns = static_cast<int32_t>(hn::MaxLanes(D()) / kPixelBytes);

  static HWY_INLINE void transpose(const uint8_t *in, ptrdiff_t in_step, uint8_t *out,
                                   ptrdiff_t out_step) {
    using Lane = std::conditional_t<kPixelBytes == 1, uint8_t,
                                    std::conditional_t<kPixelBytes == 2, uint16_t, uint32_t>>;
    const D d;
    hn::VFromD<D> rows[16 / kPixelBytes];
    for (int32_t i = 0; i < kRows; ++i) {
      rows[i] = load_rows(d, in + in_step * i, in_step * kRows);
    }
    transpose_squares<Lane>(rows);
    for (int32_t i = 0; i < kRows; ++i) {
      hn::StoreU(rows[i], d, out + out_step * i);
    }
  }
};

// Pixels of 3 bytes. The 12 bytes of four pixels are transposed as three units of 4 bytes:
//
//   unit 0  r0 g0 b0 r1    unit 1  g1 b1 r2 g2    unit 2  b2 r3 g3 b3
//
// After that a register holds one unit of four source rows. Pixels 0 and 3 lie in units 0 and 2,
// pixel 1 in the upper words of unit 0 and the lower words of unit 1, pixel 2 in the upper words
// of unit 1 and the lower words of unit 2. One lookup packs each to 12 bytes. That is 11 shuffles
// for 4 x 4 pixels; four bytes for each pixel would take 16.
template <class D>
struct TileOf<3, D> : AreaOfTiles {
  static constexpr int32_t kRows = 8;
  static constexpr int32_t kColumns = static_cast<int32_t>(hn::MaxLanes(D()) / 2);

  static HWY_INLINE void transpose(const uint8_t *in, ptrdiff_t in_step, uint8_t *out,
                                   ptrdiff_t out_step) {
    // Eight pixels are 24 bytes: loads from bytes 0 and 8 hold four of them in units 0 to 2 and 1
    // to 3, and read nothing beyond the eight.
    transpose_four<0>(in, in_step, out, out_step);
    transpose_four<1>(in + 8, in_step, out + 4 * out_step, out_step);
  }

  // Source pixels 32 columns on, of one half of the rows and then of the other: a cache line lasts
  // for more than two tiles. Makes a whole rotation on AVX2 1.1 times as fast.
  static HWY_INLINE void prefetch(const uint8_t *in, ptrdiff_t in_step, int32_t row) {
    if constexpr (kColumns == 16) {
      const uint8_t *ahead = in + 3 * 32 + in_step * (row / kRows % 2 * 8);
      for (int32_t i = 0; i < 8; ++i) {
        hwy::Prefetch(ahead + in_step * i);
      }
    }
  }

 private:
  using V = hn::VFromD<D>;

  // Places of a pixel's bytes in its units, for packing four of them. The packed bytes are rotated
  // by kLow and kHigh bytes within the blocks.
  template <int kLow, int kHigh>
  struct PackTables {
    alignas(32) uint8_t order[4][32];

    constexpr PackTables() : order() {
      constexpr int kByte[4][3] = {{0, 1, 2}, {3, 0, 1}, {2, 3, 0}, {1, 2, 3}};
      for (int pixel = 0; pixel < 4; ++pixel) {
        for (int i = 0; i < 32; ++i) {
          const int packed = (i + 16 - (i < 16 ? kLow : kHigh)) % 16;
          order[pixel][i] =
              static_cast<uint8_t>(packed < 12 ? packed / 3 * 4 + kByte[pixel][packed % 3] : 0x80);
        }
      }
    }
  };

  // Pixel p of four source rows to pixels[p], in its units, for the four pixels that begin with
  // unit kFirst of the block. The other block is of the rows kColumns / 2 below.
  template <size_t kFirst>
  static HWY_INLINE void load_four(const uint8_t *in, ptrdiff_t in_step, V (&pixels)[4]) {
    const D d;
    const hn::Repartition<uint16_t, D> words;
    V units[4];
    for (int32_t i = 0; i < 4; ++i) {
      units[i] = load_rows(d, in + in_step * i, in_step * 8);
    }
    transpose_squares<uint32_t>(units);
    const auto mix = [&](size_t upper, size_t lower) {
      return hn::BitCast(
          d, hn::OddEven(hn::BitCast(words, units[upper]), hn::BitCast(words, units[lower])));
    };
    pixels[0] = units[kFirst];
    pixels[1] = mix(kFirst, kFirst + 1);
    pixels[2] = mix(kFirst + 1, kFirst + 2);
    pixels[3] = units[kFirst + 2];
  }

  template <size_t kFirst>
  static HWY_INLINE void transpose_four(const uint8_t *in, ptrdiff_t in_step, uint8_t *out,
                                        ptrdiff_t out_step) {
    static constexpr PackTables<0, 8> kEven;
    static constexpr PackTables<12, 4> kOdd;
    const D d;
    V even[4];
    V odd[4];
    load_four<kFirst>(in, in_step, even);
    load_four<kFirst>(in + 4 * in_step, in_step, odd);
    for (int32_t i = 0; i < 4; ++i) {
      store_row(hn::TableLookupBytesOr0(even[i], hn::Load(d, kEven.order[i])),
                hn::TableLookupBytesOr0(odd[i], hn::Load(d, kOdd.order[i])), out + out_step * i);
    }
  }

  // With twelve bytes of source rows 0 to 3, 4 to 7, ... as A0 A1 A2, B0 B1 B2, ... of four each:
  //
  //   even  A0 A1 A2 -- | C2 -- C0 C1     to   A0 A1 A2 B0   B1 B2 C0 C1   C2 D0 D1 D2
  //   odd   B1 B2 -- B0 | -- D0 D1 D2
  static HWY_INLINE void store_row(V even, V odd, uint8_t *out) {
    const BytesInBlock block;
    if constexpr (kColumns == 8) {
      const hn::Full128<uint32_t> d32;
      alignas(16) static constexpr uint32_t kLast[4] = {0, 0, 0, 0xFFFFFFFF};
      const hn::Half<BytesInBlock> half;
      hn::StoreU(hn::Or(even, hn::And(odd, hn::BitCast(block, hn::Load(d32, kLast)))), block, out);
      hn::StoreU(hn::LowerHalf(half, odd), half, out + 16);
    } else {
      store_three_blocks(even, odd, out);
    }
  }

#if HWY_TARGET == HWY_AVX2
  static HWY_INLINE void store_three_blocks(V even, V odd, uint8_t *out) {
    const __m256i ends = _mm256_blend_epi32(even.raw, odd.raw, 0xE8);
    const __m128i middle = _mm_blend_epi32(_mm256_castsi256_si128(odd.raw),
                                           _mm256_extracti128_si256(even.raw, 1), 0x0C);
    const auto store = [](__m128i block, uint8_t *bytes) {
      hn::StoreU(hn::VFromD<BytesInBlock>{block}, BytesInBlock(), bytes);
    };
    store(_mm256_castsi256_si128(ends), out);
    store(middle, out + 16);
    store(_mm256_extracti128_si256(ends, 1), out + 32);
  }
#endif
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
