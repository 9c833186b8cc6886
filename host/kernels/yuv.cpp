#include "host/kernels/yuv.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "host/kernels/yuv.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "host/kernels/packed_pixels-inl.h"
#include "host/kernels/vector-inl.h"
#include "host/kernels/yuv_scalar.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

#if TAVRINE_HAS_VECTORS
constexpr int32_t kPairsInStep = 16;
#endif

#if TAVRINE_IS_NEON

HWY_INLINE void luma_step(const uint8_t *pixels, int32_t red, uint8_t *luma) {
  for (int32_t x = 0; x < kPixelsInStep; x += 16, pixels += 48) {
    const uint8x16x3_t rgb = vld3q_u8(pixels);
    const uint8x16_t r = red == 0 ? rgb.val[0] : rgb.val[2];
    const uint8x16_t b = red == 0 ? rgb.val[2] : rgb.val[0];
    const auto half = [](uint8x8_t of_r, uint8x8_t of_g, uint8x8_t of_b) {
      const uint16x8_t sum = vmlal_u8(vmull_u8(of_r, vdup_n_u8(38)), of_g, vdup_n_u8(74));
      return vrshrn_n_u16(vmlal_u8(sum, of_b, vdup_n_u8(16)), 7);
    };
    vst1q_u8(luma + x,
             vcombine_u8(half(vget_low_u8(r), vget_low_u8(rgb.val[1]), vget_low_u8(b)),
                         half(vget_high_u8(r), vget_high_u8(rgb.val[1]), vget_high_u8(b))));
  }
}

HWY_INLINE void chroma_step(const uint8_t *pixels, int32_t red, uint8_t *chroma, int32_t u_byte) {
  for (int32_t x = 0; x < kPairsInStep; x += 8, pixels += 48, chroma += 16) {
    const uint8x16x3_t rgb = vld3q_u8(pixels);
    // Narrowing words to bytes keeps the even pixels.
    const uint8x8_t first = vmovn_u16(vreinterpretq_u16_u8(rgb.val[0]));
    const uint8x8_t g = vmovn_u16(vreinterpretq_u16_u8(rgb.val[1]));
    const uint8x8_t third = vmovn_u16(vreinterpretq_u16_u8(rgb.val[2]));
    const uint8x8_t r = red == 0 ? first : third;
    const uint8x8_t b = red == 0 ? third : first;
    // 64 to round, and 128 after the shift.
    const uint16x8_t bias = vdupq_n_u16(64 + (128 << 7));
    uint16x8_t u = vmlal_u8(bias, b, vdup_n_u8(65));
    u = vmlsl_u8(vmlsl_u8(u, r, vdup_n_u8(22)), g, vdup_n_u8(43));
    uint16x8_t v = vmlal_u8(bias, r, vdup_n_u8(67));
    v = vmlsl_u8(vmlsl_u8(v, g, vdup_n_u8(55)), b, vdup_n_u8(12));
    // The largest sum needs 16 bits without a sign, the smallest is negative.
    const auto narrow = [](uint16x8_t sum) {
      const int16x8_t shifted = vsubq_s16(vreinterpretq_s16_u16(sum), vdupq_n_s16(64 + (128 << 7)));
      const int16x8_t rounded = vrshrq_n_s16(shifted, 7);
      return vqmovun_s16(vaddq_s16(rounded, vdupq_n_s16(128)));
    };
    const uint8x8_t u8 = narrow(u);
    const uint8x8_t v8 = narrow(v);
    vst2_u8(chroma, u_byte == 0 ? uint8x8x2_t{{u8, v8}} : uint8x8x2_t{{v8, u8}});
  }
}

HWY_INLINE void packed_step(const uint8_t *luma, const uint8_t *chroma, int32_t u_byte,
                            uint8_t *pixels, int32_t red) {
  for (int32_t x = 0; x < kPixelsInStep; x += 16, pixels += 48) {
    const uint8x8x2_t pairs = vld2_u8(chroma + x);
    const uint8x8x2_t lumas = vld2_u8(luma + x);
    const auto centred = [](uint8x8_t bytes) {
      return vreinterpretq_s16_u16(vsubl_u8(bytes, vdup_n_u8(128)));
    };
    const int16x8_t u = centred(pairs.val[u_byte]);
    const int16x8_t v = centred(pairs.val[1 - u_byte]);
    const int16x8_t half = vdupq_n_s16(32);
    const int16x8_t to_red = vmlaq_n_s16(half, v, 86);
    const int16x8_t to_green = vmlsq_n_s16(vmlsq_n_s16(half, v, 44), u, 24);
    const int16x8_t to_blue = vmlaq_n_s16(half, u, 110);
    const int16x8_t even = vreinterpretq_s16_u16(vshll_n_u8(lumas.val[0], 6));
    const int16x8_t odd = vreinterpretq_s16_u16(vshll_n_u8(lumas.val[1], 6));
    const auto channel = [&](int16x8_t chroma_term) {
      const uint8x8x2_t woven = vzip_u8(vqshrun_n_s16(vaddq_s16(even, chroma_term), 6),
                                        vqshrun_n_s16(vaddq_s16(odd, chroma_term), 6));
      return vcombine_u8(woven.val[0], woven.val[1]);
    };
    const uint8x16_t r = channel(to_red);
    const uint8x16_t g = channel(to_green);
    const uint8x16_t b = channel(to_blue);
    vst3q_u8(pixels, red == 0 ? uint8x16x3_t{{r, g, b}} : uint8x16x3_t{{b, g, r}});
  }
}

