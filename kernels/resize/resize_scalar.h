// The definition of the resampling in resize.h, for one axis, one row or one pair of rows.
#pragma once

#include <cmath>
#include <cstdint>

#include "common/numeric.h"

namespace tavrine::scalar {

inline constexpr int32_t kWeightOne = 2048;

// The left or upper of two neighbouring samples, and the weights of both in 1/2048.
struct Tap {
  int32_t index;
  int16_t first;
  int16_t second;
};

// Rounds to the nearest weight, ties to the even one: a float from 2^23 on has no fraction. This
// takes no call, unlike std::lrint().
inline int16_t round_weight(float weight) {
  constexpr float kNoFraction = 12582912.0F;  // 3 * 2^22, so that no result falls below 2^23
  return static_cast<int16_t>(weight * kWeightOne + kNoFraction - kNoFraction);
}

inline float reciprocal_scale(int32_t source_length, int32_t destination_length) {
  const float inverse = static_cast<float>(destination_length) / static_cast<float>(source_length);
  return 1.0F / inverse;
}

// Whether each destination index lies exactly on a source index, which has all the weight then: the
// ratio is odd, the scale is exact, and below 2^24 no position is rounded.
inline bool lies_on_samples(int32_t source_length, int32_t destination_length) {
  const int32_t ratio = source_length / destination_length;
  return source_length == ratio * destination_length && ratio % 2 == 1 &&
         reciprocal_scale(source_length, destination_length) == static_cast<float>(ratio) &&
         source_length < 1 << 24;
}

struct Position {
  int32_t index;
  float fraction;
};

inline Position source_position(int32_t destination, float scale) {
  const auto position = static_cast<float>((destination + 0.5) * scale - 0.5);
  const float index = std::floor(position);
  return {truncate_to_int32(index), position - index};
}

inline Tap make_tap(const Position &position) {
  return {position.index, round_weight(1.0F - position.fraction), round_weight(position.fraction)};
}

// A column is not read outside the row: the first takes the left edge alone, and those from
// the last one on the right edge.
inline Tap column_tap(int32_t x, float scale, int32_t source_columns) {
  Position position = source_position(x, scale);
  if (position.index < 0) {
    position = {0, 0.0F};
  }
  if (position.index >= source_columns - 1) {
    position = {source_columns - 1, 0.0F};
  }
  return make_tap(position);
}

// Row taps are not clamped: both weights of a row beyond the edge fall on the edge row.
inline Tap row_tap(int32_t y, float scale) { return make_tap(source_position(y, scale)); }

// One sample of the horizontal pass. Its four lowest bits play no part in the vertical pass.
inline int16_t resample(uint8_t first, uint8_t second, const Tap &tap) {
  return static_cast<int16_t>((first * tap.first + second * tap.second) >> 4);
}

inline void blend_rows(const int16_t *upper, const int16_t *lower, const Tap &tap, int32_t samples,
                       uint8_t *destination) {
  for (int32_t i = 0; i < samples; ++i) {
    const int32_t sum = ((upper[i] * tap.first) >> 16) + ((lower[i] * tap.second) >> 16);
    destination[i] = saturate_to_uint8((sum + 2) >> 2);
  }
}

}  // namespace tavrine::scalar
