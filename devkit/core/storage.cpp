#include "storage.h"

#include <new>

namespace tavrine::devkit {

StorageRef Storage::allocate(int32_t mem_type, uint64_t size) {
  OwnedMemory memory = OwnedMemory::allocate(mem_type, size);
  if (memory.data() == nullptr) {
    return {};
  }
  return StorageRef(new (std::nothrow) Storage(std::move(memory)));
}

StorageRef Storage::wrap(void *data) { return StorageRef(new (std::nothrow) Storage(data)); }

Storage::~Storage() {
  if (release_ != nullptr) {
    release_(release_arg_);
  }
}

StorageRef StorageRef::share_word(uintptr_t word) {
  StorageRef shared = adopt_word(word);
  if (shared) {
    shared.storage_->references_.fetch_add(1, std::memory_order_relaxed);
  }
  return shared;
}

StorageRef::~StorageRef() {
  if (storage_ != nullptr && storage_->references_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    delete storage_;
  }
}

}  // namespace tavrine::devkit
