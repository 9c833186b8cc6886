// Packed 24-bit pixels in vectors. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_COLOR_PACKED_PIXELS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_COLOR_PACKED_PIXELS_INL_H_
#undef TAVRINE_KERNELS_COLOR_PACKED_PIXELS_INL_H_
#else
#define TAVRINE_KERNELS_COLOR_PACKED_PIXELS_INL_H_
#endif

#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_HAS_VECTORS

constexpr int32_t kPixelsInStep = 32;

// Runs what is left of a row, less than a step, through the same step on a copy.
template <class Step>
HWY_INLINE void finish_row(const uint8_t *pixels, int32_t columns, uint8_t *out, Step step) {
  if (columns > 0) {
    const auto count = static_cast<size_t>(columns);
    const PaddedInput<3 * kPixelsInStep> copy(pixels, 3 * count);
    PaddedOutput<kPixelsInStep> result;
    step(copy.data(), result.data());
    result.store(out, count);
  }
}

#endif  // TAVRINE_HAS_VECTORS

#if TAVRINE_IS_X86

// The weights of a pixel's bytes, for every pixel of a register that holds four bytes each.
HWY_INLINE hn::VFromD<Bytes> pixel_weights(int32_t red_byte, int32_t red, int32_t green,
                                           int32_t blue) {
  const auto byte = [](int32_t weight) { return static_cast<uint32_t>(weight) & 0xFF; };
  const uint32_t first = byte(red_byte == 0 ? red : blue);
  const uint32_t third = byte(red_byte == 0 ? blue : red);
  const hn::ScalableTag<uint32_t> d32;
  return hn::BitCast(Bytes(), hn::Set(d32, first | byte(green) << 8 | third << 16));
}

// The weighted sum of each pixel of four bytes.
HWY_INLINE hn::VFromD<Ints> multiply_pixels(hn::VFromD<Bytes> pixels, hn::VFromD<Bytes> weights) {
  return multiply_words(multiply_bytes(pixels, weights), hn::Set(Words(), 1));
}

// Of every pixel of a register, a word of its first and second byte, and one of its third and
// second.
struct PixelWords {
  hn::VFromD<Bytes> pairs;
  hn::VFromD<Bytes> thirds;
};

// Loads as many pixels as a register of bytes holds, in an order that pack_pixels undoes. On AVX2
// the four pixels at either end share a register, so that all others come from plain loads that
// stay inside the row.
HWY_INLINE void load_pixel_words(const uint8_t *pixels, PixelWords (&words)[2]) {
  // The four pixels that a block begins with, and those that it ends with.
  alignas(16) static constexpr uint8_t kFirst[16] = {0, 1, 3, 4, 6, 7, 9,  10,
                                                     2, 1, 5, 4, 8, 7, 11, 10};
  alignas(16) static constexpr uint8_t kLast[16] = {4, 5, 7, 8, 10, 11, 13, 14,
                                                    6, 5, 9, 8, 12, 11, 15, 14};
  const Bytes d8;
  const BytesInBlock block;
  const hn::ScalableTag<uint64_t> d64;
  const auto first = hn::Load(block, kFirst);
  const auto last = hn::Load(block, kLast);
  const auto join = [&](hn::VFromD<Bytes> a, hn::VFromD<Bytes> b) {
    const auto low = hn::BitCast(d64, a);
    const auto high = hn::BitCast(d64, b);
    return PixelWords{hn::BitCast(d8, hn::InterleaveLower(d64, low, high)),
                      hn::BitCast(d8, hn::InterleaveUpper(d64, low, high))};
  };
#if HWY_TARGET == HWY_AVX2
  const auto ends = hn::TableLookupBytes(load_blocks(pixels, 80), hn::Combine(d8, last, first));
  const auto inside = [&](int32_t offset) {
    return hn::TableLookupBytes(hn::LoadU(d8, pixels + offset), hn::Combine(d8, first, last));
  };
  words[0] = join(ends, inside(8));
  words[1] = join(inside(32), inside(56));
#else
  for (PixelWords &half : words) {
    half = join(hn::TableLookupBytes(hn::LoadU(d8, pixels), first),
                hn::TableLookupBytes(hn::LoadU(d8, pixels + 8), last));
    pixels += 24;
  }
#endif
}

