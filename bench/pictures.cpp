#include "pictures.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <random>
#include <stdexcept>

#include "tavrine_devkit.h"

namespace tavrine::bench {
namespace {

constexpr size_t kMaxJpegBytes = size_t{16} << 20;

std::string text_of(const Picture &picture) {
  return std::string(tavrine_frame_pixfmt_to_string(picture.format)) + " " +
         std::to_string(picture.width) + "x" + std::to_string(picture.height) + " " +
         std::to_string(static_cast<int>(picture.content));
}

void fill_with_noise(uint8_t *bytes, size_t size) {
  std::mt19937 random(20210917);
  std::generate(bytes, bytes + size, [&random] { return static_cast<uint8_t>(random() >> 24); });
}

// Makes every `distance`-th RGB pixel grey.
void make_grey(uint8_t *bytes, size_t size, size_t distance) {
  for (size_t i = 0; i + 3 <= size; i += 3 * distance) {
    std::fill_n(bytes + i + 1, 2, bytes[i]);
  }
}

// Waves of several lengths, with an edge where they are cut off, and noise.
void draw_photograph(uint8_t *bytes, const Picture &picture) {
  std::mt19937 random(20210917);
  for (int32_t y = 0; y < picture.height; ++y) {
    for (int32_t x = 0; x < picture.width; ++x) {
      for (int32_t channel = 0; channel < 3; ++channel) {
        const double wave = 60 * std::sin(0.004 * x + 0.9 * channel) * std::cos(0.007 * y) +
                            25 * std::sin(0.05 * x + 0.03 * y);
        const double noise = static_cast<double>(random() >> 24) / 32;
        *bytes++ = static_cast<uint8_t>(std::max(0.0, wave) + 60 + 20 * channel + noise);
      }
    }
  }
}

void fill(uint8_t *bytes, size_t size, const Picture &picture) {
  if (picture.content == Content::kPhotograph) {
    draw_photograph(bytes, picture);
    return;
  }
  fill_with_noise(bytes, size);
  if (picture.content == Content::kGrey) {
    make_grey(bytes, size, 1);
  } else if (picture.content == Content::kTenthGrey) {
    make_grey(bytes, size, 10);
  }
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
      fill(data, size, picture);
    }
    const int32_t tight[4] = {};
    frame.reset(tavrine_frame_make(TAVRINE_MEMORY_HOST, picture.format, data, picture.width,
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
    tensor.reset(tavrine_tensor_make(TAVRINE_MEMORY_HOST, TAVRINE_ELEMENT_FLOAT32, data, shape,
                                     nullptr, nullptr, nullptr));
    if (!tensor) {
      throw std::runtime_error("no tensor over " + name);
    }
  }
  return tensor.get();
}

// The length of the file, then the file.
uint8_t *Pictures::jpeg_block(const Picture &picture) {
  bool is_new = false;
  uint8_t *const data =
      block("source JPEG " + text_of(picture), sizeof(size_t) + kMaxJpegBytes, is_new);
  if (is_new) {
    std::memset(data, 0, sizeof(size_t));
  }
  return data;
}

Bytes Pictures::jpeg_file(const Picture &picture) {
  const uint8_t *const data = jpeg_block(picture);
  size_t size = 0;
  std::memcpy(&size, data, sizeof(size));
  return {data + sizeof(size), size};
}

void Pictures::set_jpeg_file(const Picture &picture, const Bytes &file) {
  if (file.size > kMaxJpegBytes) {
    throw std::runtime_error("the JPEG file is larger than its block");
  }
  uint8_t *const data = jpeg_block(picture);
  std::memcpy(data, &file.size, sizeof(file.size));
  std::memcpy(data + sizeof(file.size), file.data, file.size);
}

}  // namespace tavrine::bench
