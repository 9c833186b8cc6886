#include "host/kernels/warp_affine.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "core/allocate.h"
#include "core/numeric.h"

namespace tavrine {
namespace {

constexpr int32_t kPositionBits = 10;
constexpr float kPositionScale = 1 << kPositionBits;
constexpr int32_t kStepBits = 5;
constexpr int32_t kSteps = 1 << kStepBits;
constexpr int32_t kHalfStep = 1 << (kPositionBits - kStepBits - 1);
constexpr int32_t kWeightBits = 15;
constexpr int32_t kWeightHalf = 1 << (kWeightBits - 1);

// Of the samples at the upper left, upper right, lower left and lower right.
struct Weights {
  int16_t w0, w1, w2, w3;
};

// Not normalised: 16 bits hold 32767 instead of the one, which rounding makes good.
constexpr int16_t make_weight(int32_t horizontal, int32_t vertical) {
  constexpr int32_t kUnit = (1 << kWeightBits) / (kSteps * kSteps);
  const int32_t weight = horizontal * vertical * kUnit;
  constexpr int32_t kLimit = std::numeric_limits<int16_t>::max();
  return static_cast<int16_t>(weight < kLimit ? weight : kLimit);
}

constexpr std::array<Weights, kSteps * kSteps> make_weights() {
  std::array<Weights, kSteps * kSteps> table{};
  size_t next = 0;
  for (int32_t v = 0; v < kSteps; ++v) {
    for (int32_t u = 0; u < kSteps; ++u) {
      table[next++] = {make_weight(kSteps - u, kSteps - v), make_weight(u, kSteps - v),
                       make_weight(kSteps - u, v), make_weight(u, v)};
    }
  }
  return table;
}

constexpr std::array<Weights, kSteps *kSteps> kWeights = make_weights();

// Destination pixels are done in blocks, whose positions are settled before pixels are touched.
constexpr int32_t kBlockPixels = 4096;

struct BlockSize {
  int32_t columns;
  int32_t rows;
};

// Blocks that are no wider than this keep the source rows of a turned picture in the cache.
BlockSize block_size(const PlaneView &destination) {
  constexpr int32_t kColumns = 128;
  constexpr int32_t kFewRows = 31;
  const int32_t columns =
      std::min(destination.columns,
               destination.rows > kFewRows ? kColumns : kBlockPixels / destination.rows);
  return {columns, std::min(kBlockPixels / columns, destination.rows)};
}

struct BlockPositions {
  int16_t columns[kBlockPixels];
  int16_t rows[kBlockPixels];
  uint16_t weights[kBlockPixels];
};

// What destination columns and rows add to a position. Sums wrap, as they do on the camera.
struct Offset {
  uint32_t x;
  uint32_t y;
};

uint32_t wrapping(float position) { return static_cast<uint32_t>(truncate_to_int32(position)); }

Offset column_offset(const AffineMatrix &matrix, int32_t column) {
  const auto x = static_cast<float>(column);
  return {wrapping(std::rint(x * matrix.a * kPositionScale)),
          wrapping(std::rint(x * matrix.d * kPositionScale))};
}

Offset row_offset(const AffineMatrix &matrix, int32_t row) {
  const auto y = static_cast<float>(row);
  return {wrapping((matrix.b * y + matrix.c) * kPositionScale) + kHalfStep,
          wrapping((matrix.e * y + matrix.f) * kPositionScale) + kHalfStep};
}

int16_t whole_pixels(uint32_t position) {
  const int32_t pixels = static_cast<int32_t>(position) >> kPositionBits;
  return static_cast<int16_t>(std::clamp<int32_t>(pixels, std::numeric_limits<int16_t>::min(),
                                                  std::numeric_limits<int16_t>::max()));
}

uint32_t step_of(uint32_t position) {
  return (position >> (kPositionBits - kStepBits)) & (kSteps - 1);
}

void settle_row(const Offset &row, const Offset *columns, int32_t count, int32_t first,
                BlockPositions &positions) {
  for (int32_t i = 0; i < count; ++i) {
    const uint32_t x = row.x + columns[i].x;
    const uint32_t y = row.y + columns[i].y;
    positions.columns[first + i] = whole_pixels(x);
    positions.rows[first + i] = whole_pixels(y);
    positions.weights[first + i] = static_cast<uint16_t>(step_of(y) * kSteps + step_of(x));
  }
}

// The weights' sum is at most 32768, so the result needs no saturation, and a sum in single
// precision would be this one: all its terms are integers below 2^24.
template <int kChannels>
void blend(const uint8_t *p00, const uint8_t *p01, const uint8_t *p10, const uint8_t *p11,
           Weights weights, uint8_t *out) {
  for (int channel = 0; channel < kChannels; ++channel) {
    const int32_t sum = weights.w0 * p00[channel] + weights.w1 * p01[channel] +
                        weights.w2 * p10[channel] + weights.w3 * p11[channel];
    out[channel] = static_cast<uint8_t>((sum + kWeightHalf) >> kWeightBits);
  }
}

template <int kChannels, Border kBorder>
const uint8_t *sample(const PlaneView &source, int32_t column, int32_t row) {
  static constexpr uint8_t kZero[kChannels] = {};
  if constexpr (kBorder == Border::kNearestEdge) {
    column = std::clamp(column, 0, source.columns - 1);
    row = std::clamp(row, 0, source.rows - 1);
  } else if (column < 0 || column >= source.columns || row < 0 || row >= source.rows) {
    return kZero;
  }
  return source.row(row) + static_cast<ptrdiff_t>(column) * kChannels;
}

// Arguments by value, so that the compiler knows that pixels do not change them.
template <int kChannels, Border kBorder>
void blend_row(PlaneView source, const BlockPositions &positions, int32_t first, int32_t count,
               uint8_t *out) {
  for (int32_t i = first; i < first + count; ++i) {
    const int32_t column = positions.columns[i];
    const int32_t row = positions.rows[i];
    const Weights weights = kWeights[positions.weights[i]];
    if (column >= 0 && column < source.columns - 1 && row >= 0 && row < source.rows - 1) {
      const uint8_t *upper = source.row(row) + static_cast<ptrdiff_t>(column) * kChannels;
      const uint8_t *lower = upper + source.step;
      blend<kChannels>(upper, upper + kChannels, lower, lower + kChannels, weights, out);
    } else {
      const auto at = sample<kChannels, kBorder>;
      blend<kChannels>(at(source, column, row), at(source, column + 1, row),
                       at(source, column, row + 1), at(source, column + 1, row + 1), weights, out);
    }
    out += kChannels;
  }
}

template <int kChannels, Border kBorder>
void warp_blocks(const PlaneView &source, const AffineMatrix &matrix, const Offset *columns,
                 const PlaneView &destination) {
  BlockPositions positions;
  const BlockSize block = block_size(destination);
  for (int32_t top = 0, rows; top < destination.rows; top += rows) {
    rows = std::min(block.rows, destination.rows - top);
    for (int32_t left = 0, count; left < destination.columns; left += count) {
      count = std::min(block.columns, destination.columns - left);
      for (int32_t y = 0; y < rows; ++y) {
        settle_row(row_offset(matrix, top + y), columns + left, count, y * count, positions);
      }
      for (int32_t y = 0; y < rows; ++y) {
        blend_row<kChannels, kBorder>(
            source, positions, y * count, count,
            destination.row(top + y) + static_cast<ptrdiff_t>(left) * kChannels);
      }
    }
  }
}

template <Border kBorder>
auto warp_for(int32_t channels) -> decltype(&warp_blocks<1, kBorder>) {
  switch (channels) {
    case 1:
      return warp_blocks<1, kBorder>;
    case 2:
      return warp_blocks<2, kBorder>;
    case 3:
      return warp_blocks<3, kBorder>;
    case 4:
      return warp_blocks<4, kBorder>;
    default:
      return nullptr;
  }
}

}  // namespace

bool warp_affine(const PlaneView &source, const AffineMatrix &matrix, Border border,
                 const PlaneView &destination) {
  const auto warp = border == Border::kZero ? warp_for<Border::kZero>(source.channels)
                                            : warp_for<Border::kNearestEdge>(source.channels);
  if (!source.is_usable() || !destination.is_usable() || source.channels != destination.channels ||
      warp == nullptr) {
    return false;
  }
  const auto columns = allocate<Offset>(destination.columns);
  if (!columns) {
    return false;
  }
  for (int32_t x = 0; x < destination.columns; ++x) {
    columns[static_cast<size_t>(x)] = column_offset(matrix, x);
  }
  warp(source, matrix, columns.get(), destination);
  return true;
}

}  // namespace tavrine
