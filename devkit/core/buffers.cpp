#include <algorithm>
#include <cstring>
#include <new>

#include "device_memory.h"
#include "exported.h"
#include "faults.h"
#include "live_objects.h"
#include "memory_block.h"

using namespace tavrine::devkit;

// Either owns a block, of which `size` bytes are in use, or wraps memory.
struct tavrine_buffer {
  tavrine_buffer(int32_t type, MemoryBlock owned, size_t bytes)
      : mem_type(type), data(owned.data()), size(bytes), block(std::move(owned)) {}
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
  MemoryBlock block;
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

// Larger than asked for, so that a buffer that grows in small steps is not copied each time.
MemoryBlock grown_block(const tavrine_buffer_t &buffer, size_t size) {
  const uint64_t capacity = buffer.block.size();
  MemoryBlock block =
      MemoryBlock::allocate(buffer.mem_type, std::max<uint64_t>(size, capacity + capacity / 2));
  return block.data() != nullptr ? std::move(block) : MemoryBlock::allocate(buffer.mem_type, size);
}

int32_t resize_owned(tavrine_buffer_t &buffer, size_t size) {
  const DeviceAccess access(buffer.mem_type == TAVRINE_MEMORY_DEVICE);
  if (size == 0) {
    buffer.block = MemoryBlock();
  } else if (size > buffer.block.size()) {
    MemoryBlock block = grown_block(buffer, size);
    if (block.data() == nullptr) {
      return TAVRINE_FAILURE;
    }
    if (buffer.size > 0) {
      std::memcpy(block.data(), buffer.data, buffer.size);
    }
    buffer.block = std::move(block);
  } else if (size > buffer.size) {
    // Bytes that were cut off do not come back.
    std::memset(buffer.block.data() + buffer.size, kFreshByte, size - buffer.size);
  }
  buffer.data = buffer.block.data();
  buffer.size = size;
  synchronize(buffer);
  return TAVRINE_OK;
}

}  // namespace

tavrine_buffer_t *tavrine_buffer_make(void *data, size_t size, int32_t mem_type,
                                      tavrine_release_fn release, void *arg) {
  if (must_fail(Operation::tavrine_buffer_make) || !is_memory_type(mem_type) ||
      (data == nullptr && size > 0)) {
    return nullptr;
  }
  return new (std::nothrow) tavrine_buffer(mem_type, data, size, release, arg);
}

tavrine_buffer_t *tavrine_buffer_alloc(size_t size, int32_t mem_type) {
  if (must_fail(Operation::tavrine_buffer_alloc) || !is_memory_type(mem_type)) {
    return nullptr;
  }
  MemoryBlock block = MemoryBlock::allocate(mem_type, size);
  if (block.data() == nullptr && size > 0) {
    return nullptr;
  }
  return new (std::nothrow) tavrine_buffer(mem_type, std::move(block), size);
}

int32_t tavrine_buffer_set(tavrine_buffer_t *buffer, int32_t value) {
  if (must_fail(Operation::tavrine_buffer_set)) {
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
  if (must_fail(Operation::tavrine_buffer_resize)) {
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
