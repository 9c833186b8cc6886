// The truncated luma of rgb.h for SSSE3, SSE4 and AVX2. Included once for each
// instruction set.
#if defined(TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_X86_INL_H_
#undef TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_X86_INL_H_
#else
#define TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_X86_INL_H_
#endif

#include "kernels/color/packed_pixels_x86-inl.h"
#include "kernels/color/truncated_luma-inl.h"
#include "kernels/vector-inl.h"

#if TAVRINE_IS_X86

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

// With s as in truncated_luma-inl.h,
//
//   x = 46 R + 82 G,  y = 38 B + 18 G,  s = (13 x + 6 y) / 2
//   z = 27263 x + 12583 y = 2^22 s / 1000 + e,  0 <= e < 2050
//
// where the two factors are 13 and 6 times 2^21 / 1000, rounded up: 27262.976 and 12582.912. A
// thousandth is 4194 in z, more than e, so z >> 22 is floor(s / 1000) for every colour. The 22 bits
// below are less than 2^12 for suspects, which have e alone, and no other colours. Both sums fit: x
// is at most 128 * 255 < 2^15 and z less than 2^30.
//
// A double word holds the bytes R, G, B, G of a pixel: one multiplication makes the words x and y
// of it, another one z.
using DoubleWords = hn::VFromD<Ints>;

// The pixels of a register of bytes, in four parts. See load_pixel_words() for their order, of
// which a part holds two groups, or one without AVX2.
template <int32_t kRed>
HWY_INLINE void load_wide_pixels(const uint8_t *pixels, hn::VFromD<Bytes> (&parts)[4]) {
  constexpr uint8_t kR = kRed;
  constexpr uint8_t kB = 2 - kRed;
  // The four pixels that a block begins with, and those that it ends with.
  alignas(16) static constexpr uint8_t kFirst[16] = {kR,     1, kB,     1, kR + 3, 4,  kB + 3, 4,
                                                     kR + 6, 7, kB + 6, 7, kR + 9, 10, kB + 9, 10};
  alignas(16) static constexpr uint8_t kLast[16] = {kR + 4,  5,  kB + 4,  5,  kR + 7,  8,
                                                    kB + 7,  8,  kR + 10, 11, kB + 10, 11,
                                                    kR + 13, 14, kB + 13, 14};
  const Bytes d;
  const BytesInBlock block;
  const auto first = hn::Load(block, kFirst);
  const auto last = hn::Load(block, kLast);
#if HWY_TARGET == HWY_AVX2
  const auto last_and_first = hn::Combine(d, first, last);
  parts[0] = hn::TableLookupBytes(load_blocks(pixels, 80), hn::Combine(d, last, first));
  parts[1] = hn::TableLookupBytes(hn::LoadU(d, pixels + 8), last_and_first);
  parts[2] = hn::TableLookupBytes(hn::LoadU(d, pixels + 32), last_and_first);
  parts[3] = hn::TableLookupBytes(hn::LoadU(d, pixels + 56), last_and_first);
#else
  parts[0] = hn::TableLookupBytes(hn::LoadU(d, pixels), first);
  parts[1] = hn::TableLookupBytes(hn::LoadU(d, pixels + 8), last);
  parts[2] = hn::TableLookupBytes(hn::LoadU(d, pixels + 24), first);
  parts[3] = hn::TableLookupBytes(hn::LoadU(d, pixels + 32), last);
#endif
}

// A byte for each pixel, in the order of the pixels, from a double word of 0 to 255 for each.
HWY_INLINE hn::VFromD<Bytes> pack_wide_pixels(const DoubleWords (&parts)[4]) {
  return pack_pixels(pack_in_blocks_signed(parts[0], parts[1]),
                     pack_in_blocks_signed(parts[2], parts[3]));
}

// z of each pixel, by parts.
HWY_INLINE void weigh_wide_pixels(const hn::VFromD<Bytes> (&pixels)[4], DoubleWords (&z)[4]) {
  const auto bytes = hn::BitCast(Bytes(), hn::Set(Ints(), 46 | 82 << 8 | 38 << 16 | 18 << 24));
  const auto words = hn::BitCast(Words(), hn::Set(Ints(), 27263 | 12583 << 16));
  for (int i = 0; i < 4; ++i) {
    z[i] = multiply_words(multiply_bytes(pixels[i], bytes), words);
  }
}

// The quotients floor(s / 1000) of a register of pixels, in the order of the pixels.
HWY_INLINE hn::VFromD<Bytes> quotients_of(const DoubleWords (&z)[4]) {
  DoubleWords quotients[4];
  for (int i = 0; i < 4; ++i) {
    quotients[i] = hn::ShiftRight<22>(z[i]);
  }
  return pack_wide_pixels(quotients);
}

