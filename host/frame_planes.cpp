#include "host/frame_planes.h"

#include <limits>

namespace tavrine {

PlaneView view_of_plane(const tavrine_frame_t *frame, int plane, int32_t columns, int32_t rows,
                        int32_t channels) {
  PlaneView view = {nullptr, channels, columns, rows, 0};
  if (frame == nullptr || columns <= 0 || rows <= 0) {
    return view;
  }
  const int64_t row_bytes = static_cast<int64_t>(columns) * channels;
  const int64_t step = frame->strides[plane] != 0 ? frame->strides[plane] : row_bytes;
  // A plane that the address space cannot hold is no plane either; kernels count in 32 bits
  // within a row.
  if (row_bytes <= std::numeric_limits<int32_t>::max() && step >= row_bytes &&
      step <= std::numeric_limits<ptrdiff_t>::max() / rows) {
    view.data = static_cast<uint8_t *>(frame->planes[plane]);
    view.stride = static_cast<ptrdiff_t>(step);
  }
  return view;
}

}  // namespace tavrine
