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

// 256 times the luma. Of the weights times 65536, 38470, 19595 and 7471, the high byte (rounded to
// nearest) makes the integer sum 150 G + 77 R + 29 B, and what is left over, 70 G - 117 R + 47 B,
// is added after a rounding shift:
//
//   256 s / 1000 = 150 G + 77 R + 29 B + (70 G - 117 R + 47 B) / 256 + e
//
// The error of the result is at most 0.856, less than one, so the high byte is floor(s / 1000)
// unless the low byte is 0. That holds for every colour; 3.9 in 1000 have a low byte of 0.
struct LumaWeights {
  uint8x8_t green = vdup_n_u8(150);
  uint8x8_t red = vdup_n_u8(77);
  uint8x8_t blue = vdup_n_u8(29);
  uint8x8_t green_rest = vdup_n_u8(70);
  uint8x8_t less_red_rest = vdup_n_u8(117);
  uint8x8_t blue_rest = vdup_n_u8(47);

  HWY_INLINE uint16x8_t operator()(uint8x8_t r, uint8x8_t g, uint8x8_t b) const {
    const uint16x8_t parts = vmlal_u8(vmlal_u8(vmull_u8(g, green), r, red), b, blue);
    const uint16x8_t rest =
        vmlsl_u8(vmlal_u8(vmull_u8(g, green_rest), b, blue_rest), r, less_red_rest);
    return vreinterpretq_u16_s16(
        vrsraq_n_s16(vreinterpretq_s16_u16(parts), vreinterpretq_s16_u16(rest), 8));
  }
};

// Stores the high bytes of 16 pixels and returns the low ones. The two halves are independent
// chains of multiplications, so that an in-order core need not wait for each.
template <int32_t kRed>
HWY_INLINE uint8x16_t store_high_bytes(const LumaWeights &weigh, const uint8_t *&pixels,
                                       uint8_t *&lumas) {
  uint8x16_t parts[2];
  for (uint8x16_t &half : parts) {
    const uint8x8x3_t rgb = vld3_u8(pixels);
    advance(pixels, 24);
    half = vreinterpretq_u8_u16(weigh(rgb.val[kRed], rgb.val[1], rgb.val[2 - kRed]));
  }
  const uint8x16x2_t split = vuzpq_u8(parts[0], parts[1]);
  vst1q_u8(lumas, split.val[1]);
  advance(lumas, 16);
  return split.val[0];
}

// Whether a byte of the mask is set.
HWY_INLINE bool has_any(uint8x16_t mask) {
  const uint8x8_t half = vorr_u8(vget_low_u8(mask), vget_high_u8(mask));
  return vget_lane_u32(vreinterpret_u32_u8(vpmax_u8(half, half)), 0) != 0;
}

// A bit for each pixel of two steps.
struct StepBits {
  uint32_t first;
  uint32_t second;
};

HWY_INLINE StepBits bits_of(uint8x16_t mask0, uint8x16_t mask1, uint8x16_t mask2,
                            uint8x16_t mask3) {
  const uint8x8_t bit = vcreate_u8(0x8040201008040201);
  const auto fold = [&](uint8x16_t mask) {
    const uint8x16_t bits = vandq_u8(mask, vcombine_u8(bit, bit));
    return vpadd_u8(vget_low_u8(bits), vget_high_u8(bits));
  };
  const uint8x8_t first = vpadd_u8(fold(mask0), fold(mask1));
  const uint8x8_t second = vpadd_u8(fold(mask2), fold(mask3));
  const uint32x2_t bits = vreinterpret_u32_u8(vpadd_u8(first, second));
  return {vget_lane_u32(bits, 0), vget_lane_u32(bits, 1)};
}

