// Camera frames without a header: the planes one after another, rows without padding.
#pragma once

#include <cstdint>
#include <string>

#include "handles.h"
#include "output_file.h"

namespace tavrine::tool {

struct RawLayout {
  uint32_t format;
  int32_t width;
  int32_t height;
  size_t bytes;
};

// "NV12:1920x1080". Throws UsageError, also for a size that the format cannot have.
RawLayout parse_raw_layout(const std::string &text);

// Throws Failure unless the file holds exactly one frame.
OwnedFrame read_raw_frame(const std::string &path, const RawLayout &layout);

// Throws Failure.
void write_raw_frame(const tavrine_frame_t &frame, OutputFile &output);

}  // namespace tavrine::tool
