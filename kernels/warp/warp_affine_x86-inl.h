// SSSE3, SSE4 and AVX2: the step of the affine warp. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_WARP_WARP_AFFINE_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_AFFINE_X86_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_AFFINE_X86_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_AFFINE_X86_INL_H_
#endif

#include "kernels/warp/warp_affine_positions-inl.h"
#include "kernels/warp/warp_affine_scalar.h"
#include "kernels/warp/warp_neighbours_x86-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_X86

// A clamped step must not read beyond its neighbours, which that of three channels does.
template <int kChannels>
constexpr bool kCanClamp = kChannels != 3;

// The weights of left and right neighbours as bytes, twice in each lane: 32 - u, u, 32 - u, u.
HWY_INLINE hn::VFromD<Bytes> row_weights(hn::VFromD<Ints> u) {
  const auto pair = hn::Sub(hn::ShiftLeft<8>(u), u);
  return hn::BitCast(Bytes(),
                     hn::Add(hn::Or(hn::ShiftLeft<16>(pair), pair),
                             hn::Set(Ints(), scalar::kSubpixels << 16 | scalar::kSubpixels)));
}

// The weights of upper and lower neighbours as words: 32 - v, v.
HWY_INLINE hn::VFromD<Words> column_weights(hn::VFromD<Ints> v) {
  return hn::BitCast(
      Words(), hn::Add(hn::Sub(hn::ShiftLeft<16>(v), v), hn::Set(Ints(), scalar::kSubpixels)));
}

// From all four neighbours of a channel in a lane.
HWY_INLINE hn::VFromD<Ints> blend_lanes(hn::VFromD<Bytes> neighbours, hn::VFromD<Bytes> along_row,
                                        hn::VFromD<Words> along_column) {
  const auto sum = multiply_words(multiply_bytes(neighbours, along_row), along_column);
  return hn::ShiftRight<2 * scalar::kSubpixelBits>(
      hn::Add(sum, hn::Set(Ints(), scalar::kSubpixels * scalar::kSubpixels / 2)));
}

// The rows' sums a and b are at most 32 * 255 = 8160, so 16 bits hold 4 (b - a). With v_512 = 512
// v, the upper half of the product is v (b - a) >> 5, and
//
//   (32 a + v (b - a) + 512) >> 10 = (a + (v (b - a) >> 5) + 16) >> 5
//
// because 32 a and 512 are multiples of 32. The rounding multiplication by 2^10 adds 16 and shifts.
HWY_INLINE hn::VFromD<Words> blend_sums(hn::VFromD<Words> upper, hn::VFromD<Words> lower,
                                        hn::VFromD<Words> v_512) {
  const auto difference = hn::ShiftLeft<2>(hn::Sub(lower, upper));
  const auto sum = hn::Add(upper, hn::MulHigh(difference, v_512));
  return hn::MulFixedPoint15(sum, hn::Set(Words(), 1 << (15 - scalar::kSubpixelBits)));
}

HWY_INLINE hn::VFromD<Words> blend_words(hn::VFromD<Bytes> upper, hn::VFromD<Bytes> lower,
                                         hn::VFromD<Bytes> along_row, hn::VFromD<Words> v_512) {
  return blend_sums(multiply_bytes(upper, along_row), multiply_bytes(lower, along_row), v_512);
}

template <int kChannels, bool kClamps>
HWY_INLINE void warp_step(const PlaneView &source, scalar::Offset row, const int32_t *x_offsets,
                          const int32_t *y_offsets, uint8_t *out) {
  const Ints d;
  const AffinePositions positions =
      compute_positions<kChannels, kClamps>(source, row, x_offsets, y_offsets);
  alignas(32) int32_t offsets[kPixelsInWarpStep];
  hn::Store(positions.offset, d, offsets);
  const uint8_t *lower = source.data + source.stride;
  const auto along_row = row_weights(positions.u);
  if constexpr (kChannels == 1) {
    const auto pixels = blend_lanes(load_grey_neighbours<!kClamps>(source.data, lower, offsets),
                                    along_row, column_weights(positions.v));
    const hn::Rebind<uint8_t, Ints> bytes;
    hn::StoreU(hn::DemoteTo(bytes, pixels), bytes, out);
    return;
  }
  const auto twice_lower = [&](auto lanes) {
    const auto ints = hn::BitCast(d, lanes);
    return hn::BitCast(hn::DFromV<decltype(lanes)>(), hn::InterleaveLower(d, ints, ints));
  };
  const auto twice_upper = [&](auto lanes) {
    const auto ints = hn::BitCast(d, lanes);
    return hn::BitCast(hn::DFromV<decltype(lanes)>(), hn::InterleaveUpper(d, ints, ints));
  };
  if constexpr (kChannels == 2) {
    const auto along_column = column_weights(positions.v);
    const auto low = blend_lanes(load_two_channel_neighbours(source.data, lower, offsets, 0),
                                 twice_lower(along_row), twice_lower(along_column));
    const auto high = blend_lanes(load_two_channel_neighbours(source.data, lower, offsets, 2),
                                  twice_upper(along_row), twice_upper(along_column));
    const hn::Half<Bytes> bytes;
    hn::StoreU(hn::DemoteTo(bytes, hn::ReorderDemote2To(Words(), low, high)), bytes, out);
    return;
  }
  const auto v_512 = hn::ShiftLeft<9>(positions.v);
  const auto v_words = hn::BitCast(Words(), hn::Or(v_512, hn::ShiftLeft<16>(v_512)));
  const auto low = blend_words(load_neighbours<kChannels>(source.data, offsets, 0),
                               load_neighbours<kChannels>(lower, offsets, 0),
                               twice_lower(along_row), twice_lower(v_words));
  const auto high = blend_words(load_neighbours<kChannels>(source.data, offsets, 2),
                                load_neighbours<kChannels>(lower, offsets, 2),
                                twice_upper(along_row), twice_upper(v_words));
  const auto pixels = pack_in_blocks(low, high);
  if constexpr (kChannels == 3) {
    store_three_channels(pixels, out);
  } else {
    hn::StoreU(pixels, Bytes(), out);
  }
}

#endif  // TAVRINE_IS_X86

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
