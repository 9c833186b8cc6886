#include "kernels/color/yuv.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/color/yuv.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "kernels/color/packed_pixels-inl.h"
#include "kernels/color/yuv_scalar.h"
#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

// Here and below kRed is the byte of red in a pixel, kU that of U in a pair.

#if TAVRINE_IS_NEON

template <int32_t kRed>
HWY_INLINE uint8x8_t luma_of(uint8x8_t first, uint8x8_t green, uint8x8_t third) {
  const uint8x8_t red = kRed == 0 ? first : third;
  const uint8x8_t blue = kRed == 0 ? third : first;
  const uint16x8_t sum = vmlal_u8(vmull_u8(red, vdup_n_u8(38)), green, vdup_n_u8(74));
  return vrshrn_n_u16(vmlal_u8(sum, blue, vdup_n_u8(16)), 7);
}

template <int32_t kRed>
HWY_INLINE void luma_step(const uint8_t *pixels, uint8_t *luma) {
  for (int32_t x = 0; x < kPixelsInStep; x += 8) {
    const uint8x8x3_t v = vld3_u8(pixels);
    advance(pixels, 24);
    vst1_u8(luma, luma_of<kRed>(v.val[0], v.val[1], v.val[2]));
    advance(luma, 8);
  }
}

template <int32_t kRed, int32_t kU>
HWY_INLINE void luma_and_chroma_step(const uint8_t *pixels, uint8_t *luma, uint8_t *chroma) {
  // 128, before the shift. What is negative then saturates to zero.
  const uint16x8_t neutral = vdupq_n_u16(128 << 7);
  for (int32_t x = 0; x < kPixelsInStep; x += 16) {
    const uint8x16x3_t v = vld3q_u8(pixels);
    advance(pixels, 48);
    vst1q_u8(
        luma,
        vcombine_u8(
            luma_of<kRed>(vget_low_u8(v.val[0]), vget_low_u8(v.val[1]), vget_low_u8(v.val[2])),
            luma_of<kRed>(vget_high_u8(v.val[0]), vget_high_u8(v.val[1]), vget_high_u8(v.val[2]))));
    advance(luma, 16);
    // Narrowing words to bytes keeps the even pixels.
    const uint8x8_t r = vmovn_u16(vreinterpretq_u16_u8(v.val[kRed]));
    const uint8x8_t g = vmovn_u16(vreinterpretq_u16_u8(v.val[1]));
    const uint8x8_t b = vmovn_u16(vreinterpretq_u16_u8(v.val[2 - kRed]));
    const uint16x8_t less_u = vmlal_u8(vmull_u8(r, vdup_n_u8(22)), g, vdup_n_u8(43));
    const uint16x8_t less_v = vmlal_u8(vmull_u8(g, vdup_n_u8(55)), b, vdup_n_u8(12));
    const uint8x8_t u = vqrshrn_n_u16(vqsubq_u16(vmlal_u8(neutral, b, vdup_n_u8(65)), less_u), 7);
    const uint8x8_t v8 = vqrshrn_n_u16(vqsubq_u16(vmlal_u8(neutral, r, vdup_n_u8(67)), less_v), 7);
    vst2_u8(chroma, kU == 0 ? uint8x8x2_t{{u, v8}} : uint8x8x2_t{{v8, u}});
    advance(chroma, 16);
  }
}

template <int32_t kRed, int32_t kU>
HWY_INLINE void packed_step(const uint8_t *luma, const uint8_t *chroma, uint8_t *pixels) {
  for (int32_t x = 0; x < kPixelsInStep; x += 16) {
    const uint8x8x2_t pairs = vld2_u8(chroma);
    advance(chroma, 16);
    const uint8x8x2_t lumas = vld2_u8(luma);
    advance(luma, 16);
    const auto centred = [](uint8x8_t bytes) {
      return vreinterpretq_s16_u16(vsubl_u8(bytes, vdup_n_u8(128)));
    };
    const int16x8_t u = centred(pairs.val[kU]);
    const int16x8_t v = centred(pairs.val[1 - kU]);
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
    const uint8x16_t first = channel(kRed == 0 ? to_red : to_blue);
    const uint8x16_t green = channel(to_green);
    const uint8x16_t third = channel(kRed == 0 ? to_blue : to_red);
    vst3q_u8(pixels, uint8x16x3_t{{first, green, third}});
    advance(pixels, 48);
  }
}

#elif TAVRINE_IS_X86

template <int32_t kRed>
HWY_INLINE void luma_step(const uint8_t *pixels, uint8_t *luma) {
  const auto rounding = hn::Set(Words(), 64);
  const auto lumas = [&](const PixelWords &words) {
    return hn::ShiftRight<7>(hn::Add(weigh<kRed, 38, 74, 16>(words), rounding));
  };
  const auto lanes = static_cast<int32_t>(byte_lanes());
  for (int32_t x = 0; x < kPixelsInStep; x += lanes, pixels += 3 * lanes) {
    PixelWords words[2];
    load_pixel_words(pixels, words);
    hn::StoreU(pack_pixels(lumas(words[0]), lumas(words[1])), Bytes(), luma + x);
  }
}

// The even pixels of a row: the blocks are 24 bytes, eight pixels, apart.
template <int32_t kRed, int32_t kU>
HWY_INLINE void chroma_step(const uint8_t *pixels, uint8_t *chroma) {
  const auto u_weights = pixel_weights(kRed, -22, -43, 65);
  const auto v_weights = pixel_weights(kRed, 67, -55, -12);
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
    const auto first = kU == 0 ? u : v;
    const auto second = kU == 0 ? v : u;
    return hn::BitCast(Words(), hn::Or(hn::And(first, low_word), hn::ShiftLeft<16>(second)));
  };
  const auto lanes = static_cast<int32_t>(byte_lanes());
  for (int32_t pair = 0; pair < kPixelsInStep / 2; pair += lanes / 4) {
    // Four or eight pairs.
    const hn::Half<Bytes> half;
    hn::StoreU(hn::DemoteTo(half, words(pixels + 6 * pair)), half, chroma + 2 * pair);
  }
}

