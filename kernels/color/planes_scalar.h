// The definition of the moves in planes.h, one row at a time.
#pragma once

#include <cstdint>

namespace tavrine::scalar {

inline void swap_pairs_row(const uint8_t *in, int32_t columns, uint8_t *out) {
  for (int32_t x = 0; x < columns; ++x) {
    const uint8_t first = in[2 * x];
    out[2 * x] = in[2 * x + 1];
    out[2 * x + 1] = first;
  }
}

inline void interleave_row(const uint8_t *first, const uint8_t *second, int32_t columns,
                           uint8_t *pairs) {
  for (int32_t x = 0; x < columns; ++x) {
    pairs[2 * x] = first[x];
    pairs[2 * x + 1] = second[x];
  }
}

inline void deinterleave_row(const uint8_t *pairs, int32_t columns, uint8_t *first,
                             uint8_t *second) {
  for (int32_t x = 0; x < columns; ++x) {
    first[x] = pairs[2 * x];
    second[x] = pairs[2 * x + 1];
  }
}

}  // namespace tavrine::scalar