// A byte for each pixel, in their order, from the words made of load_pixel_words' two halves.
HWY_INLINE hn::VFromD<Bytes> pack_pixels(hn::VFromD<Words> first, hn::VFromD<Words> second) {
  const auto packed = pack_in_blocks(first, second);
#if HWY_TARGET == HWY_AVX2
  // Four pixels each: the blocks hold the groups 0, 1, 3, 5 and 7, 2, 4, 6.
  return hn::VFromD<Bytes>{
      _mm256_permutevar8x32_epi32(packed.raw, _mm256_setr_epi32(0, 1, 5, 2, 6, 3, 7, 4))};
#else
  return packed;
#endif
}

// The weighted sums of pixels whose byte of red is kRedByte. They must fit 16 bits, with a sign or
// without.
template <int32_t kRedByte, int32_t kRed, int32_t kGreen, int32_t kBlue>
HWY_INLINE hn::VFromD<Words> weigh(const PixelWords &pixels) {
  constexpr int32_t kFirst = kRedByte == 0 ? kRed : kBlue;
  constexpr int32_t kThird = kRedByte == 0 ? kBlue : kRed;
  // Words of products saturate at 128 * 256: what does not fit beside the first weight goes to
  // the third.
  constexpr int32_t kGreenOfPair = kGreen < 128 - kFirst ? kGreen : 128 - kFirst;
  constexpr int32_t kGreenOfThird = kGreen - kGreenOfPair;
  static_assert(kThird + kGreenOfThird <= 128 && kGreenOfThird < 128);
  const auto weights = [](int32_t low, int32_t high) {
    return hn::BitCast(Bytes(), hn::Set(Words(), static_cast<int16_t>(low & 0xFF | high * 256)));
  };
  return hn::Add(multiply_bytes(pixels.pairs, weights(kFirst, kGreenOfPair)),
                 multiply_bytes(pixels.thirds, weights(kThird, kGreenOfThird)));
}

// Four pixels a block again, but every other one of the row.
HWY_INLINE hn::VFromD<Bytes> load_even_pixels(const uint8_t *pixels) {
  alignas(32) constexpr uint8_t kThree[32] = {
      0, 1, 2, 0x80, 6, 7, 8, 0x80, 12, 13, 14, 0x80, 0x80, 0x80, 0x80, 0x80,
      0, 1, 2, 0x80, 6, 7, 8, 0x80, 12, 13, 14, 0x80, 0x80, 0x80, 0x80, 0x80};
  alignas(32) constexpr uint8_t kFourth[32] = {
      0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 10, 11, 12, 0x80,
      0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 10, 11, 12, 0x80};
  return hn::Or(hn::TableLookupBytesOr0(load_blocks(pixels, 24), hn::Load(Bytes(), kThree)),
                hn::TableLookupBytesOr0(load_blocks(pixels + 8, 24), hn::Load(Bytes(), kFourth)));
}

// Where each of 48 bytes of 16 pixels comes from, when a block holds the even pixels of a channel
// before the odd ones.
struct WeaveTables {
  alignas(32) uint8_t order[3][3][32];  // part of 16 bytes, channel

  constexpr WeaveTables() : order() {
    for (int part = 0; part < 3; ++part) {
      for (int i = 0; i < 32; ++i) {
        const int byte = 16 * part + i % 16;
        const int pixel = byte / 3;
        for (int channel = 0; channel < 3; ++channel) {
          const int from = pixel % 2 * 8 + pixel / 2;
          order[part][channel][i] = static_cast<uint8_t>(byte % 3 == channel ? from : 0x80);
        }
      }
    }
  }
};

// Stores a register of pixels from channels that pack_in_blocks made of even and odd pixels.
HWY_INLINE void store_even_and_odd_pixels(hn::VFromD<Bytes> first, hn::VFromD<Bytes> second,
                                          hn::VFromD<Bytes> third, uint8_t *pixels) {
  static constexpr WeaveTables kTables;
  const Bytes d8;
  for (int part = 0; part < 3; ++part) {
    const auto pick = [&](hn::VFromD<Bytes> v, int channel) {
      return hn::TableLookupBytesOr0(v, hn::Load(d8, kTables.order[part][channel]));
    };
    const auto woven = hn::Or(hn::Or(pick(first, 0), pick(second, 1)), pick(third, 2));
#if HWY_TARGET == HWY_AVX2
    const BytesInBlock block;
    hn::StoreU(hn::LowerHalf(block, woven), block, pixels + 16 * part);
    hn::StoreU(hn::UpperHalf(block, woven), block, pixels + 48 + 16 * part);
#else
    hn::StoreU(woven, d8, pixels + 16 * part);
#endif
  }
}

#endif  // TAVRINE_IS_X86

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
