#include "kernels/resize/resize_reduce.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/resize/resize_reduce.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "kernels/resize/resize_scalar.h"
#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

// Rows are reduced in whole steps of several pixels. What does that returns the pixels done.

#if TAVRINE_IS_NEON

// NEON adds neighbours in pairs, once the channels have been taken apart.
HWY_INLINE uint16x8_t sums_of_pairs(uint8x16_t upper, uint8x16_t lower) {
  return vpadalq_u8(vpaddlq_u8(upper), lower);
}

HWY_INLINE uint8x8_t means_of_pairs(uint8x16_t upper, uint8x16_t lower) {
  return vrshrn_n_u16(sums_of_pairs(upper, lower), 2);
}

// Bytes of one or several channels.
template <int32_t kChannels>
struct Channels;

template <>
struct Channels<1> {
  uint8x16_t val[1];
  static Channels load(const uint8_t *from) { return {{vld1q_u8(from)}}; }
  static void store(uint8_t *to, const uint8x8_t (&bytes)[1]) { vst1_u8(to, bytes[0]); }
};

template <>
struct Channels<2> : uint8x16x2_t {
  static Channels load(const uint8_t *from) { return {vld2q_u8(from)}; }
  static void store(uint8_t *to, const uint8x8_t (&bytes)[2]) {
    vst2_u8(to, {{bytes[0], bytes[1]}});
  }
};

template <>
struct Channels<3> : uint8x16x3_t {
  static Channels load(const uint8_t *from) { return {vld3q_u8(from)}; }
  static void store(uint8_t *to, const uint8x8_t (&bytes)[3]) {
    vst3_u8(to, {{bytes[0], bytes[1], bytes[2]}});
  }
};

template <>
struct Channels<4> : uint8x16x4_t {
  static Channels load(const uint8_t *from) { return {vld4q_u8(from)}; }
  static void store(uint8_t *to, const uint8x8_t (&bytes)[4]) {
    vst4_u8(to, {{bytes[0], bytes[1], bytes[2], bytes[3]}});
  }
};

template <int32_t kChannels>
HWY_INLINE int32_t halve_row(const uint8_t *upper, const uint8_t *lower, int32_t columns,
                             uint8_t *out) {
  int32_t x = 0;
  for (; x <= columns - 8; x += 8) {
    const auto above = Channels<kChannels>::load(upper);
    const auto below = Channels<kChannels>::load(lower);
    uint8x8_t means[kChannels];
    for (int32_t channel = 0; channel < kChannels; ++channel) {
      means[channel] = means_of_pairs(above.val[channel], below.val[channel]);
    }
    Channels<kChannels>::store(out, means);
    upper += 16 * kChannels;
    lower += 16 * kChannels;
    out += 8 * kChannels;
  }
  return x;
}

// Pairs go to two registers in turns: that takes one instruction for 32 bytes, not two.
HWY_INLINE uint16x8x2_t load_pairs(const uint8_t *from) {
  return vld2q_u16(static_cast<const uint16_t *>(static_cast<const void *>(from)));
}

template <>
HWY_INLINE int32_t halve_row<1>(const uint8_t *upper, const uint8_t *lower, int32_t columns,
                                uint8_t *out) {
  const auto halve = [&]() {
    const uint16x8x2_t above = load_pairs(upper);
    advance(upper, 32);
    const uint16x8x2_t below = load_pairs(lower);
    advance(lower, 32);
    const auto means = [&](int32_t i) {
      return means_of_pairs(vreinterpretq_u8_u16(above.val[i]), vreinterpretq_u8_u16(below.val[i]));
    };
    vst2_u8(out, {{means(0), means(1)}});
    advance(out, 16);
  };
  int32_t left = columns;
  for (; left >= 64; left -= 64) {
    halve();
    halve();
    halve();
    halve();
  }
  for (; left >= 16; left -= 16) {
    halve();
  }
  return columns - left;
}

