#include "device_memory.h"

#include <sys/mman.h>

#include <cstdlib>
#include <mutex>
#include <new>

#include "core_api.h"
#include "hisvp/mpp.h"

namespace tavrine::devkit {
namespace {

struct DeviceAllocation {
  void *pages;
  uint64_t physical;
  size_t size;
  DeviceAllocation *next;
};

std::mutex mutex;
DeviceAllocation *allocations = nullptr;
int accesses = 0;
bool guarded = false;

bool is_closed() { return guarded && accesses == 0; }

void apply_protection(const DeviceAllocation &allocation) {
  const int protection = is_closed() ? PROT_NONE : PROT_READ | PROT_WRITE;
  // The caller relies on the new protection, so continuing would be wrong.
  if (mprotect(allocation.pages, allocation.size, protection) != 0) {
    std::abort();
  }
}

// Removes it from the list. Null when it is not there.
DeviceAllocation *take_out(const void *pages) {
  const std::lock_guard<std::mutex> lock(mutex);
  for (DeviceAllocation **link = &allocations; *link != nullptr; link = &(*link)->next) {
    DeviceAllocation *allocation = *link;
    if (allocation->pages == pages) {
      *link = allocation->next;
      return allocation;
    }
  }
  return nullptr;
}

// Applies `change` to the flags above; changes page protection only when that opens or closes them.
template <typename Change>
void change_access(Change change) {
  const std::lock_guard<std::mutex> lock(mutex);
  const bool was_closed = is_closed();
  change();
  if (is_closed() != was_closed) {
    for (const DeviceAllocation *allocation = allocations; allocation != nullptr;
         allocation = allocation->next) {
      apply_protection(*allocation);
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
  auto *allocation = new (std::nothrow) DeviceAllocation{pages, physical, size, nullptr};
  if (allocation == nullptr) {
    HI_MPI_SYS_MmzFree(physical, pages);
    return nullptr;
  }
  const std::lock_guard<std::mutex> lock(mutex);
  allocation->next = allocations;
  allocations = allocation;
  if (is_closed()) {
    apply_protection(*allocation);
  }
  return pages;
}

void free_device_memory(void *data) {
  const DeviceAllocation *allocation = take_out(data);
  if (allocation != nullptr) {
    HI_MPI_SYS_MmzFree(allocation->physical, allocation->pages);
    delete allocation;
  }
}

void synchronize_device_memory(const void *data, size_t size) {
  SYS_VIRMEM_INFO_S info = {};
  if (HI_MPI_SYS_GetVirMemInfo(data, &info) == HI_SUCCESS) {
    // The platform takes a non-const address but does not write through it.
    HI_MPI_SYS_MmzFlushCache(info.u64PhyAddr, const_cast<void *>(data), static_cast<HI_U32>(size));
  }
}

DeviceAccess::DeviceAccess(bool needed) : needed_(needed) {
  if (needed_) {
    change_access([] { ++accesses; });
  }
}

DeviceAccess::~DeviceAccess() {
  if (needed_) {
    change_access([] { --accesses; });
  }
}

}  // namespace tavrine::devkit

void tavrine_devkit_guard_device_memory(int32_t on) {
  tavrine::devkit::change_access([on] { tavrine::devkit::guarded = on != 0; });
}
