// Device memory, apart from the process's own: frames in it are reached through transfers,
// and while the guard is on through nothing else.
#pragma once

#include <cstddef>

namespace tavrine::devkit {

// Whole pages; null when memory is exhausted. `size` is not 0.
void *allocate_device_memory(size_t size);
void free_device_memory(void *data);

// Opens the device memory to this process, when an operation needs it, for as long as one
// of these lives in any thread.
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
