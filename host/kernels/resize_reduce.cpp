#include "host/kernels/resize_reduce.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "host/kernels/resize_reduce.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "host/kernels/resize_scalar.h"
#include "host/kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

#if TAVRINE_IS_NEON

// Two to one: NEON adds neighbours in pairs. `Load` and `Store` take channels apart and weave
// them together again. Returns the pixels done.
HWY_INLINE uint8x8_t mean_of_pairs(uint8x16_t upper, uint8x16_t lower) {
  return vrshrn_n_u16(vpadalq_u8(vpaddlq_u8(upper), lower), 2);
}

HWY_INLINE int32_t halve_row(const uint8_t *upper, const uint8_t *lower, int32_t channels,
                             int32_t columns, uint8_t *out) {
  int32_t x = 0;
  switch (channels) {
    case 1:
      for (; x <= columns - 16; x += 16, upper += 32, lower += 32, out += 16) {
        const uint8x8_t left = mean_of_pairs(vld1q_u8(upper), vld1q_u8(lower));
        const uint8x8_t right = mean_of_pairs(vld1q_u8(upper + 16), vld1q_u8(lower + 16));
        vst1q_u8(out, vcombine_u8(left, right));
      }
      break;
    case 2:
      for (; x <= columns - 8; x += 8, upper += 32, lower += 32, out += 16) {
        const uint8x16x2_t above = vld2q_u8(upper);
        const uint8x16x2_t below = vld2q_u8(lower);
        vst2_u8(out, {{mean_of_pairs(above.val[0], below.val[0]),
                       mean_of_pairs(above.val[1], below.val[1])}});
      }
      break;
    case 3:
      for (; x <= columns - 8; x += 8, upper += 48, lower += 48, out += 24) {
        const uint8x16x3_t above = vld3q_u8(upper);
        const uint8x16x3_t below = vld3q_u8(lower);
        vst3_u8(out, {{mean_of_pairs(above.val[0], below.val[0]),
                       mean_of_pairs(above.val[1], below.val[1]),
                       mean_of_pairs(above.val[2], below.val[2])}});
      }
      break;
    default:
      for (; x <= columns - 8; x += 8, upper += 64, lower += 64, out += 32) {
        const uint8x16x4_t above = vld4q_u8(upper);
        const uint8x16x4_t below = vld4q_u8(lower);
        vst4_u8(out, {{mean_of_pairs(above.val[0], below.val[0]),
                       mean_of_pairs(above.val[1], below.val[1]),
                       mean_of_pairs(above.val[2], below.val[2]),
                       mean_of_pairs(above.val[3], below.val[3])}});
      }
      break;
  }
  return x;
}

#elif TAVRINE_HAS_VECTORS

// Grey, two to one: sums of even and odd bytes, a register of destination bytes at a time.
HWY_INLINE int32_t halve_grey_row(const uint8_t *upper, const uint8_t *lower, int32_t columns,
                                  uint8_t *out) {
  const Bytes d8;
  const hn::ScalableTag<uint16_t> d16;
  const auto even_bytes = hn::Set(d16, 0xFF);
  const auto two = hn::Set(d16, 2);
  const auto lanes = static_cast<int32_t>(byte_lanes());
  const auto mean = [&](int32_t offset) {
    const auto above = hn::BitCast(d16, hn::LoadU(d8, upper + offset));
    const auto below = hn::BitCast(d16, hn::LoadU(d8, lower + offset));
    const auto even = hn::Add(hn::And(above, even_bytes), hn::And(below, even_bytes));
    const auto odd = hn::Add(hn::ShiftRight<8>(above), hn::ShiftRight<8>(below));
    return hn::ShiftRight<2>(hn::Add(hn::Add(even, odd), two));
  };
  int32_t x = 0;
  for (; x <= columns - lanes; x += lanes) {
    hn::StoreU(
        hn::ConcatEven(d8, hn::BitCast(d8, mean(2 * x + lanes)), hn::BitCast(d8, mean(2 * x))), d8,
        out + x);
  }
  return x;
}

