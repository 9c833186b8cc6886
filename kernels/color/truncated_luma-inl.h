// The lumas that integers cannot decide. Included once for each
// instruction set.
#if defined(TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_INL_H_
#undef TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_INL_H_
#else
#define TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_INL_H_
#endif

#include "kernels/color/rgb_scalar.h"
#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_HAS_VECTORS

// With s = 587 G + 299 R + 114 B, the truncated luma is floor(s / 1000) for every colour whose s is
// not a multiple of 1000: it lies 0.001 or more from an integer, and three products and two sums in
// double precision are off by far less. If s is a multiple of 1000, which it is for one colour in a
// thousand and for every grey one, the sum in double precision may round to just below the integer,
// and the luma is one lower. Such colours are suspects: their luma is calculated by definition, or
// for greys looked up.

// A bit for each grey level whose luma is one lower. There are 65.
struct GreysRoundedDown {
  alignas(16) uint8_t bits[32];

  constexpr GreysRoundedDown() : bits() {
    for (int grey = 0; grey < 256; ++grey) {
      const bool is_rounded_down =
          static_cast<int>(grey * 0.587 + grey * 0.299 + grey * 0.114) < grey;
      bits[grey / 8] = static_cast<uint8_t>(bits[grey / 8] | is_rounded_down << grey % 8);
    }
  }
};

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

#endif  // TAVRINE_HAS_VECTORS

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
