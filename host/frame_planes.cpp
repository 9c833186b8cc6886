#include "host/frame_planes.h"

#include <limits>

namespace tavrine {

PlaneView view_of_plane(const tavrine_frame_t *frame, int plane, const PlaneLayout &layout,
                        int32_t width, int32_t height) {
  // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): every layout says 1 or 2
  PlaneView view = {nullptr, layout.channels, width / layout.subsampling,
                    height / layout.subsampling, 0};
  if (frame == nullptr || view.columns <= 0 || view.rows <= 0) {
    return view;
  }
  const PlaneRows rows = plane_rows(frame, plane, layout, width, height);
  // Kernels count in 32 bits within a row, and a plane that the address space cannot hold is not
  // one.
  if (rows.row_bytes <= std::numeric_limits<int32_t>::max() && rows.stride >= rows.row_bytes &&
      rows.stride <= std::numeric_limits<ptrdiff_t>::max() / rows.rows) {
    view.data = rows.data;
    view.stride = static_cast<ptrdiff_t>(rows.stride);
  }
  return view;
}

PlaneView view_of_plane(const tavrine_frame_t *frame, int plane) {
  return view_of_plane(frame, plane, layout_of(frame->pixel_format).planes[plane], frame->width,
                       frame->height);
}

}  // namespace tavrine
