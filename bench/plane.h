// One plane of a frame as the peers take it.
#pragma once

#include "host/frame_planes.h"

namespace tavrine::bench {

struct Plane {
  uint8_t *data;
  int stride;
  int width;
  int height;
  int channels;
};

inline Plane plane_of(const tavrine_frame_t *frame, int index) {
  const PlaneLayout layout = layout_of(frame->pixel_format).planes[index];
  // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): every layout says 1 or 2
  const int width = frame->width / layout.subsampling;
  const int stride = frame->strides[index] != 0 ? frame->strides[index] : width * layout.channels;
  return {static_cast<uint8_t *>(frame->planes[index]), stride, width,
          frame->height / layout.subsampling, layout.channels};
}

}  // namespace tavrine::bench
