// The definition of the perspective warp in warp_perspective.h, pixel by pixel.
#pragma once

#include <algorithm>
#include <cstdint>

#include "common/numeric.h"
#include "kernels/warp/warp_perspective.h"

namespace tavrine::scalar {

// Indices of two neighbours along one axis, both inside the source.
struct Neighbours {
  int32_t first;
  int32_t second;
};

inline Neighbours neighbours(int32_t index, int32_t length) {
  const int32_t last = length - 1;
  // The largest index has no successor.
  return {std::clamp(index, 0, last), index >= last ? last : std::max(index + 1, 0)};
}

// Arguments are passed by value, so that the compiler knows that writing pixels does not change
// them.
template <int kChannels>
inline void warp_pixels(PlaneView source, PerspectiveMatrix matrix, int32_t row, int32_t left,
                        int32_t count, uint8_t *out) {
  const float *m = matrix.m;
  const auto y = static_cast<float>(row);
  for (int32_t column = left; column < left + count; ++column) {
    const auto x = static_cast<float>(column);
    const float w = y * m[7] + x * m[6] + m[8];
    const float source_x = (y * m[1] + x * m[0] + m[2]) / w;
    const float source_y = (y * m[4] + x * m[3] + m[5]) / w;
    const int32_t x_index = truncate_to_int32(source_x);
    const int32_t y_index = truncate_to_int32(source_y);
    const float u = source_x - static_cast<float>(x_index);
    const float v = source_y - static_cast<float>(y_index);
    const float w01 = u * (1.0F - v);
    const float w00 = (1.0F - u) * (1.0F - v);
    const float w10 = v * (1.0F - u);
    const float w11 = u * v;
    const Neighbours columns = neighbours(x_index, source.columns);
    const Neighbours rows = neighbours(y_index, source.rows);
    const uint8_t *upper = source.row(rows.first);
    const uint8_t *lower = source.row(rows.second);
    const ptrdiff_t first = static_cast<ptrdiff_t>(columns.first) * kChannels;
    const ptrdiff_t second = static_cast<ptrdiff_t>(columns.second) * kChannels;
    for (int channel = 0; channel < kChannels; ++channel) {
      const float value = upper[second + channel] * w01 + upper[first + channel] * w00 +
                          lower[first + channel] * w10 + lower[second + channel] * w11;
      out[channel] = saturate_to_uint8(truncate_to_int32(value + 0.5F));
    }
    out += kChannels;
  }
}

}  // namespace tavrine::scalar
