// The physical address of media memory, and how the platform stores virtual addresses.
#pragma once

#include <cstdint>

namespace tavrine {

struct MmzAddress {
  bool is_found;
  uint64_t physical;  // 0 when it is not found
};

MmzAddress find_in_mmz(const void *address);

// The platform's records keep addresses as signed words widened to 64 bits.
inline uint64_t widen_address(const void *address) {
  return static_cast<uint64_t>(static_cast<int64_t>(reinterpret_cast<intptr_t>(address)));
}

}  // namespace tavrine
