// Makes allocations fail, in everything that is linked into the test program.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavrine::test {

// Makes the nth allocation of this thread from now on (1: the next, 0: none) fail once. Under a
// sanitizer, which replaces malloc, only operator new counts, and calls of calloc and realloc from
// this program's own objects.
void fail_allocation(int32_t nth);

// Withdraws the order. True when the allocation had failed.
bool clear_failed_allocation();

// The largest single request since the last order.
size_t largest_allocation();

// Allocations of this thread that it has not released; 0 under a sanitizer.
int64_t live_allocations();

}  // namespace tavrine::test
