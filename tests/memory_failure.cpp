#include "tests/memory_failure.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <new>
#include <utility>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TAVRINE_SANITIZER_HAS_MALLOC 1
#else
#define TAVRINE_SANITIZER_HAS_MALLOC 0
#endif

namespace tavrine::test {
namespace {

thread_local int32_t allocations_left = 0;
thread_local size_t largest = 0;
thread_local int64_t count = 0;
thread_local int64_t live = 0;

bool should_fail(size_t size) {
  largest = std::max(largest, size);
  ++count;
  return allocations_left > 0 && --allocations_left == 0;
}

}  // namespace

void fail_allocation(int32_t nth) {
  allocations_left = nth;
  largest = 0;
}

bool clear_failed_allocation() { return std::exchange(allocations_left, 0) == 0; }

size_t largest_allocation() { return largest; }

int64_t allocation_count() { return count; }

int64_t live_allocations() { return live; }

}  // namespace tavrine::test

using tavrine::test::live;
using tavrine::test::should_fail;

// The libraries use these instead of the system's functions.
#pragma GCC visibility push(default)

#if TAVRINE_SANITIZER_HAS_MALLOC

// The names that the linker's --wrap uses.
extern "C" {
void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void *__real_realloc(void *block, size_t size);
void *__wrap_malloc(size_t size);
void *__wrap_calloc(size_t count, size_t size);
void *__wrap_realloc(void *block, size_t size);

void *__wrap_malloc(size_t size) { return should_fail(size) ? nullptr : __real_malloc(size); }

void *__wrap_calloc(size_t count, size_t size) {
  return should_fail(count * size) ? nullptr : __real_calloc(count, size);
}

void *__wrap_realloc(void *block, size_t size) {
  return should_fail(size) ? nullptr : __real_realloc(block, size);
}
}

void *operator new(size_t size, const std::nothrow_t &) noexcept {
  return __wrap_malloc(size != 0 ? size : 1);
}
void *operator new(size_t size) {
  void *block = operator new(size, std::nothrow);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  return block;
}
void *operator new[](size_t size, const std::nothrow_t &) noexcept {
  return operator new(size, std::nothrow);
}
void *operator new[](size_t size) { return operator new(size); }
void operator delete(void *block) noexcept { std::free(block); }
void operator delete[](void *block) noexcept { std::free(block); }
void operator delete(void *block, size_t) noexcept { std::free(block); }
void operator delete[](void *block, size_t) noexcept { std::free(block); }

#else

// Counts the C library's allocation, or fails instead of calling it.
template <typename Allocate>
static void *allocate(size_t size, Allocate call) {
  if (should_fail(size)) {
    errno = ENOMEM;
    return nullptr;
  }
  void *block = call();
  live += block != nullptr ? 1 : 0;
  return block;
}

// The C library's own functions under the names that a program cannot replace.
extern "C" {
void *__libc_malloc(size_t);
void *__libc_calloc(size_t, size_t);
void *__libc_realloc(void *, size_t);
void *__libc_memalign(size_t, size_t);
void __libc_free(void *);

void *malloc(size_t size) {
  return allocate(size, [=] { return __libc_malloc(size); });
}

void *calloc(size_t count, size_t size) {
  return allocate(count * size, [=] { return __libc_calloc(count, size); });
}

void *aligned_alloc(size_t alignment, size_t size) {
  return allocate(size, [=] { return __libc_memalign(alignment, size); });
}

void *realloc(void *block, size_t size) {
  void *grown = allocate(size, [=] { return __libc_realloc(block, size); });
  live -= block != nullptr && grown != nullptr ? 1 : 0;
  return grown;
}

int posix_memalign(void **block, size_t alignment, size_t size) {
  *block = aligned_alloc(alignment, size);
  return *block != nullptr ? 0 : ENOMEM;
}

void free(void *block) {
  live -= block != nullptr ? 1 : 0;
  __libc_free(block);
}
}

#endif

#pragma GCC visibility pop
