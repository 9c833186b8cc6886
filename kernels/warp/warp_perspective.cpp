#include "kernels/warp/warp_perspective.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/warp/warp_perspective.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include <limits>

#include "kernels/path.h"
#include "kernels/warp/rows_ahead.h"
#include "kernels/warp/warp_perspective_arm-inl.h"
#include "kernels/warp/warp_perspective_scalar.h"
#include "kernels/warp/warp_perspective_x86-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

// A vector target defines in warp_perspective_arm-inl.h or warp_perspective_x86-inl.h:
//
//   kPixelsInPerspectiveStep<kChannels>  columns that a row must have at least
//   is_fit_for_vectors(source, matrix)  whether rows equal the definition for every position of the
//                               matrix
//   warp_plane<kChannels>(source, ahead, matrix, destination)  also names its path; may prefetch

#if TAVRINE_HAS_VECTORS
// As far as the pixel in the middle of the destination moves.
RowsAhead rows_ahead(const PlaneView &source, const PerspectiveMatrix &matrix,
                     const PlaneView &destination) {
  const float *m = matrix.m;
  const auto x = static_cast<float>(destination.columns) / 2;
  const auto y = static_cast<float>(destination.rows) / 2;
  const auto after = y + static_cast<float>(RowsAhead::kRows);
  const auto position = [&](const float *row, float at) {
    return (at * row[1] + x * row[0] + row[2]) / (at * m[7] + x * m[6] + m[8]);
  };
  const auto moved = [&](const float *row) {
    return truncate_to_int32(position(row, after) - position(row, y));
  };
  return {source, moved(m), moved(m + 3)};
}
#endif

template <int kChannels>
void warp_channels(const PlaneView &source, const PerspectiveMatrix &matrix,
                   const PlaneView &destination) {
#if TAVRINE_HAS_VECTORS
  // Offsets of source pixels fit 32 bits, and four bytes lie in the plane.
  if (destination.columns >= kPixelsInPerspectiveStep<kChannels> &&
      is_fit_for_vectors(source, matrix) &&
      source.stride <= std::numeric_limits<int32_t>::max() / source.rows &&
      (source.rows > 1 ? source.stride : source.row_bytes()) >= 4) {
    warp_plane<kChannels>(source, rows_ahead(source, matrix, destination), matrix, destination);
    return;
  }
#endif
  trace_path("warp_perspective.definition");
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
  if (!have_same_channels(source, destination) || (source.channels != 1 && source.channels != 3)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(warp)(source, matrix, destination);
  return true;
}

}  // namespace tavrine
#endif
