#include "mmz.h"

#include <unistd.h>

#include <new>

#include "calls.h"
#include "mmz_pages.h"

namespace tavrine::devkit {
namespace {

constexpr uint64_t kFirstPhysicalAddress = 0x80000000;

struct MmzBlock {
  uint64_t physical = 0;
  uint32_t requested_bytes = 0;
  MmzPages pages;
  MmzBlock *next = nullptr;
};

// Sorted by physical address.
MmzBlock *blocks = nullptr;
tavrine_devkit_mmz_usage_t usage = {};

uint64_t round_up_to_pages(uint32_t size) {
  const auto page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
  return (size + page - 1) / page * page;
}

// Whether `size` bytes at `offset` lie inside the block.
bool holds(const MmzBlock &block, uint64_t offset, uint64_t size) {
  const uint64_t bytes = block.pages.size();
  return offset < bytes && size <= bytes - offset;
}

// For an address below the block, the offset wraps to more than any block holds.
uint64_t offset_of(const MmzBlock &block, const void *address) {
  return uint64_t{reinterpret_cast<uintptr_t>(address)} -
         uint64_t{reinterpret_cast<uintptr_t>(block.pages.address())};
}

MmzBlock *find_block(const void *address) {
  for (MmzBlock *block = blocks; block != nullptr; block = block->next) {
    if (holds(*block, offset_of(*block, address), 1)) {
      return block;
    }
  }
  return nullptr;
}

// Gives the block the lowest free range of physical addresses that fits.
void insert(MmzBlock *block) {
  block->physical = kFirstPhysicalAddress;
  MmzBlock **link = &blocks;
  while (*link != nullptr && (*link)->physical - block->physical < block->pages.size()) {
    block->physical = (*link)->physical + (*link)->pages.size();
    link = &(*link)->next;
  }
  block->next = *link;
  *link = block;
}

}  // namespace

HI_S32 allocate_mmz(uint32_t size, uint64_t *physical, void **address) {
  if (physical == nullptr || address == nullptr) {
    return TAVRINE_DEVKIT_SYS_NULL_POINTER;
  }
  if (size == 0) {
    return TAVRINE_DEVKIT_SYS_ILLEGAL_PARAM;
  }
  const uint64_t bytes = round_up_to_pages(size);
  if (bytes > PTRDIFF_MAX) {
    return TAVRINE_DEVKIT_SYS_NO_MEMORY;
  }
  auto *block = new (std::nothrow) MmzBlock;
  if (block == nullptr || !block->pages.allocate(static_cast<size_t>(bytes))) {
    delete block;
    return TAVRINE_DEVKIT_SYS_NO_MEMORY;
  }
  block->requested_bytes = size;
  insert(block);
  ++usage.blocks;
  usage.bytes += size;
  *physical = block->physical;
  *address = block->pages.address();
  return HI_SUCCESS;
}

HI_S32 free_mmz(uint64_t physical, const void *address) {
  for (MmzBlock **link = &blocks; *link != nullptr; link = &(*link)->next) {
    MmzBlock *block = *link;
    if (block->physical == physical && block->pages.address() == address) {
      *link = block->next;
      --usage.blocks;
      usage.bytes -= block->requested_bytes;
      delete block;
      return HI_SUCCESS;
    }
  }
  return TAVRINE_DEVKIT_SYS_ILLEGAL_PARAM;
}

HI_S32 flush_mmz(uint64_t physical, const void *address, uint32_t size) {
  MmzBlock *block = find_block(address);
  if (block == nullptr) {
    return TAVRINE_DEVKIT_SYS_ILLEGAL_PARAM;
  }
  const uint64_t offset = offset_of(*block, address);
  if (physical - block->physical != offset || !holds(*block, offset, size)) {
    return TAVRINE_DEVKIT_SYS_ILLEGAL_PARAM;
  }
  block->pages.flush(static_cast<size_t>(offset), size);
  return HI_SUCCESS;
}

std::optional<uint64_t> physical_address_of(const void *address) {
  const MmzBlock *block = find_block(address);
  if (block == nullptr) {
    return std::nullopt;
  }
  return block->physical + offset_of(*block, address);
}

std::optional<EngineRange> find_engine_range(uint64_t physical, uint64_t size) {
  for (MmzBlock *block = blocks; block != nullptr; block = block->next) {
    const uint64_t offset = physical - block->physical;
    if (holds(*block, offset, size)) {
      return EngineRange(block->pages, static_cast<size_t>(offset));
    }
  }
  return std::nullopt;
}

const uint8_t *EngineRange::bytes() const { return pages_->engine_bytes() + offset_; }

void EngineRange::write(size_t offset, const uint8_t *bytes, size_t size) const {
  pages_->write_by_engine(offset_ + offset, bytes, size);
}

}  // namespace tavrine::devkit

tavrine_devkit_mmz_usage_t tavrine_devkit_live_mmz() {
  const std::lock_guard<std::recursive_mutex> lock(tavrine::devkit::platform_mutex());
  return tavrine::devkit::usage;
}
