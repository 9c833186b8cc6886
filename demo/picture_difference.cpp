// Tells how far two pictures of the same size and format are apart:
//
//   picture_difference A B
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "common/owned.h"
#include "tavrine_aux.h"

int main(int argc, char **argv) {
  using tavrine::OwnedFrame;
  if (argc != 3) {
    std::fprintf(stderr, "usage: picture_difference A B\n");
    return 2;
  }
  const OwnedFrame a(tavrine_frame_load(argv[1]));
  const OwnedFrame b(tavrine_frame_load(argv[2]));
  if (!a || !b || a->pixel_format != b->pixel_format || a->width != b->width ||
      a->height != b->height) {
    std::fprintf(stderr, "picture_difference: %s and %s cannot be compared\n", argv[1], argv[2]);
    return 1;
  }
  const auto samples =
      static_cast<int64_t>(tavrine_frame_inferred_size(a->pixel_format, a->width, a->height));
  const auto *first = static_cast<const uint8_t *>(a->planes[0]);
  const auto *second = static_cast<const uint8_t *>(b->planes[0]);
  int largest = 0;
  int64_t sum = 0;
  int64_t equal = 0;
  for (int64_t i = 0; i < samples; ++i) {
    const int difference = std::abs(first[i] - second[i]);
    largest = std::max(largest, difference);
    sum += difference;
    equal += difference == 0;
  }
  std::printf("largest difference %d, mean %.2f, %.1f %% of the samples equal\n", largest,
              static_cast<double>(sum) / static_cast<double>(samples),
              100.0 * static_cast<double>(equal) / static_cast<double>(samples));
}
