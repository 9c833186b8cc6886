// Needs the devkit, for tavrine_tensor_alloc: on a camera, an application's tensors come from the
// SDK.
//
// Turns several regions of a picture into one batch for a network, and maps positions in its images
// back to the picture. The same in C: batch_regions.c
//
//   batch_regions_cpp [PICTURE]     without one it paints a horizontal ramp
#include <cstdio>
#include <stdexcept>

#include "tavrine_aux.hpp"
#include "tavrine_devkit.h"

namespace {

constexpr int32_t kRegions = 4;
constexpr int32_t kSide = 64;

tavrine::Frame paint_ramp() {
  auto frame = tavrine::Frame::allocate(tavrine::PixelFormat::kGrey, {256, 192}).value();
  for (const auto row : frame.rows()) {
    for (size_t x = 0; x < row.size(); ++x) {
      row[x] = static_cast<uint8_t>(x);
    }
  }
  return frame;
}

// The network needs three channels, also for grey pictures.
tavrine::Frame rgb_picture(const char *path) {
  auto picture = path != nullptr ? tavrine::load(path) : paint_ramp();
  if (!picture) {
    throw std::runtime_error("cannot load the picture");
  }
  return tavrine::cvt_color(*picture, tavrine::PixelFormat::kRgb24).value();
}

double mean_of(const tavrine::Tensor &tensor, int32_t image) {
  double sum = 0;
  for (const auto row : tensor.rows(image, 0)) {
    for (const float element : row) {
      sum += element;
    }
  }
  return sum / (kSide * kSide);
}

void fill(const tavrine::Frame &rgb, tavrine::Tensor &tensor) {
  const auto [w, h] = rgb.size();
  // It keeps scratch memory; a program would use it for all its batches.
  tavrine::Batch batch;
  batch.add(rgb);                                        // all of it
  batch.add(rgb, {w / 4, h / 4, w / 2, h / 2});          // the middle
  batch.add(rgb, {0, h / 3, w, h / 6 + 1});              // a strip, padded below
  batch.add(rgb, {w / 2, h / 2, 2 * w / 3, 2 * h / 3});  // reaches outside, padded there
  tavrine::BatchOptions options;
  options.normalization.mean = 127.5F;
  options.normalization.scale = 127.5F;
  batch.fill(tensor, options).value();
  int32_t i = 0;
  for (const tavrine::Letterbox &letterbox : batch.letterboxes()) {
    // A corner of a box in the tensor, as a network would report it.
    const tavrine::Box box = letterbox.to_frame(tavrine::Box{16, 4, 0, 0});
    std::printf(
        "region %d of %dx%d: %.3f pixels per element, red mean %+.3f, (16, 4) is (%.1f, %.1f)\n", i,
        letterbox.area.width, letterbox.area.height, letterbox.horizontal, mean_of(tensor, i),
        box.x, box.y);
    ++i;
  }
}

}  // namespace

int main(int argc, char **argv) {
  if (argc > 2) {
    std::fprintf(stderr, "usage: %s [PICTURE]\n", argv[0]);
    return 2;
  }
  try {
    const int32_t shape[4] = {kRegions, 3, kSide, kSide};
    auto tensor = tavrine::Result<tavrine::Tensor>::adopt(
        tavrine_tensor_alloc(TAVRINE_MEMORY_HOST, TAVRINE_ELEMENT_FLOAT32, shape));
    fill(rgb_picture(argc == 2 ? argv[1] : nullptr), tensor.value());
  } catch (const std::exception &problem) {
    std::fprintf(stderr, "batch_regions: %s\n", problem.what());
    return 1;
  }
}
