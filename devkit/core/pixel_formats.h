// The table of pixel formats.
#pragma once

#include <cstdint>

namespace tavrine::devkit {

struct PixelFormat {
  uint32_t code;
  const char *name;
  int32_t plane_count;
  int32_t pixel_bytes[3];  // of each plane
  int32_t chroma_divisor;  // of the width and height of the planes after the first
};

// Null for an unknown format.
const PixelFormat *find_pixel_format(uint32_t code);

// The size of one plane without row padding.
struct PlaneExtent {
  int64_t row_bytes;
  int32_t rows;

  bool is_empty() const { return row_bytes == 0 || rows == 0; }
};

PlaneExtent plane_extent(const PixelFormat &format, int32_t plane, int32_t width, int32_t height);

}  // namespace tavrine::devkit
