// Questions about pixel formats that several layers ask.
#pragma once

#include "tavrine_types.h"

namespace tavrine {

inline constexpr int32_t kTightStrides[TAVRINE_MAX_PLANES] = {0, 0, 0, 0};

// Two planes (NV12, NV21) or three (YU12), chroma at half width and height.
constexpr bool is_semi_planar(uint32_t format) {
  return format == TAVRINE_FORMAT_NV12 || format == TAVRINE_FORMAT_NV21;
}

constexpr bool is_yuv420(uint32_t format) {
  return is_semi_planar(format) || format == TAVRINE_FORMAT_YU12;
}

constexpr bool is_packed_rgb(uint32_t format) {
  return format == TAVRINE_FORMAT_RGB24 || format == TAVRINE_FORMAT_BGR24;
}

}  // namespace tavrine
