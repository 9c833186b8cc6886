// Frames in device memory, where the image engine is asked before the CPU.
#pragma once

#include <string>

#include "common/owned.h"
#include "environment.h"
#include "operations.h"

namespace tavrine::tool {

// `file` is the picture that a failure names. Throw Failure.
OwnedFrame to_device(const OwnedFrame &frame, const std::string &file);
OwnedFrame to_host(const OwnedFrame &frame, const std::string &file);

// Tells those who asked for notices who did an operation on a device frame.
void tell_who_did(Environment &environment, const Operation &operation, const OwnedFrame &in,
                  const OwnedFrame &out, const std::string &file);

}  // namespace tavrine::tool
