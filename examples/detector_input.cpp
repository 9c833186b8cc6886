// Needs the devkit, for tavrine_tensor_alloc: on a camera, an application's tensors come from the
// SDK.
//
// Turns a camera's NV12 frame into the input of a detector, and maps a position in the tensor back
// to the frame. The frame is resized to fit, converted to RGB24, normalised and padded. The same in
// C: detector_input.c
//
//   detector_input_cpp                          with a frame that it paints
//   detector_input_cpp FRAME.nv12 WIDTH HEIGHT
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <vector>

#include "tavrine_aux.hpp"
#include "tavrine_devkit.h"

namespace {

constexpr int32_t kSide = 320;

// A dark frame with a bright square in the middle of the left half.
void paint(tavrine::Frame &frame) {
  const auto [width, height] = frame.size();
  const int32_t half = height / 8;
  for (const auto row : frame.rows(0)) {
    std::fill(row.begin(), row.end(), uint8_t{40});
  }
  for (const auto row : frame.rows(1)) {
    std::fill(row.begin(), row.end(), uint8_t{128});
  }
  for (int32_t y = height / 2 - half; y < height / 2 + half; ++y) {
    std::fill_n(frame.rows()[y].begin() + width / 4 - half, 2 * half, uint8_t{220});
  }
}

// Stands in for a network: the centre of the brightest elements in the red channel.
tavrine::Point detect(const tavrine::Tensor &tensor) {
  double sum = 0, sum_x = 0, sum_y = 0, y = 0;
  for (const auto row : tensor.rows(0, 0)) {
    for (size_t x = 0; x < row.size(); ++x) {
      const double weight = row[x] > 0.7F;
      sum += weight;
      sum_x += weight * static_cast<double>(x);
      sum_y += weight * y;
    }
    ++y;
  }
  const double count = sum > 0 ? sum : 1;
  return {static_cast<float>(sum_x / count), static_cast<float>(sum_y / count)};
}

// Returns how the picture lies in the tensor's top left corner.
tavrine::Letterbox fill(const tavrine::Frame &camera, tavrine::Tensor &tensor) {
  const auto [width, height] = camera.size();
  const int32_t longer = std::max(width, height);
  // NV12 needs even sizes.
  const tavrine::Size used = {kSide * width / longer / 2 * 2, kSide * height / longer / 2 * 2};
  const auto small = tavrine::resize(camera, used).value();
  const auto rgb = tavrine::cvt_color(small, tavrine::PixelFormat::kRgb24).value();
  tavrine::Normalization normalization;
  normalization.scale = 255;
  normalization.padding = 0.5F;
  tavrine::to_tensor(rgb, tensor, tavrine::TensorColor::kRgb, normalization).value();
  return tavrine::Letterbox::of({0, 0, width, height}, used, tavrine::ResizeMode::kStretch);
}

// Reads the file into the memory; paints the frame without one.
tavrine::Frame camera_frame(const char *path, tavrine::Size size, std::vector<uint8_t> &memory) {
  memory.resize(tavrine_frame_inferred_size(TAVRINE_FORMAT_NV12, size.width, size.height));
  // The frame wraps the camera's memory; nothing is copied.
  auto camera = tavrine::Frame::wrap(tavrine::PixelFormat::kNv12, memory.data(), size).value();
  if (path == nullptr) {
    paint(camera);
  } else if (!std::ifstream(path, std::ios::binary)
                  .read(reinterpret_cast<char *>(memory.data()),
                        static_cast<std::streamsize>(memory.size()))) {
    throw tavrine::Error(tavrine::Status::kFailure);
  }
  return camera;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 1 && argc != 4) {
    std::fprintf(stderr, "usage: %s [FRAME.nv12 WIDTH HEIGHT]\n", argv[0]);
    return 2;
  }
  const tavrine::Size size = {argc == 4 ? std::atoi(argv[2]) : 1280,
                              argc == 4 ? std::atoi(argv[3]) : 720};
  std::vector<uint8_t> memory;
  tavrine::Frame camera;
  tavrine::Tensor tensor;
  try {
    const int32_t shape[4] = {1, 3, kSide, kSide};
    tensor =
        tavrine::Tensor(tavrine_tensor_alloc(TAVRINE_MEMORY_HOST, TAVRINE_ELEMENT_FLOAT32, shape));
    camera = camera_frame(argc == 4 ? argv[1] : nullptr, size, memory);
  } catch (const std::exception &) {
    std::fprintf(stderr, "detector_input: cannot make a frame of that size\n");
    return 1;
  }
  try {
    const tavrine::Letterbox letterbox = fill(camera, tensor);
    const tavrine::Point found = detect(tensor);
    const tavrine::Point place = letterbox.to_frame(found);
    std::printf("NV12 %dx%d in a tensor of 3x%dx%d, %.2f x %.2f frame pixels per element\n",
                size.width, size.height, kSide, kSide, letterbox.horizontal, letterbox.vertical);
    std::printf("found at (%.1f, %.1f), in the frame (%.1f, %.1f)\n", found.x, found.y, place.x,
                place.y);
  } catch (const std::exception &problem) {
    std::fprintf(stderr, "detector_input: %s\n", problem.what());
    return 1;
  }
}
