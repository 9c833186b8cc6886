// The blocks of media memory. The caller holds the platform's mutex.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "mpp_api.h"

namespace tavrine::devkit {

class MmzPages;

HI_S32 allocate_mmz(uint32_t size, uint64_t *physical, void **address);
HI_S32 free_mmz(uint64_t physical, const void *address);
HI_S32 flush_mmz(uint64_t physical, const void *address, uint32_t size);

// Nothing if the address is not in a block.
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

// Nothing if the range is not within one block.
std::optional<EngineRange> find_engine_range(uint64_t physical, uint64_t size);

}  // namespace tavrine::devkit
