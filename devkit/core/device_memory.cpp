#include "device_memory.h"

#include <sys/mman.h>

#include <cstdlib>
#include <mutex>
#include <new>

#include "exported.h"
#include "hisvp/mpp.h"

namespace tavrine::devkit {
namespace {

struct DeviceBlock {
  void *pages;
  uint64_t physical;
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

// Null when there is none.
const DeviceBlock *take_out(const void *pages) {
  const std::lock_guard<std::mutex> lock(mutex);
  for (DeviceBlock **link = &blocks; *link != nullptr; link = &(*link)->next) {
    DeviceBlock *block = *link;
    if (block->pages == pages) {
      *link = block->next;
      return block;
    }
  }
  return nullptr;
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
  HI_U64 physical = 0;
  void *pages = nullptr;
  if (HI_MPI_SYS_MmzAlloc_Cached(&physical, &pages, "device", nullptr, static_cast<HI_U32>(size)) !=
      HI_SUCCESS) {
    return nullptr;
  }
  auto *block = new (std::nothrow) DeviceBlock{pages, physical, size, nullptr};
  if (block == nullptr) {
    HI_MPI_SYS_MmzFree(physical, pages);
    return nullptr;
  }
  const std::lock_guard<std::mutex> lock(mutex);
  block->next = blocks;
  blocks = block;
  if (is_closed()) {
    apply_protection(*block);
  }
  return pages;
}

void free_device_memory(void *data) {
  const DeviceBlock *block = take_out(data);
  if (block != nullptr) {
    HI_MPI_SYS_MmzFree(block->physical, block->pages);
    delete block;
  }
}

void synchronize_device_memory(const void *data, size_t size) {
  SYS_VIRMEM_INFO_S info = {};
  if (HI_MPI_SYS_GetVirMemInfo(data, &info) == HI_SUCCESS) {
    // Nothing is written through the address, which the platform wants as it gave it.
    HI_MPI_SYS_MmzFlushCache(info.u64PhyAddr, const_cast<void *>(data), static_cast<HI_U32>(size));
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
