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
//   Tile::prefetch(in, in_step, row)  announces what later tiles of a strip read; `row` is that of
//                                     the tile in the strip
//   Tile::kAreaRows, kAreaColumns     size of the areas that a plane is done in, one after another
//   NarrowTile                        the same for planes of fewer columns

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

template <size_t kPixelBytes>
HWY_INLINE void mirror_row(const uint8_t *in, int32_t columns, uint8_t *out) {
  constexpr auto kPixel = static_cast<ptrdiff_t>(kPixelBytes);
#if TAVRINE_HAS_VECTORS
  constexpr int32_t kStep = mirrored_pixels<kPixelBytes>();
  if (columns >= kStep) {
    const int32_t done = std::min(mirror_unrolled<kPixelBytes>(in, columns, out), columns - kStep);
    const uint8_t *next = in + kPixel * (columns - done - kStep);
    out += kPixel * done;
    for_each_step(columns - done, kStep, [&](int32_t x) TAVRINE_INLINE_LAMBDA {
      mirror_step<kPixelBytes>(next - kPixel * x, out + kPixel * x);
    });
    return;
  }
#endif
  scalar::gather_pixels<kPixelBytes>(in + kPixel * (columns - 1), -kPixel, out, columns);
}

// Not inlined, nor are strips below: one function with the loops of all pixel sizes has too few
// registers.
template <size_t kPixelBytes>
HWY_NOINLINE void rotate_half(const PlaneView &source, const PlaneView &destination) {
  // Copies, as stores of pixels might change the records.
  const PlaneView from = source;
  const PlaneView to = destination;
#if TAVRINE_HAS_VECTORS
  trace_path(to.columns >= mirrored_pixels<kPixelBytes>() ? "rotate.mirror.vectors"
                                                          : "rotate.mirror.pixels");
#else
  trace_path("rotate.mirror.pixels");
#endif
  for (int32_t y = 0; y < to.rows; ++y) {
    mirror_row<kPixelBytes>(from.row(from.rows - 1 - y), to.columns, to.row(y));
  }
}

// Rotation by 90 or 270 degrees: row c of the source, counted from the bottom for 90 degrees and
// from the top for 270, becomes column c of the destination, and column s of the source row s,
// counted from the top for 90 degrees and from the bottom for 270.
template <size_t kPixelBytes>
class QuarterRotation {
 public:
  QuarterRotation(const PlaneView &source, bool is_clockwise, const PlaneView &destination)
      : rows_(destination.rows), columns_(destination.columns) {
    if (is_clockwise) {
      in_ = source.row(source.rows - 1);
      in_step_ = -source.stride;
      out_ = destination.data;
      out_step_ = destination.stride;
    } else {
      in_ = source.data;
      in_step_ = source.stride;
      out_ = destination.row(destination.rows - 1);
      out_step_ = -destination.stride;
    }
  }

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
    for (int32_t s = 0; s < rows_; ++s) {
      scalar::gather_pixels<kPixelBytes>(in_ + kPixel * s, in_step_, out_ + out_step_ * s,
                                         columns_);
    }
  }

 private:
  static constexpr auto kPixel = static_cast<ptrdiff_t>(kPixelBytes);

#if TAVRINE_HAS_VECTORS
  template <class TileType>
  bool holds() const {
    return rows_ >= TileType::kRows && columns_ >= TileType::kColumns;
  }

  // Areas follow each other along source rows: the hardware prefetcher follows sequential rows,
  // not strided ones.
  template <class TileType>
  void rotate_areas() const {
    for (int32_t c = 0; c < columns_; c += TileType::kAreaColumns) {
      for (int32_t s = 0; s < rows_; s += TileType::kAreaRows) {
        rotate_area<TileType>(s, c);
      }
    }
  }

  // The last tiles of the plane overlap those before them.
  template <class TileType>
  void rotate_area(int32_t first_row, int32_t first_column) const {
    const int32_t s = std::min(first_row, rows_ - TileType::kRows);
    const int32_t c = std::min(first_column, columns_ - TileType::kColumns);
    const int32_t rows = std::min(first_row + TileType::kAreaRows, rows_) - s;
    const int32_t columns = std::min(first_column + TileType::kAreaColumns, columns_) - c;
    const uint8_t *in = in_ + in_step_ * c + kPixel * s;
    uint8_t *out = out_ + out_step_ * s + kPixel * c;
    for_each_step(columns, TileType::kColumns, [&](int32_t x) {
      rotate_strip<TileType>(in + in_step_ * x, in_step_, rows, out + kPixel * x, out_step_);
    });
  }

  // Tiles one below the other.
  template <class TileType>
  static HWY_NOINLINE void rotate_strip(const uint8_t *in, ptrdiff_t in_step, int32_t rows,
                                        uint8_t *out, ptrdiff_t out_step) {
    for_each_step(rows, TileType::kRows, [&](int32_t y) TAVRINE_INLINE_LAMBDA {
      TileType::prefetch(in + kPixel * y, in_step, y);
      TileType::transpose(in + kPixel * y, in_step, out + out_step * y, out_step);
    });
  }
#endif

  int32_t rows_;
  int32_t columns_;
  const uint8_t *in_;
  ptrdiff_t in_step_;
  uint8_t *out_;
  ptrdiff_t out_step_;
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