// Four to one: every other pair counts. The last step would read the whole of a last pixel's
// block, which the row does not hold any more.
template <int32_t kChannels>
HWY_INLINE int32_t quarter_row(const uint8_t *upper, const uint8_t *lower, int32_t columns,
                               uint8_t *out) {
  int32_t x = 0;
  for (; x < columns - 8; x += 8) {
    const auto above = Channels<kChannels>::load(upper);
    const auto below = Channels<kChannels>::load(lower);
    const auto next_above = Channels<kChannels>::load(upper + 16 * kChannels);
    const auto next_below = Channels<kChannels>::load(lower + 16 * kChannels);
    uint8x8_t means[kChannels];
    for (int32_t channel = 0; channel < kChannels; ++channel) {
      const uint16x8x2_t sums =
          vuzpq_u16(sums_of_pairs(above.val[channel], below.val[channel]),
                    sums_of_pairs(next_above.val[channel], next_below.val[channel]));
      means[channel] = vrshrn_n_u16(sums.val[0], 2);
    }
    Channels<kChannels>::store(out, means);
    upper += 32 * kChannels;
    lower += 32 * kChannels;
    out += 8 * kChannels;
  }
  return x;
}

#elif TAVRINE_HAS_VECTORS

// Two to one. Neighbours of a channel are brought together and added in pairs.
template <int32_t kChannels>
HWY_INLINE int32_t halve_row(const uint8_t *upper, const uint8_t *lower, int32_t columns,
                             uint8_t *out) {
  // Of three channels, a block holds only four whole pixels: 6 bytes of 8 are used.
  constexpr int32_t kBlockIn = kChannels == 3 ? 12 : 16;
  constexpr int32_t kBlockOut = kBlockIn / 2;
  alignas(16) uint8_t pair_order[16] = {};
  alignas(16) uint8_t byte_order[16] = {};
  for (int32_t i = 0; i < kBlockOut; ++i) {
    const int32_t first = i / kChannels * 2 * kChannels + i % kChannels;
    pair_order[2 * i] = static_cast<uint8_t>(first);
    pair_order[2 * i + 1] = static_cast<uint8_t>(first + kChannels);
    byte_order[i] = static_cast<uint8_t>(i);
    byte_order[kBlockOut + i] = static_cast<uint8_t>(8 + i);
  }
  const Bytes d8;
  const auto pairs = hn::LoadDup128(d8, pair_order);
  const auto one = hn::Set(d8, 1);
  const auto quarter = hn::Set(Words(), 1 << 13);  // of 1 << 15
  const auto sums = [&](hn::VFromD<Bytes> bytes) {
    return multiply_bytes(kChannels == 1 ? bytes : hn::TableLookupBytes(bytes, pairs), one);
  };
  const auto means = [&](hn::VFromD<Bytes> above, hn::VFromD<Bytes> below) {
    return hn::MulFixedPoint15(hn::Add(sums(above), sums(below)), quarter);
  };
  const auto lanes = static_cast<int32_t>(byte_lanes());
  const int32_t samples = columns * kChannels;
  int32_t done = 0;
  if constexpr (kChannels == 3) {
    // Both halves of a store are shorter than a block; the next one mends what follows them.
    const BytesInBlock block;
    const int32_t step = lanes / 16 * 2 * kBlockOut;
    const auto order = hn::LoadDup128(d8, byte_order);
    for (; done + step + 4 <= samples; done += step, upper += 2 * step, lower += 2 * step) {
      const auto first = means(load_blocks(upper, 2 * kBlockIn), load_blocks(lower, 2 * kBlockIn));
      const auto second = means(load_blocks(upper + kBlockIn, 2 * kBlockIn),
                                load_blocks(lower + kBlockIn, 2 * kBlockIn));
      const auto bytes = hn::TableLookupBytes(pack_in_blocks(first, second), order);
#if HWY_TARGET == HWY_AVX2
      hn::StoreU(hn::LowerHalf(block, bytes), block, out + done);
      hn::StoreU(hn::UpperHalf(block, bytes), block, out + done + 2 * kBlockOut);
#else
      hn::StoreU(bytes, block, out + done);
#endif
    }
  } else {
    for (; done + lanes <= samples; done += lanes, upper += 2 * lanes, lower += 2 * lanes) {
      const auto first = means(hn::LoadU(d8, upper), hn::LoadU(d8, lower));
      const auto second = means(hn::LoadU(d8, upper + lanes), hn::LoadU(d8, lower + lanes));
      hn::StoreU(pack_in_order(first, second), d8, out + done);
    }
  }
  return done / kChannels;
}

