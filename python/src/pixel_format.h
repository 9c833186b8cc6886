// Pixel formats by name, and how arrays hold them.
#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>

namespace tavrine::python {

namespace py = pybind11;

struct PixelFormat {
  const char *name;
  uint32_t code;
  int32_t channels;  // of an (H, W, channels) array; 1: (H, W)
  int32_t sample_bytes;
  bool is_yuv420;         // (H * 3 / 2, W)
  bool has_chroma_pairs;  // NV12 and NV21: also two arrays (H, W) and (H / 2, W / 2, 2)
};

// Throws a Refusal that lists the names.
const PixelFormat &pixel_format_by_name(py::handle name, const char *argument);

const PixelFormat &pixel_format_by_code(uint32_t code);

}  // namespace tavrine::python
