// An operation bound to its pictures, ready to be repeated, as each implementation does it.
#pragma once

#include <functional>

#include "operations.h"
#include "pictures.h"

namespace tavrine::bench {

// Returns whether the work was done. Empty where an implementation has no such operation. Uses
// the pictures, so it must not outlive them.
using Call = std::function<bool()>;

Call library_call(const Operation &operation, Pictures &pictures);
Call opencv_call(const Operation &operation, Pictures &pictures);
Call libyuv_call(const Operation &operation, Pictures &pictures);

}  // namespace tavrine::bench
