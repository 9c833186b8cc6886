#include "owned_memory.h"

#include <cstdlib>
#include <cstring>

#include "device_memory.h"

namespace tavrine::devkit {
namespace {

// The camera's limit: what is too large there is too large everywhere.
constexpr uint64_t kMaxBytes = INT32_MAX;

// A cache line.
constexpr size_t kHostAlignment = 64;

// The size is not rounded up, so that memory checkers detect the first byte past the end.
void *allocate_host_memory(size_t size) {
  void *data = nullptr;
  return posix_memalign(&data, kHostAlignment, size) == 0 ? data : nullptr;
}

}  // namespace

OwnedMemory OwnedMemory::allocate(int32_t mem_type, uint64_t size) {
  if (!is_memory_type(mem_type) || size == 0 || size > kMaxBytes) {
    return {};
  }
  const auto bytes = static_cast<size_t>(size);
  const bool on_device = mem_type == TAVRINE_MEMORY_DEVICE;
  void *data = on_device ? allocate_device_memory(bytes) : allocate_host_memory(bytes);
  if (data == nullptr) {
    return {};
  }
  const DeviceAccess access(on_device);
  std::memset(data, kFreshByte, bytes);
  if (on_device) {
    synchronize_device_memory(data, bytes);
  }
  return {mem_type, static_cast<uint8_t *>(data), bytes};
}

OwnedMemory::~OwnedMemory() {
  if (data_ == nullptr) {
    return;
  }
  if (mem_type_ == TAVRINE_MEMORY_DEVICE) {
    free_device_memory(data_);
  } else {
    std::free(data_);
  }
}

}  // namespace tavrine::devkit
