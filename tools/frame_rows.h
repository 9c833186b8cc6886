// The rows of a frame's planes, without their padding.
#pragma once

#include <cstdint>

#include "handles.h"

namespace tavrine::tool {

struct PlaneRows {
  uint8_t *first;
  size_t stride;
  size_t bytes;  // of the pixels in one row
  int32_t count;

  uint8_t *row(int32_t y) const { return first + static_cast<size_t>(y) * stride; }
};

// Frames of several planes are 4:2:0: two planes are luma and interleaved chroma, three are
// luma and one plane for each chroma channel.
inline PlaneRows plane_rows(const tavrine_frame_t &frame, int32_t plane) {
  const auto width = static_cast<size_t>(frame.width);
  PlaneRows rows{static_cast<uint8_t *>(frame.planes[plane]),
                 static_cast<size_t>(frame.strides[plane]),
                 width * tavrine_frame_pixel_size(frame.pixel_format), frame.height};
  if (plane > 0) {
    rows.bytes = frame.plane_count == 2 ? width / 2 * 2 : width / 2;
    rows.count = frame.height / 2;
  }
  if (rows.stride == 0) {
    rows.stride = rows.bytes;
  }
  return rows;
}

// Stops at the first row for which `use` returns false; returns whether none did.
template <typename Use>
bool for_each_row(const tavrine_frame_t &frame, Use use) {
  for (int32_t plane = 0; plane < frame.plane_count; ++plane) {
    const PlaneRows rows = plane_rows(frame, plane);
    for (int32_t y = 0; y < rows.count; ++y) {
      if (!use(rows.row(y), rows.bytes)) {
        return false;
      }
    }
  }
  return true;
}

}  // namespace tavrine::tool
