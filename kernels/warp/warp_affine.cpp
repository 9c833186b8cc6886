#include "kernels/warp/warp_affine.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/warp/warp_affine.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include <algorithm>
#include <cstring>
#include <limits>

#include "common/allocate.h"
#include "kernels/warp/warp_affine_scalar.h"
#include "kernels/warp/warp_affine_step-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

void column_offsets(float coefficient, int32_t columns, int32_t *offsets) {
  int32_t x = 0;
#if TAVRINE_HAS_VECTORS
  const Ints d;
  const hn::RebindToFloat<Ints> df;
  const auto lanes = static_cast<int32_t>(hn::Lanes(d));
  const auto from_here_on_whole = hn::Set(df, 8388608.0F);
  for (; x <= columns - lanes; x += lanes) {
    const auto column = hn::ConvertTo(df, hn::Iota(d, x));
    const auto value =
        hn::Mul(hn::Mul(column, hn::Set(df, coefficient)), hn::Set(df, scalar::kPositionScale));
    // What is added and taken away leaves no room for a fraction. Sizes are ordered as their bits.
    const auto size = hn::Abs(value);
    const auto has_fraction = hn::Lt(hn::BitCast(d, size), hn::BitCast(d, from_here_on_whole));
    const auto rounded = hn::Sub(hn::Add(size, from_here_on_whole), from_here_on_whole);
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

#if TAVRINE_HAS_VECTORS

// Destination columns from `first` to before `last`.
struct Run {
  int32_t first;
  int32_t last;
};

// The columns of a run whose positions lie from `low` to before `high`. Offsets rise or fall, and
// positions do not wrap.
Run columns_between(const int32_t *offsets, int32_t start, Run run, int32_t low, int32_t high) {
  if (run.first >= run.last) {
    return {run.first, run.first};
  }
  const int32_t left = start + offsets[run.first];
  const int32_t right = start + offsets[run.last - 1];
  if (std::min(left, right) >= low && std::max(left, right) < high) {
    return run;
  }
  const bool rises = left <= right;
  const auto comes_before = [=](int32_t offset) {
    return rises ? start + offset < low : start + offset >= high;
  };
  const auto has_not_passed = [=](int32_t offset) {
    return rises ? start + offset < high : start + offset >= low;
  };
  const int32_t *end = offsets + run.last;
  const int32_t *first = std::partition_point(offsets + run.first, end, comes_before);
  const int32_t *last = std::partition_point(first, end, has_not_passed);
  return {static_cast<int32_t>(first - offsets), static_cast<int32_t>(last - offsets)};
}

#endif  // TAVRINE_HAS_VECTORS

template <int kChannels, Border kBorder>
class Warp {
 public:
  Warp(const PlaneView &source, const int32_t *x_offsets, const int32_t *y_offsets,
       const PlaneView &destination)
      : source_(source), x_offsets_(x_offsets), y_offsets_(y_offsets), destination_(destination) {}

  void run(const AffineMatrix &matrix) const {
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
  void warp_row(scalar::Offset start, uint8_t *row) const {
    by_definition(start, 0, destination_.columns, row);
  }
#else
  void warp_row(scalar::Offset start, uint8_t *row) const {
    const Run all = {0, destination_.columns};
    if (!has_plain_size() || wraps(start.x, x_offsets_) || wraps(start.y, y_offsets_)) {
      by_definition(start, all.first, all.last, row);
      return;
    }
    constexpr bool kHasZeros = kBorder == Border::kZero;
    const Run near = kHasZeros ? run_between(start, all, -1, source_.columns, source_.rows) : all;
    const Run inside = run_between(
        start, near, 0, source_.columns - 1 - kColumnsSeenBeyond<kChannels>, source_.rows - 1);
    fill_zero(all.first, near.first, row);
    warp_edge(start, {near.first, inside.first}, row);
    warp_run<false>(start, inside, row);
    warp_edge(start, {inside.last, near.last}, row);
    fill_zero(near.last, all.last, row);
  }

  // Then positions outside may be saturated or not, and offsets of source pixels fit 32 bits.
  bool has_plain_size() const {
    constexpr int32_t kLimit = std::numeric_limits<int16_t>::max();
    return source_.columns >= 2 && source_.rows >= 2 && source_.columns <= kLimit &&
           source_.rows <= kLimit &&
           source_.stride <= std::numeric_limits<int32_t>::max() / source_.rows;
  }

  // Offsets rise or fall, so that the ends tell.
  bool wraps(int32_t start, const int32_t *offsets) const {
    const auto does = [start](int32_t offset) {
      const int64_t sum = static_cast<int64_t>(start) + offset;
      return sum != static_cast<int32_t>(sum);
    };
    return does(offsets[0]) || does(offsets[destination_.columns - 1]);
  }

  // The part of a run whose pixels lie from `low` to before the ends given.
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

  // Pixels with neighbours inside and outside.
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
    const PlaneView source = source_;  // pixels do not change a copy
    const int32_t *const x_offsets = x_offsets_;
    const int32_t *const y_offsets = y_offsets_;
    const auto step = [&](int32_t x) {
      warp_step<kChannels, kClamps>(source, start, x_offsets + x, y_offsets + x,
                                    row + static_cast<ptrdiff_t>(x) * kChannels);
    };
    int32_t x = run.first;
    for (; x <= run.last - kPixelsInWarpStep; x += kPixelsInWarpStep) {
      step(x);
    }
    if (x != run.last) {  // the last step overlaps the one before
      step(run.last - kPixelsInWarpStep);
    }
  }
#endif

  const PlaneView &source_;
  const int32_t *x_offsets_;
  const int32_t *y_offsets_;
  const PlaneView &destination_;
};

template <Border kBorder>
void warp_channels(const PlaneView &source, const AffineMatrix &matrix, const int32_t *x_offsets,
                   const int32_t *y_offsets, const PlaneView &destination) {
  switch (source.channels) {
    case 1:
      return Warp<1, kBorder>(source, x_offsets, y_offsets, destination).run(matrix);
    case 2:
      return Warp<2, kBorder>(source, x_offsets, y_offsets, destination).run(matrix);
    case 3:
      return Warp<3, kBorder>(source, x_offsets, y_offsets, destination).run(matrix);
    default:
      return Warp<4, kBorder>(source, x_offsets, y_offsets, destination).run(matrix);
  }
}

// Fills the offsets of the destination's columns, too.
void warp(const PlaneView &source, const AffineMatrix &matrix, Border border, int32_t *x_offsets,
          int32_t *y_offsets, const PlaneView &destination) {
  column_offsets(matrix.a, destination.columns, x_offsets);
  column_offsets(matrix.d, destination.columns, y_offsets);
  const auto warp_it =
      border == Border::kZero ? warp_channels<Border::kZero> : warp_channels<Border::kNearestEdge>;
  warp_it(source, matrix, x_offsets, y_offsets, destination);
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
  if (!source.is_usable() || !destination.is_usable() || source.channels != destination.channels ||
      source.channels < 1 || source.channels > 4) {
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
