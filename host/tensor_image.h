// From tensors to the planes of elements that kernels fill.
#pragma once

#include <limits>

#include "kernels/tensor/tensor.h"
#include "tavrine_core.h"

namespace tavrine {

// The image that begins `element_offset` elements into the tensor. It has no data when the tensor
// has none, when it has fewer than `channels` channels or no rows or columns, when a stride is
// negative or the data unaligned, and when the address space cannot hold it.
template <typename Element>
ElementPlanes<Element> image_of(const tavrine_tensor_t *tensor, uint32_t element_offset,
                                int32_t channels) {
  ElementPlanes<Element> image = {nullptr, tensor->shape[3], tensor->shape[2], tensor->strides[2],
                                  tensor->strides[1]};
  if (tensor->shape[1] < channels || image.rows < 1 || image.columns < 1 || image.row_stride < 0 ||
      image.channel_stride < 0) {
    return image;
  }
  const int64_t end = element_offset + int64_t{image.channel_stride} * (channels - 1) +
                      int64_t{image.row_stride} * (image.rows - 1) + image.columns;
  void *data = tavrine_tensor_raw_pointer(tensor);
  if (data != nullptr && reinterpret_cast<uintptr_t>(data) % alignof(Element) == 0 &&
      end <= static_cast<int64_t>(std::numeric_limits<ptrdiff_t>::max() / sizeof(Element))) {
    image.data = static_cast<Element *>(data) + element_offset;
  }
  return image;
}

}  // namespace tavrine
