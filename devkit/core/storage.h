// The memory of frames and tensors, shared by reference counting.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

#include "core_api.h"
#include "live_objects.h"
#include "owned_memory.h"

namespace tavrine::devkit {

class StorageRef;

class Storage {
 public:
  // Empty when memory is exhausted.
  static StorageRef allocate(int32_t mem_type, uint64_t size);

  // Wraps memory that the caller owns.
  static StorageRef wrap(void *data);

  // Calls `release` when the last reference is dropped.
  void set_release(tavrine_release_fn release, void *arg) {
    release_ = release;
    release_arg_ = arg;
  }

  void *data() const { return data_; }

 private:
  friend class StorageRef;

  explicit Storage(OwnedMemory memory) : memory_(std::move(memory)), data_(memory_.data()) {}
  explicit Storage(void *data) : data_(data) {}
  ~Storage();

  std::atomic<int32_t> references_{1};
  const LiveCount live_{ObjectKind::kStorageBlock};
  const OwnedMemory memory_;
  void *const data_;
  tavrine_release_fn release_ = nullptr;
  void *release_arg_ = nullptr;
};

// One reference. Records store it as an integer.
class StorageRef {
 public:
  StorageRef() = default;
  explicit StorageRef(Storage *adopted) : storage_(adopted) {}
  StorageRef(StorageRef &&other) noexcept : storage_(std::exchange(other.storage_, nullptr)) {}
  StorageRef &operator=(StorageRef &&other) noexcept {
    std::swap(storage_, other.storage_);
    return *this;
  }
  ~StorageRef();

  static StorageRef adopt_word(uintptr_t word) {
    return StorageRef(reinterpret_cast<Storage *>(word));
  }
  static StorageRef share_word(uintptr_t word);
  uintptr_t into_word() { return reinterpret_cast<uintptr_t>(std::exchange(storage_, nullptr)); }

  Storage *get() const { return storage_; }
  Storage *operator->() const { return storage_; }
  explicit operator bool() const { return storage_ != nullptr; }

 private:
  Storage *storage_ = nullptr;
};

}  // namespace tavrine::devkit
