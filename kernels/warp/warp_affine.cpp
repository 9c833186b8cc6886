#include "kernels/warp/warp_affine.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/warp/warp_affine.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include <algorithm>
#include <cstring>
#include <limits>

#include "common/allocate.h"
#include "kernels/path.h"
#include "kernels/warp/rows_ahead.h"
#include "kernels/warp/warp_affine_arm-inl.h"
#include "kernels/warp/warp_affine_columns.h"
#include "kernels/warp/warp_affine_scalar.h"
#include "kernels/warp/warp_affine_windows_arm-inl.h"
#include "kernels/warp/warp_affine_windows_x86-inl.h"
#include "kernels/warp/warp_affine_x86-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

// A vector target defines in warp_affine_arm-inl.h or warp_affine_x86-inl.h:
//
//   kPixelsInWarpStep            destination pixels of a step
//   kOverreadColumns<kChannels>  source columns that a step may read right of the right neighbours
//   kCanClamp<kChannels>         whether there is a clamped step
//   warp_step<kChannels, kClamps>(source, row, x_offsets, y_offsets, out)
//                                warps the pixels of one step. Clamped, it moves positions outside
//                                to the edge; otherwise all neighbours, and the columns that may be
//                                read beyond them, must lie in the source.
//
// Pixels that follow each other lie close together in the source, so most maps go another way: a
// few consecutive pixels share a window, a few rows that are loaded once, and each takes its
// neighbours out of it. For this, the target defines in warp_affine_windows_arm-inl.h or
// warp_affine_windows_x86-inl.h:
//
//   WindowColumns               what windows need of the columns beside their offsets
//   window_shapes<kChannels>()  a ShapeList; a shape has
//     kPixels, kColumns, kRows    the pixels that share a window, and its size in source pixels
//     kReadColumns                the columns from its first on that are read
//     kPixelsInStep, kAlignment   what a run has at least, and what its ends are multiples of
//   warp_windows_of_row<Shape>(source, ahead, start, offsets, columns, run, out)
//                               warps a run whose windows lie in the source, and may prefetch

void column_offsets(float coefficient, int32_t columns, int32_t *offsets) {
  int32_t x = 0;
#if TAVRINE_HAS_VECTORS
  const Ints d;
  const hn::RebindToFloat<Ints> df;
  const auto lanes = static_cast<int32_t>(hn::Lanes(d));
  auto columns_here = hn::Iota(d, 0);
  const auto limit = hn::Set(df, 0x1p23F);  // floats of this size and more have no fraction
  for (; x <= columns - lanes; x += lanes) {
    const auto column = hn::ConvertTo(df, columns_here);
    columns_here = hn::Add(columns_here, hn::Set(d, lanes));
    const auto value =
        hn::Mul(hn::Mul(column, hn::Set(df, coefficient)), hn::Set(df, scalar::kPositionScale));
    // Adding and subtracting 2^23 rounds to the nearest integer, ties to even. Magnitudes are
    // compared as integers, which order floats without sign in the same way.
    const auto magnitude = hn::Abs(value);
    const auto has_fraction = hn::Lt(hn::BitCast(d, magnitude), hn::BitCast(d, limit));
    const auto rounded = hn::Sub(hn::Add(magnitude, limit), limit);
    const auto nearest =
        hn::IfThenElse(hn::RebindMask(df, has_fraction), hn::CopySignToAbs(rounded, value), value);
    const auto is_number = hn::RebindMask(d, hn::Eq(value, value));
    hn::StoreU(hn::IfThenElseZero(is_number, hn::ConvertTo(d, nearest)), d, offsets + x);
  }
#endif
  for (; x < columns; ++x) {
    offsets[x] = scalar::column_offset(coefficient, x);
  }
}

#if !TAVRINE_HAS_VECTORS
struct WindowColumns {
  static int64_t bytes_for(int64_t) { return 0; }
  WindowColumns(const ColumnOffsets &, int32_t, void *) {}
};
#endif

// All that is computed for columns once, in memory of the caller.
struct Columns {
  static int64_t bytes_for(int64_t columns) {
    return columns * 2 * static_cast<int64_t>(sizeof(int32_t)) + WindowColumns::bytes_for(columns);
  }

  Columns(const AffineMatrix &matrix, int32_t columns, void *memory)
      : Columns(static_cast<int32_t *>(memory), static_cast<int32_t *>(memory) + columns, matrix,
                columns) {}

