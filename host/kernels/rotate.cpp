#include "host/kernels/rotate.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "host/kernels/rotate.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "host/kernels/rotate_scalar.h"
#include "host/kernels/transpose-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

// A row from its end to its beginning.
template <size_t kPixelBytes>
void reverse_row(const uint8_t *in, int32_t columns, uint8_t *out) {
  constexpr auto kPixel = static_cast<ptrdiff_t>(kPixelBytes);
  int32_t x = 0;  // pixels written
#if TAVRINE_HAS_VECTORS
  constexpr int32_t kCount = 16 / kPixelBytes;
  constexpr int32_t kUnused = 16 % kPixelBytes;
  // The byte that is left over of three-byte pixels is put right by what is written next.
  for (; x <= columns - kCount - kUnused; x += kCount) {
    const Block block = hn::LoadU(BytesInBlock(), in + kPixel * (columns - x - kCount) - kUnused);
    hn::StoreU(reverse_pixels<kPixelBytes>(block), BytesInBlock(), out + kPixel * x);
  }
#endif
  if (x < columns) {
    scalar::gather_pixels<kPixelBytes>(in + kPixel * (columns - x - 1), -kPixel, out + kPixel * x,
                                       columns - x);
  }
}

template <size_t kPixelBytes>
void half_turn(const PlaneView &source, const PlaneView &destination) {
  for (int32_t y = 0; y < destination.rows; ++y) {
    reverse_row<kPixelBytes>(source.row(source.rows - 1 - y), destination.columns,
                             destination.row(y));
  }
}

// Either quarter turn. Destination rows walk a source column, upwards for 90 degrees from the
// left column on, downwards for 270 degrees from the right column on.
template <size_t kPixelBytes>
class QuarterTurn {
 public:
  QuarterTurn(const PlaneView &source, bool is_clockwise, const PlaneView &destination)
      : destination_(destination),
        along_row_(is_clockwise ? -source.step : source.step),
        along_column_(is_clockwise ? kPixel : -kPixel),
        origin_(is_clockwise ? source.row(source.rows - 1)
                             : source.data + (source.row_bytes() - kPixel)) {}

  void run() const {
    for (int32_t top = 0, rows; top < destination_.rows; top += rows) {
      rows = std::min(kTile, destination_.rows - top);
      for (int32_t left = 0, columns; left < destination_.columns; left += columns) {
        columns = std::min(kTile, destination_.columns - left);
        turn_tile(top, rows, left, columns);
      }
    }
  }

 private:
  // A tile's rows of both planes stay in the first-level cache.
  static constexpr int32_t kTile = 64;
  static constexpr auto kPixel = static_cast<ptrdiff_t>(kPixelBytes);

  const uint8_t *source_of(int32_t row, int32_t column) const {
    return origin_ + along_row_ * column + along_column_ * row;
  }

  uint8_t *at(int32_t row, int32_t column) const { return destination_.row(row) + kPixel * column; }

  void turn_tile(int32_t top, int32_t rows, int32_t left, int32_t columns) const {
    int32_t whole_rows = 0;
    int32_t whole_columns = 0;
#if TAVRINE_HAS_VECTORS
    constexpr int32_t kSide = tile_side<kPixelBytes>();
    whole_rows = rows / kSide * kSide;
    whole_columns = columns / kSide * kSide;
    // Tiles of three bytes a pixel look at two pixels more, which the source must have.
    if (kPixelBytes == 3 && destination_.rows - (top + whole_rows) < 2) {
      whole_rows = std::max(0, whole_rows - kSide);
    }
    for (int32_t y = 0; y < whole_rows; y += kSide) {
      // Source pixels run along destination columns, to the right or to the left.
      const bool runs_down = along_column_ > 0;
      const int32_t first = runs_down ? y : y + kSide - 1;
      for (int32_t x = 0; x < whole_columns; x += kSide) {
        transpose_tile<kPixelBytes>(source_of(top + first, left + x), along_row_,
                                    at(top + first, left + x),
                                    runs_down ? destination_.step : -destination_.step, runs_down,
                                    left + x + kSide + 2 <= destination_.columns);
      }
    }
#endif
    for (int32_t y = 0; y < rows; ++y) {
      const int32_t done = y < whole_rows ? whole_columns : 0;
      scalar::gather_pixels<kPixelBytes>(source_of(top + y, left + done), along_row_,
                                         at(top + y, left + done), columns - done);
    }
  }

  const PlaneView &destination_;
  ptrdiff_t along_row_;
  ptrdiff_t along_column_;
  const uint8_t *origin_;
};

template <size_t kPixelBytes>
void rotate_pixels(const PlaneView &source, Turn turn, const PlaneView &destination) {
  if (turn == Turn::kHalf) {
    half_turn<kPixelBytes>(source, destination);
  } else {
    QuarterTurn<kPixelBytes>(source, turn == Turn::kQuarter, destination).run();
  }
}

void rotate(const PlaneView &source, Turn turn, const PlaneView &destination) {
  switch (source.channels) {
    case 1:
      return rotate_pixels<1>(source, turn, destination);
    case 2:
      return rotate_pixels<2>(source, turn, destination);
    case 3:
      return rotate_pixels<3>(source, turn, destination);
    default:
      return rotate_pixels<4>(source, turn, destination);
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tavrine {
namespace {

HWY_EXPORT(rotate);

bool has_turned_size(const PlaneView &source, Turn turn, const PlaneView &destination) {
  return turn == Turn::kHalf
             ? have_same_size(source, destination)
             : destination.columns == source.rows && destination.rows == source.columns;
}

}  // namespace

bool rotate_plane(const PlaneView &source, Turn turn, const PlaneView &destination) {
  if (!source.is_usable() || !destination.is_usable() || source.channels != destination.channels ||
      source.channels < 1 || source.channels > 4 || !has_turned_size(source, turn, destination)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(rotate)(source, turn, destination);
  return true;
}

}  // namespace tavrine
#endif
