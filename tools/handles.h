// Owners of the core's handles: each is freed on every path.
#pragma once

#include <utility>

#include "tavrine_core.h"

namespace tavrine::tool {

template <typename Handle, void (*Free)(Handle **)>
class Owned {
 public:
  Owned() = default;
  explicit Owned(Handle *handle) : handle_(handle) {}
  Owned(Owned &&other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Owned &operator=(Owned &&other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~Owned() { Free(&handle_); }

  Handle *get() const { return handle_; }
  Handle *operator->() const { return handle_; }
  explicit operator bool() const { return handle_ != nullptr; }

  // For functions that fill an empty slot.
  Handle **slot() { return &handle_; }

 private:
  Handle *handle_ = nullptr;
};

using OwnedFrame = Owned<tavrine_frame_t, tavrine_frame_free>;
using OwnedBuffer = Owned<tavrine_buffer_t, tavrine_buffer_free>;
using OwnedTensor = Owned<tavrine_tensor_t, tavrine_tensor_free>;

}  // namespace tavrine::tool
