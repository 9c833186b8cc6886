// The luma that truncates a sum in double precision, in words. Included once for each
// instruction set.
#if defined(TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_INL_H_
#undef TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_INL_H_
#else
#define TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_INL_H_
#endif

#include <cstring>

#include "kernels/color/packed_pixels-inl.h"
#include "kernels/color/rgb_scalar.h"
#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_HAS_VECTORS

// The truncated luma is the integer quotient of s = 587 G + 299 R + 114 B and 1000, but for one
// case. Where s is a multiple of 1000 the sum in double precision may fall just short of the
// quotient. That is one pixel in a thousand, and every grey one.

// A bit for each grey level whose luma is one less.
struct ShortGreys {
  alignas(16) uint8_t bits[32];

  constexpr ShortGreys() : bits() {
    for (int grey = 0; grey < 256; ++grey) {
      const bool is_short = static_cast<int>(grey * 0.587 + grey * 0.299 + grey * 0.114) < grey;
      bits[grey / 8] = static_cast<uint8_t>(bits[grey / 8] | is_short << grey % 8);
    }
  }
};

// Corrects those of `kCount` lumas that a bit of `doubts` stands for, by definition. That is a
// single one, or the picture has grey places.
template <int32_t kRed, int32_t kCount>
HWY_NOINLINE void mend_lumas(const uint8_t *pixels, uint32_t doubts, uint8_t *lumas) {
  static constexpr ShortGreys kShortGreys;
  alignas(16) static constexpr uint8_t kBits[16] = {1, 2, 4, 8, 16, 32, 64, 128};
  const auto mend_next = [&] {
    const size_t x = hwy::Num0BitsBelowLS1Bit_Nonzero32(doubts);
    scalar::weigh_luma(pixels + 3 * x, kRed, 1, lumas + x);
    doubts &= doubts - 1;
  };
  mend_next();
  if (doubts == 0) {
    return;
  }
  const BytesInBlock d;
  for (int32_t x = 0; x < kCount; x += 16) {
    hn::VFromD<BytesInBlock> first, second, third;
    hn::LoadInterleaved3(d, pixels + 3 * x, first, second, third);
    const auto is_grey = hn::And(hn::Eq(first, second), hn::Eq(second, third));
    const auto place = hn::ShiftRight<3>(first);
    const auto place_in_half = hn::And(place, hn::Set(d, 15));
    const auto bits =
        hn::IfThenElse(hn::TestBit(place, hn::Set(d, 16)),
                       hn::TableLookupBytes(hn::Load(d, kShortGreys.bits + 16), place_in_half),
                       hn::TableLookupBytes(hn::Load(d, kShortGreys.bits), place_in_half));
    const auto bit = hn::TableLookupBytes(hn::Load(d, kBits), hn::And(first, hn::Set(d, 7)));
    const auto less = hn::IfThenElseZero(hn::Eq(hn::And(bits, bit), bit), hn::Set(d, 1));
    const auto luma_of_grey = hn::Sub(first, less);
    hn::StoreU(hn::IfThenElse(is_grey, luma_of_grey, hn::LoadU(d, lumas + x)), d, lumas + x);
    uint8_t grey_bits[8] = {};
    hn::StoreMaskBits(d, is_grey, grey_bits);
    doubts &= ~(static_cast<uint32_t>(grey_bits[0] | grey_bits[1] << 8) << x);
  }
  while (doubts != 0) {
    mend_next();
  }
}

#endif

#if TAVRINE_IS_NEON

// Whether a byte of the mask is set.
HWY_INLINE bool has_any(uint8x16_t mask) {
  const uint8x8_t half = vorr_u8(vget_low_u8(mask), vget_high_u8(mask));
  return vget_lane_u32(vreinterpret_u32_u8(vpmax_u8(half, half)), 0) != 0;
}

// Lumas in parts of 256, good for half a part more or less: whole parts by weights that are
// rounded, and by what was rounded away from them. Those that no part is left over from are the
// exact quotients, and others that are too close to tell.
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

