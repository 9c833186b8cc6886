#include "heap_peak.h"

#include <malloc.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>

// glibc's allocator, under the names that remain when a program replaces malloc.
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

// Of one thread, so that no atomic operations slow the allocator down.
struct Watch {
  bool is_on = false;
  int64_t live = 0;
  int64_t peak = 0;
};
thread_local Watch watch;

void *count_block(void *block) {
  if (watch.is_on && block != nullptr) {
    watch.live += static_cast<int64_t>(malloc_usable_size(block));
    watch.peak = std::max(watch.peak, watch.live);
  }
  return block;
}

void uncount_block(void *block) {
  if (watch.is_on && block != nullptr) {
    watch.live -= static_cast<int64_t>(malloc_usable_size(block));
  }
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

void *malloc(size_t size) noexcept { return count_block(__libc_malloc(size)); }

void *calloc(size_t count, size_t size) noexcept { return count_block(__libc_calloc(count, size)); }

void *realloc(void *block, size_t size) noexcept {
  const int64_t before =
      watch.is_on && block != nullptr ? static_cast<int64_t>(malloc_usable_size(block)) : 0;
  void *const moved = count_block(__libc_realloc(block, size));
  // Both blocks exist while the contents move.
  if (moved != nullptr) {
    watch.live -= before;
  }
  return moved;
}

void *memalign(size_t alignment, size_t size) noexcept {
  return count_block(__libc_memalign(alignment, size));
}

void *aligned_alloc(size_t alignment, size_t size) noexcept {
  return count_block(__libc_memalign(alignment, size));
}

int posix_memalign(void **slot, size_t alignment, size_t size) noexcept {
  void *const block = count_block(__libc_memalign(alignment, size));
  if (block == nullptr) {
    return ENOMEM;
  }
  *slot = block;
  return 0;
}

void free(void *block) noexcept {
  uncount_block(block);
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