  ColumnOffsets offsets;
  WindowColumns for_windows;
  ColumnSearch x;
  ColumnSearch y;

 private:
  Columns(int32_t *x_offsets, int32_t *y_offsets, const AffineMatrix &matrix, int32_t columns)
      : offsets(fill(x_offsets, y_offsets, matrix, columns)),
        for_windows(offsets, columns, y_offsets + columns),
        x(offsets.x, columns),
        y(offsets.y, columns) {}

  static ColumnOffsets fill(int32_t *x, int32_t *y, const AffineMatrix &matrix, int32_t columns) {
    column_offsets(matrix.a, columns, x);
    column_offsets(matrix.d, columns, y);
    return {x, y};
  }
};

#if TAVRINE_HAS_VECTORS

// Warps the columns of a run, of which there are enough for a step, in some rows.
using WarpRows = void (*)(const PlaneView &source, const AffineMatrix &matrix,
                          const ColumnOffsets &offsets, const WindowColumns &columns, Run run,
                          int32_t first_row, int32_t last_row, const PlaneView &destination);

template <class Shape>
void warp_windows(const PlaneView &source, const AffineMatrix &matrix, const ColumnOffsets &offsets,
                  const WindowColumns &columns, Run run, int32_t first_row, int32_t last_row,
                  const PlaneView &destination) {
  // Copies that writing pixels cannot change.
  const PlaneView from = source;
  const PlaneView to = destination;
  const AffineMatrix map = matrix;
  const WindowColumns window_columns = columns;
  const RowsAhead ahead(source, truncate_to_int32(map.b * RowsAhead::kRows),
                        truncate_to_int32(map.e * RowsAhead::kRows));
  for (int32_t y = first_row; y < last_row; ++y) {
    warp_windows_of_row<Shape>(from, ahead, scalar::row_offset(map, y), offsets, window_columns,
                               run,
                               to.row(y) + static_cast<ptrdiff_t>(run.first) * Shape::kChannels);
  }
}

template <int kChannels, bool kClamps>
void warp_steps(const PlaneView &source, scalar::Offset start, const ColumnOffsets &offsets,
                Run run, uint8_t *row) {
  const PlaneView from = source;
  const int32_t *const x_offsets = offsets.x + run.first;
  const int32_t *const y_offsets = offsets.y + run.first;
  uint8_t *const out = row + static_cast<ptrdiff_t>(run.first) * kChannels;
  for_each_step(run.last - run.first, kPixelsInWarpStep, [&](int32_t x) TAVRINE_INLINE_LAMBDA {
    warp_step<kChannels, kClamps>(from, start, x_offsets + x, y_offsets + x,
                                  out + static_cast<ptrdiff_t>(x) * kChannels);
  });
}

// The way through windows that suits all columns of a matrix.
struct Windows {
  WarpRows warp = nullptr;  // null: there is none
  int32_t pixels_in_step = 0;
  int32_t alignment = 1;
  int32_t read_columns = 0;
  int32_t rows = 0;
  const char *path = "warp_affine.steps";
};

// Source columns and rows between the first and the last pixel of a window at most.
class Spans {
 public:
  Spans(const ColumnOffsets &offsets, int32_t columns) : offsets_(offsets), columns_(columns) {}

  template <class Shape>
  bool fit() {
    if (columns_ < Shape::kPixelsInStep) {
      return false;
    }
    if (pixels_ != Shape::kPixels) {
      pixels_ = Shape::kPixels;
      across_ = pixels_between(offsets_.x, columns_, pixels_);
      down_ = pixels_between(offsets_.y, columns_, pixels_);
    }
    // One column and one row more are those of the right and the lower neighbours.
    return across_ <= Shape::kColumns - 2 && down_ <= Shape::kRows - 2;
  }

 private:
  const ColumnOffsets &offsets_;
  int32_t columns_;
  int32_t pixels_ = 0;
  uint32_t across_ = 0;
  uint32_t down_ = 0;
};

template <class... Shapes>
Windows first_that_fits(ShapeList<Shapes...>, Spans spans) {
  Windows windows;
  const auto choose = [&](auto shape) {
    using Shape = decltype(shape);
    if (windows.warp == nullptr && spans.template fit<Shape>()) {
      windows = {warp_windows<Shape>, Shape::kPixelsInStep, Shape::kAlignment,
                 Shape::kReadColumns, Shape::kRows,         Shape::kPath};
    }
  };
  static_cast<void>(choose);  // where there are no shapes
  (choose(Shapes()), ...);
  return windows;
}

