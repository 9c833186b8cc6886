#include "kernels/rotate/rotate.h"

#include <algorithm>

#include "kernels/path.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/rotate/rotate.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "kernels/rotate/mirror_arm-inl.h"
#include "kernels/rotate/mirror_x86-inl.h"
#include "kernels/rotate/rotate_scalar.h"
#include "kernels/rotate/transpose_arm-inl.h"
#include "kernels/rotate/transpose_x86-inl.h"
#include "kernels/vector-inl.h"

// The steps that each family of instruction sets defines. All are templates over the bytes of a
// pixel, kPixelBytes.
//
//   mirrored_pixels()                 pixels in a mirror_step()
//   mirror_step(in, out)              as many pixels in reverse order
//   mirror_unrolled(in, columns, out) the first pixels of a mirrored row, in long steps; returns
//                                     how many it has written, a multiple of mirrored_pixels()
//
//   Tile                              kRows x kColumns pixels of the destination
//   Tile::transpose(in, in_step, out, out_step)
//                                     pixel (r, c) of `out` takes pixel (c, r) of `in`. Rows lie
//                                     in_step and out_step bytes apart, upwards when negative.
//                                     Touches the tile's pixels alone
//   Tile::kAreaRows, kAreaColumns     size of the areas that a plane is done in, one after another
//   NarrowTile                        the same for planes of fewer columns

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

// Not inlined, nor are areas below: one function with the loops of all pixel sizes has too few
// registers.
template <size_t kPixelBytes>
HWY_NOINLINE void mirror_row(const uint8_t *in, int32_t columns, uint8_t *out) {
  constexpr auto kPixel = static_cast<ptrdiff_t>(kPixelBytes);
#if TAVRINE_HAS_VECTORS
  constexpr int32_t kStep = mirrored_pixels<kPixelBytes>();
  if (columns >= kStep) {
    const int32_t done = mirror_unrolled<kPixelBytes>(in, columns, out);
    if (done != columns) {
      // At least one step, so that the last one can overlap what is done.
      const int32_t begin = std::min(done, columns - kStep);
      for_each_step(columns - begin, kStep, [&](int32_t x) {
        mirror_step<kPixelBytes>(in + kPixel * (columns - begin - x - kStep),
                                 out + kPixel * (begin + x));
      });
    }
    return;
  }
#endif
  scalar::gather_pixels<kPixelBytes>(in + kPixel * (columns - 1), -kPixel, out, columns);
}

template <size_t kPixelBytes>
void rotate_half(const PlaneView &source, const PlaneView &destination) {
  for (int32_t y = 0; y < destination.rows; ++y) {
    mirror_row<kPixelBytes>(source.row(source.rows - 1 - y), destination.columns,
                            destination.row(y));
  }
}

// Rotation by 90 or 270 degrees. Destination rows follow a source column: upwards for 90 degrees,
// from the left column on, and downwards for 270 degrees, from the right column on.
template <size_t kPixelBytes>
class QuarterRotation {
 public:
  QuarterRotation(const PlaneView &source, bool is_clockwise, const PlaneView &destination)
      : destination_(destination),
        along_row_(is_clockwise ? -source.stride : source.stride),
        along_column_(is_clockwise ? kPixel : -kPixel),
        origin_(is_clockwise ? source.row(source.rows - 1)
                             : source.data + (source.row_bytes() - kPixel)) {}

  void run() const {
#if TAVRINE_HAS_VECTORS
    if (holds<Tile<kPixelBytes>>()) {
      trace_path("rotate.tiles");
      rotate_areas<Tile<kPixelBytes>>();
      return;
    }
    if (holds<NarrowTile<kPixelBytes>>()) {
      trace_path("rotate.narrow_tiles");
      rotate_areas<NarrowTile<kPixelBytes>>();
      return;
    }
#endif
    trace_path("rotate.pixels");
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
  template <class TileType>
  bool holds() const {
    return destination_.rows >= TileType::kRows && destination_.columns >= TileType::kColumns;
  }

  // Areas follow each other along source rows: the hardware prefetcher follows sequential rows,
  // not strided ones.
  template <class TileType>
  void rotate_areas() const {
    for (int32_t left = 0; left < destination_.columns; left += TileType::kAreaColumns) {
      for (int32_t top = 0; top < destination_.rows; top += TileType::kAreaRows) {
        rotate_area<TileType>(top, left);
      }
    }
  }

  // The last tiles of the plane overlap those before them.
  template <class TileType>
  HWY_NOINLINE void rotate_area(int32_t top, int32_t left) const {
    constexpr int32_t kRows = TileType::kRows;
    constexpr int32_t kColumns = TileType::kColumns;
    const int32_t bottom = std::min(top + TileType::kAreaRows, destination_.rows);
    const int32_t right = std::min(left + TileType::kAreaColumns, destination_.columns);
    const int32_t start = std::min(left, destination_.columns - kColumns);
    // Source pixels run along destination columns, to the right or to the left.
    const bool runs_down = along_column_ > 0;
    const ptrdiff_t in_step = along_row_;
    const ptrdiff_t out_step = runs_down ? destination_.stride : -destination_.stride;
    for (int32_t y = top; y < bottom; y += kRows) {
      const int32_t row = std::min(y, destination_.rows - kRows);
      const int32_t first = runs_down ? row : row + kRows - 1;
      const uint8_t *in = source_of(first, start);
      uint8_t *out = at(first, start);
      for_each_step(right - start, kColumns, [&](int32_t x) {
        TileType::transpose(in + in_step * x, in_step, out + kPixel * x, out_step);
      });
    }
  }
#endif

  const PlaneView destination_;
  ptrdiff_t along_row_;
  ptrdiff_t along_column_;
  const uint8_t *origin_;
};

void rotate(const PlaneView &source, Rotation rotation, const PlaneView &destination) {
  with_channels(source.channels, [&](auto channels) {
    constexpr auto kPixelBytes = static_cast<size_t>(channels());
    if (rotation == Rotation::k180) {
      rotate_half<kPixelBytes>(source, destination);
    } else {
      QuarterRotation<kPixelBytes>(source, rotation == Rotation::k90, destination).run();
    }
  });
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tavrine {
namespace {

HWY_EXPORT(rotate);

bool has_rotated_size(const PlaneView &source, Rotation rotation, const PlaneView &destination) {
  return rotation == Rotation::k180
             ? have_same_size(source, destination)
             : destination.columns == source.rows && destination.rows == source.columns;
}

}  // namespace

bool rotate_plane(const PlaneView &source, Rotation rotation, const PlaneView &destination) {
  if (!have_same_channels(source, destination) ||
      !has_rotated_size(source, rotation, destination)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(rotate)(source, rotation, destination);
  return true;
}

}  // namespace tavrine
#endif