// (a + b + c + d + 2) >> 2 in bytes: the mean of rounded means is one too high where either of
// these was rounded and their sum is odd.
template <class V>
HWY_INLINE V mean_of_four(V a, V b, V c, V d) {
  const auto ab = hn::AverageRound(a, b);
  const auto cd = hn::AverageRound(c, d);
  const auto rounded = hn::Or(hn::Xor(a, b), hn::Xor(c, d));
  const auto excess = hn::And(hn::And(rounded, hn::Xor(ab, cd)), hn::Set(BytesInBlock(), 1));
  return hn::Sub(hn::AverageRound(ab, cd), excess);
}

// Four to one: the means of 16 neighbouring bytes, of which those of whole destination pixels
// are picked, two blocks for a store.
template <int32_t kChannels>
HWY_INLINE int32_t quarter_row(const uint8_t *upper, const uint8_t *lower, int32_t columns,
                               uint8_t *out) {
  constexpr int32_t kAdvanceOfPixel = 4 * kChannels;
  constexpr int32_t kPixels = std::min((16 - kChannels) / kAdvanceOfPixel + 1, 8 / kChannels);
  constexpr int32_t kAdvance = kPixels * kAdvanceOfPixel;
  constexpr int32_t kKept = kPixels * kChannels;
  const BytesInBlock d;
  alignas(16) uint8_t low_order[16];
  alignas(16) uint8_t high_order[16];
  for (int32_t i = 0; i < 16; ++i) {
    low_order[i] = high_order[i] = 0x80;  // a zero byte
  }
  for (int32_t i = 0; i < kKept; ++i) {
    const int32_t from = i / kChannels * kAdvanceOfPixel + i % kChannels;
    low_order[i] = static_cast<uint8_t>(from);
    high_order[kKept + i] = static_cast<uint8_t>(from);
  }
  const auto low = hn::Load(d, low_order);
  const auto high = hn::Load(d, high_order);
  const auto means = [&](int32_t offset) {
    return mean_of_four(hn::LoadU(d, upper + offset), hn::LoadU(d, upper + offset + kChannels),
                        hn::LoadU(d, lower + offset), hn::LoadU(d, lower + offset + kChannels));
  };
  const int32_t readable = (4 * columns - 1) * kChannels;
  int32_t x = 0;
  int32_t offset = 0;
  for (; offset + kAdvance + kChannels + 16 <= readable && (columns - x) * kChannels >= 16;
       x += 2 * kPixels, offset += 2 * kAdvance) {
    hn::StoreU(hn::Or(hn::TableLookupBytesOr0(means(offset), low),
                      hn::TableLookupBytesOr0(means(offset + kAdvance), high)),
               d, out + x * kChannels);
  }
  return x;
}

#endif

template <int32_t kRatio, int32_t kChannels>
void reduce(const PlaneView &source, const PlaneView &destination) {
  constexpr int32_t kSkipped = kRatio / 2 - 1;  // rows and columns before the first that counts
  const int32_t columns = destination.columns;
  for (int32_t y = 0; y < destination.rows; ++y) {
    const uint8_t *upper = source.row(y * kRatio + kSkipped) + kSkipped * kChannels;
    const uint8_t *lower = upper + source.stride;
    uint8_t *out = destination.row(y);
    int32_t x = 0;
#if TAVRINE_HAS_VECTORS
    if constexpr (kRatio == 2) {
      x = halve_row<kChannels>(upper, lower, columns, out);
    } else {
      x = quarter_row<kChannels>(upper, lower, columns, out);
    }
#endif
    const ptrdiff_t done = static_cast<ptrdiff_t>(x) * kRatio * kChannels;
    scalar::reduce_rows(upper + done, lower + done, kChannels, kRatio, columns - x,
                        out + static_cast<ptrdiff_t>(x) * kChannels);
  }
}

