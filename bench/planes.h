// The planes of a frame, as the peers take them.
#pragma once

#include <cstdint>
#include <vector>

#include "tavrine_core.h"

namespace tavrine::bench {

struct Plane {
  uint8_t *data;
  int stride;
  int width;
  int height;
  int channels;
};

// Formats of 8 bits have one plane, luma and chroma pairs, or luma and two planes of chroma.
inline Plane plane_of(const tavrine_frame_t *frame, int index) {
  const bool is_first = index == 0;
  const int chroma_channels = frame->plane_count == 2 ? 2 : 1;
  const int channels =
      is_first ? static_cast<int>(tavrine_frame_pixel_size(frame->pixel_format)) : chroma_channels;
  const int width = is_first ? frame->width : frame->width / 2;
  const int height = is_first ? frame->height : frame->height / 2;
  const int stride = frame->strides[index] != 0 ? frame->strides[index] : width * channels;
  return {static_cast<uint8_t *>(frame->planes[index]), stride, width, height, channels};
}

inline std::vector<Plane> planes_of(const tavrine_frame_t *frame) {
  std::vector<Plane> planes;
  for (int index = 0; index < frame->plane_count; ++index) {
    planes.push_back(plane_of(frame, index));
  }
  return planes;
}

}  // namespace tavrine::bench
