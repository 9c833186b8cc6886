// Frames from a fuzzer's bytes.
#pragma once

#include "common/owned.h"
#include "fuzz/input.h"

namespace tavrine::fuzz {

inline constexpr uint32_t kFormats[] = {
    TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24,
    TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_NV21,  TAVRINE_FORMAT_YU12,
    TAVRINE_FORMAT_BGRA, TAVRINE_FORMAT_ARGB,  TAVRINE_FORMAT_Y16};

struct Size {
  int32_t width;
  int32_t height;
};

// Whether a frame is small, or so large that there is no memory for it.
bool is_bounded(double width, double height);

// Mostly small, sometimes long and narrow, sometimes impossible; always bounded.
Size size_from(Input &input);

// A host frame that ends with its memory, so that the sanitizer sees accesses beyond. Empty if
// there is no such frame of at most a MiB.
OwnedFrame wrap(uint32_t format, const Size &size, int32_t padding, uint8_t first);

}  // namespace tavrine::fuzz
