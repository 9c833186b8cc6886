// Packed 24-bit pixels in the registers of SSSE3, SSE4 and AVX2. Included once for each
// instruction set.
#if defined(TAVRINE_KERNELS_COLOR_PACKED_PIXELS_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_COLOR_PACKED_PIXELS_X86_INL_H_
#undef TAVRINE_KERNELS_COLOR_PACKED_PIXELS_X86_INL_H_
#else
#define TAVRINE_KERNELS_COLOR_PACKED_PIXELS_X86_INL_H_
#endif

#include "kernels/vector-inl.h"

#if TAVRINE_IS_X86

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

// A weight for the low byte of every word, and one for the high byte.
HWY_INLINE hn::VFromD<Bytes> byte_weights(int32_t low, int32_t high) {
  return hn::BitCast(Bytes(), hn::Set(Words(), static_cast<int16_t>((low & 0xFF) | high * 256)));
}

// The pixels of a register of bytes, 16 or 32, in two halves. A word of `pairs` holds the first and
// the second byte of a pixel, one of `thirds` its third and second: all that a weighted sum needs.
struct PixelWords {
  hn::VFromD<Bytes> pairs;
  hn::VFromD<Bytes> thirds;
};

// Loads as many pixels as a register holds bytes. A block of 16 bytes has five pixels, of which
// four are used: those that it begins with (F, bytes 0 to 11) or those that it ends with (L, bytes
// 4 to 15). In groups of four pixels, g0 to g7, the 96 bytes for AVX2 are loaded like this:
//
//   byte       0       12      24      36      48      60      72      84    96
//              |  g0   |  g1   |  g2   |  g3   |  g4   |  g5   |  g6   |  g7   |
//   ends       [F: g0   ]                                          [  L: g7    ]   80 bytes apart
//   at 8               [  L: g1][F: g2   ]
//   at 32                              [  L: g3 ][F: g4   ]
//   at 56                                               [  L: g5 ][F: g6   ]
//
// No load leaves the pixels. Each shuffle makes four pairs and four thirds of a block; joining two
// registers by quarters gives
//
//              low block   high block
//   words[0]   g0 g1       g7 g2
//   words[1]   g3 g5       g4 g6
//
// SSSE3 and SSE4 load F at 0 and L at 8 for words[0], and the same 24 bytes later for words[1].
HWY_INLINE void load_pixel_words(const uint8_t *pixels, PixelWords (&words)[2]) {
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

// Puts the bytes of all pixels, packed from words in the order of load_pixel_words(), into the
// order of the pixels.
HWY_INLINE hn::VFromD<Bytes> in_pixel_order(hn::VFromD<Bytes> packed) {
#if HWY_TARGET == HWY_AVX2
  // The groups lie in the order 0, 1, 3, 5 and 7, 2, 4, 6.
  return hn::VFromD<Bytes>{
      _mm256_permutevar8x32_epi32(packed.raw, _mm256_setr_epi32(0, 1, 5, 2, 6, 3, 7, 4))};
#else
  return packed;
#endif
}

// A byte for each pixel, in the order of the pixels, from a word for each pixel of both halves.
HWY_INLINE hn::VFromD<Bytes> pack_pixels(hn::VFromD<Words> first, hn::VFromD<Words> second) {
  return in_pixel_order(pack_in_blocks(first, second));
}

// Words of double words, saturated: for each block those of `a`, then those of `b`.
template <class V>
HWY_INLINE hn::VFromD<Words> pack_in_blocks_signed(V a, V b) {
#if HWY_TARGET == HWY_AVX2
  return hn::VFromD<Words>{_mm256_packs_epi32(a.raw, b.raw)};
#else
  return hn::VFromD<Words>{_mm_packs_epi32(a.raw, b.raw)};
#endif
}

// The even pixels of both halves in one register of words: those of `first` at even places, those
// of `second` at odd ones.
HWY_INLINE hn::VFromD<Bytes> even_pixels(hn::VFromD<Bytes> first, hn::VFromD<Bytes> second) {
  const hn::ScalableTag<uint16_t> d16;
  const hn::ScalableTag<uint32_t> d32;
  const auto moved = hn::BitCast(d16, hn::ShiftLeft<16>(hn::BitCast(d32, second)));
  return hn::BitCast(Bytes(), hn::OddEven(moved, hn::BitCast(d16, first)));
}

// Two bytes for each even pixel, in the order of the pixels, from two words for each in the order
// of even_pixels(). Words saturate to signed bytes. Counting even pixels alone, that order is
//
//   SSE    0 4 1 5 2 6 3 7
//   AVX2   0 6 1 7 2 a 3 b | e 8 f 9 4 c 5 d
//
// A shuffle makes double words of two neighbours each, which AVX2 then puts in order.
HWY_INLINE hn::VFromD<Bytes> pack_even_pixels(hn::VFromD<Words> first, hn::VFromD<Words> second) {
  alignas(16) static constexpr uint8_t kLow[16] = {0, 8, 2, 10, 4, 12, 6, 14,
                                                   1, 9, 3, 11, 5, 13, 7, 15};
#if HWY_TARGET == HWY_AVX2
  alignas(16) static constexpr uint8_t kHigh[16] = {4, 12, 6, 14, 1, 9, 3, 11,
                                                    5, 13, 7, 15, 0, 8, 2, 10};
  const BytesInBlock block;
  const auto order = hn::Combine(Bytes(), hn::Load(block, kHigh), hn::Load(block, kLow));
  const hn::VFromD<Bytes> packed{_mm256_packs_epi16(first.raw, second.raw)};
  const auto neighbours = hn::TableLookupBytes(packed, order);
  return hn::VFromD<Bytes>{
      _mm256_permutevar8x32_epi32(neighbours.raw, _mm256_setr_epi32(0, 1, 4, 2, 5, 3, 6, 7))};
#else
  const hn::VFromD<Bytes> packed{_mm_packs_epi16(first.raw, second.raw)};
  return hn::TableLookupBytes(packed, hn::Load(Bytes(), kLow));
#endif
}

// The weighted sums of pixels whose byte of red is kRedByte, modulo 2^16.
//
// A word of products saturates at 2^15, so its weights may add up to 128: 128 * 255 < 2^15. Green
// stands in both words of a pixel, and its weight is split between them to keep
//
//   kFirst + kGreenOfPair <= 128  and  kThird + kGreenOfThird <= 128
template <int32_t kRedByte, int32_t kRed, int32_t kGreen, int32_t kBlue>
HWY_INLINE hn::VFromD<Words> weigh(const PixelWords &pixels) {
  constexpr int32_t kFirst = kRedByte == 0 ? kRed : kBlue;
  constexpr int32_t kThird = kRedByte == 0 ? kBlue : kRed;
  constexpr int32_t kGreenOfPair = kGreen < 128 - kFirst ? kGreen : 128 - kFirst;
  constexpr int32_t kGreenOfThird = kGreen - kGreenOfPair;
  static_assert(kFirst + kGreenOfPair <= 128 && kThird + kGreenOfThird <= 128);
  static_assert(kGreenOfPair < 128 && kGreenOfThird < 128);
  return hn::Add(multiply_bytes(pixels.pairs, byte_weights(kFirst, kGreenOfPair)),
                 multiply_bytes(pixels.thirds, byte_weights(kThird, kGreenOfThird)));
}

// Tables that make three registers of packed pixels of what belongs to 16 or 32 pixels. Counting
// bytes of 16 packed pixels, byte n belongs to channel n % 3 of pixel n / 3.
struct PackedTables {
  static constexpr int kBytes = HWY_LANES(uint8_t);

  // A pixel for every byte, as replicate_pixels() looks them up:
  //
  //   part 0   0 0 0 1 1 1 2 2 2 3 3 3 4 4 4 5
  //   part 1   5 5 6 6 6 7 7 7 8 8 8 9 9 9 a a
  //   part 2   a b b b c c c d d d e e e f f f
  //
  // In AVX2's registers the six blocks of 32 pixels follow each other: 0 1, 2 0, 1 2.
  alignas(kBytes) uint8_t pixels[3][kBytes];
  // The pair for every byte of a part, two bytes for each pair, if the byte belongs to the channel;
  // else a value that gives zero.
  alignas(16) uint8_t pairs[3][3][16];  // part, channel
  // The same for all parts: every place belongs to a channel in one part only.
  alignas(16) uint8_t pairs_of_all_parts[3][16];  // channel
  // The places i, i + 3, ... of a part: those that belong to channel (part + i) % 3.
  alignas(16) uint8_t places[3][16];  // i

  constexpr PackedTables() : pixels(), pairs(), pairs_of_all_parts(), places() {
    for (int byte = 0; byte < 3 * kBytes; ++byte) {
      pixels[byte / kBytes][byte % kBytes] = static_cast<uint8_t>(byte % 48 / 3);
    }
    for (int byte = 0; byte < 48; ++byte) {
      const int part = byte / 16;
      const int place = byte % 16;
      const auto pair = static_cast<uint8_t>(byte / 6 * 2);
      for (int channel = 0; channel < 3; ++channel) {
        pairs[part][channel][place] = byte % 3 == channel ? pair : uint8_t{0x80};
      }
      pairs_of_all_parts[byte % 3][place] = pair;
    }
    for (int place = 0; place < 16; ++place) {
      places[place % 3][place] = 0xFF;
    }
  }
};

// Three registers with the packed grey pixels of one register of bytes.
HWY_INLINE void replicate_pixels(const uint8_t *greys, hn::VFromD<Bytes> (&parts)[3]) {
  static constexpr PackedTables kTables;
  const Bytes d;
  const auto look_up = [&](hn::VFromD<Bytes> from, int part) {
    return hn::TableLookupBytes(from, hn::Load(d, kTables.pixels[part]));
  };
#if HWY_TARGET == HWY_AVX2
  parts[0] = look_up(hn::LoadDup128(d, greys), 0);
  parts[1] = look_up(hn::LoadU(d, greys), 1);
  parts[2] = look_up(hn::LoadDup128(d, greys + 16), 2);
#else
  const auto from = hn::LoadU(d, greys);
  for (int part = 0; part < 3; ++part) {
    parts[part] = look_up(from, part);
  }
#endif
}

// Three registers of packed pixels, in their order, from three channels with a word for each pair
// of pixels, of which only the low byte is used.
HWY_INLINE void interleave_pairs(hn::VFromD<Words> first, hn::VFromD<Words> second,
                                 hn::VFromD<Words> third, hn::VFromD<Bytes> (&parts)[3]) {
  static constexpr PackedTables kTables;
  const Bytes d;
  const hn::VFromD<Bytes> channels[3] = {hn::BitCast(d, first), hn::BitCast(d, second),
                                         hn::BitCast(d, third)};
#if HWY_TARGET == HWY_AVX2
  // One shuffle a channel serves all three parts; blending picks the places of each.
  hn::VFromD<Bytes> placed[3];
  for (int i = 0; i < 3; ++i) {
    placed[i] = hn::TableLookupBytes(channels[i], hn::LoadDup128(d, kTables.pairs_of_all_parts[i]));
  }
  const auto is_place = [&](int i) {
    return hn::MaskFromVec(hn::LoadDup128(d, kTables.places[i]));
  };
  hn::VFromD<Bytes> blended[3];
  for (int part = 0; part < 3; ++part) {
    blended[part] = hn::IfThenElse(is_place(0), placed[part], placed[(part + 1) % 3]);
    blended[part] = hn::IfThenElse(is_place(2), placed[(part + 2) % 3], blended[part]);
  }
  // The low blocks hold the first 16 pixels, the high blocks the others.
  parts[0] = hn::ConcatLowerLower(d, blended[1], blended[0]);
  parts[1] = hn::ConcatUpperLower(d, blended[0], blended[2]);
  parts[2] = hn::ConcatUpperUpper(d, blended[2], blended[1]);
#else
  for (int part = 0; part < 3; ++part) {
    const auto pick = [&](int channel) {
      return hn::TableLookupBytesOr0(channels[channel], hn::Load(d, kTables.pairs[part][channel]));
    };
    parts[part] = hn::Or(hn::Or(pick(0), pick(1)), pick(2));
  }
#endif
}

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_X86

#endif  // include guard of this instruction set
