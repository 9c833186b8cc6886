// The pixel formats of the library: which planes they have, and where the rows of a plane are.
#pragma once

#include "tavrine_types.h"

namespace tavrine {

inline constexpr int32_t kTightStrides[TAVRINE_MAX_PLANES] = {0, 0, 0, 0};

struct PlaneLayout {
  int32_t channels;     // bytes per pixel of this plane
  int32_t subsampling;  // frame pixels per plane pixel, along each axis
};

struct FormatLayout {
  uint32_t code;
  int32_t plane_count;
  PlaneLayout planes[3];
};

// Formats with 8 bits per channel. Y16 is not one of them: only one conversion reads it.
inline constexpr FormatLayout kFormatLayouts[] = {
    {TAVRINE_FORMAT_GREY, 1, {{1, 1}, {0, 1}, {0, 1}}},
    {TAVRINE_FORMAT_NV12, 2, {{1, 1}, {2, 2}, {0, 1}}},
    {TAVRINE_FORMAT_NV21, 2, {{1, 1}, {2, 2}, {0, 1}}},
    {TAVRINE_FORMAT_YU12, 3, {{1, 1}, {1, 2}, {1, 2}}},
    {TAVRINE_FORMAT_RGB24, 1, {{3, 1}, {0, 1}, {0, 1}}},
    {TAVRINE_FORMAT_BGR24, 1, {{3, 1}, {0, 1}, {0, 1}}},
    {TAVRINE_FORMAT_BGRA, 1, {{4, 1}, {0, 1}, {0, 1}}},
    {TAVRINE_FORMAT_ARGB, 1, {{4, 1}, {0, 1}, {0, 1}}},
};

// An unknown format has no planes.
constexpr FormatLayout layout_of(uint32_t format) {
  for (const FormatLayout &layout : kFormatLayouts) {
    if (layout.code == format) {
      return layout;
    }
  }
  return {format, 0, {{0, 1}, {0, 1}, {0, 1}}};
}

// A luma plane and one (NV12, NV21) or two (YU12) planes of chroma at half width and height.
constexpr bool is_semi_planar(uint32_t format) { return layout_of(format).plane_count == 2; }

constexpr bool is_yuv420(uint32_t format) { return layout_of(format).plane_count > 1; }

constexpr bool is_packed_rgb(uint32_t format) { return layout_of(format).planes[0].channels == 3; }

// The rows of one plane. Row y begins at data + y * stride.
struct PlaneRows {
  uint8_t *data;
  int64_t row_bytes;
  int64_t stride;
  int32_t rows;
};

// Of a plane of `layout` in a picture of width x height pixels.
inline PlaneRows plane_rows(const tavrine_frame_t *frame, int plane, const PlaneLayout &layout,
                            int32_t width, int32_t height) {
  // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): every layout says 1 or 2
  const int64_t row_bytes = int64_t{width / layout.subsampling} * layout.channels;
  const int64_t stride = frame->strides[plane] != 0 ? frame->strides[plane] : row_bytes;
  return {static_cast<uint8_t *>(frame->planes[plane]), row_bytes, stride,
          height / layout.subsampling};
}

inline PlaneRows plane_rows(const tavrine_frame_t *frame, int plane) {
  return plane_rows(frame, plane, layout_of(frame->pixel_format).planes[plane], frame->width,
                    frame->height);
}

}  // namespace tavrine
