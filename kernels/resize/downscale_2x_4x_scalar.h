// The definition of downscaling by 2 and by 4, for one row.
#pragma once

#include <cstdint>

namespace tavrine::scalar {

// Means of the two rows in the middle of a row of blocks. Both start at a block's left edge.
inline void downscale_row(const uint8_t *upper, const uint8_t *lower, int32_t channels,
                          int32_t ratio, int32_t columns, uint8_t *destination) {
  const int32_t left = (ratio / 2 - 1) * channels;
  const int32_t right = left + channels;
  for (int32_t x = 0; x < columns; ++x) {
    for (int32_t channel = 0; channel < channels; ++channel) {
      *destination++ = static_cast<uint8_t>((upper[left + channel] + upper[right + channel] +
                                             lower[left + channel] + lower[right + channel] + 2) >>
                                            2);
    }
    upper += ratio * channels;
    lower += ratio * channels;
  }
}

}  // namespace tavrine::scalar
