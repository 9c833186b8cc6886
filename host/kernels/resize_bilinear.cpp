#include "host/kernels/resize_bilinear.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "core/allocate.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "host/kernels/resize_bilinear.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "host/kernels/resize_rows-inl.h"
#include "host/kernels/resize_scalar.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

using scalar::Tap;

#if TAVRINE_HAS_VECTORS

constexpr int32_t kReach = 16;  // source bytes that a group sees

// The horizontal pass of one plane: its tables, and what it does to a row.
class HorizontalPass {
 public:
  HorizontalPass(const PlaneView &source, const PlaneView &destination)
      : source_(source),
        columns_(destination.columns),
        samples_(static_cast<int32_t>(destination.row_bytes())),
        groups_((samples_ + kSamplesInStep - 1) / kSamplesInStep * (kSamplesInStep / 4)),
        scale_(scalar::reciprocal_scale(source.columns, destination.columns)) {}

  bool prepare() {
    const int64_t group_count = groups_;
    bases_ = allocate<int32_t>(group_count);
    controls_ = allocate<uint8_t>(group_count * 16);
    weights_ = allocate<int16_t>(group_count * 8);
    if (!bases_ || !controls_ || !weights_) {
      return false;
    }
    gathers_ = !fill_tables(false);
    if (gathers_) {
      const int64_t pair_bytes = 2 * static_cast<int64_t>(samples_) + kReach;
      columns_index_ = allocate<int32_t>(columns_);
      pairs_ = allocate<uint8_t>(pair_bytes);
      if (!columns_index_ || !pairs_) {
        return false;
      }
      fill_tables(true);
    }
    return true;
  }

  void run(const uint8_t *source, int16_t *row) {
    const GroupTables tables = {bases_.get(), controls_.get(), weights_.get()};
    if (gathers_) {
      gather(source);
      source = pairs_.get();
    }
    resample_groups(source, tables, groups_ * kSamplesInGroup, row);
  }

 private:
  struct Sample {
    int32_t first;  // byte offsets
    int32_t second;
    int16_t first_weight;
    int16_t second_weight;
  };

  // The samples of a group read from `gathered` pairs, or from the row itself when they lie
  // close enough. False when they do not.
  bool fill_tables(bool gathered) {
    const int32_t channels = source_.channels;
    const auto row_bytes = static_cast<int32_t>(source_.row_bytes());
    const int32_t readable = gathered ? 2 * samples_ + kReach : row_bytes;
    if (readable < kReach) {
      return false;
    }
    Sample group[kSamplesInGroup];
    int32_t tap_column = -1;
    Tap tap = {};
    for (int32_t position = 0; position < groups_; ++position) {
      for (int32_t i = 0; i < kSamplesInGroup; ++i) {
        // The padding repeats the last sample.
        const int32_t sample = std::min(position * kSamplesInGroup + i, samples_ - 1);
        const int32_t column = sample / channels;
        const int32_t channel = sample - column * channels;
        if (column != tap_column) {
          tap = scalar::column_tap(column, scale_, source_.columns);
          tap_column = column;
        }
        if (gathered) {
          columns_index_[column] = tap.index;
        }
        const bool has_neighbour = gathered || tap.index < source_.columns - 1;
        const int32_t first = (gathered ? 2 * column : tap.index) * channels + channel;
        group[i] = {first, first + (has_neighbour ? channels : 0), tap.first, tap.second};
      }
      if (!fill_group(group, position, readable)) {
        return false;
      }
    }
    return true;
  }

  bool fill_group(const Sample (&group)[kSamplesInGroup], int32_t index, int32_t readable) {
    int32_t least = group[0].first;
    int32_t most = group[0].second;
    for (const Sample &sample : group) {
      least = std::min(least, sample.first);
      most = std::max(most, sample.second);
    }
    const int32_t base = std::min(least, readable - kReach);
    if (most - base >= kReach) {
      return false;
    }
    // group_at is its own inverse
    const int32_t position = index / 4 * 4 + group_at(index % 4);
    bases_[position] = base;
    uint8_t *control = controls_.get() + 16 * position;
    int16_t *weights = weights_.get() + 8 * position;
    for (int32_t i = 0; i < kSamplesInGroup; ++i) {
      const int32_t first = first_word(i);
      const int32_t second = second_word(i);
      control[2 * first] = static_cast<uint8_t>(group[i].first - base);
      control[2 * second] = static_cast<uint8_t>(group[i].second - base);
      control[2 * first + 1] = control[2 * second + 1] = 0x80;  // a zero byte
      weights[first] = group[i].first_weight;
      weights[second] = group[i].second_weight;
    }
    return true;
  }

  // Brings both neighbours of every column together, where a group's reach covers them.
  void gather(const uint8_t *source) {
    switch (source_.channels) {
      case 1:
        return gather_pixels<1>(source);
      case 2:
        return gather_pixels<2>(source);
      case 3:
        return gather_pixels<3>(source);
      default:
        return gather_pixels<4>(source);
    }
  }

  template <int32_t kChannels>
  void gather_pixels(const uint8_t *source) {
    uint8_t *pair = pairs_.get();
    const int32_t last = source_.columns - 1;
    int32_t x = 0;
    for (; x < columns_ && columns_index_[x] < last; ++x, pair += 2 * kChannels) {
      std::memcpy(pair, source + static_cast<ptrdiff_t>(columns_index_[x]) * kChannels,
                  2 * kChannels);
    }
    for (; x < columns_; ++x, pair += 2 * kChannels) {
      std::memcpy(pair, source + static_cast<ptrdiff_t>(last) * kChannels, kChannels);
      std::memset(pair + kChannels, 0, kChannels);
    }
  }

  const PlaneView &source_;
  int32_t columns_;
  int32_t samples_;
  int32_t groups_;
  float scale_;
  bool gathers_ = false;
  std::unique_ptr<int32_t[]> bases_;
  std::unique_ptr<uint8_t[]> controls_;
  std::unique_ptr<int16_t[]> weights_;
  std::unique_ptr<int32_t[]> columns_index_;
  std::unique_ptr<uint8_t[]> pairs_;
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
