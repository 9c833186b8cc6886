#include "tests/allocations.h"

#include <algorithm>
#include <cstdlib>

namespace {

thread_local struct {
  bool is_watching;
  int failing;
  int calls;
  size_t largest;
} record;

bool must_fail(size_t size) {
  if (!record.is_watching) {
    return false;
  }
  record.largest = std::max(record.largest, size);
  return ++record.calls == record.failing;
}

}  // namespace

// Named by the linker, which also looks for them on behalf of shared libraries.
#pragma GCC visibility push(default)
extern "C" {
void *__real_calloc(size_t count, size_t size);
void *__real_realloc(void *bytes, size_t size);
void *__wrap_calloc(size_t count, size_t size);
void *__wrap_realloc(void *bytes, size_t size);

void *__wrap_calloc(size_t count, size_t size) {
  return must_fail(count * size) ? nullptr : __real_calloc(count, size);
}

void *__wrap_realloc(void *bytes, size_t size) {
  return must_fail(size) ? nullptr : __real_realloc(bytes, size);
}
}
#pragma GCC visibility pop

namespace tavrine::test {

Allocations::Allocations(int failing) { record = {true, failing, 0, 0}; }

Allocations::~Allocations() { record.is_watching = false; }

bool Allocations::has_failed() const {
  return record.failing > 0 && record.calls >= record.failing;
}

size_t Allocations::largest() const { return record.largest; }

}  // namespace tavrine::test
