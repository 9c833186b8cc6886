// The definition of the affine warp in warp_affine.h, pixel by pixel.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "common/numeric.h"
#include "kernels/warp/warp_affine.h"

namespace tavrine::scalar {

constexpr int32_t kPositionBits = 10;
constexpr float kPositionScale = 1 << kPositionBits;
constexpr int32_t kSubpixelBits = 5;
constexpr int32_t kSubpixels = 1 << kSubpixelBits;

// The part of a position that comes from the destination's column or row. Sums wrap, as they do on
// the camera.
struct Offset {
  int32_t x;
  int32_t y;
};

inline int32_t wrapping_sum(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

inline int32_t column_offset(float coefficient, int32_t column) {
  const auto x = static_cast<float>(column);
  return truncate_to_int32(std::rint(x * coefficient * kPositionScale));
}

inline Offset row_offset(const AffineMatrix &matrix, int32_t row) {
  constexpr int32_t kHalfSubpixel = 1 << (kPositionBits - kSubpixelBits - 1);
  const auto y = static_cast<float>(row);
  return {
      wrapping_sum(truncate_to_int32((matrix.b * y + matrix.c) * kPositionScale), kHalfSubpixel),
      wrapping_sum(truncate_to_int32((matrix.e * y + matrix.f) * kPositionScale), kHalfSubpixel)};
}

inline int32_t whole_pixels(int32_t position) {
  return std::clamp<int32_t>(position >> kPositionBits, std::numeric_limits<int16_t>::min(),
                             std::numeric_limits<int16_t>::max());
}

inline int32_t subpixel_of(int32_t position) {
  return (position >> (kPositionBits - kSubpixelBits)) & (kSubpixels - 1);
}

template <int kChannels>
inline void blend(const uint8_t *p00, const uint8_t *p01, const uint8_t *p10, const uint8_t *p11,
                  int32_t u, int32_t v, uint8_t *out) {
  for (int channel = 0; channel < kChannels; ++channel) {
    const int32_t upper = (kSubpixels - u) * p00[channel] + u * p01[channel];
    const int32_t lower = (kSubpixels - u) * p10[channel] + u * p11[channel];
    const int32_t sum = (kSubpixels - v) * upper + v * lower;
    out[channel] = static_cast<uint8_t>((sum + kSubpixels * kSubpixels / 2) >> (2 * kSubpixelBits));
  }
}

template <int kChannels, Border kBorder>
inline const uint8_t *sample(const PlaneView &source, int32_t column, int32_t row) {
  static constexpr uint8_t kZero[4] = {};  // enough for every channel count
  if constexpr (kBorder == Border::kNearestEdge) {
    column = std::clamp(column, 0, source.columns - 1);
    row = std::clamp(row, 0, source.rows - 1);
  } else if (column < 0 || column >= source.columns || row < 0 || row >= source.rows) {
    return kZero;
  }
  return source.row(row) + static_cast<ptrdiff_t>(column) * kChannels;
}

// Consecutive pixels of a destination row. The source is passed by value, so that the compiler
// knows that writing pixels does not change it.
template <int kChannels, Border kBorder>
inline void warp_pixels(PlaneView source, Offset row_start, const int32_t *x_offsets,
                        const int32_t *y_offsets, int32_t count, uint8_t *out) {
  for (int32_t i = 0; i < count; ++i, out += kChannels) {
    const int32_t x = wrapping_sum(row_start.x, x_offsets[i]);
    const int32_t y = wrapping_sum(row_start.y, y_offsets[i]);
    const int32_t column = whole_pixels(x);
    const int32_t row = whole_pixels(y);
    if (column >= 0 && column < source.columns - 1 && row >= 0 && row < source.rows - 1) {
      const uint8_t *upper = source.row(row) + static_cast<ptrdiff_t>(column) * kChannels;
      const uint8_t *lower = upper + source.stride;
      blend<kChannels>(upper, upper + kChannels, lower, lower + kChannels, subpixel_of(x),
                       subpixel_of(y), out);
    } else {
      const auto at = sample<kChannels, kBorder>;
      blend<kChannels>(at(source, column, row), at(source, column + 1, row),
                       at(source, column, row + 1), at(source, column + 1, row + 1), subpixel_of(x),
                       subpixel_of(y), out);
    }
  }
}

}  // namespace tavrine::scalar
