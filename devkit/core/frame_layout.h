// Where the planes of a new frame go, and where those of an existing record are.
#pragma once

#include <cstddef>
#include <optional>

#include "exported.h"
#include "pixel_formats.h"

namespace tavrine::devkit {

struct FrameLayout {
  const PixelFormat *format;
  int32_t strides[TAVRINE_MAX_PLANES];
  size_t offsets[TAVRINE_MAX_PLANES];
  size_t total_bytes;
};

// Each of these is empty when there is no such frame: unknown format, empty size, a stride
// that does not hold a row, more bytes than can be addressed. Null `strides` are all 0.
std::optional<FrameLayout> tight_layout(uint32_t format, int32_t width, int32_t height);
// Strides of 0 are tight.
std::optional<FrameLayout> wrapped_layout(uint32_t format, int32_t width, int32_t height,
                                          const int32_t *strides);
// Strides of 0 are what suits the memory type; chroma rows keep the padding of luma rows.
std::optional<FrameLayout> default_layout(int32_t mem_type, uint32_t format, int32_t width,
                                          int32_t height, const int32_t *strides);

struct PlaneRows {
  uint8_t *data;
  size_t stride;
  size_t row_bytes;
  int32_t rows;
};

struct FrameRows {
  const PixelFormat *format;
  PlaneRows planes[TAVRINE_MAX_PLANES];
};

// The planes by the public fields of a record alone, which applications may have changed;
// empty when those describe no pixels.
std::optional<FrameRows> frame_rows(const tavrine_frame_t &frame);

}  // namespace tavrine::devkit
