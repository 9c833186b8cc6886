// The truncated luma of rgb.h for NEON. Included once for each
// instruction set.
#if defined(TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_ARM_INL_H_
#undef TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_ARM_INL_H_
#else
#define TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_ARM_INL_H_
#endif

#include "kernels/color/row_steps-inl.h"
#include "kernels/color/truncated_luma-inl.h"
#include "kernels/vector-inl.h"

#if TAVRINE_IS_NEON

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

// Recomputes those of `kCount` lumas whose bit is set in `suspects`. Usually that is a single one;
// where there are more, the picture has grey places, and these are looked up first.
template <int32_t kRed, int32_t kCount>
HWY_NOINLINE void recompute_lumas(const uint8_t *pixels, uint32_t suspects, uint8_t *lumas) {
  static constexpr GreysRoundedDown kGreysRoundedDown;
  alignas(16) static constexpr uint8_t kBits[16] = {1, 2, 4, 8, 16, 32, 64, 128};
  const auto recompute_next = [&] {
    const size_t x = hwy::Num0BitsBelowLS1Bit_Nonzero32(suspects);
    scalar::truncated_luma_row(pixels + 3 * x, kRed, 1, lumas + x);
    suspects &= suspects - 1;
  };
  recompute_next();
  if (suspects == 0) {
    return;
  }
  const BytesInBlock d;
  for (int32_t x = 0; x < kCount; x += 16) {
    hn::VFromD<BytesInBlock> first, second, third;
    hn::LoadInterleaved3(d, pixels + 3 * x, first, second, third);
    const auto is_grey = hn::And(hn::Eq(first, second), hn::Eq(second, third));
    const auto place = hn::ShiftRight<3>(first);
    const auto place_in_half = hn::And(place, hn::Set(d, 15));
    const auto bits = hn::IfThenElse(
        hn::TestBit(place, hn::Set(d, 16)),
        hn::TableLookupBytes(hn::Load(d, kGreysRoundedDown.bits + 16), place_in_half),
        hn::TableLookupBytes(hn::Load(d, kGreysRoundedDown.bits), place_in_half));
    const auto bit = hn::TableLookupBytes(hn::Load(d, kBits), hn::And(first, hn::Set(d, 7)));
    const auto less = hn::IfThenElseZero(hn::Eq(hn::And(bits, bit), bit), hn::Set(d, 1));
    const auto luma_of_grey = hn::Sub(first, less);
    hn::StoreU(hn::IfThenElse(is_grey, luma_of_grey, hn::LoadU(d, lumas + x)), d, lumas + x);
    uint8_t grey_bits[8] = {};
    hn::StoreMaskBits(d, is_grey, grey_bits);
    suspects &= ~(static_cast<uint32_t>(grey_bits[0] | grey_bits[1] << 8) << x);
  }
  while (suspects != 0) {
    recompute_next();
  }
}

// Whether a byte of the mask is set.
HWY_INLINE bool has_any(uint8x16_t mask) {
  const uint8x8_t half = vorr_u8(vget_low_u8(mask), vget_high_u8(mask));
  return vget_lane_u32(vreinterpret_u32_u8(vpmax_u8(half, half)), 0) != 0;
}

// 256 times the luma. Of the weights times 65536, 38470, 19595 and 7471, the high byte (rounded to
// nearest) makes the integer sum 150 G + 77 R + 29 B, and what is left over, 70 G - 117 R + 47 B,
// is added after a rounding shift:
//
//   256 s / 1000 = 150 G + 77 R + 29 B + (70 G - 117 R + 47 B) / 256 + e
//
// The error of the result is at most 0.856, less than one, so the high byte is floor(s / 1000)
// unless the low byte is 0. That holds for every colour; 3.9 in 1000 have a low byte of 0.
HWY_INLINE uint16x8_t luma_parts(uint8x8_t r, uint8x8_t g, uint8x8_t b) {
  const uint16x8_t parts =
      vmlal_u8(vmlal_u8(vmull_u8(g, vdup_n_u8(150)), r, vdup_n_u8(77)), b, vdup_n_u8(29));
  const uint16x8_t rest =
      vmlsl_u8(vmlal_u8(vmull_u8(g, vdup_n_u8(70)), b, vdup_n_u8(47)), r, vdup_n_u8(117));
  return vreinterpretq_u16_s16(
      vrsraq_n_s16(vreinterpretq_s16_u16(parts), vreinterpretq_s16_u16(rest), 8));
}

// A bit for each byte that is zero.
HWY_INLINE uint32_t zeros(uint8x16_t first, uint8x16_t second) {
  const uint8x8_t bit = vcreate_u8(0x8040201008040201);
  const auto bits_of_half = [&](uint8x16_t v) {
    const uint8x16_t bits = vandq_u8(vceqq_u8(v, vdupq_n_u8(0)), vcombine_u8(bit, bit));
    return vpadd_u8(vget_low_u8(bits), vget_high_u8(bits));
  };
  const uint8x8_t bits = vpadd_u8(bits_of_half(first), bits_of_half(second));
  return vget_lane_u32(vreinterpret_u32_u8(vpadd_u8(bits, bits)), 0);
}

// Stores the high bytes of 16 pixels and returns the low ones.
template <int32_t kRed>
HWY_INLINE uint8x16_t store_high_bytes(const uint8_t *&pixels, uint8_t *&lumas) {
  uint8x16_t parts[2];
  for (uint8x16_t &half : parts) {
    const uint8x8x3_t rgb = vld3_u8(pixels);
    advance(pixels, 24);
    half = vreinterpretq_u8_u16(luma_parts(rgb.val[kRed], rgb.val[1], rgb.val[2 - kRed]));
  }
  const uint8x16x2_t split = vuzpq_u8(parts[0], parts[1]);
  vst1q_u8(lumas, split.val[1]);
  advance(lumas, 16);
  return split.val[0];
}

// Writes the lumas of `count` pixels, a multiple of kPixelsInStep.
template <int32_t kRed>
HWY_INLINE void truncated_lumas(const uint8_t *pixels, int32_t count, uint8_t *lumas) {
  const uint8_t *end = lumas + count;
  while (lumas != end) {
    uint8x16_t first, second;
    // A loop of its own, without calls, keeps the weights in their registers.
    do {
      first = store_high_bytes<kRed>(pixels, lumas);
      second = store_high_bytes<kRed>(pixels, lumas);
      if (has_any(vceqq_u8(vminq_u8(first, second), vdupq_n_u8(0)))) {
        recompute_lumas<kRed, kPixelsInStep>(pixels - 3 * kPixelsInStep, zeros(first, second),
                                             lumas - kPixelsInStep);
        break;
      }
    } while (lumas != end);
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_NEON

#endif  // include guard of this instruction set
