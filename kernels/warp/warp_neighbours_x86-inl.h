// SSSE3, SSE4 and AVX2: loads the neighbours of scattered positions. Included once for each
// instruction set.
#if defined(TAVRINE_KERNELS_WARP_WARP_NEIGHBOURS_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_NEIGHBOURS_X86_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_NEIGHBOURS_X86_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_NEIGHBOURS_X86_INL_H_
#endif

#include <cstring>

#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_X86

// As many pixels as a register holds positions.
constexpr int32_t kPixelsInWarpStep = hn::MaxLanes(Ints());

// Source columns right of the right neighbours that loading may read.
template <int kChannels>
constexpr int32_t kOverreadColumns = kChannels == 3                             ? 1
                                     : kChannels == 1 && HWY_TARGET == HWY_AVX2 ? 2
                                                                                : 0;

template <typename Value>
HWY_INLINE Value load_as(const uint8_t *bytes) {
  Value value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

// A register of blocks: that of pixel `first`, and on AVX2 that of the pixel four further on.
template <class Block>
HWY_INLINE hn::VFromD<Bytes> blocks_of(int32_t first, Block block) {
#if HWY_TARGET == HWY_AVX2
  return hn::VFromD<Bytes>{_mm256_set_m128i(block(first + 4), block(first))};
#else
  return hn::VFromD<Bytes>{block(first)};
#endif
}

// Two times eight bytes a block: from the places of pixels `first` and `first` + 1 of each four.
HWY_INLINE hn::VFromD<Bytes> load_pairs(const uint8_t *base, const int32_t *offsets,
                                        int32_t first) {
  return blocks_of(first, [&](int32_t i) {
    return _mm_set_epi64x(load_as<int64_t>(base + offsets[i + 1]),
                          load_as<int64_t>(base + offsets[i]));
  });
}

// The same of three or four channels, with both neighbours of a channel side by side. L and R are
// the left and the right neighbour, 0 to 3 the channels:
//
//   three channels   loaded  L0 L1 L2 R0 R1 R2  -  -     result  L0 R0 L1 R1 L2 R2  0  0
//   four channels    loaded  L0 L1 L2 L3 R0 R1 R2 R3     result  L0 R0 L1 R1 L2 R2 L3 R3
template <int kChannels>
HWY_INLINE hn::VFromD<Bytes> load_neighbours(const uint8_t *base, const int32_t *offsets,
                                             int32_t first) {
  static constexpr ShuffleTable kThree(
      {0, 3, 1, 4, 2, 5, 0x80, 0x80, 8, 11, 9, 12, 10, 13, 0x80, 0x80});
  static constexpr ShuffleTable kFour({0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15});
  return hn::TableLookupBytesOr0(load_pairs(base, offsets, first),
                                 (kChannels == 3 ? kThree : kFour).load());
}

// All four neighbours of a step's grey pixels, four bytes each: upper left, upper right, lower
// left, lower right. The faster way reads two bytes more.
template <bool kMayOverread>
HWY_INLINE hn::VFromD<Bytes> load_grey_neighbours(const uint8_t *upper, const uint8_t *lower,
                                                  const int32_t *offsets) {
#if HWY_TARGET == HWY_AVX2
  if constexpr (kMayOverread) {
    const Ints d;
    const auto at = hn::Load(d, offsets);
    const auto above = hn::GatherOffset(d, reinterpret_cast<const int32_t *>(upper), at);
    const auto below = hn::GatherOffset(d, reinterpret_cast<const int32_t *>(lower), at);
    return hn::BitCast(Bytes(), hn::OddEven(hn::BitCast(Words(), hn::ShiftLeft<16>(below)),
                                            hn::BitCast(Words(), above)));
  }
#endif
  return blocks_of(0, [&](int32_t i) {
    const auto above = [&](int32_t at) { return load_as<int16_t>(upper + offsets[i + at]); };
    const auto below = [&](int32_t at) { return load_as<int16_t>(lower + offsets[i + at]); };
    return _mm_set_epi16(below(3), above(3), below(2), above(2), below(1), above(1), below(0),
                         above(0));
  });
}

// All four neighbours of both channels, for two pixels a block as in load_pairs: four bytes a
// channel, in the order of load_grey_neighbours.
HWY_INLINE hn::VFromD<Bytes> load_two_channel_neighbours(const uint8_t *upper, const uint8_t *lower,
                                                         const int32_t *offsets, int32_t first) {
  static constexpr ShuffleTable kOrder({0, 2, 4, 6, 1, 3, 5, 7, 8, 10, 12, 14, 9, 11, 13, 15});
  const auto pixels = blocks_of(first, [&](int32_t i) {
    return _mm_set_epi32(
        load_as<int32_t>(lower + offsets[i + 1]), load_as<int32_t>(upper + offsets[i + 1]),
        load_as<int32_t>(lower + offsets[i]), load_as<int32_t>(upper + offsets[i]));
  });
  return hn::TableLookupBytes(pixels, kOrder.load());
}

// Moves the pixels of three channels in each block, which are four bytes apart, close together.
HWY_INLINE hn::VFromD<Bytes> pack_three_channels(hn::VFromD<Bytes> pixels) {
  static constexpr ShuffleTable kPacked(
      {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0x80, 0x80, 0x80, 0x80});
  return hn::TableLookupBytesOr0(pixels, kPacked.load());
}

// Stores the first 12 bytes.
HWY_INLINE void store_12(hn::VFromD<BytesInBlock> bytes, uint8_t *out) {
  const hn::Full64<uint8_t> d;
  hn::StoreU(hn::LowerHalf(d, bytes), d, out);
  const auto last = static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(bytes.raw, 8)));
  std::memcpy(out + 8, &last, sizeof last);
}

// Stores the first 12 bytes of each block.
HWY_INLINE void store_packed_pixels(hn::VFromD<Bytes> packed, uint8_t *out) {
#if HWY_TARGET == HWY_AVX2
  const __m256i joined =
      _mm256_permutevar8x32_epi32(packed.raw, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
  const hn::VFromD<Bytes> bytes{joined};
  const BytesInBlock d;
  hn::StoreU(hn::LowerHalf(d, bytes), d, out);
  hn::StoreU(hn::LowerHalf(hn::UpperHalf(d, bytes)), hn::Half<BytesInBlock>(), out + 16);
#else
  store_12(packed, out);
#endif
}

// Stores a step's pixels of three channels, which are four bytes apart.
HWY_INLINE void store_three_channels(hn::VFromD<Bytes> pixels, uint8_t *out) {
  store_packed_pixels(pack_three_channels(pixels), out);
}

// The same of two registers, of which each block holds four pixels: first those of the lower
// blocks of both, then those of the upper ones.
HWY_INLINE void store_three_channels(hn::VFromD<Bytes> first, hn::VFromD<Bytes> second,
                                     uint8_t *out) {
  const auto a = pack_three_channels(first);
  const auto b = pack_three_channels(second);
  const BytesInBlock d;
  // Each store writes four bytes too many; the next one overwrites them.
#if HWY_TARGET == HWY_AVX2
  hn::StoreU(hn::LowerHalf(d, a), d, out);
  hn::StoreU(hn::LowerHalf(d, b), d, out + 12);
  hn::StoreU(hn::UpperHalf(d, a), d, out + 24);
  store_12(hn::UpperHalf(d, b), out + 36);
#else
  hn::StoreU(a, d, out);
  store_12(b, out + 12);
#endif
}

#endif  // TAVRINE_IS_X86

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
