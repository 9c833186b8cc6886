// How much memory a call takes from the heap, at its peak.
#pragma once

#include <cstdint>
#include <functional>

namespace tavrine::bench {

// Allocations of this thread's call and of whatever library it runs, those that are given back
// before it returns included. Blocks count as large as the allocator makes them.
int64_t heap_peak_of(const std::function<void()> &call);

}  // namespace tavrine::bench