#endif  // TAVRINE_HAS_VECTORS

template <int kChannels, Border kBorder>
class Warp {
 public:
  Warp(const PlaneView &source, const AffineMatrix &matrix, const Columns &columns,
       const PlaneView &destination)
      : source_(source),
        matrix_(matrix),
        columns_(columns),
        offsets_(columns.offsets),
        destination_(destination) {}

  void run() {
    choose_way();
    for (int32_t y = 0; y < destination_.rows;) {
      y += warp_rows(y);
    }
  }

 private:
  void by_definition(scalar::Offset start, int32_t first, int32_t last, uint8_t *row) const {
    if (first == last) {
      return;
    }
    scalar::warp_pixels<kChannels, kBorder>(source_, start, offsets_.x + first, offsets_.y + first,
                                            last - first,
                                            row + static_cast<ptrdiff_t>(first) * kChannels);
  }

#if !TAVRINE_HAS_VECTORS
  void choose_way() { trace_path("warp_affine.definition"); }

  int32_t warp_rows(int32_t y) const {
    by_definition(scalar::row_offset(matrix_, y), 0, destination_.columns, destination_.row(y));
    return 1;
  }
#else
  void choose_way() {
    if (!takes_steps()) {
      trace_path("warp_affine.definition");
      return;
    }
    windows_ = first_that_fits(window_shapes<kChannels>(), {offsets_, destination_.columns});
    trace_path(windows_.path);
  }

  // Warps row y, and rows after it as far as all of them go through windows. Returns how many.
  int32_t warp_rows(int32_t y) const {
    if (!goes_through_windows(y)) {
      warp_row(y);
      return 1;
    }
    // Positions rise or fall from row to row: where the last row does, all between do.
    int32_t end = destination_.rows;
    if (!goes_through_windows(end - 1)) {
      for (end = y + 1; goes_through_windows(end); ++end) {
      }
    }
    windows_.warp(source_, matrix_, offsets_, columns_.for_windows, {0, destination_.columns}, y,
                  end, destination_);
    return end - y;
  }

  bool goes_through_windows(int32_t y) const {
    if (windows_.warp == nullptr || destination_.columns % windows_.alignment != 0) {
      return false;
    }
    const scalar::Offset start = scalar::row_offset(matrix_, y);
    return lies_between(start.x, offsets_.x, source_.columns - windows_.read_columns) &&
           lies_between(start.y, offsets_.y, source_.rows - windows_.rows);
  }

  void warp_row(int32_t y) const {
    const Run all = {0, destination_.columns};
    const scalar::Offset start = scalar::row_offset(matrix_, y);
    uint8_t *const row = destination_.row(y);
    if (!takes_steps() || wraps(start.x, offsets_.x) || wraps(start.y, offsets_.y)) {
      by_definition(start, all.first, all.last, row);
      return;
    }
    constexpr bool kHasZeros = kBorder == Border::kZero;
    const Run near = kHasZeros ? run_between(start, all, -1, source_.columns, source_.rows) : all;
    const Run inside = run_between(
        start, near, 0, source_.columns - 1 - kOverreadColumns<kChannels>, source_.rows - 1);
    fill_zero(all.first, near.first, row);
    warp_edge(start, {near.first, inside.first}, row);
    warp_inside(start, inside, y);
    warp_edge(start, {inside.last, near.last}, row);
    fill_zero(near.last, all.last, row);
  }

  // Within these limits saturation to 16 bits cannot change which pixels are outside, and offsets
  // of source pixels fit 32 bits.
  bool takes_steps() const {
    constexpr int32_t kLimit = std::numeric_limits<int16_t>::max();
    return source_.columns >= 2 && source_.rows >= 2 && source_.columns <= kLimit &&
           source_.rows <= kLimit &&
           source_.stride <= std::numeric_limits<int32_t>::max() / source_.rows;
  }

  // Whether a position of the row wraps. Offsets rise or fall, so the ends decide.
  bool wraps(int32_t start, const int32_t *offsets) const {
    const auto sum_wraps = [start](int32_t offset) {
      const int64_t sum = static_cast<int64_t>(start) + offset;
      return sum != static_cast<int32_t>(sum);
    };
    return sum_wraps(offsets[0]) || sum_wraps(offsets[destination_.columns - 1]);
  }

