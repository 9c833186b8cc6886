// Encodes frames as picture files.
#pragma once

#include <cstddef>

#include "common/owned.h"

namespace tavrine {

enum class PictureFormat { kJpeg, kBmp, kPng };

// Receives the encoder's output in pieces.
class ByteSink {
 public:
  virtual bool append(const void *data, size_t size) = 0;

 protected:
  ~ByteSink() = default;
};

// A host frame with the pixels of `frame` in tightly packed rows: a reference if `frame` is one
// already. Returns TAVRINE_OK, a failed download's code, or TAVRINE_FAILURE.
int32_t take_host_copy(const tavrine_frame_t *frame, OwnedFrame &copy);

// Only a GREY frame saved as PNG keeps its one channel; everything else becomes RGB24.
bool keeps_grey(const tavrine_frame_t *frame, PictureFormat format);

// Converts a host copy to the pixel format that the encoder of `format` needs. False on failure.
bool convert_for(PictureFormat format, OwnedFrame &copy);

// Writes the file's bytes to `sink`. False if the encoder or the sink failed.
bool encode(const tavrine_frame_t *frame, PictureFormat format, ByteSink &sink);

}  // namespace tavrine
