// From frames to the planes that kernels work on.
#pragma once

#include "kernels/plane_view.h"
#include "tavrine_types.h"

namespace tavrine {

// A view of one plane of a frame, or a view without data when the frame is null, the plane
// is missing, or its stride is too small for a row.
PlaneView view_of_plane(const tavrine_frame_t *frame, int plane, int32_t columns, int32_t rows,
                        int32_t channels);

struct PlaneLayout {
  int32_t channels = 0;     // bytes of one pixel of this plane
  int32_t subsampling = 1;  // frame pixels per plane pixel, along each axis
};

struct FormatLayout {
  int plane_count;  // 0: not an 8-bit format that this library knows
  PlaneLayout planes[3];
};

constexpr FormatLayout layout_of(uint32_t format) {
  switch (format) {
    case TAVRINE_FORMAT_GREY:
      return {1, {{1, 1}}};
    case TAVRINE_FORMAT_RGB24:
    case TAVRINE_FORMAT_BGR24:
      return {1, {{3, 1}}};
    case TAVRINE_FORMAT_BGRA:
    case TAVRINE_FORMAT_ARGB:
      return {1, {{4, 1}}};
    case TAVRINE_FORMAT_NV12:
    case TAVRINE_FORMAT_NV21:
      return {2, {{1, 1}, {2, 2}}};
    case TAVRINE_FORMAT_YU12:
      return {3, {{1, 1}, {1, 2}, {1, 2}}};
    default:
      return {0, {}};
  }
}

// View of a plane of a frame whose pixels count width x height.
inline PlaneView view_of_plane(const tavrine_frame_t *frame, int plane, const PlaneLayout &layout,
                               int32_t width, int32_t height) {
  // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): every layout says 1 or 2
  return view_of_plane(frame, plane, width / layout.subsampling, height / layout.subsampling,
                       layout.channels);
}

}  // namespace tavrine
