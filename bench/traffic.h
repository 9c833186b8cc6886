// How many bytes an operation has to read and write, however it is done.
#pragma once

#include "operations.h"
#include "pictures.h"

namespace tavrine::bench {

// 0 for pipelines, whose intermediate pictures depend on the implementation.
int64_t traffic_of(const Operation &operation, Pictures &pictures);

}  // namespace tavrine::bench
