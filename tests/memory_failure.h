// Memory that runs out on order, for whatever is linked into the test program.
#pragma once

#include <cstdint>

namespace tavrine::test {

// Makes the nth allocation of this thread from now on (1: the next) fail once. Where a sanitizer
// has taken over malloc, those of operator new count alone.
void fail_allocation(int32_t nth);

// Withdraws the order. True when it had been carried out.
bool clear_failed_allocation();

// Allocations of this thread that were not released by it; 0 where a sanitizer watches them.
int64_t live_allocations();

}  // namespace tavrine::test
