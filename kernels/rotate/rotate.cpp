#include "kernels/rotate/rotate.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/rotate/rotate.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "kernels/rotate/mirror-inl.h"
#include "kernels/rotate/rotate_scalar.h"
#include "kernels/rotate/transpose-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

// A row from its end to its beginning.
template <size_t kPixelBytes>
void reverse_row(const uint8_t *in, int32_t columns, uint8_t *out) {
  constexpr auto kPixel = static_cast<ptrdiff_t>(kPixelBytes);
#if TAVRINE_HAS_VECTORS
  constexpr int32_t kStep = reversed_pixels<kPixelBytes>();
  if (columns >= kStep) {
    int32_t x = reverse_most<kPixelBytes>(in, columns, out);
    for (; x < columns - kStep; x += kStep) {
      reverse_step<kPixelBytes>(in + kPixel * (columns - x - kStep), out + kPixel * x);
    }
    // The last one overlaps the one before it.
    reverse_step<kPixelBytes>(in, out + kPixel * (columns - kStep));
    return;
  }
#endif
  scalar::gather_pixels<kPixelBytes>(in + kPixel * (columns - 1), -kPixel, out, columns);
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
        along_row_(is_clockwise ? -source.stride : source.stride),
        along_column_(is_clockwise ? kPixel : -kPixel),
        origin_(is_clockwise ? source.row(source.rows - 1)
                             : source.data + (source.row_bytes() - kPixel)) {}

  void run() const {
#if TAVRINE_HAS_VECTORS
    if (destination_.rows >= Tile<kPixelBytes>::kLeastRows &&
        destination_.columns >= Tile<kPixelBytes>::kColumns) {
      for (int32_t left = 0; left < destination_.columns; left += kAreaColumns) {
        for (int32_t top = 0; top < destination_.rows; top += kAreaRows) {
          turn_area(top, left);
        }
      }
      return;
    }
#endif
    for (int32_t y = 0; y < destination_.rows; ++y) {
      scalar::gather_pixels<kPixelBytes>(source_of(y, 0), along_row_, at(y, 0),
                                         destination_.columns);
    }
  }

 private:
  static constexpr auto kPixel = static_cast<ptrdiff_t>(kPixelBytes);

  const uint8_t *source_of(int32_t row, int32_t column) const {
    return origin_ + along_row_ * column + along_column_ * row;
  }

  uint8_t *at(int32_t row, int32_t column) const { return destination_.row(row) + kPixel * column; }

#if TAVRINE_HAS_VECTORS
  // An area's rows of both planes stay in the first-level cache. Areas follow each other along
  // source rows: caches foresee that, and do not foresee jumps from row to row.
  static constexpr int32_t kAreaColumns = 64;
  static constexpr int32_t kAreaRows = 32;

  // The last tiles of the plane overlap those before them.
  void turn_area(int32_t top, int32_t left) const {
    constexpr int32_t kRows = Tile<kPixelBytes>::kRows;
    constexpr int32_t kColumns = Tile<kPixelBytes>::kColumns;
    const int32_t bottom = std::min(top + kAreaRows, destination_.rows);
    const int32_t right = std::min(left + kAreaColumns, destination_.columns);
    const int32_t start = std::min(left, destination_.columns - kColumns);
    // Source pixels run along destination columns, to the right or to the left.
    const bool runs_down = along_column_ > 0;
    const ptrdiff_t out_step = runs_down ? destination_.stride : -destination_.stride;
    for (int32_t y = top; y < bottom; y += kRows) {
      const int32_t row = std::min(y, destination_.rows - kRows);
      const int32_t first = runs_down ? row : row + kRows - 1;
      const int32_t pixels_behind = runs_down ? destination_.rows - (row + kRows) : row;
      const uint8_t *in = source_of(first, start);
      uint8_t *out = at(first, start);
      int32_t behind = right - start - kColumns;  // columns of the area behind the tile
      for (;;) {
        transpose_tile<kPixelBytes>(in, along_row_, out, out_step, pixels_behind >= 2,
                                    behind + destination_.columns - right >= 2);
        if (behind == 0) {
          break;
        }
        const int32_t advance = std::min(kColumns, behind);
        in += along_row_ * advance;
        out += kPixel * advance;
        behind -= advance;
      }
    }
  }
#endif

  const PlaneView destination_;
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
