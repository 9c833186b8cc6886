// A step of the affine warp in vectors: a few pixels of a row. Included once for each instruction
// set.
#if defined(TAVRINE_KERNELS_WARP_WARP_AFFINE_STEP_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_AFFINE_STEP_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_AFFINE_STEP_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_AFFINE_STEP_INL_H_
#endif

#include "kernels/warp/warp_affine_scalar.h"
#include "kernels/warp/warp_neighbours-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_HAS_VECTORS

// Of a register of pixels: where the upper left neighbour lies, and the steps beyond it.
struct Positions {
  hn::VFromD<Ints> offset;
  hn::VFromD<Ints> u;
  hn::VFromD<Ints> v;
};

// Positions outside move to the edge: beyond the last pixel, all steps are taken from the last
// but one.
template <bool kClamps>
HWY_INLINE hn::VFromD<Ints> whole_pixels(hn::VFromD<Ints> &position, int32_t length) {
  if constexpr (kClamps) {
    position = hn::Max(position, hn::Zero(Ints()));
    return hn::Min(hn::ShiftRight<scalar::kPositionBits>(position), hn::Set(Ints(), length - 2));
  } else {
    return hn::ShiftRight<scalar::kPositionBits>(position);
  }
}

template <bool kClamps>
HWY_INLINE hn::VFromD<Ints> steps(hn::VFromD<Ints> position, hn::VFromD<Ints> pixels) {
  constexpr int kBits = scalar::kPositionBits - scalar::kStepBits;
  const auto all = hn::ShiftRight<kBits>(position);
  if constexpr (kClamps) {
    return hn::Min(hn::Sub(all, hn::ShiftLeft<scalar::kStepBits>(pixels)),
                   hn::Set(Ints(), scalar::kSteps));
  } else {
    return hn::And(all, hn::Set(Ints(), scalar::kSteps - 1));
  }
}

template <int kChannels, bool kClamps>
HWY_INLINE Positions settle(const PlaneView &source, scalar::Offset row, const int32_t *x_offsets,
                            const int32_t *y_offsets) {
  const Ints d;
  auto x = hn::Add(hn::LoadU(d, x_offsets), hn::Set(d, row.x));
  auto y = hn::Add(hn::LoadU(d, y_offsets), hn::Set(d, row.y));
  const auto column = whole_pixels<kClamps>(x, source.columns);
  const auto line = whole_pixels<kClamps>(y, source.rows);
  const auto start = kChannels == 1   ? column
                     : kChannels == 2 ? hn::ShiftLeft<1>(column)
                     : kChannels == 4 ? hn::ShiftLeft<2>(column)
                                      : hn::Add(hn::ShiftLeft<1>(column), column);
  return {hn::Add(hn::Mul(line, hn::Set(d, static_cast<int32_t>(source.stride))), start),
          steps<kClamps>(x, column), steps<kClamps>(y, line)};
}

// Clamped steps must not look beyond their neighbours, which three channels do on x86.
template <int kChannels>
constexpr bool kCanClamp = TAVRINE_IS_NEON || kChannels != 3;

#endif  // TAVRINE_HAS_VECTORS

#if TAVRINE_IS_NEON

// In words: (32 a + v (b - a) + 512) >> 10 is (a + (v (b - a) >> 5) + 16) >> 5.
HWY_INLINE uint8x8_t blend(uint8x8_t p00, uint8x8_t p01, uint8x8_t p10, uint8x8_t p11,
                           uint8x8_t left_weight, uint8x8_t right_weight, int16x8_t v_256) {
  const auto along_row = [&](uint8x8_t left, uint8x8_t right) {
    return vreinterpretq_s16_u16(vmlal_u8(vmull_u8(left, left_weight), right, right_weight));
  };
  const int16x8_t upper = along_row(p00, p01);
  const int16x8_t lower = along_row(p10, p11);
  const int16x8_t difference = vshlq_n_s16(vsubq_s16(lower, upper), 2);
  return vqrshrun_n_s16(vaddq_s16(upper, vqdmulhq_s16(difference, v_256)), scalar::kStepBits);
}

