// Loading the neighbours of scattered positions into vectors. Included once for each instruction
// set.
#if defined(TAVRINE_KERNELS_WARP_WARP_NEIGHBOURS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_NEIGHBOURS_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_NEIGHBOURS_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_NEIGHBOURS_INL_H_
#endif

#include <cstring>
#include <utility>

#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_NEON

// Pixels of a step.
constexpr int32_t kPixelsInWarpStep = 8;

// Source columns beyond the right neighbours at which loading may look.
template <int kChannels>
constexpr int32_t kColumnsSeenBeyond = 0;

// The left and the right neighbours of the pixels of a step, channel by channel.
template <int kChannels>
struct NeighbourPairs {
  uint8x8_t left[kChannels];
  uint8x8_t right[kChannels];
};

#define TAVRINE_LOAD_LANES(type, load_all, load_lane)                            \
  template <size_t... kLanes>                                                    \
  HWY_INLINE type load_lane##s(const uint8_t *base, const int32_t *offsets,      \
                               std::index_sequence<kLanes...>) {                 \
    type result = load_all(base + offsets[0]);                                   \
    ((result = load_lane(base + offsets[kLanes + 1], result, kLanes + 1)), ...); \
    return result;                                                               \
  }
TAVRINE_LOAD_LANES(uint8x8x2_t, vld2_dup_u8, vld2_lane_u8)
TAVRINE_LOAD_LANES(uint8x8x3_t, vld3_dup_u8, vld3_lane_u8)
TAVRINE_LOAD_LANES(uint8x8x4_t, vld4_dup_u8, vld4_lane_u8)
#undef TAVRINE_LOAD_LANES

// The pairs of pixels that begin at `offsets` from the base.
template <int kChannels>
HWY_INLINE NeighbourPairs<kChannels> load_pairs(const uint8_t *base, const int32_t *offsets) {
  constexpr std::make_index_sequence<kPixelsInWarpStep - 1> kOthers;
  if constexpr (kChannels == 1) {
    const uint8x8x2_t both = vld2_lane_u8s(base, offsets, kOthers);
    return {{both.val[0]}, {both.val[1]}};
  } else if constexpr (kChannels == 2) {
    const uint8x8x4_t both = vld4_lane_u8s(base, offsets, kOthers);
    return {{both.val[0], both.val[1]}, {both.val[2], both.val[3]}};
  } else if constexpr (kChannels == 3) {
    const uint8x8x3_t left = vld3_lane_u8s(base, offsets, kOthers);
    const uint8x8x3_t right = vld3_lane_u8s(base + 3, offsets, kOthers);
    return {{left.val[0], left.val[1], left.val[2]}, {right.val[0], right.val[1], right.val[2]}};
  } else {
    const uint8x8x4_t left = vld4_lane_u8s(base, offsets, kOthers);
    const uint8x8x4_t right = vld4_lane_u8s(base + 4, offsets, kOthers);
    return {{left.val[0], left.val[1], left.val[2], left.val[3]},
            {right.val[0], right.val[1], right.val[2], right.val[3]}};
  }
}

#elif TAVRINE_IS_X86

// As many pixels as a register holds positions.
constexpr int32_t kPixelsInWarpStep = hn::MaxLanes(Ints());

