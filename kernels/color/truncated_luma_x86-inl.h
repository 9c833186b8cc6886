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

// Shuffles of a block that make double words of the four pixels that it begins with (first) or ends
// with (last): both ways to combine them in a register.
template <uint8_t kR>
struct WidePixelControls {
  static constexpr uint8_t kB = 2 - kR;

  alignas(32) uint8_t first_last[32] = {kR,      1,  kB,      1,  kR + 3,  4,  kB + 3,  4,
                                        kR + 6,  7,  kB + 6,  7,  kR + 9,  10, kB + 9,  10,
                                        kR + 4,  5,  kB + 4,  5,  kR + 7,  8,  kB + 7,  8,
                                        kR + 10, 11, kB + 10, 11, kR + 13, 14, kB + 13, 14};
  alignas(32) uint8_t last_first[32] = {};

  constexpr WidePixelControls() {
    for (int i = 0; i < 32; ++i) {
      last_first[i] = first_last[(i + 16) % 32];
    }
  }
};

// The pixels of a register of bytes, in four parts. See load_pixel_words() for their order, of
// which a part holds two groups, or one without AVX2.
template <int32_t kRed>
HWY_INLINE void load_wide_pixels(const uint8_t *pixels, hn::VFromD<Bytes> (&parts)[4]) {
  static constexpr WidePixelControls<kRed> kControls;
  const Bytes d;
  const auto first_last = hn::Load(d, kControls.first_last);
  const auto last_first = hn::Load(d, kControls.last_first);
#if HWY_TARGET == HWY_AVX2
  parts[0] = hn::TableLookupBytes(load_blocks(pixels, 80), first_last);
  parts[1] = hn::TableLookupBytes(hn::LoadU(d, pixels + 8), last_first);
  parts[2] = hn::TableLookupBytes(hn::LoadU(d, pixels + 32), last_first);
  parts[3] = hn::TableLookupBytes(hn::LoadU(d, pixels + 56), last_first);
#else
  parts[0] = hn::TableLookupBytes(hn::LoadU(d, pixels), first_last);
  parts[1] = hn::TableLookupBytes(hn::LoadU(d, pixels + 8), last_first);
  parts[2] = hn::TableLookupBytes(hn::LoadU(d, pixels + 24), first_last);
  parts[3] = hn::TableLookupBytes(hn::LoadU(d, pixels + 32), last_first);
#endif
}

// A byte for each pixel from a double word for each, saturated. AVX2 orders them by
// in_pixel_order(), which what only compares them can do without.
HWY_INLINE hn::VFromD<Bytes> pack_wide_pixels(const DoubleWords (&parts)[4]) {
  return pack_in_blocks(pack_in_blocks_signed(parts[0], parts[1]),
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

// The quotients floor(s / 1000) of a register of pixels, packed.
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

// All bits of the bytes of suspects, packed.
HWY_INLINE hn::VFromD<Bytes> suspects_of(const DoubleWords (&z)[4]) {
  DoubleWords rests[4];
  for (int i = 0; i < 4; ++i) {
    rests[i] = rest_of(z[i]);
  }
  return hn::VecFromMask(Bytes(), hn::Eq(pack_wide_pixels(rests), hn::Zero(Bytes())));
}

HWY_INLINE uint32_t bits_of(hn::VFromD<Bytes> mask) {
#if HWY_TARGET == HWY_AVX2
  return static_cast<uint32_t>(_mm256_movemask_epi8(mask.raw));
#else
  return static_cast<uint32_t>(_mm_movemask_epi8(mask.raw));
#endif
}

// Red of every pixel, packed.
HWY_INLINE hn::VFromD<Bytes> reds_of(const hn::VFromD<Bytes> (&pixels)[4]) {
  DoubleWords reds[4];
  for (int i = 0; i < 4; ++i) {
    reds[i] = hn::And(hn::BitCast(Ints(), pixels[i]), hn::Set(Ints(), 0xFF));
  }
  return pack_wide_pixels(reds);
}

// The table of bits for the eight levels around each grey.
HWY_INLINE hn::VFromD<Bytes> bits_around(hn::VFromD<Bytes> greys) {
  static constexpr ShuffleTable kDark(kGreysRoundedDown.half(0));
  static constexpr ShuffleTable kLight(kGreysRoundedDown.half(1));
  const Bytes d;
  const auto eighths = hn::BitCast(d, hn::ShiftRight<3>(hn::BitCast(Words(), greys)));
#if HWY_TARGET == HWY_SSSE3
  // Each lookup gives zero for the half of the greys that the other one is for.
  const auto place = hn::And(eighths, hn::Set(d, 31));
  return hn::Or(hn::TableLookupBytesOr0(kDark.load(), hn::SaturatedAdd(place, hn::Set(d, 0x70))),
                hn::TableLookupBytesOr0(kLight.load(), hn::Sub(place, hn::Set(d, 16))));
#else
  const auto place = hn::And(eighths, hn::Set(d, 15));
  const auto dark = hn::TableLookupBytes(kDark.load(), place);
  const auto light = hn::TableLookupBytes(kLight.load(), place);
  // By the highest bit.
#if HWY_TARGET == HWY_AVX2
  return hn::VFromD<Bytes>{_mm256_blendv_epi8(dark.raw, light.raw, greys.raw)};
#else
  return hn::VFromD<Bytes>{_mm_blendv_epi8(dark.raw, light.raw, greys.raw)};
#endif
#endif
}

// -1 for greys whose luma is one lower, else 0.
HWY_INLINE hn::VFromD<Bytes> corrections_of_greys(hn::VFromD<Bytes> greys) {
  static constexpr ShuffleTable kBits({1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128});
  const Bytes d;
  const auto bit = hn::TableLookupBytes(kBits.load(), hn::And(greys, hn::Set(d, 15)));
  return hn::VecFromMask(d, hn::Eq(hn::And(bits_around(greys), bit), bit));
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
    const auto greys = reds_of(parts);
    hn::StoreU(in_pixel_order(hn::Add(greys, corrections_of_greys(greys))), Bytes(), lumas + x);
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
    const auto corrections = hn::And(is_grey, corrections_of_greys(lower));
    hn::StoreU(in_pixel_order(hn::Add(lower, corrections)), d, lumas + x);
    const uint32_t greys = bits_of(is_grey);
    if (bits_of(is_suspect) != greys) {
      const uint32_t others = bits_of(in_pixel_order(hn::Xor(is_suspect, is_grey)));
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
  recompute_lumas<kRed>(pixels, bits_of(in_pixel_order(is_suspect)), lumas);
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
      hn::StoreU(in_pixel_order(quotients_of(z)), Bytes(), lumas + x);
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
