// The steps of yuv.cpp for SSSE3, SSE4 and AVX2. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_COLOR_YUV_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_COLOR_YUV_X86_INL_H_
#undef TAVRINE_KERNELS_COLOR_YUV_X86_INL_H_
#else
#define TAVRINE_KERNELS_COLOR_YUV_X86_INL_H_
#endif

#include "kernels/color/packed_pixels_x86-inl.h"
#include "kernels/color/row_steps-inl.h"
#include "kernels/vector-inl.h"

#if TAVRINE_IS_X86

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

// (sum + 64) >> 7, for sums from -2^15 to 2^15 - 1.
HWY_INLINE hn::VFromD<Words> round_128ths(hn::VFromD<Words> sums) {
  return hn::MulFixedPoint15(sums, hn::Set(Words(), 1 << 8));
}

// Lumas of a register of pixels. The sums are at most 128 * 255 < 2^15.
template <int32_t kRed>
HWY_INLINE void store_lumas(const PixelWords (&words)[2], uint8_t *luma) {
  const auto lumas = [&](const PixelWords &half) {
    return round_128ths(weigh<kRed, 38, 74, 16>(half));
  };
  hn::StoreU(pack_pixels(lumas(words[0]), lumas(words[1])), Bytes(), luma);
}

template <int32_t kRed>
HWY_INLINE void luma_step(const uint8_t *&pixels, uint8_t *&luma) {
  for (int32_t x = 0; x < kPixelsInStep; x += HWY_LANES(uint8_t)) {
    PixelWords words[2];
    load_pixel_words(pixels, words);
    store_lumas<kRed>(words, luma);
    pixels += 3 * byte_lanes();
    luma += byte_lanes();
  }
}

// Chroma pairs of the even pixels. The sums are at most 67 * 255 in magnitude; rounded, they
// saturate to signed bytes, which the sign bit turns into bytes around 128.
template <int32_t kRed, int32_t kU>
HWY_INLINE void store_chroma(const PixelWords (&words)[2], uint8_t *chroma) {
  const PixelWords even = {even_pixels(words[0].pairs, words[1].pairs),
                           even_pixels(words[0].thirds, words[1].thirds)};
  const auto u = round_128ths(weigh<kRed, -22, -43, 65>(even));
  const auto v = round_128ths(weigh<kRed, 67, -55, -12>(even));
  const auto pairs = pack_even_pixels(kU == 0 ? u : v, kU == 0 ? v : u);
  hn::StoreU(hn::Xor(pairs, hn::Set(Bytes(), 0x80)), Bytes(), chroma);
}

template <int32_t kRed, int32_t kU>
HWY_INLINE void luma_and_chroma_step(const uint8_t *&pixels, uint8_t *&luma, uint8_t *&chroma) {
  for (int32_t x = 0; x < kPixelsInStep; x += HWY_LANES(uint8_t)) {
    PixelWords words[2];
    load_pixel_words(pixels, words);
    store_lumas<kRed>(words, luma);
    store_chroma<kRed, kU>(words, chroma);
    pixels += 3 * byte_lanes();
    luma += byte_lanes();
    chroma += byte_lanes();
  }
}

// (32 + u_weight (U - 128) + v_weight (V - 128)) >> 6 for each pair. U and V are taken as they are;
// their offset is in the constant. The largest weights give |110 * 128| + 32 < 2^15.
template <int32_t kU, int32_t kUWeight, int32_t kVWeight>
HWY_INLINE hn::VFromD<Words> chroma_term(hn::VFromD<Bytes> pairs) {
  constexpr int32_t kFirst = kU == 0 ? kUWeight : kVWeight;
  constexpr int32_t kSecond = kU == 0 ? kVWeight : kUWeight;
  const auto offset = hn::Set(Words(), static_cast<int16_t>(32 - 128 * (kUWeight + kVWeight)));
  return hn::ShiftRight<6>(hn::Add(multiply_bytes(pairs, byte_weights(kFirst, kSecond)), offset));
}

// A register's width of pixels of a row.
HWY_INLINE void packed_row_step(const uint8_t *&luma, const hn::VFromD<Bytes> (&added)[3],
                                const hn::VFromD<Bytes> (&subtracted)[3], uint8_t *&pixels) {
  hn::VFromD<Bytes> replicated[3];
  replicate_pixels(luma, replicated);
  luma += byte_lanes();
  for (int part = 0; part < 3; ++part) {
    const auto sum = hn::SaturatedAdd(replicated[part], added[part]);
    hn::StoreU(hn::SaturatedSub(sum, subtracted[part]), Bytes(), pixels);
    pixels += byte_lanes();
  }
}

template <int32_t kRed, int32_t kU>
HWY_INLINE void packed_step(RowPair<const uint8_t> &lumas, const uint8_t *&chroma,
                            RowPair<uint8_t> &pixels) {
  const Bytes d;
  for (int32_t x = 0; x < kPixelsInStep; x += HWY_LANES(uint8_t)) {
    const auto pairs = hn::LoadU(d, chroma);
    const auto red = chroma_term<kU, 0, 86>(pairs);
    const auto green = chroma_term<kU, -24, -44>(pairs);
    const auto blue = chroma_term<kU, 110, 0>(pairs);
    chroma += byte_lanes();
    const auto zero = hn::Zero(Words());
    const auto plus = [&](hn::VFromD<Words> term) { return hn::Max(term, zero); };
    const auto minus = [&](hn::VFromD<Words> term) { return hn::Sub(plus(term), term); };
    hn::VFromD<Bytes> added[3];
    hn::VFromD<Bytes> subtracted[3];
    interleave_pairs(plus(kRed == 0 ? red : blue), plus(green), plus(kRed == 0 ? blue : red),
                     added);
    interleave_pairs(minus(kRed == 0 ? red : blue), minus(green), minus(kRed == 0 ? blue : red),
                     subtracted);
    packed_row_step(lumas.upper, added, subtracted, pixels.upper);
    packed_row_step(lumas.lower, added, subtracted, pixels.lower);
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_X86

#endif  // include guard of this instruction set
