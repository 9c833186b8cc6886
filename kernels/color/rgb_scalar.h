// The definition of the conversions in rgb.h, one row at a time. `red` is the byte of a pixel that
// is red, 0 or 2.
#pragma once

#include <cstdint>

namespace tavrine::scalar {

inline void truncated_luma_row(const uint8_t *pixel, int32_t red, int32_t columns, uint8_t *grey) {
  for (int32_t x = 0; x < columns; ++x, pixel += 3) {
    grey[x] = static_cast<uint8_t>(pixel[1] * 0.587 + pixel[red] * 0.299 + pixel[2 - red] * 0.114);
  }
}

inline void replicate_grey_row(const uint8_t *grey, int32_t columns, uint8_t *pixel) {
  for (int32_t x = 0; x < columns; ++x, pixel += 3) {
    pixel[0] = pixel[1] = pixel[2] = grey[x];
  }
}

inline void swap_red_blue_row(const uint8_t *in, int32_t columns, uint8_t *out) {
  for (int32_t x = 0; x < columns; ++x, in += 3, out += 3) {
    const uint8_t first = in[0];
    out[0] = in[2];
    out[1] = in[1];
    out[2] = first;
  }
}

}  // namespace tavrine::scalar