#elif TAVRINE_IS_X86

HWY_INLINE void luma_step(const uint8_t *pixels, int32_t red, uint8_t *luma) {
  const auto weights = pixel_weights(red, 38, 74, 16);
  const auto rounding = hn::Set(Words(), 64);
  sum_pixels(
      pixels, [&](hn::VFromD<Bytes> p) { return multiply_pixels(p, weights); },
      [&](hn::VFromD<Words> sums) { return hn::ShiftRight<7>(hn::Add(sums, rounding)); }, luma);
}

// The even pixels of a row: the blocks are 24 bytes, eight pixels, apart.
HWY_INLINE void chroma_step(const uint8_t *pixels, int32_t red, uint8_t *chroma, int32_t u_byte) {
  const auto u_weights = pixel_weights(red, -22, -43, 65);
  const auto v_weights = pixel_weights(red, 67, -55, -12);
  const auto rounding = hn::Set(Ints(), 64);
  const auto neutral = hn::Set(Ints(), 128);
  const auto low_word = hn::Set(Ints(), 0xFFFF);
  const auto words = [&](const uint8_t *from) {
    const auto p = load_even_pixels(from);
    const auto scaled = [&](hn::VFromD<Bytes> weights) {
      const auto sum = hn::Add(multiply_pixels(p, weights), rounding);
      return hn::Add(hn::ShiftRight<7>(sum), neutral);
    };
    const auto u = scaled(u_weights);
    const auto v = scaled(v_weights);
    const auto first = u_byte == 0 ? u : v;
    const auto second = u_byte == 0 ? v : u;
    return hn::BitCast(Words(), hn::Or(hn::And(first, low_word), hn::ShiftLeft<16>(second)));
  };
  const auto lanes = static_cast<int32_t>(byte_lanes());
  for (int32_t pair = 0; pair < kPairsInStep; pair += lanes / 4) {
    // Four or eight pairs.
    const hn::Half<Bytes> half;
    hn::StoreU(hn::DemoteTo(half, words(pixels + 6 * pair)), half, chroma + 2 * pair);
  }
}

HWY_INLINE void packed_step(const uint8_t *luma, const uint8_t *chroma, int32_t u_byte,
                            uint8_t *pixels, int32_t red) {
  const Bytes d8;
  const Words d16;
  const hn::ScalableTag<uint16_t> du16;
  const auto low_byte = hn::Set(d16, 0xFF);
  const auto centre = hn::Set(d16, 128);
  const auto half = hn::Set(d16, 32);
  const auto high_bytes = [&](hn::VFromD<Words> v) {
    return hn::BitCast(d16, hn::ShiftRight<8>(hn::BitCast(du16, v)));
  };
  const auto lanes = static_cast<int32_t>(byte_lanes());
  for (int32_t x = 0; x < kPixelsInStep; x += lanes) {
    const auto pairs = hn::BitCast(d16, hn::LoadU(d8, chroma + x));
    const auto first = hn::Sub(hn::And(pairs, low_byte), centre);
    const auto second = hn::Sub(high_bytes(pairs), centre);
    const auto u = u_byte == 0 ? first : second;
    const auto v = u_byte == 0 ? second : first;
    const auto to_red = hn::Add(hn::Mul(v, hn::Set(d16, 86)), half);
    const auto to_green =
        hn::Sub(half, hn::Add(hn::Mul(v, hn::Set(d16, 44)), hn::Mul(u, hn::Set(d16, 24))));
    const auto to_blue = hn::Add(hn::Mul(u, hn::Set(d16, 110)), half);
    const auto lumas = hn::BitCast(d16, hn::LoadU(d8, luma + x));
    const auto even = hn::ShiftLeft<6>(hn::And(lumas, low_byte));
    const auto odd = hn::ShiftLeft<6>(high_bytes(lumas));
    const auto channel = [&](hn::VFromD<Words> term) {
      return pack_in_blocks(hn::ShiftRight<6>(hn::Add(even, term)),
                            hn::ShiftRight<6>(hn::Add(odd, term)));
    };
    const auto r = channel(to_red);
    const auto b = channel(to_blue);
    store_even_and_odd_pixels(red == 0 ? r : b, channel(to_green), red == 0 ? b : r,
                              pixels + 3 * x);
  }
}

