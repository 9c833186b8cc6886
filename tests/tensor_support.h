// Tensors inside larger memory, and the elements that a fill should leave in them.
#pragma once

#include <array>

#include "tests/support.h"

namespace tavrine::test {

struct Preprocessing {
  std::array<float, 3> mean;
  std::array<float, 3> scale;
  std::array<float, 3> padding;
};

struct Rectangle {
  int x, y, width, height;
};

// Elements as bits: of a float, or a byte.
using Elements = std::vector<uint32_t>;

// The bits of an element of this type that stores a value.
uint32_t stored(int32_t element_type, double value);

// A host tensor with padding between its rows, channels and images, and other elements around it.
class PaddedTensor {
 public:
  PaddedTensor(int32_t element_type, std::array<int32_t, 4> shape);

  tavrine_tensor_t *get() const { return tensor_.get(); }
  Elements elements() const;
  size_t index(int n, int c, int y, int x) const;

  // Writes a frame into a rectangle of an image by definition, element by element.
  void expect_frame(Elements &elements, int image, const Rectangle &at, int32_t color_type,
                    const tavrine_frame_t *frame, const Preprocessing &preprocessing) const;
  // One value in each of some channels.
  void expect_band(Elements &elements, int image, const Rectangle &at,
                   const std::vector<float> &values) const;

 private:
  int32_t element_type_;
  std::array<int32_t, 4> strides_;
  std::vector<float> memory_;  // aligned for every element type
  OwnedTensor tensor_;
};

// All elements of a tensor without padding.
std::vector<uint8_t> bytes_of(const tavrine_tensor_t *tensor);

int32_t to_tensor(tavrine_tensor_t *tensor, uint32_t offset, int32_t color_type,
                  const tavrine_frame_t *in, const Preprocessing &preprocessing);

}  // namespace tavrine::test
