// Frames to the bytes of picture files.
#pragma once

#include <cstddef>

#include "common/owned.h"

namespace tavrine {

enum class PictureFormat { kJpeg, kBmp, kPng };

// Where the encoder's output goes, piece by piece.
class ByteSink {
 public:
  virtual bool append(const void *data, size_t size) = 0;

 protected:
  ~ByteSink() = default;
};

// A host frame with the pixels of `frame` in tightly packed rows: a reference where that is
// enough. Returns 0, a failed download's code, or -4.
int32_t take_host_copy(const tavrine_frame_t *frame, OwnedFrame &copy);

// Only a GREY frame saved as PNG keeps its one channel; everything else becomes RGB24.
bool keeps_grey(const tavrine_frame_t *frame, PictureFormat format);

// Turns a host copy into what the encoder of `format` takes. False when it cannot.
bool convert_for(PictureFormat format, OwnedFrame &copy);

// Writes the file's bytes to `sink`. False when the encoder or the sink failed.
bool encode(const tavrine_frame_t *frame, PictureFormat format, ByteSink &sink);

}  // namespace tavrine
