#include "device_memory.h"

#include <sys/mman.h>

#include <cstdlib>
#include <mutex>
#include <new>

#include "exported.h"

namespace tavrine::devkit {
namespace {

struct DeviceBlock {
  void *pages;
  size_t size;
  DeviceBlock *next;
};

std::mutex mutex;
DeviceBlock *blocks = nullptr;
int accesses = 0;
bool guarded = false;

bool is_closed() { return guarded && accesses == 0; }

void apply_protection(const DeviceBlock &block) {
  const int protection = is_closed() ? PROT_NONE : PROT_READ | PROT_WRITE;
  // Whoever asked for the memory to be open or closed relies on it: there is no going on.
  if (mprotect(block.pages, block.size, protection) != 0) {
    std::abort();
  }
}

// Runs a change of the rules, and touches pages only when it opens or closes them.
template <typename Change>
void change_rules(Change change) {
  const std::lock_guard<std::mutex> lock(mutex);
  const bool was_closed = is_closed();
  change();
  if (is_closed() != was_closed) {
    for (const DeviceBlock *block = blocks; block != nullptr; block = block->next) {
      apply_protection(*block);
    }
  }
}

}  // namespace

void *allocate_device_memory(size_t size) {
  void *pages =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, /*fd=*/-1, 0);
  if (pages == MAP_FAILED) {
    return nullptr;
  }
  const std::lock_guard<std::mutex> lock(mutex);
  auto *block = new (std::nothrow) DeviceBlock{pages, size, blocks};
  if (block == nullptr) {
    munmap(pages, size);
    return nullptr;
  }
  blocks = block;
  if (is_closed()) {
    apply_protection(*block);
  }
  return pages;
}

void free_device_memory(void *data) {
  const std::lock_guard<std::mutex> lock(mutex);
  for (DeviceBlock **link = &blocks; *link != nullptr; link = &(*link)->next) {
    DeviceBlock *block = *link;
    if (block->pages == data) {
      *link = block->next;
      munmap(block->pages, block->size);
      delete block;
      return;
    }
  }
}

DeviceAccess::DeviceAccess(bool needed) : needed_(needed) {
  if (needed_) {
    change_rules([] { ++accesses; });
  }
}

DeviceAccess::~DeviceAccess() {
  if (needed_) {
    change_rules([] { --accesses; });
  }
}

}  // namespace tavrine::devkit

void tavrine_devkit_guard_device_memory(int32_t on) {
  tavrine::devkit::change_rules([on] { tavrine::devkit::guarded = on != 0; });
}
