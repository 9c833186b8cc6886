// The horizontal pass of the resampler, one sample at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "common/allocate.h"
#include "kernels/plane_view.h"
#include "kernels/resize/resize_scalar.h"

namespace tavrine::scalar {

// The taps of one plane, and what they make of a row.
class HorizontalPass {
 public:
  HorizontalPass(const PlaneView &source, const PlaneView &destination)
      : source_(source), columns_(destination.columns) {}

  bool prepare() {
    taps_ = allocate<Tap>(columns_);
    if (!taps_) {
      return false;
    }
    const float scale = reciprocal_scale(source_.columns, columns_);
    for (int32_t x = 0; x < columns_; ++x) {
      taps_[static_cast<size_t>(x)] = column_tap(x, scale, source_.columns);
    }
    return true;
  }

  static const char *path() { return "resize.definition"; }

  void run(const uint8_t *source, int16_t *row) const {
    const int32_t channels = source_.channels;
    for (int32_t x = 0; x < columns_; ++x) {
      const Tap tap = taps_[static_cast<size_t>(x)];
      const uint8_t *first = source + static_cast<ptrdiff_t>(tap.index) * channels;
      const uint8_t *second = first + (tap.index == source_.columns - 1 ? 0 : channels);
      for (int32_t channel = 0; channel < channels; ++channel) {
        *row++ = resample(first[channel], second[channel], tap);
      }
    }
  }

 private:
  const PlaneView &source_;
  int32_t columns_;
  std::unique_ptr<Tap[]> taps_;
};

}  // namespace tavrine::scalar
