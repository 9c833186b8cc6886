#include "kernels/resize/resize_bilinear.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "common/allocate.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/resize/resize_bilinear.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "kernels/resize/resize_rows-inl.h"
#include "kernels/resize/resize_scalar.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

using scalar::Tap;

#if TAVRINE_HAS_VECTORS

// The horizontal pass of one plane: its tables, and what it does to a row.
class HorizontalPass {
 public:
  HorizontalPass(const PlaneView &source, const PlaneView &destination)
      : source_(source),
        samples_(static_cast<int32_t>(destination.row_bytes())),
        groups_((samples_ + kSamplesInStep - 1) / kSamplesInStep * (kSamplesInStep / 4)),
        scale_(scalar::reciprocal_scale(source.columns, destination.columns)) {}

  // The fewest windows that reach all samples: they are far apart when a row shrinks a lot.
  bool prepare() {
    weights_ = allocate<int16_t>(static_cast<int64_t>(groups_) * 8);
    for (windows_ = 1; windows_ <= kMostWindows; windows_ *= 2) {
      const int64_t groups = groups_;
      bases_ = allocate<int32_t>(groups * windows_);
      controls_ = allocate<uint8_t>(groups * control_bytes(windows_));
      if (!bases_ || !controls_ || !weights_) {
        return false;
      }
      if (fill_tables()) {
        return true;
      }
    }
    return false;
  }

  void run(const uint8_t *source, int16_t *row) {
    if (source_.row_bytes() < kLeastReadable) {
      std::copy_n(source, source_.row_bytes(), short_row_);
      source = short_row_;
    }
    const GroupTables tables = {bases_.get(), controls_.get(), weights_.get()};
    const int32_t samples = groups_ * kSamplesInGroup;
    switch (windows_) {
      case 1:
        return resample_groups<1>(source, tables, samples, row);
      case 2:
        return resample_groups<2>(source, tables, samples, row);
      default:
        return resample_groups<4>(source, tables, samples, row);
    }
  }

 private:
  static constexpr ptrdiff_t kLeastReadable = 16;  // what the longest window reads

  struct Sample {
    int32_t first;  // byte offsets
    int32_t second;
    Tap tap;
  };

  // False when the windows do not reach the samples of a group.
  bool fill_tables() {
    const int32_t channels = source_.channels;
    Sample group[kSamplesInGroup];
    int32_t column = 0;
    int32_t channel = 0;
    Tap tap = scalar::column_tap(0, scale_, source_.columns);
    for (int32_t position = 0; position < groups_; ++position) {
      for (int32_t i = 0; i < kSamplesInGroup; ++i) {
        const int32_t first = tap.index * channels + channel;
        group[i] = {first, first + (tap.index < source_.columns - 1 ? channels : 0), tap};
        // The padding repeats the last sample.
        if (position * kSamplesInGroup + i < samples_ - 1 && ++channel == channels) {
          channel = 0;
          tap = scalar::column_tap(++column, scale_, source_.columns);
        }
      }
      if (!fill_group(group, position)) {
        return false;
      }
    }
    return true;
  }

  bool fill_group(const Sample (&group)[kSamplesInGroup], int32_t position) {
    const int32_t reach = window_bytes(windows_);
    const auto readable = static_cast<int32_t>(std::max(source_.row_bytes(), kLeastReadable));
    int32_t bases[kMostWindows] = {};
    Pick picks[kSamplesInGroup];
    int32_t window = 0;
    int32_t least = group[0].first;
    int32_t most = group[0].second;
    for (int32_t i = 0; i < kSamplesInGroup; ++i) {
      const Sample &sample = group[i];
      least = std::min(least, sample.first);
      most = std::max(most, sample.second);
      if (most - least >= reach) {  // begin another window
        if (++window == windows_) {
          return false;
        }
        least = sample.first;
        most = sample.second;
      }
      bases[window] = std::min(least, readable - reach);
      picks[i] = {window, sample.first, sample.second, sample.tap.first, sample.tap.second};
    }
    for (Pick &pick : picks) {
      pick.first -= bases[pick.window];
      pick.second -= bases[pick.window];
    }
    enter_group({bases_.get(), controls_.get(), weights_.get()}, windows_, position, bases, picks);
    return true;
  }

  const PlaneView &source_;
  int32_t samples_;
  int32_t groups_;
  float scale_;
  int32_t windows_ = 1;
  std::unique_ptr<int32_t[]> bases_;
  std::unique_ptr<uint8_t[]> controls_;
  std::unique_ptr<int16_t[]> weights_;
  uint8_t short_row_[kLeastReadable] = {};
};

#else  // one sample at a time

class HorizontalPass {
 public:
  HorizontalPass(const PlaneView &source, const PlaneView &destination)
      : source_(source), columns_(destination.columns) {}

  bool prepare() {
    taps_ = allocate<Tap>(columns_);
    if (!taps_) {
      return false;
    }
    const float scale = scalar::reciprocal_scale(source_.columns, columns_);
    for (int32_t x = 0; x < columns_; ++x) {
      taps_[x] = scalar::column_tap(x, scale, source_.columns);
    }
    return true;
  }

  void run(const uint8_t *source, int16_t *row) {
    const int32_t channels = source_.channels;
    for (int32_t x = 0; x < columns_; ++x) {
      const Tap tap = taps_[x];
      const uint8_t *first = source + static_cast<ptrdiff_t>(tap.index) * channels;
      const uint8_t *second = first + (tap.index == source_.columns - 1 ? 0 : channels);
      for (int32_t channel = 0; channel < channels; ++channel) {
        *row++ = scalar::resample(first[channel], second[channel], tap);
      }
    }
  }

 private:
  const PlaneView &source_;
  int32_t columns_;
  std::unique_ptr<Tap[]> taps_;
};

#endif  // TAVRINE_HAS_VECTORS

// The two horizontally resampled rows that a destination row needs. Destination rows advance,
// so each source row is resampled once: a lower row that becomes the upper one changes place.
class RowPair {
 public:
  RowPair(const PlaneView &source, HorizontalPass &pass, int16_t *first, int16_t *second)
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
  HorizontalPass &pass_;
  Buffer upper_;
  Buffer lower_;
  const int16_t *lower_samples_ = nullptr;
};

bool resize_bilinear(const PlaneView &source, const PlaneView &destination) {
  const int64_t samples = destination.row_bytes();
  const int64_t padded_samples = (samples + 15) / 16 * 16;
  const auto rows = allocate<int16_t>(2 * padded_samples);
  HorizontalPass pass(source, destination);
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
