#include "kernels/color/yuv.h"

#include "kernels/path.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/color/yuv.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "kernels/color/row_steps-inl.h"
#include "kernels/color/yuv_arm-inl.h"
#include "kernels/color/yuv_scalar.h"
#include "kernels/color/yuv_x86-inl.h"
#include "kernels/vector-inl.h"

// The steps, each of kPixelsInStep columns, which move their pointers past them. kRed is the byte
// of a pixel that is red, kU that of a pair that is U.
//
//   luma_step<kRed>(pixels, luma)
//   luma_and_chroma_step<kRed, kU>(pixels, luma, chroma)
//   packed_step<kRed, kU>(lumas, chroma, pixels)
//     Two rows, since they share their chroma. A multiple of 64 before a shift by 6 may as well be
//     added after it:
//
//       (64 Y + 32 + 86 v) >> 6 = Y + ((32 + 86 v) >> 6)
//
//     so what a pair adds to a channel is calculated once for its four pixels. It lies between -220
//     and 218, which is kept as two bytes: one to add and one to subtract, with saturation. One of
//     them is always zero, so the result saturates as the definition does.
//
// 16 bits hold all sums: 128 * 255 + 64 < 2^15 for the lumas, 67 * 255 + 64 for chroma, and
// 110 * 128 + 32 for what a pair adds.

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

#if TAVRINE_HAS_VECTORS

constexpr bool kHasVectors = true;

template <int32_t kRed>
void luma_row(const uint8_t *pixels, int32_t columns, uint8_t *luma) {
  convert_row<kPixelsInStep, 3, 1>(pixels, columns, luma, luma_step<kRed>);
}

template <int32_t kRed, int32_t kU>
void luma_and_chroma_row(const uint8_t *pixels, int32_t columns, uint8_t *luma, uint8_t *chroma) {
  for (; columns >= kPixelsInStep; columns -= kPixelsInStep) {
    luma_and_chroma_step<kRed, kU>(pixels, luma, chroma);
  }
  if (columns > 0) {
    const auto count = static_cast<size_t>(columns);  // even
    const PaddedInput<size_t{3} * kPixelsInStep> copy(pixels, 3 * count);
    PaddedOutput<kPixelsInStep> lumas;
    PaddedOutput<kPixelsInStep> pairs;
    const uint8_t *from = copy.data();
    uint8_t *to_luma = lumas.data();
    uint8_t *to_chroma = pairs.data();
    luma_and_chroma_step<kRed, kU>(from, to_luma, to_chroma);
    lumas.store(luma, count);
    pairs.store(chroma, count);
  }
}

template <int32_t kRed, int32_t kU>
void packed_rows(RowPair<const uint8_t> lumas, const uint8_t *chroma, int32_t columns,
                 RowPair<uint8_t> pixels) {
  for (; columns >= kPixelsInStep; columns -= kPixelsInStep) {
    packed_step<kRed, kU>(lumas, chroma, pixels);
  }
  if (columns > 0) {
    const auto count = static_cast<size_t>(columns);  // even
    const PaddedInput<kPixelsInStep> upper(lumas.upper, count);
    const PaddedInput<kPixelsInStep> lower(lumas.lower, count);
    const PaddedInput<kPixelsInStep> pairs(chroma, count);
    PaddedOutput<size_t{3} * kPixelsInStep> upper_result;
    PaddedOutput<size_t{3} * kPixelsInStep> lower_result;
    RowPair<const uint8_t> from = {upper.data(), lower.data()};
    const uint8_t *from_chroma = pairs.data();
    RowPair<uint8_t> to = {upper_result.data(), lower_result.data()};
    packed_step<kRed, kU>(from, from_chroma, to);
    upper_result.store(pixels.upper, 3 * count);
    lower_result.store(pixels.lower, 3 * count);
  }
}

#else

constexpr bool kHasVectors = false;

template <int32_t kRed>
void luma_row(const uint8_t *pixels, int32_t columns, uint8_t *luma) {
  scalar::luma_row(pixels, kRed, columns, luma);
}

template <int32_t kRed, int32_t kU>
void luma_and_chroma_row(const uint8_t *pixels, int32_t columns, uint8_t *luma, uint8_t *chroma) {
  scalar::luma_row(pixels, kRed, columns, luma);
  scalar::chroma_row(pixels, kRed, columns / 2, chroma, kU);
}

template <int32_t kRed, int32_t kU>
void packed_rows(RowPair<const uint8_t> lumas, const uint8_t *chroma, int32_t columns,
                 RowPair<uint8_t> pixels) {
  scalar::packed_row(lumas.upper, chroma, kU, columns, pixels.upper, kRed);
  scalar::packed_row(lumas.lower, chroma, kU, columns, pixels.lower, kRed);
}

#endif

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
    for (int32_t y = 0; y < luma.rows; y += 2) {
      packed_rows<kRed, kU>({luma.row(y), luma.row(y + 1)}, chroma.row(y / 2), luma.columns,
                            {packed.row(y), packed.row(y + 1)});
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
  trace_path(kHasVectors ? "yuv.from_rgb.vectors" : "yuv.from_rgb.scalar");
  choose_conversion(red, u, [&](auto conversion) { conversion.to_yuv(packed, luma, chroma); });
}

void yuv_to_rgb(const PlaneView &luma, const PlaneView &chroma, int32_t u, const PlaneView &packed,
                int32_t red) {
  trace_path(kHasVectors ? "yuv.to_rgb.vectors" : "yuv.to_rgb.scalar");
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
  return fit(packed, 3, luma, 1) && luma.columns % 2 == 0 && luma.rows % 2 == 0 &&
         chroma.is_usable() && chroma.channels == 2 && chroma.columns == luma.columns / 2 &&
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
