// Frame records. The core's words hold the memory type and the storage; everything else is in the
// public fields.
#pragma once

#include "frame_layout.h"
#include "storage.h"

namespace tavrine::devkit {

// A frame with new memory in the given layout; null when memory is exhausted.
tavrine_frame_t *allocate_frame(int32_t mem_type, const FrameLayout &layout, int32_t width,
                                int32_t height, uint64_t extra);

inline int32_t memory_type(const tavrine_frame_t &frame) {
  return static_cast<int32_t>(frame.core_word);
}

}  // namespace tavrine::devkit
