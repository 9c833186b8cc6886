#include "bench/pictures.h"

#include <algorithm>
#include <cstddef>
#include <random>
#include <stdexcept>

#include "tavrine_devkit.h"

namespace tavrine::bench {
namespace {

std::string text_of(const Picture &picture) {
  return std::string(tavrine_frame_pixfmt_to_string(picture.format)) + " " +
         std::to_string(picture.width) + "x" + std::to_string(picture.height);
}

void fill_with_noise(uint8_t *bytes, size_t size) {
  std::mt19937 random(20210917);
  std::generate(bytes, bytes + size, [&random] { return static_cast<uint8_t>(random() >> 24); });
}

}  // namespace

uint8_t *Pictures::block(const std::string &name, size_t size, bool &is_new) {
  int fresh = 0;
  void *const data = memory_(arg_, name.c_str(), size, &fresh);
  if (data == nullptr) {
    throw std::runtime_error("no memory for " + name);
  }
  is_new = fresh != 0;
  return static_cast<uint8_t *>(data);
}

tavrine_frame_t *Pictures::frame(const char *role, const Picture &picture) {
  const std::string name = std::string(role) + " " + text_of(picture);
  OwnedFrame &frame = frames_[name];
  if (!frame) {
    const size_t size = tavrine_frame_inferred_size(picture.format, picture.width, picture.height);
    bool is_new = false;
    uint8_t *const data = block(name, size, is_new);
    if (is_new) {
      fill_with_noise(data, size);
    }
    const int32_t tight[4] = {};
    frame = OwnedFrame(tavrine_frame_make(TAVRINE_MEMORY_HOST, picture.format, data, picture.width,
                                          picture.height, tight, 0, nullptr, nullptr));
    if (!frame) {
      throw std::runtime_error("no frame over " + name);
    }
  }
  return frame.get();
}

tavrine_tensor_t *Pictures::tensor(int32_t images, int32_t height, int32_t width) {
  const std::string name = "tensor " + std::to_string(images) + "x3x" + std::to_string(height) +
                           "x" + std::to_string(width);
  OwnedTensor &tensor = tensors_[name];
  if (!tensor) {
    const int32_t shape[4] = {images, 3, height, width};
    const size_t elements =
        static_cast<size_t>(images) * 3 * static_cast<size_t>(height) * static_cast<size_t>(width);
    bool is_new = false;
    uint8_t *const data = block(name, elements * sizeof(float), is_new);
    tensor = OwnedTensor(tavrine_tensor_make(TAVRINE_MEMORY_HOST, TAVRINE_ELEMENT_FLOAT32, data,
                                             shape, nullptr, nullptr, nullptr));
    if (!tensor) {
      throw std::runtime_error("no tensor over " + name);
    }
  }
  return tensor.get();
}

}  // namespace tavrine::bench
