// RGB24 frames as the demonstration programs own and fill them.
#pragma once

#include <cstddef>
#include <memory>

#include "tavrine_core.h"

namespace tavrine::demo {

struct FreeFrame {
  void operator()(tavrine_frame_t *frame) const { tavrine_frame_free(&frame); }
};
using Frame = std::unique_ptr<tavrine_frame_t, FreeFrame>;

// Null without memory, or if a side is not positive.
inline Frame allocate_rgb24(int32_t width, int32_t height) {
  const int32_t core_chooses_strides[4] = {0, 0, 0, 0};
  return Frame(tavrine_frame_alloc(TAVRINE_MEMORY_HOST, TAVRINE_FORMAT_RGB24, width, height,
                                   core_chooses_strides, 0));
}

inline uint8_t *row_of(const tavrine_frame_t &frame, int32_t y) {
  const int32_t stride = frame.strides[0] != 0 ? frame.strides[0] : 3 * frame.width;
  return static_cast<uint8_t *>(frame.planes[0]) + static_cast<ptrdiff_t>(y) * stride;
}

}  // namespace tavrine::demo
