#include "kernels/warp/warp_affine.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/warp/warp_affine.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include <cstring>
#include <limits>

#include "common/allocate.h"
#include "kernels/path.h"
#include "kernels/warp/warp_affine_arm-inl.h"
#include "kernels/warp/warp_affine_runs.h"
#include "kernels/warp/warp_affine_scalar.h"
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

void column_offsets(float coefficient, int32_t columns, int32_t *offsets) {
  int32_t x = 0;
#if TAVRINE_HAS_VECTORS
  const Ints d;
  const hn::RebindToFloat<Ints> df;
  const auto lanes = static_cast<int32_t>(hn::Lanes(d));
  const auto limit = hn::Set(df, 0x1p23F);  // floats of this size and more have no fraction
  for (; x <= columns - lanes; x += lanes) {
    const auto column = hn::ConvertTo(df, hn::Iota(d, x));
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

template <int kChannels, Border kBorder>
class Warp {
 public:
  Warp(const PlaneView &source, const int32_t *x_offsets, const int32_t *y_offsets,
       const PlaneView &destination)
      : source_(source), x_offsets_(x_offsets), y_offsets_(y_offsets), destination_(destination) {}

  void run(const AffineMatrix &matrix) const {
    trace_path(takes_steps() ? "warp_affine.steps" : "warp_affine.definition");
    for (int32_t y = 0; y < destination_.rows; ++y) {
      warp_row(scalar::row_offset(matrix, y), destination_.row(y));
    }
  }

 private:
  void by_definition(scalar::Offset start, int32_t first, int32_t last, uint8_t *row) const {
    if (first == last) {
      return;
    }
    scalar::warp_pixels<kChannels, kBorder>(source_, start, x_offsets_ + first, y_offsets_ + first,
                                            last - first,
                                            row + static_cast<ptrdiff_t>(first) * kChannels);
  }

#if !TAVRINE_HAS_VECTORS
  static bool takes_steps() { return false; }

  void warp_row(scalar::Offset start, uint8_t *row) const {
    by_definition(start, 0, destination_.columns, row);
  }
#else
  void warp_row(scalar::Offset start, uint8_t *row) const {
    const Run all = {0, destination_.columns};
    if (!takes_steps() || wraps(start.x, x_offsets_) || wraps(start.y, y_offsets_)) {
      by_definition(start, all.first, all.last, row);
      return;
    }
    constexpr bool kHasZeros = kBorder == Border::kZero;
    const Run near = kHasZeros ? run_between(start, all, -1, source_.columns, source_.rows) : all;
    const Run inside = run_between(
        start, near, 0, source_.columns - 1 - kOverreadColumns<kChannels>, source_.rows - 1);
    fill_zero(all.first, near.first, row);
    warp_edge(start, {near.first, inside.first}, row);
    warp_run<false>(start, inside, row);
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

  // The part of a run whose upper left neighbours lie from column and row `low` to before the ends.
  Run run_between(scalar::Offset start, Run run, int32_t low, int32_t column_end,
                  int32_t row_end) const {
    constexpr int32_t kPixel = 1 << scalar::kPositionBits;
    const Run across = columns_between(x_offsets_, start.x, run, low * kPixel, column_end * kPixel);
    return columns_between(y_offsets_, start.y, across, low * kPixel, row_end * kPixel);
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
      warp_run<true>(start, run, row);
    } else {
      by_definition(start, run.first, run.last, row);
    }
  }

  template <bool kClamps>
  void warp_run(scalar::Offset start, Run run, uint8_t *row) const {
    if (run.last - run.first < kPixelsInWarpStep) {
      by_definition(start, run.first, run.last, row);
      return;
    }
    const PlaneView source = source_;  // a copy that writing pixels cannot change
    const int32_t *const x_offsets = x_offsets_ + run.first;
    const int32_t *const y_offsets = y_offsets_ + run.first;
    uint8_t *const out = row + static_cast<ptrdiff_t>(run.first) * kChannels;
    for_each_step(run.last - run.first, kPixelsInWarpStep, [&](int32_t x) {
      warp_step<kChannels, kClamps>(source, start, x_offsets + x, y_offsets + x,
                                    out + static_cast<ptrdiff_t>(x) * kChannels);
    });
  }
#endif

  const PlaneView &source_;
  const int32_t *x_offsets_;
  const int32_t *y_offsets_;
  const PlaneView &destination_;
};

// The offsets are room for one number for each destination column.
void warp(const PlaneView &source, const AffineMatrix &matrix, Border border, int32_t *x_offsets,
          int32_t *y_offsets, const PlaneView &destination) {
  column_offsets(matrix.a, destination.columns, x_offsets);
  column_offsets(matrix.d, destination.columns, y_offsets);
  with_channels(source.channels, [&](auto channels) {
    if (border == Border::kZero) {
      Warp<channels, Border::kZero>(source, x_offsets, y_offsets, destination).run(matrix);
    } else {
      Warp<channels, Border::kNearestEdge>(source, x_offsets, y_offsets, destination).run(matrix);
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

HWY_EXPORT(warp);

}  // namespace

bool warp_affine(const PlaneView &source, const AffineMatrix &matrix, Border border,
                 const PlaneView &destination) {
  if (!have_same_channels(source, destination)) {
    return false;
  }
  const auto offsets = allocate<int32_t>(2 * static_cast<int64_t>(destination.columns));
  if (!offsets) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(warp)
  (source, matrix, border, offsets.get(), offsets.get() + destination.columns, destination);
  return true;
}

}  // namespace tavrine
#endif
