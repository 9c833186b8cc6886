// Pictures and raw frames, from files and to files.
#pragma once

#include <optional>
#include <string>

#include "common/owned.h"
#include "environment.h"
#include "raw_frame.h"

namespace tavrine::tool {

// Whether the extension names a kind of file that save_picture writes.
bool is_output_name(const std::string &path);

// Throws UsageError unless is_output_name.
void check_output_name(const std::string &path);

// ".jpg, .jpeg, ..."
std::string output_extensions();

// A raw frame when a layout is given, else a picture. Throws Failure.
OwnedFrame load_picture(Environment &environment, const std::string &path,
                        const std::optional<RawLayout> &layout);

// Writes all of the file or leaves what was there. Throws Failure.
void save_picture(Environment &environment, const OwnedFrame &frame, const std::string &path);

}  // namespace tavrine::tool