  // Whether a whole row lies between the first pixel along an axis and pixel `last`.
  bool lies_between(int32_t start, const int32_t *offsets, int32_t last) const {
    const int64_t a = static_cast<int64_t>(start) + offsets[0];
    const int64_t b = static_cast<int64_t>(start) + offsets[destination_.columns - 1];
    constexpr int64_t kPixel = 1 << scalar::kPositionBits;
    return std::min(a, b) >= 0 && std::max(a, b) < (last + 1) * kPixel;
  }

  // The part of a run whose upper left neighbours lie from column and row `low` to before the ends.
  Run run_between(scalar::Offset start, Run run, int32_t low, int32_t column_end,
                  int32_t row_end) const {
    constexpr int32_t kPixel = 1 << scalar::kPositionBits;
    const Run across = columns_.x.between(start.x, run, low * kPixel, column_end * kPixel);
    return columns_.y.between(start.y, across, low * kPixel, row_end * kPixel);
  }

  static void fill_zero(int32_t first, int32_t last, uint8_t *row) {
    if (first != last) {
      std::memset(row + static_cast<ptrdiff_t>(first) * kChannels, 0,
                  static_cast<size_t>(last - first) * kChannels);
    }
  }

  // Pixels with neighbours inside and neighbours outside.
  void warp_edge(scalar::Offset start, Run run, uint8_t *row) const {
    if constexpr (kBorder == Border::kNearestEdge && kCanClamp<kChannels>) {
      warp_by_steps<true>(start, run, row);
    } else {
      by_definition(start, run.first, run.last, row);
    }
  }

  // Pixels with all neighbours inside: through windows as far as these lie inside, too.
  void warp_inside(scalar::Offset start, Run inside, int32_t y) const {
    uint8_t *const row = destination_.row(y);
    Run run = inside;
    if (windows_.warp != nullptr) {
      run = run_between(start, inside, 0, source_.columns - windows_.read_columns + 1,
                        source_.rows - windows_.rows + 1);
      run.first += (windows_.alignment - run.first % windows_.alignment) % windows_.alignment;
      run.last -= run.last % windows_.alignment;
    }
    if (windows_.warp == nullptr || run.last - run.first < windows_.pixels_in_step) {
      warp_by_steps<false>(start, inside, row);
      return;
    }
    windows_.warp(source_, matrix_, offsets_, columns_.for_windows, run, y, y + 1, destination_);
    // What is left at the ends takes whole steps, which overlap the windows.
    if (run.first != inside.first) {
      const int32_t last = std::max(run.first, inside.first + kPixelsInWarpStep);
      warp_by_steps<false>(start, {inside.first, std::min(last, inside.last)}, row);
    }
    if (run.last != inside.last) {
      const int32_t first = std::min(run.last, inside.last - kPixelsInWarpStep);
      warp_by_steps<false>(start, {std::max(first, inside.first), inside.last}, row);
    }
  }

  template <bool kClamps>
  void warp_by_steps(scalar::Offset start, Run run, uint8_t *row) const {
    if (run.last - run.first < kPixelsInWarpStep) {
      by_definition(start, run.first, run.last, row);
    } else {
      warp_steps<kChannels, kClamps>(source_, start, offsets_, run, row);
    }
  }

  Windows windows_;
#endif

  const PlaneView &source_;
  const AffineMatrix &matrix_;
  const Columns &columns_;
  const ColumnOffsets &offsets_;
  const PlaneView &destination_;
};

bool warp(const PlaneView &source, const AffineMatrix &matrix, Border border,
          const PlaneView &destination) {
  const auto memory = allocate<uint8_t>(Columns::bytes_for(destination.columns));
  if (!memory) {
    return false;
  }
  const Columns columns(matrix, destination.columns, memory.get());
  with_channels(source.channels, [&](auto channels) {
    if (border == Border::kZero) {
      Warp<channels, Border::kZero>(source, matrix, columns, destination).run();
    } else {
      Warp<channels, Border::kNearestEdge>(source, matrix, columns, destination).run();
    }
  });
  return true;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tavrine {
namespace {

HWY_EXPORT(warp);

}  // namespace

bool warp_affine(const PlaneView &source, const AffineMatrix &matrix, Border border,
                 const PlaneView &destination) {
  if (!have_same_channels(source, destination)) {
    return false;
  }
  return HWY_DYNAMIC_DISPATCH(warp)(source, matrix, border, destination);
}

}  // namespace tavrine
#endif
