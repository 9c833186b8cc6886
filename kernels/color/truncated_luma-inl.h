// The lumas that integers cannot decide. Included once for each
// instruction set.
#if defined(TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_INL_H_
#undef TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_INL_H_
#else
#define TAVRINE_KERNELS_COLOR_TRUNCATED_LUMA_INL_H_
#endif

#include <array>

#include "kernels/color/rgb_scalar.h"
#include "kernels/vector-inl.h"

#if TAVRINE_HAS_VECTORS

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

// With s = 587 G + 299 R + 114 B, the truncated luma is floor(s / 1000) for every colour whose s is
// not a multiple of 1000: it lies 0.001 or more from an integer, and three products and two sums in
// double precision are off by far less. If s is a multiple of 1000, which it is for one colour in a
// thousand and for every grey one, the sum in double precision may round to just below the integer,
// and the luma is one lower. Such colours are suspects: their luma is calculated by definition, or
// for greys looked up.

// A bit for each grey level whose luma is one lower. There are 65.
struct GreysRoundedDown {
  alignas(32) uint8_t bits[32];

  constexpr GreysRoundedDown() : bits() {
    for (int grey = 0; grey < 256; ++grey) {
      const bool is_rounded_down =
          static_cast<int>(grey * 0.587 + grey * 0.299 + grey * 0.114) < grey;
      bits[grey / 8] = static_cast<uint8_t>(bits[grey / 8] | is_rounded_down << grey % 8);
    }
  }

  // 128 levels.
  constexpr std::array<uint8_t, 16> half(size_t index) const {
    std::array<uint8_t, 16> half = {};
    for (size_t i = 0; i < 16; ++i) {
      half[i] = bits[16 * index + i];
    }
    return half;
  }

  uint32_t has(uint32_t grey) const { return bits[grey / 8] >> grey % 8 & 1U; }
};

constexpr GreysRoundedDown kGreysRoundedDown;

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_HAS_VECTORS

#endif  // include guard of this instruction set
