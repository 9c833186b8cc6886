#include "host/kernels/warp_perspective.h"

#include <algorithm>

#include "core/numeric.h"

namespace tavrine {
namespace {

// Keeps the source rows that a tile touches close together.
constexpr int32_t kTile = 32;

// Along one axis: two neighbours, both inside the source, and the weight of the second.
struct Neighbours {
  int32_t first;
  int32_t second;
  float fraction;
};

Neighbours neighbours(float position, int32_t length) {
  const int32_t index = truncate_to_int32(position);
  const int32_t last = length - 1;
  // The largest index has no successor.
  return {std::clamp(index, 0, last), index >= last ? last : std::max(index + 1, 0),
          position - static_cast<float>(index)};
}

template <int kChannels>
void blend(const PlaneView &source, const Neighbours &x, const Neighbours &y, uint8_t *out) {
  const float w01 = x.fraction * (1.0F - y.fraction);
  const float w00 = (1.0F - x.fraction) * (1.0F - y.fraction);
  const float w10 = y.fraction * (1.0F - x.fraction);
  const float w11 = x.fraction * y.fraction;
  const uint8_t *upper = source.row(y.first);
  const uint8_t *lower = source.row(y.second);
  const ptrdiff_t left = static_cast<ptrdiff_t>(x.first) * kChannels;
  const ptrdiff_t right = static_cast<ptrdiff_t>(x.second) * kChannels;
  for (int channel = 0; channel < kChannels; ++channel) {
    const float value = upper[right + channel] * w01 + upper[left + channel] * w00 +
                        lower[left + channel] * w10 + lower[right + channel] * w11;
    out[channel] = saturate_to_uint8(truncate_to_int32(value + 0.5F));
  }
}

// By value, so that the compiler knows that pixels do not change the arguments.
template <int kChannels>
void warp_row(PlaneView source, PerspectiveMatrix matrix, int32_t row, int32_t left, int32_t count,
              uint8_t *out) {
  const float *m = matrix.m;
  const auto y = static_cast<float>(row);
  for (int32_t column = left; column < left + count; ++column) {
    const auto x = static_cast<float>(column);
    const float w = y * m[7] + x * m[6] + m[8];
    const float source_x = (y * m[1] + x * m[0] + m[2]) / w;
    const float source_y = (y * m[4] + x * m[3] + m[5]) / w;
    blend<kChannels>(source, neighbours(source_x, source.columns),
                     neighbours(source_y, source.rows), out);
    out += kChannels;
  }
}

template <int kChannels>
void warp_tiles(const PlaneView &source, const PerspectiveMatrix &matrix,
                const PlaneView &destination) {
  for (int32_t top = 0, rows; top < destination.rows; top += rows) {
    rows = std::min(kTile, destination.rows - top);
    for (int32_t left = 0, count; left < destination.columns; left += count) {
      count = std::min(kTile, destination.columns - left);
      for (int32_t y = top; y < top + rows; ++y) {
        warp_row<kChannels>(source, matrix, y, left, count,
                            destination.row(y) + static_cast<ptrdiff_t>(left) * kChannels);
      }
    }
  }
}

}  // namespace

bool warp_perspective(const PlaneView &source, const PerspectiveMatrix &matrix,
                      const PlaneView &destination) {
  if (!source.is_usable() || !destination.is_usable() || source.channels != destination.channels) {
    return false;
  }
  switch (source.channels) {
    case 1:
      warp_tiles<1>(source, matrix, destination);
      return true;
    case 3:
      warp_tiles<3>(source, matrix, destination);
      return true;
    default:
      return false;
  }
}

}  // namespace tavrine
