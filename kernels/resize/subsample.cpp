#include "kernels/resize/subsample.h"

#include <cstring>

#include "kernels/path.h"
#include "kernels/resize/subsample_scalar.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/resize/subsample.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "kernels/resize/overwriting_steps-inl.h"
#include "kernels/resize/subsample_arm-inl.h"
#include "kernels/resize/subsample_x86-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

// An instruction set with vectors has SubsampleThirdsStep<channels> for one and for three channels:
// a step over a row at 3:1. See overwriting_steps-inl.h. Its constructor loads the constants of a
// plane. It reads nothing but the source bytes of its pixels.

// Calls run(centre, out) with every destination row and the middle row of those that it stands for.
template <class Run>
void for_each_centre_row(const PlaneView &source, const PlaneView &destination, Run run) {
  const int32_t ratio = source.rows / destination.rows;
  for (int32_t y = 0; y < destination.rows; ++y) {
    run(source.row(y * ratio + ratio / 2), destination.row(y));
  }
}

void copy_rows(const PlaneView &source, const PlaneView &destination) {
  trace_path("resize.subsample.copy");
  for_each_centre_row(source, destination, [&](const uint8_t *row, uint8_t *out) {
    std::memcpy(out, row, static_cast<size_t>(destination.row_bytes()));
  });
}

template <int32_t kChannels>
void take_pixels(const PlaneView &source, const PlaneView &destination, int32_t ratio) {
  trace_path("resize.subsample.pixels");
  const ptrdiff_t centre = static_cast<ptrdiff_t>(ratio / 2) * kChannels;
  for_each_centre_row(source, destination, [&](const uint8_t *row, uint8_t *out) {
    scalar::subsample_row<kChannels>(row + centre, ratio, destination.columns, out);
  });
}

#if TAVRINE_HAS_VECTORS

template <int32_t kChannels>
void take_thirds(const PlaneView &source, const PlaneView &destination) {
  trace_path("resize.subsample.thirds");
  using Step = SubsampleThirdsStep<kChannels>;
  const Step step;
  for_each_centre_row(source, destination, [&](const uint8_t *row, uint8_t *out) {
    for_each_overwriting_step(step, destination.columns, out, row);
  });
}

#endif

void subsample(const PlaneView &source, const PlaneView &destination) {
  const int32_t ratio = source.columns / destination.columns;
  if (ratio == 1) {
    return copy_rows(source, destination);
  }
  with_channels(source.channels, [&](auto channels) {
#if TAVRINE_HAS_VECTORS
    if constexpr (channels == 1 || channels == 3) {
      if (ratio == 3 && destination.columns >= SubsampleThirdsStep<channels>::kPixels) {
        return take_thirds<channels>(source, destination);
      }
    }
#endif
    take_pixels<channels>(source, destination, ratio);
  });
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tavrine {
namespace {
HWY_EXPORT(subsample);
}  // namespace

void subsample(const PlaneView &source, const PlaneView &destination) {
  HWY_DYNAMIC_DISPATCH(subsample)(source, destination);
}

}  // namespace tavrine
#endif
