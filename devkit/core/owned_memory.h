// A block of host or device memory with one owner.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "tavrine_types.h"

namespace tavrine::devkit {

// Fills new memory, so that code which relies on zeros fails visibly.
inline constexpr uint8_t kFreshByte = 0xA5;

constexpr bool is_memory_type(int32_t mem_type) {
  return mem_type == TAVRINE_MEMORY_HOST || mem_type == TAVRINE_MEMORY_DEVICE;
}

class OwnedMemory {
 public:
  OwnedMemory() = default;
  OwnedMemory(OwnedMemory &&other) noexcept
      : mem_type_(other.mem_type_),
        data_(std::exchange(other.data_, nullptr)),
        size_(std::exchange(other.size_, 0)) {}
  OwnedMemory &operator=(OwnedMemory &&other) noexcept {
    std::swap(mem_type_, other.mem_type_);
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    return *this;
  }
  ~OwnedMemory();

  // data() is null when memory is exhausted, the memory type unknown or the size 0.
  static OwnedMemory allocate(int32_t mem_type, uint64_t size);

  uint8_t *data() const { return data_; }
  size_t size() const { return size_; }

 private:
  OwnedMemory(int32_t mem_type, uint8_t *data, size_t size)
      : mem_type_(mem_type), data_(data), size_(size) {}

  int32_t mem_type_ = TAVRINE_MEMORY_HOST;
  uint8_t *data_ = nullptr;
  size_t size_ = 0;
};

}  // namespace tavrine::devkit