template <typename Value>
HWY_INLINE Value load_as(const uint8_t *bytes) {
  Value value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

// Eight bytes from each of two places a block, those of pixels `first` and `first` + 1 of each
// four.
HWY_INLINE hn::VFromD<Bytes> load_pairs(const uint8_t *base, const int32_t *offsets,
                                        int32_t first) {
  const auto block = [&](int32_t i) {
    return _mm_set_epi64x(load_as<int64_t>(base + offsets[i + 1]),
                          load_as<int64_t>(base + offsets[i]));
  };
#if HWY_TARGET == HWY_AVX2
  return hn::VFromD<Bytes>{_mm256_set_m128i(block(first + 4), block(first))};
#else
  return hn::VFromD<Bytes>{block(first)};
#endif
}

// The same of pixels of three or four channels, both neighbours of a channel side by side. Those
// of three channels leave the last two bytes unused.
template <int kChannels>
HWY_INLINE hn::VFromD<Bytes> load_neighbours(const uint8_t *base, const int32_t *offsets,
                                             int32_t first) {
  alignas(32) constexpr uint8_t kThree[32] = {
      0, 3, 1, 4, 2, 5, 0x80, 0x80, 8, 11, 9, 12, 10, 13, 0x80, 0x80,
      0, 3, 1, 4, 2, 5, 0x80, 0x80, 8, 11, 9, 12, 10, 13, 0x80, 0x80};
  alignas(32) constexpr uint8_t kFour[32] = {0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15,
                                             0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15};
  return hn::TableLookupBytesOr0(load_pairs(base, offsets, first),
                                 hn::Load(Bytes(), kChannels == 3 ? kThree : kFour));
}

// All four neighbours of a step's grey pixels, four bytes each. The faster way looks at two bytes
// more.
template <bool kLooksBeyond>
HWY_INLINE hn::VFromD<Bytes> load_grey_neighbours(const uint8_t *upper, const uint8_t *lower,
                                                  const int32_t *offsets) {
#if HWY_TARGET == HWY_AVX2
  if constexpr (kLooksBeyond) {
    const Ints d;
    const auto at = hn::Load(d, offsets);
    const auto above = hn::GatherOffset(d, reinterpret_cast<const int32_t *>(upper), at);
    const auto below = hn::GatherOffset(d, reinterpret_cast<const int32_t *>(lower), at);
    return hn::BitCast(Bytes(), hn::OddEven(hn::BitCast(Words(), hn::ShiftLeft<16>(below)),
                                            hn::BitCast(Words(), above)));
  }
#endif
  const auto block = [&](int32_t i) {
    const auto above = [&](int32_t at) { return load_as<int16_t>(upper + offsets[i + at]); };
    const auto below = [&](int32_t at) { return load_as<int16_t>(lower + offsets[i + at]); };
    return _mm_set_epi16(below(3), above(3), below(2), above(2), below(1), above(1), below(0),
                         above(0));
  };
#if HWY_TARGET == HWY_AVX2
  return hn::VFromD<Bytes>{_mm256_set_m128i(block(4), block(0))};
#else
  return hn::VFromD<Bytes>{block(0)};
#endif
}

// All four neighbours of both channels of two pixels a block, as load_pairs chooses them.
HWY_INLINE hn::VFromD<Bytes> load_two_channel_neighbours(const uint8_t *upper, const uint8_t *lower,
                                                         const int32_t *offsets, int32_t first) {
  alignas(32) constexpr uint8_t kOrder[32] = {0, 2, 4, 6, 1, 3, 5, 7, 8, 10, 12, 14, 9, 11, 13, 15,
                                              0, 2, 4, 6, 1, 3, 5, 7, 8, 10, 12, 14, 9, 11, 13, 15};
  const auto block = [&](int32_t i) {
    return _mm_set_epi32(
        load_as<int32_t>(lower + offsets[i + 1]), load_as<int32_t>(upper + offsets[i + 1]),
        load_as<int32_t>(lower + offsets[i]), load_as<int32_t>(upper + offsets[i]));
  };
#if HWY_TARGET == HWY_AVX2
  const hn::VFromD<Bytes> pixels{_mm256_set_m128i(block(first + 4), block(first))};
#else
  const hn::VFromD<Bytes> pixels{block(first)};
#endif
  return hn::TableLookupBytes(pixels, hn::Load(Bytes(), kOrder));
}

// Source columns beyond the right neighbours at which loading may look.
template <int kChannels>
constexpr int32_t kColumnsSeenBeyond = kChannels == 3                             ? 1
                                       : kChannels == 1 && HWY_TARGET == HWY_AVX2 ? 2
                                                                                  : 0;

// Stores a step's pixels of three channels, which are four bytes apart.
HWY_INLINE void store_three_channels(hn::VFromD<Bytes> pixels, uint8_t *out) {
  alignas(32) constexpr uint8_t kClose[32] = {
      0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0x80, 0x80, 0x80, 0x80,
      0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0x80, 0x80, 0x80, 0x80};
  const auto close = hn::TableLookupBytesOr0(pixels, hn::Load(Bytes(), kClose));
#if HWY_TARGET == HWY_AVX2
  const __m256i joined =
      _mm256_permutevar8x32_epi32(close.raw, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
  const hn::VFromD<Bytes> bytes{joined};
  const BytesInBlock d;
  hn::StoreU(hn::LowerHalf(d, bytes), d, out);
  hn::StoreU(hn::LowerHalf(hn::UpperHalf(d, bytes)), hn::Half<BytesInBlock>(), out + 16);
#else
  const hn::Full64<uint8_t> d;
  hn::StoreU(hn::LowerHalf(d, close), d, out);
  const auto last = static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(close.raw, 8)));
  std::memcpy(out + 8, &last, sizeof last);
#endif
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