// Corrects the high bytes of suspects, whose bits are set: they are k or k + 1 with k = floor(s /
// 1000), and the luma is calculated by definition where s is a multiple of 1000. Stops, and returns
// false, after some greys.
template <int32_t kRed>
HWY_NOINLINE bool correct_suspects(const uint8_t *pixels, StepBits suspects, uint8_t *lumas) {
  int32_t greys_left = 4;
  for (;;) {
    if (suspects.first == 0) {
      if (suspects.second == 0) {
        return true;
      }
      suspects = {suspects.second, 0};
      pixels += 3 * kPixelsInStep;
      lumas += kPixelsInStep;
    }
    const size_t x = hwy::Num0BitsBelowLS1Bit_Nonzero32(suspects.first);
    suspects.first &= suspects.first - 1;
    const uint8_t *pixel = pixels + 3 * x;
    const uint32_t red = pixel[kRed];
    const uint32_t green = pixel[1];
    const uint32_t s = 299 * red + 587 * green + 114 * pixel[2 - kRed];
    const uint32_t luma = lumas[x];
    if (HWY_LIKELY(s > 1000 * luma)) {
      continue;
    }
    if (s < 1000 * luma) {
      lumas[x] = static_cast<uint8_t>(luma - 1);
    } else if (red != green) {
      scalar::truncated_luma_row(pixel, kRed, 1, lumas + x);
    } else {
      // Grey: 886 (R - k) = 114 (k - B) with numbers from 0 to 255 has no other solution than 0 =
      // 0.
      lumas[x] = static_cast<uint8_t>(luma - kGreysRoundedDown.has(luma));
      if (--greys_left == 0) {
        return false;
      }
    }
  }
}

// The lumas of greys: a level less one where its bit is set.
class GreyLumas {
 public:
  GreyLumas() {
    for (int i = 0; i < 4; ++i) {
      table_.val[i] = vld1_u8(kGreysRoundedDown.bits + 8 * i);
    }
  }

  HWY_INLINE uint8x16_t operator()(uint8x16_t greys) const {
    const uint8x16_t place = vshrq_n_u8(greys, 3);
    const uint8x16_t bits =
        vcombine_u8(vtbl4_u8(table_, vget_low_u8(place)), vtbl4_u8(table_, vget_high_u8(place)));
    const int8x16_t shift = vreinterpretq_s8_u8(vandq_u8(greys, vdupq_n_u8(7)));
    const uint8x16_t bit = vshlq_u8(vdupq_n_u8(1), shift);
    return vaddq_u8(greys, vtstq_u8(bits, bit));  // -1
  }

 private:
  uint8x8x4_t table_;
};

// There are three loops, each of which passes on what it is not made for. They are functions of
// their own to keep weights and tables in their registers. All return where they have come to, from
// pixel x on, and take steps of kPixelsInStep.

// Takes steps of greys. Stops at another colour.
HWY_NOINLINE int32_t take_greys(const uint8_t *pixels, int32_t x, int32_t count, uint8_t *lumas) {
  const GreyLumas lumas_of_greys;
  const uint8_t *in = pixels + ptrdiff_t{3} * x;
  uint8_t *out = lumas + x;
  for (; x < count; x += kPixelsInStep) {
    uint8x16_t greys[2];
    uint8x16_t differences = vdupq_n_u8(0);
    for (uint8x16_t &half : greys) {
      const uint8x16x3_t rgb = vld3q_u8(in);
      advance(in, 48);
      half = rgb.val[0];
      differences = vorrq_u8(differences, vorrq_u8(veorq_u8(rgb.val[0], rgb.val[1]),
                                                   veorq_u8(rgb.val[0], rgb.val[2])));
    }
    if (has_any(differences)) {
      break;
    }
    for (const uint8x16_t half : greys) {
      vst1q_u8(out, lumas_of_greys(half));
      advance(out, 16);
    }
  }
  return x;
}