template <int kChannels, bool kClamps>
HWY_INLINE void warp_step(const PlaneView &source, scalar::Offset row, const int32_t *x_offsets,
                          const int32_t *y_offsets, uint8_t *out) {
  const Positions low = settle<kChannels, kClamps>(source, row, x_offsets, y_offsets);
  const Positions high = settle<kChannels, kClamps>(source, row, x_offsets + 4, y_offsets + 4);
  int32_t offsets[kPixelsInWarpStep];
  vst1q_s32(offsets, low.offset.raw);
  vst1q_s32(offsets + 4, high.offset.raw);
  const auto words = [](hn::VFromD<Ints> a, hn::VFromD<Ints> b) {
    return vcombine_s16(vmovn_s32(a.raw), vmovn_s32(b.raw));
  };
  const int16x8_t v_256 = vshlq_n_s16(words(low.v, high.v), 8);
  const uint8x8_t right_weight = vmovn_u16(vreinterpretq_u16_s16(words(low.u, high.u)));
  const uint8x8_t left_weight = vsub_u8(vdup_n_u8(scalar::kSteps), right_weight);
  const auto upper = load_pairs<kChannels>(source.data, offsets);
  const auto lower = load_pairs<kChannels>(source.data + source.stride, offsets);
  const auto channel = [&](int i) {
    return blend(upper.left[i], upper.right[i], lower.left[i], lower.right[i], left_weight,
                 right_weight, v_256);
  };
  if constexpr (kChannels == 1) {
    vst1_u8(out, channel(0));
  } else if constexpr (kChannels == 2) {
    vst2_u8(out, {{channel(0), channel(1)}});
  } else if constexpr (kChannels == 3) {
    vst3_u8(out, {{channel(0), channel(1), channel(2)}});
  } else {
    vst4_u8(out, {{channel(0), channel(1), channel(2), channel(3)}});
  }
}

#elif TAVRINE_IS_X86

// The weights of left and right neighbours as bytes, twice in each lane.
HWY_INLINE hn::VFromD<Bytes> row_weights(hn::VFromD<Ints> u) {
  const auto pair = hn::Sub(hn::ShiftLeft<8>(u), u);
  return hn::BitCast(Bytes(), hn::Add(hn::Or(hn::ShiftLeft<16>(pair), pair),
                                      hn::Set(Ints(), scalar::kSteps << 16 | scalar::kSteps)));
}

// The weights of upper and lower neighbours as words.
HWY_INLINE hn::VFromD<Words> column_weights(hn::VFromD<Ints> v) {
  return hn::BitCast(Words(),
                     hn::Add(hn::Sub(hn::ShiftLeft<16>(v), v), hn::Set(Ints(), scalar::kSteps)));
}

// From all four neighbours of a channel in a lane.
HWY_INLINE hn::VFromD<Ints> blend_lanes(hn::VFromD<Bytes> neighbours, hn::VFromD<Bytes> along_row,
                                        hn::VFromD<Words> along_column) {
  const auto sum = multiply_words(multiply_bytes(neighbours, along_row), along_column);
  return hn::ShiftRight<2 * scalar::kStepBits>(
      hn::Add(sum, hn::Set(Ints(), scalar::kSteps * scalar::kSteps / 2)));
}

// In words: (32 a + v (b - a) + 512) >> 10 is (a + (v (b - a) >> 5) + 16) >> 5.
HWY_INLINE hn::VFromD<Words> blend_words(hn::VFromD<Bytes> upper, hn::VFromD<Bytes> lower,
                                         hn::VFromD<Bytes> along_row, hn::VFromD<Words> v_512) {
  const auto above = multiply_bytes(upper, along_row);
  const auto below = multiply_bytes(lower, along_row);
  const auto difference = hn::ShiftLeft<2>(hn::Sub(below, above));
  const auto sum = hn::Add(above, hn::MulHigh(difference, v_512));
  return hn::MulFixedPoint15(sum, hn::Set(Words(), 1 << (15 - scalar::kStepBits)));
}

template <int kChannels, bool kClamps>
HWY_INLINE void warp_step(const PlaneView &source, scalar::Offset row, const int32_t *x_offsets,
                          const int32_t *y_offsets, uint8_t *out) {
  const Ints d;
  const Positions positions = settle<kChannels, kClamps>(source, row, x_offsets, y_offsets);
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

#endif

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
