#include <algorithm>
#include <cstring>
#include <new>

#include "core_api.h"
#include "device_memory.h"
#include "faults.h"
#include "live_objects.h"
#include "owned_memory.h"

using namespace tavrine::devkit;

// Either owns memory, of which `size` bytes are in use, or wraps a caller's.
struct tavrine_buffer {
  tavrine_buffer(int32_t type, OwnedMemory owned, size_t bytes)
      : mem_type(type), data(owned.data()), size(bytes), memory(std::move(owned)) {}
  tavrine_buffer(int32_t type, void *wrapped, size_t bytes, tavrine_release_fn callback,
                 void *callback_arg)
      : mem_type(type),
        data(wrapped),
        size(bytes),
        wraps(true),
        release(callback),
        arg(callback_arg) {}
  ~tavrine_buffer() {
    if (release != nullptr) {
      release(arg);
    }
  }

  const int32_t mem_type;
  void *data;
  size_t size;
  OwnedMemory memory;
  const bool wraps = false;
  const tavrine_release_fn release = nullptr;
  void *const arg = nullptr;
  const LiveCount live{ObjectKind::kBuffer};
};

namespace {

void synchronize(const tavrine_buffer_t &buffer) {
  if (buffer.mem_type == TAVRINE_MEMORY_DEVICE && buffer.size > 0) {
    synchronize_device_memory(buffer.data, buffer.size);
  }
}

// Allocates half as much again, so that a buffer that grows in small steps is rarely copied.
OwnedMemory grown_memory(const tavrine_buffer_t &buffer, size_t size) {
  const uint64_t capacity = buffer.memory.size();
  OwnedMemory memory =
      OwnedMemory::allocate(buffer.mem_type, std::max<uint64_t>(size, capacity + capacity / 2));
  return memory.data() != nullptr ? std::move(memory)
                                  : OwnedMemory::allocate(buffer.mem_type, size);
}

int32_t resize_owned(tavrine_buffer_t &buffer, size_t size) {
  const DeviceAccess access(buffer.mem_type == TAVRINE_MEMORY_DEVICE);
  if (size == 0) {
    buffer.memory = OwnedMemory();
  } else if (size > buffer.memory.size()) {
    OwnedMemory memory = grown_memory(buffer, size);
    if (memory.data() == nullptr) {
      return TAVRINE_FAILURE;
    }
    if (buffer.size > 0) {
      std::memcpy(memory.data(), buffer.data, buffer.size);
    }
    buffer.memory = std::move(memory);
  } else if (size > buffer.size) {
    // Bytes that a shrink cut off do not reappear.
    std::memset(buffer.memory.data() + buffer.size, kFreshByte, size - buffer.size);
  }
  buffer.data = buffer.memory.data();
  buffer.size = size;
  synchronize(buffer);
  return TAVRINE_OK;
}

}  // namespace

tavrine_buffer_t *tavrine_buffer_make(void *data, size_t size, int32_t mem_type,
                                      tavrine_release_fn release, void *arg) {
  if (should_inject_fault(Operation::tavrine_buffer_make) || !is_memory_type(mem_type) ||
      (data == nullptr && size > 0)) {
    return nullptr;
  }
  return new (std::nothrow) tavrine_buffer(mem_type, data, size, release, arg);
}

tavrine_buffer_t *tavrine_buffer_alloc(size_t size, int32_t mem_type) {
  if (should_inject_fault(Operation::tavrine_buffer_alloc) || !is_memory_type(mem_type)) {
    return nullptr;
  }
  OwnedMemory memory = OwnedMemory::allocate(mem_type, size);
  if (memory.data() == nullptr && size > 0) {
    return nullptr;
  }
  return new (std::nothrow) tavrine_buffer(mem_type, std::move(memory), size);
}

int32_t tavrine_buffer_set(tavrine_buffer_t *buffer, int32_t value) {
  if (should_inject_fault(Operation::tavrine_buffer_set)) {
    return TAVRINE_DEVKIT_INJECTED_FAILURE;
  }
  if (buffer == nullptr) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  const DeviceAccess access(buffer->mem_type == TAVRINE_MEMORY_DEVICE);
  if (buffer->size > 0) {
    std::memset(buffer->data, value & 0xFF, buffer->size);
  }
  synchronize(*buffer);
  return TAVRINE_OK;
}

void tavrine_buffer_free(tavrine_buffer_t **buffer) {
  count_call(Operation::tavrine_buffer_free);
  if (buffer != nullptr) {
    delete *buffer;
    *buffer = nullptr;
  }
}

size_t tavrine_buffer_size(const tavrine_buffer_t *buffer) {
  count_call(Operation::tavrine_buffer_size);
  return buffer != nullptr ? buffer->size : 0;
}

int32_t tavrine_buffer_resize(tavrine_buffer_t *buffer, size_t size) {
  if (should_inject_fault(Operation::tavrine_buffer_resize)) {
    return TAVRINE_DEVKIT_INJECTED_FAILURE;
  }
  if (buffer == nullptr) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  if (!buffer->wraps) {
    return resize_owned(*buffer, size);
  }
  if (size > buffer->size) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  buffer->size = size;
  return TAVRINE_OK;
}

void *tavrine_buffer_raw_pointer(const tavrine_buffer_t *buffer) {
  count_call(Operation::tavrine_buffer_raw_pointer);
  return buffer != nullptr ? buffer->data : nullptr;
}

int32_t tavrine_buffer_mem_type(const tavrine_buffer_t *buffer) {
  count_call(Operation::tavrine_buffer_mem_type);
  return buffer != nullptr ? buffer->mem_type : static_cast<int32_t>(TAVRINE_INVALID_ARGUMENT);
}