// Stores the lumas of 16 pixels and returns the parts left over.
template <int32_t kRed>
HWY_INLINE uint8x16_t store_whole_parts(const uint8_t *&pixels, uint8_t *&lumas) {
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
      first = store_whole_parts<kRed>(pixels, lumas);
      second = store_whole_parts<kRed>(pixels, lumas);
      if (has_any(vceqq_u8(vminq_u8(first, second), vdupq_n_u8(0)))) {
        mend_lumas<kRed, kPixelsInStep>(pixels - 3 * kPixelsInStep, zeros(first, second),
                                        lumas - kPixelsInStep);
        break;
      }
    } while (lumas != end);
  }
}

#elif TAVRINE_IS_X86

// With v = s / 4, rounded up, the quotient is v / 250, or (v * 33554) >> 23:
//
//   v = 146 G + 74 R + 28 B + (e + 3) / 4, e = 3 G + 3 R + 2 B
//
// The reciprocal is rounded down, so multiples of 1000 fall just short of their quotient, and all
// seven bits behind it are set. No other multiple of 8 is that close; s is one where e is.
constexpr uint16_t kReciprocal = 33554;  // 2^23 / 250
using UnsignedWords = hn::ScalableTag<uint16_t>;

// Stores the lumas of a register of pixels, and sets all bits of the rests of multiples of 1000.
template <int32_t kRed>
HWY_INLINE void store_quotients(const uint8_t *&pixels, uint8_t *&lumas,
                                hn::VFromD<UnsignedWords> (&rests)[2]) {
  const UnsignedWords d;
  PixelWords words[2];
  load_pixel_words(pixels, words);
  hn::VFromD<Words> quotients[2];
  for (int32_t i = 0; i < 2; ++i) {
    // -16 e: a shift rounds its quarters up.
    const auto sixteenths = weigh<kRed, -48, -48, -32>(words[i]);
    const auto v = hn::Sub(weigh<kRed, 74, 146, 28>(words[i]), hn::ShiftRight<6>(sixteenths));
    const auto product = hn::MulHigh(hn::BitCast(d, v), hn::Set(d, kReciprocal));
    quotients[i] = hn::BitCast(Words(), hn::ShiftRight<7>(product));
    rests[i] = hn::Or(hn::AndNot(hn::BitCast(d, sixteenths), product), hn::Set(d, 0xFF80));
  }
  hn::StoreU(pack_pixels(quotients[0], quotients[1]), Bytes(), lumas);
  pixels += 3 * byte_lanes();
  lumas += byte_lanes();
}

// Writes the lumas of `count` pixels, a multiple of kPixelsInStep.
template <int32_t kRed>
HWY_INLINE void truncated_lumas(const uint8_t *pixels, int32_t count, uint8_t *lumas) {
  const UnsignedWords d;
  const auto is_multiple = [&](hn::VFromD<UnsignedWords> rest) {
    return hn::Eq(rest, hn::Set(d, 0xFFFF));
  };
  const auto one_if_multiple = [&](hn::VFromD<UnsignedWords> rest) {
    return hn::BitCast(Words(), hn::IfThenElseZero(is_multiple(rest), hn::Set(d, 1)));
  };
  const uint8_t *end = lumas + count;
  while (lumas != end) {
    hn::VFromD<UnsignedWords> rests[2];
    // A loop of its own, without calls, keeps the weights in their registers.
    do {
      store_quotients<kRed>(pixels, lumas, rests);
      if (!hn::AllFalse(d, is_multiple(hn::Max(rests[0], rests[1])))) {
        const auto bytes = pack_pixels(one_if_multiple(rests[0]), one_if_multiple(rests[1]));
        uint8_t bits[8] = {};
        hn::StoreMaskBits(Bytes(), hn::Ne(bytes, hn::Zero(Bytes())), bits);
        uint32_t doubts = 0;
        std::memcpy(&doubts, bits, sizeof(doubts));
        mend_lumas<kRed, HWY_LANES(uint8_t)>(pixels - 3 * byte_lanes(), doubts,
                                             lumas - byte_lanes());
        break;
      }
    } while (lumas != end);
  }
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
