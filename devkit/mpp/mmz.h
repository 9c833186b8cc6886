// The blocks of media memory. The caller holds the platform's mutex.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "exported.h"

namespace tavrine::devkit {

class MmzPages;

HI_S32 allocate_mmz(uint32_t size, uint64_t *physical, void **address);
HI_S32 free_mmz(uint64_t physical, const void *address);
HI_S32 flush_mmz(uint64_t physical, const void *address, uint32_t size);

// Empty when the address lies in no block.
std::optional<uint64_t> physical_address_of(const void *address);

// A range of one block, as the engine sees it.
class EngineRange {
 public:
  EngineRange() = default;
  EngineRange(MmzPages &pages, size_t offset) : pages_(&pages), offset_(offset) {}

  const uint8_t *bytes() const;
  void write(size_t offset, const uint8_t *bytes, size_t size) const;

 private:
  MmzPages *pages_ = nullptr;
  size_t offset_ = 0;
};

// Empty when the range does not lie in one block.
std::optional<EngineRange> find_engine_range(uint64_t physical, uint64_t size);

}  // namespace tavrine::devkit