// Zero for suspects.
HWY_INLINE DoubleWords rest_of(DoubleWords z) { return hn::And(z, hn::Set(Ints(), 0x3FF000)); }

HWY_INLINE bool has_suspects(const DoubleWords (&z)[4]) {
  const auto least =
      hn::Min(hn::Min(rest_of(z[0]), rest_of(z[1])), hn::Min(rest_of(z[2]), rest_of(z[3])));
  return !hn::AllFalse(Ints(), hn::Eq(least, hn::Zero(Ints())));
}

// All bits of the bytes of suspects, in the order of the pixels.
HWY_INLINE hn::VFromD<Bytes> suspects_of(const DoubleWords (&z)[4]) {
  DoubleWords masks[4];
  for (int i = 0; i < 4; ++i) {
    masks[i] = hn::VecFromMask(Ints(), hn::Eq(rest_of(z[i]), hn::Zero(Ints())));
  }
  return pack_masks(pack_in_blocks_signed(masks[0], masks[1]),
                    pack_in_blocks_signed(masks[2], masks[3]));
}

HWY_INLINE uint32_t bits_of(hn::VFromD<Bytes> mask) {
#if HWY_TARGET == HWY_AVX2
  return static_cast<uint32_t>(_mm256_movemask_epi8(mask.raw));
#else
  return static_cast<uint32_t>(_mm_movemask_epi8(mask.raw));
#endif
}

// Red of every pixel.
HWY_INLINE hn::VFromD<Bytes> reds_of(const hn::VFromD<Bytes> (&pixels)[4]) {
  DoubleWords reds[4];
  for (int i = 0; i < 4; ++i) {
    reds[i] = hn::And(hn::BitCast(Ints(), pixels[i]), hn::Set(Ints(), 0xFF));
  }
  return pack_wide_pixels(reds);
}

// Bytes of `high` where the highest bit of `selector` is set, else of `low`.
HWY_INLINE hn::VFromD<Bytes> select_by_highest_bit(hn::VFromD<Bytes> selector,
                                                   hn::VFromD<Bytes> high, hn::VFromD<Bytes> low) {
#if HWY_TARGET == HWY_AVX2
  return hn::VFromD<Bytes>{_mm256_blendv_epi8(low.raw, high.raw, selector.raw)};
#elif HWY_TARGET == HWY_SSE4
  return hn::VFromD<Bytes>{_mm_blendv_epi8(low.raw, high.raw, selector.raw)};
#else
  const hn::RebindToSigned<Bytes> d;
  const auto is_set = hn::BroadcastSignBit(hn::BitCast(d, selector));
  return hn::IfThenElse(hn::MaskFromVec(hn::BitCast(Bytes(), is_set)), high, low);
#endif
}

// The lumas of greys: a level less one where its bit is set.
HWY_INLINE hn::VFromD<Bytes> lumas_of_greys(hn::VFromD<Bytes> greys) {
  alignas(16) static constexpr uint8_t kBits[16] = {1, 2, 4, 8, 16, 32, 64, 128,
                                                    1, 2, 4, 8, 16, 32, 64, 128};
  const Bytes d;
  const auto low_bits = hn::Set(d, 15);
  const auto eighths = hn::BitCast(d, hn::ShiftRight<3>(hn::BitCast(Words(), greys)));
  const auto place = hn::And(eighths, low_bits);
  const auto look_up = [&](const uint8_t *table) {
    return hn::TableLookupBytes(hn::LoadDup128(d, table), place);
  };
  const auto bits = select_by_highest_bit(greys, look_up(kGreysRoundedDown.bits + 16),
                                          look_up(kGreysRoundedDown.bits));
  const auto bit = hn::TableLookupBytes(hn::LoadDup128(d, kBits), hn::And(greys, low_bits));
  const auto is_rounded_down = hn::VecFromMask(d, hn::Eq(hn::And(bits, bit), bit));
  return hn::Add(greys, is_rounded_down);  // -1
}

// Recomputes the lumas whose bits are set, by definition.
template <int32_t kRed>
HWY_INLINE void recompute_lumas(const uint8_t *pixels, uint32_t bits, uint8_t *lumas) {
  for (; bits != 0; bits &= bits - 1) {
    const size_t x = hwy::Num0BitsBelowLS1Bit_Nonzero32(bits);
    scalar::truncated_luma_row(pixels + 3 * x, kRed, 1, lumas + x);
  }
}

