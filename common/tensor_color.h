// What a tensor's colour type requires of the tensor and of the frames.
#pragma once

#include "common/pixel_format.h"
#include "tavrine_aux.h"

namespace tavrine {

// How many channels a fill writes; 0 for an unknown type.
constexpr int32_t channel_count_of(int32_t color_type) {
  switch (color_type) {
    case TAVRINE_TENSOR_BGR:
    case TAVRINE_TENSOR_RGB:
      return 3;
    case TAVRINE_TENSOR_GRAY:
      return 1;
    default:
      return 0;
  }
}

constexpr bool accepts_format(int32_t color_type, uint32_t format) {
  return is_packed_rgb(format) ? channel_count_of(color_type) > 0
                               : color_type == TAVRINE_TENSOR_GRAY && format == TAVRINE_FORMAT_GREY;
}

}  // namespace tavrine
