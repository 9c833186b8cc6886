#include "host/kernels/rotate.h"

#include <algorithm>
#include <cstring>

namespace tavrine {
namespace {

// A tile's rows of both planes stay in the first-level cache.
constexpr int32_t kTile = 64;

// Copies pixels to consecutive places from places `stride` bytes apart.
template <size_t kPixelBytes>
void gather(const uint8_t *in, ptrdiff_t stride, uint8_t *out, int32_t count) {
  for (int32_t i = 0; i < count; ++i) {
    std::memcpy(out, in + stride * i, kPixelBytes);
    out += kPixelBytes;
  }
}

template <size_t kPixelBytes>
void half_turn(const PlaneView &source, const PlaneView &destination) {
  constexpr ptrdiff_t kBackwards = -static_cast<ptrdiff_t>(kPixelBytes);
  const ptrdiff_t last_pixel = source.row_bytes() + kBackwards;
  for (int32_t y = 0; y < destination.rows; ++y) {
    gather<kPixelBytes>(source.row(source.rows - 1 - y) + last_pixel, kBackwards,
                        destination.row(y), destination.columns);
  }
}

// Either quarter turn: destination rows walk a source column, upwards for 90 degrees from the
// left column on, downwards for 270 degrees from the right column on.
template <size_t kPixelBytes>
void quarter_turn(const PlaneView &source, Turn turn, const PlaneView &destination) {
  const bool clockwise = turn == Turn::kQuarter;
  const ptrdiff_t along_row = clockwise ? -source.step : source.step;
  const auto pixel = static_cast<ptrdiff_t>(kPixelBytes);
  const ptrdiff_t along_column = clockwise ? pixel : -pixel;
  const uint8_t *origin =
      clockwise ? source.row(source.rows - 1) : source.data + (source.row_bytes() - pixel);
  for (int32_t top = 0, rows; top < destination.rows; top += rows) {
    rows = std::min(kTile, destination.rows - top);
    for (int32_t left = 0, count; left < destination.columns; left += count) {
      count = std::min(kTile, destination.columns - left);
      for (int32_t y = top; y < top + rows; ++y) {
        gather<kPixelBytes>(origin + along_row * left + along_column * y, along_row,
                            destination.row(y) + pixel * left, count);
      }
    }
  }
}

template <size_t kPixelBytes>
void rotate_pixels(const PlaneView &source, Turn turn, const PlaneView &destination) {
  if (turn == Turn::kHalf) {
    half_turn<kPixelBytes>(source, destination);
  } else {
    quarter_turn<kPixelBytes>(source, turn, destination);
  }
}

bool has_turned_size(const PlaneView &source, Turn turn, const PlaneView &destination) {
  return turn == Turn::kHalf
             ? have_same_size(source, destination)
             : destination.columns == source.rows && destination.rows == source.columns;
}

}  // namespace

bool rotate_plane(const PlaneView &source, Turn turn, const PlaneView &destination) {
  if (!source.is_usable() || !destination.is_usable() || source.channels != destination.channels ||
      !has_turned_size(source, turn, destination)) {
    return false;
  }
  switch (source.channels) {
    case 1:
      rotate_pixels<1>(source, turn, destination);
      return true;
    case 2:
      rotate_pixels<2>(source, turn, destination);
      return true;
    case 3:
      rotate_pixels<3>(source, turn, destination);
      return true;
    case 4:
      rotate_pixels<4>(source, turn, destination);
      return true;
    default:
      return false;
  }
}

}  // namespace tavrine
