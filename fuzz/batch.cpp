// Frames and tensors end where their memory ends, so that the sanitizer sees accesses beyond, and
// the elements between the rows of a tensor must not change.
#include <array>
#include <cstring>
#include <vector>

#include "common/owned.h"
#include "fuzz/harness.h"
#include "fuzz/watch.h"
#include "tavrine_aux.h"
#include "tavrine_devkit.h"

namespace tavrine::fuzz {
namespace {

constexpr uint32_t kFormats[] = {TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24, TAVRINE_FORMAT_GREY,
                                 TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24, TAVRINE_FORMAT_BGRA};
constexpr int32_t kElementTypes[] = {TAVRINE_ELEMENT_FLOAT32, TAVRINE_ELEMENT_UINT8,
                                     TAVRINE_ELEMENT_FLOAT32, TAVRINE_ELEMENT_UINT8,
                                     TAVRINE_ELEMENT_INT8};
constexpr uint8_t kUntouched = 0x5A;

// One plane; its last row has no padding.
class ExactFrame {
 public:
  ExactFrame(uint32_t format, int32_t width, int32_t height, int32_t padding, uint8_t first) {
    const auto row = static_cast<int32_t>(tavrine_frame_pixel_size(format)) * width;
    const int32_t strides[TAVRINE_MAX_PLANES] = {row + padding};
    bytes_ =
        std::vector<uint8_t>(static_cast<size_t>(strides[0]) * static_cast<size_t>(height - 1) +
                             static_cast<size_t>(row));
    for (size_t i = 0; i < bytes_.size(); ++i) {
      bytes_[i] = static_cast<uint8_t>(i * 37 + i / 251 + first);
    }
    before_ = bytes_;
    frame_ = OwnedFrame(tavrine_frame_make(TAVRINE_MEMORY_HOST, format, bytes_.data(), width,
                                           height, strides, 0, nullptr, nullptr));
  }

  OwnedFrame take() { return std::move(frame_); }

  bool is_unchanged() const { return bytes_ == before_; }

 private:
  std::vector<uint8_t> bytes_;
  std::vector<uint8_t> before_;
  OwnedFrame frame_;
};

// A host tensor that ends with its last element.
class ExactTensor {
 public:
  ExactTensor(Input &input, int32_t element_type, const std::array<int32_t, 4> &shape)
      : shape_(shape) {
    strides_[3] = 1;
    for (size_t i = 3; i > 0; --i) {
      strides_[i - 1] = strides_[i] * shape[i] + input.between(0, 7);
    }
    int32_t last = 0;
    for (size_t i = 0; i < 4; ++i) {
      last += (shape[i] - 1) * strides_[i];
    }
    element_size_ = element_type == TAVRINE_ELEMENT_FLOAT32 ? sizeof(float) : 1;
    bytes_ = std::vector<uint8_t>(static_cast<size_t>(last + 1) * element_size_, kUntouched);
    tensor_ = OwnedTensor(tavrine_tensor_make(TAVRINE_MEMORY_HOST, element_type, bytes_.data(),
                                              shape.data(), strides_.data(), nullptr, nullptr));
  }

  tavrine_tensor_t *get() const { return tensor_.get(); }

  // Whether only elements of the shape were written. Overwrites them.
  bool is_unchanged_between_rows() {
    const size_t row_bytes = static_cast<size_t>(shape_[3]) * element_size_;
    for (int32_t n = 0; n < shape_[0]; ++n) {
      for (int32_t c = 0; c < shape_[1]; ++c) {
        for (int32_t y = 0; y < shape_[2]; ++y) {
          const int32_t first = n * strides_[0] + c * strides_[1] + y * strides_[2];
          std::memset(&bytes_[static_cast<size_t>(first) * element_size_], kUntouched, row_bytes);
        }
      }
    }
    return bytes_ == std::vector<uint8_t>(bytes_.size(), kUntouched);
  }

