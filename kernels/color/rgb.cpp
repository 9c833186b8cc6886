#include "kernels/color/rgb.h"

#include "kernels/path.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/color/rgb.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "kernels/color/rgb_arm-inl.h"
#include "kernels/color/rgb_scalar.h"
#include "kernels/color/rgb_x86-inl.h"
#include "kernels/color/row_steps-inl.h"
#include "kernels/color/truncated_luma_arm-inl.h"
#include "kernels/color/truncated_luma_x86-inl.h"
#include "kernels/vector-inl.h"

// The steps, each of kPixelsInStep pixels, which move their pointers past them:
//
//   replicate_grey_step(grey, pixels)   a b ...             -> a a a b b b ...
//   swap_red_blue_step(in, out)         r0 g0 b0 r1 g1 ...  -> b0 g0 r0 b1 g1 ...
//
//   truncated_lumas<kRed>(pixels, count, lumas)
//     The lumas of any multiple of kPixelsInStep pixels, in one call: its loop keeps the weights
//     in their registers. kRed is the byte of a pixel that is red.

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

#if TAVRINE_HAS_VECTORS

constexpr bool kHasVectors = true;

void replicate_grey_row(const uint8_t *grey, int32_t columns, uint8_t *pixels) {
  convert_row<kPixelsInStep, 1, 3>(grey, columns, pixels, replicate_grey_step);
}

void swap_red_blue_row(const uint8_t *in, int32_t columns, uint8_t *out) {
  convert_row<kPixelsInStep, 3, 3>(in, columns, out, swap_red_blue_step);
}

template <int32_t kRed>
void luma_row(const uint8_t *pixels, int32_t columns, uint8_t *grey) {
  const int32_t whole = columns / kPixelsInStep * kPixelsInStep;
  truncated_lumas<kRed>(pixels, whole, grey);
  finish_row<kPixelsInStep, 3, 1>(
      pixels + ptrdiff_t{3} * whole, columns - whole, grey + whole,
      [](const uint8_t *in, uint8_t *out) { truncated_lumas<kRed>(in, kPixelsInStep, out); });
}

#else

constexpr bool kHasVectors = false;

using scalar::replicate_grey_row;
using scalar::swap_red_blue_row;

template <int32_t kRed>
void luma_row(const uint8_t *pixels, int32_t columns, uint8_t *grey) {
  scalar::truncated_luma_row(pixels, kRed, columns, grey);
}

#endif

void replicate_grey_rows(const PlaneView &grey, const PlaneView &packed) {
  trace_path(kHasVectors ? "rgb.replicate.vectors" : "rgb.replicate.scalar");
  for (int32_t y = 0; y < grey.rows; ++y) {
    replicate_grey_row(grey.row(y), grey.columns, packed.row(y));
  }
}

void swap_red_blue_rows(const PlaneView &source, const PlaneView &destination) {
  trace_path(kHasVectors ? "rgb.swap.vectors" : "rgb.swap.scalar");
  for (int32_t y = 0; y < source.rows; ++y) {
    swap_red_blue_row(source.row(y), source.columns, destination.row(y));
  }
}

template <int32_t kRed>
void luma_rows_of(const PlaneView &packed, const PlaneView &grey) {
  for (int32_t y = 0; y < grey.rows; ++y) {
    luma_row<kRed>(packed.row(y), grey.columns, grey.row(y));
  }
}

void luma_rows(const PlaneView &packed, int32_t red, const PlaneView &grey) {
  trace_path(kHasVectors ? "rgb.luma.vectors" : "rgb.luma.scalar");
  red == 0 ? luma_rows_of<0>(packed, grey) : luma_rows_of<2>(packed, grey);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tavrine {
namespace {

HWY_EXPORT(replicate_grey_rows);
HWY_EXPORT(swap_red_blue_rows);
HWY_EXPORT(luma_rows);

}  // namespace

bool weigh_luma(const PlaneView &packed, ByteOrder order, const PlaneView &grey) {
  if (!fit(packed, 3, grey, 1)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(luma_rows)(packed, red_byte(order), grey);
  return true;
}

bool replicate_grey(const PlaneView &grey, const PlaneView &packed) {
  if (!fit(grey, 1, packed, 3)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(replicate_grey_rows)(grey, packed);
  return true;
}

bool swap_red_blue(const PlaneView &source, const PlaneView &destination) {
  if (!fit(source, 3, destination, 3)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(swap_red_blue_rows)(source, destination);
  return true;
}

}  // namespace tavrine
#endif
