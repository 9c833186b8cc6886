// The peak of the heap memory that a call takes.
#pragma once

#include <cstdint>
#include <functional>

namespace tavrine::bench {

// Counts what this thread allocates during the call, in whatever library, whether it is freed
// before the call returns or not. A block counts with its usable size.
int64_t heap_peak_of(const std::function<void()> &call);

}  // namespace tavrine::bench