 private:
  std::array<int32_t, 4> shape_;
  std::array<int32_t, 4> strides_{};
  size_t element_size_ = 1;
  std::vector<uint8_t> bytes_;
  OwnedTensor tensor_;
};

struct Numbers {
  float mean[3];
  float scale[3];
  float padding[3];
};

Numbers numbers_from(Input &input) {
  Numbers numbers = {{0, 0, 0}, {1, 1, 1}, {0, 0, 0}};
  if (input.flag()) {
    for (float *triple : {numbers.mean, numbers.scale, numbers.padding}) {
      for (int i = 0; i < 3; ++i) {
        triple[i] = input.number();
      }
    }
  }
  return numbers;
}

OwnedFrame place(OwnedFrame host, bool on_device) {
  if (!on_device || !host) {
    return host;
  }
  OwnedFrame device;
  tavrine_frame_upload(host.get(), device.slot());
  return device;
}

}  // namespace

void batch(const uint8_t *data, size_t size) {
  const Watch watch;
  Input input(data, size);
  const uint8_t choices = input.byte();
  const bool is_single = (choices & 1) != 0;
  const bool frames_on_device = (choices & 6) == 6;
  const bool tensor_on_device = (choices & 24) == 24;
  const int32_t color_type = input.between(-1, 30) & 3;
  const int32_t element_type = input.one_of(kElementTypes);
  const std::array<int32_t, 4> shape = {input.between(1, 4), input.between(1, 4),
                                        input.between(1, 40), input.between(1, 70)};
  ExactTensor host_tensor(input, element_type, shape);
  const OwnedTensor device_tensor(
      tavrine_tensor_alloc(TAVRINE_MEMORY_DEVICE, element_type, shape.data()));
  tavrine_tensor_t *tensor = tensor_on_device ? device_tensor.get() : host_tensor.get();
  const Numbers numbers = numbers_from(input);
  const auto &[mean, scale, padding] = numbers;
  const int32_t mode = input.between(0, 16) & 1;
  std::vector<ExactFrame> sources;
  std::vector<OwnedFrame> owners;
  std::vector<tavrine_frame_t *> frames;
  std::vector<tavrine_area2d_t> areas;
  std::vector<std::array<float, 3>> paddings;
  for (int32_t i = 0; i < shape[0]; ++i) {
    const uint32_t format = input.one_of(kFormats);
    const int32_t width = input.between(1, 140);
    const int32_t height = input.between(1, 100);
    const int32_t row_padding = input.between(0, 24);
    sources.emplace_back(format, width, height, row_padding, input.byte());
    owners.push_back(place(sources.back().take(), frames_on_device));
    frames.push_back(owners.back().get());
    areas.push_back(
        {input.coordinate(), input.coordinate(), input.coordinate(), input.coordinate()});
    paddings.push_back({padding[0], padding[1], padding[2]});
  }
  Watch::order_failures(input);
  if (is_single) {
    const auto image = static_cast<uint32_t>(input.between(0, shape[0] - 1));
    const uint32_t offset =
        image * static_cast<uint32_t>(tensor != nullptr ? tensor->strides[0] : 0);
    tavrine_frame_to_tensor(tensor, offset, color_type, frames[0], mean[0], mean[1], mean[2],
                            scale[0], scale[1], scale[2], padding[0], padding[1], padding[2]);
  } else {
    OwnedBuffer workspace;
    std::vector<float> vertical(frames.size());
    std::vector<float> horizontal(frames.size());
    tavrine_frame_transform_to_tensor_batch(
        tensor, color_type, shape[0], frames.data(), areas.data(), mode, mean[0], mean[1], mean[2],
        scale[0], scale[1], scale[2], reinterpret_cast<const float(*)[3]>(paddings.data()),
        workspace.slot(), vertical.data(), horizontal.data());
  }
  require(host_tensor.is_unchanged_between_rows(), "the tensor was written between its rows");
  for (const ExactFrame &source : sources) {
    require(source.is_unchanged(), "a source was written");
  }
}

}  // namespace tavrine::fuzz