// Takes some steps, of which some pixels are grey.
template <int32_t kRed>
HWY_NOINLINE int32_t take_mixed(const uint8_t *pixels, int32_t x, int32_t count, uint8_t *lumas) {
  constexpr int32_t kSteps = 32;
  const LumaWeights weigh;
  const GreyLumas lumas_of_greys;
  const uint8x16_t none = vdupq_n_u8(0);
  for (int32_t i = 0; i < kSteps && x < count; ++i) {
    const uint8_t *in = pixels + ptrdiff_t{3} * x;
    uint8_t *out = lumas + x;
    uint8x16_t suspects[2];
    uint8x16_t greys[2];
    for (int half = 0; half < 2; ++half) {
      const uint8x16x3_t rgb = vld3q_u8(in);
      advance(in, 48);
      const uint8x16_t r = rgb.val[kRed];
      const uint8x16_t g = rgb.val[1];
      const uint8x16_t b = rgb.val[2 - kRed];
      const uint16x8_t low = weigh(vget_low_u8(r), vget_low_u8(g), vget_low_u8(b));
      const uint16x8_t high = weigh(vget_high_u8(r), vget_high_u8(g), vget_high_u8(b));
      const uint8x16x2_t split = vuzpq_u8(vreinterpretq_u8_u16(low), vreinterpretq_u8_u16(high));
      greys[half] = vandq_u8(vceqq_u8(r, g), vceqq_u8(r, b));
      suspects[half] = vbicq_u8(vceqq_u8(split.val[0], none), greys[half]);
      vst1q_u8(out, vbslq_u8(greys[half], lumas_of_greys(r), split.val[1]));
      advance(out, 16);
    }
    if (has_any(vorrq_u8(suspects[0], suspects[1]))) {
      correct_suspects<kRed>(pixels + ptrdiff_t{3} * x,
                             bits_of(suspects[0], suspects[1], none, none), lumas + x);
    }
    x += kPixelsInStep;
    if (!has_any(vmvnq_u8(vandq_u8(greys[0], greys[1])))) {
      x = take_greys(pixels, x, count, lumas);
    }
  }
  return x;
}

// Takes two steps at a time, so that results move from the NEON unit to the core once in a while
// only. Stops before steps with several greys, or where a single step is left.
template <int32_t kRed>
HWY_NOINLINE int32_t take_colors(const uint8_t *pixels, int32_t x, int32_t count, uint8_t *lumas) {
  LumaWeights weigh;
  // Otherwise GCC makes the weights anew after every possible call.
  asm("" : "+w"(weigh.green), "+w"(weigh.red), "+w"(weigh.blue));
  asm("" : "+w"(weigh.green_rest), "+w"(weigh.less_red_rest), "+w"(weigh.blue_rest));
  const auto is_zero = [](uint8x16_t v) { return vceqq_u8(v, vdupq_n_u8(0)); };
  const uint8_t *in = pixels + ptrdiff_t{3} * x;
  uint8_t *out = lumas + x;
  for (int32_t left = (count - x) / (2 * kPixelsInStep); left > 0; --left) {
    const uint8x16_t low0 = store_high_bytes<kRed>(weigh, in, out);
    const uint8x16_t low1 = store_high_bytes<kRed>(weigh, in, out);
    const uint8x16_t low2 = store_high_bytes<kRed>(weigh, in, out);
    const uint8x16_t low3 = store_high_bytes<kRed>(weigh, in, out);
    const uint8x16_t least = vminq_u8(vminq_u8(low0, low1), vminq_u8(low2, low3));
    if (has_any(is_zero(least))) {
      const StepBits bits = bits_of(is_zero(low0), is_zero(low1), is_zero(low2), is_zero(low3));
      if (!correct_suspects<kRed>(in - ptrdiff_t{6} * kPixelsInStep, bits,
                                  out - ptrdiff_t{2} * kPixelsInStep)) {
        out -= 2 * kPixelsInStep;
        break;
      }
    }
  }
  return static_cast<int32_t>(out - lumas);
}

template <int32_t kRed>
HWY_INLINE void truncated_lumas(const uint8_t *pixels, int32_t count, uint8_t *lumas) {
  int32_t x = 0;
  while (x < count) {
    x = take_colors<kRed>(pixels, x, count, lumas);
    x = take_mixed<kRed>(pixels, x, count, lumas);
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_NEON

#endif  // include guard of this instruction set
