// Owners of the core's objects.
#pragma once

#include <memory>

#include "tavrine_core.h"

namespace tavrine::python {

template <typename Handle, void (*Free)(Handle **)>
struct Release {
  void operator()(Handle *handle) const { Free(&handle); }
};

using Frame = std::unique_ptr<tavrine_frame_t, Release<tavrine_frame_t, tavrine_frame_free>>;
using Buffer = std::unique_ptr<tavrine_buffer_t, Release<tavrine_buffer_t, tavrine_buffer_free>>;
using Tensor = std::unique_ptr<tavrine_tensor_t, Release<tavrine_tensor_t, tavrine_tensor_free>>;

// Calls an operation with an empty slot, and owns what it puts there.
template <typename Owner, typename Operation>
int32_t fill(Owner &owner, Operation operation) {
  typename Owner::pointer slot = nullptr;
  const int32_t status = operation(&slot);
  owner.reset(slot);
  return status;
}

}  // namespace tavrine::python
