#include "kernels/warp/warp_perspective.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/warp/warp_perspective.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include <limits>

#include "kernels/warp/warp_perspective_rows-inl.h"
#include "kernels/warp/warp_perspective_scalar.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

template <int kChannels>
void warp_channels(const PlaneView &source, const PerspectiveMatrix &matrix,
                   const PlaneView &destination) {
#if TAVRINE_HAS_VECTORS
  // Offsets of source pixels fit 32 bits, and four bytes lie in the plane.
  if (destination.columns >= kPixelsInWarpStep && is_fit_for_vectors(matrix) &&
      source.stride <= std::numeric_limits<int32_t>::max() / source.rows &&
      (source.rows > 1 ? source.stride : source.row_bytes()) >= 4) {
    for (int32_t y = 0; y < destination.rows; ++y) {
      warp_row<kChannels>(source, matrix, y, destination.columns, destination.row(y));
    }
    return;
  }
#endif
  for (int32_t y = 0; y < destination.rows; ++y) {
    scalar::warp_pixels<kChannels>(source, matrix, y, 0, destination.columns, destination.row(y));
  }
}

void warp(const PlaneView &source, const PerspectiveMatrix &matrix, const PlaneView &destination) {
  if (source.channels == 1) {
    warp_channels<1>(source, matrix, destination);
  } else {
    warp_channels<3>(source, matrix, destination);
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tavrine {
namespace {

HWY_EXPORT(warp);

}  // namespace

bool warp_perspective(const PlaneView &source, const PerspectiveMatrix &matrix,
                      const PlaneView &destination) {
  if (!source.is_usable() || !destination.is_usable() || source.channels != destination.channels ||
      (source.channels != 1 && source.channels != 3)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(warp)(source, matrix, destination);
  return true;
}

}  // namespace tavrine
#endif