template <int32_t kRatio>
void reduce_by(const PlaneView &source, const PlaneView &destination) {
  switch (source.channels) {
    case 1:
      return reduce<kRatio, 1>(source, destination);
    case 2:
      return reduce<kRatio, 2>(source, destination);
    case 3:
      return reduce<kRatio, 3>(source, destination);
    default:
      return reduce<kRatio, 4>(source, destination);
  }
}

void resize_reduce(const PlaneView &source, const PlaneView &destination, int32_t ratio) {
  if (ratio == 2) {
    reduce_by<2>(source, destination);
  } else {
    reduce_by<4>(source, destination);
  }
}

// The middle one of three bytes.
HWY_INLINE int32_t take_thirds(const uint8_t *source, int32_t columns, uint8_t *out) {
  int32_t x = 0;
#if TAVRINE_HAS_VECTORS
  const Bytes d;
  const auto lanes = static_cast<int32_t>(byte_lanes());
  for (; x <= columns - lanes; x += lanes) {
    hn::VFromD<Bytes> before;
    hn::VFromD<Bytes> middle;
    hn::VFromD<Bytes> after;
    hn::LoadInterleaved3(d, source + 3 * x, before, middle, after);
    hn::StoreU(middle, d, out + x);
  }
#else
  static_cast<void>(source);
  static_cast<void>(columns);
  static_cast<void>(out);
#endif
  return x;
}

// Pixels `ratio` apart, from the first centre on.
template <int32_t kChannels>
void take_pixels(const uint8_t *centre, int32_t ratio, int32_t columns, uint8_t *out) {
  const ptrdiff_t advance = static_cast<ptrdiff_t>(ratio) * kChannels;
  // Four bytes are copied sooner than three; the next pixel mends the one too many.
  constexpr size_t kCopied = kChannels + (kChannels == 3 ? 1 : 0);
  for (int32_t x = 1; x < columns; ++x, centre += advance, out += kChannels) {
    std::memcpy(out, centre, kCopied);
  }
  if (columns > 0) {
    std::memcpy(out, centre, kChannels);
  }
}

void take_centres(const uint8_t *row, int32_t channels, int32_t ratio, int32_t columns,
                  uint8_t *out) {
  const uint8_t *centre = row + static_cast<ptrdiff_t>(ratio / 2) * channels;
  if (ratio == 1) {
    std::memcpy(out, row, static_cast<size_t>(columns) * static_cast<size_t>(channels));
  } else if (channels == 1) {
    const int32_t x = ratio == 3 ? take_thirds(row, columns, out) : 0;
    take_pixels<1>(centre + static_cast<ptrdiff_t>(x) * ratio, ratio, columns - x, out + x);
  } else if (channels == 2) {
    take_pixels<2>(centre, ratio, columns, out);
  } else if (channels == 3) {
    take_pixels<3>(centre, ratio, columns, out);
  } else {
    take_pixels<4>(centre, ratio, columns, out);
  }
}

void resize_to_centres(const PlaneView &source, const PlaneView &destination) {
  const int32_t column_ratio = source.columns / destination.columns;
  const int32_t row_ratio = source.rows / destination.rows;
  for (int32_t y = 0; y < destination.rows; ++y) {
    take_centres(source.row(y * row_ratio + row_ratio / 2), source.channels, column_ratio,
                 destination.columns, destination.row(y));
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tavrine {
namespace {
HWY_EXPORT(resize_reduce);
HWY_EXPORT(resize_to_centres);
}  // namespace

void resize_reduce(const PlaneView &source, const PlaneView &destination, int32_t ratio) {
  HWY_DYNAMIC_DISPATCH(resize_reduce)(source, destination, ratio);
}

void resize_to_centres(const PlaneView &source, const PlaneView &destination) {
  HWY_DYNAMIC_DISPATCH(resize_to_centres)(source, destination);
}

}  // namespace tavrine
#endif
