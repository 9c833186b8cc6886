// Draws a picture rich in edges, gradients and skin tones and saves it: how a frame is made,
// filled and written with the C interface.
//
//   draw_picture OUT.jpg [WIDTH HEIGHT]
#include <cstdio>
#include <cstdlib>

#include "problem_log.h"
#include "scene.h"
#include "tavrine_aux.h"
#include "tavrine_core.h"

namespace {

constexpr int32_t kDefaultWidth = 1280;
constexpr int32_t kDefaultHeight = 960;
constexpr long kLargestSide = 16384;
constexpr double kSceneWidth = 4.0;
constexpr double kSceneHeight = 3.0;

// 0 for what is no side of a picture.
int32_t parse_side(const char *text) {
  char *end = nullptr;
  const long side = std::strtol(text, &end, 10);
  const bool is_side = *end == '\0' && side > 0 && side <= kLargestSide;
  return is_side ? static_cast<int32_t>(side) : 0;
}

uint8_t to_byte(double value) {
  return static_cast<uint8_t>(std::lround(255.0 * tavrine::example::clamp01(value)));
}

void draw_scene(tavrine_frame_t &frame) {
  // The whole scene is in the picture, whatever the picture's shape.
  const double pixel_size = std::max(kSceneWidth / frame.width, kSceneHeight / frame.height);
  auto *row = static_cast<uint8_t *>(frame.planes[0]);
  const int32_t stride = frame.strides[0] != 0 ? frame.strides[0] : frame.width * 3;
  for (int32_t y = 0; y < frame.height; ++y, row += stride) {
    uint8_t *pixel = row;
    for (int32_t x = 0; x < frame.width; ++x) {
      const tavrine::example::Point at = {(x + 0.5 - frame.width / 2.0) * pixel_size,
                                          (y + 0.5 - frame.height / 2.0) * pixel_size};
      const tavrine::example::Colour colour = tavrine::example::scene_colour(at, pixel_size);
      *pixel++ = to_byte(colour.red);
      *pixel++ = to_byte(colour.green);
      *pixel++ = to_byte(colour.blue);
    }
  }
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 2 && argc != 4) {
    std::fprintf(stderr, "usage: %s OUT.jpg|png|bmp [WIDTH HEIGHT]\n", argv[0]);
    return 2;
  }
  const int32_t width = argc == 4 ? parse_side(argv[2]) : kDefaultWidth;
  const int32_t height = argc == 4 ? parse_side(argv[3]) : kDefaultHeight;

  tavrine::example::show_only_problems();
  const int32_t core_chooses_strides[4] = {0, 0, 0, 0};
  tavrine_frame_t *frame = tavrine_frame_alloc(TAVRINE_MEMORY_HOST, TAVRINE_FORMAT_RGB24, width,
                                               height, core_chooses_strides, 0);
  if (frame == nullptr) {
    std::fprintf(stderr, "draw_picture: no picture can be made, sides are 1 to %ld\n",
                 kLargestSide);
    return 1;
  }
  draw_scene(*frame);
  const int32_t status = tavrine_frame_save(frame, argv[1]);
  tavrine_frame_free(&frame);
  if (status != TAVRINE_OK) {
    std::fprintf(stderr, "draw_picture: %s could not be saved (%d)\n", argv[1],
                 static_cast<int>(status));
    return 1;
  }
  return 0;
}
