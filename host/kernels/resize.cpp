#include "host/kernels/resize.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "core/allocate.h"
#include "core/numeric.h"

namespace tavrine {
namespace {

constexpr int32_t kWeightOne = 2048;

// The left or upper of two neighbouring samples, and the weights of both in 1/2048.
struct Tap {
  int32_t index;
  int16_t first;
  int16_t second;
};

// Ties go to the even weight.
int16_t round_weight(float weight) {
  return static_cast<int16_t>(
      std::min<long>(std::lrint(weight * kWeightOne), std::numeric_limits<int16_t>::max()));
}

float reciprocal_scale(int32_t source_length, int32_t destination_length) {
  const float inverse = static_cast<float>(destination_length) / static_cast<float>(source_length);
  return 1.0F / inverse;
}

struct Position {
  int32_t index;
  float fraction;
};

Position source_position(int32_t destination, float scale) {
  const auto position = static_cast<float>((destination + 0.5) * scale - 0.5);
  const float index = std::floor(position);
  return {truncate_to_int32(index), position - index};
}

Tap make_tap(const Position &position) {
  return {position.index, round_weight(1.0F - position.fraction), round_weight(position.fraction)};
}

// Fills one tap per sample and returns the number of samples that have a right neighbour. The
// samples from there on take the last column alone.
int32_t fill_column_taps(const PlaneView &source, const PlaneView &destination, Tap *taps) {
  const float scale = reciprocal_scale(source.columns, destination.columns);
  int32_t limit = destination.columns;
  for (int32_t x = 0; x < destination.columns; ++x) {
    Position position = source_position(x, scale);
    if (position.index < 0) {
      position = {0, 0.0F};
    }
    if (position.index >= source.columns - 1) {
      position = {source.columns - 1, 0.0F};
      limit = std::min(limit, x);
    }
    Tap tap = make_tap(position);
    tap.index *= source.channels;
    for (int32_t channel = 0; channel < source.channels; ++channel, ++tap.index) {
      *taps++ = tap;
    }
  }
  return limit * source.channels;
}

// Row taps are not clamped: both weights of a row beyond the edge fall on the edge row.
void fill_row_taps(const PlaneView &source, const PlaneView &destination, Tap *taps) {
  const float scale = reciprocal_scale(source.rows, destination.rows);
  for (int32_t y = 0; y < destination.rows; ++y) {
    taps[y] = make_tap(source_position(y, scale));
  }
}

void resample_row(const uint8_t *source, const Tap *taps, int32_t samples, int32_t limit,
                  int32_t channels, int32_t *row) {
  for (int32_t i = 0; i < limit; ++i) {
    const uint8_t *sample = source + taps[i].index;
    row[i] = sample[0] * taps[i].first + sample[channels] * taps[i].second;
  }
  for (int32_t i = limit; i < samples; ++i) {
    row[i] = source[taps[i].index] * kWeightOne;
  }
}

void blend_rows(const int32_t *upper, const int32_t *lower, const Tap &tap, int32_t samples,
                uint8_t *destination) {
  for (int32_t i = 0; i < samples; ++i) {
    const int32_t sum =
        (((upper[i] >> 4) * tap.first) >> 16) + (((lower[i] >> 4) * tap.second) >> 16);
    destination[i] = saturate_to_uint8((sum + 2) >> 2);
  }
}

// The two horizontally resampled rows that a destination row needs. Destination rows advance,
// so each source row is resampled once: a lower row that becomes the upper one changes place.
class RowPair {
 public:
  RowPair(const PlaneView &source, const Tap *taps, int32_t samples, int32_t limit, int32_t *first,
          int32_t *second)
      : source_(source),
        taps_(taps),
        samples_(samples),
        limit_(limit),
        upper_{-1, first},
        lower_{-1, second} {}

  void advance_to(int32_t upper_row) {
    const int32_t last = source_.rows - 1;
    const int32_t upper = std::clamp(upper_row, 0, last);
    const int32_t lower = upper_row >= last ? last : std::max(upper_row + 1, 0);
    if (lower_.row == upper) {
      std::swap(upper_, lower_);
    }
    hold(upper_, upper);
    if (lower != upper) {
      hold(lower_, lower);
    }
    lower_samples_ = lower != upper ? lower_.samples : upper_.samples;
  }

  const int32_t *upper() const { return upper_.samples; }
  const int32_t *lower() const { return lower_samples_; }

 private:
  struct Buffer {
    int32_t row;
    int32_t *samples;
  };

  void hold(Buffer &buffer, int32_t row) {
    if (buffer.row != row) {
      resample_row(source_.row(row), taps_, samples_, limit_, source_.channels, buffer.samples);
      buffer.row = row;
    }
  }

  const PlaneView &source_;
  const Tap *taps_;
  int32_t samples_;
  int32_t limit_;
  Buffer upper_;
  Buffer lower_;
  const int32_t *lower_samples_ = nullptr;
};

bool resize_bilinear(const PlaneView &source, const PlaneView &destination) {
  const int64_t samples = destination.row_bytes();
  const int64_t padded_samples = (samples + 15) / 16 * 16;
  const auto taps = allocate<Tap>(samples + destination.rows);
  const auto rows = allocate<int32_t>(2 * padded_samples);
  if (!taps || !rows) {
    return false;
  }
  const Tap *column_taps = taps.get();
  Tap *row_taps = taps.get() + samples;
  const int32_t limit = fill_column_taps(source, destination, taps.get());
  fill_row_taps(source, destination, row_taps);

  const auto row_samples = static_cast<int32_t>(samples);
  RowPair pair(source, column_taps, row_samples, limit, rows.get(), rows.get() + padded_samples);
  for (int32_t y = 0; y < destination.rows; ++y) {
    pair.advance_to(row_taps[y].index);
    blend_rows(pair.upper(), pair.lower(), row_taps[y], row_samples, destination.row(y));
  }
  return true;
}

bool is_reduction(const PlaneView &source, const PlaneView &destination, int32_t ratio) {
  return source.columns % ratio == 0 && source.rows % ratio == 0 &&
         destination.columns == source.columns / ratio && destination.rows == source.rows / ratio;
}

// Each destination sample is the rounded mean of the 2 x 2 samples in the middle of its block.
void reduce_plane(const PlaneView &source, const PlaneView &destination, int32_t ratio) {
  const int32_t middle = ratio / 2 - 1;
  const int32_t channels = source.channels;
  for (int32_t y = 0; y < destination.rows; ++y) {
    const uint8_t *upper = source.row(y * ratio + middle) + middle * channels;
    const uint8_t *lower = upper + source.step;
    uint8_t *out = destination.row(y);
    for (int32_t x = 0; x < destination.columns; ++x) {
      for (int32_t channel = 0; channel < channels; ++channel) {
        *out++ = static_cast<uint8_t>((upper[channel] + upper[channel + channels] + lower[channel] +
                                       lower[channel + channels] + 2) >>
                                      2);
      }
      upper += ratio * channels;
      lower += ratio * channels;
    }
  }
}

}  // namespace

bool resize_plane(const PlaneView &source, const PlaneView &destination) {
  if (!source.is_usable() || !destination.is_usable()) {
    return false;
  }
  for (const int32_t ratio : {2, 4}) {
    if (is_reduction(source, destination, ratio)) {
      reduce_plane(source, destination, ratio);
      return true;
    }
  }
  return resize_bilinear(source, destination);
}

}  // namespace tavrine
