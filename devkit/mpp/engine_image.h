// An image that the engine has accepted, as planes of its memory.
#pragma once

#include "mmz.h"

namespace tavrine::devkit {

struct EnginePlane {
  EngineRange range;
  size_t pitch;

  const uint8_t *row(uint32_t y) const { return range.bytes() + y * pitch; }
  void write_row(uint32_t y, const uint8_t *bytes, size_t size) const {
    range.write(y * pitch, bytes, size);
  }
};

struct EngineImage {
  uint32_t width;
  uint32_t height;
  EnginePlane planes[2];  // grey, packed, or luma and chroma pairs
};

// Finds the memory of an image; returns an error code if the engine cannot use it.
HI_S32 find_image(const IVE_IMAGE_S &image, EngineImage *found);

}  // namespace tavrine::devkit
