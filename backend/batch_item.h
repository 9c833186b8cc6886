// One region of a batch, prepared by the entry point.
//
// The record is complete for an engine that scales and fills in one pass. The CPU goes through
// frames and reads only the sizes, the ratios, the padding and the area.
#pragma once

#include "backend/operations.h"

namespace tavrine {

struct BatchItem {
  const void *pixels;  // the first plane
  size_t pixel_bytes;
  int32_t frame_height;
  int32_t frame_width;
  int32_t stride;  // of the first plane; 0: tight
  // For formats of three bytes, else 0: the tensor channel that each byte of a pixel belongs to
  // (a grey tensor counts as red first), and the colour, from red on, that it holds.
  int32_t output_channels[3];
  int32_t source_channels[3];
  float vertical_ratio;    // region rows per tensor row
  float horizontal_ratio;  // region columns per tensor column
  float padding[3];        // red, green, blue
  tavrine_area2d_t area;
  uint32_t pixel_format;
};

}  // namespace tavrine
