// Draws a tensor file written by `tavrine-aux tensor`: its images side by side in one picture.
// Each channel is scaled so that its smallest element is black and its largest is full.
//
//   show_tensor IN.npy OUT.png [bgr]
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "frame.h"
#include "problem_log.h"
#include "tavrine_aux.h"
#include "tavrine_core.h"

namespace {

using tavrine::demo::Frame;

constexpr int32_t kGap = 4;

struct Tensor {
  int32_t images, channels, height, width;
  std::vector<float> elements;

  size_t index(int32_t n, int32_t c, int32_t y, int32_t x) const {
    const int64_t row = (int64_t{n} * channels + c) * height + y;
    return static_cast<size_t>(row * width + x);
  }
  float at(int32_t n, int32_t c, int32_t y, int32_t x) const { return elements[index(n, c, y, x)]; }
};

// Reads the files that tavrine-aux writes: version 1.0, four dimensions, float or byte elements.
bool read_tensor(const char *path, Tensor &tensor) {
  constexpr size_t kPrefixBytes = 10;
  std::ifstream file(path, std::ios::binary);
  const std::string content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (content.size() < kPrefixBytes || content.compare(0, 6, "\x93NUMPY") != 0) {
    return false;
  }
  const size_t header_bytes = kPrefixBytes + static_cast<uint8_t>(content[8]) +
                              256 * size_t{static_cast<uint8_t>(content[9])};
  const size_t shape = content.find("'shape': (");
  if (shape > header_bytes || header_bytes > content.size() ||
      std::sscanf(content.c_str() + shape, "'shape': (%d, %d, %d, %d", &tensor.images,
                  &tensor.channels, &tensor.height, &tensor.width) != 4 ||
      (tensor.channels != 1 && tensor.channels != 3) ||
      std::min({tensor.images, tensor.height, tensor.width}) < 1) {
    return false;
  }
  const bool is_float = content.find("'<f4'") < header_bytes;
  const size_t count = (content.size() - header_bytes) / (is_float ? sizeof(float) : 1);
  tensor.elements.resize(count);
  if (is_float) {
    std::memcpy(tensor.elements.data(), content.data() + header_bytes, count * sizeof(float));
  } else {
    std::transform(content.begin() + static_cast<ptrdiff_t>(header_bytes), content.end(),
                   tensor.elements.begin(), [](char byte) { return static_cast<uint8_t>(byte); });
  }
  const double expected = 1.0 * tensor.images * tensor.channels * tensor.height * tensor.width;
  return count > 0 && static_cast<double>(count) == expected;
}

// The elements that become 0 and 255 in a channel of all images.
struct Range {
  float darkest, brightest;

  uint8_t byte(float element) const {
    const float span = std::max(brightest - darkest, 1e-9F);
    const float brightness = std::max(0.0F, (element - darkest) / span);
    return static_cast<uint8_t>(std::lround(255 * std::min(brightness, 1.0F)));
  }
};

Range range_of(const Tensor &tensor, int32_t c) {
  Range range = {tensor.at(0, c, 0, 0), tensor.at(0, c, 0, 0)};
  for (int32_t n = 0; n < tensor.images; ++n) {
    const float *first = &tensor.elements[tensor.index(n, c, 0, 0)];
    const auto ends =
        std::minmax_element(first, first + static_cast<ptrdiff_t>(tensor.height) * tensor.width);
    range = {std::min(range.darkest, *ends.first), std::max(range.brightest, *ends.second)};
  }
  return range;
}

void draw_image(const Tensor &tensor, int32_t n, const Range *ranges, bool is_blue_first,
                const tavrine_frame_t &part) {
  for (int32_t y = 0; y < tensor.height; ++y) {
    uint8_t *pixel = tavrine::demo::row_of(part, y);
    for (int32_t x = 0; x < tensor.width; ++x) {
      for (int32_t color = 0; color < 3; ++color) {
        const int32_t c = tensor.channels == 1 ? 0 : is_blue_first ? 2 - color : color;
        *pixel++ = ranges[c].byte(tensor.at(n, c, y, x));
      }
    }
  }
}

// About as many columns as rows, with black lines between the images.
Frame draw(const Tensor &tensor, bool is_blue_first) {
  const auto columns = static_cast<int32_t>(std::ceil(std::sqrt(tensor.images)));
  const int32_t rows = (tensor.images + columns - 1) / columns;
  const int32_t width = columns * (tensor.width + kGap) - kGap;
  const int32_t height = rows * (tensor.height + kGap) - kGap;
  Range ranges[3] = {};
  for (int32_t c = 0; c < tensor.channels; ++c) {
    ranges[c] = range_of(tensor, c);
  }
  Frame picture = tavrine::demo::allocate_rgb24(width, height);
  if (!picture || tavrine_frame_reset(picture.get(), 0) != TAVRINE_OK) {
    return nullptr;
  }
  for (int32_t n = 0; n < tensor.images; ++n) {
    const Frame part(tavrine_frame_roi(picture.get(), n % columns * (tensor.width + kGap),
                                       n / columns * (tensor.height + kGap), tensor.width,
                                       tensor.height));
    if (part) {
      draw_image(tensor, n, ranges, is_blue_first, *part);
    }
  }
  return picture;
}

}  // namespace

int main(int argc, char **argv) {
  const bool is_blue_first = argc == 4 && std::strcmp(argv[3], "bgr") == 0;
  if (argc != 3 && !is_blue_first) {
    std::fprintf(stderr, "usage: %s IN.npy OUT.png [bgr]\n", argv[0]);
    return 2;
  }
  tavrine::demo::show_only_problems();
  Tensor tensor{};
  if (!read_tensor(argv[1], tensor)) {
    std::fprintf(stderr, "show_tensor: %s is not a tensor file with one or three channels\n",
                 argv[1]);
    return 1;
  }
  const Frame picture = draw(tensor, is_blue_first);
  if (!picture || tavrine_frame_save(picture.get(), argv[2]) != TAVRINE_OK) {
    std::fprintf(stderr, "show_tensor: cannot make %s\n", argv[2]);
    return 1;
  }
  return 0;
}
