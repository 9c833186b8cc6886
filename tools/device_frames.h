// Frames in device memory, where the image engine is tried before the CPU.
#pragma once

#include <string>

#include "environment.h"
#include "handles.h"
#include "operations.h"

namespace tavrine::tool {

// `file` is the picture's name in failures. Throw Failure.
OwnedFrame to_device(const OwnedFrame &frame, const std::string &file);
OwnedFrame to_host(const OwnedFrame &frame, const std::string &file);

// Reports with the notices whether the engine or the CPU did an operation on a device frame.
void note_who_did(Environment &environment, const Operation &operation, const OwnedFrame &in,
                  const OwnedFrame &out, const std::string &file);

}  // namespace tavrine::tool
