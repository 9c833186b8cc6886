// The definition of the conversions in yuv.h, one row at a time. `red` is the byte of a pixel that
// is red, 0 or 2; `u` is the byte of a pair that is U, 0 or 1.
#pragma once

#include <cstdint>

#include "common/numeric.h"

namespace tavrine::scalar {

inline void luma_row(const uint8_t *pixel, int32_t red, int32_t columns, uint8_t *luma) {
  for (int32_t x = 0; x < columns; ++x, pixel += 3) {
    luma[x] = saturate_to_uint8((38 * pixel[red] + 74 * pixel[1] + 16 * pixel[2 - red] + 64) >> 7);
  }
}

inline void chroma_row(const uint8_t *pixel, int32_t red, int32_t pairs, uint8_t *chroma,
                       int32_t u) {
  for (int32_t x = 0; x < pairs; ++x, pixel += 6, chroma += 2) {
    const int32_t r = pixel[red];
    const int32_t g = pixel[1];
    const int32_t b = pixel[2 - red];
    chroma[u] = saturate_to_uint8(((-22 * r - 43 * g + 65 * b + 64) >> 7) + 128);
    chroma[1 - u] = saturate_to_uint8(((67 * r - 55 * g - 12 * b + 64) >> 7) + 128);
  }
}

inline void packed_row(const uint8_t *luma, const uint8_t *chroma, int32_t u_byte, int32_t columns,
                       uint8_t *pixel, int32_t red) {
  for (int32_t x = 0; x < columns; ++x, pixel += 3) {
    const uint8_t *pair = chroma + (x & ~1);
    const int32_t u = pair[u_byte] - 128;
    const int32_t v = pair[1 - u_byte] - 128;
    const int32_t base = 64 * luma[x] + 32;
    pixel[red] = saturate_to_uint8((base + 86 * v) >> 6);
    pixel[1] = saturate_to_uint8((base - 44 * v - 24 * u) >> 6);
    pixel[2 - red] = saturate_to_uint8((base + 110 * u) >> 6);
  }
}

}  // namespace tavrine::scalar
