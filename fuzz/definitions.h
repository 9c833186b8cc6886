// What operations must return, one pixel at a time: conversions by real arithmetic, resizes and
// tensors from the scalar definitions of the kernels.
//
// A function returns an empty frame for what it does not define. Sources are in host memory.
#pragma once

#include <array>
#include <vector>

#include "common/owned.h"
#include "common/pixel_format.h"
#include "kernels/tensor/tensor.h"

namespace tavrine::fuzz {

// Red, green and blue, or Y, U and V.
using Triple = std::array<uint8_t, 3>;
Triple yuv_of(double r, double g, double b);
Triple rgb_of(double y, double u, double v);

// Each plane of a frame of width x height pixels at column x and row y of `frame`.
std::vector<PlaneRows> planes_of(const tavrine_frame_t *frame, const tavrine_area2d_t &area);
std::vector<PlaneRows> planes_of(const tavrine_frame_t *frame);

// A copy in host memory.
OwnedFrame host_copy(const tavrine_frame_t *frame);

// Pixels outside of `in` are 0.
OwnedFrame defined_crop(const tavrine_frame_t *in, const tavrine_area2d_t &area);
OwnedFrame defined_rotation(const tavrine_frame_t *in, int32_t code);
OwnedFrame defined_resize(const tavrine_frame_t *in, int32_t width, int32_t height);
OwnedFrame defined_conversion(const tavrine_frame_t *in, uint32_t format);

// Writes `in` to the image at `offset` of `elements`, which are those of a tightly packed tensor.
// `channels` are red, green and blue.
void define_image(const tavrine_tensor_t &tensor, uint32_t offset, int32_t color,
                  const tavrine_frame_t *in, const ChannelNormalization (&channels)[3],
                  uint8_t *elements);

// Any NaN equals any other.
bool are_same_elements(int32_t element_type, const uint8_t *elements,
                       const std::vector<uint8_t> &expected);

}  // namespace tavrine::fuzz