#endif

#if TAVRINE_HAS_VECTORS

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

// Any ratio and channels: the means of 16 neighbouring bytes, of which those of whole
// destination pixels are picked, two blocks for a store. Returns the pixels done.
HWY_INLINE int32_t reduce_blocks(const uint8_t *upper, const uint8_t *lower, int32_t readable,
                                 int32_t channels, int32_t ratio, int32_t columns, uint8_t *out) {
  const BytesInBlock d;
  const int32_t pixels = std::min((16 - channels) / (ratio * channels) + 1, 8 / channels);
  const int32_t advance = pixels * ratio * channels;
  const int32_t kept = pixels * channels;
  alignas(16) uint8_t low_order[16];
  alignas(16) uint8_t high_order[16];
  for (int32_t i = 0; i < 16; ++i) {
    low_order[i] = high_order[i] = 0x80;  // a zero byte
  }
  for (int32_t i = 0; i < 8 && i < kept; ++i) {
    const int32_t from = i / channels * ratio * channels + i % channels;
    low_order[i] = static_cast<uint8_t>(from);
    high_order[(kept + i) % 16] = static_cast<uint8_t>(from);
  }
  const auto low = hn::Load(d, low_order);
  const auto high = hn::Load(d, high_order);
  const auto means = [&](int32_t offset) {
    return mean_of_four(hn::LoadU(d, upper + offset), hn::LoadU(d, upper + offset + channels),
                        hn::LoadU(d, lower + offset), hn::LoadU(d, lower + offset + channels));
  };
  int32_t x = 0;
  int32_t offset = 0;
  for (; offset + advance + channels + 16 <= readable && (columns - x) * channels >= 16;
       x += 2 * pixels, offset += 2 * advance) {
    hn::StoreU(hn::Or(hn::TableLookupBytesOr0(means(offset), low),
                      hn::TableLookupBytesOr0(means(offset + advance), high)),
               d, out + x * channels);
  }
  return x;
}

#endif

void reduce_row(const uint8_t *upper, const uint8_t *lower, int32_t readable, int32_t channels,
                int32_t ratio, int32_t columns, uint8_t *out) {
  int32_t x = 0;
#if TAVRINE_IS_NEON
  if (ratio == 2) {
    x = halve_row(upper, lower, channels, columns, out);
  } else {
    x = reduce_blocks(upper, lower, readable, channels, ratio, columns, out);
  }
#elif TAVRINE_HAS_VECTORS
  if (ratio == 2 && channels == 1) {
    x = halve_grey_row(upper, lower, columns, out);
  } else {
    x = reduce_blocks(upper, lower, readable, channels, ratio, columns, out);
  }
#else
  static_cast<void>(readable);
#endif
  const ptrdiff_t done = static_cast<ptrdiff_t>(x) * ratio * channels;
  scalar::reduce_rows(upper + done, lower + done, channels, ratio, columns - x,
                      out + static_cast<ptrdiff_t>(x) * channels);
}

void resize_reduce(const PlaneView &source, const PlaneView &destination, int32_t ratio) {
  const int32_t middle = ratio / 2 - 1;
  const int32_t skipped = middle * source.channels;
  const auto readable = static_cast<int32_t>(source.row_bytes()) - skipped;
  for (int32_t y = 0; y < destination.rows; ++y) {
    const uint8_t *upper = source.row(y * ratio + middle) + skipped;
    reduce_row(upper, upper + source.step, readable, source.channels, ratio, destination.columns,
               destination.row(y));
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
}  // namespace

void resize_reduce(const PlaneView &source, const PlaneView &destination, int32_t ratio) {
  HWY_DYNAMIC_DISPATCH(resize_reduce)(source, destination, ratio);
}

}  // namespace tavrine
#endif
