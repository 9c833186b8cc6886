// The memory of one MMZ block: what the CPU sees through its cache, and what the engine sees.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavrine::devkit {

class MmzPages {
 public:
  MmzPages() = default;
  ~MmzPages();
  MmzPages(const MmzPages &) = delete;
  MmzPages &operator=(const MmzPages &) = delete;

  // False when memory is exhausted. Both views are filled with zeros.
  bool allocate(size_t size);

  // The CPU's view, which the caller may protect against access.
  uint8_t *address() const { return cpu_; }
  size_t size() const { return size_; }

  // Writes back the cache lines that overlap the range.
  void flush(size_t offset, size_t size);

  const uint8_t *engine_bytes() const { return engine_; }
  void write_by_engine(size_t offset, const uint8_t *bytes, size_t size);

 private:
  size_t size_ = 0;
  uint8_t *cpu_ = nullptr;
  uint8_t *cpu_inside_ = nullptr;  // the same memory, always accessible
  uint8_t *engine_ = nullptr;
};

}  // namespace tavrine::devkit
