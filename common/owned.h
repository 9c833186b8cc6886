// Owners of core handles: they release what a call creates, on every path.
#pragma once

#include <utility>

#include "tavrine_core.h"

namespace tavrine {

template <typename Handle, void (*Free)(Handle **)>
class Owned {
 public:
  Owned() = default;
  explicit Owned(Handle *handle) : handle_(handle) {}
  Owned(Owned &&other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Owned &operator=(Owned &&other) noexcept {
    std::swap(handle_, other.handle_);
    other.reset();
    return *this;
  }
  ~Owned() { reset(); }

  Handle *get() const { return handle_; }
  Handle *operator->() const { return handle_; }
  explicit operator bool() const { return handle_ != nullptr; }

  // For core operations that take a slot.
  Handle **slot() { return &handle_; }

  Handle *release() { return std::exchange(handle_, nullptr); }

  void reset() {
    if (handle_ != nullptr) {
      Free(&handle_);
    }
    handle_ = nullptr;
  }

 private:
  Handle *handle_ = nullptr;
};

using OwnedFrame = Owned<tavrine_frame_t, tavrine_frame_free>;
using OwnedBuffer = Owned<tavrine_buffer_t, tavrine_buffer_free>;
using OwnedTensor = Owned<tavrine_tensor_t, tavrine_tensor_free>;

}  // namespace tavrine
