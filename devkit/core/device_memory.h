// Device memory: blocks of the platform's media memory. Frames in it are reached through
// transfers, and while the guard is on through nothing else.
#pragma once

#include <cstddef>

namespace tavrine::devkit {

// Whole pages; null when memory is exhausted. `size` is not 0 and below 2^32.
void *allocate_device_memory(size_t size);
void free_device_memory(void *data);

// Makes what this CPU wrote there visible to the engine, and the other way round: after the
// one and before the other is read. Memory that is not the platform's is left alone.
void synchronize_device_memory(const void *data, size_t size);

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
