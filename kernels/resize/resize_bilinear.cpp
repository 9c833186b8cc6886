#include "kernels/resize/resize_bilinear.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "common/allocate.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/resize/resize_bilinear.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "kernels/resize/horizontal_pass-inl.h"
#include "kernels/resize/horizontal_pass_scalar.h"
#include "kernels/resize/resize_scalar.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

using scalar::Tap;

#if TAVRINE_HAS_VECTORS
using Pass = HorizontalPass;
#else
using Pass = scalar::HorizontalPass;
#endif

HWY_INLINE void blend_row(const int16_t *upper, const int16_t *lower, const scalar::Tap &tap,
                          int32_t samples, uint8_t *destination) {
#if TAVRINE_HAS_VECTORS
  const auto step = static_cast<int32_t>(byte_lanes());
  if (samples >= step) {
    const RowWeight first = row_weight(tap.first);
    const RowWeight second = row_weight(tap.second);
    int32_t i = 0;
    for (; i <= samples - step; i += step) {
      blend_step(upper + i, lower + i, first, second, destination + i);
    }
    if (i != samples) {  // the last step overlaps the one before
      i = samples - step;
      blend_step(upper + i, lower + i, first, second, destination + i);
    }
    return;
  }
#endif
  scalar::blend_rows(upper, lower, tap, samples, destination);
}

// The two horizontally resampled rows that a destination row needs. Destination rows advance,
// so each source row is resampled once: a lower row that becomes the upper one changes place.
class RowPair {
 public:
  RowPair(const PlaneView &source, Pass &pass, int16_t *first, int16_t *second)
      : source_(source), pass_(pass), upper_{-1, first}, lower_{-1, second} {}

  // A row without weight is not needed, whichever row it is.
  void advance_to(const Tap &tap) {
    const int32_t last = source_.rows - 1;
    int32_t upper = std::clamp(tap.index, 0, last);
    int32_t lower = tap.index >= last ? last : std::max(tap.index + 1, 0);
    upper = tap.first != 0 ? upper : lower;
    lower = tap.second != 0 ? lower : upper;
    if (lower_.row == upper) {
      std::swap(upper_, lower_);
    }
    hold(upper_, upper);
    if (lower != upper) {
      hold(lower_, lower);
    }
    lower_samples_ = lower != upper ? lower_.samples : upper_.samples;
  }

  const int16_t *upper() const { return upper_.samples; }
  const int16_t *lower() const { return lower_samples_; }

 private:
  struct Buffer {
    int32_t row;
    int16_t *samples;
  };

  void hold(Buffer &buffer, int32_t row) {
    if (buffer.row != row) {
      pass_.run(source_.row(row), buffer.samples);
      buffer.row = row;
    }
  }

  const PlaneView &source_;
  Pass &pass_;
  Buffer upper_;
  Buffer lower_;
  const int16_t *lower_samples_ = nullptr;
};

bool resize_bilinear(const PlaneView &source, const PlaneView &destination) {
  const int64_t samples = destination.row_bytes();
  const int64_t padded_samples = (samples + 15) / 16 * 16;
  const auto rows = allocate<int16_t>(2 * padded_samples);
  Pass pass(source, destination);
  if (!rows || !pass.prepare()) {
    return false;
  }
  const float scale = scalar::reciprocal_scale(source.rows, destination.rows);
  RowPair pair(source, pass, rows.get(), rows.get() + padded_samples);
  for (int32_t y = 0; y < destination.rows; ++y) {
    const Tap tap = scalar::row_tap(y, scale);
    pair.advance_to(tap);
    blend_row(pair.upper(), pair.lower(), tap, static_cast<int32_t>(samples), destination.row(y));
  }
  return true;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tavrine {
namespace {
HWY_EXPORT(resize_bilinear);
}  // namespace

bool resize_bilinear(const PlaneView &source, const PlaneView &destination) {
  return HWY_DYNAMIC_DISPATCH(resize_bilinear)(source, destination);
}

}  // namespace tavrine
#endif
