#include "host/kernels/rgb.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "host/kernels/rgb.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "host/kernels/packed_pixels-inl.h"
#include "host/kernels/rgb_scalar.h"
#include "host/kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

void replicate_row(const uint8_t *grey, int32_t columns, uint8_t *pixels) {
  int32_t x = 0;
#if TAVRINE_HAS_VECTORS
  const Bytes d;
  const auto lanes = static_cast<int32_t>(byte_lanes());
  for (; x <= columns - lanes; x += lanes) {
    const auto v = hn::LoadU(d, grey + x);
    hn::StoreInterleaved3(v, v, v, d, pixels + 3 * x);
  }
#endif
  scalar::replicate_grey(grey + x, columns - x, pixels + 3 * x);
}

void swap_row(const uint8_t *in, int32_t columns, uint8_t *out) {
  int32_t x = 0;
#if TAVRINE_IS_NEON
  const Bytes d;
  for (; x <= columns - 16; x += 16) {
    hn::VFromD<Bytes> first, second, third;
    hn::LoadInterleaved3(d, in + 3 * x, first, second, third);
    hn::StoreInterleaved3(third, second, first, d, out + 3 * x);
  }
#elif TAVRINE_HAS_VECTORS
  // Five pixels of a block are turned; its last byte is put right by the next block, or by the
  // scalar end of the row.
  const BytesInBlock d;
  alignas(16) constexpr uint8_t kOrder[16] = {2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 14, 13, 12, 15};
  const auto order = hn::Load(d, kOrder);
  for (; x <= columns - 6; x += 5) {
    const auto block = hn::LoadU(d, in + 3 * x);
    hn::StoreU(hn::TableLookupBytes(block, order), d, out + 3 * x);
  }
#endif
  scalar::swap_red_blue(in + 3 * x, columns - x, out + 3 * x);
}

#if TAVRINE_HAS_VECTORS

// The truncated luma is the integer quotient of s = 587 G + 299 R + 114 B and 1000, which is that
// of t = s / 8 and 125, in words:
//
//   t = 73 G + 37 R + 14 B + ((3 G + 3 R + 2 B) >> 3)    t / 125 = (t * 33555) >> 22
//
// but for one case. Where s is a multiple of 1000 the sum in double precision may fall just short
// of the quotient, so those pixels, one in a thousand and every grey one, are done by definition.
constexpr uint16_t kReciprocal = 33555;  // 2^22 / 125, rounded up: right up to t = 59073

// A grey pixel's luma is its value or one less.
struct GreyLumas {
  uint8_t of[256];

  constexpr GreyLumas() : of() {
    for (int32_t grey = 0; grey < 256; ++grey) {
      of[grey] = static_cast<uint8_t>(grey * 0.587 + grey * 0.299 + grey * 0.114);
    }
  }
};

void mend_exact_quotients(const uint8_t *pixel, int32_t red, uint8_t *grey) {
  static constexpr GreyLumas kGreyLumas;
  for (int32_t x = 0; x < kPixelsInStep; ++x, pixel += 3) {
    if (pixel[0] == pixel[1] && pixel[1] == pixel[2]) {
      grey[x] = kGreyLumas.of[pixel[0]];
    } else if ((587 * pixel[1] + 299 * pixel[red] + 114 * pixel[2 - red]) % 1000 == 0) {
      scalar::weigh_luma(pixel, red, 1, grey + x);
    }
  }
}

#endif

#if TAVRINE_IS_NEON

HWY_INLINE void luma_step(const uint8_t *pixels, int32_t red, uint8_t *grey) {
  uint16x8_t least_rest = vdupq_n_u16(0xFFFF);
  const auto half = [&](uint8x8_t r, uint8x8_t g, uint8x8_t b) {
    const uint8x8_t three = vdup_n_u8(3);
    const uint16x8_t eighths = vmlal_u8(vmlal_u8(vmull_u8(g, three), r, three), b, vdup_n_u8(2));
    uint16x8_t t = vmlal_u8(vmull_u8(g, vdup_n_u8(73)), r, vdup_n_u8(37));
    t = vsraq_n_u16(vmlal_u8(t, b, vdup_n_u8(14)), eighths, 3);
    const uint16x4_t low = vshrn_n_u32(vmull_n_u16(vget_low_u16(t), kReciprocal), 16);
    const uint16x4_t high = vshrn_n_u32(vmull_n_u16(vget_high_u16(t), kReciprocal), 16);
    const uint8x8_t quotient = vshrn_n_u16(vcombine_u16(low, high), 6);
    const uint16x8_t rest =
        vorrq_u16(vmlsl_u8(t, quotient, vdup_n_u8(125)), vandq_u16(eighths, vdupq_n_u16(7)));
    least_rest = vminq_u16(least_rest, rest);
    return quotient;
  };
  for (int32_t x = 0; x < kPixelsInStep; x += 16) {
    const uint8x16x3_t rgb = vld3q_u8(pixels + 3 * x);
    const uint8x16_t r = red == 0 ? rgb.val[0] : rgb.val[2];
    const uint8x16_t b = red == 0 ? rgb.val[2] : rgb.val[0];
    vst1q_u8(grey + x,
             vcombine_u8(half(vget_low_u8(r), vget_low_u8(rgb.val[1]), vget_low_u8(b)),
                         half(vget_high_u8(r), vget_high_u8(rgb.val[1]), vget_high_u8(b))));
  }
  const uint16x4_t least = vmin_u16(vget_low_u16(least_rest), vget_high_u16(least_rest));
  const uint16x4_t least_of_pairs = vpmin_u16(least, least);
  if (vget_lane_u16(vpmin_u16(least_of_pairs, least_of_pairs), 0) == 0) {
    mend_exact_quotients(pixels, red, grey);
  }
}

