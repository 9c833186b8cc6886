// Device memory: blocks of the platform's media memory. While the guard is on, only the core's own
// operations can reach them.
#pragma once

#include <cstddef>

namespace tavrine::devkit {

// Whole pages; null when memory is exhausted. `size` is not 0 and below 2^32.
void *allocate_device_memory(size_t size);
void free_device_memory(void *data);

// Flushes the cache: call it after the CPU has written and before it reads what the engine wrote.
// Does nothing for memory that is not the platform's.
void synchronize_device_memory(const void *data, size_t size);

// Makes device memory accessible, if `needed`, while an object of this class exists in any thread.
class DeviceAccess {
 public:
  explicit DeviceAccess(bool needed);
  ~DeviceAccess();
  DeviceAccess(const DeviceAccess &) = delete;
  DeviceAccess &operator=(const DeviceAccess &) = delete;

 private:
  const bool needed_;
};

}  // namespace tavrine::devkit
