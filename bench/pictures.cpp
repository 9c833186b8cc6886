#include "bench/pictures.h"

#include <algorithm>
#include <cstddef>
#include <random>
#include <stdexcept>

#include "tavrine_devkit.h"

namespace tavrine::bench {

tavrine_frame_t *Pictures::frame(const Picture &picture, Role role) {
  OwnedFrame &frame = frames_[{role, picture.format, picture.width, picture.height}];
  if (!frame) {
    const int32_t tight[4] = {};
    frame = OwnedFrame(tavrine_frame_alloc(TAVRINE_MEMORY_HOST, picture.format, picture.width,
                                           picture.height, tight, 0));
    if (!frame) {
      throw std::runtime_error("no memory for a frame");
    }
    // Planes lie back to back.
    auto *bytes = static_cast<uint8_t *>(frame->planes[0]);
    const size_t size = tavrine_frame_inferred_size(picture.format, picture.width, picture.height);
    std::mt19937 random(20210917);
    std::generate(bytes, bytes + size, [&random] { return static_cast<uint8_t>(random() >> 24); });
  }
  return frame.get();
}

tavrine_tensor_t *Pictures::tensor(int32_t images, int32_t height, int32_t width) {
  OwnedTensor &tensor = tensors_[{images, height, width}];
  if (!tensor) {
    const int32_t shape[4] = {images, 3, height, width};
    tensor = OwnedTensor(tavrine_tensor_alloc(TAVRINE_MEMORY_HOST, TAVRINE_ELEMENT_FLOAT32, shape));
    if (!tensor) {
      throw std::runtime_error("no memory for a tensor");
    }
  }
  return tensor.get();
}

}  // namespace tavrine::bench