template <int32_t kRed, int32_t kU>
HWY_INLINE void luma_and_chroma_step(const uint8_t *pixels, uint8_t *luma, uint8_t *chroma) {
  luma_step<kRed>(pixels, luma);
  chroma_step<kRed, kU>(pixels, chroma);
}

template <int32_t kRed, int32_t kU>
HWY_INLINE void packed_step(const uint8_t *luma, const uint8_t *chroma, uint8_t *pixels) {
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
    const auto u = kU == 0 ? first : second;
    const auto v = kU == 0 ? second : first;
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
    store_even_and_odd_pixels(kRed == 0 ? r : b, channel(to_green), kRed == 0 ? b : r,
                              pixels + 3 * x);
  }
}

#endif

template <int32_t kRed>
void luma_row(const uint8_t *pixels, int32_t columns, uint8_t *luma) {
#if TAVRINE_HAS_VECTORS
  int32_t x = 0;
  for (; x <= columns - kPixelsInStep; x += kPixelsInStep) {
    luma_step<kRed>(pixels + 3 * x, luma + x);
  }
  finish_row(pixels + 3 * x, columns - x, luma + x,
             [](const uint8_t *in, uint8_t *out) { luma_step<kRed>(in, out); });
#else
  scalar::luma_row(pixels, kRed, columns, luma);
#endif
}

template <int32_t kRed, int32_t kU>
void luma_and_chroma_row(const uint8_t *pixels, int32_t columns, uint8_t *luma, uint8_t *chroma) {
#if TAVRINE_HAS_VECTORS
  int32_t x = 0;
  for (; x <= columns - kPixelsInStep; x += kPixelsInStep) {
    luma_and_chroma_step<kRed, kU>(pixels + 3 * x, luma + x, chroma + x);
  }
  if (x < columns) {
    const auto count = static_cast<size_t>(columns - x);  // even
    const PaddedInput<3 * kPixelsInStep> copy(pixels + 3 * x, 3 * count);
    PaddedOutput<kPixelsInStep> lumas;
    PaddedOutput<kPixelsInStep> pairs;
    luma_and_chroma_step<kRed, kU>(copy.data(), lumas.data(), pairs.data());
    lumas.store(luma + x, count);
    pairs.store(chroma + x, count);
  }
#else
  scalar::luma_row(pixels, kRed, columns, luma);
  scalar::chroma_row(pixels, kRed, columns / 2, chroma, kU);
#endif
}

template <int32_t kRed, int32_t kU>
void packed_row(const uint8_t *luma, const uint8_t *chroma, int32_t columns, uint8_t *pixels) {
#if TAVRINE_HAS_VECTORS
  int32_t x = 0;
  for (; x <= columns - kPixelsInStep; x += kPixelsInStep) {
    packed_step<kRed, kU>(luma + x, chroma + x, pixels + 3 * x);
  }
  if (x < columns) {
    const auto count = static_cast<size_t>(columns - x);  // even
    const PaddedInput<kPixelsInStep> lumas(luma + x, count);
    const PaddedInput<kPixelsInStep> pairs(chroma + x, count);
    PaddedOutput<3 * kPixelsInStep> result;
    packed_step<kRed, kU>(lumas.data(), pairs.data(), result.data());
    result.store(pixels + 3 * x, 3 * count);
  }
#else
  scalar::packed_row(luma, chroma, kU, columns, pixels, kRed);
#endif
}

template <int32_t kRed, int32_t kU>
struct Conversion {
  static void to_yuv(const PlaneView &packed, const PlaneView &luma, const PlaneView &chroma) {
    for (int32_t y = 0; y < chroma.rows; ++y) {
      luma_and_chroma_row<kRed, kU>(packed.row(2 * y), luma.columns, luma.row(2 * y),
                                    chroma.row(y));
      luma_row<kRed>(packed.row(2 * y + 1), luma.columns, luma.row(2 * y + 1));
    }
  }

  static void to_rgb(const PlaneView &luma, const PlaneView &chroma, const PlaneView &packed) {
    for (int32_t y = 0; y < luma.rows; ++y) {
      packed_row<kRed, kU>(luma.row(y), chroma.row(y / 2), luma.columns, packed.row(y));
    }
  }
};

// Calls run() with the conversion of that byte order.
template <class Run>
void choose_conversion(int32_t red, int32_t u, Run run) {
  if (red == 0) {
    u == 0 ? run(Conversion<0, 0>()) : run(Conversion<0, 1>());
  } else {
    u == 0 ? run(Conversion<2, 0>()) : run(Conversion<2, 1>());
  }
}

void rgb_to_yuv(const PlaneView &packed, int32_t red, const PlaneView &luma,
                const PlaneView &chroma, int32_t u) {
  choose_conversion(red, u, [&](auto conversion) { conversion.to_yuv(packed, luma, chroma); });
}

void yuv_to_rgb(const PlaneView &luma, const PlaneView &chroma, int32_t u, const PlaneView &packed,
                int32_t red) {
  choose_conversion(red, u, [&](auto conversion) { conversion.to_rgb(luma, chroma, packed); });
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
         chroma.rows == luma.rows / 2 && chroma.stride == luma.stride;
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