#endif

void luma_row(const uint8_t *pixels, int32_t red, int32_t columns, uint8_t *luma) {
#if TAVRINE_HAS_VECTORS
  int32_t x = 0;
  for (; x <= columns - kPixelsSeen; x += kPixelsInStep) {
    luma_step(pixels + 3 * x, red, luma + x);
  }
  finish_row<3, 1, kPixelsInStep>(
      pixels + 3 * x, columns - x, luma + x,
      [&](const uint8_t *in, uint8_t *out) { luma_step(in, red, out); });
#else
  scalar::luma_row(pixels, red, columns, luma);
#endif
}

void chroma_row(const uint8_t *pixels, int32_t red, int32_t pairs, uint8_t *chroma, int32_t u) {
#if TAVRINE_HAS_VECTORS
  int32_t x = 0;
  for (; x <= pairs - kPairsInStep; x += kPairsInStep) {
    chroma_step(pixels + 6 * x, red, chroma + 2 * x, u);
  }
  finish_row<6, 2, kPairsInStep>(
      pixels + 6 * x, pairs - x, chroma + 2 * x,
      [&](const uint8_t *in, uint8_t *out) { chroma_step(in, red, out, u); });
#else
  scalar::chroma_row(pixels, red, pairs, chroma, u);
#endif
}

void packed_row(const uint8_t *luma, const uint8_t *chroma, int32_t u, int32_t columns,
                uint8_t *pixels, int32_t red) {
#if TAVRINE_HAS_VECTORS
  int32_t x = 0;
  for (; x <= columns - kPixelsInStep; x += kPixelsInStep) {
    packed_step(luma + x, chroma + x, u, pixels + 3 * x, red);
  }
  if (x < columns) {
    alignas(32) uint8_t lumas[kPixelsInStep] = {};
    alignas(32) uint8_t pairs[kPixelsInStep] = {};
    alignas(32) uint8_t result[3 * kPixelsInStep];
    const auto count = static_cast<size_t>(columns - x);  // even
    std::memcpy(lumas, luma + x, count);
    std::memcpy(pairs, chroma + x, count);
    packed_step(lumas, pairs, u, result, red);
    std::memcpy(pixels + 3 * x, result, 3 * count);
  }
#else
  scalar::packed_row(luma, chroma, u, columns, pixels, red);
#endif
}

// Both rows of a pair of luma rows, while the packed rows are in the cache.
void rgb_to_yuv(const PlaneView &packed, int32_t red, const PlaneView &luma,
                const PlaneView &chroma, int32_t u) {
  for (int32_t y = 0; y < chroma.rows; ++y) {
    luma_row(packed.row(2 * y), red, luma.columns, luma.row(2 * y));
    chroma_row(packed.row(2 * y), red, chroma.columns, chroma.row(y), u);
    luma_row(packed.row(2 * y + 1), red, luma.columns, luma.row(2 * y + 1));
  }
}

void yuv_to_rgb(const PlaneView &luma, const PlaneView &chroma, int32_t u, const PlaneView &packed,
                int32_t red) {
  for (int32_t y = 0; y < luma.rows; ++y) {
    packed_row(luma.row(y), chroma.row(y / 2), u, luma.columns, packed.row(y), red);
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tavrine {
namespace {

HWY_EXPORT(rgb_to_yuv);
HWY_EXPORT(yuv_to_rgb);

bool fit_each_other(const PlaneView &packed, const PlaneView &luma, const PlaneView &chroma) {
  return packed.is_usable() && luma.is_usable() && chroma.is_usable() && luma.columns % 2 == 0 &&
         luma.rows % 2 == 0 && have_same_size(packed, luma) && chroma.columns == luma.columns / 2 &&
         chroma.rows == luma.rows / 2 && chroma.step == luma.step;
}

}  // namespace

bool rgb_to_yuv(const PlaneView &packed, ByteOrder order, const PlaneView &luma,
                const PlaneView &chroma, ChromaOrder chroma_order) {
  if (!fit_each_other(packed, luma, chroma)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(rgb_to_yuv)
  (packed, red_byte(order), luma, chroma, static_cast<int32_t>(chroma_order));
  return true;
}

bool yuv_to_rgb(const PlaneView &luma, const PlaneView &chroma, ChromaOrder chroma_order,
                const PlaneView &packed, ByteOrder order) {
  if (!fit_each_other(packed, luma, chroma)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(yuv_to_rgb)
  (luma, chroma, static_cast<int32_t>(chroma_order), packed, red_byte(order));
  return true;
}

}  // namespace tavrine
#endif
