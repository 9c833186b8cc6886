#include "tests/tensor_support.h"

#include <cstring>

namespace tavrine::test {
namespace {

constexpr int kMargin = 13;

uint32_t bits_of(float value) {
  uint32_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

}  // namespace

uint32_t stored(int32_t element_type, double value) {
  switch (element_type) {
    case TAVRINE_ELEMENT_FLOAT32:
      return bits_of(static_cast<float>(value));
    case TAVRINE_ELEMENT_INT8:
      return static_cast<uint32_t>(static_cast<int64_t>(value)) & 0xFF;
    default:
      return !(value > 0) ? 0 : value >= 4294967296.0 ? 255 : static_cast<uint32_t>(value) % 256;
  }
}

PaddedTensor::PaddedTensor(int32_t element_type, std::array<int32_t, 4> shape)
    : element_type_(element_type) {
  const int32_t row = shape[3] + 3;
  const int32_t channel = row * shape[2] + 5;
  const int32_t image = channel * shape[1] + 7;
  strides_ = {image, channel, row, 1};
  const size_t elements = static_cast<size_t>(image * shape[0]) + size_t{2} * kMargin;
  memory_.assign(elements, -12345.0F);
  const int bytes = element_type == TAVRINE_ELEMENT_FLOAT32 ? 4 : 1;
  tensor_ =
      OwnedTensor(tavrine_tensor_make(TAVRINE_MEMORY_HOST, element_type,
                                      reinterpret_cast<uint8_t *>(memory_.data()) + kMargin * bytes,
                                      shape.data(), strides_.data(), nullptr, nullptr));
  EXPECT_TRUE(tensor_);
}

Elements PaddedTensor::elements() const {
  Elements elements(memory_.size());
  if (element_type_ == TAVRINE_ELEMENT_FLOAT32) {
    std::memcpy(elements.data(), memory_.data(), 4 * memory_.size());
  } else {
    const auto *bytes = reinterpret_cast<const uint8_t *>(memory_.data());
    elements.assign(bytes, bytes + 4 * memory_.size());
  }
  return elements;
}

size_t PaddedTensor::index(int n, int c, int y, int x) const {
  return static_cast<size_t>(kMargin + n * strides_[0] + c * strides_[1] + y * strides_[2] + x);
}

void PaddedTensor::expect_frame(Elements &elements, int image, const Rectangle &at,
                                int32_t color_type, const tavrine_frame_t *frame,
                                const Preprocessing &preprocessing) const {
  const auto &[mean, scale, padding] = preprocessing;
  const std::vector<uint8_t> pixels = pixels_of(frame);
  const bool is_grey_frame = frame->pixel_format == TAVRINE_FORMAT_GREY;
  const size_t red = frame->pixel_format == TAVRINE_FORMAT_BGR24 ? 2 : 0;
  const int channels = color_type == TAVRINE_TENSOR_GRAY ? 1 : 3;
  for (int c = 0; c < channels; ++c) {
    // The colour of this channel, from red on.
    const auto color = static_cast<size_t>(color_type == TAVRINE_TENSOR_BGR ? 2 - c : c);
    for (int y = 0; y < at.height; ++y) {
      for (int x = 0; x < at.width; ++x) {
        uint32_t &element = elements[index(image, c, at.y + y, at.x + x)];
        const size_t pixel = static_cast<size_t>(y * frame->width + x);
        if (x >= frame->width || y >= frame->height) {
          element = stored(element_type_, padding[color]);
        } else if (is_grey_frame) {
          element = stored(element_type_, (pixels[pixel] - mean[0]) / scale[0]);
        } else if (channels == 1) {
          const uint8_t *p = pixels.data() + 3 * pixel;
          element = stored(element_type_, (0.587 * p[1] + 0.299 * p[red] + 0.114 * p[2 - red] -
                                           static_cast<double>(mean[0])) /
                                              static_cast<double>(scale[0]));
        } else {
          const uint8_t byte = pixels[3 * pixel + (red == 0 ? color : 2 - color)];
          element = stored(element_type_, (byte - mean[color]) * (1.0F / scale[color]));
        }
      }
    }
  }
}

void PaddedTensor::expect_band(Elements &elements, int image, const Rectangle &at,
                               const std::vector<float> &values) const {
  for (int c = 0; c < static_cast<int>(values.size()); ++c) {
    for (int y = at.y; y < at.y + at.height; ++y) {
      for (int x = at.x; x < at.x + at.width; ++x) {
        elements[index(image, c, y, x)] = stored(element_type_, values[static_cast<size_t>(c)]);
      }
    }
  }
}

std::vector<uint8_t> bytes_of(const tavrine_tensor_t *tensor) {
  const int32_t elements = tensor->shape[0] * tensor->strides[0];
  const auto *data = static_cast<const uint8_t *>(tavrine_tensor_raw_pointer(tensor));
  return {data, data + elements * (tensor->element_type == TAVRINE_ELEMENT_FLOAT32 ? 4 : 1)};
}

int32_t to_tensor(tavrine_tensor_t *tensor, uint32_t offset, int32_t color_type,
                  const tavrine_frame_t *in, const Preprocessing &preprocessing) {
  const auto &[mean, scale, padding] = preprocessing;
  return tavrine_frame_to_tensor(tensor, offset, color_type, in, mean[0], mean[1], mean[2],
                                 scale[0], scale[1], scale[2], padding[0], padding[1], padding[2]);
}

}  // namespace tavrine::test
