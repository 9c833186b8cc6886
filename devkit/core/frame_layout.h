// Places the planes of a new frame, and finds those of an existing record.
#pragma once

#include <cstddef>
#include <optional>

#include "core_api.h"
#include "pixel_formats.h"

namespace tavrine::devkit {

struct FrameLayout {
  const PixelFormat *format;
  int32_t strides[TAVRINE_MAX_PLANES];
  size_t offsets[TAVRINE_MAX_PLANES];
  size_t total_bytes;
};

// These return nothing for an unknown format, an empty size, a stride shorter than a row, or more
// bytes than can be addressed. Null `strides` means that all are 0.
std::optional<FrameLayout> tight_layout(uint32_t format, int32_t width, int32_t height);
// A stride of 0 means tightly packed rows.
std::optional<FrameLayout> wrapped_layout(uint32_t format, int32_t width, int32_t height,
                                          const int32_t *strides);
// A stride of 0 means the memory type's default; chroma rows are padded like luma rows.
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

// Reads the planes from the public fields, which applications may have changed. Returns nothing
// when these do not describe pixels.
std::optional<FrameRows> frame_rows(const tavrine_frame_t &frame);

}  // namespace tavrine::devkit
