// Pictures and raw frames, from files and to files.
#pragma once

#include <optional>
#include <string>

#include "environment.h"
#include "handles.h"
#include "raw_frame.h"

namespace tavrine::tool {

// Where a frame is saved: a file whose extension says what is written, or kStandardStream.
struct Destination {
  std::string path;
  std::string extension;  // with its dot

  // Throws UsageError for an extension that names no kind of file. `stream_extension` is what
  // standard output gets, without the dot; empty for PNG.
  static Destination at(const std::string &path, const std::string &stream_extension = "");
};

bool is_output_extension(const std::string &extension);

// ".jpg, .jpeg, ..."
std::string output_extensions();

// A raw frame if there is a layout, otherwise a picture. Throws Failure.
OwnedFrame load_picture(Environment &environment, const std::string &path,
                        const std::optional<RawLayout> &layout);

// Writes the complete file or leaves what was there. Throws Failure.
void save_picture(Environment &environment, const OwnedFrame &frame,
                  const Destination &destination);

}  // namespace tavrine::tool
