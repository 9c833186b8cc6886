// An operation bound to its pictures, ready to be repeated, as each implementation does it.
#pragma once

#include <functional>

#include "bench/operations.h"
#include "bench/pictures.h"

namespace tavrine::bench {

// Answers whether the work was done. Empty where an implementation has no such operation. What a
// call uses lives as long as the pictures.
using Call = std::function<bool()>;

Call library_call(const Operation &operation, Pictures &pictures);
Call opencv_call(const Operation &operation, Pictures &pictures);
Call libyuv_call(const Operation &operation, Pictures &pictures);

}  // namespace tavrine::bench