#elif TAVRINE_IS_X86

HWY_INLINE void luma_step(const uint8_t *pixels, int32_t red, uint8_t *grey) {
  const Words d16;
  const hn::ScalableTag<uint16_t> du16;
  const auto weights = pixel_weights(red, 37, 73, 14);
  const auto eighths_weights = pixel_weights(red, 3, 3, 2);
  const auto seven = hn::Set(Ints(), 7);
  const auto reciprocal = hn::Set(du16, kReciprocal);
  const auto divisor = hn::Set(d16, 125);
  const auto lanes = static_cast<int32_t>(byte_lanes());
  bool all_inexact = true;
  for (int32_t x = 0; x < kPixelsInStep; x += lanes) {
    const auto quotients = [&](const uint8_t *from) {
      const auto first = load_pixels(from);
      const auto second = load_pixels(from + 12);
      const auto first_eighths = multiply_pixels(first, eighths_weights);
      const auto second_eighths = multiply_pixels(second, eighths_weights);
      const auto whole = [&](hn::VFromD<Bytes> p, hn::VFromD<Ints> eighths) {
        return hn::Add(multiply_pixels(p, weights), hn::ShiftRight<3>(eighths));
      };
      const auto t =
          hn::ReorderDemote2To(d16, whole(first, first_eighths), whole(second, second_eighths));
      const auto low_bits =
          hn::ReorderDemote2To(d16, hn::And(first_eighths, seven), hn::And(second_eighths, seven));
      const auto quotient =
          hn::BitCast(d16, hn::ShiftRight<6>(hn::MulHigh(hn::BitCast(du16, t), reciprocal)));
      const auto rest = hn::Or(hn::Sub(t, hn::Mul(quotient, divisor)), low_bits);
      all_inexact = hn::AllFalse(d16, hn::Eq(rest, hn::Zero(d16))) && all_inexact;
      return quotient;
    };
    const auto low = quotients(pixels + 3 * x);
    const auto high = quotients(pixels + 3 * x + 24);
    hn::StoreU(pack_in_blocks(low, high), Bytes(), grey + x);
  }
  if (!all_inexact) {
    mend_exact_quotients(pixels, red, grey);
  }
}

#endif

void luma_row(const uint8_t *pixels, int32_t red, int32_t columns, uint8_t *grey) {
#if TAVRINE_HAS_VECTORS
  int32_t x = 0;
  for (; x <= columns - kPixelsSeen; x += kPixelsInStep) {
    luma_step(pixels + 3 * x, red, grey + x);
  }
  finish_row<3, 1, kPixelsInStep>(
      pixels + 3 * x, columns - x, grey + x,
      [&](const uint8_t *in, uint8_t *out) { luma_step(in, red, out); });
#else
  scalar::weigh_luma(pixels, red, columns, grey);
#endif
}

void replicate_rows(const PlaneView &grey, const PlaneView &packed) {
  for (int32_t y = 0; y < grey.rows; ++y) {
    replicate_row(grey.row(y), grey.columns, packed.row(y));
  }
}

void swap_rows(const PlaneView &source, const PlaneView &destination) {
  for (int32_t y = 0; y < source.rows; ++y) {
    swap_row(source.row(y), source.columns, destination.row(y));
  }
}

void luma_rows(const PlaneView &packed, int32_t red, const PlaneView &grey) {
  for (int32_t y = 0; y < grey.rows; ++y) {
    luma_row(packed.row(y), red, grey.columns, grey.row(y));
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tavrine {
namespace {

HWY_EXPORT(replicate_rows);
HWY_EXPORT(swap_rows);
HWY_EXPORT(luma_rows);

bool are_convertible(const PlaneView &source, const PlaneView &destination) {
  return source.is_usable() && destination.is_usable() && have_same_size(source, destination);
}

}  // namespace

bool weigh_luma(const PlaneView &packed, ByteOrder order, const PlaneView &grey) {
  if (!are_convertible(packed, grey)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(luma_rows)(packed, red_byte(order), grey);
  return true;
}

bool replicate_grey(const PlaneView &grey, const PlaneView &packed) {
  if (!are_convertible(grey, packed)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(replicate_rows)(grey, packed);
  return true;
}

bool swap_red_blue(const PlaneView &source, const PlaneView &destination) {
  if (!are_convertible(source, destination)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(swap_rows)(source, destination);
  return true;
}

}  // namespace tavrine
#endif
