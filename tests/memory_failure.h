// Memory that runs out on order, for whatever is linked into the test program.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavrine::test {

// Makes the nth allocation of this thread from now on (1: the next, 0: none) fail once. Where a
// sanitizer has taken over malloc, only those of operator new count, and what this program's own
// objects ask of calloc and realloc.
void fail_allocation(int32_t nth);

// Withdraws the order. True when it had been carried out.
bool clear_failed_allocation();

// The most that was asked for at once since the last order, of what counts.
size_t largest_allocation();

// Allocations of this thread that were not released by it; 0 where a sanitizer watches them.
int64_t live_allocations();

}  // namespace tavrine::test
