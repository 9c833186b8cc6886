// Camera frames without a header: the planes one after another, rows without padding.
#pragma once

#include <cstdint>
#include <string>

#include "common/owned.h"

namespace tavrine::tool {

struct RawLayout {
  uint32_t format;
  int32_t width;
  int32_t height;
  size_t bytes;
};

// "NV12:1920x1080"; throws UsageError, also for a size that the format cannot have.
RawLayout parse_raw_layout(const std::string &text);

// Throws Failure unless the file holds exactly one frame.
OwnedFrame read_raw_frame(const std::string &path, const RawLayout &layout);

// 0, or the errno of what failed.
int write_raw_frame(const tavrine_frame_t &frame, const std::string &path);

}  // namespace tavrine::tool
