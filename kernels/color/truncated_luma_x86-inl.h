// The truncated luma of rgb.h for SSSE3, SSE4 and AVX2. Included once for each
// instruction set.
#if defined(TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_X86_INL_H_
#undef TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_X86_INL_H_
#else
#define TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_X86_INL_H_
#endif

#include <cstring>

#include "kernels/color/packed_pixels_x86-inl.h"
#include "kernels/color/truncated_luma-inl.h"
#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_X86

// With s as in truncated_luma-inl.h and v = ceil(s / 4),
//
//   v = 146 G + 74 R + 28 B + (e + 3) / 4,  e = 3 G + 3 R + 2 B,  v <= 63750 < 2^16
//   (v * 33554) >> 23 = floor((s - 1) / 1000)
//
// for every s from 1 to 255000: 33554 is 2^23 / 250 rounded down, so the product falls just short
// where v is a multiple of 250. The result is floor(s / 1000) unless s is a multiple of 1000. For
// these, and for no other s that is a multiple of 8, the seven bits below the quotient in the
// product's upper half are all ones. s is a multiple of 8 if e is.
constexpr uint16_t kReciprocal = 33554;
using UnsignedWords = hn::ScalableTag<uint16_t>;

// Stores the quotients of a register of pixels, and sets all bits of `rests` where s is a multiple
// of 1000.
template <int32_t kRed>
HWY_INLINE void store_quotients(const uint8_t *&pixels, uint8_t *&lumas,
                                hn::VFromD<UnsignedWords> (&rests)[2]) {
  const UnsignedWords d;
  PixelWords words[2];
  load_pixel_words(pixels, words);
  hn::VFromD<Words> quotients[2];
  for (int32_t i = 0; i < 2; ++i) {
    // -16 e: shifting it down rounds down, which subtracted rounds e / 4 up.
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
        uint32_t suspects = 0;
        std::memcpy(&suspects, bits, sizeof(suspects));
        recompute_lumas<kRed, HWY_LANES(uint8_t)>(pixels - 3 * byte_lanes(), suspects,
                                                  lumas - byte_lanes());
        break;
      }
    } while (lumas != end);
  }
}

#endif  // TAVRINE_IS_X86

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
