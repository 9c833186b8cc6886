// Makes allocations fail on request, in all code that is linked into the test program.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavrine::test {

// Makes the nth next allocation of this thread (1: the next, 0: none) fail once. Under a sanitizer
// that replaces malloc, only operator new and this program's own calls of calloc and realloc
// count.
void fail_allocation(int32_t nth);

// Cancels the request. Returns whether an allocation had failed.
bool clear_failed_allocation();

// The largest of the counted allocations since the last request.
size_t largest_allocation();

// The number of counted allocations of this thread, failed ones included.
int64_t allocation_count();

// Allocations of this thread that it has not freed; 0 under a sanitizer, which checks that.
int64_t live_allocations();

}  // namespace tavrine::test
