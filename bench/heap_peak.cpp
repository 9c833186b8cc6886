#include "bench/heap_peak.h"

#include <malloc.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>

// The allocator of glibc under the names that stay its own when a program replaces malloc.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void *__libc_memalign(size_t alignment, size_t size);
void __libc_free(void *block);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

// One thread is watched; plain numbers keep the cost of an allocation as it was.
struct Watch {
  bool is_on = false;
  int64_t live = 0;
  int64_t peak = 0;
};
thread_local Watch watch;

void *taken(void *block) {
  if (watch.is_on && block != nullptr) {
    watch.live += static_cast<int64_t>(malloc_usable_size(block));
    watch.peak = std::max(watch.peak, watch.live);
  }
  return block;
}

void given_back(void *block) {
  if (watch.is_on && block != nullptr) {
    watch.live -= static_cast<int64_t>(malloc_usable_size(block));
  }
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

void *malloc(size_t size) noexcept { return taken(__libc_malloc(size)); }

void *calloc(size_t count, size_t size) noexcept { return taken(__libc_calloc(count, size)); }

void *realloc(void *block, size_t size) noexcept {
  const int64_t before =
      watch.is_on && block != nullptr ? static_cast<int64_t>(malloc_usable_size(block)) : 0;
  void *const moved = taken(__libc_realloc(block, size));
  // Old and new block are both there while it moves.
  if (moved != nullptr) {
    watch.live -= before;
  }
  return moved;
}

void *memalign(size_t alignment, size_t size) noexcept {
  return taken(__libc_memalign(alignment, size));
}

void *aligned_alloc(size_t alignment, size_t size) noexcept {
  return taken(__libc_memalign(alignment, size));
}

int posix_memalign(void **slot, size_t alignment, size_t size) noexcept {
  void *const block = taken(__libc_memalign(alignment, size));
  if (block == nullptr) {
    return ENOMEM;
  }
  *slot = block;
  return 0;
}

void free(void *block) noexcept {
  given_back(block);
  __libc_free(block);
}

}  // extern "C"
#pragma GCC visibility pop

namespace tavrine::bench {

int64_t heap_peak_of(const std::function<void()> &call) {
  watch = {true, 0, 0};
  call();
  watch.is_on = false;
  return watch.peak;
}

}  // namespace tavrine::bench