// There are three loops, each of which passes on what it is not made for. They are functions of
// their own to keep what they need in registers. All return the number of pixels done, from x on.
constexpr int32_t kRegisterPixels = HWY_LANES(uint8_t);

// Takes registers of greys. Stops at another colour.
template <int32_t kRed>
HWY_NOINLINE int32_t take_greys(const uint8_t *pixels, int32_t x, int32_t count, uint8_t *lumas) {
  for (; x < count; x += kRegisterPixels) {
    hn::VFromD<Bytes> parts[4];
    load_wide_pixels<kRed>(pixels + ptrdiff_t{3} * x, parts);
    // Red less green and blue less green.
    const auto differences = [&](int i) { return multiply_bytes(parts[i], byte_weights(1, -1)); };
    const auto any =
        hn::Or(hn::Or(differences(0), differences(1)), hn::Or(differences(2), differences(3)));
    if (!hn::AllTrue(Words(), hn::Eq(any, hn::Zero(Words())))) {
      break;
    }
    hn::StoreU(lumas_of_greys(reds_of(parts)), Bytes(), lumas + x);
  }
  return x;
}

// Takes registers of which some pixels are grey. Stops after some registers without greys.
template <int32_t kRed>
HWY_NOINLINE int32_t take_mixed(const uint8_t *pixels, int32_t x, int32_t count, uint8_t *lumas) {
  constexpr int32_t kPatience = 16;
  constexpr uint32_t kAllBits = kRegisterPixels == 32 ? 0xFFFFFFFF : 0xFFFF;
  const Bytes d;
  for (int32_t without_greys = 0; x < count && without_greys < kPatience;) {
    hn::VFromD<Bytes> parts[4];
    DoubleWords z[4];
    load_wide_pixels<kRed>(pixels + ptrdiff_t{3} * x, parts);
    weigh_wide_pixels(parts, z);
    const auto lower = quotients_of(z);
    // A suspect is grey if its red equals k = s / 1000: 587 (G - k) = 114 (k - B) with numbers from
    // 0 to 255 has no other solution than 0 = 0.
    const auto is_suspect = suspects_of(z);
    const auto is_grey = hn::And(is_suspect, hn::VecFromMask(d, hn::Eq(reds_of(parts), lower)));
    hn::StoreU(hn::IfThenElse(hn::MaskFromVec(is_grey), lumas_of_greys(lower), lower), d,
               lumas + x);
    const uint32_t greys = bits_of(is_grey);
    const uint32_t others = bits_of(is_suspect) ^ greys;
    if (others != 0) {
      recompute_lumas<kRed>(pixels + ptrdiff_t{3} * x, others, lumas + x);
    }
    // Without a branch, which would be mispredicted where greys are rare.
    without_greys = (without_greys + 1) & -static_cast<int32_t>(greys == 0);
    x += kRegisterPixels;
    if (greys == kAllBits) {
      x = take_greys<kRed>(pixels, x, count, lumas);
    }
  }
  return x;
}

// Recomputes the suspects of a register of pixels. Returns whether any of them is grey.
template <int32_t kRed>
HWY_NOINLINE bool take_suspects(const uint8_t *pixels, uint8_t *lumas) {
  hn::VFromD<Bytes> parts[4];
  DoubleWords z[4];
  load_wide_pixels<kRed>(pixels, parts);
  weigh_wide_pixels(parts, z);
  const auto is_suspect = suspects_of(z);
  const auto is_level = hn::VecFromMask(Bytes(), hn::Eq(reds_of(parts), quotients_of(z)));
  if (bits_of(hn::And(is_suspect, is_level)) != 0) {
    return true;
  }
  recompute_lumas<kRed>(pixels, bits_of(is_suspect), lumas);
  return false;
}

template <int32_t kRed>
HWY_INLINE void truncated_lumas(const uint8_t *pixels, int32_t count, uint8_t *lumas) {
  int32_t x = 0;
  while (x < count) {
    bool is_suspicious = false;
    do {
      hn::VFromD<Bytes> parts[4];
      DoubleWords z[4];
      load_wide_pixels<kRed>(pixels + ptrdiff_t{3} * x, parts);
      weigh_wide_pixels(parts, z);
      hn::StoreU(quotients_of(z), Bytes(), lumas + x);
      is_suspicious = has_suspects(z);
      x += kRegisterPixels;
    } while (!is_suspicious && x < count);
    const int32_t last = x - kRegisterPixels;
    if (is_suspicious && take_suspects<kRed>(pixels + ptrdiff_t{3} * last, lumas + last)) {
      x = take_mixed<kRed>(pixels, last, count, lumas);
    }
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_X86

#endif  // include guard of this instruction set
