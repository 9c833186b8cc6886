#include "kernels/resize/downscale_2x_4x.h"

#include "kernels/path.h"
#include "kernels/resize/downscale_2x_4x_scalar.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/resize/downscale_2x_4x.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "kernels/resize/downscale_2x_4x_arm-inl.h"
#include "kernels/resize/downscale_2x_4x_x86-inl.h"
#include "kernels/resize/overwriting_steps-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

// An instruction set with vectors has DownscaleStep<ratio, channels>: a step over an upper and a
// lower row, which start at the left edge of a block. See overwriting_steps-inl.h. Its constructor
// loads the constants of a plane. Of kOverread blocks after its own it may read.
//
// The sum of four bytes and 2 is at most 1022, so 16 bits hold it.

template <int32_t kRatio, int32_t kChannels>
void downscale_rows(const PlaneView &source, const PlaneView &destination) {
  const int32_t columns = destination.columns;
#if TAVRINE_HAS_VECTORS
  using Step = DownscaleStep<kRatio, kChannels>;
  const Step step;
  const int32_t vector_columns = columns - Step::kOverread;
  const bool has_vectors = vector_columns >= Step::kPixels;
#else
  constexpr bool has_vectors = false;
#endif
  trace_path(has_vectors ? "resize.downscale.vectors" : "resize.downscale.definition");
  for (int32_t y = 0; y < destination.rows; ++y) {
    const uint8_t *upper = source.row(y * kRatio + kRatio / 2 - 1);
    const uint8_t *lower = upper + source.stride;
    uint8_t *out = destination.row(y);
    int32_t done = 0;
#if TAVRINE_HAS_VECTORS
    if (has_vectors) {
      done = vector_columns;
      for_each_overwriting_step(step, done, out, upper, lower);
    }
#endif
    const ptrdiff_t first = static_cast<ptrdiff_t>(done) * kRatio * kChannels;
    scalar::downscale_row(upper + first, lower + first, kChannels, kRatio, columns - done,
                          out + static_cast<ptrdiff_t>(done) * kChannels);
  }
}

void downscale_2x_4x(const PlaneView &source, const PlaneView &destination, int32_t ratio) {
  with_channels(source.channels, [&](auto channels) {
    if (ratio == 2) {
      downscale_rows<2, channels>(source, destination);
    } else {
      downscale_rows<4, channels>(source, destination);
    }
  });
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tavrine {
namespace {
HWY_EXPORT(downscale_2x_4x);
}  // namespace

void downscale_2x_4x(const PlaneView &source, const PlaneView &destination, int32_t ratio) {
  HWY_DYNAMIC_DISPATCH(downscale_2x_4x)(source, destination, ratio);
}

}  // namespace tavrine
#endif
