// The bytes that an operation has to read and write, however it is done.
#pragma once

#include "bench/operations.h"

namespace tavrine::bench {

int64_t traffic_of(const Operation &operation);

}  // namespace tavrine::bench
